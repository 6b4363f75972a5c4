#include "orvcore/analysis/histogram.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>

namespace {

constexpr int kTaperBins = 4;
constexpr int kLowestFrequency = 32;

// Which of up to 2^48 colours occur. Eight-bit colours are ticked off in a field of bits; of deeper ones the
// values are collected and sorted piece by piece.
class ColourCounter {
  public:
    explicit ColourCounter(bool isDeep) : m_isDeep(isDeep) {
        if (!isDeep) m_bits.resize(std::size_t{1} << 18);
    }
    void Add(std::uint64_t red, std::uint64_t green, std::uint64_t blue) {
        if (m_isDeep) {
            m_colours.push_back(red << 32 | green << 16 | blue);
            if (m_colours.size() >= m_limit) Compact();
        } else {
            const std::uint64_t colour = red << 16 | green << 8 | blue;
            m_bits[colour >> 6] |= std::uint64_t{1} << (colour & 63);
        }
    }
    std::uint64_t Count() {
        if (m_isDeep) {
            Compact();
            return m_colours.size();
        }
        std::uint64_t count = 0;
        for (const std::uint64_t word : m_bits) count += static_cast<std::uint64_t>(std::popcount(word));
        return count;
    }

  private:
    void Compact() {
        std::sort(m_colours.begin(), m_colours.end());
        m_colours.erase(std::unique(m_colours.begin(), m_colours.end()), m_colours.end());
        m_limit = std::max(m_limit, 2 * m_colours.size());
    }

    bool m_isDeep;
    std::size_t m_limit = std::size_t{1} << 20;
    std::vector<std::uint64_t> m_bits;
    std::vector<std::uint64_t> m_colours;
};

// Counts of every single level, in four sets.
using FineCounts = std::array<std::vector<std::uint64_t>, 4>;

template <typename Sample>
void Count(const cv::Mat& mat, const std::function<void(double)>& progress, FineCounts& counts,
           ColourCounter& colours) {
    const int channels = mat.channels();
    const bool isGrey = channels < 3;
    const int rowsAtOnce = std::max(1, (1 << 19) / mat.cols);
    for (int y = 0; y < mat.rows; ++y) {
        const Sample* pixel = mat.ptr<Sample>(y);
        for (int x = 0; x < mat.cols; ++x, pixel += channels) {
            if (isGrey) {
                ++counts[0][pixel[0]];
                continue;
            }
            const std::uint32_t blue = pixel[0];
            const std::uint32_t green = pixel[1];
            const std::uint32_t red = pixel[2];
            ++counts[0][(299 * red + 587 * green + 114 * blue + 500) / 1000];
            ++counts[1][red];
            ++counts[2][green];
            ++counts[3][blue];
            colours.Add(red, green, blue);
        }
        if (progress && y % rowsAtOnce == 0) progress(static_cast<double>(y) / mat.rows);
    }
}

// The level of the pixel at that place when all are sorted.
int LevelAt(const std::vector<std::uint64_t>& counts, std::uint64_t place) {
    std::uint64_t seen = 0;
    for (std::size_t level = 0; level < counts.size(); ++level) {
        seen += counts[level];
        if (seen > place) return static_cast<int>(level);
    }
    return 0;
}

ChannelHistogram Summarise(const std::vector<std::uint64_t>& counts) {
    ChannelHistogram result;
    const std::size_t levelsPerBin = counts.size() / kHistogramBins;
    long double sum = 0;
    result.minimum = -1;
    for (std::size_t level = 0; level < counts.size(); ++level) {
        if (counts[level] == 0) continue;
        if (result.minimum < 0) result.minimum = static_cast<int>(level);
        result.maximum = static_cast<int>(level);
        result.pixels += counts[level];
        sum += static_cast<long double>(counts[level]) * static_cast<long double>(level);
        result.counts[level / levelsPerBin] += counts[level];
    }
    if (result.pixels == 0) return {};
    const long double pixels = static_cast<long double>(result.pixels);
    const long double mean = sum / pixels;
    long double squares = 0;
    for (std::size_t level = 0; level < counts.size(); ++level) {
        const long double difference = static_cast<long double>(level) - mean;
        squares += static_cast<long double>(counts[level]) * difference * difference;
    }
    result.mean = static_cast<double>(mean);
    result.deviation = static_cast<double>(std::sqrt(squares / pixels));
    result.median = (LevelAt(counts, (result.pixels - 1) / 2) + LevelAt(counts, result.pixels / 2)) / 2.0;
    const std::size_t last = static_cast<std::size_t>(result.maximum) / levelsPerBin;
    for (std::size_t bin = static_cast<std::size_t>(result.minimum) / levelsPerBin; bin < last; ++bin)
        result.emptyBins += result.counts[bin] == 0 ? 1 : 0;
    result.saturatedBelow = static_cast<double>(static_cast<long double>(counts.front()) / pixels);
    result.saturatedAbove = static_cast<double>(static_cast<long double>(counts.back()) / pixels);
    result.contrastMeasure = ContrastMeasure(result.counts);
    return result;
}

}  // namespace

PictureHistogram ComputeHistogram(const cv::Mat& mat, const std::function<void(double)>& progress) {
    CV_Assert(!mat.empty() && mat.dims == 2 && mat.channels() <= 4);
    CV_Assert(mat.depth() == CV_8U || mat.depth() == CV_16U);
    PictureHistogram result;
    const bool isDeep = mat.depth() == CV_16U;
    result.levels = isDeep ? 65536 : 256;
    result.isGrey = mat.channels() < 3;

    FineCounts counts;
    for (auto& set : counts) set.assign(static_cast<std::size_t>(result.levels), 0);
    ColourCounter colours(isDeep);
    if (isDeep) {
        Count<std::uint16_t>(mat, progress, counts, colours);
    } else {
        Count<std::uint8_t>(mat, progress, counts, colours);
    }
    for (std::size_t channel = 0; channel < counts.size(); ++channel)
        result.channels[channel] = Summarise(counts[result.isGrey ? 0 : channel]);
    result.uniqueColours =
        result.isGrey
            ? static_cast<std::uint64_t>(std::count_if(counts[0].begin(), counts[0].end(),
                                                       [](std::uint64_t count) { return count > 0; }))
            : colours.Count();
    return result;
}

double ContrastMeasure(const LevelCounts& counts) {
    std::array<double, kHistogramBins> tapered{};
    double pixels = 0;
    for (int level = 0; level < kHistogramBins; ++level) {
        const double count = static_cast<double>(counts[static_cast<std::size_t>(level)]);
        const int fromEnd = std::min(level, kHistogramBins - 1 - level);
        const double weight =
            fromEnd > kTaperBins ? 1.0 : 0.5 - 0.5 * std::cos(std::numbers::pi * fromEnd / kTaperBins);
        tapered[static_cast<std::size_t>(level)] = count * weight;
        pixels += count;
    }
    if (pixels <= 0) return 0;
    cv::Mat spectrum;
    cv::dft(cv::Mat(1, kHistogramBins, CV_64F, tapered.data()), spectrum, cv::DFT_COMPLEX_OUTPUT);
    double sum = 0;
    for (int k = kLowestFrequency; k <= kHistogramBins - kLowestFrequency; ++k) {
        const auto& value = spectrum.at<cv::Vec2d>(0, k);
        sum += std::hypot(value[0], value[1]);
    }
    return sum / pixels;
}
