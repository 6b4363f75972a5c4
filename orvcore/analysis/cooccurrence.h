#pragma once

#include <opencv2/core.hpp>

#include "orvcore/analysis/analysisresult.h"
#include "orvcore/analysis/parallel.h"

// Parts whose residual noise has another structure (Cozzolino, Poggi, Verdoliva, WIFS 2015): third differences of luminance along rows and
// along columns, [-1 3 -3 1], divided by 2, rounded and cut to -1..1; how often each series of four occurs along and across the difference,
// mirror images and signs taken together (25 each way, so 50 numbers per block of 128 pixels, every 8). Their roots are
// reduced and whitened by principal components, and two models told apart by expectation and maximisation: two Gaussians,
// of which the rarer is "other"; and one Gaussian with an even background, where distance from the Gaussian counts.
// Learnt from the picture alone. Texture is structure too: a map to look at, never a verdict, and the two classes can be exchanged.

struct CooccurrenceResult {
    // In cells of 8 pixels about the middles of their blocks. Not known where more than a fifth of a block is saturated (below 6, above
    // 252).
    AnalysisMap
        map;  // log of the ratio of the squared Mahalanobis distances to the common class and to the other one: high = other
    AnalysisMap
        outliers;  // root of the squared Mahalanobis distance to the one Gaussian, divided by its median
    double otherShare = 0.0;         // part of the blocks in the rarer class, 0..0.5
    double outlierPercentile = 0.0;  // 99th percentile of `outliers`
};

// luminance: CV_32FC1, 0..255. Pictures under 256 pixels in width or height, and such with fewer than 200 usable blocks, give empty
// maps: too little to learn from. Throws ZorException (kind Argument) for another type or an empty picture. The same
// picture gives the same result always, bit-equal for any number of threads; leaves by whatever progress throws.
CooccurrenceResult ComputeCooccurrence(const cv::Mat& luminance, const AnalysisProgress& progress = {});
