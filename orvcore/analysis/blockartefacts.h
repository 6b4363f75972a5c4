#pragma once

#include <opencv2/core.hpp>

#include "orvcore/analysis/analysisresult.h"
#include "orvcore/analysis/parallel.h"

// Where the edges of blocks do not lie on the picture's grid (Li, Yuan, Yu, "Passive detection of doctored JPEG image via block artifact
// grid extraction", Signal Processing 89(9), 2009). Weak horizontal edges, the second difference down the columns where it is at most 50, are averaged along 33 pixels, freed
// of the local level (median of 33) and of what does not recur every 8 pixels (median of 5); the same across. A block of the grid whose own
// edges are the strongest gets a value below 0; one with edges inside gets one above.
//
// Its values overlap with those of untouched pictures: a map, never a verdict. Blind above a quality of about 95 and in strong texture.

struct BlockArtefactResult {
    AnalysisMap
        map;  // CV_32FC1, levels, one value per block of the grid (0, 0), median of 5 x 5 blocks; empty for a picture below 24 x 24
    double median = 0.0;   // of the map
    double highest = 0.0;  // the largest mean over 16 x 16 blocks (all blocks of a smaller picture)
};

// picture: 8 or 16 bits unsigned, 1 to 4 channels, or luminance (CV_32FC1). Throws ZorException (kind Argument) for another type.
BlockArtefactResult ComputeBlockArtefacts(const cv::Mat& picture, const AnalysisProgress& progress = {});

// Never more than worth a look: the grid is seen in the picture (median below 0), and not in a part of it.
AnalysisDecision JudgeBlockArtefacts(const BlockArtefactResult& result);
