#include "orvcore/analysis/profile.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <mutex>
#include <opencv2/imgproc.hpp>

#include "orvcore/analysis/pixelrows.h"
#include "zorbase/zorexception.h"

namespace {

constexpr int kStripRows = 64;
constexpr int kLevels = 256;

// One channel of some rows as levels 0..255.
cv::Mat LevelsOf(const cv::Mat& rows, BitChannel channel) {
    cv::Mat levels;
    if (channel == BitChannel::Luminance) {
        FloatLuminance(rows).convertTo(levels, CV_8U);
    } else {
        cv::Mat plane;
        cv::extractChannel(FloatColour(rows), plane, 3 - static_cast<int>(channel));
        plane.convertTo(levels, CV_8U);
    }
    return levels;
}

}  // namespace

LineProfile ComputeLineProfile(const cv::Mat& picture, const cv::Rect& region, ProfileDirection direction,
                               const AnalysisProgress& progress) {
    CheckPicture(picture);
    const cv::Rect part = region & cv::Rect(0, 0, picture.cols, picture.rows);
    if (part.empty()) ZOR_THROW(Argument, "The selection holds no pixel of the picture.");
    const bool isRow = direction == ProfileDirection::AlongRow;
    LineProfile profile;
    profile.first = isRow ? part.x : part.y;
    profile.lines = isRow ? part.height : part.width;
    const auto length = static_cast<std::size_t>(isRow ? part.width : part.height);
    for (auto& values : profile.values) values.assign(length, 0.0);

    // Every strip has sums of its own, added in order: the same for any number of threads.
    const int strips = (part.height + kStripRows - 1) / kStripRows;
    std::vector<std::array<std::vector<double>, 4>> sums(static_cast<std::size_t>(isRow ? strips : 0));
    ForEachStrip(part.height, kStripRows, progress, [&](int first, int end) {
        const cv::Mat rows = picture(cv::Rect(part.x, part.y + first, part.width, end - first));
        cv::Mat planes[4] = {FloatLuminance(rows)};
        cv::Mat colour[3];
        cv::split(FloatColour(rows), colour);
        for (int c = 0; c < 3; ++c) planes[3 - c] = colour[c];
        for (std::size_t c = 0; c < 4; ++c) {
            cv::Mat sum;
            cv::reduce(planes[c], sum, isRow ? 0 : 1, cv::REDUCE_SUM, CV_64F);
            if (isRow) {
                sums[static_cast<std::size_t>(first / kStripRows)][c].assign(sum.begin<double>(),
                                                                             sum.end<double>());
            } else {
                std::copy(sum.begin<double>(), sum.end<double>(), profile.values[c].begin() + first);
            }
        }
    });
    for (const auto& strip : sums)
        for (std::size_t c = 0; c < 4; ++c)
            std::transform(strip[c].begin(), strip[c].end(), profile.values[c].begin(),
                           profile.values[c].begin(), std::plus<>());
    for (auto& values : profile.values)
        for (double& value : values) value /= profile.lines;
    return profile;
}

ChannelScatter ComputeScatter(const cv::Mat& picture, BitChannel first, BitChannel second,
                              const AnalysisProgress& progress) {
    CheckPicture(picture);
    ChannelScatter result;
    result.counts = cv::Mat::zeros(kLevels, kLevels, CV_32S);
    std::mutex adding;  // whole numbers: their sum does not depend on the order
    ForEachStrip(picture.rows, 4 * kStripRows, progress, [&](int begin, int end) {
        const cv::Mat rows = picture.rowRange(begin, end);
        const cv::Mat across = LevelsOf(rows, first);
        const cv::Mat down = LevelsOf(rows, second);
        cv::Mat counts = cv::Mat::zeros(kLevels, kLevels, CV_32S);
        for (int y = 0; y < rows.rows; ++y) {
            const std::uint8_t* a = across.ptr(y);
            const std::uint8_t* b = down.ptr(y);
            for (int x = 0; x < rows.cols; ++x) ++counts.ptr<int>(b[x])[a[x]];
        }
        const std::scoped_lock lock(adding);
        result.counts += counts;
    });

    double n = 0;
    double sumA = 0;
    double sumB = 0;
    for (int b = 0; b < kLevels; ++b) {
        for (int a = 0; a < kLevels; ++a) {
            const double count = result.counts.ptr<int>(b)[a];
            n += count;
            sumA += count * a;
            sumB += count * b;
        }
    }
    const double meanA = sumA / n;
    const double meanB = sumB / n;
    double aa = 0;
    double ab = 0;
    double bb = 0;
    for (int b = 0; b < kLevels; ++b) {
        for (int a = 0; a < kLevels; ++a) {
            const double count = result.counts.ptr<int>(b)[a];
            aa += count * (a - meanA) * (a - meanA);
            ab += count * (a - meanA) * (b - meanB);
            bb += count * (b - meanB) * (b - meanB);
        }
    }
    const double none = std::numeric_limits<double>::quiet_NaN();
    result.slope = aa > 0 ? ab / aa : none;
    result.offset = aa > 0 ? meanB - result.slope * meanA : none;
    result.correlation = aa > 0 && bb > 0 ? ab / std::sqrt(aa * bb) : none;
    return result;
}
