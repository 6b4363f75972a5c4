#include "orvcore/analysis/contrast.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <numeric>

#include "zorbase/zorexception.h"

namespace {

using Histogram = std::array<std::int64_t, 256>;

constexpr int kTaper = 4;
constexpr int kCut = 32;
constexpr std::int64_t kLeastSamples = 50'000;  // for a decision
constexpr double kLeastNeighbours = 20.0;

double FourierMeasure(const Histogram& histogram) {
    double total = 0.0;
    cv::Mat values(1, 256, CV_64F);
    for (int i = 0; i < 256; ++i) {
        const double taper = std::min({1.0, (i + 0.5) / kTaper, (255.5 - i) / kTaper});
        const auto count = static_cast<double>(histogram[static_cast<std::size_t>(i)]);
        values.at<double>(i) = count * taper;
        total += count;
    }
    cv::Mat spectrum;
    cv::dft(values, spectrum, cv::DFT_COMPLEX_OUTPUT);
    double sum = 0.0;
    for (int w = kCut; w <= 256 - kCut; ++w) sum += cv::norm(spectrum.at<cv::Vec2d>(w));
    return total > 0.0 ? sum / total : 0.0;
}

double Roughness(const ContrastChannel& channel) {
    std::vector<double> occupied;
    for (int i = channel.first; i <= channel.last; ++i)
        if (const auto count = channel.histogram[static_cast<std::size_t>(i)]; count > 0)
            occupied.push_back(static_cast<double>(count));
    std::vector<double> deviations;
    for (std::size_t i = 1; i + 1 < occupied.size(); ++i) {
        const double beside = (occupied[i - 1] + occupied[i + 1]) / 2;
        if (beside >= kLeastNeighbours) deviations.push_back(std::abs(std::log(occupied[i] / beside)));
    }
    if (deviations.empty()) return std::numeric_limits<double>::quiet_NaN();
    const auto middle = deviations.begin() + static_cast<std::ptrdiff_t>(deviations.size() / 2);
    std::nth_element(deviations.begin(), middle, deviations.end());
    return *middle;
}

void Describe(ContrastChannel& channel) {
    std::int64_t total = 0;
    for (const std::int64_t count : channel.histogram) total += count;
    // A level is inside when 0.5 % of the samples lie at or below it, and as many at or above.
    std::int64_t below = 0;
    channel.first = channel.last = 0;
    bool hasFirst = false;
    for (int i = 0; i < 256; ++i) {
        below += channel.histogram[static_cast<std::size_t>(i)];
        if (!hasFirst && below * 200 >= total) {
            channel.first = i;
            hasFirst = true;
        }
        if (below * 200 < total * 199) channel.last = i + 1;
    }
    channel.last = std::min(std::max(channel.last, channel.first), 255);
    for (int i = std::max(channel.first, 2); i <= std::min(channel.last, 253); ++i) {
        const auto at = [&](int level) {
            return static_cast<double>(channel.histogram[static_cast<std::size_t>(level)]);
        };
        const double neighbours = (at(i - 2) + at(i - 1) + at(i + 1) + at(i + 2)) / 4;
        if (neighbours < kLeastNeighbours) continue;
        if (at(i) == 0.0) channel.gaps.push_back(i);
        if (i >= channel.first + 2 && i <= channel.last - 2 && at(i) > 1.8 * neighbours)
            channel.peaks.push_back(i);
    }
    channel.fourier = FourierMeasure(channel.histogram);
    channel.roughness = Roughness(channel);
    Histogram sorted = channel.histogram;
    std::partial_sort(sorted.begin(), sorted.begin() + 8, sorted.end(), std::greater<>());
    channel.crowded =
        total > 0
            ? static_cast<double>(std::accumulate(sorted.begin(), sorted.begin() + 8, std::int64_t{0})) /
                  static_cast<double>(total)
            : 0.0;
}

// Histograms of the channels in the order of memory.
std::vector<Histogram> CountLevels(const cv::Mat& image) {
    std::vector<Histogram> histograms(static_cast<std::size_t>(image.channels()), Histogram{});
    for (int y = 0; y < image.rows; ++y) {
        const std::uint8_t* row = image.ptr(y);
        if (image.channels() == 1) {
            for (int x = 0; x < image.cols; ++x) ++histograms[0][row[x]];
        } else {
            for (int x = 0; x < image.cols; ++x)
                for (std::size_t c = 0; c < 3; ++c) ++histograms[c][row[3 * static_cast<std::size_t>(x) + c]];
        }
    }
    return histograms;
}

}  // namespace

ContrastResult ComputeContrast(const cv::Mat& image, int block, const AnalysisProgress& progress) {
    if (image.empty() || (image.type() != CV_8UC1 && image.type() != CV_8UC3) || block < 32 || block > 256) {
        ZOR_THROW(
            Argument,
            "Traces of changed contrast need a grey or colour picture of 8 bits per channel and blocks of 32 to 256.");
    }
    ContrastResult result;
    result.samples = static_cast<std::int64_t>(image.total());
    const int strips = (image.rows + 63) / 64;
    std::vector<std::vector<Histogram>> parts(static_cast<std::size_t>(strips));
    ForEachPiece(strips, PartOf(progress, 0.0, 0.4), [&](int i) {
        parts[static_cast<std::size_t>(i)] =
            CountLevels(image.rowRange(i * 64, std::min(i * 64 + 64, image.rows)));
    });
    const bool isGrey = image.channels() == 1;
    for (const int c : isGrey ? std::vector<int>{0} : std::vector<int>{2, 1, 0}) {
        ContrastChannel channel;
        channel.name = isGrey ? "Grey" : c == 2 ? "Red" : c == 1 ? "Green" : "Blue";
        for (const auto& part : parts)
            for (std::size_t i = 0; i < 256; ++i)
                channel.histogram[i] += part[static_cast<std::size_t>(c)][i];
        Describe(channel);
        result.channels.push_back(std::move(channel));
    }
    const cv::Size cells(image.cols / block, image.rows / block);
    if (cells.empty()) return result;
    result.map.cell = {block, block};
    result.map.values.create(cells, CV_32F);
    result.map.known.create(cells, CV_8U);
    ForEachPiece(cells.height, PartOf(progress, 0.4, 1.0), [&](int y) {
        for (int x = 0; x < cells.width; ++x) {
            double largest = 0.0;
            std::int64_t saturated = 0;
            for (const Histogram& histogram :
                 CountLevels(image(cv::Rect(x * block, y * block, block, block)))) {
                largest = std::max(largest, FourierMeasure(histogram));
                saturated = std::max(saturated, histogram[0] + histogram[255]);
            }
            result.map.values.at<float>(y, x) = static_cast<float>(largest);
            result.map.known.at<std::uint8_t>(y, x) = saturated * 2 > block * block ? 0 : 255;
        }
    });
    return result;
}

AnalysisDecision DecideContrast(const ContrastResult& result) {
    AnalysisDecision decision;
    if (result.samples < kLeastSamples) {
        decision.text = "Too few pixels: levels are missing by chance.";
        return decision;
    }
    int most = 0;
    int drawn = 0;
    bool isNarrow = true;
    for (const ContrastChannel& channel : result.channels) {
        int& count = channel.IsDrawn() ? drawn : most;
        count = std::max(count, static_cast<int>(channel.gaps.size()));
        isNarrow = isNarrow && channel.last - channel.first < 16;
    }
    if (isNarrow) {
        decision.text = "Nearly one level: a histogram as narrow as this shows no curve.";
        return decision;
    }
    if (most < kContrastGaps && drawn >= kContrastGaps) {
        decision.text =
            "A drawing, lettering, a palette or very strong compression: levels are missing from the start.";
        return decision;
    }
    decision.measured = most;
    decision.threshold = kContrastGaps;
    const bool isStrong = most >= kContrastGaps;
    decision.finding = isStrong ? Finding::StrongSign : Finding::Nothing;
    decision.text =
        isStrong ? "Levels are missing inside the histogram, as after a curve that spreads contrast."
                 : "No gaps in the histogram; compression after a change of contrast would have filled them.";
    return decision;
}
