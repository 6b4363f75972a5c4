#pragma once

#include <string>
#include <vector>

#include "orvcore/analysis/fingerprintfile.h"
#include "orvcore/model/job.h"

// The fingerprints that the filters of the group "Camera" compare with: one file, or all of the folder "fingerprints" in the
// documents folder where no file is named.
struct CameraCollection {
    std::vector<FingerprintRecord> records;
    std::string refused;  // one line per file that cannot be used, with the reason
};
CameraCollection ReadCollection(const std::string& fingerprint, const OrvJob& job);

// "" when there is something to compare with and `otherwise` is empty; the first reason otherwise. Looks at names alone.
std::string WhyNoFingerprints(const std::string& fingerprint, const std::string& otherwise);
