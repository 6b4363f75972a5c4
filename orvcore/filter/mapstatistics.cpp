#include "orvcore/filter/mapstatistics.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

// Values of up to 16 bits have a bin each, from which every number follows; of others the upper 16 bits decide first, then the lower
// ones of one bin.
template <typename Value>
constexpr bool kHasBinEach = sizeof(Value) <= 2;
template <typename Value>
constexpr std::size_t kBins = sizeof(Value) == 1 ? 256 : 65536;
template <typename Value>
constexpr int kLowest = std::is_signed_v<Value> ? -static_cast<int>(kBins<Value> / 2)
                                                : 0;  // of values with a bin each

// The order of the values as whole numbers without a sign: what is larger is larger, so that a median is found by counting.
template <typename Value>
std::uint32_t OrderOf(Value value) {
    if constexpr (kHasBinEach<Value>) {
        return static_cast<std::uint32_t>(static_cast<int>(value) - kLowest<Value>);
    } else if constexpr (std::is_same_v<Value, float>) {
        const auto bits = std::bit_cast<std::uint32_t>(value);
        return (bits & 0x80000000U) != 0 ? ~bits : bits | 0x80000000U;
    } else {
        return static_cast<std::uint32_t>(value) ^ 0x80000000U;
    }
}

template <typename Value>
double ValueOf(std::uint32_t order) {
    if constexpr (kHasBinEach<Value>)
        return static_cast<int>(order) + kLowest<Value>;
    else if constexpr (std::is_same_v<Value, float>)
        return static_cast<double>(
            std::bit_cast<float>((order & 0x80000000U) != 0 ? order & 0x7FFFFFFFU : ~order));
    else
        return static_cast<double>(static_cast<std::int32_t>(order ^ 0x80000000U));
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
    Histogram histograms[2];
};

// Neighbouring columns on one side of the region's border.
struct Span {
    int begin = 0;
    int end = 0;
    std::size_t side = 0;  // 0 inside, 1 outside
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
        const int strips = std::clamp(rows / 64, 1, 8);
        const int stripRows = std::max((rows + strips - 1) / strips, 1);  // a map of places alone has no rows
        std::vector<Strip> parts(static_cast<std::size_t>((rows + stripRows - 1) / stripRows));
        const auto forEachStrip = [&](const AnalysisProgress& share, const auto& count) {
            ForEachPiece(static_cast<int>(parts.size()), share, [&](int i) {
                Strip& strip = parts[static_cast<std::size_t>(i)];
                for (Histogram& histogram : strip.histograms) histogram.assign(kBins<Value>, 0);
                ForEachRun(i * stripRows, std::min(rows, (i + 1) * stripRows),
                           [&](std::size_t side, const Value* values, int size) {
                               count(side, values, size, strip);
                           });
            });
        };
        std::array<Sums, 2> total;
        std::array<double, 2> median = {0.0, 0.0};
        if constexpr (kHasBinEach<Value>) {
            forEachStrip(progress, [](std::size_t side, const Value* values, int size, Strip& strip) {
                std::uint32_t* histogram = strip.histograms[side].data();
                for (int i = 0; i < size; ++i) ++histogram[OrderOf(values[i])];
            });
            for (std::size_t side = 0; side < 2; ++side) {
                const Histogram histogram = Joined(parts, side);
                total[side] = SumsOf(histogram);
                median[side] = ValueOf<Value>(FindMiddle(histogram, total[side].count, 0).bin);
            }
        } else {
            forEachStrip(PartOf(progress, 0.0, 0.6),
                         [this](std::size_t side, const Value* values, int size, Strip& strip) {
                             CountWide(values, size, strip.sums[side], strip.histograms[side].data());
                         });
            std::array<Middle, 2> upper;
            for (std::size_t side = 0; side < 2; ++side) {
                for (const Strip& strip : parts) total[side].Add(strip.sums[side]);
                upper[side] = FindMiddle(Joined(parts, side), total[side].count, 0);
            }
            // No infinity and nothing that is no number shares its upper half with a finite value.
            forEachStrip(PartOf(progress, 0.6, 1.0),
                         [&](std::size_t side, const Value* values, int size, Strip& strip) {
                             std::uint32_t* histogram = strip.histograms[side].data();
                             const std::uint32_t bin = upper[side].bin;
                             for (int i = 0; i < size; ++i) {
                                 const std::uint32_t order = OrderOf(values[i]);
                                 if (order >> 16 == bin) ++histogram[order & 0xFFFF];
                             }
                         });
            for (std::size_t side = 0; side < 2; ++side) {
                const Middle lower = FindMiddle(Joined(parts, side), total[side].count, upper[side].before);
                median[side] = ValueOf<Value>(upper[side].bin << 16 | lower.bin);
            }
        }
        return {NumbersOf(total[0], median[0]), NumbersOf(total[1], median[1])};
    }

  private:
    // A bin and how many values lie in lower ones.
    struct Middle {
        std::uint32_t bin = 0;
        std::int64_t before = 0;
    };

    bool IsBeyond(double value) const {
        return m_map.thresholdSide == OrvMapSide::Above   ? value > m_map.threshold
               : m_map.thresholdSide == OrvMapSide::Below ? value < m_map.threshold
                                                          : false;
    }

    // Sums in the order of the values, and their upper halves counted.
    void CountWide(const Value* values, int size, Sums& sums, std::uint32_t* histogram) const {
        Sums own = sums;  // a copy lives in registers
        for (int i = 0; i < size; ++i) {
            if constexpr (std::is_floating_point_v<Value>)
                if (!std::isfinite(values[i])) continue;
            const double number = values[i];
            const double distance = number - m_pivot;
            ++own.count;
            own.beyond += IsBeyond(number) ? 1 : 0;
            own.sum += distance;
            own.squares += distance * distance;
            ++histogram[OrderOf(values[i]) >> 16];
        }
        sums = own;
    }

    // The neighbouring columns of a row that lie on one side, for a row of which so many of so many pixels are inside.
    std::vector<Span> SpansOf(std::int64_t insideHeight, std::int64_t height) const {
        std::vector<Span> spans;
        for (int column = 0; column < m_map.values.cols; ++column) {
            const std::int64_t width = m_columns.size[static_cast<std::size_t>(column)];
            if (width == 0) continue;
            const std::int64_t insideWidth = m_columns.inside[static_cast<std::size_t>(column)];
            const std::size_t side = 2 * insideHeight * insideWidth >= height * width ? 0 : 1;
            if (!spans.empty() && spans.back().side == side && spans.back().end == column)
                ++spans.back().end;
            else
                spans.push_back({column, column + 1, side});
        }
        return spans;
    }

    // work(0 inside or 1 outside, first sample, number of samples) for neighbouring samples that are not masked.
    template <typename Work>
    void ForEachRun(int firstRow, int endRow, const Work& work) const {
        const int channels = m_map.values.channels();
        std::vector<Span> spans;
        std::pair<int, int> known = {-1, -1};  // pixels inside and in all of the row that the spans belong to
        for (int row = firstRow; row < endRow; ++row) {
            const std::pair<int, int> heights = {m_rows.inside[static_cast<std::size_t>(row)],
                                                 m_rows.size[static_cast<std::size_t>(row)]};
            if (heights.second == 0) continue;
            if (heights != known) spans = SpansOf(heights.first, heights.second);
            known = heights;
            const Value* values = m_map.values.ptr<Value>(row);
            const std::uint8_t* mask = m_map.mask.empty() ? nullptr : m_map.mask.ptr<std::uint8_t>(row);
            for (const Span& span : spans) {
                int begin = span.begin;
                while (begin < span.end) {
                    int end = span.end;
                    if (mask != nullptr) {
                        const auto isSaid = [](std::uint8_t masked) { return masked == 0; };
                        begin = static_cast<int>(std::find_if(mask + begin, mask + end, isSaid) - mask);
                        end = static_cast<int>(std::find_if_not(mask + begin, mask + end, isSaid) - mask);
                    }
                    if (begin < end) work(span.side, values + begin * channels, (end - begin) * channels);
                    begin = end;
                }
            }
        }
    }

    static Histogram Joined(const std::vector<Strip>& strips, std::size_t side) {
        Histogram joined(kBins<Value>, 0);
        for (const Strip& strip : strips)
            for (std::size_t i = 0; i < joined.size(); ++i) joined[i] += strip.histograms[side][i];
        return joined;
    }

    // Of values that have a bin each: exact, since a distance from the pivot is a whole number.
    Sums SumsOf(const Histogram& histogram) const {
        Sums sums;
        for (std::uint32_t i = 0; i < histogram.size(); ++i) {
            const double number = ValueOf<Value>(i);
            const double distance = number - m_pivot;
            const auto count = static_cast<double>(histogram[i]);
            sums.count += histogram[i];
            sums.beyond += IsBeyond(number) ? histogram[i] : 0;
            sums.sum += count * distance;
            sums.squares += count * distance * distance;
        }
        return sums;
    }

    // The bin that holds the lower middle one of `count` values, when `before` of them lie below the first bin.
    static Middle FindMiddle(const Histogram& histogram, std::int64_t count, std::int64_t before) {
        const std::int64_t middle = (count - 1) / 2;
        for (std::uint32_t i = 0; count > 0 && i < histogram.size(); ++i) {
            if (before + histogram[i] > middle) return {i, before};
            before += histogram[i];
        }
        return {};
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
