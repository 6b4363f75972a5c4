#include "orvcore/analysis/fingerprintmatch.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "orvcore/analysis/halfspectrum.h"
#include "zorbase/zorexception.h"

namespace {

constexpr int kNeighbourhood = 5;  // to each side of a peak
constexpr int kLargerBy = 8;       // pixels that rounding of scales may cost
constexpr double kScaleStep = 0.005;

// The fingerprint's spectrum, ready for several correlations.
class Correlator {
  public:
    Correlator(const cv::Mat& pattern, const AnalysisProgress& progress)
        : m_pattern(pattern.size()),
          m_size(FastTransformSize(pattern.size())),
          m_spectrum(ToHalfSpectrum(pattern, m_size, progress)) {}

    // Correlation of `signal` placed with its top left pixel at every place of the plane; wraps around.
    cv::Mat Correlate(const cv::Mat& signal, const AnalysisProgress& progress) const {
        const cv::Rect used = cv::Rect({}, signal.size()) & cv::Rect({}, m_pattern);
        cv::Mat spectrum = ToHalfSpectrum(signal(used), m_size, PartOf(progress, 0.0, 0.5));
        ForEachStrip(spectrum.rows, 64, {}, [&](int first, int end) {
            for (int y = first; y < end; ++y)
                Multiply(m_spectrum.ptr<cv::Vec2f>(y), spectrum.ptr<cv::Vec2f>(y), spectrum.cols);
        });
        return FromHalfSpectrum(spectrum, m_size, m_size, PartOf(progress, 0.5, 1.0));
    }

  private:
    // a times the conjugate of b, into b.
    static void Multiply(const cv::Vec2f* a, cv::Vec2f* b, int count) {
        for (int x = 0; x < count; ++x)
            b[x] = {a[x][0] * b[x][0] + a[x][1] * b[x][1], a[x][1] * b[x][0] - a[x][0] * b[x][1]};
    }

    cv::Size m_pattern;
    cv::Size m_size;
    cv::Mat m_spectrum;
};

int Wrapped(int i, int n) {
    return ((i % n) + n) % n;
}

// Takes 11 x 11 places around `peak` out of a plane.
void Blank(cv::Mat& plane, cv::Point peak) {
    for (int dy = -kNeighbourhood; dy <= kNeighbourhood; ++dy)
        for (int dx = -kNeighbourhood; dx <= kNeighbourhood; ++dx)
            plane.at<float>(Wrapped(peak.y + dy, plane.rows), Wrapped(peak.x + dx, plane.cols)) = 0.0F;
}

double EnergyOf(const cv::Mat& plane) {
    double sum = 0.0;
    for (int y = 0; y < plane.rows; ++y) {
        const float* row = plane.ptr<float>(y);
        double rowSum = 0.0;
        for (int x = 0; x < plane.cols; ++x) rowSum += static_cast<double>(row[x]) * row[x];
        sum += rowSum;
    }
    return sum;
}

struct Peak {
    double pce = 0.0;
    double runnerUp = 0.0;
    cv::Point place;
};

// The highest peak among the places that keep the picture on the sensor. plane is used up.
Peak FindPeak(cv::Mat& plane, cv::Size allowed) {
    const cv::Mat places = plane(cv::Rect({}, allowed));
    Peak peak;
    double highest = 0.0;
    cv::minMaxLoc(places, nullptr, &highest, nullptr, &peak.place);
    const double value = plane.at<float>(peak.place);
    Blank(plane, peak.place);
    const double count =
        static_cast<double>(plane.total()) - (2 * kNeighbourhood + 1) * (2 * kNeighbourhood + 1);
    const double energy = EnergyOf(plane) / std::max(count, 1.0);
    if (!(energy > 0.0)) return peak;
    peak.pce = (value < 0 ? -1 : 1) * value * value / energy;
    if (places.total() > 1) {
        cv::minMaxLoc(places, nullptr, &highest);
        peak.runnerUp = highest * highest / energy;
    }
    return peak;
}

cv::Mat Turned(const cv::Mat& plane, int quarterTurns) {
    cv::Mat turned;
    switch (quarterTurns) {
        case 1:
            cv::rotate(plane, turned, cv::ROTATE_90_COUNTERCLOCKWISE);
            break;
        case 2:
            cv::rotate(plane, turned, cv::ROTATE_180);
            break;
        case 3:
            cv::rotate(plane, turned, cv::ROTATE_90_CLOCKWISE);
            break;
        default:
            return plane;
    }
    return turned;
}

struct Attempt {
    double scale;
    int quarterTurns;
};

}  // namespace

double Log10Tail(double x) {
    if (x < 8.0) return std::log10(std::max(0.5 * std::erfc(x / std::sqrt(2.0)), 1e-300));
    // Asymptotic: exp(-x^2 / 2) / (x sqrt(2 pi)) (1 - 1 / x^2 + 3 / x^4).
    const double inverse = 1.0 / (x * x);
    return -0.5 * x * x / std::log(10.0) - std::log10(x * std::sqrt(2.0 * 3.14159265358979323846)) +
           std::log10(1.0 - inverse + 3.0 * inverse * inverse);
}

double ThresholdForPlaces(double places) {
    if (places <= 1.0) return kPceThreshold;
    const double wanted = Log10Tail(std::sqrt(kPceThreshold)) - std::log10(places);
    double low = std::sqrt(kPceThreshold);
    double high = 100.0;
    for (int i = 0; i < 60; ++i) {
        const double middle = (low + high) / 2;
        (Log10Tail(middle) > wanted ? low : high) = middle;
    }
    return high * high;
}

namespace {

void Judge(FingerprintMatch& match) {
    match.threshold = ThresholdForPlaces(match.places);
    match.isMatch = match.pce >= match.threshold;
    const double one = match.pce > 0.0 ? Log10Tail(std::sqrt(match.pce)) : Log10Tail(-std::sqrt(-match.pce));
    // 1 - (1 - Q)^N; N Q where that is small.
    const double all = one + std::log10(match.places);
    match.log10FalseAlarm =
        all < -6.0
            ? all
            : std::log10(std::max(-std::expm1(match.places * std::log1p(-std::pow(10.0, one))), 1e-300));
}

}  // namespace

namespace {

constexpr int kLag = 4;

// Variance of a sum of n products P = W I K, for each of them: their autocovariance added up over lags to kLag (Newey, West 1987), from
// one row in so many. Colour interpolation couples neighbours, and both factors vary with its lattice.
double VarianceOfProducts(const CameraResidual& residual, const cv::Mat& pattern, double mean) {
    const int step = std::max(pattern.rows / 64, 1);
    const int width = pattern.cols;
    std::vector<std::vector<float>> rows(kLag + 1, std::vector<float>(static_cast<std::size_t>(width)));
    double sum = 0.0;
    double count = 0.0;
    for (int y = 0; y + kLag < pattern.rows; y += step) {
        for (int dy = 0; dy <= kLag; ++dy) {
            const float* noise = residual.noise.ptr<float>(y + dy);
            const float* intensity = residual.intensity.ptr<float>(y + dy);
            const float* k = pattern.ptr<float>(y + dy);
            float* row = rows[static_cast<std::size_t>(dy)].data();
            for (int x = 0; x < width; ++x)
                row[x] = noise[x] * intensity[x] * k[x] - static_cast<float>(mean);
        }
        for (int dy = 0; dy <= kLag; ++dy) {
            for (int dx = -kLag; dx <= kLag; ++dx) {
                const float* own = rows[0].data();
                const float* other = rows[static_cast<std::size_t>(dy)].data() + dx;
                float product = 0.0F;
                for (int x = kLag; x < width - kLag; ++x) product += own[x] * other[x];
                sum += (dy == 0 ? 1.0 : 2.0) * product;  // lags above are those below in the mirror
            }
        }
        count += std::max(width - 2 * kLag, 0);
    }
    return count > 0.0 ? sum / count : 0.0;
}

}  // namespace

FingerprintMatch TestAligned(const CameraResidual& residual, const cv::Mat& pattern) {
    if (pattern.empty() || pattern.type() != CV_32FC1 || pattern.size() != residual.noise.size()) {
        ZOR_THROW(Argument, "The fingerprint has another size than the picture.");
    }
    struct Sums {
        double product = 0.0, signal = 0.0, pattern = 0.0;
    };
    std::vector<Sums> rows(static_cast<std::size_t>(pattern.rows));
    ForEachStrip(pattern.rows, 128, {}, [&](int first, int end) {
        for (int y = first; y < end; ++y) {
            const float* noise = residual.noise.ptr<float>(y);
            const float* intensity = residual.intensity.ptr<float>(y);
            const float* k = pattern.ptr<float>(y);
            float product = 0.0F, signal = 0.0F, own = 0.0F;
            for (int x = 0; x < pattern.cols; ++x) {
                const float s = noise[x] * intensity[x];
                product += s * k[x];
                signal += s * s;
                own += k[x] * k[x];
            }
            rows[static_cast<std::size_t>(y)] = {product, signal, own};
        }
    });
    Sums all;
    for (const Sums& row : rows) {
        all.product += row.product;
        all.signal += row.signal;
        all.pattern += row.pattern;
    }
    FingerprintMatch match;
    const auto count = static_cast<double>(pattern.total());
    const double white = all.signal * all.pattern / count;
    const double energy = std::max(white, count * VarianceOfProducts(residual, pattern, all.product / count));
    if (energy > 0.0) match.pce = (all.product < 0 ? -1 : 1) * all.product * all.product / energy;
    Judge(match);
    return match;
}

FingerprintMatch SearchFingerprint(const CameraResidual& residual, const cv::Mat& pattern,
                                   const FingerprintSearch& search, const AnalysisProgress& progress) {
    if (pattern.empty() || pattern.type() != CV_32FC1)
        ZOR_THROW(Argument, "The fingerprint holds no pattern.");
    const cv::Mat signal = residual.noise.mul(residual.intensity);
    const Correlator correlator(pattern, PartOf(progress, 0.0, 0.05));
    FingerprintMatch best;
    best.places = 0.0;
    bool isFirst = true;
    const auto attempt = [&](double scale, int quarterTurns, const AnalysisProgress& part) {
        const cv::Size size(cvRound(signal.cols * scale), cvRound(signal.rows * scale));
        const cv::Size turnedSize = quarterTurns % 2 == 0 ? size : cv::Size(size.height, size.width);
        if (turnedSize.width > pattern.cols + kLargerBy || turnedSize.height > pattern.rows + kLargerBy)
            return;
        if (turnedSize.width < 16 || turnedSize.height < 16) return;
        cv::Mat scaled = signal;
        if (size != signal.size()) cv::resize(signal, scaled, size, 0, 0, cv::INTER_CUBIC);
        cv::Mat plane = correlator.Correlate(Turned(scaled, quarterTurns), part);
        const cv::Size room(std::max(pattern.cols - turnedSize.width, 0) + 1,
                            std::max(pattern.rows - turnedSize.height, 0) + 1);
        const cv::Size allowed = search.anyShift ? room : cv::Size(1, 1);
        if (part) part(1.0);
        const Peak peak = FindPeak(plane, allowed);
        best.places += allowed.area();
        if (!isFirst && peak.pce <= best.pce) return;
        isFirst = false;
        best.pce = peak.pce;
        best.runnerUp = peak.runnerUp;
        best.shift = peak.place;
        best.scale = scale;
        best.quarterTurns = quarterTurns;
    };
    std::vector<Attempt> attempts;
    for (int turn = 0; turn < (search.anyTurn ? 4 : 1); ++turn) {
        std::vector<double> scales = search.scales;
        if (scales.empty()) {
            const bool isUpright = turn % 2 == 0;
            scales = {1.0, static_cast<double>(isUpright ? pattern.cols : pattern.rows) / signal.cols,
                      static_cast<double>(isUpright ? pattern.rows : pattern.cols) / signal.rows};
            if (std::abs(scales[1] / scales[2] - 1.0) < 1e-3) scales.pop_back();
            if (std::abs(scales[1] - 1.0) < 1e-6) scales.erase(scales.begin() + 1);
        }
        for (double scale = 1.0 + kScaleStep; scale <= search.finest; scale *= 1.0 + kScaleStep)
            scales.push_back(scale);
        for (const double scale : scales) attempts.push_back({scale, turn});
    }
    for (std::size_t i = 0; i < attempts.size(); ++i) {
        const double share = 0.9 / static_cast<double>(attempts.size());
        const double done = 0.05 + share * static_cast<double>(i);
        attempt(attempts[i].scale, attempts[i].quarterTurns, PartOf(progress, done, done + share));
    }
    if (search.finest > 0.0 && !isFirst) {
        for (double step = kScaleStep / 2; step > 2e-4; step /= 2) {
            const double middle = best.scale;
            for (const double scale : {middle - step, middle + step}) {
                attempt(scale, best.quarterTurns, PartOf(progress, 0.95, 1.0));
            }
        }
    }
    best.places = std::max(best.places, 1.0);
    Judge(best);
    return best;
}

void RaisePlaces(FingerprintMatch& match, double fingerprints) {
    match.places *= std::max(fingerprints, 1.0);
    Judge(match);
}

AnalysisDecision DecideFingerprint(const FingerprintMatch& match) {
    AnalysisDecision decision;
    if (match.pce == 0.0) {
        decision.text = "The picture holds no noise to compare, or does not fit on the sensor.";
        return decision;
    }
    decision.measured = match.pce;
    decision.threshold = match.threshold;
    decision.finding = match.isMatch ? Finding::StrongSign : Finding::Nothing;
    decision.text =
        match.isMatch
            ? "The picture carries this camera's fingerprint."
            : "The fingerprint was not found; strong compression, denoising or scaling can hide it.";
    return decision;
}
