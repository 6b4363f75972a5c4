#pragma once

#include <functional>
#include <opencv2/core.hpp>

#include "zorbase/roi.h"

// Error level analysis (Krawetz, "A Picture's Worth", 2007): how much each sample of an image changes when the image is saved
// as JPEG once more, E = |I - decode(encode(I, Q))|. Parts that were saved a different number of times, or at another quality,
// than the rest can stand out; texture and sharp edges always do.

enum class ErrorLevelSubsampling : int { None, Horizontal, Both };  // 4:4:4, 4:2:2, 4:2:0

struct ErrorLevelSettings {
    int quality = 90;  // 1..100, of the JPEG library's scale
    ErrorLevelSubsampling subsampling =
        ErrorLevelSubsampling::None;  // of the chroma; nothing for grey images
    bool grey = false;                // the rounded mean of the channels in place of the channels
};

// image: 8 bits, one channel (grey) or three (B, G, R). The result has its size: one channel for grey images and with `grey`,
// otherwise three in the same order; values 0..255. Bit-identical to encoding and decoding the whole image with the JPEG
// library (accurate integer DCT, smooth chroma upsampling), but worked out strip by strip on the threads that analyses have (see
// parallel.h). between is called on the calling thread with the part done (0..1) and leaves by exception to stop. Throws ZorException (kind Argument) for another type of image or a side of more than 65,500 pixels.
cv::Mat ComputeErrorLevel(const cv::Mat& image, const ErrorLevelSettings& settings,
                          const std::function<void(double done)>& between = {});

struct ErrorLevelStatistics {
    double mean = 0.0;  // over all samples, 0..255
    int maximum = 0;
    double meanInside = 0.0;   // of the region; NaN when it holds no pixel of the image
    double meanOutside = 0.0;  // of the rest; NaN when there is none
};
ErrorLevelStatistics MeasureErrorLevel(const cv::Mat& errorLevel, const Roi& region);

// The map times gain, rounded and limited to 255. part: the rectangle that is wanted; the result has its size.
cv::Mat AmplifyErrorLevel(const cv::Mat& errorLevel, double gain, const cv::Rect& part);
