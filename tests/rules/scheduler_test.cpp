#include "paper/scheduler.h"
#include "paper/loop.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

/// When the client starts a balance by itself.
namespace {

constexpr std::int64_t SECOND = 1'000'000;
constexpr std::int64_t DAY = 24 * 60 * 60 * SECOND;
constexpr std::int64_t NOON = 1'704'168'000 * SECOND;  // 2024-01-02 12:00:00 in Shanghai
constexpr std::int64_t MIDNIGHT = NOON + DAY / 2;

TEST(BalanceKey, BeginsWithTheLongestAccountBeforeAColon) {
    const std::vector<std::string> accounts = {"A", "A:1", "AB", "B"};
    const std::pair<const char*, const char*> rows[] = {
        {"A:S", "A|S"},    {"A:1:S", "A:1|S"}, {"A:2:S", "A|2:S"}, {"AB:S", "AB|S"},
        {"A:", "A|"},      {"A:1", "A|1"},     {"A:1:", "A:1|"},   {"C:S", "none"},
        {"ABC:S", "none"}, {"A", "none"},      {"", "none"},       {":S", "none"},
    };
    for (const auto& [key, parts] : rows) {
        std::string account;
        std::string strategy;
        const bool found = paper::splitBalanceKey(key, accounts, account, strategy);
        EXPECT_EQ(found ? account + "|" + strategy : "none", parts) << key;
    }
}

TEST(BalanceTimes, AreDueOnceAfterTheyCame) {
    const std::tuple<const char*, const char*, std::int64_t, std::int64_t, bool> rows[] = {
        {"at the moment", "120000", NOON - SECOND, NOON, true},
        {"not again", "120000", NOON, NOON + SECOND, false},
        {"not before", "120001", NOON - SECOND, NOON, false},
        {"after a late tick", "120000", NOON - SECOND, NOON + 90 * SECOND, true},
        {"the next day", "120000", NOON + DAY - SECOND, NOON + DAY, true},
        {"over midnight", "235959", MIDNIGHT - 2 * SECOND, MIDNIGHT + SECOND, true},
        {"midnight", "000000", MIDNIGHT - SECOND, MIDNIGHT, true},
        {"too short", "12000", NOON - SECOND, NOON, false},
        {"no time of day", "126000", NOON - SECOND, NOON, false},
        {"no number", "noon", NOON - SECOND, NOON, false},
        {"empty", "", NOON - SECOND, NOON, false},
    };
    for (const auto& [name, time, from, to, expected] : rows) {
        const auto due = paper::dueKeys({{"A:S", time}}, from, to);
        EXPECT_EQ(due.size(), expected ? 1u : 0u) << name;
    }
}

TEST(Scheduler, StartsEachBalanceAtItsTimeInTheOrderOfTheTable) {
    paper::CVirtualLoop loop(NOON + 300'000);  // between two seconds
    paper::CScheduler::Table table = {{"A:S", "120000"},
                                      {"A:late", "120002"},
                                      {"A:T", "120002"},
                                      {"B:S", "120001"},
                                      {"unknown:S", "120001"}};
    std::string started;
    paper::CScheduler::Client client;
    client.table = [&] { return table; };
    client.accounts = [] { return std::vector<std::string>{"A", "B"}; };
    client.balance = [&](const std::string& account, const std::string& strategy) {
        started += fmt::format(" {}/{}@{}", account, strategy, (loop.nowMicros() - NOON) / 1000);
    };
    const auto startedUntil = [&](std::int64_t micros) {
        loop.advanceTo(micros);
        return std::exchange(started, {});
    };
    auto scheduler = std::make_shared<paper::CScheduler>(loop.service(), client);
    scheduler->start();
    EXPECT_EQ(startedUntil(NOON + 2 * SECOND), " B/S@1000 A/T@2000 A/late@2000");
    table["A:S"] = "120001";  // already past: tomorrow
    table["B:S"] = "120004";  // a new time of today
    EXPECT_EQ(startedUntil(NOON + 10 * SECOND), " B/S@4000");
    EXPECT_EQ(startedUntil(NOON + DAY), "") << "not yet again";
    EXPECT_EQ(startedUntil(NOON + DAY + 10 * SECOND),
              " A/S@86401000 A/T@86402000 A/late@86402000 B/S@86404000");
    table["A:S"] = "120012";
    scheduler->stop();
    EXPECT_EQ(startedUntil(NOON + DAY + 20 * SECOND), "");
}

}  // namespace
