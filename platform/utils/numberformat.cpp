#include "platform/utils/numberformat.h"

#include <fmt/format.h>

#include <cmath>

namespace utils {

namespace {

std::string decorated(std::string digits, bool negative, int flags) {
    if (flags & FORMAT_NUMBER_GROUPED) {
        std::size_t end = digits.find('.');
        if (end == std::string::npos) end = digits.size();
        for (std::size_t at = end; at > 3; at -= 3) digits.insert(at - 3, 1, ',');
    }
    if (negative) return "-" + digits;
    const bool plus =
        (flags & FORMAT_NUMBER_SIGNED) && digits.find_first_of("123456789") != std::string::npos;
    return plus ? "+" + digits : digits;
}

}  // namespace

std::string formatDoubleNumber(double value, int flags) {
    if (!std::isfinite(value)) return "--";
    const double size = std::fabs(value);
    std::string digits;
    if (flags & FORMAT_NUMBER_SHORTEST) {
        digits = fmt::format("{}", size);
        if (digits.find('e') != std::string::npos) digits = fmt::format("{:.17g}", size);
        if (digits.size() > 2 && digits.compare(digits.size() - 2, 2, ".0") == 0) {
            digits.resize(digits.size() - 2);
        }
    } else {
        digits = fmt::format("{:.2f}", size);
    }
    return decorated(std::move(digits), std::signbit(value) && value != 0.0, flags);
}

std::string formatIntNumber(long long value, int width, int flags) {
    const unsigned long long size = value < 0 ? 0ull - static_cast<unsigned long long>(value)
                                              : static_cast<unsigned long long>(value);
    return decorated(fmt::format("{:0{}}", size, width > 0 ? width : 1), value < 0, flags);
}

}  // namespace utils
