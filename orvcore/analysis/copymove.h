#pragma once

#include <opencv2/core.hpp>
#include <string>
#include <vector>

// What the searches for copied parts have in common: how they describe what they found, and how it is judged.

// Two parts of a picture that are the same but for a shift, a rotation and a scale. Nothing tells which of them is the original:
// `from` is simply the one that comes first from above.
struct CopiedPair {
    // Where each pixel centre of `from` lies in `to`: (x, y, 1) -> (x', y'), in pixels.
    cv::Matx23d model;
    cv::Rect from;  // bounding boxes of what agrees, in pixels
    cv::Rect to;
    cv::Point2d fromCentre;  // centre of gravity, and where the model takes it: the line between twins
    cv::Point2d toCentre;
    double rotation = 0;    // degrees, -180..180, clockwise as seen (y points down)
    double scale = 1;       // linear, of `to` against `from`
    int matches = 0;        // equal windows, or keypoint pairs that fit the model
    int area = 0;           // pixels of `from` that agree
    double overlap = 0;     // share of them that lie in `to` as well, 0..1: what repeats three times and more
    double similarity = 0;  // mean local correlation of the levels there, -1..1
    // Correlation of the finest detail (noise and compression), -1..1: what repeats in nature has little of it.
    double fineSimilarity = 0;
    // How much worse it fits a few pixels aside: the variance that stays unexplained there, against that at the model itself, at
    // least 1. Straight edges and stripes fit nearly as well when they are shifted along themselves; a copy does not.
    double distinctness = 1;
    // How unlikely so many matches are by chance, as a power of ten, after trying all pairs and shifts: -20 means 1 in 10^20.
    double log10Chance = 0;
};

struct CopyMoveResult {
    bool isApplicable = false;
    std::string whyNot;
    cv::Mat map;   // CV_8U: 0, or the number of the pair (1..255) that a pixel belongs to, on either side
    cv::Mat mask;  // CV_8U: 255 where the method could not look
    int blockSize = 1;          // of map and mask, in pixels
    cv::Point origin;           // of their first value, in pixels
    double blindShare = 0;      // of the picture, 0..1: what the mask covers
    double smoothShare = 0;     // of it: too even
    double saturatedShare = 0;  // of it: too dark or too bright
    double commonShare = 0;     // of it: looks like too many other places
    double workingScale = 1;    // the picture was looked at in this size (1: as it is)
    bool isCut = false;         // so many candidates that not all were looked at
    int candidates = 0;         // shifts or models that were checked
    int ambiguous = 0;          // of them: agree, but fit aside as well (edges, stripes); left out
    // Many shifts, or multiples of one, agree: a pattern (text, bricks), not a copy.
    bool isRepetitive = false;
    std::vector<CopiedPair> pairs;  // the one with the most matches first, at most 255
};

// What every search begins with: map and mask of the picture's size, empty; whyNot for a picture smaller than 64 x 64 pixels. Throws
// ZorException (kind Argument) for what CheckPicture refuses.
CopyMoveResult BeginCopySearch(const cv::Mat& picture);

struct CopyMoveVerdict {
    bool isSign = false;
    double measured = 0;  // of the pair that counts most
    double threshold = 0;
    std::string quantity;  // what was measured: "windows", "inliers"
    std::string reason;    // when not: why
};
