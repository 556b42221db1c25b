#include "linkage/core/accounts.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/copyinslices.h"
#include "linkage/core/published.h"
#include "linkage/ledger/attribution.h"
#include "linkage/ledger/daykey.h"
#include "linkage/ledger/figurescopy.h"
#include "linkage/ledger/ledger.h"
#include "linkage/ledger/orderrule.h"
#include "linkage/ledger/recordscopy.h"
#include "linkage/ledger/selection.h"
#include "linkage/ledger/valuerule.h"
#include "linkage/stats/curvedata.h"
#include "linkage/stats/totalsrule.h"
#include "platform/utils/keys.h"
#include "platform/utils/text.h"

#include <algorithm>
#include <optional>
#include <span>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

namespace TC {

namespace {

using FiledDeals = CLedger::CRecordsCopy<DealPtr>;
using Amounts = std::map<int, std::pair<double, double>>;

std::set<std::string> keySet(const QList<QString>& texts) {
    std::set<std::string> keys;
    for (const QString& text : texts) keys.insert(text.toStdString());
    return keys;
}

/// The order in which deals of other days are added: it must not depend on that of their arrival.
bool comesBefore(const FiledDeals::Record& a, const FiledDeals::Record& b) {
    return std::tie(a.day, *a.account, *a.stock, a.key) <
           std::tie(b.day, *b.account, *b.stock, b.key);
}

/// Bought and sold amounts by day, without what balances history. A deal without a strategy counts
/// for WHOLE_ACCOUNT.
Amounts amountsOf(std::vector<FiledDeals::Record> deals, const std::set<std::string>& strategies) {
    std::sort(deals.begin(), deals.end(), comesBefore);
    Amounts amounts;
    for (const auto& [key, deal, day, account, stock] : deals) {
        const vexservice::CCommandRecord* const carrier = deal->m_pCommand.get();
        if (isHistoryBalance(carrier) || !selects(strategies, strategyOf(carrier))) continue;
        auto& [bought, sold] = amounts[day];
        const bool buys = vexservice::isBuyByDirection(deal->m_eDirection, deal->m_eOffsetFlag);
        (buys ? bought : sold) += deal->m_dAmount;
    }
    return amounts;
}

/// Visits every selected record's share in the totals.
template <class Visit>
void forEachTotal(const CLedger::CFiguresCopy& figures, bool withRest, Visit visit) {
    std::vector<TradedValue> named;
    std::unordered_map<const std::string*, ValueRule> rules;
    figures.forEachStock([&](const std::string& stock, const std::optional<double>& price,
                             std::span<const CLedger::CFiguresCopy::Selected> records) {
        TradedValue wide;
        named.clear();
        for (const auto& each : records) {
            if (each.wide) {
                wide = each.value;
                continue;
            }
            named.push_back(each.value);
            if (each.selected) visit(each.value);
        }
        if (!withRest) return;
        visit(remainder(wide, named, [&]() -> std::optional<ValuePrices> {
            if (!price) return std::nullopt;
            const auto known = rules.find(&stock);
            if (known != rules.end()) return known->second.at(*price);
            return rules.emplace(&stock, valueRule(stock)).first->second.at(*price);
        }));
    });
}

}  // namespace

template <class Visit>
int CLinkageManager::sumTotals(const std::set<std::string>& accountKeys,
                               const std::set<std::string>& strategies,
                               const std::set<std::string>& stockKeys, Visit visit) const {
    CLedger::CFiguresCopy figures(*m_pLedger, accountKeys, strategies, stockKeys);
    int today = 0;
    copyInSlices(
        m_mutex,
        [&] {
            figures.takeNames();
            today = dayKey(m_pTradeDate->get());
        },
        figures);
    forEachTotal(figures, selects(strategies, WHOLE_ACCOUNT), visit);
    return today;
}

std::map<int, double> CLinkageManager::getTotalProfits(const std::set<std::string>& accountKeys,
                                                       const std::set<std::string>& strategies,
                                                       const std::set<std::string>& stockKeys,
                                                       bool) const {
    double total = 0.0;
    const int today = sumTotals(accountKeys, strategies, stockKeys,
                                [&](const TradedValue& value) { total += value.profit; });
    return {{today, total}};
}

std::map<int, double> CLinkageManager::getTotalBalances(const std::set<std::string>& accountKeys,
                                                        const std::set<std::string>& strategies,
                                                        const std::set<std::string>& stockKeys,
                                                        bool) const {
    double total = 0.0;
    const int today = sumTotals(accountKeys, strategies, stockKeys,
                                [&](const TradedValue& value) { total += value.positionValue; });
    return {{today, total}};
}

std::map<int, std::pair<double, double>> CLinkageManager::getTotalBuySellAmounts(
    const std::set<std::string>& accountKeys, const std::set<std::string>& strategies,
    const std::set<std::string>& stockKeys, bool todayOnly) const {
    std::optional<CLedger::CFiguresCopy> figures;
    std::vector<FiledDeals::Record> others;
    int today = 0;
    for (bool isToday = false; !isToday;) {
        today = dayKey(m_pTradeDate->get());
        figures.emplace(*m_pLedger, accountKeys, strategies, stockKeys);
        FiledDeals deals(*m_pLedger, {accountKeys, stockKeys, today, true});
        const auto last = [&] {
            figures->takeNames();
            isToday = today == dayKey(m_pTradeDate->get());
        };
        if (todayOnly) {
            copyInSlices(m_mutex, last, *figures);
        } else {
            copyInSlices(m_mutex, last, *figures, deals);
            others = deals.take();
        }
    }
    Amounts totals = amountsOf(std::move(others), strategies);
    auto& amounts = totals[today];
    forEachTotal(*figures, selects(strategies, WHOLE_ACCOUNT), [&](const TradedValue& value) {
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
