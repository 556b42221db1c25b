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
    std::string expected;
    for (int round = 0; round < 200; ++round) {
        CLock lock(mutex);
        std::thread first([&] {
            const Precedence precedence(mutex);
            for (int hold = 0; hold < 3; ++hold) {
                const CLock inner(mutex);
                turns += 'f';
            }
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
        expected += "offfo";
    }
    EXPECT_EQ(turns, expected);
}

// Also one that has waited for longer.
TEST(MutexThreads, WhoGoesFirstLetsOthersInWhereItGivesWayOrPauses) {
    CRecursiveMutex mutex;
    std::string turns;
    std::string expected;
    for (int round = 0; round < 200; ++round) {
        CLock lock(mutex);
        std::thread other([&] {
            const CLock inner(mutex);
            turns += 'o';
        });
        awaitWaiting(mutex, 1);
        Precedence precedence(mutex);
        const bool gives = round % 2 == 0;
        for (int hold = 0; hold < 3; ++hold) {
            precedence.giveWay();  // nobody can pass while the caller holds it
            lock.unlock();
            lock.relock();
            turns += 'f';
        }
        lock.unlock();
        if (gives) {
            precedence.giveWay();
        } else {
            precedence.pause();
        }
        other.join();
        precedence.resume();
        precedence.giveWay();  // nobody waits
        expected += "fffo";
    }
    EXPECT_EQ(turns, expected);
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
        for (int at = 0; at < HOLDS; at += 10) {
            Precedence precedence(mutex);
            for (int each = 0; each < 10; ++each) {
                hold();
                if (each == 3) precedence.pause();
                if (each == 6) precedence.resume();
                if (each == 9) precedence.giveWay();
            }
        }
        --left;
    });
    std::thread others[2];
    for (std::thread& other : others) {
        other = std::thread([&] {
            for (int at = 0; at < HOLDS; ++at) {
                hold();
                if (at % 16 == 0) mutex.giveWay();
            }
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
