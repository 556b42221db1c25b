#include "replay/anonymousfiles.h"

#include "linkage/balance/balancetimes.h"
#include "linkage/store/csvfiles.h"
#include "linkage/store/fileencoding.h"
#include "linkage/store/import/importlines.h"
#include "replay/anonymousline.h"
#include "replay/scenarioline.h"

#include <algorithm>
#include <charconv>
#include <initializer_list>
#include <map>
#include <string_view>
#include <vector>

namespace replay {

namespace {

constexpr std::string_view BOOK = "balances-";
constexpr std::string_view IMPORT = "imports/import-";
constexpr std::string_view LINES = ".jsonl";
constexpr char COMMIT_MARK[] = ".commit";

/// Calls `visit` for each line, without its end.
template <class Visit>
void eachLine(std::string_view text, const Visit& visit) {
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        visit(line);
    }
}

std::vector<std::string_view> cellsOf(std::string_view line) {
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    std::vector<std::string_view> cells;
    for (;;) {
        const std::size_t comma = line.find(',');
        cells.push_back(line.substr(0, comma));
        if (comma == std::string_view::npos) return cells;
        line.remove_prefix(comma + 1);
    }
}

/// Rows with other columns, which the library drops, are left out.
std::string table(const std::string& text, const std::string& header,
                  std::initializer_list<EText> columns, CNames& names) {
    std::string result;
    eachLine(text, [&](std::string_view line) {
        if (result.empty()) {
            result = header;
            return;
        }
        const auto cells = cellsOf(line);
        if (cells.size() != columns.size()) return;
        auto column = columns.begin();
        for (const std::string_view cell : cells) result += names(*column++, cell) + ',';
        result.back() = '\n';
    });
    return result;
}

std::string storedImport(std::string_view name, const std::string& text, CNames& names) {
    auto import = TC::statement::importOf(text);
    name.remove_prefix(IMPORT.size());
    std::from_chars(name.data(), name.data() + name.size(), import.summary.number);
    import.summary.path = "statement";
    for (auto& [account, deal] : import.deals) {
        account = names(EText::Account, account);
        deal->m_strDealID = names(EText::Number, deal->m_strDealID);
    }
    for (auto& [account, order] : import.orders) {
        account = names(EText::Account, account);
        order->m_strSysID = names(EText::Number, order->m_strSysID);
    }
    return TC::statement::textOf(import);
}

}  // namespace

std::string anonymousBalanceTimes(std::string_view text, CNames& names) {
    std::map<std::string, std::string> times;
    for (const auto& [key, time] : TC::readBalanceTimes(std::string(text))) {
        times[names(EText::BalanceKey, key)] = time;
    }
    return TC::balanceTimesText(times);
}

std::string anonymousBook(std::string_view text, CNames& names) {
    std::string result;
    eachLine(text, [&](std::string_view line) {
        if (auto copy = anonymousBookLine(line, names)) result += *copy + '\n';
    });
    return result;
}

std::optional<QByteArray> anonymousFile(const std::string& name, const QByteArray& bytes,
                                        CNames& names) {
    using Is = EText;
    if (name == COMMIT_MARK) throw LineError("a save of files was broken off there");
    const auto text = TC::decodeText(bytes.toStdString());
    if (!text) return std::nullopt;
    const auto copy = [](const std::string& result) { return QByteArray::fromStdString(result); };
    if (name == TC::STAT_FILE) {
        return copy(table(*text, TC::csv::statHeader(),
                          {Is::HistoryKey, Is::Name, Is::Account, Is::Name, Is::Plain, Is::Name,
                           Is::Strategy, Is::Plain, Is::Plain},
                          names));
    }
    if (name == TC::BALANCE_FILE) {
        return copy(table(
            *text, TC::csv::balanceHeader(),
            {Is::HistoryKey, Is::Plain, Is::Plain, Is::Plain, Is::Plain, Is::Plain, Is::Plain},
            names));
    }
    if (name == TC::DETAIL_FILE || name == TC::KEPT_FILE) {
        return copy(table(*text, TC::csv::detailHeader(), {Is::HistoryKey, Is::Number}, names));
    }
    if (name == TC::BALANCE_TIMES_FILE) return copy(anonymousBalanceTimes(*text, names));
    if (name.starts_with(BOOK) && name.ends_with(LINES)) return copy(anonymousBook(*text, names));
    if (name.starts_with(IMPORT) && name.ends_with(LINES)) {
        return copy(storedImport(name, *text, names));
    }
    return std::nullopt;
}

}  // namespace replay
