#include "orvcore/analysis/copymoveblocks.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <opencv2/imgproc.hpp>
#include <stdexcept>

#include "orvcore/analysis/copymovedense.h"
#include "orvcore/analysis/copymoveregions.h"
#include "orvcore/analysis/copymovewindows.h"
#include "tests/orvcore/analysis/copyscenes.h"
#include "tests/support/virtualcamera.h"
#include "zorbase/zorexception.h"

namespace {

class Threads {
  public:
    explicit Threads(int threads) { SetAnalysisThreads(threads); }
    ~Threads() { SetAnalysisThreads(0); }
};

bool IsEqual(const cv::Mat& a, const cv::Mat& b) {
    return a.size() == b.size() && a.type() == b.type() && cv::norm(a, b, cv::NORM_INF) == 0.0;
}

const cv::Rect kSource(90, 80, 128, 128);

}  // namespace

TEST(CopyMoveWindows, CoefficientsAreTheTransforms) {
    // Two windows whose low coefficients differ by less than a step look alike, and those that differ by more do not.
    const cv::Mat scene = CopyScene(200, 100, 1);
    cv::Mat luminance;
    cv::cvtColor(scene, luminance, cv::COLOR_BGR2GRAY);
    const WindowKeys before = DescribeWindows(luminance);
    ASSERT_EQ(before.keys.size(), cv::Size(185, 85));
    // A wave of a high frequency changes no low coefficient by a step: most keys stay.
    cv::Mat high = luminance.clone();
    cv::Mat low = luminance.clone();
    for (int y = 0; y < 100; ++y) {
        for (int x = 0; x < 200; ++x) {
            high.ptr(y)[x] =
                cv::saturate_cast<std::uint8_t>(luminance.ptr(y)[x] + ((x + y) % 2 == 0 ? 3 : -3));
            low.ptr(y)[x] = cv::saturate_cast<std::uint8_t>(luminance.ptr(y)[x] +
                                                            5.0 * std::cos(x * std::numbers::pi / 8.0));
        }
    }
    const auto same = [&](const cv::Mat& other) {
        return cv::countNonZero(before.keys == DescribeWindows(other).keys) /
               static_cast<double>(before.keys.total());
    };
    EXPECT_GT(same(high), 0.7);
    EXPECT_LT(same(low), 0.02);
    // Smooth and saturated windows have no key.
    const WindowKeys flat = DescribeWindows(cv::Mat(40, 40, CV_8UC1, cv::Scalar(100)));
    EXPECT_EQ(flat.smooth, 25 * 25);
    EXPECT_EQ(cv::countNonZero(flat.keys), 0);
    EXPECT_EQ(DescribeWindows(cv::Mat(40, 40, CV_8UC1, cv::Scalar(255))).saturated, 25 * 25);
}

TEST(CopyMoveWindows, ShiftsInEveryDirectionAreFound) {
    for (const cv::Point shift :
         {cv::Point(150, 0), cv::Point(0, 40), cv::Point(37, 91), cv::Point(-61, 55), cv::Point(-24, 1)}) {
        cv::Mat luminance;
        cv::cvtColor(CopyScene(400, 300, 2), luminance, cv::COLOR_BGR2GRAY);
        const cv::Rect from(120, 60, 64, 48);
        luminance(from).clone().copyTo(luminance(from + shift));
        const ShiftSearch search = FindShifts(DescribeWindows(luminance), 16, 12, 10);
        ASSERT_FALSE(search.candidates.empty()) << shift;
        EXPECT_EQ(search.candidates[0].shift, shift);
        // Where the copy covers a part of its source, fewer windows are left of it.
        const int columns = 64 - 15;
        const int rows = 48 - 15;
        const int whole = columns * rows;
        if ((from & (from + shift)).empty()) {
            EXPECT_GT(search.candidates[0].count, whole * 7 / 10);
            EXPECT_LE(search.candidates[0].count, whole + 30);
        }
        EXPECT_NEAR(cv::boundingRect(search.candidates[0].first).y, from.y, 2);
    }
}

TEST(CopyMoveWindows, PlacesFormClusters) {
    std::vector<cv::Point> places;
    for (int i = 0; i < 20; ++i) places.emplace_back(10 + i, 500);
    for (int i = 0; i < 30; ++i) places.emplace_back(700 + 31 * i, 10 + i);
    for (int i = 0; i < 5; ++i) places.emplace_back(10, 10 + i);
    const auto clusters = ClusterPlaces(places, 10);
    ASSERT_EQ(clusters.size(), 2U);
    EXPECT_EQ(clusters[0].size(), 30U);
    EXPECT_EQ(clusters[1].size(), 20U);
}

TEST(CopyMoveBlocks, ACopyIsFoundWhateverWasDoneToIt) {
    const struct {
        const char* name;
        cv::Point shift;
        int quality;      // 0: not saved
        bool deep, grey;  // 16 bits; one channel
        double leastShare;
    } cases[] = {{"plain", {200, 101}, 0, false, false, 0.85},
                 {"saved at 95", {203, 101}, 95, false, false, 0.85},
                 {"saved at 85", {203, 101}, 85, false, false, 0.8},
                 {"on the grid, at 75", {200, 104}, 75, false, false, 0.8},
                 {"16 bits", {200, 101}, 0, true, false, 0.85},
                 {"grey", {-60, 140}, 0, false, true, 0.85}};
    for (const auto& c : cases) {
        cv::Mat picture = CopyScene(520, 400, 3);
        picture(kSource).clone().copyTo(picture(kSource + c.shift));
        if (c.quality > 0) picture = ThroughJpeg(picture, c.quality);
        if (c.grey) cv::cvtColor(picture, picture, cv::COLOR_BGR2GRAY);
        if (c.deep) picture.convertTo(picture, CV_16U, 257.0);
        const CopyMoveResult result = FindCopiedBlocks(picture, {});
        ASSERT_TRUE(result.isApplicable) << c.name;
        ASSERT_EQ(result.pairs.size(), 1U) << c.name;
        const CopiedPair& pair = result.pairs[0];
        EXPECT_EQ(cv::Point(pair.toCentre - pair.fromCentre), c.shift) << c.name;
        EXPECT_EQ(pair.rotation, 0.0);
        EXPECT_EQ(pair.scale, 1.0);
        EXPECT_LT(pair.log10Chance, -50.0);
        EXPECT_GT(pair.area, c.leastShare * kSource.area()) << c.name;
        EXPECT_LT(pair.area, 1.15 * kSource.area()) << c.name;
        // The map shows the two parts and nothing else.
        cv::Mat truth = cv::Mat::zeros(picture.size(), CV_8U);
        truth(kSource).setTo(255);
        truth(kSource + c.shift).setTo(255);
        const double hit = cv::countNonZero((result.map != 0) & truth);
        const double all = cv::countNonZero(result.map);
        EXPECT_GT(2.0 * hit / (all + 2.0 * kSource.area()), 0.88) << c.name;
        EXPECT_TRUE(JudgeCopiedBlocks(result).isSign)
            << c.name << " fine " << pair.fineSimilarity << " matches " << pair.matches;
    }
}

TEST(CopyMoveBlocks, UntouchedAndRegularScenesGiveNoSign) {
    const struct {
        const char* name;
        cv::Mat picture;
    } cases[] = {{"untouched", CopyScene(640, 480, 4)},
                 {"untouched, saved", ThroughJpeg(CopyScene(640, 480, 5), 80)},
                 {"bricks", BrickWall(800, 600, 2.0)},
                 {"bricks without noise", BrickWall(800, 600, 0.0)},
                 {"bricks, saved", ThroughJpeg(BrickWall(800, 600, 2.0), 75)},
                 {"a facade", Facade(800, 600)},
                 {"a page of text", TextPage(800, 600)},
                 {"a page of text, saved", ThroughJpeg(TextPage(800, 600), 85)},
                 {"stripes", Stripes(640, 480)},
                 {"noise", PureNoise(500, 400)},
                 {"a smooth sky", SmoothSky(640, 480)}};
    for (const auto& c : cases) {
        const CopyMoveResult result = FindCopiedBlocks(c.picture, {});
        const CopyMoveVerdict verdict = JudgeCopiedBlocks(result);
        EXPECT_FALSE(verdict.isSign) << c.name << ": " << verdict.measured << " of " << result.pairs.size()
                                     << " pairs";
    }
}

TEST(CopyMoveBlocks, SaysWhereItCannotLook) {
    cv::Mat picture = CopyScene(600, 400, 6);
    picture(cv::Rect(0, 0, 600, 100)).setTo(cv::Scalar::all(255));
    picture(cv::Rect(0, 300, 600, 100)).setTo(cv::Scalar::all(120));
    const CopyMoveResult result = FindCopiedBlocks(picture, {});
    EXPECT_NEAR(result.blindShare, 0.5, 0.1);
    EXPECT_GT(result.saturatedShare, 0.18);
    EXPECT_GT(result.smoothShare, 0.18);
    EXPECT_EQ(result.mask.at<std::uint8_t>(50, 300), 255);
    EXPECT_EQ(result.mask.at<std::uint8_t>(200, 300), 0);
    EXPECT_EQ(result.mask.at<std::uint8_t>(350, 300), 255);
    EXPECT_NEAR(cv::countNonZero(result.mask) / 240000.0, result.blindShare, 1e-9);
    const struct {
        cv::Mat picture;
    } cases[] = {{cv::Mat(1, 1, CV_8UC1, cv::Scalar(5))},
                 {cv::Mat(63, 400, CV_8UC3, cv::Scalar::all(5))},
                 {cv::Mat(300, 300, CV_8UC3, cv::Scalar::all(100))},
                 {cv::Mat(300, 300, CV_16UC4, cv::Scalar::all(65535))}};
    for (const auto& c : cases) {
        const CopyMoveResult none = FindCopiedBlocks(c.picture, {});
        EXPECT_FALSE(none.isApplicable);
        EXPECT_FALSE(none.whyNot.empty());
        EXPECT_EQ(JudgeCopiedBlocks(none).reason, none.whyNot);
    }
    EXPECT_THROW(FindCopiedBlocks(cv::Mat(100, 100, CV_32FC1, cv::Scalar(0)), {}), ZorException);
}

TEST(CopyMoveDense, TurnedAndScaledCopiesAreFound) {
    const struct {
        double degrees, scale;
        int quality;
    } cases[] = {{20, 1, 85}, {90, 1, 85}, {-10, 1.1, 90}};
    const cv::Point from(160, 150);
    const cv::Point to(480, 330);
    constexpr int kRadius = 70;
    for (const auto& c : cases) {
        cv::Mat picture = CopyScene(640, 480, 8);
        PasteTurned(picture, from, to, kRadius, c.degrees, c.scale);
        if (c.quality > 0) picture = ThroughJpeg(picture, c.quality);
        const CopyMoveResult result = FindCopiedBlocks(picture, {true});
        ASSERT_EQ(result.pairs.size(), 1U) << c.degrees << " degrees, " << c.scale;
        // Either twin may come first.
        const CopiedPair& pair = result.pairs[0];
        const bool isTurned = pair.fromCentre.y > pair.toCentre.y;
        const double rotation = isTurned ? -pair.rotation : pair.rotation;
        const double scale = isTurned ? 1.0 / pair.scale : pair.scale;
        EXPECT_NEAR(std::remainder(rotation - c.degrees, 360.0), 0.0, 1.0) << c.degrees;
        EXPECT_NEAR(scale / c.scale, 1.0, 0.02) << c.scale;
        cv::Mat truth = cv::Mat::zeros(picture.size(), CV_8U);
        cv::circle(truth, from, kRadius, cv::Scalar(255), cv::FILLED);
        cv::circle(truth, to, cvRound(kRadius * c.scale), cv::Scalar(255), cv::FILLED);
        const double hit = cv::countNonZero((result.map != 0) & truth);
        EXPECT_GT(2.0 * hit / (cv::countNonZero(result.map) + cv::countNonZero(truth)), 0.85)
            << c.degrees << ' ' << c.scale;
        const CopyMoveVerdict verdict = JudgeCopiedBlocks(result);
        EXPECT_TRUE(verdict.isSign) << verdict.measured << ' ' << pair.distinctness << ' '
                                    << pair.fineSimilarity;
    }
    // Without asking for it there is no turned copy.
    cv::Mat turned = CopyScene(640, 480, 8);
    PasteTurned(turned, from, to, kRadius, 20, 1);
    EXPECT_TRUE(FindCopiedBlocks(turned, {}).pairs.empty());
}

TEST(CopyMoveDense, UntouchedScenesGiveNoSign) {
    const struct {
        const char* name;
        cv::Mat picture;
    } cases[] = {{"untouched", CopyScene(480, 360, 9)}, {"bricks", BrickWall(480, 360, 2.0)},
                 {"a facade", Facade(500, 400)},        {"text", TextPage(500, 300)},
                 {"stripes", Stripes(400, 300)},        {"noise", PureNoise(300, 200)},
                 {"a sky", SmoothSky(400, 300)},        {"tiny", CopyScene(64, 64, 10)}};
    for (const auto& c : cases) {
        const CopyMoveResult result = FindCopiedBlocks(c.picture, {true});
        const CopyMoveVerdict verdict = JudgeCopiedBlocks(result);
        EXPECT_FALSE(verdict.isSign) << c.name << ": " << verdict.measured << " of " << result.pairs.size();
    }
}

TEST(CopyMoveDense, TheFieldIsTheSameForAnyNumberOfThreads) {
    cv::Mat luminance;
    cv::cvtColor(CopyScene(320, 250, 11), luminance, cv::COLOR_BGR2GRAY);
    const auto run = [&](int count) {
        const Threads threads(count);
        return FindNearestTwins(luminance, 24, 3);
    };
    EXPECT_TRUE(IsEqual(run(1), run(4)));
    EXPECT_THROW(FindNearestTwins(luminance, 24, 8,
                                  [](double done) {
                                      if (done > 0.5) throw std::runtime_error("stop");
                                  }),
                 std::runtime_error);
}

TEST(CopyMoveRegions, ChanceIsAnUpperBoundOfTheBinomialTail) {
    // Against the exact sum for a case small enough to add up: P(Bin(20, 0.1) >= 8) = 4.16e-4.
    const double bound = Log10Tail(8, 20, 0.1);
    EXPECT_GE(bound, std::log10(4.16e-4));
    EXPECT_LT(bound, std::log10(4.16e-4) + 1.2);
    EXPECT_EQ(Log10Tail(2, 20, 0.1), 0.0);
    EXPECT_NEAR(Log10Tail(10, 10, 1e-3), -30.0, 1e-9);
}
