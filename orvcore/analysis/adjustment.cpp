#include "orvcore/analysis/adjustment.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

namespace {

constexpr int kStripRows = 256;

// 0 at -100, 1 at 0, steep towards 100.
double Slope(int contrast) {
    const double c = std::clamp(contrast, -100, 100) / 100.0;
    return c <= 0.0 ? 1.0 + c : 1.0 / (1.0 - 0.99 * c);
}

}  // namespace

std::array<std::uint8_t, 256> AdjustmentTable(const Adjustment& adjustment) {
    std::array<std::uint8_t, 256> table{};
    const double slope = Slope(adjustment.contrast);
    for (int i = 0; i < 256; ++i) {
        double value = std::pow(i / 255.0, 1.0 / adjustment.gamma);
        value = (value - 0.5) * slope + 0.5 + adjustment.brightness / 100.0;
        table[static_cast<std::size_t>(i)] =
            static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 1.0) * 255.0));
    }
    return table;
}

cv::Mat AdjustImage(const cv::Mat& image, const Adjustment& adjustment, const AnalysisProgress& progress) {
    const auto values = AdjustmentTable(adjustment);
    const cv::Mat table(1, 256, CV_8U, const_cast<std::uint8_t*>(values.data()));
    const bool isColour = adjustment.channel == ViewChannel::All;
    cv::Mat result(image.rows, image.cols, isColour ? CV_8UC3 : CV_8UC1);
    cv::Mat plane;
    for (int y = 0; y < image.rows; y += kStripRows) {
        if (progress) progress(static_cast<double>(y) / image.rows);
        const cv::Range rows(y, std::min(y + kStripRows, image.rows));
        const cv::Mat source = image.rowRange(rows);
        cv::Mat target = result.rowRange(rows);
        switch (adjustment.channel) {
            case ViewChannel::All:
                cv::LUT(source, table, target);
                continue;
            case ViewChannel::Luminance:
                cv::cvtColor(source, plane, cv::COLOR_BGR2GRAY);
                break;
            case ViewChannel::Red:
            case ViewChannel::Green:
            case ViewChannel::Blue:
                cv::extractChannel(source, plane, 3 - static_cast<int>(adjustment.channel));
                break;
        }
        cv::LUT(plane, table, target);
    }
    return result;
}
