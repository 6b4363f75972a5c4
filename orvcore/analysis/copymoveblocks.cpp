#include "orvcore/analysis/copymoveblocks.h"

#include <algorithm>
#include <cmath>

#include "orvcore/analysis/copymoveregions.h"
#include "orvcore/analysis/copymovewindows.h"
#include "orvcore/analysis/pixelrows.h"

namespace {

constexpr int kLeastSide = 64;
constexpr int kMostCandidates = 48;
constexpr int kLeastCount = 12;
constexpr std::size_t kMostChecks = 96;
constexpr int kStripRows = 64;
constexpr double kSignWindows = 60;
constexpr double kSignDistinctness = 4.0;
constexpr double kSignDetail = 0.3;

cv::Mat RoundedLuminance(const cv::Mat& picture, const AnalysisProgress& progress) {
    cv::Mat luminance(picture.size(), CV_8U);
    ForEachStrip(picture.rows, kStripRows, progress, [&](int first, int end) {
        cv::Mat target = luminance.rowRange(first, end);
        FloatLuminance(picture.rowRange(first, end)).convertTo(target, CV_8U);
    });
    return luminance;
}

// What no window that says something covers.
void MarkBlind(const WindowKeys& windows, const ShiftSearch& search, const AnalysisProgress& progress,
               CopyMoveResult& result) {
    const cv::Mat& keys = windows.keys;
    result.mask.setTo(255);
    constexpr int kCell = 16;
    const auto isCommon = [&](int x, int y) {
        return search.common[static_cast<std::size_t>(y / kCell) *
                                 static_cast<std::size_t>(search.cellsAcross) +
                             static_cast<std::size_t>(x / kCell)] > 128;
    };
    // Each strip of the mask reads the windows above it that reach into it.
    std::vector<std::int64_t> blind(
        static_cast<std::size_t>((result.mask.rows + kStripRows - 1) / kStripRows));
    ForEachStrip(result.mask.rows, kStripRows, progress, [&](int first, int end) {
        // The last row, for each column, down to which a window reaches.
        std::vector<int> reach(static_cast<std::size_t>(result.mask.cols), -1);
        for (int y = std::max(first - kCopyWindow + 1, 0); y < end; ++y) {
            if (y < keys.rows) {
                const std::int32_t* key = keys.ptr<std::int32_t>(y);
                int until = -1;
                for (int x = 0; x < result.mask.cols; ++x) {
                    if (x < keys.cols && key[x] != 0 && !isCommon(x, y)) until = x + kCopyWindow;
                    if (x < until) reach[static_cast<std::size_t>(x)] = y + kCopyWindow;
                }
            }
            if (y < first) continue;
            std::uint8_t* mask = result.mask.ptr(y);
            for (int x = 0; x < result.mask.cols; ++x)
                if (reach[static_cast<std::size_t>(x)] > y) mask[x] = 0;
        }
        blind[static_cast<std::size_t>(first / kStripRows)] =
            cv::countNonZero(result.mask.rowRange(first, end));
    });
    std::int64_t sum = 0;
    for (const std::int64_t strip : blind) sum += strip;
    result.blindShare = static_cast<double>(sum) / static_cast<double>(result.mask.total());
    const double all = static_cast<double>(keys.total());
    result.smoothShare = static_cast<double>(windows.smooth) / all;
    result.saturatedShare = static_cast<double>(windows.saturated) / all;
    result.commonShare = static_cast<double>(search.commonWindows) / all;
}

void FindByShifts(const cv::Mat& luminance, const CopyMoveBlocksSettings& settings,
                  const AnalysisProgress& progress, CopyMoveResult& result) {
    const WindowKeys windows = DescribeWindows(luminance, PartOf(progress, 0.0, 0.35));
    const ShiftSearch search = FindShifts(windows, std::clamp(settings.leastDistance, 16, 512), kLeastCount,
                                          kMostCandidates, PartOf(progress, 0.35, 0.75));
    MarkBlind(windows, search, PartOf(progress, 0.75, 0.8), result);
    const std::int64_t useful =
        static_cast<std::int64_t>(windows.keys.total()) - windows.smooth - windows.saturated;
    if (useful == 0) {
        result.whyNot =
            "The whole picture is too smooth, too dark or too bright to tell one part from another.";
        return;
    }
    result.isApplicable = true;
    result.isCut = search.isCut;

    CopyCheckSettings check;
    check.leastArea = std::clamp(settings.leastArea, 256, 1'000'000);
    check.leastDistance = std::clamp(settings.leastDistance, 16, 512);
    struct Candidate {
        cv::Matx23d model;
        std::vector<cv::Point> places;
        CopyCheck check;
    };
    std::vector<Candidate> candidates;
    for (const ShiftCandidate& candidate : search.candidates) {
        const cv::Matx23d model(1, 0, candidate.shift.x, 0, 1, candidate.shift.y);
        for (auto& cluster : ClusterPlaces(candidate.first, kLeastCount))
            candidates.push_back({model, std::move(cluster), {}});
    }
    std::stable_sort(candidates.begin(), candidates.end(), [](const Candidate& a, const Candidate& b) {
        return a.places.size() > b.places.size();
    });
    if (candidates.size() > kMostChecks) {
        result.isCut = true;
        candidates.resize(kMostChecks);
    }
    result.candidates = static_cast<int>(candidates.size());
    ForEachPiece(result.candidates, PartOf(progress, 0.8, 1.0), [&](int i) {
        Candidate& candidate = candidates[static_cast<std::size_t>(i)];
        std::vector<cv::Point> seeds;
        for (const cv::Point& place : candidate.places)
            seeds.emplace_back(place.x + kCopyWindow / 2, place.y + kCopyWindow / 2);
        candidate.check = CheckCopy(luminance, candidate.model, seeds, check);
    });
    // How often two windows look alike by chance.
    const double alike = std::max(
        2.0 * static_cast<double>(search.pairs) / (static_cast<double>(useful) * static_cast<double>(useful)),
        1e-12);
    const double shifts = 2.0 * static_cast<double>(luminance.total());
    for (const Candidate& candidate : candidates) {
        if (!AddPair(candidate.check, candidate.model, result)) continue;
        CopiedPair& pair = result.pairs.back();
        pair.matches = static_cast<int>(candidate.places.size());
        // Windows overlap, and neighbours look alike together: what counts is how many cells of 8 x 8 pixels hold such a window.
        constexpr int kSide = 8;
        std::vector<std::int64_t> cells;
        for (const cv::Point& first : candidate.places)
            cells.push_back(static_cast<std::int64_t>(first.y / kSide) * luminance.cols + first.x / kSide);
        std::sort(cells.begin(), cells.end());
        const auto distinct = std::unique(cells.begin(), cells.end()) - cells.begin();
        const double trials =
            std::max(pair.area / static_cast<double>(kSide * kSide), static_cast<double>(distinct));
        const double chance = std::min(kSide * kSide * alike, 1.0);
        pair.log10Chance =
            std::min(std::log10(shifts) + Log10Tail(static_cast<double>(distinct), trials, chance), 0.0);
    }
    result.isRepetitive = IsRepetitive(result.pairs);
}

}  // namespace

CopyMoveResult FindCopiedBlocks(const cv::Mat& picture, const CopyMoveBlocksSettings& settings,
                                const AnalysisProgress& progress) {
    CheckPicture(picture);
    CopyMoveResult result;
    if (picture.cols < kLeastSide || picture.rows < kLeastSide) {
        result.whyNot = "The picture is smaller than 64 x 64 pixels.";
        return result;
    }
    result.map = cv::Mat::zeros(picture.size(), CV_8U);
    result.mask = cv::Mat::zeros(picture.size(), CV_8U);
    const cv::Mat luminance = RoundedLuminance(picture, PartOf(progress, 0.0, 0.05));
    FindByShifts(luminance, settings, PartOf(progress, 0.05, 1.0), result);
    return result;
}

CopyMoveVerdict JudgeCopiedBlocks(const CopyMoveResult& result) {
    CopyMoveVerdict verdict{false, 0, kSignWindows, "alike windows", ""};
    if (!result.isApplicable) {
        verdict.reason = result.whyNot;
        return verdict;
    }
    for (const CopiedPair& pair : result.pairs) {
        if (pair.distinctness < kSignDistinctness || pair.fineSimilarity < kSignDetail) continue;
        verdict.measured = std::max(verdict.measured, static_cast<double>(pair.matches));
    }
    verdict.isSign = verdict.measured >= verdict.threshold && !result.isRepetitive;
    if (result.isRepetitive && verdict.measured >= verdict.threshold) {
        verdict.reason =
            "Many parts of the picture are alike by different shifts or by multiples of one: a pattern, or lettering.";
    }
    return verdict;
}
