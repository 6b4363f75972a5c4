#pragma once

#include <opencv2/core.hpp>
#include <vector>

#include "orvcore/analysis/parallel.h"

// Copies that were turned or scaled a little, where there are no keypoints: Cozzolino, Poggi and Verdoliva, "Efficient
// Dense-Field Copy-Move Forgery Detection", IEEE TIFS 10(11), 2015. Each pixel is described by the magnitudes of the twelve
// Zernike moments up to degree 5 of the disc of 17 pixels around it (Gaussian 0.6 first), which a rotation does not change; the
// nearest other descriptions are found by PatchMatch (Barnes et al., ECCV 2010) with predictions of zero and first order; where
// the shifts of a neighbourhood are one linear map, both parts are alike.

// The shift from each pixel to the one that looks most like it: CV_16SC2 (x, y), of luminance's size; (0, 0) within 8 pixels of
// the border. luminance: CV_8UC1, up to 32,000 pixels a side. leastDistance: of a pixel from its twin, at least 8. rounds: 8 for
// good results. Chance is seeded: the same for any number of threads. Memory: 32 bytes per pixel for descriptions, 8 for shifts.
cv::Mat FindNearestTwins(const cv::Mat& luminance, int leastDistance, int rounds,
                         const AnalysisProgress& progress = {});

struct DenseRegion {
    cv::Matx23d model;              // from each pixel to its twin, an affine map by least squares
    std::vector<cv::Point> places;  // some of the pixels, at most 400
    int area = 0;                   // pixels
};

// The regions of a field of shifts in which it is linear: median of 5 x 5, squared error of the linear fit within 6 pixels below
// 300, at least leastArea pixels. The largest first, at most 32.
std::vector<DenseRegion> FindLinearRegions(const cv::Mat& shifts, double leastDistance, int leastArea,
                                           const AnalysisProgress& progress = {});
