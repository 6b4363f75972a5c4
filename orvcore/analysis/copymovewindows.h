#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

#include "orvcore/analysis/parallel.h"

// Which windows of a picture look alike, and by which shifts: the exact search behind copies by shift (Fridrich, Soukal and
// Lukas, "Detection of Copy-Move Forgery in Digital Images", DFRWS 2003). Each window of 16 x 16 pixels is described by its
// fifteen lowest DCT coefficients (u + v <= 4), rounded to 16 (the mean to 2 levels), and these by a 32-bit number; windows with
// the same number look alike.

constexpr int kCopyWindow = 16;

enum class WindowKind : std::uint8_t { Useful, Smooth, Saturated, Common };

struct WindowKeys {
    // CV_32S of (rows - 15) x (cols - 15): entry (y, x) for the window whose top left pixel is (x, y); 0 where it is smooth (the
    // described part deviates by less than 2 levels) or saturated (mean below 4 or above 251).
    cv::Mat keys;
    std::int64_t smooth = 0;  // windows
    std::int64_t saturated = 0;
};

// luminance: CV_8UC1 of at least 16 x 16 pixels (otherwise cv::Exception). Memory: 4 bytes per pixel.
WindowKeys DescribeWindows(const cv::Mat& luminance, const AnalysisProgress& progress = {});

struct ShiftCandidate {
    cv::Point shift;               // y >= 0
    int count = 0;                 // pairs of windows
    std::vector<cv::Point> first;  // top left pixels of those that come first from above
};

// The candidate's places in clusters: those closer than about 64 pixels to each other belong together. Clusters of fewer than
// leastCount places are left out; the largest first.
std::vector<std::vector<cv::Point>> ClusterPlaces(const std::vector<cv::Point>& places, int leastCount);

struct ShiftSearch {
    std::vector<ShiftCandidate> candidates;  // the largest count first
    std::vector<std::uint8_t>
        common;  // per cell of 16 x 16 windows: the share (0..255) of windows that look like too many others
    int cellsAcross = 0;
    std::int64_t commonWindows = 0;
    std::int64_t pairs = 0;  // that voted
    bool isCut = false;      // more pairs than could be kept
};

// Votes of all pairs of alike windows at least `leastDistance` pixels apart; windows that look like more than 24 others in all
// give none. The `most` shifts with the most votes, no two of them within 2 pixels of each other. keys: as DescribeWindows gives
// them, fewer than 2^31 entries. Memory: 4 bytes per window, 0.5 for the votes, and at most 24 bytes x 2 million for pairs.
ShiftSearch FindShifts(const WindowKeys& keys, int leastDistance, int leastCount, int most,
                       const AnalysisProgress& progress = {});
