#include "orvcore/analysis/principalcomponents.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "orvcore/analysis/pixelrows.h"
#include "zorbase/zorexception.h"

namespace {

constexpr int kStripRows = 64;

// Sums of R, G, B and of their products.
struct Sums {
    std::array<double, 3> first{};
    std::array<double, 6> second{};  // RR RG RB GG GB BB

    void Add(double r, double g, double b) {
        first[0] += r;
        first[1] += g;
        first[2] += b;
        second[0] += r * r;
        second[1] += r * g;
        second[2] += r * b;
        second[3] += g * g;
        second[4] += g * b;
        second[5] += b * b;
    }
    void Add(const Sums& other) {
        for (std::size_t i = 0; i < first.size(); ++i) first[i] += other.first[i];
        for (std::size_t i = 0; i < second.size(); ++i) second[i] += other.second[i];
    }
};

template <typename Value>
cv::Mat MapColours(const cv::Mat& picture, const AnalysisProgress& progress, const Value& value) {
    CheckPicture(picture);
    cv::Mat map(picture.size(), CV_32F);
    ForEachStrip(picture.rows, kStripRows, progress, [&](int first, int end) {
        const cv::Mat colours = FloatColour(picture.rowRange(first, end));
        for (int y = 0; y < colours.rows; ++y) {
            const cv::Vec3f* colour = colours.ptr<cv::Vec3f>(y);
            float* target = map.ptr<float>(first + y);
            for (int x = 0; x < colours.cols; ++x)
                target[x] = value(colour[x][2], colour[x][1], colour[x][0]);
        }
    });
    return map;
}

struct Axis {
    std::array<float, 3> mean{};
    std::array<float, 3> vector{};
};

Axis AxisOf(const ColourAxes& axes, int component) {
    if (component < 0 || component > 2) ZOR_THROW(Argument, "Colours have the principal components 0 to 2.");
    Axis axis;
    for (std::size_t c = 0; c < 3; ++c) {
        axis.mean[c] = static_cast<float>(axes.mean[c]);
        axis.vector[c] = static_cast<float>(axes.vectors[static_cast<std::size_t>(component)][c]);
    }
    return axis;
}

}  // namespace

ColourAxes FindColourAxes(const cv::Mat& picture, const AnalysisProgress& progress) {
    CheckPicture(picture);
    std::vector<Sums> sums(static_cast<std::size_t>((picture.rows + kStripRows - 1) / kStripRows));
    ForEachStrip(picture.rows, kStripRows, progress, [&](int first, int end) {
        const cv::Mat colours = FloatColour(picture.rowRange(first, end));
        Sums& strip = sums[static_cast<std::size_t>(first / kStripRows)];
        for (int y = 0; y < colours.rows; ++y) {
            const cv::Vec3f* colour = colours.ptr<cv::Vec3f>(y);
            for (int x = 0; x < colours.cols; ++x) strip.Add(colour[x][2], colour[x][1], colour[x][0]);
        }
    });
    Sums all;
    for (const Sums& strip : sums) all.Add(strip);

    ColourAxes axes;
    const double pixels = static_cast<double>(picture.total());
    for (std::size_t c = 0; c < 3; ++c) axes.mean[c] = all.first[c] / pixels;
    const auto covariance = [&](std::size_t product, std::size_t a, std::size_t b) {
        return all.second[product] / pixels - axes.mean[a] * axes.mean[b];
    };
    const double rg = covariance(1, 0, 1);
    const double rb = covariance(2, 0, 2);
    const double gb = covariance(4, 1, 2);
    const cv::Matx33d matrix(covariance(0, 0, 0), rg, rb, rg, covariance(3, 1, 1), gb, rb, gb,
                             covariance(5, 2, 2));
    cv::Vec3d values;
    cv::Matx33d vectors;
    cv::eigen(matrix, values, vectors);
    double total = 0;
    for (std::size_t i = 0; i < 3; ++i) {
        const int row = static_cast<int>(i);
        axes.eigenvalues[i] = std::max(values[row], 0.0);
        total += axes.eigenvalues[i];
        int largest = 0;
        for (int c = 1; c < 3; ++c)
            if (std::abs(vectors(row, c)) > std::abs(vectors(row, largest)) + 1e-9) largest = c;
        const double sign = vectors(row, largest) < 0 ? -1.0 : 1.0;
        for (int c = 0; c < 3; ++c) axes.vectors[i][static_cast<std::size_t>(c)] = sign * vectors(row, c);
    }
    for (std::size_t i = 0; i < 3 && total > 0; ++i) axes.share[i] = axes.eigenvalues[i] / total;
    return axes;
}

cv::Mat ProjectOnAxis(const cv::Mat& picture, const ColourAxes& axes, int component,
                      const AnalysisProgress& progress) {
    const auto [mean, vector] = AxisOf(axes, component);
    return MapColours(picture, progress, [mean = mean, vector = vector](float r, float g, float b) {
        return (r - mean[0]) * vector[0] + (g - mean[1]) * vector[1] + (b - mean[2]) * vector[2];
    });
}

cv::Mat DistanceFromAxis(const cv::Mat& picture, const ColourAxes& axes, int component,
                         const AnalysisProgress& progress) {
    const auto [mean, vector] = AxisOf(axes, component);
    return MapColours(picture, progress, [mean = mean, vector = vector](float r, float g, float b) {
        r -= mean[0];
        g -= mean[1];
        b -= mean[2];
        const float along = r * vector[0] + g * vector[1] + b * vector[2];
        r -= along * vector[0];
        g -= along * vector[1];
        b -= along * vector[2];
        return std::sqrt(r * r + g * g + b * b);
    });
}
