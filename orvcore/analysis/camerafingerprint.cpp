#include "orvcore/analysis/camerafingerprint.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>

#include "orvcore/analysis/halfspectrum.h"
#include "zorbase/zorexception.h"

namespace {

constexpr int kSaturated = 250;
constexpr int kLeastSide = 32;

struct Channel {
    int index;
    float weight;
};

// Sums of a row in a fixed order.
struct RowSums {
    double product = 0.0, noise = 0.0, pattern = 0.0;
};

}  // namespace

CameraResidual ComputeCameraResidual(const cv::Mat& image, double sigma, const AnalysisProgress& progress) {
    if (image.empty() || (image.type() != CV_8UC1 && image.type() != CV_8UC3)) {
        ZOR_THROW(Argument,
                  "The camera's noise is taken from grey or colour pictures of 8 bits per channel.");
    }
    const std::vector<Channel> channels = image.channels() == 1
                                              ? std::vector<Channel>{{0, 1.0F}}
                                              : std::vector<Channel>{{0, 0.114F}, {1, 0.587F}, {2, 0.299F}};
    CameraResidual result;
    result.noise = cv::Mat::zeros(image.size(), CV_32F);
    result.intensity = cv::Mat::zeros(image.size(), CV_32F);
    cv::Mat saturated = cv::Mat::zeros(image.size(), CV_8U);
    double done = 0.0;
    for (const Channel& channel : channels) {
        cv::Mat plane;
        cv::extractChannel(image, plane, channel.index);
        const double share = 1.0 / static_cast<double>(channels.size());
        const cv::Mat noise = WaveletResidual(plane, sigma, PartOf(progress, done, done + 0.9 * share));
        const AnalysisProgress adding = PartOf(progress, done + 0.9 * share, done + share);
        done += share;
        ForEachStrip(image.rows, 64, adding, [&](int first, int end) {
            for (int y = first; y < end; ++y) {
                const std::uint8_t* level = plane.ptr(y);
                const float* w = noise.ptr<float>(y);
                float* sum = result.noise.ptr<float>(y);
                float* intensity = result.intensity.ptr<float>(y);
                std::uint8_t* isSaturated = saturated.ptr(y);
                for (int x = 0; x < plane.cols; ++x) {
                    sum[x] += channel.weight * w[x];
                    intensity[x] += channel.weight * static_cast<float>(level[x]);
                    isSaturated[x] |= level[x] > kSaturated ? 255 : 0;
                }
            }
        });
    }
    result.noise.setTo(0.0F, saturated);
    result.intensity.setTo(0.0F, saturated);
    return result;
}

void RemoveRowAndColumnMeans(cv::Mat& plane) {
    for (int parityY = 0; parityY < 2; ++parityY) {
        for (int parityX = 0; parityX < 2; ++parityX) {
            const int columns = (plane.cols - parityX + 1) / 2;
            const int rows = (plane.rows - parityY + 1) / 2;
            if (columns <= 0 || rows <= 0) continue;
            std::vector<double> columnSums(static_cast<std::size_t>(columns), 0.0);
            std::vector<double> rowMeans;
            double total = 0.0;
            for (int y = parityY; y < plane.rows; y += 2) {
                const float* row = plane.ptr<float>(y);
                double sum = 0.0;
                for (int i = 0; i < columns; ++i) {
                    const double value = row[parityX + 2 * i];
                    columnSums[static_cast<std::size_t>(i)] += value;
                    sum += value;
                }
                rowMeans.push_back(sum / columns);
                total += sum;
            }
            const double mean = total / (static_cast<double>(columns) * rows);
            for (int y = parityY; y < plane.rows; y += 2) {
                float* row = plane.ptr<float>(y);
                const double offset = rowMeans[static_cast<std::size_t>(y / 2)] - mean;
                for (int i = 0; i < columns; ++i) {
                    float& value = row[parityX + 2 * i];
                    value =
                        static_cast<float>(value - offset - columnSums[static_cast<std::size_t>(i)] / rows);
                }
            }
        }
    }
}

cv::Mat RemovePeriodicParts(const cv::Mat& plane, const AnalysisProgress& progress) {
    cv::Scalar mean, deviation;
    cv::meanStdDev(plane, mean, deviation);
    if (!(deviation[0] > 0.0)) return plane.clone();
    const cv::Size size = FastTransformSize(plane.size());
    cv::Mat spectrum = ToHalfSpectrum(plane, size, PartOf(progress, 0.0, 0.3));
    const float scale = static_cast<float>(1.0 / std::sqrt(static_cast<double>(plane.total())));
    cv::Mat magnitude(spectrum.size(), CV_32F);
    ForEachStrip(spectrum.rows, 32, {}, [&](int first, int end) {
        for (int y = first; y < end; ++y) {
            const cv::Vec2f* from = spectrum.ptr<cv::Vec2f>(y);
            float* to = magnitude.ptr<float>(y);
            for (int x = 0; x < spectrum.cols; ++x)
                to[x] = scale * std::sqrt(from[x][0] * from[x][0] + from[x][1] * from[x][1]);
        }
    });
    const cv::Mat kept = NoisePartOf(magnitude, deviation[0], PartOf(progress, 0.3, 0.6));
    ForEachStrip(spectrum.rows, 32, {}, [&](int first, int end) {
        for (int y = first; y < end; ++y) {
            cv::Vec2f* value = spectrum.ptr<cv::Vec2f>(y);
            const float* before = magnitude.ptr<float>(y);
            const float* after = kept.ptr<float>(y);
            for (int x = 0; x < spectrum.cols; ++x)
                value[x] *= before[x] > 0.0F ? after[x] / before[x] : 0.0F;
        }
    });
    magnitude.release();
    return FromHalfSpectrum(spectrum, size, plane.size(), PartOf(progress, 0.6, 1.0));
}

void CleanResidual(CameraResidual& residual, const AnalysisProgress& progress) {
    RemoveRowAndColumnMeans(residual.noise);
    residual.noise = RemovePeriodicParts(residual.noise, progress);
    // Cleaning spreads a little into what was saturated.
    residual.noise.setTo(0.0F, residual.intensity == 0.0F);
}

double FingerprintMaker::Agreement(const CameraResidual& residual) const {
    // Correlation of W with I K for K as it is so far, times the root of the count.
    std::vector<RowSums> rows(static_cast<std::size_t>(m_noise.rows));
    ForEachStrip(m_noise.rows, 64, {}, [&](int first, int end) {
        for (int y = first; y < end; ++y) {
            const float* noise = residual.noise.ptr<float>(y);
            const float* intensity = residual.intensity.ptr<float>(y);
            const float* sum = m_noise.ptr<float>(y);
            const float* energy = m_energy.ptr<float>(y);
            float product = 0.0F, own = 0.0F, expected = 0.0F;
            for (int x = 0; x < m_noise.cols; ++x) {
                const float pattern = intensity[x] * sum[x] / (energy[x] + 1.0F);
                product += noise[x] * pattern;
                own += noise[x] * noise[x];
                expected += pattern * pattern;
            }
            rows[static_cast<std::size_t>(y)] = {product, own, expected};
        }
    });
    RowSums all;
    for (const RowSums& row : rows) {
        all.product += row.product;
        all.noise += row.noise;
        all.pattern += row.pattern;
    }
    const double energy = all.noise * all.pattern;
    return energy > 0.0 ? all.product / std::sqrt(energy) * std::sqrt(static_cast<double>(m_noise.total()))
                        : 0.0;
}

std::string FingerprintMaker::Add(const cv::Mat& image, const AnalysisProgress& progress) {
    if (image.empty() || (image.type() != CV_8UC1 && image.type() != CV_8UC3))
        return "Not a grey or colour picture of 8 bits per channel.";
    if (image.cols < kLeastSide || image.rows < kLeastSide) return "Smaller than 32 x 32 pixels.";
    if (!m_noise.empty() && image.size() != m_noise.size()) {
        const bool isTurned = image.cols == m_noise.rows && image.rows == m_noise.cols;
        return isTurned ? "Turned: the sides are exchanged." : "Another size than the first picture's.";
    }
    CameraResidual residual = ComputeCameraResidual(image, m_sigma, PartOf(progress, 0.0, 0.9));
    if (cv::countNonZero(residual.intensity) * 10LL < static_cast<long long>(image.total()))
        return "Nearly all of it is saturated or black.";
    RemoveRowAndColumnMeans(residual.noise);
    if (progress) progress(0.95);
    if (m_noise.empty()) {
        m_noise = cv::Mat::zeros(image.size(), CV_32F);
        m_energy = cv::Mat::zeros(image.size(), CV_32F);
    }
    m_agreements.push_back(GetPictures() < 2 ? std::numeric_limits<double>::quiet_NaN()
                                             : Agreement(residual));
    ForEachStrip(image.rows, 64, {}, [&](int first, int end) {
        for (int y = first; y < end; ++y) {
            const float* noise = residual.noise.ptr<float>(y);
            const float* intensity = residual.intensity.ptr<float>(y);
            float* sum = m_noise.ptr<float>(y);
            float* energy = m_energy.ptr<float>(y);
            for (int x = 0; x < image.cols; ++x) {
                sum[x] += noise[x] * intensity[x];
                energy[x] += intensity[x] * intensity[x];
            }
        }
    });
    return {};
}

CameraFingerprint FingerprintMaker::Finish(const AnalysisProgress& progress) {
    if (m_noise.empty()) ZOR_THROW(Argument, "No picture could be used for the fingerprint.");
    CameraFingerprint fingerprint;
    fingerprint.pictures = GetPictures();
    // Where every picture was saturated there is nothing known: K = 0.
    fingerprint.pattern = m_noise;
    ForEachStrip(m_noise.rows, 64, {}, [&](int first, int end) {
        for (int y = first; y < end; ++y) {
            float* sum = fingerprint.pattern.ptr<float>(y);
            const float* energy = m_energy.ptr<float>(y);
            for (int x = 0; x < m_noise.cols; ++x) sum[x] /= energy[x] + 1.0F;
        }
    });
    m_noise = cv::Mat();
    m_energy = cv::Mat();
    RemoveRowAndColumnMeans(fingerprint.pattern);
    fingerprint.pattern = RemovePeriodicParts(fingerprint.pattern, progress);
    // Rounding alone leaves less than a millionth.
    if (!(cv::norm(fingerprint.pattern) >
          1e-6 * std::sqrt(static_cast<double>(fingerprint.pattern.total())))) {
        ZOR_THROW(Argument, "The pictures hold no noise: a fingerprint cannot be made of them.");
    }
    std::vector<double> known(
        m_agreements.begin() + std::min<std::ptrdiff_t>(2, static_cast<std::ptrdiff_t>(m_agreements.size())),
        m_agreements.end());
    fingerprint.agreement = std::numeric_limits<double>::quiet_NaN();
    if (!known.empty()) {
        const auto middle = known.begin() + static_cast<std::ptrdiff_t>(known.size() / 2);
        std::nth_element(known.begin(), middle, known.end());
        fingerprint.agreement = *middle;
    }
    return fingerprint;
}
