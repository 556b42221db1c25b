#include "platform/utils/keys.h"

namespace utils {

std::uint64_t hash(const std::string& text) {
    std::uint64_t value = 14695981039346656037ull;
    for (const unsigned char c : text) value = (value ^ c) * 1099511628211ull;
    return value;
}

std::string zorStockKey(const std::string& market, const std::string& code) {
    std::string key;
    key.reserve(market.size() + code.size());
    key += market;
    key += code;
    return key;
}

}  // namespace utils
