#include "zorimage/bmpheader.h"

#include <algorithm>
#include <bit>

#include "zorbase/zorexception.h"
#include "zorimage/codec.h"

using codec::BmpHeader;
using Coding = codec::BmpHeader::Coding;

namespace {

constexpr std::size_t kFileHeaderBytes = 14;
constexpr std::uint32_t kOs2V1Bytes = 12;
constexpr std::uint32_t kOs2V2Bytes = 64;
constexpr std::uint32_t kWindowsV3Bytes = 40;
constexpr std::uint32_t kWindowsV5Bytes = 124;

// A little-endian number of the second header; 0 where this header is too short to have it.
class HeaderView {
  public:
    HeaderView(ByteSpan bytes, std::size_t size) : m_bytes(bytes.first(std::min(size, bytes.size()))) {}
    std::uint32_t Get16(std::size_t offset) const {
        return offset + 2 <= m_bytes.size() ? Little16(m_bytes, offset) : 0;
    }
    std::uint32_t Get32(std::size_t offset) const {
        return offset + 4 <= m_bytes.size() ? Little32(m_bytes, offset) : 0;
    }

  private:
    ByteSpan m_bytes;
};

void SetCoding(BmpHeader& header, std::uint32_t code) {
    const bool isOs2 = header.headerBytes == kOs2V2Bytes;
    switch (code) {
        case 0:
            header.coding = Coding::None, header.codingName = "none";
            break;
        case 1:
            header.coding = Coding::Rle8, header.codingName = "RLE8";
            break;
        case 2:
            header.coding = Coding::Rle4, header.codingName = "RLE4";
            break;
        case 3:
            header.coding = isOs2 ? Coding::Other : Coding::BitFields;
            header.codingName = isOs2 ? "Huffman 1D" : "none (bit fields)";
            break;
        case 4:
            header.coding = isOs2 ? Coding::Other : Coding::Jpeg;
            header.codingName = isOs2 ? "RLE24" : "JPEG";
            break;
        case 5:
            header.coding = Coding::Png, header.codingName = "PNG";
            break;
        case 6:
            header.coding = Coding::BitFields, header.codingName = "none (bit fields)";
            break;
        default:
            header.coding = Coding::Other, header.codingName = "unknown (" + std::to_string(code) + ")";
            break;
    }
}

void CheckBits(const BmpHeader& header) {
    const int bits = header.bits;
    const bool isEmbedded = header.coding == Coding::Jpeg || header.coding == Coding::Png;
    const bool isKnown =
        bits == 1 || bits == 2 || bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32;
    const bool agrees = (header.coding != Coding::Rle8 || bits == 8) &&
                        (header.coding != Coding::Rle4 || bits == 4) &&
                        (header.coding != Coding::BitFields || bits == 16 || bits == 32);
    if (!isEmbedded && (!isKnown || !agrees)) {
        ZOR_THROW(Format, "The BMP file says " + std::to_string(bits) + " bits per pixel with the coding \"" +
                              header.codingName + "\", which does not exist.");
    }
}

// Colour masks: stored ones, or those that the format fixes.
void SetMasks(BmpHeader& header, ByteSpan bytes, std::size_t& at) {
    if (header.coding != Coding::BitFields) {
        if (header.bits == 16) header.masks = {0x001f, 0x03e0, 0x7c00, 0};
        if (header.bits == 32) header.masks = {0x0000ff, 0x00ff00, 0xff0000, 0};
        return;
    }
    const bool areAfterHeader = header.headerBytes == kWindowsV3Bytes;
    const std::size_t start = areAfterHeader ? at : kFileHeaderBytes + kWindowsV3Bytes;
    const bool hasAlpha =
        areAfterHeader ? Little32(bytes, kFileHeaderBytes + 16) == 6 : header.headerBytes >= 56;
    const std::size_t count = hasAlpha ? 4 : 3;
    if (start + count * 4 > bytes.size()) ZOR_THROW(Format, "The BMP file ends before its colour masks.");
    header.masks = {Little32(bytes, start + 8), Little32(bytes, start + 4), Little32(bytes, start),
                    hasAlpha ? Little32(bytes, start + 12) : 0};
    if (areAfterHeader) at += count * 4;
    for (const std::uint32_t mask : header.masks) {
        const std::uint32_t run = mask >> (mask == 0 ? 0 : std::countr_zero(mask));
        if ((run & (run + 1)) != 0) ZOR_THROW(Format, "The BMP file's colour masks have holes.");
    }
    if ((header.masks[0] | header.masks[1] | header.masks[2]) == 0) {
        ZOR_THROW(Format, "The BMP file's colour masks are empty.");
    }
}

void ReadPalette(BmpHeader& header, ByteSpan bytes, std::uint32_t used, std::size_t& at) {
    const std::size_t entryBytes = header.headerBytes == kOs2V1Bytes ? 3 : 4;
    if (header.bits > 8) {  // a palette of true colour is only a hint for displays
        if (used <= 256) at += used * entryBytes;
        return;
    }
    const std::size_t most = std::size_t{1} << header.bits;
    std::size_t count = used == 0 ? most : std::min<std::size_t>(used, most);
    if (used > most) header.warnings.emplace_back("The palette claims " + std::to_string(used) + " colours.");
    // A palette ends where the pixels begin; short ones are usual in old files.
    const std::size_t pixels = Little32(bytes, 10);
    const std::size_t end = pixels >= at && pixels <= bytes.size() ? pixels : bytes.size();
    const std::size_t there = (end - std::min(at, end)) / entryBytes;
    if (there < count && end == bytes.size())
        header.warnings.emplace_back("File ends early: the palette is cut off.");
    count = std::min(count, there);
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint8_t* p = &bytes[at + i * entryBytes];
        header.palette.push_back({p[0], p[1], p[2]});
    }
    at += count * entryBytes;
}

void SetSize(BmpHeader& header, const HeaderView& view) {
    if (header.headerBytes == kOs2V1Bytes) {
        header.width = view.Get16(4);
        header.height = view.Get16(6);
        header.bits = static_cast<int>(view.Get16(10));
        return;
    }
    header.width = view.Get32(4);
    header.height = view.Get32(8);
    header.bits = static_cast<int>(view.Get16(14));
    if ((header.height & 0x80000000U) != 0) {
        header.isTopDown = true;
        header.height = ~header.height + 1;
    }
}

}  // namespace

namespace codec {

BmpHeader ReadBmpHeader(ByteSpan bytes) {
    if (bytes.size() < kFileHeaderBytes + kOs2V1Bytes)
        ZOR_THROW(Format, "The BMP file ends inside its headers.");
    BmpHeader header;
    header.headerBytes = Little32(bytes, kFileHeaderBytes);
    if (header.headerBytes > bytes.size() - kFileHeaderBytes)
        ZOR_THROW(Format, "The BMP file ends inside its headers.");
    const HeaderView view(bytes.subspan(kFileHeaderBytes), header.headerBytes);
    SetSize(header, view);
    SetCoding(header, view.Get32(16));
    CheckBits(header);
    std::size_t at = kFileHeaderBytes + header.headerBytes;
    SetMasks(header, bytes, at);
    ReadPalette(header, bytes, view.Get32(32), at);

    const std::size_t stated = Little32(bytes, 10);
    const std::size_t least = kFileHeaderBytes + header.headerBytes;
    header.dataOffset = stated;
    if (stated < least || stated > bytes.size()) {
        header.warnings.emplace_back("The place of the pixels, " + std::to_string(stated) +
                                     ", cannot be right; they are taken from behind the headers.");
        header.dataOffset = std::min(at, bytes.size());
    }
    if (header.headerBytes == kWindowsV5Bytes && view.Get32(56) == 0x4d424544) {  // an embedded profile
        const std::uint64_t start = std::uint64_t{kFileHeaderBytes} + view.Get32(112);
        const std::uint64_t length = view.Get32(116);
        if (start + length <= bytes.size()) header.iccProfile = bytes.subspan(start, length);
    }
    return header;
}

}  // namespace codec
