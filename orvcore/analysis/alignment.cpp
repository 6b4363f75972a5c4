#include "orvcore/analysis/alignment.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <opencv2/imgproc.hpp>
#include <vector>

namespace {

constexpr double kMostPoints = 200'000;
constexpr int kMostRounds = 40;
constexpr double kStill = 0.003;  // pixels
constexpr double kLeastOverlap = 0.01;
constexpr double kSmoothing = 1.2;  // pixels

using Parameters = std::array<double, 8>;

// Evidence -> reference, about the evidence's middle and in units of its half size, so that all parameters weigh alike.
struct Frame {
    double x0, y0, unit;
    explicit Frame(const cv::Size& size)
        : x0((size.width - 1) / 2.0),
          y0((size.height - 1) / 2.0),
          unit(std::max(size.width, size.height) / 2.0) {}
    cv::Matx33d ToUnit() const { return {1 / unit, 0, -x0 / unit, 0, 1 / unit, -y0 / unit, 0, 0, 1}; }
};

struct Sample {
    float value, gradientX, gradientY;
};

// Bilinear value and its slope; false outside.
bool Look(const cv::Mat& picture, double x, double y, Sample& sample) {
    const int px = cvFloor(x);
    const int py = cvFloor(y);
    if (px < 1 || py < 1 || px + 2 >= picture.cols || py + 2 >= picture.rows) return false;
    const auto fx = static_cast<float>(x - px);
    const auto fy = static_cast<float>(y - py);
    std::array<const std::uint8_t*, 4> rows{};
    for (int i = 0; i < 4; ++i) rows[static_cast<std::size_t>(i)] = picture.ptr(py - 1 + i) + px - 1;
    const auto across = [fx](const std::uint8_t* row) { return (1 - fx) * row[1] + fx * row[2]; };
    const auto slope = [fx](const std::uint8_t* row) {
        return 0.5F * ((1 - fx) * (static_cast<float>(row[2]) - row[0]) +
                       fx * (static_cast<float>(row[3]) - row[1]));
    };
    const float upper = across(rows[1]);
    const float lower = across(rows[2]);
    sample.value = (1 - fy) * upper + fy * lower;
    sample.gradientX = (1 - fy) * slope(rows[1]) + fy * slope(rows[2]);
    sample.gradientY = 0.5F * ((1 - fy) * (lower - across(rows[0])) + fy * (across(rows[3]) - upper));
    return true;
}

int StepFor(const cv::Size& size) {
    return std::max(
        static_cast<int>(std::ceil(std::sqrt(static_cast<double>(size.width) * size.height / kMostPoints))),
        1);
}

struct Correlation {
    double n = 0, a = 0, b = 0, aa = 0, ab = 0, bb = 0;

    void Add(double x, double y) {
        n += 1;
        a += x;
        b += y;
        aa += x * x;
        ab += x * y;
        bb += y * y;
    }
    double Value() const {
        const double spread = (aa - a * a / n) * (bb - b * b / n);
        // Two flat pictures are alike.
        if (!(spread > 0)) return aa - a * a / n <= 0 && bb - b * b / n <= 0 ? 1.0 : 0.0;
        return (ab - a * b / n) / std::sqrt(spread);
    }
};

struct Points {
    std::vector<cv::Point> at;
    std::vector<float> level;
    std::vector<Sample> sample;
    std::vector<cv::Point2d> unit;  // in the frame's units
    std::vector<double> denominator;
};

void Collect(const cv::Mat& evidence, const cv::Mat& reference, const cv::Matx33d& inUnits,
             const Frame& frame, int step, Points& points) {
    points.at.clear();
    points.level.clear();
    points.sample.clear();
    points.unit.clear();
    points.denominator.clear();
    for (int y = step / 2; y < evidence.rows; y += step) {
        for (int x = step / 2; x < evidence.cols; x += step) {
            const cv::Point2d u((x - frame.x0) / frame.unit, (y - frame.y0) / frame.unit);
            const double w = inUnits(2, 0) * u.x + inUnits(2, 1) * u.y + 1.0;
            if (!(w > 1e-3)) continue;
            Sample sample;
            if (!Look(reference, (inUnits(0, 0) * u.x + inUnits(0, 1) * u.y + inUnits(0, 2)) / w,
                      (inUnits(1, 0) * u.x + inUnits(1, 1) * u.y + inUnits(1, 2)) / w, sample))
                continue;
            points.at.emplace_back(x, y);
            points.level.push_back(evidence.ptr(y)[x]);
            points.sample.push_back(sample);
            points.unit.push_back(u);
            points.denominator.push_back(w);
        }
    }
}

// One step; false when it cannot be worked out.
bool Step(const Points& points, const cv::Matx33d& inUnits, Freedom freedom, cv::Matx33d& next) {
    const int count = freedom == Freedom::Shift ? 2 : freedom == Freedom::Affine ? 6 : 8;
    // Brightness and contrast first, without the change of place.
    Correlation levels;
    for (std::size_t i = 0; i < points.level.size(); ++i) levels.Add(points.sample[i].value, points.level[i]);
    const double spread = levels.aa - levels.a * levels.a / levels.n;
    if (!(spread > 0)) return false;
    const double gain = (levels.ab - levels.a * levels.b / levels.n) / spread;
    const double offset = (levels.b - gain * levels.a) / levels.n;
    if (!(std::abs(gain) > 1e-3)) return false;
    std::vector<float> misses(points.level.size());
    for (std::size_t i = 0; i < misses.size(); ++i)
        misses[i] = std::abs(static_cast<float>(points.level[i] - gain * points.sample[i].value - offset));
    std::vector<float> sorted = misses;
    const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
    std::nth_element(sorted.begin(), middle, sorted.end());
    const double width = std::max(3.0 * *middle, 1.0);

    cv::Mat normal = cv::Mat::zeros(count + 2, count + 2, CV_64F);
    cv::Mat right = cv::Mat::zeros(count + 2, 1, CV_64F);
    std::array<double, 10> row{};
    std::array<double, 100> sums{};
    std::array<double, 10> rights{};
    for (std::size_t i = 0; i < points.level.size(); ++i) {
        const Sample& s = points.sample[i];
        const cv::Point2d& u = points.unit[i];
        const double gx = gain * s.gradientX / points.denominator[i];
        const double gy = gain * s.gradientY / points.denominator[i];
        if (freedom == Freedom::Shift) {
            row = {gx, gy};
        } else {
            row = {gx * u.x, gx * u.y, gx, gy * u.x, gy * u.y, gy, 0, 0};
            if (freedom == Freedom::Projective) {
                const double px =
                    (inUnits(0, 0) * u.x + inUnits(0, 1) * u.y + inUnits(0, 2)) / points.denominator[i];
                const double py =
                    (inUnits(1, 0) * u.x + inUnits(1, 1) * u.y + inUnits(1, 2)) / points.denominator[i];
                row[6] = -(gx * px + gy * py) * u.x;
                row[7] = -(gx * px + gy * py) * u.y;
            }
        }
        row[static_cast<std::size_t>(count)] = s.value;
        row[static_cast<std::size_t>(count) + 1] = 1.0;
        const double miss = points.level[i] - gain * s.value - offset;
        const double ratio = miss / width;
        const double weight = 1.0 / ((1.0 + ratio * ratio) * (1.0 + ratio * ratio));
        for (std::size_t r = 0; r < static_cast<std::size_t>(count) + 2; ++r) {
            const double weighted = weight * row[r];
            rights[r] += weighted * miss;
            for (std::size_t c = r; c < static_cast<std::size_t>(count) + 2; ++c)
                sums[r * 10 + c] += weighted * row[c];
        }
    }
    for (int r = 0; r < count + 2; ++r) {
        right.at<double>(r) = rights[static_cast<std::size_t>(r)];
        for (int c = r; c < count + 2; ++c)
            normal.at<double>(r, c) = normal.at<double>(c, r) =
                sums[static_cast<std::size_t>(r) * 10 + static_cast<std::size_t>(c)];
        normal.at<double>(r, r) *= 1.0 + 1e-6;
        normal.at<double>(r, r) += 1e-9;
    }
    cv::Mat change;
    if (!cv::solve(normal, right, change, cv::DECOMP_CHOLESKY) || !cv::checkRange(change)) return false;
    next = inUnits;
    if (freedom == Freedom::Shift) {
        next(0, 2) += change.at<double>(0);
        next(1, 2) += change.at<double>(1);
    } else {
        for (int i = 0; i < count; ++i) next.val[i] += change.at<double>(i);
    }
    return true;
}

}  // namespace

double CorrelationUnder(const cv::Mat& evidence, const cv::Mat& reference, const cv::Matx33d& model,
                        double leastOverlap) {
    const cv::Matx33d back = model.inv();
    const int step = StepFor(evidence.size());
    Correlation sums;
    std::int64_t all = 0;
    for (int y = step / 2; y < evidence.rows; y += step) {
        for (int x = step / 2; x < evidence.cols; x += step) {
            ++all;
            const double w = back(2, 0) * x + back(2, 1) * y + back(2, 2);
            const int px = cvRound((back(0, 0) * x + back(0, 1) * y + back(0, 2)) / w);
            const int py = cvRound((back(1, 0) * x + back(1, 1) * y + back(1, 2)) / w);
            if (px < 0 || py < 0 || px >= reference.cols || py >= reference.rows) continue;
            sums.Add(reference.ptr(py)[px], evidence.ptr(y)[x]);
        }
    }
    if (sums.n < std::max(leastOverlap * static_cast<double>(all), 16.0)) return -1.0;
    return sums.Value();
}

Alignment Align(const cv::Mat& wholeEvidence, const cv::Mat& wholeReference, const cv::Matx33d& start,
                Freedom freedom, const AnalysisProgress& progress) {
    CV_Assert(wholeEvidence.type() == CV_8UC1 && wholeReference.type() == CV_8UC1);
    // Interpolation between pixels takes noise away, so without this noisy pictures would fit best half a pixel aside.
    cv::Mat evidence;
    cv::Mat reference;
    cv::GaussianBlur(wholeEvidence, evidence, cv::Size(7, 7), kSmoothing);
    cv::GaussianBlur(wholeReference, reference, cv::Size(7, 7), kSmoothing);
    const Frame frame(evidence.size());
    const int step = StepFor(evidence.size());
    cv::Matx33d inUnits = start.inv() * frame.ToUnit().inv();
    if (!(std::abs(inUnits(2, 2)) > 1e-12)) return {};
    inUnits *= 1.0 / inUnits(2, 2);
    Alignment result;
    cv::Matx33d best = inUnits;
    Points points;
    const double least = kLeastOverlap * evidence.cols * evidence.rows / (static_cast<double>(step) * step);
    int worse = 0;
    for (int round = 0; round <= kMostRounds; ++round) {
        if (progress) progress(static_cast<double>(round) / (kMostRounds + 1));
        Collect(evidence, reference, inUnits, frame, step, points);
        if (static_cast<double>(points.level.size()) < std::max(least, 64.0)) break;
        Correlation levels;
        for (std::size_t i = 0; i < points.level.size(); ++i)
            levels.Add(points.sample[i].value, points.level[i]);
        const double correlation = levels.Value();
        result.rounds = round;
        if (correlation > result.correlation) {
            result.correlation = correlation;
            best = inUnits;
            worse = 0;
        } else if (++worse > 3) {
            break;
        }
        cv::Matx33d next;
        if (round == kMostRounds || !Step(points, inUnits, freedom, next)) break;
        double moved = 0;
        for (const double x : {-1.0, 1.0}) {
            for (const double y : {-1.0, 1.0}) {
                const auto place = [x, y](const cv::Matx33d& m) {
                    const double w = m(2, 0) * x + m(2, 1) * y + m(2, 2);
                    return cv::Point2d((m(0, 0) * x + m(0, 1) * y + m(0, 2)) / w,
                                       (m(1, 0) * x + m(1, 1) * y + m(1, 2)) / w);
                };
                const cv::Point2d way = place(next) - place(inUnits);
                moved = std::max(moved, std::sqrt(way.dot(way)));
            }
        }
        inUnits = next;
        if (moved < kStill) break;
    }
    const cv::Matx33d back = best * frame.ToUnit();
    result.model = back.inv();
    result.model *= 1.0 / result.model(2, 2);
    if (progress) progress(1.0);
    return result;
}
