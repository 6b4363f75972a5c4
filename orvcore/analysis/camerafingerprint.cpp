#include "orvcore/analysis/camerafingerprint.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <limits>

#include "orvcore/analysis/halfspectrum.h"
#include "zorbase/zorexception.h"

namespace {

constexpr int kSaturated = 250;
constexpr int kLeastSide = 32;
constexpr int kMeanRows = 256;  // summed up by one thread; even, and the same for any number of threads

struct Channel {
    int index;
    float weight;
};

// Sums of a row in a fixed order.
struct RowSums {
    double product = 0.0, noise = 0.0, pattern = 0.0;
};

// A row of the weighted sum of channels 0 to index. Until the second channel comes the sum is the first one as it is.
void AddChannels(const cv::Mat& noise, int y, int index, const std::vector<Channel>& channels,
                 cv::Mat& total) {
    const float* own = noise.ptr<float>(y);
    float* sum = total.ptr<float>(y);
    const float first = channels.front().weight;
    const float weight = channels[static_cast<std::size_t>(index)].weight;
    // What is added to zero is never a negative zero.
    if (index == 0) {
        for (int x = 0; x < noise.cols; ++x) sum[x] = 0.0F + first * sum[x];
    } else if (index == 1) {
        for (int x = 0; x < noise.cols; ++x) sum[x] = (0.0F + first * sum[x]) + weight * own[x];
    } else {
        for (int x = 0; x < noise.cols; ++x) sum[x] += weight * own[x];
    }
}

// The intensity of a row, and nothing at all where a channel is saturated.
void SetIntensity(const cv::Mat& image, int y, const std::vector<Channel>& channels, CameraResidual& result) {
    const std::uint8_t* level = image.ptr(y);
    float* noise = result.noise.ptr<float>(y);
    float* intensity = result.intensity.ptr<float>(y);
    const int step = image.channels();
    for (int x = 0; x < image.cols; ++x, level += step) {
        float sum = 0.0F;
        bool isSaturated = false;
        for (const Channel& channel : channels) {
            sum += channel.weight * static_cast<float>(level[channel.index]);
            isSaturated = isSaturated || level[channel.index] > kSaturated;
        }
        intensity[x] = isSaturated ? 0.0F : sum;
        if (isSaturated) noise[x] = 0.0F;
    }
}

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
    result.intensity.create(image.size(), CV_32F);
    const auto count = static_cast<int>(channels.size());
    for (int i = 0; i < count; ++i) {
        const Channel channel = channels[static_cast<std::size_t>(i)];
        cv::Mat plane;
        cv::extractChannel(image, plane, channel.index);
        const double done = static_cast<double>(i) / count;
        const double share = 1.0 / count;
        const cv::Mat noise = WaveletResidual(plane, sigma, PartOf(progress, done, done + 0.9 * share));
        // The first becomes the sum; its weight is given to it together with the second.
        if (i == 0) result.noise = noise;
        if (i == 0 && count > 1) continue;
        ForEachStrip(image.rows, 64, PartOf(progress, done + 0.9 * share, done + share),
                     [&](int first, int end) {
                         for (int y = first; y < end; ++y) {
                             AddChannels(noise, y, i, channels, result.noise);
                             if (i == count - 1) SetIntensity(image, y, channels, result);
                         }
                     });
    }
    return result;
}

namespace {

// The means of rows and columns of the four sublattices of a plane.
class LatticeMeans {
  public:
    explicit LatticeMeans(const cv::Mat& plane);
    // Takes them away from row y.
    void TakeFrom(int y, float* row) const;

  private:
    std::array<std::vector<double>, 2> m_columns;  // by parity of the row
    std::vector<std::array<double, 2>> m_rows;  // by parity of the column; the mean of all is taken off them
};

LatticeMeans::LatticeMeans(const cv::Mat& plane) : m_rows(static_cast<std::size_t>(plane.rows)) {
    const int strips = (plane.rows + kMeanRows - 1) / kMeanRows;
    const auto width = static_cast<std::size_t>(plane.cols);
    // Sums of the columns over the even and the odd rows of each strip, and of each row over its even and odd columns.
    std::vector<std::array<std::vector<double>, 2>> parts(static_cast<std::size_t>(strips));
    ForEachPiece(strips, {}, [&](int strip) {
        auto& columns = parts[static_cast<std::size_t>(strip)];
        for (std::vector<double>& sums : columns) sums.assign(width, 0.0);
        for (int y = strip * kMeanRows; y < std::min(plane.rows, (strip + 1) * kMeanRows); ++y) {
            const float* row = plane.ptr<float>(y);
            double* sums = columns[static_cast<std::size_t>(y % 2)].data();
            for (int x = 0; x < plane.cols; ++x) sums[x] += static_cast<double>(row[x]);
            std::array<double, 2> own = {0.0, 0.0};
            for (int x = 0; x < plane.cols; ++x)
                own[static_cast<std::size_t>(x % 2)] += static_cast<double>(row[x]);
            m_rows[static_cast<std::size_t>(y)] = own;
        }
    });
    std::array<std::array<double, 2>, 2> means{};  // of the sublattices, by parity of row and column
    for (std::size_t parity = 0; parity < 2; ++parity) {
        const int rows = (plane.rows + 1 - static_cast<int>(parity)) / 2;
        std::vector<double>& sums = m_columns[parity];
        sums.assign(width, 0.0);
        if (rows == 0) continue;
        for (const auto& part : parts)
            for (std::size_t x = 0; x < width; ++x) sums[x] += part[parity][x];
        for (std::size_t x = 0; x < width; ++x) {
            sums[x] /= rows;
            means[parity][x % 2] += sums[x];
        }
        means[parity][0] /= static_cast<double>((width + 1) / 2);
        means[parity][1] /= static_cast<double>(std::max<std::size_t>(width / 2, 1));
    }
    for (std::size_t y = 0; y < m_rows.size(); ++y) {
        std::array<double, 2>& own = m_rows[y];
        own[0] = own[0] / static_cast<double>((width + 1) / 2) - means[y % 2][0];
        own[1] = own[1] / static_cast<double>(std::max<std::size_t>(width / 2, 1)) - means[y % 2][1];
    }
}

void LatticeMeans::TakeFrom(int y, float* row) const {
    const std::vector<double>& columns = m_columns[static_cast<std::size_t>(y % 2)];
    const std::array<double, 2>& own = m_rows[static_cast<std::size_t>(y)];
    const std::size_t width = columns.size();
    const double even = own[0];
    const double odd = own[1];
    for (std::size_t x = 0; x + 1 < width; x += 2) {
        row[x] = static_cast<float>(row[x] - even - columns[x]);
        row[x + 1] = static_cast<float>(row[x + 1] - odd - columns[x + 1]);
    }
    if (width % 2 != 0) row[width - 1] = static_cast<float>(row[width - 1] - even - columns[width - 1]);
}

// Correlation terms of one row of W with I K for K as it is so far.
RowSums Correlate(const float* noise, const float* intensity, const float* sum, const float* energy,
                  int count) {
    float product = 0.0F, own = 0.0F, expected = 0.0F;
    for (int x = 0; x < count; ++x) {
        const float pattern = intensity[x] * sum[x] / (energy[x] + 1.0F);
        product += noise[x] * pattern;
        own += noise[x] * noise[x];
        expected += pattern * pattern;
    }
    return {product, own, expected};
}

// The correlation times the root of the count.
double AgreementOf(const std::vector<RowSums>& rows, std::size_t count) {
    RowSums all;
    for (const RowSums& row : rows) {
        all.product += row.product;
        all.noise += row.noise;
        all.pattern += row.pattern;
    }
    const double energy = all.noise * all.pattern;
    return energy > 0.0 ? all.product / std::sqrt(energy) * std::sqrt(static_cast<double>(count)) : 0.0;
}

}  // namespace

void RemoveRowAndColumnMeans(cv::Mat& plane) {
    const LatticeMeans means(plane);
    ForEachStrip(plane.rows, kMeanRows, {}, [&](int first, int end) {
        for (int y = first; y < end; ++y) means.TakeFrom(y, plane.ptr<float>(y));
    });
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

std::string FingerprintMaker::Add(const cv::Mat& image, const AnalysisProgress& progress) {
    if (image.empty() || (image.type() != CV_8UC1 && image.type() != CV_8UC3))
        return "Not a grey or colour picture of 8 bits per channel.";
    if (image.cols < kLeastSide || image.rows < kLeastSide) return "Smaller than 32 x 32 pixels.";
    if (!m_noise.empty() && image.size() != m_noise.size()) {
        const bool isTurned = image.cols == m_noise.rows && image.rows == m_noise.cols;
        return isTurned ? "Turned: the sides are exchanged." : "Another size than the first picture's.";
    }
    CameraResidual residual = ComputeCameraResidual(image, m_sigma, PartOf(progress, 0.0, 0.9));
    std::atomic<long long> lit{0};
    ForEachStrip(image.rows, 64, {}, [&](int first, int end) {
        lit += cv::countNonZero(residual.intensity.rowRange(first, end));
    });
    if (lit * 10 < static_cast<long long>(image.total())) return "Nearly all of it is saturated or black.";
    const LatticeMeans means(residual.noise);
    if (progress) progress(0.95);
    if (m_noise.empty()) {
        m_noise = cv::Mat::zeros(image.size(), CV_32F);
        m_energy = cv::Mat::zeros(image.size(), CV_32F);
    }
    // One way through the memory: what is left of the noise, how it agrees with the sums so far, and the sums.
    const bool isCompared = GetPictures() >= 2;
    std::vector<RowSums> rows(static_cast<std::size_t>(image.rows));
    ForEachStrip(image.rows, 64, {}, [&](int first, int end) {
        for (int y = first; y < end; ++y) {
            float* noise = residual.noise.ptr<float>(y);
            const float* intensity = residual.intensity.ptr<float>(y);
            float* sum = m_noise.ptr<float>(y);
            float* energy = m_energy.ptr<float>(y);
            means.TakeFrom(y, noise);
            if (isCompared)
                rows[static_cast<std::size_t>(y)] = Correlate(noise, intensity, sum, energy, image.cols);
            for (int x = 0; x < image.cols; ++x) {
                sum[x] += noise[x] * intensity[x];
                energy[x] += intensity[x] * intensity[x];
            }
        }
    });
    m_agreements.push_back(isCompared ? AgreementOf(rows, m_noise.total())
                                      : std::numeric_limits<double>::quiet_NaN());
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
