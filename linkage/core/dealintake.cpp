#include "common/prefetch.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/datacenter.h"
#include "linkage/core/enginestate.h"
#include "linkage/core/guarded.h"
#include "linkage/core/quotes.h"
#include "linkage/core/raise.h"
#include "linkage/ledger/attribution.h"
#include "linkage/ledger/ledger.h"
#include "linkage/tape/moment.h"
#include "linkage/tape/services.h"
#include "platform/log.h"
#include "platform/services/quoteclient.h"
#include "platform/utils/keys.h"
#include "platform/utils/text.h"

#include <boost/pointer_cast.hpp>

namespace TC {

namespace {

constexpr char DEAL_INTAKE[] = "CLinkageManager::doDealDetail";

FeePtr feeOf(const std::string& accountKey, const vexservice::CDealDetail& deal) {
    const auto account = dataCenter().getAccountData(utils::hash(accountKey));
    if (!account) return {};
    return feeLimitService().getFeeLimits(account->getAccountInfo(), deal.m_strMarket,
                                          deal.m_strCode);
}

}  // namespace

void CLinkageManager::onDealDetail(const std::string& accountKey,
                                   const boost::shared_ptr<vexservice::IData>& data) {
    if (!data) return;
    auto deal = boost::dynamic_pointer_cast<vexservice::CDealDetail>(data);
    if (deal && m_pEngine->m_inbox.push(accountKey, std::move(deal))) drainLater();
}

void CLinkageManager::doDealDetail(const std::string& accountKey, const DealPtr& deal) {
    if (!deal) return;
    utils::prefetchAll(deal.get());
    CLock lock(m_mutex);
    const DealReport report = m_pLedger->resolve(accountKey, deal);
    if (!report.followed) return;
    bool feeKnown = m_pLedger->knowsFee(report);
    if (!feeKnown) {
        lock.unlock();
        feeKnown = askFee(report);
        lock.relock();
    }
    takeDeal(report, feeKnown);
}

// The trade services are asked without the manager's lock.
bool CLinkageManager::askFee(const DealReport& report) {
    return attempt(DEAL_INTAKE, [&] {
        const std::uint64_t revision = referenceRevision();
        const FeePtr fee = feeOf(report.accountKey, *report.deal);
        const CLock lock(m_mutex);
        m_pLedger->setFee(report, fee, revision);
    });
}

void CLinkageManager::askFees(const std::string& accountKey, const Records& deals) {
    for (const auto& record : deals) {
        const auto deal = boost::dynamic_pointer_cast<vexservice::CDealDetail>(record);
        if (!deal) continue;
        attempt(DEAL_INTAKE, [&] {
            CLock lock(m_mutex);
            const DealReport report = m_pLedger->resolve(accountKey, deal);
            if (!report.followed || m_pLedger->knowsFee(report)) return;
            lock.unlock();
            askFee(report);
        });
    }
}

bool CLinkageManager::replayDeal(const std::string& accountKey, const DealPtr& deal) {
    if (!deal) return true;
    const CLock lock(m_mutex);
    const DealReport report = m_pLedger->resolve(accountKey, deal);
    return !report.followed || takeDeal(report, m_pLedger->knowsFee(report));
}

bool CLinkageManager::takeIfFeeKnown(const std::string& accountKey, const DealPtr& deal) {
    const CLock lock(m_mutex);
    const DealReport report = m_pLedger->resolve(accountKey, deal);
    if (!report.followed) return true;
    if (!m_pLedger->knowsFee(report)) return false;
    takeDeal(report, true);
    return true;
}

bool CLinkageManager::takeDeal(const DealReport& report, bool feeKnown) {
    const vexservice::CDealDetail& deal = *report.deal;
    if (!feeKnown) {
        LINKAGE_LOG_WARNING(DEAL_INTAKE, "account {0}, deal {1}: the commission is not known yet",
                            report.accountKey, deal.getKey());
        loadLater(report.accountKey);
        // Any other deal counts at once, and the next load adds its commission. The history
        // store takes a deal once only, so it has to wait for that load.
        if (isHistoryBalance(deal.m_pCommand.get())) return false;
    }
    const DealChange change = m_pLedger->apply(report);
    if (change.tooOld) {
        LINKAGE_LOG_INFO(DEAL_INTAKE, "account {0}, deal {1}: the date {2} is not kept any more",
                         report.accountKey, deal.getKey(), deal.m_strTradeDate);
        return true;
    }
    if (m_pGuarded) noteDeal(report.accountKey, deal);
    if (change.recordIsNew) dropImported(report.accountKey, deal);
    if (change.ofHistory && change.recordIsNew) {
        doHistoryDeal(report, change);
        return true;
    }
    if (change.counted) {
        try {
            followPrice(report);
        } catch (...) {
            logThrown(DEAL_INTAKE);
            loadLater(report.accountKey);
        }
    }
    if (change.strategyIsNew) raise(DEAL_INTAKE, sigStrategysChanged);
    if (change.stockIsNew) raise(DEAL_INTAKE, sigStocksChanged);
    raise(DEAL_INTAKE, sigStatDataChanged);
    return true;
}

void CLinkageManager::followPrice(const DealReport& report) {
    const DealtStock stock = m_pLedger->dealtStock(report);
    const auto price = service<CQuoteClient>().getStockPrice(stock.quoteKey);
    if (price && price->hasLastPrice()) {
        m_pLedger->setLatestPrice(report.stock, price->m_dLastPrice);
        // The subscription tells all prices that follow.
        if (stock.requestEpoch != m_pQuotes->requestEpoch()) {
            notePriceNow(stock.key, price->m_dLastPrice);
        }
    }
    if (stock.requestEpoch != m_pQuotes->requestEpoch() && requestPrice(stock.key)) {
        stock.requestEpoch = m_pQuotes->requestEpoch();
    }
    if (stock.markerEpoch != m_pQuotes->markerEpoch()) {
        m_pQuotes->mark(report.accountKey, stock.key);
        stock.markerEpoch = m_pQuotes->markerEpoch();
    }
}

bool CLinkageManager::requestPrice(const std::string& stockKey) {
    if (m_pQuotes->isRequested(stockKey)) return true;
    const auto request = service<CQuoteClient>().request(
        Pim::sToQs(stockKey),
        guarded([this, stockKey](const boost::shared_ptr<vexservice::CPriceData>& price) {
            onPriceData(stockKey, price);
        }));
    if (request) m_pQuotes->addRequest(stockKey, request);
    return request != nullptr;
}

}  // namespace TC
