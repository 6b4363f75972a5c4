#pragma once

#include <opencv2/core.hpp>

#include "orvcore/analysis/copymove.h"
#include "orvcore/analysis/parallel.h"

// Parts of a picture that are copies of other parts of it, also turned and scaled, found by keypoints (Amerini, Ballan, Caldelli,
// Del Bimbo and Serra, "A SIFT-Based Forensic Method for Copy-Move Attack Detection and Transformation Recovery", IEEE TIFS 6(3),
// 2011; Christlein et al., "An Evaluation of Popular Copy-Move Forgery Detection Approaches", IEEE TIFS 7(6), 2012): keypoints
// whose descriptors are alike, and that agree in one affine map; each map is checked pixel by pixel.
//
// Blind in smooth parts, which have no keypoints, for mirrored copies, and for copies of less than about 50 x 50 pixels.

struct CopyMoveKeypointsSettings {
    double ratio = 0.6;      // how much nearer a neighbour must be than the next, 0.3..0.95
    int leastDistance = 30;  // pixels between twins, 16..512
    int leastInliers = 8;    // of a pair to be shown, 4..1000
};

// picture: 8 or 16 bits, 1 to 4 channels, otherwise ZorException (kind Argument). Below 64 x 64 pixels, or with fewer than 8
// keypoints, not applicable. Memory: 5 bytes per pixel, 140 per keypoint, and 180 MB for each thread's tile.
CopyMoveResult FindCopiedKeypoints(const cv::Mat& picture, const CopyMoveKeypointsSettings& settings,
                                   const AnalysisProgress& progress = {});

// A sign from 30 inliers on (80 untouched camera pictures: 22 at most where the map fits nowhere aside; forged: 37 at least),
// when the map fits nowhere aside (distinctness at least 5; untouched: 4.4 at most) and the picture is no pattern.
CopyMoveVerdict JudgeCopiedKeypoints(const CopyMoveResult& result);
