#include "linkage/core/clinkagemanager.h"
#include "tests/support/fixture.h"

#include <gtest/gtest.h>

using namespace tests;

TEST(Positions, ReportsOfOneStockBecomeOneRecordPerAccount) {
    Fixture f;
    f.instrument({.stock = "SH600000"});
    f.account({.key = "A"});
    f.account({.key = "B"});
    f.init();
    const auto only = [&](const std::string& account) {
        const auto records = f.state().positions["SH600000"][account];
        EXPECT_EQ(records.size(), 1u);
        return *records.begin()->second;
    };
    f.position({.key = 5, .volume = 100, .available = 100, .cost = 14.0});
    f.position({.account = "B", .key = 5, .volume = 700});
    f.position({.key = 9, .volume = 300, .cost = 10.0});
    f.position({.key = 2, .volume = 400, .available = 40, .cost = 11.0});  // no second record
    for (int repeat = 0; repeat < 3; ++repeat) {
        f.position({.key = 9, .volume = 300, .cost = 10.0});
        EXPECT_EQ(only("A").recordKey(), 5u);
        EXPECT_EQ(only("A").m_nVolume, 800);
        EXPECT_EQ(only("A").m_nAvailable, 140);
        EXPECT_DOUBLE_EQ(only("A").m_dCost, 11.0);  // (1400 + 3000 + 4400) / 800
        EXPECT_EQ(only("B").m_nVolume, 700);
    }

    f.position({.key = 9, .volume = 0});  // sold
    EXPECT_EQ(only("A").m_nVolume, 500);
    f.accountReady("A");  // built up anew, from the newest reports alone
    EXPECT_EQ(only("A").m_nVolume, 500);
    EXPECT_EQ(only("A").recordKey(), 5u);
    EXPECT_EQ(only("B").m_nVolume, 700);
}

TEST(Positions, RepurchasesAndSubscriptionsAreNotHeld) {
    Fixture f;
    f.instrument({.stock = "SH204001", .types = {126}});
    f.instrument({.stock = "SH730000", .types = {100017}});
    f.instrument({.stock = "SH600000", .types = {1172}});
    f.account({.key = "A"});
    f.init();
    for (const char* stock : {"SH204001", "SH730000", "SH600000"}) {
        f.position({.stock = stock, .volume = 100});
    }
    const auto positions = f.state().positions;
    ASSERT_EQ(positions.size(), 1u);
    EXPECT_EQ(positions.begin()->first, "SH600000");
}
