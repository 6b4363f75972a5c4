#include "orvcore/analysis/copymoveblocks.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "orvcore/analysis/alignment.h"
#include "orvcore/analysis/copymovedense.h"
#include "orvcore/analysis/copymoveregions.h"
#include "orvcore/analysis/copymovewindows.h"
#include "orvcore/analysis/pixelrows.h"

namespace {

constexpr int kMostCandidates = 48;
constexpr int kLeastCount = 12;
constexpr std::size_t kMostChecks = 96;
constexpr int kStripRows = 64;
constexpr double kDensePixels = 2e6;
constexpr double kLeastTwinDistance = 24;
constexpr int kDenseRounds = 8;
constexpr int kLeastDenseArea = 300;
constexpr double kSignWindows = 60;
constexpr double kSignArea = 1200;

constexpr double kSignDistinctness = 4.0;
constexpr double kSignDetail = 0.3;

cv::Matx33d Square(const cv::Matx23d& m) {
    return {m(0, 0), m(0, 1), m(0, 2), m(1, 0), m(1, 1), m(1, 2), 0, 0, 1};
}

// The model with the levels themselves fitted; as it was where that does not help.
cv::Matx23d Refined(const cv::Mat& luminance, const cv::Matx33d& model, const cv::Rect& place) {
    const cv::Rect whole(0, 0, luminance.cols, luminance.rows);
    // No more of the picture than is needed, with room for the model to be wrong.
    constexpr int kRoom = 48;
    const cv::Matx33d back = cv::Matx33d(1, 0, -place.x, 0, 1, -place.y, 0, 0, 1) * model.inv();
    std::vector<cv::Point> corners;
    for (const int x : {place.x, place.x + place.width})
        for (const int y : {place.y, place.y + place.height})
            corners.emplace_back(Apply(model.get_minor<2, 3>(0, 0), cv::Point2d(x, y)));
    cv::Rect there = cv::boundingRect(corners);
    there =
        cv::Rect(there.x - kRoom, there.y - kRoom, there.width + 2 * kRoom, there.height + 2 * kRoom) & whole;
    if (there.empty()) return model.get_minor<2, 3>(0, 0);
    const cv::Matx33d out(1, 0, there.x, 0, 1, there.y, 0, 0, 1);
    const Alignment fit = Align(luminance(place & whole), luminance(there), back * out, Freedom::Affine);
    if (fit.correlation < 0.5) return model.get_minor<2, 3>(0, 0);
    const cv::Matx33d found =
        (fit.model * out.inv()).inv() * cv::Matx33d(1, 0, -place.x, 0, 1, -place.y, 0, 0, 1);
    return cv::Matx33d(found * (1.0 / found(2, 2))).get_minor<2, 3>(0, 0);
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
        if (progress) progress(0.8);
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
}

void FindByTwins(const cv::Mat& luminance, const CopyMoveBlocksSettings& settings,
                 const AnalysisProgress& progress, CopyMoveResult& result) {
    const double factor = std::min(std::sqrt(kDensePixels / static_cast<double>(luminance.total())), 1.0);
    cv::Mat small = luminance;
    if (factor < 1.0) cv::resize(luminance, small, cv::Size(), factor, factor, cv::INTER_AREA);
    const double across = static_cast<double>(small.cols) / luminance.cols;
    const double down = static_cast<double>(small.rows) / luminance.rows;
    result.workingScale = std::min(across, down);
    const double distance =
        std::max(std::clamp(settings.leastDistance, 16, 512) * across, kLeastTwinDistance);
    const cv::Mat shifts =
        FindNearestTwins(small, static_cast<int>(distance), kDenseRounds, PartOf(progress, 0.0, 0.75));
    const std::vector<DenseRegion> regions =
        FindLinearRegions(shifts, distance, kLeastDenseArea, PartOf(progress, 0.75, 0.8));

    CopyCheckSettings check;
    check.leastArea = std::clamp(settings.leastArea, 256, 1'000'000);
    check.leastDistance = std::clamp(settings.leastDistance, 16, 512);
    std::vector<CopyCheck> checks(regions.size());
    std::vector<cv::Matx23d> models(regions.size());
    ForEachPiece(static_cast<int>(regions.size()), PartOf(progress, 0.8, 1.0), [&](int i) {
        const auto index = static_cast<std::size_t>(i);
        const DenseRegion& region = regions[index];
        // From the reduced picture's pixel centres to the whole one's.
        const cv::Matx33d up(1 / across, 0, 0.5 / across - 0.5, 0, 1 / down, 0.5 / down - 0.5, 0, 0, 1);
        const cv::Matx33d whole = up * Square(region.model) * up.inv();
        std::vector<cv::Point> seeds;
        for (const cv::Point& place : region.places)
            seeds.emplace_back(cvRound(up(0, 0) * place.x + up(0, 2)),
                               cvRound(up(1, 1) * place.y + up(1, 2)));
        models[index] = Refined(luminance, whole, cv::boundingRect(seeds));
        checks[index] = CheckCopy(luminance, models[index], seeds, check);
        if (!checks[index].isFound) return;
        // Once more on what agrees, which is mostly more than where the field was linear.
        const cv::Matx23d again = Refined(luminance, Square(models[index]), checks[index].from);
        CopyCheck better = CheckCopy(luminance, again, seeds, check);
        if (better.isFound &&
            better.area * better.similarity >= checks[index].area * checks[index].similarity) {
            models[index] = again;
            checks[index] = std::move(better);
        }
    });
    result.candidates += static_cast<int>(regions.size());
    for (std::size_t i = 0; i < checks.size(); ++i) {
        if (!AddPair(checks[i], models[i], result)) continue;
        // What agrees, counted in places that do not overlap; each of them had all others to choose from.
        CopiedPair& pair = result.pairs.back();
        pair.matches = pair.area;
        pair.log10Chance =
            -std::log10(static_cast<double>(small.total())) * std::max(pair.area / 225.0 - 3.0, 0.0);
    }
}

}  // namespace

CopyMoveResult FindCopiedBlocks(const cv::Mat& picture, const CopyMoveBlocksSettings& settings,
                                const AnalysisProgress& progress) {
    CopyMoveResult result = BeginCopySearch(picture);
    if (!result.whyNot.empty()) return result;
    const cv::Mat luminance = RoundedLuminance(picture, PartOf(progress, 0.0, 0.05));
    FindByShifts(luminance, settings, PartOf(progress, 0.05, settings.rotationAndScale ? 0.2 : 1.0), result);
    // What was found by shifts comes first, so that it is not found a second time.
    if (settings.rotationAndScale && result.isApplicable)
        FindByTwins(luminance, settings, PartOf(progress, 0.2, 1.0), result);
    result.isRepetitive = IsRepetitive(result.pairs);
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
        // Pairs that were not found by a shift of windows count their pixels.
        const bool isByShift = pair.matches != pair.area;
        const double threshold = isByShift ? kSignWindows : kSignArea;
        if (pair.matches * verdict.threshold < verdict.measured * threshold) continue;
        verdict.measured = pair.matches;
        verdict.threshold = threshold;
        verdict.quantity = isByShift ? "alike windows" : "agreeing pixels";
    }
    verdict.isSign = verdict.measured >= verdict.threshold && !result.isRepetitive;
    if (result.isRepetitive && verdict.measured >= verdict.threshold) {
        verdict.reason =
            "Many parts of the picture are alike by different shifts or by multiples of one: a pattern, or lettering.";
    }
    return verdict;
}
