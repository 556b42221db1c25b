#pragma once

#include "platform/services/quoteclient.h"
#include "platform/services/stockmanager.h"
#include "platform/utils/text.h"

#include <boost/shared_ptr.hpp>

#include <exception>
#include <memory>
#include <string>

namespace desk {

/// The newest price of a stock; empty when there is none, or when the service throws: a fault of
/// the client's must not end what the desk shows.
inline boost::shared_ptr<vexservice::CPriceData> priceOf(const std::string& stock) {
    try {
        return utils::CManualSingletonT<TC::CQuoteClient>::instance()->getStockPrice(
            Pim::sToQs(stock));
    } catch (const std::exception&) {
        return {};
    }
}

/// What is known of a stock; empty likewise.
inline std::shared_ptr<vexservice::CInstrumentDetail> detailOf(const std::string& stock) {
    try {
        return utils::CSingletonT<TC::CStockManager>::instance()->getInstrumentDetail(
            Pim::sToQs(stock));
    } catch (const std::exception&) {
        return {};
    }
}

}  // namespace desk
