#pragma once

#include "linkage/export.h"
#include "platform/utils/relaxed.h"
#include "platform/utils/stringmapsum.h"

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <string>

/// @file
/// The records of the linkage library. Volumes are shares, money is yuan.
namespace TC {

/// The statistics of one account and strategy, as the history store keeps them.
struct TradeStatData {
    std::int32_t m_nId = 0;          ///< -1 until the client gives the record one
    std::string m_strAccountKey;     ///< account key
    std::string m_strFundAccountId;  ///< account ID, as the client gives it
    std::string m_strAccountName;    ///< the account's name, for people
    std::string m_strAccountType;    ///< kind of account, as a text of the client
    std::string m_strBroker;         ///< brokerage company
    std::string m_strStrategy;       ///< strategy name
    /// When it was added, as a text of the client; saves stamp rows with a time of their own.
    std::string m_strAddDate;
    /// "hhmmss", as the client gives it; saves write that of the balance-time table, or none.
    std::string m_strBalanceTime;

    std::int64_t m_nTotalBuyVolume = 0;   ///< shares
    std::int64_t m_nTotalSellVolume = 0;  ///< shares
    double m_dTotalBuyAmount = 0.0;       ///< yuan
    double m_dTotalSellAmount = 0.0;      ///< yuan
    /// Yuan, at the prices of the last historyStatCalculator().
    double m_dTotalPositionValue = 0.0;
};

/// The deals of one minute of one stock, account and strategy.
struct LinkagePeriodTradeData {
    std::int64_t m_nBuyVolume = 0;   ///< shares
    std::int64_t m_nSellVolume = 0;  ///< shares
    double m_dBuyAmount = 0.0;       ///< yuan
    double m_dSellAmount = 0.0;      ///< yuan
    double m_dCommission = 0.0;      ///< yuan

    /// Adds each figure of the other one.
    LinkagePeriodTradeData& operator+=(const LinkagePeriodTradeData& other) {
        m_nBuyVolume += other.m_nBuyVolume;
        m_nSellVolume += other.m_nSellVolume;
        m_dBuyAmount += other.m_dBuyAmount;
        m_dSellAmount += other.m_dSellAmount;
        m_dCommission += other.m_dCommission;
        return *this;
    }
};

/// The sums over the deals of one stock. The calculators stream over these sums and over their
/// worth, so both lie apart from the rest of the record. Two of them fill a cache line.
struct alignas(32) DealFigures {
    utils::CRelaxed<std::int32_t> m_nBuyVolume;   ///< shares
    utils::CRelaxed<std::int32_t> m_nSellVolume;  ///< shares
    utils::CRelaxed<double> m_dBuyAmount;         ///< yuan
    utils::CRelaxed<double> m_dSellAmount;        ///< yuan
    utils::CRelaxed<double> m_dCommission;        ///< yuan, of the deals whose fee is known
};

/// What those deals are worth at the last price that a calculator has seen.
struct DealWorth {
    utils::CRelaxed<double> m_dProfit;  ///< yuan, after commission
    /// Yuan: the open volume, however signed, at that price.
    utils::CRelaxed<double> m_dPositionValue;
};

/// The traded figures of one stock for one account and strategy.
///
/// Always held through a shared pointer, and handed out as the object that intake
/// goes on updating: whoever keeps it sees later figures.
///
/// Threads: written under the manager's lock, read from any thread without it.
class LINKAGE_EXPORT LinkagePeriodExtData {
public:
    /// A record of its own, outside the manager's tables.
    static boost::shared_ptr<LinkagePeriodExtData> make();

    /// The figures and their worth belong to the caller, who keeps them as long as the record.
    LinkagePeriodExtData(DealFigures& deals, DealWorth& worth) : m_deals(deals), m_worth(worth) {}
    LinkagePeriodExtData(const LinkagePeriodExtData&) = delete;
    LinkagePeriodExtData& operator=(const LinkagePeriodExtData&) = delete;

    /// The sums over deals. Only the manager writes them.
    DealFigures& deals() { return m_deals; }
    /// The sums over deals. From any thread.
    const DealFigures& deals() const { return m_deals; }
    /// Profit and position value. Only the manager writes them.
    DealWorth& worth() { return m_worth; }
    /// Profit and position value. From any thread.
    const DealWorth& worth() const { return m_worth; }

private:
    DealFigures& m_deals;

public:
    /// Traded figures of orders, newest report per record key.
    utils::TRecordSum<int> m_buyVolumes;
    utils::TRecordSum<int> m_sellVolumes;     ///< sold volume of the orders, shares
    utils::TRecordSum<double> m_buyAmounts;   ///< bought amount of the orders, yuan
    utils::TRecordSum<double> m_sellAmounts;  ///< sold amount of the orders, yuan

    /// True: the deal totals are taken as they are, also for client type 3.
    utils::CRelaxed<bool> m_bPlain;

    /// Value of the open net volume at the last minute close that the period
    /// calculation has seen.
    utils::CRelaxed<double> m_dCloseValue;

private:
    DealWorth& m_worth;
};

/// The four figures of a record after the effective-figure rule: for client type 3
/// the sums over orders unless the record is marked plain, otherwise the deal totals.
struct EffectiveFigures {
    std::int32_t buyVolume = 0;   ///< shares
    std::int32_t sellVolume = 0;  ///< shares
    double buyAmount = 0.0;       ///< yuan
    double sellAmount = 0.0;      ///< yuan

    /// Bought less sold, in 32-bit arithmetic that wraps.
    std::int32_t net() const {
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(buyVolume) -
                                         static_cast<std::uint32_t>(sellVolume));
    }
};

/// The effective figures of a record, for a client of type 3 or another one. It takes no lock:
/// while a deal is taken in, the four figures need not be of the same moment.
inline EffectiveFigures effectiveFigures(const LinkagePeriodExtData& record, bool clientType3) {
    if (clientType3 && !record.m_bPlain) {
        return {record.m_buyVolumes.sum(), record.m_sellVolumes.sum(), record.m_buyAmounts.sum(),
                record.m_sellAmounts.sum()};
    }
    const DealFigures& deals = record.deals();
    return {deals.m_nBuyVolume, deals.m_nSellVolume, deals.m_dBuyAmount, deals.m_dSellAmount};
}

}  // namespace TC
