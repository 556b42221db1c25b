#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace TC {

/// What became of a statement file, or would become of it. Every row that was read was
/// either taken or skipped.
struct ImportReport {
    /// What a statement lists; None when that is not known.
    enum class Kind { None, Deals, Orders };

    /// One row that was left out, named as a spreadsheet program names it.
    struct SkippedRow {
        QString sheet;   ///< empty for text files
        int row = 0;     ///< counted from 1
        QString reason;  ///< why it was left out, for people

        /// Every member, for comparisons.
        auto tied() const { return std::tie(sheet, row, reason); }
        /// Whether all members are equal.
        bool operator==(const SkippedRow& other) const { return tied() == other.tied(); }
        /// Whether any member differs.
        bool operator!=(const SkippedRow& other) const { return !(*this == other); }
    };

    /// The file's own trades of one account and day, known before or not, to be held
    /// against the totals that the broker prints.
    struct Day {
        std::string account;  ///< account key
        std::string date;     ///< "yyyyMMdd"
        int records = 0;      ///< deals or orders
        double bought = 0.0;  ///< amounts traded, yuan
        double sold = 0.0;    ///< likewise
        int added = 0;        ///< of the records, new ones
        int repeated = 0;     ///< known from an earlier import of the same row
        int matched = 0;      ///< taken for trades of earlier statements
        int reported = 0;     ///< taken for trades that the trading system reports

        /// Every member, for comparisons.
        auto tied() const {
            return std::tie(account, date, records, bought, sold, added, repeated, matched,
                            reported);
        }
        /// Whether all members are equal.
        bool operator==(const Day& other) const { return tied() == other.tied(); }
        /// Whether any member differs.
        bool operator!=(const Day& other) const { return !(*this == other); }
    };

    /// So many skipped rows are listed with their reasons; further ones only count.
    static constexpr std::size_t LISTED_ROWS = 10'000;
    /// Adds a row to a list, which takes LISTED_ROWS at most.
    static void list(std::vector<SkippedRow>& rows, SkippedRow row) {
        if (rows.size() < LISTED_ROWS) rows.push_back(std::move(row));
    }

    QString path;            ///< the file; empty when the dialog was cancelled
    QString refusal;         ///< why nothing at all was taken; empty when the file was read
    Kind kind = Kind::None;  ///< deals or orders
    int number = 0;          ///< of the import, to take it back; 0 where there is none
    int read = 0;            ///< rows below the header that are not blank
    int taken = 0;           ///< rows that are in the ledger now
    int added = 0;           ///< those of them that were not there before
    std::vector<SkippedRow> skipped;  ///< the first LISTED_ROWS of them
    std::vector<Day> days;            ///< by account and date
    QStringList notes;                ///< what the reader assumed, for the user to check
    QByteArray digest;  ///< of the file's bytes (SHA-256); empty when they cannot be read
    /// Refused only because it is not clear which of the followed accounts the file is of;
    /// ImportTerms::account can tell.
    bool needsAccount = false;
    /// Refused because the import would not be what ImportTerms::shown has.
    bool isOutdated = false;

    /// Whether the file was read.
    bool ok() const { return refusal.isEmpty(); }
    /// Rows left out: also those that are not listed.
    int skippedCount() const { return read - taken; }

    /// Whether both tell the same of the same file. The number and the notes are left out.
    bool tellsSame(const ImportReport& other) const {
        return refusal == other.refusal && kind == other.kind && read == other.read &&
               taken == other.taken && added == other.added && days == other.days &&
               skipped == other.skipped && digest == other.digest;
    }
};

/// What the user decided before an import.
struct ImportTerms {
    /// Key of a followed account: rows belong to it where the file names no account that is
    /// followed. "": then they can only belong to the only account there is.
    std::string account;
    /// The preview that the user has seen: the import is refused (ImportReport::isOutdated),
    /// and nothing stays filed, unless it gives the same.
    std::optional<ImportReport> shown;
};

/// An import that stands: which it was and what it filed.
struct ImportSummary {
    int number = 0;    ///< names it for CLinkageManager::undoImport
    std::string path;  ///< the file, as it was named at the import
    ImportReport::Kind kind = ImportReport::Kind::None;  ///< deals or orders
    std::string time;                                    ///< when it was taken, "yyyyMMddhhmmss"
    int records = 0;                                     ///< deals or orders that it brought
};

}  // namespace TC
