// Channels, bit planes, principal components, gradient, levels, pixel statistics, profile and scatter: exact values.

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <opencv2/imgproc.hpp>
#include <stdexcept>

#include "orvcore/analysis/channels.h"
#include "orvcore/analysis/gradient.h"
#include "orvcore/analysis/levels.h"
#include "orvcore/analysis/pixelstatistics.h"
#include "orvcore/analysis/principalcomponents.h"
#include "orvcore/analysis/profile.h"
#include "orvcore/analysis/radialspectrum.h"
#include "orvcore/analysis/spectrum.h"
#include "zorbase/zorexception.h"

namespace {

cv::Mat Colour(int red, int green, int blue, int width = 3, int height = 2) {
    return {height, width, CV_8UC3, cv::Scalar(blue, green, red)};
}

cv::Mat Noise(int width, int height, int type, std::uint64_t seed = 5) {
    cv::Mat picture(height, width, type);
    cv::RNG random(seed);
    random.fill(picture, cv::RNG::UNIFORM, 0, picture.depth() == CV_16U ? 65536 : 256);
    return picture;
}

// Level x in column x, 0..255.
cv::Mat Ramp(int height, int type = CV_8UC1) {
    cv::Mat ramp(height, 256, CV_8UC1);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < 256; ++x) ramp.ptr(y)[x] = static_cast<std::uint8_t>(x);
    if (type == CV_8UC3) cv::cvtColor(ramp, ramp, cv::COLOR_GRAY2BGR);
    return ramp;
}

bool IsEqual(const cv::Mat& a, const cv::Mat& b) {
    return a.size() == b.size() && a.type() == b.type() && cv::norm(a, b, cv::NORM_INF) == 0.0;
}

class Threads {
  public:
    explicit Threads(int threads) { SetAnalysisThreads(threads); }
    ~Threads() { SetAnalysisThreads(0); }
};

}  // namespace

TEST(Channels, KnownColoursHaveKnownPlanes) {
    // Values of the standards' formulas, worked out by hand or taken from published tables of sRGB's primaries.
    const struct {
        int red, green, blue;
        ColourSpace space;
        double expected[3];
        double tolerance;
    } cases[] = {
        {200, 100, 50, ColourSpace::Rgb, {200, 100, 50}, 0},
        {255, 0, 0, ColourSpace::Hsv, {0, 1, 255}, 1e-3},
        {0, 255, 0, ColourSpace::Hsv, {120, 1, 255}, 1e-3},
        {100, 100, 200, ColourSpace::Hsv, {240, 0.5, 200}, 1e-3},
        {255, 0, 0, ColourSpace::YCbCr, {76.245, 84.972, 255.5}, 1e-2},
        {128, 128, 128, ColourSpace::YCbCr, {128, 128, 128}, 1e-3},
        {0, 0, 255, ColourSpace::YCbCr, {29.07, 255.5, 107.265}, 1e-2},
        {255, 255, 255, ColourSpace::Lab, {100, 0, 0}, 0.05},
        {255, 0, 0, ColourSpace::Lab, {53.24, 80.09, 67.20}, 0.1},
        {0, 0, 255, ColourSpace::Lab, {32.30, 79.19, -107.86}, 0.1},
    };
    for (const auto& c : cases) {
        for (int plane = 0; plane < 3; ++plane) {
            const ChannelPlane found = ExtractPlane(Colour(c.red, c.green, c.blue), c.space, plane);
            EXPECT_NEAR(found.mean, c.expected[plane], c.tolerance) << found.facts.name;
            EXPECT_EQ(found.minimum, found.maximum);
            EXPECT_NEAR(found.deviation, 0.0, 0.01);
            cv::Mat wide;
            Colour(c.red, c.green, c.blue).convertTo(wide, CV_16U, 257.0);
            const double scale = c.space == ColourSpace::Rgb ? 257.0 : 1.0;
            EXPECT_NEAR(ExtractPlane(wide, c.space, plane).mean, scale * c.expected[plane], c.tolerance);
        }
    }
    EXPECT_EQ(ExtractPlane(Colour(1, 2, 3), ColourSpace::Rgb, 0).map.type(), CV_8UC1);
}

TEST(Channels, GreyPixelsHaveNoHue) {
    cv::Mat picture = Colour(10, 20, 30, 10, 10);
    EXPECT_TRUE(ExtractPlane(picture, ColourSpace::Hsv, 0).mask.empty());
    picture(cv::Rect(0, 0, 10, 4)).setTo(cv::Scalar::all(77));
    const ChannelPlane hue = ExtractPlane(picture, ColourSpace::Hsv, 0);
    EXPECT_EQ(cv::countNonZero(hue.mask), 40);
    EXPECT_DOUBLE_EQ(hue.maskedShare, 0.4);
    EXPECT_NEAR(hue.mean, 210.0, 1e-3);
    EXPECT_TRUE(std::isnan(ExtractPlane(Ramp(4), ColourSpace::Hsv, 0).mean));
}

TEST(BitPlanes, BitsAreTheNumbersOwn) {
    const cv::Mat ramp = Ramp(3);
    for (int bit = 0; bit < 8; ++bit) {
        const BitPlane plane = ExtractBitPlane(ramp, BitChannel::Luminance, bit);
        for (int x = 0; x < 256; ++x) ASSERT_EQ(plane.map.ptr(2)[x], x >> bit & 1);
        EXPECT_DOUBLE_EQ(plane.onesShare, 0.5);
        EXPECT_DOUBLE_EQ(plane.agreement, 1.0 - ((256 >> bit) - 1) / 255.0);
    }
    EXPECT_EQ(cv::countNonZero(ExtractBitPlane(Colour(4, 2, 1), BitChannel::Red, 2).map), 6);
    EXPECT_EQ(cv::countNonZero(ExtractBitPlane(Colour(4, 2, 1), BitChannel::Green, 2).map), 0);
    EXPECT_EQ(cv::countNonZero(ExtractBitPlane(Colour(4, 2, 1), BitChannel::Blue, 0).map), 6);
    // 0.299 * 200 + 0.587 * 100 + 0.114 * 50 = 124.2
    EXPECT_EQ(cv::countNonZero(ExtractBitPlane(Colour(200, 100, 50), BitChannel::Luminance, 2).map), 6);
    EXPECT_EQ(cv::countNonZero(ExtractBitPlane(Colour(200, 100, 50), BitChannel::Luminance, 0).map), 0);
    EXPECT_NEAR(ExtractBitPlane(Noise(200, 200, CV_8UC3), BitChannel::Green, 0).agreement, 0.5, 0.01);
    EXPECT_EQ(cv::countNonZero(
                  ExtractBitPlane(cv::Mat(1, 1, CV_16UC1, cv::Scalar(32768)), BitChannel::Red, 15).map),
              1);
    EXPECT_THROW(ExtractBitPlane(ramp, BitChannel::Red, 8), ZorException);
}

TEST(PrincipalComponents, ARampOfGreysHasOneAxis) {
    const cv::Mat ramp = Ramp(4, CV_8UC3);
    const ColourAxes axes = FindColourAxes(ramp);
    EXPECT_NEAR(axes.eigenvalues[0], 3.0 * (256.0 * 256.0 - 1.0) / 12.0, 1e-6);
    EXPECT_NEAR(axes.eigenvalues[1], 0.0, 1e-6);
    EXPECT_NEAR(axes.share[0], 1.0, 1e-9);
    for (const double part : axes.vectors[0]) EXPECT_NEAR(part, 1.0 / std::sqrt(3.0), 1e-9);
    const cv::Mat projection = ProjectOnAxis(ramp, axes, 0);
    EXPECT_NEAR(projection.ptr<float>(3)[255], 127.5 * std::sqrt(3.0), 1e-3);
    EXPECT_NEAR(projection.ptr<float>(0)[0], -127.5 * std::sqrt(3.0), 1e-3);
    EXPECT_LT(cv::norm(DistanceFromAxis(ramp, axes, 0), cv::NORM_INF), 1e-3);
    EXPECT_EQ(FindColourAxes(Colour(9, 9, 9)).share[0], 0.0);
    EXPECT_THROW(ProjectOnAxis(ramp, axes, 3), ZorException);
}

TEST(PrincipalComponents, AForeignColourIsFarFromTheAxis) {
    cv::Mat picture = Ramp(64, CV_8UC3);
    picture.at<cv::Vec3b>(10, 100) = {100, 100, 160};  // 60 levels of red more than its grey
    const ColourAxes axes = FindColourAxes(picture);
    const cv::Mat distance = DistanceFromAxis(picture, axes, 0);
    double most = 0;
    cv::Point where;
    cv::minMaxLoc(distance, nullptr, &most, nullptr, &where);
    EXPECT_EQ(where, cv::Point(100, 10));
    EXPECT_NEAR(most, 60.0 * std::sqrt(2.0 / 3.0), 0.1);
    // Pythagoras: what is not along the axis is across it.
    const cv::Vec3b c = picture.at<cv::Vec3b>(10, 100);
    const double along = ProjectOnAxis(picture, axes, 0).at<float>(10, 100);
    const double square = std::pow(c[2] - axes.mean[0], 2) + std::pow(c[1] - axes.mean[1], 2) +
                          std::pow(c[0] - axes.mean[2], 2);
    EXPECT_NEAR(along * along + most * most, square, 0.05);
}

TEST(Gradient, AnEvenSlopeIsOneColour) {
    cv::Mat slope(200, 90, CV_8UC1);
    for (int y = 0; y < slope.rows; ++y)
        for (int x = 0; x < slope.cols; ++x) slope.ptr(y)[x] = static_cast<std::uint8_t>(2 * x + y / 4 * 0);
    const LuminanceGradient gradient = ComputeGradient(slope);
    for (const cv::Point inside : {cv::Point(1, 0), cv::Point(50, 64), cv::Point(88, 199)})
        EXPECT_EQ(gradient.map.at<cv::Vec2f>(inside), cv::Vec2f(2, 0));
    EXPECT_EQ(gradient.map.at<cv::Vec2f>(100, 0), cv::Vec2f(0, 0));  // mirrored at the border
    EXPECT_DOUBLE_EQ(gradient.maxMagnitude, 2.0);
    EXPECT_EQ(ComputeGradient(slope.t()).map.at<cv::Vec2f>(20, 30), cv::Vec2f(0, 2));
    const cv::Mat drawn = DrawGradient(gradient.map, 10.0);
    EXPECT_EQ(drawn.at<cv::Vec3b>(64, 50), cv::Vec3b(20, 128, 148));
    EXPECT_EQ(cv::countNonZero(drawn.colRange(1, 89).reshape(1) -
                               cv::repeat(drawn(cv::Rect(5, 5, 1, 1)), 200, 88).reshape(1)),
              0);
}

TEST(Levels, ABandIsStretched) {
    const cv::Mat ramp = Ramp(2);
    const cv::Mat swept = SweepLevels(ramp, 100, 51);  // 74.5 .. 125.5, five levels each
    const struct {
        int level, expected;
    } cases[] = {{0, 0}, {74, 0}, {75, 2}, {100, 128}, {125, 252}, {126, 255}, {255, 255}};
    for (const auto& c : cases) EXPECT_NEAR(swept.ptr(1)[c.level], c.expected, 1) << c.level;
    EXPECT_DOUBLE_EQ(ShareInBand(ramp, 100, 51), 51.0 / 256.0);
    EXPECT_DOUBLE_EQ(ShareInBand(Colour(100, 0, 0), 100, 2), 1.0);
    EXPECT_TRUE(IsEqual(SweepLevels(ramp, 127.5, 255), ramp));
    // A width of nothing is one level.
    EXPECT_EQ(SweepLevels(ramp, 10, -5).ptr(0)[10], 128);
}

TEST(Levels, LocalContrastBringsOutWhatIsFaint) {
    cv::Mat faint(128, 128, CV_8UC3, cv::Scalar::all(60));
    for (int x = 0; x < 128; x += 2) faint.col(x).setTo(cv::Scalar::all(62));
    cv::Scalar mean;
    cv::Scalar deviation;
    cv::meanStdDev(RaiseLocalContrast(faint, 40, 4), mean, deviation);
    EXPECT_GT(deviation[0], 10.0);
    // Flat stays flat, in every size.
    for (const int side : {1, 3, 200}) {
        const cv::Mat flat = RaiseLocalContrast(cv::Mat(side, side, CV_8UC1, cv::Scalar(90)), 4, 8);
        cv::meanStdDev(flat, mean, deviation);
        EXPECT_EQ(deviation[0], 0.0) << side;
    }
}

TEST(PixelStatistics, EveryPixelIsCounted) {
    cv::Mat picture = Colour(10, 20, 30, 10, 10);
    picture.at<cv::Vec3b>(3, 4) = {7, 7, 7};
    picture.at<cv::Vec3b>(5, 5) = {0, 255, 9};
    picture.at<cv::Vec3b>(6, 5) = {0, 255, 9};
    cv::Mat deep;
    picture.convertTo(deep, CV_16U, 257.0);
    cv::Mat withAlpha;
    cv::cvtColor(picture, withAlpha, cv::COLOR_BGR2BGRA);
    for (const cv::Mat& kind : {picture, deep, withAlpha}) {
        const PixelStatistics found = ComputePixelStatistics(kind);
        EXPECT_EQ(found.pixels, 100U);
        EXPECT_EQ(found.colours, 3U);
        EXPECT_EQ(found.coloursSeenOnce, 1U);
        EXPECT_EQ(found.map.at<std::uint8_t>(3, 4), 63 + kUniqueColour);
        EXPECT_EQ(found.map.at<std::uint8_t>(5, 5), kLargestGreen + kSmallestBlue + kSaturated);
        EXPECT_EQ(found.map.at<std::uint8_t>(0, 0), kLargestBlue + kSmallestRed);
        EXPECT_EQ(found.largest, (std::array<std::uint64_t, 3>{1, 3, 98}));
        EXPECT_EQ(found.smallest, (std::array<std::uint64_t, 3>{98, 1, 3}));
        EXPECT_EQ(found.atZero, (std::array<std::uint64_t, 3>{0, 0, 2}));
        EXPECT_EQ(found.atHighest, (std::array<std::uint64_t, 3>{0, 2, 0}));
        EXPECT_EQ(found.saturated, 2U);
    }
    EXPECT_EQ(ComputePixelStatistics(Ramp(1)).coloursSeenOnce, 256U);
    EXPECT_EQ(ComputePixelStatistics(Ramp(2)).coloursSeenOnce, 0U);
}

TEST(Profile, MeansOfTheRegion) {
    cv::Mat picture(100, 256, CV_8UC3);
    for (int y = 0; y < 100; ++y)
        for (int x = 0; x < 256; ++x)
            picture.at<cv::Vec3b>(y, x) =
                cv::Vec3b(static_cast<std::uint8_t>(x), static_cast<std::uint8_t>(y), 50);
    const LineProfile row =
        ComputeLineProfile(picture, cv::Rect(250, 10, 99, 80), ProfileDirection::AlongRow);
    EXPECT_EQ(row.first, 250);
    EXPECT_EQ(row.lines, 80);
    ASSERT_EQ(row.values[0].size(), 6U);
    EXPECT_DOUBLE_EQ(row.values[3][2], 252.0);
    EXPECT_DOUBLE_EQ(row.values[2][0], 49.5);
    EXPECT_DOUBLE_EQ(row.values[1][5], 50.0);
    EXPECT_NEAR(row.values[0][0], 0.299 * 50 + 0.587 * 49.5 + 0.114 * 250, 1e-4);
    const LineProfile column =
        ComputeLineProfile(picture, cv::Rect(2, 10, 2, 80), ProfileDirection::AlongColumn);
    EXPECT_EQ(column.first, 10);
    ASSERT_EQ(column.values[0].size(), 80U);
    EXPECT_DOUBLE_EQ(column.values[2][79], 89.0);
    EXPECT_DOUBLE_EQ(column.values[3][0], 2.5);
    EXPECT_THROW(ComputeLineProfile(picture, cv::Rect(256, 0, 5, 5), ProfileDirection::AlongRow),
                 ZorException);
}

TEST(Scatter, CountsAndTheLine) {
    cv::Mat picture(2, 100, CV_8UC3);
    for (int i = 0; i < 200; ++i)
        picture.at<cv::Vec3b>(i / 100, i % 100) =
            cv::Vec3b(200, static_cast<std::uint8_t>(2 * (i % 100) + 3), static_cast<std::uint8_t>(i % 100));
    const ChannelScatter scatter = ComputeScatter(picture, BitChannel::Red, BitChannel::Green);
    EXPECT_EQ(scatter.counts.at<int>(23, 10), 2);
    EXPECT_EQ(cv::sum(scatter.counts)[0], 200);
    EXPECT_NEAR(scatter.slope, 2.0, 1e-9);
    EXPECT_NEAR(scatter.offset, 3.0, 1e-9);
    EXPECT_NEAR(scatter.correlation, 1.0, 1e-9);
    const ChannelScatter flat = ComputeScatter(picture, BitChannel::Red, BitChannel::Blue);
    EXPECT_TRUE(std::isnan(flat.correlation));
    EXPECT_NEAR(flat.slope, 0.0, 1e-9);
}

TEST(Looking, OddPicturesHaveAResultOrAReasonAndThreadsChangeNothing) {
    // Every kind of picture through every function: the same bits on one thread and on three.
    const cv::Mat pictures[] = {cv::Mat(1, 1, CV_8UC1, cv::Scalar(7)),
                                cv::Mat(300, 1, CV_8UC3, cv::Scalar(1, 2, 3)),
                                cv::Mat(130, 70, CV_8UC3, cv::Scalar::all(255)),
                                Noise(301, 257, CV_8UC4),
                                Noise(90, 140, CV_16UC1),
                                Noise(33, 65, CV_16UC2),
                                Noise(270, 300, CV_16UC3),
                                Noise(5000, 20, CV_8UC3)};
    const std::function<cv::Mat(const cv::Mat&)> functions[] = {
        [](const cv::Mat& p) { return ExtractPlane(p, ColourSpace::Rgb, 1).map; },
        [](const cv::Mat& p) { return ExtractPlane(p, ColourSpace::Hsv, 0).map; },
        [](const cv::Mat& p) { return ExtractPlane(p, ColourSpace::Lab, 1).map; },
        [](const cv::Mat& p) { return ExtractPlane(p, ColourSpace::YCbCr, 2).map; },
        [](const cv::Mat& p) { return ExtractBitPlane(p, BitChannel::Luminance, 0).map; },
        [](const cv::Mat& p) { return ProjectOnAxis(p, FindColourAxes(p), 2); },
        [](const cv::Mat& p) { return ComputeGradient(p).map; },
        [](const cv::Mat& p) { return SweepLevels(p, 20, 9); },
        [](const cv::Mat& p) { return RaiseLocalContrast(p, 3, 8); },
        [](const cv::Mat& p) { return ComputePixelStatistics(p).map; },
        [](const cv::Mat& p) { return ComputeScatter(p, BitChannel::Luminance, BitChannel::Blue).counts; },
        [](const cv::Mat& p) { return SplitFrequencies(p, 0.1).high; },
        [](const cv::Mat& p) {
            return !p.empty() && (p.rows < 16 || p.cols < 16) ? cv::Mat()
                                                              : ComputeFourierSpectrum(p, {}, {}).magnitude;
        },
        [](const cv::Mat& p) { return ComputeRadialSpectrum(p).peakMap; }};
    for (const cv::Mat& picture : pictures) {
        int index = 0;
        for (const auto& function : functions) {
            cv::Mat one;
            cv::Mat three;
            {
                const Threads threads(1);
                one = function(picture);
            }
            {
                const Threads threads(3);
                three = function(picture);
            }
            EXPECT_TRUE((one.empty() && three.empty()) || IsEqual(one, three))
                << picture.size() << " function " << index;
            // Not a number is not equal to itself.
            EXPECT_TRUE(one.empty() || one.depth() != CV_32F || cv::checkRange(one)) << index;
            for (const cv::Mat& bad :
                 {cv::Mat(), cv::Mat(20, 20, CV_32F, cv::Scalar(0)), cv::Mat(20, 20, CV_8UC(5))})
                EXPECT_ANY_THROW(function(bad)) << index;
            ++index;
        }
    }
}

TEST(Looking, AnOrderToStopIsFollowed) {
    const cv::Mat picture = Noise(2000, 2000, CV_8UC3);
    const AnalysisProgress stop = [](double) { throw std::runtime_error("stop"); };
    EXPECT_THROW(ExtractPlane(picture, ColourSpace::Lab, 0, stop), std::runtime_error);
    EXPECT_THROW(ComputePixelStatistics(picture, stop), std::runtime_error);
    EXPECT_THROW(SplitFrequencies(picture, 0.1, stop), std::runtime_error);
    EXPECT_THROW(ComputeFourierSpectrum(picture, {}, {}, stop), std::runtime_error);
    EXPECT_THROW(ComputeRadialSpectrum(picture, stop), std::runtime_error);
}
