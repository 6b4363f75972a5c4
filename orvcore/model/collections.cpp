#include "orvcore/model/collections.h"

#include <mutex>

#include "zorbase/files.h"
#include "zorbase/folders.h"

namespace {

std::mutex theMutex;
std::string thePlace;

std::string Place() {
    const std::lock_guard lock(theMutex);
    return thePlace.empty() ? GetAppDocumentsPath() : thePlace;
}

}  // namespace

void SetCollectionPlace(const std::string& folder) {
    const std::lock_guard lock(theMutex);
    thePlace = folder;
}

std::string FingerprintFolder() {
    return PathJoin(Place(), "fingerprints");
}

std::string SignatureCollectionFile() {
    return PathJoin(Place(), "signatures.db");
}

std::string PathMeantBy(const Parameter& parameter) {
    const std::string& path = parameter.Get<std::string>();
    if (!path.empty()) return path;
    if (parameter.Name() == "fingerprint") return FingerprintFolder();
    if (parameter.Name() == "collection") return SignatureCollectionFile();
    return {};
}
