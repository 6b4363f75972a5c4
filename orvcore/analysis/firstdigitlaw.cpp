#include "orvcore/analysis/firstdigitlaw.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace {

// First digits of 0..32768, looked up once.
const std::vector<std::uint8_t>& DigitTable() {
    static const std::vector<std::uint8_t> table = [] {
        std::vector<std::uint8_t> digits(32769, 0);
        for (int value = 1; value <= 32768; ++value) {
            int digit = value;
            while (digit >= 10) digit /= 10;
            digits[static_cast<std::size_t>(value)] = static_cast<std::uint8_t>(digit);
        }
        return digits;
    }();
    return table;
}

struct Trial {
    double error = 0;
    double scale = 0;
};

// The best N for given s and q, and what it leaves.
Trial Try(const std::array<double, 9>& shares, double shift, double exponent) {
    std::array<double, 9> law{};
    double product = 0, square = 0;
    for (std::size_t i = 0; i < 9; ++i) {
        law[i] = std::log10(1.0 + 1.0 / (shift + std::pow(static_cast<double>(i + 1), exponent)));
        product += law[i] * shares[i];
        square += law[i] * law[i];
    }
    Trial trial;
    trial.scale = product / square;
    for (std::size_t i = 0; i < 9; ++i) {
        const double rest = shares[i] - trial.scale * law[i];
        trial.error += rest * rest;
    }
    return trial;
}

}  // namespace

FirstDigits CountFirstDigits(const cv::Mat& coefficients) {
    CV_Assert(coefficients.type() == CV_16SC1 && coefficients.rows % 8 == 0 && coefficients.cols % 8 == 0);
    const std::vector<std::uint8_t>& table = DigitTable();
    std::array<std::int64_t, 10> counts{};
    for (int y = 0; y < coefficients.rows; ++y) {
        const std::int16_t* row = coefficients.ptr<std::int16_t>(y);
        for (int x = 0; x < coefficients.cols; ++x) {
            if (y % 8 == 0 && x % 8 == 0) continue;
            ++counts[table[static_cast<std::size_t>(std::abs(static_cast<int>(row[x])))]];
        }
    }
    FirstDigits digits;
    for (std::size_t i = 0; i < 9; ++i) {
        digits.counts[i] = counts[i + 1];
        digits.total += counts[i + 1];
    }
    return digits;
}

FirstDigitFit FitFirstDigits(const FirstDigits& digits) {
    FirstDigitFit fit;
    if (digits.total < kLeastFirstDigits) return fit;
    for (std::size_t i = 0; i < 9; ++i)
        fit.shares[i] = static_cast<double>(digits.counts[i]) / static_cast<double>(digits.total);
    // A grid over all that was ever fitted, then finer ones around the best point.
    double lowShift = -0.95, highShift = 3.0, lowExponent = 0.1, highExponent = 5.0;
    double bestError = -1;
    for (int round = 0; round < 30; ++round) {
        constexpr int kSteps = 24;
        const double shiftStep = (highShift - lowShift) / kSteps;
        const double exponentStep = (highExponent - lowExponent) / kSteps;
        for (int i = 0; i <= kSteps; ++i)
            for (int k = 0; k <= kSteps; ++k) {
                const double shift = lowShift + i * shiftStep;
                const double exponent = lowExponent + k * exponentStep;
                const Trial trial = Try(fit.shares, shift, exponent);
                if (bestError >= 0 && trial.error >= bestError) continue;
                bestError = trial.error;
                fit.scale = trial.scale;
                fit.shift = shift;
                fit.exponent = exponent;
            }
        lowShift = std::max(-0.9999, fit.shift - 3 * shiftStep);
        highShift = fit.shift + 3 * shiftStep;
        lowExponent = std::max(0.01, fit.exponent - 3 * exponentStep);
        highExponent = fit.exponent + 3 * exponentStep;
        if (shiftStep < 1e-7 && exponentStep < 1e-7) break;
    }
    fit.isFitted = true;
    for (std::size_t i = 0; i < 9; ++i) {
        fit.expected[i] =
            fit.scale *
            std::log10(1.0 + 1.0 / (fit.shift + std::pow(static_cast<double>(i + 1), fit.exponent)));
        const double rest = fit.shares[i] - fit.expected[i];
        fit.chiSquare += rest * rest / std::max(fit.expected[i], 1e-9);
    }
    return fit;
}
