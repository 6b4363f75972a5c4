#include "orvcore/analysis/noiseresidual.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "orvcore/analysis/waveletresidual.h"
#include "zorbase/zorexception.h"

namespace {

constexpr int kSearch = 3;  // of non-local means, to each side
constexpr int kStripRows = 32;

// The rows first - context to end + context as far as there are any; skipped: how many of them precede `first`.
cv::Mat WithContext(const cv::Mat& plane, int first, int end, int context, int& skipped) {
    const int from = std::max(first - context, 0);
    skipped = first - from;
    // A copy: filters of the library look beyond the rows of a view.
    return plane.rowRange(from, std::min(end + context, plane.rows)).clone();
}

// exp(-d / h^2) of mean squared differences d in steps of 1/8.
std::vector<float> MakeWeights(double strength) {
    std::vector<float> weights;
    for (int i = 0;; ++i) {
        const double weight = std::exp(-i / 8.0 / (strength * strength));
        if (weight < 1e-3 || weights.size() > (1U << 19)) break;
        weights.push_back(static_cast<float>(weight));
    }
    return weights;
}

class NonLocalMeans {
  public:
    NonLocalMeans(const cv::Mat& plane, int patch, double strength)
        : m_patch(patch), m_weights(MakeWeights(strength)) {
        const int border = kSearch + patch;
        cv::copyMakeBorder(plane, m_padded, border, border, border, border, cv::BORDER_REFLECT_101);
    }

    void Rows(int first, int end, cv::Mat& residual) const {
        const int width = residual.cols;
        const int border = kSearch + m_patch;
        cv::Mat sums = cv::Mat::zeros(end - first, width, CV_32F);
        cv::Mat weights = cv::Mat::zeros(end - first, width, CV_32F);
        std::vector<int> columns(static_cast<std::size_t>(width) + 2 * static_cast<std::size_t>(m_patch));
        const float toIndex = 8.0F / static_cast<float>((2 * m_patch + 1) * (2 * m_patch + 1));
        const int last = static_cast<int>(m_weights.size()) - 1;
        for (int dy = -kSearch; dy <= kSearch; ++dy) {
            for (int dx = -kSearch; dx <= kSearch; ++dx) {
                for (int y = first; y < end; ++y) {
                    SumColumns(y, dx, dy, y == first, columns);
                    const std::uint8_t* other = m_padded.ptr(y + border + dy) + border + dx;
                    float* sum = sums.ptr<float>(y - first);
                    float* weight = weights.ptr<float>(y - first);
                    int box = 0;
                    for (int i = 0; i < 2 * m_patch; ++i) box += columns[static_cast<std::size_t>(i)];
                    for (int x = 0; x < width; ++x) {
                        box += columns[static_cast<std::size_t>(x + 2 * m_patch)];
                        const int index = static_cast<int>(static_cast<float>(box) * toIndex);
                        const float w = index <= last ? m_weights[static_cast<std::size_t>(index)] : 0.0F;
                        sum[x] += w * static_cast<float>(other[x]);
                        weight[x] += w;
                        box -= columns[static_cast<std::size_t>(x)];
                    }
                }
            }
        }
        for (int y = first; y < end; ++y) {
            const std::uint8_t* own = m_padded.ptr(y + border) + border;
            for (int x = 0; x < width; ++x) {
                // The pixel itself has weight 1: there is always something to divide by.
                residual.at<float>(y, x) = static_cast<float>(own[x]) -
                                           sums.at<float>(y - first, x) / weights.at<float>(y - first, x);
            }
        }
    }

  private:
    // Squared differences to the moved picture, summed down each column of the patch rows around y.
    void SumColumns(int y, int dx, int dy, bool isFirst, std::vector<int>& columns) const {
        const int count = static_cast<int>(columns.size());
        const auto add = [&](int row, int sign) {
            const std::uint8_t* own = m_padded.ptr(row + kSearch + m_patch) + kSearch;
            const std::uint8_t* other = m_padded.ptr(row + kSearch + m_patch + dy) + kSearch + dx;
            for (int i = 0; i < count; ++i) {
                const int d = own[i] - other[i];
                columns[static_cast<std::size_t>(i)] += sign * d * d;
            }
        };
        if (isFirst) {
            std::fill(columns.begin(), columns.end(), 0);
            for (int row = y - m_patch; row <= y + m_patch; ++row) add(row, 1);
        } else {
            add(y + m_patch, 1);
            add(y - m_patch - 1, -1);
        }
    }

    int m_patch;
    std::vector<float> m_weights;
    cv::Mat m_padded;
};

}  // namespace

cv::Mat ComputeNoiseResidual(const cv::Mat& plane, const NoiseResidualSettings& settings,
                             const AnalysisProgress& progress) {
    if (plane.empty() || plane.type() != CV_8UC1) {
        ZOR_THROW(Argument, "The noise residual needs one channel of 8 bits.");
    }
    if (settings.radius < 1 || settings.radius > 3 || !(settings.strength >= 0.1) ||
        !(settings.strength <= 100.0)) {
        ZOR_THROW(Argument,
                  "The noise residual needs a radius of 1 to 3 pixels and a strength of 0.1 to 100 levels.");
    }
    if (settings.filter == ResidualFilter::Wavelet)
        return WaveletResidual(plane, settings.strength, progress);
    cv::Mat residual(plane.size(), CV_32F);
    const int side = 2 * settings.radius + 1;
    if (settings.filter == ResidualFilter::NonLocalMeans) {
        const NonLocalMeans filter(plane, settings.radius, settings.strength);
        ForEachStrip(plane.rows, kStripRows / 4, progress,
                     [&](int first, int end) { filter.Rows(first, end, residual); });
        return residual;
    }
    const int context = settings.filter == ResidualFilter::Gaussian ? 4 * settings.radius : settings.radius;
    ForEachStrip(plane.rows, kStripRows, progress, [&](int first, int end) {
        int skipped = 0;
        cv::Mat source = WithContext(plane, first, end, context, skipped);
        cv::Mat smooth;
        if (settings.filter == ResidualFilter::Median) {
            cv::medianBlur(source, smooth, side);
        } else if (settings.filter == ResidualFilter::Bilateral) {
            cv::bilateralFilter(source, smooth, side, settings.strength, settings.radius,
                                cv::BORDER_REFLECT_101);
        } else {
            source.convertTo(source, CV_32F);
            const int taps = 2 * context + 1;
            cv::GaussianBlur(source, smooth, {taps, taps}, settings.radius, settings.radius,
                             cv::BORDER_REFLECT_101);
        }
        const cv::Range kept(skipped, skipped + end - first);
        cv::subtract(source.rowRange(kept), smooth.rowRange(kept), residual.rowRange(first, end),
                     cv::noArray(), CV_32F);
    });
    return residual;
}

ResidualStatistics MeasureNoiseResidual(const cv::Mat& residual, const Roi& region) {
    struct Sums {
        double count = 0.0, absolute = 0.0, plain = 0.0, squared = 0.0;
        double Mean() const {
            return count > 0 ? absolute / count : std::numeric_limits<double>::quiet_NaN();
        }
        double Deviation() const {
            return count > 0 ? std::sqrt(std::max(squared / count - plain / count * (plain / count), 0.0))
                             : std::numeric_limits<double>::quiet_NaN();
        }
    };
    const cv::Rect inside =
        cv::Rect(region.x, region.y, std::max(region.width, 0), std::max(region.height, 0)) &
        cv::Rect(0, 0, residual.cols, residual.rows);
    std::array<Sums, 2> sums;  // outside, inside
    for (int y = 0; y < residual.rows; ++y) {
        const float* row = residual.ptr<float>(y);
        const bool crosses = y >= inside.y && y < inside.y + inside.height;
        for (int x = 0; x < residual.cols; ++x) {
            Sums& sum = sums[crosses && x >= inside.x && x < inside.x + inside.width ? 1 : 0];
            const double value = row[x];
            sum.count += 1.0;
            sum.absolute += std::abs(value);
            sum.plain += value;
            sum.squared += value * value;
        }
    }
    const Sums all{sums[0].count + sums[1].count, sums[0].absolute + sums[1].absolute,
                   sums[0].plain + sums[1].plain, sums[0].squared + sums[1].squared};
    return {all.Mean(),          all.Deviation(), sums[1].Mean(),
            sums[1].Deviation(), sums[0].Mean(),  sums[0].Deviation()};
}
