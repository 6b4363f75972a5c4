#pragma once

#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "orvcore/analysis/parallel.h"

// The two-dimensional Fourier spectrum of a picture's luminance, and the picture split at a frequency. Frequencies are in cycles
// per pixel, 0 to 0.5 on each axis.

struct SpectrumPeak {
    double fx = 0;             // -0.5..0.5, to the right
    double fy = 0;             // 0..0.5, downwards (the other half mirrors it)
    double prominenceDb = 0;   // power above its surroundings' median
    bool isBlockGrid = false;  // both parts within 1/500 of a multiple of 1/8: JPEG's own
};

struct FourierSpectrum {
    cv::Rect region;    // what of the picture was transformed, in its pixels
    cv::Mat magnitude;  // CV_32F, log10(1 + |F|), frequency 0 at column cols / 2, row rows / 2
    cv::Mat phase;      // CV_32F, -pi..pi, in the same places; empty unless asked for
    // The mean power in dB by distance from frequency 0: entry i for i / 512 cycles per pixel, up to 0.5; NaN where no
    // frequency of the transform lies.
    std::vector<double> radialDb;
    std::vector<SpectrumPeak> peaks;  // the most prominent first, at most 20
};

struct SpectrumSettings {
    bool window = true;  // Hann's, so that the picture's border makes no cross
    bool phase = false;
};

// region: the part wanted, cut to the picture; empty for the whole. Of it the centred part is transformed whose sides are
// products of 2, 3 and 5 and at most 4096 pixels. The mean is taken off first. Peaks: frequencies at least 0.02 from 0 that are
// the largest within 5 of their neighbours and at least 15 dB (spectra of noise alone stay below about 13 dB) above the median of
// their 9 x 9 neighbours. picture: 8 or 16 bits, 1 to 4 channels, otherwise ZorException (kind Argument), as when the region
// holds less than 16 x 16 pixels. Memory: 12 bytes per pixel transformed, 16 with the phase.
FourierSpectrum ComputeFourierSpectrum(const cv::Mat& picture, const cv::Rect& region,
                                       const SpectrumSettings& settings,
                                       const AnalysisProgress& progress = {});

struct FrequencySplit {
    cv::Mat low;              // CV_32F, 8-bit levels
    cv::Mat high;             // CV_32F, luminance - low, about 0
    double lowDeviation = 0;  // of the population, in levels
    double highDeviation = 0;
};

// The luminance below and above a frequency: low has the transfer exp(-ln 2 (f / cutoff)^2), one half at cutoff (0.001..0.5, else
// cut to that), high is the rest. The picture is continued by mirroring. Errors as above. Memory: 8 bytes per pixel.
FrequencySplit SplitFrequencies(const cv::Mat& picture, double cutoff, const AnalysisProgress& progress = {});

// The sides that FFTs like: the largest product of 2, 3 and 5 that is at most n (n >= 1).
int FftSizeWithin(int n);
