#pragma once

#include <array>
#include <cstdint>
#include <opencv2/core.hpp>

#include "orvcore/analysis/parallel.h"

// How a picture is shown: brightness, contrast, gamma and a choice of channel. Nothing is measured here.

enum class ViewChannel : int { All, Red, Green, Blue, Luminance };

struct Adjustment {
    int brightness = 0;  // -100..100, in percent of the range, added
    int contrast = 0;    // -100..100: slope about mid-grey, 0 at -100, 1 at 0, 100 at nearly 100
    double gamma = 1.0;  // 0.1..10: output = input^(1/gamma) on 0..1
    ViewChannel channel = ViewChannel::All;

    bool IsNeutral() const {
        return brightness == 0 && contrast == 0 && gamma == 1.0 && channel == ViewChannel::All;
    }
};

// Gamma first, then contrast about mid-grey, then brightness; rounded and limited to 0..255.
std::array<std::uint8_t, 256> AdjustmentTable(const Adjustment& adjustment);

// image: 8 bits, B, G, R. The result is 8-bit: three channels for All, otherwise one. Luminance is 0.299 R + 0.587 G + 0.114 B
// rounded, before the table.
cv::Mat AdjustImage(const cv::Mat& image, const Adjustment& adjustment,
                    const AnalysisProgress& progress = {});
