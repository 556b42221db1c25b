#pragma once

#include "linkage/ledger/types.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace TC {

/// The history statistics (and, after one of the two writers, the balance times), the
/// unbalanced stocks, and the deals that were counted into history today.
inline constexpr char STAT_FILE[] = "historystatdata.csv";
inline constexpr char BALANCE_FILE[] = "balancedata.csv";
inline constexpr char DETAIL_FILE[] = "detail.csv";
/// Deals of the trade date that detail.csv leaves out because the calendar went on before
/// the trade date did; rows as there. Removed when there are none.
inline constexpr char KEPT_FILE[] = ".detail.kept";

}  // namespace TC

/// The three files of the Balance directory as text: rows in, text out, and back.
///
/// A file is a header line and rows of fields separated by commas; nothing is quoted or
/// escaped, so a field with a comma spoils its row. Texts are UTF-8, lines end in "\n";
/// the encoding on disk is the business of fileencoding.h. A reader skips the first line
/// whatever it holds and drops, without a word, every row that has not exactly the
/// file's number of fields; a field that is not a number reads as 0.
namespace TC::csv {

/// Whether a text can be read back from a row unchanged: it is UTF-8 without commas and line
/// ends.
bool isField(const std::string& text);
/// The text with full-width commas for commas, blanks for line ends, and U+FFFD for what is
/// not UTF-8.
std::string asField(const std::string& text);

/// The header lines, "\n" included. Their texts can be translated.
std::string statHeader();
std::string balanceHeader();
std::string detailHeader();

/// Rows, "\n" included. `balanceTime` is empty where the writer leaves it out.
std::string statRow(const std::string& key, const TradeStatData& record, const std::string& stamp,
                    const std::string& balanceTime);
std::string balanceRow(const std::string& key, const std::string& stock,
                       const EffectiveFigures& figures, const std::string& stamp);
std::string detailRow(const std::string& key, const std::string& tradeKey);

struct StatRow {
    std::string key;
    TradeStatData record;  ///< its texts; identifier -1
    std::string stamp;
    std::string balanceTime;
};
struct BalanceRow {
    std::string key;
    std::string stock;
    EffectiveFigures figures;
};
struct DetailRow {
    std::string key;
    std::string tradeKey;
};

/// The rows of a file's text. Statistics keep a row with an empty key, balances do not.
std::vector<StatRow> readStatRows(const std::string& text);
std::vector<BalanceRow> readBalanceRows(const std::string& text);
std::vector<DetailRow> readDetailRows(const std::string& text);

/// The write stamp: the day alone, or the moment.
inline std::string dayStamp(const std::string& today) { return today + "000000"; }

/// Whether a file with this stamp was written after the day's default balance time, so
/// that its keys count as taken into history already.
inline bool countsAsAdded(const std::string& stamp, const std::string& today) {
    return stamp >= today + "153000";
}

/// The name of a deal in detail.csv, and whether it belongs to a day.
inline std::string tradeKey(const std::string& tradeDate, const std::string& dealId) {
    return tradeDate + "_" + dealId;
}
inline bool isTradeKeyOf(const std::string& tradeKey, const std::string& day) {
    return tradeKey.substr(0, tradeKey.find('_')) == day;
}

/// Whether a deal that detail.csv leaves out today still belongs to the trade date in
/// force or a later one. "" for a trade date that is not known yet.
bool isKept(const std::string& tradeKey, const std::string& today, const std::string& tradeDate);

/// The key of a row's balance time in the table of balance times.
inline std::string balanceKey(const TradeStatData& record) {
    return record.m_strAccountKey + ":" + record.m_strStrategy;
}

/// The table of balance times by history key. A history key is a balance key without its
/// colons; where several give the same one, the first in key order counts.
std::map<std::string, std::string> timesByHistoryKey(
    const std::map<std::string, std::string>& balanceTimes);

/// The balance time of a row. A row that names its pair has the time of that pair and never
/// that of another one with the same history key; "" for none.
std::string balanceTimeOf(const std::string& key, const TradeStatData& record,
                          const std::map<std::string, std::string>& balanceTimes,
                          const std::map<std::string, std::string>& byHistoryKey);

}  // namespace TC::csv
