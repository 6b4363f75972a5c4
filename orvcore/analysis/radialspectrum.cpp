#include "orvcore/analysis/radialspectrum.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <opencv2/imgproc.hpp>

#include "orvcore/analysis/pixelrows.h"

namespace {

constexpr int kSide = 256;
constexpr int kStep = 128;
constexpr int kStripRows = 64;
constexpr double kSigma = 2.0;
constexpr int kGaussReach = 8;
constexpr double kLeastDeviation = 0.2;
constexpr double kLowestPeak = 0.06;
constexpr double kLeastPeakDb = 6.0;
constexpr std::size_t kMostPeaks = 20;
constexpr int kFallBins = 20;  // 0.08 of 256
constexpr double kPeriodicDb = 30.0;
constexpr double kEnlargedDb = 11.0;

cv::Mat HighPass(const cv::Mat& picture, const AnalysisProgress& progress) {
    cv::Mat residual(picture.size(), CV_32F);
    ForEachStrip(picture.rows, kStripRows, progress, [&](int first, int end) {
        const int above = std::max(first - kGaussReach, 0);
        const int below = std::min(end + kGaussReach, picture.rows);
        const cv::Mat luminance = FloatLuminance(picture.rowRange(above, below));
        cv::Mat smooth;
        cv::GaussianBlur(luminance, smooth, cv::Size(2 * kGaussReach + 1, 2 * kGaussReach + 1), kSigma);
        cv::Mat target = residual.rowRange(first, end);
        cv::subtract(luminance.rowRange(first - above, end - above),
                     smooth.rowRange(first - above, end - above), target);
    });
    return residual;
}

// Sums of 10 log10 |F|^2 of some windows, in the order of the transform.
struct WindowSum {
    cv::Mat decibels = cv::Mat::zeros(kSide, kSide / 2 + 1, CV_64F);
    int windows = 0;
    int skipped = 0;
};

void AddWindow(const cv::Mat& residual, const cv::Mat& hann, WindowSum& sum) {
    cv::Scalar mean;
    cv::Scalar deviation;
    cv::meanStdDev(residual, mean, deviation);
    if (!(deviation[0] >= kLeastDeviation)) {
        ++sum.skipped;
        return;
    }
    cv::Mat window;
    cv::multiply(residual, hann, window, 1.0 / deviation[0]);
    cv::dft(window, window, cv::DFT_COMPLEX_OUTPUT);
    for (int y = 0; y < kSide; ++y) {
        const cv::Vec2f* value = window.ptr<cv::Vec2f>(y);
        double* target = sum.decibels.ptr<double>(y);
        for (int x = 0; x <= kSide / 2; ++x) {
            const double power = static_cast<double>(value[x][0]) * value[x][0] +
                                 static_cast<double>(value[x][1]) * value[x][1];
            target[x] += 10.0 * std::log10(power + 1e-12);
        }
    }
    ++sum.windows;
}

void DescribeCurve(RadialSpectrum& result) {
    const auto mean = [&](double from, double to) {
        double sum = 0;
        int count = 0;
        for (int i = 0; i <= kSide / 2; ++i) {
            const double f = static_cast<double>(i) / kSide;
            if (f < from || f > to) continue;
            sum += result.curve[static_cast<std::size_t>(i)];
            ++count;
        }
        return sum / count;
    };
    result.dropDb = mean(0.1, 0.2) - mean(0.42, 0.495);
    for (std::size_t i = 16; i + kFallBins < result.curve.size(); ++i) {
        const double fall = result.curve[i] - result.curve[i + kFallBins];
        if (fall <= result.fallDb) continue;
        result.fallDb = fall;
        result.fallFrom = static_cast<double>(i) / kSide;
    }
}

bool NearMultipleOfEighth(double f) {
    return std::abs(f * 8.0 - std::round(f * 8.0)) < 0.05;
}

void FindPeaks(RadialSpectrum& result) {
    const cv::Mat& map = result.peakMap;
    const auto at = [&](int y, int x) { return map.ptr<float>((y + kSide) % kSide)[(x + kSide) % kSide]; };
    std::vector<float> around;
    for (int y = 0; y < kSide; ++y) {
        const double fy = static_cast<double>(y - kSide / 2) / kSide;
        for (int x = 0; x < kSide; ++x) {
            const double fx = static_cast<double>(x - kSide / 2) / kSide;
            // -0.5 is 0.5; of each frequency and its mirror image one is enough.
            if (fy > 0 || (fy == 0 && fx > 0)) continue;
            if (std::hypot(fx, fy) < kLowestPeak || at(y, x) < kLeastPeakDb / 2) continue;
            bool isLargest = true;
            for (int dy = -1; dy <= 1; ++dy)
                for (int dx = -1; dx <= 1; ++dx) isLargest = isLargest && at(y + dy, x + dx) <= at(y, x);
            if (!isLargest) continue;
            around.clear();
            for (int dy = -4; dy <= 4; ++dy)
                for (int dx = -4; dx <= 4; ++dx) around.push_back(at(y + dy, x + dx));
            std::nth_element(around.begin(), around.begin() + 40, around.end());
            const double prominence = at(y, x) - around[40];
            if (prominence < kLeastPeakDb) continue;
            result.peaks.push_back(
                {-fx, -fy, prominence, NearMultipleOfEighth(fx) && NearMultipleOfEighth(fy)});
        }
    }
    std::stable_sort(
        result.peaks.begin(), result.peaks.end(),
        [](const SpectrumPeak& a, const SpectrumPeak& b) { return a.prominenceDb > b.prominenceDb; });
    if (result.peaks.size() > kMostPeaks) result.peaks.resize(kMostPeaks);
}

}  // namespace

RadialSpectrum ComputeRadialSpectrum(const cv::Mat& picture, const AnalysisProgress& progress) {
    CheckPicture(picture);
    RadialSpectrum result;
    if (picture.cols < kSide || picture.rows < kSide) {
        result.whyNot = "The picture is smaller than one window of 256 x 256 pixels.";
        return result;
    }
    const cv::Mat residual = HighPass(picture, PartOf(progress, 0.0, 0.3));
    cv::Mat hann(kSide, kSide, CV_32F);
    for (int y = 0; y < kSide; ++y) {
        for (int x = 0; x < kSide; ++x) {
            const auto part = [](int i) {
                return 0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * (i + 0.5) / kSide);
            };
            hann.ptr<float>(y)[x] = static_cast<float>(part(y) * part(x));
        }
    }
    const int across = (picture.cols - kSide) / kStep + 1;
    const int down = (picture.rows - kSide) / kStep + 1;
    // A sum for each of at most 32 groups of window rows, so that memory stays small and the order of adding is always the same.
    const int groups = std::min(down, 32);
    std::vector<WindowSum> sums(static_cast<std::size_t>(groups));
    ForEachPiece(groups, PartOf(progress, 0.3, 0.95), [&](int group) {
        WindowSum& sum = sums[static_cast<std::size_t>(group)];
        for (int row = group; row < down; row += groups)
            for (int column = 0; column < across; ++column)
                AddWindow(residual(cv::Rect(column * kStep, row * kStep, kSide, kSide)), hann, sum);
    });
    WindowSum all;
    for (const WindowSum& sum : sums) {
        all.decibels += sum.decibels;
        all.windows += sum.windows;
        all.skipped += sum.skipped;
    }
    result.windows = all.windows;
    result.windowsSkipped = all.skipped;
    if (all.windows == 0) {
        result.whyNot = "The picture is too smooth: no window varies by more than 0.2 levels.";
        return result;
    }
    result.isApplicable = true;

    cv::Mat decibels(kSide, kSide, CV_64F);
    std::vector<double> counts(kSide / 2 + 1, 0.0);
    result.curve.assign(kSide / 2 + 1, 0.0);
    const auto ring = [](int y, int x) {
        return static_cast<std::size_t>(std::lround(std::hypot(y - kSide / 2, x - kSide / 2)));
    };
    for (int y = 0; y < kSide; ++y) {
        for (int x = 0; x < kSide; ++x) {
            int ky = (y + kSide / 2) % kSide;
            int kx = (x + kSide / 2) % kSide;
            if (kx > kSide / 2) {
                kx = kSide - kx;
                ky = (kSide - ky) % kSide;
            }
            decibels.ptr<double>(y)[x] = all.decibels.ptr<double>(ky)[kx] / all.windows;
            if (const std::size_t i = ring(y, x); i < counts.size()) {
                result.curve[i] += decibels.ptr<double>(y)[x];
                counts[i] += 1.0;
            }
        }
    }
    for (std::size_t i = 0; i < counts.size(); ++i) result.curve[i] /= counts[i];
    result.peakMap.create(kSide, kSide, CV_32F);
    for (int y = 0; y < kSide; ++y)
        for (int x = 0; x < kSide; ++x)
            result.peakMap.ptr<float>(y)[x] = static_cast<float>(
                decibels.ptr<double>(y)[x] - result.curve[std::min(ring(y, x), result.curve.size() - 1)]);
    DescribeCurve(result);
    FindPeaks(result);
    if (progress) progress(1.0);
    return result;
}

UpsamplingVerdict JudgeRadialSpectrum(const RadialSpectrum& spectrum) {
    double strongest = 0;
    for (const SpectrumPeak& peak : spectrum.peaks) strongest = std::max(strongest, peak.prominenceDb);
    if (strongest >= kPeriodicDb) return {UpsamplingSign::PeriodicTrace, strongest, kPeriodicDb};
    if (spectrum.fallDb >= kEnlargedDb)
        return {UpsamplingSign::EnlargementHint, spectrum.fallDb, kEnlargedDb};
    return {UpsamplingSign::None, spectrum.fallDb, kEnlargedDb};
}
