#include "orvcore/analysis/copymoveregions.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <opencv2/imgproc.hpp>

namespace {

constexpr int kWindow = 15;
constexpr double kLeastDeviation = 2.0;
constexpr int kOpening = 5;
constexpr int kRim = 4;
constexpr double kLeastDistinctness = 2.0;
constexpr std::size_t kPatternPairs = 6;
constexpr double kPatternOverlap = 0.3;

bool IsWholeShift(const cv::Matx23d& m) {
    const auto near = [](double value, double wanted) { return std::abs(value - wanted) < 1e-9; };
    return near(m(0, 0), 1) && near(m(1, 1), 1) && near(m(0, 1), 0) && near(m(1, 0), 0) &&
           near(m(0, 2), std::round(m(0, 2))) && near(m(1, 2), std::round(m(1, 2)));
}

cv::Rect Around(const std::vector<cv::Point>& seeds, const CopyCheckSettings& settings,
                const cv::Size& size) {
    cv::Rect box = cv::boundingRect(seeds);
    box.x -= settings.reach;
    box.y -= settings.reach;
    box.width += 2 * settings.reach;
    box.height += 2 * settings.reach;
    box &= cv::Rect(cv::Point(), size);
    if (static_cast<double>(box.width) * box.height > settings.mostPixels) {
        const double shrink = std::sqrt(settings.mostPixels / (static_cast<double>(box.width) * box.height));
        const cv::Size smaller(static_cast<int>(box.width * shrink), static_cast<int>(box.height * shrink));
        box = {box.x + (box.width - smaller.width) / 2, box.y + (box.height - smaller.height) / 2,
               smaller.width, smaller.height};
    }
    return box;
}

// The levels that the model finds for the box; inside: 255 where they lie in the picture.
cv::Mat Twin(const cv::Mat& luminance, const cv::Matx23d& model, const cv::Rect& box, cv::Mat& inside) {
    cv::Mat twin(box.size(), CV_32F, cv::Scalar(0));
    inside = cv::Mat::zeros(box.size(), CV_8U);
    if (IsWholeShift(model)) {
        const cv::Point shift(cvRound(model(0, 2)), cvRound(model(1, 2)));
        const cv::Rect moved = box + shift;
        const cv::Rect there = moved & cv::Rect(0, 0, luminance.cols, luminance.rows);
        if (there.empty()) return twin;
        const cv::Rect here = there - moved.tl();
        luminance(there).convertTo(twin(here), CV_32F);
        inside(here).setTo(255);
        return twin;
    }
    for (int y = 0; y < box.height; ++y) {
        float* target = twin.ptr<float>(y);
        std::uint8_t* mark = inside.ptr(y);
        for (int x = 0; x < box.width; ++x) {
            const cv::Point2d p = Apply(model, cv::Point2d(box.x + x, box.y + y));
            const int px = cvFloor(p.x);
            const int py = cvFloor(p.y);
            if (px < 0 || py < 0 || px + 1 >= luminance.cols || py + 1 >= luminance.rows) continue;
            const double fx = p.x - px;
            const double fy = p.y - py;
            const std::uint8_t* upper = luminance.ptr(py) + px;
            const std::uint8_t* lower = luminance.ptr(py + 1) + px;
            target[x] = static_cast<float>((1 - fy) * ((1 - fx) * upper[0] + fx * upper[1]) +
                                           fy * ((1 - fx) * lower[0] + fx * lower[1]));
            mark[x] = 255;
        }
    }
    return twin;
}

cv::Mat Mean(const cv::Mat& values) {
    cv::Mat mean;
    cv::boxFilter(values, mean, CV_32F, cv::Size(kWindow, kWindow));
    return mean;
}

cv::Mat LocalCorrelation(const cv::Mat& a, const cv::Mat& b) {
    const cv::Mat meanA = Mean(a);
    const cv::Mat meanB = Mean(b);
    const cv::Mat varianceA = Mean(a.mul(a)) - meanA.mul(meanA);
    const cv::Mat varianceB = Mean(b.mul(b)) - meanB.mul(meanB);
    const cv::Mat covariance = Mean(a.mul(b)) - meanA.mul(meanB);
    cv::Mat correlation(a.size(), CV_32F, cv::Scalar(0));
    constexpr float kLeast = static_cast<float>(kLeastDeviation * kLeastDeviation);
    for (int y = 0; y < a.rows; ++y) {
        for (int x = 0; x < a.cols; ++x) {
            const float va = varianceA.ptr<float>(y)[x];
            const float vb = varianceB.ptr<float>(y)[x];
            if (va < kLeast || vb < kLeast) continue;
            correlation.ptr<float>(y)[x] = covariance.ptr<float>(y)[x] / std::sqrt(va * vb);
        }
    }
    return correlation;
}

// Correlation of the finest detail within a mask.
double FineCorrelation(const cv::Mat& a, const cv::Mat& b, const cv::Mat& mask) {
    const auto detail = [](const cv::Mat& plane) {
        cv::Mat smooth;
        cv::GaussianBlur(plane, smooth, cv::Size(5, 5), 1.0);
        cv::Mat rest = plane - smooth;
        // Edges would outweigh everything else.
        cv::min(rest, 8.0, rest);
        cv::max(rest, -8.0, rest);
        return rest;
    };
    const cv::Mat da = detail(a);
    const cv::Mat db = detail(b);
    double aa = 0;
    double ab = 0;
    double bb = 0;
    for (int y = 0; y < a.rows; ++y) {
        for (int x = 0; x < a.cols; ++x) {
            if (mask.ptr(y)[x] == 0) continue;
            const double va = da.ptr<float>(y)[x];
            const double vb = db.ptr<float>(y)[x];
            aa += va * va;
            ab += va * vb;
            bb += vb * vb;
        }
    }
    return aa > 0 && bb > 0 ? ab / std::sqrt(aa * bb) : 0.0;
}

// The unexplained variance when the twin is displaced by 3 to 6 pixels, the least of all directions, against that when it is not.
double Distinctness(const cv::Mat& here, const cv::Mat& twin, const cv::Mat& mask) {
    constexpr int kNearest = 3;
    constexpr int kFarthest = 6;
    constexpr std::size_t kMostPoints = 6000;
    std::vector<cv::Point> points;
    cv::findNonZero(mask, points);
    const std::size_t step = points.size() / kMostPoints + 1;
    const cv::Rect whole(0, 0, here.cols, here.rows);
    const auto unexplained = [&](const cv::Point& aside) {
        double n = 0;
        double a = 0;
        double b = 0;
        double aa = 0;
        double ab = 0;
        double bb = 0;
        for (std::size_t i = 0; i < points.size(); i += step) {
            const cv::Point q = points[i] + aside;
            if (!whole.contains(q)) continue;
            const double va = here.at<float>(points[i]);
            const double vb = twin.at<float>(q);
            n += 1;
            a += va;
            b += vb;
            aa += va * va;
            ab += va * vb;
            bb += vb * vb;
        }
        const double spread = (aa - a * a / n) * (bb - b * b / n);
        if (!(n > 0) || !(spread > 0)) return 1.0;
        const double together = ab - a * b / n;
        return 1.0 - std::max(together, 0.0) * std::max(together, 0.0) / spread;
    };
    double least = 1.0;
    for (int y = -kFarthest; y <= kFarthest; ++y) {
        for (int x = -kFarthest; x <= kFarthest; ++x) {
            const int square = x * x + y * y;
            if (square >= kNearest * kNearest && square <= kFarthest * kFarthest)
                least = std::min(least, unexplained({x, y}));
        }
    }
    // A perfect twin leaves nothing: what rounding leaves of a level is the least there can be.
    return std::max(least / std::max(unexplained({0, 0}), 1e-4), 1.0);
}

// Of the pieces of the mask only those that hold a seed.
void KeepSeeded(cv::Mat& mask, const std::vector<cv::Point>& seeds, const cv::Point& origin) {
    cv::Mat labels;
    const int count = cv::connectedComponents(mask, labels, 8, CV_32S);
    std::vector<std::uint8_t> isSeeded(static_cast<std::size_t>(count), 0);
    const cv::Rect whole(0, 0, mask.cols, mask.rows);
    for (const cv::Point& seed : seeds) {
        const cv::Point p = seed - origin;
        if (whole.contains(p)) isSeeded[static_cast<std::size_t>(labels.at<int>(p))] = 255;
    }
    isSeeded[0] = 0;
    for (int y = 0; y < mask.rows; ++y)
        for (int x = 0; x < mask.cols; ++x)
            mask.ptr(y)[x] = isSeeded[static_cast<std::size_t>(labels.ptr<int>(y)[x])];
}

// The mask carried over by the model.
void CarryOver(const cv::Matx23d& model, const cv::Size& size, CopyCheck& check) {
    cv::Mat back;
    cv::invertAffineTransform(model, back);
    const cv::Matx23d inverse = back;
    std::vector<cv::Point2d> corners;
    for (const int x : {check.from.x, check.from.x + check.from.width - 1})
        for (const int y : {check.from.y, check.from.y + check.from.height - 1})
            corners.push_back(Apply(model, cv::Point2d(x, y)));
    double left = corners[0].x;
    double right = left;
    double top = corners[0].y;
    double bottom = top;
    for (const cv::Point2d& corner : corners) {
        left = std::min(left, corner.x);
        right = std::max(right, corner.x);
        top = std::min(top, corner.y);
        bottom = std::max(bottom, corner.y);
    }
    const auto limited = [](double value, int most) {
        return static_cast<int>(std::clamp(value, 0.0, static_cast<double>(most)));
    };
    const cv::Point first(limited(std::floor(left), size.width), limited(std::floor(top), size.height));
    const cv::Point end(limited(std::ceil(right) + 1, size.width),
                        limited(std::ceil(bottom) + 1, size.height));
    check.to = {first, end};
    check.toMask = cv::Mat::zeros(check.to.size(), CV_8U);
    for (int y = 0; y < check.to.height; ++y) {
        for (int x = 0; x < check.to.width; ++x) {
            const cv::Point2d p = Apply(inverse, cv::Point2d(check.to.x + x, check.to.y + y));
            const cv::Point nearest(cvRound(p.x) - check.from.x, cvRound(p.y) - check.from.y);
            if (cv::Rect(0, 0, check.from.width, check.from.height).contains(nearest))
                check.toMask.ptr(y)[x] = check.fromMask.at<std::uint8_t>(nearest);
        }
    }
}

}  // namespace

CopyCheck CheckCopy(const cv::Mat& luminance, const cv::Matx23d& model, const std::vector<cv::Point>& seeds,
                    const CopyCheckSettings& settings) {
    CV_Assert(luminance.type() == CV_8UC1 && !seeds.empty());
    CopyCheck check;
    const cv::Rect box = Around(seeds, settings, luminance.size());
    if (box.width < kWindow || box.height < kWindow) return check;
    cv::Mat here;
    luminance(box).convertTo(here, CV_32F);
    cv::Mat inside;
    const cv::Mat twin = Twin(luminance, model, box, inside);

    // Distances grow and shrink linearly over the box, so they are looked at pixel by pixel.
    cv::Mat mask = cv::Mat::zeros(box.size(), CV_8U);
    const cv::Mat correlation = LocalCorrelation(here, twin);
    const double leastSquare = static_cast<double>(settings.leastDistance) * settings.leastDistance;
    for (int y = 0; y < box.height; ++y) {
        for (int x = 0; x < box.width; ++x) {
            if (inside.ptr(y)[x] == 0 || correlation.ptr<float>(y)[x] < settings.leastCorrelation) continue;
            const cv::Point2d p(box.x + x, box.y + y);
            const cv::Point2d way = Apply(model, p) - p;
            if (way.dot(way) >= leastSquare) mask.ptr(y)[x] = 255;
        }
    }
    cv::morphologyEx(mask, mask, cv::MORPH_OPEN, cv::Mat::ones(kOpening, kOpening, CV_8U));
    KeepSeeded(mask, seeds, box.tl());
    check.area = cv::countNonZero(mask);
    if (check.area < settings.leastArea) return check;

    check.similarity = cv::mean(correlation, mask)[0];
    check.fineSimilarity = FineCorrelation(here, twin, mask);
    check.distinctness = Distinctness(here, twin, mask);
    // At the rim of a copy half of the window belongs to what is not copied, so agreement ends before the copy does.
    cv::dilate(mask, mask,
               cv::getStructuringElement(cv::MORPH_ELLIPSE, cv::Size(2 * kRim + 1, 2 * kRim + 1)));
    mask &= inside;
    check.area = cv::countNonZero(mask);
    std::vector<cv::Point> points;
    cv::findNonZero(mask, points);
    const cv::Rect tight = cv::boundingRect(points);
    check.from = tight + box.tl();
    check.fromMask = mask(tight).clone();
    const cv::Moments moments = cv::moments(mask, true);
    check.centre = cv::Point2d(box.x + moments.m10 / moments.m00, box.y + moments.m01 / moments.m00);
    CarryOver(model, luminance.size(), check);
    check.isFound = !check.to.empty();
    return check;
}

double RotationOf(const cv::Matx23d& m) {
    return std::atan2(m(1, 0) - m(0, 1), m(0, 0) + m(1, 1)) * 180.0 / std::numbers::pi;
}

double ScaleOf(const cv::Matx23d& m) {
    return std::sqrt(std::abs(m(0, 0) * m(1, 1) - m(0, 1) * m(1, 0)));
}

bool AddPair(const CopyCheck& check, const cv::Matx23d& model, CopyMoveResult& result) {
    if (!check.isFound || result.pairs.size() >= 255) return false;
    if (check.distinctness < kLeastDistinctness) {
        ++result.ambiguous;
        return false;
    }
    const cv::Mat fromMap = result.map(check.from);
    // Already there: most of it belongs to one earlier pair that takes its middle to the same place.
    for (std::size_t i = 0; i < result.pairs.size(); ++i) {
        const CopiedPair& pair = result.pairs[i];
        const int number = static_cast<int>(i) + 1;
        const int shared = cv::countNonZero((fromMap == number) & check.fromMask);
        const cv::Point2d way = Apply(pair.model, check.centre) - Apply(model, check.centre);
        if (2 * shared > check.area && way.dot(way) < 64.0) return false;
        // Or the same pair seen from its other side.
        const cv::Point2d home = Apply(pair.model, Apply(model, check.centre)) - check.centre;
        if (2 * shared > check.area && home.dot(home) < 64.0) return false;
    }
    CopiedPair pair;
    pair.model = model;
    pair.from = check.from;
    pair.to = check.to;
    pair.fromCentre = check.centre;
    pair.toCentre = Apply(model, check.centre);
    pair.rotation = RotationOf(model);
    pair.scale = ScaleOf(model);
    pair.area = check.area;
    if (const cv::Rect both = check.from & check.to; !both.empty())
        pair.overlap = static_cast<double>(cv::countNonZero(check.fromMask(both - check.from.tl()) &
                                                            check.toMask(both - check.to.tl()))) /
                       check.area;
    pair.similarity = check.similarity;
    pair.fineSimilarity = check.fineSimilarity;
    pair.distinctness = check.distinctness;
    result.pairs.push_back(pair);
    const cv::Scalar number(static_cast<double>(result.pairs.size()));
    cv::Mat target = result.map(check.from);
    target.setTo(number, check.fromMask & (target == 0));
    target = result.map(check.to);
    target.setTo(number, check.toMask & (target == 0));
    return true;
}

bool IsRepetitive(const std::vector<CopiedPair>& pairs) {
    if (pairs.size() >= kPatternPairs) return true;
    for (const CopiedPair& one : pairs) {
        if (one.overlap >= kPatternOverlap) return true;
        for (const CopiedPair& other : pairs) {
            // Turned either way: which twin comes first says nothing.
            const cv::Point2d shift = one.toCentre - one.fromCentre;
            const cv::Point2d longer = other.toCentre - other.fromCentre;
            const double lengths = std::sqrt(longer.dot(longer) / shift.dot(shift));
            const double times = std::round(lengths);
            if (times < 2 || times > 8) continue;
            const cv::Point2d same = longer - times * shift;
            const cv::Point2d turned = longer + times * shift;
            if (std::min(same.dot(same), turned.dot(turned)) <= 2.0 * 2.0) return true;
        }
    }
    return false;
}

double Log10Tail(double successes, double trials, double p) {
    if (trials <= 0 || successes <= trials * p) return 0.0;
    if (p <= 0) return -std::numeric_limits<double>::infinity();
    const double share = std::min(successes / trials, 1.0);
    const double against = share < 1.0 ? (1.0 - share) * std::log((1.0 - share) / (1.0 - p)) : 0.0;
    return -trials * (share * std::log(share / p) + against) / std::numbers::ln10;
}
