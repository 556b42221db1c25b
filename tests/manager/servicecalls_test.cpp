#include "platform/utils/referencedata.h"
#include "replay/manageraccess.h"
#include "tests/manager/askedservices.h"
#include "tests/support/fixture.h"

#include <QFile>
#include <QRegularExpression>

#include <fmt/format.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <map>
#include <set>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

// Every call of every service, in a day on which the library asks them all: whether it is asked
// under the manager's lock, what goes on meanwhile, and what a service costs that fails in it.

namespace {

using namespace tests;
using Manager = utils::CSingletonT<TC::CLinkageManager>;

/// Runs `work` on a thread of its own to its end. One that waits for the caller would never end.
void onAnotherThread(const std::function<void()>& work) {
    std::packaged_task<void()> task(work);
    const auto done = task.get_future();
    std::thread thread(std::move(task));
    if (done.wait_for(std::chrono::minutes(2)) != std::future_status::ready) {
        std::fputs("a thread waits for a service\n", stderr);
        std::abort();
    }
    thread.join();
}

/// The client's day, with the fixture's verbs. A call of its own may throw what a service throws.
class Day {
public:
    explicit Day(int clientType)
        : f({.now = "2024-01-02 15:30:00", .clientType = clientType, .registRules = true}) {
        f.instrument({.stock = "SH600000", .reference = 10.0, .limitUp = 11.0, .limitDown = 9.0});
        f.instrument({.stock = "SZ000001"});
        f.account({.key = "A", .fee = vexservice::CStkExchangeRateLimit{0.001, 5.0, 0.0, 0.0}});
        f.tradeSetting(1, vexservice::PRTP_MARKET);
        f.price({.last = 10.0});
        f.writeFile("historystatdata.csv", "h\nAS,id,A,name,2,b,S,20240101000000,\n");
        f.writeFile("balancedata.csv", "h\nAS,SH600000,100,400,4000,1100,x\n");
    }

    /// The start, again until it is well. Gives how often it was tried.
    int start() {
        for (int tries = 1; tries < 4; ++tries) {
            may([&] { f.init(); });
            if (Manager::exists() && Manager::instance()->isInited()) return tries;
        }
        return 0;
    }

    void play() {
        TC::CLinkageManager& manager = f.manager();
        f.advanceTo("2024-01-03 10:00:00");
        f.newTradingDate("20240103");
        may([&] { manager.startProfitCalculator(); });
        f.order({.key = 1, .strategy = "S"});
        f.task({.key = 1, .strategy = "S", .server = true});
        f.task({.key = 2, .strategy = "S", .server = false});
        f.deal({.key = 1, .price = 10.0, .volume = 300, .strategy = "S"});
        f.deal({.key = 2, .stock = "SZ000001", .side = Side::Sell, .strategy = "T"});
        f.position({.stock = "SZ000001", .volume = 200, .available = 200});
        f.price({.last = 10.5});
        may([&] { manager.getPeriodCurve("A", "S"); });
        may([&] { manager.requestAccount("A"); });
        f.settle();
        f.accountReady("A");
        may([&] { manager.historyStatCalculator(); });
        may([&] { manager.previewBalance("A", "S"); });
        may([&] { manager.runAutoBalance("A", "S"); });
        f.advance(40);
        for (const char* const day : {"20231228", "20231229"}) {
            may([&] { manager.requestAccountDeals("A", day, day); });
            may([&] { manager.requestAccountOrders("A", day, day); });
            f.advance(20);
        }
        f.deal({.key = 3, .price = 10.0, .volume = 100, .strategy = "S"});
        f.advance(400);
        revalue();
    }

    /// All that the client has once more, as after a login on a new day.
    void again() {
        utils::referenceDataChanged();
        f.newTradingDate("20240103");
        f.advance(400);
        revalue();
    }

    /// What the manager knows in the end.
    std::string known() {
        TC::CLinkageManager& manager = f.manager();
        std::string text = manager.getTradeDate();
        for (const char* const strategy : {"", "S", "T"}) {
            for (const auto& [stock, record] : manager.getTradeStatDatas("A", strategy)) {
                const auto& deals = record->deals();
                text += fmt::format("\n{} {}: {} {} {} {}", strategy, stock,
                                    deals.m_nBuyVolume.get(), deals.m_nSellVolume.get(),
                                    deals.m_dCommission.get(), record->worth().m_dProfit.get());
            }
            text += fmt::format("\n{}: {} orders, {} tasks run", strategy,
                                manager.getRunningOrders("A", strategy),
                                manager.getRunningTasks("A", strategy));
        }
        for (const std::string& stock : f.state().quoteRequests) text += "\nfollows " + stock;
        text += fmt::format("\n{} broken", manager.checkIntegrity().size());
        return text;
    }

    /// How many calls of the client's own threw.
    int thrown() const { return m_nThrown; }

    Fixture f;

private:
    /// The timers go on: a new price is in the profits by the next pass.
    void revalue() {
        f.price({.last = m_dLast += 0.25});
        f.advance(10);
    }

    template <class Work>
    void may(const Work& work) {
        try {
            work();
        } catch (const std::runtime_error&) {
            ++m_nThrown;
        } catch (const utils::ServiceMissing&) {
            ++m_nThrown;
        }
    }

    double m_dLast = 10.0;
    int m_nThrown = 0;
};

// ---------------------------------------------------------------------- the lock

/// For each call whether it is asked with the lock held, without it, or both.
using Locks = std::map<std::string, std::set<bool>>;

/// Looks from another thread, which may wait for nothing but the lock.
bool isLockHeld() {
    if (!Manager::exists()) return false;
    TC::CLinkageManager& manager = *Manager::instance();
    bool held = false;
    onAnotherThread([&] {
        // These never wait, whoever is asked meanwhile.
        manager.getTradeDate();
        manager.getTradeStatDatas("A", "S");
        std::map<std::string, std::map<std::string, boost::shared_ptr<TC::LinkagePeriodExtData>>>
            all;
        manager.getTradeStatDatas(std::list<std::string>(), "S", all);
        manager.getBalanceTime();
        TC::TradeStatData history;
        manager.historyBalance("AS", history);
        held = !TC::ManagerAccess::isLockFree(manager);
        if (!held) manager.getStrategys();
    });
    return held;
}

/// The table of docs/HOSTING.md: a service, what it is asked under the lock, and what without.
Locks documentedLocks() {
    QFile file(QStringLiteral(LINKAGE_SOURCE_DIR "/docs/HOSTING.md"));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    const QString all = QString::fromUtf8(file.readAll());
    const QString table = all.section(QStringLiteral("### Under the lock"), 1);
    static const QRegularExpression ROW(QStringLiteral("^\\| `(\\w+)` \\|([^|]*)\\|([^|]*)\\|$"));
    static const QRegularExpression CALL(QStringLiteral("`(\\w+)`"));
    Locks locks;
    for (const QString& line : table.split(QStringLiteral("\n"))) {
        if (line.startsWith(QStringLiteral("## "))) break;
        const auto row = ROW.match(line);
        if (!row.hasMatch()) continue;
        for (const int column : {2, 3}) {
            auto call = CALL.globalMatch(row.captured(column));
            while (call.hasNext()) {
                const QString name = row.captured(1) + "::" + call.next().captured(1);
                locks[name.toStdString()].insert(column == 2);
            }
        }
    }
    return locks;
}

std::string textOf(const Locks& locks) {
    std::string text;
    for (const auto& [call, held] : locks) {
        if (held.count(true) > 0) text += call + " under the lock\n";
        if (held.count(false) > 0) text += call + " without it\n";
    }
    return text;
}

TEST(ServiceCalls, AreAskedUnderTheLockWhereTheGuideSaysSo) {
    Locks seen;
    for (const int clientType : {1, 3}) {
        Day day(clientType);
        asked::install([&](const std::string& call) {
            seen[call].insert(isLockHeld());
            return true;
        });
        ASSERT_EQ(day.start(), 1);
        day.play();
        EXPECT_EQ(day.thrown(), 0);
        day.f.release();
    }
    EXPECT_EQ(textOf(seen), textOf(documentedLocks()));
}

// Reports that wait together are taken in one hold, and what may not be done in it is done between.
TEST(ServiceCalls, OfABatchKeepTheirOrderAndTheirLock) {
    Day day(1);
    Texts seen;
    const auto see = [&](const std::string& what) {
        if (!Manager::exists()) return;
        const auto& stocks = day.f.manager().getTradeStatDatas("A", "");
        const auto record = stocks.find("SH600000");
        const int bought =
            record == stocks.end() ? 0 : record->second->deals().m_nBuyVolume.get() / 100;
        seen.push_back(fmt::format("{} after {} deals and {} orders, {}", what, bought,
                                   day.f.manager().getRunningOrders("A", "S"),
                                   isLockHeld() ? "locked" : "free"));
    };
    ASSERT_EQ(day.start(), 1);
    asked::install([&](const std::string& call) {
        if (call == "IFeeLimitService::getFeeLimits") see("fee");
        return true;
    });
    const auto work = [&] { TC::ManagerAccess::post(day.f.manager(), [&] { see("work"); }); };
    const auto order = [&](std::uint64_t key) {
        day.f.client().report("A", day.f.makeOrder({.key = key, .strategy = "S"}));
    };
    const auto deal = [&](std::uint64_t key) {
        day.f.client().report("A", day.f.makeDeal({.key = key, .strategy = "S"}));
    };
    order(1);
    order(2);
    deal(1);
    work();
    order(3);
    deal(2);
    utils::referenceDataChanged();
    work();
    for (std::uint64_t key = 4; key < 200; ++key) order(key);
    deal(3);
    day.f.settle();
    EXPECT_EQ(seen, (Texts{"fee after 0 deals and 2 orders, free",
                           "work after 1 deals and 2 orders, free",
                           "work after 2 deals and 3 orders, free"}));
    EXPECT_EQ(day.f.manager().getRunningOrders("A", "S"), 199);
    day.f.release();
}

// ------------------------------------------------------------------------ faults

enum class EFails { Throws, Nothing };

/// Plays the day with one call that fails at its `at`-th time; "" for none.
std::string knownAfter(const std::string& failing, EFails fails, int at, bool again) {
    Day day(1);
    int left = at;
    asked::install([&](const std::string& call) {
        if (call != failing || --left != 0) return true;
        if (fails == EFails::Throws) throw std::runtime_error(call + " fails");
        return false;
    });
    EXPECT_GT(day.start(), 0);
    if (!Manager::exists()) return {};
    day.play();
    // What threw stands in the log, by its name where it is a part of the start, or whoever called
    // has it.
    if (!failing.empty() && left <= 0 && fails == EFails::Throws) {
        const Texts log = day.f.logTexts();
        const auto tells = [&](const std::string& line) {
            return line.find(failing + " fails") != std::string::npos ||
                   line.find("Not begun. Missing: ") == 0;
        };
        EXPECT_TRUE(day.thrown() > 0 || std::any_of(log.begin(), log.end(), tells));
    }
    if (again) day.again();
    std::string known = day.known();
    day.f.release();
    return known;
}

/// Every call that the day asks, and how often.
std::map<std::string, int> callsOfTheDay() {
    std::map<std::string, int> calls;
    Day day(1);
    asked::install([&](const std::string& call) {
        ++calls[call];
        return true;
    });
    day.start();
    day.play();
    day.f.release();
    return calls;
}

/// The first time, one in the middle, and the last.
std::set<int> timesOf(int count) { return {1, (count + 1) / 2, count}; }

TEST(ServiceCalls, WhatThrowsOnceIsMadeGood) {
    const std::string clean = knownAfter("", EFails::Throws, 0, false);
    for (const auto& [call, count] : callsOfTheDay()) {
        for (const int at : timesOf(count)) {
            SCOPED_TRACE(fmt::format("{}, time {} of {}", call, at, count));
            EXPECT_EQ(knownAfter(call, EFails::Throws, at, false), clean);
        }
    }
}

TEST(ServiceCalls, WhatAnswersWithNothingOnceIsMadeGoodByTheNextLoad) {
    const std::string clean = knownAfter("", EFails::Nothing, 0, true);
    for (const auto& [call, count] : callsOfTheDay()) {
        // These are asked at the start alone: a directory without a name is the root of the disk, a
        // user without one has no tasks.
        if (call == "IDataDirectory::path" || call == "CUserConfig::getUserDataString") continue;
        for (const int at : timesOf(count)) {
            SCOPED_TRACE(fmt::format("{}, time {} of {}", call, at, count));
            EXPECT_EQ(knownAfter(call, EFails::Nothing, at, true), clean);
        }
    }
}

}  // namespace
