#pragma once

#include <cstddef>
#include <opencv2/core.hpp>

#include "orvcore/analysis/parallel.h"

// The orthonormal 8x8 discrete cosine transform (type II) that JPEG works with: c(u,v) = a(u) a(v) sum f(x,y) cos((2x+1)u pi/16)
// cos((2y+1)v pi/16), a(0) = sqrt(1/8), otherwise 1/2. Samples of 0..255 less 128 give the scale in which JPEG's quantisation steps
// are meant; the mean of a block is c(0,0) / 8.
//
// Coefficients keep the place of their block: c(u,v), u the horizontal frequency, of the block in column bx and row by stands at row
// 8 by + v and column 8 bx + u. One row of a block is eight floats in a row, so quantisation is a loop along rows.
// Single precision, vectorised; the same bits on every machine and for any number of threads.

constexpr int kBlockSide = 8;

// One row of blocks that lie side by side: sample rows at source, source + sourceStep, ... (steps in floats), the same for target.
// level is taken from every sample first. source and target may be the same, or not overlap at all. Checks nothing.
void ForwardBlockDct(const float* source, std::size_t sourceStep, float* target, std::size_t targetStep,
                     int blocks, float level = 0.0F);

// The inverse: level is added to every sample in the end.
void InverseBlockDct(const float* source, std::size_t sourceStep, float* target, std::size_t targetStep,
                     int blocks, float level = 0.0F);

// The blocks of a whole plane (CV_32FC1) on the grid that starts at `origin` (each 0..7): only whole blocks count, so the result has
// 8 * ((cols - origin.x) / 8) columns and 8 * ((rows - origin.y) / 8) rows; it is empty where no block fits. Of a plane kept as
// `target` of the right size and type before, the memory is used again. level as above, 128 for JPEG's scale.
void ForwardBlockDct(const cv::Mat& plane, cv::Point origin, cv::Mat& target, float level,
                     const AnalysisProgress& progress = {});

// Back to samples: coefficients with sides that are multiples of 8 (otherwise cv::Exception), the result has the same size.
void InverseBlockDct(const cv::Mat& coefficients, cv::Mat& target, float level,
                     const AnalysisProgress& progress = {});

// The plane made larger, by repeating its last column and row as JPEG encoders do, until its sides are multiples of `side`.
cv::Mat PadToBlocks(const cv::Mat& plane, int side = kBlockSide);
