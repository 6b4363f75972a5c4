#pragma once

#include <opencv2/core.hpp>

#include "orvcore/analysis/analysisresult.h"
#include "orvcore/analysis/parallel.h"

// JPEG dimples (Agarwal, Farid, "Photo Forensics from JPEG Dimples", WIFS 2017): encoders that round coefficients down or up, or with a bias, make the
// first pixel of every block darker or brighter than its surroundings. Measured on the residual r = Y - median of 3 x 3, clipped to 8 levels, in blocks without
// pixels up to 5 or from 250 and not at the border.
//
// Blind: encoders that round to the nearest (most programs, many cameras); saturated areas; pictures that were reduced or saved again coarsely. A crop
// off the grid moves the dimple, which is then found at another place of the block.

struct DimpleSettings {
    int window = 256;  // side over which the map is averaged, pixels, a multiple of 8, 64..512
};

struct DimpleResult {
    int blocks = 0;  // that could be used
    double strength =
        0.0;  // d: first pixel less the mean of the block's three other corners, mean over the blocks, levels; below 0 is darker
    double significance = 0.0;  // z: d over its standard error
    double shape =
        0.0;  // signed square of the mean block's correlation with one pixel at (0, 0) over its mean square elsewhere
    cv::Point
        place;  // in the block where the correlation is largest in size: (0, 0) unless the picture was cropped
    cv::Mat meanBlock;  // CV_32FC1, 8 x 8, levels
    // Correlation of each block with one pixel at (0, 0), with the sign of d, averaged over windows: about 0 where dimples are missing. CV_32FC1, cells of
    // 8 x 8 pixels about the windows' middles; not known where fewer than a quarter of a window's blocks could be used. Empty for a picture without a whole window.
    AnalysisMap map;
    double median = 0.0;  // of the known cells
    double lowest = 0.0;
    bool HasDimples() const;
};

// picture: 8 or 16 bits unsigned, 1 to 4 channels, or luminance (CV_32FC1). Throws ZorException (kind Argument) for another type.
DimpleResult ComputeDimples(const cv::Mat& picture, const DimpleSettings& settings = {},
                            const AnalysisProgress& progress = {});

// Dimples: |d| >= 0.15, |z| >= 12, |shape| >= 8; without them the method does not apply. Worth a look where a window's mean falls below a quarter of the median.
AnalysisDecision JudgeDimples(const DimpleResult& result);
