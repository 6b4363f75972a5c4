#include "orvcore/filters/cameracollection.h"

#include "orvcore/model/collections.h"
#include "zorbase/zorexception.h"

namespace {

std::vector<std::string> PathsOf(const std::string& fingerprint) {
    if (!fingerprint.empty()) return {fingerprint};
    return ListFingerprints(FingerprintFolder());
}

}  // namespace

CameraCollection ReadCollection(const std::string& fingerprint, const OrvJob& job) {
    CameraCollection collection;
    for (const std::string& path : PathsOf(fingerprint)) {
        job.CheckAbort();
        try {
            collection.records.push_back(ReadFingerprint(path));
        } catch (const ZorException& error) {
            collection.refused += std::string(error.what()) + "\n";
        }
    }
    return collection;
}

std::string WhyNoFingerprints(const std::string& fingerprint, const std::string& otherwise) {
    if (!otherwise.empty()) return otherwise;
    return PathsOf(fingerprint).empty() ? "No camera fingerprints yet" : "";
}
