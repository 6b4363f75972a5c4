#include "orvcore/analysis/fingerprintranking.h"

#include <algorithm>
#include <optional>

namespace {

std::optional<FingerprintMatch> Compare(const CameraResidual& residual, const cv::Mat& pattern, bool searches,
                                        const AnalysisProgress& progress) {
    std::optional<FingerprintMatch> found;
    const cv::Size size = residual.noise.size();
    if (size == pattern.size()) {
        found = TestAligned(residual, pattern);
    } else if (cv::Size(size.height, size.width) == pattern.size()) {
        FingerprintSearch turned;
        turned.anyShift = false;
        found =
            SearchFingerprint(residual, pattern, turned, searches ? PartOf(progress, 0.0, 0.3) : progress);
    }
    if (!searches || (found && found->isMatch)) return found;
    const FingerprintMatch searched = SearchFingerprint(residual, pattern, {}, PartOf(progress, 0.3, 1.0));
    // Of both, what is farther beyond its own threshold.
    if (!found || searched.pce - searched.threshold > found->pce - found->threshold) return searched;
    return found;
}

}  // namespace

FingerprintRanking RankFingerprints(const CameraResidual& residual,
                                    const std::vector<FingerprintRecord>& records, bool searches,
                                    const AnalysisProgress& progress) {
    FingerprintRanking ranking;
    for (std::size_t i = 0; i < records.size(); ++i) {
        const auto count = static_cast<double>(records.size());
        const auto part =
            PartOf(progress, static_cast<double>(i) / count, static_cast<double>(i + 1) / count);
        if (part) part(0.0);
        auto match = Compare(residual, records[i].fingerprint.pattern, searches, part);
        if (!match) {
            ++ranking.otherSizes;
            continue;
        }
        RaisePlaces(*match, count);
        ranking.entries.push_back({i, *match});
    }
    std::stable_sort(
        ranking.entries.begin(), ranking.entries.end(),
        [](const RankedFingerprint& a, const RankedFingerprint& b) { return a.match.pce > b.match.pce; });
    return ranking;
}
