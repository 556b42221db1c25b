#include "platform/services/tradeclient.h"

#include "adaptercheck/cases.h"
#include "adaptercheck/news.h"
#include "adaptercheck/world.h"

/// Cancellations and past days.
namespace adaptercheck {

using namespace vexservice;

namespace {

TC::CTradeClient& tradeClient() { return *utils::CManualSingletonT<TC::CTradeClient>::instance(); }

bool cancel(CStage& stage, const boost::shared_ptr<COrderDetail>& order, QString& error) {
    bool sent = false;
    stage.call([&] { sent = tradeClient().cancelOrder(order, error, -1, QString(), {}); });
    return sent;
}

void cancellationsAreReported(CStage& stage) {
    const std::string key = account(stage);
    const CNews news(stage, key);
    const auto order = restingOrder(stage, 300);
    if (stage.adapter().fill(100)) {
        stage.await([&] {
            const auto now = orderOf(key, order->recordKey());
            return now && now->m_nTradedVolume == 100;
        });
    }
    const auto before = orderOf(key, order->recordKey());
    expect(before != nullptr, "the order has gone");
    QString error;
    expect(cancel(stage, before, error), "it was not sent: " + error.toStdString());
    const auto after = [&] { return orderOf(key, order->recordKey()); };
    expect(stage.await([&] { return after() && isFinal(*after()); }),
           "an order was cancelled, and no report says so");
    expect(
        after()->m_eStatus == (before->m_nTradedVolume > 0 ? STATUS_PART_CANCEL : STATUS_CANCELED),
        "the cancelled order has the status " + std::to_string(after()->m_eStatus));
    expect(after()->m_nTradedVolume == before->m_nTradedVolume,
           "what the order had traded was lost with its cancellation");
    for (const News& each : news.all()) {
        expect(!each.heard.inside && !each.heard.waited,
               "cancelOrder() delivered a report, or waited for it");
    }
}

void lateCancellationsChangeNothing(CStage& stage) {
    const auto order = tradeTwice(stage);
    expect(isFinal(*order), "an order that has traded all is not final");
    QString error;
    cancel(stage, order, error);
    stage.settle();
    const auto after = orderOf(account(stage), order->recordKey());
    expect(after && after->m_eStatus == order->m_eStatus &&
               after->m_nTradedVolume == order->m_nTradedVolume,
           "an order that had traded all was changed");
}

void refusalsSayWhy(CStage& stage) {
    const auto order = restingOrder(stage, 300);
    need(stage.adapter().disconnect(), "a broken connection");
    stage.settle();
    QString error;
    const bool sent = cancel(stage, order, error);
    expect(!sent, "without a connection it was sent");
    expect(!error.isEmpty(), "it was not sent, and the text is empty");
}

/// What came of one question for a past day.
template <class Record>
struct Past {
    struct State {
        std::mutex mutex;
        int answers = 0;
        bool early = false;
        utils::VexError error;
        std::vector<boost::shared_ptr<Record>> records;
    };
    const std::shared_ptr<State> state = std::make_shared<State>();

    boost::function<void(const utils::VexError&, const std::vector<boost::shared_ptr<Record>>&)>
    answer(CStage& stage) const {
        return [state = state, &stage](const auto& error, const auto& records) {
            const Heard heard = stage.heard();
            {
                const std::lock_guard lock(state->mutex);
                ++state->answers;
                state->early = state->early || heard.inside || heard.waited;
                state->error = error;
                state->records = records;
            }
            stage.changed();
        };
    }

    int answers() const {
        const std::lock_guard lock(state->mutex);
        return state->answers;
    }
};

struct PastDay {
    Past<COrderDetail> orders;
    Past<CDealDetail> deals;

    PastDay(CStage& stage, const std::string& day) {
        const std::string key = account(stage);
        stage.call([&] { tradeClient().queryHistoryOrders(key, day, orders.answer(stage)); });
        stage.call([&] { tradeClient().queryHistoryDeals(key, day, deals.answer(stage)); });
        stage.await([&] { return orders.answers() > 0 && deals.answers() > 0; });
        expect(orders.answers() > 0, "the orders of " + day + " were not answered");
        expect(deals.answers() > 0, "the deals of " + day + " were not answered");
    }
    /// Calls `check` for the state of orders and of deals.
    template <class Check>
    void both(const Check& check) const {
        check(*orders.state);
        check(*deals.state);
    }
};

void daysAreAnsweredLater(CStage& stage) {
    need(!stage.facts().pastDay.empty(), "a past day");
    const PastDay past(stage, stage.facts().pastDay);
    stage.settle();
    past.both([](const auto& state) {
        expect(!state.early, "the answer came inside the call, or the call waited for it");
        expect(state.answers == 1,
               "one question has " + std::to_string(state.answers) + " answers");
    });
}

void daysAreWhole(CStage& stage) {
    const std::string& day = stage.facts().pastDay;
    need(!day.empty(), "a past day");
    PastDay(stage, day).both([&](const auto& state) {
        expect(state.error.isOk(), "the answer has the error " + state.error.m_strText);
        expect(!state.records.empty(), "the day has no records");
        for (const auto& record : state.records) {
            expect(record != nullptr, "a record is null");
            expect(record->m_strTradeDate == day,
                   "a record has the date \"" + record->m_strTradeDate + "\"");
        }
    });
}

void emptyDaysAreAnswered(CStage& stage) {
    need(!stage.facts().emptyDay.empty(), "a day without records");
    PastDay(stage, stage.facts().emptyDay).both([](const auto& state) {
        expect(state.error.isOk(), "the answer has the error " + state.error.m_strText);
        expect(state.records.empty(), "the day has records");
    });
}

void unknownDaysAreErrors(CStage& stage) {
    need(!stage.facts().unknownDay.empty(), "a day that the server cannot tell");
    PastDay(stage, stage.facts().unknownDay).both([](const auto& state) {
        expect(!state.error.isOk(), "a day that is not known is answered without an error");
    });
}

void accountsAreReady(CStage& stage) {
    const auto told = std::make_shared<std::atomic<int>>(0);
    const std::string key = account(stage);
    QObject::connect(&tradeClient(), &TC::CTradeClient::sigInitedAccountData,
                     [told, key, &stage](const CAccountInfo& info) {
                         if (info.m_strKey != key) {
                             stage.blame("it tells of the account \"" + info.m_strKey + "\"");
                         } else if (!accountData(key)->getAccountInfo()) {
                             stage.blame("it tells of an account that has no info yet");
                         }
                         ++*told;
                     });
    need(stage.adapter().initAccount(), "an account that is initialised");
    expect(stage.await([&] { return *told > 0; }), "sigInitedAccountData was not emitted");
}

}  // namespace

std::vector<Case> tradeClientCases() {
    constexpr const char* CLIENT = "services/tradeclient.h";
    return {
        {501, "cancellations", CLIENT,
         "Asks for the cancellation of an order; its outcome is seen only in later reports of the "
         "order.",
         cancellationsAreReported},
        {502, "late-cancellations", CLIENT, "A cancellation that comes too late changes nothing.",
         lateCancellationsChangeNothing},
        {503, "refusals", CLIENT,
         "Gives true when the request was sent; otherwise false, and `error` says why.",
         refusalsSayWhy},
        {504, "days-later", CLIENT,
         "Answers of history queries come on a thread of the trade client, never inside the call, "
         "at most once each",
         daysAreAnsweredLater},
        {505, "days-whole", CLIENT,
         "The account's orders, or deals, of one past day (\"yyyyMMdd\"): all of the day",
         daysAreWhole},
        {506, "days-empty", CLIENT,
         "A day without trading, or without records of the account, is answered too: without an "
         "error and without records.",
         emptyDaysAreAnswered},
        {507, "days-unknown", CLIENT,
         "An error means that the day is not known; what was filed of it stays.",
         unknownDaysAreErrors},
        {508, "account-ready", CLIENT,
         "The data of an account was initialised: the data center has its info and its records.",
         accountsAreReady},
    };
}

}  // namespace adaptercheck
