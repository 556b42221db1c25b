#include "adaptercheck/cases.h"
#include "adaptercheck/news.h"
#include "adaptercheck/world.h"
#include "platform/records/positionstatics.h"
#include "platform/records/taskdetail.h"
#include "platform/utils/keys.h"

#include <algorithm>

/// Accounts and subscriptions of the data center.
namespace adaptercheck {

using namespace vexservice;

namespace {

std::vector<std::string> accountKeys() {
    std::vector<boost::shared_ptr<CAccountData>> accounts;
    dataCenter().getAllAccountData(accounts);
    std::vector<std::string> keys;
    for (const auto& account : accounts) {
        expect(account != nullptr, "getAllAccountData() gives an empty pointer");
        keys.push_back(account->getKey());
    }
    return keys;
}

void accountsAreListed(CStage& stage) {
    const auto keys = accountKeys();
    for (const std::string& wanted : {account(stage), stage.facts().otherAccount}) {
        expect(wanted.empty() || std::count(keys.begin(), keys.end(), wanted) == 1,
               "the account " + wanted + " is not there once");
    }
    tradeTwice(stage);
    const auto later = accountKeys();
    expect(later.size() >= keys.size() && std::equal(keys.begin(), keys.end(), later.begin()),
           "after a trade the accounts stand in another order");
}

void accountsAreFound(CStage&) {
    for (const std::string& key : accountKeys()) {
        const auto data = dataCenter().getAccountData(utils::hash(key));
        expect(data != nullptr, "the account " + key + " is not found by its hash");
        expect(data->getKey() == key, "the hash of " + key + " gives " + data->getKey());
    }
}

void unknownAccountsAreEmpty(CStage&) {
    expect(!dataCenter().getAccountData(utils::hash("nobody has this account")),
           "an account that nobody has is found");
}

void infoHasTheKey(CStage& stage) {
    const auto info = accountData(account(stage))->getAccountInfo();
    need(info != nullptr, "the account's info, which is not loaded");
    expect(info->m_strKey == account(stage), "its info has the key \"" + info->m_strKey + "\"");
}

void tradeDateIsADate(CStage&) {
    const std::string date = dataCenter().getTradingDate();
    expect(isDate(date), "it is \"" + date + "\"");
}

void subscribingDeliversNothing(CStage& stage) {
    tradeTwice(stage);
    const CNews news(stage, account(stage));
    stage.settle();
    expect(news.count() == 0, "what was there before was delivered");
}

void newsGoToWhoAsked(CStage& stage) {
    const CNews own(stage, account(stage));
    const CNews all(stage, "");
    const std::string other = stage.facts().otherAccount;
    const CNews others(stage, other.empty() ? "nobody has this account" : other);
    tradeTwice(stage);
    const auto orders = [](const CNews& news) {
        int count = 0;
        for (const News& each : news.all()) {
            count += each.type == DATA_ORDER ? 1 : 0;
        }
        return count;
    };
    expect(stage.await([&] { return orders(own) > 0; }), "an account's order was not announced");
    expect(stage.await([&] { return orders(all) == orders(own); }),
           "the order was not announced to who listens to all accounts");
    expect(others.count() == 0, "it was announced to who listens to another account");
    for (const News& each : all.all()) {
        const bool same = each.type == DATA_TASK || each.account == account(stage);
        expect(same, "it was announced as of the account \"" + each.account + "\"");
    }
}

void classesAreRight(CStage& stage) {
    const auto right = [](int type, const boost::shared_ptr<IData>& record) {
        switch (type) {
            case DATA_ORDER:
                return boost::dynamic_pointer_cast<COrderDetail>(record) != nullptr;
            case DATA_DEAL:
                return boost::dynamic_pointer_cast<CDealDetail>(record) != nullptr;
            case DATA_POSITION:
                return boost::dynamic_pointer_cast<CPositionStatics>(record) != nullptr;
            default:
                return boost::dynamic_pointer_cast<CTaskDetail>(record) != nullptr;
        }
    };
    const CNews news(stage, "", [&](const News& each) {
        if (!right(each.type, each.record)) {
            stage.blame("a record of type " + std::to_string(each.type) +
                        " was announced that is null or of another class");
        }
    });
    tradeTwice(stage);
    stage.adapter().hold(500);
    stage.settle();
    for (const int type : {DATA_ORDER, DATA_DEAL, DATA_POSITION}) {
        std::vector<boost::shared_ptr<IData>> records;
        accountData(account(stage))->getVector(type, records);
        for (const auto& record : records) {
            expect(right(type, record), "getVector() of type " + std::to_string(type) +
                                            " gives a record that is null or of another class");
        }
    }
}

void unknownTypesAreEmpty(CStage& stage) {
    tradeTwice(stage);
    std::vector<boost::shared_ptr<IData>> records;
    accountData(account(stage))->getVector(987'654, records);
    expect(records.empty(), "a type that does not exist has records");
}

void locksAreFree(CStage& stage) {
    const std::string key = account(stage);
    std::atomic<bool> asked{false};
    const CNews news(stage, key, [&](const News& each) {
        if (each.type != DATA_ORDER || asked.exchange(true)) return;
        const bool answered = stage.answersElsewhere([key] {
            ordersOf(key);
            dataCenter().getTradingDate();
            dataCenter().subscribe(key, DATA_ORDER, "", [](auto&, auto&) {}).disconnect();
        });
        if (!answered) {
            stage.blame("while a callback runs, another thread waits for the data center");
        }
    });
    restingOrder(stage, 100);
    expect(stage.await([&] { return asked.load(); }), "no order was announced");
}

void cutConnectionsAreSilent(CStage& stage) {
    CNews news(stage, account(stage));
    tradeTwice(stage);
    news.cut();
    stage.settle();
    const int underWay = news.late();
    tradeTwice(stage);
    stage.settle();
    expect(underWay <= 4 && news.late() == underWay,
           "a connection that was cut goes on delivering");
}

void positionsCome(CStage& stage) {
    const CNews news(stage, account(stage));
    need(stage.adapter().hold(700), "a position");
    const bool told = stage.await([&] {
        for (const News& each : news.all()) {
            const auto position = boost::dynamic_pointer_cast<CPositionStatics>(each.record);
            if (each.type == DATA_POSITION && position && position->m_nVolume == 700) return true;
        }
        return false;
    });
    expect(told, "a position of 700 shares was not announced");
    bool kept = false;
    for (const auto& each :
         recordsOf<CPositionStatics>(*accountData(account(stage)), DATA_POSITION)) {
        kept = kept || each->m_nVolume == 700;
    }
    expect(kept, "the account has no position of 700 shares");
}

void tasksAreGlobal(CStage& stage) {
    const CNews news(stage, "");
    need(stage.adapter().startTask(true), "a task");
    const auto tasks = [] {
        const auto data = dataCenter().getGlobalAccountData();
        expect(data != nullptr, "there is no data of all accounts");
        return recordsOf<CTaskDetail>(*data, DATA_TASK).size();
    };
    expect(stage.await([&] { return tasks() > 0; }), "a task has started, and is not there");
    const bool told = stage.await([&] {
        const auto all = news.all();
        return std::any_of(all.begin(), all.end(),
                           [](const News& each) { return each.type == DATA_TASK; });
    });
    expect(told, "a task has started, and was not announced");
}

}  // namespace

std::vector<Case> dataCenterCases() {
    constexpr const char* CENTER = "services/tradercenter.h";
    constexpr const char* ACCOUNT = "services/accountdata.h";
    return {
        {201, "accounts-listed", CENTER,
         "Every account, in the order in which they first appeared.", accountsAreListed},
        {202, "accounts-found", CENTER,
         "The account whose key has this hash (utils::hash), or an empty pointer.",
         accountsAreFound},
        {203, "account-unknown", CENTER,
         "an unknown account gives an empty pointer, nothing throws.", unknownAccountsAreEmpty},
        {204, "account-info", "records/accountinfo.h", "account key, unique in the client",
         infoHasTheKey},
        {205, "trade-date", CENTER, "The current trade date, \"yyyyMMdd\".", tradeDateIsADate},
        {206, "subscribing-silent", CENTER, "Subscribing delivers nothing by itself.",
         subscribingDeliversNothing},
        {207, "news-addressed", CENTER,
         "News of one EDataType of one account, or of all accounts with an empty key.",
         newsGoToWhoAsked},
        {208, "classes", ACCOUNT,
         "Each record has the class of its type (see EDataType), and none is null.",
         classesAreRight},
        {209, "unknown-types", ACCOUNT, "Unknown types give nothing.", unknownTypesAreEmpty},
        {210, "no-lock-held", CENTER,
         "Callbacks come on the data center's own threads, and with no lock of the data center "
         "held.",
         locksAreFree},
        {211, "connection-cut", CENTER,
         "A callback that was under way when its connection was cut may still come once.",
         cutConnectionsAreSilent},
        {212, "positions", "records/idata.h",
         "The kinds of records that the data center hands out and announces, each with its class.",
         positionsCome},
        {213, "tasks-global", CENTER,
         "Data that belongs to no single account: the algorithmic tasks.", tasksAreGlobal},
    };
}

}  // namespace adaptercheck
