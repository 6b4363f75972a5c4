#include "orvcore/analysis/resampling.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <opencv2/imgproc.hpp>

#include "zorbase/zorexception.h"

namespace {

constexpr int kLargestWindow = 1000;
constexpr int kSmallestPicture = 64;
constexpr int kMapWindow = 256;
constexpr int kMapStep = 64;
constexpr int kForeignPeaks = 3;  // from so many on, a pattern in the scene explains the pair as well
constexpr int kDecisionWindow = 256;
constexpr double kJpegReach = 0.006;
constexpr double kLowest = 0.03;    // below, texture itself has peaks
constexpr double kHighest = 0.485;  // above, sharpening and demosaicing have them
constexpr double kPi = 3.14159265358979323846;

void ProbabilityRows(const cv::Mat& plane, cv::Mat& p, int first, int end) {
    for (int y = first; y < end; ++y) {
        const float* up = plane.ptr<float>(y > 0 ? y - 1 : 1);
        const float* row = plane.ptr<float>(y);
        const float* down = plane.ptr<float>(y + 1 < plane.rows ? y + 1 : plane.rows - 2);
        float* out = p.ptr<float>(y);
        const auto error = [&](int left, int x, int right) {
            const float predicted = 0.5F * (up[x] + down[x] + row[left] + row[right]) -
                                    0.25F * (up[left] + up[right] + down[left] + down[right]);
            const float e = row[x] - predicted;
            return -0.5F * e * e;
        };
        const int last = plane.cols - 1;
        out[0] = error(1, 0, 1);
        for (int x = 1; x < last; ++x) out[x] = error(x - 1, x, x + 1);
        out[last] = error(last - 1, last, last - 1);
    }
    cv::Mat rows = p.rowRange(first, end);
    cv::exp(rows, rows);
}

float Median(std::vector<float>& values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

// |FFT| of a square window of p with its mean taken away, zero frequency at (side / 2, side / 2), each value divided by the median
// of its surroundings; on the axes, where straight edges gather, by that of its surroundings on the axis if that is more.
cv::Mat NormalisedSpectrum(const cv::Mat& window) {
    const int side = window.rows;
    cv::Mat centred = window - cv::mean(window)[0];
    cv::Mat complex;
    cv::dft(centred, complex, cv::DFT_COMPLEX_OUTPUT);
    cv::Mat magnitude(side, side, CV_32F);
    const int half = side / 2;
    for (int y = 0; y < side; ++y) {
        const cv::Vec2f* from = complex.ptr<cv::Vec2f>(y);
        float* to = magnitude.ptr<float>((y + half) % side);
        for (int x = 0; x < side; ++x)
            to[(x + half) % side] = std::sqrt(from[x][0] * from[x][0] + from[x][1] * from[x][1]);
    }
    // Medians of tiles, interpolated between their middles.
    const int tiles = std::max(side / 50, 5);
    cv::Mat medians(tiles, tiles, CV_32F);
    std::vector<float> values;
    for (int ty = 0; ty < tiles; ++ty) {
        for (int tx = 0; tx < tiles; ++tx) {
            values.clear();
            for (int y = ty * side / tiles; y < (ty + 1) * side / tiles; ++y)
                values.insert(values.end(), magnitude.ptr<float>(y) + tx * side / tiles,
                              magnitude.ptr<float>(y) + (tx + 1) * side / tiles);
            medians.at<float>(ty, tx) = Median(values);
        }
    }
    cv::Mat smooth;
    cv::resize(medians, smooth, magnitude.size(), 0, 0, cv::INTER_LINEAR);
    // A window without any change (saturated, drawn) has nothing to divide by.
    const cv::Mat local = cv::max(smooth, 1e-3);
    cv::Mat ratio = magnitude / local;
    constexpr int kReach = 12;
    for (const bool isRow : {true, false}) {
        for (int across = -1; across <= 1; ++across) {
            std::vector<float> line(static_cast<std::size_t>(side));
            for (int i = 0; i < side; ++i)
                line[static_cast<std::size_t>(i)] =
                    isRow ? magnitude.at<float>(half + across, i) : magnitude.at<float>(i, half + across);
            for (int i = 0; i < side; ++i) {
                values.assign(line.begin() + std::max(i - kReach, 0),
                              line.begin() + std::min(i + kReach + 1, side));
                const cv::Point at = isRow ? cv::Point(i, half + across) : cv::Point(half + across, i);
                const float median = std::max(Median(values), local.at<float>(at));
                ratio.at<float>(at) =
                    std::min(ratio.at<float>(at), line[static_cast<std::size_t>(i)] / median);
            }
        }
    }
    return ratio;
}

// The largest value within one step of a place; places beyond the edge wrap around.
float LargestNear(const cv::Mat& spectrum, int x, int y) {
    const int side = spectrum.rows;
    float largest = 0.0F;
    for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx)
            largest = std::max(largest, spectrum.at<float>((y + dy + side) % side, (x + dx + side) % side));
    return largest;
}

bool IsNearEighth(double f) {
    const double eighths = f * 8.0;
    return std::abs(eighths - std::round(eighths)) <= kJpegReach * 8.0;
}

// The pair of peaks at place k of both axes: the smaller of the two.
ResamplingPeak PairAt(const cv::Mat& spectrum, int k) {
    const int half = spectrum.rows / 2;
    const double pair =
        std::min(LargestNear(spectrum, half + k, half), LargestNear(spectrum, half, half + k));
    return {static_cast<double>(k) / spectrum.rows, 0.0, spectrum.at<float>(half, half + k), pair, false};
}

// Of neighbours that reach the same peaks, the one that stands on them.
bool IsStronger(const ResamplingPeak& a, const ResamplingPeak& b) {
    return a.pairStrength > b.pairStrength || (a.pairStrength == b.pairStrength && a.strength > b.strength);
}

// The strongest pair at the same frequency of both axes that counts; of a frequency and its harmonics, the fundamental if it is
// there at all.
ResamplingPeak StrongestPair(const cv::Mat& spectrum) {
    const int side = spectrum.rows;
    const auto strongestWithin = [&](double from, double to) {
        ResamplingPeak best;
        for (int k = static_cast<int>(std::ceil(from * side)); k <= static_cast<int>(to * side); ++k) {
            if (IsNearEighth(static_cast<double>(k) / side)) continue;
            const ResamplingPeak pair = PairAt(spectrum, k);
            if (IsStronger(pair, best)) best = pair;
        }
        return best;
    };
    ResamplingPeak best = strongestWithin(kLowest, kHighest);
    const double strongest = best.pairStrength;
    for (const double fundamental : {best.fx / 2, (1.0 - best.fx) / 2}) {
        if (fundamental < kLowest || fundamental > kHighest) continue;
        ResamplingPeak pair = strongestWithin(fundamental - 1.5 / side, fundamental + 1.5 / side);
        if (pair.pairStrength < std::max(strongest / 2, 4.0)) continue;
        pair.pairStrength = strongest;  // what was measured stays what the decision is made by
        best = pair;
        break;
    }
    return best;
}

std::vector<ResamplingPeak> FindPeaks(const cv::Mat& spectrum) {
    constexpr float kLeast = 4.5F;
    const int side = spectrum.rows;
    const int half = side / 2;
    std::vector<ResamplingPeak> peaks;
    for (int y = 2; y < side - 2; ++y) {
        for (int x = half; x < side - 2; ++x) {
            const float value = spectrum.at<float>(y, x);
            if (value < kLeast || (x == half && y < half)) continue;
            const double fx = static_cast<double>(x - half) / side;
            const double fy = static_cast<double>(y - half) / side;
            if (std::hypot(fx, fy) < kLowest) continue;
            double highest = 0.0;
            cv::minMaxLoc(spectrum(cv::Rect(x - 2, y - 2, 5, 5)), nullptr, &highest);
            if (value < highest) continue;
            const double turned = LargestNear(spectrum, half - (y - half), half + (x - half));
            peaks.push_back(
                {fx, fy, value, std::min<double>(value, turned), IsNearEighth(fx) && IsNearEighth(fy)});
        }
    }
    std::stable_sort(peaks.begin(), peaks.end(), [](const ResamplingPeak& a, const ResamplingPeak& b) {
        return a.strength > b.strength;
    });
    if (peaks.size() > 16) peaks.resize(16);
    return peaks;
}

// Magnitudes at frequency 0..side / 2 of one axis of a window's spectrum, which are those of the sums across it, divided by the
// median of their surroundings.
std::vector<float> AxisOf(const cv::Mat& window, bool isAcross) {
    constexpr int kReach = 12;
    cv::Mat sums;
    cv::reduce(window, sums, isAcross ? 0 : 1, cv::REDUCE_SUM, CV_32F);
    sums = sums.reshape(1, 1);
    sums = sums - cv::mean(sums)[0];
    cv::Mat complex;
    cv::dft(sums, complex, cv::DFT_COMPLEX_OUTPUT);
    std::vector<float> magnitude;
    for (int i = 0; i <= sums.cols / 2; ++i)
        magnitude.push_back(static_cast<float>(cv::norm(complex.at<cv::Vec2f>(i))));
    std::vector<float> ratio;
    std::vector<float> values;
    const auto count = static_cast<std::ptrdiff_t>(magnitude.size());
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const auto begin = magnitude.begin();
        values.assign(begin + std::max<std::ptrdiff_t>(i - kReach, 0),
                      begin + std::min(i + kReach + 1, count));
        ratio.push_back(magnitude[static_cast<std::size_t>(i)] / std::max(Median(values), 1e-3F));
    }
    return ratio;
}

void ComputeMap(const cv::Mat& luminance, ResamplingResult& result, const AnalysisProgress& progress) {
    if (luminance.cols < kMapWindow || luminance.rows < kMapWindow) return;
    const cv::Size cells((luminance.cols - kMapWindow) / kMapStep + 1,
                         (luminance.rows - kMapWindow) / kMapStep + 1);
    AnalysisMap& map = result.map;
    map.values.create(cells, CV_32F);
    map.known.create(cells, CV_8U);
    map.cell = {kMapStep, kMapStep};
    map.origin = {(kMapWindow - kMapStep) / 2, (kMapWindow - kMapStep) / 2};
    result.mapFrequency.create(cells, CV_32F);
    ForEachPiece(cells.height, progress, [&](int y) {
        for (int x = 0; x < cells.width; ++x) {
            const cv::Rect window(x * kMapStep, y * kMapStep, kMapWindow, kMapWindow);
            const std::vector<float> across = AxisOf(result.probability(window), true);
            const std::vector<float> down = AxisOf(result.probability(window), false);
            float strongest = 0.0F;
            int place = 0;
            for (int k = static_cast<int>(std::ceil(kLowest * kMapWindow));
                 k <= static_cast<int>(kHighest * kMapWindow); ++k) {
                if (IsNearEighth(static_cast<double>(k) / kMapWindow)) continue;
                const auto near = [k](const std::vector<float>& axis) {
                    return *std::max_element(axis.begin() + k - 1, axis.begin() + k + 2);
                };
                const float pair = std::min(near(across), near(down));
                if (pair <= strongest) continue;
                strongest = pair;
                place = k;
            }
            map.values.at<float>(y, x) = strongest;
            result.mapFrequency.at<float>(y, x) = static_cast<float>(place) / kMapWindow;
            const cv::Mat pixels = luminance(window);
            const int usable = cv::countNonZero((pixels > 1.5F) & (pixels < 253.5F));
            map.known.at<std::uint8_t>(y, x) = usable * 2 >= window.area() ? 255 : 0;
        }
    });
}

// Peaks on the axes that neither follow from `best` nor from JPEG's grid: what regular patterns in the scene have.
int CountForeignPeaks(const cv::Mat& spectrum, const ResamplingPeak& best) {
    const int side = spectrum.rows;
    const int half = side / 2;
    const auto folded = [](double f) { return std::abs(f - std::round(f)); };
    int count = 0;
    for (int k = static_cast<int>(std::ceil(0.01 * side)); k <= static_cast<int>(kHighest * side); ++k) {
        const double f = static_cast<double>(k) / side;
        bool follows = IsNearEighth(f);
        for (int n = 1; n <= 4 && !follows; ++n)
            for (int eighths = 0; eighths < 8 && !follows; ++eighths)
                follows = std::abs(folded(n * best.fx + eighths / 8.0) - f) <= kJpegReach;
        if (follows) continue;
        for (const cv::Point at : {cv::Point(half + k, half), cv::Point(half, half + k)})
            count += spectrum.at<float>(at) >= std::max(best.pairStrength / 3, 4.0);
    }
    return count;
}

}  // namespace

std::vector<ResamplingGuess> ScalesOfPeak(double fx, double fy) {
    // The lattice of the original samples has the frequency (cos, sin) / scale, known up to whole numbers and sign.
    std::vector<std::pair<double, ResamplingGuess>> found;
    for (const double sign : {1.0, -1.0}) {
        for (int m = 0; m <= 2; ++m) {
            for (int n = -1; n <= 1; ++n) {
                const double x = m + sign * fx;
                const double y = n + sign * fy;
                const double length = std::hypot(x, y);
                const double degrees = std::atan2(y, x) * 180.0 / kPi;
                if (length < 0.4 || length > 2.5 || std::abs(degrees) > 45.0) continue;
                const ResamplingGuess guess{1.0 / length, std::abs(degrees) < 1e-9 ? 0.0 : degrees};
                const double change = std::abs(std::log(guess.scale)) + std::abs(guess.degrees) / 45.0;
                const bool isKnown = std::any_of(found.begin(), found.end(), [&](const auto& other) {
                    return std::abs(other.second.scale - guess.scale) < 1e-6 &&
                           std::abs(other.second.degrees - guess.degrees) < 1e-6;
                });
                if (!isKnown && change > 1e-6) found.emplace_back(change, guess);
            }
        }
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<ResamplingGuess> guesses;
    for (std::size_t i = 0; i < std::min<std::size_t>(found.size(), 4); ++i)
        guesses.push_back(found[i].second);
    return guesses;
}

ResamplingResult ComputeResampling(const cv::Mat& luminance, const AnalysisProgress& progress) {
    if (luminance.type() != CV_32FC1 || luminance.cols < kSmallestPicture ||
        luminance.rows < kSmallestPicture) {
        ZOR_THROW(Argument, "The search for resampling needs a picture of at least 64 x 64 pixels.");
    }
    ResamplingResult result;
    result.probability.create(luminance.size(), CV_32F);
    ForEachStrip(luminance.rows, 64, PartOf(progress, 0.0, 0.15),
                 [&](int first, int end) { ProbabilityRows(luminance, result.probability, first, end); });
    // A multiple of 8, so that JPEG's own peaks stand on single places.
    const int side = std::min({kLargestWindow, luminance.cols, luminance.rows}) / 8 * 8;
    result.window = {(luminance.cols - side) / 2, (luminance.rows - side) / 2, side, side};
    result.spectrum = NormalisedSpectrum(result.probability(result.window));
    result.peaks = FindPeaks(result.spectrum);
    result.best = StrongestPair(result.spectrum);
    result.foreignPeaks = CountForeignPeaks(result.spectrum, result.best);
    if (result.best.pairStrength > 0.0) result.guesses = ScalesOfPeak(result.best.fx, result.best.fy);
    ComputeMap(luminance, result, PartOf(progress, 0.3, 1.0));
    return result;
}

AnalysisDecision DecideResampling(const ResamplingResult& result) {
    AnalysisDecision decision;
    decision.threshold = kResamplingThreshold;
    if (result.window.width < kDecisionWindow) {
        decision.text = "Too small: periods are measured on at least 256 x 256 pixels.";
        return decision;
    }
    if (!(result.best.pairStrength > 0.0)) {
        decision.text = "The picture is too even: there is nothing that could repeat.";
        return decision;
    }
    decision.measured = result.best.pairStrength;
    decision.finding =
        result.best.pairStrength >= kResamplingThreshold ? Finding::StrongSign : Finding::Nothing;
    if (decision.finding == Finding::StrongSign && result.foreignPeaks >= kForeignPeaks) {
        decision.finding = Finding::WorthALook;
        decision.text =
            "Samples repeat with a period on both axes, among many others as regular patterns have them.";
        return decision;
    }
    if (decision.finding == Finding::StrongSign) {
        decision.text =
            "Samples repeat with a period on both axes, as after scaling; a camera that reduces its "
            "pictures itself does the same.";
        return decision;
    }
    for (const ResamplingPeak& peak : result.peaks) {
        const bool isOnAxis = std::min(std::abs(peak.fx), std::abs(peak.fy)) < 2.5 / result.window.width;
        if (peak.isJpeg || isOnAxis || peak.pairStrength < kResamplingThreshold) continue;
        decision.finding = Finding::WorthALook;
        decision.measured = peak.pairStrength;
        decision.text =
            "Peaks off the axes, in pairs at right angles, as after turning; regular patterns have them too.";
        return decision;
    }
    decision.text =
        "No period of interpolation found; scaling by whole numbers and strong compression hide it.";
    return decision;
}
