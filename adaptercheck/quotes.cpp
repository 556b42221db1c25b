#include "adaptercheck/cases.h"
#include "adaptercheck/world.h"
#include "platform/services/quoteclient.h"

#include <algorithm>
#include <cmath>

/// Prices, subscriptions and minute bars.
namespace adaptercheck {

using namespace vexservice;
using PricePtr = boost::shared_ptr<CPriceData>;

namespace {

constexpr double FIRST = 10.11;
constexpr double SECOND = 10.12;

TC::CQuoteClient& quotes() { return *utils::CManualSingletonT<TC::CQuoteClient>::instance(); }

bool isLast(const PricePtr& price, double last) {
    return price && std::fabs(price->m_dLastPrice - last) < 1e-6;
}

/// The newest price, once it has become this one.
PricePtr quoted(CStage& stage, double last) {
    const QString key = QString::fromStdString(stock(stage));
    need(stage.adapter().quote(last), "quotes");
    stage.await([&] { return isLast(quotes().getStockPrice(key), last); });
    PricePtr price = quotes().getStockPrice(key);
    expect(isLast(price, last), "the stock was quoted at " + std::to_string(last) +
                                    ", and its newest price is " +
                                    (price ? std::to_string(price->m_dLastPrice) : "unknown"));
    return price;
}

/// A subscription to the stock, and what came of it.
class CPrices {
public:
    using Watch = std::function<void(const PricePtr&, const Heard&)>;

    explicit CPrices(CStage& stage, Watch watch = {}) {
        const auto callback = [state = m_pState, &stage, watch](const PricePtr& price) {
            {
                const std::lock_guard lock(state->mutex);
                if (state->dropped) {
                    ++state->late;
                    return;
                }
            }
            const Heard heard = stage.heard();
            if (heard.inside || heard.waited) state->early = true;
            if (watch) watch(price, heard);
            {
                const std::lock_guard lock(state->mutex);
                state->prices.push_back(price);
            }
            stage.changed();
        };
        stage.call([&] {
            m_pRequest =
                TC::CQuoteRequest::makeRequest(QString::fromStdString(stock(stage)), callback);
        });
        expect(m_pRequest != nullptr, "no subscription can be had");
    }
    ~CPrices() { drop(); }
    CPrices(const CPrices&) = delete;
    CPrices& operator=(const CPrices&) = delete;

    void drop() {
        m_pRequest.reset();
        const std::lock_guard lock(m_pState->mutex);
        m_pState->dropped = true;
    }
    std::vector<PricePtr> all() const {
        const std::lock_guard lock(m_pState->mutex);
        return m_pState->prices;
    }
    bool has(double last) const {
        const auto prices = all();
        return std::any_of(prices.begin(), prices.end(),
                           [&](const PricePtr& price) { return isLast(price, last); });
    }
    bool early() const { return m_pState->early; }
    int late() const {
        const std::lock_guard lock(m_pState->mutex);
        return m_pState->late;
    }

private:
    struct State {
        std::mutex mutex;
        std::vector<PricePtr> prices;
        std::atomic<bool> early{false};
        bool dropped = false;
        int late = 0;
    };
    const std::shared_ptr<State> m_pState = std::make_shared<State>();
    boost::shared_ptr<TC::CQuoteRequest> m_pRequest;
};

void newestPriceIsGiven(CStage& stage) {
    quoted(stage, FIRST);
    quoted(stage, SECOND);
    expect(!quotes().getStockPrice(QStringLiteral("SH987654")), "an unknown stock has a price");
}

void requestingDeliversNothing(CStage& stage) {
    quoted(stage, FIRST);
    const CPrices prices(stage);
    expect(!prices.early() && prices.all().empty(), "a price came inside the call");
    need(stage.adapter().quote(SECOND), "quotes");
    expect(stage.await([&] { return prices.has(SECOND); }), "a later price was not delivered");
}

void pricesAreKeptFirst(CStage& stage) {
    quoted(stage, FIRST);
    const QString key = QString::fromStdString(stock(stage));
    const CPrices prices(stage, [&](const PricePtr& price, const Heard&) {
        if (isLast(price, SECOND) && !isLast(quotes().getStockPrice(key), SECOND)) {
            stage.blame("a price is delivered, and an older one is there");
        }
    });
    quoted(stage, SECOND);
    stage.await([&] { return prices.has(SECOND); });
}

void quoteLocksAreFree(CStage& stage) {
    const QString key = QString::fromStdString(stock(stage));
    std::atomic<bool> asked{false};
    const CPrices prices(stage, [&](const PricePtr&, const Heard&) {
        if (asked.exchange(true)) return;
        const bool answered = stage.answersElsewhere([key] {
            quotes().getStockPrice(key);
            quotes().request(key, [](const PricePtr&) {});
        });
        if (!answered) {
            stage.blame("while a callback runs, another thread waits for the quote client");
        }
    });
    need(stage.adapter().quote(FIRST), "quotes");
    stage.await([&] { return asked.load(); });
    need(asked, "a price");
}

void droppedRequestsAreSilent(CStage& stage) {
    CPrices prices(stage);
    need(stage.adapter().quote(FIRST), "quotes");
    stage.await([&] { return prices.has(FIRST); });
    prices.drop();
    stage.settle();
    const int underWay = prices.late();
    quoted(stage, SECOND);
    stage.settle();
    expect(underWay <= 1 && prices.late() == underWay, "a request that has gone goes on");
}

void pricesDoNotChange(CStage& stage) {
    const PricePtr first = quoted(stage, FIRST);
    const auto asks = first->m_asks.size();
    quoted(stage, SECOND);
    expect(isLast(first, FIRST) && first->m_asks.size() == asks,
           "a price that was handed out has changed");
}

void booksAreSorted(CStage& stage) {
    const PricePtr price = quoted(stage, FIRST);
    const auto sorted = [](const std::vector<CPriceLevel>& levels, double sign) {
        return std::is_sorted(levels.begin(), levels.end(),
                              [sign](const CPriceLevel& one, const CPriceLevel& two) {
                                  return sign * one.m_dPrice < sign * two.m_dPrice;
                              });
    };
    need(!price->m_asks.empty() && !price->m_bids.empty(), "levels of the book");
    expect(sorted(price->m_asks, 1.0), "the asks do not begin with the lowest");
    expect(sorted(price->m_bids, -1.0), "the bids do not begin with the highest");
    expect(price->m_asks.size() <= 10 && price->m_bids.size() <= 10, "there are more than ten");
}

void barsAreInOrder(CStage& stage) {
    const std::string& day = stage.facts().barsDay;
    need(!day.empty(), "a day with minute bars");
    struct State {
        std::mutex mutex;
        int answers = 0;
        bool early = false;
        std::vector<TC::CMinuteBar> bars;
    };
    const auto state = std::make_shared<State>();
    stage.call([&] {
        quotes().queryMinuteBars(QString::fromStdString(stock(stage)), day,
                                 [state, &stage](const std::vector<TC::CMinuteBar>& bars) {
                                     const Heard heard = stage.heard();
                                     {
                                         const std::lock_guard lock(state->mutex);
                                         ++state->answers;
                                         state->early |= heard.inside || heard.waited;
                                         state->bars = bars;
                                     }
                                     stage.changed();
                                 });
    });
    stage.await([&] {
        const std::lock_guard lock(state->mutex);
        return state->answers > 0;
    });
    stage.settle();
    const std::lock_guard lock(state->mutex);
    expect(state->answers == 1, "one question has " + std::to_string(state->answers) + " answers");
    expect(!state->early, "the answer came inside the call, or the call waited for it");
    expect(!state->bars.empty(), "the day has no bars");
    int before = 0;
    for (const TC::CMinuteBar& bar : state->bars) {
        expect(bar.m_nMinute > before && bar.m_nMinute <= 24 * 60,
               "the minute " + std::to_string(bar.m_nMinute) + " stands after " +
                   std::to_string(before));
        before = bar.m_nMinute;
    }
}

}  // namespace

std::vector<Case> quoteCases() {
    constexpr const char* QUOTES = "services/quoteclient.h";
    return {
        {601, "newest-price", QUOTES,
         "The newest price, or an empty pointer when the stock was never quoted.",
         newestPriceIsGiven},
        {602, "requests-silent", QUOTES,
         "Delivers nothing by itself; later prices reach the callback on the quote client's "
         "thread.",
         requestingDeliversNothing},
        {603, "price-kept-first", QUOTES,
         "a price is kept before it is delivered; whoever hears of it gets it, or a newer one, "
         "from getStockPrice().",
         pricesAreKeptFirst},
        {604, "no-quote-lock-held", QUOTES,
         "callbacks on the quote client's thread, never inside a call, and with no lock of the "
         "quote client held.",
         quoteLocksAreFree},
        {605, "request-dropped", QUOTES,
         "A price that is under way may still come while the request is being dropped.",
         droppedRequestsAreSilent},
        {606, "prices-stay", "records/idata.h",
         "whoever publishes a record does not change it afterwards but publishes a new one.",
         pricesDoNotChange},
        {607, "book", "records/pricedata.h", "best first, up to ten", booksAreSorted},
        {608, "minute-bars", QUOTES,
         "The minute bars of one day (\"yyyyMMdd\") that the history service has by now, in time "
         "order. There may be none, and there may be gaps. Answered once, later",
         barsAreInOrder},
    };
}

}  // namespace adaptercheck
