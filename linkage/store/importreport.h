#pragma once

#include <QString>
#include <QStringList>

#include <utility>
#include <vector>

namespace TC {

/// What became of a statement file. Every row that was read was either taken or skipped.
struct ImportReport {
    enum class Kind { None, Deals, Orders };

    /// One row that was left out, named as a spreadsheet program names it.
    struct SkippedRow {
        QString sheet;  ///< empty for text files
        int row = 0;    ///< counted from 1
        QString reason;
    };

    /// So many skipped rows are listed with their reasons; further ones only count.
    static constexpr std::size_t LISTED_ROWS = 10'000;
    static void list(std::vector<SkippedRow>& rows, SkippedRow row) {
        if (rows.size() < LISTED_ROWS) rows.push_back(std::move(row));
    }

    QString path;     ///< the file; empty when the dialog was cancelled
    QString refusal;  ///< why nothing at all was taken; empty when the file was read
    Kind kind = Kind::None;
    int read = 0;   ///< rows below the header that are not blank
    int taken = 0;  ///< rows that are in the ledger now
    int added = 0;  ///< those of them that were not there before
    std::vector<SkippedRow> skipped;
    QStringList notes;  ///< what the reader assumed, for the user to check

    bool ok() const { return refusal.isEmpty(); }
    int skippedCount() const { return read - taken; }
};

}  // namespace TC
