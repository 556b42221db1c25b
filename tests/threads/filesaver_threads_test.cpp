#include "linkage/store/filesaver.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include <thread>
#include <vector>

using namespace TC;

// Intake asks for saves under the lock, the client asks without it, a user deletes, and
// somebody finishes: what is on disk in the end is the last state, and only that.
TEST(FileSaverThreads, AskingRemovingAndFinishingAtOnceEndsWithTheLastState) {
    const QTemporaryDir root;
    CRecursiveMutex mutex;
    int state = 0;
    const auto text = [&] { return std::string("state ") + std::to_string(state); };
    CFileSaver saver(mutex, boost::make_shared<CDoor>(), {root.path().toStdString() + "/Balance"},
                     {[&](bool) {
                          return [now = text()] {
                              return CFileSaver::Texts{{STAT_FILE, now}, {BALANCE_FILE, now}};
                          };
                      },
                      [&] {
                          return [now = text()] { return CFileSaver::Texts{{STAT_FILE, now}}; };
                      }},
                     std::make_unique<CDiskFiles>());
    const auto intake = [&] {
        for (int each = 0; each < 500; ++each) {
            const CLock lock(mutex);
            ++state;
            saver.saveAll(each % 2 == 0);
        }
    };
    const auto client = [&] {
        for (int each = 0; each < 500; ++each) saver.saveBalanceTimes();
    };
    const auto user = [&] {
        for (int each = 0; each < 20; ++each) {
            {
                const CLock lock(mutex);
                ++state;
                saver.remove({STAT_FILE, BALANCE_FILE});
            }
            saver.finish();
        }
    };
    {
        std::vector<std::jthread> threads;
        for (int each = 0; each < 2; ++each) threads.emplace_back(intake);
        threads.emplace_back(client);
        threads.emplace_back(user);
    }
    saver.finish();
    EXPECT_EQ(state, 1020);
    {
        const CLock lock(mutex);
        ++state;
        saver.remove({STAT_FILE, BALANCE_FILE});
    }
    EXPECT_TRUE(saver.load().empty());
    saver.saveAll(false);
    saver.finish();
    EXPECT_EQ(saver.load(),
              (CFileSaver::Texts{{STAT_FILE, "state 1021"}, {BALANCE_FILE, "state 1021"}}));
}
