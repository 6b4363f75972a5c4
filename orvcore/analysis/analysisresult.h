#pragma once

#include <limits>
#include <opencv2/core.hpp>
#include <string>

// The parts that results of pixel analyses have in common.

// Values place by place. Cell (x, y) of the map stands for the pixels from origin + (x * cell.width, y * cell.height), cell.width x
// cell.height of them, both in pixels of the picture; windows that overlap are drawn as the step between them, about their middle.
struct AnalysisMap {
    cv::Mat values;  // CV_32FC1 unless said otherwise; NaN never, see `known`
    cv::Size cell{1, 1};
    cv::Point origin{0, 0};
    cv::Mat known;  // CV_8U of the map's size: 0 where the method can say nothing; empty: it can everywhere

    bool IsKnown(int x, int y) const { return known.empty() || known.at<unsigned char>(y, x) != 0; }
    // Part of the cells that the method can speak about, 0..1; 0 for an empty map.
    double KnownPart() const {
        if (values.empty()) return 0.0;
        return known.empty()
                   ? 1.0
                   : static_cast<double>(cv::countNonZero(known)) / static_cast<double>(known.total());
    }
};

enum class Finding {
    NotApplicable,  // the method cannot speak about this picture; the text says why
    Nothing,
    WorthALook,
    StrongSign
};

// What the numbers of an analysis amount to: made by a function of its own, apart from the computation.
struct AnalysisDecision {
    Finding finding = Finding::NotApplicable;
    double measured = std::numeric_limits<double>::quiet_NaN();  // what was held against the threshold
    double threshold =
        std::numeric_limits<double>::quiet_NaN();  // of a strong sign; NaN where the method never gives one
    std::string text;                              // one sentence
};
