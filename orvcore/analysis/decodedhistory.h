#pragma once

#include <array>
#include <opencv2/core.hpp>

#include "orvcore/analysis/analysisresult.h"
#include "orvcore/analysis/parallel.h"

// Were decoded pixels a JPEG before, on which grid, with which steps (Fan, de Queiroz, "Identification of Bitmap Compression History: JPEG Detection and
// Quantizer Estimation", IEEE TIP 12(2), 2003). Differences |A - B - C + D| of 2 x 2 pixels are distributed otherwise across the corners of
// blocks than in their middles; K is the sum of the differences of both histograms, 0 to 2. The step of a coefficient is the largest q for which at least nine in ten of
// those above 1 lie within 1 of a multiple of q.
//
// Steps of 1 and 2 cannot be told from none. Blind after a change of size and above a quality of about 97.

struct DecodedHistoryResult {
    bool isTooSmall = false;      // fewer than 64 whole blocks: nothing else is set
    cv::Point origin;             // of the grid of blocks, each 0..7: where most coefficients are nought
    double strength = 0.0;        // K on that grid, 0..2
    double strengthOrigin = 0.0;  // K on the grid (0, 0)
    cv::Mat grids;                // CV_32FC1, 8 x 8: K for the grid that begins at (column, row)
    std::array<int, 64>
        steps{};       // natural order, 8 v + u; 0: too few coefficients, 1: none, or a step of 1 or 2
    int resolved = 0;  // steps of 3 and more
    int quality = 0;   // of the standard's tables that agrees with most of the resolved steps; 0 without any
    int agreeing = 0;  // how many agree exactly
};

// picture: 8 or 16 bits unsigned, 1 to 4 channels, or luminance (CV_32FC1). Throws ZorException (kind Argument) for another type.
DecodedHistoryResult ComputeDecodedHistory(const cv::Mat& picture, const AnalysisProgress& progress = {});

// isJpeg: whether the file is a JPEG. Then its own save shows on the grid (0, 0) and says nothing; an earlier one on another grid does. Worth a look at most: having been a
// JPEG before is a fact about the file, not a forgery.
AnalysisDecision JudgeDecodedHistory(const DecodedHistoryResult& result, bool isJpeg);
