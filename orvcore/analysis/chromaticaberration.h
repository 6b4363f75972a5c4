#pragma once

#include <array>
#include <vector>

#include "orvcore/analysis/analysisresult.h"
#include "orvcore/analysis/parallel.h"

// Lateral chromatic aberration (Johnson, Farid, ACM MM&Sec 2006; Gloe, Winkler, Borowka, SPIE 7541, 2010; Mayer, Stamm, IEEE TIFS 13(7), 2018): a lens
// shows red and blue a little larger or smaller than green, about its centre. A part pasted from elsewhere is displaced in
// another direction. Per window of 64 pixels (step 32, planes smoothed by 1 pixel) red or blue is fitted to 1, G and the gradient of G by
// least squares, which gives its displacement against green; d = (alpha - 1)(p - centre) is fitted to all of them robustly (Cauchy). JPEG
// draws alpha towards 1: by a fifth at quality 95, by almost half at 85, so |alpha - 1| is a lower bound.

struct ColourDisplacement {
    cv::Point position;                        // middle of the window, pixels
    float dx = 0.0F, dy = 0.0F;                // measured, pixels
    float expectedX = 0.0F, expectedY = 0.0F;  // of the model
};

struct AberrationOfColour {
    bool isFitted = false;                    // with 12 windows and more
    double alpha = 1.0;                       // magnification against green
    cv::Point2d centre;                       // pixels; far away where alpha is nearly 1
    double atCorner = 0.0;                    // largest displacement of the model in a corner, pixels
    double rms = 0.0;                         // of measured - model over the windows, weighted, pixels
    std::vector<ColourDisplacement> windows;  // the usable ones
    // |measured - model| in cells of 32 pixels, limited to 3; not known where the window could not be used.
    AnalysisMap deviation;
    double largestDeviation =
        0.0;  // mean of at least four usable windows in 256 pixels: 1.2 on 95 % of untouched pictures; 0 when there are none
    cv::Rect deviating;  // those 256 pixels
};

struct ChromaticAberrationResult {
    std::array<AberrationOfColour, 2> colours;  // red, blue
};

// image: CV_8UC3 of at least 128 x 128 pixels, otherwise ZorException (kind Argument). Bit-equal for any number of threads; leaves by
// whatever progress throws.
ChromaticAberrationResult ComputeChromaticAberration(const cv::Mat& image,
                                                     const AnalysisProgress& progress = {});

constexpr double kAberrationHint = 1.8;  // pixels of largestDeviation
// Worth a look at best. NotApplicable where neither colour could be fitted.
AnalysisDecision DecideChromaticAberration(const ChromaticAberrationResult& result);
