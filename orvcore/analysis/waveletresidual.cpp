#include "orvcore/analysis/waveletresidual.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "zorbase/zorexception.h"

namespace {

constexpr int kTaps = 8;
constexpr int kReach = 4;  // of the largest window, to each side
// Rows of coefficients per piece: enough that the rows computed twice at its edges do not matter.
constexpr int kStripRows = 24;

// Decomposition filters; the reconstruction's are these in reverse order.
constexpr std::array<float, kTaps> kLow = {
    -0.010597401784997278F, 0.032883011666982945F, 0.030841381835986965F, -0.18703481171888114F,
    -0.02798376941698385F,  0.6308807679295904F,   0.7148465705525415F,   0.23037781330885523F};
constexpr std::array<float, kTaps> kHigh = {
    -0.23037781330885523F, 0.7148465705525415F,   -0.6308807679295904F,   -0.02798376941698385F,
    0.18703481171888114F,  0.030841381835986965F, -0.032883011666982945F, -0.010597401784997278F};

// The index that a mirrored border shows: ... 1 0 | 0 1 2 ... n-1 | n-1 n-2 ...
int Mirrored(int i, int n) {
    if (i >= 0 && i < n) return i;
    const int period = 2 * n;
    const int place = ((i % period) + period) % period;
    return place < n ? place : period - 1 - place;
}

int Halved(int n) {
    return (n + kTaps - 1) / 2;
}

// The detail bands of one level and the approximation that the next is made of. Names say what was done along x and then along y.
struct Level {
    cv::Mat lowLow, lowHigh, highLow, highHigh;
};

// One row, split into its samples of even and odd index with mirrored borders; index -3 is the first.
class SplitRow {
  public:
    explicit SplitRow(int length) : m_length(length), m_even(Room(length)), m_odd(Room(length)) {}

    template <typename T>
    void Read(const T* row) {
        float* even = m_even.data() + 3;
        float* odd = m_odd.data() + 3;
        const int pairs = m_length / 2;
        for (int k = 0; k < pairs; ++k) {
            even[k] = static_cast<float>(row[2 * k]);
            odd[k] = static_cast<float>(row[2 * k + 1]);
        }
        const auto at = [&](int i) { return static_cast<float>(row[Mirrored(i, m_length)]); };
        for (int k = -3; k < 0; ++k) {
            even[k] = at(2 * k);
            odd[k] = at(2 * k + 1);
        }
        for (int k = pairs; k < Halved(m_length); ++k) {
            even[k] = at(2 * k);
            odd[k] = at(2 * k + 1);
        }
    }

    // low and high: Halved(length) values each.
    void Filter(float* __restrict low, float* __restrict high) const {
        const float* __restrict even = m_even.data() + 3;
        const float* __restrict odd = m_odd.data() + 3;
        const int count = Halved(m_length);
        for (int i = 0; i < count; ++i) {
            float l = 0.0F;
            float h = 0.0F;
            for (int m = 0; m < kTaps / 2; ++m) {
                l += kLow[2 * m] * odd[i - m] + kLow[2 * m + 1] * even[i - m];
                h += kHigh[2 * m] * odd[i - m] + kHigh[2 * m + 1] * even[i - m];
            }
            low[i] = l;
            high[i] = h;
        }
    }

  private:
    static std::size_t Room(int length) { return static_cast<std::size_t>(Halved(length)) + 3; }

    int m_length;
    std::vector<float> m_even, m_odd;
};

// rows[j] is the row that tap j meets.
void FilterColumns(const std::array<const float*, kTaps>& rows, int count, float* __restrict low,
                   float* __restrict high) {
    const float* __restrict r0 = rows[0];
    const float* __restrict r1 = rows[1];
    const float* __restrict r2 = rows[2];
    const float* __restrict r3 = rows[3];
    const float* __restrict r4 = rows[4];
    const float* __restrict r5 = rows[5];
    const float* __restrict r6 = rows[6];
    const float* __restrict r7 = rows[7];
    for (int x = 0; x < count; ++x) {
        low[x] = kLow[0] * r0[x] + kLow[1] * r1[x] + kLow[2] * r2[x] + kLow[3] * r3[x] + kLow[4] * r4[x] +
                 kLow[5] * r5[x] + kLow[6] * r6[x] + kLow[7] * r7[x];
        high[x] = kHigh[0] * r0[x] + kHigh[1] * r1[x] + kHigh[2] * r2[x] + kHigh[3] * r3[x] +
                  kHigh[4] * r4[x] + kHigh[5] * r5[x] + kHigh[6] * r6[x] + kHigh[7] * r7[x];
    }
}

// Coefficient rows first..end of one level from the plane before it.
void DecomposeRows(const cv::Mat& plane, Level& level, int first, int end) {
    const int width = Halved(plane.cols);
    SplitRow split(plane.cols);
    // The last eight rows, filtered along x: row r stands at place (r + 8) mod 8.
    std::vector<float> low(static_cast<std::size_t>(width) * kTaps);
    std::vector<float> high(low.size());
    const auto place = [&](std::vector<float>& ring, int r) {
        return ring.data() + static_cast<std::size_t>(width) * static_cast<std::size_t>((r + kTaps) % kTaps);
    };
    int next = 2 * first - 6;
    for (int i = first; i < end; ++i) {
        for (; next <= 2 * i + 1; ++next) {
            const int r = Mirrored(next, plane.rows);
            if (plane.depth() == CV_8U) {
                split.Read(plane.ptr<std::uint8_t>(r));
            } else {
                split.Read(plane.ptr<float>(r));
            }
            split.Filter(place(low, next), place(high, next));
        }
        std::array<const float*, kTaps> lowRows{};
        std::array<const float*, kTaps> highRows{};
        for (int j = 0; j < kTaps; ++j) {
            lowRows[static_cast<std::size_t>(j)] = place(low, 2 * i + 1 - j);
            highRows[static_cast<std::size_t>(j)] = place(high, 2 * i + 1 - j);
        }
        FilterColumns(lowRows, width, level.lowLow.ptr<float>(i), level.lowHigh.ptr<float>(i));
        FilterColumns(highRows, width, level.highLow.ptr<float>(i), level.highHigh.ptr<float>(i));
    }
}

// The noise part of rows of a band.
class NoisePart {
  public:
    NoisePart(int width, double sigma)
        : m_width(width), m_variance(static_cast<float>(sigma * sigma)), m_sums(4 * Stride(width)) {}

    void Row(const cv::Mat& band, int y, float* __restrict noise) {
        std::array<const float*, 2 * kReach + 1> rows{};
        for (int d = -kReach; d <= kReach; ++d)
            rows[static_cast<std::size_t>(d + kReach)] = band.ptr<float>(Mirrored(y + d, band.rows));
        float* __restrict s3 = Sum(0);
        float* __restrict s5 = Sum(1);
        float* __restrict s7 = Sum(2);
        float* __restrict s9 = Sum(3);
        for (int x = 0; x < m_width; ++x) {
            const auto pair = [&](std::size_t d) {
                const float above = rows[kReach - d][x];
                const float below = rows[kReach + d][x];
                return above * above + below * below;
            };
            const float own = rows[kReach][x];
            const float three = own * own + pair(1);
            const float five = three + pair(2);
            const float seven = five + pair(3);
            s3[x] = three;
            s5[x] = five;
            s7[x] = seven;
            s9[x] = seven + pair(4);
        }
        for (int k = 0; k < 4; ++k) {
            float* sums = Sum(k);
            for (int d = 1; d <= kReach; ++d) {
                sums[-d] = sums[Mirrored(-d, m_width)];
                sums[m_width - 1 + d] = sums[Mirrored(m_width - 1 + d, m_width)];
            }
        }
        const float* __restrict c = band.ptr<float>(y);
        for (int x = 0; x < m_width; ++x) {
            const float mean3 = (s3[x - 1] + s3[x] + s3[x + 1]) * (1.0F / 9);
            const float mean5 = ((s5[x - 2] + s5[x - 1]) + (s5[x + 1] + s5[x + 2]) + s5[x]) * (1.0F / 25);
            const float mean7 =
                ((s7[x - 3] + s7[x - 2]) + (s7[x - 1] + s7[x]) + (s7[x + 1] + s7[x + 2]) + s7[x + 3]) *
                (1.0F / 49);
            const float mean9 = ((s9[x - 4] + s9[x - 3]) + (s9[x - 2] + s9[x - 1]) + (s9[x] + s9[x + 1]) +
                                 (s9[x + 2] + s9[x + 3]) + s9[x + 4]) *
                                (1.0F / 81);
            const float least = std::min(std::min(mean3, mean5), std::min(mean7, mean9));
            // c s^2 / (max(0, least - s^2) + s^2)
            noise[x] = c[x] * m_variance / std::max(least, m_variance);
        }
    }

  private:
    static std::size_t Stride(int width) { return static_cast<std::size_t>(width) + 2 * kReach; }
    float* Sum(int k) { return m_sums.data() + static_cast<std::size_t>(k) * Stride(m_width) + kReach; }

    int m_width;
    float m_variance;
    std::vector<float> m_sums;
};

// One output row along y: a sum of four rows of each band. isOdd: of the output row.
void MergeColumns(const std::array<const float*, 4>& low, const std::array<const float*, 4>& high, bool isOdd,
                  int count, float* __restrict out) {
    // Reconstruction filters in reverse: tap 6 - 2m of the reversed filter is tap 1 + 2m of the filter.
    const std::size_t shift = isOdd ? 0 : 1;
    const auto l = [&](std::size_t m) { return kLow[shift + 2 * m]; };
    const auto h = [&](std::size_t m) { return kHigh[shift + 2 * m]; };
    const float* __restrict a0 = low[0];
    const float* __restrict a1 = low[1];
    const float* __restrict a2 = low[2];
    const float* __restrict a3 = low[3];
    const float* __restrict d0 = high[0];
    const float* __restrict d1 = high[1];
    const float* __restrict d2 = high[2];
    const float* __restrict d3 = high[3];
    const float l0 = l(0), l1 = l(1), l2 = l(2), l3 = l(3);
    const float h0 = h(0), h1 = h(1), h2 = h(2), h3 = h(3);
    for (int x = 0; x < count; ++x) {
        out[x] = (l0 * a0[x] + l1 * a1[x] + l2 * a2[x] + l3 * a3[x]) +
                 (h0 * d0[x] + h1 * d1[x] + h2 * d2[x] + h3 * d3[x]);
    }
}

// Along x: pairs of output samples from low[k..k+3] and high[k..k+3].
void MergeRow(const float* __restrict low, const float* __restrict high, int length, float* __restrict even,
              float* __restrict odd, float* __restrict out) {
    const int pairs = (length + 1) / 2;
    for (int k = 0; k < pairs; ++k) {
        float e = 0.0F;
        float o = 0.0F;
        for (int m = 0; m < 4; ++m) {
            e += kLow[2 * m + 1] * low[k + m] + kHigh[2 * m + 1] * high[k + m];
            o += kLow[2 * m] * low[k + m] + kHigh[2 * m] * high[k + m];
        }
        even[k] = e;
        odd[k] = o;
    }
    for (int k = 0; k < length / 2; ++k) {
        out[2 * k] = even[k];
        out[2 * k + 1] = odd[k];
    }
    if (length % 2 != 0) out[length - 1] = even[pairs - 1];
}

// Rows 2 * first..2 * end of the noise plane one level up. approximation: the noise of the level's lowLow, empty at the deepest.
void ComposeRows(const Level& level, const cv::Mat& approximation, double sigma, cv::Mat& out, int first,
                 int end) {
    const int width = level.highHigh.cols;
    const std::size_t stride = static_cast<unsigned>(width);
    NoisePart noise(width, sigma);
    const std::vector<float> zero(stride, 0.0F);
    std::array<std::vector<float>, 3> rings;  // four noise rows of each band
    for (auto& ring : rings) ring.resize(4 * stride);
    std::vector<float> low(stride);
    std::vector<float> high(stride);
    std::vector<float> even(stride);
    std::vector<float> odd(stride);
    const std::array<const cv::Mat*, 3> bands = {&level.lowHigh, &level.highLow, &level.highHigh};
    const auto place = [&](std::size_t band, int r) {
        return rings[band].data() + stride * static_cast<std::size_t>(r % 4);
    };
    int next = first;
    for (int k = first; k < end; ++k) {
        for (; next <= k + 3; ++next) {
            for (std::size_t band = 0; band < 3; ++band) noise.Row(*bands[band], next, place(band, next));
        }
        std::array<const float*, 4> lowLow{};
        std::array<const float*, 4> lowHigh{};
        std::array<const float*, 4> highLow{};
        std::array<const float*, 4> highHigh{};
        for (std::size_t m = 0; m < 4; ++m) {
            const int r = k + static_cast<int>(m);
            lowLow[m] = approximation.empty() ? zero.data() : approximation.ptr<float>(r);
            lowHigh[m] = place(0, r);
            highLow[m] = place(1, r);
            highHigh[m] = place(2, r);
        }
        for (int y = 2 * k; y < std::min(2 * k + 2, out.rows); ++y) {
            MergeColumns(lowLow, lowHigh, y % 2 != 0, width, low.data());
            MergeColumns(highLow, highHigh, y % 2 != 0, width, high.data());
            MergeRow(low.data(), high.data(), out.cols, even.data(), odd.data(), out.ptr<float>(y));
        }
    }
}

}  // namespace

cv::Mat WaveletResidual(const cv::Mat& plane, double sigma, const AnalysisProgress& progress) {
    if (plane.empty() || (plane.type() != CV_8UC1 && plane.type() != CV_32FC1)) {
        ZOR_THROW(Argument, "The noise residual needs one channel of 8 bits or floating point.");
    }
    if (!(sigma > 0)) ZOR_THROW(Argument, "The noise that the residual expects must be above 0.");
    // Every level takes a quarter of the work of the one before; back costs twice the way there.
    std::array<Level, kWaveletLevels> levels;
    double done = 0.0;
    double share = 0.25;
    const cv::Mat* source = &plane;
    for (Level& level : levels) {
        const cv::Size size(Halved(source->cols), Halved(source->rows));
        for (cv::Mat* band : {&level.lowLow, &level.lowHigh, &level.highLow, &level.highHigh})
            band->create(size, CV_32F);
        ForEachStrip(size.height, kStripRows, PartOf(progress, done, done + share),
                     [&](int first, int end) { DecomposeRows(*source, level, first, end); });
        source = &level.lowLow;
        done += share;
        share /= 4;
    }
    cv::Mat noise;
    for (int i = kWaveletLevels - 1; i >= 0; --i) {
        Level& level = levels[static_cast<std::size_t>(i)];
        level.lowLow.release();
        const cv::Size size = i == 0 ? plane.size() : levels[static_cast<std::size_t>(i) - 1].highHigh.size();
        cv::Mat out(size, CV_32F);
        const double next = i == 0 ? 1.0 : done + (1.0 - done) / 4;
        ForEachStrip((size.height + 1) / 2, kStripRows, PartOf(progress, done, next),
                     [&](int first, int end) { ComposeRows(level, noise, sigma, out, first, end); });
        level = Level{};
        noise = out;
        done = next;
    }
    return noise;
}

cv::Mat NoisePartOf(const cv::Mat& plane, double sigma, const AnalysisProgress& progress) {
    cv::Mat result(plane.size(), CV_32F);
    ForEachStrip(plane.rows, kStripRows, progress, [&](int first, int end) {
        NoisePart noise(plane.cols, sigma);
        for (int y = first; y < end; ++y) noise.Row(plane, y, result.ptr<float>(y));
    });
    return result;
}
