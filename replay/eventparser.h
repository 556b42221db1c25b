#pragma once

#include "replay/event.h"
#include "replay/recordrows.h"

#include <map>
#include <string>
#include <string_view>
#include <tuple>

namespace replay {

/// Reads lines of a scenario into events. Knows nothing of a client or a manager, so
/// that a file can be checked, measured or shown without playing it.
///
/// Threads: one. Failure: throws LineError.
class CEventParser {
public:
    /// Memory behind the line must be readable, as it is behind CLineReader's lines.
    Event parse(std::string_view line);

    /// The newest price of a stock, from the fields that a "price" line has.
    static boost::shared_ptr<vexservice::CPriceData> readPrice(const CFields& fields);

    /// The same for a line whose fields were looked at already.
    Event parse(const CFields& fields);

    /// The line read last, without blanks, as a journal keeps it.
    std::string minified() const;

private:
    simdjson::dom::parser m_parser;
    CRecordRows<vexservice::COrderDetail> m_orders;
    CRecordRows<vexservice::CDealDetail> m_deals;

    friend struct EventReader;
    /// Strategy carriers are equal for thousands of reports and are never changed, so
    /// reports share them.
    boost::shared_ptr<vexservice::CCommandRecord> carrier(const CFields& fields);
    using CarrierKey = std::tuple<std::string, std::string, std::string, int>;
    /// Also compares with a key of string views, so that a look-up copies no text.
    struct CarrierLess {
        using is_transparent = void;
        template <class Left, class Right>
        bool operator()(const Left& left, const Right& right) const {
            return views(left) < views(right);
        }
        template <class Key>
        static std::tuple<std::string_view, std::string_view, std::string_view, int> views(
            const Key& key) {
            return {std::get<0>(key), std::get<1>(key), std::get<2>(key), std::get<3>(key)};
        }
    };
    std::map<CarrierKey, boost::shared_ptr<vexservice::CCommandRecord>, CarrierLess> m_carriers;
};

/// Parses every line of a scenario file without playing it; returns their number.
/// Throws InputError and LineError.
std::size_t parseScenario(const std::string& path);

}  // namespace replay
