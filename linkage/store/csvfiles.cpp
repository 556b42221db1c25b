#include "linkage/store/csvfiles.h"

#include "platform/utils/text.h"

#include <QCoreApplication>
#include <QString>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <string_view>
#include <utility>

namespace TC::csv {

namespace {

// The marks let the client's translation tools find the texts; the context is the
// manager's.
constexpr const char* STAT_HEADER[] = {
    QT_TRANSLATE_NOOP("TC::CLinkageManager", "key,"),
    QT_TRANSLATE_NOOP("TC::CLinkageManager", "资金账号ID,"),
    QT_TRANSLATE_NOOP("TC::CLinkageManager", "账号key值,"),
    QT_TRANSLATE_NOOP("TC::CLinkageManager", "账号名称,"),
    QT_TRANSLATE_NOOP("TC::CLinkageManager", "账号类型,"),
    QT_TRANSLATE_NOOP("TC::CLinkageManager", "经纪公司,"),
    QT_TRANSLATE_NOOP("TC::CLinkageManager", "策略名称,"),
    QT_TRANSLATE_NOOP("TC::CLinkageManager", "添加日期,"),
    QT_TRANSLATE_NOOP("TC::CLinkageManager", "配平时间,"),
};
constexpr const char* BALANCE_HEADER[] = {
    QT_TRANSLATE_NOOP("TC::CLinkageManager", "key,"),
    QT_TRANSLATE_NOOP("TC::CLinkageManager", "股票代码,"),
    QT_TRANSLATE_NOOP("TC::CLinkageManager", "卖量,"),
    QT_TRANSLATE_NOOP("TC::CLinkageManager", "买量,"),
    QT_TRANSLATE_NOOP("TC::CLinkageManager", "买额,"),
    QT_TRANSLATE_NOOP("TC::CLinkageManager", "卖额,"),
    QT_TRANSLATE_NOOP("TC::CLinkageManager", "添加日期"),
};
constexpr const char* DETAIL_HEADER[] = {
    QT_TRANSLATE_NOOP("TC::CLinkageManager", "账号策略,"),
    QT_TRANSLATE_NOOP("TC::CLinkageManager", "交易key,"),
};

template <std::size_t N>
std::string headerLine(const char* const (&texts)[N]) {
    QString line;
    for (const char* text : texts) {
        line += QCoreApplication::translate("TC::CLinkageManager", text);
    }
    return line.toStdString() + "\n";
}

std::string joined(std::initializer_list<std::string_view> fields) {
    std::string row;
    for (const std::string_view field : fields) {
        row += field;
        row += ',';
    }
    row.back() = '\n';
    return row;
}

std::string fixed(double value) { return QString::number(value, 'f', 10).toStdString(); }

using Fields = std::vector<std::string>;

Fields fieldsOf(std::string_view line) {
    Fields fields;
    for (std::size_t from = 0;;) {
        const std::size_t comma = line.find(',', from);
        fields.emplace_back(line.substr(from, comma - from));
        if (comma == std::string_view::npos) return fields;
        from = comma + 1;
    }
}

// A field that is no finite number reads as 0.
double amountOf(const std::string& field) {
    bool ok = false;
    const double value = Pim::sToQs(field).toDouble(&ok);
    return ok && std::isfinite(value) ? value : 0.0;
}

// Calls `take` with the fields of every line but the first that has `count` of them.
template <class Take>
void forEachRow(const std::string& text, std::size_t count, Take take) {
    bool header = true;
    for (std::size_t from = 0; from < text.size();) {
        const std::size_t end = std::min(text.find('\n', from), text.size());
        std::string_view line(text.data() + from, end - from);
        from = end + 1;
        if (std::exchange(header, false)) continue;
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        if (static_cast<std::size_t>(std::count(line.begin(), line.end(), ',')) + 1 != count) {
            continue;
        }
        take(fieldsOf(line));
    }
}

}  // namespace

bool isField(const std::string& text) {
    return text.find_first_of(",\r\n") == std::string::npos &&
           Pim::sToQs(text).toStdString() == text;
}

std::string asField(const std::string& text) {
    std::string field;
    for (const char each : Pim::sToQs(text).toStdString()) {
        if (each == ',') {
            field += "，";
        } else {
            field += each == '\n' || each == '\r' ? ' ' : each;
        }
    }
    return field;
}

std::string statHeader() { return headerLine(STAT_HEADER); }
std::string balanceHeader() { return headerLine(BALANCE_HEADER); }
std::string detailHeader() { return headerLine(DETAIL_HEADER); }

std::string statRow(const std::string& key, const TradeStatData& record, const std::string& stamp,
                    const std::string& balanceTime) {
    return joined({key, record.m_strFundAccountId, record.m_strAccountKey, record.m_strAccountName,
                   record.m_strAccountType, record.m_strBroker, record.m_strStrategy, stamp,
                   balanceTime});
}

std::string balanceRow(const std::string& key, const std::string& stock,
                       const EffectiveFigures& figures, const std::string& stamp) {
    return joined({key, stock, std::to_string(figures.sellVolume),
                   std::to_string(figures.buyVolume), fixed(figures.buyAmount),
                   fixed(figures.sellAmount), stamp});
}

std::string detailRow(const std::string& key, const std::string& tradeKey) {
    return joined({key, tradeKey});
}

std::vector<StatRow> readStatRows(const std::string& text) {
    std::vector<StatRow> rows;
    forEachRow(text, 9, [&](Fields fields) {
        StatRow row;
        row.key = fields[0];
        row.record.m_nId = -1;
        row.record.m_strFundAccountId = fields[1];
        row.record.m_strAccountKey = fields[2];
        row.record.m_strAccountName = fields[3];
        row.record.m_strAccountType = fields[4];
        row.record.m_strBroker = fields[5];
        row.record.m_strStrategy = fields[6];
        row.stamp = fields[7];
        row.balanceTime = fields[8];
        rows.push_back(std::move(row));
    });
    return rows;
}

std::vector<BalanceRow> readBalanceRows(const std::string& text) {
    std::vector<BalanceRow> rows;
    forEachRow(text, 7, [&](const Fields& fields) {
        if (fields[0].empty()) return;
        EffectiveFigures figures;
        figures.sellVolume = Pim::sToQs(fields[2]).toInt();
        figures.buyVolume = Pim::sToQs(fields[3]).toInt();
        figures.buyAmount = amountOf(fields[4]);
        figures.sellAmount = amountOf(fields[5]);
        rows.push_back({fields[0], fields[1], figures});
    });
    return rows;
}

std::vector<DetailRow> readDetailRows(const std::string& text) {
    std::vector<DetailRow> rows;
    forEachRow(text, 2, [&](const Fields& fields) { rows.push_back({fields[0], fields[1]}); });
    return rows;
}

bool isKept(const std::string& tradeKey, const std::string& today, const std::string& tradeDate) {
    const std::string day = tradeKey.substr(0, tradeKey.find('_'));
    constexpr std::size_t DAY_LENGTH = 8;
    return day.size() == DAY_LENGTH && day != today && day >= tradeDate;
}

std::string balanceTimeOf(const std::string& key, const TradeStatData& record,
                          const std::map<std::string, std::string>& balanceTimes,
                          const std::map<std::string, std::string>& byHistoryKey) {
    const bool namesPair = record.m_strAccountKey + record.m_strStrategy == key;
    if (namesPair) {
        const auto own = balanceTimes.find(balanceKey(record));
        if (own != balanceTimes.end()) return own->second;
    }
    const auto at = byHistoryKey.find(key);
    return namesPair || at == byHistoryKey.end() ? std::string() : at->second;
}

std::map<std::string, std::string> timesByHistoryKey(
    const std::map<std::string, std::string>& balanceTimes) {
    std::map<std::string, std::string> times;
    for (const auto& [balanceKey, time] : balanceTimes) {
        std::string key = balanceKey;
        std::erase(key, ':');
        times.emplace(std::move(key), time);
    }
    return times;
}

}  // namespace TC::csv
