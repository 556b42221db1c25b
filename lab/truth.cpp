#include "lab/truth.h"

#include <fmt/format.h>

namespace lab {

// Whether the rule has to reckon with all that the order may still trade.
bool CTruth::counts(const MarketOrder& order) const {
    if (m_model.heardOrder(order.ticket.of.account, order.key)) return true;
    if (!order.ticket.balance) return false;
    const SentCommand* command = m_model.bySerial(order.ticket.serial);
    if (!command) return false;
    for (const SentOrder& sent : command->orders) {
        if (sent.stock == order.ticket.of.stock) return !sent.lost;
    }
    return false;
}

std::int64_t CTruth::told(const MarketOrder& order, bool buys) const {
    const Origin& of = order.ticket.of;
    if (!m_plan.named && of.buys == buys) return 0;
    // Without names the deals of all such orders are one sum; what traded is at most that.
    const std::int64_t volume = m_plan.named ? m_model.dealt(of.account, order.key) : order.filled;
    return of.buys ? volume : -volume;
}

void CTruth::watch(std::uint64_t key, const Pair& pair) {
    const MarketOrder& own = m_broker.orders().at(key);
    Watched watched{.key = key,
                    .account = pair.account,
                    .stock = own.ticket.of.stock,
                    .buys = own.ticket.of.buys};
    if (pair.history) watched.difference = m_model.restOf(pair, watched.stock);
    for (const auto& [number, order] : m_broker.orders()) {
        if (number == key || order.ticket.of.stock != watched.stock) continue;
        if (!pair.holds(order.ticket.of)) continue;
        if (counts(order)) {
            watched.orders.insert(number);
            watched.difference += order.signedFills();
        } else {
            watched.difference += told(order, watched.buys);
        }
    }
    m_watched.push_back(std::move(watched));
}

std::string CTruth::filled(const MarketOrder& order, std::int64_t volume) {
    const Origin& of = order.ticket.of;
    std::string fault;
    for (Watched& each : m_watched) {
        if (each.account != of.account || each.stock != of.stock) continue;
        if (each.key != order.key && each.orders.count(order.key) == 0) continue;
        each.difference += of.buys ? volume : -volume;
        const bool tooMuch = each.buys ? each.difference > 0 : each.difference < 0;
        if (!tooMuch || !fault.empty()) continue;
        fault = fmt::format(
            "trades too much: with the fill of {} by order {} the {} order {} of a balance has "
            "brought bought less sold of {} to {}",
            volume, order.key, each.buys ? "buy" : "sell", each.key,
            m_plan.stocks[static_cast<std::size_t>(of.stock)].key(), each.difference);
    }
    return fault;
}

}  // namespace lab
