#include "orvcore/analysis/copymovedense.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstdint>
#include <opencv2/core/hal/intrin.hpp>
#include <opencv2/imgproc.hpp>

namespace {

constexpr int kRadius = 8;
constexpr int kSide = 2 * kRadius + 1;
constexpr int kMoments = 12;
constexpr int kLength = 16;  // of a description; the last four are 0
constexpr int kStripRows = 64;
constexpr std::array<int, 5> kSteps{1, 2, 4, 8, 16};
constexpr int kFitRadius = 6;
constexpr double kMostError = 300.0;
constexpr std::size_t kMostRegions = 32;
constexpr std::size_t kMostPlaces = 400;

struct MomentKernel {
    cv::Mat real, imaginary;  // imaginary is empty for order 0
};

double Factorial(int n) {
    return n <= 1 ? 1.0 : n * Factorial(n - 1);
}

double Radial(int n, int m, double r) {
    double sum = 0;
    for (int k = 0; k <= (n - m) / 2; ++k)
        sum += (k % 2 == 0 ? 1.0 : -1.0) * Factorial(n - k) /
               (Factorial(k) * Factorial((n + m) / 2 - k) * Factorial((n - m) / 2 - k)) *
               std::pow(r, n - 2 * k);
    return sum;
}

std::vector<MomentKernel> MakeKernels() {
    std::vector<MomentKernel> kernels;
    for (int n = 0; n <= 5; ++n) {
        for (int m = n % 2; m <= n; m += 2) {
            MomentKernel kernel{cv::Mat::zeros(kSide, kSide, CV_32F),
                                m > 0 ? cv::Mat(cv::Mat::zeros(kSide, kSide, CV_32F)) : cv::Mat()};
            double power = 0;
            for (int y = -kRadius; y <= kRadius; ++y) {
                for (int x = -kRadius; x <= kRadius; ++x) {
                    const double r = std::hypot(x, y) / (kRadius + 0.5);
                    if (r > 1.0) continue;
                    const std::complex<double> value =
                        Radial(n, m, r) * std::polar(1.0, -m * std::atan2(y, x));
                    kernel.real.at<float>(y + kRadius, x + kRadius) = static_cast<float>(value.real());
                    if (m > 0)
                        kernel.imaginary.at<float>(y + kRadius, x + kRadius) =
                            static_cast<float>(value.imag());
                    power += std::norm(value);
                }
            }
            // All moments of white noise weigh the same. The mean level is made to weigh less: brightness alone tells little.
            const double scale = (n == 0 ? 0.25 : 1.0) / std::sqrt(power);
            kernel.real *= scale;
            if (m > 0) kernel.imaginary *= scale;
            kernels.push_back(kernel);
        }
    }
    return kernels;
}

// CV_16S, kLength columns per pixel.
cv::Mat Describe(const cv::Mat& luminance, const AnalysisProgress& progress) {
    const std::vector<MomentKernel> kernels = MakeKernels();
    cv::Mat descriptions(luminance.rows, luminance.cols * kLength, CV_16S, cv::Scalar(0));
    ForEachStrip(luminance.rows, kStripRows, progress, [&](int first, int end) {
        const int above = std::max(first - kRadius - 2, 0);
        const int below = std::min(end + kRadius + 2, luminance.rows);
        cv::Mat levels;
        luminance.rowRange(above, below).convertTo(levels, CV_32F);
        cv::GaussianBlur(levels, levels, cv::Size(5, 5), 0.6);
        cv::Mat real;
        cv::Mat imaginary;
        for (int i = 0; i < kMoments; ++i) {
            const MomentKernel& kernel = kernels[static_cast<std::size_t>(i)];
            cv::filter2D(levels, real, CV_32F, kernel.real);
            if (!kernel.imaginary.empty()) {
                cv::filter2D(levels, imaginary, CV_32F, kernel.imaginary);
                cv::magnitude(real, imaginary, real);
            }
            for (int y = first; y < end; ++y) {
                const float* value = real.ptr<float>(y - above);
                std::int16_t* target = descriptions.ptr<std::int16_t>(y) + i;
                for (int x = 0; x < luminance.cols; ++x)
                    target[x * kLength] = cv::saturate_cast<std::int16_t>(4.0F * value[x]);
            }
        }
    });
    return descriptions;
}

// Sum of squared differences, halved first so that all sums fit.
int Distance(const std::int16_t* a, const std::int16_t* b) {
    int sum = 0;
    const auto add = [&](int from) {
        const cv::v_int16x8 difference = cv::v_load(a + from) - cv::v_load(b + from);
        const cv::v_int16x8 half = difference >> 1;
        sum += cv::v_reduce_sum(cv::v_dotprod(half, half));
    };
    add(0);
    add(8);
    return sum;
}

std::uint32_t Mix(std::uint32_t x) {
    x ^= x >> 16;
    x *= 0x7FEB352DU;
    x ^= x >> 15;
    x *= 0x846CA68BU;
    return x ^ (x >> 16);
}

using Shift = cv::Vec2s;

// One strip of one round: in place, and what lies outside the strip as the round before left it.
class Round {
  public:
    Round(const cv::Mat& descriptions, const cv::Mat& before, int leastDistance, int number, cv::Mat& shifts)
        : m_descriptions(descriptions),
          m_before(before),
          m_least(leastDistance * leastDistance),
          m_number(number),
          m_shifts(shifts),
          m_valid(kRadius, kRadius, shifts.cols - 2 * kRadius, shifts.rows - 2 * kRadius) {}

    void Run(int first, int end) const {
        const int top = std::max(first, m_valid.y);
        const int bottom = std::min(end, m_valid.y + m_valid.height);
        const int left = m_valid.x;
        const int right = m_valid.x + m_valid.width;
        if (m_number % 2 == 0) {
            for (int y = top; y < bottom; ++y)
                for (int x = left; x < right; ++x) Improve(x, y, -1, first, end);
        } else {
            for (int y = bottom - 1; y >= top; --y)
                for (int x = right - 1; x >= left; --x) Improve(x, y, 1, first, end);
        }
    }

  private:
    const Shift& At(int x, int y, int first, int end) const {
        return (y >= first && y < end ? m_shifts : m_before).ptr<Shift>(y)[x];
    }

    void Improve(int x, int y, int side, int first, int end) const {
        const std::int16_t* mine = m_descriptions.ptr<std::int16_t>(y) + x * kLength;
        Shift& shift = m_shifts.ptr<Shift>(y)[x];
        int best = m_number == 0 && shift == Shift(0, 0) ? 1 << 30 : Cost(mine, x + shift[0], y + shift[1]);
        const auto offer = [&](int dx, int dy) {
            if (dx * dx + dy * dy < m_least || !m_valid.contains(cv::Point(x + dx, y + dy))) return;
            const int cost = Cost(mine, x + dx, y + dy);
            if (cost >= best) return;
            best = cost;
            shift = Shift(static_cast<short>(dx), static_cast<short>(dy));
        };
        const Shift now = shift;
        for (const int step : kSteps) {
            const int k = side * step;
            for (const bool isRow : {true, false}) {
                const cv::Point one = isRow ? cv::Point(x + k, y) : cv::Point(x, y + k);
                if (!m_valid.contains(one)) continue;
                const Shift& near = At(one.x, one.y, first, end);
                if (near != now) offer(near[0], near[1]);
                const cv::Point two = isRow ? cv::Point(x + 2 * k, y) : cv::Point(x, y + 2 * k);
                if (!m_valid.contains(two)) continue;
                const Shift& far = At(two.x, two.y, first, end);
                if (far != near) offer(2 * near[0] - far[0], 2 * near[1] - far[1]);
            }
        }
        // Chance around what is best so far, ever closer.
        const auto seed = static_cast<std::uint32_t>(y * m_shifts.cols + x) * 31U +
                          static_cast<std::uint32_t>(m_number) * 0x9E3779B9U;
        std::uint32_t state = Mix(seed);
        for (int reach = std::max(m_shifts.cols, m_shifts.rows); reach >= 1; reach /= 4) {
            state = Mix(state + 0x9E3779B9U);
            const int dx =
                static_cast<int>((state & 0xFFFFU) * static_cast<std::uint32_t>(2 * reach + 1) >> 16) - reach;
            const int dy =
                static_cast<int>((state >> 16) * static_cast<std::uint32_t>(2 * reach + 1) >> 16) - reach;
            offer(shift[0] + dx, shift[1] + dy);
        }
    }

    int Cost(const std::int16_t* mine, int x, int y) const {
        return Distance(mine, m_descriptions.ptr<std::int16_t>(y) + x * kLength);
    }

    const cv::Mat& m_descriptions;
    const cv::Mat& m_before;
    const int m_least;
    const int m_number;
    cv::Mat& m_shifts;
    const cv::Rect m_valid;
};

struct Disc {
    std::vector<cv::Point> points;
    double xx = 0;  // sum of x^2, and of y^2
    Disc() {
        for (int y = -kFitRadius; y <= kFitRadius; ++y)
            for (int x = -kFitRadius; x <= kFitRadius; ++x)
                if (x * x + y * y <= kFitRadius * kFitRadius) {
                    points.emplace_back(x, y);
                    xx += x * x;
                }
    }
};

// What the best linear map of the shifts around a pixel leaves unexplained, summed over both directions.
double FitError(const cv::Mat& shifts, int x, int y, const Disc& disc) {
    const Shift middle = shifts.ptr<Shift>(y)[x];
    double error = 0;
    std::array<double, 2> sum{}, squares{}, alongX{}, alongY{};
    for (const cv::Point& p : disc.points) {
        const Shift& s = shifts.ptr<Shift>(y + p.y)[x + p.x];
        for (int c = 0; c < 2; ++c) {
            const double v = s[c] - middle[c];
            const auto i = static_cast<std::size_t>(c);
            sum[i] += v;
            squares[i] += v * v;
            alongX[i] += v * p.x;
            alongY[i] += v * p.y;
        }
    }
    const double n = static_cast<double>(disc.points.size());
    for (std::size_t i = 0; i < 2; ++i)
        error += squares[i] - sum[i] * sum[i] / n - alongX[i] * alongX[i] / disc.xx -
                 alongY[i] * alongY[i] / disc.xx;
    return error;
}

// An affine map of the places to where their shifts lead, by least squares, twice without what misses most.
bool FitRegion(const cv::Mat& shifts, const std::vector<cv::Point>& places, cv::Matx23d& model) {
    double most = 1e9;
    for (int round = 0; round < 3; ++round) {
        cv::Matx33d normal = cv::Matx33d::zeros();
        cv::Matx<double, 3, 2> right = cv::Matx<double, 3, 2>::zeros();
        double squares = 0;
        double count = 0;
        const cv::Point origin = places.front();
        for (const cv::Point& p : places) {
            const Shift& s = shifts.at<Shift>(p);
            const cv::Vec3d row(p.x - origin.x, p.y - origin.y, 1.0);
            if (round > 0) {
                const double missX = model(0, 0) * p.x + model(0, 1) * p.y + model(0, 2) - p.x - s[0];
                const double missY = model(1, 0) * p.x + model(1, 1) * p.y + model(1, 2) - p.y - s[1];
                const double miss = missX * missX + missY * missY;
                if (miss > most) continue;
                squares += miss;
            }
            count += 1;
            normal += row * row.t();
            for (int r = 0; r < 3; ++r) {
                right(r, 0) += row[r] * (p.x + s[0]);
                right(r, 1) += row[r] * (p.y + s[1]);
            }
        }
        cv::Matx<double, 3, 2> solution;
        if (count < 12 || !cv::solve(normal, right, solution, cv::DECOMP_CHOLESKY)) return false;
        model = {solution(0, 0),
                 solution(1, 0),
                 solution(2, 0) - solution(0, 0) * origin.x - solution(1, 0) * origin.y,
                 solution(0, 1),
                 solution(1, 1),
                 solution(2, 1) - solution(0, 1) * origin.x - solution(1, 1) * origin.y};
        most = round == 0 ? 16.0 : std::max(6.25 * squares / count, 1.0);
    }
    const double determinant = model(0, 0) * model(1, 1) - model(0, 1) * model(1, 0);
    return determinant > 0.25 && determinant < 4.0;
}

}  // namespace

cv::Mat FindNearestTwins(const cv::Mat& luminance, int leastDistance, int rounds,
                         const AnalysisProgress& progress) {
    CV_Assert(luminance.type() == CV_8UC1 && luminance.cols <= 32000 && luminance.rows <= 32000);
    cv::Mat shifts = cv::Mat::zeros(luminance.size(), CV_16SC2);
    if (luminance.cols <= 3 * kSide || luminance.rows <= 3 * kSide) return shifts;
    const cv::Mat descriptions = Describe(luminance, PartOf(progress, 0.0, 0.25));
    const int least = std::max(leastDistance, 8);
    cv::Mat before;
    for (int round = 0; round < rounds; ++round) {
        shifts.copyTo(before);
        const Round work(descriptions, before, least, round, shifts);
        ForEachStrip(luminance.rows, kStripRows,
                     PartOf(progress, 0.25 + 0.75 * round / rounds, 0.25 + 0.75 * (round + 1) / rounds),
                     [&](int first, int end) { work.Run(first, end); });
    }
    return shifts;
}

std::vector<DenseRegion> FindLinearRegions(const cv::Mat& field, double leastDistance, int leastArea,
                                           const AnalysisProgress& progress) {
    CV_Assert(field.type() == CV_16SC2);
    cv::Mat planes[2];
    cv::split(field, planes);
    for (cv::Mat& plane : planes) cv::medianBlur(plane, plane, 5);
    cv::Mat shifts;
    cv::merge(planes, 2, shifts);
    cv::Mat mask = cv::Mat::zeros(field.size(), CV_8U);
    const Disc disc;
    const double least = leastDistance * leastDistance;
    ForEachStrip(field.rows, kStripRows / 4, PartOf(progress, 0.0, 0.9), [&](int first, int end) {
        for (int y = std::max(first, kFitRadius + kRadius);
             y < std::min(end, field.rows - kFitRadius - kRadius); ++y) {
            for (int x = kFitRadius + kRadius; x < field.cols - kFitRadius - kRadius; ++x) {
                const Shift& s = shifts.ptr<Shift>(y)[x];
                if (static_cast<double>(s[0]) * s[0] + static_cast<double>(s[1]) * s[1] < least) continue;
                // Most of a picture is chaos, which two looks tell.
                const Shift& beside = shifts.ptr<Shift>(y)[x + 4];
                const Shift& below = shifts.ptr<Shift>(y + 4)[x];
                if (std::abs(beside[0] - s[0]) + std::abs(beside[1] - s[1]) + std::abs(below[0] - s[0]) +
                        std::abs(below[1] - s[1]) >
                    40)
                    continue;
                if (FitError(shifts, x, y, disc) < kMostError) mask.ptr(y)[x] = 255;
            }
        }
    });
    cv::Mat labels;
    cv::Mat boxes;
    cv::Mat centres;
    const int count = cv::connectedComponentsWithStats(mask, labels, boxes, centres, 4, CV_32S);
    std::vector<std::pair<int, int>> order;
    for (int i = 1; i < count; ++i)
        if (const int area = boxes.at<int>(i, cv::CC_STAT_AREA); area >= leastArea)
            order.emplace_back(-area, i);
    std::sort(order.begin(), order.end());
    if (order.size() > kMostRegions) order.resize(kMostRegions);
    std::vector<DenseRegion> regions;
    for (const auto& [negative, label] : order) {
        const cv::Rect box(boxes.at<int>(label, cv::CC_STAT_LEFT), boxes.at<int>(label, cv::CC_STAT_TOP),
                           boxes.at<int>(label, cv::CC_STAT_WIDTH), boxes.at<int>(label, cv::CC_STAT_HEIGHT));
        DenseRegion region;
        region.area = -negative;
        std::vector<cv::Point> all;
        for (int y = box.y; y < box.y + box.height; ++y)
            for (int x = box.x; x < box.x + box.width; ++x)
                if (labels.ptr<int>(y)[x] == label) all.emplace_back(x, y);
        if (!FitRegion(shifts, all, region.model)) continue;
        const std::size_t step = all.size() / kMostPlaces + 1;
        for (std::size_t i = 0; i < all.size(); i += step) region.places.push_back(all[i]);
        regions.push_back(std::move(region));
    }
    if (progress) progress(1.0);
    return regions;
}
