#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "zorbase/parameter.h"

// What one JPEG in memory is made of, read marker by marker as the standard (ITU-T T.81) lays it down.
// Offsets count bytes from the start of the span that was handed in. Texts are valid UTF-8 but come from the
// file: they are hostile.

// One marker segment, or a marker that has no content (SOI, EOI, RSTn).
struct JpegSegment {
    std::size_t offset = 0;   // of the first byte that belongs to it: a fill byte when there are some,
                              // otherwise the marker's FF
    std::size_t fill = 0;     // extra FF bytes before the marker
    std::uint8_t marker = 0;  // second byte of the marker, 0xD8 for SOI
    std::size_t length =
        0;                 // as the file states it, with the two length bytes; 0 for markers without content
    std::size_t size = 0;  // bytes it takes in the file: fill + 2 + length, less when the file ends inside it
    std::string name;      // "SOF2", "APP1"
    std::string
        identifier;    // of APPn: "Exif", "JFIF", "ICC_PROFILE"; empty when it has none that is readable
    std::string text;  // what it says, in a few words
    std::size_t PayloadOffset() const { return offset + fill + 4; }
    std::size_t PayloadSize() const { return size > fill + 4 ? size - fill - 4 : 0; }
};

struct JpegHuffmanTable {
    int tableClass = 0;                 // 0 DC (or lossless), 1 AC
    int id = 0;                         // 0..3
    std::vector<std::uint8_t> counts;   // 16: number of codes of length 1..16
    std::vector<std::uint8_t> symbols;  // in order of growing code length
    bool operator==(const JpegHuffmanTable&) const = default;
};

struct JpegComponent {
    int id = 0;
    int horizontal = 0;  // sampling factors, 1..4 in a sound file
    int vertical = 0;
    int table = 0;  // number of its quantization table
};

struct JpegFrame {
    std::uint8_t marker = 0;
    std::string process;  // "Baseline DCT, Huffman"
    int precision = 0;    // bits per sample
    int width = 0;
    int height = 0;  // 0 when the file defers it to a DNL segment and has none
    std::vector<JpegComponent> components;
};

struct JpegScan {
    std::size_t headerOffset = 0;  // of the SOS marker
    std::vector<int> components;   // their ids
    int spectralStart = 0;
    int spectralEnd = 0;
    int approximationHigh = 0;
    int approximationLow = 0;
    std::size_t dataOffset = 0;  // of the coded data
    std::size_t dataSize = 0;    // with stuffing and restart markers
    std::size_t restarts = 0;
};

// Bytes inside the file's JPEG part that belong to no segment.
struct JpegGap {
    std::size_t offset = 0;
    std::size_t size = 0;
};

// One entry of the multi-picture index (APP2 "MPF").
struct JpegPictureEntry {
    std::size_t offset = 0;  // of the picture in the span; the first one is the file's own, at `start`
    std::size_t size = 0;
    std::uint32_t attributes = 0;
    std::string text;  // "baseline primary image", "large thumbnail (VGA)"…
};

struct JpegStructure {
    bool isJpeg = false;    // starts with SOI; nothing else is filled in otherwise
    bool complete = false;  // SOI to EOI without gaps, cut or impossible lengths, exactly one frame (unless
                            // hierarchical), a scan after it
    std::size_t start = 0;
    std::size_t end = 0;                          // just past EOI; without EOI the end of the span
    std::vector<JpegSegment> segments;            // in file order
    QuantizationTables quantizationTables;        // in file order; a number defined twice is there twice
    std::vector<JpegHuffmanTable> huffmanTables;  // in file order
    JpegFrame frame;                              // the first one; no components when there is none
    std::size_t frameCount = 0;
    std::vector<JpegScan> scans;
    std::vector<JpegGap> gaps;
    std::vector<std::string> comments;       // of COM segments
    std::vector<JpegPictureEntry> pictures;  // of the multi-picture index
    int restartInterval = 0;                 // the last one stated, in MCUs; 0 none
    std::size_t entropyBytes = 0;
    std::size_t gapBytes = 0;
    std::size_t trailingBytes = 0;  // after `end`
    bool segmentsDropped = false;   // more segments than are listed (see kMaxJpegSegments); sums still hold
    std::size_t droppedBytes = 0;   // bytes of the segments that are not listed
    std::vector<std::string> warnings;  // each a sentence
    std::vector<std::string> damage;    // those of them that tell of damage
    std::string trailingWarning;        // that of bytes behind the end, "" without
};

// More segments than this are counted but not listed: no real file has so many.
constexpr std::size_t kMaxJpegSegments = 200000;

// Walks the JPEG that starts at `start` up to its EOI. Never throws on what the bytes say, never trusts a
// length, and needs time linear in the bytes. Always: sum of segment sizes + entropyBytes + gapBytes +
// droppedBytes + trailingBytes = bytes.size() - start.
JpegStructure ParseJpegStructure(std::span<const std::uint8_t> bytes, std::size_t start = 0);

// "SOI", "APP1", "SOF2", "RST3", "RES 7F" for a second marker byte.
std::string JpegMarkerName(std::uint8_t marker);

// "4:2:0", "4:4:4"… for three components where the usual words fit, otherwise the factors as "2x2,1x1,1x1";
// "" without components.
std::string JpegSubsampling(const JpegFrame& frame);
