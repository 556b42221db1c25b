#include "lab/times.h"
#include "lab/trace.h"
#include "linkage/core/clinkagemanager.h"
#include "platform/utils/keys.h"
#include "replay/times.h"

#include <mongo/bson/bson.h>

#include <boost/asio/post.hpp>

#include <fmt/format.h>

#include <stdexcept>
#include <utility>

// What the library asks of the client in the middle of its work.

namespace lab {

namespace {

using namespace vexservice;

constexpr std::uint64_t COMMANDS = 3;
constexpr std::uint64_t TASKS = 4;
constexpr std::uint64_t PAST = 5;
constexpr char PAST_DAY[] = "20231229";

/// Ends the call in which the process died.
struct Gone : std::runtime_error {
    Gone() : std::runtime_error("the process is gone") {}
};

/// The fates of a balance's orders lie behind those of the plan's.
std::uint64_t fateOf(int serial, int stock) {
    return 1'000'000 + 16 * static_cast<std::uint64_t>(serial) + static_cast<std::uint64_t>(stock);
}

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
    if (!lives()) {
        // What a process does after its end reaches nobody, but a scenario counts it.
        if (m_bUp) ++m_nNumber;
        return asksAfterRelease();
    }
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
    if (!crashes && m_nCommandThrows > 0) {
        m_model.sent(sent);
        throwCommand();
    }
    noteSent(sent);
    ++m_nNumber;
    if (!crashes || crashes->flag) execute(sent, completion);
    if (!crashes) return;
    crash();
    throw Gone();
}

void CDay::asksAfterRelease() {
    if (m_bGone) fail("the library asks for something after it was released");
}

void CDay::noteSent(const SentCommand& sent) {
    if (!m_options.scenario) return;
    for (const SentOrder& order : sent.orders) {
        m_outcome.sent.push_back(sentLine(
            replay::momentText(now()), accountOf(sent.pair.account),
            m_plan.stocks[static_cast<std::size_t>(order.stock)].key(), order.buys, order.volume));
    }
}

void CDay::throwCommand() {
    happens(EFault::CommandThrows);
    if (--m_nCommandThrows == 0) {
        // From the next line on results come when the laboratory tells them.
        m_agenda.at(now(), [this] {
            m_scenario.fault(paper::EService::CommandCenter, paper::EFault::Lost, ALL_CALLS);
        });
    }
    throw paper::ServiceFault("the command center failed");
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
    const int number = numbered ? m_nNumber : 0;
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
                      .fate = fateOf(sent.serial, order.stock),
                      .serial = sent.serial};
        ticket.of = {.account = sent.pair.account,
                     .stock = order.stock,
                     .buys = order.buys,
                     .strategy = sent.pair.strategy,
                     .history = sent.pair.history,
                     .command = number};
        const std::uint64_t key = m_broker.place(ticket);
        trace("it is order {} of command {}", key, number);
        if (!m_services.isUncertain(sent.pair.account)) m_truth.watch(key, sent.pair);
    }
    m_model.sent(sent);
    if (!completion) return;
    SentCommand told = sent;
    // A refusal always names its command.
    told.number = refused || refusedLater ? m_nNumber : number;
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
        m_scenario.result(sent.number, error);
        completion(error.empty() ? utils::VexError{} : utils::VexError{2, error}, sent.number);
    });
}

void CDay::onCancelOrder(std::uint64_t key) {
    if (!lives()) return asksAfterRelease();
    // A cancellation that the trade client lost or refused, by an earlier fault of it.
    if (std::exchange(m_bCancelFails, false)) return;
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
    const bool excluded = m_plan.stocks[static_cast<std::size_t>(step.stock)].excluded;
    of = {.account = step.account,
          .stock = excluded ? step.stock + 1 : step.stock,
          .strategy = m_plan.strategies[static_cast<std::size_t>(step.strategy)]};
    trace("task {} of {} \"{}\" runs", key, accountOf(of.account), of.strategy);
    m_model.task(key, of, true);
    m_scenario.task(key, of, TASK_RUNNING);
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
    m_scenario.task(key, of, status);
    m_pClient->tellTask(key, of, status);
}

void CDay::onTerminateTask(std::uint64_t key, const TaskCompletion& completion) {
    if (!lives()) return asksAfterRelease();
    if (m_nCommandThrows > 0) throwCommand();
    CRandom random = CRandom::of(m_plan.seed, TASKS, key);
    trace("the library terminates task {}", key);
    std::int64_t delay = random.between(100, 1'500) * MILLI;
    if (random.chance(30)) delay += random.between(5, 40) * SECOND;
    m_agenda.at(now() + delay, [this, key] { endTask(key, TASK_CANCELED); });
    if (!completion) return;
    const bool late = rolls(random, EFault::LateAnswer);
    const int wait = late ? random.between(1'000, 20'000) : random.between(0, 50);
    m_agenda.at(now() + wait * MILLI, [completion] { completion({}, bson::BSONObj()); });
}

// ---------------------------------------------------------------------- past days

// Whether the process that asked lives by then or not.
void CDay::onPastAnswer(const paper::CFaults::Answer& answer) {
    CRandom random = CRandom::of(m_plan.seed, PAST, static_cast<std::uint64_t>(++m_nPastAnswers));
    const std::int64_t wait = random.between(1'000, 20'000) * MILLI;
    if (!lives() || !rolls(random, EFault::LatePast)) {
        boost::asio::post(m_loop.service(), answer);
        return;
    }
    trace("the answer for a past day comes {} ms late", wait / MILLI);
    m_agenda.at(now() + wait, answer);
}

// Each question is over once, with an answer or without; but one whose account the data center
// does not tell, by throwing, never begins.
void CDay::askPast(int account) {
    const std::string& key = accountOf(account);
    m_scenario.call("requestAccountDeals", {key, PAST_DAY, PAST_DAY});
    ++m_nPastAsked;
    manager().requestAccountDeals(key, PAST_DAY, PAST_DAY);
    rest();
}

void CDay::pastDone() {
    if (--m_nPastAsked < 0) fail("a question for a past day is over that was not asked");
}

void CDay::checkPast() {
    if (m_nPastAsked > 0) passTo(now() + 20 * SECOND);
    if (m_nPastAsked > 0) fail("a question for a past day is never over");
}

}  // namespace lab
