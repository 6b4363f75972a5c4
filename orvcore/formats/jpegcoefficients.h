#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <opencv2/core.hpp>
#include <span>
#include <string>
#include <vector>

// What a JPEG file itself holds of its picture: the quantised DCT coefficients and the quantisation steps, before any of the rounding,
// clipping and upsampling that decoding adds. Baseline, progressive and arithmetic files of 8 bits per sample.

struct JpegCoefficientPlane {
    int id = 0;          // as stored, mostly 1, 2, 3
    int horizontal = 1;  // sampling factors, 1..4
    int vertical = 1;
    cv::Size samples;  // of the component's own plane; the blocks at the right and lower edge reach beyond it
    cv::Size blocks;   // (samples + 7) / 8
    bool hasSteps = false;  // false when no scan of the component was read
    std::array<std::uint16_t, 64>
        steps{};  // 1..65535, natural order (row by row, step of c(u,v) at 8 v + u); of a damaged file also 0
    // CV_16SC1, 8 * blocks.height rows, 8 * blocks.width columns: the coefficient c(u,v) of the block in column bx and row by stands at
    // row 8 by + v and column 8 bx + u (u the horizontal frequency), as in orvcore/analysis/blockdct.h. Empty when it was not asked for.
    cv::Mat coefficients;
    // Rows of blocks from the top that the file holds; what lies below is made up by the library. blocks.height of an undamaged file.
    int wholeBlockRows = 0;
};

struct JpegCoefficients {
    cv::Size size;  // of the picture, pixels
    bool isProgressive = false;
    bool isArithmetic = false;
    int restartInterval = 0;  // MCUs; 0 without
    std::vector<JpegCoefficientPlane>
        components;  // 1..4, in the order of the frame header; the first of a YCbCr file is luminance
    std::vector<std::string> warnings;  // what is damaged, as sentences, at most 20; empty when nothing is
};

// Which components' coefficients are wanted; facts and steps of all are always there.
enum class JpegComponentChoice { All, First };

// bytes: a whole JPEG file. Throws ZorException (kind Format) for anything that holds no coefficients (another format, lossless or
// hierarchical JPEG, other than 8 bits, a header that claims far more pixels than the file can hold, damage before the first block),
// kind Memory where there is not enough of it. A file that breaks off or is damaged later gives what there is, with warnings.
// Memory: two bytes per sample of all components while reading (the library's), and two per sample of what is kept.
// progress gets 0..1 often enough to stop within 0.1 s by an exception; called on the calling thread. Any thread.
JpegCoefficients ReadJpegCoefficients(std::span<const std::uint8_t> bytes,
                                      JpegComponentChoice choice = JpegComponentChoice::All,
                                      const std::function<void(double done)>& progress = {});
