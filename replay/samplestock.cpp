#include "replay/samplestock.h"

#include <algorithm>
#include <array>

namespace replay {

namespace {

constexpr int LEVELS = 5;

struct Listing {
    const char* market;
    const char* code;
    const char* name;
    int cents;
};

/// Made up, names and all.
constexpr std::array<Listing, 8> LISTINGS = {{
    {"SH", "609901", "东山机电", 1250},
    {"SH", "609902", "北河能源", 3680},
    {"SZ", "009801", "南屿食品", 872},
    {"SZ", "009802", "西岭医药", 5415},
    {"SZ", "309701", "长桥软件", 2733},
    {"SH", "689601", "远帆材料", 9120},
    {"SH", "609903", "平川纸业", 465},
    {"SZ", "009803", "青石建材", 1590},
}};

}  // namespace

std::uint64_t CChance::next() {
    m_state += 0x9E3779B97F4A7C15ULL;
    std::uint64_t mixed = m_state;
    mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9ULL;
    mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBULL;
    return mixed ^ (mixed >> 31);
}

int CChance::between(int least, int most) {
    const auto span = static_cast<std::uint64_t>(most) - static_cast<std::uint64_t>(least) + 1;
    return least + static_cast<int>(next() % span);
}

CSampleStock::CSampleStock(std::string market, std::string code, std::string name,
                           int referenceCents)
    : m_market(std::move(market)),
      m_code(std::move(code)),
      m_name(std::move(name)),
      m_reference(referenceCents),
      m_last(referenceCents) {}

void CSampleStock::step(CChance& chance, bool rush) {
    if (rush) {
        const int left = limitUp() - m_last;
        m_last += std::min(left, std::max(1, left / 20));
        return;
    }
    const int width = std::max(1, m_reference / 2000);
    const int pull = (m_reference - m_last) * 4 / m_reference;
    m_last += chance.between(-width, width) + pull;
    m_last = std::clamp(m_last, limitDown() + LEVELS + 1, limitUp() - LEVELS - 1);
}

void CSampleStock::nextDay() { m_reference = m_last; }

std::vector<SampleLevel> CSampleStock::asks(CChance& chance) const {
    std::vector<SampleLevel> levels;
    for (int i = 0; i < LEVELS && bestAsk() + i <= limitUp(); ++i) {
        levels.push_back({bestAsk() + i, chance.between(1, 8) * 100});
    }
    return levels;
}

std::vector<SampleLevel> CSampleStock::bids(CChance& chance) const {
    std::vector<SampleLevel> levels;
    for (int i = 0; i < LEVELS && bestBid() - i >= limitDown(); ++i) {
        levels.push_back({bestBid() - i, chance.between(1, 8) * 100});
    }
    return levels;
}

std::vector<CSampleStock> sampleStocks(int count, CChance& chance) {
    std::vector<CSampleStock> stocks;
    for (int i = 0; i < count; ++i) {
        const auto index = static_cast<std::size_t>(i);
        if (index < LISTINGS.size()) {
            const Listing& listing = LISTINGS[index];
            stocks.emplace_back(listing.market, listing.code, listing.name, listing.cents);
            continue;
        }
        std::string code = std::to_string(9000 + i);
        stocks.emplace_back("SZ", "00" + code, "样本" + code, chance.between(300, 9000));
    }
    return stocks;
}

std::string yuanText(int cents) {
    std::string text = std::to_string(cents / 100);
    const int rest = cents % 100;
    if (rest == 0) return text;
    text += '.';
    text += static_cast<char>('0' + rest / 10);
    if (rest % 10 != 0) text += static_cast<char>('0' + rest % 10);
    return text;
}

}  // namespace replay
