#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// The made-up market of the sample day. Prices are whole cents, and random numbers come from a
/// seed, so that every machine makes the same day.
namespace replay {

/// SplitMix64: tiny, and the same everywhere, unlike the distributions of <random>.
class CChance {
public:
    explicit CChance(std::uint64_t seed) : m_state(seed) {}

    std::uint64_t next();
    /// Least to most, both included.
    int between(int least, int most);
    bool percent(int chance) { return between(1, 100) <= chance; }

private:
    std::uint64_t m_state;
};

struct SampleLevel {
    int cents = 0;
    int volume = 0;
};

/// One stock, its price on a bounded walk with a book of five levels a side.
class CSampleStock {
public:
    CSampleStock(std::string market, std::string code, std::string name, int referenceCents);

    const std::string& market() const { return m_market; }
    const std::string& code() const { return m_code; }
    const std::string& name() const { return m_name; }
    int reference() const { return m_reference; }
    int limitUp() const { return m_reference + m_reference / 10; }
    int limitDown() const { return m_reference - m_reference / 10; }
    int last() const { return m_last; }
    int bestAsk() const { return m_last + 1; }
    int bestBid() const { return m_last - 1; }
    bool atLimitUp() const { return m_last >= limitUp(); }

    /// One step of the walk; `rush` drives the price to its upper limit and keeps it.
    void step(CChance& chance, bool rush);
    /// The close becomes the reference of the next day.
    void nextDay();

    std::vector<SampleLevel> asks(CChance& chance) const;
    std::vector<SampleLevel> bids(CChance& chance) const;

private:
    std::string m_market;
    std::string m_code;
    std::string m_name;
    int m_reference;
    int m_last;
};

/// The first `count` stocks of the market.
std::vector<CSampleStock> sampleStocks(int count, CChance& chance);

/// Cents as a price in yuan: 1050 is 10.5.
std::string yuanText(int cents);

}  // namespace replay
