#pragma once

#include <opencv2/core.hpp>

#include "orvcore/analysis/parallel.h"

// Rows of a picture in floating point, in units of 8-bit levels (0..255; 16-bit samples are divided by 257), whatever the
// picture's depth and channels: what analyses that look at levels share. Thread-safe, no state.

// Throws ZorException (kind Argument) unless the picture is two-dimensional, not empty, of 8 or 16 bits unsigned and 1 to 4
// channels (grey, grey + alpha, B G R, B G R + alpha).
void CheckPicture(const cv::Mat& picture);

// Whether the picture has colour channels: grey + alpha has none.
inline bool HasColour(const cv::Mat& picture) {
    return picture.channels() >= 3;
}

// The highest level of a sample: 255 or 65535.
inline int HighestLevel(const cv::Mat& picture) {
    return picture.depth() == CV_16U ? 65535 : 255;
}

// CV_32FC3, B G R; of a grey picture three equal channels. Alpha is left out.
cv::Mat FloatColour(const cv::Mat& rows);

// CV_32FC1: the rows' luminance, bit-equal to those of ComputeLuminance (luminance.h).
cv::Mat FloatLuminance(const cv::Mat& rows);

// CV_8U: the luminance of a whole picture, rounded to the nearest level.
cv::Mat RoundedLuminance(const cv::Mat& picture, const AnalysisProgress& progress);
