#pragma once

#include <opencv2/core.hpp>
#include <vector>

#include "orvcore/analysis/analysisresult.h"
#include "orvcore/analysis/parallel.h"

// JPEG ghosts (Farid, "Exposing Digital Forgeries from JPEG Ghosts", IEEE TIFS 4(1), 2009): the picture is saved once more at each of a
// row of qualities; the squared difference, averaged over a window, d_q = mean (I - J_q(I))^2, falls as the quality rises, but has
// a dip of its own at a quality at which the window was saved before. A window whose dip lies elsewhere than its surroundings' has another history.
//
// Of the luminance. The difference is measured on the coefficients, where by Parseval it is the same but for the rounding of
// samples to whole levels (1/12 at most): one transform serves all qualities. Blind where the last save was much
// coarser than the one looked for, where the grids of both saves differ (search the shifts) and in smooth parts.

struct GhostSettings {
    std::vector<int> qualities{55, 60, 65, 70, 75,
                               80, 85, 90, 95};  // rising, each 1..100, at most 100 of them
    int window = 16;                             // side in pixels, rounded down to a multiple of 8, 8..256
    cv::Point origin{0, 0};                      // of the grid on which is saved, each 0..7
    cv::Rect region;                             // for the curves, pixels; empty: none
};

// One quality's line of the table.
struct GhostQuality {
    int quality = 0;
    double mean = 0.0;         // of d, over all windows, levels squared
    double meanInside = 0.0;   // of the windows whose middle is in the region; NaN without any
    double meanOutside = 0.0;  // of the others; NaN without any
    // The dip at this quality, log(sqrt(d of the quality below * d of the one above) / d): 0 for an even fall. Not defined (NaN)
    // at both ends of the row and where no window is rough enough.
    double medianDip = 0.0;
    double dippingPart = 0.0;  // part of the windows with a dip of at least 0.3, 0..1
    // The largest connected area that dips by at least 0.3 more than the median, and, the other way round, that lacks a dip of the rest.
    int dippingCells = 0;
    cv::Rect dippingBox;  // pixels
    int lackingCells = 0;
    cv::Rect lackingBox;
};

struct GhostResult {
    // d for each quality, levels squared, CV_32FC1; all have cells of 8 x 8 pixels about the middles of their windows.
    std::vector<AnalysisMap> maps;
    std::vector<GhostQuality> table;
    int roughCells = 0;       // windows with more than smooth content: d above 1 at the lowest quality
    bool isTooSmall = false;  // no window fits: everything else is empty
};

// picture: 8 or 16 bits unsigned, 1 to 4 channels, or luminance (CV_32FC1). Throws ZorException (kind Argument) for another type or settings out of their range.
GhostResult ComputeGhosts(const cv::Mat& picture, const GhostSettings& settings,
                          const AnalysisProgress& progress = {});

// The maps with each window's curve stretched to 0..1 over the qualities, (d - min) / (max - min), CV_8UC1 0..255; 0 where the curve is flat.
std::vector<cv::Mat> NormaliseGhosts(const GhostResult& result);

// All maps as one picture, in rows of `columns`, with a gap of `gap` cells of 128 between them; CV_8UC1.
cv::Mat MakeGhostSheet(const std::vector<cv::Mat>& normalised, int columns, int gap = 2);

// For each of the 64 grids the line of the table with the largest dipping area.
struct GhostShift {
    cv::Point origin;
    GhostQuality best;
};
// Sorted by that area, the largest first. Costs 64 times one computation.
std::vector<GhostShift> SearchGhostShifts(const cv::Mat& picture, const GhostSettings& settings,
                                          const AnalysisProgress& progress = {});

// From this dip on the picture as a whole was saved at a quality: its own last save, where no part dips on its own.
constexpr double kGhostDip = 0.3;

// Worth a look at most: texture can imitate a ghost, so the area is the measure and a person must judge its outline.
AnalysisDecision JudgeGhosts(const GhostResult& result);
