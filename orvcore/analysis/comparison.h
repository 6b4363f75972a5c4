#pragma once

#include <array>
#include <cstdint>
#include <opencv2/core.hpp>
#include <string>

#include "orvcore/analysis/parallel.h"

// Two pictures of one size against each other, where both say something.

struct ChannelFit {
    double gain = 1;    // evidence = gain * reference + offset
    double offset = 0;  // in 8-bit levels
};

struct HistogramDistances {
    double correlation = 1;    // Pearson's, of the 256 counts; 1: alike
    double chiSquare = 0;      // sum (a - b)^2 / (a + b) / 2 of shares, 0..1
    double intersection = 1;   // sum of the smaller shares, 0..1
    double bhattacharyya = 0;  // sqrt(1 - sum sqrt(a b)), 0..1
    double earthMover = 0;     // mean distance in levels that must be moved
};

struct PictureComparison {
    bool isApplicable = false;
    std::string whyNot;
    cv::Mat
        difference;  // CV_8U or CV_16U (evidence's depth), 1 or 3 channels: |evidence - reference|; 0 outside the mask
    cv::Mat similarity;  // CV_32F: structural similarity of the luminances, -1..1; 1 outside the mask
    cv::Mat mask;        // CV_8U: 255 where there is nothing to compare
    double maskedShare = 0;
    std::uint64_t compared = 0;   // pixels
    std::uint64_t different = 0;  // of them: pixels with any difference
    cv::Rect differentBox;        // that holds them all
    double meanDifference = 0;    // over all samples, in 8-bit levels
    double largestDifference = 0;
    cv::Point largestAt;
    double rootMeanSquare = 0;
    double psnr = 0;  // dB against 255; infinite for equal pictures
    double meanSimilarity = 1;
    std::array<ChannelFit, 3> fit;  // R, G, B, by least squares without outliers; all equal for grey pictures
    bool isFitted = false;          // whether the maps and numbers are after that fit
    std::array<HistogramDistances, 4> histograms;  // luminance, R, G, B, of what is compared
};

struct ComparisonSettings {
    // The reference's channels are brought to the evidence's first: gain and offset.
    bool fitBrightness = false;
};

// evidence and reference: equal sizes, 8 or 16 bits, 1 to 4 channels (alpha is left out; one grey picture makes both grey; depths
// may differ: the reference takes the evidence's). covered: CV_8U of that size, 0 where there is nothing to compare, or empty.
// Structural similarity after Wang, Bovik, Sheikh and Simoncelli, "Image Quality Assessment: From Error Visibility to Structural
// Similarity", IEEE TIP 13(4), 2004: Gaussian window 11 x 11, sigma 1.5, constants 0.01 and 0.03 of 255; windows that reach
// outside what is covered or the picture are left out of its mean. Throws ZorException (kind Argument) for other pictures.
// Memory: 12 bytes per pixel.
PictureComparison ComparePictures(const cv::Mat& evidence, const cv::Mat& reference, const cv::Mat& covered,
                                  const ComparisonSettings& settings, const AnalysisProgress& progress = {});

// Distances of two histograms of 256 counts; the defaults where one is empty.
HistogramDistances CompareHistograms(const std::array<std::uint64_t, 256>& a,
                                     const std::array<std::uint64_t, 256>& b);
