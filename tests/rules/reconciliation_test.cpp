#include "linkage/core/reconciling.h"

#include <boost/make_shared.hpp>

#include <gtest/gtest.h>

#include <array>

namespace {

using TC::ByRecord;
using TC::RecordChanges;
using TC::VolumeByStock;

TC::OrderPtr order(int status, int traded, bool imported = false) {
    auto made = boost::make_shared<vexservice::COrderDetail>();
    made->m_eStatus = static_cast<vexservice::EEntrustStatus>(status);
    made->m_nTradedVolume = traded;
    made->m_bImported = imported;
    return made;
}

TEST(Reconciliation, OrdersAreNewChangedOrGone) {
    const auto same = order(50, 0);
    const auto waits = order(50, 0);
    const auto waitsToo = order(56, 100);
    const ByRecord<TC::OrderPtr> before = {
        {1, same},         {2, order(50, 0)}, {3, order(50, 0)},      {4, order(50, 0)},
        {5, order(50, 0)}, {6, waits},        {7, order(1, 1, true)}, {8, order(1, 1, true)}};
    const ByRecord<TC::OrderPtr> now = {{1, same},         {2, order(50, 0)}, {3, order(55, 0)},
                                        {4, order(50, 1)}, {6, waitsToo},     {7, order(1, 1)},
                                        {9, waits}};
    EXPECT_EQ(TC::compareOrders(before, now, {waits, waitsToo}),
              (RecordChanges{.added = 1, .changed = 2, .gone = 1}))
        << "7 was imported until now; 3 and 4 say something else; 5 is gone, 8 nobody's";
}

// As from a client that reads its answers into arrays.
TEST(Reconciliation, RecordsOfOnePieceOfMemoryAreToldApart) {
    const auto piece = boost::make_shared<std::array<vexservice::COrderDetail, 2>>();
    const TC::OrderPtr waits(piece, &piece->front());
    const TC::OrderPtr other(piece, &piece->back());
    EXPECT_EQ(TC::compareOrders({}, {{1, waits}, {2, other}}, {waits}), RecordChanges{.added = 1});
}

TEST(Reconciliation, PositionsFollowFromTheFirstOnesAndTheDeals) {
    struct Row {
        const char* name;
        VolumeByStock net, reported;
        std::map<std::string, std::pair<std::int64_t, std::int64_t>> differ;
    };
    const Row rows[] = {
        {"as they were", {}, {{"X", 500}}, {}},
        {"traded", {{"X", -200}, {"Y", 100}}, {{"X", 300}, {"Y", 100}}, {}},
        {"sold out", {{"X", -500}}, {}, {}},
        {"late", {{"X", -200}}, {{"X", 500}}, {{"X", {300, 500}}}},
        {"from elsewhere", {}, {{"X", 500}, {"Z", 7}}, {{"Z", {0, 7}}}},
        {"not there", {{"Y", 100}}, {{"X", 500}}, {{"Y", {100, 0}}}},
    };
    for (const Row& row : rows) {
        TC::CReconciliations state;
        EXPECT_TRUE(state.checkPositions("A", "1", {{"X", 9}}, {}).empty()) << "none known yet";
        EXPECT_TRUE(state.checkPositions("A", "1", {{"X", -100}}, {{"X", 400}}).empty());
        EXPECT_EQ(state.checkPositions("A", "1", row.net, row.reported), row.differ) << row.name;
        EXPECT_TRUE(state.checkPositions("A", "2", {}, {{"X", 1}}).empty()) << "a new day";
        EXPECT_EQ(state.checkPositions("A", "2", {{"X", 1}}, {{"X", 1}}).size(), 1u);
    }
}

TEST(Reconciliation, KeepsTheNewest) {
    TC::CReconciliations state;
    for (int at = 0; at < 1'005; ++at) state.add({.at = at});
    EXPECT_EQ(state.all().size(), 1'000u);
    EXPECT_EQ(state.all().front().at, 5);
}

}  // namespace
