#include "linkage/core/intake.h"
#include "linkage/core/ledger.h"

#include <algorithm>
#include <tuple>

namespace TC {

namespace {

bool selects(const std::set<std::string>& keys, const std::string& key) {
    return keys.empty() || keys.count(key) > 0;
}

}  // namespace

std::map<std::string, const Figures*> CLedger::figuresOfStock(const std::string& accountKey,
                                                              const std::string& stockKey) const {
    std::map<std::string, const Figures*> result;
    const std::uint32_t account = findAccount(accountKey);
    const std::uint32_t stock = findStock(stockKey);
    if (account == NONE || stock == NONE) return result;
    for (const std::uint32_t at : m_accounts[account].pairs) {
        if (at == NONE) continue;
        const Pair& pair = m_pairs[at];
        if (const Figures* const found = pair.index.find(stock)) {
            result[m_strategies[pair.strategy].key] = found;
        }
    }
    return result;
}

std::vector<CLedger::Selected> CLedger::selectFigures(
    const std::set<std::string>& accountKeys, const std::set<std::string>& stockKeys) const {
    std::vector<Selected> selected;
    for (const Account& account : m_accounts) {
        if (!selects(accountKeys, account.key)) continue;
        for (const std::uint32_t at : account.pairs) {
            if (at == NONE) continue;
            for (const Figures* const figures : m_pairs[at].figures) {
                const std::string& stock = m_stocks[figures->stock].key;
                if (!selects(stockKeys, stock)) continue;
                selected.push_back({&account.key, &stock, &m_strategies[m_pairs[at].strategy].key,
                                    &figures->record});
            }
        }
    }
    std::sort(selected.begin(), selected.end(), [](const Selected& left, const Selected& right) {
        return std::tie(*left.account, *left.stock, *left.strategy) <
               std::tie(*right.account, *right.stock, *right.strategy);
    });
    return selected;
}

ByDay<std::pair<double, double>> CLedger::amountsOfDeals(const std::set<std::string>& accountKeys,
                                                         const std::set<std::string>& strategies,
                                                         const std::set<std::string>& stockKeys,
                                                         int exceptDay) const {
    // Gathered by key first, so that the sums do not depend on the order of arrival.
    std::map<std::tuple<int, std::string, std::string, std::uint64_t>, DealPtr> filed;
    for (const Account& account : m_accounts) {
        if (!selects(accountKeys, account.key)) continue;
        for (const std::uint32_t at : account.cells) {
            const Cell& cell = m_cells[at];
            const std::string& stock = m_stocks[cell.stock].key;
            if (cell.day == exceptDay || !selects(stockKeys, stock)) continue;
            for (std::uint32_t deal = cell.firstDeal; deal != NONE;
                 deal = m_deals[deal].nextInCell) {
                filed[{cell.day, account.key, stock, m_deals[deal].key}] = m_deals[deal].report;
            }
        }
    }
    ByDay<std::pair<double, double>> amounts;
    for (const auto& [place, deal] : filed) {
        const vexservice::CCommandRecord* const carrier = deal->m_pCommand.get();
        if (isHistoryBalance(carrier) || !selects(strategies, strategyOf(carrier))) continue;
        auto& [bought, sold] = amounts[std::get<0>(place)];
        const bool buys = vexservice::isBuyByDirection(deal->m_eDirection, deal->m_eOffsetFlag);
        (buys ? bought : sold) += deal->m_dAmount;
    }
    return amounts;
}

template <class Visit>
void CLedger::forEachHolding(const std::set<std::string>& accountKeys,
                             const std::set<std::string>& stockKeys, Visit visit) const {
    for (const Account& account : m_accounts) {
        if (!selects(accountKeys, account.key)) continue;
        for (std::uint32_t stock = 0; stock < account.holdings.size(); ++stock) {
            const std::uint32_t at = account.holdings[stock];
            if (at != NONE && selects(stockKeys, m_stocks[stock].key)) visit(m_holdings[at]);
        }
    }
}

double CLedger::largestOrderAmplitude(const std::set<std::string>& accountKeys,
                                      const std::set<std::string>& stockKeys) const {
    double largest = 0.0;
    forEachHolding(accountKeys, stockKeys,
                   [&](const Holding& held) { largest = std::max(largest, held.orderAmplitude); });
    return largest;
}

double CLedger::largestDealAmplitude(const std::set<std::string>& accountKeys,
                                     const std::set<std::string>& stockKeys) const {
    double largest = 0.0;
    forEachHolding(accountKeys, stockKeys,
                   [&](const Holding& held) { largest = std::max(largest, held.dealAmplitude); });
    return largest;
}

std::vector<std::string> CLedger::accountKeys() const {
    const std::lock_guard names(m_namesMutex);
    std::vector<std::string> keys;
    for (const Account& account : m_accounts) keys.push_back(account.key);
    return keys;
}

}  // namespace TC
