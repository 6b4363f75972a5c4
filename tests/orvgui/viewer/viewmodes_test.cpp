#include "orvgui/viewer/viewmodes.h"

#include <gtest/gtest.h>

namespace {

ViewRequest Request(int mode, int selection, bool evidence, bool reference, int splitMode, int choiceCount) {
    ViewRequest request;
    request.mode = mode;
    request.choiceSelection = selection;
    request.choiceCount = kViewModeCount;
    request.hasEvidence = evidence;
    request.hasReference = reference;
    request.splitMode = splitMode;
    request.viewChoiceCount = choiceCount;
    return request;
}

}  // namespace

TEST(ViewModes, FirstTimeShowsBothFilesSideBySide) {
    const ViewDecision both = DecideView(Request(-1, -1, true, true, -1, -1));
    EXPECT_EQ(both.layoutMode, 7);
    EXPECT_EQ(both.imageMode, 7);
    EXPECT_TRUE(both.split);
    EXPECT_TRUE(both.setChoice);
    EXPECT_EQ(both.viewChoiceCount, 10);
    const ViewDecision one = DecideView(Request(-1, -1, true, false, -1, -1));
    EXPECT_EQ(one.layoutMode, 1);
    EXPECT_EQ(one.imageMode, 1);
}

TEST(ViewModes, ReferenceAloneTakesTheEvidenceModes) {
    const struct {
        int mode;
        int images;
    } cases[] = {{0, 3}, {1, 4}, {2, 5}, {3, 3}, {4, 4}, {5, 5}, {6, 6}, {8, 8}, {9, 9}};
    for (const auto& c : cases) {
        ViewRequest request = Request(c.mode, c.mode, false, true, c.mode, 10);
        request.keepUnprocessed = true;
        const ViewDecision decision = DecideView(request);
        EXPECT_EQ(decision.imageMode, c.images);
        EXPECT_EQ(decision.layoutMode, c.mode);
        EXPECT_FALSE(decision.split);
    }
}

TEST(ViewModes, ANewResultReplacesTheUnprocessedView) {
    const ViewDecision decision = DecideView(Request(-1, 0, true, false, 0, 10));
    EXPECT_EQ(decision.layoutMode, 1);
    EXPECT_TRUE(decision.split);
    EXPECT_TRUE(decision.setChoice);
    EXPECT_EQ(DecideView(Request(-1, 3, true, true, 3, 10)).layoutMode, 4);
    const ViewDecision same = DecideView(Request(-1, 7, true, true, 7, 10));
    EXPECT_FALSE(same.split);
    EXPECT_FALSE(same.setChoice);
}

TEST(ViewModes, AnotherPageFollowsTheLastSplit) {
    // This page's choice says 1, another page has split by 6 meanwhile.
    const ViewDecision decision = DecideView(Request(-1, 1, true, true, 6, 10));
    EXPECT_EQ(decision.layoutMode, 6);
    EXPECT_TRUE(decision.split);
    EXPECT_TRUE(decision.setChoice);
    // A mode that the user has just chosen stands.
    ViewRequest chosen = Request(2, 2, true, true, 6, 10);
    chosen.keepUnprocessed = true;
    EXPECT_EQ(DecideView(chosen).layoutMode, 2);
    EXPECT_TRUE(DecideView(chosen).split);
    EXPECT_FALSE(DecideView(chosen).setChoice);
}

TEST(ViewModes, PlotPagesBeginWithTheirSecondEntry) {
    ViewRequest request = Request(-1, 0, true, true, 7, 10);
    request.choiceCount = kPlotModeCount;
    const ViewDecision decision = DecideView(request);
    EXPECT_EQ(decision.layoutMode, 1);
    EXPECT_EQ(decision.viewChoiceCount, 3);
}

TEST(ViewModes, WidthsOfTheHalves) {
    const struct {
        int mode;
        PanelWidths before, after;
    } cases[] = {
        {0, {400, 400}, {800, 1}},   {0, {1, 800}, {800, 1}},   {3, {800, 1}, {800, 1}},
        {1, {400, 400}, {1, 800}},   {4, {800, 1}, {1, 800}},   {8, {1, 800}, {1, 800}},
        {2, {800, 1}, {400, 400}},   {7, {1, 801}, {400, 400}}, {5, {1, 1}, {1, 1}},
        {6, {400, 400}, {200, 200}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(WidthsForMode(c.mode, c.before), c.after) << c.mode << ' ' << c.before.first;
    for (int total = 0; total < 20; ++total) {
        const PanelWidths halves = WidthsForTotal(ViewLayout::Split, total, 4);
        EXPECT_EQ(halves.first, halves.second);
        EXPECT_GE(halves.first, 1);
    }
    EXPECT_EQ(WidthsForTotal(ViewLayout::Second, 700, 4), (PanelWidths{1, 700}));
}

TEST(ViewModes, RowsOfTheTable) {
    EXPECT_EQ(FindViewMode(-1), nullptr);
    EXPECT_EQ(FindViewMode(10), nullptr);
    EXPECT_EQ(LayoutOfMode(9), ViewLayout::Second);
    EXPECT_EQ(FindViewMode(5)->second, ViewImage::ReferenceOutput);
    EXPECT_EQ(FindViewMode(8)->first, ViewImage::None);
}
