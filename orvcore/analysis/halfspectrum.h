#pragma once

#include <opencv2/core.hpp>

#include "orvcore/analysis/parallel.h"

// The discrete Fourier transform of large real planes, on all threads and stopped at any time: rows first, then columns, tile by tile.
// Only the half that is not redundant is kept: frequencies 0..width / 2 along x (columns), all along y (rows, 0 first), CV_32FC2 of
// height x (width / 2 + 1), 4 bytes per pixel. Bit-equal for any number of threads.

// plane: CV_32FC1, padded with zeros to `size` (at least its own; widths and heights of cv::getOptimalDFTSize transform fast).
cv::Mat ToHalfSpectrum(const cv::Mat& plane, cv::Size size, const AnalysisProgress& progress = {});

// The inverse, divided by the number of pixels: the top left `wanted` part of a plane of `size`. spectrum is used up.
cv::Mat FromHalfSpectrum(cv::Mat& spectrum, cv::Size size, cv::Size wanted,
                         const AnalysisProgress& progress = {});

// A size that transforms fast and holds this one; the width is even.
cv::Size FastTransformSize(cv::Size size);
