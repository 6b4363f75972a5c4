#include "orvcore/analysis/dcthistogram.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "orvcore/analysis/firstdigitlaw.h"

namespace {

// Coefficients as photographs have them (Laplace), saved with the steps in turn; between two savings the pixels are
// rounded, which adds noise. Of every block all are made, or only those of the frequency 1, 0.
cv::Mat Saved(const std::vector<int>& steps, int blocks, bool onlyOne) {
    std::mt19937 random(5);
    std::exponential_distribution<double> size(1 / 24.0);
    std::normal_distribution<double> rounding(0, 0.29);
    cv::Mat coefficients(8 * blocks, 8 * blocks, CV_16SC1, cv::Scalar(0));
    for (int y = 0; y < coefficients.rows; y += onlyOne ? 8 : 1)
        for (int x = onlyOne ? 1 : 0; x < coefficients.cols; x += onlyOne ? 8 : 1) {
            double value = size(random) * ((random() & 1) != 0 ? 1 : -1);
            int quantised = 0;
            for (const int step : steps) {
                quantised = static_cast<int>(std::lround(value / step));
                value = quantised * step + rounding(random);
            }
            coefficients.at<std::int16_t>(y, x) = static_cast<std::int16_t>(quantised);
        }
    return coefficients;
}

DctTraces Traces(const std::vector<int>& steps) {
    return FindDctTraces(ComputeDctHistogram(Saved(steps, 160, true), 1, 0, 80));
}

TEST(DctHistogram, CountsOneFrequencyOfTheChosenBlocks) {
    cv::Mat coefficients(16, 24, CV_16SC1, cv::Scalar(0));
    coefficients.at<std::int16_t>(3, 2) = 5;  // block 0, 0: u 2, v 3
    coefficients.at<std::int16_t>(8 + 3, 16 + 2) = -5;
    coefficients.at<std::int16_t>(3, 8 + 2) = 99;  // beyond the bins
    coefficients.at<std::int16_t>(2, 3) = 7;       // another frequency
    const DctHistogram all = ComputeDctHistogram(coefficients, 2, 3, 10);
    EXPECT_EQ(all.At(5), 1);
    EXPECT_EQ(all.At(-5), 1);
    EXPECT_EQ(all.At(7), 0);
    EXPECT_EQ(all.At(0), 3);
    EXPECT_EQ(all.At(99), 0);
    EXPECT_EQ(all.total, 6);
    const DctHistogram part = ComputeDctHistogram(coefficients, 2, 3, 10, {1, 1, 9, 9});
    EXPECT_EQ(part.At(-5), 1);
    EXPECT_EQ(part.At(5), 0);
    EXPECT_EQ(part.total, 2);
}

// The published formula, worked out by hand for 5 and 2: two of five bins are empty.
TEST(DctHistogram, CountsOfTwoQuantisations) {
    const std::vector<int> counts = DoubleQuantisationCounts(5, 2, 5);
    const std::vector<int> expected = {5, 0, 5, 5, 0, 5, 0, 5, 5, 0, 5};
    EXPECT_EQ(counts, expected);
    for (const int count : DoubleQuantisationCounts(1, 7, 20)) EXPECT_GE(count, 7);
}

TEST(DctHistogram, SecondSavingLeavesItsPeriod) {
    const struct {
        std::vector<int> steps;
        double period;  // bins, 0: none to be seen
    } cases[] = {{{2}, 0},    {{6}, 0},      {{4, 1}, 4},   {{5, 1}, 5}, {{9, 2}, 4.5}, {{10, 2}, 5},
                 {{8, 2}, 4}, {{7, 2}, 3.5}, {{12, 1}, 12}, {{2, 6}, 0}, {{5, 5}, 0},   {{3, 2}, 3}};
    for (const auto& c : cases) {
        const DctTraces traces = Traces(c.steps);
        const std::string what = std::to_string(c.steps[0]) + " then " + std::to_string(c.steps.back());
        if (c.period == 0) {
            EXPECT_EQ(traces.period, 0) << what << ", strength " << traces.strength;
            EXPECT_EQ(traces.emptyBins, 0) << what;
            EXPECT_TRUE(traces.gaps.empty()) << what;
        } else {
            // 3/2 may be told by its first harmonic too.
            const double ratio = c.period / std::max(traces.period, 1e-9);
            EXPECT_LT(std::abs(ratio - std::round(ratio)), 0.08) << what << ": " << traces.period;
            EXPECT_GT(traces.period, 1.9) << what;
        }
    }
}

TEST(DctHistogram, GapsAreTheBinsThatTheFirstSavingLeftEmpty) {
    const DctTraces traces = Traces({5, 2});
    const std::vector<int> counts = DoubleQuantisationCounts(5, 2, 20);
    int missed = 0, wrong = 0;
    for (int n = -20; n <= 20; ++n) {
        if (n == 0) continue;
        const bool isGap = std::find(traces.gaps.begin(), traces.gaps.end(), n) != traces.gaps.end();
        if (counts[static_cast<std::size_t>(n + 20)] == 0 && !isGap) ++missed;
        if (counts[static_cast<std::size_t>(n + 20)] > 0 && isGap) ++wrong;
    }
    EXPECT_EQ(missed, 0);
    EXPECT_EQ(wrong, 0);
}

TEST(FirstDigitLaw, HoldsForOneSavingAndBreaksForTwo) {
    const auto chiSquare = [](const std::vector<int>& steps) {
        const FirstDigitFit fit = FitFirstDigits(CountFirstDigits(Saved(steps, 50, false)));
        EXPECT_TRUE(fit.isFitted);
        double sum = 0;
        for (const double share : fit.shares) sum += share;
        EXPECT_NEAR(sum, 1, 1e-9);
        return fit.chiSquare;
    };
    EXPECT_LT(chiSquare({2}), 0.005);
    EXPECT_GT(chiSquare({9, 2}), 0.05);
    EXPECT_GT(chiSquare({5, 1}), 0.05);
    EXPECT_LT(chiSquare({2, 6}), 0.01) << "not to be seen where the first quality was the higher one";
}

TEST(FirstDigitLaw, ParametersOfTheLawAreFound) {
    FirstDigits digits;
    const double shift = 0.0372, exponent = 1.47;
    double sum = 0;
    for (int d = 1; d <= 9; ++d) sum += std::log10(1 + 1 / (shift + std::pow(d, exponent)));
    for (int d = 1; d <= 9; ++d) {
        digits.counts[static_cast<std::size_t>(d - 1)] =
            std::llround(1e9 * std::log10(1 + 1 / (shift + std::pow(d, exponent))) / sum);
        digits.total += digits.counts[static_cast<std::size_t>(d - 1)];
    }
    const FirstDigitFit fit = FitFirstDigits(digits);
    EXPECT_NEAR(fit.shift, shift, 1e-3);
    EXPECT_NEAR(fit.exponent, exponent, 1e-3);
    EXPECT_NEAR(fit.scale, 1 / sum, 1e-3);
    EXPECT_LT(fit.chiSquare, 1e-8);
    digits.total = kLeastFirstDigits - 1;
    EXPECT_FALSE(FitFirstDigits(digits).isFitted);
}

TEST(FirstDigitLaw, CountsEveryDigitOnceAndNoDc) {
    cv::Mat coefficients(8, 8, CV_16SC1, cv::Scalar(0));
    coefficients.at<std::int16_t>(0, 0) = 700;
    const int values[] = {1, -1, 9, 10, -19, 250, 32767, -32768};
    for (int i = 0; i < 8; ++i) coefficients.at<std::int16_t>(1, i) = static_cast<std::int16_t>(values[i]);
    const FirstDigits digits = CountFirstDigits(coefficients);
    const std::array<std::int64_t, 9> expected = {4, 1, 2, 0, 0, 0, 0, 0, 1};
    EXPECT_EQ(digits.counts, expected);
    EXPECT_EQ(digits.total, 8);
}

}  // namespace
