#include "orvcore/filters/filterlist.h"
#include "orvcore/filters/jpegfilter.h"
#include "orvcore/formats/jpegtables/compressionsignature.h"
#include "orvcore/formats/jpegtables/signaturecollection.h"
#include "orvcore/model/collections.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr std::size_t kShownWriters = 50;

// Who else writes like this, by a collection that exists.
std::string WritersText(const std::string& path, const std::string& key) {
    // A file that is missing must not be made by looking into it.
    if (!FileExists(path))
        return path == SignatureCollectionFile() ? "No signatures have been collected yet"
                                                 : "There is no such collection: " + ToValidUtf8(path);
    const std::vector<SignatureRecord> records = SignatureCollection(path).Find(key);
    if (records.empty()) return "Nothing in the collection writes like this";
    std::string text;
    for (std::size_t i = 0; i < records.size() && i < kShownWriters; ++i) {
        const SignatureRecord& record = records[i];
        std::string name = Trim(record.make + " " + record.model);
        if (name.empty()) name = "unknown camera";
        if (!record.software.empty()) name += ", " + record.software;
        text += (i == 0 ? "" : "\n") + name + " (" + ToString(record.count) +
                (record.count == 1 ? " picture)" : " pictures)");
    }
    if (records.size() > kShownWriters)
        text += "\n… and " + ToString(static_cast<int>(records.size() - kShownWriters)) + " more";
    return text;
}

class CompressionSignatureFilter : public OrvJpegFilter {
  public:
    CompressionSignatureFilter();
    int GetVersion() const override { return 2; }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override;
};

CompressionSignatureFilter::CompressionSignatureFilter()
    : OrvJpegFilter("Compression Signature", "compression-signature") {
    Describe(
        "JPEG",
        "What identifies the kind of writer: coding process, sampling, quantization and Huffman tables, order of segments, scans, "
        "number of EXIF entries, and the same of the thumbnail. Files of one camera model and firmware with the same settings "
        "share it; after Kee, Johnson and Farid about two thirds of such signatures belong to one model alone and nearly all to "
        "one maker. A file that names a camera but does not write like it was saved by something else. A collection of "
        "signatures, made from pictures whose origin is known, tells who else writes like this. It cannot see: another quality "
        "setting, an added position or a turned picture gives another signature of the same camera.");
    using enum ParameterType;
    SetParameters(
        {Parameter::Path(FileLoad, "collection", "Collection", "", "Signature collection (*.db)|*.db")}, {},
        {
            Parameter::Output(OutputString, "key", "Signature"),
            Parameter::Output(OutputText, "writers", "Who Writes Like This"),
            Parameter::Output(TableString, "numbers", "Parts Of The Signature"),
        });
}

void CompressionSignatureFilter::Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob&,
                                         OrvSlotResult& result) const {
    const CompressionSignature signature = ReadCompressionSignature(file.GetBytes());
    if (!signature.isJpeg) return result.SayNothing("No frame header");
    result.Set("key", signature.key);
    for (const auto& [label, value] : signature.fields) result.AddNumber(label, value);
    result.AddNumber("Size (not part of it)", signature.size);
    result.Set("writers", WritersText(PathMeantBy(*input.Find("collection")), signature.key));
}

}  // namespace

std::unique_ptr<OrvFilter> MakeCompressionSignatureFilter() {
    return std::make_unique<CompressionSignatureFilter>();
}
