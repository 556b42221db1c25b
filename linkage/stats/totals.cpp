#include "linkage/core/accounts.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/published.h"
#include "linkage/ledger/attribution.h"
#include "linkage/ledger/daykey.h"
#include "linkage/ledger/ledger.h"
#include "linkage/ledger/orderrule.h"
#include "linkage/ledger/selection.h"
#include "linkage/ledger/valuerule.h"
#include "linkage/stats/curvedata.h"
#include "linkage/stats/totalsrule.h"
#include "platform/utils/keys.h"
#include "platform/utils/text.h"

#include <optional>
#include <span>

namespace TC {

namespace {

std::set<std::string> keySet(const QList<QString>& texts) {
    std::set<std::string> keys;
    for (const QString& text : texts) keys.insert(text.toStdString());
    return keys;
}

TradedValue valueOf(const LinkagePeriodExtData& record, bool clientType3) {
    const DealWorth& worth = record.worth();
    return {effectiveFigures(record, clientType3), record.deals().m_dCommission, worth.m_dProfit,
            worth.m_dPositionValue};
}

}  // namespace

template <class Visit>
void CLinkageManager::forEachTotal(const std::set<std::string>& accountKeys,
                                   const std::set<std::string>& strategies,
                                   const std::set<std::string>& stockKeys, Visit visit) const {
    const bool withRest = selects(strategies, WHOLE_ACCOUNT);
    std::vector<TradedValue> named;
    m_pLedger->selectFigures(
        accountKeys, strategies, stockKeys,
        [&](const std::string& stock, std::span<const CLedger::Selected> records) {
            TradedValue wide;
            named.clear();
            for (const CLedger::Selected& each : records) {
                const TradedValue value = valueOf(each.figures->record, m_bClientType3);
                if (each.wide) {
                    wide = value;
                    continue;
                }
                named.push_back(value);
                if (each.selected) visit(value);
            }
            if (!withRest) return;
            visit(remainder(wide, named, [&]() -> std::optional<ValuePrices> {
                const std::optional<double> price = m_pLedger->valuedPrice(stock);
                if (!price) return std::nullopt;
                return valueRule(stock).at(*price);
            }));
        });
}

std::map<int, double> CLinkageManager::getTotalProfits(const std::set<std::string>& accountKeys,
                                                       const std::set<std::string>& strategies,
                                                       const std::set<std::string>& stockKeys,
                                                       bool) const {
    const CLock lock(m_mutex);
    double total = 0.0;
    forEachTotal(accountKeys, strategies, stockKeys,
                 [&](const TradedValue& value) { total += value.profit; });
    return {{dayKey(m_pTradeDate->get()), total}};
}

std::map<int, double> CLinkageManager::getTotalBalances(const std::set<std::string>& accountKeys,
                                                        const std::set<std::string>& strategies,
                                                        const std::set<std::string>& stockKeys,
                                                        bool) const {
    const CLock lock(m_mutex);
    double total = 0.0;
    forEachTotal(accountKeys, strategies, stockKeys,
                 [&](const TradedValue& value) { total += value.positionValue; });
    return {{dayKey(m_pTradeDate->get()), total}};
}

std::map<int, std::pair<double, double>> CLinkageManager::getTotalBuySellAmounts(
    const std::set<std::string>& accountKeys, const std::set<std::string>& strategies,
    const std::set<std::string>& stockKeys, bool todayOnly) const {
    const CLock lock(m_mutex);
    const int today = dayKey(m_pTradeDate->get());
    std::map<int, std::pair<double, double>> totals;
    if (!todayOnly) {
        totals = m_pLedger->amountsOfDeals(accountKeys, strategies, stockKeys, today);
    }
    auto& amounts = totals[today];
    forEachTotal(accountKeys, strategies, stockKeys, [&](const TradedValue& value) {
        amounts.first += value.figures.buyAmount;
        amounts.second += value.figures.sellAmount;
    });
    return totals;
}

double CLinkageManager::getDealAmplitude(const std::set<std::string>& accountKeys,
                                         const std::set<std::string>& stockKeys) const {
    const CLock lock(m_mutex);
    return m_pLedger->largestDealAmplitude(accountKeys, stockKeys);
}

double CLinkageManager::getOrderAmplitude(const std::set<std::string>& accountKeys,
                                          const std::set<std::string>& stockKeys) const {
    const CLock lock(m_mutex);
    return m_pLedger->largestOrderAmplitude(accountKeys, stockKeys);
}

int CLinkageManager::getOrderNumberByPrice(const QString& strategy, double price,
                                           double tick) const {
    const CLock lock(m_mutex);
    return m_pLedger->lotsAtLevel(strategy.toStdString(), priceLevel(price, tick));
}

void CLinkageManager::getPositionNumber(const QString& stockKey, QList<QString>& accountIds,
                                        QList<int>& volumes, QList<int>& availables,
                                        const QList<QString>& accountKeys) const {
    const std::set<std::string> wanted = keySet(accountKeys);
    accountIds.clear();
    volumes.clear();
    availables.clear();
    const CLock lock(m_mutex);
    const auto* const accounts = m_pLedger->positions(stockKey.toStdString());
    if (!accounts) return;
    for (const auto& [key, positions] : *accounts) {
        const auto account = m_pAccounts->m_infos.find(key);
        if (positions.empty() || account == m_pAccounts->m_infos.end() || !selects(wanted, key)) {
            continue;
        }
        std::int32_t volume = 0;
        std::int32_t available = 0;
        for (const auto& [record, position] : positions) {
            volume = wrapAdd(volume, position->m_nVolume);
            available = wrapAdd(available, position->m_nAvailable);
        }
        accountIds.append(Pim::sToQs(account->second->m_strID));
        volumes.append(volume);
        availables.append(available);
    }
}

int CLinkageManager::getTaskItemFinishNumber(const boost::shared_ptr<vexservice::CTaskDetail>& task,
                                             const std::string& stockKey) const {
    std::int32_t traded = 0;
    if (!task) return traded;
    for (const auto& item : task->m_items) {
        if (item && utils::zorStockKey(item->m_strMarket, item->m_strCode) == stockKey) {
            traded = wrapAdd(traded, item->m_nTradedVolume);
        }
    }
    return traded;
}

bool CLinkageManager::getAccounts(const QList<QString>& accountIds,
                                  std::set<std::string>& accountKeys) const {
    std::set<std::string> missing = keySet(accountIds);
    const std::set<std::string> wanted = missing;
    const CLock lock(m_mutex);
    for (const auto& [key, account] : m_pAccounts->m_infos) {
        if (wanted.count(account->m_strID) == 0) continue;
        accountKeys.insert(key);
        missing.erase(account->m_strID);
    }
    return missing.empty();
}

void CLinkageManager::getTradeStatDatas(
    const std::list<std::string>& accountKeys, const std::string& strategy,
    std::map<std::string, std::map<std::string, FiguresPtr>>& out) const {
    out.clear();
    const auto take = [&](const std::string& account) {
        auto figures = m_pLedger->figuresOf(account, strategy);
        if (!figures.empty()) out[account] = std::move(figures);
    };
    if (accountKeys.empty()) {
        for (const std::string& account : m_pLedger->accountKeys()) take(account);
    } else {
        for (const std::string& account : accountKeys) take(account);
    }
}

}  // namespace TC
