#pragma once

#include <vector>

#include "orvcore/analysis/analysisresult.h"
#include "orvcore/analysis/parallel.h"

// Traces of enlarging, reducing and turning (Popescu, Farid, IEEE TSP 53(2), 2005; Gallagher, CRV 2005; Kirchner, ACM MM&Sec 2008):
// interpolated samples are predicted by their neighbours better than others, with a period that follows from the scale. With the
// fixed predictor a = [-1 2 -1; 2 0 2; -1 2 -1] / 4 the error is e = I - a * I and p = exp(-e^2 / 2); periods are peaks in the
// Fourier magnitude of p, given as their ratio to the local median. A picture scaled by s has its peaks at frac(1 / s), folded to 0..0.5, on
// both axes; turning moves them off the axes. JPEG makes peaks at multiples of 1/8, which are marked and never counted; scale 2 is
// seen at 0.5 only and never counted either. Pictures that a camera reduced itself are resamplings too.

struct ResamplingPeak {
    double fx = 0.0, fy = 0.0;  // cycles per pixel: fx 0..0.5, fy -0.5..0.5
    double strength = 0.0;      // magnitude to the local median, 1 and more
    double pairStrength = 0.0;  // the smaller of this peak's and that of the one turned by 90 degrees
    bool isJpeg = false;        // within 0.006 of multiples of 1/8 on both coordinates
};

struct ResamplingGuess {
    double scale = 1.0;    // > 1: enlarged
    double degrees = 0.0;  // turned counter-clockwise, -45..45
};

struct ResamplingResult {
    cv::Mat
        probability;   // p, CV_32FC1 of the picture's size, 0..1: 1 where the neighbours predict the sample
    cv::Mat spectrum;  // CV_32FC1, square, zero frequency in the middle: magnitude to the local median
    cv::Rect window;   // the pixels it was measured on: the middle of the picture, at most 1000 x 1000
    std::vector<ResamplingPeak> peaks;  // the strongest first, at most 16
    ResamplingPeak best;   // the strongest pair on the axes that counts; strength 0 when there is none
    int foreignPeaks = 0;  // strong peaks on the axes that do not follow from `best`: patterns in the scene
    std::vector<ResamplingGuess> guesses;  // scales that `best` allows, the smallest change first
    // The strongest pair on the axes, each to the median of its surroundings on the axis, in windows of 256 pixels; not known where more than half the samples are saturated. Empty for
    // pictures under 256 pixels in width or height.
    AnalysisMap map;
    cv::Mat mapFrequency;  // CV_32FC1 of the map's size: where that pair is, 0..0.5
};

// luminance: CV_32FC1, 0..255. Bit-equal for any number of threads. Throws ZorException (kind Argument) for another
// type or a side under 64 pixels; leaves by whatever progress throws.
ResamplingResult ComputeResampling(const cv::Mat& luminance, const AnalysisProgress& progress = {});

// Scales and angles that put a peak at fx, fy: 0.4 to 2.5 times, the smallest change first, at most 4.
std::vector<ResamplingGuess> ScalesOfPeak(double fx, double fy);

// Strong from a pair of kResamplingThreshold on the axes. NotApplicable for windows under 256 pixels.
constexpr double kResamplingThreshold = 7.2;
AnalysisDecision DecideResampling(const ResamplingResult& result);
