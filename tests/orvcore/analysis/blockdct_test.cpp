#include "orvcore/analysis/blockdct.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <numbers>
#include <stdexcept>

#include "orvcore/analysis/luminance.h"
#include "zorbase/zorexception.h"

namespace {

cv::Mat Noise(int rows, int cols, int type, double high) {
    cv::Mat noise(rows, cols, type);
    cv::RNG random(7);
    random.fill(noise, cv::RNG::UNIFORM, 0.0, high);
    return noise;
}

// The definition, term by term, in double precision.
double Coefficient(const cv::Mat& plane, int left, int top, int u, int v, double level) {
    const auto scale = [](int k) { return k == 0 ? std::sqrt(0.125) : 0.5; };
    double sum = 0.0;
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 8; ++x) {
            sum += (plane.at<float>(top + y, left + x) - level) *
                   std::cos((2 * x + 1) * u * std::numbers::pi / 16) *
                   std::cos((2 * y + 1) * v * std::numbers::pi / 16);
        }
    }
    return scale(u) * scale(v) * sum;
}

}  // namespace

TEST(BlockDct, IsTheDefinitionOnEveryGrid) {
    const cv::Mat plane = Noise(45, 39, CV_32FC1, 255.0);
    for (const cv::Point origin : {cv::Point(0, 0), cv::Point(7, 0), cv::Point(3, 5), cv::Point(7, 7)}) {
        cv::Mat coefficients;
        ForwardBlockDct(plane, origin, coefficients, 128.0F);
        ASSERT_EQ(coefficients.cols, (39 - origin.x) / 8 * 8);
        ASSERT_EQ(coefficients.rows, (45 - origin.y) / 8 * 8);
        for (int y = 0; y < coefficients.rows; ++y) {
            for (int x = 0; x < coefficients.cols; ++x) {
                ASSERT_NEAR(
                    coefficients.at<float>(y, x),
                    Coefficient(plane, origin.x + x / 8 * 8, origin.y + y / 8 * 8, x % 8, y % 8, 128.0), 1e-3)
                    << x << ' ' << y;
            }
        }
    }
}

TEST(BlockDct, ComesBackInPlaceAndElsewhere) {
    const cv::Mat plane = Noise(160, 88, CV_32FC1, 255.0);
    cv::Mat coefficients;
    ForwardBlockDct(plane, {}, coefficients, 128.0F);
    cv::Mat back;
    InverseBlockDct(coefficients, back, 128.0F);
    EXPECT_LT(cv::norm(plane, back, cv::NORM_INF), 1e-3);
    cv::Mat same = plane.clone();
    ForwardBlockDct(same, {}, same, 128.0F);
    EXPECT_EQ(cv::norm(same, coefficients, cv::NORM_INF), 0.0);
    InverseBlockDct(same, same, 128.0F);
    EXPECT_EQ(cv::norm(same, back, cv::NORM_INF), 0.0);
    EXPECT_THROW(InverseBlockDct(plane.colRange(0, 81), back, 0.0F), cv::Exception);
}

TEST(BlockDct, TooSmallForABlock) {
    cv::Mat coefficients;
    for (const cv::Size size : {cv::Size(1, 1), cv::Size(7, 100), cv::Size(100, 3)}) {
        ForwardBlockDct(cv::Mat(size, CV_32FC1, cv::Scalar(3)), {5, 5}, coefficients, 0.0F);
        EXPECT_TRUE(coefficients.empty());
    }
}

TEST(BlockDct, ThreadsAndStopping) {
    const cv::Mat plane = Noise(800, 640, CV_32FC1, 255.0);
    cv::Mat expected;
    for (const int threads : {1, 2, 8}) {
        SetAnalysisThreads(threads);
        cv::Mat coefficients;
        ForwardBlockDct(plane, {1, 2}, coefficients, 128.0F);
        if (expected.empty()) expected = coefficients;
        EXPECT_EQ(cv::norm(expected, coefficients, cv::NORM_INF), 0.0);
    }
    SetAnalysisThreads(0);
    EXPECT_THROW(ForwardBlockDct(plane, {}, expected, 0.0F, [](double) { throw std::runtime_error("stop"); }),
                 std::runtime_error);
}

TEST(BlockDct, PaddingRepeatsTheEdges) {
    cv::Mat plane = Noise(5, 11, CV_32FC1, 255.0);
    const cv::Mat padded = PadToBlocks(plane);
    ASSERT_EQ(padded.size(), cv::Size(16, 8));
    EXPECT_EQ(padded.at<float>(7, 15), plane.at<float>(4, 10));
    EXPECT_EQ(padded.at<float>(2, 12), plane.at<float>(2, 10));
    EXPECT_EQ(PadToBlocks(padded).data, padded.data);
}

TEST(Luminance, AllKindsOfPictures) {
    for (const int depth : {CV_8U, CV_16U}) {
        for (int channels = 1; channels <= 4; ++channels) {
            // 37 columns: two vectors and a rest.
            const cv::Mat image =
                Noise(3, 37, CV_MAKETYPE(depth, channels), depth == CV_8U ? 256.0 : 65536.0);
            const cv::Mat luminance = ComputeLuminance(image);
            ASSERT_EQ(luminance.type(), CV_32FC1);
            for (int y = 0; y < image.rows; ++y) {
                for (int x = 0; x < image.cols; ++x) {
                    const auto level = [&](int c) {
                        const int at = x * channels + c;
                        return depth == CV_8U ? image.ptr<std::uint8_t>(y)[at]
                                              : image.ptr<std::uint16_t>(y)[at] / 257.0;
                    };
                    const double expected =
                        channels < 3 ? level(0) : 0.114 * level(0) + 0.587 * level(1) + 0.299 * level(2);
                    ASSERT_NEAR(luminance.at<float>(y, x), expected, 1e-4)
                        << depth << ' ' << channels << ' ' << x;
                }
            }
        }
    }
    EXPECT_THROW(ComputeLuminance(cv::Mat()), ZorException);
    EXPECT_THROW(ComputeLuminance(cv::Mat(4, 4, CV_32FC3)), ZorException);
}
