#include "orvcore/analysis/noisebrightness.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>

#include "orvcore/analysis/blockdct.h"
#include "orvcore/analysis/luminance.h"
#include "zorbase/zorexception.h"

namespace {

constexpr int kLeastSide = 64;
constexpr int kCurveBins = 12;
constexpr std::size_t kLeastCurveBlocks = 2400;
constexpr int kSmall = 5;  // side of the blocks of (b)
constexpr std::size_t kBinSize = 20'000;
constexpr int kWindow = 256;
constexpr int kStep = 64;
constexpr double kShare = 0.3;
constexpr double kLeastBlocks = 4.0;
constexpr double kDecisionPixels = 500'000;

struct Block {
    float mean;
    float low;  // energy
    float high;
    std::int32_t x, y;
};

// Blocks are found at every `stride` pixels of both directions.
int StrideFor(cv::Size size) {
    int stride = 1;
    while (static_cast<double>(size.width) * size.height / (stride * stride) > 1.0e6) ++stride;
    return stride;
}

// ---- (a) ----------------------------------------------------------------------------------------------------------------------

void CurveBlocksOfRow(const cv::Mat& luminance, int y, int stride, std::vector<Block>& blocks) {
    cv::Mat coefficients(kBlockSide, luminance.cols, CV_32F);
    for (int x0 = 0; x0 < kBlockSide; ++x0) {
        // Blocks side by side from x0; those at multiples of the stride count.
        const int count = (luminance.cols - x0) / kBlockSide;
        bool isNeeded = false;
        for (int i = 0; i < count && !isNeeded; ++i) isNeeded = (x0 + i * kBlockSide) % stride == 0;
        if (!isNeeded) continue;
        ForwardBlockDct(luminance.ptr<float>(y) + x0, luminance.step1(), coefficients.ptr<float>(0),
                        coefficients.step1(), count);
        for (int i = 0; i < count; ++i) {
            const int x = x0 + i * kBlockSide;
            if (x % stride != 0) continue;
            bool isSaturated = false;
            for (int dy = 0; dy < kBlockSide && !isSaturated; ++dy) {
                const float* row = luminance.ptr<float>(y + dy) + x;
                for (int dx = 0; dx < kBlockSide; ++dx)
                    isSaturated = isSaturated || row[dx] < 1.5F || row[dx] > 253.5F;
            }
            if (isSaturated) continue;
            Block block{coefficients.at<float>(0, i * kBlockSide) / kBlockSide, 0.0F, 0.0F, x, y};
            int highCount = 0;
            for (int v = 0; v < kBlockSide; ++v) {
                const float* row = coefficients.ptr<float>(v) + i * kBlockSide;
                for (int u = 0; u < kBlockSide; ++u) {
                    if (u + v == 0) continue;
                    if (u + v < 9) {
                        block.low += row[u] * row[u];
                    } else {
                        block.high += row[u] * row[u];
                        ++highCount;
                    }
                }
            }
            block.high /= static_cast<float>(highCount);
            blocks.push_back(block);
        }
    }
}

// Collects blocks row by row on all threads, in the order of the rows.
template <typename RowWork>
std::vector<Block> Collect(int rows, int side, int stride, const AnalysisProgress& progress,
                           const RowWork& work) {
    const int count = (rows - side) / stride + 1;
    constexpr int kRowsPerPiece = 8;
    std::vector<std::vector<Block>> parts(
        static_cast<std::size_t>((count + kRowsPerPiece - 1) / kRowsPerPiece));
    ForEachStrip(count, kRowsPerPiece, progress, [&](int first, int end) {
        for (int i = first; i < end; ++i)
            work(i * stride, parts[static_cast<std::size_t>(first / kRowsPerPiece)]);
    });
    std::vector<Block> blocks;
    for (const auto& part : parts) blocks.insert(blocks.end(), part.begin(), part.end());
    return blocks;
}

bool IsDarker(const Block& a, const Block& b) {
    return a.mean != b.mean ? a.mean < b.mean : a.y != b.y ? a.y < b.y : a.x < b.x;
}
bool IsSmoother(const Block& a, const Block& b) {
    return a.low != b.low ? a.low < b.low : IsDarker(a, b);
}
bool IsQuieter(const Block& a, const Block& b) {
    return a.high != b.high ? a.high < b.high : IsDarker(a, b);
}

void MakeCurve(std::vector<Block>& blocks, NoiseBrightnessResult& result) {
    result.fitError = std::numeric_limits<double>::quiet_NaN();
    if (blocks.size() < kLeastCurveBlocks) return;
    std::sort(blocks.begin(), blocks.end(), IsDarker);
    for (int bin = 0; bin < kCurveBins; ++bin) {
        const auto at = [&](int i) {
            return blocks.begin() +
                   static_cast<std::ptrdiff_t>(blocks.size() * static_cast<std::size_t>(i) / kCurveBins);
        };
        const auto size = static_cast<std::size_t>(at(bin + 1) - at(bin));
        const auto kept = static_cast<std::ptrdiff_t>(std::max<std::size_t>(size / 200, 1));
        std::nth_element(at(bin), at(bin) + kept, at(bin + 1), IsSmoother);
        std::sort(at(bin), at(bin) + kept, IsQuieter);
        double level = 0.0;
        for (auto block = at(bin); block != at(bin) + kept; ++block) level += block->mean;
        const double energy = (at(bin) + kept / 2)->high;
        result.curve.push_back({level / static_cast<double>(kept), std::sqrt(energy)});
    }
    // Least squares of sigma^2 - 1/12 over the level.
    double n = 0.0, sumX = 0.0, sumY = 0.0, sumXX = 0.0, sumXY = 0.0;
    for (const NoisePoint& point : result.curve) {
        const double y = point.sigma * point.sigma - 1.0 / 12;
        n += 1.0;
        sumX += point.level;
        sumY += y;
        sumXX += point.level * point.level;
        sumXY += point.level * y;
    }
    const double determinant = n * sumXX - sumX * sumX;
    result.slope = determinant > 1e-6 ? (n * sumXY - sumX * sumY) / determinant : 0.0;
    result.offset = (sumY - result.slope * sumX) / n;
    double squared = 0.0;
    for (const NoisePoint& point : result.curve) {
        const double line = std::sqrt(std::max(result.slope * point.level + result.offset + 1.0 / 12, 1e-6));
        squared += (point.sigma - line) * (point.sigma - line) / (line * line);
    }
    result.fitError = std::sqrt(squared / n);
}

// ---- (b) ----------------------------------------------------------------------------------------------------------------------

// Rows of the orthonormal transform of five samples.
const std::array<std::array<float, kSmall>, kSmall>& SmallDct() {
    static const auto matrix = [] {
        std::array<std::array<float, kSmall>, kSmall> m{};
        for (int u = 0; u < kSmall; ++u)
            for (int x = 0; x < kSmall; ++x)
                m[static_cast<std::size_t>(u)][static_cast<std::size_t>(x)] =
                    static_cast<float>(std::sqrt((u == 0 ? 1.0 : 2.0) / kSmall) *
                                       std::cos((2 * x + 1) * u * 3.14159265358979323846 / (2 * kSmall)));
        return m;
    }();
    return matrix;
}

void SmallBlocksOfRow(const cv::Mat& plane, int y, int stride, std::vector<Block>& blocks) {
    const auto& dct = SmallDct();
    // Along columns once for the whole row of blocks.
    std::array<std::vector<float>, kSmall> columns;
    for (std::size_t v = 0; v < kSmall; ++v) {
        columns[v].assign(static_cast<std::size_t>(plane.cols), 0.0F);
        for (std::size_t i = 0; i < kSmall; ++i) {
            const std::uint8_t* row = plane.ptr(y + static_cast<int>(i));
            for (int x = 0; x < plane.cols; ++x)
                columns[v][static_cast<std::size_t>(x)] += dct[v][i] * static_cast<float>(row[x]);
        }
    }
    for (int x = 0; x + kSmall <= plane.cols; x += stride) {
        bool isUsable = true;
        for (int dy = 0; dy < kSmall && isUsable; ++dy) {
            const std::uint8_t* row = plane.ptr(y + dy) + x;
            for (int dx = 0; dx < kSmall; ++dx) isUsable = isUsable && row[dx] != 0 && row[dx] != 255;
        }
        if (!isUsable) continue;
        Block block{0.0F, 0.0F, 0.0F, x, y};
        for (std::size_t v = 0; v < kSmall; ++v) {
            const float* column = columns[v].data() + x;
            for (std::size_t u = 0; u < kSmall; ++u) {
                float c = 0.0F;
                for (std::size_t i = 0; i < kSmall; ++i) c += dct[u][i] * column[i];
                if (u + v == 0) {
                    block.mean = c / kSmall;
                } else {
                    (u + v < kSmall ? block.low : block.high) += c * c;
                }
            }
        }
        // Rounding leaves tiny energies in blocks of one level.
        if (block.low + block.high > 1e-3F) blocks.push_back(block);
    }
}

// Takes from `blocks` those of V, quiet ones marked by mean < 0.
std::vector<Block> Select(std::vector<Block>& blocks, const AnalysisProgress& progress) {
    std::sort(blocks.begin(), blocks.end(), IsDarker);
    std::vector<Block> selected;
    const std::size_t bins = std::max<std::size_t>((blocks.size() + kBinSize / 2) / kBinSize, 1);
    for (std::size_t bin = 0; bin < bins; ++bin) {
        if (progress) progress(static_cast<double>(bin) / static_cast<double>(bins));
        const auto first = blocks.begin() + static_cast<std::ptrdiff_t>(blocks.size() * bin / bins);
        const auto last = blocks.begin() + static_cast<std::ptrdiff_t>(blocks.size() * (bin + 1) / bins);
        const auto smooth = (last - first) / 20;
        if (smooth < 4) continue;
        std::nth_element(first, first + smooth, last, IsSmoother);
        const auto quiet = static_cast<std::ptrdiff_t>(kShare * static_cast<double>(smooth));
        std::nth_element(first, first + quiet, first + smooth, IsQuieter);
        for (auto block = first; block != first + smooth; ++block) {
            selected.push_back(*block);
            if (block - first < quiet) selected.back().mean = -1.0F;
        }
    }
    return selected;
}

void MapQuietPlaces(const cv::Mat& image, int stride, NoiseBrightnessResult& result,
                    const AnalysisProgress& progress) {
    result.leastLogNfa = std::numeric_limits<double>::quiet_NaN();
    if (image.cols < kWindow || image.rows < kWindow) return;
    const cv::Size cells((image.cols - kWindow) / kStep + 1, (image.rows - kWindow) / kStep + 1);
    AnalysisMap& map = result.map;
    map.cell = {kStep, kStep};
    map.origin = {(kWindow - kStep) / 2, (kWindow - kStep) / 2};
    map.values = cv::Mat::zeros(cells, CV_32F);
    map.known = cv::Mat::zeros(cells, CV_8U);
    const double tests = std::log10(static_cast<double>(cells.area()) * image.channels());
    // Overlapping blocks say the same several times.
    const double overlap = std::max(static_cast<double>(kSmall * kSmall) / (stride * stride), 1.0);
    for (int c = 0; c < image.channels(); ++c) {
        const double done = static_cast<double>(c) / image.channels();
        cv::Mat plane;
        cv::extractChannel(image, plane, c);
        std::vector<Block> blocks =
            Collect(plane.rows, kSmall, stride, PartOf(progress, done, done + 0.8 / image.channels()),
                    [&](int y, std::vector<Block>& row) { SmallBlocksOfRow(plane, y, stride, row); });
        // Sums over cells of a step, so that a window is 4 x 4 of them.
        const cv::Size small((image.cols + kStep - 1) / kStep, (image.rows + kStep - 1) / kStep);
        cv::Mat all = cv::Mat::zeros(small, CV_32S);
        cv::Mat quiet = cv::Mat::zeros(small, CV_32S);
        for (const Block& block :
             Select(blocks, PartOf(progress, done + 0.8 / image.channels(), done + 1.0 / image.channels()))) {
            const cv::Point cell((block.x + kSmall / 2) / kStep, (block.y + kSmall / 2) / kStep);
            ++all.at<int>(cell);
            quiet.at<int>(cell) += block.mean < 0.0F;
        }
        for (int y = 0; y < cells.height; ++y) {
            for (int x = 0; x < cells.width; ++x) {
                const cv::Rect window(x, y, kWindow / kStep, kWindow / kStep);
                const double n = cv::sum(all(window))[0] / overlap;
                if (n < kLeastBlocks) continue;
                const double logNfa =
                    tests + Log10BinomialTail(n, cv::sum(quiet(window))[0] / overlap, kShare);
                float& value = map.values.at<float>(y, x);
                std::uint8_t& known = map.known.at<std::uint8_t>(y, x);
                value = known == 0 ? static_cast<float>(logNfa) : std::min(value, static_cast<float>(logNfa));
                known = 255;
                if (result.leastLogNfa <= logNfa) continue;
                result.leastLogNfa = logNfa;
                result.quietest = cv::Rect(x * kStep, y * kStep, kWindow, kWindow);
            }
        }
    }
}

}  // namespace

double Log10BinomialTail(double n, double k, double p) {
    if (k <= 0.0) return 0.0;
    if (k > n) return -std::numeric_limits<double>::infinity();
    // Terms fall towards both ends: summed from k up with the largest taken out.
    const auto logTerm = [&](double i) {
        return std::lgamma(n + 1) - std::lgamma(i + 1) - std::lgamma(n - i + 1) + i * std::log(p) +
               (n - i) * std::log1p(-p);
    };
    std::vector<double> terms;
    for (double i = k; i <= n; i += 1.0) terms.push_back(logTerm(i));
    const double largest = *std::max_element(terms.begin(), terms.end());
    double sum = 0.0;
    for (const double term : terms) sum += std::exp(term - largest);
    return std::min((largest + std::log(sum)) / std::log(10.0), 0.0);
}

NoiseBrightnessResult ComputeNoiseBrightness(const cv::Mat& image, const AnalysisProgress& progress) {
    if ((image.type() != CV_8UC1 && image.type() != CV_8UC3) || image.cols < kLeastSide ||
        image.rows < kLeastSide) {
        ZOR_THROW(
            Argument,
            "Noise against brightness needs a grey or colour picture of 8 bits and at least 64 x 64 pixels.");
    }
    NoiseBrightnessResult result;
    const int stride = StrideFor(image.size());
    const cv::Mat luminance = ComputeLuminance(image, PartOf(progress, 0.0, 0.05));
    std::vector<Block> blocks =
        Collect(image.rows, kBlockSide, stride, PartOf(progress, 0.05, 0.3),
                [&](int y, std::vector<Block>& row) { CurveBlocksOfRow(luminance, y, stride, row); });
    MakeCurve(blocks, result);
    MapQuietPlaces(image, stride, result, PartOf(progress, 0.35, 1.0));
    return result;
}

AnalysisDecision DecideNoiseBrightness(const NoiseBrightnessResult& result, cv::Size picture) {
    AnalysisDecision decision;
    if (static_cast<double>(picture.width) * picture.height < kDecisionPixels ||
        std::isnan(result.leastLogNfa)) {
        decision.text = "Too small or too busy: quiet places are told from half a megapixel on.";
        return decision;
    }
    decision.measured = result.leastLogNfa;
    decision.threshold = result.leastLogNfa < kQuietStrong ? kQuietStrong : kQuietHint;
    decision.finding = result.leastLogNfa < kQuietStrong ? Finding::StrongSign
                       : result.leastLogNfa < kQuietHint ? Finding::WorthALook
                                                         : Finding::Nothing;
    decision.text =
        decision.finding == Finding::StrongSign
            ? "A place is quieter than the picture's noise at its brightness allows."
        : decision.finding == Finding::WorthALook
            ? "A place is quieter than chance allows; one of twenty untouched camera pictures has one."
            : "No place is quieter than the picture's noise at its brightness; a noisier one is not seen.";
    return decision;
}
