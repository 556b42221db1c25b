#include "adaptercheck/cases.h"
#include "adaptercheck/news.h"
#include "adaptercheck/world.h"
#include "platform/services/quoteclient.h"
#include "platform/services/tradeclient.h"

#include <array>

/// Many things at a time, and the end in their middle.
namespace adaptercheck {

using namespace vexservice;

namespace {

constexpr int ORDERS = 100;
constexpr int SHARES = 100;

using Commands = std::vector<std::unique_ptr<CSentCommand>>;

/// Sends many commands at once, without waiting for anything.
Commands storm(CStage& stage) {
    Commands commands;
    CommandTerms terms;
    terms.volume = SHARES;
    for (int times = 0; times < ORDERS; ++times) {
        commands.push_back(std::make_unique<CSentCommand>(stage, terms));
    }
    return commands;
}

void stormsLoseNothing(CStage& stage) {
    const std::string key = account(stage);
    const CNews news(stage, key);
    const CNewOrders orders(key);
    const Commands commands = storm(stage);
    stage.await([&] { return orders.get().size() >= ORDERS; });
    expect(orders.get().size() == ORDERS, std::to_string(ORDERS) + " commands made " +
                                              std::to_string(orders.get().size()) + " orders");
    need(stage.adapter().fill(ORDERS * SHARES), "filling orders");
    const auto ended = [&] {
        std::set<std::string> keys;
        for (const News& each : news.all()) {
            if (each.record && isFinal(*each.record)) keys.insert(each.record->getKey());
        }
        return keys.size();
    };
    stage.await([&] { return ended() >= ORDERS; });
    expect(ended() == ORDERS, std::to_string(ORDERS) + " orders have ended, and " +
                                  std::to_string(ended()) + " were announced as ended");
}

void picturesAreConsistent(CStage& stage) {
    constexpr int READERS = 3;
    const std::string key = account(stage);
    std::atomic<bool> over{false};
    const auto read = [&] {
        // At least once, however late the thread gets its turn.
        do {
            std::vector<boost::shared_ptr<IData>> records;
            accountData(key)->getVector(DATA_ORDER, records);
            std::set<std::string> keys;
            for (const auto& record : records) {
                if (!record || !keys.insert(record->getKey()).second) {
                    stage.blame("an account read amid a storm has a record twice, or a null one");
                }
            }
        } while (!over);
    };
    std::vector<std::thread> readers;
    readers.reserve(READERS);
    for (int at = 0; at < READERS; ++at) {
        readers.emplace_back([&] {
            try {
                read();
            } catch (...) {
                stage.blame("the data center failed while others used it");
            }
        });
    }
    struct Join {
        std::atomic<bool>& over;
        std::vector<std::thread>& readers;
        ~Join() {
            over = true;
            for (std::thread& reader : readers) reader.join();
        }
    } const join{over, readers};
    const CNewOrders orders(key);
    const Commands commands = storm(stage);
    stage.await([&] { return orders.get().size() >= ORDERS; });
    stage.adapter().fill(ORDERS * SHARES);
    stage.settle();
}

void callbacksMayCut(CStage& stage) {
    const std::string key = account(stage);
    const auto own = std::make_shared<boost::signals2::connection>();
    const auto told = std::make_shared<std::atomic<int>>(0);
    stage.call([&] {
        *own = dataCenter().subscribe(key, DATA_ORDER, "", [own, told](auto&, auto&) {
            ++*told;
            own->disconnect();
        });
    });
    const auto request = std::make_shared<boost::shared_ptr<TC::CQuoteRequest>>();
    const auto prices = std::make_shared<std::atomic<int>>(0);
    stage.call([&] {
        *request = TC::CQuoteRequest::makeRequest(QString::fromStdString(stock(stage)),
                                                  [request, prices](auto&) {
                                                      ++*prices;
                                                      request->reset();
                                                  });
    });
    tradeTwice(stage);
    for (const double last : {10.21, 10.22, 10.23}) stage.adapter().quote(last);
    stage.settle();
    request->reset();
    expect(*told >= 1, "no order was announced");
    expect(*told <= 2, "a connection that its own callback has cut delivered " +
                           std::to_string(*told) + " times");
    expect(*prices <= 2, "a request that its own callback has dropped delivered " +
                             std::to_string(*prices) + " times");
}

void releaseAmidAStorm(CStage& stage) {
    const std::string key = account(stage);
    CNews news(stage, "");
    Commands commands = storm(stage);
    const auto answers = std::make_shared<std::array<std::atomic<int>, 3>>();
    auto& client = *utils::CManualSingletonT<TC::CTradeClient>::instance();
    const std::string day = stage.facts().pastDay;
    stage.call([&] {
        client.queryHistoryOrders(key, day, [answers](auto&, auto&) { ++answers->at(0); });
        client.queryHistoryDeals(key, day, [answers](auto&, auto&) { ++answers->at(1); });
        utils::CManualSingletonT<TC::CQuoteClient>::instance()->queryMinuteBars(
            QString::fromStdString(stock(stage)), stage.facts().barsDay,
            [answers](auto&) { ++answers->at(2); });
    });
    stage.adapter().fill(ORDERS * SHARES);
    news.cut();
    commands.clear();
    stage.remove();
    stage.settle();
    for (const auto& count : *answers) {
        expect(count <= 1, "one question has " + std::to_string(count) + " answers");
    }
}

}  // namespace

std::vector<Case> stormCases() {
    return {
        {801, "storm", "services/tradercenter.h",
         "The newest report of each record was announced, unless a load of the whole account "
         "brought it, which CTradeClient::sigInitedAccountData tells.",
         stormsLoseNothing},
        {802, "storm-read", "services/accountdata.h",
         "Threads: any; each call is a consistent picture of its own.", picturesAreConsistent},
        {803, "cut-inside", "services/quoteclient.h",
         "A live price subscription; it ends when the object goes.", callbacksMayCut},
        {804, "release-amid", "services/clientconfig.h",
         "the client installs each service before it makes a manager and takes it away after the "
         "manager has gone.",
         releaseAmidAStorm},
    };
}

}  // namespace adaptercheck
