#include "orvcore/analysis/qualitycurve.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <mutex>

#include "orvcore/analysis/blockdct.h"
#include "orvcore/analysis/vectors.h"
#include "orvcore/formats/jpegquality.h"

using vectors::Vector;

namespace {

constexpr int kPieceBlocks = 4;  // rows of blocks
constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
constexpr int kQualities = 100;

// Counts that threads take turns to add to. Whole numbers: the order does not matter.
class SharedCounts {
  public:
    std::unique_ptr<FrequencyCounts> Take() {
        const std::scoped_lock lock(m_mutex);
        if (m_free.empty()) return std::make_unique<FrequencyCounts>();
        auto counts = std::move(m_free.back());
        m_free.pop_back();
        return counts;
    }
    void GiveBack(std::unique_ptr<FrequencyCounts> counts) {
        const std::scoped_lock lock(m_mutex);
        m_free.push_back(std::move(counts));
    }
    void AddTo(FrequencyCounts& sum) const {
        for (const auto& counts : m_free) sum.Add(*counts);
    }

  private:
    std::mutex m_mutex;
    std::vector<std::unique_ptr<FrequencyCounts>> m_free;
};

// The bins of the coefficients of one frequency row, eight blocks' worth of registers at a time: |c| * 8 rounded.
[[gnu::always_inline]] inline void ToBins(const float* coefficients, int count, std::int32_t* bins) {
    for (int i = 0; i < count; i += 8) {
        Vector v = vectors::At(coefficients + i) * static_cast<float>(FrequencyCounts::kPerUnit);
        const vectors::IntVector isNegative = v < 0.0F;
        v = isNegative ? -v : v;
        const Vector limit = Vector{} + static_cast<float>(FrequencyCounts::kBins - 1);
        v = v > limit ? limit : v;
        v += 0.5F;
        *reinterpret_cast<vectors::UnalignedIntVector*>(bins + i) =
            __builtin_convertvector(v, vectors::IntVector);
    }
}

ORV_WIDE_WHERE_POSSIBLE(ToBinsRow, ToBins, (const float* coefficients, int count, std::int32_t* bins),
                        (coefficients, count, bins))

// The blocks of a row whose middle lies in the region: from first (inclusive) to second.
std::pair<int, int> InsideOf(const BlockRows& rows, int row, const cv::Rect& region) {
    const int middle = rows.GetOrigin().y + kBlockSide * row + kBlockSide / 2;
    if (region.empty() || middle < region.y || middle >= region.y + region.height) return {0, 0};
    const int width = rows.GetBlocks().width;
    const auto firstFrom = [&](int x) {
        // The first block whose middle is not left of x.
        const int distance = x - rows.GetOrigin().x - kBlockSide / 2;
        return std::clamp(distance <= 0 ? 0 : (distance + kBlockSide - 1) / kBlockSide, 0, width);
    };
    return {firstFrom(region.x), firstFrom(region.x + region.width)};
}

std::array<std::array<int, kQualities>, 64> AllSteps() {
    std::array<std::array<int, kQualities>, 64> steps{};
    for (int q = 0; q < kQualities; ++q) {
        const QuantizationTable table = StandardQuantizationTable(q + 1, false);
        for (std::size_t f = 0; f < 64; ++f) steps[f][static_cast<std::size_t>(q)] = table.values[f];
    }
    return steps;
}

// Sum of squared distances from the multiples of a step, over the bins of one frequency. Bins of a multiple follow each other, so
// no division is needed.
double SquaredError(const std::uint32_t* counts, int bins, int step) {
    double sum = 0.0;
    const int side = step * FrequencyCounts::kPerUnit;
    int distance = 0;  // from the nearest multiple, in bins
    for (int i = 0; i < bins; ++i) {
        sum += static_cast<double>(counts[i]) * (static_cast<double>(distance) * distance);
        if (++distance > side / 2) distance -= side;
    }
    return sum / (FrequencyCounts::kPerUnit * FrequencyCounts::kPerUnit);
}

// detail, where it is wanted, gets the curve without frequency 0.
std::array<double, kQualities> CurveOf(const FrequencyCounts& counts, const AnalysisProgress& progress,
                                       std::array<double, kQualities>* detail = nullptr) {
    static const auto allSteps = AllSteps();
    std::array<std::array<double, kQualities>, 64> errors{};
    ForEachPiece(64, progress, [&](int frequency) {
        const std::uint32_t* of = counts.Of(frequency);
        int bins = FrequencyCounts::kBins;
        while (bins > 0 && of[bins - 1] == 0) --bins;
        const auto& steps = allSteps[static_cast<std::size_t>(frequency)];
        auto& result = errors[static_cast<std::size_t>(frequency)];
        for (std::size_t q = 0; q < kQualities; ++q)
            result[q] = q > 0 && steps[q] == steps[q - 1] ? result[q - 1] : SquaredError(of, bins, steps[q]);
    });
    std::array<double, kQualities> curve{};
    const auto rootOf = [&counts](double sum) {
        return counts.GetBlocks() > 0 ? std::sqrt(sum / (64.0 * static_cast<double>(counts.GetBlocks())))
                                      : kNone;
    };
    for (std::size_t q = 0; q < kQualities; ++q) {
        double sum = 0.0;
        for (const auto& error : errors) sum += error[q];
        curve[q] = rootOf(sum);
        if (detail != nullptr) (*detail)[q] = rootOf(std::max(sum - errors[0][q], 0.0));
    }
    return curve;
}

// Over how many classes of 32 the means of blocks spread.
double SpreadOfMeans(const FrequencyCounts& counts) {
    constexpr int kClass = 32 * FrequencyCounts::kPerUnit;
    std::array<double, FrequencyCounts::kBins / kClass + 1> classes{};
    for (int i = 0; i < FrequencyCounts::kBins; ++i)
        classes[static_cast<std::size_t>(i / kClass)] += counts.Of(0)[i];
    double sum = 0.0;
    double squares = 0.0;
    for (const double count : classes) {
        sum += count;
        squares += count * count;
    }
    return squares > 0.0 ? sum * sum / squares : 0.0;
}

// Sums of |sample - sample saved at each quality| over one block.
void AddErrorLevels(const float* samples, const float* coefficients,
                    const std::vector<std::array<float, 64>>& steps, std::array<double, kQualities>& sums) {
    std::array<float, 64> saved{};
    for (std::size_t q = 0; q < kQualities; ++q) {
        for (std::size_t i = 0; i < 64; ++i)
            saved[i] = std::nearbyint(coefficients[i] / steps[q][i]) * steps[q][i];
        InverseBlockDct(saved.data(), 8, saved.data(), 8, 1, 128.0F);
        float sum = 0.0F;
        for (std::size_t i = 0; i < 64; ++i) {
            const float level = std::nearbyint(std::clamp(saved[i], 0.0F, 255.0F));
            sum += std::abs(level - std::nearbyint(samples[i]));
        }
        sums[q] += sum;
    }
}

}  // namespace

void FrequencyCounts::AddBlocks(const std::vector<float>& coefficients, int blocks, int begin, int end) {
    if (begin >= end) return;
    const auto width = static_cast<std::size_t>(blocks) * 8;
    std::vector<std::int32_t> bins(static_cast<std::size_t>(end - begin) * 8);
    for (std::size_t v = 0; v < 8; ++v) {
        ToBinsRow(coefficients.data() + v * width + 8 * static_cast<std::size_t>(begin), 8 * (end - begin),
                  bins.data());
        std::uint32_t* counts = Of(static_cast<int>(8 * v));
        for (std::size_t i = 0; i < bins.size(); i += 8) {
            for (std::size_t u = 0; u < 8; ++u) ++counts[u * kBins + static_cast<std::size_t>(bins[i + u])];
        }
    }
    m_blocks += static_cast<std::uint64_t>(end - begin);
}

void FrequencyCounts::Add(const FrequencyCounts& other) {
    for (std::size_t i = 0; i < m_counts.size(); ++i) m_counts[i] += other.m_counts[i];
    m_blocks += other.m_blocks;
}

FrequencyCounts CountFrequencies(const BlockRows& rows, const cv::Rect& region, FrequencyCounts* inside,
                                 const AnalysisProgress& progress) {
    const cv::Size blocks = rows.GetBlocks();
    SharedCounts outsides;
    SharedCounts insides;
    ForEachStrip(blocks.height, kPieceBlocks, progress, [&](int first, int end) {
        auto out = outsides.Take();
        auto in = inside != nullptr ? insides.Take() : nullptr;
        std::vector<float> coefficients;
        for (int row = first; row < end; ++row) {
            rows.Read(row, coefficients);
            const auto [from, to] = in ? InsideOf(rows, row, region) : std::pair(0, 0);
            out->AddBlocks(coefficients, blocks.width, 0, from);
            if (in) in->AddBlocks(coefficients, blocks.width, from, to);
            out->AddBlocks(coefficients, blocks.width, to, blocks.width);
        }
        outsides.GiveBack(std::move(out));
        if (in) insides.GiveBack(std::move(in));
    });
    FrequencyCounts counts;
    outsides.AddTo(counts);
    if (inside != nullptr) insides.AddTo(*inside);
    return counts;
}

QualityCurve ComputeQualityCurve(const cv::Mat& picture, cv::Point origin, const cv::Rect& region,
                                 const AnalysisProgress& progress) {
    const BlockRows rows(picture, origin);
    QualityCurve curve;
    const bool hasRegion = !region.empty();
    FrequencyCounts inside;
    FrequencyCounts counts =
        CountFrequencies(rows, region, hasRegion ? &inside : nullptr, PartOf(progress, 0.0, 0.6));
    curve.outside = CurveOf(counts, PartOf(progress, 0.6, 0.75), &curve.detail);
    curve.inside = CurveOf(inside, PartOf(progress, 0.75, 0.85));
    curve.blocksInside = inside.GetBlocks();
    if (hasRegion) counts.Add(inside);
    curve.all = hasRegion ? CurveOf(counts, PartOf(progress, 0.85, 1.0), &curve.detail) : curve.outside;
    curve.blocks = counts.GetBlocks();
    curve.spreadOfMeans = SpreadOfMeans(counts);
    return curve;
}

std::vector<CurveDip> FindDips(const std::array<double, 100>& curve, double leastDepth) {
    constexpr int kReach = 2;
    constexpr double kFloor = 0.02;  // levels
    std::vector<CurveDip> dips;
    const auto at = [&](int quality) { return curve[static_cast<std::size_t>(quality - 1)] + kFloor; };
    for (int quality = 1 + kReach; quality <= 100 - kReach; ++quality) {
        if (!(at(quality) < at(quality - 1)) || !(at(quality) <= at(quality + 1))) continue;
        const double depth =
            0.5 * std::log(at(quality - kReach) * at(quality + kReach)) - std::log(at(quality));
        if (depth >= leastDepth)
            dips.push_back({quality, curve[static_cast<std::size_t>(quality - 1)], depth});
    }
    std::stable_sort(dips.begin(), dips.end(),
                     [](const CurveDip& a, const CurveDip& b) { return a.depth > b.depth; });
    return dips;
}

namespace {

// How many times as coarse as those of quality `finer` the steps of quality `coarser` are: a whole number from 2 on, or 0 where
// they are no multiples. A picture saved at `coarser` dips at both.
int MultipleOfSteps(int coarser, int finer) {
    constexpr double kTolerance = 0.04;  // what rounding to whole steps does
    const auto scale = [](int quality) { return quality < 50 ? 5000.0 / quality : 200.0 - 2.0 * quality; };
    if (scale(finer) <= 0.0) return 0;
    const double ratio = scale(coarser) / scale(finer);
    const double whole = std::round(ratio);
    return whole >= 2.0 && std::abs(ratio / whole - 1.0) <= kTolerance ? static_cast<int>(whole) : 0;
}

}  // namespace

AnalysisDecision JudgeQualityCurve(const QualityCurve& curve, std::optional<int> lastQuality) {
    constexpr double kLook = 0.1;
    constexpr std::uint64_t kLeastBlocks = 64;
    AnalysisDecision decision;
    if (curve.blocks < kLeastBlocks) {
        decision.text = "The picture has fewer than 64 whole blocks.";
        return decision;
    }
    constexpr std::size_t kHalf = 49;  // quality 50
    constexpr double kLeastChange = 0.1;
    if (!(curve.detail[kHalf] >= kLeastChange)) {
        decision.text = "The picture is too smooth: saving it again changes nearly nothing.";
        return decision;
    }
    if (lastQuality == 0) {
        decision.text =
            "The file's own tables are not the standard's: the curve dips where they happen to agree.";
        return decision;
    }
    decision.finding = Finding::Nothing;
    decision.measured = 0.0;
    decision.threshold = kLook;
    decision.text = "The curve has no dip but that of the file's own last save, if it is a JPEG.";
    constexpr double kLeastSpread = 6.0;
    const std::vector<CurveDip> dips =
        FindDips(curve.spreadOfMeans >= kLeastSpread ? curve.all : curve.detail);
    // What the last save left dips at its own quality, and at finer ones whose steps divide its own.
    const auto dip = std::find_if(dips.begin(), dips.end(), [&](const CurveDip& candidate) {
        return !lastQuality || candidate.quality < *lastQuality - 1;
    });
    if (dip == dips.end()) return decision;
    decision.measured = dip->depth;
    if (dip->depth < kLook) return decision;
    decision.finding = Finding::WorthALook;
    const std::string quality = std::to_string(dip->quality);
    decision.text = "The curve dips at quality " + quality +
                    ": as after an earlier save on this grid with these steps, or with multiples of them.";
    for (const CurveDip& coarser : dips) {
        const int times = MultipleOfSteps(coarser.quality, dip->quality);
        if (times == 0) continue;
        const std::string first = std::to_string(coarser.quality);
        decision.text = "The curve dips at quality " + quality + " and at " + first + ", whose steps are " +
                        std::to_string(times) + " times those: as after an earlier save at quality " + first +
                        " on this grid.";
        break;
    }
    return decision;
}

ErrorLevelCurve ComputeErrorLevelCurve(const cv::Mat& picture, const cv::Rect& region, int blocks,
                                       const AnalysisProgress& progress) {
    const BlockRows rows(picture);
    const cv::Size size = rows.GetBlocks();
    std::int64_t counts[2] = {0, 0};
    for (int row = 0; row < size.height; ++row) {
        const auto [from, to] = InsideOf(rows, row, region);
        counts[1] += to - from;
        counts[0] += size.width - (to - from);
    }
    std::vector<std::array<float, 64>> steps;
    for (int quality = 1; quality <= kQualities; ++quality) {
        const QuantizationTable table = StandardQuantizationTable(quality, false);
        std::copy_n(table.values.begin(), 64, steps.emplace_back().begin());
    }
    // Every n-th block of its side of the region, counted row by row.
    const auto every = [&](int side) {
        return std::max<std::int64_t>(counts[side] / std::max(blocks, 1), 1);
    };
    const std::int64_t stride[2] = {every(0), every(1)};
    std::vector<std::array<std::array<double, kQualities>, 2>> sums(static_cast<std::size_t>(size.height));
    std::vector<std::array<int, 2>> taken(sums.size());
    std::vector<std::array<std::int64_t, 2>> before(sums.size());
    std::array<std::int64_t, 2> seen{0, 0};
    for (int row = 0; row < size.height; ++row) {
        const auto [from, to] = InsideOf(rows, row, region);
        before[static_cast<std::size_t>(row)] = seen;
        seen[1] += to - from;
        seen[0] += size.width - (to - from);
    }
    ForEachPiece(size.height, progress, [&](int row) {
        const auto [from, to] = InsideOf(rows, row, region);
        auto index = before[static_cast<std::size_t>(row)];
        std::vector<int> chosen[2];
        for (int column = 0; column < size.width; ++column) {
            const std::size_t side = column >= from && column < to ? 1 : 0;
            if (index[side]++ % stride[side] == 0) chosen[side].push_back(column);
        }
        if (chosen[0].empty() && chosen[1].empty()) return;
        std::vector<float> samples;
        rows.ReadSamples(row, samples);
        const auto width = static_cast<std::size_t>(size.width) * 8;
        for (std::size_t side = 0; side < 2; ++side) {
            for (const int column : chosen[side]) {
                std::array<float, 64> block{};
                std::array<float, 64> coefficients{};
                for (std::size_t y = 0; y < 8; ++y)
                    std::copy_n(samples.data() + y * width + 8 * static_cast<std::size_t>(column), 8,
                                block.data() + 8 * y);
                ForwardBlockDct(block.data(), 8, coefficients.data(), 8, 1, 128.0F);
                AddErrorLevels(block.data(), coefficients.data(), steps,
                               sums[static_cast<std::size_t>(row)][side]);
            }
            taken[static_cast<std::size_t>(row)][side] = static_cast<int>(chosen[side].size());
        }
    });
    ErrorLevelCurve curve;
    for (std::size_t row = 0; row < sums.size(); ++row) {
        curve.blocksOutside += taken[row][0];
        curve.blocksInside += taken[row][1];
        for (std::size_t q = 0; q < kQualities; ++q) {
            curve.outside[q] += sums[row][0][q];
            curve.inside[q] += sums[row][1][q];
        }
    }
    for (std::size_t q = 0; q < kQualities; ++q) {
        curve.outside[q] = curve.blocksOutside > 0 ? curve.outside[q] / (64.0 * curve.blocksOutside) : kNone;
        curve.inside[q] = curve.blocksInside > 0 ? curve.inside[q] / (64.0 * curve.blocksInside) : kNone;
    }
    return curve;
}
