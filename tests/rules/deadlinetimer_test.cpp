#include "platform/utils/deadlinetimer.h"

#include <gtest/gtest.h>

#include <memory>

using utils::DeadlineTimer;

// A client may take its engine down first. What a timer then touches only a sanitizer sees.
TEST(DeadlineTimer, OutlivesTheServiceThatItWaitedIn) {
    auto service = std::make_unique<boost::asio::io_service>();
    DeadlineTimer waiting(*service);
    DeadlineTimer over(*service);
    DeadlineTimer cut(*service);
    int called = 0;
    const auto held = std::make_shared<int>();
    const auto arm = [&](DeadlineTimer& timer, const boost::posix_time::time_duration& delay) {
        timer.expires_from_now(delay);
        timer.async_wait([&called, held](const boost::system::error_code&) { ++called; });
    };
    arm(over, boost::posix_time::seconds(0));
    service->run();
    EXPECT_EQ(called, 1);
    arm(waiting, boost::posix_time::hours(1));
    arm(cut, boost::posix_time::hours(1));
    cut.cancel();
    service.reset();
    EXPECT_EQ(held.use_count(), 1) << "a handler has outlived its service";
    waiting.cancel();
    EXPECT_EQ(called, 1);
}
