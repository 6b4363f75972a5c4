#include <zlib.h>

#include <algorithm>

#include "orvcore/formats/structure/parts.h"

namespace {

using Kind = StructureRow::Kind;

std::string ColourText(std::uint32_t type) {
    switch (type) {
        case 0:
            return "grey";
        case 2:
            return "RGB";
        case 3:
            return "palette";
        case 4:
            return "grey with alpha";
        case 6:
            return "RGB with alpha";
        default:
            return "unknown colour type " + std::to_string(type);
    }
}

std::string Number(std::size_t value) {
    return std::to_string(value);
}

// Keyword of a text or profile chunk, and its text where it is not packed.
std::string KeywordText(const std::string& type, ByteSpan data) {
    std::string text = FieldText(data);
    const std::size_t end = static_cast<std::size_t>(std::find(data.begin(), data.end(), 0) - data.begin());
    if (type == "tEXt") text += ": " + FieldText(Slice(data, end + 1, data.size()), 120);
    if (type == "iTXt") {
        const bool isPacked = ByteAt(data, end + 1) != 0;
        ByteSpan rest = Slice(data, end + 3, data.size());
        for (int i = 0; i < 2; ++i) {
            const auto zero = std::find(rest.begin(), rest.end(), 0);
            rest = rest.subspan(std::min(rest.size(), static_cast<std::size_t>(zero - rest.begin()) + 1));
        }
        text += isPacked ? ": compressed" : ": " + FieldText(rest, 120);
    }
    if (type == "zTXt" || type == "iCCP") text += ", compressed";
    return text;
}

std::string ChunkText(const std::string& type, ByteSpan data) {
    if (type == "IHDR")
        return Number(Big32(data, 0)) + " x " + Number(Big32(data, 4)) + ", " + Number(ByteAt(data, 8)) +
               " bit, " + ColourText(ByteAt(data, 9)) + (ByteAt(data, 12) != 0 ? ", interlaced" : "");
    if (type == "PLTE") return CountText(data.size() / 3, "colour", "colours");
    if (type == "gAMA") return "gamma " + Number(Big32(data, 0)) + " / 100000";
    if (type == "sRGB") {
        static const char* const kIntents[] = {"perceptual", "relative colorimetric", "saturation",
                                               "absolute colorimetric"};
        return ByteAt(data, 0) < 4 ? kIntents[ByteAt(data, 0)] : "unknown rendering intent";
    }
    if (type == "pHYs")
        return Number(Big32(data, 0)) + " x " + Number(Big32(data, 4)) +
               (ByteAt(data, 8) == 1 ? " pixels per metre" : " (ratio only)");
    if (type == "tIME")
        return Number(Big16(data, 0)) + "-" + Number(ByteAt(data, 2)) + "-" + Number(ByteAt(data, 3)) + " " +
               Number(ByteAt(data, 4)) + ":" + Number(ByteAt(data, 5)) + ":" + Number(ByteAt(data, 6));
    if (type == "tEXt" || type == "zTXt" || type == "iTXt" || type == "iCCP") return KeywordText(type, data);
    if (type == "acTL")
        return "animation of " + CountText(Big32(data, 0), "frame", "frames") + ", " +
               Number(Big32(data, 4)) + " plays";
    if (type == "fcTL")
        return "frame " + Number(Big32(data, 4)) + " x " + Number(Big32(data, 8)) + " at " +
               Number(Big32(data, 12)) + ", " + Number(Big32(data, 16));
    if (type == "caBX") return "JUMBF, content credentials";
    if (type == "eXIf") return "EXIF block";
    return {};
}

// What the standard says of a chunk's place.
class OrderCheck {
  public:
    std::string Problem(const std::string& type) {
        std::string problem;
        if (m_count == 0 && type != "IHDR") problem = "The first chunk is not IHDR.";
        if (m_count > 0 && type == "IHDR") problem = "A second IHDR.";
        if (type == "IDAT" && m_dataEnded) problem = "IDAT chunks do not follow each other.";
        if (type == "IDAT")
            m_hasData = true;
        else if (m_hasData)
            m_dataEnded = true;
        if (type == "IEND" && !m_hasData) problem = "There is no IDAT before the end.";
        ++m_count;
        return problem;
    }

  private:
    std::size_t m_count = 0;
    bool m_hasData = false;
    bool m_dataEnded = false;
};

bool IsKnownCritical(const std::string& type) {
    return type == "IHDR" || type == "PLTE" || type == "IDAT" || type == "IEND";
}

}  // namespace

void WritePngParts(StructureWriter& writer, std::size_t begin, std::size_t end) {
    const ByteSpan bytes = writer.Part(0, end);
    StructureLevel level(writer, begin, end);
    level.Add(8, "signature", "PNG");
    OrderCheck order;
    bool hasEnd = false;
    while (level.Left() >= 8 && !hasEnd) {
        const std::size_t at = level.Position();
        const std::size_t length = Big32(bytes, at);
        const std::string type = FourCharacterText(bytes, at + 4);
        // A type is four letters; anything else means that the chain is lost.
        if (type.size() != 4 || !std::all_of(type.begin(), type.end(), [](char c) {
                return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
            }))
            break;
        const bool isCut = length > level.Left() - 8 || level.Left() - 8 - length < 4;
        const ByteSpan data = Slice(bytes, at + 8, length);
        const std::size_t row = level.Add(isCut ? level.Left() : length + 12, type, ChunkText(type, data),
                                          type == "IDAT" || type == "fdAT" ? Kind::Data : Kind::Part);
        if (isCut) {
            writer.Warn(row, "The chunk states " + CountText(length, "byte", "bytes") +
                                 " but the file ends inside it.");
        } else {
            const std::uint32_t stated = Big32(bytes, at + 8 + length);
            const std::uint32_t found =
                static_cast<std::uint32_t>(crc32_z(0, bytes.data() + at + 4, length + 4));
            if (stated != found)
                writer.Warn(row, "The check sum is wrong: " + HexText(stated, 8) + " is stated, " +
                                     HexText(found, 8) + " is right.");
        }
        if (const std::string problem = order.Problem(type); !problem.empty()) writer.Warn(row, problem);
        if (type[0] >= 'A' && type[0] <= 'Z' && !IsKnownCritical(type))
            writer.Warn(row, "An unknown chunk that readers must understand.");
        if (type == "eXIf" && !isCut && writer.CanNest()) {
            StructureWriter::Nest nest(writer);
            WriteTiffParts(writer, at + 8, at + 8 + length);
        }
        hasEnd = type == "IEND";
    }
    if (!hasEnd) {
        writer.WarnWhole("The end chunk (IEND) is missing: the file is cut or damaged.");
        level.FillTo(end);
    }
    const std::size_t left = level.Left();
    if (left > 0)
        writer.Warn(level.Trail(), CountText(left, "byte follows", "bytes follow") + " the end chunk.");
}
