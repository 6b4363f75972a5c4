#include "orvcore/analysis/jpegdimples.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "orvcore/analysis/blockdct.h"
#include "orvcore/analysis/blockrows.h"
#include "orvcore/analysis/luminance.h"
#include "zorbase/zorexception.h"

namespace {

constexpr int kPieceBlocks = 8;  // rows of blocks
constexpr float kDarkest = 5.0F;
constexpr float kBrightest = 250.0F;
constexpr float kClip = 8.0F;
constexpr int kLeastBlocks = 256;

// What a strip of rows of blocks adds up to; the strips are added in their order.
struct Sums {
    std::array<double, 64> block{};
    double difference = 0.0;
    double square = 0.0;
    int count = 0;
};

// Luminance of the rows and one more above and below.
cv::Mat ReadRows(const cv::Mat& picture, int first, int end) {
    cv::Mat rows(end - first, picture.cols, CV_32FC1);
    for (int y = first; y < end; ++y) {
        float* row = rows.ptr<float>(y - first);
        if (picture.depth() == CV_32F) {
            std::copy_n(picture.ptr<float>(y), picture.cols, row);
        } else {
            ComputeLuminanceRow(picture, y, row);
        }
    }
    return rows;
}

bool IsUsable(const cv::Mat& block) {
    for (int y = 0; y < 8; ++y) {
        const float* row = block.ptr<float>(y);
        for (int x = 0; x < 8; ++x)
            if (row[x] <= kDarkest || row[x] >= kBrightest) return false;
    }
    return true;
}

using Block = std::array<float, 64>;

// The block with the means of its rows and columns taken off.
template <typename Values>
std::array<double, 64> Centred(const Values& block) {
    std::array<double, 8> rows{};
    std::array<double, 8> columns{};
    double all = 0.0;
    for (std::size_t i = 0; i < 64; ++i) {
        rows[i / 8] += block[i] / 8.0;
        columns[i % 8] += block[i] / 8.0;
        all += block[i] / 64.0;
    }
    std::array<double, 64> centred{};
    for (std::size_t i = 0; i < 64; ++i) centred[i] = block[i] - rows[i / 8] - columns[i % 8] + all;
    return centred;
}

// Correlation with one pixel at each place, centred in the same way: its own value is 49/64 and its length 7/8.
std::array<double, 64> Correlations(const std::array<double, 64>& centred) {
    double square = 0.0;
    for (const double value : centred) square += value * value;
    std::array<double, 64> result{};
    if (square <= 1e-12) return result;
    for (std::size_t i = 0; i < 64; ++i) result[i] = centred[i] / (std::sqrt(square) * 7.0 / 8.0);
    return result;
}

// One row of blocks: residuals into sums, each block's correlation at (0, 0) and whether it counts into the rows.
void MeasureRow(const cv::Mat& luminance, const cv::Mat& residual, Sums& sums, float* correlations,
                std::uint8_t* usable) {
    const int blocks = luminance.cols / 8;
    for (int b = 1; b + 1 < blocks; ++b) {
        if (!IsUsable(luminance.colRange(8 * b, 8 * b + 8))) continue;
        Block block{};
        for (int y = 0; y < 8; ++y) {
            const float* row = residual.ptr<float>(y) + 8 * b;
            for (int x = 0; x < 8; ++x)
                block[static_cast<std::size_t>(8 * y + x)] = std::clamp(row[x], -kClip, kClip);
        }
        const double difference = block[0] - (static_cast<double>(block[7]) + block[56] + block[63]) / 3.0;
        sums.difference += difference;
        sums.square += difference * difference;
        ++sums.count;
        for (std::size_t i = 0; i < 64; ++i) sums.block[i] += block[i];
        correlations[b] = static_cast<float>(Correlations(Centred(block))[0]);
        usable[b] = 1;
    }
}

void MeasureShape(const Sums& sums, DimpleResult& result) {
    const double count = sums.count;
    result.strength = sums.difference / count;
    const double variance = std::max(sums.square / count - result.strength * result.strength, 1e-12);
    result.significance = result.strength / std::sqrt(variance / count);
    result.meanBlock.create(8, 8, CV_32FC1);
    for (int i = 0; i < 64; ++i)
        result.meanBlock.at<float>(i / 8, i % 8) =
            static_cast<float>(sums.block[static_cast<std::size_t>(i)] / count);
    const auto correlations = Correlations(Centred(sums.block));
    double others = 0.0;
    int number = 0;
    std::size_t largest = 0;
    for (std::size_t i = 0; i < 64; ++i) {
        if (std::abs(correlations[i]) > std::abs(correlations[largest])) largest = i;
        const bool isNear = (i % 8 <= 1 || i % 8 == 7) && (i / 8 <= 1 || i / 8 == 7);
        if (isNear) continue;
        others += correlations[i] * correlations[i];
        ++number;
    }
    result.place = {static_cast<int>(largest % 8), static_cast<int>(largest / 8)};
    const double first = correlations[0];
    result.shape = others > 0.0 ? std::copysign(first * first / (others / number), first) : 0.0;
}

void MakeMap(const cv::Mat& correlations, const cv::Mat& usable, int side, DimpleResult& result) {
    if (correlations.cols < side || correlations.rows < side) return;
    const cv::Rect whole(0, 0, correlations.cols - side + 1, correlations.rows - side + 1);
    cv::Mat sums;
    cv::Mat counts;
    cv::boxFilter(correlations, sums, CV_32F, {side, side}, {0, 0}, false, cv::BORDER_REPLICATE);
    cv::boxFilter(usable, counts, CV_32F, {side, side}, {0, 0}, false, cv::BORDER_REPLICATE);
    AnalysisMap& map = result.map;
    map.cell = {8, 8};
    map.origin = cv::Point(8 * (side - 1) / 2, 8 * (side - 1) / 2);
    map.values.create(whole.size(), CV_32FC1);
    map.known.create(whole.size(), CV_8UC1);
    const double sign = result.strength < 0.0 ? -1.0 : 1.0;
    std::vector<float> known;
    for (int y = 0; y < whole.height; ++y) {
        for (int x = 0; x < whole.width; ++x) {
            const float count = counts.at<float>(y, x);
            const bool isKnown = count >= 0.25F * static_cast<float>(side * side);
            const double value = isKnown ? sign * sums.at<float>(y, x) / count : 0.0;
            map.values.at<float>(y, x) = static_cast<float>(value);
            map.known.at<std::uint8_t>(y, x) = isKnown ? 1 : 0;
            if (isKnown) known.push_back(static_cast<float>(value));
        }
    }
    if (known.empty()) return;
    result.lowest = *std::min_element(known.begin(), known.end());
    const auto middle = known.begin() + static_cast<std::ptrdiff_t>(known.size() / 2);
    std::nth_element(known.begin(), middle, known.end());
    result.median = *middle;
}

}  // namespace

bool DimpleResult::HasDimples() const {
    return blocks >= kLeastBlocks && std::abs(strength) >= 0.15 && std::abs(significance) >= 12.0 &&
           std::abs(shape) >= 8.0;
}

DimpleResult ComputeDimples(const cv::Mat& picture, const DimpleSettings& settings,
                            const AnalysisProgress& progress) {
    const cv::Size blocks = BlockRows(picture).GetBlocks();
    if (settings.window < 64 || settings.window > 512 || settings.window % 8 != 0)
        ZOR_THROW(Argument, "JPEG dimples need a window of 64 to 512 pixels, a multiple of 8.");
    DimpleResult result;
    if (blocks.width < 3 || blocks.height < 3) return result;
    cv::Mat correlations(blocks, CV_32FC1, cv::Scalar(0));
    cv::Mat usable(blocks, CV_8UC1, cv::Scalar(0));
    const int inner = blocks.height - 2;
    std::vector<Sums> strips(static_cast<std::size_t>((inner + kPieceBlocks - 1) / kPieceBlocks));
    ForEachStrip(inner, kPieceBlocks, PartOf(progress, 0.0, 0.95), [&](int first, int end) {
        const cv::Mat luminance = ReadRows(picture, 8 * (first + 1) - 1, 8 * (end + 1) + 1);
        cv::Mat residual;
        cv::medianBlur(luminance, residual, 3);
        residual = luminance - residual;
        for (int row = first; row < end; ++row) {
            const int top = 1 + 8 * (row - first);
            MeasureRow(luminance.rowRange(top, top + 8), residual.rowRange(top, top + 8),
                       strips[static_cast<std::size_t>(first / kPieceBlocks)],
                       correlations.ptr<float>(row + 1), usable.ptr(row + 1));
        }
    });
    Sums sums;
    for (const Sums& strip : strips) {
        for (std::size_t i = 0; i < 64; ++i) sums.block[i] += strip.block[i];
        sums.difference += strip.difference;
        sums.square += strip.square;
        sums.count += strip.count;
    }
    result.blocks = sums.count;
    if (sums.count == 0) return result;
    MeasureShape(sums, result);
    MakeMap(correlations, usable, settings.window / 8, result);
    if (progress) progress(1.0);
    return result;
}

AnalysisDecision JudgeDimples(const DimpleResult& result) {
    AnalysisDecision decision;
    if (result.blocks < kLeastBlocks) {
        decision.text = "Fewer than 256 blocks are neither too dark nor too bright.";
        return decision;
    }
    if (!result.HasDimples()) {
        decision.text = "The encoder left no dimples in this picture: it rounds to the nearest, as most do.";
        return decision;
    }
    const double kLook = 0.25;
    decision.measured = result.median > 0.0 ? result.lowest / result.median : 1.0;
    decision.threshold = kLook;
    const bool isMissing = result.median > 0.05 && decision.measured < kLook;
    decision.finding = isMissing ? Finding::WorthALook : Finding::Nothing;
    decision.text = isMissing ? "The picture has dimples, but not in a part of it."
                              : "The picture has dimples, everywhere alike.";
    return decision;
}
