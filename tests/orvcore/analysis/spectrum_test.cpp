#include "orvcore/analysis/spectrum.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <opencv2/imgproc.hpp>

#include "orvcore/analysis/radialspectrum.h"
#include "zorbase/zorexception.h"

namespace {

// 128 + amplitude cos(2 pi (fx x + fy y)) with noise.
cv::Mat Wave(int width, int height, double fx, double fy, double amplitude, double noise) {
    cv::Mat picture(height, width, CV_32F);
    cv::RNG random(3);
    random.fill(picture, cv::RNG::NORMAL, 128.0, noise);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            picture.ptr<float>(y)[x] +=
                static_cast<float>(amplitude * std::cos(2.0 * std::numbers::pi * (fx * x + fy * y)));
    picture.convertTo(picture, CV_8U);
    return picture;
}

// What a lens makes of noise: detail at all scales, less of the fine.
cv::Mat Texture(int width, int height, std::uint64_t seed) {
    cv::Mat sum(height, width, CV_32F, cv::Scalar(0));
    cv::RNG random(seed);
    for (double sigma = 1.0; sigma < 40.0; sigma *= 2.0) {
        cv::Mat layer(height, width, CV_32F);
        random.fill(layer, cv::RNG::NORMAL, 0.0, 12.0 * sigma);
        cv::GaussianBlur(layer, layer, cv::Size(), sigma);
        sum += layer;
    }
    cv::Mat fine(height, width, CV_32F);
    random.fill(fine, cv::RNG::NORMAL, 0.0, 1.5);
    cv::Mat picture;
    cv::Mat(sum + fine + 120.0).convertTo(picture, CV_8U);
    return picture;
}

}  // namespace

TEST(Spectrum, EqualsTheTransformWorkedOutDirectly) {
    // Odd and even sides: the packed order of the library has a case for each.
    for (const cv::Size size : {cv::Size(16, 16), cv::Size(27, 16), cv::Size(16, 27), cv::Size(25, 45)}) {
        cv::Mat picture(size, CV_8UC1);
        cv::RNG random(9);
        random.fill(picture, cv::RNG::UNIFORM, 0, 256);
        const FourierSpectrum spectrum = ComputeFourierSpectrum(picture, {}, {false, true});
        ASSERT_EQ(spectrum.region, cv::Rect(cv::Point(), size));
        const double mean = cv::mean(picture)[0];
        for (const cv::Point bin :
             {cv::Point(0, 0), cv::Point(size.width - 1, 3), cv::Point(size.width / 2, size.height - 1),
              cv::Point(5, size.height / 2), cv::Point(1, size.height - 2), cv::Point(0, 7)}) {
            std::complex<double> sum = 0;
            for (int y = 0; y < size.height; ++y)
                for (int x = 0; x < size.width; ++x)
                    sum += (picture.ptr(y)[x] - mean) *
                           std::polar(1.0,
                                      -2.0 * std::numbers::pi *
                                          (static_cast<double>((bin.x - size.width / 2) * x) / size.width +
                                           static_cast<double>((bin.y - size.height / 2) * y) / size.height));
            EXPECT_NEAR(spectrum.magnitude.at<float>(bin), std::log10(1.0 + std::abs(sum)), 1e-3)
                << size << bin;
            EXPECT_NEAR(std::remainder(spectrum.phase.at<float>(bin) - std::arg(sum), 2.0 * std::numbers::pi),
                        0.0, 1e-2)
                << size << bin;
        }
    }
}

TEST(Spectrum, APeriodIsFoundAndNoiseHasNone) {
    const FourierSpectrum wave = ComputeFourierSpectrum(Wave(640, 480, 0.2, 0.1, 6.0, 10.0), {}, {});
    ASSERT_FALSE(wave.peaks.empty());
    EXPECT_NEAR(wave.peaks[0].fx, 0.2, 0.002);
    EXPECT_NEAR(wave.peaks[0].fy, 0.1, 0.0025);
    EXPECT_FALSE(wave.peaks[0].isBlockGrid);
    EXPECT_GT(wave.peaks[0].prominenceDb, 30.0);
    const FourierSpectrum blocks = ComputeFourierSpectrum(Wave(640, 480, -0.125, 0.25, 6.0, 10.0), {}, {});
    ASSERT_FALSE(blocks.peaks.empty());
    EXPECT_NEAR(blocks.peaks[0].fx, -0.125, 0.002);
    EXPECT_TRUE(blocks.peaks[0].isBlockGrid);
    EXPECT_TRUE(ComputeFourierSpectrum(Wave(640, 480, 0, 0, 0, 10.0), {}, {}).peaks.empty());
    // White noise has the same power at every distance.
    const std::vector<double> radial = ComputeFourierSpectrum(Wave(640, 480, 0, 0, 0, 10.0), {}, {}).radialDb;
    EXPECT_NEAR(radial[100], radial[250], 1.5);
}

TEST(Spectrum, RegionAndSizes) {
    const cv::Mat picture = Wave(101, 67, 0.1, 0, 5, 3);
    const FourierSpectrum spectrum = ComputeFourierSpectrum(picture, cv::Rect(50, 20, 500, 23), {});
    EXPECT_EQ(spectrum.region, cv::Rect(50, 21, 50, 20));  // of 51 x 23
    EXPECT_THROW(ComputeFourierSpectrum(picture, cv::Rect(90, 0, 50, 50), {}), ZorException);
    const struct { int n, expected; } sizes[] = {{1, 1}, {7, 6}, {97, 96}, {4096, 4096}, {4097, 4096}};
    for (const auto& c : sizes) EXPECT_EQ(FftSizeWithin(c.n), c.expected);
}

TEST(FrequencySplit, HalfPassesAtTheCutoff) {
    // A wave of 0.1 cycles per pixel: half of it at that cutoff, nearly all at a high one, nothing at a low one.
    const cv::Mat wave = Wave(400, 300, 0.1, 0.0, 100.0, 0.0);
    const double whole = 100.0 / std::numbers::sqrt2;
    const struct {
        double cutoff, share;
    } cases[] = {{0.1, 0.5}, {0.5, std::exp(-std::numbers::ln2 * 0.04)}, {0.02, 0.0}, {0.0, 0.0}};
    for (const auto& c : cases) {
        const FrequencySplit split = SplitFrequencies(wave, c.cutoff);
        EXPECT_NEAR(split.lowDeviation / whole, c.share, 0.02) << c.cutoff;
        EXPECT_NEAR(split.highDeviation / whole, 1.0 - c.share, 0.02) << c.cutoff;
        cv::Mat levels;
        wave.convertTo(levels, CV_32F);
        EXPECT_LT(cv::norm(split.low + split.high, levels, cv::NORM_INF), 1e-3);
        // The other way round is the same.
        const FrequencySplit turned = SplitFrequencies(wave.t(), c.cutoff);
        EXPECT_LT(cv::norm(turned.low.t(), split.low, cv::NORM_INF), 2e-3);
    }
    const FrequencySplit flat = SplitFrequencies(cv::Mat(50, 3, CV_8UC3, cv::Scalar::all(90)), 0.05);
    EXPECT_LT(cv::norm(flat.high, cv::NORM_INF), 1e-3);
}

TEST(RadialSpectrum, EnlargementFallsAndUntouchedDoesNot) {
    const cv::Mat original = Texture(1024, 768, 1);
    const RadialSpectrum untouched = ComputeRadialSpectrum(original);
    ASSERT_TRUE(untouched.isApplicable);
    EXPECT_EQ(untouched.windows, 7 * 5);
    EXPECT_EQ(JudgeRadialSpectrum(untouched).sign, UpsamplingSign::None) << untouched.fallDb;
    cv::Mat larger;
    cv::resize(original, larger, cv::Size(), 3.0, 3.0, cv::INTER_CUBIC);
    const RadialSpectrum enlarged = ComputeRadialSpectrum(larger);
    EXPECT_GT(enlarged.dropDb, untouched.dropDb + 6.0);
    EXPECT_EQ(JudgeRadialSpectrum(enlarged).sign, UpsamplingSign::EnlargementHint) << enlarged.fallDb;
    // Bilinear, one and a half times: a peak at (1/3, 1/3).
    cv::resize(original, larger, cv::Size(), 1.5, 1.5, cv::INTER_LINEAR);
    const RadialSpectrum periodic = ComputeRadialSpectrum(larger);
    bool isFound = false;
    for (const SpectrumPeak& peak : periodic.peaks)
        isFound = isFound ||
                  (std::abs(std::abs(peak.fx) - 1.0 / 3.0) < 0.01 && std::abs(peak.fy - 1.0 / 3.0) < 0.01);
    EXPECT_TRUE(isFound);
}

TEST(RadialSpectrum, AnUnevenStrideLeavesAPeriodicTrace) {
    // A transposed convolution of stride 2 with an uneven kernel: every second column is lighter than its neighbours.
    cv::Mat picture = Texture(1024, 768, 2);
    for (int x = 0; x < picture.cols; x += 2) picture.col(x) += 4;
    const RadialSpectrum spectrum = ComputeRadialSpectrum(picture);
    ASSERT_FALSE(spectrum.peaks.empty());
    EXPECT_NEAR(spectrum.peaks[0].fx, 0.5, 0.005);
    EXPECT_NEAR(spectrum.peaks[0].fy, 0.0, 0.005);
    const UpsamplingVerdict verdict = JudgeRadialSpectrum(spectrum);
    EXPECT_EQ(verdict.sign, UpsamplingSign::PeriodicTrace);
    EXPECT_GE(verdict.measured, verdict.threshold);
}

TEST(RadialSpectrum, SaysWhenItDoesNotApply) {
    EXPECT_FALSE(ComputeRadialSpectrum(Texture(255, 400, 3)).isApplicable);
    const RadialSpectrum flat = ComputeRadialSpectrum(cv::Mat(300, 300, CV_8UC3, cv::Scalar::all(40)));
    EXPECT_FALSE(flat.isApplicable);
    EXPECT_EQ(flat.windowsSkipped, 1);
    EXPECT_FALSE(flat.whyNot.empty());
}
