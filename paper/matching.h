#pragma once

#include "paper/price.h"
#include "platform/records/pricedata.h"

#include <optional>
#include <vector>

namespace paper {

struct Fill {
    Price price = 0;
    int volume = 0;

    /// In ten-thousandths of a yuan, as a double: the largest amounts do not fit into 64 bits.
    double amount() const { return static_cast<double>(price) * volume; }
};

/// What the newest quote of a stock offers. Volume that an order takes from a level is gone until
/// the next quote.
class CBook {
public:
    void quote(const vexservice::CPriceData& data);

    /// Takes up to `volume` shares at the limit or better, best level first. When neither side has
    /// a level, the last price counts as a level of endless volume, but only for orders with a
    /// limit that reaches it. An order without a limit trades with any level.
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
