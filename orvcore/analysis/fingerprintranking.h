#pragma once

#include <vector>

#include "orvcore/analysis/fingerprintfile.h"
#include "orvcore/analysis/fingerprintmatch.h"

// One picture against many cameras: the best of so many is a search as well, so every threshold rises with their number.

struct RankedFingerprint {
    std::size_t index = 0;  // among the records
    FingerprintMatch match;
};

struct FingerprintRanking {
    std::vector<RankedFingerprint> entries;  // the highest PCE first
    int otherSizes = 0;                      // records that could not be compared without a search
};

// residual: cleaned. Equal sizes are tested as they lie, exchanged sides by turning; with `searches` every record is also tried
// cropped, turned and scaled, if it was not a match as it lies.
FingerprintRanking RankFingerprints(const CameraResidual& residual,
                                    const std::vector<FingerprintRecord>& records, bool searches,
                                    const AnalysisProgress& progress = {});
