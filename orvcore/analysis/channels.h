#pragma once

#include <array>
#include <cstdint>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "orvcore/analysis/parallel.h"

// A picture taken apart: one plane of a colour space, one bit of a channel. Nothing is judged here; what was pasted can differ
// from its surroundings in a plane in which the eye does not see it.

enum class ColourSpace : int { Rgb, Hsv, Lab, YCbCr };

struct PlaneFacts {
    std::string name;  // "Red", "Hue" …
    std::string unit;  // "levels", "degrees", "" for shares
    double low = 0;    // what values can be
    double high = 0;
};
// plane: 0..2 in the order of the space's name. highestLevel: 255 or 65535.
PlaneFacts DescribePlane(ColourSpace space, int plane, int highestLevel = 255);

struct ChannelPlane {
    PlaneFacts facts;
    cv::Mat map;  // the picture's size: CV_8U or CV_16U levels for RGB, otherwise CV_32F
    cv::Mat
        mask;  // CV_8U, 255 where the plane says nothing (hue of a grey pixel); empty when it says something everywhere
    double minimum = 0;
    double maximum = 0;
    double mean = 0;
    double deviation = 0;    // of the population, outside the mask
    double maskedShare = 0;  // 0..1
};

// One plane of the picture. RGB planes are the samples themselves. Hue is 0..360 degrees, saturation 0..1, value and Y, Cb, Cr
// 0..255 in 8-bit levels (Y = 0.299 R + 0.587 G + 0.114 B; Cb, Cr about 128, full range, as JFIF has them). Lab is CIE 1976 with
// the white D65, the samples taken as sRGB: L 0..100, a and b about -128..127. picture: 8 or 16 bits, 1 to 4 channels; alpha is
// left out. Throws ZorException (kind Argument) for another picture or plane. Numbers leave masked pixels out.
ChannelPlane ExtractPlane(const cv::Mat& picture, ColourSpace space, int plane,
                          const AnalysisProgress& progress = {});

enum class BitChannel : int { Luminance, Red, Green, Blue };

struct BitPlane {
    cv::Mat map;           // CV_8U, 0 or 1, the picture's size
    double onesShare = 0;  // 0..1
    // The share of pixels whose right neighbour has the same bit: about 0.5 for noise, near 1 for what carries a shape or was
    // never touched by noise. NaN for a picture of one column.
    double agreement = 0;
};

// bit: 0 (lowest) up to 7, or 15 in a picture of 16 bits. Luminance is rounded to a level first. Errors as for ExtractPlane.
BitPlane ExtractBitPlane(const cv::Mat& picture, BitChannel channel, int bit,
                         const AnalysisProgress& progress = {});
