#include "orvcore/analysis/copymovekeypoints.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <opencv2/imgproc.hpp>
#include <stdexcept>

#include "orvcore/analysis/copymoveregions.h"
#include "orvcore/analysis/keypoints.h"
#include "tests/orvcore/analysis/copyscenes.h"
#include "tests/support/virtualcamera.h"
#include "zorbase/zorexception.h"

namespace {

const cv::Point kFrom(160, 150);
const cv::Point kTo(480, 330);
constexpr int kRadius = 70;

// A form: the same line over and over, numbered.
cv::Mat EqualLines(int width, int height) {
    cv::Mat page(height, width, CV_8UC3, cv::Scalar::all(255));
    for (int y = 40; y < height - 20; y += 28)
        cv::putText(page, "the quick brown fox jumps over the lazy dog again and again " + std::to_string(y),
                    {20, y}, cv::FONT_HERSHEY_SIMPLEX, 0.7, cv::Scalar::all(0), 1, cv::LINE_AA);
    return page;
}

}  // namespace

TEST(Keypoints, TilesCoverEverythingOnce) {
    for (const cv::Size size : {cv::Size(100, 60), cv::Size(768, 769), cv::Size(2000, 900),
                                cv::Size(4000, 3000), cv::Size(20000, 100)}) {
        std::int64_t area = 0;
        for (const cv::Rect& tile : KeypointTiles(size)) {
            EXPECT_LE(tile.area(), 1000000);
            area += tile.area();
        }
        EXPECT_GE(area, static_cast<std::int64_t>(size.width) * size.height);
    }
    // A picture of several tiles has no point twice, and those of one tile where only that tile is.
    cv::Mat luminance;
    cv::cvtColor(CopyScene(1000, 900, 41), luminance, cv::COLOR_BGR2GRAY);
    const Keypoints points = FindKeypoints(luminance, {});
    EXPECT_EQ(points.tiles, 4);
    ASSERT_GT(points.points.size(), 500U);
    EXPECT_EQ(points.descriptors.rows, static_cast<int>(points.points.size()));
    int crowded = 0;
    for (std::size_t i = 0; i < points.points.size(); ++i)
        for (std::size_t j = i + 1; j < points.points.size(); ++j) {
            const cv::Point2f way = points.points[i].at - points.points[j].at;
            crowded += way.dot(way) < 1e-4F &&
                               std::abs(points.points[i].angle - points.points[j].angle) < 0.1F &&
                               points.points[i].size == points.points[j].size
                           ? 1
                           : 0;
        }
    EXPECT_EQ(crowded, 0);
    EXPECT_TRUE(FindKeypoints(cv::Mat(200, 200, CV_8U, cv::Scalar(7)), {}).points.empty());
    EXPECT_TRUE(FindKeypoints(cv::Mat(9, 500, CV_8U, cv::Scalar(7)), {}).points.empty());
}

// The same place described twice is one neighbour, in whatever order the two come; another place that looks the same takes the match
// away.
TEST(Keypoints, TheSecondNearestLiesElsewhere) {
    struct Neighbour {
        float x;
        int distance;
    };
    const auto points = [](const std::vector<Neighbour>& list) {
        Keypoints made;
        made.descriptors = cv::Mat(static_cast<int>(list.size()), 128, CV_8U, cv::Scalar(0));
        for (std::size_t i = 0; i < list.size(); ++i) {
            Keypoint& point = made.points.emplace_back();
            point.at = cv::Point2f(list[i].x, 50);
            made.descriptors.at<std::uint8_t>(static_cast<int>(i), 0) =
                static_cast<std::uint8_t>(list[i].distance);
        }
        return made;
    };
    const Keypoints from = points({{0, 0}});
    const struct {
        std::vector<Neighbour> to;
        int nearest;  // -1: none is taken
    } cases[] = {{{{10, 20}, {90, 100}}, 0},           {{{90, 100}, {10, 20}}, 1},
                 {{{10, 20}, {12, 21}, {90, 100}}, 0}, {{{12, 21}, {10, 20}, {90, 100}}, 1},
                 {{{90, 100}, {12, 21}, {10, 20}}, 2}, {{{10, 20}, {90, 22}}, -1},
                 {{{90, 22}, {10, 20}}, -1},           {{{10, 20}, {12, 21}, {90, 22}}, -1},
                 {{{12, 21}, {90, 22}, {10, 20}}, -1}, {{{10, 20}, {14.5F, 21}}, -1}};
    for (const auto& one : cases) {
        std::string what;
        for (const Neighbour& n : one.to)
            what += std::to_string(n.x) + ":" + std::to_string(n.distance) + " ";
        const std::vector<KeypointMatch> found = MatchKeypoints(from, points(one.to), 0.8);
        ASSERT_EQ(found.size(), one.nearest < 0 ? 0U : 1U) << what;
        if (one.nearest >= 0) {
            EXPECT_EQ(found[0].second, one.nearest) << what;
        }
    }
}

TEST(Keypoints, AnAffineMapIsFoundAmongStrayMatches) {
    const cv::Matx23d truth(1.1 * std::cos(0.35), -1.1 * std::sin(0.35), 40, 1.1 * std::sin(0.35),
                            1.1 * std::cos(0.35), -15);
    cv::RNG random(3);
    std::vector<cv::Point2d> from;
    std::vector<cv::Point2d> to;
    std::vector<cv::Matx23d> guesses;
    for (int i = 0; i < 300; ++i) {
        const cv::Point2d p(random.uniform(0.0, 800.0), random.uniform(0.0, 600.0));
        const bool isTrue = i % 5 == 0;
        const cv::Point2d q = isTrue
                                  ? Apply(truth, p) + cv::Point2d(random.gaussian(0.5), random.gaussian(0.5))
                                  : cv::Point2d(random.uniform(0.0, 800.0), random.uniform(0.0, 600.0));
        Keypoint a{p, 4.0F, 30.0F, 1.0F};
        Keypoint b{q, isTrue ? 4.5F : 3.0F, isTrue ? 51.0F : 200.0F, 1.0F};
        from.push_back(p);
        to.push_back(q);
        guesses.push_back(SimilarityOf(a, b));
    }
    std::vector<std::uint8_t> used(300, 0);
    const AffineFit fit = FitAffine(from, to, guesses, used, 3.0, 0.0);
    EXPECT_GE(fit.inliers.size(), 58U);
    EXPECT_LE(fit.inliers.size(), 64U);
    EXPECT_NEAR(RotationOf(fit.model), 0.35 * 180 / std::numbers::pi, 0.2);
    EXPECT_NEAR(ScaleOf(fit.model), 1.1, 0.005);
    for (const int i : fit.inliers) used[static_cast<std::size_t>(i)] = 1;
    EXPECT_LT(FitAffine(from, to, guesses, used, 3.0, 0.0).inliers.size(), 8U);
}

TEST(CopyMoveKeypoints, CopiesAreFoundWithAngleAndScale) {
    const struct {
        double degrees, scale;
        int quality;
    } cases[] = {{0, 1, 0},     {0, 1, 85},     {20, 1, 85},   {90, 1, 85}, {0, 1.1, 85},
                 {20, 1.1, 90}, {-45, 0.9, 90}, {0, 1.25, 90}, {180, 1, 90}};
    for (const auto& c : cases) {
        cv::Mat picture = CopyScene(720, 560, 42);
        PasteTurned(picture, kFrom, kTo, kRadius, c.degrees, c.scale);
        if (c.quality > 0) picture = ThroughJpeg(picture, c.quality);
        const CopyMoveResult result = FindCopiedKeypoints(picture, {});
        ASSERT_TRUE(result.isApplicable);
        ASSERT_EQ(result.pairs.size(), 1U) << c.degrees << " degrees, " << c.scale;
        const CopiedPair& pair = result.pairs[0];
        // The upper part comes first, whichever is the original.
        EXPECT_NEAR(std::remainder(pair.rotation - c.degrees, 360.0), 0.0, 1.0);
        EXPECT_NEAR(pair.scale / c.scale, 1.0, 0.02);
        EXPECT_LT(cv::norm(pair.fromCentre - cv::Point2d(kFrom)), 6.0);
        EXPECT_LT(cv::norm(pair.toCentre - cv::Point2d(kTo)), 6.0 * c.scale);
        const CopyMoveVerdict verdict = JudgeCopiedKeypoints(result);
        EXPECT_TRUE(verdict.isSign) << verdict.measured << " of " << c.degrees << ' ' << c.scale
                                    << " distinct " << pair.distinctness;
        cv::Mat truth = cv::Mat::zeros(picture.size(), CV_8U);
        cv::circle(truth, kFrom, kRadius, cv::Scalar(255), cv::FILLED);
        cv::circle(truth, kTo, cvRound(kRadius * c.scale), cv::Scalar(255), cv::FILLED);
        const double hit = cv::countNonZero((result.map != 0) & truth);
        EXPECT_GT(2.0 * hit / (cv::countNonZero(result.map) + cv::countNonZero(truth)), 0.85)
            << c.degrees << ' ' << c.scale;
    }
}

TEST(CopyMoveKeypoints, UntouchedAndRegularScenesGiveNoSign) {
    const struct {
        const char* name;
        cv::Mat picture;
    } cases[] = {{"untouched", CopyScene(720, 560, 43)}, {"bricks", BrickWall(600, 400, 2.0)},
                 {"a facade", Facade(700, 500)},         {"a page of text", TextPage(800, 500)},
                 {"stripes", Stripes(500, 400)},         {"noise", PureNoise(400, 300)},
                 {"a smooth sky", SmoothSky(500, 400)},  {"equal lines", EqualLines(1200, 1600)}};
    for (const auto& c : cases) {
        const CopyMoveResult result = FindCopiedKeypoints(c.picture, {});
        const CopyMoveVerdict verdict = JudgeCopiedKeypoints(result);
        EXPECT_FALSE(verdict.isSign) << c.name << ": " << verdict.measured << " of " << result.pairs.size();
    }
}

TEST(CopyMoveKeypoints, SaysWhenItCannotLookAndCanBeStopped) {
    EXPECT_FALSE(FindCopiedKeypoints(cv::Mat(300, 300, CV_8UC3, cv::Scalar::all(255)), {}).isApplicable);
    EXPECT_FALSE(FindCopiedKeypoints(cv::Mat(1, 1, CV_16UC1, cv::Scalar(9)), {}).isApplicable);
    cv::Mat half = CopyScene(600, 400, 44);
    half(cv::Rect(0, 0, 300, 400)).setTo(cv::Scalar::all(90));
    const CopyMoveResult result = FindCopiedKeypoints(half, {});
    EXPECT_NEAR(result.blindShare, 0.47, 0.06);
    EXPECT_EQ(result.mask.at<std::uint8_t>(200, 100), 255);
    EXPECT_THROW(FindCopiedKeypoints(cv::Mat(), {}), ZorException);
    EXPECT_THROW(FindCopiedKeypoints(half, {},
                                     [](double done) {
                                         if (done > 0.2) throw std::runtime_error("stop");
                                     }),
                 std::runtime_error);
}

// A part that is its own twin's neighbour by less than its size repeats; a copy beside its source does not.
TEST(CopyMoveKeypoints, OverlappingTwinsAreAPattern) {
    const cv::Matx23d shift(1, 0, 20, 0, 1, 0);
    const auto pairs = [&](int width) {
        CopyMoveResult result;
        result.map = cv::Mat::zeros(100, 200, CV_8U);
        CopyCheck check;
        check.isFound = true;
        check.distinctness = 10;
        check.from = {10, 10, width, 50};
        check.to = {30, 10, width, 50};
        check.fromMask = check.toMask = cv::Mat(50, width, CV_8U, cv::Scalar(255));
        check.centre = {10 + width / 2.0, 35};
        check.area = 50 * width;
        EXPECT_TRUE(AddPair(check, shift, result));
        return result.pairs;
    };
    EXPECT_EQ(pairs(20)[0].overlap, 0.0);
    EXPECT_FALSE(IsRepetitive(pairs(20)));
    EXPECT_NEAR(pairs(80)[0].overlap, 0.75, 1e-9);
    EXPECT_TRUE(IsRepetitive(pairs(80)));
}
