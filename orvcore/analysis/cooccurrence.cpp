#include "orvcore/analysis/cooccurrence.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <random>
#include <vector>

#include "zorbase/zorexception.h"

namespace {

constexpr int kBlock = 128;
constexpr int kStep = 8;
constexpr int kCodes = 81;  // four values of three levels
constexpr int kBins = 25;   // of one direction, mirror images and signs taken together
constexpr int kFeatures = 2 * kBins;
constexpr int kKept = 25;
constexpr int kLeastSide = 256;
constexpr std::size_t kLeastBlocks = 200;
constexpr std::size_t kSample = 4000;
constexpr int kStarts = 3;
constexpr int kRounds = 30;
constexpr double kRidge = 0.02;
constexpr double kFar = 1.6;

// Which of the 25 bins each code belongs to.
const std::array<std::uint8_t, kCodes>& BinOfCode() {
    static const auto table = [] {
        std::array<std::uint8_t, kCodes> bins{};
        std::array<int, kCodes> representative{};
        int next = 0;
        for (int code = 0; code < kCodes; ++code) {
            const std::array<int, 4> digits = {code / 27, code / 9 % 3, code / 3 % 3, code % 3};
            const auto codeOf = [](int a, int b, int c, int d) { return 27 * a + 9 * b + 3 * c + d; };
            const int mirrored = codeOf(digits[3], digits[2], digits[1], digits[0]);
            const int negated = codeOf(2 - digits[0], 2 - digits[1], 2 - digits[2], 2 - digits[3]);
            const int both = codeOf(2 - digits[3], 2 - digits[2], 2 - digits[1], 2 - digits[0]);
            const int least = std::min({code, mirrored, negated, both});
            if (least == code) {
                representative[static_cast<std::size_t>(code)] = next++;
            }
            bins[static_cast<std::size_t>(code)] =
                static_cast<std::uint8_t>(representative[static_cast<std::size_t>(least)]);
        }
        return bins;
    }();
    return table;
}

using CellCounts = std::array<std::uint16_t, kFeatures>;

std::int8_t Quantised(float a, float b, float c, float d) {
    const float third = -a + 3.0F * b - 3.0F * c + d;
    // Rounded to nearest after division by 2, then cut to -1..1.
    return static_cast<std::int8_t>((third >= 1.0F) - (third <= -1.0F));
}

// Histograms of a row of cells of 8 x 8 pixels. Series along the difference and across it fill the two halves.
void CountRow(const cv::Mat& luminance, int cellY, std::vector<CellCounts>& counts,
              std::vector<int>& saturated) {
    const int first = cellY * kStep;
    const int width = luminance.cols;
    const int rows = kStep + 3;
    // Quantised differences along x and along y of the rows that series from this row of cells reach.
    std::vector<std::int8_t> alongX(static_cast<std::size_t>(width * rows), 0);
    std::vector<std::int8_t> alongY(alongX.size(), 0);
    const auto rowAt = [&](int y) { return luminance.ptr<float>(std::min(y, luminance.rows - 1)); };
    for (int r = 0; r < rows; ++r) {
        const float* row0 = rowAt(first + r);
        const float* row1 = rowAt(first + r + 1);
        const float* row2 = rowAt(first + r + 2);
        const float* row3 = rowAt(first + r + 3);
        std::int8_t* x8 = alongX.data() + r * width;
        std::int8_t* y8 = alongY.data() + r * width;
        for (int x = 0; x + 3 < width; ++x) x8[x] = Quantised(row0[x], row0[x + 1], row0[x + 2], row0[x + 3]);
        for (int x = 0; x < width; ++x) y8[x] = Quantised(row0[x], row1[x], row2[x], row3[x]);
    }
    const auto& bins = BinOfCode();
    const auto codeOf = [](const std::int8_t* p, int step) {
        return static_cast<std::size_t>(27 * (p[0] + 1) + 9 * (p[step] + 1) + 3 * (p[2 * step] + 1) +
                                        p[3 * step] + 1);
    };
    for (int r = 0; r < kStep; ++r) {
        const std::int8_t* x8 = alongX.data() + r * width;
        const std::int8_t* y8 = alongY.data() + r * width;
        const float* levels = luminance.ptr<float>(first + r);
        for (int x = 0; x < static_cast<int>(counts.size()) * kStep; ++x) {
            CellCounts& cell = counts[static_cast<std::size_t>(x / kStep)];
            saturated[static_cast<std::size_t>(x / kStep)] += levels[x] < 6.0F || levels[x] > 252.0F;
            if (x + 6 >= width) continue;
            ++cell[bins[codeOf(x8, 1)]];
            ++cell[bins[codeOf(y8, width)]];
            ++cell[kBins + bins[codeOf(x8, width)]];
            ++cell[kBins + bins[codeOf(y8, 1)]];
            ++x8;
            ++y8;
        }
    }
}

// A Gaussian with full covariance.
struct Gaussian {
    cv::Mat mean;     // 1 x kKept, CV_64F
    cv::Mat inverse;  // of the covariance
    double logDeterminant = 0.0;
    double share = 0.5;

    double Distance(const double* x) const {  // squared, Mahalanobis
        std::array<double, kKept> d{};
        for (int i = 0; i < kKept; ++i) d[static_cast<std::size_t>(i)] = x[i] - mean.at<double>(i);
        double sum = 0.0;
        for (int i = 0; i < kKept; ++i) {
            const double* row = inverse.ptr<double>(i);
            double product = 0.0;
            for (int j = 0; j < kKept; ++j) product += row[j] * d[static_cast<std::size_t>(j)];
            sum += product * d[static_cast<std::size_t>(i)];
        }
        return sum;
    }
    double LogDensity(const double* x) const {
        return std::log(share) - 0.5 * (logDeterminant + Distance(x));
    }
};

Gaussian FitWeighted(const cv::Mat& samples, const std::vector<double>& weights) {
    Gaussian gaussian;
    gaussian.mean = cv::Mat::zeros(1, kKept, CV_64F);
    double total = 0.0;
    for (int i = 0; i < samples.rows; ++i) {
        total += weights[static_cast<std::size_t>(i)];
        gaussian.mean += weights[static_cast<std::size_t>(i)] * samples.row(i);
    }
    total = std::max(total, 1e-9);
    gaussian.mean /= total;
    cv::Mat weighted(samples.size(), CV_64F);
    for (int i = 0; i < samples.rows; ++i) {
        const double root = std::sqrt(weights[static_cast<std::size_t>(i)] / total);
        for (int j = 0; j < kKept; ++j)
            weighted.at<double>(i, j) = root * (samples.at<double>(i, j) - gaussian.mean.at<double>(j));
    }
    cv::Mat covariance = weighted.t() * weighted + kRidge * cv::Mat::eye(kKept, kKept, CV_64F);
    gaussian.share = std::clamp(total / samples.rows, 1e-3, 1.0 - 1e-3);
    cv::Mat values, vectors;
    cv::eigen(covariance, values, vectors);
    gaussian.logDeterminant = 0.0;
    for (int i = 0; i < kKept; ++i) gaussian.logDeterminant += std::log(std::max(values.at<double>(i), 1e-9));
    gaussian.inverse = covariance.inv(cv::DECOMP_CHOLESKY);
    return gaussian;
}

struct TwoGaussians {
    Gaussian common, other;
    double likelihood = -std::numeric_limits<double>::infinity();
};

TwoGaussians FitTwo(const cv::Mat& samples, const AnalysisProgress& progress) {
    TwoGaussians best;
    const auto count = static_cast<std::size_t>(samples.rows);
    for (int start = 0; start < kStarts; ++start) {
        // Starts: blocks on either side of the median of a principal component, one of the first three.
        std::vector<double> values(count);
        for (std::size_t i = 0; i < count; ++i) values[i] = samples.at<double>(static_cast<int>(i), start);
        std::vector<double> sorted = values;
        const auto cut = sorted.begin() + static_cast<std::ptrdiff_t>(count * 4 / 5);
        std::nth_element(sorted.begin(), cut, sorted.end());
        std::vector<double> weights(count);
        for (std::size_t i = 0; i < count; ++i) weights[i] = values[i] > *cut ? 0.9 : 0.1;
        TwoGaussians model;
        for (int round = 0; round < kRounds; ++round) {
            if (progress) progress(static_cast<double>(start * kRounds + round) / (kStarts * kRounds));
            std::vector<double> rest(count);
            for (std::size_t i = 0; i < count; ++i) rest[i] = 1.0 - weights[i];
            model.other = FitWeighted(samples, weights);
            model.common = FitWeighted(samples, rest);
            model.likelihood = 0.0;
            for (std::size_t i = 0; i < count; ++i) {
                const double* x = samples.ptr<double>(static_cast<int>(i));
                const double a = model.other.LogDensity(x);
                const double b = model.common.LogDensity(x);
                const double largest = std::max(a, b);
                const double sum = std::exp(a - largest) + std::exp(b - largest);
                weights[i] = std::exp(a - largest) / sum;
                model.likelihood += largest + std::log(sum);
            }
        }
        if (model.likelihood > best.likelihood) best = model;
    }
    if (best.other.share > best.common.share) std::swap(best.other, best.common);
    return best;
}

// One Gaussian and a background of even density over the range of the samples.
Gaussian FitOne(const cv::Mat& samples, const AnalysisProgress& progress) {
    const auto count = static_cast<std::size_t>(samples.rows);
    std::vector<double> weights(count, 1.0);
    Gaussian gaussian = FitWeighted(samples, weights);
    // The background's density: that of a block at kFar times the mean squared distance.
    for (int round = 0; round < kRounds; ++round) {
        if (progress) progress(static_cast<double>(round) / kRounds);
        const double background = -0.5 * (gaussian.logDeterminant + kFar * kKept);
        for (std::size_t i = 0; i < count; ++i) {
            const double density = -0.5 * (gaussian.logDeterminant +
                                           gaussian.Distance(samples.ptr<double>(static_cast<int>(i))));
            weights[i] = 1.0 / (1.0 + std::exp(std::clamp(background - density, -50.0, 50.0)));
        }
        gaussian = FitWeighted(samples, weights);
    }
    return gaussian;
}

// Roots of the relative frequencies of every block, one row each; blocks that are too saturated are left out of `known`.
cv::Mat BlockFeatures(const std::vector<std::vector<CellCounts>>& cells,
                      const std::vector<std::vector<int>>& saturated, cv::Size blocks, cv::Mat& known,
                      const AnalysisProgress& progress) {
    constexpr int kCells = kBlock / kStep;
    cv::Mat features(blocks.area(), kFeatures, CV_32F);
    ForEachPiece(blocks.height, progress, [&](int y) {
        // Sums down the columns of cells, then a window that moves along.
        const std::size_t width = cells[0].size();
        std::vector<std::array<std::int32_t, kFeatures>> columns(width);
        std::vector<int> dark(width, 0);
        for (int dy = 0; dy < kCells; ++dy) {
            for (std::size_t x = 0; x < width; ++x) {
                const CellCounts& cell = cells[static_cast<std::size_t>(y + dy)][x];
                for (std::size_t b = 0; b < kFeatures; ++b) columns[x][b] += cell[b];
                dark[x] += saturated[static_cast<std::size_t>(y + dy)][x];
            }
        }
        std::array<std::int32_t, kFeatures> sums{};
        int darkSum = 0;
        for (int x = 0; x < blocks.width; ++x) {
            for (int c = x == 0 ? 0 : x + kCells - 1; c < x + kCells; ++c) {
                for (std::size_t b = 0; b < kFeatures; ++b)
                    sums[b] += columns[static_cast<std::size_t>(c)][b];
                darkSum += dark[static_cast<std::size_t>(c)];
            }
            const int index = y * blocks.width + x;
            known.at<std::uint8_t>(y, x) = darkSum * 5 > kBlock * kBlock ? 0 : 255;
            float* row = features.ptr<float>(index);
            for (int half = 0; half < 2; ++half) {
                std::int64_t total = 0;
                for (int b = 0; b < kBins; ++b) total += sums[static_cast<std::size_t>(half * kBins + b)];
                for (int b = 0; b < kBins; ++b)
                    row[half * kBins + b] =
                        std::sqrt(static_cast<float>(sums[static_cast<std::size_t>(half * kBins + b)]) /
                                  static_cast<float>(std::max<std::int64_t>(total, 1)));
            }
            for (std::size_t b = 0; b < kFeatures; ++b) sums[b] -= columns[static_cast<std::size_t>(x)][b];
            darkSum -= dark[static_cast<std::size_t>(x)];
        }
    });
    return features;
}

}  // namespace

CooccurrenceResult ComputeCooccurrence(const cv::Mat& luminance, const AnalysisProgress& progress) {
    if (luminance.empty() || luminance.type() != CV_32FC1) {
        ZOR_THROW(Argument, "Co-occurrences need a luminance.");
    }
    CooccurrenceResult result;
    if (luminance.cols < kLeastSide || luminance.rows < kLeastSide) return result;
    const cv::Size cells(luminance.cols / kStep, luminance.rows / kStep);
    std::vector<std::vector<CellCounts>> counts(
        static_cast<std::size_t>(cells.height),
        std::vector<CellCounts>(static_cast<std::size_t>(cells.width), CellCounts{}));
    std::vector<std::vector<int>> saturated(counts.size(),
                                            std::vector<int>(static_cast<std::size_t>(cells.width), 0));
    ForEachPiece(cells.height, PartOf(progress, 0.0, 0.3), [&](int y) {
        CountRow(luminance, y, counts[static_cast<std::size_t>(y)], saturated[static_cast<std::size_t>(y)]);
    });
    const cv::Size blocks(cells.width - kBlock / kStep + 1, cells.height - kBlock / kStep + 1);
    cv::Mat known(blocks, CV_8U);
    const cv::Mat features = BlockFeatures(counts, saturated, blocks, known, PartOf(progress, 0.3, 0.5));
    std::vector<int> usable;
    for (int i = 0; i < blocks.area(); ++i)
        if (known.data[i] != 0) usable.push_back(i);
    if (usable.size() < kLeastBlocks) return result;
    std::mt19937 random(20150916);
    std::vector<int> chosen = usable;
    // A shuffle of our own: the library's may differ from machine to machine.
    for (std::size_t i = chosen.size() - 1; i > 0; --i) std::swap(chosen[i], chosen[random() % (i + 1)]);
    chosen.resize(std::min(chosen.size(), kSample));
    cv::Mat sample(static_cast<int>(chosen.size()), kFeatures, CV_64F);
    if (progress) progress(0.5);
    for (int i = 0; i < sample.rows; ++i)
        for (int j = 0; j < kFeatures; ++j)
            sample.at<double>(i, j) = features.at<float>(chosen[static_cast<std::size_t>(i)], j);
    // Principal components, whitened.
    cv::Mat mean;
    cv::reduce(sample, mean, 0, cv::REDUCE_AVG);
    for (int i = 0; i < sample.rows; ++i) sample.row(i) -= mean;
    cv::Mat values, vectors;
    cv::eigen(cv::Mat(sample.t() * sample / sample.rows), values, vectors);
    cv::Mat projection = vectors.rowRange(0, kKept).clone();
    for (int i = 0; i < kKept; ++i) projection.row(i) /= std::sqrt(std::max(values.at<double>(i), 1e-10));
    const cv::Mat whitened = sample * projection.t();
    const TwoGaussians two = FitTwo(whitened, PartOf(progress, 0.5, 0.8));
    const Gaussian one = FitOne(whitened, PartOf(progress, 0.8, 0.85));
    result.otherShare = two.other.share;
    AnalysisMap map;
    map.cell = {kStep, kStep};
    map.origin = {(kBlock - kStep) / 2, (kBlock - kStep) / 2};
    map.known = known;
    result.map = map;
    result.outliers = map;
    result.map.values = cv::Mat(blocks, CV_32F, cv::Scalar(0));
    result.outliers.values = cv::Mat(blocks, CV_32F, cv::Scalar(0));
    ForEachPiece(blocks.height, PartOf(progress, 0.85, 1.0), [&](int y) {
        std::array<double, kKept> x{};
        for (int column = 0; column < blocks.width; ++column) {
            if (known.at<std::uint8_t>(y, column) == 0) continue;
            const float* feature = features.ptr<float>(y * blocks.width + column);
            for (int i = 0; i < kKept; ++i) {
                double sum = 0.0;
                for (int j = 0; j < kFeatures; ++j)
                    sum += projection.at<double>(i, j) * (feature[j] - mean.at<double>(j));
                x[static_cast<std::size_t>(i)] = sum;
            }
            const double common = std::max(two.common.Distance(x.data()), 1e-6);
            const double other = std::max(two.other.Distance(x.data()), 1e-6);
            result.map.values.at<float>(y, column) = static_cast<float>(std::log(common / other));
            result.outliers.values.at<float>(y, column) =
                static_cast<float>(std::sqrt(one.Distance(x.data())));
        }
    });
    std::vector<float> distances;
    for (const int i : usable)
        distances.push_back(result.outliers.values.at<float>(i / blocks.width, i % blocks.width));
    const auto at = [&](double part) {
        const auto place =
            distances.begin() + static_cast<std::ptrdiff_t>(part * static_cast<double>(distances.size() - 1));
        std::nth_element(distances.begin(), place, distances.end());
        return static_cast<double>(*place);
    };
    const double median = std::max(at(0.5), 1e-6);
    result.outlierPercentile = at(0.99) / median;
    result.outliers.values /= median;
    return result;
}
