#pragma once

#include "orvcore/analysis/analysisresult.h"
#include "orvcore/analysis/parallel.h"

// How much noise there is, place by place (Mahdian, Saic, "Using noise inconsistencies for blind image forensics", Image and Vision
// Computing 27, 2009): the diagonal detail band HH of one level of the Daubechies wavelet with eight vanishing moments (16 taps), and
// in every block of 8 x 8 coefficients (16 x 16 pixels) sigma = median |HH| / 0.6745. What was pasted from another picture, or
// smoothed, or sharpened, can have another level; so has texture, which is why there is no verdict.

struct NoiseLevelResult {
    // Standard deviation of the noise in levels, 0..; cells of 16 x 16 pixels from 0, 0. Not known where more than a fifth of a
    // cell's pixels are saturated (0, 1, 254, 255), which hides noise, or where the picture's edge leaves less than a quarter of it.
    AnalysisMap map;
    double median = 0.0;  // of the known cells; NaN when there is none
    double largestRatio =
        0.0;  // mean of the loudest 128 x 128 pixels to the median: at most 7 on nine of ten untouched photographs
    cv::Rect loudest;  // where that is, pixels
};

// plane: luminance, CV_32FC1, levels 0..255. Bit-equal for any number of threads. Throws ZorException (kind Argument)
// for another type or a side under 16 pixels; leaves by whatever progress throws.
NoiseLevelResult ComputeNoiseLevel(const cv::Mat& plane, const AnalysisProgress& progress = {});
