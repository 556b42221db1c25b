#include "linkage/core/ledger.h"

#include <algorithm>
#include <numeric>

namespace TC {

// New records of a strategy find their place in stock-key order before a pass, so that
// sums are always added in that order.
void CLedger::sortGrownPairs() {
    for (const std::uint32_t at : m_grownPairs) {
        Pair& pair = m_pairs[at];
        if (pair.sorted == pair.figures.size()) continue;
        const std::lock_guard names(m_namesMutex);
        std::sort(pair.figures.begin(), pair.figures.end(), [&](Figures* left, Figures* right) {
            return m_stocks[left->stock].key < m_stocks[right->stock].key;
        });
        pair.sorted = static_cast<std::uint32_t>(pair.figures.size());
        pair.profits.resize(pair.sorted);
        for (std::uint32_t rank = 0; rank < pair.sorted; ++rank) {
            Figures& figures = *pair.figures[rank];
            pair.profits[rank] = figures.record.deals().m_dProfit;
            figures.block->places[figures.inBlock] = {at, rank};
        }
    }
    m_grownPairs.clear();
    if (m_pairsInOrder.size() != m_pairs.size()) {
        m_pairsInOrder.resize(m_pairs.size());
        std::iota(m_pairsInOrder.begin(), m_pairsInOrder.end(), 0u);
        std::sort(m_pairsInOrder.begin(), m_pairsInOrder.end(),
                  [&](std::uint32_t left, std::uint32_t right) {
                      const Pair& a = m_pairs[left];
                      const Pair& b = m_pairs[right];
                      if (a.account != b.account) {
                          return m_accounts[a.account].key < m_accounts[b.account].key;
                      }
                      return m_strategies[a.strategy].key < m_strategies[b.strategy].key;
                  });
        m_touched.assign(m_pairs.size(), 0);
    }
}

void CLedger::setLatestPrice(std::uint32_t at, double price) {
    Stock& stock = m_stocks[at];
    stock.lastPrice = price;
    if (!stock.hasNewPrice) {
        stock.hasNewPrice = true;
        m_newPrices.push_back(at);
    }
}

std::optional<double> CLedger::lastPrice(const std::string& stockKey) const {
    const std::uint32_t at = findStock(stockKey);
    return at == NONE ? std::nullopt : m_stocks[at].lastPrice;
}

std::optional<double> CLedger::valuedPrice(const std::string& stockKey) const {
    const std::uint32_t at = findStock(stockKey);
    return at == NONE ? std::nullopt : m_stocks[at].valuedPrice;
}

void CLedger::forgetPrices() {
    for (Stock& stock : m_stocks) {
        stock.valuedPrice.reset();
        if (!stock.hasNewPrice) stock.lastPrice.reset();
    }
}

void CLedger::revalueStock(Stock& stock, const ValuePrices& prices) {
    for (const auto& block : stock.figures.blocks()) {
        for (std::uint32_t index = 0; index < block->used; ++index) {
            const SumPlace place = block->places[index];
            if (place.pair == NONE) continue;
            DealFigures& deals = block->deals[index];
            EffectiveFigures figures{deals.m_nBuyVolume, deals.m_nSellVolume, deals.m_dBuyAmount,
                                     deals.m_dSellAmount};
            if (m_bClientType3) figures = effectiveFigures(block->at(index).record, true);
            const std::int32_t net = figures.net();
            const double profit =
                profitOf(net, figures.buyAmount, figures.sellAmount, deals.m_dCommission, prices);
            deals.m_dProfit = profit;
            deals.m_dPositionValue = positionValueOf(net, prices.price);
            m_pairs[place.pair].profits[place.rank] = profit;
            m_touched[place.pair] = 1;
        }
    }
}

namespace {

constexpr std::size_t LANES = 8;

// Sums of several strategies side by side: each is added in its own order, and the
// processor works on all of them at once instead of waiting for one.
void sumLanes(const std::vector<double>* const (&lanes)[LANES], std::size_t used,
              double (&sums)[LANES]) {
    const double* values[LANES];
    std::size_t common = lanes[0]->size();
    for (std::size_t lane = 0; lane < LANES; ++lane) {
        const std::vector<double>& source = *lanes[lane < used ? lane : 0];
        values[lane] = source.data();
        common = std::min(common, source.size());
        sums[lane] = 0.0;
    }
    for (std::size_t at = 0; at < common; ++at) {
        for (std::size_t lane = 0; lane < LANES; ++lane) sums[lane] += values[lane][at];
    }
    for (std::size_t lane = 0; lane < used; ++lane) {
        for (std::size_t at = common; at < lanes[lane]->size(); ++at) {
            sums[lane] += values[lane][at];
        }
    }
}

}  // namespace

std::vector<CLedger::ProfitSum> CLedger::sumTouched() {
    std::vector<ProfitSum> result;
    const std::vector<double>* lanes[LANES];
    std::uint32_t pairs[LANES];
    std::size_t used = 0;
    const auto flush = [&] {
        double sums[LANES];
        if (used > 0) sumLanes(lanes, used, sums);
        for (std::size_t lane = 0; lane < used; ++lane) {
            const Pair& pair = m_pairs[pairs[lane]];
            result.push_back(
                {m_accounts[pair.account].key, m_strategies[pair.strategy].key, sums[lane]});
        }
        used = 0;
    };
    for (const std::uint32_t at : m_pairsInOrder) {
        if (!m_touched[at]) continue;
        m_touched[at] = 0;
        lanes[used] = &m_pairs[at].profits;
        pairs[used] = at;
        if (++used == LANES) flush();
    }
    flush();
    return result;
}

}  // namespace TC
