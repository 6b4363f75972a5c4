#include <algorithm>

#include "orvcore/formats/structure/parts.h"

namespace {

using Kind = StructureRow::Kind;

std::string HeaderName(std::size_t size) {
    switch (size) {
        case 12:
            return "BITMAPCOREHEADER";
        case 40:
            return "BITMAPINFOHEADER";
        case 52:
            return "BITMAPV2INFOHEADER";
        case 56:
            return "BITMAPV3INFOHEADER";
        case 64:
            return "BITMAPCOREHEADER2";
        case 108:
            return "BITMAPV4HEADER";
        case 124:
            return "BITMAPV5HEADER";
        default:
            return "bitmap header";
    }
}

std::string CompressionText(std::uint32_t code) {
    static const char* const kNames[] = {"uncompressed", "RLE 8", "RLE 4",           "bit fields",
                                         "JPEG",         "PNG",   "alpha bit fields"};
    return code < std::size(kNames) ? kNames[code] : "compression " + std::to_string(code);
}

}  // namespace

void WriteBmpParts(StructureWriter& writer, std::size_t begin, std::size_t end) {
    const ByteSpan bytes = writer.Part(begin, end);
    StructureLevel level(writer, begin, end);
    const std::size_t statedSize = Little32(bytes, 2);
    const std::size_t pixelOffset = Little32(bytes, 10);
    const std::size_t fileRow = level.Add(
        14, "file header",
        CountText(statedSize, "byte", "bytes") + " stated, pixels at " + std::to_string(pixelOffset));
    const std::size_t headerSize = Little32(bytes, 14);
    const bool isCore = headerSize == 12;
    const std::int64_t width =
        isCore ? std::int64_t{Little16(bytes, 18)} : static_cast<std::int32_t>(Little32(bytes, 18));
    const std::int64_t height =
        isCore ? std::int64_t{Little16(bytes, 20)} : static_cast<std::int32_t>(Little32(bytes, 22));
    const std::size_t bits = Little16(bytes, isCore ? 24 : 28);
    const std::uint32_t compression = isCore || headerSize < 20 ? 0 : Little32(bytes, 30);
    const std::size_t row = level.Add(
        std::max<std::size_t>(headerSize, 4), HeaderName(headerSize),
        std::to_string(width) + " x " + std::to_string(std::abs(height)) + ", " + std::to_string(bits) +
            " bit, " + CompressionText(compression) + (height < 0 ? ", top row first" : ""));
    if (headerSize < 12) writer.Warn(row, "The header states an impossible length.");

    if (headerSize == 40 && (compression == 3 || compression == 6))
        level.Add(compression == 3 ? 12 : 16, "bit masks");
    const std::size_t used = isCore || headerSize < 36 ? 0 : Little32(bytes, 46);
    std::size_t colours = used;
    if (colours == 0 && bits <= 8) colours = std::size_t{1} << bits;
    std::size_t paletteSize = 0;
    if (colours <= end - begin) paletteSize = colours * (isCore ? 3 : 4);
    const std::size_t position = level.Position() - begin;
    if (pixelOffset > position) paletteSize = std::min(paletteSize, pixelOffset - position);
    if (paletteSize > 0)
        level.Add(paletteSize, "colour table",
                  CountText(paletteSize / (isCore ? 3 : 4), "colour", "colours"));

    if (pixelOffset < level.Position() - begin || pixelOffset >= bytes.size()) {
        writer.Warn(fileRow, "The offset of the pixels is impossible.");
    } else {
        level.FillTo(begin + pixelOffset);
        std::size_t size = headerSize >= 24 ? Little32(bytes, 34) : 0;
        if (compression == 0 || compression == 3 || compression == 6) {
            // 31 bits of width, 32 of height and 16 of depth stay below 64 bits when divided first.
            const std::uint64_t row32 = (static_cast<std::uint64_t>(std::abs(width)) * bits + 31) / 32;
            const std::uint64_t lines = static_cast<std::uint64_t>(std::abs(height));
            size = row32 == 0 || lines < bytes.size() / (4 * row32) + 2
                       ? static_cast<std::size_t>(row32 * 4 * lines)
                       : bytes.size();
        } else if (size == 0) {
            size = level.Left();
        }
        const bool isCut = size > level.Left();
        const std::size_t pixels = level.Add(size, "pixels", {}, Kind::Data);
        if (isCut) writer.Warn(pixels, "The file ends inside the pixels.");
    }
    if (headerSize == 124) {
        const std::size_t profile = 14 + std::size_t{Little32(bytes, 126)};
        const std::size_t length = Little32(bytes, 130);
        if (length > 0 && profile >= level.Position() - begin && profile < bytes.size()) {
            level.FillTo(begin + profile);
            level.Add(length, "ICC profile", CountText(length, "byte", "bytes"));
        }
    }
    if (level.Left() > 0) {
        const std::size_t left = level.Left();
        writer.Warn(level.Trail(), CountText(left, "byte follows", "bytes follow") + " the picture.");
    }
}

void WriteRafParts(StructureWriter& writer, std::size_t begin, std::size_t end) {
    const ByteSpan bytes = writer.Part(begin, end);
    struct Piece {
        std::size_t offset, length;
        const char* name;
    };
    Piece pieces[] = {{Big32(bytes, 84), Big32(bytes, 88), "JPEG preview"},
                      {Big32(bytes, 92), Big32(bytes, 96), "sensor directory"},
                      {Big32(bytes, 100), Big32(bytes, 104), "sensor data"}};
    std::sort(std::begin(pieces), std::end(pieces),
              [](const Piece& a, const Piece& b) { return a.offset < b.offset; });
    StructureLevel level(writer, begin, end);
    level.Add(108, "header", FieldText(Slice(bytes, 28, 32)));
    for (const Piece& piece : pieces) {
        if (piece.length == 0 || piece.offset < level.Position() - begin || piece.offset >= bytes.size())
            continue;
        level.FillTo(begin + piece.offset);
        const std::size_t at = level.Position();
        const bool isCut = piece.length > level.Left();
        const std::size_t row =
            level.Add(piece.length, piece.name, {},
                      piece.name[0] == 's' && piece.name[7] == 'd' ? Kind::Data : Kind::Part);
        if (isCut) writer.Warn(row, "The file ends inside it.");
        if (piece.name[0] == 'J' && writer.CanNest()) {
            StructureWriter::Nest nest(writer);
            WriteJpegParts(writer, at, level.Position());
        }
    }
    level.Trail();
}
