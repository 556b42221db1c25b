#include "lab/times.h"
#include "lab/trace.h"
#include "linkage/core/clinkagemanager.h"
#include "platform/utils/keys.h"

#include <fmt/format.h>

#include <stdexcept>
#include <utility>

// What the library asks of the client in the middle of its work.

namespace lab {

namespace {

using namespace vexservice;

constexpr std::uint64_t COMMANDS = 3;
constexpr std::uint64_t TASKS = 4;

/// Ends the call in which the process died.
struct Gone : std::runtime_error {
    Gone() : std::runtime_error("the process is gone") {}
};

EForm formOf(const COrderComandParam& command, bool history) {
    if (!command.m_bGroup) return EForm::Single;
    return history ? EForm::GroupedHistory : EForm::Grouped;
}

}  // namespace

SentCommand CDay::commandOf(const COrderComandParam& command) const {
    SentCommand sent{.at = now()};
    sent.pair.strategy = command.m_strStrategyName;
    sent.pair.history = command.m_strStrategyName2 == HISTORY_TAG;
    for (const auto& order : command.m_orders) {
        sent.pair.account = placeOf(m_plan.accounts, order->m_pAccountInfo->getKey());
        const std::string key =
            utils::zorStockKey(order->m_stock.m_strMarket, order->m_stock.m_strCode);
        sent.orders.push_back(
            {.stock = placeOf(m_plan.stocks, key),
             .buys = order->m_eOperationType == OPT_BUY,
             .volume = order->m_nVolume,
             .priced = order->m_dPrice != 0.0 || isRealMarketPrice(order->m_ePriceType)});
    }
    return sent;
}

void CDay::onCommand(const COrderComandParam& command, const Completion& completion) {
    if (!lives()) return;
    const Step* const crashes = std::exchange(m_pCrashInSend, nullptr);
    SentCommand sent = commandOf(command);
    for (const SentOrder& order : sent.orders) {
        trace("a balance of {} \"{}\" sends {} {} {}", accountOf(sent.pair.account),
              sent.pair.strategy, order.buys ? "buy" : "sell", order.volume,
              m_plan.stocks[static_cast<std::size_t>(order.stock)].key());
    }
    if (m_options.guard) {
        m_invariants.sends(sent, formOf(command, sent.pair.history), bookText());
    }
    if (crashes) {
        happens(EFault::CrashInSend);
        m_nDownFor = crashes->amount;
    }
    if (!crashes || crashes->flag) execute(sent, completion);
    if (!crashes) return;
    crash();
    throw Gone();
}

// The command center takes a command: gives it a number, answers, and makes its orders.
void CDay::execute(SentCommand& sent, const Completion& completion) {
    ++m_outcome.commands;
    sent.serial = ++m_nSerial;
    CRandom random = CRandom::of(m_plan.seed, COMMANDS, static_cast<std::uint64_t>(sent.serial));
    const std::int64_t quick = random.between(0, 50) * MILLI;
    const std::int64_t slow = random.between(1'000, 20'000) * MILLI;
    const bool refused = rolls(random, EFault::Refused);
    const bool refusedLater = rolls(random, EFault::RefusedLater) && !refused && completion;
    const bool silent = rolls(random, EFault::NoAnswer) && !refused && !refusedLater;
    const bool numbered = m_plan.numbered && completion && !silent;
    const bool late = rolls(random, EFault::LateAnswer);
    const bool tooLate = rolls(random, EFault::TooLateRefused) && sent.orders.size() == 1;
    if (completion && !m_plan.numbered) happens(EFault::Unnumbered);
    const int number = numbered ? ++m_nNumber : 0;
    const std::int64_t answerAt = now() + (late ? slow : quick);
    for (const SentOrder& order : sent.orders) {
        const bool vanished = !refused && !refusedLater && rolls(random, EFault::Vanished);
        // A command that is known by another order is never lost: this one stays open.
        if (vanished && sent.orders.size() > 1) m_halfVanished.insert({sent.pair, order.stock});
        if (refused || refusedLater || vanished) continue;
        Ticket ticket{.volume = static_cast<int>(order.volume),
                      .priced = order.priced,
                      .balance = true,
                      .hush = completion && !silent ? answerAt + 1 : 0,
                      .serial = sent.serial};
        ticket.of = {.account = sent.pair.account,
                     .stock = order.stock,
                     .buys = order.buys,
                     .strategy = sent.pair.strategy,
                     .history = sent.pair.history,
                     .command = number};
        const std::uint64_t key = m_broker.place(ticket);
        trace("it is order {} of command {}", key, number);
        m_truth.watch(key, sent.pair);
    }
    m_model.sent(sent);
    if (!completion) return;
    SentCommand told = sent;
    told.number = number;
    if (!silent) answer(completion, told, answerAt, refused ? "refused" : "");
    if (refusedLater) answer(completion, told, answerAt + slow, "refused later");
    if (tooLate && number != 0) m_tooLate[number] = {told, completion};
}

void CDay::answer(const Completion& completion, const SentCommand& sent, std::int64_t at,
                  const std::string& error) {
    m_agenda.at(at, [this, completion, sent, error, life = m_nLife, date = m_nDate] {
        trace("command {} is answered: {}", sent.number, error.empty() ? "taken" : error);
        // Those of an earlier life find a closed door.
        if (life == m_nLife && lives() && date == m_nDate) {
            if (error.empty()) {
                m_model.answered(sent.serial, sent.number);
            } else {
                m_model.refused(sent.serial, sent.number);
            }
        }
        completion(error.empty() ? utils::VexError{} : utils::VexError{2, error}, sent.number);
    });
}

void CDay::onCancelOrder(std::uint64_t key) {
    if (!lives()) return;
    const Step* const crashes = std::exchange(m_pCrashInCancel, nullptr);
    trace("the library cancels order {}", key);
    if (!crashes || crashes->flag) m_broker.cancel(key);
    if (!crashes) return;
    happens(EFault::CrashInCancel);
    m_nDownFor = crashes->amount;
    crash();
    throw Gone();
}

// -------------------------------------------------------------------------- tasks

void CDay::startTask(const Step& step) {
    happens(EFault::Task);
    const std::uint64_t key = ++m_nTasks;
    Origin& of = m_tasks[key];
    of = {.account = step.account,
          .stock = step.stock,
          .strategy = m_plan.strategies[static_cast<std::size_t>(step.strategy)]};
    trace("task {} of {} \"{}\" runs", key, accountOf(of.account), of.strategy);
    m_model.task(key, of, true);
    m_pClient->tellTask(key, of, TASK_RUNNING);
    m_agenda.at(now() + step.amount * SECOND, [this, key] { endTask(key, TASK_COMPLETED); });
}

void CDay::endTask(std::uint64_t key, ETaskStatus status) {
    const auto at = m_tasks.find(key);
    if (at == m_tasks.end()) return;
    const Origin of = at->second;
    m_tasks.erase(at);
    trace("task {} ends", key);
    m_model.task(key, of, false);
    m_pClient->tellTask(key, of, status);
}

void CDay::onTerminateTask(std::uint64_t key) {
    if (!lives()) return;
    CRandom random = CRandom::of(m_plan.seed, TASKS, key);
    trace("the library terminates task {}", key);
    std::int64_t delay = random.between(100, 1'500) * MILLI;
    if (random.chance(30)) delay += random.between(5, 40) * SECOND;
    m_agenda.at(now() + delay, [this, key] { endTask(key, TASK_CANCELED); });
}

}  // namespace lab
