#include "orvcore/analysis/spectrum.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <opencv2/imgproc.hpp>

#include "orvcore/analysis/pixelrows.h"
#include "zorbase/zorexception.h"

namespace {

constexpr int kMaximumSide = 4096;
constexpr int kMinimumSide = 16;
constexpr int kStripRows = 64;
constexpr int kRadialBins = 512;  // per cycle per pixel
constexpr double kLowestPeak = 0.02;
constexpr double kPeakDb = 15.0;
constexpr std::size_t kMostPeaks = 20;
constexpr int kPeakReach = 5;
constexpr int kNeighbourhood = 4;  // 9 x 9

std::vector<float> HannWindow(int n) {
    std::vector<float> window(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i)
        window[static_cast<std::size_t>(i)] =
            static_cast<float>(0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * (i + 0.5) / n));
    return window;
}

int Mirrored(int i, int n) {
    if (n == 1) return 0;
    const int period = 2 * n;
    i = ((i % period) + period) % period;
    return i < n ? i : period - 1 - i;
}

bool IsMultipleOfEighth(double f) {
    return std::abs(f * 8.0 - std::round(f * 8.0)) < 8.0 / 500.0;
}

// Local maxima of the upper half of the shifted spectrum.
std::vector<SpectrumPeak> FindPeaks(const cv::Mat& magnitude, const AnalysisProgress& progress) {
    const int rows = magnitude.rows;
    const int cols = magnitude.cols;
    const int half = rows / 2;
    std::vector<std::vector<SpectrumPeak>> found(
        static_cast<std::size_t>((half + 1 + kStripRows - 1) / kStripRows));
    const auto at = [&](int y, int x) { return magnitude.ptr<float>((y + rows) % rows)[(x + cols) % cols]; };
    const cv::Scalar mean = cv::mean(magnitude);
    ForEachStrip(half + 1, kStripRows, progress, [&](int first, int end) {
        std::vector<float> around;
        for (int k = first; k < end; ++k) {
            const double fy = static_cast<double>(k) / rows;
            const int y = half + k;
            for (int x = 0; x < cols; ++x) {
                const float value = at(y, x);
                const double fx = static_cast<double>(x - cols / 2) / cols;
                if (value < mean[0] || std::hypot(fx, fy) < kLowestPeak || (k == 0 && fx < 0)) continue;
                bool isLargest = value > at(y, x - 1) && value >= at(y, x + 1);
                for (int dy = -kPeakReach; isLargest && dy <= kPeakReach; ++dy)
                    for (int dx = -kPeakReach; dx <= kPeakReach; ++dx)
                        if (at(y + dy, x + dx) > value) {
                            isLargest = false;
                            break;
                        }
                if (!isLargest) continue;
                around.clear();
                for (int dy = -kNeighbourhood; dy <= kNeighbourhood; ++dy)
                    for (int dx = -kNeighbourhood; dx <= kNeighbourhood; ++dx)
                        around.push_back(at(y + dy, x + dx));
                const auto middle = around.begin() + static_cast<std::ptrdiff_t>(around.size() / 2);
                std::nth_element(around.begin(), middle, around.end());
                const double prominence = 20.0 * (value - *middle);
                if (prominence < kPeakDb) continue;
                found[static_cast<std::size_t>(first / kStripRows)].push_back(
                    {fx, fy, prominence, IsMultipleOfEighth(fx) && IsMultipleOfEighth(fy)});
            }
        }
    });
    std::vector<SpectrumPeak> peaks;
    for (const auto& strip : found) peaks.insert(peaks.end(), strip.begin(), strip.end());
    std::stable_sort(peaks.begin(), peaks.end(), [](const SpectrumPeak& a, const SpectrumPeak& b) {
        return a.prominenceDb > b.prominenceDb;
    });
    if (peaks.size() > kMostPeaks) peaks.resize(kMostPeaks);
    return peaks;
}

std::vector<double> RadialProfile(const cv::Mat& magnitude) {
    std::vector<double> sums(kRadialBins / 2 + 1, 0.0);
    std::vector<double> counts(sums.size(), 0.0);
    for (int y = 0; y < magnitude.rows; ++y) {
        const double fy = static_cast<double>(y - magnitude.rows / 2) / magnitude.rows;
        for (int x = 0; x < magnitude.cols; ++x) {
            const double fx = static_cast<double>(x - magnitude.cols / 2) / magnitude.cols;
            const auto bin = static_cast<std::size_t>(std::lround(std::hypot(fx, fy) * kRadialBins));
            if (bin >= sums.size()) continue;
            sums[bin] += magnitude.ptr<float>(y)[x];
            counts[bin] += 1.0;
        }
    }
    for (std::size_t i = 0; i < sums.size(); ++i)
        sums[i] = counts[i] > 0 ? 20.0 * sums[i] / counts[i] : std::numeric_limits<double>::quiet_NaN();
    return sums;
}

// Row y of a plane whose rows lie in the library's packed order, as complex numbers of the columns 0..cols / 2.
struct PackedSpectrum {
    const cv::Mat& packed;

    cv::Vec2f At(int ky, int kx) const {
        const int rows = packed.rows;
        const int cols = packed.cols;
        // The library packs the first column (and the last when there is an even number) down the rows, the others along them.
        if (kx == 0 || (cols % 2 == 0 && kx == cols / 2)) {
            const int x = kx == 0 ? 0 : cols - 1;
            if (ky == 0) return {packed.ptr<float>(0)[x], 0.0F};
            if (rows % 2 == 0 && ky == rows / 2) return {packed.ptr<float>(rows - 1)[x], 0.0F};
            const int k = ky < rows - ky ? ky : rows - ky;
            const float imaginary = packed.ptr<float>(2 * k)[x];
            return {packed.ptr<float>(2 * k - 1)[x], ky == k ? imaginary : -imaginary};
        }
        return {packed.ptr<float>(ky)[2 * kx - 1], packed.ptr<float>(ky)[2 * kx]};
    }
    // The whole plane: the left half mirrors the right one.
    cv::Vec2f AtAny(int ky, int kx) const {
        if (kx <= packed.cols / 2) return At(ky, kx);
        const cv::Vec2f mirrored = At((packed.rows - ky) % packed.rows, packed.cols - kx);
        return {mirrored[0], -mirrored[1]};
    }
};

// Multiplies the spectrum of each row, continued by mirroring, with exp(-ln 2 (f / cutoff)^2).
void SmoothRows(cv::Mat& rows, double cutoff) {
    const int n = rows.cols;
    // Beyond that the answer has died away: exp(-x^2 pi^2 cutoff^2 / ln 2) < 1e-7.
    const int reach = std::min(n, static_cast<int>(std::ceil(1.07 / cutoff)) + 1);
    const int size = cv::getOptimalDFTSize(n + 2 * reach);
    cv::Mat extended(rows.rows, size, CV_32F);
    for (int y = 0; y < rows.rows; ++y) {
        const float* source = rows.ptr<float>(y);
        float* target = extended.ptr<float>(y);
        for (int x = 0; x < size; ++x) target[x] = source[Mirrored(x - reach, n)];
    }
    cv::dft(extended, extended, cv::DFT_ROWS);
    std::vector<float> gain(static_cast<std::size_t>(size));
    for (int i = 0; i < size; ++i) {
        const double f = static_cast<double>((i + 1) / 2) / size / cutoff;
        gain[static_cast<std::size_t>(i)] = static_cast<float>(std::exp(-std::numbers::ln2 * f * f));
    }
    for (int y = 0; y < rows.rows; ++y) {
        float* value = extended.ptr<float>(y);
        for (int i = 0; i < size; ++i) value[i] *= gain[static_cast<std::size_t>(i)];
    }
    cv::dft(extended, extended, cv::DFT_ROWS | cv::DFT_INVERSE | cv::DFT_SCALE);
    extended.colRange(reach, reach + n).copyTo(rows);
}

}  // namespace

int FftSizeWithin(int n) {
    for (int size = n; size > 1; --size)
        if (cv::getOptimalDFTSize(size) == size) return size;
    return 1;
}

FourierSpectrum ComputeFourierSpectrum(const cv::Mat& picture, const cv::Rect& region,
                                       const SpectrumSettings& settings, const AnalysisProgress& progress) {
    CheckPicture(picture);
    const cv::Rect whole(0, 0, picture.cols, picture.rows);
    const cv::Rect wanted = region.empty() ? whole : region & whole;
    if (wanted.width < kMinimumSide || wanted.height < kMinimumSide)
        ZOR_THROW(Argument, "A spectrum needs at least 16 x 16 pixels.");
    const int width = FftSizeWithin(std::min(wanted.width, kMaximumSide));
    const int height = FftSizeWithin(std::min(wanted.height, kMaximumSide));

    FourierSpectrum result;
    result.region = {wanted.x + (wanted.width - width) / 2, wanted.y + (wanted.height - height) / 2, width,
                     height};
    const cv::Mat source = picture(result.region);
    cv::Mat packed(height, width, CV_32F);
    std::vector<double> sums(static_cast<std::size_t>((height + kStripRows - 1) / kStripRows));
    ForEachStrip(height, kStripRows, PartOf(progress, 0.0, 0.15), [&](int first, int end) {
        cv::Mat target = packed.rowRange(first, end);
        FloatLuminance(source.rowRange(first, end)).copyTo(target);
        sums[static_cast<std::size_t>(first / kStripRows)] = cv::sum(target)[0];
    });
    double mean = 0;
    for (const double sum : sums) mean += sum;
    mean /= static_cast<double>(packed.total());
    const std::vector<float> across = HannWindow(width);
    const std::vector<float> down = HannWindow(height);
    ForEachStrip(height, kStripRows, PartOf(progress, 0.15, 0.25), [&](int first, int end) {
        for (int y = first; y < end; ++y) {
            float* value = packed.ptr<float>(y);
            const float gain = settings.window ? down[static_cast<std::size_t>(y)] : 1.0F;
            for (int x = 0; x < width; ++x) {
                const float weight = settings.window ? gain * across[static_cast<std::size_t>(x)] : 1.0F;
                value[x] = (value[x] - static_cast<float>(mean)) * weight;
            }
        }
    });
    cv::dft(packed, packed);
    if (progress) progress(0.5);

    result.magnitude.create(height, width, CV_32F);
    if (settings.phase) result.phase.create(height, width, CV_32F);
    const PackedSpectrum spectrum{packed};
    ForEachStrip(height, kStripRows, PartOf(progress, 0.5, 0.7), [&](int first, int end) {
        for (int y = first; y < end; ++y) {
            const int ky = (y - height / 2 + height) % height;
            for (int x = 0; x < width; ++x) {
                const cv::Vec2f value = spectrum.AtAny(ky, (x - width / 2 + width) % width);
                result.magnitude.ptr<float>(y)[x] = std::log10(1.0F + std::hypot(value[0], value[1]));
                if (settings.phase) result.phase.ptr<float>(y)[x] = std::atan2(value[1], value[0]);
            }
        }
    });
    result.radialDb = RadialProfile(result.magnitude);
    result.peaks = FindPeaks(result.magnitude, PartOf(progress, 0.75, 1.0));
    return result;
}

FrequencySplit SplitFrequencies(const cv::Mat& picture, double cutoff, const AnalysisProgress& progress) {
    CheckPicture(picture);
    const double used = std::clamp(cutoff, 0.001, 0.5);
    FrequencySplit result;
    result.low.create(picture.size(), CV_32F);
    ForEachStrip(picture.rows, kStripRows / 2, PartOf(progress, 0.0, 0.4), [&](int first, int end) {
        cv::Mat rows = FloatLuminance(picture.rowRange(first, end));
        SmoothRows(rows, used);
        rows.copyTo(result.low.rowRange(first, end));
    });
    ForEachStrip(picture.cols, kStripRows / 2, PartOf(progress, 0.4, 0.8), [&](int first, int end) {
        cv::Mat columns = result.low.colRange(first, end).t();
        SmoothRows(columns, used);
        cv::Mat target = result.low.colRange(first, end);
        cv::transpose(columns, target);
    });
    result.high.create(picture.size(), CV_32F);
    struct Sums {
        double low = 0;
        double lowSquares = 0;
        double high = 0;
        double highSquares = 0;
    };
    std::vector<Sums> sums(static_cast<std::size_t>((picture.rows + kStripRows - 1) / kStripRows));
    ForEachStrip(picture.rows, kStripRows, PartOf(progress, 0.8, 1.0), [&](int first, int end) {
        cv::Mat target = result.high.rowRange(first, end);
        const cv::Mat low = result.low.rowRange(first, end);
        cv::subtract(FloatLuminance(picture.rowRange(first, end)), low, target);
        Sums& strip = sums[static_cast<std::size_t>(first / kStripRows)];
        strip = {cv::sum(low)[0], low.dot(low), cv::sum(target)[0], target.dot(target)};
    });
    Sums all;
    for (const Sums& strip : sums) {
        all.low += strip.low;
        all.lowSquares += strip.lowSquares;
        all.high += strip.high;
        all.highSquares += strip.highSquares;
    }
    const double n = static_cast<double>(picture.total());
    const auto deviation = [n](double sum, double squares) {
        return std::sqrt(std::max(squares / n - sum / n * (sum / n), 0.0));
    };
    result.lowDeviation = deviation(all.low, all.lowSquares);
    result.highDeviation = deviation(all.high, all.highSquares);
    return result;
}
