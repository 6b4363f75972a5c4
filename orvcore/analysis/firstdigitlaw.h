#pragma once

#include <array>
#include <cstdint>
#include <opencv2/core.hpp>

// First digits of quantised DCT coefficients. Those of a picture saved once follow the generalised law
//   p(d) = N log10(1 + 1 / (s + d^q)),  d = 1..9
// of Fu, Shi and Su, "A generalized Benford's law for JPEG coefficients and its applications in image forensics"
// (2007); a second saving breaks it. Blind where both qualities are equal and where the second is much the lower one.
// Pure functions, any thread.

struct FirstDigits {
    std::array<std::int64_t, 9> counts{};  // of digits 1..9
    std::int64_t total = 0;                // their sum; zero coefficients have no first digit
};

// coefficients: CV_16SC1, rows and columns multiples of 8, a block's coefficient (u,v) at its row v and column u. Only
// AC coefficients count.
FirstDigits CountFirstDigits(const cv::Mat& coefficients);

struct FirstDigitFit {
    bool isFitted = false;             // false with fewer than kLeastFirstDigits coefficients
    double scale = 0;                  // N
    double shift = 0;                  // s, above -1
    double exponent = 0;               // q
    std::array<double, 9> shares{};    // found, 0..1
    std::array<double, 9> expected{};  // by the fitted law, 0..1
    double chiSquare = 0;              // sum of (found - expected)^2 / expected, of shares, not of counts
};

constexpr std::int64_t kLeastFirstDigits = 2000;

// Least squares over N, s and q: N in closed form, s and q by a search that narrows.
FirstDigitFit FitFirstDigits(const FirstDigits& digits);
