#pragma once

#include <array>
#include <string>
#include <vector>

#include "orvcore/analysis/analysisresult.h"
#include "orvcore/analysis/parallel.h"

// Traces of changed contrast (Stamm, Liu, IEEE TIFS 5(3), 2010; Lin, Wei, Li, 2013): a curve applied to whole levels leaves gaps in the histogram
// where it spreads them and peaks where it joins them. Gaps: empty levels inside the range that holds 99 % of the samples. The
// measure F sums the Fourier magnitudes of the histogram (tapered over 4 levels at both ends) at frequencies 32/256 and above,
// divided by the number of samples: below about 1 for smooth histograms. Any compression afterwards fills the gaps.

struct ContrastChannel {
    std::string name;  // "Red", "Green", "Blue", "Grey"
    std::array<std::int64_t, 256> histogram{};
    int first = 0, last = 0;  // levels of the 0.5 and 99.5 percentiles
    std::vector<int>
        gaps;  // empty levels between them whose neighbours within two levels hold 20 samples and more on average
    std::vector<int>
        peaks;  // levels with more than 1.8 times the mean of their four neighbours, which hold 20 or more
    double fourier = 0.0;  // F
    // Median of |log(count / mean of the occupied levels beside it)| between the percentiles: at most 0.12 in photographs, curves applied or
    // not; NaN without three levels in a row that count.
    double roughness = 0.0;
    double crowded =
        0.0;  // share of the samples in the eight fullest levels, 0..1: at most 0.8 in photographs
    // A drawing's, lettering's, a palette's or that of a very strong compression: gaps say nothing.
    bool IsDrawn() const { return !(roughness <= 0.3) || crowded >= 0.85; }
};

struct ContrastResult {
    std::vector<ContrastChannel> channels;  // red, green, blue; or grey alone
    // Largest F of the channels in cells of `block` pixels, whole ones only. Not known where more than half the samples are saturated.
    AnalysisMap map;
    std::int64_t samples = 0;  // pixels
};

// image: CV_8UC1 or CV_8UC3, not empty; block 32..256. Otherwise ZorException (kind Argument). Bit-equal for any number of threads;
// leaves by whatever progress throws.
ContrastResult ComputeContrast(const cv::Mat& image, int block = 128, const AnalysisProgress& progress = {});

constexpr int kContrastGaps = 3;  // strong from so many in any channel
AnalysisDecision DecideContrast(const ContrastResult& result);
