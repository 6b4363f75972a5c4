#pragma once

#include "orvcore/analysis/analysisresult.h"
#include "orvcore/analysis/parallel.h"

// Traces of median filtering, which hides other traces (Kirchner, Fridrich, SPIE 7541, 2010; Cao, Zhao, Ni, Yu, ICME 2010): it repeats
// values, so that neighbouring samples are equal more often. rho = h0 / h1, the number of zero first differences (along rows and
// columns) to the mean number of differences of +1 and of -1; f = the part of the differences that are zero. Only pixels whose
// 7 x 7 neighbourhood has a variance above 100 count, of levels 9..246. Compression of any strength erases the trace.

struct MedianFilterResult {
    AnalysisMap map;  // rho in cells of 64 pixels; not known with 1000 textured pixels or fewer
    double medianRatio =
        0.0;             // of the known cells: 1.3 at most on untouched photographs; NaN when there is none
    double ratio = 0.0;  // rho of all textured pixels; NaN without any
    double zeroShare = 0.0;  // f of all textured pixels, 0..1; NaN without any
    int knownCells = 0;
};

// plane: CV_8UC1 as it stands in the file (the green channel of colour pictures) of at least 16 x 16 pixels, otherwise ZorException (kind
// Argument). Bit-equal for any number of threads; leaves by whatever progress throws.
MedianFilterResult ComputeMedianFilterTrace(const cv::Mat& plane, const AnalysisProgress& progress = {});

constexpr double kMedianRatioThreshold = 1.6;
constexpr double kDrawnRatio = 20.0;  // medians of 3 and 5 pixels stay below 6; beyond this nothing is said
AnalysisDecision DecideMedianFilter(const MedianFilterResult& result);
