#include "orvcore/formats/evidencefacts.h"

#include <algorithm>

#include "orvcore/formats/jpegstructure.h"
#include "orvcore/formats/metadata.h"
#include "zorbase/hash.h"
#include "zorbase/text.h"

namespace {

std::string TableHash(const QuantizationTable& table) {
    std::vector<std::uint8_t> bytes;
    for (const std::uint16_t step : table.values) {
        bytes.push_back(static_cast<std::uint8_t>(step >> 8));
        bytes.push_back(static_cast<std::uint8_t>(step & 0xFF));
    }
    return ComputeHashes(bytes).md5;
}

// Of several definitions of one number the last one is in use.
const QuantizationTable* FindTable(const QuantizationTables& tables, int id) {
    const auto found = std::find_if(tables.rbegin(), tables.rend(),
                                    [id](const QuantizationTable& table) { return table.id == id; });
    return found != tables.rend() ? &*found : nullptr;
}

std::vector<std::string> HashTables(const JpegStructure& structure) {
    std::vector<int> ids;
    const auto add = [&ids](int id) {
        if (std::find(ids.begin(), ids.end(), id) == ids.end()) ids.push_back(id);
    };
    for (const JpegComponent& component : structure.frame.components) add(component.table);
    // A file that was cut before its frame still has its tables.
    if (structure.frame.components.empty())
        for (const QuantizationTable& table : structure.quantizationTables) add(table.id);
    std::vector<std::string> hashes;
    for (const int id : ids)
        if (const QuantizationTable* table = FindTable(structure.quantizationTables, id))
            hashes.push_back(TableHash(*table));
    return hashes;
}

std::string OneLine(const std::string& text) {
    std::string line = ToValidUtf8(text);
    std::replace(line.begin(), line.end(), '\n', ' ');
    std::replace(line.begin(), line.end(), '\t', ' ');
    return Trim(ShortenText(Trim(line), kMaxEvidenceText));
}

}  // namespace

EvidenceFacts ReadEvidenceFacts(std::span<const std::uint8_t> bytes, const ImageInfo& info) {
    const MetadataFacts metadata = ReadMetadataFacts(bytes);
    EvidenceFacts facts;
    facts.make = OneLine(metadata.make);
    facts.model = OneLine(metadata.model);
    facts.software = OneLine(metadata.software);
    facts.width = info.width;
    facts.height = info.height;
    if (info.format == FileFormat::Jpeg) facts.tableHashes = HashTables(ParseJpegStructure(bytes));
    return facts;
}
