#include "orvcore/tools/folder/fileexamination.h"

#include <algorithm>
#include <string_view>

#include "orvcore/formats/consistency/consistencyinput.h"
#include "orvcore/formats/damage.h"
#include "orvcore/formats/exifscan.h"
#include "orvcore/formats/jpegstructure.h"
#include "orvcore/formats/jpegwalk.h"
#include "orvcore/formats/provenance/provenance.h"
#include "zorbase/hash.h"
#include "zorbase/text.h"
#include "zorimage/imageio.h"

namespace {

constexpr std::uint8_t kApp1 = 0xE1;

// The table of that number; of several definitions the last one before the first scan ends up in use.
const QuantizationTable* TableOf(const JpegStructure& structure, std::size_t component) {
    if (component >= structure.frame.components.size()) return nullptr;
    const QuantizationTable* found = nullptr;
    for (const QuantizationTable& table : structure.quantizationTables)
        if (table.id == structure.frame.components[component].table) found = &table;
    return found;
}

JpegQuality LuminanceQuality(const JpegStructure& structure) {
    const QuantizationTable* table = TableOf(structure, 0);
    return table == nullptr ? JpegQuality() : EstimateJpegQuality(*table);
}

std::string NameOfProfile(std::span<const std::uint8_t> profile) {
    if (profile.empty()) return {};
    const std::string name = IccProfileName(profile);
    return name.empty() ? "Embedded" : name;
}

void TakeThumbnail(ByteSpan thumbnail, FileExamination& file) {
    if (thumbnail.empty()) return;
    file.thumbnailBytes = thumbnail.size();
    file.thumbnailSha256 = Sha256(thumbnail);
    const ImageInfo info = ReadImageInfo(thumbnail);
    file.thumbnailWidth = info.width;
    file.thumbnailHeight = info.height;
    if (info.format == FileFormat::Jpeg)
        file.thumbnailQuality = LuminanceQuality(ParseJpegStructure(thumbnail));
}

void TakeWholeMetadata(ByteSpan bytes, FileExamination& file) {
    const MetadataSummary metadata = ReadMetadataSummary(bytes);
    file.facts = metadata.facts;
    file.hasPosition = metadata.hasPosition;
    file.metadataReading = metadata.reading;
    file.metadataProblem = metadata.problem;
    TakeThumbnail(metadata.thumbnail, file);
}

bool Names(ByteSpan payload, std::string_view name) {
    return std::search(payload.begin(), payload.end(), name.begin(), name.end()) != payload.end();
}

// Whether an XMP packet may state what EXIF left open.
bool MayAdd(ByteSpan packet, const MetadataFacts& facts, bool hasPosition) {
    const auto isOpen = [&packet](const std::string& fact, std::initializer_list<std::string_view> names) {
        return fact.empty() && std::any_of(names.begin(), names.end(),
                                           [&](std::string_view name) { return Names(packet, name); });
    };
    return (!hasPosition && Names(packet, "GPSLatitude")) || isOpen(facts.make, {":Make"}) ||
           isOpen(facts.model, {":Model"}) || isOpen(facts.software, {":Software", ":CreatorTool"}) ||
           isOpen(facts.dateTimeOriginal, {":DateTimeOriginal"}) ||
           isOpen(facts.dateTime, {":ModifyDate", ":DateTime"}) ||
           isOpen(facts.dateTimeDigitized, {":DateTimeDigitized", ":CreateDate"});
}

// By the quick reading where it says all, else by the whole one, which lets in only one thread at a time.
void TakeJpegMetadata(ByteSpan bytes, const JpegStructure& structure, FileExamination& file) {
    static constexpr char kExif[] = "Exif\0";
    static constexpr char kXmp[] = "http://ns.adobe.com/xap/1.0/";
    ExifScan scan;
    bool hasExif = false;
    bool needsWhole = false;
    std::vector<ByteSpan> packets;
    for (const JpegSegment& segment : structure.segments) {
        if (segment.marker != kApp1) continue;
        const ByteSpan payload = Slice(bytes, segment.PayloadOffset(), segment.PayloadSize());
        const bool isCut = segment.length > payload.size() + 2;
        if (!hasExif && StartsWith(payload, 0, kExif, sizeof kExif)) {
            hasExif = true;
            scan = ScanExif(Slice(payload, 6, payload.size()));
            needsWhole = isCut || !scan.isPresent || scan.hasOtherThumbnail;
        } else if (StartsWith(payload, 0, kXmp, sizeof kXmp - 1)) {
            packets.push_back(payload);
        }
    }
    needsWhole = needsWhole || std::any_of(packets.begin(), packets.end(), [&scan](ByteSpan packet) {
                     return MayAdd(packet, scan.facts, scan.hasPosition);
                 });
    if (needsWhole) {
        TakeWholeMetadata(bytes, file);
        return;
    }
    file.facts = scan.facts;
    file.hasPosition = scan.hasPosition;
    TakeThumbnail(scan.thumbnail, file);
}

void TakeJpeg(ByteSpan bytes, const ImageInfo& info, FileExamination& file) {
    const JpegStructure structure = ParseJpegStructure(bytes);
    file.width = structure.frame.width;
    file.height = structure.frame.height;
    file.coding = structure.frame.process;
    file.subsampling = JpegSubsampling(structure.frame);
    for (const JpegSegment& segment : structure.segments) {
        file.segments += (file.segments.empty() ? "" : " ") + segment.name;
        if (segment.marker == jpegmarker::kSos || file.segments.size() > 500) break;
    }
    file.tablesHash = QuantizationTablesHash(structure.quantizationTables);
    file.quality = LuminanceQuality(structure);
    file.chrominanceAgrees = ChrominanceAgrees(structure);
    file.isComplete = structure.complete;
    // Pictures that the file's own index names belong to it.
    if (structure.pictures.size() < 2) file.bytesAfterEnd = structure.trailingBytes;
    file.pictures = static_cast<int>(std::max<std::size_t>(1, structure.pictures.size()));
    file.bitsPerSample = structure.frame.precision;
    file.channels = static_cast<int>(structure.frame.components.size());
    file.profile = NameOfProfile(info.iccProfile);
    file.warnings = FindDamage(bytes, info, &structure).damage;
    TakeJpegMetadata(bytes, structure, file);
}

void TakeCredentials(ByteSpan bytes, FileExamination& file) {
    if (!HasProvenance(bytes)) return;
    const provenance::Report report = ReadProvenance(bytes, {});
    file.hasCredentials = true;
    file.credentialSignature = report.signature.answer;
    file.credentialContent = report.content.answer;
    if (const provenance::Manifest* active = report.Active())
        file.credentialSigner =
            active->signerOrganisation.empty() ? active->signerName : active->signerOrganisation;
}

}  // namespace

FileExamination ExamineFile(const std::string& path, std::span<const std::uint8_t> bytes) {
    FileExamination file;
    file.path = path;
    file.format = DetectFormat(bytes);
    if (file.format == FileFormat::Empty) return file;
    if (file.format == FileFormat::Unknown || file.format == FileFormat::Text) {
        file.nameAgrees = !IsPictureName(path);
        return file;
    }
    file.nameAgrees = ExtensionAgrees(file.format, path);
    const ImageInfo info = ReadImageInfo(bytes);
    if (file.format == FileFormat::Jpeg) {
        TakeJpeg(bytes, info, file);
    } else if (IsReadableFormat(file.format)) {
        file.width = info.width;
        file.height = info.height;
        file.coding = info.compression;
        file.pictures = info.frames;
        file.bitsPerSample = info.bitsPerSample;
        file.channels = info.channels;
        file.profile = NameOfProfile(info.iccProfile);
        file.warnings = FindDamage(bytes, info, nullptr).damage;
        TakeWholeMetadata(bytes, file);
    }
    if (IsReadableFormat(file.format)) TakeCredentials(bytes, file);
    return file;
}
