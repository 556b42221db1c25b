#include "linkage/core/clinkagemanager.h"
#include "linkage/core/enginestate.h"
#include "linkage/core/guarded.h"
#include "linkage/core/quotes.h"
#include "linkage/core/raise.h"
#include "linkage/ledger/attribution.h"
#include "linkage/ledger/ledger.h"
#include "platform/services/quoteclient.h"
#include "platform/services/tradercenter.h"
#include "platform/utils/keys.h"
#include "platform/utils/referencedata.h"
#include "platform/utils/text.h"

#include <boost/pointer_cast.hpp>

namespace TC {

namespace {

constexpr char OPERATION[] = "CLinkageManager::doDealDetail";

boost::shared_ptr<vexservice::CAccountData> accountData(const std::string& accountKey) {
    return vexservice::TraderCenter::instance()->getDataCenter()->getAccountData(
        utils::hash(accountKey));
}

FeePtr askFee(const std::string& accountKey, const vexservice::CDealDetail& deal) {
    const auto account = accountData(accountKey);
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
    DealStep step;
    if (isHistoryBalance(deal->m_pCommand.get())) step.accountData = accountData(accountKey);
    CLock lock(m_mutex);
    CLedger& ledger = *m_pLedger;
    step.listing = ledger.listingId(deal->m_strMarket, deal->m_strCode);
    if (ledger.listing(step.listing).excluded) return;
    step.stock = ledger.listing(step.listing).stock;
    step.account = ledger.accountId(accountKey);
    step.strategy = ledger.strategyId(strategyOf(deal->m_pCommand.get()));
    ledger.prefetchDeal(step, *deal);

    Holding& held = ledger.holding(step.account, step.stock);
    if (held.feeRevision != utils::referenceDataRevision()) {
        // The trade services are asked without the manager's lock.
        const std::uint64_t revision = utils::referenceDataRevision();
        lock.unlock();
        const FeePtr fee = askFee(accountKey, *deal);
        lock.relock();
        held.fee = fee;
        held.feeRevision = revision;
    }
    countDealDetail(accountKey, deal, step, held);
}

void CLinkageManager::countDealDetail(const std::string& accountKey, const DealPtr& deal,
                                      DealStep& step, Holding& held) {
    CLedger& ledger = *m_pLedger;
    ledger.fileDeal(step, deal);
    if (m_pGuarded) noteDeal(accountKey, *deal);
    if (step.dealIsNew) dropImported(accountKey, *deal);
    step.strategyIsNew = ledger.listStrategy(step.strategy);
    ledger.widenDealAmplitude(step);

    const std::string& strategy = strategyOf(deal->m_pCommand.get());
    const bool ofHistory = isHistoryBalance(deal->m_pCommand.get()) && !strategy.empty();
    const bool counts = !ofHistory && (step.dealIsNew || step.countsAgain);
    if (counts) ledger.enterFigures(step);
    if (step.dealIsNew || counts) {
        step.buys = vexservice::isBuyByDirection(deal->m_eDirection, deal->m_eOffsetFlag);
        step.commission = vexservice::COrderDetailHelper::calcDealCommission(held.fee, deal);
    }
    if (step.dealIsNew) ledger.countDay(step);
    if (ofHistory && step.dealIsNew) {
        const std::string historyKey = accountKey + strategy;
        if (isNewToHistory(historyKey, *deal)) {
            doHistoryDeal(deal, step.accountData, historyKey, ledger.stockKey(step.listing),
                          accountKey, step.stockIsNew, step.buys, step.commission);
        }
        return;
    }
    if (counts) {
        ledger.countMinute(step);
        ledger.countDeal(step);
        followPrice(step.account, step.stock, held);
    }
    if (step.strategyIsNew) raise(OPERATION, sigStrategysChanged);
    if (step.stockIsNew) raise(OPERATION, sigStocksChanged);
    raise(OPERATION, sigStatDataChanged);
}

void CLinkageManager::followPrice(std::uint32_t account, std::uint32_t stockAt, Holding& held) {
    CLedger::Stock& stock = m_pLedger->stock(stockAt);
    const auto price =
        utils::CManualSingletonT<CQuoteClient>::instance()->getStockPrice(stock.quoteKey);
    if (price && price->hasLastPrice()) m_pLedger->setLatestPrice(stockAt, price->m_dLastPrice);
    if (stock.requestEpoch != m_pQuotes->requestEpoch() && requestPrice(stock.key)) {
        stock.requestEpoch = m_pQuotes->requestEpoch();
    }
    if (held.markerEpoch != m_pQuotes->markerEpoch()) {
        m_pQuotes->mark(m_pLedger->accountKey(account), stock.key);
        held.markerEpoch = m_pQuotes->markerEpoch();
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
