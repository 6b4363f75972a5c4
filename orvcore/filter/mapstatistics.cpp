#include "orvcore/filter/mapstatistics.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <memory>
#include <vector>

namespace {

// The order of the values as whole numbers without a sign: what is larger is larger, so that a median is found by counting.
template <typename Value>
std::uint32_t OrderOf(Value value) {
    if constexpr (std::is_same_v<Value, float>) {
        const auto bits = std::bit_cast<std::uint32_t>(value);
        return (bits & 0x80000000U) != 0 ? ~bits : bits | 0x80000000U;
    } else if constexpr (std::is_signed_v<Value>) {
        return static_cast<std::uint32_t>(static_cast<std::int32_t>(value)) ^ 0x80000000U;
    } else {
        return value;
    }
}

template <typename Value>
double ValueOf(std::uint32_t order) {
    if constexpr (std::is_same_v<Value, float>)
        return static_cast<double>(
            std::bit_cast<float>((order & 0x80000000U) != 0 ? order & 0x7FFFFFFFU : ~order));
    else if constexpr (std::is_signed_v<Value>)
        return static_cast<double>(static_cast<std::int32_t>(order ^ 0x80000000U));
    else
        return order;
}

// Values of up to 16 bits have a bin each; of others the upper 16 bits decide first, then the lower ones of one bin.
template <typename Value>
constexpr bool kHasBinEach = sizeof(Value) <= 2;
constexpr std::size_t kBins = 65536;

template <typename Value>
std::size_t BinOf(std::uint32_t order) {
    if constexpr (kHasBinEach<Value>)
        return order & (kBins - 1);
    else
        return order >> 16;
}

// Signed 16 bits begin at 0x7FFF8000: shifted so that they lie side by side.
template <typename Value>
std::uint32_t Shifted(Value value) {
    if constexpr (kHasBinEach<Value> && std::is_signed_v<Value>)
        return static_cast<std::uint32_t>(static_cast<std::int32_t>(value) + 32768);
    else
        return OrderOf(value);
}
template <typename Value>
double Unshifted(std::uint32_t order) {
    if constexpr (kHasBinEach<Value> && std::is_signed_v<Value>)
        return static_cast<double>(static_cast<std::int32_t>(order) - 32768);
    else
        return ValueOf<Value>(order);
}

struct Sums {
    std::int64_t count = 0;
    std::int64_t beyond = 0;
    double sum = 0.0;  // about the pivot, and so are the squares
    double squares = 0.0;

    void Add(const Sums& other) {
        count += other.count;
        beyond += other.beyond;
        sum += other.sum;
        squares += other.squares;
    }
};

using Histogram = std::vector<std::uint32_t>;

struct Strip {
    Sums sums[2];  // inside, outside
};

// How much of each column or row of the map lies in an interval of the image.
struct Overlap {
    std::vector<int> inside;  // pixels of the cell in the region, per column or row
    std::vector<int> size;    // pixels of the cell in the image
};

Overlap OverlapOf(int cells, int origin, int block, int imageSide, int begin, int length) {
    Overlap overlap;
    overlap.inside.resize(static_cast<std::size_t>(cells));
    overlap.size.resize(static_cast<std::size_t>(cells));
    for (int i = 0; i < cells; ++i) {
        const std::int64_t low = std::clamp<std::int64_t>(origin + std::int64_t{i} * block, 0, imageSide);
        const std::int64_t high =
            std::clamp<std::int64_t>(origin + std::int64_t{i + 1} * block, 0, imageSide);
        const std::int64_t from = std::max<std::int64_t>(low, begin);
        const std::int64_t to = std::min<std::int64_t>(high, std::int64_t{begin} + length);
        overlap.size[static_cast<std::size_t>(i)] = static_cast<int>(high - low);
        overlap.inside[static_cast<std::size_t>(i)] = static_cast<int>(std::max<std::int64_t>(to - from, 0));
    }
    return overlap;
}

template <typename Value>
class Measurer {
  public:
    Measurer(const OrvMap& map, const Roi& region)
        : m_map(map),
          m_columns(OverlapOf(map.values.cols, map.origin.x, map.block.width, map.image.width, region.x,
                              std::max(region.width, 0))),
          m_rows(OverlapOf(map.values.rows, map.origin.y, map.block.height, map.image.height, region.y,
                           std::max(region.height, 0))) {}

    MapStatistics Run(const AnalysisProgress& progress) {
        const int rows = m_map.values.rows;
        // Few, large strips: each has two histograms. Their number does not depend on the threads.
        const int strips = std::clamp(rows / 64, 1, 16);
        const int stripRows = std::max((rows + strips - 1) / strips, 1);  // a map of places alone has no rows
        const int count = (rows + stripRows - 1) / stripRows;
        std::vector<Strip> sums(static_cast<std::size_t>(count));
        std::vector<std::array<Histogram, 2>> histograms(static_cast<std::size_t>(count));
        ForEachPiece(count, PartOf(progress, 0.0, kHasBinEach<Value> ? 1.0 : 0.6), [&](int i) {
            auto& own = histograms[static_cast<std::size_t>(i)];
            for (Histogram& histogram : own) histogram.assign(kBins, 0);
            Strip& strip = sums[static_cast<std::size_t>(i)];
            ForEachValue(i * stripRows, std::min(rows, (i + 1) * stripRows), [&](int side, Value value) {
                Sums& to = strip.sums[side];
                const auto number = static_cast<double>(value);
                const double distance = number - m_pivot;
                ++to.count;
                to.sum += distance;
                to.squares += distance * distance;
                to.beyond += IsBeyond(number) ? 1 : 0;
                ++own[static_cast<std::size_t>(side)][BinOf<Value>(Shifted(value))];
            });
        });
        Sums total[2];
        for (const Strip& strip : sums)
            for (int side = 0; side < 2; ++side) total[side].Add(strip.sums[side]);
        std::uint32_t bin[2] = {0, 0};
        std::int64_t before[2] = {0, 0};  // values in lower bins
        for (std::size_t side = 0; side < 2; ++side)
            FindMiddle(histograms, side, total[side].count, bin[side], before[side]);
        double median[2];
        for (std::size_t side = 0; side < 2; ++side)
            median[side] = total[side].count == 0 || !kHasBinEach<Value> ? 0.0 : Unshifted<Value>(bin[side]);
        if constexpr (!kHasBinEach<Value>) {
            ForEachPiece(count, PartOf(progress, 0.6, 1.0), [&](int i) {
                auto& own = histograms[static_cast<std::size_t>(i)];
                for (Histogram& histogram : own) histogram.assign(kBins, 0);
                ForEachValue(i * stripRows, std::min(rows, (i + 1) * stripRows), [&](int side, Value value) {
                    const std::uint32_t order = OrderOf(value);
                    if (order >> 16 == bin[side]) ++own[static_cast<std::size_t>(side)][order & (kBins - 1)];
                });
            });
            for (std::size_t side = 0; side < 2; ++side) {
                std::uint32_t low = 0;
                FindMiddle(histograms, side, total[side].count, low, before[side]);
                median[side] = ValueOf<Value>(bin[side] << 16 | low);
            }
        }
        return {NumbersOf(total[0], median[0]), NumbersOf(total[1], median[1])};
    }

  private:
    bool IsBeyond(double value) const {
        return m_map.thresholdSide == OrvMapSide::Above   ? value > m_map.threshold
               : m_map.thresholdSide == OrvMapSide::Below ? value < m_map.threshold
                                                          : false;
    }

    // work(0 inside or 1 outside, value) for every sample that says something.
    template <typename Work>
    void ForEachValue(int firstRow, int endRow, const Work& work) const {
        const int channels = m_map.values.channels();
        for (int row = firstRow; row < endRow; ++row) {
            const Value* values = m_map.values.ptr<Value>(row);
            const std::uint8_t* mask = m_map.mask.empty() ? nullptr : m_map.mask.ptr<std::uint8_t>(row);
            const std::int64_t height = m_rows.size[static_cast<std::size_t>(row)];
            const std::int64_t insideHeight = m_rows.inside[static_cast<std::size_t>(row)];
            if (height == 0) continue;
            for (int column = 0; column < m_map.values.cols; ++column, values += channels) {
                const std::int64_t width = m_columns.size[static_cast<std::size_t>(column)];
                if (width == 0 || (mask != nullptr && mask[column] != 0)) continue;
                const bool isInside =
                    2 * insideHeight * m_columns.inside[static_cast<std::size_t>(column)] >= height * width;
                for (int i = 0; i < channels; ++i) {
                    if constexpr (std::is_floating_point_v<Value>)
                        if (!std::isfinite(values[i])) continue;
                    work(isInside ? 0 : 1, values[i]);
                }
            }
        }
    }

    // The bin that holds the lower middle value, when `before` values lie below the first one; adds what lies below it.
    static void FindMiddle(const std::vector<std::array<Histogram, 2>>& histograms, std::size_t side,
                           std::int64_t count, std::uint32_t& bin, std::int64_t& before) {
        if (count == 0) return;
        const std::int64_t middle = (count - 1) / 2;
        for (std::uint32_t i = 0; i < kBins; ++i) {
            std::int64_t here = 0;
            for (const auto& histogram : histograms) here += histogram[side][i];
            if (before + here > middle) {
                bin = i;
                return;
            }
            before += here;
        }
    }

    MapNumbers NumbersOf(const Sums& sums, double median) const {
        MapNumbers numbers;
        const double none = std::numeric_limits<double>::quiet_NaN();
        numbers.count = sums.count;
        if (sums.count == 0) {
            numbers.mean = numbers.median = numbers.deviation = numbers.beyond = none;
            return numbers;
        }
        const auto n = static_cast<double>(sums.count);
        const double distance = sums.sum / n;
        numbers.mean = m_pivot + distance;
        numbers.median = median;
        numbers.deviation = std::sqrt(std::max(0.0, sums.squares / n - distance * distance));
        numbers.beyond =
            m_map.thresholdSide == OrvMapSide::None ? none : static_cast<double>(sums.beyond) / n;
        return numbers;
    }

    const OrvMap& m_map;
    // Near the values, so that little is lost when squares are subtracted; whole, so that sums of whole numbers stay exact.
    const double m_pivot = std::floor((m_map.range.low + m_map.range.high) / 2.0);
    const Overlap m_columns;
    const Overlap m_rows;
};

}  // namespace

MapStatistics MeasureMap(const OrvMap& map, const Roi& region, const AnalysisProgress& progress) {
    switch (map.values.depth()) {
        case CV_8S:
            return Measurer<std::int8_t>(map, region).Run(progress);
        case CV_16U:
            return Measurer<std::uint16_t>(map, region).Run(progress);
        case CV_16S:
            return Measurer<std::int16_t>(map, region).Run(progress);
        case CV_32S:
            return Measurer<std::int32_t>(map, region).Run(progress);
        case CV_32F:
            return Measurer<float>(map, region).Run(progress);
        default:
            return Measurer<std::uint8_t>(map, region).Run(progress);
    }
}
