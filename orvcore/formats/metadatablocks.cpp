#include "orvcore/formats/metadatablocks.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "orvcore/formats/jpegwalk.h"

namespace {

using namespace std::string_view_literals;

constexpr int kMaxPieces = 10000;
constexpr std::size_t kMaxExif = std::size_t{16} << 20;
constexpr std::size_t kMaxXmp = std::size_t{16} << 20;
constexpr std::string_view kExif = "Exif\0\0"sv;

std::size_t Find(ByteSpan bytes, std::string_view text, std::size_t from = 0) {
    if (from >= bytes.size()) return bytes.size();
    const void* hit = memmem(bytes.data() + from, bytes.size() - from, text.data(), text.size());
    if (hit == nullptr) return bytes.size();
    return static_cast<std::size_t>(static_cast<const std::uint8_t*>(hit) - bytes.data());
}

bool IsTiffHeader(ByteSpan bytes, std::size_t at) {
    return StartsWith(bytes, at, "II*\0", 4) || StartsWith(bytes, at, "MM\0*", 4);
}

ByteSpan FindPacket(ByteSpan bytes) {
    constexpr std::string_view kEnd = "</x:xmpmeta>"sv;
    const std::size_t start = Find(bytes, "<x:xmpmeta"sv);
    const ByteSpan rest = Slice(bytes, start, kMaxXmp);
    const std::size_t end = Find(rest, kEnd);
    return end < rest.size() ? rest.first(end + kEnd.size()) : ByteSpan();
}

MetadataBlocks FindInJpeg(ByteSpan bytes) {
    MetadataBlocks blocks;
    JpegWalk walk(bytes, 0);
    for (int i = 0; i < kMaxPieces; ++i) {
        const JpegPiece piece = walk.Next();
        if (piece.kind == JpegPiece::Kind::End || piece.kind == JpegPiece::Kind::Entropy) break;
        if (piece.kind != JpegPiece::Kind::Segment || piece.marker != jpegmarker::kApp0 + 1) continue;
        const ByteSpan payload = Slice(bytes, piece.PayloadOffset(), piece.PayloadSize());
        if (StartsWith(payload, 0, kExif.data(), kExif.size())) {
            if (blocks.exif.empty()) blocks.exif = payload.subspan(kExif.size());
        } else if (blocks.xmp.empty()) {
            blocks.xmp = FindPacket(payload);
        }
    }
    return blocks;
}

// The same text that stands in clear elsewhere, or a packed chunk, is not the block.
MetadataBlocks FindInPng(ByteSpan bytes) {
    constexpr std::string_view kPacket =
        "XML:com.adobe.xmp\0\0"sv;  // with the sign of a text that is not packed
    MetadataBlocks blocks;
    std::size_t at = 8;
    for (int i = 0; i < kMaxPieces && at + 12 <= bytes.size(); ++i) {
        const std::size_t length = Big32(bytes, at);
        const ByteSpan data = Slice(bytes, at + 8, length);
        if (blocks.exif.empty() && StartsWith(bytes, at + 4, "eXIf", 4) && IsTiffHeader(data, 0))
            blocks.exif = data;
        if (blocks.xmp.empty() && StartsWith(bytes, at + 4, "iTXt", 4) &&
            StartsWith(data, 0, kPacket.data(), kPacket.size()))
            blocks.xmp = FindPacket(data);
        if (length > bytes.size() - at - 12) break;
        at += 12 + length;
    }
    return blocks;
}

}  // namespace

MetadataBlocks FindMetadataBlocks(ByteSpan bytes) {
    if (StartsWith(bytes, 0, "\x89PNG\r\n\x1a\n", 8)) return FindInPng(bytes);
    return SearchMetadataBlocks(bytes);
}

MetadataBlocks SearchMetadataBlocks(ByteSpan bytes) {
    if (StartsWith(bytes, 0, "\xFF\xD8", 2)) return FindInJpeg(bytes);
    MetadataBlocks blocks;
    if (IsTiffHeader(bytes, 0)) {
        blocks.exif = bytes;
    } else {
        for (const auto& [label, length] : {std::pair{kExif, 6}, {"eXIf"sv, 4}, {"EXIF"sv, 8}}) {
            for (std::size_t at = Find(bytes, label); at < bytes.size() && blocks.exif.empty();
                 at = Find(bytes, label, at + 1)) {
                const std::size_t start = at + static_cast<std::size_t>(length);
                if (IsTiffHeader(bytes, start)) blocks.exif = Slice(bytes, start, kMaxExif);
            }
        }
    }
    blocks.xmp = FindPacket(bytes);
    return blocks;
}
