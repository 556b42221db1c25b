#pragma once

#include "lab/broker.h"
#include "lab/model.h"

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace lab {

/// The first invariant, held against the market itself: no balance trades too much.
///
/// For each order that a balance of a pair sends, taken together are the orders of the pair
/// that the library had an order report of at that moment, those that balances of the pair
/// had sent by then, and the order itself. Over the fills of these, whenever they come, bought
/// less sold of the stock never falls below 0 when the order sells, and never rises above 0
/// when it buys: so the order neither turns the difference round nor makes it larger.
///
/// What the rule does not cover is left out of the sum, and comes in as what was told of it:
/// orders of somebody else of which no order report was heard, and orders of balances that were
/// taken for lost. Where deals name no orders, what such an order traded on the same side may
/// hide behind other orders' reports and is left out as a whole.
class CTruth {
public:
    CTruth(const Plan& plan, const CModel& model, const CBroker& broker)
        : m_plan(plan), m_model(model), m_broker(broker) {}

    /// A balance's order was placed. Call it before the model is told of its command.
    void watch(std::uint64_t key, const Pair& pair);

    /// An order filled. What is wrong; empty when nothing is.
    std::string filled(const MarketOrder& order, std::int64_t volume);

    void newDate() { m_watched.clear(); }

private:
    struct Watched {
        std::uint64_t key = 0;
        int account = 0;
        int stock = 0;
        bool buys = false;
        std::int64_t difference = 0;
        std::set<std::uint64_t> orders;
    };

    bool counts(const MarketOrder& order) const;
    std::int64_t told(const MarketOrder& order, bool buys) const;

    const Plan& m_plan;
    const CModel& m_model;
    const CBroker& m_broker;
    std::vector<Watched> m_watched;
};

}  // namespace lab
