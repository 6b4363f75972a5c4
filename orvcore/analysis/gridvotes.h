#pragma once

#include <opencv2/core.hpp>
#include <vector>

#include "orvcore/analysis/analysisresult.h"
#include "orvcore/analysis/parallel.h"

// On which of the 64 possible grids of 8x8 blocks was a picture compressed, and which parts on another one (Nikoukhah, Anger, Ehret, Colom,
// Morel, Grompone von Gioi, "ZERO: a Local JPEG Grid Origin Detector Based on the Number of DCT Zeros and its Applications in
// Image Forensics", IPOL 2021). Every window of 8 x 8 pixels counts its AC coefficients below 0.5; a pixel votes for the grid of that one of its 64
// windows that has most of them. Votes of untouched pixels are as good as random, so the number of false alarms (NFA) to be expected follows from
// the binomial law.
//
// Blind after a last save at a quality of about 98 and less on another grid, at 100, and in very smooth or saturated parts.

constexpr int kNoGrid = -1;
// The grid whose blocks begin at (x, y), 0..7 each, has the number x + 8 y.
inline cv::Point GridOrigin(int grid) {
    return {grid % 8, grid / 8};
}

// A part whose votes agree on another grid than the picture's.
struct GridRegion {
    int grid = kNoGrid;
    cv::Rect box;         // pixels
    int votes = 0;        // that agree
    double logNfa = 0.0;  // log10 of the NFA, below 0
};

struct GridVotesResult {
    cv::Mat votes;                    // CV_8UC1 of the picture's size: 0..63, 255 where a pixel does not vote
    int mainGrid = kNoGrid;           // whose NFA is below 1
    int bestGrid = kNoGrid;           // with most votes, whether or not they mean anything
    double bestShare = 0.0;           // its part of all votes, 0..1
    double logNfa = 0.0;              // log10, of the best grid
    std::vector<GridRegion> foreign;  // parts on another grid than the main one, the most significant first
    // Parts that do not vote for the main grid although they would after one more save at quality 99: compressed less, or on no grid at all.
    std::vector<GridRegion> missing;
    cv::Mat
        mask;  // CV_8UC1 of the picture's size: 255 in foreign regions, 128 in missing ones, 0 elsewhere; empty without any
    bool isTooSmall = false;  // below 32 x 32: everything else is empty
};

struct GridVotesSettings {
    bool missing = true;  // costs as much again
};

// picture: 8 or 16 bits unsigned, 1 to 4 channels, or luminance (CV_32FC1). Throws ZorException (kind Argument) for another type. Memory: 6 bytes per pixel
// beside the picture, 10 with the search for missing grids.
GridVotesResult ComputeGridVotes(const cv::Mat& picture, const GridVotesSettings& settings = {},
                                 const AnalysisProgress& progress = {});

// log10 of the probability that at least k of n independent votes agree by chance, each with probability p; 0 for k <= 0.
double LogBinomialTail(std::int64_t n, std::int64_t k, double p);

// Strong when a region lies on a foreign grid, or when the main grid does not begin at (0, 0), as after cropping. A missing grid is
// named but is no sign: 20 of 36 untouched photographs have parts without one.
AnalysisDecision JudgeGridVotes(const GridVotesResult& result);
