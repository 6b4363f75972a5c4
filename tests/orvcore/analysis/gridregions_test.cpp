#include "orvcore/analysis/gridregions.h"

#include <gtest/gtest.h>

namespace {

// Votes for grid 5 where the picture of blocks of 30 pixels has an x, no votes elsewhere.
cv::Mat Votes(const std::vector<std::string>& blocks) {
    constexpr int kBlock = 30;
    cv::Mat votes(kBlock * static_cast<int>(blocks.size()), kBlock * static_cast<int>(blocks[0].size()),
                  CV_8UC1, cv::Scalar(255));
    for (std::size_t y = 0; y < blocks.size(); ++y)
        for (std::size_t x = 0; x < blocks[y].size(); ++x)
            if (blocks[y][x] == 'x')
                votes(cv::Rect(kBlock * static_cast<int>(x), kBlock * static_cast<int>(y), kBlock, kBlock))
                    .setTo(5);
    return votes;
}

}  // namespace

// Whatever the order in which its parts meet, an area is one, with all of its votes.
TEST(GridRegions, AreasThatMeetLateAreOne) {
    const struct {
        std::vector<std::string> blocks;
        std::vector<int> areas;  // blocks of each, the largest first
    } cases[] = {{{"x....x", "x....x", "xxxxxx"}, {10}},
                 {{"x.x.x.x", "x.x.x.x", "xxxxxxx"}, {15}},
                 {{"xxxxxxx", "x.x.x.x", "x.x.x.x"}, {15}},
                 {{"....x.x", "..x.x.x", "x.x.xxx", "xxxxx..", "x......"}, {16}},
                 {{"xxxxxxx", "x.....x", "x.xxx.x", "x...x.x", "xxxxx.x"}, {23}},
                 {{"x..x.", ".xx..", "....x"}, {4, 1}},
                 {{"xxx..xx", "xxx..xx", "xxx..xx"}, {9, 6}}};
    for (const auto& one : cases) {
        SCOPED_TRACE(one.blocks[0] + " " + one.blocks[1]);
        const cv::Mat votes = Votes(one.blocks);
        const std::vector<GridRegion> found = FindGridRegions(votes, -1, -1);
        int all = 0;
        for (const GridRegion& region : found) all += region.votes;
        EXPECT_EQ(all, cv::countNonZero(votes == 5));
        std::vector<int> areas;
        for (const GridRegion& region : found) areas.push_back(region.votes / 900);
        EXPECT_EQ(areas, one.areas);
    }
    EXPECT_TRUE(FindGridRegions(Votes({"xxx", "xxx", "xxx"}), 5, -1).empty());
    EXPECT_TRUE(FindGridRegions(Votes({"xxx", "xxx", "xxx"}), -1, 6).empty());
    EXPECT_EQ(FindGridRegions(Votes({"xxx", "xxx", "xxx"}), -1, 5).size(), 1U);
}
