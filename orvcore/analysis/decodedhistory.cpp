#include "orvcore/analysis/decodedhistory.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "orvcore/analysis/blockdct.h"
#include "orvcore/analysis/blockrows.h"
#include "orvcore/analysis/luminance.h"
#include "orvcore/analysis/qualitycurve.h"
#include "orvcore/formats/jpegquality.h"

namespace {

constexpr int kStripRows = 64;
constexpr int kDifferences = 512;
constexpr int kLeastBlocks = 64;
constexpr int kSampledBlocks = 8192;  // per grid, for the choice of the grid
constexpr std::uint32_t kLeastCoefficients = 60;

// By the position of pixel A in the grid, 8 y + x.
using Differences = std::array<std::array<std::uint32_t, kDifferences>, 64>;

void ReadRow(const cv::Mat& picture, int y, std::vector<float>& row) {
    if (picture.depth() == CV_32F) {
        std::copy_n(picture.ptr<float>(y), picture.cols, row.data());
    } else {
        ComputeLuminanceRow(picture, y, row.data());
    }
    for (float& level : row) level = std::floor(level + 0.5F);
}

void CountDifferences(const cv::Mat& picture, int first, int end, Differences& counts) {
    std::vector<float> upper(static_cast<std::size_t>(picture.cols));
    std::vector<float> lower(upper.size());
    ReadRow(picture, first, lower);
    for (int y = first; y < end; ++y) {
        std::swap(upper, lower);
        ReadRow(picture, y + 1, lower);
        auto* row = &counts[static_cast<std::size_t>(y % 8) * 8];
        for (std::size_t x = 0; x + 1 < upper.size(); ++x) {
            const float difference = std::abs((upper[x] - upper[x + 1]) - (lower[x] - lower[x + 1]));
            ++row[x % 8][std::min(static_cast<std::size_t>(difference), std::size_t{kDifferences - 1})];
        }
    }
}

// Sum of the differences of the histograms at the corner of the blocks (A is a block's last pixel) and in their middle.
double StrengthOn(const Differences& counts, cv::Point origin) {
    const auto of = [&](int x, int y) -> const auto& {
        return counts[static_cast<std::size_t>((origin.y + y) % 8 * 8 + (origin.x + x) % 8)];
    };
    const auto& corner = of(7, 7);
    const auto& middle = of(3, 3);
    double corners = 0.0;
    double middles = 0.0;
    for (std::size_t i = 0; i < kDifferences; ++i) {
        corners += corner[i];
        middles += middle[i];
    }
    if (corners == 0.0 || middles == 0.0) return 0.0;
    double sum = 0.0;
    for (std::size_t i = 0; i < kDifferences; ++i) sum += std::abs(corner[i] / corners - middle[i] / middles);
    return sum;
}

// The part of AC coefficients below 0.5, of evenly spread rows of blocks.
double PartOfZeros(const cv::Mat& picture, cv::Point origin) {
    const BlockRows rows(picture, origin);
    const cv::Size blocks = rows.GetBlocks();
    if (blocks.empty()) return 0.0;
    const int taken = std::clamp(kSampledBlocks / blocks.width, 1, blocks.height);
    std::vector<float> coefficients;
    std::int64_t zeros = 0;
    std::int64_t all = 0;
    for (int i = 0; i < taken; ++i) {
        rows.Read(static_cast<int>(static_cast<std::int64_t>(i) * blocks.height / taken), coefficients);
        for (const float coefficient : coefficients) zeros += std::abs(coefficient) < 0.5F ? 1 : 0;
        all += static_cast<std::int64_t>(coefficients.size());
    }
    return static_cast<double>(zeros) / static_cast<double>(all);
}

// 0 without enough coefficients above 1, 1 without a step of at least 3.
int EstimateStep(const std::uint32_t* counts) {
    constexpr int kPerUnit = FrequencyCounts::kPerUnit;
    std::uint64_t total = 0;
    int largest = 0;
    for (int i = kPerUnit + 1; i < FrequencyCounts::kBins; ++i) {
        total += counts[i];
        if (counts[i] > 0) largest = i;
    }
    if (total < kLeastCoefficients) return 0;
    for (int step = std::min(255, largest / kPerUnit + 1); step >= 3; --step) {
        const int period = step * kPerUnit;
        std::uint64_t near = 0;
        for (int i = kPerUnit + 1; i <= largest; ++i) {
            const int folded = i % period;
            if (std::min(folded, period - folded) <= kPerUnit) near += counts[i];
        }
        if (10 * near >= 9 * total) return step;
    }
    return 1;
}

void NameQuality(DecodedHistoryResult& result) {
    for (int quality = 100; quality >= 1; --quality) {
        const QuantizationTable table = StandardQuantizationTable(quality, false);
        int agreeing = 0;
        for (std::size_t i = 0; i < 64; ++i)
            agreeing += result.steps[i] >= 3 && result.steps[i] == table.values[i] ? 1 : 0;
        if (agreeing <= result.agreeing) continue;
        result.agreeing = agreeing;
        result.quality = quality;
    }
}

}  // namespace

DecodedHistoryResult ComputeDecodedHistory(const cv::Mat& picture, const AnalysisProgress& progress) {
    DecodedHistoryResult result;
    const cv::Size all = BlockRows(picture).GetBlocks();
    result.isTooSmall = all.area() < kLeastBlocks || picture.cols < 16 || picture.rows < 16;
    if (result.isTooSmall) return result;
    Differences differences{};
    std::mutex mutex;
    ForEachStrip(picture.rows - 1, kStripRows, PartOf(progress, 0.0, 0.3), [&](int first, int end) {
        auto part = std::make_unique<Differences>();
        CountDifferences(picture, first, end, *part);
        const std::scoped_lock lock(mutex);
        for (std::size_t i = 0; i < part->size(); ++i)
            for (std::size_t k = 0; k < kDifferences; ++k) differences[i][k] += (*part)[i][k];
    });
    result.grids.create(8, 8, CV_32FC1);
    for (int grid = 0; grid < 64; ++grid)
        result.grids.at<float>(grid / 8, grid % 8) =
            static_cast<float>(StrengthOn(differences, {grid % 8, grid / 8}));
    result.strengthOrigin = result.grids.at<float>(0, 0);
    // The largest K is off by a pixel at high qualities: the grid on which most coefficients are nought is not.
    std::array<double, 64> zeros{};
    ForEachPiece(64, PartOf(progress, 0.3, 0.6), [&](int grid) {
        zeros[static_cast<std::size_t>(grid)] = PartOfZeros(picture, {grid % 8, grid / 8});
    });
    const int best = static_cast<int>(std::max_element(zeros.begin(), zeros.end()) - zeros.begin());
    result.origin = {best % 8, best / 8};
    result.strength = result.grids.at<float>(best / 8, best % 8);
    const FrequencyCounts counts =
        CountFrequencies(BlockRows(picture, result.origin), {}, nullptr, PartOf(progress, 0.6, 0.9));
    ForEachPiece(63, PartOf(progress, 0.9, 1.0), [&](int i) {
        result.steps[static_cast<std::size_t>(i + 1)] = EstimateStep(counts.Of(i + 1));
    });
    result.resolved = static_cast<int>(
        std::count_if(result.steps.begin(), result.steps.end(), [](int step) { return step >= 3; }));
    NameQuality(result);
    return result;
}

AnalysisDecision JudgeDecodedHistory(const DecodedHistoryResult& result, bool isJpeg) {
    constexpr double kLook = 6.0;  // steps that agree with one quality
    AnalysisDecision decision;
    if (result.isTooSmall) {
        decision.text = "The picture has fewer than 64 whole blocks.";
        return decision;
    }
    if (isJpeg && result.origin == cv::Point()) {
        decision.text = "The file is a JPEG: its own save on the grid at (0, 0) covers what was before.";
        return decision;
    }
    decision.measured = result.agreeing;
    decision.threshold = kLook;
    decision.finding = result.agreeing >= kLook ? Finding::WorthALook : Finding::Nothing;
    decision.text = decision.finding == Finding::WorthALook
                        ? "The pixels were a JPEG before, with the tables of quality " +
                              std::to_string(result.quality) + " on the grid that begins at (" +
                              std::to_string(result.origin.x) + ", " + std::to_string(result.origin.y) + ")."
                        : "No steps of an earlier JPEG are seen in the pixels.";
    return decision;
}
