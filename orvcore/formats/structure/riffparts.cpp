#include <algorithm>

#include "orvcore/formats/structure/parts.h"

namespace {

using Kind = StructureRow::Kind;

std::uint32_t Little24(ByteSpan bytes, std::size_t at) {
    return Little16(bytes, at) | (ByteAt(bytes, at + 2) << 16);
}

std::string Size(std::size_t width, std::size_t height) {
    return std::to_string(width) + " x " + std::to_string(height);
}

std::string FlagsText(std::uint32_t flags) {
    std::string text;
    const std::pair<std::uint32_t, const char*> names[] = {
        {0x20, "ICC profile"}, {0x10, "alpha"}, {0x08, "EXIF"}, {0x04, "XMP"}, {0x02, "animation"}};
    for (const auto& [bit, name] : names)
        if ((flags & bit) != 0) text += std::string(", ") + name;
    return text;
}

std::string ChunkText(const std::string& type, ByteSpan data) {
    if (type == "VP8X")
        return "canvas " + Size(Little24(data, 4) + 1, Little24(data, 7) + 1) + FlagsText(ByteAt(data, 0));
    if (type == "VP8 ") {
        if (!StartsWith(data, 3, "\x9D\x01\x2A", 3)) return "lossy";
        return "lossy, " + Size(Little16(data, 6) & 0x3FFF, Little16(data, 8) & 0x3FFF);
    }
    if (type == "VP8L") {
        const std::uint32_t bits = Little32(data, 1);
        return "lossless, " + Size((bits & 0x3FFF) + 1, ((bits >> 14) & 0x3FFF) + 1);
    }
    if (type == "ANIM") return std::to_string(Little16(data, 4)) + " loops";
    if (type == "ANMF")
        return "frame " + Size(Little24(data, 6) + 1, Little24(data, 9) + 1) + " at " +
               std::to_string(2 * Little24(data, 0)) + ", " + std::to_string(2 * Little24(data, 3)) + ", " +
               std::to_string(Little24(data, 12)) + " ms";
    if (type == "ICCP") return "ICC profile, " + CountText(data.size(), "byte", "bytes");
    if (type == "EXIF") return "EXIF block";
    if (type == "XMP ") return "XMP packet";
    if (type == "C2PA") return "JUMBF, content credentials";
    return {};
}

void WriteChunks(StructureWriter& writer, std::size_t begin, std::size_t end) {
    const ByteSpan bytes = writer.Part(0, end);
    StructureLevel level(writer, begin, end);
    while (level.Left() >= 8) {
        const std::size_t at = level.Position();
        const std::string type = FourCharacterText(bytes, at);
        if (type.size() != 4) break;
        const std::size_t length = Little32(bytes, at + 4);
        const bool isCut = length > level.Left() - 8;
        const std::size_t size = isCut ? level.Left() : std::min(level.Left(), 8 + length + (length & 1));
        const bool isData = type == "VP8 " || type == "VP8L" || type == "ALPH";
        const std::size_t row = level.Add(size, type, ChunkText(type, Slice(bytes, at + 8, length)),
                                          isData ? Kind::Data : Kind::Part);
        if (isCut)
            writer.Warn(row, "The chunk states " + CountText(length, "byte", "bytes") +
                                 " but its container ends inside it.");
        if (!writer.CanNest()) continue;
        const std::size_t inside = at + 8;
        const std::size_t stop = std::min(end, inside + (isCut ? size - 8 : length));
        StructureWriter::Nest nest(writer);
        if (type == "ANMF" && stop > inside + 16) {
            StructureLevel frame(writer, inside, stop);
            frame.Add(16, "frame header");
            WriteChunks(writer, inside + 16, stop);
        } else if (type == "EXIF") {
            // Some programs leave the identifier of the JPEG segment in front of it.
            StructureLevel exif(writer, inside, stop);
            if (StartsWith(bytes, inside, "Exif\0\0", 6)) exif.Add(6, "identifier", "Exif");
            WriteTiffParts(writer, exif.Position(), stop);
        }
    }
    level.FillTo(end);
}

}  // namespace

void WriteWebpParts(StructureWriter& writer, std::size_t begin, std::size_t end) {
    const ByteSpan bytes = writer.Part(0, end);
    StructureLevel level(writer, begin, end);
    const std::size_t stated = std::size_t{Little32(bytes, begin + 4)} + 8;
    const std::size_t row = level.Add(12, "RIFF", "WebP, " + CountText(stated, "byte", "bytes") + " stated");
    const std::size_t stop = std::min(end, begin + std::max<std::size_t>(stated, 12));
    if (stated > end - begin) writer.Warn(row, "The file is shorter than its header states.");
    if (stop > level.Position()) WriteChunks(writer, level.Position(), stop);
    StructureLevel rest(writer, std::max(stop, level.Position()), end);
    const std::size_t left = rest.Left();
    if (left > 0)
        writer.Warn(rest.Trail(),
                    CountText(left, "byte follows", "bytes follow") + " what the header states.");
}
