#pragma once

#include <opencv2/core.hpp>

#include "orvcore/analysis/parallel.h"

// Luminance gradient: which way the light falls on each pixel and how fast it changes. Direction is shown as colour, so one
// even slope is one flat colour; what was pasted under another light, smoothed or sharpened can stand out.

struct LuminanceGradient {
    cv::Mat
        map;  // CV_32FC2 of the picture's size: change to the right and downwards, in 8-bit levels per pixel
    double meanMagnitude = 0;  // levels per pixel
    double maxMagnitude = 0;
};

// Sobel's 3x3 operator divided by 8 on Y = 0.299 R + 0.587 G + 0.114 B, the picture mirrored at its border without repeating the
// outermost pixel. picture: 8 or 16 bits, 1 to 4 channels; otherwise ZorException (kind Argument).
LuminanceGradient ComputeGradient(const cv::Mat& picture, const AnalysisProgress& progress = {});

// CV_8UC3 (B, G, R): red 128 + gain x change to the right, green 128 + gain x change downwards, blue the gain x magnitude;
// rounded and limited to 0..255.
cv::Mat DrawGradient(const cv::Mat& gradient, double gain, const AnalysisProgress& progress = {});
