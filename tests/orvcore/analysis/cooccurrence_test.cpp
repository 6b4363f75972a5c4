#include "orvcore/analysis/cooccurrence.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "orvcore/analysis/luminance.h"
#include "tests/support/virtualcamera.h"
#include "zorbase/zorexception.h"

namespace {

VirtualCamera OtherModel() {
    VirtualCamera camera = OrdinaryCamera(2);
    camera.demosaicing = PhotoDemosaicing::Bilinear;
    camera.sharpening = 0.0;
    camera.denoising = 6.0;
    return camera;
}

}  // namespace

TEST(CooccurrenceTest, ShowsThePartFromAnotherModel) {
    const cv::Size size(768, 640);
    const cv::Rect part(256, 192, 256, 256);
    for (const int quality : {0, 95}) {
        const cv::Mat photo = TakePhoto(OrdinaryCamera(1), SceneKind::Textured, size, 4);
        ForgedPhoto forged =
            Splice(photo, part, TakePhoto(OtherModel(), SceneKind::Textured, size, 5), {128, 128});
        if (quality > 0) forged.image = ThroughJpeg(forged.image, quality);
        const CooccurrenceResult result = ComputeCooccurrence(ComputeLuminance(forged.image));
        ASSERT_FALSE(result.map.values.empty());
        const cv::Mat truth = MaskOnBlocks(forged.mask, result.map.values.size(), {64, 64}, {32, 32}, {8, 8});
        // Which of the two classes is the other one is a guess: either sign counts.
        const double area = AreaUnderCurve(result.map.values, truth);
        EXPECT_GT(std::max(area, 1.0 - area), 0.95) << quality;
        // A large part is absorbed by the one Gaussian once it was compressed with the rest.
        if (quality == 0) {
            EXPECT_GT(AreaUnderCurve(result.outliers.values, truth), 0.85);
        }
        EXPECT_LE(result.otherShare, 0.5);
    }
}

TEST(CooccurrenceTest, BlocksLieWhereTheySayAndSaturatedOnesAreNotKnown) {
    cv::Mat luminance = ComputeLuminance(TakePhoto(OrdinaryCamera(1), SceneKind::Textured, {512, 400}, 4));
    luminance(cv::Rect(0, 0, 200, 200)).setTo(255);
    const CooccurrenceResult result = ComputeCooccurrence(luminance);
    ASSERT_EQ(result.map.values.size(), cv::Size(64 - 15, 50 - 15));
    EXPECT_EQ(result.map.origin, cv::Point(60, 60));
    EXPECT_FALSE(result.map.IsKnown(0, 0));
    EXPECT_TRUE(result.map.IsKnown(30, 5));
    for (int y = 0; y < result.map.values.rows; ++y)
        for (int x = 0; x < result.map.values.cols; ++x)
            ASSERT_TRUE(std::isfinite(result.map.values.at<float>(y, x)));
}

TEST(CooccurrenceTest, OddInput) {
    EXPECT_TRUE(ComputeCooccurrence(cv::Mat(255, 900, CV_32F, cv::Scalar(90))).map.values.empty());
    EXPECT_TRUE(ComputeCooccurrence(cv::Mat(600, 600, CV_32F, cv::Scalar(255))).map.values.empty());
    // One level everywhere: nothing to tell apart, and nothing that is not a number.
    const CooccurrenceResult flat = ComputeCooccurrence(cv::Mat(600, 600, CV_32F, cv::Scalar(90)));
    EXPECT_TRUE(cv::checkRange(flat.map.values));
    EXPECT_TRUE(cv::checkRange(flat.outliers.values));
    EXPECT_THROW(ComputeCooccurrence(cv::Mat()), ZorException);
    EXPECT_THROW(ComputeCooccurrence(cv::Mat(300, 300, CV_8U)), ZorException);
}
