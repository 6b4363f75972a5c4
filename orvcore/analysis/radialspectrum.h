#pragma once

#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "orvcore/analysis/parallel.h"
#include "orvcore/analysis/spectrum.h"

// The radial spectrum of what is left of the luminance without its smooth part, and the traces that up-sampling leaves in it: a
// steep fall towards the highest frequencies, and isolated peaks (Durall, Keuper and Keuper, "Watch your Up-Convolution", CVPR
// 2020; Frank et al., "Leveraging Frequency Analysis for Deep Fake Image Recognition", ICML 2020; Zhang, Karaman and Chang,
// "Detecting and Simulating Artifacts in GAN Fake Images", WIFS 2019). Enlargement, demosaicing and JPEG leave the same traces,
// so they never say how a picture was made; their absence says nothing.

struct RadialSpectrum {
    bool isApplicable = false;
    std::string whyNot;      // when not: too small, or too smooth
    int windows = 0;         // of 256 pixels, every 128, that were bright and dark enough inside
    int windowsSkipped = 0;  // for a standard deviation below 0.2 levels
    // Mean power in dB over all directions; entry i for i / 256 cycles per pixel, 0..0.5.
    std::vector<double> curve;
    cv::Mat peakMap;  // CV_32F, 256 x 256: dB above the curve, frequency 0 in the middle (column and row 128)
    double dropDb = 0;                // mean of the curve from 0.1 to 0.2 less that from 0.42 to 0.495
    double fallDb = 0;                // the steepest fall over 0.08 ...
    double fallFrom = 0;              // ... and where it begins
    std::vector<SpectrumPeak> peaks;  // the most prominent first, at most 20, at least 6 dB
};

// r = Y - Gauss(Y, 2 pixels); Hann windows, each divided by its own standard deviation; the geometric mean of their powers; the
// mean of that over each ring; peaks are local maxima of what stands above it, less the median of 9 x 9. picture: 8 or 16 bits, 1
// to 4 channels, otherwise ZorException (kind Argument). Pictures below 256 x 256 are not applicable. Memory: 8 bytes per pixel.
RadialSpectrum ComputeRadialSpectrum(const cv::Mat& picture, const AnalysisProgress& progress = {});

enum class UpsamplingSign : int { None, EnlargementHint, PeriodicTrace };
struct UpsamplingVerdict {
    UpsamplingSign sign = UpsamplingSign::None;
    double measured = 0;
    double threshold = 0;
};
// A peak of 30 dB or more: a periodic trace; otherwise a fall of 11 dB or more: a hint of enlargement (152 untouched camera
// pictures: falls up to 10.7 dB, prominences below 30 dB, those of 15 dB and more mostly at multiples of 1/8). Never more than a
// hint.
UpsamplingVerdict JudgeRadialSpectrum(const RadialSpectrum& spectrum);
