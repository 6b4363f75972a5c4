#include "orvcore/analysis/chromaticaberration.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <opencv2/imgproc.hpp>

#include "zorbase/zorexception.h"

namespace {

constexpr int kWindow = 64;
constexpr int kStep = 32;
constexpr int kContext = 4;  // of smoothing and gradient
constexpr int kLeastSide = 128;
constexpr std::size_t kLeastWindows = 12;
constexpr int kRounds = 12;
constexpr double kLargest = 3.0;  // pixels

struct Measured {
    bool isUsable = false;
    double dx = 0.0, dy = 0.0;
    double variance = 1.0;  // of dx and dy, from the regression
};

// Planes of one row of windows.
struct Strip {
    cv::Mat green, gradientX, gradientY;
    std::array<cv::Mat, 2> colours;  // red, blue
    cv::Mat saturated;               // of any channel
};

Strip MakeStrip(const cv::Mat& image, int firstRow) {
    const int from = std::max(firstRow - kContext, 0);
    const int to = std::min(firstRow + kWindow + kContext, image.rows);
    std::vector<cv::Mat> planes;
    cv::split(image.rowRange(from, to), planes);
    Strip strip;
    cv::Mat lowest = cv::min(planes[0], cv::min(planes[1], planes[2]));
    cv::Mat highest = cv::max(planes[0], cv::max(planes[1], planes[2]));
    const cv::Range rows(firstRow - from, firstRow - from + kWindow);
    strip.saturated = cv::Mat((lowest < 2) | (highest > 253)).rowRange(rows);
    const auto smooth = [](const cv::Mat& plane) {
        cv::Mat result;
        plane.convertTo(result, CV_32F, 1.0 / 255);
        cv::GaussianBlur(result, result, {7, 7}, 1.0, 1.0, cv::BORDER_REFLECT_101);
        return result;
    };
    const cv::Mat green = smooth(planes[1]);
    const cv::Mat kernel = (cv::Mat_<float>(1, 3) << -0.5, 0, 0.5);
    cv::Mat gradientX, gradientY;
    cv::filter2D(green, gradientX, CV_32F, kernel, {-1, -1}, 0.0, cv::BORDER_REFLECT_101);
    cv::filter2D(green, gradientY, CV_32F, kernel.t(), {-1, -1}, 0.0, cv::BORDER_REFLECT_101);
    strip.green = green.rowRange(rows);
    strip.gradientX = gradientX.rowRange(rows);
    strip.gradientY = gradientY.rowRange(rows);
    strip.colours = {smooth(planes[2]).rowRange(rows), smooth(planes[0]).rowRange(rows)};
    return strip;
}

Measured MeasureWindow(const Strip& strip, std::size_t colour, int x0) {
    Measured measured;
    const cv::Rect window(x0, 0, kWindow, kWindow);
    constexpr double n = kWindow * kWindow;
    if (cv::countNonZero(strip.saturated(window)) > 0.02 * n) return measured;
    // Sums of products of 1, G, Gx, Gy and C.
    double g = 0, gx = 0, gy = 0, c = 0, gg = 0, ggx = 0, ggy = 0, gxx = 0, gxy = 0, gyy = 0, cg = 0, cgx = 0,
           cgy = 0, cc = 0;
    for (int y = 0; y < kWindow; ++y) {
        const float* green = strip.green.ptr<float>(y) + x0;
        const float* dx = strip.gradientX.ptr<float>(y) + x0;
        const float* dy = strip.gradientY.ptr<float>(y) + x0;
        const float* value = strip.colours[colour].ptr<float>(y) + x0;
        float row[14] = {};
        for (int x = 0; x < kWindow; ++x) {
            const float terms[14] = {green[x],
                                     dx[x],
                                     dy[x],
                                     value[x],
                                     green[x] * green[x],
                                     green[x] * dx[x],
                                     green[x] * dy[x],
                                     dx[x] * dx[x],
                                     dx[x] * dy[x],
                                     dy[x] * dy[x],
                                     value[x] * green[x],
                                     value[x] * dx[x],
                                     value[x] * dy[x],
                                     value[x] * value[x]};
            for (int i = 0; i < 14; ++i) row[i] += terms[i];
        }
        g += row[0], gx += row[1], gy += row[2], c += row[3], gg += row[4], ggx += row[5], ggy += row[6];
        gxx += row[7], gxy += row[8], gyy += row[9], cg += row[10], cgx += row[11], cgy += row[12],
            cc += row[13];
    }
    const double middle = (gxx + gyy) / 2;
    const double spread = std::sqrt((gxx - gyy) * (gxx - gyy) / 4 + gxy * gxy);
    if (middle - spread <= 1.0) return measured;
    const cv::Matx44d normal(n, g, gx, gy, g, gg, ggx, ggy, gx, ggx, gxx, gxy, gy, ggy, gxy, gyy);
    const cv::Vec4d right(c, cg, cgx, cgy);
    bool isSolved = false;
    const cv::Matx44d inverse = normal.inv(cv::DECOMP_LU, &isSolved);
    if (!isSolved) return measured;
    const cv::Vec4d fit = inverse * right;
    const double residual = std::max(cc - fit.dot(right), 0.0);
    const double total = cc - c * c / n;
    const double scale = fit[1];
    if (total <= 0.0 || 1.0 - residual / total <= 0.8 || scale <= 0.2 || scale >= 3.0) return measured;
    // C(p) = s G(p - d): the gradient's coefficients are -s d.
    measured.dx = -fit[2] / scale;
    measured.dy = -fit[3] / scale;
    if (std::hypot(measured.dx, measured.dy) >= kLargest) return measured;
    const double noise = residual / n / (scale * scale);
    measured.variance = noise * (inverse(2, 2) + inverse(3, 3)) / 2 + 1e-4;
    measured.isUsable = true;
    return measured;
}

struct Place {
    cv::Point2d fromMiddle;
    Measured measured;
};

struct Model {
    double a = 0.0, b = 0.0, c = 0.0;  // dx = a X + b, dy = a Y + c
    double rms = 0.0;
    cv::Point2d At(cv::Point2d p) const { return {a * p.x + b, a * p.y + c}; }
};

// Weighted least squares; weights fall with the distance as a Cauchy distribution's.
Model FitModel(const std::vector<Place>& places) {
    Model model;
    std::vector<double> robust(places.size(), 1.0);
    for (int round = 0; round < kRounds; ++round) {
        cv::Matx33d normal = cv::Matx33d::zeros();
        cv::Vec3d right(0, 0, 0);
        for (std::size_t i = 0; i < places.size(); ++i) {
            const double w = robust[i] / places[i].measured.variance;
            const double x = places[i].fromMiddle.x;
            const double y = places[i].fromMiddle.y;
            normal(0, 0) += w * (x * x + y * y);
            normal(0, 1) += w * x;
            normal(0, 2) += w * y;
            normal(1, 1) += w;
            right[0] += w * (x * places[i].measured.dx + y * places[i].measured.dy);
            right[1] += w * places[i].measured.dx;
            right[2] += w * places[i].measured.dy;
        }
        normal(2, 2) = normal(1, 1);
        normal(1, 0) = normal(0, 1);
        normal(2, 0) = normal(0, 2);
        const cv::Vec3d fit = normal.inv(cv::DECOMP_SVD) * right;
        model.a = fit[0];
        model.b = fit[1];
        model.c = fit[2];
        std::vector<double> distances;
        double sum = 0.0;
        double weights = 0.0;
        for (std::size_t i = 0; i < places.size(); ++i) {
            const cv::Point2d expected = model.At(places[i].fromMiddle);
            const double distance =
                std::hypot(places[i].measured.dx - expected.x, places[i].measured.dy - expected.y);
            const double w = robust[i] / places[i].measured.variance;
            sum += w * distance * distance;
            weights += w;
            distances.push_back(distance / std::sqrt(places[i].measured.variance));
        }
        model.rms = std::sqrt(sum / weights);
        std::vector<double> sorted = distances;
        const auto half = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
        std::nth_element(sorted.begin(), half, sorted.end());
        const double width = std::max(2.385 * 1.4826 * *half, 1e-6);
        for (std::size_t i = 0; i < places.size(); ++i)
            robust[i] = 1.0 / (1.0 + distances[i] / width * (distances[i] / width));
    }
    return model;
}

void FindDeviating(AberrationOfColour& colour) {
    constexpr int kCells = 256 / kStep - 1;  // windows of 64 pixels that lie within 256
    const AnalysisMap& map = colour.deviation;
    for (int y = 0; y + kCells <= map.values.rows; ++y) {
        for (int x = 0; x + kCells <= map.values.cols; ++x) {
            const cv::Rect area(x, y, kCells, kCells);
            if (cv::countNonZero(map.known(area)) < 4) continue;
            const double mean = cv::mean(map.values(area), map.known(area))[0];
            if (mean <= colour.largestDeviation) continue;
            colour.largestDeviation = mean;
            colour.deviating = cv::Rect(x * kStep, y * kStep, 256, 256);
        }
    }
}

}  // namespace

ChromaticAberrationResult ComputeChromaticAberration(const cv::Mat& image, const AnalysisProgress& progress) {
    if (image.type() != CV_8UC3 || image.cols < kLeastSide || image.rows < kLeastSide) {
        ZOR_THROW(Argument,
                  "Chromatic aberration needs a colour picture of 8 bits and at least 128 x 128 pixels.");
    }
    const cv::Size cells((image.cols - kWindow) / kStep + 1, (image.rows - kWindow) / kStep + 1);
    std::array<std::vector<Measured>, 2> measured;
    for (auto& list : measured) list.resize(static_cast<std::size_t>(cells.area()));
    const auto at = [&](int x, int y) {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(cells.width) +
               static_cast<std::size_t>(x);
    };
    ForEachPiece(cells.height, progress, [&](int y) {
        const Strip strip = MakeStrip(image, y * kStep);
        for (int x = 0; x < cells.width; ++x)
            for (std::size_t colour = 0; colour < 2; ++colour)
                measured[colour][at(x, y)] = MeasureWindow(strip, colour, x * kStep);
    });
    ChromaticAberrationResult result;
    const cv::Point2d middle((image.cols - 1) / 2.0, (image.rows - 1) / 2.0);
    for (std::size_t i = 0; i < 2; ++i) {
        AberrationOfColour& colour = result.colours[i];
        colour.deviation.cell = {kStep, kStep};
        colour.deviation.origin = {(kWindow - kStep) / 2, (kWindow - kStep) / 2};
        colour.deviation.values = cv::Mat::zeros(cells, CV_32F);
        colour.deviation.known = cv::Mat::zeros(cells, CV_8U);
        std::vector<Place> places;
        const auto positionOf = [](int x, int y) {
            return cv::Point(x * kStep + kWindow / 2, y * kStep + kWindow / 2);
        };
        for (int y = 0; y < cells.height; ++y) {
            for (int x = 0; x < cells.width; ++x) {
                if (!measured[i][at(x, y)].isUsable) continue;
                const cv::Point2d position(positionOf(x, y).x - 0.5, positionOf(x, y).y - 0.5);
                places.push_back({position - middle, measured[i][at(x, y)]});
            }
        }
        if (places.size() < kLeastWindows) continue;
        const Model model = FitModel(places);
        colour.isFitted = true;
        colour.alpha = 1.0 + model.a;
        colour.rms = model.rms;
        const double a = std::abs(model.a) > 1e-9 ? model.a : 1e-9;
        colour.centre = middle + cv::Point2d(-model.b / a, -model.c / a);
        for (const double sx : {-1.0, 1.0})
            for (const double sy : {-1.0, 1.0})
                colour.atCorner =
                    std::max(colour.atCorner, cv::norm(model.At({sx * middle.x, sy * middle.y})));
        for (int y = 0; y < cells.height; ++y) {
            for (int x = 0; x < cells.width; ++x) {
                const Measured& window = measured[i][at(x, y)];
                if (!window.isUsable) continue;
                const cv::Point position = positionOf(x, y);
                const cv::Point2d expected =
                    model.At(cv::Point2d(position.x - 0.5, position.y - 0.5) - middle);
                colour.windows.push_back({position, static_cast<float>(window.dx),
                                          static_cast<float>(window.dy), static_cast<float>(expected.x),
                                          static_cast<float>(expected.y)});
                const double distance = std::hypot(window.dx - expected.x, window.dy - expected.y);
                colour.deviation.values.at<float>(y, x) = static_cast<float>(std::min(distance, kLargest));
                colour.deviation.known.at<std::uint8_t>(y, x) = 255;
            }
        }
        FindDeviating(colour);
    }
    return result;
}

AnalysisDecision DecideChromaticAberration(const ChromaticAberrationResult& result) {
    AnalysisDecision decision;
    const bool isFitted = result.colours[0].isFitted || result.colours[1].isFitted;
    if (!isFitted) {
        decision.text =
            "Too few windows with edges in two directions: no displacement of colours could be measured.";
        return decision;
    }
    decision.measured = std::max(result.colours[0].largestDeviation, result.colours[1].largestDeviation);
    const bool isFound = decision.measured > kAberrationHint;
    decision.finding = isFound ? Finding::WorthALook : Finding::Nothing;
    decision.text = isFound ? "Colours of a part are displaced otherwise than the lens displaces the rest."
                            : "No part departs from one lens by more than untouched pictures do.";
    return decision;
}
