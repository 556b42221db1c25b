#include "adaptercheck/cases.h"
#include "adaptercheck/news.h"
#include "adaptercheck/world.h"

#include <algorithm>
#include <map>

/// What holds of records over the life of an order.
namespace adaptercheck {

using namespace vexservice;

namespace {

void keptBeforeAnnounced(CStage& stage) {
    const CNews news(stage, account(stage), [&](const News& each) {
        if (!each.record || each.type == DATA_TASK) return;
        std::vector<boost::shared_ptr<IData>> records;
        accountData(each.account)->getVector(each.type, records);
        const auto same = std::find_if(records.begin(), records.end(), [&](const auto& record) {
            return record && record->getKey() == each.record->getKey();
        });
        if (same == records.end()) {
            stage.blame("the record " + each.content + " is announced and not there");
        } else if (tradedOf(**same) < tradedOf(*each.record) ||
                   (isFinal(*each.record) && !isFinal(**same))) {
            stage.blame("the report " + each.content + " is announced, and an older one is there");
        }
    });
    tradeTwice(stage);
    stage.settle();
}

void reportsComeInOrder(CStage& stage) {
    const CNews news(stage, account(stage));
    tradeTwice(stage);
    stage.settle();
    std::map<std::string, boost::shared_ptr<IData>> before;
    for (const News& each : news.all()) {
        if (each.type != DATA_ORDER || !each.record) continue;
        auto& last = before[each.record->getKey()];
        if (last) {
            expect(tradedOf(*last) <= tradedOf(*each.record),
                   "less has traded than before: " + each.content);
            expect(!isFinal(*last) || isFinal(*each.record),
                   "a final order runs again: " + each.content);
        }
        last = each.record;
    }
}

void newestIsAnnounced(CStage& stage) {
    const CNews news(stage, account(stage));
    tradeTwice(stage);
    const auto missing = [&]() -> std::string {
        const auto heard = news.all();
        for (const int type : {DATA_ORDER, DATA_DEAL}) {
            std::vector<boost::shared_ptr<IData>> records;
            accountData(account(stage))->getVector(type, records);
            for (const auto& record : records) {
                if (!record) continue;
                std::string kept = contentOf(*record);
                const auto last = std::find_if(heard.rbegin(), heard.rend(), [&](const News& each) {
                    return each.type == type && each.record &&
                           each.record->getKey() == record->getKey();
                });
                if (last == heard.rend() || last->content != kept) return kept;
            }
        }
        return {};
    };
    expect(stage.await([&] { return missing().empty(); }), "was not announced: " + missing());
}

void newestOnceInOrder(CStage& stage) {
    std::vector<std::uint64_t> keys;
    keys.reserve(3);
    for (int times = 0; times < 3; ++times) keys.push_back(restingOrder(stage, 100)->recordKey());
    need(stage.adapter().fill(100), "filling orders");
    stage.await([&] {
        const auto first = orderOf(account(stage), keys.front());
        return first && isFinal(*first);
    });
    std::vector<boost::shared_ptr<IData>> records{nullptr};
    accountData(account(stage))->getVector(DATA_ORDER, records);
    expect(!records.empty() && !records.front(), "what stood in the list before is gone");
    std::vector<std::uint64_t> given;
    for (const auto& record : records) {
        const auto order = boost::dynamic_pointer_cast<COrderDetail>(record);
        if (!order) continue;
        const std::uint64_t key = order->recordKey();
        if (std::find(keys.begin(), keys.end(), key) != keys.end()) given.push_back(key);
        expect(key != keys.front() || isFinal(*order), "the newest report is not given");
    }
    expect(given == keys, "orders are not given once each, in the order of their appearance");
}

void recordsDoNotChange(CStage& stage) {
    const CNews news(stage, account(stage));
    tradeTwice(stage);
    stage.settle();
    for (const News& each : news.all()) {
        if (!each.record) continue;
        expect(contentOf(*each.record) == each.content,
               "it was announced as " + each.content + " and is now " + contentOf(*each.record));
    }
}

void oneOrderHasOneKey(CStage& stage) {
    const CNewOrders orders(account(stage));
    tradeTwice(stage);
    stage.settle();
    expect(orders.get().size() == 1,
           "one order has " + std::to_string(orders.get().size()) + " record keys");
}

void recordsHaveADate(CStage& stage) {
    tradeTwice(stage);
    for (const auto& order : ordersOf(account(stage))) {
        expect(isDate(order->m_strTradeDate), "an order's is \"" + order->m_strTradeDate + "\"");
    }
    for (const auto& deal : dealsOf(account(stage))) {
        expect(isDate(deal->m_strTradeDate), "a deal's is \"" + deal->m_strTradeDate + "\"");
    }
}

void dealsKnowTheirOrder(CStage& stage) {
    const std::string key = account(stage);
    const auto order = tradeTwice(stage);
    stage.await([&] { return dealtOf(key, order->recordKey()) == order->m_nTradedVolume; });
    const auto deals = dealsOf(key);
    expect(!deals.empty(), "an order has traded, and there is no deal");
    need(std::any_of(deals.begin(), deals.end(),
                     [](const auto& deal) { return deal->m_nOrderKey != 0; }),
         "deals that know their order");
    expect(dealtOf(key, order->recordKey()) == order->m_nTradedVolume,
           "the order has traded " + std::to_string(order->m_nTradedVolume) + " and its deals " +
               std::to_string(dealtOf(key, order->recordKey())));
}

void recordsKnowTheirAccount(CStage& stage) {
    const auto order = tradeTwice(stage);
    expect(order->m_strMarket + order->m_strCode == stock(stage),
           "the order is of the stock " + order->m_strMarket + order->m_strCode);
    const auto sides = [&](const auto& record) {
        return !record->m_pAccountInfo || record->m_pAccountInfo->m_strKey == account(stage);
    };
    expect(sides(order), "an order names another account");
    for (const auto& deal : dealsOf(account(stage))) {
        expect(sides(deal), "a deal names another account");
    }
}

void amountsAreInYuan(CStage& stage) {
    const auto order = tradeTwice(stage);
    for (const auto& deal : dealsOf(account(stage))) {
        if (deal->m_nOrderKey != order->recordKey()) continue;
        const double amount = deal->m_dPrice * deal->m_nVolume;
        expect(std::abs(deal->m_dAmount - amount) <= 0.01 * amount,
               "a deal of " + std::to_string(deal->m_nVolume) + " shares at " +
                   std::to_string(deal->m_dPrice) + " has the amount " +
                   std::to_string(deal->m_dAmount));
    }
}

}  // namespace

std::vector<Case> recordCases() {
    constexpr const char* CENTER = "services/tradercenter.h";
    return {
        {301, "kept-first", CENTER,
         "a record is kept before it is announced; whoever hears of it finds it, or a newer report "
         "of it, among the account's records.",
         keptBeforeAnnounced},
        {302, "reports-in-order", CENTER,
         "Reports of one record come in their order: what has traded never falls, and an order "
         "that was final does not run again.",
         reportsComeInOrder},
        {303, "newest-announced", CENTER,
         "The newest report of each record was announced, unless a load of the whole account "
         "brought it, which CTradeClient::sigInitedAccountData tells.",
         newestIsAnnounced},
        {304, "newest-given", "services/accountdata.h",
         "Appends the newest report of each record of one EDataType, in the order in which the "
         "records first appeared.",
         newestOnceInOrder},
        {305, "records-stay", "records/idata.h",
         "Records are shared, not copied; whoever publishes a record does not change it afterwards "
         "but publishes a new one.",
         recordsDoNotChange},
        {306, "one-key", "records/idata.h",
         "each later report of the same order, deal, task or position of an account carries the "
         "same one.",
         oneOrderHasOneKey},
        {307, "dates", CENTER, "each order and deal has its trade date.", recordsHaveADate},
        {308, "deals-of-order", "records/dealdetail.h",
         "record key of the deal's order; 0: not known", dealsKnowTheirOrder},
        {309, "whose-records", CENTER,
         "they belong to that account and to the strategy of their own carrier",
         recordsKnowTheirAccount},
        {310, "amounts", "records/dealdetail.h", "yuan: what its shares cost together",
         amountsAreInYuan},
    };
}

}  // namespace adaptercheck
