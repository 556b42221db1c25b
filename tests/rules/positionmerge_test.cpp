#include "linkage/stats/positionmerge.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

using namespace TC;

namespace {

/// Record key, volume, volume that may be sold, cost.
using Part = std::tuple<unsigned long long, int, int, double>;

PositionPtr report(const Part& part) {
    PositionPtr position(new vexservice::CPositionStatics);
    std::tie(position->m_nRecordKey, position->m_nVolume, position->m_nAvailable,
             position->m_dCost) = part;
    position->m_strCode = "600000";
    return position;
}

}  // namespace

TEST(PositionMerge, AddsVolumesAndWeighsCosts) {
    constexpr int MAX = std::numeric_limits<int>::max();
    constexpr double INF = std::numeric_limits<double>::infinity();
    const std::tuple<const char*, std::vector<Part>, Part> rows[] = {
        {"a single part stands as it is", {{7, 0, 0, 12.5}}, {7, 0, 0, 12.5}},
        {"lots of two days", {{9, 300, 0, 10.0}, {5, 100, 100, 14.0}}, {9, 400, 100, 11.0}},
        {"a sold part has no say", {{1, 0, 0, INF}, {2, 200, 200, 8.0}}, {1, 200, 200, 8.0}},
        {"nothing held", {{4, 0, 0, 3.0}, {2, 0, 0, 6.0}}, {4, 0, 0, 6.0}},
        {"three", {{1, 100, 50, 1.0}, {2, 200, 60, 2.0}, {3, 100, 70, 7.0}}, {1, 400, 180, 3.0}},
        {"more than 32 bits", {{1, MAX, MAX, 2.0}, {2, MAX, 1, 4.0}}, {1, MAX, MAX, 3.0}},
    };
    for (const auto& [name, reports, expected] : rows) {
        SCOPED_TRACE(name);
        PositionParts parts{std::get<0>(reports.front()), {}};
        for (const Part& part : reports) parts.reports[std::get<0>(part)] = report(part);
        const auto merged = mergePosition(parts);
        ASSERT_TRUE(merged);
        EXPECT_EQ(merged->m_strCode, "600000");
        EXPECT_EQ(
            Part(merged->recordKey(), merged->m_nVolume, merged->m_nAvailable, merged->m_dCost),
            expected);
    }
    EXPECT_FALSE(mergePosition({}));
}
