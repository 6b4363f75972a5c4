#include "orvcore/analysis/blockartefacts.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "orvcore/analysis/blockdct.h"
#include "orvcore/analysis/blockrows.h"
#include "orvcore/analysis/luminance.h"

namespace {

constexpr int kTile = 256;  // pixels, a multiple of 8
constexpr int kMean = 16;   // pixels on both sides
constexpr int kMedian = 16;
constexpr int kRecur = 16;
constexpr int kContext = kMedian + kRecur + 1;
constexpr float kLargestEdge = 50.0F;
constexpr int kSmallest = 24;
// Edges in units of 1/20 level, for the medians: at most 50 levels, 1000 units.
constexpr float kUnits = 20.0F;
constexpr int kBins = 1024;

// |2 f(y) - f(y - 1) - f(y + 1)|, 0 where it is more than a weak edge, averaged along each row. `tile` has a row of context above and
// below what comes out, and kMean columns at both sides.
cv::Mat WeakEdges(const cv::Mat& tile) {
    cv::Mat edges(tile.rows - 2, tile.cols, CV_32FC1);
    for (int y = 0; y < edges.rows; ++y) {
        const float* above = tile.ptr<float>(y);
        const float* here = tile.ptr<float>(y + 1);
        const float* below = tile.ptr<float>(y + 2);
        float* edge = edges.ptr<float>(y);
        for (int x = 0; x < tile.cols; ++x) {
            const float size = std::abs((here[x] + here[x]) - (above[x] + below[x]));
            edge[x] = size > kLargestEdge ? 0.0F : size;
        }
    }
    cv::Mat mean(edges.rows, tile.cols - 2 * kMean, CV_16SC1);
    for (int y = 0; y < mean.rows; ++y) {
        const float* edge = edges.ptr<float>(y);
        auto* row = mean.ptr<std::int16_t>(y);
        for (int x = 0; x < mean.cols; ++x) row[x] = 0;
        double sum = 0.0;
        for (int x = 0; x < 2 * kMean; ++x) sum += edge[x];
        for (int x = 0; x < mean.cols; ++x) {
            sum += edge[x + 2 * kMean];
            row[x] = static_cast<std::int16_t>(sum * (kUnits / (2 * kMean + 1)) + 0.5);
            sum -= edge[x];
        }
    }
    return mean;
}

// The edges less their median over 33 rows about them: kMedian rows less at both ends. Huang's moving histogram, one per column.
cv::Mat LessMedian(const cv::Mat& edges) {
    constexpr int kWindow = 2 * kMedian + 1;
    cv::Mat less(edges.rows - 2 * kMedian, edges.cols, CV_16SC1);
    std::array<std::uint8_t, kBins> histogram{};
    for (int x = 0; x < edges.cols; ++x) {
        histogram.fill(0);
        const auto at = [&](int y) { return std::clamp<int>(edges.at<std::int16_t>(y, x), 0, kBins - 1); };
        for (int y = 0; y < kWindow - 1; ++y) ++histogram[static_cast<std::size_t>(at(y))];
        int median = 0;
        int below = 0;  // how many are smaller than `median`
        for (int y = 0; y < less.rows; ++y) {
            const int added = at(y + kWindow - 1);
            ++histogram[static_cast<std::size_t>(added)];
            below += added < median ? 1 : 0;
            while (below > kMedian) below -= histogram[static_cast<std::size_t>(--median)];
            while (below + histogram[static_cast<std::size_t>(median)] <= kMedian)
                below += histogram[static_cast<std::size_t>(median++)];
            less.at<std::int16_t>(y, x) =
                static_cast<std::int16_t>(edges.at<std::int16_t>(y + kMedian, x) - median);
            const int gone = at(y);
            --histogram[static_cast<std::size_t>(gone)];
            below -= gone < median ? 1 : 0;
        }
    }
    return less;
}

std::int16_t MedianOfFive(std::int16_t a, std::int16_t b, std::int16_t c, std::int16_t d, std::int16_t e) {
    const auto order = [](std::int16_t& low, std::int16_t& high) {
        const std::int16_t less = std::min(low, high);
        high = std::max(low, high);
        low = less;
    };
    order(a, b);
    order(c, d);
    order(a, c);  // a is not the median
    order(b, d);  // d is not
    return std::max(std::min(b, c), std::min(std::max(b, c), e));
}

// What recurs every 8 rows: kRecur rows less at both ends.
cv::Mat Recurring(const cv::Mat& less) {
    cv::Mat result(less.rows - 2 * kRecur, less.cols, CV_16SC1);
    for (int y = 0; y < result.rows; ++y) {
        const auto row = [&](int offset) { return less.ptr<std::int16_t>(y + offset); };
        auto* target = result.ptr<std::int16_t>(y);
        const auto *a = row(0), *b = row(8), *c = row(16), *d = row(24), *e = row(32);
        for (int x = 0; x < result.cols; ++x) target[x] = MedianOfFive(a[x], b[x], c[x], d[x], e[x]);
    }
    return result;
}

// The lines of a tile: context of kContext + 0 rows above and below and kMean columns at the sides is taken off.
cv::Mat Lines(const cv::Mat& tile) {
    return Recurring(LessMedian(WeakEdges(tile)));
}

float BlockValue(const cv::Mat& lines, int left, int top) {
    std::array<int, 8> rows{};
    std::array<int, 8> columns{};
    for (std::size_t y = 0; y < 8; ++y) {
        const auto* line = lines.ptr<std::int16_t>(top + static_cast<int>(y)) + left;
        for (std::size_t x = 0; x < 8; ++x) {
            const bool isRow = x > 0 && x < 7;
            const bool isColumn = y > 0 && y < 7;
            rows[y] += isRow ? line[x] : 0;
            columns[x] += isColumn ? line[x] : 0;
        }
    }
    const auto contrast = [](const std::array<int, 8>& sums) {
        return *std::max_element(sums.begin() + 1, sums.end() - 1) - std::min(sums.front(), sums.back());
    };
    return static_cast<float>(contrast(rows) + contrast(columns)) / kUnits;
}

// Luminance of a rectangle that may reach beyond the picture, mirrored there.
cv::Mat ReadTile(const cv::Mat& picture, const cv::Rect& wanted) {
    const cv::Rect inside = wanted & cv::Rect(0, 0, picture.cols, picture.rows);
    cv::Mat part(inside.size(), CV_32FC1);
    const cv::Mat source = picture(inside);
    for (int y = 0; y < part.rows; ++y) {
        if (picture.depth() == CV_32F) {
            std::copy_n(source.ptr<float>(y), part.cols, part.ptr<float>(y));
        } else {
            ComputeLuminanceRow(source, y, part.ptr<float>(y));
        }
    }
    cv::Mat tile;
    cv::copyMakeBorder(part, tile, inside.y - wanted.y, wanted.br().y - inside.br().y, inside.x - wanted.x,
                       wanted.br().x - inside.br().x, cv::BORDER_REFLECT | cv::BORDER_ISOLATED);
    return tile;
}

}  // namespace

BlockArtefactResult ComputeBlockArtefacts(const cv::Mat& picture, const AnalysisProgress& progress) {
    const cv::Size blocks = BlockRows(picture).GetBlocks();
    BlockArtefactResult result;
    if (picture.cols < kSmallest || picture.rows < kSmallest) return result;
    cv::Mat values(blocks, CV_32FC1);
    const int across = (blocks.width * 8 + kTile - 1) / kTile;
    const int down = (blocks.height * 8 + kTile - 1) / kTile;
    ForEachPiece(across * down, PartOf(progress, 0.0, 0.9), [&](int piece) {
        const int left = piece % across * kTile;
        const int top = piece / across * kTile;
        const int width = std::min(kTile, blocks.width * 8 - left);
        const int height = std::min(kTile, blocks.height * 8 - top);
        const cv::Mat tile =
            ReadTile(picture, {left - kContext, top - kContext, width + 2 * kContext, height + 2 * kContext});
        const int spare = kContext - kMean;
        const cv::Mat horizontal = Lines(tile.colRange(spare, tile.cols - spare));
        cv::Mat turned;
        cv::transpose(tile, turned);
        cv::Mat vertical;
        cv::transpose(Lines(turned.colRange(spare, turned.cols - spare)), vertical);
        const cv::Mat lines = horizontal + vertical;
        for (int y = 0; y < height / 8; ++y)
            for (int x = 0; x < width / 8; ++x)
                values.at<float>(top / 8 + y, left / 8 + x) = BlockValue(lines, 8 * x, 8 * y);
    });
    AnalysisMap& map = result.map;
    map.cell = {8, 8};
    cv::medianBlur(values, map.values, 5);
    std::vector<float> all(map.values.begin<float>(), map.values.end<float>());
    const auto middle = all.begin() + static_cast<std::ptrdiff_t>(all.size() / 2);
    std::nth_element(all.begin(), middle, all.end());
    result.median = *middle;
    const cv::Size window(std::min(16, blocks.width), std::min(16, blocks.height));
    cv::Mat mean;
    cv::blur(map.values, mean, window, {0, 0}, cv::BORDER_REPLICATE);
    cv::minMaxLoc(mean(cv::Rect(0, 0, blocks.width - window.width + 1, blocks.height - window.height + 1)),
                  nullptr, &result.highest);
    if (progress) progress(1.0);
    return result;
}

AnalysisDecision JudgeBlockArtefacts(const BlockArtefactResult& result) {
    constexpr double kLook = 55.0;
    AnalysisDecision decision;
    if (result.map.values.empty()) {
        decision.text = "The picture is smaller than 24 x 24 pixels.";
        return decision;
    }
    decision.measured = result.highest;
    decision.threshold = kLook;
    const bool isSeen = result.median < 0.0;
    decision.finding = isSeen && result.highest > kLook ? Finding::WorthALook : Finding::Nothing;
    decision.text = decision.finding == Finding::WorthALook
                        ? "In a part the edges of blocks do not lie on the grid of the rest."
                    : isSeen ? "The edges of blocks lie on the grid at (0, 0)."
                             : "No edges of blocks are seen on the grid at (0, 0).";
    return decision;
}
