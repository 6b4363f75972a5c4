#pragma once

#include <string>

#include "orvcore/analysis/analysisresult.h"
#include "orvcore/analysis/parallel.h"

// Traces of the colour filter array (Ferrara, Bianchi, De Rosa, Piva, IEEE TIFS 7(5), 2012; Gallagher, Chen, CVPR Workshops 2008): a sensor
// measures one colour per pixel, half of the green samples are interpolated. The error e of predicting green by its four neighbours then
// varies less on the interpolated lattice than on the measured one. Per block of 16 x 16 pixels L = log of the ratio of the
// geometric means of e's local variance (Gaussian of 1 pixel in 7 x 7, same lattice) on the two lattices. Scaling, turning and
// compression below a quality of about 95 erase the trace; a part pasted after that lacks it, or has it on the other lattice.

enum class FilterPattern : int {
    Unknown,
    Rggb,
    Grbg,
    Gbrg,
    Bggr
};                                          // colours of the first two pixels of the first two rows
std::string NameOf(FilterPattern pattern);  // "RGGB", "not known"

struct ColourFilterResult {
    // L in cells of 16 x 16 pixels, positive where green was measured on the lattice that most of the picture has, about 0 without a
    // trace. Not known in flat (mean |e| at most 1 level) or saturated blocks.
    AnalysisMap map;
    cv::Mat
        probability;  // CV_32FC1 of the map's size, 0..1: that the block has the trace (two Gaussians, one with mean 0)
    double median =
        0.0;  // of |L's sign-corrected| known cells; NaN when there is none. No trace: 0; 3.5 with plain interpolation
    FilterPattern pattern = FilterPattern::Unknown;  // told when the median reaches kFilterTraceMedian
    double globalPeak =
        0.0;  // of the diagonal means of |e|: |F(pi)| to the median of the spectrum, about 1 without a trace
    int knownCells = 0;
    int lackingCells =
        0;  // in the largest connected region whose 5 x 5 mean of L is below a quarter of the median
    double likeTrace =
        0.0;           // median of L in blocks outside it that are as busy; NaN with fewer than 100 of them
    cv::Rect lacking;  // that region's frame, pixels
};

// image: CV_8UC3 (B, G, R) of at least 64 x 64 pixels, otherwise ZorException (kind Argument). Bit-equal for any number of threads;
// leaves by whatever progress throws.
ColourFilterResult ComputeColourFilterArray(const cv::Mat& image, const AnalysisProgress& progress = {});

constexpr double kFilterTraceMedian = 0.3;  // from here on the picture as a whole has the trace
constexpr double kLikeTrace = 0.6;          // strong only where like blocks have at least this much of it
constexpr int kLackingCells =
    80;  // strong from a region of so many cells without it, where like blocks have it
AnalysisDecision DecideColourFilterArray(const ColourFilterResult& result);
