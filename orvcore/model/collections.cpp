#include "orvcore/model/collections.h"

#include "zorbase/files.h"
#include "zorbase/folders.h"

std::string FingerprintFolder() {
    return PathJoin(GetAppDocumentsPath(), "fingerprints");
}

std::string SignatureCollectionFile() {
    return PathJoin(GetAppDocumentsPath(), "signatures.db");
}

std::string PathMeantBy(const Parameter& parameter) {
    const std::string& path = parameter.Get<std::string>();
    if (!path.empty()) return path;
    if (parameter.Name() == "fingerprint") return FingerprintFolder();
    if (parameter.Name() == "collection") return SignatureCollectionFile();
    return {};
}
