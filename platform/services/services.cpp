#include "platform/services/clientconfig.h"
#include "platform/services/connections.h"
#include "platform/services/dovcommandcenter.h"
#include "platform/services/orderrules.h"
#include "platform/services/quoteclient.h"
#include "platform/services/rpcengine.h"
#include "platform/services/stockmanager.h"
#include "platform/services/tradeclient.h"
#include "platform/services/tradercenter.h"
#include "platform/utils/keys.h"
#include "platform/utils/singletonimpl.h"
#include "platform/utils/text.h"

#include <mongo/bson/bson.h>

template class utils::CManualSingletonT<TC::CTradeClient>;
template class utils::CManualSingletonT<TC::CQuoteClient>;
template class utils::CManualSingletonT<TC::CExchangeClient>;
template class utils::CSingletonT<TC::CProxyClient>;
template class utils::CSingletonT<TC::CDovCommandCenter>;
template class utils::CSingletonT<TC::CStockManager>;
template class utils::CSingletonT<TC::CAppConfig>;
template class utils::CSingletonT<TC::CUserConfig>;
template class utils::CSingletonT<TC::CTimeService>;
template class utils::CSingletonT<TC::IDataDirectory>;
template class utils::CSingletonT<marlo::IMarketCalendar>;
template class utils::CSingletonT<net::RPCEngine>;
template class utils::CSingletonT<vexservice::StockTypeCenter>;
template class utils::CSingletonT<vexservice::IOrderRules>;
template class utils::CSingletonT<vexservice::ConfigCollector>;
template class utils::CSingletonT<vexservice::TraderCenter>;

namespace vexservice {

TraderCenter* TraderCenter::instance() { return utils::CSingletonT<TraderCenter>::instance(); }

void TraderCenter::install(boost::shared_ptr<TraderCenter> center) {
    utils::CSingletonT<TraderCenter>::install(std::move(center));
}

bool isTypedStock(int type, const std::string& market, const std::string& code,
                  const std::string&) {
    return utils::CSingletonT<StockTypeCenter>::instance()->isTypedStock(type, market, code);
}

int getTradeMinUnit(const std::string& market, const std::string& code) {
    return utils::CSingletonT<StockTypeCenter>::instance()->tradeMinUnit(market, code);
}

ConfigCollector* ConfigCollector::instance() {
    return utils::CSingletonT<ConfigCollector>::instance();
}

double CPriceDataHelper::getPriceForOrder(const boost::shared_ptr<CPriceData>& quote,
                                          EPriceType priceType, EOperationType operation, int,
                                          const boost::shared_ptr<CAutoPriceParam>&, bool, bool,
                                          double) {
    return utils::CSingletonT<IOrderRules>::instance()->getPriceForOrder(quote, priceType,
                                                                         operation);
}

}  // namespace vexservice

namespace TC {

CTradeClient::CTradeClient() = default;
CTradeClient::~CTradeClient() = default;
CProxyClient::CProxyClient() = default;
CProxyClient::~CProxyClient() = default;
CExchangeClient::CExchangeClient() = default;
CExchangeClient::~CExchangeClient() = default;

bool isProxyLoginSuccess(EProxyConnectionStatus status) { return status == PROXY_LOGIN_SUCCESS; }

CProxyClient* getProxyClient() { return utils::CSingletonT<CProxyClient>::instance(); }
CUserConfig* getUserConfig() { return utils::CSingletonT<CUserConfig>::instance(); }
CTimeService* getTimeService() { return utils::CSingletonT<CTimeService>::instance(); }
QString getDataDir() { return utils::CSingletonT<IDataDirectory>::instance()->path(); }

std::shared_ptr<vexservice::CInstrumentDetail> CStockManager::getInstrumentDetail(
    const std::string& market, const std::string& code) {
    return getInstrumentDetail(Pim::sToQs(utils::zorStockKey(market, code)));
}

boost::shared_ptr<CQuoteRequest> CQuoteRequest::makeRequest(const QString& stockKey,
                                                            const Callback& callback) {
    return utils::CManualSingletonT<CQuoteClient>::instance()->request(stockKey, callback);
}

void orderSettingToParam(const vexservice::COrderSetting& setting,
                         vexservice::CCodeOrderParam& order, vexservice::EOperationType operation,
                         int volume, double price,
                         const boost::shared_ptr<vexservice::CPriceData>& quote) {
    utils::CSingletonT<vexservice::IOrderRules>::instance()->orderSettingToParam(
        setting, order, operation, volume, price, quote);
}

void fixTimeRange(vexservice::CCodeOrderParam& order) {
    utils::CSingletonT<vexservice::IOrderRules>::instance()->fixTimeRange(order);
}

}  // namespace TC

namespace marlo {

std::int64_t getMarketLastTradeDate(const std::string& market) {
    return utils::CSingletonT<IMarketCalendar>::instance()->lastTradeDate(market);
}

std::optional<bool> isMarketTradingDay(const std::string& market, const std::string& day) {
    using Calendar = utils::CSingletonT<IMarketCalendar>;
    return Calendar::exists() ? Calendar::instance()->isTradingDay(market, day) : std::nullopt;
}

}  // namespace marlo
