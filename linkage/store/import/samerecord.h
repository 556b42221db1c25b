#pragma once

#include "platform/records/dealdetail.h"
#include "platform/records/orderdetail.h"

#include <cctype>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <type_traits>
#include <utility>

/// Statements repeat what the trading system reports, under record keys of their own. A
/// record with a deal or order number is the same one in both, whichever came first.
namespace TC::statement {

inline const std::string& systemNumber(const vexservice::CDealDetail& deal) {
    return deal.m_strDealID;
}
inline const std::string& systemNumber(const vexservice::COrderDetail& order) {
    return order.m_strSysID;
}

/// What both tell of a record of one account and day: stock, side, volume and number.
/// Empty when the record has no number; then nothing tells it from another.
template <class Record>
std::string traitsOf(const Record& record) {
    std::string number;
    for (const char c : systemNumber(record)) {
        // Spreadsheet programs drop the zeros in front.
        if (std::isspace(static_cast<unsigned char>(c)) || (number.empty() && c == '0')) continue;
        number += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    if (number.empty()) return number;
    return record.m_strMarket + record.m_strCode + '|' +
           std::to_string(static_cast<int>(record.m_eDirection)) + '|' +
           std::to_string(record.m_nVolume) + '|' + number;
}

/// Imported records that have a number, so that the trading system's own records can replace
/// them. Guarded by the manager's lock.
template <class Record>
class CImported {
public:
    using Keys = std::set<std::uint64_t>;

    bool empty() const { return m_days.empty(); }

    void add(const std::string& accountKey, int day, const Record& record) {
        std::string traits = traitsOf(record);
        if (traits.empty()) return;
        m_days[{accountKey, day}].emplace(std::move(traits), record.recordKey());
    }

    /// Forgets the imported records that are the same as this one; gives their keys.
    Keys take(const std::string& accountKey, int day, const Record& record) {
        Keys keys;
        const auto at = m_days.find({accountKey, day});
        if (at == m_days.end()) return keys;
        const std::string traits = traitsOf(record);
        auto each = at->second.lower_bound({traits, 0});
        while (each != at->second.end() && each->first == traits) {
            keys.insert(each->second);
            each = at->second.erase(each);
        }
        if (at->second.empty()) m_days.erase(at);
        return keys;
    }

private:
    std::map<std::pair<std::string, int>, std::set<std::pair<std::string, std::uint64_t>>> m_days;
};

}  // namespace TC::statement

namespace TC {

struct ImportedRecords {
    statement::CImported<vexservice::CDealDetail> deals;
    statement::CImported<vexservice::COrderDetail> orders;

    template <class Record>
    statement::CImported<Record>& of() {
        if constexpr (std::is_same_v<Record, vexservice::CDealDetail>) {
            return deals;
        } else {
            return orders;
        }
    }
};

}  // namespace TC
