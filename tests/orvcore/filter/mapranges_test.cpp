#include "orvcore/filter/mapranges.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>

#include "orvcore/filter/filterresult.h"
#include "orvcore/filter/mappictures.h"

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

TEST(MapRanges, TravelAsTextAndWhatIsNoRangeIsLeftOut) {
    OrvMapRanges ranges;
    ranges.Set("a", OrvRange{0.1, 1.0 / 3.0});
    ranges.Set("b", OrvRange{-2.0, 2.0});
    OrvMapRanges read;
    read.Set("gone", OrvRange{1, 2});
    read.FromJson(JsonFromText(JsonToText(ranges.ToJson(), 0)));
    EXPECT_EQ(read.Get("a"), (OrvRange{0.1, 1.0 / 3.0})) << "to the last digit";
    EXPECT_EQ(read.Get("b"), (OrvRange{-2.0, 2.0}));
    EXPECT_FALSE(read.Get("gone"));
    const auto version = read.GetVersion();
    read.FromJson(ranges.ToJson());
    EXPECT_EQ(read.GetVersion(), version) << "nothing has to be drawn anew";

    for (const char* text : {R"({"a":[2,1]})", R"({"a":[1,1]})", R"({"a":[1]})", R"({"a":["0","1"]})",
                             R"({"a":{}})", R"({"a":[1,2,3]})", R"([[0,1]])", "null", "7"}) {
        read.FromJson(JsonFromText(text));
        EXPECT_FALSE(read.Get("a")) << text;
    }
}

// The same name may stand for a map of another kind in another version.
TEST(MapRanges, ARangeThatDoesNotFitTheMapIsNotDrawn) {
    const auto ranges = std::make_shared<OrvMapRanges>();
    ranges->Set("m", OrvRange{-1.0, 4.0});
    const auto shown = [&ranges](OrvMapScale scale) {
        OrvMap map;
        map.name = "m";
        map.scale = scale;
        map.range = {0.0, 1.0};
        auto slot = std::make_shared<OrvSlotResult>();
        slot->maps.push_back(map);
        OrvFilterResult result;
        result.pictures = std::make_shared<OrvMapPictures>(ranges);
        result.slot[OrvEvidence] = slot;
        return result.GetMaps(OrvEvidence)[0].range;
    };
    EXPECT_EQ(shown(OrvMapScale::Sequential), (OrvRange{-1.0, 4.0}));
    EXPECT_EQ(shown(OrvMapScale::Diverging), (OrvRange{-4.0, 4.0}));
    EXPECT_EQ(shown(OrvMapScale::Probability), (OrvRange{0.0, 1.0}));
}
