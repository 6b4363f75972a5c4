#include "orvcore/formats/jpegtables/compressionsignature.h"

#include <algorithm>

#include "orvcore/formats/jpegtables/jpegtables.h"
#include "orvcore/formats/jpegwalk.h"
#include "orvcore/formats/structure/tiffdirectories.h"
#include "zorbase/hash.h"

namespace {

constexpr std::size_t kMaxFieldBytes = 1000;

std::string Number(std::size_t value) {
    return std::to_string(value);
}

// Identifiers come from the file: what is not a plain character would spoil comparison and storing.
std::string Plain(const std::string& text) {
    std::string plain;
    for (const char c : text) plain += (c > 0x20 && c < 0x7F && c != ';' && c != '=') ? c : '_';
    return plain;
}

std::string FrameText(const JpegFrame& frame) {
    if (frame.components.empty()) return "none";
    return JpegMarkerName(frame.marker) + " " + std::to_string(frame.precision) + " bit";
}

std::string SamplingText(const JpegFrame& frame) {
    std::string text;
    for (const JpegComponent& c : frame.components)
        text += (text.empty() ? "" : " ") + std::to_string(c.id) + ":" + std::to_string(c.horizontal) + "x" +
                std::to_string(c.vertical) + ":" + std::to_string(c.table);
    return text.empty() ? "none" : text;
}

std::string QuantizationText(const JpegTables& tables) {
    std::string text;
    for (const QuantizationTableUse& use : tables.quantization)
        text += (text.empty() ? "" : " ") + std::to_string(use.table.id) + ":" +
                QuantizationTablesHash({use.table}) + (use.table.precision == 16 ? ":16" : "");
    return text.empty() ? "none" : text;
}

std::string HuffmanText(const JpegTables& tables) {
    if (tables.isArithmetic) return "arithmetic";
    std::string text;
    for (const HuffmanTableUse& use : tables.huffman) {
        // A table that is redefined between scans belongs to one picture.
        if (use.isRedefined) continue;
        std::string what = "optimised";
        if (use.family == HuffmanFamily::Standard) what = "standard";
        if (use.family == HuffmanFamily::Complete) {
            std::string codes;
            for (const std::uint8_t count : use.table.counts) codes += static_cast<char>(count);
            codes.append(use.table.symbols.begin(), use.table.symbols.end());
            what = Sha256(codes).substr(0, 8);
        }
        text += std::string(text.empty() ? "" : " ") + (use.table.tableClass == 0 ? "DC" : "AC") +
                std::to_string(use.table.id) + ":" + what;
    }
    return text.empty() ? "none" : text;
}

// Segments up to the first scan; neighbours of one kind once, with their number where it says how a writer groups
// tables.
std::string MarkerText(const JpegStructure& structure) {
    std::string text, last;
    std::size_t repeats = 0;
    const auto close = [&] {
        const bool isTables = last == "DQT" || last == "DHT";
        if (repeats > 1 && isTables) text += "*" + Number(repeats);
    };
    for (const JpegSegment& segment : structure.segments) {
        std::string name = segment.name;
        if (!segment.identifier.empty()) name += ":" + Plain(segment.identifier);
        if (name == last) {
            ++repeats;
            continue;
        }
        close();
        if (text.size() < kMaxFieldBytes) text += (text.empty() ? "" : " ") + name;
        last = name;
        repeats = 1;
        if (segment.marker == jpegmarker::kSos) break;
    }
    return text;
}

std::string ScanText(const JpegStructure& structure) {
    if (structure.scans.size() <= 1) return Number(structure.scans.size());
    std::string script;
    for (const JpegScan& scan : structure.scans) {
        for (const int id : scan.components) script += std::to_string(id) + ",";
        script += std::to_string(scan.spectralStart) + "-" + std::to_string(scan.spectralEnd) + " " +
                  std::to_string(scan.approximationHigh) + std::to_string(scan.approximationLow) + ";";
    }
    return Number(structure.scans.size()) + ":" + Sha256(script).substr(0, 8);
}

ByteSpan ExifOf(ByteSpan jpeg, const JpegStructure& structure) {
    for (const JpegSegment& segment : structure.segments) {
        if (segment.name != "APP1" || segment.identifier != "Exif") continue;
        const ByteSpan payload = Slice(jpeg, segment.PayloadOffset(), segment.PayloadSize());
        return Slice(payload, 6, payload.size());
    }
    return {};
}

std::string ExifText(const TiffDirectories& tiff) {
    if (!tiff.isTiff) return "none";
    std::string text = tiff.little ? "II" : "MM";
    for (const TiffDirectory& directory : tiff.directories) {
        if (text.size() > kMaxFieldBytes) break;
        text += " " + Plain(directory.name) + ":" + Number(directory.entries.size());
    }
    return text;
}

std::string ThumbnailText(const TiffDirectories& tiff, ByteSpan exif) {
    for (const TiffDirectory& directory : tiff.directories) {
        if (directory.name != "IFD1") continue;
        const TiffEntry* at = FindTiffEntry(directory, 0x0201);
        const TiffEntry* size = FindTiffEntry(directory, 0x0202);
        if (at == nullptr || size == nullptr) return "no JPEG";
        const auto offset = TiffNumbers(tiff, exif, *at, 1);
        const auto length = TiffNumbers(tiff, exif, *size, 1);
        if (offset.empty() || length.empty() || offset[0] >= exif.size()) return "outside";
        const ByteSpan bytes =
            Slice(exif, static_cast<std::size_t>(offset[0]),
                  static_cast<std::size_t>(std::min<std::uint64_t>(length[0], exif.size())));
        const JpegStructure structure = ParseJpegStructure(bytes);
        if (!structure.isJpeg) return "damaged";
        const JpegTables tables = ReadJpegTables(bytes, structure);
        return std::to_string(structure.frame.width) + "x" + std::to_string(structure.frame.height) + " " +
               SamplingText(structure.frame) + " " + QuantizationText(tables) + " " + HuffmanText(tables);
    }
    return "none";
}

}  // namespace

CompressionSignature ReadCompressionSignature(ByteSpan jpeg) {
    CompressionSignature signature;
    const JpegStructure structure = ParseJpegStructure(jpeg);
    if (!structure.isJpeg || structure.frame.components.empty()) return signature;
    signature.isJpeg = true;
    signature.size = std::to_string(structure.frame.width) + " x " + std::to_string(structure.frame.height);
    const JpegTables tables = ReadJpegTables(jpeg, structure);
    const ByteSpan exif = ExifOf(jpeg, structure);
    const TiffDirectories tiff = ReadTiffDirectories(exif);
    signature.fields = {{"Process", FrameText(structure.frame)},
                        {"Sampling", SamplingText(structure.frame)},
                        {"Quantization", QuantizationText(tables)},
                        {"Huffman", HuffmanText(tables)},
                        {"Markers", MarkerText(structure)},
                        {"Restart interval", structure.restartInterval > 0 ? "set" : "none"},
                        {"Scans", ScanText(structure)},
                        {"EXIF entries", ExifText(tiff)},
                        {"Thumbnail", ThumbnailText(tiff, exif)}};
    for (auto& [label, value] : signature.fields)
        if (value.size() > kMaxFieldBytes) value = Sha256(value);
    signature.key = Sha256(SignatureText(signature)).substr(0, 32);
    return signature;
}

std::string SignatureText(const CompressionSignature& signature) {
    std::string text;
    for (const auto& [label, value] : signature.fields)
        text += (text.empty() ? "" : "; ") + label + "=" + value;
    return text;
}

std::vector<SignatureDifference> CompareSignatures(const CompressionSignature& first,
                                                   const CompressionSignature& second) {
    std::vector<SignatureDifference> result;
    if (!first.isJpeg || !second.isJpeg) return result;
    for (std::size_t i = 0; i < first.fields.size() && i < second.fields.size(); ++i)
        result.push_back({first.fields[i].first, first.fields[i].second, second.fields[i].second,
                          first.fields[i].second == second.fields[i].second});
    return result;
}
