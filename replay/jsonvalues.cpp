#include "replay/jsonvalues.h"

#include "replay/scenarioline.h"

#include <cstdint>
#include <limits>
#include <string>

namespace replay {

void writeTextless(TC::CJsonWriter& out, const simdjson::dom::element& from) {
    using simdjson::dom::element_type;
    switch (from.type()) {
        case element_type::INT64:
            return out.value(std::int64_t(from));
        case element_type::UINT64:
            return out.value(std::uint64_t(from));
        case element_type::DOUBLE:
            return out.value(double(from));
        case element_type::BOOL:
            return out.value(bool(from));
        default:
            return out.null();
    }
}

std::optional<double> notFinite(std::string_view text) {
    constexpr double INFINITE = std::numeric_limits<double>::infinity();
    if (text == "nan") return std::numeric_limits<double>::quiet_NaN();
    if (text == "inf") return INFINITE;
    return text == "-inf" ? std::optional(-INFINITE) : std::nullopt;
}

void refuseText(std::string_view what) {
    throw LineError("what \"" + std::string(what) + "\" says of accounts is not known");
}

}  // namespace replay
