#include "linkage/tape/tapepart.h"

#include <boost/pointer_cast.hpp>

#include <type_traits>
#include <utility>

namespace TC {

static_assert(std::is_nothrow_move_constructible_v<TapePart>);

void TapePart::take(OrderInput input) {
    kind = EReport::Order;
    accountKey = input.accountKey;
    report = std::move(input.order);
}

void TapePart::take(DealInput input) {
    kind = input.held ? EReport::HeldDeal : EReport::Deal;
    accountKey = input.accountKey;
    report = std::move(input.deal);
}

void TapePart::take(TapeInput input) { room().unit.input = std::move(input); }

TapePart::Rest& TapePart::room() {
    if (!rest) rest = std::make_unique<Rest>();
    return *rest;
}

decltype(TapeUnit::marks)& TapePart::marks() {
    TapeUnit& unit = room().unit;
    moveSignals(unit);
    return unit.marks;
}

void TapePart::addAsk(TapeAsk ask) {
    TapeUnit& unit = room().unit;
    movePrice(unit);
    unit.asks.push_back(std::move(ask));
}

void TapePart::addSignal(const char* name) {
    if (!rest || rest->unit.marks.empty()) {
        for (const char*& signal : signals) {
            if (signal) continue;
            signal = name;
            return;
        }
    }
    addMark(SignalMark{name, {}});
}

void TapePart::moveSignals(TapeUnit& unit) {
    for (const char*& signal : signals) {
        if (signal) unit.marks.push_back(SignalMark{signal, {}});
        signal = nullptr;
    }
}

void TapePart::movePrice(TapeUnit& unit) {
    if (!price) return;
    unit.asks.push_back({priceCall, {"price", price->about}, price->price});
    price = nullptr;
}

TapeUnit& TapePart::toUnit(TapeUnit& scratch) {
    TapeUnit& unit = rest ? rest->unit : scratch;
    if (!rest) {
        unit.input = {};
        unit.asks.clear();
        unit.marks.clear();
    }
    unit.place = place;
    unit.step = step;
    unit.first = first;
    unit.last = last;
    unit.held = held;
    unit.leavesWork = leavesWork;
    unit.moment = moment;
    if (kind == EReport::Order) {
        unit.input = OrderInput{
            accountKey, boost::static_pointer_cast<vexservice::COrderDetail>(std::move(report))};
    } else if (kind != EReport::None) {
        unit.input = DealInput{
            accountKey, boost::static_pointer_cast<vexservice::CDealDetail>(std::move(report)),
            kind == EReport::HeldDeal};
    }
    moveSignals(unit);
    movePrice(unit);
    return unit;
}

}  // namespace TC
