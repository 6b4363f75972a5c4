#include "orvcore/analysis/dcthistogram.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int kShownBins = 20;
constexpr int kTransform = 1024;  // points of the spectrum
constexpr double kTellingStrength = 6;
constexpr double kLongestPeriod = 16;  // bins
constexpr double kTellingCount = 12;
constexpr int kMeanRadius = 8;  // bins of the local mean to either side

// The largest value up to which the bins are filled well enough to say something.
int FilledRange(const DctHistogram& histogram) {
    int range = 0;
    for (int n = 1; n <= histogram.largest; ++n) {
        // Neighbours together, for all but one of them may be gaps.
        std::int64_t sum = 0;
        for (int k = std::max(1, n - kMeanRadius); k <= std::min(histogram.largest, n + kMeanRadius); ++k)
            sum += histogram.At(k) + histogram.At(-k);
        if (sum < 150) break;
        range = n;
    }
    return range;
}

// Logarithms of the counts of both signs together less their local mean, from value 1 on: the zero bin and what
// the picture shows give no period.
std::vector<double> Ripple(const DctHistogram& histogram, int range) {
    std::vector<double> logs;
    for (int n = 1; n <= range; ++n)
        logs.push_back(std::log(1.0 + static_cast<double>(histogram.At(n) + histogram.At(-n))));
    std::vector<double> ripple(logs.size());
    const int size = static_cast<int>(logs.size());
    for (int i = 0; i < size; ++i) {
        const int radius = std::min({kMeanRadius, i, size - 1 - i});
        double sum = 0;
        for (int k = i - radius; k <= i + radius; ++k) sum += logs[static_cast<std::size_t>(k)];
        ripple[static_cast<std::size_t>(i)] = logs[static_cast<std::size_t>(i)] - sum / (2 * radius + 1);
    }
    return ripple;
}

std::vector<double> Spectrum(const std::vector<double>& ripple) {
    cv::Mat signal(1, kTransform, CV_64FC1, cv::Scalar(0));
    const double n = static_cast<double>(ripple.size());
    for (std::size_t i = 0; i < ripple.size(); ++i) {
        const double window = 0.5 - 0.5 * std::cos(2 * CV_PI * (static_cast<double>(i) + 0.5) / n);
        signal.at<double>(0, static_cast<int>(i)) = ripple[i] * window;
    }
    cv::Mat lines;
    cv::dft(signal, lines, cv::DFT_COMPLEX_OUTPUT);
    std::vector<double> spectrum;
    for (int k = 0; k <= kTransform / 2; ++k) {
        const cv::Vec2d line = lines.at<cv::Vec2d>(0, k);
        spectrum.push_back(std::hypot(line[0], line[1]) / n);
    }
    return spectrum;
}

void FindPeriod(DctTraces& traces) {
    const std::vector<double>& spectrum = traces.spectrum;
    const auto lowest = static_cast<std::ptrdiff_t>(std::ceil(kTransform / kLongestPeriod));
    const auto peak = std::max_element(spectrum.begin() + lowest, spectrum.end());
    std::vector<double> sorted(spectrum.begin() + lowest, spectrum.end());
    std::nth_element(sorted.begin(), sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2),
                     sorted.end());
    const double median = std::max(sorted[sorted.size() / 2], 1e-9);
    traces.strength = *peak / median;
    // At the lower end it is the flank of the slow part, not a line of its own.
    const bool isFlank = peak == spectrum.begin() + lowest && *(peak - 1) > *peak;
    if (traces.strength < kTellingStrength || isFlank) return;
    // Harmonics of a sharp comb are nearly as strong as its fundamental: the lowest line of at least 0.6 of the peak.
    double position = static_cast<double>(peak - spectrum.begin());
    for (int divisor = 6; divisor >= 2; --divisor) {
        const auto near = static_cast<std::ptrdiff_t>(std::lround(position / divisor));
        if (near < lowest) continue;
        const auto best = std::max_element(spectrum.begin() + near - 3, spectrum.begin() + near + 4);
        if (*best < 0.6 * *peak) continue;
        position = static_cast<double>(best - spectrum.begin());
        break;
    }
    traces.period = kTransform / position;
}

}  // namespace

DctHistogram ComputeDctHistogram(const cv::Mat& coefficients, int u, int v, int largest, cv::Rect blocks) {
    CV_Assert(coefficients.type() == CV_16SC1 && u >= 0 && u < 8 && v >= 0 && v < 8 && largest >= 1);
    CV_Assert(coefficients.rows % 8 == 0 && coefficients.cols % 8 == 0);
    const cv::Rect all(0, 0, coefficients.cols / 8, coefficients.rows / 8);
    const cv::Rect part = blocks.empty() ? all : blocks & all;
    DctHistogram histogram;
    histogram.largest = largest;
    histogram.counts.assign(2 * static_cast<std::size_t>(largest) + 1, 0);
    for (int y = part.y; y < part.y + part.height; ++y) {
        const std::int16_t* row = coefficients.ptr<std::int16_t>(8 * y + v);
        for (int x = part.x; x < part.x + part.width; ++x) {
            const int value = row[8 * x + u];
            if (value >= -largest && value <= largest)
                ++histogram.counts[static_cast<std::size_t>(value + largest)];
        }
    }
    histogram.total = std::int64_t{part.width} * part.height;
    return histogram;
}

DctTraces FindDctTraces(const DctHistogram& histogram) {
    DctTraces traces;
    for (int n = -kShownBins; n <= kShownBins; ++n)
        if (histogram.At(n) == 0) ++traces.emptyBins;
    for (int n = -histogram.largest + 2; n <= histogram.largest - 2; ++n) {
        // The zero bin towers over its neighbours and says nothing about them.
        if (n >= -2 && n <= 2 && n != 0) {
            const std::int64_t outer = histogram.At(n < 0 ? n - 1 : n + 1);
            if (outer >= kTellingCount && 4 * histogram.At(n) < outer) traces.gaps.push_back(n);
            continue;
        }
        if (n == 0) continue;
        // Counts fall off with the value, so the geometric mean of either side's larger neighbour is expected.
        const double left = static_cast<double>(std::max(histogram.At(n - 1), histogram.At(n - 2)));
        const double right = static_cast<double>(std::max(histogram.At(n + 1), histogram.At(n + 2)));
        const double expected = std::sqrt(left * right);
        if (expected >= kTellingCount && static_cast<double>(histogram.At(n)) < expected / 4)
            traces.gaps.push_back(n);
    }
    const int range = FilledRange(histogram);
    if (range < 12) return traces;
    traces.spectrum = Spectrum(Ripple(histogram, range));
    FindPeriod(traces);
    return traces;
}

std::vector<int> DoubleQuantisationCounts(int firstStep, int secondStep, int largest) {
    CV_Assert(firstStep >= 1 && secondStep >= 1 && largest >= 1);
    std::vector<int> counts;
    const double ratio = static_cast<double>(secondStep) / firstStep;
    for (int n = -largest; n <= largest; ++n)
        counts.push_back(firstStep *
                         static_cast<int>(std::floor(ratio * (n + 0.5)) - std::ceil(ratio * (n - 0.5)) + 1));
    return counts;
}
