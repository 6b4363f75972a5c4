#include "orvcore/analysis/medianfilter.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "zorbase/zorexception.h"

namespace {

constexpr int kBlock = 64;
constexpr int kReach = 3;
constexpr int kLeastSide = 16;
constexpr int kLeastTextured = 1000;
constexpr int kLeastCells = 4;  // for a decision
constexpr float kLeastVariance = 100.0F;

struct Counts {
    std::int64_t textured = 0, zero = 0, one = 0, all = 0;
    void Add(const Counts& other) {
        textured += other.textured;
        zero += other.zero;
        one += other.one;
        all += other.all;
    }
    double Ratio() const {
        return one > 0 ? 2.0 * static_cast<double>(zero) / static_cast<double>(one)
                       : std::numeric_limits<double>::quiet_NaN();
    }
};

void CountRow(const cv::Mat& plane, int cellY, std::vector<Counts>& counts) {
    const int first = cellY * kBlock;
    const int end = std::min(first + kBlock, plane.rows);
    const int from = std::max(first - kReach, 0);
    const cv::Mat part = plane.rowRange(from, std::min(end + kReach, plane.rows)).clone();
    constexpr int kSide = 2 * kReach + 1;
    cv::Mat mean, squares;
    cv::boxFilter(part, mean, CV_32F, {kSide, kSide}, {-1, -1}, true, cv::BORDER_REFLECT_101);
    cv::sqrBoxFilter(part, squares, CV_32F, {kSide, kSide}, {-1, -1}, true, cv::BORDER_REFLECT_101);
    for (int y = first; y < end; ++y) {
        const std::uint8_t* row = plane.ptr(y);
        const std::uint8_t* below = plane.ptr(std::min(y + 1, plane.rows - 1));
        const float* m = mean.ptr<float>(y - from);
        const float* s = squares.ptr<float>(y - from);
        for (int x = 0; x < plane.cols; ++x) {
            if (row[x] < 9 || row[x] > 246 || s[x] - m[x] * m[x] <= kLeastVariance) continue;
            Counts& cell = counts[static_cast<std::size_t>(x / kBlock)];
            ++cell.textured;
            const auto count = [&cell](int difference) {
                cell.zero += difference == 0;
                cell.one += difference == 1;
                ++cell.all;
            };
            if (x + 1 < plane.cols) count(std::abs(row[x + 1] - row[x]));
            if (y + 1 < plane.rows) count(std::abs(below[x] - row[x]));
        }
    }
}

}  // namespace

MedianFilterResult ComputeMedianFilterTrace(const cv::Mat& plane, const AnalysisProgress& progress) {
    if (plane.type() != CV_8UC1 || plane.cols < kLeastSide || plane.rows < kLeastSide) {
        ZOR_THROW(Argument,
                  "Traces of median filtering need one channel of 8 bits of at least 16 x 16 pixels.");
    }
    const cv::Size cells((plane.cols + kBlock - 1) / kBlock, (plane.rows + kBlock - 1) / kBlock);
    std::vector<std::vector<Counts>> counts(static_cast<std::size_t>(cells.height),
                                            std::vector<Counts>(static_cast<std::size_t>(cells.width)));
    ForEachPiece(cells.height, progress,
                 [&](int y) { CountRow(plane, y, counts[static_cast<std::size_t>(y)]); });
    MedianFilterResult result;
    result.map.cell = {kBlock, kBlock};
    result.map.values = cv::Mat::zeros(cells, CV_32F);
    result.map.known = cv::Mat::zeros(cells, CV_8U);
    Counts all;
    std::vector<double> known;
    for (int y = 0; y < cells.height; ++y) {
        for (int x = 0; x < cells.width; ++x) {
            const Counts& cell = counts[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)];
            all.Add(cell);
            if (cell.textured <= kLeastTextured || cell.one == 0) continue;
            result.map.values.at<float>(y, x) = static_cast<float>(cell.Ratio());
            result.map.known.at<std::uint8_t>(y, x) = 255;
            known.push_back(cell.Ratio());
        }
    }
    result.ratio = all.Ratio();
    result.zeroShare = all.all > 0 ? static_cast<double>(all.zero) / static_cast<double>(all.all)
                                   : std::numeric_limits<double>::quiet_NaN();
    result.knownCells = static_cast<int>(known.size());
    result.medianRatio = std::numeric_limits<double>::quiet_NaN();
    if (!known.empty()) {
        const auto middle = known.begin() + static_cast<std::ptrdiff_t>(known.size() / 2);
        std::nth_element(known.begin(), middle, known.end());
        result.medianRatio = *middle;
    }
    return result;
}

AnalysisDecision DecideMedianFilter(const MedianFilterResult& result) {
    AnalysisDecision decision;
    if (result.knownCells < kLeastCells) {
        decision.text = "Too little texture: only textured parts show whether values repeat.";
        return decision;
    }
    if (result.medianRatio > kDrawnRatio) {
        decision.text =
            "Neighbours are equal far more often than a median filter makes them: a drawing, lettering or very strong compression.";
        return decision;
    }
    decision.measured = result.medianRatio;
    decision.threshold = kMedianRatioThreshold;
    const bool isStrong = result.medianRatio >= kMedianRatioThreshold;
    decision.finding = isStrong ? Finding::StrongSign : Finding::Nothing;
    decision.text = isStrong ? "Neighbouring samples are equal as often as after a median filter."
                             : "No trace of a median filter; any compression after it would have erased it.";
    return decision;
}
