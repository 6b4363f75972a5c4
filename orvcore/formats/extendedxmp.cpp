#include "orvcore/formats/extendedxmp.h"

#include <algorithm>
#include <map>

#include "orvcore/formats/jpegwalk.h"
#include "zorbase/hash.h"
#include "zorbase/text.h"

namespace {

constexpr char kSignature[] = "http://ns.adobe.com/xmp/extension/";  // its final zero belongs to it
constexpr std::size_t kIdentifierBytes = 32;
constexpr std::size_t kHeaderBytes = sizeof kSignature + kIdentifierBytes + 8;
constexpr int kMaxPieces = 100000;

struct Piece {
    std::size_t at = 0;
    ByteSpan content;
};

struct Extension {
    std::size_t length = 0;
    bool isSound = true;
    std::vector<Piece> pieces;
};

std::map<std::string, Extension> Collect(ByteSpan bytes) {
    std::map<std::string, Extension> found;
    JpegWalk walk(bytes, 0);
    for (int i = 0; i < kMaxPieces; ++i) {
        const JpegPiece piece = walk.Next();
        if (piece.kind == JpegPiece::Kind::End || piece.kind == JpegPiece::Kind::Entropy) break;
        if (piece.kind != JpegPiece::Kind::Segment || piece.marker != jpegmarker::kApp0 + 1) continue;
        const ByteSpan payload = Slice(bytes, piece.PayloadOffset(), piece.PayloadSize());
        if (payload.size() < kHeaderBytes || !StartsWith(payload, 0, kSignature, sizeof kSignature)) continue;
        const std::size_t numbers = sizeof kSignature + kIdentifierBytes;
        Extension& extension = found[TextOf(Slice(payload, sizeof kSignature, kIdentifierBytes))];
        const std::size_t length = Big32(payload, numbers);
        if (!extension.pieces.empty() && extension.length != length) extension.isSound = false;
        extension.length = length;
        extension.pieces.push_back({Big32(payload, numbers + 4), payload.subspan(kHeaderBytes)});
    }
    return found;
}

// The whole, or "" where pieces are missing or lie over each other.
std::string Assemble(Extension& extension) {
    if (!extension.isSound || extension.length > kMaxExtendedXmp) return {};
    std::sort(extension.pieces.begin(), extension.pieces.end(),
              [](const Piece& a, const Piece& b) { return a.at < b.at; });
    std::string packet;
    for (const Piece& piece : extension.pieces) {
        if (piece.at != packet.size() || piece.content.size() > extension.length - packet.size()) return {};
        packet += TextOf(piece.content);
    }
    return packet.size() == extension.length ? packet : std::string();
}

}  // namespace

ExtendedXmp ReadExtendedXmp(ByteSpan bytes, const std::string& named) {
    ExtendedXmp result;
    if (!StartsWith(bytes, 0, "\xFF\xD8", 2)) return result;
    std::map<std::string, Extension> extensions = Collect(bytes);
    if (extensions.empty() && named.empty()) return result;
    if (extensions.size() > 1)
        result.warnings.push_back("The file holds pieces of " + std::to_string(extensions.size()) +
                                  " extended XMP packets; only one of them is read.");
    auto wanted = extensions.find(named);
    if (wanted == extensions.end() && named.empty())
        wanted = std::max_element(extensions.begin(), extensions.end(), [](const auto& a, const auto& b) {
            return a.second.length < b.second.length;
        });
    if (wanted == extensions.end()) {
        result.state = ExtendedXmpState::Incomplete;
        result.warnings.emplace_back("The XMP packet names an extended packet that the file does not hold.");
        return result;
    }
    result.packet = Assemble(wanted->second);
    if (result.packet.empty()) {
        result.state = ExtendedXmpState::Incomplete;
        result.warnings.emplace_back(
            "The extended XMP packet is not complete: pieces are missing, or lie over each other.");
        return result;
    }
    const auto* data = reinterpret_cast<const std::uint8_t*>(result.packet.data());
    const bool isIntact = ComputeHashes({data, result.packet.size()}).md5 == ToLower(wanted->first);
    result.state = isIntact ? ExtendedXmpState::Whole : ExtendedXmpState::Altered;
    if (!isIntact)
        result.warnings.emplace_back(
            "The extended XMP packet is not the one that its identifier (MD5) was made for.");
    return result;
}
