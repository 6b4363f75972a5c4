#include "orvcore/filter/mapranges.h"

#include <gtest/gtest.h>

#include <limits>

TEST(MapRanges, ARangeByHandFitsTheScale) {
    constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();
    constexpr double kMost = std::numeric_limits<double>::max();
    constexpr auto kSequential = OrvMapScale::Sequential;
    constexpr auto kDiverging = OrvMapScale::Diverging;
    const struct {
        OrvMapScale scale;
        double one;
        double other;
        std::optional<OrvRange> range;
    } cases[] = {
        {kSequential, 1, 4, OrvRange{1, 4}},
        {kSequential, 4, 1, OrvRange{1, 4}},
        {kSequential, -4, -1, OrvRange{-4, -1}},
        {kSequential, 2, 2, {}},
        {kSequential, kNoNumber, 2, {}},
        {kSequential, 2, kNoNumber, {}},
        {kSequential, 0, std::numeric_limits<double>::infinity(), {}},
        {kSequential, -kMost, kMost, {}},
        {kSequential, 0, std::numeric_limits<double>::denorm_min(), {}},
        {kDiverging, -3, 3, OrvRange{-3, 3}},
        {kDiverging, -1, 5, OrvRange{-5, 5}},
        {kDiverging, -7, 2, OrvRange{-7, 7}},
        {kDiverging, 0, 0, {}},
        {OrvMapScale::Probability, 0, 0.5, {}},
        {OrvMapScale::Classes, 0, 3, {}},
    };
    for (const auto& c : cases) {
        OrvMap map;
        map.scale = c.scale;
        EXPECT_EQ(RangeByHand(map, c.one, c.other), c.range)
            << static_cast<int>(c.scale) << ": " << c.one << ", " << c.other;
    }
}

TEST(MapRanges, AreKeptPerFilterAndMap) {
    const auto ranges = MapRangesOf("mapranges-test");
    EXPECT_EQ(MapRangesOf("mapranges-test"), ranges);
    EXPECT_NE(MapRangesOf("mapranges-other"), ranges);
    const auto before = ranges->GetVersion();
    ranges->Set("a", OrvRange{1, 2});
    EXPECT_EQ(ranges->Get("a"), (OrvRange{1, 2}));
    EXPECT_FALSE(ranges->Get("b"));
    EXPECT_GT(ranges->GetVersion(), before);
    const auto set = ranges->GetVersion();
    ranges->Set("a", {});
    EXPECT_FALSE(ranges->Get("a"));
    EXPECT_GT(ranges->GetVersion(), set) << "what was drawn is drawn anew";
}
