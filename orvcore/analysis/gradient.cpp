#include "orvcore/analysis/gradient.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "orvcore/analysis/pixelrows.h"

namespace {

constexpr int kStripRows = 64;

}  // namespace

LuminanceGradient ComputeGradient(const cv::Mat& picture, const AnalysisProgress& progress) {
    CheckPicture(picture);
    LuminanceGradient result;
    result.map.create(picture.size(), CV_32FC2);
    struct Strength {
        double sum = 0;
        double maximum = 0;
    };
    std::vector<Strength> strengths(static_cast<std::size_t>((picture.rows + kStripRows - 1) / kStripRows));
    ForEachStrip(picture.rows, kStripRows, progress, [&](int first, int end) {
        const int above = std::max(first - 1, 0);
        const int below = std::min(end + 1, picture.rows);
        const cv::Mat luminance = FloatLuminance(picture.rowRange(above, below));
        std::vector<cv::Mat> parts(2);
        cv::Sobel(luminance, parts[0], CV_32F, 1, 0, 3, 1.0 / 8.0);
        cv::Sobel(luminance, parts[1], CV_32F, 0, 1, 3, 1.0 / 8.0);
        for (cv::Mat& part : parts) part = part.rowRange(first - above, end - above);
        cv::Mat target = result.map.rowRange(first, end);
        cv::merge(parts, target);
        Strength& strength = strengths[static_cast<std::size_t>(first / kStripRows)];
        for (int y = first; y < end; ++y) {
            for (const cv::Vec2f& change : cv::Mat_<cv::Vec2f>(result.map.row(y))) {
                const double magnitude = std::hypot(change[0], change[1]);
                strength.sum += magnitude;
                strength.maximum = std::max(strength.maximum, magnitude);
            }
        }
    });
    for (const Strength& strength : strengths) {
        result.meanMagnitude += strength.sum;
        result.maxMagnitude = std::max(result.maxMagnitude, strength.maximum);
    }
    result.meanMagnitude /= static_cast<double>(picture.total());
    return result;
}

cv::Mat DrawGradient(const cv::Mat& gradient, double gain, const AnalysisProgress& progress) {
    CV_Assert(gradient.type() == CV_32FC2);
    cv::Mat picture(gradient.size(), CV_8UC3);
    ForEachStrip(gradient.rows, kStripRows, progress, [&](int first, int end) {
        for (int y = first; y < end; ++y) {
            const cv::Vec2f* change = gradient.ptr<cv::Vec2f>(y);
            cv::Vec3b* target = picture.ptr<cv::Vec3b>(y);
            for (int x = 0; x < gradient.cols; ++x) {
                const double right = gain * change[x][0];
                const double down = gain * change[x][1];
                target[x] = {cv::saturate_cast<std::uint8_t>(std::hypot(right, down)),
                             cv::saturate_cast<std::uint8_t>(128.0 + down),
                             cv::saturate_cast<std::uint8_t>(128.0 + right)};
            }
        }
    });
    return picture;
}
