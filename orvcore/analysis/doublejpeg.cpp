#include "orvcore/analysis/doublejpeg.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <memory>
#include <mutex>
#include <opencv2/imgproc.hpp>

#include "orvcore/analysis/blockdct.h"
#include "orvcore/formats/jpegquality.h"

namespace {

constexpr int kPieceBlocks = 32;  // rows of blocks: fewer pieces, fewer buffers that the system clears first
constexpr int kReach = 64;        // levels -64..64; larger ones say nothing
constexpr int kLevels = 2 * kReach + 1;
constexpr int kLargestFirstStep = 60;
constexpr int kLeastBlocks = 64;
constexpr double kLeastGain = 0.02;  // a gap is never taken as certain

using Levels = std::array<std::uint32_t, kLevels>;
using Histograms = std::array<Levels, kDoubleJpegFrequencies>;

constexpr int kZigzagU[kDoubleJpegFrequencies] = {1, 0, 0, 1, 2, 3, 2, 1, 0, 0, 1, 2, 3, 4};
constexpr int kZigzagV[kDoubleJpegFrequencies] = {0, 1, 2, 1, 0, 0, 1, 2, 3, 4, 3, 2, 1, 0};

// What is beyond the reach falls into the first or the last bin, which says nothing.
constexpr std::size_t kBins = kLevels + 2;
std::size_t BinOf(int level) {
    return static_cast<std::size_t>(std::clamp(level, -kReach - 1, kReach + 1) + kReach + 1);
}
std::size_t BinOf(float value) {
    const float kept = std::clamp(value, -kReach - 1.0F, kReach + 1.0F);
    return static_cast<std::size_t>(static_cast<int>(kept + std::copysign(0.5F, kept)) + kReach + 1);
}

// Counts the levels of rows of blocks. Neighbours go to different counters: a picture's levels are mostly 0, and one counter would
// wait for itself.
class LevelCounter {
  public:
    // levelAt(block): a level, or a number that is rounded to one.
    template <typename LevelAt>
    void Add(int blocks, const LevelAt& levelAt) {
        for (int block = 0; block < blocks; ++block)
            ++m_counts[static_cast<std::size_t>(block % 4)][BinOf(levelAt(block))];
    }
    void AddTo(Levels& levels) const {
        for (const auto& counts : m_counts)
            for (std::size_t i = 0; i < levels.size(); ++i) levels[i] += counts[i + 1];
    }

  private:
    std::array<std::array<std::uint32_t, kBins>, 4> m_counts{};
};

using LevelCounters = std::array<LevelCounter, kDoubleJpegFrequencies>;

void AddTo(Histograms& sum, const LevelCounters& counters) {
    for (std::size_t k = 0; k < counters.size(); ++k) counters[k].AddTo(sum[k]);
}

// Levels of the file's own coefficients in a row of blocks.
void CountStored(const JpegCoefficientPlane& component, int row, LevelCounters& counters) {
    for (std::size_t k = 0; k < counters.size(); ++k) {
        const auto* levels = component.coefficients.ptr<std::int16_t>(8 * row + kZigzagV[k]) + kZigzagU[k];
        counters[k].Add(component.blocks.width, [&](int block) { return int{levels[8 * block]}; });
    }
}

// Decoded samples, not rounded, of a row of blocks.
void Decode(const JpegCoefficientPlane& component, int row, float* samples) {
    const auto width = static_cast<std::size_t>(component.blocks.width) * 8;
    for (std::size_t v = 0; v < 8; ++v) {
        const auto* levels = component.coefficients.ptr<std::int16_t>(8 * row + static_cast<int>(v));
        const std::uint16_t* steps = component.steps.data() + 8 * v;
        float* line = samples + width * v;
        for (std::size_t x = 0; x < width; x += 8)
            for (std::size_t u = 0; u < 8; ++u) line[x + u] = static_cast<float>(levels[x + u] * steps[u]);
    }
    InverseBlockDct(samples, width, samples, width, component.blocks.width);
}

// The file's own levels, and those that the same picture has on a grid moved by (4, 4), where no save has left its trace. Both at once:
// the coefficients are in the processor's cache then. At least two rows of blocks.
void CountLevels(const JpegCoefficientPlane& component, Histograms& ofFile, Histograms& ofMoved,
                 const AnalysisProgress& progress) {
    std::mutex mutex;
    const int pairs = component.wholeBlockRows - 1;
    ForEachStrip(pairs, kPieceBlocks, progress, [&](int first, int end) {
        const auto storedCounters = std::make_unique<LevelCounters>();
        const auto movedCounters = std::make_unique<LevelCounters>();
        const int across = component.blocks.width - 1;
        const auto width = static_cast<std::size_t>(component.blocks.width) * 8;
        std::vector<float> samples(width * 16);  // two rows of blocks, one below the other
        float* lower = samples.data() + width * 8;
        Decode(component, first, lower);
        std::vector<float> moved(static_cast<std::size_t>(across) * 64);
        const auto step = static_cast<std::size_t>(across) * 8;
        for (int row = first; row < end; ++row) {
            std::copy(lower, lower + width * 8, samples.data());
            CountStored(component, row, *storedCounters);
            Decode(component, row + 1, lower);
            ForwardBlockDct(samples.data() + width * 4 + 4, width, moved.data(), step, across);
            for (std::size_t k = 0; k < movedCounters->size(); ++k) {
                const auto u = static_cast<std::size_t>(kZigzagU[k]);
                const auto v = static_cast<std::size_t>(kZigzagV[k]);
                const float inverse = 1.0F / static_cast<float>(component.steps[8 * v + u]);
                const float* coefficients = moved.data() + v * step + u;
                (*movedCounters)[k].Add(across, [&](int block) { return coefficients[8 * block] * inverse; });
            }
        }
        if (end == pairs) CountStored(component, pairs, *storedCounters);
        const std::scoped_lock lock(mutex);
        AddTo(ofFile, *storedCounters);
        AddTo(ofMoved, *movedCounters);
    });
}

using Gains = std::array<double, kLevels>;

Gains GainsOf(int q1, int q2) {
    Gains gains{};
    for (int u = -kReach; u <= kReach; ++u)
        gains[static_cast<std::size_t>(u + kReach)] = DoubleQuantisationGain(u, q1, q2);
    return gains;
}

// The first step whose peaks and gaps explain best how the stored levels differ from those without a first save; level 0 is left
// out, it depends on the picture most.
void FitFirstStep(const Levels& stored, const Levels& moved, DoubleJpegFrequency& result) {
    std::array<double, kLevels> h{};
    std::array<double, kLevels> plain{};
    double sumStored = 0.0;
    double sumPlain = 0.0;
    for (std::size_t i = 0; i < h.size(); ++i) {
        if (i == kReach) continue;
        sumStored += h[i] = stored[i];
        sumPlain += plain[i] = moved[i];
    }
    if (sumStored < 100.0 || sumPlain < 100.0) return;
    double single = 0.0;
    for (std::size_t i = 0; i < h.size(); ++i) {
        h[i] /= sumStored;
        plain[i] /= sumPlain;
        single += (h[i] - plain[i]) * (h[i] - plain[i]);
    }
    double least = single;
    for (int q1 = 1; q1 <= kLargestFirstStep; ++q1) {
        if (result.lastStep % q1 == 0) continue;
        const Gains gains = GainsOf(q1, result.lastStep);
        double product = 0.0;
        double square = 0.0;
        for (std::size_t i = 0; i < h.size(); ++i) {
            const double change = (gains[i] - 1.0) * plain[i];
            product += (h[i] - plain[i]) * change;
            square += change * change;
        }
        if (square <= 0.0 || product <= 0.0) continue;
        const double share = std::min(product / square, 1.0);
        if (share <= 0.25) continue;
        const double error = single - 2.0 * share * product + share * share * square;
        if (error >= least) continue;
        least = error;
        result.firstStep = q1;
        result.share = share;
    }
    result.errorRatio = single > 0.0 ? least / single : 1.0;
}

// Sums of log gain over the frequencies found, less its sign: positive where the levels do not know the first step.
void ComputeBlocks(const JpegCoefficientPlane& component, DoubleJpegResult& result,
                   const AnalysisProgress& progress) {
    std::array<std::array<float, kBins>, kDoubleJpegFrequencies> logarithms{};
    for (std::size_t k = 0; k < logarithms.size(); ++k) {
        const DoubleJpegFrequency& frequency = result.frequencies[k];
        if (!frequency.IsFound()) continue;
        const Gains gains = GainsOf(frequency.firstStep, frequency.lastStep);
        for (std::size_t i = 0; i < gains.size(); ++i)
            logarithms[k][i + 1] = static_cast<float>(-std::log(std::max(gains[i], kLeastGain)));
    }
    cv::Mat values(component.blocks, CV_32FC1, cv::Scalar(0));
    cv::Mat known(component.blocks, CV_8UC1, cv::Scalar(0));
    ForEachStrip(component.wholeBlockRows, kPieceBlocks, progress, [&](int first, int end) {
        std::vector<std::int16_t> bits(
            static_cast<std::size_t>(component.blocks.width));  // set in any level of a block
        for (int row = first; row < end; ++row) {
            auto* sums = values.ptr<float>(row);
            std::fill(bits.begin(), bits.end(), std::int16_t{0});
            for (std::size_t k = 0; k < logarithms.size(); ++k) {
                const auto* levels =
                    component.coefficients.ptr<std::int16_t>(8 * row + kZigzagV[k]) + kZigzagU[k];
                for (int block = 0; block < component.blocks.width; ++block) {
                    const int level = levels[8 * block];
                    bits[static_cast<std::size_t>(block)] |= levels[8 * block];
                    sums[block] += logarithms[k][BinOf(level)];
                }
            }
            std::transform(bits.begin(), bits.end(), known.ptr(row),
                           [](std::int16_t set) { return static_cast<std::uint8_t>(set != 0 ? 1 : 0); });
        }
    });
    AnalysisMap& map = result.map;
    cv::blur(values, map.values, {3, 3}, {-1, -1}, cv::BORDER_REPLICATE);
    map.known = known;
    map.cell = {8, 8};
}

void MeasureMap(DoubleJpegResult& result) {
    const AnalysisMap& map = result.map;
    std::vector<float> values;
    for (int y = 0; y < map.values.rows; ++y)
        for (int x = 0; x < map.values.cols; ++x)
            if (map.IsKnown(x, y)) values.push_back(map.values.at<float>(y, x));
    if (values.empty()) return;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    result.median = *middle;
    cv::Mat labels;
    cv::Mat facts;
    cv::Mat middles;
    const cv::Mat above = (map.values > 0.0) & (map.known != 0);
    const int count = cv::connectedComponentsWithStats(above, labels, facts, middles, 4, CV_32S);
    int largest = 0;
    for (int i = 1; i < count; ++i) {
        const int area = facts.at<int>(i, cv::CC_STAT_AREA);
        if (area <= result.regionBlocks) continue;
        result.regionBlocks = area;
        largest = i;
    }
    if (largest == 0) return;
    result.regionBox = cv::Rect(
        8 * facts.at<int>(largest, cv::CC_STAT_LEFT), 8 * facts.at<int>(largest, cv::CC_STAT_TOP),
        8 * facts.at<int>(largest, cv::CC_STAT_WIDTH), 8 * facts.at<int>(largest, cv::CC_STAT_HEIGHT));
    result.regionMean = cv::mean(map.values, labels == largest)[0];
}

void NameFirstQuality(DoubleJpegResult& result) {
    double least = 1e9;
    for (int quality = 1; quality <= 100; ++quality) {
        const QuantizationTable table = StandardQuantizationTable(quality, false);
        double deviation = 0.0;
        int agreeing = 0;
        for (const DoubleJpegFrequency& frequency : result.frequencies) {
            if (!frequency.IsFound()) continue;
            const int step =
                table.values[static_cast<std::size_t>(8 * frequency.frequency.y + frequency.frequency.x)];
            deviation += std::abs(std::log(static_cast<double>(step) / frequency.firstStep));
            agreeing += step == frequency.firstStep ? 1 : 0;
        }
        if (agreeing < result.agreeing || (agreeing == result.agreeing && deviation >= least)) continue;
        least = deviation;
        result.firstQuality = quality;
        result.agreeing = agreeing;
    }
}

}  // namespace

cv::Point DoubleJpegFrequencyAt(int index) {
    return {kZigzagU[index], kZigzagV[index]};
}

double DoubleQuantisationGain(int level, int q1, int q2, double noise) {
    const double low = q2 * (level - 0.5);
    const double high = q2 * (level + 0.5);
    const auto below = [&](double x) { return 0.5 * std::erfc(-x / (noise * std::sqrt(2.0))); };
    const double margin = 5.0 * noise;
    const int first = static_cast<int>(std::ceil((low - margin) / q1));
    const int last = static_cast<int>(std::floor((high + margin) / q1));
    double count = 0.0;
    for (int n = first; n <= last; ++n) count += below(high - n * q1) - below(low - n * q1);
    return count * q1 / q2;
}

DoubleJpegResult ComputeDoubleJpeg(const JpegCoefficientPlane& luminance, const AnalysisProgress& progress) {
    DoubleJpegResult result;
    if (luminance.coefficients.empty() || !luminance.hasSteps) return result;
    result.blocks = luminance.blocks.width * luminance.wholeBlockRows;
    if (luminance.blocks.width < 2 || luminance.wholeBlockRows < 2) return result;
    Histograms stored{};
    Histograms moved{};
    CountLevels(luminance, stored, moved, PartOf(progress, 0.0, 0.8));
    for (int k = 0; k < kDoubleJpegFrequencies; ++k) {
        DoubleJpegFrequency frequency;
        frequency.frequency = DoubleJpegFrequencyAt(k);
        frequency.lastStep = luminance.steps[static_cast<std::size_t>(8 * kZigzagV[k] + kZigzagU[k])];
        const auto index = static_cast<std::size_t>(k);
        if (frequency.lastStep > 0) FitFirstStep(stored[index], moved[index], frequency);
        result.found += frequency.IsFound() ? 1 : 0;
        result.frequencies.push_back(frequency);
    }
    if (result.found == 0) return result;
    ComputeBlocks(luminance, result, PartOf(progress, 0.8, 1.0));
    MeasureMap(result);
    NameFirstQuality(result);
    return result;
}

bool HasForeignRegion(const DoubleJpegResult& result) {
    return result.found >= 3 && result.median <= -3.0 && result.regionBlocks >= 256 &&
           result.regionMean > 3.0;
}

AnalysisDecision JudgeDoubleJpeg(const DoubleJpegResult& result) {
    AnalysisDecision decision;
    if (result.blocks < kLeastBlocks) {
        decision.text = "The file holds no luminance coefficients, or fewer than 64 blocks of them.";
        return decision;
    }
    decision.measured = result.median;
    decision.threshold = -3.0;
    const bool isSavedTwice = result.found >= 3 && result.median <= decision.threshold;
    decision.finding = isSavedTwice ? Finding::StrongSign : Finding::Nothing;
    if (HasForeignRegion(result)) {
        decision.text = "The picture was saved before on the same grid, but a part of it was not.";
    } else if (isSavedTwice) {
        decision.text = "The picture was saved before on the same grid, with other steps.";
    } else {
        decision.text =
            "No first save is seen; one with finer steps, or with steps that divide the file's own, would not be.";
    }
    return decision;
}
