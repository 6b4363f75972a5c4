#pragma once

#include "orvcore/analysis/analysisresult.h"
#include "orvcore/analysis/camerafingerprint.h"

// Where a camera's pattern is missing (Chen, Fridrich, Goljan, Lukas, IEEE TIFS 3(1), 2008): the correlation of W with I K in sliding
// windows, held against what the place lets expect. Dark, smooth or busy places carry little of the pattern without having been touched;
// a predictor from the strengths of noise and pattern, from intensity and from texture, fitted robustly to the picture itself,
// says how much, and where it expects too little nothing is said. What was pasted has the correlation of chance,
// mean 0 and deviation 1 / window.

struct CameraNoiseMapResult {
    // Log likelihood ratio of "missing" over "present", positive where the pattern is missing (natural logarithm, limited to -50..50), in
    // cells of 16 pixels, each for the window about its middle. Not known where the expected correlation is below three
    // deviations of chance.
    AnalysisMap map;
    cv::Mat correlation;              // CV_32FC1 of the map's size: measured, -1..1
    cv::Mat expected;                 // the same: predicted where the pattern is present, 0..1
    int window = 0;                   // side, pixels
    double presentCorrelation = 0.0;  // median of the known cells
    int missingCells = 0;             // in the largest connected region with the map above kMissingLikelihood
    cv::Rect missing;                 // its frame, pixels
};

// residual: cleaned, pattern: of its size and aligned with it, larger than the window, which is odd, 33..257. Otherwise ZorException
// (kind Argument). Bit-equal for any number of threads; leaves by whatever progress throws.
CameraNoiseMapResult ComputeCameraNoiseMap(const CameraResidual& residual, const cv::Mat& pattern,
                                           int window = 97, const AnalysisProgress& progress = {});

constexpr double kMissingLikelihood = 4.0;  // natural logarithm
// NotApplicable unless the picture as a whole carries the fingerprint. Worth a look from a region of kMissingCells on; never
// strong: rates of error depend on the camera.
constexpr int kMissingCells = 25;
AnalysisDecision DecideCameraNoiseMap(const CameraNoiseMapResult& result, bool isMatch);
