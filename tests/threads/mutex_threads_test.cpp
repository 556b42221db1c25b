#include "linkage/core/mutex.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

// Who gets the lock when several want it.

namespace {

using TC::CLock;
using TC::CRecursiveMutex;
using Precedence = CRecursiveMutex::CPrecedence;

void awaitWaiting(const CRecursiveMutex& mutex, int count) {
    while (mutex.waiting() != count) std::this_thread::yield();
}

// A lock that is taken again at once leaves who waits no time to wake up.
TEST(MutexThreads, WhoGoesFirstComesBeforeTheOneThatHadTheLock) {
    CRecursiveMutex mutex;
    std::string turns;
    for (int round = 0; round < 200; ++round) {
        CLock lock(mutex);
        std::thread first([&] {
            const Precedence precedence(mutex);
            const CLock inner(mutex);
            turns += 'f';
        });
        awaitWaiting(mutex, 1);
        {
            const CLock again(mutex);  // the owner may go deeper whoever waits
            turns += 'o';
        }
        lock.unlock();
        lock.relock();
        turns += 'o';
        lock.unlock();
        first.join();
    }
    std::string expected;
    for (int round = 0; round < 200; ++round) expected += "ofo";
    EXPECT_EQ(turns, expected);
}

TEST(MutexThreads, WhoGoesFirstLetsOthersInWhereItGivesWay) {
    CRecursiveMutex mutex;
    const Precedence precedence(mutex);
    int passed = 0;
    for (int round = 0; round < 200; ++round) {
        CLock lock(mutex);
        std::thread other([&] {
            const CLock inner(mutex);
            ++passed;
        });
        awaitWaiting(mutex, 1);
        mutex.giveWay();  // nobody can pass while the caller holds it
        lock.unlock();
        mutex.giveWay();
        lock.relock();
        EXPECT_EQ(passed, round + 1);
        lock.unlock();
        other.join();
    }
    mutex.giveWay();  // nobody waits
}

// Several that come behind the first, from every side, and nobody is left waiting.
TEST(MutexThreads, AllComeToAnEnd) {
    CRecursiveMutex mutex;
    constexpr int HOLDS = 20'000;
    std::atomic<int> left{3};
    long counted = 0;
    const auto hold = [&] {
        const CLock lock(mutex);
        const CLock inner(mutex);
        ++counted;
    };
    std::thread first([&] {
        for (int at = 0; at < HOLDS; ++at) {
            const Precedence precedence(mutex);
            hold();
            if (at % 64 == 0) mutex.giveWay();
        }
        --left;
    });
    std::thread others[2];
    for (std::thread& other : others) {
        other = std::thread([&] {
            for (int at = 0; at < HOLDS; ++at) hold();
            --left;
        });
    }
    while (left > 0) {
        if (mutex.try_lock()) mutex.unlock();
        std::this_thread::yield();
    }
    first.join();
    for (std::thread& other : others) other.join();
    EXPECT_EQ(counted, 3L * HOLDS);
}

}  // namespace
