#include "zorimage/jpeg2000header.h"

#include <algorithm>
#include <string_view>

#include "zorimage/codec.h"

using codec::Jpeg2000Header;

namespace {

using namespace std::string_view_literals;

constexpr std::uint32_t kMaxComponents = 16384;

void ReadSize(ByteSpan body, Jpeg2000Header& header) {
    if (body.size() < 36) return;
    const std::uint32_t right = Big32(body, 2);
    const std::uint32_t bottom = Big32(body, 6);
    const std::uint32_t left = Big32(body, 10);
    const std::uint32_t top = Big32(body, 14);
    const std::uint64_t tileWidth = Big32(body, 18);
    const std::uint64_t tileHeight = Big32(body, 22);
    const std::uint64_t tileLeft = Big32(body, 26);
    const std::uint64_t tileTop = Big32(body, 30);
    const std::uint32_t count = std::min<std::uint32_t>(Big16(body, 34), kMaxComponents);
    if (right <= left || bottom <= top || tileWidth == 0 || tileHeight == 0 || tileLeft > left ||
        tileTop > top)
        return;
    header.hasSize = true;
    header.width = right - left;
    header.height = bottom - top;
    const std::uint64_t across = (right - tileLeft + tileWidth - 1) / tileWidth;
    const std::uint64_t down = (bottom - tileTop + tileHeight - 1) / tileHeight;
    header.tiles = across * down;
    for (std::uint32_t i = 0; i < count && 36 + (i + 1) * 3 <= body.size(); ++i) {
        const std::uint8_t* p = &body[36 + i * 3];
        header.components.push_back({(p[0] & 0x7f) + 1, (p[0] & 0x80) != 0, p[1], p[2]});
    }
}

void ReadMainHeader(ByteSpan stream, Jpeg2000Header& header) {
    std::size_t at = 2;
    while (stream.size() - std::min(at, stream.size()) >= 4) {
        const std::uint32_t marker = Big16(stream, at);
        const std::size_t length = Big16(stream, at + 2);
        if (marker == 0xff90 || marker < 0xff00 || length < 2 || length > stream.size() - at - 2) break;
        const ByteSpan body = stream.subspan(at + 4, length - 2);
        if (marker == 0xff51) ReadSize(body, header);
        if (marker == 0xff52 && body.size() >= 10) header.transform = body[9];
        at += 2 + length;
    }
}

void ReadColour(ByteSpan body, Jpeg2000Header& header) {
    if (body.size() < 3) return;
    if (body[0] == 1 && body.size() >= 7 && header.colourSpace == 0) header.colourSpace = Big32(body, 3);
    if (body[0] == 2 && header.iccProfile.empty()) header.iccProfile = body.subspan(3);
}

// Boxes of one level; the header box is entered, never deeper.
void ReadBoxes(ByteSpan bytes, Jpeg2000Header& header, bool isInHeaderBox) {
    std::size_t at = 0;
    while (bytes.size() - std::min(at, bytes.size()) >= 8) {
        std::size_t start = 0;
        std::size_t end = 0;
        if (!codec::ReadBox(bytes, at, bytes.size(), start, end)) break;
        const ByteSpan body = bytes.subspan(start, end - start);
        const std::string_view name(reinterpret_cast<const char*>(&bytes[at + 4]), 4);
        if (!isInHeaderBox && name == "jp2h"sv) ReadBoxes(body, header, true);
        if (isInHeaderBox && name == "colr"sv) ReadColour(body, header);
        if (isInHeaderBox && name == "pclr"sv) header.hasPalette = true;
        if (!isInHeaderBox && name == "jp2c"sv && header.codestream.empty()) header.codestream = body;
        at = end;
    }
}

}  // namespace

namespace codec {

Jpeg2000Header ReadJpeg2000Header(ByteSpan bytes) {
    Jpeg2000Header header;
    header.isCodestream = HasText(bytes, 0, "\xff\x4f\xff\x51"sv);
    if (header.isCodestream) {
        header.codestream = bytes;
    } else {
        ReadBoxes(bytes, header, false);
    }
    if (header.codestream.size() > 4) ReadMainHeader(header.codestream, header);
    return header;
}

}  // namespace codec
