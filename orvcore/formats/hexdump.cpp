#include "orvcore/formats/hexdump.h"

#include <algorithm>

namespace {

constexpr char kDigits[] = "0123456789ABCDEF";
constexpr int kGroup = 8;

}  // namespace

std::string HexDump(std::span<const std::uint8_t> bytes, std::uint64_t offset, std::uint64_t length,
                    int bytesPerLine) {
    if (offset >= bytes.size()) return {};
    const std::uint64_t end = offset + std::min<std::uint64_t>(length, bytes.size() - offset);
    int offsetDigits = 8;
    while (offsetDigits < 16 && bytes.size() >> (4 * offsetDigits) != 0) ++offsetDigits;

    std::string text;
    for (std::uint64_t line = offset; line < end; line += static_cast<std::uint64_t>(bytesPerLine)) {
        if (line > offset) text += '\n';
        for (int digit = offsetDigits - 1; digit >= 0; --digit) text += kDigits[line >> (4 * digit) & 15];
        std::string ascii;
        for (int i = 0; i < bytesPerLine; ++i) {
            text += i % kGroup == 0 ? "  " : " ";
            const std::uint64_t place = line + static_cast<std::uint64_t>(i);
            if (place >= end) {
                text += "  ";
                ascii += ' ';
                continue;
            }
            const std::uint8_t byte = bytes[place];
            text += kDigits[byte >> 4];
            text += kDigits[byte & 15];
            ascii += byte >= 0x20 && byte < 0x7F ? static_cast<char>(byte) : '.';
        }
        text += "  " + ascii;
    }
    return text;
}
