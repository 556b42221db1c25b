#pragma once

#include <QString>
#include <QStringList>

#include <vector>

namespace TC {

/// What became of a statement file. Every row that was read was either taken or
/// skipped: `read == taken + skipped.size()`.
struct ImportReport {
    enum class Kind { None, Deals, Orders };

    /// One row that was left out, named as a spreadsheet program names it.
    struct SkippedRow {
        QString sheet;  ///< empty for text files
        int row = 0;    ///< counted from 1
        QString reason;
    };

    QString path;     ///< the file; empty when the dialog was cancelled
    QString refusal;  ///< why nothing at all was taken; empty when the file was read
    Kind kind = Kind::None;
    int read = 0;   ///< rows below the header that are not blank
    int taken = 0;  ///< rows that are in the ledger now
    int added = 0;  ///< those of them that were not there before
    std::vector<SkippedRow> skipped;
    QStringList notes;  ///< what the reader assumed, for the user to check

    bool ok() const { return refusal.isEmpty(); }
};

}  // namespace TC
