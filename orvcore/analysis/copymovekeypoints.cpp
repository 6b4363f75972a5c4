#include "orvcore/analysis/copymovekeypoints.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <opencv2/imgproc.hpp>

#include "orvcore/analysis/copymoveregions.h"
#include "orvcore/analysis/keypoints.h"
#include "orvcore/analysis/pixelrows.h"

namespace {

constexpr std::size_t kLeastKeypoints = 8;
constexpr int kMostModels = 24;
constexpr double kTolerance = 3.0;
constexpr double kReach = 400.0;
constexpr std::size_t kMostMatches = 20000;
constexpr double kSignInliers = 30;
constexpr double kSignDistinctness = 5.0;
constexpr int kCell = 16;
constexpr double kDarkest = 4;
constexpr double kBrightest = 251;

// Cells with no keypoint in or beside them say nothing.
void MarkBlind(const Keypoints& keypoints, const cv::Mat& luminance, CopyMoveResult& result) {
    const cv::Size cells((luminance.cols + kCell - 1) / kCell, (luminance.rows + kCell - 1) / kCell);
    cv::Mat seen = cv::Mat::zeros(cells, CV_8U);
    for (const Keypoint& point : keypoints.points)
        seen.at<std::uint8_t>(static_cast<int>(point.at.y) / kCell, static_cast<int>(point.at.x) / kCell) =
            255;
    cv::dilate(seen, seen, cv::Mat::ones(3, 3, CV_8U));
    std::int64_t saturated = 0;
    std::int64_t blind = 0;
    for (int row = 0; row < cells.height; ++row) {
        for (int column = 0; column < cells.width; ++column) {
            if (seen.at<std::uint8_t>(row, column) != 0) continue;
            const cv::Rect cell =
                cv::Rect(column * kCell, row * kCell, kCell, kCell) & cv::Rect(cv::Point(), luminance.size());
            result.mask(cell).setTo(255);
            blind += cell.area();
            const double mean = cv::mean(luminance(cell))[0];
            if (mean < kDarkest || mean > kBrightest) saturated += cell.area();
        }
    }
    const double all = static_cast<double>(luminance.total());
    result.blindShare = static_cast<double>(blind) / all;
    result.saturatedShare = static_cast<double>(saturated) / all;
    result.smoothShare = static_cast<double>(blind - saturated) / all;
}

}  // namespace

CopyMoveResult FindCopiedKeypoints(const cv::Mat& picture, const CopyMoveKeypointsSettings& settings,
                                   const AnalysisProgress& progress) {
    CopyMoveResult result = BeginCopySearch(picture);
    if (!result.whyNot.empty()) return result;
    const cv::Mat luminance = RoundedLuminance(picture, PartOf(progress, 0.0, 0.03));
    const Keypoints keypoints = FindKeypoints(luminance, {}, PartOf(progress, 0.03, 0.5));
    MarkBlind(keypoints, luminance, result);
    if (keypoints.points.size() < kLeastKeypoints) {
        result.whyNot = "The picture is too smooth: it has hardly any keypoints.";
        return result;
    }
    result.isApplicable = true;
    result.isCut = keypoints.isCut;
    const double distance = std::clamp(settings.leastDistance, 16, 512);
    std::vector<KeypointMatch> matches =
        MatchWithin(keypoints, distance, std::clamp(settings.ratio, 0.3, 0.95), PartOf(progress, 0.5, 0.85));
    if (matches.size() > kMostMatches) {
        result.isCut = true;
        std::stable_sort(matches.begin(), matches.end(), [](const KeypointMatch& a, const KeypointMatch& b) {
            return a.distance < b.distance;
        });
        matches.resize(kMostMatches);
    }
    std::vector<cv::Point2d> from;
    std::vector<cv::Point2d> to;
    std::vector<cv::Matx23d> guesses;
    for (const KeypointMatch& match : matches) {
        const Keypoint* first = &keypoints.points[static_cast<std::size_t>(match.first)];
        const Keypoint* second = &keypoints.points[static_cast<std::size_t>(match.second)];
        // Of the two directions the one that leads downwards, so that all matches of a pair agree.
        if (second->at.y < first->at.y || (second->at.y == first->at.y && second->at.x < first->at.x))
            std::swap(first, second);
        from.emplace_back(first->at);
        to.emplace_back(second->at);
        guesses.push_back(SimilarityOf(*first, *second));
    }
    std::vector<std::uint8_t> used(matches.size(), 0);
    CopyCheckSettings check;
    check.leastDistance = static_cast<int>(distance);
    const double places = static_cast<double>(luminance.total());
    const double byChance = std::min(std::numbers::pi * kTolerance * kTolerance / places, 0.5);
    const auto least = static_cast<std::size_t>(std::clamp(settings.leastInliers, 4, 1000));
    for (int i = 0; i < kMostModels; ++i) {
        if (progress) progress(0.85 + 0.15 * i / kMostModels);
        const AffineFit fit = FitAffine(from, to, guesses, used, kTolerance, kReach);
        if (fit.inliers.size() < least) break;
        ++result.candidates;
        std::vector<cv::Point> seeds;
        for (const int inlier : fit.inliers) {
            used[static_cast<std::size_t>(inlier)] = 1;
            seeds.emplace_back(cvRound(from[static_cast<std::size_t>(inlier)].x),
                               cvRound(from[static_cast<std::size_t>(inlier)].y));
        }
        if (!AddPair(CheckCopy(luminance, fit.model, seeds, check), fit.model, result)) continue;
        CopiedPair& pair = result.pairs.back();
        pair.matches = static_cast<int>(fit.inliers.size());
        pair.log10Chance =
            std::min(std::log10(static_cast<double>(matches.size())) +
                         Log10Tail(pair.matches - 3.0, static_cast<double>(matches.size()), byChance),
                     0.0);
    }
    result.isRepetitive = IsRepetitive(result.pairs);
    if (progress) progress(1.0);
    return result;
}

CopyMoveVerdict JudgeCopiedKeypoints(const CopyMoveResult& result) {
    CopyMoveVerdict verdict{false, 0, kSignInliers, "inliers", result.whyNot};
    for (const CopiedPair& pair : result.pairs)
        if (pair.distinctness >= kSignDistinctness)
            verdict.measured = std::max(verdict.measured, static_cast<double>(pair.matches));
    verdict.isSign = verdict.measured >= verdict.threshold && !result.isRepetitive;
    if (result.isRepetitive && verdict.measured >= verdict.threshold)
        verdict.reason = "Many parts of the picture are alike in different ways: a pattern, or lettering.";
    return verdict;
}
