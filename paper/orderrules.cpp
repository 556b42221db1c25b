#include "paper/orderrules.h"

#include "paper/price.h"

#include <algorithm>

namespace paper {

using namespace vexservice;

namespace {

constexpr int SECONDS_OF_DAY = 24 * 60 * 60;

double lastPrice(const CPriceData& quote) {
    return quote.hasLastPrice() && quote.m_dLastPrice > 0.0 ? quote.m_dLastPrice : 0.0;
}

/// `level` counts from 1.
double levelPrice(const CPriceData& quote, const std::vector<CPriceLevel>& side, int level) {
    const bool quoted = static_cast<std::size_t>(level) <= side.size();
    const double price = quoted ? side[static_cast<std::size_t>(level) - 1].m_dPrice : 0.0;
    return price > 0.0 ? price : lastPrice(quote);
}

}  // namespace

double priceByType(const CPriceData* quote, EPriceType priceType, bool buys, double fixed) {
    if (priceType == PRTP_FIX) return fixed;
    if (!quote || isRealMarketPrice(priceType)) return 0.0;
    switch (priceType) {
        case PRTP_LATEST:
            return lastPrice(*quote);
        case PRTP_HANG:
            return levelPrice(*quote, buys ? quote->m_bids : quote->m_asks, 1);
        case PRTP_COMPETE:
            return levelPrice(*quote, buys ? quote->m_asks : quote->m_bids, 1);
        default:
            break;
    }
    const int type = priceType;
    if (type >= PRTP_SALE5 && type <= PRTP_SALE1) {
        return levelPrice(*quote, quote->m_asks, PRTP_SALE1 - type + 1);
    }
    if (type >= PRTP_BUY1 && type <= PRTP_BUY5) {
        return levelPrice(*quote, quote->m_bids, type - PRTP_BUY1 + 1);
    }
    if (type >= PRTP_SALE6 && type <= PRTP_SALE10) {
        return levelPrice(*quote, quote->m_asks, type - PRTP_SALE6 + 6);
    }
    if (type >= PRTP_BUY6 && type <= PRTP_BUY10) {
        return levelPrice(*quote, quote->m_bids, type - PRTP_BUY6 + 6);
    }
    return 0.0;
}

double protectivePrice(const CPriceData* quote, bool buys, const Instrument& instrument) {
    if (!quote) return 0.0;
    const Price best = toPrice(levelPrice(*quote, buys ? quote->m_asks : quote->m_bids, 1));
    if (best <= 0) return 0.0;
    const Price tick = std::max<Price>(toPrice(instrument.tick), 1);
    const Price hundredths = best * (buys ? 102 : 98);
    Price price = (2 * hundredths + 100 * tick) / (200 * tick) * tick;
    const Price up = toPrice(instrument.limitUp);
    const Price down = toPrice(instrument.limitDown);
    if (up > 0) price = std::min(price, up);
    if (down > 0) price = std::max(price, down);
    return toYuan(price);
}

void COrderRules::orderSettingToParam(const COrderSetting& setting, CCodeOrderParam& order,
                                      EOperationType operation, int, double,
                                      const boost::shared_ptr<CPriceData>& quote) {
    order.m_ePriceType = setting.m_ePriceType;
    order.m_dPrice =
        priceByType(quote.get(), setting.m_ePriceType, operation == OPT_BUY, setting.m_dPrice);
}

double COrderRules::getPriceForOrder(const boost::shared_ptr<CPriceData>& quote,
                                     EPriceType priceType, EOperationType operation) {
    const bool buys = operation == OPT_BUY;
    if (!isRealMarketPrice(priceType)) return priceByType(quote.get(), priceType, buys, 0.0);
    if (!quote) return 0.0;
    const auto instrument = m_pInstruments->find(quote->m_strStockKey);
    return protectivePrice(quote.get(), buys, instrument.value_or(Instrument{}));
}

void COrderRules::fixTimeRange(CCodeOrderParam& order) {
    const bool inOneDay = order.m_nValidFrom >= 0 && order.m_nValidTo <= SECONDS_OF_DAY;
    if (inOneDay && order.m_nValidFrom < order.m_nValidTo) return;
    order.m_nValidFrom = 0;
    order.m_nValidTo = 0;
}

}  // namespace paper
