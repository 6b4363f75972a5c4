#pragma once

#include <opencv2/core.hpp>

#include "orvcore/analysis/parallel.h"
#include "zorbase/roi.h"

// The noise residual: what a denoising filter takes away, I - F(I). It shows noise, retouching, blur and what was pasted from a
// picture with another grain more plainly than the picture does; edges and texture remain in it.

enum class ResidualFilter : int {
    Median,        // of (2 radius + 1)^2 pixels: keeps edges, exact whole levels
    Gaussian,      // standard deviation = radius
    Bilateral,     // (2 radius + 1)^2 pixels, range = strength
    Wavelet,       // as for camera identification, see waveletresidual.h; strength = its sigma
    NonLocalMeans  // Buades, Coll, Morel, CVPR 2005: 7 x 7 places, patches of (2 radius + 1)^2, h = strength
};

struct NoiseResidualSettings {
    ResidualFilter filter = ResidualFilter::Median;
    int radius = 1;         // 1..3, pixels
    double strength = 3.0;  // 0.1..100, levels
};

// plane: CV_8UC1. The result has its size, CV_32FC1, values -255..255 (whole numbers for the median). Borders are repeated
// (median), mirrored otherwise. A constant plane gives 0. Bit-equal for any number of threads. Throws ZorException (kind Argument) for
// another type or settings out of range; leaves by whatever progress throws.
cv::Mat ComputeNoiseResidual(const cv::Mat& plane, const NoiseResidualSettings& settings,
                             const AnalysisProgress& progress = {});

struct ResidualStatistics {
    double meanAbsolute = 0.0;                                 // of all samples
    double deviation = 0.0;                                    // standard deviation of all samples
    double meanAbsoluteInside = 0.0, deviationInside = 0.0;    // of the region; NaN when it holds no pixel
    double meanAbsoluteOutside = 0.0, deviationOutside = 0.0;  // of the rest; NaN when there is none
};
ResidualStatistics MeasureNoiseResidual(const cv::Mat& residual, const Roi& region);
