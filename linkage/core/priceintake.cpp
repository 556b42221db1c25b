#include "linkage/core/clinkagemanager.h"
#include "linkage/core/enginestate.h"
#include "linkage/core/quotes.h"
#include "linkage/core/raise.h"
#include "linkage/ledger/ledger.h"
#include "linkage/tape/step.h"
#include "platform/log.h"
#include "platform/utils/keys.h"

#include <boost/pointer_cast.hpp>

namespace TC {

void CLinkageManager::onPositionStat(const std::string& accountKey,
                                     const boost::shared_ptr<vexservice::IData>& data) {
    if (!data) return;
    const auto position = boost::dynamic_pointer_cast<vexservice::CPositionStatics>(data);
    if (!position) return;
    post([this, accountKey, position] { takePosition(accountKey, position); });
}

void CLinkageManager::takePosition(const std::string& accountKey, const PositionPtr& position) {
    const CStep step(tape(), [&] { return PositionInput{accountKey, position}; });
    const auto take = [&] { doPositionStat(accountKey, position); };
    if (!attempt("CLinkageManager::onPositionStat", take)) loadLater(accountKey);
}

void CLinkageManager::doPositionStat(const std::string& accountKey, const PositionPtr& position) {
    if (!position) return;
    const CLock lock(m_mutex);
    const PositionPtr merged = tryMergePosition(position);
    if (!merged) return;
    m_pLedger->filePosition(utils::zorStockKey(position->m_strMarket, position->m_strCode),
                            accountKey, merged);
}

void CLinkageManager::onPriceData(const std::string& stockKey,
                                  const boost::shared_ptr<vexservice::CPriceData>& price) {
    if (!price || !price->hasLastPrice()) {
        LINKAGE_LOG_INFO("TC::CLinkageManager::onPriceData", "pricedata is InvalidValue");
        return;
    }
    const CStep step(tape(), [&] { return PriceInput{stockKey, price}; });
    const CLock lock(m_mutex);
    m_pLedger->setLatestPrice(stockKey, price->m_dLastPrice);
    notePriceNow(stockKey, price->m_dLastPrice);
    m_pQuotes->setHistoryPrice(stockKey, price->m_dLastPrice);
}

}  // namespace TC
