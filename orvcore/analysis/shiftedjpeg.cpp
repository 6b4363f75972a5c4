#include "orvcore/analysis/shiftedjpeg.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <memory>
#include <mutex>
#include <numbers>
#include <opencv2/imgproc.hpp>

#include "orvcore/analysis/blockdct.h"
#include "orvcore/analysis/blockrows.h"
#include "orvcore/analysis/doublejpeg.h"
#include "orvcore/analysis/luminance.h"
#include "orvcore/analysis/qualitycurve.h"

namespace {

constexpr int kSmallest = 64;
constexpr int kStripRows = 64;
constexpr int kMeans = 2050;  // of DC + 1024
constexpr int kLargestStep = 99;
constexpr int kPieceBlocks = 4;
constexpr double kStrong = 2.2;

using Means = std::array<std::uint32_t, 64 * kMeans>;

// The means of all windows whose upper row is first..end-1, by the grid that they lie on.
void CountMeans(const cv::Mat& picture, int first, int end, Means& means) {
    const auto width = static_cast<std::size_t>(picture.cols);
    const auto samples = static_cast<std::size_t>(end - first + 7);
    std::vector<float> rows(width * samples);
    for (std::size_t i = 0; i < samples; ++i) {
        const int y = first + static_cast<int>(i);
        if (picture.depth() == CV_32F) {
            std::copy_n(picture.ptr<float>(y), width, rows.data() + i * width);
        } else {
            ComputeLuminanceRow(picture, y, rows.data() + i * width);
        }
    }
    std::vector<float> sums(width);
    for (int y = first; y < end; ++y) {
        const float* row = rows.data() + static_cast<std::size_t>(y - first) * width;
        for (std::size_t x = 0; x < width; ++x) {
            sums[x] = ((row[x] + row[x + width]) + (row[x + 2 * width] + row[x + 3 * width])) +
                      ((row[x + 4 * width] + row[x + 5 * width]) + (row[x + 6 * width] + row[x + 7 * width]));
        }
        for (std::size_t reach = 1; reach < 8; reach *= 2)
            for (std::size_t x = 0; x + reach < width; ++x) sums[x] += sums[x + reach];
        std::uint32_t* line = means.data() + static_cast<std::size_t>(y % 8) * 8 * kMeans;
        for (std::size_t x = 0; x + 7 < width; ++x) {
            const int mean = static_cast<int>(sums[x] * 0.125F + 0.5F);
            ++line[x % 8 * kMeans + static_cast<std::size_t>(std::clamp(mean, 0, kMeans - 1))];
        }
    }
}

// |mean exp(-2 pi i DC / Q)| of one grid.
double Periodicity(const std::uint32_t* means, int step) {
    std::vector<double> folded(static_cast<std::size_t>(step));
    double count = 0.0;
    for (int i = 0; i < kMeans; ++i) {
        folded[static_cast<std::size_t>(i % step)] += means[i];
        count += means[i];
    }
    std::complex<double> sum;
    for (int i = 0; i < step; ++i)
        sum += folded[static_cast<std::size_t>(i)] * std::polar(1.0, -2.0 * std::numbers::pi * i / step);
    return count > 0.0 ? std::abs(sum) / count : 0.0;
}

struct Standing {
    cv::Point origin;
    double peak = 0.0;
    double second = 0.0;
    double sum = 0.0;
    double Entropy() const { return sum > 0.0 && peak > 0.0 ? -std::log(peak / sum) : std::log(49.0); }
    double Ratio() const { return second > 0.0 ? peak / second : 1.0; }
};

// Which grid stands out at one step, of those that share neither rows nor columns of blocks with the grid at (0, 0).
Standing StandingAt(const cv::Mat& grids) {
    Standing standing;
    for (int y = 1; y < 8; ++y) {
        for (int x = 1; x < 8; ++x) {
            const double value = grids.at<float>(y, x);
            standing.sum += value;
            if (value > standing.peak) {
                standing.second = standing.peak;
                standing.peak = value;
                standing.origin = {x, y};
            } else {
                standing.second = std::max(standing.second, value);
            }
        }
    }
    return standing;
}

// The step at which the coefficients beyond half of it gather best at its multiples; 0 when none does.
int FindStep(const std::uint32_t* counts) {
    constexpr int kPerUnit = FrequencyCounts::kPerUnit;
    int best = 0;
    double bestGather = 0.3;
    for (int step = 2; step <= kLargestStep; ++step) {
        double sum = 0.0;
        double count = 0.0;
        for (int i = step * kPerUnit / 2; i < FrequencyCounts::kBins; ++i) {
            if (counts[i] == 0) continue;
            sum += counts[i] * std::cos(2.0 * std::numbers::pi * i / (step * kPerUnit));
            count += counts[i];
        }
        if (count < 200.0 || sum / count <= bestGather) continue;
        bestGather = sum / count;
        best = step;
    }
    return best;
}

// log of (density near the multiples of a step / uniform density) by the distance from the nearest multiple, in eighths.
std::vector<float> GatherModel(const std::uint32_t* counts, int step) {
    constexpr int kPerUnit = FrequencyCounts::kPerUnit;
    const int half = step * kPerUnit / 2;
    std::vector<double> residuals(static_cast<std::size_t>(half) + 1);
    double total = 0.0;
    for (int i = half; i < FrequencyCounts::kBins; ++i) {
        const int folded = i % (step * kPerUnit);
        const int distance = std::min(folded, step * kPerUnit - folded);
        residuals[static_cast<std::size_t>(distance)] += counts[i];
        total += counts[i];
    }
    // Expectation and maximisation: a normal about the multiples, and a uniform part.
    double share = 0.5;
    double variance = 1.0;
    const double uniform = 1.0 / (half + 1);
    const auto normal = [&](double distance, double v) {
        const double sigma = std::sqrt(v);
        const double inside = std::erf(0.5 * step / (sigma * std::numbers::sqrt2));
        return 2.0 * std::exp(-distance * distance / (2.0 * v)) /
               (sigma * std::sqrt(2.0 * std::numbers::pi)) / kPerUnit / std::max(inside, 1e-6);
    };
    for (int round = 0; round < 30 && total > 0.0; ++round) {
        double weight = 0.0;
        double square = 0.0;
        for (int i = 0; i <= half; ++i) {
            const double distance = static_cast<double>(i) / kPerUnit;
            const double near = share * normal(distance, variance);
            const double part =
                residuals[static_cast<std::size_t>(i)] * near / (near + (1.0 - share) * uniform);
            weight += part;
            square += part * distance * distance;
        }
        share = std::clamp(weight / total, 0.01, 0.99);
        variance = std::clamp(weight > 0.0 ? square / weight : 1.0, 0.02, step * step / 12.0);
    }
    std::vector<float> model;
    for (int i = 0; i <= half; ++i) {
        const double density = normal(static_cast<double>(i) / kPerUnit, variance);
        model.push_back(static_cast<float>(std::log(std::max(density / uniform, 0.01))));
    }
    return model;
}

void MakeMap(const cv::Mat& picture, ShiftedJpegResult& result, const AnalysisProgress& progress) {
    constexpr int kPerUnit = FrequencyCounts::kPerUnit;
    const BlockRows rows(picture, result.origin);
    const FrequencyCounts counts = CountFrequencies(rows, {}, nullptr, PartOf(progress, 0.0, 0.5));
    std::array<std::vector<float>, 6> models;
    std::array<std::size_t, 6> at{};
    bool isAny = false;
    for (std::size_t k = 0; k < models.size(); ++k) {
        const cv::Point frequency = k == 0 ? cv::Point() : DoubleJpegFrequencyAt(static_cast<int>(k) - 1);
        at[k] = static_cast<std::size_t>(8 * frequency.y + frequency.x);
        result.steps[k] = k == 0 ? result.largestStep : FindStep(counts.Of(static_cast<int>(at[k])));
        if (result.steps[k] < 2) continue;
        models[k] = GatherModel(counts.Of(static_cast<int>(at[k])), result.steps[k]);
        isAny = true;
    }
    if (!isAny) return;
    const cv::Size blocks = rows.GetBlocks();
    cv::Mat values(blocks, CV_32FC1, cv::Scalar(0));
    ForEachStrip(blocks.height, kPieceBlocks, PartOf(progress, 0.5, 1.0), [&](int first, int end) {
        std::vector<float> coefficients;
        const auto width = static_cast<std::size_t>(blocks.width) * 8;
        for (int row = first; row < end; ++row) {
            rows.Read(row, coefficients);
            auto* sums = values.ptr<float>(row);
            for (std::size_t k = 0; k < models.size(); ++k) {
                if (models[k].empty()) continue;
                const int period = result.steps[k] * kPerUnit;
                const float* line = coefficients.data() + at[k] / 8 * width + at[k] % 8;
                for (int block = 0; block < blocks.width; ++block) {
                    const int size = static_cast<int>(std::abs(line[8 * block]) * kPerUnit + 0.5F);
                    if (k > 0 && size < period / 2) continue;  // near nought on every grid
                    const int folded = size % period;
                    sums[block] += models[k][static_cast<std::size_t>(std::min(folded, period - folded))];
                }
            }
        }
    });
    cv::blur(values, result.map.values, {3, 3}, {-1, -1}, cv::BORDER_REPLICATE);
    result.map.cell = {8, 8};
    result.map.origin = result.origin;
}

}  // namespace

ShiftedJpegResult ComputeShiftedJpeg(const cv::Mat& picture, const AnalysisProgress& progress) {
    const BlockRows check(picture);
    ShiftedJpegResult result;
    result.isTooSmall = picture.cols < kSmallest || picture.rows < kSmallest;
    if (result.isTooSmall) return result;
    std::vector<std::unique_ptr<Means>> buffers;
    std::mutex mutex;
    ForEachStrip(picture.rows - 7, kStripRows, PartOf(progress, 0.0, 0.5), [&](int first, int end) {
        std::unique_ptr<Means> means;
        {
            const std::scoped_lock lock(mutex);
            if (!buffers.empty()) {
                means = std::move(buffers.back());
                buffers.pop_back();
            }
        }
        if (!means) means = std::make_unique<Means>();
        CountMeans(picture, first, end, *means);
        const std::scoped_lock lock(mutex);
        buffers.push_back(std::move(means));
    });
    // Whole numbers: the order does not matter.
    Means& means = *buffers.front();
    for (std::size_t i = 1; i < buffers.size(); ++i)
        for (std::size_t k = 0; k < means.size(); ++k) means[k] += (*buffers[i])[k];
    std::vector<cv::Mat> grids(kLargestStep - 1);
    ForEachPiece(kLargestStep - 1, PartOf(progress, 0.5, 0.6), [&](int i) {
        cv::Mat of(8, 8, CV_32FC1);
        for (int grid = 0; grid < 64; ++grid)
            of.at<float>(grid / 8, grid % 8) = static_cast<float>(
                Periodicity(means.data() + static_cast<std::size_t>(grid) * kMeans, i + 2));
        grids[static_cast<std::size_t>(i)] = of;
    });
    double least = 1e9;
    for (std::size_t i = 0; i < grids.size(); ++i) {
        const Standing standing = StandingAt(grids[i]);
        if (standing.Entropy() >= least) continue;
        least = standing.Entropy();
        result.origin = standing.origin;
        result.step = static_cast<int>(i) + 2;
        result.peak = standing.peak;
        result.ratio = standing.Ratio();
        result.entropy = least;
        result.grids = grids[i];
    }
    result.largestStep = result.step;
    for (std::size_t i = 0; i < grids.size(); ++i) {
        const Standing standing = StandingAt(grids[i]);
        if (standing.origin == result.origin && standing.Ratio() >= kStrong)
            result.largestStep = static_cast<int>(i) + 2;
    }
    MakeMap(picture, result, PartOf(progress, 0.6, 1.0));
    return result;
}

AnalysisDecision JudgeShiftedJpeg(const ShiftedJpegResult& result) {
    AnalysisDecision decision;
    if (result.isTooSmall) {
        decision.text = "The picture is smaller than 64 x 64 pixels.";
        return decision;
    }
    // On every grid alike: every block has the same mean.
    if (!(result.ratio > 1.0001)) {
        decision.text = "The picture is too even: its blocks are alike on every grid.";
        return decision;
    }
    decision.measured = result.ratio;
    decision.threshold = kStrong;
    decision.finding = result.ratio >= kStrong ? Finding::StrongSign : Finding::Nothing;
    decision.text = decision.finding == Finding::Nothing
                        ? "No other grid of blocks stands out."
                        : "The picture was compressed before on a grid that begins at (" +
                              std::to_string(result.origin.x) + ", " + std::to_string(result.origin.y) +
                              "), then cropped or moved.";
    return decision;
}
