#pragma once

#include "paper/price.h"
#include "platform/records/pricedata.h"

#include <optional>
#include <vector>

namespace paper {

struct Fill {
    Price price = 0;
    int volume = 0;

    /// In ten-thousandths of a yuan; the largest ones leave 64 bits.
    double amount() const { return static_cast<double>(price) * volume; }
};

/// What a stock's newest quote offers. What is taken from a level stays taken until the
/// next quote.
class CBook {
public:
    void quote(const vexservice::CPriceData& data);

    /// Takes up to `volume` shares at the limit or better, best level first. Without
    /// any level on either side the last price stands for an endless one, for orders
    /// whose limit reaches it. An order without limit takes any level, but levels only.
    std::vector<Fill> take(bool buys, std::optional<Price> limit, int volume);

private:
    struct Level {
        Price price = 0;
        long long volume = 0;
    };
    static std::vector<Level> levelsOf(const std::vector<vexservice::CPriceLevel>& side);

    Price m_last = 0;
    bool m_bBook = false;  ///< whether the quote had levels
    std::vector<Level> m_asks;
    std::vector<Level> m_bids;
};

}  // namespace paper
