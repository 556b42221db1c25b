#include "common/prefetch.h"
#include "linkage/ledger/ledger.h"
#include "linkage/ledger/valuerule.h"
#include "linkage/tape/moment.h"

#include <algorithm>
#include <numeric>

namespace TC {

using namespace ledger;

bool CLedger::sortGrown(std::size_t most) {
    std::size_t count = 0;
    for (; !m_grownPairs.empty() && count < most; m_grownPairs.pop_back()) {
        const std::uint32_t at = m_grownPairs.back();
        Pair& pair = m_pairs[at];
        if (pair.sorted == pair.figures.size()) continue;
        count += pair.figures.size();
        m_figureCopies.restart();
        const std::lock_guard names(m_namesMutex);
        std::sort(pair.figures.begin(), pair.figures.end(), [&](Figures* left, Figures* right) {
            return m_stocks[left->stock].key < m_stocks[right->stock].key;
        });
        pair.sorted = static_cast<std::uint32_t>(pair.figures.size());
        m_profits.seat(at, pair.strategy == WHOLE_ACCOUNT_ID, pair.sorted);
        for (std::uint32_t rank = 0; rank < pair.sorted; ++rank) {
            Figures& figures = *pair.figures[rank];
            m_profits.put(at, rank, figures.record.worth().m_dProfit);
            figures.block->places[figures.inBlock] = {at, rank};
        }
    }
    return !m_grownPairs.empty();
}

void CLedger::orderPairs() {
    if (m_pairsInOrder.size() == m_pairs.size()) return;
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
}

void CLedger::setLatestPrice(std::uint32_t at, double price) {
    Stock& stock = m_stocks[at];
    stock.lastPrice = price;
    if (!stock.hasNewPrice) {
        stock.hasNewPrice = true;
        m_newPrices.push_back(at);
    }
    noteStock(at);
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
    for (std::uint32_t at = 0; at < m_stocks.size(); ++at) {
        Stock& stock = m_stocks[at];
        if (stock.lastPrice || stock.valuedPrice) noteStock(at);
        stock.valuedPrice.reset();
        if (!stock.hasNewPrice) stock.lastPrice.reset();
    }
}

void CLedger::refreshLimits(Stock& stock) {
    const std::uint64_t revision = referenceRevision();
    if (stock.limitsRevision == revision) return;
    stock.limitsRevision = revision;
    stock.limits = dayLimits(stock.quoteKey);
}

// The processor's own look ahead ends with each page of 4 kB.
void CLedger::revalueBlock(FigureBlock& block, const ValuePrices& prices) {
    constexpr std::uint32_t AHEAD = 16;
    const std::uint32_t used = block.used;
    const SumPlace* const places = block.places;
    const DealFigures* const deals = block.deals;
    DealWorth* const worths = block.worths;
    const bool byOrders = m_bClientType3;
    for (std::uint32_t index = 0; index < used; ++index) {
        const SumPlace place = places[index];
        if (place.pair == NONE) continue;
        utils::prefetch(deals + index + AHEAD);
        utils::prefetch(worths + index + AHEAD);
        const DealFigures& own = deals[index];
        EffectiveFigures figures{own.m_nBuyVolume.own(), own.m_nSellVolume.own(),
                                 own.m_dBuyAmount.own(), own.m_dSellAmount.own()};
        if (byOrders) figures = effectiveFigures(block.at(index).record, true);
        const std::int32_t net = figures.net();
        const double profit =
            profitOf(net, figures.buyAmount, figures.sellAmount, own.m_dCommission.own(), prices);
        worths[index].m_dProfit = profit;
        worths[index].m_dPositionValue = positionValueOf(net, prices.price);
        m_profits.set(place.pair, place.rank, profit);
    }
}

// While one block is revalued, the processor fetches the next ones.
void CLedger::revalueBlocks(const std::vector<std::pair<FigureBlock*, ValuePrices>>& blocks) {
    constexpr std::size_t NEAR = 1;
    constexpr std::size_t FAR = 6;
    for (std::size_t at = 0; at < blocks.size(); ++at) {
        if (at + FAR < blocks.size()) utils::prefetch(blocks[at + FAR].first);
        if (at + NEAR < blocks.size()) blocks[at + NEAR].first->prefetch();
        revalueBlock(*blocks[at].first, blocks[at].second);
    }
}

std::vector<CLedger::ProfitSum> CLedger::revalue(const LimitRates& rates) {
    m_figureCopies.restart();
    sortGrown(ALL);
    orderPairs();
    std::vector<std::pair<FigureBlock*, ValuePrices>> blocks;
    for (const std::uint32_t at : m_newPrices) {
        Stock& stock = m_stocks[at];
        stock.hasNewPrice = false;
        stock.valuedPrice = stock.lastPrice;
        noteStock(at);
        if (stock.figures.blocks().empty()) continue;
        refreshLimits(stock);
        const ValuePrices prices =
            valuePrices(*stock.lastPrice, stock.limits ? &*stock.limits : nullptr,
                        stock.special ? rates.special : rates.ordinary);
        for (const auto& block : stock.figures.blocks()) blocks.emplace_back(block.get(), prices);
    }
    revalueBlocks(blocks);
    m_newPrices.clear();

    std::vector<ProfitSum> sums;
    m_profits.sumChanged(m_pairsInOrder, [&](std::uint32_t at, double profit) {
        Pair& pair = m_pairs[at];
        pair.profit = profit;
        m_journal.note(CChangeJournal::EKind::Pair, at, pair.changedAt);
        sums.push_back({m_accounts[pair.account].key, m_strategies[pair.strategy].key, profit});
    });
    return sums;
}

}  // namespace TC
