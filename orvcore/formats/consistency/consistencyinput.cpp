#include "orvcore/formats/consistency/consistencyinput.h"

#include "orvcore/formats/damage.h"
#include "orvcore/formats/jpegquality.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorimage/imageio.h"

namespace {

// The table of a component; of several definitions the last one before the first scan ends up in use.
const QuantizationTable* TableOf(const JpegStructure& structure, std::size_t component) {
    if (component >= structure.frame.components.size()) return nullptr;
    const QuantizationTable* found = nullptr;
    for (const QuantizationTable& table : structure.quantizationTables)
        if (table.id == structure.frame.components[component].table) found = &table;
    return found;
}

}  // namespace

bool ChrominanceAgrees(const JpegStructure& structure) {
    const QuantizationTable* luminance = TableOf(structure, 0);
    const QuantizationTable* chrominance = TableOf(structure, 1);
    if (luminance == nullptr || chrominance == nullptr || luminance == chrominance) return true;
    const JpegQuality quality = EstimateJpegQuality(*luminance);
    return !quality.isExact ||
           chrominance->values ==
               StandardQuantizationTable(quality.quality, true, chrominance->precision == 8).values;
}

ConsistencyParts ReadConsistencyParts(ByteSpan bytes) {
    ConsistencyParts parts;
    const ImageInfo info = ReadImageInfo(bytes);
    parts.metadata = ReadDetailedMetadata(bytes, info.iccProfile);
    parts.gps = ReadGpsFacts(parts.metadata.set);
    if (info.format == FileFormat::Jpeg) {
        parts.jpeg = ParseJpegStructure(bytes);
        parts.tables = ReadJpegTables(bytes, parts.jpeg);
    }
    parts.thumbnail = ReadExifThumbnail(bytes);
    return parts;
}

ConsistencyInput ReadConsistencyInput(ByteSpan bytes, const std::string& path,
                                      const ConsistencyParts& parts) {
    ConsistencyInput input;
    const ImageInfo info = ReadImageInfo(bytes);
    input.bytes = bytes;
    input.name = ToValidUtf8(PathName(path));
    input.format = info.format;
    input.isPictureName = IsPictureName(path);
    input.nameAgrees = ExtensionAgrees(info.format, path);
    const bool isJpeg = info.format == FileFormat::Jpeg;
    input.damage = FindDamage(bytes, info, isJpeg ? &parts.jpeg : nullptr).damage;
    input.width = isJpeg ? parts.jpeg.frame.width : info.width;
    input.height = isJpeg ? parts.jpeg.frame.height : info.height;
    if (isJpeg) {
        if (parts.jpeg.pictures.size() < 2) input.bytesAfterEnd = parts.jpeg.trailingBytes;
        input.coding = parts.jpeg.frame.process;
        input.chrominanceAgrees = ChrominanceAgrees(parts.jpeg);
        input.jpeg = &parts.jpeg;
        input.tables = &parts.tables;
    }
    const ImageInfo thumbnail = parts.thumbnail.empty() ? ImageInfo() : ReadImageInfo(parts.thumbnail);
    input.thumbnailWidth = thumbnail.width;
    input.thumbnailHeight = thumbnail.height;
    input.thumbnail = parts.thumbnail;
    input.facts = parts.metadata.set.facts;
    input.metadata = &parts.metadata;
    input.gps = &parts.gps;
    return input;
}
