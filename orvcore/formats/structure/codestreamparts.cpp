#include <algorithm>

#include "orvcore/formats/structure/parts.h"

namespace {

using Kind = StructureRow::Kind;

std::string MarkerName(std::uint32_t code) {
    struct Name {
        std::uint32_t code;
        const char* name;
    };
    static constexpr Name kNames[] = {
        {0xFF4F, "SOC"}, {0xFF50, "CAP"}, {0xFF51, "SIZ"}, {0xFF52, "COD"}, {0xFF53, "COC"}, {0xFF55, "TLM"},
        {0xFF57, "PLM"}, {0xFF58, "PLT"}, {0xFF5C, "QCD"}, {0xFF5D, "QCC"}, {0xFF5E, "RGN"}, {0xFF5F, "POC"},
        {0xFF60, "PPM"}, {0xFF61, "PPT"}, {0xFF63, "CRG"}, {0xFF64, "COM"}, {0xFF90, "SOT"}, {0xFF91, "SOP"},
        {0xFF92, "EPH"}, {0xFF93, "SOD"}, {0xFFD9, "EOC"}};
    for (const Name& name : kNames)
        if (name.code == code) return name.name;
    return "marker " + HexText(code, 4);
}

// Fields from the marker on: two bytes of code, two of length.
std::string MarkerText(std::uint32_t code, ByteSpan m) {
    const auto number = [](std::size_t value) { return std::to_string(value); };
    if (code == 0xFF51)
        return number(Big32(m, 6) - std::min(Big32(m, 6), Big32(m, 14))) + " x " +
               number(Big32(m, 10) - std::min(Big32(m, 10), Big32(m, 18))) + ", tiles " +
               number(Big32(m, 22)) + " x " + number(Big32(m, 26)) + ", " +
               CountText(Big16(m, 38), "component", "components") + ", " +
               number((ByteAt(m, 40) & 0x7F) + 1) + " bit";
    if (code == 0xFF52) {
        static const char* const kOrders[] = {"LRCP", "RLCP", "RPCL", "PCRL", "CPRL"};
        const std::uint32_t order = ByteAt(m, 5);
        return std::string(order < 5 ? kOrders[order] : "unknown order") + ", " +
               CountText(Big16(m, 6), "layer", "layers") + ", " + number(ByteAt(m, 9)) +
               " decompositions, code blocks " + number(std::size_t{4} << (ByteAt(m, 10) & 15)) + " x " +
               number(std::size_t{4} << (ByteAt(m, 11) & 15)) +
               (ByteAt(m, 13) == 1 ? ", reversible 5/3" : ", irreversible 9/7");
    }
    if (code == 0xFF5C) {
        static const char* const kStyles[] = {"no quantization", "derived steps", "explicit steps"};
        const std::uint32_t style = ByteAt(m, 4) & 31;
        return style < 3 ? kStyles[style] : "unknown quantization";
    }
    if (code == 0xFF64) return FieldText(Slice(m, 6, m.size()));
    if (code == 0xFF90)
        return "tile " + number(Big16(m, 4)) + ", part " + number(ByteAt(m, 10)) + " of " +
               (ByteAt(m, 11) == 0 ? "unknown number" : number(ByteAt(m, 11))) + ", " +
               CountText(Big32(m, 6), "byte", "bytes");
    return {};
}

}  // namespace

void WriteCodestreamParts(StructureWriter& writer, std::size_t begin, std::size_t end) {
    const ByteSpan bytes = writer.Part(0, end);
    StructureLevel level(writer, begin, end);
    std::size_t tileEnd = end;
    bool hasEnd = false;
    while (level.Left() >= 2 && !hasEnd) {
        const std::size_t at = level.Position();
        const std::uint32_t code = Big16(bytes, at);
        if (code < 0xFF01) break;
        const bool isBare = code == 0xFF4F || code == 0xFF93 || code == 0xFFD9 || code == 0xFF92 ||
                            (code >= 0xFF30 && code <= 0xFF3F);
        const std::size_t size = isBare ? 2 : 2 + std::max<std::size_t>(Big16(bytes, at + 2), 2);
        const bool isCut = size > level.Left();
        const std::size_t row = level.Add(size, MarkerName(code),
                                          isBare ? std::string() : MarkerText(code, Slice(bytes, at, size)));
        if (isCut) writer.Warn(row, "The data end inside the segment.");
        if (code == 0xFF90) {
            const std::size_t length = Big32(bytes, at + 6);
            // A length of zero: up to the end marker.
            tileEnd = length == 0 ? (end >= 2 && Big16(bytes, end - 2) == 0xFFD9 ? end - 2 : end)
                                  : std::min(end, at + std::max<std::size_t>(length, size));
            if (length > end - at) writer.Warn(row, "The tile part states more bytes than there are.");
        }
        if (code == 0xFF93 && tileEnd > level.Position())
            level.Add(tileEnd - level.Position(), "tile data", {}, Kind::Data);
        hasEnd = code == 0xFFD9;
    }
    if (!hasEnd)
        writer.WarnWhole("The codestream at offset " + std::to_string(begin) +
                         " has no end marker: it is cut or damaged.");
    if (level.Left() == 0) return;
    if (begin == 0 && hasEnd) {
        const std::size_t left = level.Left();
        writer.Warn(level.Trail(), CountText(left, "byte follows", "bytes follow") + " the end marker.");
    } else {
        level.FillTo(end);
    }
}
