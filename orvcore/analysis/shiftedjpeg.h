#pragma once

#include <array>
#include <opencv2/core.hpp>
#include <vector>

#include "orvcore/analysis/analysisresult.h"
#include "orvcore/analysis/parallel.h"

// Was a picture compressed before on another grid of blocks (Bianchi and Piva, "Detection of Nonaligned Double JPEG Compression Based on
// Integer Periodicity Maps", IEEE TIFS 7(2), 2012; the map after their "Image Forgery Localization via Block-Grained Analysis of JPEG
// Artifacts", TIFS 7(3)). For each of the 64 grids the mean of each block, as coefficient, is rounded; on the grid of an earlier save these gather at the multiples of its
// step Q, and |mean exp(-2 pi i DC / Q)| stands out among the grids.
//
// Blind where the last save was much coarser than the first, and on grids that share a row or column of blocks with the last one: these
// resemble it too much to be told apart.

struct ShiftedJpegResult {
    bool isTooSmall = false;  // below 64 x 64: nothing else is set
    cv::Point origin;         // of the earlier grid, each 1..7: where its blocks begin
    int step = 0;             // Q of the mean at which the grid stands out most
    int largestStep =
        0;  // the largest Q at which the same grid stands out (a divisor of the true step does too)
    double peak = 0.0;     // |M| of that grid at `step`, 0..1
    double ratio = 1.0;    // that over the second largest among the 49 grids
    double entropy = 0.0;  // -log of its part of the sum over these grids, at most log 49
    cv::Mat grids;         // CV_32FC1, 8 x 8: |M| at `step` for the grid that begins at (column, row)
    // For each block of the earlier grid log of (likelihood that it carries that save / that it does not), CV_32FC1, mean of 3 x 3 blocks. Empty where no
    // coefficient has a step to show.
    AnalysisMap map;
    std::array<int, 6>
        steps{};  // of the six coefficients that the map rests on (the mean, then zig-zag); 0 for those not used
};

// picture: 8 or 16 bits unsigned, 1 to 4 channels, or luminance (CV_32FC1). Throws ZorException (kind Argument) for another type.
ShiftedJpegResult ComputeShiftedJpeg(const cv::Mat& picture, const AnalysisProgress& progress = {});

// Strong from a ratio of 2.2.
AnalysisDecision JudgeShiftedJpeg(const ShiftedJpegResult& result);
