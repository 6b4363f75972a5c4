#include "orvcore/analysis/noiselevel.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

#include "zorbase/zorexception.h"

namespace {

constexpr int kTaps = 16;
constexpr int kLead = 8;   // the filter of the coefficient of pixels 2k and 2k + 1 begins at pixel 2k - 8
constexpr int kBlock = 8;  // coefficients
constexpr int kCell = 2 * kBlock;
constexpr float kNormal = 0.6745F;  // median of |x| of a standard normal distribution

// High pass of the decomposition, in the order in which it meets rising pixels.
constexpr std::array<float, kTaps> kHigh = {
    -0.00011747678412476953F, -0.0006754494064505693F, -0.00039174037337694705F, 0.004870352993451574F,
    0.008746094047405777F,    -0.013981027917398282F,  -0.044088253930794755F,   0.017369301001807547F,
    0.12874742662047847F,     -0.0004724845739132828F, -0.2840155429615469F,     0.015829105256349306F,
    0.5853546836542067F,      -0.6756307362972898F,    0.31287159091429995F,     -0.05441584224310401F};

int Mirrored(int i, int n) {
    const int period = 2 * n;
    const int place = ((i % period) + period) % period;
    return place < n ? place : period - 1 - place;
}

// A row of cells of the map.
class CellRow {
  public:
    explicit CellRow(const cv::Mat& plane)
        : m_plane(plane),
          m_count((plane.cols + 1) / 2),
          m_even(static_cast<std::size_t>(m_count) + kTaps),
          m_odd(m_even.size()),
          m_filtered(kTaps + kCell, std::vector<float>(static_cast<std::size_t>(m_count))) {}

    void Compute(int cellY, NoiseLevelResult& result) {
        const int firstRow = cellY * kCell;
        const int coefficients = std::min(kBlock, (m_plane.rows - firstRow + 1) / 2);
        const int rows = 2 * coefficients + kTaps - 2;
        for (int i = 0; i < rows; ++i)
            FilterRow(Mirrored(firstRow - kLead + i, m_plane.rows), m_filtered[static_cast<std::size_t>(i)]);
        std::vector<std::vector<float>> high(static_cast<std::size_t>(coefficients),
                                             std::vector<float>(static_cast<std::size_t>(m_count)));
        for (int k = 0; k < coefficients; ++k) {
            std::vector<float>& out = high[static_cast<std::size_t>(k)];
            for (int j = 0; j < kTaps; ++j) {
                const float* __restrict row = m_filtered[static_cast<std::size_t>(2 * k + j)].data();
                const float tap = kHigh[static_cast<std::size_t>(j)];
                float* __restrict target = out.data();
                for (int x = 0; x < m_count; ++x) target[x] += tap * row[x];
            }
        }
        for (int cellX = 0; cellX < result.map.values.cols; ++cellX) {
            const int from = cellX * kBlock;
            const int to = std::min(from + kBlock, m_count);
            std::array<float, kBlock * kBlock> values{};
            std::size_t count = 0;
            for (const auto& row : high)
                for (int x = from; x < to; ++x) values[count++] = std::abs(row[static_cast<std::size_t>(x)]);
            result.map.values.at<float>(cellY, cellX) = Median(values, count) / kNormal;
            const bool isKnown = count >= values.size() / 4 && !IsSaturated(cellX, cellY);
            result.map.known.at<unsigned char>(cellY, cellX) = isKnown ? 255 : 0;
        }
    }

  private:
    void FilterRow(int y, std::vector<float>& out) {
        const float* row = m_plane.ptr<float>(y);
        const int lead = kLead / 2;
        for (int k = -lead; k < m_count + kTaps / 2; ++k) {
            const bool isInside = k >= 0 && 2 * k + 1 < m_plane.cols;
            m_even[static_cast<std::size_t>(k + lead)] =
                row[isInside ? 2 * k : Mirrored(2 * k, m_plane.cols)];
            m_odd[static_cast<std::size_t>(k + lead)] =
                row[isInside ? 2 * k + 1 : Mirrored(2 * k + 1, m_plane.cols)];
        }
        const float* __restrict even = m_even.data();
        const float* __restrict odd = m_odd.data();
        float* __restrict target = out.data();
        for (int x = 0; x < m_count; ++x) {
            float sum = 0.0F;
            for (int j = 0; j < kTaps / 2; ++j)
                sum += kHigh[2 * j] * even[x + j] + kHigh[2 * j + 1] * odd[x + j];
            target[x] = sum;
        }
    }

    static float Median(std::array<float, kBlock * kBlock>& values, std::size_t count) {
        const auto begin = values.begin();
        const auto end = begin + static_cast<std::ptrdiff_t>(count);
        const auto middle = begin + static_cast<std::ptrdiff_t>(count / 2);
        std::nth_element(begin, middle, end);
        if (count % 2 != 0) return *middle;
        return (*std::max_element(begin, middle) + *middle) / 2.0F;
    }

    bool IsSaturated(int cellX, int cellY) const {
        int saturated = 0;
        int pixels = 0;
        for (int y = cellY * kCell; y < std::min((cellY + 1) * kCell, m_plane.rows); ++y) {
            const float* row = m_plane.ptr<float>(y);
            for (int x = cellX * kCell; x < std::min((cellX + 1) * kCell, m_plane.cols); ++x, ++pixels)
                saturated += row[x] <= 1.5F || row[x] >= 253.5F;
        }
        return saturated * 5 > pixels;
    }

    const cv::Mat& m_plane;
    int m_count;  // coefficients along x
    std::vector<float> m_even, m_odd;
    std::vector<std::vector<float>> m_filtered;
};

float MedianOf(std::vector<float> values) {
    if (values.empty()) return std::numeric_limits<float>::quiet_NaN();
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

void FindLoudest(NoiseLevelResult& result) {
    constexpr int kSide = 128 / kCell;
    const AnalysisMap& map = result.map;
    double loudest = -1.0;
    for (int y = 0; y + kSide <= map.values.rows; ++y) {
        for (int x = 0; x + kSide <= map.values.cols; ++x) {
            const cv::Rect window(x, y, kSide, kSide);
            if (cv::countNonZero(map.known(window)) * 2 < kSide * kSide) continue;
            const double mean = cv::mean(map.values(window), map.known(window))[0];
            if (mean <= loudest) continue;
            loudest = mean;
            result.loudest = cv::Rect(x * kCell, y * kCell, kSide * kCell, kSide * kCell);
        }
    }
    const bool canDivide = loudest >= 0.0 && result.median > 0.0;
    result.largestRatio = canDivide ? loudest / result.median : std::numeric_limits<double>::quiet_NaN();
}

}  // namespace

NoiseLevelResult ComputeNoiseLevel(const cv::Mat& plane, const AnalysisProgress& progress) {
    if (plane.type() != CV_32FC1 || plane.cols < kCell || plane.rows < kCell) {
        ZOR_THROW(Argument, "The noise level needs a luminance of at least 16 x 16 pixels.");
    }
    NoiseLevelResult result;
    const cv::Size cells((plane.cols + kCell - 1) / kCell, (plane.rows + kCell - 1) / kCell);
    result.map.values.create(cells, CV_32F);
    result.map.known.create(cells, CV_8U);
    result.map.cell = {kCell, kCell};
    ForEachStrip(cells.height, 2, progress, [&](int first, int end) {
        CellRow row(plane);
        for (int y = first; y < end; ++y) row.Compute(y, result);
    });
    std::vector<float> known;
    for (int y = 0; y < cells.height; ++y)
        for (int x = 0; x < cells.width; ++x)
            if (result.map.IsKnown(x, y)) known.push_back(result.map.values.at<float>(y, x));
    result.median = MedianOf(std::move(known));
    FindLoudest(result);
    return result;
}
