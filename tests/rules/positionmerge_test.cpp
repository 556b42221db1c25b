#include "linkage/stats/positionmerge.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

using namespace TC;

namespace {

struct Part {
    unsigned long long key;
    int volume;
    int available;
    double cost;
};

PositionPtr report(const Part& part) {
    PositionPtr position(new vexservice::CPositionStatics);
    position->m_nRecordKey = part.key;
    position->m_strCode = "600000";
    position->m_nVolume = part.volume;
    position->m_nAvailable = part.available;
    position->m_dCost = part.cost;
    return position;
}

}  // namespace

TEST(PositionMerge, AddsVolumesAndWeighsCosts) {
    constexpr int MAX = std::numeric_limits<int>::max();
    struct Row {
        const char* name;
        std::vector<Part> parts;
        Part want;
    };
    const std::vector<Row> rows = {
        {"a single part stands as it is", {{7, 0, 0, 12.5}}, {7, 0, 0, 12.5}},
        {"lots of two days", {{9, 300, 0, 10.0}, {5, 100, 100, 14.0}}, {9, 400, 100, 11.0}},
        {"a sold part has no say", {{1, 0, 0, 99.0}, {2, 200, 200, 8.0}}, {1, 200, 200, 8.0}},
        {"nothing held", {{4, 0, 0, 3.0}, {2, 0, 0, 6.0}}, {4, 0, 0, 6.0}},
        {"three", {{1, 100, 50, 1.0}, {2, 200, 60, 2.0}, {3, 100, 70, 7.0}}, {1, 400, 180, 3.0}},
        {"more than 32 bits", {{1, MAX, MAX, 2.0}, {2, MAX, 1, 4.0}}, {1, MAX, MAX, 3.0}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        PositionParts parts{row.parts.front().key, {}};
        for (const Part& part : row.parts) parts.reports[part.key] = report(part);
        const auto merged = mergePosition(parts);
        ASSERT_TRUE(merged);
        EXPECT_EQ(merged->recordKey(), row.want.key);
        EXPECT_EQ(merged->m_nVolume, row.want.volume);
        EXPECT_EQ(merged->m_nAvailable, row.want.available);
        EXPECT_DOUBLE_EQ(merged->m_dCost, row.want.cost);
        EXPECT_EQ(merged->m_strCode, "600000");
    }
    EXPECT_FALSE(mergePosition({}));
}
