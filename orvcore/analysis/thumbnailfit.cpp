#include "orvcore/analysis/thumbnailfit.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "orvcore/analysis/alignment.h"
#include "zorbase/zorexception.h"

namespace {

constexpr int kLeastSide = 16;
constexpr int kLargestSide = 640;
constexpr int kCoarse = 80;           // longer side in which placings are tried
constexpr double kSmallestCut = 0.3;  // of the other picture's side
constexpr double kCutStep = 0.94;
constexpr double kPreferWhole = 0.04;  // a cut has to fit better than the whole by so much
constexpr double kMirrorFrom = 0.1;    // and a mirrored picture better than the others by so much
constexpr double kDarkBar = 24;        // levels
constexpr double kBarSpread = 6;
constexpr double kFlat = 12;  // levels: differences in flat parts count against this

cv::Mat Grey(const cv::Mat& picture) {
    if (picture.channels() == 1) return picture;
    cv::Mat grey;
    cv::cvtColor(picture, grey, cv::COLOR_BGR2GRAY);
    return grey;
}

cv::Mat Colour(const cv::Mat& picture) {
    if (picture.channels() == 3) return picture;
    cv::Mat colour;
    cv::cvtColor(picture, colour, cv::COLOR_GRAY2BGR);
    return colour;
}

cv::Mat Scaled(const cv::Mat& picture, cv::Size size) {
    size.width = std::max(1, size.width);
    size.height = std::max(1, size.height);
    if (size == picture.size()) return picture;
    cv::Mat scaled;
    cv::resize(picture, scaled, size, 0, 0,
               size.area() < picture.size().area() ? cv::INTER_AREA : cv::INTER_CUBIC);
    return scaled;
}

cv::Mat Turned(const cv::Mat& picture, int turn, bool isMirrored) {
    cv::Mat turned = picture;
    if (isMirrored) cv::flip(picture, turned, 1);
    if (turn == 0) return turned;
    cv::Mat result;
    cv::rotate(turned, result,
               turn == 90    ? cv::ROTATE_90_CLOCKWISE
               : turn == 180 ? cv::ROTATE_180
                             : cv::ROTATE_90_COUNTERCLOCKWISE);
    return result;
}

// How many lines at one end are dark and even.
int BarLines(const cv::Mat& grey, bool isRows, bool isFromEnd) {
    const int count = isRows ? grey.rows : grey.cols;
    int bars = 0;
    for (; bars < count / 3; ++bars) {
        const int i = isFromEnd ? count - 1 - bars : bars;
        cv::Scalar mean;
        cv::Scalar spread;
        cv::meanStdDev(isRows ? grey.row(i) : grey.col(i), mean, spread);
        if (mean[0] > kDarkBar || spread[0] > kBarSpread) break;
    }
    return bars;
}

// The picture without bars of nearly the same width at two opposite sides.
cv::Rect ContentOf(const cv::Mat& grey) {
    cv::Rect content({0, 0}, grey.size());
    for (const bool isRows : {true, false}) {
        const int first = BarLines(grey, isRows, false);
        const int last = BarLines(grey, isRows, true);
        if (first < 2 || last < 2 || std::abs(first - last) > 3) continue;
        // One more line at each side: coding blurs the edge.
        if (isRows) {
            content.y = first + 1;
            content.height -= first + last + 2;
        } else {
            content.x = first + 1;
            content.width -= first + last + 2;
        }
        break;
    }
    return content.width >= kLeastSide && content.height >= kLeastSide ? content
                                                                       : cv::Rect({0, 0}, grey.size());
}

double CorrelationOf(const cv::Mat& a, const cv::Mat& b) {
    cv::Mat result;
    cv::matchTemplate(a, b, result, cv::TM_CCOEFF_NORMED);
    const float value = result.at<float>(0, 0);
    return std::isfinite(value) ? std::clamp(static_cast<double>(value), -1.0, 1.0) : -1.0;
}

// Where a part of one lies in the other.
struct Placing {
    double score = -1;
    int turn = 0;
    bool isMirrored = false;
    cv::Rect2d shown{0, 0, 1, 1};
};

// Where the smaller one fits best in the larger one; constant pictures fit nowhere.
double BestMatch(const cv::Mat& larger, const cv::Mat& smaller, cv::Point& place) {
    cv::Scalar mean;
    cv::Scalar spread;
    cv::meanStdDev(smaller, mean, spread);
    if (spread[0] < 2) return -1;
    cv::Mat result;
    cv::matchTemplate(larger, smaller, result, cv::TM_CCOEFF_NORMED);
    cv::patchNaNs(result, -1);
    double best = -1;
    cv::minMaxLoc(result, nullptr, &best, nullptr, &place);
    return best > 1.001 ? -1 : best;  // windows without any contrast give nonsense
}

// main: turned and reduced; small: the content, reduced.
Placing BestPlacing(const cv::Mat& main, const cv::Mat& small) {
    Placing best;
    best.score = CorrelationOf(Scaled(main, small.size()), small) + kPreferWhole;
    const double aspect = static_cast<double>(main.rows) / main.cols;
    const auto width = static_cast<double>(small.cols);
    const auto height = static_cast<double>(small.rows);
    cv::Point place;
    for (double cut = 1; cut >= kSmallestCut; cut *= kCutStep) {
        // The small picture is a part of the main one.
        const double wide = std::max(width, height / aspect) / cut;
        const cv::Mat larger = Scaled(main, {cvRound(wide), cvRound(wide * aspect)});
        if (larger.cols >= small.cols && larger.rows >= small.rows) {
            const double score = BestMatch(larger, small, place);
            if (score > best.score)
                best = {
                    score,
                    0,
                    false,
                    {static_cast<double>(place.x) / larger.cols, static_cast<double>(place.y) / larger.rows,
                     width / larger.cols, height / larger.rows}};
        }
        // The main picture is a part of the small one.
        const double narrow = std::min(width, height / aspect) * cut;
        const cv::Mat part = Scaled(main, {cvRound(narrow), cvRound(narrow * aspect)});
        if (std::min(part.cols, part.rows) < kLeastSide || part.cols > small.cols || part.rows > small.rows)
            continue;
        const double score = BestMatch(small, part, place);
        if (score > best.score)
            best = {score,
                    0,
                    false,
                    {-static_cast<double>(place.x) / part.cols, -static_cast<double>(place.y) / part.rows,
                     width / part.cols, height / part.rows}};
    }
    return best;
}

Placing FindPlacing(const cv::Mat& main, const cv::Mat& small, const AnalysisProgress& progress) {
    const double scale = std::min(1.0, static_cast<double>(kCoarse) / std::max(small.cols, small.rows));
    const cv::Mat coarse = Scaled(small, {cvRound(small.cols * scale), cvRound(small.rows * scale)});
    const double half =
        std::min(1.0, 4.0 * kCoarse / std::max(main.cols, main.rows));  // room for the smallest cut
    const cv::Mat reduced = Scaled(main, {cvRound(main.cols * half), cvRound(main.rows * half)});
    Placing best;
    int tried = 0;
    for (const bool isMirrored : {false, true}) {
        if (isMirrored && best.score >= kThumbnailFound) break;
        for (const int turn : {0, 90, 180, 270}) {
            if (progress) progress(++tried / 8.0);
            Placing placing = BestPlacing(Turned(reduced, turn, isMirrored), coarse);
            if (placing.score <= best.score + (isMirrored && !best.isMirrored ? kMirrorFrom : 0.0)) continue;
            placing.turn = turn;
            placing.isMirrored = isMirrored;
            best = placing;
        }
    }
    return best;
}

// small = gain * main + offset over what is not masked, by least squares without what lies far off.
void FitLevels(const cv::Mat& main, const cv::Mat& small, const cv::Mat& mask, double& gain, double& offset) {
    gain = 1;
    offset = 0;
    double reach = 1e9;
    for (int round = 0; round < 6; ++round) {
        double n = 0;
        double x = 0;
        double y = 0;
        double xx = 0;
        double xy = 0;
        std::vector<double> misses;
        for (int row = 0; row < main.rows; ++row) {
            for (int col = 0; col < main.cols; ++col) {
                if (mask.ptr(row)[col] != 0) continue;
                const double a = main.ptr(row)[col];
                const double b = small.ptr(row)[col];
                const double miss = std::abs(b - gain * a - offset);
                misses.push_back(miss);
                if (miss > reach) continue;
                ++n;
                x += a;
                y += b;
                xx += a * a;
                xy += a * b;
            }
        }
        const double spread = n * xx - x * x;
        if (n < 64 || spread < n * n) return;
        gain = std::clamp((n * xy - x * y) / spread, 0.2, 5.0);
        offset = (y - gain * x) / n;
        const auto middle = misses.begin() + static_cast<std::ptrdiff_t>(misses.size() / 2);
        std::nth_element(misses.begin(), middle, misses.end());
        reach = std::max(4.0, 3.7 * *middle);
    }
}

// Windows that differ, of the luminances after the fit.
void CompareWindows(const cv::Mat& main, const cv::Mat& small, ThumbnailFit& fit) {
    cv::Mat a;
    cv::Mat b;
    main.convertTo(a, CV_32F, fit.gain, fit.offset);
    small.convertTo(b, CV_32F);
    cv::min(cv::max(a, 0), 255, a);
    cv::absdiff(a, b, fit.difference);
    fit.difference.setTo(0, fit.mask);
    const int used = static_cast<int>(fit.mask.total()) - cv::countNonZero(fit.mask);
    fit.meanDifference = used > 0 ? cv::sum(fit.difference)[0] / used : 0;
    int windows = 0;
    int changed = 0;
    constexpr int kStep = kThumbnailWindow / 4;
    for (int y = 0; y + kThumbnailWindow <= small.rows; y += kStep) {
        for (int x = 0; x + kThumbnailWindow <= small.cols; x += kStep) {
            const cv::Rect window(x, y, kThumbnailWindow, kThumbnailWindow);
            if (cv::countNonZero(fit.mask(window)) > 0) continue;
            cv::Scalar mean;
            cv::Scalar ours;
            cv::Scalar theirs;
            cv::meanStdDev(a(window), mean, ours);
            cv::meanStdDev(b(window), mean, theirs);
            const double squares = cv::norm(fit.difference(window), cv::NORM_L2SQR) / window.area();
            const double value = squares / (ours[0] * ours[0] + theirs[0] * theirs[0] + kFlat * kFlat + 1e-9);
            ++windows;
            if (value > kThumbnailChanged) ++changed;
            if (value <= fit.disagreement) continue;
            fit.disagreement = value;
            fit.worst = window;
        }
    }
    if (windows > 0) fit.changedShare = static_cast<double>(changed) / windows;
}

}  // namespace

ThumbnailFit FitThumbnail(const cv::Mat& main, const cv::Mat& small, const AnalysisProgress& progress) {
    for (const cv::Mat* picture : {&main, &small})
        if (picture->empty() || picture->depth() != CV_8U ||
            (picture->channels() != 1 && picture->channels() != 3))
            ZOR_THROW(Argument, "Only pictures of 8 bits with one or three channels are compared.");
    if (std::min({main.cols, main.rows, small.cols, small.rows}) < kLeastSide ||
        std::max(small.cols, small.rows) > kLargestSide)
        ZOR_THROW(Argument, "The pictures are too small, or the small one is too large, to be compared.");
    ThumbnailFit fit;
    const cv::Mat grey = Grey(small);
    fit.content = ContentOf(grey);
    const cv::Mat content = grey(fit.content);
    // The main picture in twice the small one's scale is enough for every step but the last.
    const double scale = std::min(1.0, 8.0 * kLargestSide / std::max(main.cols, main.rows));
    const cv::Mat reduced = Scaled(main, {cvRound(main.cols * scale), cvRound(main.rows * scale)});
    const Placing placing = FindPlacing(Grey(reduced), content, PartOf(progress, 0.0, 0.7));
    fit.turn = placing.turn;
    fit.isMirrored = placing.isMirrored;

    // The main picture in the small one's own scale, and moved until it fits best.
    const cv::Mat turned = Turned(reduced, fit.turn, fit.isMirrored);
    const cv::Size size(std::clamp(cvRound(content.cols / placing.shown.width), 1, 4 * kLargestSide),
                        std::clamp(cvRound(content.rows / placing.shown.height), 1, 4 * kLargestSide));
    const cv::Mat scaled = Colour(Scaled(turned, size));
    const cv::Mat scaledGrey = Grey(scaled);
    const double right = content.cols / placing.shown.width / size.width;
    const double down = content.rows / placing.shown.height / size.height;
    cv::Matx33d model(right, 0, -placing.shown.x * size.width * right + (right - 1) / 2, 0, down,
                      -placing.shown.y * size.height * down + (down - 1) / 2, 0, 0, 1);
    const double before = CorrelationUnder(content, scaledGrey, model, 0.05);
    const Alignment aligned = Align(content, scaledGrey, model, Freedom::Affine, PartOf(progress, 0.7, 0.95));
    const bool isNear = std::abs(aligned.model(0, 0) - 1) < 0.1 && std::abs(aligned.model(1, 1) - 1) < 0.1 &&
                        std::abs(aligned.model(0, 1)) < 0.05 && std::abs(aligned.model(1, 0)) < 0.05;
    if (isNear && aligned.correlation >= before) model = aligned.model;
    const cv::Matx33d back = model.inv();

    // Over the whole small picture, bars included.
    const cv::Matx33d whole = back * cv::Matx33d(1, 0, -fit.content.x, 0, 1, -fit.content.y, 0, 0, 1);
    cv::warpPerspective(scaled, fit.main, whole, small.size(), cv::INTER_CUBIC | cv::WARP_INVERSE_MAP,
                        cv::BORDER_CONSTANT);
    const cv::Mat all(scaled.size(), CV_8U, cv::Scalar(255));
    cv::Mat covered;
    cv::warpPerspective(all, covered, whole, small.size(), cv::INTER_LINEAR | cv::WARP_INVERSE_MAP,
                        cv::BORDER_CONSTANT);
    fit.mask = cv::Mat(small.size(), CV_8U, cv::Scalar(255));
    fit.mask(fit.content).setTo(0, covered(fit.content) == 255);
    const cv::Vec3d first = back * cv::Vec3d(-0.5, -0.5, 1);
    const cv::Vec3d end = back * cv::Vec3d(content.cols - 0.5, content.rows - 0.5, 1);
    fit.shown = {(first[0] + 0.5) / size.width, (first[1] + 0.5) / size.height,
                 (end[0] - first[0]) / size.width, (end[1] - first[1]) / size.height};

    const cv::Mat mainGrey = Grey(fit.main);
    double n = 0;
    cv::Scalar sums[2];
    cv::Scalar spreads[2];
    cv::Mat used;
    cv::bitwise_not(fit.mask, used);
    n = cv::countNonZero(used);
    if (n >= 64) {
        cv::meanStdDev(mainGrey, sums[0], spreads[0], used);
        cv::meanStdDev(grey, sums[1], spreads[1], used);
        double together = 0;
        for (int row = 0; row < grey.rows; ++row)
            for (int col = 0; col < grey.cols; ++col)
                if (used.ptr(row)[col] != 0)
                    together += (mainGrey.ptr(row)[col] - sums[0][0]) * (grey.ptr(row)[col] - sums[1][0]);
        const double both = spreads[0][0] * spreads[1][0] * n;
        fit.correlation = both > 1e-6 ? together / both : -1;
    }
    fit.isFound = fit.correlation >= kThumbnailFound;
    FitLevels(mainGrey, grey, fit.mask, fit.gain, fit.offset);
    CompareWindows(mainGrey, grey, fit);
    if (progress) progress(1.0);
    return fit;
}
