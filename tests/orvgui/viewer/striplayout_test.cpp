#include "orvgui/viewer/striplayout.h"

#include <gtest/gtest.h>

namespace {

constexpr int kGap = 10;
constexpr int kMargin = 3;

}  // namespace

TEST(StripLayout, OneRowWhereItFitsElseAsManyAsItTakes) {
    const std::vector<StripGroup> groups = {
        {300, 420, 34, true}, {100, 100, 34, true}, {200, 200, 30, false}, {150, 260, 26, true}};
    // 300 + 10 + 100 + 10 + 150 and both margins.
    StripPlaces places = PlaceStrip(groups, 576, kGap, kMargin);
    EXPECT_EQ(places.rows, 1);
    EXPECT_EQ(places.height, 34 + 2 * kMargin);
    EXPECT_EQ(places.groups[0], (StripPlace{3, 3, 300, 34}));
    EXPECT_EQ(places.groups[1], (StripPlace{313, 3, 100, 34}));
    EXPECT_EQ(places.groups[2], StripPlace()) << "hidden";
    EXPECT_EQ(places.groups[3], (StripPlace{423, 7, 150, 26})) << "in the middle of the row";

    places = PlaceStrip(groups, 575, kGap, kMargin);
    EXPECT_EQ(places.rows, 2);
    EXPECT_EQ(places.height, 34 + 26 + 3 * kMargin);
    EXPECT_EQ(places.groups[3].x, kMargin);
    EXPECT_EQ(places.groups[3].y, 40);

    places = PlaceStrip(groups, 60, kGap, kMargin);
    EXPECT_EQ(places.rows, 3);
    EXPECT_EQ(places.groups[0].width, 300) << "not squeezed below what can be read";

    std::vector<StripGroup> withExtra = groups;
    withExtra[3].isExtra = true;
    EXPECT_EQ(PlaceStrip(withExtra, 576, kGap, kMargin).groups[3], (StripPlace{423, 7, 150, 26}));
    places = PlaceStrip(withExtra, 575, kGap, kMargin);
    EXPECT_EQ(places.rows, 1) << "what would take a row of its own is left out";
    EXPECT_EQ(places.groups[3], StripPlace());
    withExtra[2].isShown = true;
    EXPECT_EQ(PlaceStrip(withExtra, 575, kGap, kMargin).groups[3].x, 213)
        << "it goes where there is a second row";
}

TEST(StripLayout, SpareWidthGoesToThoseThatWantIt) {
    const std::vector<StripGroup> groups = {{300, 420, 34}, {100, 100, 34}, {150, 260, 26}};
    const auto widths = [&groups](int width) {
        const StripPlaces places = PlaceStrip(groups, width, kGap, kMargin);
        std::vector<int> result;
        for (const StripPlace& place : places.groups) result.push_back(place.width);
        return result;
    };
    EXPECT_EQ(widths(576 + 50), (std::vector<int>{350, 100, 150}));
    EXPECT_EQ(widths(576 + 170), (std::vector<int>{420, 100, 200}));
    EXPECT_EQ(widths(5000), (std::vector<int>{420, 100, 260}));
    // In two rows each has its own.
    EXPECT_EQ(widths(560), (std::vector<int>{420, 100, 260}));
    EXPECT_EQ(PlaceStrip({}, 500, kGap, kMargin).height, 0);
}
