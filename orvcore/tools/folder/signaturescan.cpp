#include "orvcore/tools/folder/signaturescan.h"

#include <map>
#include <tuple>

#include "orvcore/formats/exifscan.h"
#include "orvcore/formats/jpegstructure.h"
#include "orvcore/formats/jpegtables/compressionsignature.h"
#include "orvcore/tools/folder/foldertable.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr std::uint64_t kMaxBytes = std::uint64_t{2} << 30;
constexpr std::size_t kMaxProblems = 100;

MetadataFacts NamedIn(ByteSpan jpeg) {
    for (const JpegSegment& segment : ParseJpegStructure(jpeg).segments) {
        if (segment.name != "APP1" || segment.identifier != "Exif") continue;
        const ByteSpan payload = Slice(jpeg, segment.PayloadOffset(), segment.PayloadSize());
        return ScanExif(Slice(payload, 6, payload.size())).facts;
    }
    return {};
}

}  // namespace

SignatureScan ScanSignatures(const std::string& folder, bool includesSubfolders, const OrvJob& job) {
    SignatureScan scan;
    const std::vector<std::string> files = ListFolderFiles(folder, includesSubfolders, scan.problems, job);
    std::map<std::tuple<std::string, std::string, std::string, std::string>, SignatureRecord> found;
    Bytes buffer;
    for (std::size_t i = 0; i < files.size(); ++i) {
        job.SetProgress(static_cast<double>(i) / static_cast<double>(files.size()),
                        "File " + std::to_string(i + 1) + " of " + std::to_string(files.size()));
        ByteSpan bytes;
        try {
            const std::size_t size = ReadFileInto(files[i], buffer, kMaxBytes,
                                                  [&](std::span<const std::uint8_t>) { job.CheckAbort(); });
            bytes = ByteSpan(buffer).first(size);
        } catch (const ZorException& exception) {
            if (exception.GetKind() != ZorException::Kind::File) throw;
            if (scan.problems.size() < kMaxProblems) scan.problems.push_back(exception.GetMessage());
            continue;
        }
        const CompressionSignature signature = ReadCompressionSignature(bytes);
        if (!signature.isJpeg) {
            ++scan.others;
            continue;
        }
        const MetadataFacts facts = NamedIn(bytes);
        if (facts.make.empty() && facts.model.empty()) {
            ++scan.unnamed;
            continue;
        }
        ++scan.pictures;
        SignatureRecord& record = found[{signature.key, facts.make, facts.model, facts.software}];
        if (record.key.empty())
            record = {signature.key, SignatureText(signature), facts.make, facts.model, facts.software, 1};
        else
            ++record.count;
    }
    for (auto& [name, record] : found) scan.records.push_back(std::move(record));
    return scan;
}
