#include "orvcore/analysis/cameranoisemap.h"

#include <gtest/gtest.h>

#include "orvcore/analysis/fingerprintmatch.h"
#include "tests/support/virtualcamera.h"
#include "zorbase/zorexception.h"

namespace {

const cv::Size kSize{768, 512};

CameraResidual Cleaned(const cv::Mat& photo) {
    CameraResidual residual = ComputeCameraResidual(photo);
    CleanResidual(residual);
    return residual;
}

const cv::Mat& Pattern() {
    static const cv::Mat pattern = [] {
        FingerprintMaker maker;
        for (std::uint64_t i = 0; i < 15; ++i)
            maker.Add(TakePhoto(OrdinaryCamera(1), SceneKind::Flat, kSize, i));
        return maker.Finish().pattern;
    }();
    return pattern;
}

}  // namespace

TEST(CameraNoiseMapTest, ShowsThePartFromAnotherCamera) {
    const cv::Rect part(256, 128, 256, 224);
    const cv::Mat other = TakePhoto(OrdinaryCamera(2), SceneKind::Textured, kSize, 21);
    for (const int quality : {0, 90}) {
        const cv::Mat photo = TakePhoto(OrdinaryCamera(1), SceneKind::Textured, kSize, 20);
        ForgedPhoto forged = Splice(photo, part, other, part.tl());
        if (quality > 0) forged.image = ThroughJpeg(forged.image, quality);
        const CameraResidual residual = Cleaned(forged.image);
        const CameraNoiseMapResult result = ComputeCameraNoiseMap(residual, Pattern(), 97);
        cv::Mat truth = MaskOnBlocks(forged.mask, result.map.values.size(), {80, 80}, {-32, -32}, {16, 16});
        truth.setTo(128, result.map.known == 0);
        EXPECT_GT(AreaUnderCurve(result.map.values, truth), 0.95) << quality;
        const AnalysisDecision decision =
            DecideCameraNoiseMap(result, TestAligned(residual, Pattern()).isMatch);
        EXPECT_EQ(decision.finding, Finding::WorthALook) << quality << ": " << decision.measured;
        EXPECT_GT((result.missing & part).area(), 0.5 * part.area());
        EXPECT_LT((result.missing & part).area() * -1.0 + result.missing.area(), 0.7 * part.area());
    }
}

TEST(CameraNoiseMapTest, DarkAndSmoothAndBusyPlacesDoNotCryWolf) {
    for (const SceneKind kind : {SceneKind::Textured, SceneKind::SmoothSky, SceneKind::Lamps,
                                 SceneKind::Architecture, SceneKind::TextPage}) {
        const CameraResidual residual = Cleaned(TakePhoto(OrdinaryCamera(1), kind, kSize, 30));
        const CameraNoiseMapResult result = ComputeCameraNoiseMap(residual, Pattern(), 97);
        EXPECT_NE(DecideCameraNoiseMap(result, true).finding, Finding::WorthALook)
            << static_cast<int>(kind) << ": " << result.missingCells;
    }
}

TEST(CameraNoiseMapTest, AnotherCamerasPictureIsNotMapped) {
    const CameraResidual residual = Cleaned(TakePhoto(OrdinaryCamera(2), SceneKind::SmoothSky, kSize, 30));
    const CameraNoiseMapResult result = ComputeCameraNoiseMap(residual, Pattern(), 97);
    EXPECT_EQ(DecideCameraNoiseMap(result, TestAligned(residual, Pattern()).isMatch).finding,
              Finding::NotApplicable);
    // By chance: mean 0, deviation 1 / window.
    cv::Scalar mean, deviation;
    cv::meanStdDev(result.correlation, mean, deviation);
    EXPECT_NEAR(mean[0], 0.0, 0.01);
    EXPECT_NEAR(deviation[0], 1.0 / result.window, 0.5 / result.window);
}

TEST(CameraNoiseMapTest, ThreadsAndBadInput) {
    const CameraResidual residual = Cleaned(TakePhoto(OrdinaryCamera(1), SceneKind::Lamps, kSize, 30));
    SetAnalysisThreads(1);
    const cv::Mat one = ComputeCameraNoiseMap(residual, Pattern()).map.values;
    SetAnalysisThreads(3);
    const cv::Mat three = ComputeCameraNoiseMap(residual, Pattern()).map.values;
    SetAnalysisThreads(0);
    EXPECT_EQ(cv::norm(one, three, cv::NORM_INF), 0.0);
    for (const int window : {0, 31, 64, 259})
        EXPECT_THROW(ComputeCameraNoiseMap(residual, Pattern(), window), ZorException);
    EXPECT_THROW(ComputeCameraNoiseMap(residual, cv::Mat(64, 64, CV_32F, cv::Scalar(1)), 97), ZorException);
    EXPECT_THROW(ComputeCameraNoiseMap(residual, cv::Mat(), 97), ZorException);
    // A saturated picture: nothing known, no decision.
    const CameraResidual white = ComputeCameraResidual(cv::Mat(kSize, CV_8UC3, cv::Scalar::all(255)));
    const CameraNoiseMapResult none = ComputeCameraNoiseMap(white, Pattern());
    EXPECT_EQ(none.map.KnownPart(), 0.0);
    EXPECT_EQ(DecideCameraNoiseMap(none, true).finding, Finding::NotApplicable);
}
