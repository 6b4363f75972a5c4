#pragma once

#include <opencv2/core.hpp>

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

// How often each level occurs in a picture, and what the shape of that says. Pure functions; they leave by
// whatever exception `progress` throws.

constexpr int kHistogramBins = 256;
using LevelCounts = std::array<std::uint64_t, kHistogramBins>;

// One channel. Levels are in the picture's own range, 0..255 or 0..65535; statistics are of the levels
// themselves, not of the bins. Of 16-bit pictures a bin holds 256 levels (the high byte).
struct ChannelHistogram {
    LevelCounts counts{};
    std::uint64_t pixels = 0;
    double mean = 0;
    double deviation = 0;  // standard deviation over all pixels, divided by n
    int minimum = 0;
    int maximum = 0;
    double median = 0;           // mean of the two middle levels when the number of pixels is even
    int emptyBins = 0;           // bins without a pixel between the first and the last filled one
    double saturatedBelow = 0;   // share of pixels at level 0, 0..1
    double saturatedAbove = 0;   // share of pixels at the highest level there can be, 0..1
    double contrastMeasure = 0;  // see ContrastMeasure
};

struct PictureHistogram {
    int levels = 256;  // 256 or 65536
    bool isGrey = false;
    // Luminance, red, green, blue; of a grey picture all four are the grey channel. Alpha is left out.
    std::array<ChannelHistogram, 4> channels;
    std::uint64_t uniqueColours = 0;
};

// mat: 8 or 16 bits unsigned, 1 to 4 channels (grey, grey + alpha, BGR, BGR + alpha), not empty; otherwise
// cv::Exception. Luminance is 0.299 R + 0.587 G + 0.114 B rounded to a level. progress gets 0..1 at least
// every 50 ms.
PictureHistogram ComputeHistogram(const cv::Mat& mat, const std::function<void(double)>& progress = {});

// The measure of contrast enhancement of Stamm and Liu ("Forensic Detection of Image Manipulation Using
// Statistical Intrinsic Fingerprints", IEEE TIFS 5(3), 2010): the histogram, tapered over 4 bins at both ends
// so that clipping does not count, is Fourier transformed, and the magnitudes at or above a quarter of the
// highest frequency (|k| >= 32 of -128..127) are added up and divided by the number of pixels. A histogram
// straight from a camera is smooth and stays below about 2; peaks and gaps made by a curve on 8-bit levels
// raise it to several. 0 for an empty histogram.
double ContrastMeasure(const LevelCounts& counts);
