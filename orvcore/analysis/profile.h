#pragma once

#include <array>
#include <opencv2/core.hpp>
#include <vector>

#include "orvcore/analysis/channels.h"
#include "orvcore/analysis/parallel.h"

// Curves and clouds for looking: the levels along a part of the picture, and one channel's levels over another's.

enum class ProfileDirection : int { AlongRow, AlongColumn };

struct LineProfile {
    int first = 0;  // x of the first value (y along a column), in the picture
    int lines = 0;  // how many rows or columns each value is the mean of
    // Luminance, red, green, blue, each in 8-bit levels, one value per column (row) of the region.
    std::array<std::vector<double>, 4> values;
};

// The means of a region's columns (of its rows along a column). The region is cut to the picture; nothing is left: ZorException
// (kind Argument), as for another picture than 8 or 16 bits, 1 to 4 channels.
LineProfile ComputeLineProfile(const cv::Mat& picture, const cv::Rect& region, ProfileDirection direction,
                               const AnalysisProgress& progress = {});

struct ChannelScatter {
    cv::Mat counts;  // CV_32S, 256 x 256: row = level of the second channel, column = level of the first
    double correlation = 0;  // Pearson's, -1..1; NaN when a channel has one level only
    // second = slope x first + offset by least squares; NaN when the first channel has one level only.
    double slope = 0;
    double offset = 0;
};

// How often each pair of levels occurs. 16-bit samples are divided by 257 and rounded for the counts, and for the numbers too;
// luminance is rounded to a level. Errors as above.
ChannelScatter ComputeScatter(const cv::Mat& picture, BitChannel first, BitChannel second,
                              const AnalysisProgress& progress = {});
