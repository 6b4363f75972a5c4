#include "orvcore/analysis/medianfilter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <opencv2/imgproc.hpp>

#include "tests/support/virtualcamera.h"
#include "zorbase/zorexception.h"

namespace {

cv::Mat Green(const cv::Mat& photo) {
    cv::Mat plane;
    cv::extractChannel(photo, plane, 1);
    return plane;
}

cv::Mat Photo(SceneKind kind = SceneKind::Textured) {
    return TakePhoto(OrdinaryCamera(1), kind, {768, 640}, 4);
}

cv::Mat Median(const cv::Mat& photo, int side) {
    cv::Mat result;
    cv::medianBlur(photo, result, side);
    return result;
}

}  // namespace

TEST(MedianFilterTest, TellsMedianFiltersFromOthers) {
    cv::Mat blurred;
    cv::GaussianBlur(Photo(), blurred, {}, 1.0);
    const struct {
        const char* name;
        cv::Mat photo;
        Finding expected;
    } cases[] = {{"untouched", Photo(), Finding::Nothing},
                 {"median 3", Median(Photo(), 3), Finding::StrongSign},
                 {"median 5", Median(Photo(), 5), Finding::StrongSign},
                 {"Gaussian", blurred, Finding::Nothing},
                 {"sharpened", SharpenPhoto(Photo(), 1.0), Finding::Nothing},
                 {"compressed", ThroughJpeg(Photo(), 90), Finding::Nothing},
                 {"enlarged", ResizePhoto(Photo(), 1.3), Finding::Nothing},
                 {"flat", Photo(SceneKind::Flat), Finding::NotApplicable}};
    for (const auto& c : cases) {
        const MedianFilterResult result = ComputeMedianFilterTrace(Green(c.photo));
        EXPECT_EQ(DecideMedianFilter(result).finding, c.expected) << c.name << ": " << result.medianRatio;
    }
}

TEST(MedianFilterTest, CountsDifferences) {
    // A pattern of large contrast whose differences along rows are 0, 1, 0, 60 in turn, and none along columns.
    cv::Mat plane(64, 64, CV_8U);
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x)
            plane.at<std::uint8_t>(y, x) = static_cast<std::uint8_t>(x / 4 % 2 * 61 + 100 + (x % 4 > 1));
    const MedianFilterResult result = ComputeMedianFilterTrace(plane);
    // Of each four differences along rows two are 0 and one is 1; along columns all are 0.
    EXPECT_NEAR(result.zeroShare, 0.75, 0.01);
    EXPECT_NEAR(result.ratio, 2 * (2 + 4.0 * 63 / 64 * 64 / 63) / 1, 0.5);
    EXPECT_EQ(result.knownCells, 1);
}

TEST(MedianFilterTest, MapShowsTheFilteredPart) {
    const ForgedPhoto forged = SpliceMedian(Photo(), {256, 192, 256, 256}, 3);
    const MedianFilterResult result = ComputeMedianFilterTrace(Green(forged.image));
    cv::Mat truth = MaskOnBlocks(forged.mask, result.map.values.size(), {64, 64}, {});
    truth.setTo(128, result.map.known == 0);
    EXPECT_GT(AreaUnderCurve(result.map.values, truth), 0.99);
    EXPECT_EQ(DecideMedianFilter(result).finding, Finding::Nothing);  // the picture as a whole was not
}

TEST(MedianFilterTest, DrawingsAndStrongCompressionWereNotFiltered) {
    cv::Mat page(900, 700, CV_8U, cv::Scalar(255));
    for (int y = 40; y < 880; y += 28)
        cv::putText(page, "the quick brown fox jumps over the lazy dog", {20, y}, cv::FONT_HERSHEY_SIMPLEX,
                    0.7, cv::Scalar(0), 1, cv::LINE_AA);
    const MedianFilterResult drawn = ComputeMedianFilterTrace(page);
    EXPECT_GT(drawn.medianRatio, kMedianRatioThreshold) << "otherwise nothing is tried here";
    EXPECT_EQ(DecideMedianFilter(drawn).finding, Finding::NotApplicable) << drawn.medianRatio;
    const MedianFilterResult coarse = ComputeMedianFilterTrace(Green(ThroughJpeg(Photo(), 1)));
    EXPECT_NE(DecideMedianFilter(coarse).finding, Finding::StrongSign) << coarse.medianRatio;
}

TEST(MedianFilterTest, BadInput) {
    const MedianFilterResult white = ComputeMedianFilterTrace(cv::Mat(100, 100, CV_8U, cv::Scalar(255)));
    EXPECT_TRUE(std::isnan(white.ratio));
    EXPECT_TRUE(std::isnan(white.zeroShare));
    EXPECT_EQ(DecideMedianFilter(white).finding, Finding::NotApplicable);
    for (const cv::Mat& bad : {cv::Mat(), cv::Mat(64, 64, CV_8UC3), cv::Mat(15, 64, CV_8U)})
        EXPECT_THROW(ComputeMedianFilterTrace(bad), ZorException);
}
