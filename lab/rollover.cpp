#include "lab/trace.h"
#include "linkage/core/clinkagemanager.h"

#include <fmt/format.h>

#include <utility>

// From one trading date to the next.

namespace lab {

void CDay::newDate(bool another) {
    another = another && m_nDate == 0;
    happens(another ? EFault::Rollover : EFault::SameDate);
    m_invariants.newDate(another);
    // Without the guard a date that is announced again makes the library count the deals again
    // that balance history.
    if (another || !m_options.guard) carryHistory();
    if (another) beginDate();
    if (m_bUp) m_services.dateBegins();
    m_scenario.newTradingDate(DATES[m_nDate]);
    m_pClient->paper().newTradingDate(DATES[m_nDate], DATES[m_nDate]);
    rest();
    if (lives()) lookAtAllFigures();
}

void CDay::beginDate() {
    ++m_nDate;
    m_pastDeals = m_broker.deals();
    m_broker.newDate();
    m_truth.newDate();
    m_tasks.clear();
    m_tooLate.clear();
    m_halfVanished.clear();
    m_model.newDate();
}

// What balances history is history from now on. What an account that is uncertain has of it, the
// library alone can tell; it is held to what may be.
void CDay::carryHistory() {
    std::vector<std::pair<const Rest*, Volumes>> doubtful;
    for (const Rest& rest : m_plan.rests) {
        if (!m_services.isUncertain(rest.account)) continue;
        const Volumes has = historyOf(m_plan, manager(), rest);
        if (!m_model.mayHave(pairOf(m_plan, rest), rest.stock, has)) {
            fail(
                fmt::format("at the end of the date {} bought and {} sold are in the history of {}",
                            has.first, has.second, accountOf(rest.account)));
        }
        doubtful.emplace_back(&rest, has);
    }
    m_model.carryDeals();
    for (const auto& [rest, has] : doubtful) m_model.carry(pairOf(m_plan, *rest), rest->stock, has);
}

// The account's deals as a bank would list them, those of the date before as well.
std::string CDay::statement(int account, int& rows) const {
    std::string text = "资金账号,成交日期,证券代码,买卖,价格,数量,成交编号\n";
    const auto add = [&](const std::map<std::uint64_t, DealReport>& deals, const char* date) {
        for (const auto& [key, deal] : deals) {
            const Stock& stock = m_plan.stocks[static_cast<std::size_t>(deal.of.stock)];
            if (deal.of.account != account || stock.excluded) continue;
            text += fmt::format("{},{},{},{},{},{},{}\n", accountOf(account), date, stock.code,
                                deal.of.buys ? "买入" : "卖出", PRICE, deal.volume, key);
            ++rows;
        }
    };
    add(m_pastDeals, DATES[0]);
    add(m_broker.deals(), DATES[m_nDate]);
    return text;
}

}  // namespace lab
