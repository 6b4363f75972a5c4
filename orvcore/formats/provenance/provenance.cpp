#include "orvcore/formats/provenance/provenance.h"

#include <algorithm>
#include <memory>

#include "orvcore/formats/provenance/marks.h"
#include "orvcore/formats/provenance/verifier.h"
#include "zorbase/files.h"
#include "zorbase/folders.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace provenance {

namespace {

constexpr std::size_t kMaxTrustFiles = 200;
constexpr std::size_t kMaxReference = 2048;

// The address of credentials that are kept elsewhere, as the XMP packet states it.
std::string RemoteReference(const MetadataSet& metadata) {
    const MetadataEntry* entry = FindMetadata(metadata, "Xmp.dcterms.provenance");
    const std::string address = entry == nullptr ? std::string() : Trim(entry->raw);
    const bool isWeb = address.starts_with("http://") || address.starts_with("https://");
    return isWeb ? ShortenText(ToValidUtf8(address), kMaxReference) : std::string();
}

void AddMarks(ByteSpan file, const MetadataSet& metadata, Report& report) {
    for (Mark& mark : FindMarks(file, metadata)) {
        report.findings.push_back(
            {false,
             std::string(mark.kind == SourceKind::PartlyGenerated
                             ? "A text in the file says that the picture was generated in part"
                             : "A text in the file says that the picture was generated") +
                 ": " + mark.where + " is \"" + mark.text + "\"" +
                 (mark.writer.empty() ? "" : ", as written by " + mark.writer) +
                 ". It is text that anybody can write, copy or remove; nothing vouches for it.",
             mark.place});
        report.marks.push_back(std::move(mark));
    }
}

}  // namespace

}  // namespace provenance

using namespace provenance;

TrustStore ReadTrustFolder(const std::string& folder, std::vector<std::string>& warnings) {
    TrustStore anchors;
    if (folder.empty()) return anchors;
    std::vector<std::string> names;
    try {
        ForEachEntry(folder, [&names](const FolderEntry& entry) {
            const std::string extension = PathExtension(entry.name);
            if (extension == "pem" || extension == "crt" || extension == "cer") names.push_back(entry.name);
            return true;
        });
    } catch (const ZorException&) {
        warnings.push_back("The folder of trusted certificates cannot be read: " + ToValidUtf8(folder));
        return anchors;
    }
    std::sort(names.begin(), names.end());
    if (names.size() > kMaxTrustFiles) {
        names.resize(kMaxTrustFiles);
        warnings.emplace_back("There are more files of trusted certificates than are read.");
    }
    for (const std::string& name : names) {
        const std::size_t before = anchors.Size();
        try {
            const Bytes pem = ReadFileBytes(PathJoin(folder, name));
            anchors.AddPem(pem, ToLower(name).find("tsa") != std::string::npos);
        } catch (const ZorException& error) {
            warnings.push_back(error.GetMessage());
            continue;
        }
        if (anchors.Size() == before)
            warnings.push_back("There is no usable certificate in " + ToValidUtf8(name) + ".");
    }
    if (anchors.Skipped() > 0)
        warnings.push_back(
            std::to_string(anchors.Skipped()) +
            " of the trusted certificates cannot be read or have keys that are not used here.");
    return anchors;
}

Report ReadProvenance(ByteSpan file, const ProvenanceTrust& trust, const ProvenanceOptions& options) {
    Report report;
    const StoreSearch search = FindStores(file);
    if (options.metadata != nullptr) report.remoteReference = RemoteReference(*options.metadata);
    if (!search.stores.empty()) report.store = search.stores.front().shell.front();
    if (!search.unread.empty()) {
        report.presence = Presence::Unread;
        report.store = search.unread.front().place;
        report.warnings.push_back(search.unread.front().why);
    } else if (search.stores.empty()) {
        report.presence = report.remoteReference.empty() ? Presence::None : Presence::Remote;
    } else if (!search.IsLegal()) {
        report.presence = Presence::Several;
    } else {
        Verifier(file, trust, options.between, report).Run(search);
    }
    if (!report.remoteReference.empty() && report.presence == Presence::Remote)
        report.warnings.push_back(TextOfStatus("manifest.inaccessible").sentence +
                                  std::string(" The address is ") + report.remoteReference + ".");
    Narrate(report);
    if (options.metadata != nullptr && options.wantsMarks) AddMarks(file, *options.metadata, report);
    return report;
}

bool HasProvenance(ByteSpan file) {
    const StoreSearch search = FindStores(file);
    return !search.stores.empty() || !search.unread.empty();
}
