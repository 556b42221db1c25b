#include "linkage/core/clinkagemanager.h"
#include "linkage/core/datacenter.h"
#include "linkage/core/enginestate.h"
#include "linkage/core/guarded.h"
#include "linkage/core/quotes.h"
#include "linkage/core/raise.h"
#include "linkage/ledger/attribution.h"
#include "linkage/ledger/ledger.h"
#include "platform/log.h"
#include "platform/services/quoteclient.h"
#include "platform/services/tradercenter.h"
#include "platform/utils/keys.h"
#include "platform/utils/referencedata.h"
#include "platform/utils/text.h"

#include <boost/pointer_cast.hpp>

namespace TC {

namespace {

constexpr char DEAL_INTAKE[] = "CLinkageManager::doDealDetail";

FeePtr askFee(const std::string& accountKey, const vexservice::CDealDetail& deal) {
    const auto account = dataCenter().getAccountData(utils::hash(accountKey));
    if (!account) return {};
    return vexservice::TraderCenter::instance()->getFeeLimitService()->getFeeLimits(
        account->getAccountInfo(), deal.m_strMarket, deal.m_strCode);
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
    CLock lock(m_mutex);
    const DealReport report = m_pLedger->resolve(accountKey, deal);
    if (!report.followed) return;
    if (!m_pLedger->knowsFee(report)) {
        // The trade services are asked without the manager's lock.
        const std::uint64_t revision = utils::referenceDataRevision();
        lock.unlock();
        FeePtr fee;
        const auto ask = [&] { fee = askFee(accountKey, *deal); };
        // The history store takes a deal once: without its commission it has to wait.
        const bool ofHistory = isHistoryBalance(deal->m_pCommand.get());
        const bool answered = ofHistory ? (ask(), true) : attempt(DEAL_INTAKE, ask);
        lock.relock();
        // A deal counts also without its commission. The next load adds it to the day's
        // figures.
        if (answered) {
            m_pLedger->setFee(report, fee, revision);
        } else {
            VEX_INFO(DEAL_INTAKE, "account {0}, deal {1}: the commission is not known yet",
                     accountKey, deal->getKey());
            loadLater(accountKey);
        }
    }
    const DealChange change = m_pLedger->apply(report);
    if (m_pGuarded) noteDeal(accountKey, *deal);
    if (change.recordIsNew) dropImported(accountKey, *deal);
    if (change.ofHistory && change.recordIsNew) {
        doHistoryDeal(report, change);
        return;
    }
    if (change.counted) {
        try {
            followPrice(report);
        } catch (...) {
            logThrown(DEAL_INTAKE);
            loadLater(accountKey);
        }
    }
    if (change.strategyIsNew) raise(DEAL_INTAKE, sigStrategysChanged);
    if (change.stockIsNew) raise(DEAL_INTAKE, sigStocksChanged);
    raise(DEAL_INTAKE, sigStatDataChanged);
}

// Before a load takes the lock for all its records. A stock that does not answer here is asked
// once more with its deal.
void CLinkageManager::askFees(const std::string& accountKey, const Records& deals) {
    for (const auto& record : deals) {
        const auto deal = boost::dynamic_pointer_cast<vexservice::CDealDetail>(record);
        if (!deal) continue;
        attempt(DEAL_INTAKE, [&] {
            CLock lock(m_mutex);
            const DealReport report = m_pLedger->resolve(accountKey, deal);
            if (!report.followed || m_pLedger->knowsFee(report)) return;
            const std::uint64_t revision = utils::referenceDataRevision();
            lock.unlock();
            const FeePtr fee = askFee(accountKey, *deal);
            lock.relock();
            m_pLedger->setFee(report, fee, revision);
        });
    }
}

void CLinkageManager::followPrice(const DealReport& report) {
    const DealtStock stock = m_pLedger->dealtStock(report);
    const auto price =
        utils::CManualSingletonT<CQuoteClient>::instance()->getStockPrice(stock.quoteKey);
    if (price && price->hasLastPrice()) {
        m_pLedger->setLatestPrice(report.stock, price->m_dLastPrice);
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
    const auto request = CQuoteRequest::makeRequest(
        Pim::sToQs(stockKey),
        guarded([this, stockKey](const boost::shared_ptr<vexservice::CPriceData>& price) {
            onPriceData(stockKey, price);
        }));
    if (request) m_pQuotes->addRequest(stockKey, request);
    return request != nullptr;
}

}  // namespace TC
