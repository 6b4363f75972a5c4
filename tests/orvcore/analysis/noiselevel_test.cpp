#include "orvcore/analysis/noiselevel.h"

#include <gtest/gtest.h>

#include <cmath>

#include "orvcore/analysis/luminance.h"
#include "tests/support/virtualcamera.h"
#include "zorbase/zorexception.h"

namespace {

cv::Mat Even(double level, double sigma, cv::Size size = {512, 512}) {
    cv::Mat plane(size, CV_32F);
    cv::RNG random = SeededRandom(7);
    random.fill(plane, cv::RNG::NORMAL, level, sigma);
    return plane;
}

}  // namespace

TEST(NoiseLevelTest, MeasuresKnownNoise) {
    for (const double sigma : {0.5, 1.0, 2.0, 5.0, 10.0, 20.0}) {
        EXPECT_NEAR(ComputeNoiseLevel(Even(128, sigma)).median, sigma, 0.03 * sigma);
        // Whole levels add a variance of 1/12.
        cv::Mat rounded;
        Even(128, sigma).convertTo(rounded, CV_8U);
        rounded.convertTo(rounded, CV_32F);
        const double expected = std::sqrt(sigma * sigma + 1.0 / 12);
        EXPECT_NEAR(ComputeNoiseLevel(rounded).median, expected, 0.04 * expected);
    }
}

TEST(NoiseLevelTest, ShowsThePatchWithOtherNoise) {
    const cv::Mat photo = TakePhoto(OrdinaryCamera(1), SceneKind::Textured, {768, 512}, 3);
    const ForgedPhoto forged = SpliceNoise(photo, {256, 128, 256, 256}, 6.0, 9);
    const NoiseLevelResult result = ComputeNoiseLevel(ComputeLuminance(forged.image));
    ASSERT_EQ(result.map.values.size(), cv::Size(48, 32));
    const cv::Mat truth = MaskOnBlocks(forged.mask, {48, 32}, {16, 16}, result.map.origin);
    EXPECT_GT(AreaUnderCurve(result.map.values, truth), 0.9);
    EXPECT_EQ((result.loudest & cv::Rect(256, 128, 256, 256)).area(), result.loudest.area());
    EXPECT_GT(result.largestRatio, 1.5);
    const NoiseLevelResult untouched = ComputeNoiseLevel(ComputeLuminance(photo));
    EXPECT_NEAR(AreaUnderCurve(untouched.map.values, truth), 0.5, 0.2);
}

TEST(NoiseLevelTest, SaturatedCellsAreNotKnownAndCellsLieWhereTheySay) {
    cv::Mat plane = Even(128, 2.0, {200, 140});
    plane(cv::Rect(32, 48, 48, 32)).setTo(255);
    const NoiseLevelResult result = ComputeNoiseLevel(plane);
    ASSERT_EQ(result.map.values.size(), cv::Size(13, 9));
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 12; ++x)
            EXPECT_EQ(result.map.IsKnown(x, y), !cv::Rect(2, 3, 3, 2).contains({x, y})) << x << ' ' << y;
    EXPECT_NEAR(result.median, 2.0, 0.1);
    // Nothing known: no number is made up.
    const NoiseLevelResult none = ComputeNoiseLevel(cv::Mat(64, 64, CV_32F, cv::Scalar(255)));
    EXPECT_TRUE(std::isnan(none.median));
    EXPECT_TRUE(std::isnan(none.largestRatio));
    EXPECT_EQ(none.map.KnownPart(), 0.0);
}

TEST(NoiseLevelTest, BadInput) {
    for (const cv::Mat& bad :
         {cv::Mat(), cv::Mat(64, 64, CV_8U), cv::Mat(15, 64, CV_32F), cv::Mat(64, 15, CV_32F)})
        EXPECT_THROW(ComputeNoiseLevel(bad), ZorException);
}
