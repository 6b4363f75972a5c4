#include "orvcore/analysis/noisebrightness.h"

#include <gtest/gtest.h>

#include <cmath>
#include <opencv2/imgproc.hpp>

#include "tests/support/virtualcamera.h"
#include "zorbase/zorexception.h"

namespace {

// A ramp of levels 10..245 along x, every level as wide.
cv::Mat Ramp(cv::Size size) {
    cv::Mat scene(size, CV_32FC3);
    for (int x = 0; x < size.width; ++x) scene.col(x).setTo(cv::Scalar::all(10.0 + 235.0 * x / size.width));
    return scene;
}

}  // namespace

TEST(NoiseBrightnessTest, MeasuresTheSensorsLine) {
    const struct { double a, b; } cases[] = {{0.0, 4.0}, {0.05, 1.0}, {0.1, 4.0}, {0.02, 0.5}};
    for (const auto& c : cases) {
        VirtualCamera camera;
        camera.photonNoise = c.a;
        camera.readNoise = std::sqrt(c.b);
        cv::Mat grey;
        cv::extractChannel(TakePhoto(camera, Ramp({1000, 800}), 5), grey, 1);
        const NoiseBrightnessResult result = ComputeNoiseBrightness(grey);
        ASSERT_EQ(result.curve.size(), 12U);
        EXPECT_NEAR(result.slope, c.a, 0.012) << c.a << ' ' << c.b;
        EXPECT_NEAR(result.offset, c.b, 0.25 * c.b + 0.15) << c.a << ' ' << c.b;
        EXPECT_LT(result.fitError, 0.06);
    }
}

TEST(NoiseBrightnessTest, FindsAQuietPartAndNoneInAnUntouchedPicture) {
    VirtualCamera camera;
    camera.readNoise = 3.0;
    const cv::Size size(1024, 768);
    cv::Mat scene = MakeScene(SceneKind::Textured, size, 3);
    cv::GaussianBlur(scene, scene, {}, 1.0);
    const cv::Mat photo = TakePhoto(camera, scene, 3);
    const NoiseBrightnessResult untouched = ComputeNoiseBrightness(photo);
    EXPECT_NE(DecideNoiseBrightness(untouched, size).finding, Finding::StrongSign) << untouched.leastLogNfa;
    camera.readNoise = 2.0;
    const cv::Rect part(384, 128, 256, 256);
    const ForgedPhoto forged = Splice(photo, part, TakePhoto(camera, scene, 8), part.tl());
    const NoiseBrightnessResult result = ComputeNoiseBrightness(forged.image);
    EXPECT_EQ(DecideNoiseBrightness(result, size).finding, Finding::StrongSign) << result.leastLogNfa;
    EXPECT_GT((result.quietest & part).area(), 0.5 * part.area());
    const cv::Mat truth =
        MaskOnBlocks(forged.mask, result.map.values.size(), {256, 256}, {}, result.map.cell);
    EXPECT_GT(AreaUnderCurve(-result.map.values, truth), 0.95);
}

TEST(NoiseBrightnessTest, BinomialTail) {
    EXPECT_NEAR(Log10BinomialTail(10, 10, 0.3), 10 * std::log10(0.3), 1e-9);
    EXPECT_NEAR(Log10BinomialTail(3, 1, 0.3), std::log10(1 - 0.343), 1e-9);
    EXPECT_EQ(Log10BinomialTail(5, 0, 0.3), 0.0);
    EXPECT_LT(Log10BinomialTail(1000, 900, 0.3), -250.0);
}

TEST(NoiseBrightnessTest, OddInput) {
    for (const double level : {0.0, 100.0, 255.0}) {
        const cv::Mat flat(600, 900, CV_8UC3, cv::Scalar::all(level));
        const NoiseBrightnessResult result = ComputeNoiseBrightness(flat);
        EXPECT_EQ(DecideNoiseBrightness(result, flat.size()).finding, Finding::NotApplicable);
        EXPECT_EQ(result.map.KnownPart(), 0.0);
    }
    for (const cv::Mat& bad : {cv::Mat(), cv::Mat(80, 80, CV_16U), cv::Mat(63, 80, CV_8U)})
        EXPECT_THROW(ComputeNoiseBrightness(bad), ZorException);
}

// What is called worth a look, and the number that it is held against.
TEST(NoiseBrightnessTest, Thresholds) {
    const struct {
        double leastLogNfa;
        Finding finding;
        double threshold;
    } cases[] = {{-4.9, Finding::Nothing, kQuietHint},
                 {-5.1, Finding::WorthALook, kQuietHint},
                 {-17.9, Finding::WorthALook, kQuietHint},
                 {-18.1, Finding::StrongSign, kQuietStrong}};
    for (const auto& c : cases) {
        NoiseBrightnessResult result;
        result.leastLogNfa = c.leastLogNfa;
        const AnalysisDecision decision = DecideNoiseBrightness(result, {1000, 800});
        EXPECT_EQ(decision.finding, c.finding) << c.leastLogNfa;
        EXPECT_EQ(decision.threshold, c.threshold) << c.leastLogNfa;
    }
}
