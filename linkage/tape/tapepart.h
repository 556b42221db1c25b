#pragma once

#include "linkage/tape/moment.h"
#include "linkage/tape/tapeunit.h"

#include <QString>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace TC {

/// A price as a service told it, with the question that it answered.
struct TapePrice {
    boost::shared_ptr<vexservice::CPriceData> price;
    QString key;
    std::string about;  ///< the key as it is written
};

/// What a step notes of its part in hand. Nearly all parts are a report, a few signals without
/// values, and the price of a deal: for these there is room in it, so that to note them, to hand
/// them over and to drop them allocates nothing. All else has a TapeUnit of its own.
struct TapePart {
    enum class EReport : std::uint8_t { None, Order, Deal, HeldDeal };
    /// What has no room in the part.
    struct Rest {
        TapeUnit unit;
        /// Until the part is written, the parts before it may name them.
        std::vector<std::unique_ptr<const TapePrice>> replaced;
        std::unique_ptr<Rest> dropped;  ///< another one, that is never written
    };
    static constexpr unsigned MOST_CALLS = 0xffff;  ///< beyond it a price goes into the rest

    std::uint64_t place = 0;  ///< as in TapeUnit
    std::uint64_t step = 0;
    Moment moment;
    bool first : 1 = true;
    bool last : 1 = false;
    bool held : 1 = false;
    bool leavesWork : 1 = false;
    bool inHold : 1 = false;   ///< the whole step runs while its thread has the manager's lock
    bool counted : 1 = false;  ///< the step had a place while the recording waited: it is left out
    EReport kind = EReport::None;
    std::uint16_t priceCall = 0;              ///< the call that `price` answered
    const std::string* accountKey = nullptr;  ///< of the report
    boost::shared_ptr<vexservice::IData> report;
    std::array<const char*, 2> signals{};  ///< names; null: no more
    const TapePrice* price = nullptr;      ///< null: none was asked for
    std::unique_ptr<Rest> rest;

    void take(OrderInput input);
    void take(DealInput input);
    void take(TapeInput input);

    // What was noted before goes into the rest too, so that all is in its order. They throw
    // std::bad_alloc.
    Rest& room();
    /// All marks so far.
    decltype(TapeUnit::marks)& marks();
    void addMark(TapeMark mark) { marks().push_back(std::move(mark)); }
    void addAsk(TapeAsk ask);
    void addSignal(const char* name);
    /// The part as a unit. `scratch` is used where it has no rest; only one result is good at a
    /// time. The part has no content any more then.
    TapeUnit& toUnit(TapeUnit& scratch);

private:
    void moveSignals(TapeUnit& unit);
    void movePrice(TapeUnit& unit);
};

}  // namespace TC
