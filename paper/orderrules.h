#pragma once

#include "paper/instruments.h"
#include "platform/services/orderrules.h"

#include <memory>
#include <optional>

namespace paper {

/// The price that an order of this type gets from a quote; `fixed` for PRTP_FIX. A book level that
/// is not there gives the last price. The price is 0 when that is not known either, without a
/// quote, for a market order, and for a type that names no price.
double priceByType(const vexservice::CPriceData* quote, vexservice::EPriceType priceType, bool buys,
                   double fixed);

/// The worst price at which a market order may trade: 102 % of the best ask for a buy,
/// 98 % of the best bid for a sell (of the last price without that side of the book), to
/// the nearest tick, ties up, within the limits of the day. 0 when no price is known.
double protectivePrice(const vexservice::CPriceData* quote, bool buys,
                       const Instrument& instrument);

/// The client's rules of orders. Threads: any.
class COrderRules final : public vexservice::IOrderRules {
public:
    explicit COrderRules(std::shared_ptr<CInstruments> instruments)
        : m_pInstruments(std::move(instruments)) {}

    void orderSettingToParam(const vexservice::COrderSetting& setting,
                             vexservice::CCodeOrderParam& order,
                             vexservice::EOperationType operation, int volume, double price,
                             const boost::shared_ptr<vexservice::CPriceData>& quote) override;
    double getPriceForOrder(const boost::shared_ptr<vexservice::CPriceData>& quote,
                            vexservice::EPriceType priceType,
                            vexservice::EOperationType operation) override;
    /// A range that is empty or not within one day becomes the whole session.
    void fixTimeRange(vexservice::CCodeOrderParam& order) override;

private:
    std::shared_ptr<CInstruments> m_pInstruments;
};

}  // namespace paper
