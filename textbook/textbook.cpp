#include "textbook/textbook.h"

#include "platform/services/quoteclient.h"
#include "platform/services/stockmanager.h"
#include "platform/services/tradercenter.h"
#include "platform/utils/keys.h"
#include "platform/utils/text.h"

#include <QDateTime>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>
#include <vector>

namespace textbook {

using namespace vexservice;

namespace {

int dayOf(const std::string& date) {
    return static_cast<int>(QDateTime::fromString(Pim::sToQs(date), "yyyyMMdd").toSecsSinceEpoch());
}

bool isExcluded(const std::string& market, const std::string& code) {
    return isTypedStock(STOCKTYPE_REPURCHASE, market, code, "") ||
           isTypedStock(STOCKTYPE_SUBSCRIPTION, market, code, "");
}

std::string strategyOf(const boost::shared_ptr<CCommandRecord>& command) {
    if (!command) return "";
    if (!command->m_strStrategyName.empty()) return command->m_strStrategyName;
    return command->m_strStrategyName2;
}

bool balancesHistory(const boost::shared_ptr<CCommandRecord>& command) {
    return command && command->m_strTag == "历史配平";
}

void widen(std::map<std::string, std::map<std::string, double>>& amplitudes,
           const std::string& stockKey, const std::string& accountKey, double price,
           double reference) {
    if (reference == 0.0) return;
    const double amplitude = std::fabs(price - reference) / reference;
    if (!std::isfinite(amplitude)) return;
    double& kept = amplitudes[stockKey][accountKey];
    kept = std::max(kept, amplitude);
}

template <class Values>
auto walk(const Values& values) {
    typename Values::mapped_type total{};
    for (const auto& [key, value] : values) total += value;
    return total;
}

/// Copies filed records into a state.
template <class Filed, class Shown>
void show(const Filed& days, Shown& shown) {
    for (const auto& [day, stocks] : days) {
        auto& out = shown[day];
        for (const auto& [stock, accounts] : stocks) {
            out[stock];
            for (const auto& [account, records] : accounts) {
                out[stock][account].insert(records.begin(), records.end());
            }
        }
    }
}

template <class Traded>
boost::shared_ptr<TC::LinkagePeriodExtData> recordOf(const Traded& traded) {
    auto record = TC::LinkagePeriodExtData::make();
    record->deals().m_nBuyVolume = traded.buyVolume;
    record->deals().m_nSellVolume = traded.sellVolume;
    record->deals().m_dBuyAmount = traded.buyAmount;
    record->deals().m_dSellAmount = traded.sellAmount;
    record->deals().m_dCommission = traded.commission;
    record->worth().m_dProfit = traded.profit;
    record->worth().m_dPositionValue = traded.positionValue;
    record->m_buyVolumes.replace(0, walk(traded.buyVolumes));
    record->m_sellVolumes.replace(0, walk(traded.sellVolumes));
    record->m_buyAmounts.replace(0, walk(traded.buyAmounts));
    record->m_sellAmounts.replace(0, walk(traded.sellAmounts));
    return record;
}

}  // namespace

// ------------------------------------------------------------------------ orders

void CTextbook::order(const std::string& accountKey, const OrderPtr& order) {
    if (isExcluded(order->m_strMarket, order->m_strCode)) return;
    const std::string stockKey = utils::zorStockKey(order->m_strMarket, order->m_strCode);
    m_orderDetails[dayOf(order->m_strTradeDate)][stockKey][accountKey][order->recordKey()] = order;
    if (balancesHistory(order->m_pCommand)) return;

    const std::string strategy = strategyOf(order->m_pCommand);
    if (!strategy.empty()) m_strategys.insert(strategy);
    countLots(accountKey, strategy, order);
    updateRunning(accountKey, strategy, order);
    if (!strategy.empty()) updateRunning(accountKey, "", order);
    countTraded(m_tradeStatDatas[accountKey][strategy][stockKey], order);
    if (!strategy.empty()) countTraded(m_tradeStatDatas[accountKey][""][stockKey], order);

    const auto detail = utils::CSingletonT<TC::CStockManager>::instance()->getInstrumentDetail(
        order->m_strMarket, order->m_strCode);
    if (detail && std::fabs(order->m_dPrice) > 0.00001) {
        widen(m_orderAmplitudes, stockKey, accountKey, order->m_dPrice, detail->m_dReferencePrice);
    }
}

void CTextbook::countLots(const std::string& accountKey, const std::string& strategy,
                          const OrderPtr& order) {
    const auto detail = utils::CSingletonT<TC::CStockManager>::instance()->getInstrumentDetail(
        order->m_strMarket, order->m_strCode);
    const double tick = detail ? detail->m_dPriceTick : 0.001;
    const int level = static_cast<int>(order->m_dPrice / tick + 0.5);
    int lots = 0;
    if (order->m_eStatus == 50 || order->m_eStatus == 55) {
        const int unit = getTradeMinUnit(order->m_strMarket, order->m_strCode);
        const int remaining = order->m_nVolume - order->m_nTradedVolume;
        lots = remaining < unit ? 1 : static_cast<int>(static_cast<double>(remaining) / unit + 0.5);
    }
    m_orderPrices[strategy][accountKey][level][order->recordKey()] = lots;
}

void CTextbook::updateRunning(const std::string& accountKey, const std::string& strategy,
                              const OrderPtr& order) {
    if (COrderDetailHelper::isRunning(order->m_eStatus)) {
        m_runningOrders[accountKey][strategy][order->recordKey()] = order;
        return;
    }
    const auto account = m_runningOrders.find(accountKey);
    if (account == m_runningOrders.end()) return;
    const auto orders = account->second.find(strategy);
    if (orders != account->second.end()) orders->second.erase(order->recordKey());
}

void CTextbook::countTraded(Traded& traded, const OrderPtr& order) {
    if (isBuyByDirection(order->m_eDirection, order->m_eOffsetFlag)) {
        traded.buyVolumes[order->recordKey()] = order->m_nTradedVolume;
        traded.buyAmounts[order->recordKey()] = order->m_dTradedAmount;
    } else {
        traded.sellVolumes[order->recordKey()] = order->m_nTradedVolume;
        traded.sellAmounts[order->recordKey()] = order->m_dTradedAmount;
    }
}

// ------------------------------------------------------------------------- deals

void CTextbook::deal(const std::string& accountKey, const DealPtr& deal) {
    if (isExcluded(deal->m_strMarket, deal->m_strCode)) return;
    const std::string stockKey = utils::zorStockKey(deal->m_strMarket, deal->m_strCode);
    const int day = dayOf(deal->m_strTradeDate);
    auto& filed = m_dealDetails[day][stockKey][accountKey];
    const bool isNew = filed.count(deal->recordKey()) == 0;
    filed[deal->recordKey()] = deal;

    const std::string strategy = strategyOf(deal->m_pCommand);
    const DealPlace place{day, stockKey, deal->recordKey()};
    const bool countsAgain = m_dropped[accountKey].count(place) > 0;
    if (!strategy.empty()) m_strategys.insert(strategy);
    const auto detail = utils::CSingletonT<TC::CStockManager>::instance()->getInstrumentDetail(
        deal->m_strMarket, deal->m_strCode);
    if (detail) {
        widen(m_dealAmplitudes, stockKey, accountKey, deal->m_dPrice, detail->m_dReferencePrice);
    }
    if (!isNew && !countsAgain) return;

    if (isNew) {
        const bool buys = isBuyByDirection(deal->m_eDirection, deal->m_eOffsetFlag);
        auto& volumes = m_buySellVolumes[day][stockKey][accountKey];
        auto& amounts = m_buySellAmounts[day][stockKey][accountKey];
        (buys ? volumes.first : volumes.second) += deal->m_nVolume;
        (buys ? amounts.first : amounts.second) += deal->m_dAmount;
    }
    if (balancesHistory(deal->m_pCommand) && !strategy.empty()) return;

    auto* const center = TraderCenter::instance();
    const auto data = center->getDataCenter()->getAccountData(utils::hash(accountKey));
    const auto limits = data ? center->getFeeLimitService()->getFeeLimits(
                                   data->getAccountInfo(), deal->m_strMarket, deal->m_strCode)
                             : nullptr;
    countDeal(accountKey, strategy, deal, COrderDetailHelper::calcDealCommission(limits, deal));
    m_counted[accountKey].insert(place);
    m_dropped[accountKey].erase(place);
    askPrice(stockKey);
}

void CTextbook::countDeal(const std::string& accountKey, const std::string& strategy,
                          const DealPtr& deal, double commission) {
    const std::string stockKey = utils::zorStockKey(deal->m_strMarket, deal->m_strCode);
    const bool buys = isBuyByDirection(deal->m_eDirection, deal->m_eOffsetFlag);
    const int time = std::atoi(deal->m_strTradeTime.c_str());
    if (time != 0) {
        const int minute = time / 10000 * 60 + time / 100 % 100 + (time % 100 >= 1 ? 1 : 0);
        auto& period = m_periodTrades[stockKey][accountKey][strategy][minute];
        (buys ? period.m_nBuyVolume : period.m_nSellVolume) += deal->m_nVolume;
        (buys ? period.m_dBuyAmount : period.m_dSellAmount) += deal->m_dAmount;
        period.m_dCommission += commission;
    }
    std::set<std::string> strategies = {strategy, ""};
    for (const std::string& name : strategies) {
        Traded& traded = m_tradeStatDatas[accountKey][name][stockKey];
        (buys ? traded.buyVolume : traded.sellVolume) += deal->m_nVolume;
        (buys ? traded.buyAmount : traded.sellAmount) += deal->m_dAmount;
        traded.commission += commission;
    }
}

void CTextbook::askPrice(const std::string& stockKey) {
    const auto price =
        utils::CManualSingletonT<TC::CQuoteClient>::instance()->getStockPrice(Pim::sToQs(stockKey));
    if (price && price->hasLastPrice()) m_latestPrices[stockKey] = price->m_dLastPrice;
    m_quoteRequests.insert(stockKey);
}

// ----------------------------------------------------------------------- profits

void CTextbook::price(const std::string& stockKey, double last) {
    if (m_quoteRequests.count(stockKey)) m_latestPrices[stockKey] = last;
}

std::vector<std::string> CTextbook::pass(bool ofOrders) {
    std::vector<std::string> announced;
    if (m_tradeStatDatas.empty()) return announced;
    for (auto& [account, strategies] : m_tradeStatDatas) {
        for (auto& [strategy, stocks] : strategies) {
            double sum = 0.0;
            bool isNew = false;
            for (auto& [stock, traded] : stocks) {
                if (const auto at = m_latestPrices.find(stock); at != m_latestPrices.end()) {
                    revalue(stock, traded, at->second, ofOrders);
                    isNew = true;
                }
                sum += traded.profit;
            }
            if (isNew) announced.push_back(fmt::format("{}/{}/{}", account, strategy, sum));
        }
    }
    m_latestPrices.clear();
    return announced;
}

// At limit-up nobody can buy back and at limit-down nobody can sell, so the position is valued one
// price limit further.
void CTextbook::revalue(const std::string& stockKey, Traded& traded, double last, bool ofOrders) {
    const auto detail = utils::CSingletonT<TC::CStockManager>::instance()->getInstrumentDetail(
        Pim::sToQs(stockKey));
    const double rate = stockKey.find("ST") == std::string::npos ? 0.1 : 0.05;
    const int net = ofOrders ? walk(traded.buyVolumes) - walk(traded.sellVolumes)
                             : traded.buyVolume - traded.sellVolume;
    const double money = ofOrders ? walk(traded.sellAmounts) - walk(traded.buyAmounts)
                                  : traded.sellAmount - traded.buyAmount;
    double price = last;
    if (detail && net < 0 && std::fabs(detail->m_dLimitUp - last) <= 1e-5) price += rate * last;
    if (detail && net > 0 && std::fabs(detail->m_dLimitDown - last) <= 1e-5) price -= rate * last;
    traded.profit = net * price + money - traded.commission;
    traded.positionValue = std::abs(net) * last;
}

// ---------------------------------------------------------------------- accounts

void CTextbook::removeAccount(const std::string& accountKey) {
    const int day = dayOf(m_strTradeDate);
    for (auto& [stockKey, accounts] : m_orderDetails[day]) accounts.erase(accountKey);
    for (auto& [stockKey, accounts] : m_dealDetails[day]) accounts.erase(accountKey);
    if (const auto at = m_buySellVolumes.find(day); at != m_buySellVolumes.end()) {
        for (auto& [stockKey, accounts] : at->second) accounts.erase(accountKey);
        for (auto& [stockKey, accounts] : m_buySellAmounts[day]) accounts.erase(accountKey);
    }
    const auto [known, isNew] = m_dayOfFigures.try_emplace(accountKey, day);
    if (isNew || std::exchange(known->second, day) != day) {
        m_counted[accountKey].clear();
        m_dropped[accountKey].clear();
    }
    for (const DealPlace& place : m_counted[accountKey]) {
        if (std::get<0>(place) != day) m_dropped[accountKey].insert(place);
    }
    m_counted.erase(accountKey);
    m_tradeStatDatas.erase(accountKey);
    m_runningOrders.erase(accountKey);
    for (auto& [strategy, accounts] : m_orderPrices) accounts.erase(accountKey);
    for (auto& [stockKey, accounts] : m_orderAmplitudes) accounts.erase(accountKey);
    for (auto& [stockKey, accounts] : m_dealAmplitudes) accounts.erase(accountKey);
    for (auto& [stockKey, accounts] : m_periodTrades) accounts.erase(accountKey);
}

void CTextbook::requestAccount(const std::string& accountKey) {
    const auto data =
        TraderCenter::instance()->getDataCenter()->getAccountData(utils::hash(accountKey));
    if (!data || !data->getAccountInfo()) return;
    removeAccount(accountKey);
    std::vector<boost::shared_ptr<IData>> orders;
    std::vector<boost::shared_ptr<IData>> deals;
    data->getVector(DATA_ORDER, orders);
    data->getVector(DATA_DEAL, deals);
    for (const auto& record : orders) {
        order(accountKey, boost::dynamic_pointer_cast<COrderDetail>(record));
    }
    for (const auto& record : deals) {
        deal(accountKey, boost::dynamic_pointer_cast<CDealDetail>(record));
    }
}

void CTextbook::rollover(const std::string& tradeDate) {
    m_strTradeDate = tradeDate;
    m_quoteRequests.clear();
}

TC::ManagerState CTextbook::state() const {
    TC::ManagerState state;
    state.tradeDate = m_strTradeDate;
    state.strategys = m_strategys;
    state.quoteRequests = m_quoteRequests;
    state.latestPrices = m_latestPrices;
    show(m_orderDetails, state.orderDetails);
    show(m_dealDetails, state.dealDetails);
    for (const auto& [account, strategies] : m_runningOrders) {
        for (const auto& [strategy, orders] : strategies) {
            auto& keys = state.runningOrders[account][strategy];
            for (const auto& [key, order] : orders) keys.insert(key);
        }
    }
    for (const auto& [account, strategies] : m_tradeStatDatas) {
        for (const auto& [strategy, stocks] : strategies) {
            for (const auto& [stock, traded] : stocks) {
                state.tradeStatDatas[account][strategy][stock] = recordOf(traded);
            }
        }
    }
    for (const auto& [strategy, accounts] : m_orderPrices) {
        auto& out = state.orderPrices[strategy];
        for (const auto& [account, levels] : accounts) {
            for (const auto& [level, lots] : levels) out[account][level] = walk(lots);
        }
    }
    state.orderAmplitudes = m_orderAmplitudes;
    state.dealAmplitudes = m_dealAmplitudes;
    state.buySellVolumes = m_buySellVolumes;
    state.buySellAmounts = m_buySellAmounts;
    state.periodTrades = m_periodTrades;
    return state;
}

}  // namespace textbook
