#pragma once

#include <array>
#include <cstdint>
#include <opencv2/core.hpp>

#include "orvcore/analysis/parallel.h"

// What each pixel is among its picture's: which of its channels is the smallest and which the largest, whether it is saturated,
// whether no other pixel has its colour. A patch of another history can have another mixture of these.

// Bits of the map.
enum PixelTrait : std::uint8_t {
    kLargestRed = 1,
    kLargestGreen = 2,
    kLargestBlue = 4,  // several where channels are equal
    kSmallestRed = 8,
    kSmallestGreen = 16,
    kSmallestBlue = 32,
    kSaturated = 64,      // a channel at 0 or at the highest level
    kUniqueColour = 128,  // no other pixel of the picture has this colour
};

struct PixelStatistics {
    cv::Mat map;  // CV_8U of the picture's size, sums of PixelTrait
    bool isGrey = false;
    std::uint64_t pixels = 0;
    std::uint64_t colours = 0;          // how many different colours there are
    std::uint64_t coloursSeenOnce = 0;  // and how many of them one pixel alone has
    std::array<std::uint64_t, 3>
        largest{};  // R, G, B: pixels of which it is the largest channel, or one of them
    std::array<std::uint64_t, 3> smallest{};
    std::array<std::uint64_t, 3> atZero{};  // R, G, B
    std::array<std::uint64_t, 3> atHighest{};
    std::uint64_t saturated = 0;
};

// picture: 8 or 16 bits, 1 to 4 channels (alpha is left out); otherwise ZorException (kind Argument). Of a grey picture the three
// channels are equal. Memory: 16 MiB for 8 bits; 16 bytes per pixel for 16 bits.
PixelStatistics ComputePixelStatistics(const cv::Mat& picture, const AnalysisProgress& progress = {});
