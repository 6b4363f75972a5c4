#include "orvcore/analysis/resampling.h"

#include <gtest/gtest.h>

#include <cmath>

#include "orvcore/analysis/luminance.h"
#include "tests/support/virtualcamera.h"
#include "zorbase/zorexception.h"

namespace {

ResamplingResult Analyse(const cv::Mat& photo) {
    return ComputeResampling(ComputeLuminance(photo));
}

cv::Mat Photo(SceneKind kind = SceneKind::Textured, std::uint64_t seed = 3) {
    return TakePhoto(OrdinaryCamera(seed), kind, {900, 700}, seed);
}

bool Allows(const ResamplingResult& result, double scale) {
    for (const ResamplingGuess& guess : result.guesses)
        if (std::abs(guess.scale - scale) < 0.02 * scale && guess.degrees == 0.0) return true;
    return false;
}

}  // namespace

TEST(ResamplingTest, FindsTheFrequencyAndTheScale) {
    const cv::Mat photo = Photo();
    const struct {
        double scale, frequency;
        PhotoInterpolation interpolation;
        int quality;  // 0: not compressed
    } cases[] = {
        {1.1, 0.0909, PhotoInterpolation::Bicubic, 0},   {1.25, 0.2, PhotoInterpolation::Bilinear, 0},
        {1.25, 0.2, PhotoInterpolation::Bicubic, 95},    {1.3333, 0.25, PhotoInterpolation::Bilinear, -1},
        {1.5, 0.3333, PhotoInterpolation::Bicubic, 98},  {1.7, 0.4118, PhotoInterpolation::Bicubic, 0},
        {1.7, 0.4118, PhotoInterpolation::Bilinear, 95}, {0.7, 0.4286, PhotoInterpolation::Bilinear, 0}};
    for (const auto& c : cases) {
        cv::Mat scaled = ResizePhoto(photo, c.scale, c.interpolation);
        if (c.quality > 0) scaled = ThroughJpeg(scaled, c.quality);
        const ResamplingResult result = Analyse(scaled);
        const AnalysisDecision decision = DecideResampling(result);
        if (c.quality < 0) {  // at a multiple of 1/8: shown, marked, not counted
            ASSERT_FALSE(result.peaks.empty());
            EXPECT_NEAR(std::max(result.peaks[0].fx, std::abs(result.peaks[0].fy)), c.frequency, 0.003);
            EXPECT_TRUE(result.peaks[0].isJpeg);
            EXPECT_NE(decision.finding, Finding::StrongSign);
            continue;
        }
        EXPECT_EQ(decision.finding, Finding::StrongSign) << c.scale << ": " << decision.measured;
        EXPECT_NEAR(result.best.fx, c.frequency, 0.003);
        EXPECT_TRUE(Allows(result, c.scale)) << c.scale;
    }
}

TEST(ResamplingTest, UntouchedScenesGiveNoStrongSign) {
    for (const SceneKind kind : {SceneKind::Textured, SceneKind::SmoothSky, SceneKind::Architecture,
                                 SceneKind::Bricks, SceneKind::TextPage, SceneKind::Lamps, SceneKind::Flat}) {
        const cv::Mat photo = TakePhoto(OrdinaryCamera(3), kind, {800, 760}, 4);
        for (const int quality : {0, 90, 75}) {
            const cv::Mat seen = quality == 0 ? photo : ThroughJpeg(photo, quality, PhotoSubsampling::Both);
            const AnalysisDecision decision = DecideResampling(Analyse(seen));
            EXPECT_NE(decision.finding, Finding::StrongSign)
                << static_cast<int>(kind) << " at " << quality << ": " << decision.measured << " foreign "
                << Analyse(seen).foreignPeaks;
        }
    }
}

TEST(ResamplingTest, RegularPatternsAreNoStrongSign) {
    // Windows at distances whose periods meet on both axes.
    const cv::Mat photo =
        ThroughJpeg(TakePhoto(OrdinaryCamera(1), SceneKind::Architecture, {1024, 768}, 1), 95);
    const ResamplingResult result = Analyse(photo);
    EXPECT_GT(result.best.pairStrength, kResamplingThreshold);
    EXPECT_EQ(DecideResampling(result).finding, Finding::WorthALook) << result.foreignPeaks;
}

TEST(ResamplingTest, TurningPutsPairsOffTheAxes) {
    const ResamplingResult result = Analyse(RotatePhoto(Photo(), 10.0));
    EXPECT_EQ(DecideResampling(result).finding, Finding::WorthALook);
    bool isFound = false;
    for (const ResamplingPeak& peak : result.peaks)
        for (const ResamplingGuess& guess : ScalesOfPeak(peak.fx, peak.fy))
            isFound |= std::abs(std::abs(guess.degrees) - 10.0) < 0.3 && std::abs(guess.scale - 1.0) < 0.01;
    EXPECT_TRUE(isFound);
}

TEST(ResamplingTest, MapShowsThePartThatWasScaled) {
    const ForgedPhoto forged = SpliceResampled(Photo(), {320, 192, 384, 384}, 1.3);
    const ResamplingResult result = Analyse(forged.image);
    const cv::Mat truth =
        MaskOnBlocks(forged.mask, result.map.values.size(), {256, 256}, {0, 0}, result.map.cell);
    EXPECT_GT(AreaUnderCurve(result.map.values, truth), 0.97);
    for (int y = 0; y < truth.rows; ++y) {
        for (int x = 0; x < truth.cols; ++x) {
            if (truth.at<std::uint8_t>(y, x) != 255) continue;
            EXPECT_NEAR(result.mapFrequency.at<float>(y, x), 0.2308, 0.006);
        }
    }
    // The cell's middle is its window's.
    EXPECT_EQ(result.map.origin.x + result.map.cell.width / 2, 128);
}

TEST(ResamplingTest, SmallFlatSaturatedAndWrongInput) {
    const ResamplingResult small = Analyse(Photo()(cv::Rect(0, 0, 200, 180)));
    EXPECT_TRUE(small.map.values.empty());
    EXPECT_EQ(DecideResampling(small).finding, Finding::NotApplicable);
    for (const double level : {0.0, 128.0, 255.0}) {
        const ResamplingResult flat = ComputeResampling(cv::Mat(300, 300, CV_32F, cv::Scalar(level)));
        EXPECT_EQ(DecideResampling(flat).finding, Finding::NotApplicable);
        EXPECT_EQ(flat.map.KnownPart(), level == 128.0 ? 1.0 : 0.0);
    }
    for (const cv::Mat& bad :
         {cv::Mat(), cv::Mat(80, 80, CV_8U), cv::Mat(63, 80, CV_32F), cv::Mat(80, 63, CV_32F)})
        EXPECT_THROW(ComputeResampling(bad), ZorException);
}
