#pragma once

#include <cstddef>
#include <cstdint>

#include "zorbase/bytes.h"

// The marker codes that the walk itself must know (second byte; the first one is FF).
namespace jpegmarker {
constexpr std::uint8_t kTem = 0x01;
constexpr std::uint8_t kSof0 = 0xC0;
constexpr std::uint8_t kDht = 0xC4;
constexpr std::uint8_t kJpg = 0xC8;
constexpr std::uint8_t kDac = 0xCC;
constexpr std::uint8_t kRst0 = 0xD0;
constexpr std::uint8_t kRst7 = 0xD7;
constexpr std::uint8_t kSoi = 0xD8;
constexpr std::uint8_t kEoi = 0xD9;
constexpr std::uint8_t kSos = 0xDA;
constexpr std::uint8_t kDqt = 0xDB;
constexpr std::uint8_t kDnl = 0xDC;
constexpr std::uint8_t kDri = 0xDD;
constexpr std::uint8_t kDhp = 0xDE;
constexpr std::uint8_t kExp = 0xDF;
constexpr std::uint8_t kApp0 = 0xE0;
constexpr std::uint8_t kApp15 = 0xEF;
constexpr std::uint8_t kSof55 = 0xF7;  // of the near-lossless standard
constexpr std::uint8_t kCom = 0xFE;

constexpr bool IsRestart(std::uint8_t code) {
    return code >= kRst0 && code <= kRst7;
}
constexpr bool IsFrame(std::uint8_t code) {
    return (code >= 0xC0 && code <= 0xCF && code != kDht && code != kJpg && code != kDac) || code == kSof55;
}
constexpr bool IsReserved(std::uint8_t code) {
    return code >= 0x02 && code <= 0xBF;
}
constexpr bool HasLength(std::uint8_t code) {
    return code != kTem && code != kSoi && code != kEoi && !IsRestart(code);
}
}  // namespace jpegmarker

// Whether a frame header's or scan header's content fills its segment exactly.
inline bool FrameHeaderFits(ByteSpan payload) {
    return payload.size() >= 9 && ByteAt(payload, 5) > 0 &&
           payload.size() == 6 + 3 * std::size_t{payload[5]} && Big16(payload, 3) > 0;
}
inline bool ScanHeaderFits(ByteSpan payload) {
    return payload.size() >= 6 && payload[0] >= 1 && payload[0] <= 4 &&
           payload.size() == 4 + 2 * std::size_t{payload[0]};
}

// One piece of a JPEG: the pieces follow each other without holes, so their sizes add up to the bytes walked
// over.
struct JpegPiece {
    enum class Kind {
        Segment,  // a marker with what belongs to it
        Entropy,  // coded data of a scan, restart markers included
        Gap,      // bytes that belong to nothing
        End       // no bytes left
    };
    Kind kind = Kind::End;
    std::size_t offset = 0;   // of the piece's first byte (a fill byte when there are some)
    std::size_t size = 0;     // bytes in the file, fill bytes included
    std::size_t fill = 0;     // extra FF bytes before the marker
    std::uint8_t marker = 0;  // Segment: the code
    std::size_t length =
        0;  // Segment: as the file states it, with the two length bytes; 0 for a marker that has none
    bool lengthTooShort = false;   // stated length below 2
    bool cut = false;              // the file ends inside the segment
    std::size_t restarts = 0;      // Entropy: restart markers in it
    std::size_t strangeCodes = 0;  // Entropy: FF followed by a reserved code, a sign of damage
    bool restartOrderBroken = false;

    std::size_t MarkerOffset() const { return offset + fill; }
    // Where the segment's content starts, after marker and length.
    std::size_t PayloadOffset() const { return offset + fill + 4; }
    std::size_t PayloadSize() const { return size > fill + 4 ? size - fill - 4 : 0; }
};

// Walks from marker to marker by the stated lengths. Every step moves forward, each byte is looked at a
// bounded number of times; it never reads outside the bytes. The bytes must outlive the walk. Knows nothing
// of what segments mean.
class JpegWalk {
  public:
    JpegWalk(ByteSpan bytes, std::size_t start) : m_bytes(bytes), m_position(start) {}

    // The next piece. After a scan's header comes its coded data, even when there is none of it.
    JpegPiece Next();
    std::size_t Position() const { return m_position; }

  private:
    JpegPiece NextEntropy();
    JpegPiece NextGap();

    ByteSpan m_bytes;
    std::size_t m_position = 0;
    bool m_entropyFollows = false;
};
