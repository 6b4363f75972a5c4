#include <algorithm>

#include "orvcore/formats/structure/parts.h"

namespace {

using Kind = StructureRow::Kind;

// Bytes of a chain of sub-blocks with its closing zero byte, from `at` on; all that is left when it never closes.
std::size_t SubBlocks(ByteSpan bytes, std::size_t at, bool& isClosed) {
    std::size_t position = at;
    isClosed = false;
    while (position < bytes.size()) {
        const std::size_t length = bytes[position];
        position += 1 + std::min(length, bytes.size() - position - 1);
        if (length == 0) {
            isClosed = true;
            break;
        }
    }
    return position - at;
}

std::string PaletteText(std::uint32_t flags) {
    return CountText(std::size_t{2} << (flags & 7), "colour", "colours");
}

std::string ExtensionName(std::uint32_t label) {
    switch (label) {
        case 0xF9:
            return "graphic control";
        case 0xFE:
            return "comment";
        case 0x01:
            return "plain text";
        case 0xFF:
            return "application";
        default:
            return "extension 0x" + HexText(label, 2);
    }
}

std::string ExtensionText(std::uint32_t label, ByteSpan block) {
    if (label == 0xF9)
        return "delay " + std::to_string(Little16(block, 2)) + " / 100 s, disposal " +
               std::to_string((ByteAt(block, 1) >> 2) & 7) +
               ((ByteAt(block, 1) & 1) != 0 ? ", transparent" : "");
    if (label == 0xFE || label == 0xFF) return FieldText(Slice(block, 1, ByteAt(block, 0)));
    return {};
}

}  // namespace

void WriteGifParts(StructureWriter& writer, std::size_t begin, std::size_t end) {
    const ByteSpan bytes = writer.Part(0, end);
    StructureLevel level(writer, begin, end);
    level.Add(6, "signature", FieldText(Slice(bytes, begin, 6)));
    const std::uint32_t flags = ByteAt(bytes, begin + 10);
    level.Add(
        7, "screen descriptor",
        std::to_string(Little16(bytes, begin + 6)) + " x " + std::to_string(Little16(bytes, begin + 8)));
    if ((flags & 0x80) != 0)
        level.Add(std::size_t{6} << (flags & 7), "global colour table", PaletteText(flags));

    bool hasEnd = false;
    std::size_t pictures = 0;
    while (level.Left() > 0 && !hasEnd) {
        const std::size_t at = level.Position();
        const std::uint32_t code = bytes[at];
        bool isClosed = true;
        if (code == 0x21) {
            const std::uint32_t label = ByteAt(bytes, at + 1);
            const std::size_t size = 2 + SubBlocks(bytes, at + 2, isClosed);
            const std::size_t row =
                level.Add(size, ExtensionName(label), ExtensionText(label, Slice(bytes, at + 2, 256)));
            if (!isClosed) writer.Warn(row, "The file ends inside the extension.");
        } else if (code == 0x2C) {
            const std::uint32_t picture = ByteAt(bytes, at + 9);
            level.Add(
                10, "picture descriptor",
                "picture " + std::to_string(++pictures) + ", " + std::to_string(Little16(bytes, at + 5)) +
                    " x " + std::to_string(Little16(bytes, at + 7)) + " at " +
                    std::to_string(Little16(bytes, at + 1)) + ", " + std::to_string(Little16(bytes, at + 3)) +
                    ((picture & 0x40) != 0 ? ", interlaced" : ""));
            if ((picture & 0x80) != 0)
                level.Add(std::size_t{6} << (picture & 7), "local colour table", PaletteText(picture));
            if (level.Left() == 0) break;
            const std::size_t size = 1 + SubBlocks(bytes, level.Position() + 1, isClosed);
            const std::size_t row = level.Add(
                size, "picture data",
                "LZW, first codes of " + std::to_string(bytes[level.Position()] + 1) + " bits", Kind::Data);
            if (!isClosed) writer.Warn(row, "The file ends inside the picture.");
        } else if (code == 0x3B) {
            level.Add(1, "trailer");
            hasEnd = true;
        } else {
            // Nothing says how long an unknown block is: look for the next one that can be read.
            std::size_t next = at + 1;
            while (next < end && bytes[next] != 0x21 && bytes[next] != 0x2C && bytes[next] != 0x3B) ++next;
            level.FillTo(next);
        }
    }
    if (!hasEnd) writer.WarnWhole("The trailer is missing: the file is cut or damaged.");
    const std::size_t left = level.Left();
    if (left > 0)
        writer.Warn(level.Trail(), CountText(left, "byte follows", "bytes follow") + " the trailer.");
}
