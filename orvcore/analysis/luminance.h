#pragma once

#include <opencv2/core.hpp>

#include "orvcore/analysis/parallel.h"

// Luminance as most analyses want it: Y = 0.299 R + 0.587 G + 0.114 B (ITU-R BT.601), neither rounded nor clipped, in floating point. JPEG
// encoders round it to 0..255.

// image: 8 or 16 bits unsigned, 1 to 4 channels (grey, grey + alpha, BGR, BGR + alpha). The result has its size, CV_32FC1, values 0..255
// (16-bit levels are divided by 257); grey pictures keep their levels, alpha is left out. Throws ZorException (kind Argument) for an
// empty image or another type. Bit-equal on every machine.
cv::Mat ComputeLuminance(const cv::Mat& image, const AnalysisProgress& progress = {});

// One row of it, for analyses that work in strips and do not keep the plane: row y, 0..rows-1, of an image as above into row[0..cols-1].
// Checks nothing.
void ComputeLuminanceRow(const cv::Mat& image, int y, float* row);
