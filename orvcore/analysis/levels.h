#pragma once

#include <opencv2/core.hpp>

#include "orvcore/analysis/parallel.h"

// Levels spread out so that the eye sees what lies between them: a narrow band of levels stretched to the whole range, or
// the contrast of every neighbourhood raised. For looking only.

// Samples from centre - width / 2 to centre + width / 2 are stretched linearly to 0..255, what is below is 0, above 255. centre
// and width are in 8-bit levels (16-bit samples are divided by 257 first), centre 0..255, width at least 1 (smaller is taken as
// 1). Result: CV_8U of the picture's size, one channel for grey pictures, otherwise three (B, G, R); alpha is left out. Throws
// ZorException (kind Argument) for another picture than 8 or 16 bits, 1 to 4 channels.
cv::Mat SweepLevels(const cv::Mat& picture, double centre, double width,
                    const AnalysisProgress& progress = {});
// How many pixels have a sample in the band (any channel), 0..1.
double ShareInBand(const cv::Mat& picture, double centre, double width,
                   const AnalysisProgress& progress = {});

// Contrast limited adaptive histogram equalisation (Zuiderveld, "Contrast Limited Adaptive Histogram Equalization", Graphics Gems
// IV, 1994) of the luminance (rounded to 256 levels), in tiles x tiles tiles (1..64), each histogram bin limited to clipLimit
// (1..100) times the mean of its bins. Colour keeps its differences to the luminance. Result and errors as for SweepLevels. A
// picture smaller than the tiles' number gets fewer tiles.
cv::Mat RaiseLocalContrast(const cv::Mat& picture, double clipLimit, int tiles,
                           const AnalysisProgress& progress = {});
