#pragma once

#include <opencv2/core.hpp>

#include "orvcore/analysis/parallel.h"

// The noise residual of camera identification: W = I - F(I) with the wavelet filter of Mihcak, Kozintsev and Ramchandran (ICASSP
// 1999) as Lukas, Fridrich and Goljan use it (IEEE TIFS 1(2), 2006). Daubechies wavelet of four vanishing moments (eight taps),
// four levels, borders mirrored (half-sample symmetric). Every detail coefficient c keeps its noise part
//     c * s^2 / (v + s^2),  v = min over windows of 3, 5, 7, 9 of max(0, mean of c^2 in the window - s^2);
// the approximation is left out.

constexpr int kWaveletLevels = 4;
constexpr double kDefaultWaveletSigma = 3.0;  // s, in levels of 0..255; 2 to 5 are in use

// plane: CV_8UC1 or CV_32FC1, levels 0..255. The result has its size, CV_32FC1, in levels. Single precision; bit-equal for any
// number of threads. Takes 9.4 bytes per pixel beside the plane, the result among them. Throws ZorException (kind
// Argument) for an empty plane, another type or a sigma that is not above 0; leaves by whatever progress throws.
cv::Mat WaveletResidual(const cv::Mat& plane, double sigma = kDefaultWaveletSigma,
                        const AnalysisProgress& progress = {});

// The noise part of every value of a plane as it is done for a detail band above, for values of other kinds (Fourier magnitudes).
// plane: CV_32FC1, not empty; the result has its size.
cv::Mat NoisePartOf(const cv::Mat& plane, double sigma, const AnalysisProgress& progress = {});
