#include "orvcore/analysis/pixelstatistics.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <memory>
#include <vector>

#include "orvcore/analysis/pixelrows.h"

namespace {

constexpr int kStripRows = 64;

struct Colour {
    std::uint32_t red, green, blue;
};

template <typename Sample>
Colour ColourAt(const Sample* row, int x, int channels) {
    const Sample* sample = row + static_cast<std::ptrdiff_t>(x) * channels;
    if (channels < 3) return {sample[0], sample[0], sample[0]};
    return {sample[2], sample[1], sample[0]};
}

// How often each of the 2^24 colours of 8 bits occurs: 0, 1 or more.
class ShortCounts {
  public:
    ShortCounts() : m_counts(std::make_unique<std::atomic<std::uint8_t>[]>(kColours)) {}

    void Add(const Colour& colour) {
        std::atomic<std::uint8_t>& count = m_counts[Index(colour)];
        // Two is enough to know: the loop ends there, whatever other threads do.
        std::uint8_t now = count.load(std::memory_order_relaxed);
        while (now < 2 && !count.compare_exchange_weak(now, static_cast<std::uint8_t>(now + 1))) {
        }
    }
    void Finish(const AnalysisProgress&) {}
    bool IsUnique(const Colour& colour) const { return m_counts[Index(colour)].load() == 1; }
    std::uint64_t Colours(bool onlyOnce) const {
        std::uint64_t colours = 0;
        for (std::size_t i = 0; i < kColours; ++i) {
            const int count = m_counts[i].load(std::memory_order_relaxed);
            colours += (onlyOnce ? count == 1 : count > 0) ? 1U : 0U;
        }
        return colours;
    }

  private:
    static constexpr std::size_t kColours = std::size_t{1} << 24;
    static std::size_t Index(const Colour& c) { return c.red << 16 | c.green << 8 | c.blue; }
    std::unique_ptr<std::atomic<std::uint8_t>[]> m_counts;
};

// The same for 16 bits: all colours, in buckets that are sorted one by one.
class LongCounts {
  public:
    explicit LongCounts(std::size_t pixels) : m_keys(pixels) {}

    void Set(std::size_t pixel, const Colour& colour) { m_keys[pixel] = Key(colour); }
    void Finish(const AnalysisProgress& progress) {
        const std::size_t chunk = m_keys.size() / kChunks + 1;
        std::vector<std::array<std::size_t, kBuckets>> places(kChunks);
        const auto ofChunk = [&](int piece, const auto& use) {
            const std::size_t begin = std::min(static_cast<std::size_t>(piece) * chunk, m_keys.size());
            const std::size_t end = std::min(begin + chunk, m_keys.size());
            for (std::size_t i = begin; i < end; ++i) use(places[static_cast<std::size_t>(piece)], m_keys[i]);
        };
        ForEachPiece(kChunks, PartOf(progress, 0.0, 0.2), [&](int piece) {
            ofChunk(piece, [](auto& counts, std::uint64_t key) { ++counts[key >> kBucketShift]; });
        });
        std::size_t total = 0;
        for (std::size_t bucket = 0; bucket < kBuckets; ++bucket) {
            m_begin[bucket] = total;
            for (auto& counts : places) {
                const std::size_t here = counts[bucket];
                counts[bucket] = total;
                total += here;
            }
        }
        m_begin[kBuckets] = total;
        std::vector<std::uint64_t> ordered(m_keys.size());
        ForEachPiece(kChunks, PartOf(progress, 0.2, 0.4), [&](int piece) {
            ofChunk(piece,
                    [&](auto& next, std::uint64_t key) { ordered[next[key >> kBucketShift]++] = key; });
        });
        m_keys.swap(ordered);
        ForEachPiece(kBuckets, PartOf(progress, 0.4, 1.0), [&](int bucket) {
            const auto index = static_cast<std::size_t>(bucket);
            std::sort(At(m_begin[index]), At(m_begin[index + 1]));
        });
    }
    bool IsUnique(const Colour& colour) const {
        const std::uint64_t key = Key(colour);
        const std::size_t bucket = key >> kBucketShift;
        const auto end = m_keys.begin() + static_cast<std::ptrdiff_t>(m_begin[bucket + 1]);
        const auto found =
            std::lower_bound(m_keys.begin() + static_cast<std::ptrdiff_t>(m_begin[bucket]), end, key);
        return std::next(found) == end || *std::next(found) != *found;
    }
    std::uint64_t Colours(bool onlyOnce) const {
        std::uint64_t colours = 0;
        for (std::size_t i = 0; i < m_keys.size();) {
            std::size_t next = i + 1;
            while (next < m_keys.size() && m_keys[next] == m_keys[i]) ++next;
            colours += !onlyOnce || next - i == 1 ? 1U : 0U;
            i = next;
        }
        return colours;
    }

  private:
    static constexpr int kChunks = 128;
    static constexpr int kBuckets = 256;
    static constexpr int kBucketShift = 56;

    std::vector<std::uint64_t>::iterator At(std::size_t place) {
        return m_keys.begin() + static_cast<std::ptrdiff_t>(place);
    }
    // The colour, spread by a map that is one to one, so that the buckets are about equally full.
    static std::uint64_t Key(const Colour& c) {
        std::uint64_t key = std::uint64_t{c.red} << 32 | std::uint64_t{c.green} << 16 | c.blue;
        key *= 0x9E3779B97F4A7C15ULL;
        return key ^ key >> 32;
    }
    std::vector<std::uint64_t> m_keys;
    std::array<std::size_t, kBuckets + 1> m_begin{};
};

std::uint8_t TraitsOf(const Colour& c, std::uint32_t highest) {
    const std::uint32_t most = std::max({c.red, c.green, c.blue});
    const std::uint32_t least = std::min({c.red, c.green, c.blue});
    int traits = 0;
    if (c.red == most) traits |= kLargestRed;
    if (c.green == most) traits |= kLargestGreen;
    if (c.blue == most) traits |= kLargestBlue;
    if (c.red == least) traits |= kSmallestRed;
    if (c.green == least) traits |= kSmallestGreen;
    if (c.blue == least) traits |= kSmallestBlue;
    if (least == 0 || most == highest) traits |= kSaturated;
    return static_cast<std::uint8_t>(traits);
}

void AddPixel(PixelStatistics& statistics, const Colour& c, std::uint8_t traits, std::uint32_t highest) {
    const std::uint32_t levels[] = {c.red, c.green, c.blue};
    for (std::size_t i = 0; i < 3; ++i) {
        statistics.largest[i] += traits >> i & 1U;
        statistics.smallest[i] += traits >> (3 + i) & 1U;
        statistics.atZero[i] += levels[i] == 0 ? 1U : 0U;
        statistics.atHighest[i] += levels[i] == highest ? 1U : 0U;
    }
    statistics.saturated += (traits & kSaturated) != 0 ? 1U : 0U;
}

template <typename Sample, typename Counts, typename Note>
void Run(const cv::Mat& picture, Counts& counts, const Note& note, const AnalysisProgress& progress,
         PixelStatistics& result) {
    const int channels = picture.channels();
    ForEachStrip(picture.rows, kStripRows, PartOf(progress, 0.0, 0.4), [&](int first, int end) {
        for (int y = first; y < end; ++y)
            for (int x = 0; x < picture.cols; ++x) note(y, x, ColourAt(picture.ptr<Sample>(y), x, channels));
    });
    counts.Finish(PartOf(progress, 0.4, 0.5));
    const auto highest = static_cast<std::uint32_t>(HighestLevel(picture));
    std::vector<PixelStatistics> strips(
        static_cast<std::size_t>((picture.rows + kStripRows - 1) / kStripRows));
    ForEachStrip(picture.rows, kStripRows, PartOf(progress, 0.5, 1.0), [&](int first, int end) {
        PixelStatistics& strip = strips[static_cast<std::size_t>(first / kStripRows)];
        for (int y = first; y < end; ++y) {
            std::uint8_t* target = result.map.ptr(y);
            for (int x = 0; x < picture.cols; ++x) {
                const Colour colour = ColourAt(picture.ptr<Sample>(y), x, channels);
                std::uint8_t traits = TraitsOf(colour, highest);
                AddPixel(strip, colour, traits, highest);
                if (counts.IsUnique(colour)) traits |= kUniqueColour;
                target[x] = traits;
            }
        }
    });
    for (const PixelStatistics& strip : strips) {
        for (std::size_t i = 0; i < 3; ++i) {
            result.largest[i] += strip.largest[i];
            result.smallest[i] += strip.smallest[i];
            result.atZero[i] += strip.atZero[i];
            result.atHighest[i] += strip.atHighest[i];
        }
        result.saturated += strip.saturated;
    }
    result.colours = counts.Colours(false);
    result.coloursSeenOnce = counts.Colours(true);
}

}  // namespace

PixelStatistics ComputePixelStatistics(const cv::Mat& picture, const AnalysisProgress& progress) {
    CheckPicture(picture);
    PixelStatistics result;
    result.isGrey = !HasColour(picture);
    result.pixels = picture.total();
    result.map.create(picture.size(), CV_8U);
    if (picture.depth() == CV_8U) {
        ShortCounts counts;
        Run<std::uint8_t>(
            picture, counts, [&](int, int, const Colour& colour) { counts.Add(colour); }, progress, result);
    } else {
        LongCounts counts(picture.total());
        const auto columns = static_cast<std::size_t>(picture.cols);
        Run<std::uint16_t>(
            picture, counts,
            [&](int y, int x, const Colour& colour) {
                counts.Set(static_cast<std::size_t>(y) * columns + static_cast<std::size_t>(x), colour);
            },
            progress, result);
    }
    return result;
}
