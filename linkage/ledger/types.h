#pragma once

#include "linkage/export.h"
#include "platform/utils/relaxed.h"
#include "platform/utils/stringmapsum.h"

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <string>

/// The records of the linkage library. Volumes are shares, money is yuan.
namespace TC {

/// The statistics of one account and strategy, as the history store keeps them.
struct TradeStatData {
    std::int32_t m_nId = 0;  ///< -1 until the client gives the record one
    std::string m_strAccountKey;
    std::string m_strFundAccountId;
    std::string m_strAccountName;
    std::string m_strAccountType;
    std::string m_strBroker;
    std::string m_strStrategy;
    std::string m_strAddDate;
    std::string m_strBalanceTime;

    std::int64_t m_nTotalBuyVolume = 0;
    std::int64_t m_nTotalSellVolume = 0;
    double m_dTotalBuyAmount = 0.0;
    double m_dTotalSellAmount = 0.0;
    double m_dTotalPositionValue = 0.0;
};

/// The deals of one minute of one stock, account and strategy.
struct LinkagePeriodTradeData {
    std::int64_t m_nBuyVolume = 0;
    std::int64_t m_nSellVolume = 0;
    double m_dBuyAmount = 0.0;
    double m_dSellAmount = 0.0;
    double m_dCommission = 0.0;

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
    utils::CRelaxed<std::int32_t> m_nBuyVolume;
    utils::CRelaxed<std::int32_t> m_nSellVolume;
    utils::CRelaxed<double> m_dBuyAmount;
    utils::CRelaxed<double> m_dSellAmount;
    utils::CRelaxed<double> m_dCommission;
};

/// What those deals are worth at the last price that a calculator has seen.
struct DealWorth {
    utils::CRelaxed<double> m_dProfit;
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

    LinkagePeriodExtData(DealFigures& deals, DealWorth& worth) : m_deals(deals), m_worth(worth) {}
    LinkagePeriodExtData(const LinkagePeriodExtData&) = delete;
    LinkagePeriodExtData& operator=(const LinkagePeriodExtData&) = delete;

    DealFigures& deals() { return m_deals; }
    const DealFigures& deals() const { return m_deals; }
    DealWorth& worth() { return m_worth; }
    const DealWorth& worth() const { return m_worth; }

private:
    DealFigures& m_deals;

public:
    /// Traded figures of orders, newest report per record key.
    utils::TRecordSum<int> m_buyVolumes;
    utils::TRecordSum<int> m_sellVolumes;
    utils::TRecordSum<double> m_buyAmounts;
    utils::TRecordSum<double> m_sellAmounts;

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
    std::int32_t buyVolume = 0;
    std::int32_t sellVolume = 0;
    double buyAmount = 0.0;
    double sellAmount = 0.0;

    /// Bought less sold, in 32-bit arithmetic that wraps.
    std::int32_t net() const {
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(buyVolume) -
                                         static_cast<std::uint32_t>(sellVolume));
    }
};

inline EffectiveFigures effectiveFigures(const LinkagePeriodExtData& record, bool clientType3) {
    if (clientType3 && !record.m_bPlain) {
        return {record.m_buyVolumes.sum(), record.m_sellVolumes.sum(), record.m_buyAmounts.sum(),
                record.m_sellAmounts.sum()};
    }
    const DealFigures& deals = record.deals();
    return {deals.m_nBuyVolume, deals.m_nSellVolume, deals.m_dBuyAmount, deals.m_dSellAmount};
}

}  // namespace TC
