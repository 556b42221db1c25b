#pragma once

#include "linkage/ledger/ledgerstate.h"
#include "linkage/ledger/volume.h"
#include "platform/records/dealdetail.h"
#include "platform/records/ratelimit.h"

#include <QString>

#include <array>
#include <cstdint>
#include <string>

namespace TC {

namespace ledger {
struct Holding;
struct Listing;
}  // namespace ledger

using FeePtr = boost::shared_ptr<vexservice::CStkExchangeRateLimit>;

/// What a report of an order changed.
struct OrderChange {
    bool followed = false;       ///< false: its stock is never followed, and nothing was done
    bool ofHistory = false;      ///< it balances history: it was filed, and no figure changed
    bool stockIsNew = false;     ///< the first order of the stock under its day
    bool recordIsNew = false;    ///< the first report of the order there
    bool strategyIsNew = false;  ///< the strategy was not listed yet
    bool runs = false;
    bool accountEmptied = false;  ///< the account's last running order has left
};

/// What a report of an order did to one running set.
struct RunningChange {
    bool ofAccount = false;  ///< the set of the whole account, not of the order's strategy
    bool logs = false;       ///< the order came, went or made progress: it is to be logged
    bool emptied = false;    ///< the last running order has left
};

/// Hears of a report of an order while the ledger takes it in. It may read the ledger and
/// remove records that were only filed. It must not pass a report to apply().
class IOrderWatch {
public:
    /// The report is filed in the place of the one before it; no figure has changed yet.
    /// `takenBack` is that earlier report if it was final and this one runs again, else empty.
    virtual void onFiled(const OrderPtr& takenBack) = 0;

    /// The report has changed a running set: first the strategy's, if there is one, then the
    /// account's. At the call for the strategy, the account's set is still as it was before
    /// this report. At both calls the traded figures still are.
    virtual void onRunning(const RunningChange& change) = 0;

protected:
    ~IOrderWatch() = default;
};

/// A report that apply() will get soon: of an order or of a deal, or neither.
struct ComingReport {
    const std::string* accountKey = nullptr;
    const vexservice::COrderDetail* order = nullptr;
    const vexservice::CDealDetail* deal = nullptr;
};

/// So many reports are looked at together before they are applied one by one.
inline constexpr std::size_t LOOK_AHEAD = 8;
using ComingReports = std::array<ComingReport, LOOK_AHEAD>;

/// A report of a deal, and what its texts were resolved to. CLedger::resolve() makes it; it may
/// be used while its arguments and the ledger live.
struct DealReport {
    const std::string& accountKey;
    const DealPtr& deal;
    std::uint32_t account;
    std::uint32_t stock;
    std::uint32_t strategy;
    const ledger::Listing* listing;
    ledger::Holding* holding;
    bool followed;  ///< false: its stock is never followed
};

/// What a report of a deal changed.
struct DealChange {
    bool tooOld = false;         ///< its date is not kept any more, and nothing was done
    bool ofHistory = false;      ///< it balances a strategy's history: in no traded figure
    bool stockIsNew = false;     ///< the first deal of the stock under its day
    bool recordIsNew = false;    ///< the first report of the deal there
    bool strategyIsNew = false;  ///< the strategy was not listed yet
    bool counted = false;        ///< the traded figures have grown
    bool buys = false;           ///< this and the commission are set for new or counted deals only
    double commission = 0.0;
};

/// A dealt stock, and what the manager notes of it. The notes stand with the ledger's own
/// records because every deal needs them.
struct DealtStock {
    const std::string& key;
    const QString& quoteKey;      ///< the key, as the quote client wants it
    std::uint64_t& requestEpoch;  ///< the trade date at which its price was asked for
    std::uint64_t& markerEpoch;   ///< the run that knows of deals of the account's stock
};

/// What the deals of a day bought and sold.
struct DayTotals {
    std::int32_t boughtVolume = 0;
    std::int32_t soldVolume = 0;
    double boughtAmount = 0.0;
    double soldAmount = 0.0;

    void add(const vexservice::CDealDetail& deal, bool buys) {
        std::int32_t& volume = buys ? boughtVolume : soldVolume;
        volume = wrapAdd(volume, deal.m_nVolume);
        (buys ? boughtAmount : soldAmount) += deal.m_dAmount;
    }
};

}  // namespace TC
