#include "linkage/ledger/ledger.h"
#include "linkage/ledger/selection.h"

#include <algorithm>

namespace TC {

using namespace ledger;

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
