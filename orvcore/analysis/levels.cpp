#include "orvcore/analysis/levels.h"

#include <algorithm>
#include <array>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "orvcore/analysis/pixelrows.h"

namespace {

constexpr int kStripRows = 64;

cv::Mat Levels(const cv::Mat& rows) {
    return HasColour(rows) ? FloatColour(rows) : FloatLuminance(rows);
}

}  // namespace

cv::Mat SweepLevels(const cv::Mat& picture, double centre, double width, const AnalysisProgress& progress) {
    CheckPicture(picture);
    const double used = std::max(width, 1.0);
    const double gain = 255.0 / used;
    cv::Mat result(picture.size(), HasColour(picture) ? CV_8UC3 : CV_8UC1);
    ForEachStrip(picture.rows, kStripRows, progress, [&](int first, int end) {
        cv::Mat target = result.rowRange(first, end);
        Levels(picture.rowRange(first, end)).convertTo(target, CV_8U, gain, -gain * (centre - used / 2.0));
    });
    return result;
}

double ShareInBand(const cv::Mat& picture, double centre, double width, const AnalysisProgress& progress) {
    CheckPicture(picture);
    const double half = std::max(width, 1.0) / 2.0;
    std::vector<std::int64_t> counts(static_cast<std::size_t>((picture.rows + kStripRows - 1) / kStripRows));
    ForEachStrip(picture.rows, kStripRows, progress, [&](int first, int end) {
        cv::Mat planes[3];
        cv::split(Levels(picture.rowRange(first, end)), planes);
        cv::Mat any;
        for (const cv::Mat& plane : planes) {
            if (plane.empty()) continue;
            cv::Mat inside;
            cv::inRange(plane, centre - half, centre + half, inside);
            if (any.empty()) {
                any = inside;
            } else {
                cv::bitwise_or(any, inside, any);
            }
        }
        counts[static_cast<std::size_t>(first / kStripRows)] = cv::countNonZero(any);
    });
    std::int64_t count = 0;
    for (const std::int64_t strip : counts) count += strip;
    return static_cast<double>(count) / static_cast<double>(picture.total());
}

cv::Mat RaiseLocalContrast(const cv::Mat& picture, double clipLimit, int tiles,
                           const AnalysisProgress& progress) {
    CheckPicture(picture);
    // In 256 levels: the library's histogram of 16 bits is too thin for small tiles, and what is shown has no more.
    const cv::Mat luminance = RoundedLuminance(picture, PartOf(progress, 0.0, 0.3));
    const int most = std::clamp(tiles, 1, 64);
    const cv::Size grid(std::min(most, picture.cols), std::min(most, picture.rows));
    cv::Mat raised;
    cv::createCLAHE(std::clamp(clipLimit, 1.0, 100.0), grid)->apply(luminance, raised);
    cv::Mat result(picture.size(), HasColour(picture) ? CV_8UC3 : CV_8UC1);
    ForEachStrip(picture.rows, kStripRows, PartOf(progress, 0.7, 1.0), [&](int first, int end) {
        cv::Mat target = result.rowRange(first, end);
        cv::Mat after;
        raised.rowRange(first, end).convertTo(after, CV_32F);
        if (!HasColour(picture)) {
            after.convertTo(target, CV_8U);
            return;
        }
        cv::Mat change = after - FloatLuminance(picture.rowRange(first, end));
        cv::cvtColor(change, change, cv::COLOR_GRAY2BGR);
        cv::Mat(FloatColour(picture.rowRange(first, end)) + change).convertTo(target, CV_8U);
    });
    return result;
}
