#pragma once

#include "bench/limit.h"
#include "common/keyindex.h"
#include "linkage/core/mutex.h"
#include "linkage/ledger/attribution.h"
#include "paper/quotes.h"

#include <boost/asio/io_service.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/signals2/signal.hpp>

#include <QString>

#include <mutex>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

/// The limit of the interface itself: the flat program, fed as the library is fed.
namespace bench {

/// Texts as the interface hands them over, to integers: one hash look-up for each. It knows all
/// texts from the beginning.
class CTextIds {
    // Before its first use: its type is that of its answer.
    static auto sameIn(const std::vector<std::string>& texts, const std::string& text) {
        return [&](std::uint32_t at) { return utils::sameText(texts[at], text); };
    }

public:
    explicit CTextIds(const Workload& world);

    template <class Record>
    Ids of(const std::string& accountKey, const Record& record) const {
        const std::string& strategy = TC::strategyOf(record.m_pCommand.get());
        const auto isListed = [&](std::uint32_t at) {
            return utils::sameText(m_listings[at].second, record.m_strCode) &&
                   utils::sameText(m_listings[at].first, record.m_strMarket);
        };
        return {m_accountIndex.find(utils::textHash(accountKey), sameIn(m_accounts, accountKey)),
                m_strategyIndex.find(utils::textHash(strategy), sameIn(m_strategies, strategy)),
                m_stockIndex.find(hashOf(record.m_strMarket, record.m_strCode), isListed)};
    }

private:
    static std::uint64_t hashOf(const std::string& market, const std::string& code) {
        return utils::textHash(code, utils::textHash(market));
    }

    std::vector<std::string> m_accounts;
    std::vector<std::string> m_strategies;
    std::vector<std::pair<std::string, std::string>> m_listings;  ///< market and code
    utils::CKeyIndex m_accountIndex;
    utils::CKeyIndex m_strategyIndex;
    utils::CKeyIndex m_stockIndex;
};

/// The quotes of a paper client, which the library asks too.
class CClientPrices {
public:
    explicit CClientPrices(const Workload& world);
    double of(std::uint32_t stock) { return m_quotes.getStockPrice(m_keys[stock])->m_dLastPrice; }

private:
    boost::asio::io_service m_service;
    paper::CQuotes m_quotes;
    std::vector<QString> m_keys;  ///< by stock
};

/// Keeps the newest report of every record, as the interface promises.
struct ByRecord {
    using Order = boost::shared_ptr<vexservice::COrderDetail>;
    using Deal = boost::shared_ptr<vexservice::CDealDetail>;
    static constexpr bool FIGURES = true;
};

struct NoFigures : ByRecord {
    static constexpr bool FIGURES = false;
};

/// In the place of a report that is not kept.
struct NoReport {
    template <class Record>
    explicit NoReport(const boost::shared_ptr<Record>& /*report*/) {}
    NoReport() = default;
};

struct NothingKept {
    using Order = NoReport;
    using Deal = NoReport;
    static constexpr bool FIGURES = true;
};

struct NothingAtAll : NothingKept {
    static constexpr bool FIGURES = false;
};

/// What the program does of a report beyond the look-up of its record key.
struct Parts {
    bool lookUps = true;
    bool keeps = true;
    bool figures = true;
    bool prefetches = true;
    bool locks = false;    ///< takes the manager's lock for each report
    bool signals = false;  ///< raises the manager's signal, which nobody hears
    bool prices = false;   ///< asks the client for the price of a new deal's stock
};

template <Parts PARTS = Parts{}>
class COwnLimitProgram {
public:
    explicit COwnLimitProgram(const Workload& workload)
        : m_workload(workload), m_ids(workload), m_flat(workload) {
        if constexpr (PARTS.prices) m_prices.emplace(workload);
    }

    void order(std::uint32_t, const Report& report) {
        std::unique_lock held(m_mutex, std::defer_lock);
        if constexpr (PARTS.locks) held.lock();
        if constexpr (PARTS.prefetches) m_flat.prefetch(*report.order);
        const bool isNew = m_flat.order(KeptOrder(report.order), *report.order, idsOf(report));
        if constexpr (PARTS.signals) {
            if (isNew) m_changed();
        }
    }

    void deal(std::uint32_t, const Report& report) {
        std::unique_lock held(m_mutex, std::defer_lock);
        if constexpr (PARTS.locks) held.lock();
        if constexpr (PARTS.prefetches) m_flat.prefetch(*report.deal);
        const Ids ids = idsOf(report);
        const bool isNew = m_flat.deal(KeptDeal(report.deal), *report.deal, ids);
        if constexpr (PARTS.prices) {
            if (isNew) m_dPrice = m_prices->of(ids.stock);
        }
        if constexpr (PARTS.signals) m_changed();
    }

    TC::ManagerState state() const;

private:
    using Keeping =
        std::conditional_t<PARTS.keeps, std::conditional_t<PARTS.figures, ByRecord, NoFigures>,
                           std::conditional_t<PARTS.figures, NothingKept, NothingAtAll>>;
    using KeptOrder = std::conditional_t<PARTS.keeps, const ByRecord::Order&, NoReport>;
    using KeptDeal = std::conditional_t<PARTS.keeps, const ByRecord::Deal&, NoReport>;

    Ids idsOf(const Report& report) const {
        if constexpr (!PARTS.lookUps) return report;
        const std::string& account = m_workload.accounts[report.account].key;
        return report.order ? m_ids.of(account, *report.order) : m_ids.of(account, *report.deal);
    }

    const Workload& m_workload;
    const CTextIds m_ids;
    std::optional<CClientPrices> m_prices;
    double m_dPrice = 0.0;  ///< the one asked for last
    CFlat<Keeping> m_flat;
    TC::CRecursiveMutex m_mutex;
    boost::signals2::signal<void()> m_changed;
};

/// The state knows a report's account by its record.
template <>
TC::ManagerState COwnLimitProgram<Parts{}>::state() const;

}  // namespace bench
