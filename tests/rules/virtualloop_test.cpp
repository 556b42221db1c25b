#include "paper/loop.h"
#include "platform/utils/deadlinetimer.h"

#include <QCoreApplication>
#include <QTimer>

#include <gtest/gtest.h>
#include <boost/asio/error.hpp>
#include <boost/asio/post.hpp>

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

/// Time that only its owner moves.
namespace {

using utils::DeadlineTimer;
using Times = std::vector<std::int64_t>;

constexpr std::int64_t START = 1'704'157'200'000'000;  // some morning
constexpr std::int64_t SECOND = 1'000'000;

/// Calls `work` after a delay; the timer lives until then.
template <class Work>
void after(paper::CVirtualLoop& loop, std::int64_t micros, Work work) {
    auto timer = std::make_shared<DeadlineTimer>(loop.service());
    timer->expires_from_now(boost::posix_time::microseconds(micros));
    timer->async_wait([timer, work](const boost::system::error_code& error) {
        if (!error) work();
    });
}

TEST(VirtualLoop, FiresEachTimerAtItsOwnMomentTheLastOneIncluded) {
    paper::CVirtualLoop loop(START);
    Times fired;
    for (const std::int64_t due : {3 * SECOND, SECOND, SECOND + 1, 5 * SECOND, 5 * SECOND + 1}) {
        after(loop, due, [&] { fired.push_back(loop.nowMicros() - START); });
    }
    loop.runToRest();
    EXPECT_EQ(fired, Times{});
    loop.advanceTo(START + 5 * SECOND);
    EXPECT_EQ(fired, (Times{SECOND, SECOND + 1, 3 * SECOND, 5 * SECOND}));
    EXPECT_EQ(loop.nowMicros(), START + 5 * SECOND);
    loop.advanceTo(START);
    EXPECT_EQ(loop.nowMicros(), START + 5 * SECOND) << "time never goes back";
    loop.advanceSeconds(0.000001);
    EXPECT_EQ(fired.back(), 5 * SECOND + 1);
}

TEST(VirtualLoop, FiresTimersOfOneMomentInTheOrderInWhichTheyWereArmed) {
    paper::CVirtualLoop loop(START);
    std::string fired;
    const auto write = [&](char name) { return [&fired, name] { fired += name; }; };
    after(loop, 2 * SECOND, write('a'));
    after(loop, SECOND, [&] { after(loop, SECOND, write('e')); });
    after(loop, 2 * SECOND, write('b'));
    DeadlineTimer moved(loop.service());
    moved.expires_from_now(boost::posix_time::seconds(1));
    moved.expires_from_now(boost::posix_time::seconds(2));
    moved.async_wait([&](const auto&) { fired += 'c'; });
    after(loop, 2 * SECOND, [&] {
        fired += 'd';
        after(loop, 0, write('f'));
    });
    loop.advanceSeconds(2);
    EXPECT_EQ(fired, "abcdef");
}

TEST(VirtualLoop, EndsAWaitThatIsCutShortAtOnceButNotWithinTheCall) {
    auto loop = std::make_unique<paper::CVirtualLoop>(START);
    auto timer = std::make_shared<DeadlineTimer>(loop->service());
    std::string ended;
    const auto wait = [&](char name, int seconds) {
        timer->expires_from_now(boost::posix_time::seconds(seconds));
        timer->async_wait([&ended, name](const boost::system::error_code& error) {
            ended += name;
            ended += error == boost::asio::error::operation_aborted ? '!' : '.';
        });
    };
    wait('a', 1);
    timer->cancel();
    EXPECT_EQ(ended, "");
    loop->runToRest();
    EXPECT_EQ(ended, "a!");
    wait('b', 1);
    wait('c', 2);
    loop->advanceSeconds(2);
    timer->cancel();
    wait('d', 1);
    timer.reset();
    loop->advanceSeconds(1);
    EXPECT_EQ(ended, "a!b!c.d!");

    // Waits that are left when the loop goes end for nobody, and with all that they hold.
    timer = std::make_shared<DeadlineTimer>(loop->service());
    timer->async_wait([timer, &ended](const auto&) { ended += 'e'; });
    const std::weak_ptr<DeadlineTimer> left = std::exchange(timer, nullptr);
    loop.reset();
    EXPECT_EQ(ended, "a!b!c.d!");
    EXPECT_TRUE(left.expired());
}

TEST(VirtualLoop, RunsHandlersQtCallsAndSettlingUntilNothingIsLeft) {
    paper::CVirtualLoop loop(START);
    std::string done;
    QObject receiver;
    int settled = 0;
    loop.setSettle([&] { return ++settled == 1; });
    const auto queue = [&](auto work) {
        QMetaObject::invokeMethod(&receiver, work, Qt::QueuedConnection);
    };
    boost::asio::post(loop.service(), [&] {
        done += 'a';
        queue([&] {
            done += 'b';
            queue([&] {
                done += 'c';
                boost::asio::post(loop.service(), [&] { done += 'd'; });
            });
        });
    });
    loop.runToRest();
    EXPECT_EQ(done, "abcd");
    EXPECT_GE(settled, 2) << "what settling did may have queued more";
}

TEST(VirtualLoop, StaysUsableAfterAHandlerThrew) {
    paper::CVirtualLoop loop(START);
    std::string done;
    boost::asio::post(loop.service(), [] { throw std::runtime_error("fault"); });
    boost::asio::post(loop.service(), [&] { done += 'a'; });
    EXPECT_THROW(loop.runToRest(), std::runtime_error);
    loop.runToRest();
    EXPECT_EQ(done, "a");
}

TEST(VirtualLoop, IsTheClockWhileItLives) {
    {
        const paper::CVirtualLoop loop(START);
        EXPECT_EQ(utils::currentClock().nowMicros(), START);
    }
    EXPECT_EQ(utils::currentClock().waits(), nullptr);
}

}  // namespace
