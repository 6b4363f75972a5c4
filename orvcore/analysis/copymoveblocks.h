#pragma once

#include <opencv2/core.hpp>

#include "orvcore/analysis/copymove.h"
#include "orvcore/analysis/parallel.h"

// Parts of a picture that are copies of other parts of it, found by comparing every small window with every other.
//
// By shifts: Fridrich, Soukal and Lukas, "Detection of Copy-Move Forgery in Digital Images", DFRWS 2003: windows of 16 x 16
// pixels with equal rounded DCT coefficients vote for the shift between them; each shift with many votes is checked pixel by
// pixel. With rotation and scale: Cozzolino, Poggi and Verdoliva, "Efficient Dense-Field Copy-Move Forgery Detection", IEEE TIFS
// 10(11), 2015: magnitudes of Zernike moments of each pixel's surroundings are matched with the nearest other ones by PatchMatch;
// where neighbouring pixels agree in one linear map, it is checked in the same way.
//
// Blind in smooth and saturated parts, for copies smaller than about 28 x 28 pixels, for strong compression after copying; a
// picture with a regular pattern (bricks, text, windows of a facade) looks like many copies, which is said and not taken as a
// sign.

struct CopyMoveBlocksSettings {
    bool rotationAndScale = false;
    int leastDistance = 24;  // pixels between twins, 16..512
    int leastArea = 800;     // pixels of a copy, 256..1000000
};

// picture: 8 or 16 bits, 1 to 4 channels, otherwise ZorException (kind Argument). Below 64 x 64 pixels, or when nothing can be
// looked at, not applicable. Memory: 12 bytes per pixel and up to 50 MB of pairs by shifts; with rotation and scale 50 bytes
// more per pixel of the picture reduced to at most 2 megapixels.
CopyMoveResult FindCopiedBlocks(const cv::Mat& picture, const CopyMoveBlocksSettings& settings,
                                const AnalysisProgress& progress = {});

// A sign when a pair of at least 60 alike windows (with rotation and scale: of at least 1,200 agreeing pixels) fits nowhere aside
// (distinctness at least 4), agrees in its finest detail (at least 0.3), and the picture is no pattern. Measured on 36 untouched
// camera pictures: where less detail is asked for, edges have up to 120 alike windows at a distinctness of 1.0 to 2.2; the
// sample's copied spoon, not saved as often as its surroundings, has 211 at 15.
CopyMoveVerdict JudgeCopiedBlocks(const CopyMoveResult& result);
