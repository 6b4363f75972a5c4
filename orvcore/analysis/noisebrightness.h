#pragma once

#include <vector>

#include "orvcore/analysis/analysisresult.h"
#include "orvcore/analysis/parallel.h"

// Noise against brightness, after Colom, Buades, IPOL 3, 2013, and Gardella, Muse, Morel, Colom, IWBF 2021 and IPOL 14, 2024.
//
// (a) The curve: 8 x 8 blocks without levels <= 1 or >= 254, in 12 bins of equal size by mean; of each the 0.5 % with the least energy
// at low frequencies (0 < u + v < 9) show noise alone: sigma = sqrt(median of the mean energy at u + v >= 9). One sensor has
// sigma^2 = a I + b; a camera's curve, denoising and JPEG bend it, so that a bent curve is no sign of anything.
//
// (b) Places that are too quiet: per channel, 5 x 5 blocks of some variance in bins of 20,000 by mean; of the 5 % with the least low
// frequencies (V) the 30 % with the least high ones are S. In a window of 256 pixels as many blocks of V are in S as a coin of 0.3
// gives; NFA = (windows x channels) P[Bin(N, 0.3) >= k] says how often chance does that in one picture. A noisier part is not seen.

struct NoisePoint {
    double level = 0.0;  // mean of the blocks used, 0..255
    double sigma = 0.0;  // standard deviation of the noise, levels
};

struct NoiseBrightnessResult {
    std::vector<NoisePoint>
        curve;            // rising levels, at most 12; empty when there are fewer than 2,400 usable blocks
    double slope = 0.0;   // a, of sigma^2 less 1/12 for rounding
    double offset = 0.0;  // b
    double fitError =
        0.0;  // root mean square of the relative deviation of sigma from the line; NaN without a curve
    // log10 NFA of windows of 256 pixels, the least of the channels, in cells of 64 pixels about their middle: negative where a place is
    // too quiet. Not known with fewer than 4 blocks of V in every channel. Empty for pictures under 256 pixels in width or height.
    AnalysisMap map;
    double leastLogNfa = 0.0;  // of the known cells; NaN when there is none
    cv::Rect quietest;         // its window, pixels
};

// image: CV_8UC1 or CV_8UC3 of at least 64 x 64 pixels, otherwise ZorException (kind Argument). Blocks are taken at every pixel up to a
// million pixels and at every second, third... above. Bit-equal for any number of threads; leaves by whatever progress throws.
NoiseBrightnessResult ComputeNoiseBrightness(const cv::Mat& image, const AnalysisProgress& progress = {});

constexpr double kQuietStrong = -18.0;  // log10 NFA
constexpr double kQuietHint = -5.0;     // passed by 5 % of untouched camera pictures
// NotApplicable below half a megapixel.
AnalysisDecision DecideNoiseBrightness(const NoiseBrightnessResult& result, cv::Size picture);

// log10 of P[Bin(n, p) >= k], also for real n and k.
double Log10BinomialTail(double n, double k, double p);
