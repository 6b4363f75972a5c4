#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

#include "orvcore/analysis/parallel.h"

// Keypoints of a picture with their descriptors (Lowe, "Distinctive Image Features from Scale-Invariant Keypoints", IJCV 60(2),
// 2004), found in overlapping tiles: the library's detector needs 200 bytes per pixel and cannot be stopped, so it never gets
// more than a megapixel at once.

constexpr int kDescriptorLength = 128;

struct Keypoint {
    cv::Point2f at;   // pixel centres have whole coordinates
    float size = 0;   // diameter of what is described, in pixels
    float angle = 0;  // degrees, 0..360, clockwise as seen
    float response = 0;
};

struct Keypoints {
    std::vector<Keypoint> points;
    // CV_8U, one row of 128 per point: the square roots of the descriptor's parts (Arandjelovic and Zisserman, "Three Things
    // Everyone Should Know to Improve Object Retrieval", CVPR 2012) times 255 / the root of their sum, rounded.
    cv::Mat descriptors;
    int tiles = 0;
    bool isCut = false;  // a tile had more than its share; its strongest were kept
};

struct KeypointSettings {
    double contrast = 0.02;  // of the detector
    int most = 40000;        // of the whole picture, shared out evenly among tiles, at least 200 each
    double largest = 24.0;   // size, in pixels: larger ones would reach beyond their tile
};

// luminance: CV_8UC1 (otherwise cv::Exception); empty when it is smaller than 16 x 16. Points come tile by tile, each tile's in
// the detector's order; the same for any number of threads. One call of the library lasts a few tenths of a second.
Keypoints FindKeypoints(const cv::Mat& luminance, const KeypointSettings& settings,
                        const AnalysisProgress& progress = {});

// The tiles, for whoever measures them: the part that each is given to the detector.
std::vector<cv::Rect> KeypointTiles(const cv::Size& size);

// Sum of absolute differences of two descriptors.
int DescriptorDistance(const std::uint8_t* a, const std::uint8_t* b);

struct KeypointMatch {
    int first = 0;   // index of a point of the one picture ...
    int second = 0;  // ... and of the other
    int distance = 0;
};

// For each point of `from` its nearest of `to`, when the second nearest that lies elsewhere (more than 4 pixels from it) is
// farther by 1 / ratio.
std::vector<KeypointMatch> MatchKeypoints(const Keypoints& from, const Keypoints& to, double ratio,
                                          const AnalysisProgress& progress = {});
// Pairs of points of one picture at least leastDistance pixels apart, by the generalised nearest neighbours of Amerini et al. ("A
// SIFT-Based Forensic Method for Copy-Move Attack Detection and Transformation Recovery", IEEE TIFS 6(3), 2011): neighbours in
// order of distance are taken while each is nearer than `ratio` times the next, at most 8. Each pair once, first < second.
std::vector<KeypointMatch> MatchWithin(const Keypoints& points, double leastDistance, double ratio,
                                       const AnalysisProgress& progress = {});

// A model that many matches agree in: found without chance, since each match alone gives a similarity by its sizes and angles.
struct AffineFit {
    cv::Matx23d model;         // from -> to
    std::vector<int> inliers;  // indices of matches
};
// The model with the most matches within `tolerance` pixels, refined as an affine map by least squares. Matches whose index is
// marked in `used` do not take part. reach: only matches that begin within so many pixels of the first one support it (0: all).
// Scales outside 0.2..5 are refused. No inliers when fewer than 4 agree.
AffineFit FitAffine(const std::vector<cv::Point2d>& from, const std::vector<cv::Point2d>& to,
                    const std::vector<cv::Matx23d>& guesses, const std::vector<std::uint8_t>& used,
                    double tolerance, double reach);
// The similarity that one match alone speaks for.
cv::Matx23d SimilarityOf(const Keypoint& from, const Keypoint& to);
