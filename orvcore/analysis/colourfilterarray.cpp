#include "orvcore/analysis/colourfilterarray.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "zorbase/zorexception.h"

namespace {

constexpr int kBlock = 16;
constexpr int kReach = 3;
constexpr int kLeastSide = 64;
constexpr float kLeastVariance = 1e-3F;  // what rounding leaves is above it
constexpr int kLeastCells = 100;         // for a decision

// Sums of one row of blocks.
struct BlockSums {
    std::array<double, 2> logVariance{};  // by parity of x + y
    std::array<int, 2> count{};
    double absolute = 0.0;  // of e
    int saturated = 0;
};

cv::Mat PredictionError(const cv::Mat& plane) {
    static const cv::Mat kernel = (cv::Mat_<float>(3, 3) << 0, -.25, 0, -.25, 1, -.25, 0, -.25, 0);
    cv::Mat error;
    cv::filter2D(plane, error, CV_32F, kernel, {-1, -1}, 0.0, cv::BORDER_REFLECT_101);
    return error;
}

// Weighted mean over the 7 x 7 neighbours of the same parity of x + y: half the sum of a Gaussian and of one with alternating signs.
cv::Mat SameLatticeMean(const cv::Mat& values) {
    cv::Mat plain(1, 2 * kReach + 1, CV_32F);
    cv::Mat alternating(1, 2 * kReach + 1, CV_32F);
    double sum = 0.0;
    double alternatingSum = 0.0;
    for (int i = -kReach; i <= kReach; ++i) {
        const double weight = std::exp(-0.5 * i * i);
        const double signedWeight = i % 2 == 0 ? weight : -weight;
        plain.at<float>(i + kReach) = static_cast<float>(weight);
        alternating.at<float>(i + kReach) = static_cast<float>(signedWeight);
        sum += weight;
        alternatingSum += signedWeight;
    }
    cv::Mat first;
    cv::Mat second;
    cv::sepFilter2D(values, first, CV_32F, plain, plain, {-1, -1}, 0.0, cv::BORDER_REFLECT_101);
    cv::sepFilter2D(values, second, CV_32F, alternating, alternating, {-1, -1}, 0.0, cv::BORDER_REFLECT_101);
    return (first + second) * (1.0 / (sum * sum + alternatingSum * alternatingSum));
}

// One row of blocks; diagonals: sums of |e| by x + y, and their counts.
void MeasureBlockRow(const cv::Mat& image, int blockY, std::vector<BlockSums>& sums,
                     std::vector<double>& diagonals, std::array<std::array<double, 4>, 2>& colours) {
    const int firstRow = blockY * kBlock;
    const int endRow = std::min(firstRow + kBlock, image.rows);
    // An even number of rows above, so that parities stay.
    const int from = std::max(firstRow - kReach - 1, 0);
    const cv::Mat part = image.rowRange(from, std::min(endRow + kReach + 1, image.rows));
    std::array<cv::Mat, 3> planes;
    cv::split(part, planes.data());
    const cv::Mat error = PredictionError(planes[1]);
    const cv::Mat mean = SameLatticeMean(error);
    cv::Mat variance = SameLatticeMean(error.mul(error)) - mean.mul(mean);
    variance = cv::max(variance, kLeastVariance);
    cv::log(variance, variance);
    const cv::Mat blue = PredictionError(planes[0]);
    const cv::Mat red = PredictionError(planes[2]);
    for (int y = firstRow; y < endRow; ++y) {
        const int r = y - from;
        const float* e = error.ptr<float>(r);
        const float* logVariance = variance.ptr<float>(r);
        const float* b = blue.ptr<float>(r);
        const float* d = red.ptr<float>(r);
        const std::uint8_t* green = planes[1].ptr(r);
        for (int x = 0; x < image.cols; ++x) {
            BlockSums& block = sums[static_cast<std::size_t>(x / kBlock)];
            const auto parity = static_cast<std::size_t>((x + y) & 1);
            const float magnitude = std::abs(e[x]);
            block.logVariance[parity] += logVariance[x];
            ++block.count[parity];
            block.absolute += magnitude;
            block.saturated += green[x] <= 2 || green[x] >= 253;
            diagonals[static_cast<std::size_t>(x + y)] += magnitude;
            const auto place = static_cast<std::size_t>((x & 1) + 2 * (y & 1));
            colours[0][place] += std::min(std::abs(b[x]), 8.0F);
            colours[1][place] += std::min(std::abs(d[x]), 8.0F);
        }
    }
}

double Median(std::vector<float> values) {
    if (values.empty()) return std::numeric_limits<double>::quiet_NaN();
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

std::vector<float> KnownValues(const AnalysisMap& map) {
    std::vector<float> known;
    for (int y = 0; y < map.values.rows; ++y)
        for (int x = 0; x < map.values.cols; ++x)
            if (map.IsKnown(x, y)) known.push_back(map.values.at<float>(y, x));
    return known;
}

// Expectation and maximisation for two Gaussians, one of mean 0; the result is the probability of the other one.
cv::Mat ProbabilityOfTrace(const AnalysisMap& map, double median) {
    cv::Mat probability = cv::Mat::zeros(map.values.size(), CV_32F);
    const std::vector<float> known = KnownValues(map);
    if (known.empty() || !(median > 0.0)) return probability;
    double mean = median;
    double variance = std::max(median * median / 4, 0.01);
    double zeroVariance = variance;
    double share = 0.5;
    const auto posterior = [&](double value) {
        const double with =
            share * std::exp(-(value - mean) * (value - mean) / (2 * variance)) / std::sqrt(variance);
        const double without =
            (1 - share) * std::exp(-value * value / (2 * zeroVariance)) / std::sqrt(zeroVariance);
        return with + without > 0.0 ? with / (with + without) : (value > mean / 2 ? 1.0 : 0.0);
    };
    for (int round = 0; round < 30; ++round) {
        double weight = 0.0, sum = 0.0, squared = 0.0, rest = 0.0, restSquared = 0.0;
        for (const double value : known) {
            const double p = posterior(value);
            weight += p;
            sum += p * value;
            squared += p * (value - mean) * (value - mean);
            rest += 1 - p;
            restSquared += (1 - p) * value * value;
        }
        share = std::clamp(weight / static_cast<double>(known.size()), 0.01, 0.99);
        if (weight > 1.0) {
            mean = std::max(sum / weight, median / 4);
            variance = std::max(squared / weight, 0.01);
        }
        if (rest > 1.0) zeroVariance = std::max(restSquared / rest, 0.01);
    }
    for (int y = 0; y < probability.rows; ++y)
        for (int x = 0; x < probability.cols; ++x)
            probability.at<float>(y, x) = static_cast<float>(posterior(map.values.at<float>(y, x)));
    return probability;
}

// |F(pi)| of the means along the diagonals to the median magnitude.
double PeakAtPi(const std::vector<double>& diagonals, cv::Size size) {
    const int first = std::min(size.width, size.height) / 4;  // short diagonals say little
    const int count = (static_cast<int>(diagonals.size()) - 2 * first) / 2 * 2;
    cv::Mat means(1, count, CV_32F);
    for (int i = 0; i < count; ++i) {
        const int d = first + i;
        const int length = std::min({d + 1, size.width, size.height, size.width + size.height - 1 - d});
        means.at<float>(i) = static_cast<float>(diagonals[static_cast<std::size_t>(d)] / length);
    }
    means -= cv::mean(means)[0];
    cv::Mat spectrum;
    cv::dft(means, spectrum, cv::DFT_COMPLEX_OUTPUT);
    std::vector<float> magnitudes;
    for (int i = 1; i < count / 2; ++i)
        magnitudes.push_back(static_cast<float>(cv::norm(spectrum.at<cv::Vec2f>(i))));
    const double median = Median(magnitudes);
    return median > 0.0 ? cv::norm(spectrum.at<cv::Vec2f>(count / 2)) / median : 0.0;
}

// Of the two patterns that the green lattice allows, the one whose red and blue samples vary more than their interpolated ones.
FilterPattern PatternOf(bool isGreenOdd, const std::array<std::array<double, 4>, 2>& colours) {
    const auto& blue = colours[0];
    const auto& red = colours[1];
    // Places: 0 first pixel, 1 the next in its row, 2 the one below, 3 below and next.
    if (isGreenOdd) return red[0] + blue[3] > red[3] + blue[0] ? FilterPattern::Rggb : FilterPattern::Bggr;
    return red[1] + blue[2] > red[2] + blue[1] ? FilterPattern::Grbg : FilterPattern::Gbrg;
}

// The trace of blocks that are as busy as those of the lacking part and lie outside it: texture and interpolation along edges leave
// less of it than noise does, so only like is compared with like. NaN with fewer than 100 of them.
double TraceOfLikeBlocks(const ColourFilterResult& result, const cv::Mat& activity, const cv::Mat& part) {
    std::vector<float> inside;
    std::vector<float> traces;
    for (int y = 0; y < part.rows; ++y)
        for (int x = 0; x < part.cols; ++x)
            if (part.at<std::uint8_t>(y, x) != 0) inside.push_back(activity.at<float>(y, x));
    const double level = Median(inside);
    for (int y = 0; y < part.rows; ++y) {
        for (int x = 0; x < part.cols; ++x) {
            const double own = activity.at<float>(y, x);
            if (part.at<std::uint8_t>(y, x) != 0 || !result.map.IsKnown(x, y) || own < level / 1.5 ||
                own > level * 1.5)
                continue;
            traces.push_back(result.map.values.at<float>(y, x));
        }
    }
    return traces.size() < static_cast<std::size_t>(kLeastCells) ? std::numeric_limits<double>::quiet_NaN()
                                                                 : Median(traces);
}

void FindLacking(ColourFilterResult& result, const cv::Mat& activity) {
    const AnalysisMap& map = result.map;
    cv::Mat known;
    map.known.convertTo(known, CV_32F, 1.0 / 255);
    cv::Mat sums;
    cv::Mat counts;
    cv::boxFilter(map.values.mul(known), sums, CV_32F, {5, 5}, {-1, -1}, false, cv::BORDER_CONSTANT);
    cv::boxFilter(known, counts, CV_32F, {5, 5}, {-1, -1}, false, cv::BORDER_CONSTANT);
    cv::Mat lacking = (sums < counts * (result.median / 4)) & (counts >= 9.0) & map.known;
    cv::Mat labels, statistics, centres;
    const int regions = cv::connectedComponentsWithStats(lacking, labels, statistics, centres, 8);
    for (int i = 1; i < regions; ++i) {
        const int area = statistics.at<int>(i, cv::CC_STAT_AREA);
        if (area <= result.lackingCells) continue;
        result.lackingCells = area;
        result.likeTrace = TraceOfLikeBlocks(result, activity, labels == i);
        result.lacking = cv::Rect(statistics.at<int>(i, cv::CC_STAT_LEFT) * kBlock,
                                  statistics.at<int>(i, cv::CC_STAT_TOP) * kBlock,
                                  statistics.at<int>(i, cv::CC_STAT_WIDTH) * kBlock,
                                  statistics.at<int>(i, cv::CC_STAT_HEIGHT) * kBlock);
    }
}

}  // namespace

std::string NameOf(FilterPattern pattern) {
    switch (pattern) {
        case FilterPattern::Rggb:
            return "RGGB";
        case FilterPattern::Grbg:
            return "GRBG";
        case FilterPattern::Gbrg:
            return "GBRG";
        case FilterPattern::Bggr:
            return "BGGR";
        default:
            return "not known";
    }
}

ColourFilterResult ComputeColourFilterArray(const cv::Mat& image, const AnalysisProgress& progress) {
    if (image.type() != CV_8UC3 || image.cols < kLeastSide || image.rows < kLeastSide) {
        ZOR_THROW(Argument,
                  "Traces of a colour filter array need a colour picture of at least 64 x 64 pixels.");
    }
    // Whole blocks only.
    const cv::Size cells(image.cols / kBlock, image.rows / kBlock);
    const cv::Mat used = image(cv::Rect(0, 0, cells.width * kBlock, cells.height * kBlock));
    struct RowSums {
        std::vector<BlockSums> blocks;
        std::vector<double> diagonals;
        std::array<std::array<double, 4>, 2> colours{};
    };
    ColourFilterResult result;
    result.map.values.create(cells, CV_32F);
    result.map.known.create(cells, CV_8U);
    result.map.cell = {kBlock, kBlock};
    cv::Mat activity(cells, CV_32F);  // mean |e|
    // Several rows of blocks per piece; sums are added in the order of the rows afterwards.
    constexpr int kRowsPerPiece = 4;
    std::vector<RowSums> pieces(static_cast<std::size_t>((cells.height + kRowsPerPiece - 1) / kRowsPerPiece));
    ForEachStrip(cells.height, kRowsPerPiece, progress, [&](int first, int end) {
        RowSums& sums = pieces[static_cast<std::size_t>(first / kRowsPerPiece)];
        sums.diagonals.assign(static_cast<std::size_t>(used.cols + used.rows), 0.0);
        for (int y = first; y < end; ++y) {
            sums.blocks.assign(static_cast<std::size_t>(cells.width), {});
            MeasureBlockRow(used, y, sums.blocks, sums.diagonals, sums.colours);
            for (int x = 0; x < cells.width; ++x) {
                const BlockSums& block = sums.blocks[static_cast<std::size_t>(x)];
                result.map.values.at<float>(y, x) = static_cast<float>(block.logVariance[0] / block.count[0] -
                                                                       block.logVariance[1] / block.count[1]);
                activity.at<float>(y, x) = static_cast<float>(block.absolute / (kBlock * kBlock));
                const bool isKnown =
                    block.absolute > kBlock * kBlock && block.saturated * 5 <= kBlock * kBlock;
                result.map.known.at<std::uint8_t>(y, x) = isKnown ? 255 : 0;
            }
        }
    });
    std::vector<double> diagonals(static_cast<std::size_t>(used.cols + used.rows - 1), 0.0);
    std::array<std::array<double, 4>, 2> colours{};
    for (const RowSums& sums : pieces) {
        for (std::size_t i = 0; i < diagonals.size(); ++i) diagonals[i] += sums.diagonals[i];
        for (std::size_t c = 0; c < 2; ++c)
            for (std::size_t i = 0; i < 4; ++i) colours[c][i] += sums.colours[c][i];
    }
    result.globalPeak = PeakAtPi(diagonals, used.size());
    const std::vector<float> known = KnownValues(result.map);
    result.knownCells = static_cast<int>(known.size());
    result.median = Median(known);
    // So far positive where green was measured at even x + y.
    const bool isGreenOdd = result.median < 0.0;
    if (isGreenOdd) {
        result.map.values = -result.map.values;
        result.median = -result.median;
    }
    if (result.median >= kFilterTraceMedian) {
        result.pattern = PatternOf(isGreenOdd, colours);
        FindLacking(result, activity);
    }
    result.probability = ProbabilityOfTrace(result.map, result.median);
    return result;
}

AnalysisDecision DecideColourFilterArray(const ColourFilterResult& result) {
    AnalysisDecision decision;
    if (result.knownCells < kLeastCells) {
        decision.text = "Too little texture to see samples that were interpolated.";
        return decision;
    }
    if (result.median < kFilterTraceMedian) {
        decision.finding = Finding::NotApplicable;
        decision.text =
            "The picture as a whole has no trace of a colour filter array: compressed, scaled, or another sensor.";
        return decision;
    }
    decision.measured = result.lackingCells;
    decision.threshold = kLackingCells;
    const bool isStrong = result.lackingCells >= kLackingCells;
    if (isStrong && !(result.likeTrace >= kLikeTrace)) {
        decision.finding = Finding::WorthALook;
        decision.text =
            "A connected part lacks the trace, but so may other parts of its texture: too few of them show it.";
        return decision;
    }
    decision.finding = isStrong ? Finding::StrongSign : Finding::Nothing;
    decision.text = isStrong ? "A connected part lacks the trace that the rest of the picture has."
                    : result.lackingCells > 0
                        ? "The trace of the colour filter array is there, but for places too small to count."
                        : "The trace of the colour filter array is there all over the textured picture.";
    return decision;
}
