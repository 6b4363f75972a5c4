#include "orvcore/analysis/contrast.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <opencv2/imgproc.hpp>

#include "tests/support/virtualcamera.h"
#include "zorbase/zorexception.h"

namespace {

cv::Mat Curve(const cv::Mat& photo, const std::function<double(double)>& curve) {
    cv::Mat table(1, 256, CV_8U);
    for (int i = 0; i < 256; ++i)
        table.at<std::uint8_t>(i) = cv::saturate_cast<std::uint8_t>(255.0 * curve(i / 255.0));
    cv::Mat changed;
    cv::LUT(photo, table, changed);
    return changed;
}

cv::Mat Photo(SceneKind kind = SceneKind::Textured) {
    return TakePhoto(OrdinaryCamera(1), kind, {800, 600}, 4);
}

}  // namespace

TEST(ContrastTest, FindsCurvesUntilTheyAreCompressed) {
    const struct {
        const char* name;
        std::function<double(double)> curve;
        bool isFound;
    } cases[] = {{"none", [](double v) { return v; }, false},
                 {"gamma 0.7", [](double v) { return std::pow(v, 0.7); }, true},
                 {"gamma 1.4", [](double v) { return std::pow(v, 1.4); }, true},
                 {"times 1.3", [](double v) { return 1.3 * v; }, true},
                 {"S", [](double v) { return v * v * (3 - 2 * v); }, true},
                 {"times 0.8", [](double v) { return 0.8 * v; }, false}};
    const cv::Mat photo = Photo();
    const double untouched = ComputeContrast(photo).channels[1].fourier;
    for (const auto& c : cases) {
        const cv::Mat changed = Curve(photo, c.curve);
        const ContrastResult result = ComputeContrast(changed);
        EXPECT_EQ(DecideContrast(result).finding, c.isFound ? Finding::StrongSign : Finding::Nothing)
            << c.name;
        EXPECT_EQ(DecideContrast(ComputeContrast(ThroughJpeg(changed, 90))).finding, Finding::Nothing)
            << c.name;
        if (c.name != std::string("none")) {
            EXPECT_GT(result.channels[1].fourier, 3 * untouched) << c.name;
        }
    }
    // Where levels are joined there are peaks instead of gaps.
    const ContrastResult joined = ComputeContrast(Curve(photo, [](double v) { return 0.8 * v; }));
    EXPECT_GT(joined.channels[1].peaks.size(), 10U);
    EXPECT_TRUE(joined.channels[1].gaps.empty());
}

TEST(ContrastTest, NamesTheGaps) {
    // Levels 100..149 without 110 and 130; the two outermost levels of the range are no gaps.
    cv::Mat image(400, 400, CV_8U);
    for (int i = 0; i < static_cast<int>(image.total()); ++i) {
        const int level = 100 + i % 50;
        image.data[i] = static_cast<std::uint8_t>(level == 110 || level == 130 ? 105 : level);
    }
    const ContrastResult result = ComputeContrast(image);
    ASSERT_EQ(result.channels.size(), 1U);
    EXPECT_EQ(result.channels[0].gaps, (std::vector<int>{110, 130}));
    EXPECT_EQ(result.channels[0].peaks, std::vector<int>{105});
    EXPECT_EQ(result.channels[0].first, 100);
    EXPECT_EQ(result.channels[0].last, 149);
    EXPECT_EQ(DecideContrast(result).finding, Finding::Nothing);
}

TEST(ContrastTest, UntouchedScenesGiveNoSign) {
    for (const SceneKind kind : {SceneKind::SmoothSky, SceneKind::Architecture, SceneKind::TextPage,
                                 SceneKind::Lamps, SceneKind::Flat, SceneKind::Bricks}) {
        EXPECT_NE(DecideContrast(ComputeContrast(Photo(kind))).finding, Finding::StrongSign)
            << static_cast<int>(kind);
    }
}

TEST(ContrastTest, MapShowsThePartWithTheCurve) {
    const cv::Mat photo = Photo(SceneKind::Flat);
    ForgedPhoto forged{photo.clone(), cv::Mat::zeros(photo.size(), CV_8U)};
    const cv::Rect part(256, 128, 256, 256);
    Curve(photo(part), [](double v) { return 1.5 * v - 0.2; }).copyTo(forged.image(part));
    forged.mask(part).setTo(255);
    const ContrastResult result = ComputeContrast(forged.image, 128);
    ASSERT_EQ(result.map.values.size(), cv::Size(6, 4));
    EXPECT_GT(AreaUnderCurve(result.map.values, MaskOnBlocks(forged.mask, {6, 4}, {128, 128}, {})), 0.99);
}

// Their levels are missing from the start; a curve makes gaps between levels that are as full as their neighbours.
TEST(ContrastTest, DrawingsPalettesAndStrongCompressionAreNoCurve) {
    cv::Mat page(900, 700, CV_8UC3, cv::Scalar::all(255));
    for (int y = 40; y < 880; y += 28)
        cv::putText(page, "the quick brown fox jumps over the lazy dog", {20, y}, cv::FONT_HERSHEY_SIMPLEX,
                    0.7, cv::Scalar::all(0), 1, cv::LINE_AA);
    const cv::Mat palette = Curve(Photo(), [](double v) { return std::round(v * 5) / 5; });
    const std::pair<const char*, cv::Mat> cases[] = {
        {"page", page}, {"palette", palette}, {"quality 1", ThroughJpeg(Photo(), 1)}};
    for (const auto& [name, picture] : cases)
        EXPECT_NE(DecideContrast(ComputeContrast(picture)).finding, Finding::StrongSign) << name;
    const ContrastResult paper = ComputeContrast(page);
    EXPECT_GE(paper.channels[0].gaps.size(), 3U) << "otherwise nothing is tried here";
    EXPECT_EQ(DecideContrast(paper).finding, Finding::NotApplicable);
    for (const double gamma : {0.7, 0.9, 1.4}) {
        const ContrastResult curved =
            ComputeContrast(Curve(Photo(), [gamma](double v) { return std::pow(v, gamma); }));
        EXPECT_FALSE(curved.channels[1].IsDrawn()) << gamma << ' ' << curved.channels[1].roughness;
    }
}

TEST(ContrastTest, OddInput) {
    for (const cv::Mat& image :
         {cv::Mat(1, 1, CV_8U, cv::Scalar(7)), cv::Mat(500, 500, CV_8UC3, cv::Scalar::all(255))}) {
        const AnalysisDecision decision = DecideContrast(ComputeContrast(image));
        EXPECT_EQ(decision.finding, Finding::NotApplicable);
        EXPECT_FALSE(decision.text.empty());
    }
    EXPECT_THROW(ComputeContrast(cv::Mat()), ZorException);
    EXPECT_THROW(ComputeContrast(cv::Mat(9, 9, CV_16U)), ZorException);
    EXPECT_THROW(ComputeContrast(cv::Mat(9, 9, CV_8U), 16), ZorException);
}
