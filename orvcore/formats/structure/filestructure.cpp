#include "orvcore/formats/structure/filestructure.h"

#include <string_view>

#include "orvcore/formats/structure/parts.h"

namespace {

bool IsBoxed(ByteSpan bytes) {
    return StartsWith(bytes, 4, "ftyp", 4) || StartsWith(bytes, 4, "jP  ", 4);
}

// The first place within the leading bytes where a JPEG seems to start, or the number of bytes.
std::size_t FindSoi(ByteSpan bytes) {
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    const std::size_t found = text.substr(0, std::size_t{1} << 20).find("\xFF\xD8\xFF");
    return found == std::string_view::npos ? bytes.size() : found;
}

using Parser = void (*)(StructureWriter&, std::size_t, std::size_t);

Parser ParserOf(FileFormat format, ByteSpan bytes) {
    switch (format) {
        case FileFormat::Jpeg:
            return WriteJpegParts;
        case FileFormat::Png:
            return WritePngParts;
        case FileFormat::Tiff:
            return WriteTiffParts;
        case FileFormat::Webp:
            return WriteWebpParts;
        case FileFormat::Gif:
            return WriteGifParts;
        case FileFormat::Bmp:
            return WriteBmpParts;
        case FileFormat::Heif:
        case FileFormat::Avif:
        case FileFormat::Mp4:
            return WriteIsoParts;
        case FileFormat::Jpeg2000:
            return IsBoxed(bytes) ? WriteIsoParts : WriteCodestreamParts;
        case FileFormat::Raw:
            if (IsBoxed(bytes)) return WriteIsoParts;
            if (StartsWith(bytes, 0, "FUJIFILMCCD-RAW", 15)) return WriteRafParts;
            if (StartsWith(bytes, 0, "II", 2) || StartsWith(bytes, 0, "MM", 2)) return WriteTiffParts;
            return nullptr;
        default:
            return nullptr;
    }
}

}  // namespace

FileStructure ReadFileStructure(std::span<const std::uint8_t> bytes,
                                const std::function<void(double)>& progress) {
    StructureWriter writer(bytes, progress);
    const FileFormat format = DetectFormat(bytes);
    Parser parser = ParserOf(format, bytes);
    // Bytes in front of a JPEG, or a damaged first marker, hide it from the recognition by its first bytes.
    if (parser == nullptr && format == FileFormat::Unknown && FindSoi(bytes) < bytes.size())
        parser = WriteJpegParts;
    if (parser != nullptr)
        parser(writer, 0, bytes.size());
    else if (!bytes.empty())
        writer.Add(0, bytes.size(), "whole file",
                   format == FileFormat::Unknown ? "unknown format"
                                                 : FormatName(format) + ", its structure is not read");
    writer.Tick(bytes.size());
    return writer.Finish(format, parser != nullptr);
}

int FindStructureRow(const FileStructure& structure, std::size_t offset) {
    int found = -1;
    for (std::size_t i = 0; i < structure.rows.size(); ++i) {
        const StructureRow& row = structure.rows[i];
        // The parts of a row follow it, so the last row that holds the byte is the deepest one.
        if (offset >= row.offset && offset - row.offset < row.length) found = static_cast<int>(i);
    }
    return found;
}

std::string StructurePath(const FileStructure& structure, std::size_t offset) {
    std::string path;
    for (const StructureRow& row : structure.rows)
        if (offset >= row.offset && offset - row.offset < row.length)
            path += (path.empty() ? "" : " > ") + row.name;
    return path;
}
