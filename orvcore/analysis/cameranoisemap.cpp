#include "orvcore/analysis/cameranoisemap.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "zorbase/zorexception.h"

namespace {

constexpr int kCell = 16;
constexpr double kLeastDeviations = 3.0;
constexpr double kLimit = 50.0;
constexpr int kFeatures = 4;

// Sums over one cell.
struct Cell {
    double product = 0.0;  // W I K
    double noise = 0.0;    // W^2
    double pattern = 0.0;  // (I K)^2
    double intensity = 0.0;
    double texture = 0.0;  // |I - mean of its neighbours|
    double count = 0.0;    // pixels that are not saturated

    void Add(const Cell& other) {
        product += other.product;
        noise += other.noise;
        pattern += other.pattern;
        intensity += other.intensity;
        texture += other.texture;
        count += other.count;
    }
};

Cell MeasureCell(const CameraResidual& residual, const cv::Mat& pattern, int cellX, int cellY) {
    Cell cell;
    const cv::Mat& intensity = residual.intensity;
    for (int y = cellY * kCell; y < std::min((cellY + 1) * kCell, pattern.rows); ++y) {
        const float* noise = residual.noise.ptr<float>(y);
        const float* level = intensity.ptr<float>(y);
        const float* below = intensity.ptr<float>(std::min(y + 1, intensity.rows - 1));
        const float* k = pattern.ptr<float>(y);
        for (int x = cellX * kCell; x < std::min((cellX + 1) * kCell, pattern.cols); ++x) {
            if (level[x] <= 0.0F) continue;
            const double expected = static_cast<double>(level[x]) * k[x];
            cell.product += noise[x] * expected;
            cell.noise += static_cast<double>(noise[x]) * noise[x];
            cell.pattern += expected * expected;
            cell.intensity += level[x];
            const int right = std::min(x + 1, pattern.cols - 1);
            cell.texture += std::abs(level[x] - level[right]) + std::abs(level[x] - below[x]);
            cell.count += 1.0;
        }
    }
    return cell;
}

// What the predictor works with: the correlation of a pattern that came through whole, and this changed by texture and intensity.
std::array<double, kFeatures> FeaturesOf(const Cell& window) {
    if (window.count <= 0.0 || window.noise <= 0.0) return {};
    const double whole = std::min(std::sqrt(window.pattern / window.noise), 1.0);
    const double texture = 1.0 / (1.0 + window.texture / window.count / 8.0);
    const double intensity = window.intensity / window.count / 255.0;
    return {whole, whole * texture, whole * intensity, whole * texture * texture};
}

// Least squares with weights that fall with the distance (Cauchy), so that a pasted part does not draw the predictor to itself.
class Predictor {
  public:
    void Fit(const std::vector<std::array<double, kFeatures>>& features,
             const std::vector<double>& measured) {
        std::vector<double> weights(features.size(), 1.0);
        for (int round = 0; round < 15; ++round) {
            cv::Matx<double, kFeatures, kFeatures> normal =
                cv::Matx<double, kFeatures, kFeatures>::eye() * 1e-9;
            cv::Vec<double, kFeatures> right;
            for (std::size_t i = 0; i < features.size(); ++i) {
                for (int a = 0; a < kFeatures; ++a) {
                    right[a] += weights[i] * features[i][static_cast<std::size_t>(a)] * measured[i];
                    for (int b = 0; b < kFeatures; ++b)
                        normal(a, b) += weights[i] * features[i][static_cast<std::size_t>(a)] *
                                        features[i][static_cast<std::size_t>(b)];
                }
            }
            m_coefficients = normal.inv(cv::DECOMP_SVD) * right;
            std::vector<double> distances;
            for (std::size_t i = 0; i < features.size(); ++i)
                distances.push_back(std::abs(measured[i] - Predict(features[i])));
            std::vector<double> sorted = distances;
            const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
            std::nth_element(sorted.begin(), middle, sorted.end());
            m_deviation = std::max(*middle * 1.4826, 1e-4);
            for (std::size_t i = 0; i < features.size(); ++i) {
                const double ratio = distances[i] / (1.5 * m_deviation);
                weights[i] = 1.0 / (1.0 + ratio * ratio * ratio * ratio);
            }
        }
    }

    double Predict(const std::array<double, kFeatures>& features) const {
        double sum = 0.0;
        for (int a = 0; a < kFeatures; ++a) sum += m_coefficients[a] * features[static_cast<std::size_t>(a)];
        return sum;
    }
    double Deviation() const { return m_deviation; }

  private:
    cv::Vec<double, kFeatures> m_coefficients;
    double m_deviation = 0.0;
};

void FindMissing(CameraNoiseMapResult& result) {
    cv::Mat missing = (result.map.values > kMissingLikelihood) & result.map.known;
    cv::Mat labels, statistics, centres;
    const int regions = cv::connectedComponentsWithStats(missing, labels, statistics, centres, 8);
    for (int i = 1; i < regions; ++i) {
        const int area = statistics.at<int>(i, cv::CC_STAT_AREA);
        if (area <= result.missingCells) continue;
        result.missingCells = area;
        result.missing = {statistics.at<int>(i, cv::CC_STAT_LEFT) * kCell,
                          statistics.at<int>(i, cv::CC_STAT_TOP) * kCell,
                          statistics.at<int>(i, cv::CC_STAT_WIDTH) * kCell,
                          statistics.at<int>(i, cv::CC_STAT_HEIGHT) * kCell};
    }
}

}  // namespace

CameraNoiseMapResult ComputeCameraNoiseMap(const CameraResidual& residual, const cv::Mat& pattern, int window,
                                           const AnalysisProgress& progress) {
    if (pattern.empty() || pattern.type() != CV_32FC1 || pattern.size() != residual.noise.size()) {
        ZOR_THROW(Argument, "The fingerprint has another size than the picture.");
    }
    if (window < 33 || window > 257 || window % 2 == 0 || pattern.cols <= window || pattern.rows <= window) {
        ZOR_THROW(Argument,
                  "The camera noise map needs an odd window of 33 to 257 pixels and a larger picture.");
    }
    const cv::Size cells((pattern.cols + kCell - 1) / kCell, (pattern.rows + kCell - 1) / kCell);
    const auto at = [&](int x, int y) {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(cells.width) +
               static_cast<std::size_t>(x);
    };
    std::vector<Cell> sums(static_cast<std::size_t>(cells.area()));
    ForEachStrip(cells.height, 2, PartOf(progress, 0.0, 0.7), [&](int first, int end) {
        for (int y = first; y < end; ++y)
            for (int x = 0; x < cells.width; ++x) sums[at(x, y)] = MeasureCell(residual, pattern, x, y);
    });
    // Windows are made of whole cells: as many to each side as come nearest to what was asked.
    const int reach =
        std::max((window - kCell) / (2 * kCell) + ((window - kCell) % (2 * kCell) >= kCell ? 1 : 0), 1);
    CameraNoiseMapResult result;
    result.window = (2 * reach + 1) * kCell;
    result.map.cell = {kCell, kCell};
    result.map.values = cv::Mat::zeros(cells, CV_32F);
    result.map.known = cv::Mat::zeros(cells, CV_8U);
    result.correlation = cv::Mat::zeros(cells, CV_32F);
    result.expected = cv::Mat::zeros(cells, CV_32F);
    std::vector<std::array<double, kFeatures>> features(sums.size());
    std::vector<double> counts(sums.size(), 0.0);
    std::vector<std::array<double, kFeatures>> usedFeatures;
    std::vector<double> usedMeasured;
    for (int y = 0; y < cells.height; ++y) {
        for (int x = 0; x < cells.width; ++x) {
            Cell all;
            for (int dy = std::max(y - reach, 0); dy <= std::min(y + reach, cells.height - 1); ++dy)
                for (int dx = std::max(x - reach, 0); dx <= std::min(x + reach, cells.width - 1); ++dx)
                    all.Add(sums[at(dx, dy)]);
            const double energy = all.noise * all.pattern;
            const double correlation = energy > 0.0 ? all.product / std::sqrt(energy) : 0.0;
            result.correlation.at<float>(y, x) = static_cast<float>(correlation);
            features[at(x, y)] = FeaturesOf(all);
            counts[at(x, y)] = all.count;
            const bool isUsable =
                all.count * 2.0 > static_cast<double>(result.window) * result.window && energy > 0.0;
            if (!isUsable) counts[at(x, y)] = 0.0;
            if (!isUsable || x % 2 != 0 || y % 2 != 0) continue;
            usedFeatures.push_back(features[at(x, y)]);
            usedMeasured.push_back(correlation);
        }
        if (progress) progress(0.7 + 0.2 * y / cells.height);
    }
    if (usedFeatures.size() < 4 * kFeatures) return result;
    Predictor predictor;
    predictor.Fit(usedFeatures, usedMeasured);
    std::vector<float> present;
    for (int y = 0; y < cells.height; ++y) {
        for (int x = 0; x < cells.width; ++x) {
            const double count = counts[at(x, y)];
            if (count <= 0.0) continue;
            const double chance = 1.0 / std::sqrt(count);
            const double expected = std::clamp(predictor.Predict(features[at(x, y)]), 0.0, 1.0);
            result.expected.at<float>(y, x) = static_cast<float>(expected);
            if (expected < kLeastDeviations * chance) continue;
            const double measured = result.correlation.at<float>(y, x);
            // The predictor is never surer than chance lets it be.
            const double deviation = std::max(predictor.Deviation(), chance);
            const double missing = -0.5 * measured * measured / (chance * chance) - std::log(chance);
            // More of the pattern than expected is no sign of its absence.
            const double short0 = std::min(measured - expected, 0.0);
            const double there = -0.5 * short0 * short0 / (deviation * deviation) - std::log(deviation);
            result.map.values.at<float>(y, x) =
                static_cast<float>(std::clamp(missing - there, -kLimit, kLimit));
            result.map.known.at<unsigned char>(y, x) = 255;
            present.push_back(static_cast<float>(measured));
        }
    }
    if (!present.empty()) {
        const auto middle = present.begin() + static_cast<std::ptrdiff_t>(present.size() / 2);
        std::nth_element(present.begin(), middle, present.end());
        result.presentCorrelation = *middle;
    }
    FindMissing(result);
    if (progress) progress(1.0);
    return result;
}

AnalysisDecision DecideCameraNoiseMap(const CameraNoiseMapResult& result, bool isMatch) {
    AnalysisDecision decision;
    if (!isMatch) {
        decision.text =
            "The picture as a whole does not carry this camera's fingerprint: where it is missing says nothing.";
        return decision;
    }
    if (result.map.KnownPart() < 0.1) {
        decision.text = "Too dark, too smooth or too busy nearly everywhere to expect the fingerprint.";
        return decision;
    }
    decision.measured = result.missingCells;
    const bool isFound = result.missingCells >= kMissingCells;
    decision.finding = isFound ? Finding::WorthALook : Finding::Nothing;
    decision.text = isFound ? "A connected part lacks the camera's fingerprint where it should be."
                            : "The fingerprint is there wherever it can be expected.";
    return decision;
}
