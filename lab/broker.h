#pragma once

#include "lab/agenda.h"
#include "lab/dials.h"
#include "lab/random.h"
#include "lab/reports.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>

namespace lab {

/// An order as somebody sends it.
struct Ticket {
    Origin of;
    int volume = 0;
    bool priced = true;
    bool balance = false;    ///< the library sent it
    std::int64_t hush = 0;   ///< nothing is told of it before this moment
    std::uint64_t fate = 0;  ///< which numbers decide what becomes of it
    int serial = 0;          ///< of its command, however the command center numbers it
};

/// An order at the market: the truth, whoever has been told of it.
struct MarketOrder {
    Ticket ticket;
    std::uint64_t key = 0;
    std::int64_t filled = 0;
    vexservice::EEntrustStatus status = vexservice::STATUS_WAIT_REPORTING;
    std::int64_t toldAt = 0;  ///< moment of the last report in its usual order
    CRandom random{0};

    bool isOpen() const { return vexservice::isRunningStatus(status); }
    std::int64_t rest() const { return ticket.volume - filled; }
    std::int64_t signedFills() const { return ticket.of.buys ? filled : -filled; }
};

/// The market and the broker in one: they know what was ordered, traded and cancelled, and tell
/// of it late, twice, in another order or not at all, as the dials say. What it tells is never
/// wrong: an order that is told to be final trades no more, and has traded what is told.
///
/// It is scripted rather than matched against quotes: when an order fills is drawn with the
/// order, so a day needs no prices, costs little, and each order keeps its fate when other
/// steps of the day are left out.
class CBroker {
public:
    struct Ears {
        std::function<void(const OrderReport&)> order;
        std::function<void(const DealReport&)> deal;
        /// At the market, whoever is told. The order has the fill already.
        std::function<void(const MarketOrder&, std::int64_t volume)> filled;
    };
    struct Habits {
        std::uint64_t seed = 0;
        Dials dials;
        bool named = true;
    };

    CBroker(Habits habits, CAgenda& agenda, FaultCounts& counts, Ears ears);

    /// The order's record key.
    std::uint64_t place(const Ticket& ticket);
    void cancel(std::uint64_t key);

    /// A trading date begins: what was open is gone, and nothing more is told of the old date.
    void newDate();

    /// From here on nothing goes wrong any more: what is open is cancelled, new orders fill at
    /// once, and everything is told as it happens.
    void calm();
    /// Tells the newest report of every order and every deal once more.
    void tellAgain();

    const std::map<std::uint64_t, MarketOrder>& orders() const { return m_orders; }
    const std::map<std::uint64_t, DealReport>& deals() const { return m_deals; }

private:
    MarketOrder* open(std::uint64_t key);
    bool rolls(MarketOrder& order, EFault fault);
    void later(std::int64_t delay, std::uint64_t key, void (CBroker::*what)(MarketOrder&));
    void arrive(MarketOrder& order);
    void planFills(MarketOrder& order);
    void fill(MarketOrder& order, std::int64_t volume);
    void cancelNow(MarketOrder& order);
    void crossAndCancel(MarketOrder& order);
    void tellOrder(MarketOrder& order, std::int64_t delay);
    void tellDeal(MarketOrder& order, std::int64_t volume, std::int64_t delay);
    void deliver(const OrderReport& report, std::int64_t at);
    void deliver(const DealReport& report, std::int64_t at);
    OrderReport reportOf(const MarketOrder& order) const;

    Habits m_habits;
    CAgenda& m_agenda;
    FaultCounts& m_counts;
    const Ears m_ears;
    bool m_bCalm = false;
    int m_nDate = 0;  ///< what was entered on an earlier date is void
    int m_nPlaced = 0;
    std::uint64_t m_nDeals = 100'000;
    std::map<std::uint64_t, MarketOrder> m_orders;
    std::map<std::uint64_t, DealReport> m_deals;
};

}  // namespace lab
