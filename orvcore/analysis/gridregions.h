#pragma once

#include <opencv2/core.hpp>
#include <vector>

#include "orvcore/analysis/gridvotes.h"

// The second half of the grid votes: areas in which votes for one grid are too dense to be chance. Votes for a grid that lie within 9 pixels of each other, in
// both directions, belong together; an area of s votes in a box of a pixels counts as s / 64 successes among a / 64 independent trials. Votes that fewer than
// 4 of the 100 pixels of their 10 x 10 cell share are left out: that makes the areas found a little less significant, never more, and the time linear.

// votes: CV_8UC1, 0..63 or 255. Areas of all grids but `excluded`, or of `only` alone (each -1 for none), whose NFA is below 1, the most significant first.
std::vector<GridRegion> FindGridRegions(const cv::Mat& votes, int excluded, int only,
                                        const AnalysisProgress& progress = {});
