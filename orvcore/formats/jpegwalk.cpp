#include "orvcore/formats/jpegwalk.h"

#include <algorithm>
#include <cstring>

namespace {

// Position of the next FF from `from` on, or the number of bytes.
std::size_t FindFf(ByteSpan bytes, std::size_t from) {
    if (from >= bytes.size()) return bytes.size();
    const void* found = std::memchr(bytes.data() + from, 0xFF, bytes.size() - from);
    if (found == nullptr) return bytes.size();
    return static_cast<std::size_t>(static_cast<const std::uint8_t*>(found) - bytes.data());
}

// Position of the first byte from `from` on that is not FF, or the number of bytes.
std::size_t SkipFf(ByteSpan bytes, std::size_t from) {
    while (from < bytes.size() && bytes[from] == 0xFF) ++from;
    return from;
}

}  // namespace

JpegPiece JpegWalk::Next() {
    using namespace jpegmarker;
    JpegPiece piece;
    piece.offset = m_position;
    if (m_position >= m_bytes.size()) {
        // A scan header at the very end still gets its coded data, of no bytes.
        piece.kind = m_entropyFollows ? JpegPiece::Kind::Entropy : JpegPiece::Kind::End;
        m_entropyFollows = false;
        return piece;
    }
    if (m_entropyFollows) return NextEntropy();

    const std::size_t codeAt = SkipFf(m_bytes, m_position);
    if (codeAt == m_position || codeAt >= m_bytes.size() || m_bytes[codeAt] == 0) return NextGap();

    piece.kind = JpegPiece::Kind::Segment;
    piece.marker = m_bytes[codeAt];
    piece.fill = codeAt - 1 - m_position;
    piece.size = piece.fill + 2;
    if (HasLength(piece.marker)) {
        const std::size_t left = m_bytes.size() - codeAt - 1;
        if (left < 2) {
            piece.cut = true;
            piece.size += left;
        } else {
            piece.length = Big16(m_bytes, codeAt + 1);
            piece.lengthTooShort = piece.length < 2;
            piece.cut = piece.length > left;
            piece.size += std::min(std::max<std::size_t>(piece.length, 2), left);
        }
        m_entropyFollows = piece.marker == kSos && !piece.cut && !piece.lengthTooShort;
    }
    m_position += piece.size;
    return piece;
}

JpegPiece JpegWalk::NextEntropy() {
    using namespace jpegmarker;
    JpegPiece piece;
    piece.kind = JpegPiece::Kind::Entropy;
    piece.offset = m_position;
    m_entropyFollows = false;
    std::size_t at = m_position;
    int expected = -1;
    for (;;) {
        at = FindFf(m_bytes, at);
        const std::size_t codeAt = SkipFf(m_bytes, at);
        if (codeAt >= m_bytes.size()) {
            at = m_bytes.size();
            break;
        }
        const std::uint8_t code = m_bytes[codeAt];
        if (IsRestart(code)) {
            const int number = code - kRst0;
            if (number != (expected < 0 ? 0 : expected)) piece.restartOrderBroken = true;
            expected = (number + 1) % 8;
            ++piece.restarts;
        } else if (IsReserved(code)) {
            ++piece.strangeCodes;
        } else if (code != 0) {
            break;
        }
        at = codeAt + 1;
    }
    piece.size = at - m_position;
    m_position = at;
    return piece;
}

JpegPiece JpegWalk::NextGap() {
    using namespace jpegmarker;
    JpegPiece piece;
    piece.kind = JpegPiece::Kind::Gap;
    piece.offset = m_position;
    std::size_t at = m_position;
    for (;;) {
        at = FindFf(m_bytes, at);
        const std::size_t codeAt = SkipFf(m_bytes, at);
        if (codeAt >= m_bytes.size()) {
            at = m_bytes.size();
            break;
        }
        const std::uint8_t code = m_bytes[codeAt];
        if (code != 0 && code != kTem && !IsRestart(code) && !IsReserved(code)) break;
        at = codeAt + 1;
    }
    piece.size = at - m_position;
    m_position = at;
    return piece;
}
