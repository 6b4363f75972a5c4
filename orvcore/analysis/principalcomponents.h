#pragma once

#include <array>
#include <opencv2/core.hpp>

#include "orvcore/analysis/parallel.h"

// Principal components of a picture's colours (Hotelling, "Analysis of a Complex of Statistical Variables into Principal
// Components", 1933): the eigenvectors of the covariance of R, G, B. The first carries nearly all light and shade, the last
// nearly nothing but noise and compression, in which another history shows.

struct ColourAxes {
    std::array<double, 3> mean{};         // R, G, B, in 8-bit levels
    std::array<double, 3> eigenvalues{};  // descending, in squared levels, of the population
    std::array<std::array<double, 3>, 3>
        vectors{};                  // [component][R, G, B], length 1, the largest part positive
    std::array<double, 3> share{};  // of the variance, 0..1; all 0 for one colour
};

// picture: 8 or 16 bits, 1 to 4 channels; otherwise ZorException (kind Argument). Of a grey picture the second and third
// eigenvalue are 0 and their vectors only some perpendicular ones.
ColourAxes FindColourAxes(const cv::Mat& picture, const AnalysisProgress& progress = {});

// (colour - mean) . vector: CV_32F of the picture's size, in levels. component: 0..2.
cv::Mat ProjectOnAxis(const cv::Mat& picture, const ColourAxes& axes, int component,
                      const AnalysisProgress& progress = {});
// How far each colour is from the line through the mean along that component: CV_32F, in levels, >= 0.
cv::Mat DistanceFromAxis(const cv::Mat& picture, const ColourAxes& axes, int component,
                         const AnalysisProgress& progress = {});
