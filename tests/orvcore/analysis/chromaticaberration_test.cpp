#include "orvcore/analysis/chromaticaberration.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/virtualcamera.h"
#include "zorbase/zorexception.h"

namespace {

const cv::Size kSize{1024, 768};

// A scene whose colours change together: displacement is measured against green.
cv::Mat GreyScene(std::uint64_t seed, cv::Size size = kSize) {
    const cv::Mat scene = MakeScene(SceneKind::Textured, size, seed);
    std::vector<cv::Mat> planes;
    cv::split(scene, planes);
    cv::Mat grey;
    cv::merge(std::vector<cv::Mat>{planes[1] * 0.9, planes[1], planes[1] * 0.95}, grey);
    return grey;
}

cv::Mat Photo(double red, double blue, std::uint64_t seed = 4) {
    VirtualCamera camera;
    camera.readNoise = 1.0;
    camera.redMagnification = red;
    camera.blueMagnification = blue;
    return TakePhoto(camera, GreyScene(seed), seed);
}

}  // namespace

TEST(ChromaticAberrationTest, MeasuresMagnificationAndCentre) {
    for (const double alpha : {0.999, 1.0005, 1.001, 1.002}) {
        const ChromaticAberrationResult result = ComputeChromaticAberration(Photo(alpha, 2.0 - alpha));
        const double expected[] = {alpha, 2.0 - alpha};
        for (std::size_t i = 0; i < 2; ++i) {
            const AberrationOfColour& colour = result.colours[i];
            ASSERT_TRUE(colour.isFitted);
            EXPECT_NEAR(colour.alpha, expected[i], 2e-4);
            EXPECT_NEAR(colour.atCorner, std::abs(expected[i] - 1) * 640, 0.15);
            EXPECT_LT(colour.rms, 0.12);
            if (std::abs(alpha - 1) < 0.0009) continue;  // the less magnification, the less a centre
            EXPECT_NEAR(colour.centre.x, 511.5, 40);
            EXPECT_NEAR(colour.centre.y, 383.5, 40);
        }
        EXPECT_EQ(DecideChromaticAberration(result).finding, Finding::Nothing);
    }
}

TEST(ChromaticAberrationTest, CompressionDrawsTheMagnificationTowardsOne) {
    const cv::Mat photo = Photo(1.002, 1.0);
    const double before = ComputeChromaticAberration(photo).colours[0].alpha - 1;
    const double after = ComputeChromaticAberration(ThroughJpeg(photo, 85)).colours[0].alpha - 1;
    EXPECT_LT(after, before);
    EXPECT_GT(after, 0.2 * before);
}

TEST(ChromaticAberrationTest, FindsThePartFromTheOtherCorner) {
    const cv::Mat photo = Photo(1.003, 1.0);
    const cv::Rect part(700, 480, 256, 256);
    const ForgedPhoto forged = Splice(photo, part, Photo(1.003, 1.0, 9), {20, 20});
    const ChromaticAberrationResult result = ComputeChromaticAberration(forged.image);
    const AberrationOfColour& red = result.colours[0];
    ASSERT_TRUE(red.isFitted);
    cv::Mat truth = MaskOnBlocks(forged.mask, red.deviation.values.size(), {64, 64}, {}, {32, 32});
    truth.setTo(128, red.deviation.known == 0);
    EXPECT_GT(AreaUnderCurve(red.deviation.values, truth), 0.95);
    EXPECT_GT((red.deviating & part).area(), 0.5 * part.area());
    EXPECT_EQ(DecideChromaticAberration(result).finding, Finding::WorthALook) << red.largestDeviation;
    EXPECT_LT(result.colours[1].largestDeviation, 0.8);
}

TEST(ChromaticAberrationTest, OddInput) {
    for (const double level : {0.0, 120.0, 255.0}) {
        const ChromaticAberrationResult flat =
            ComputeChromaticAberration(cv::Mat(300, 300, CV_8UC3, cv::Scalar::all(level)));
        EXPECT_EQ(DecideChromaticAberration(flat).finding, Finding::NotApplicable);
        EXPECT_EQ(flat.colours[0].deviation.KnownPart(), 0.0);
    }
    for (const cv::Mat& bad : {cv::Mat(), cv::Mat(300, 300, CV_8U), cv::Mat(127, 300, CV_8UC3)})
        EXPECT_THROW(ComputeChromaticAberration(bad), ZorException);
}
