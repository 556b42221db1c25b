#pragma once

#include "linkage/core/managerstate.h"

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace textbook {

/// The day's intake written down as plainly as it can be: nested maps of texts, figures
/// per record key, totals added up when they are asked for. It decides whether the
/// library, which keeps all this in another form, is right.
///
/// It asks the platform's services what the library asks them. One thread.
class CTextbook {
public:
    explicit CTextbook(std::string tradeDate) : m_strTradeDate(std::move(tradeDate)) {}

    void order(const std::string& accountKey, const boost::shared_ptr<vexservice::COrderDetail>&);
    void deal(const std::string& accountKey, const boost::shared_ptr<vexservice::CDealDetail>&);

    /// Drops what was derived for an account on the trade date.
    void removeAccount(const std::string& accountKey);

    /// Removes the account and derives everything anew from what the data center has of it.
    void requestAccount(const std::string& accountKey);

    /// Begins a new trade date. To be called before the accounts are requested again.
    void rollover(const std::string& tradeDate);

    /// A price that was sent to the subscribers of a stock.
    void price(const std::string& stockKey, double last);

    /// A pass of the profit calculator, with price limits of 10 percent, or of 5 where the stock
    /// key has "ST" in it. `ofOrders`: client type 3. Returns the profits that the pass announces,
    /// as "account/strategy/profit".
    std::vector<std::string> pass(bool ofOrders);

    /// The part of the manager's state that comes from orders and deals.
    TC::ManagerState state() const;

private:
    using OrderPtr = boost::shared_ptr<vexservice::COrderDetail>;
    using DealPtr = boost::shared_ptr<vexservice::CDealDetail>;
    template <class Leaf>
    using ByText = std::map<std::string, Leaf>;
    template <class Leaf>
    using ByRecord = std::map<std::uint64_t, Leaf>;
    template <class Leaf>
    using ByDay = std::map<int, Leaf>;

    using DealPlace = std::tuple<int, std::string, unsigned long long>;  ///< day, stock, key

    struct Traded {
        int buyVolume = 0;
        int sellVolume = 0;
        double buyAmount = 0.0;
        double sellAmount = 0.0;
        double commission = 0.0;
        double profit = 0.0;
        double positionValue = 0.0;
        ByRecord<int> buyVolumes;
        ByRecord<int> sellVolumes;
        ByRecord<double> buyAmounts;
        ByRecord<double> sellAmounts;
    };

    void countLots(const std::string& accountKey, const std::string& strategy, const OrderPtr&);
    void updateRunning(const std::string& accountKey, const std::string& strategy, const OrderPtr&);
    void countTraded(Traded& traded, const OrderPtr& order);
    void countDeal(const std::string& accountKey, const std::string& strategy, const DealPtr&,
                   double commission);
    void askPrice(const std::string& stockKey);
    static void revalue(const std::string& stockKey, Traded& traded, double last, bool ofOrders);

    std::string m_strTradeDate;
    std::set<std::string> m_strategys;
    std::set<std::string> m_quoteRequests;
    ByText<double> m_latestPrices;
    ByDay<ByText<ByText<ByRecord<OrderPtr>>>> m_orderDetails;
    ByDay<ByText<ByText<ByRecord<DealPtr>>>> m_dealDetails;
    ByText<int> m_dayOfFigures;
    ByText<std::set<DealPlace>> m_counted;  ///< by account: deals in its figures
    ByText<std::set<DealPlace>> m_dropped;  ///< by account: deals of other days that count again
    ByText<ByText<ByRecord<OrderPtr>>> m_runningOrders;
    ByText<ByText<ByText<Traded>>> m_tradeStatDatas;
    ByText<ByText<std::map<int, ByRecord<int>>>> m_orderPrices;
    ByText<ByText<double>> m_orderAmplitudes;
    ByText<ByText<double>> m_dealAmplitudes;
    ByDay<ByText<ByText<std::pair<int, int>>>> m_buySellVolumes;
    ByDay<ByText<ByText<std::pair<double, double>>>> m_buySellAmounts;
    ByText<ByText<ByText<std::map<int, TC::LinkagePeriodTradeData>>>> m_periodTrades;
};

/// The first figure in which two states differ as far as orders and deals go, in words;
/// "" when there is none. Sums over record keys may differ in their last digits, because
/// they were added up in another order; everything else is the same to the bit.
std::string firstDifference(const TC::ManagerState& expected, const TC::ManagerState& actual);

}  // namespace textbook
