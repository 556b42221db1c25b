#include "adaptercheck/cases.h"
#include "adaptercheck/world.h"
#include "platform/records/taskdetail.h"

#include <fmt/format.h>
#include <mongo/bson/bson.h>

#include <boost/make_shared.hpp>

#include <algorithm>
#include <set>

/// Commands, and the operations on tasks.
namespace adaptercheck {

using namespace vexservice;

namespace {

constexpr char HISTORY_TAG[] = "历史配平";

void completionsComeLater(CStage& stage) {
    CSentCommand command(stage, {});
    for (const auto& each : command.awaitCompletion()) {
        expect(!each.heard.inside, "the completion was called inside createCommand()");
        expect(!each.heard.waited, "createCommand() waited for its completion");
    }
    command.awaitOrder();
}

void numbersAreUnique(CStage& stage) {
    need(stage.facts().numbersCommands, "numbers of commands");
    std::set<int> numbers;
    for (int times = 1; times <= 5; ++times) {
        const auto told = CSentCommand(stage, {}).awaitCompletion();
        expect(!told.empty(), "the completion of a command did not come");
        expect(told.front().error.isOk(), "a command was refused: " + told.front().error.m_strText);
        expect(told.front().number > 0, "the number is " + std::to_string(told.front().number));
        expect(numbers.insert(told.front().number).second,
               "two commands have the number " + std::to_string(told.front().number));
    }
}

void numbersComeFirst(CStage& stage) {
    need(stage.facts().numbersCommands, "numbers of commands");
    const auto told = CSentCommand(stage, {}).awaitCompletion();
    need(!told.empty(), "a completion");
    expect(told.front().orders == 0, "an order was reported before the completion came");
}

int numberOf(const boost::shared_ptr<CCommandRecord>& carrier) {
    return carrier ? carrier->m_nCommand : 0;
}

/// The command's order trades whole. Then `check` looks at its carrier and at the carriers of its
/// deals, each with a word for whose it is. A deal need not name its order; no other order rests.
template <class Check>
void checkCarriers(CStage& stage, CSentCommand& command, const Check& check) {
    const std::string whose = account(stage);
    const auto key = command.awaitOrder()->recordKey();
    std::set<std::uint64_t> before;
    for (const auto& deal : dealsOf(whose)) before.insert(deal->recordKey());
    need(stage.adapter().fill(300), "filling orders");
    std::vector<boost::shared_ptr<CDealDetail>> deals;
    const bool told = stage.await([&] {
        deals.clear();
        int volume = 0;
        for (const auto& deal : dealsOf(whose)) {
            if (before.count(deal->recordKey()) > 0) continue;
            deals.push_back(deal);
            volume += deal->m_nVolume;
        }
        return volume == 300;
    });
    expect(told, "an order of 300 shares has traded, and its deals do not say so");
    const auto order = orderOf(whose, key);
    expect(order != nullptr, "the order has gone");
    check(order->m_pCommand, "the order");
    for (const auto& deal : deals) check(deal->m_pCommand, "the deal");
}

void carriersHaveTheNumber(CStage& stage) {
    CSentCommand command(stage, {});
    command.awaitOrder();
    const auto told = command.awaitCompletion();
    const int number = told.empty() ? 0 : told.front().number;
    checkCarriers(stage, command, [&](const auto& carrier, const std::string& what) {
        expect(numberOf(carrier) == number, "the command has the number " + std::to_string(number) +
                                                ", and " + what + " " +
                                                std::to_string(numberOf(carrier)));
    });
}

void strategyComesBack(CStage& stage) {
    CommandTerms terms;
    terms.strategy = "kit strategy";
    CSentCommand command(stage, terms);
    checkCarriers(stage, command, [&](const auto& carrier, const std::string& what) {
        expect(carrier != nullptr, what + " has no carrier");
        expect(carrier->m_strStrategyName == terms.strategy &&
                   carrier->m_strStrategyName2 == terms.strategy,
               what + " has the strategy names \"" + carrier->m_strStrategyName + "\" and \"" +
                   carrier->m_strStrategyName2 + "\"");
    });
}

void tagComesBack(CStage& stage) {
    for (const std::string tag : {HISTORY_TAG, ""}) {
        CommandTerms terms;
        terms.tag = tag;
        CSentCommand command(stage, terms);
        checkCarriers(stage, command, [&](const auto& carrier, const std::string& what) {
            const std::string got = carrier ? carrier->m_strTag : "";
            const bool right = tag.empty() ? got != HISTORY_TAG : got == tag;
            expect(right, fmt::format("{} of a command {} has the tag \"{}\"", what,
                                      tag.empty() ? "of the day" : tag, got));
        });
    }
}

void commandsComeAsTheyAre(CStage& stage) {
    CommandTerms terms;
    terms.volume = 400;
    CSentCommand command(stage, terms);
    const auto order = command.awaitOrder();
    expect(order->m_eDirection == ENTRUST_BUY, "a buy was reported as a sell");
    expect(order->m_nVolume == terms.volume,
           "400 shares were reported as " + std::to_string(order->m_nVolume));
    expect(std::abs(order->m_dPrice - stage.facts().restingPrice) < 1e-6,
           "its price was reported as " + std::to_string(order->m_dPrice));
}

void completionMayBeEmpty(CStage& stage) {
    CommandTerms terms;
    terms.completion = false;
    CSentCommand(stage, terms).awaitOrder();
}

void rejectionsSayWhy(CStage& stage) {
    need(stage.adapter().rejectNext(), "a rejection");
    CSentCommand command(stage, {});
    const auto key = command.awaitOrder()->recordKey();
    boost::shared_ptr<COrderDetail> order;
    stage.await([&] {
        order = orderOf(account(stage), key);
        return order && order->m_eStatus == STATUS_JUNK;
    });
    expect(order != nullptr, "the order has gone");
    expect(order->m_eStatus == STATUS_JUNK,
           "a rejected order has the status " + std::to_string(order->m_eStatus));
    expect(!order->m_strRemark.empty(), "a rejected order has no remark");
}

void allOrdersCome(CStage& stage) {
    CommandTerms terms;
    terms.second = 500;
    const CSentCommand command(stage, terms);
    stage.await([&] { return command.orders().size() >= 2; });
    std::multiset<int> volumes;
    for (const auto& order : command.orders()) volumes.insert(order->m_nVolume);
    expect(volumes == std::multiset<int>{300, 500},
           fmt::format("orders of {} shares came of a command of 300 and 500",
                       fmt::join(volumes, " and ")));
}

void refusedCommandsEnd(CStage& stage) {
    account(stage);
    need(stage.adapter().refuseNext(), "a refusal of a command");
    CSentCommand command(stage, {});
    const auto told = command.awaitCompletion();
    expect(!told.empty(), "the completion of a refused command did not come");
    expect(!told.front().error.isOk(), "the completion of a refused command has no error");
    stage.settle();
    expect(command.orders().size() == told.front().orders,
           "an order came after its command was refused");
}

boost::shared_ptr<CTaskDetail> startedTask(CStage& stage, bool server) {
    need(stage.adapter().startTask(server), server ? "a task of the server" : "a local task");
    boost::shared_ptr<CTaskDetail> found;
    stage.await([&] {
        const auto data = dataCenter().getGlobalAccountData();
        expect(data != nullptr, "there is no data of all accounts");
        for (const auto& task : recordsOf<CTaskDetail>(*data, DATA_TASK)) {
            if (task->m_bServerTask == server) found = task;
        }
        return found != nullptr;
    });
    expect(found != nullptr, "a task has started, and is not there");
    return found;
}

void expectEnd(CStage& stage, std::uint64_t taskKey) {
    const bool ended = stage.await([&] {
        const auto data = dataCenter().getGlobalAccountData();
        const auto tasks = recordsOf<CTaskDetail>(*data, DATA_TASK);
        return std::any_of(tasks.begin(), tasks.end(), [&](const auto& task) {
            return task->recordKey() == taskKey && task->m_eStatus >= TASK_COMPLETED;
        });
    });
    expect(ended, "a task was terminated, and no report says that it has ended");
}

boost::shared_ptr<CTaskOpRecord> termination() {
    auto record = boost::make_shared<CTaskOpRecord>();
    record->m_strOperator = "kit";
    return record;
}

void serverTasksEnd(CStage& stage) {
    const auto task = startedTask(stage, true);
    struct Told {
        std::atomic<int> count{0};
        std::atomic<bool> error{false};
        std::atomic<bool> early{false};
    };
    const auto told = std::make_shared<Told>();
    stage.call([&] {
        utils::CSingletonT<TC::CDovCommandCenter>::instance()->operateServerTask(
            CTaskHelper::genServerTaskKey(task), termination(),
            accountData(account(stage))->getAccountInfo(),
            [told, &stage](const utils::VexError& error, const bson::BSONObj&) {
                const Heard heard = stage.heard();
                told->early = told->early || heard.inside || heard.waited;
                told->error = told->error || !error.isOk();
                ++told->count;
                stage.changed();
            });
    });
    expectEnd(stage, task->recordKey());
    expect(!told->early, "operateServerTask() called its completion or waited for it");
    expect(!told->error, "the completion has an error, and the task has ended");
    expect(told->count <= 1, "the completion came twice");
}

void localTasksEnd(CStage& stage) {
    auto* const center = TraderCenter::instance()->getTaskCenter();
    expect(center != nullptr, "there is no task center");
    expect(!center->getTaskHandler(987'654'321), "a task that nobody runs has a handler");
    const auto task = startedTask(stage, false);
    const auto handler = center->getTaskHandler(task->recordKey());
    expect(handler != nullptr, "a task that runs has no handler");
    stage.call([&] { handler->operate(termination()); });
    expectEnd(stage, task->recordKey());
}

}  // namespace

std::vector<Case> commandCases() {
    constexpr const char* CENTER = "services/dovcommandcenter.h";
    return {
        {401, "completion-later", CENTER,
         "Calls return at once; completions come later on a thread of the command center, if at "
         "all, and never inside the call.",
         completionsComeLater},
        {402, "numbers", CENTER,
         "it is called without an error and with a number above 0 that no other command has",
         numbersAreUnique},
        {403, "number-first", CENTER,
         "after this call and before any report of the command's orders.", numbersComeFirst},
        {404, "number-carried", CENTER,
         "The carriers of these orders and of their deals have this number.",
         carriersHaveTheNumber},
        {405, "strategy-carried", CENTER,
         "The carriers of the orders, and of their deals, have the strategy names that the orders "
         "had.",
         strategyComesBack},
        {406, "tag-carried", CENTER,
         "that text is the tag of these carriers, and no other carrier has it.", tagComesBack},
        {407, "orders-as-sent", CENTER, "Sends the orders of a command.", commandsComeAsTheyAre},
        {408, "no-completion", CENTER, "`completion` may be empty.", completionMayBeEmpty},
        {409, "rejections", "records/orderdetail.h",
         "from the broker or the exchange, such as a reason to reject", rejectionsSayWhy},
        {410, "server-tasks", CENTER,
         "Operates a task on the server, named by CTaskHelper::genServerTaskKey.", serverTasksEnd},
        {411, "local-tasks", "services/tradercenter.h",
         "Empty when the client runs no task of this number.", localTasksEnd},
        {412, "all-orders", CENTER, "Sends the orders of a command.", allOrdersCome},
        {413, "refused-commands", CENTER,
         "When the completion is called with an error, at once or later, no further order of the "
         "whole command will come",
         refusedCommandsEnd},
    };
}

}  // namespace adaptercheck
