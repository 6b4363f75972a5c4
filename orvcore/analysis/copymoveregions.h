#pragma once

#include <opencv2/core.hpp>

#include "orvcore/analysis/copymove.h"

// Whether and where two parts of a picture agree under a model, pixel by pixel: the check behind every candidate of the searches
// for copies (after Christlein et al., "An Evaluation of Popular Copy-Move Forgery Detection Approaches", IEEE TIFS 7(6), 2012).

struct CopyCheck {
    bool isFound = false;
    cv::Rect from;     // in pixels
    cv::Mat fromMask;  // CV_8U, 255 where it agrees, of from's size
    cv::Rect to;
    cv::Mat toMask;
    cv::Point2d centre;  // of gravity of fromMask, in pixels of the picture
    int area = 0;        // pixels of fromMask
    double similarity = 0;
    double fineSimilarity = 0;
    double distinctness = 1;  // see CopiedPair
};

struct CopyCheckSettings {
    double leastCorrelation = 0.85;  // of 15 x 15 pixels
    int leastArea = 800;             // pixels
    int reach = 32;                  // how far around the seeds is looked, in pixels
    int leastDistance = 16;          // of a pixel from its twin, in pixels
    int mostPixels = 2'000'000;      // of the part looked at; more is cut to a part about its middle
};

// luminance: CV_8UC1. model as in CopiedPair. seeds: places in `from` (pixels) where candidates matched; at least one. Windows of
// less than 2 levels of deviation on either side cannot agree. What agrees is opened by 5 x 5; of its pieces those that hold a
// seed count. Levels are taken by the model with bilinear interpolation, without when it is a whole shift. Single-threaded.
CopyCheck CheckCopy(const cv::Mat& luminance, const cv::Matx23d& model, const std::vector<cv::Point>& seeds,
                    const CopyCheckSettings& settings);

// Rotation (degrees, clockwise as seen) and scale of the model's linear part, the nearest similarity's.
double RotationOf(const cv::Matx23d& model);
double ScaleOf(const cv::Matx23d& model);
inline cv::Point2d Apply(const cv::Matx23d& model, const cv::Point2d& p) {
    return {model(0, 0) * p.x + model(0, 1) * p.y + model(0, 2),
            model(1, 0) * p.x + model(1, 1) * p.y + model(1, 2)};
}

// Enters the check into the result as its next pair: pairs (without matches and chance), map. False, and the pairs do not change,
// when the same place and model are there already, there are 255, or it fits aside as well (distinctness below 2, counted as
// ambiguous).
bool AddPair(const CopyCheck& check, const cv::Matx23d& model, CopyMoveResult& result);

// Whether the pairs speak of a pattern: six or more, one whose shift is a multiple of another's nearby (shifts only), or one whose part
// and twin overlap: what is pasted over its own source leaves no such pair.
bool IsRepetitive(const std::vector<CopiedPair>& pairs);

// log10 of the chance of at least `successes` of `trials` independent ones of probability p each, an upper bound (Chernoff,
// Hoeffding 1963).
double Log10Tail(double successes, double trials, double p);
