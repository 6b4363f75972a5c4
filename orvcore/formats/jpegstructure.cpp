#include "orvcore/formats/jpegstructure.h"

#include <algorithm>
#include <array>

#include "orvcore/formats/jpegsegmenttext.h"
#include "orvcore/formats/jpegwalk.h"
#include "zorbase/bytes.h"
#include "zorbase/text.h"

namespace {

// Position in row-by-row order of the k-th entry in the file.
constexpr std::array<int, 64> kZigZag = {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,
                                         12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28,
                                         35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51,
                                         58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

constexpr std::size_t kMaxWarnings = 100;
constexpr std::size_t kMaxTables = 4096;  // a hostile file can define tables over and over

class Parser {
  public:
    Parser(ByteSpan bytes, std::size_t start) : m_bytes(bytes), m_walk(bytes, start) {
        m_result.start = start;
        m_result.end = start;
        // What a camera's file has, so that lists do not grow step by step.
        m_result.segments.reserve(24);
        m_result.quantizationTables.reserve(4);
        m_result.huffmanTables.reserve(4);
    }

    JpegStructure Run() {
        if (!StartsWith(m_bytes, m_result.start, "\xFF\xD8", 2)) {
            m_result.trailingBytes = m_bytes.size() - std::min(m_bytes.size(), m_result.start);
            Warn("The data do not start with a JPEG's first marker.");
            return std::move(m_result);
        }
        m_result.isJpeg = true;
        bool ended = false;
        while (!ended) {
            const JpegPiece piece = m_walk.Next();
            if (piece.kind == JpegPiece::Kind::End) break;
            if (piece.kind == JpegPiece::Kind::Gap) {
                AddGap(piece);
            } else if (piece.kind == JpegPiece::Kind::Entropy) {
                AddEntropy(piece);
            } else {
                AddSegment(piece);
                ended = piece.marker == jpegmarker::kEoi;
            }
        }
        Finish(ended);
        return std::move(m_result);
    }

  private:
    // Odd, but no damage.
    void Remark(const std::string& text) {
        if (m_result.warnings.size() < kMaxWarnings) m_result.warnings.push_back(text);
    }
    void Warn(const std::string& text) {
        Remark(text);
        if (m_result.damage.size() < kMaxWarnings) m_result.damage.push_back(text);
    }
    // Something that a sound file does not have.
    void Fault(const std::string& text) {
        m_sound = false;
        Warn(text);
    }
    static std::string At(std::size_t offset) { return " at offset " + std::to_string(offset); }

    void AddGap(const JpegPiece& piece) {
        m_result.gapBytes += piece.size;
        if (m_result.gaps.size() < kMaxJpegSegments) m_result.gaps.push_back({piece.offset, piece.size});
        Fault(std::to_string(piece.size) + " bytes" + At(piece.offset) + " belong to no segment.");
    }

    void AddEntropy(const JpegPiece& piece) {
        m_result.entropyBytes += piece.size;
        if (!m_result.scans.empty() && m_scanListed) {
            JpegScan& scan = m_result.scans.back();
            scan.dataOffset = piece.offset;
            scan.dataSize = piece.size;
            scan.restarts = piece.restarts;
        }
        if (piece.size == 0) Fault("The scan" + At(piece.offset) + " has no coded data.");
        if (piece.strangeCodes > 0 && m_result.frame.marker != jpegmarker::kSof55)
            Warn("The coded data" + At(piece.offset) + " hold " + std::to_string(piece.strangeCodes) +
                 " codes that have no place there; they may be damaged.");
        if (piece.restartOrderBroken)
            Warn("The restart markers of the scan" + At(piece.offset) + " are out of order.");
    }

    void AddSegment(const JpegPiece& piece) {
        using namespace jpegmarker;
        const ByteSpan payload = Slice(m_bytes, piece.PayloadOffset(), piece.PayloadSize());
        if (piece.cut)
            Fault("The file ends inside the segment " + JpegMarkerName(piece.marker) + At(piece.offset) +
                  ".");
        else if (piece.lengthTooShort)
            Fault("The segment " + JpegMarkerName(piece.marker) + At(piece.offset) +
                  " states an impossible length.");
        else
            Decode(piece, payload);
        if (piece.fill > 0 && piece.marker != kEoi)
            Remark(std::to_string(piece.fill) + " fill bytes before " + JpegMarkerName(piece.marker) +
                   At(piece.offset) + ".");

        if (m_result.segments.size() >= kMaxJpegSegments) {
            m_result.segmentsDropped = true;
            m_result.droppedBytes += piece.size;
            return;
        }
        JpegSegment& segment = m_result.segments.emplace_back();
        segment.offset = piece.offset;
        segment.fill = piece.fill;
        segment.marker = piece.marker;
        segment.length = piece.length;
        segment.size = piece.size;
        segment.name = JpegMarkerName(piece.marker);
        if (piece.marker >= kApp0 && piece.marker <= kApp15) segment.identifier = JpegAppIdentifier(payload);
        segment.text = JpegSegmentText(piece.marker, segment.identifier, payload);
    }

    void Decode(const JpegPiece& piece, ByteSpan payload) {
        using namespace jpegmarker;
        const std::uint8_t marker = piece.marker;
        if (marker == kSoi) {
            if (piece.offset != m_result.start)
                Fault("A second start-of-image marker" + At(piece.offset) + " inside the JPEG.");
        } else if (marker == kDqt) {
            DecodeQuantization(piece, payload);
        } else if (marker == kDht) {
            DecodeHuffman(piece, payload);
        } else if (IsFrame(marker)) {
            DecodeFrame(piece, payload);
        } else if (marker == kSos) {
            DecodeScan(piece, payload);
        } else if (marker == kDri) {
            if (payload.size() < 2) Warn("The restart interval" + At(piece.offset) + " is too short.");
            m_result.restartInterval = static_cast<int>(Big16(payload, 0));
        } else if (marker == kDnl) {
            if (m_result.frame.height == 0) m_result.frame.height = static_cast<int>(Big16(payload, 0));
        } else if (marker == kDhp) {
            m_hierarchical = true;
        } else if (marker == kCom) {
            if (m_result.comments.size() < kMaxTables) m_result.comments.push_back(JpegCommentText(payload));
        } else if (marker == 0xE2) {
            if (m_result.pictures.empty())
                m_result.pictures = ReadPictureIndex(payload, piece.PayloadOffset(), m_result.start);
        } else if (IsRestart(marker) || IsReserved(marker) || marker == kTem) {
            Fault("The marker " + JpegMarkerName(marker) + At(piece.offset) + " has no place there.");
        }
    }

    void DecodeQuantization(const JpegPiece& piece, ByteSpan payload) {
        std::size_t at = 0;
        while (at < payload.size()) {
            const int precision = payload[at] >> 4;
            const int id = payload[at] & 15;
            const std::size_t entry = precision == 0 ? 1 : 2;
            if (precision > 1 || id > 3 || payload.size() - at - 1 < 64 * entry) {
                Warn("The quantization tables" + At(piece.offset) + " do not fit their segment.");
                return;
            }
            QuantizationTable table;
            table.id = id;
            table.precision = precision == 0 ? 8 : 16;
            table.values.resize(64);
            for (std::size_t k = 0; k < 64; ++k) {
                const std::uint32_t value = entry == 1 ? payload[at + 1 + k] : Big16(payload, at + 1 + 2 * k);
                table.values[static_cast<std::size_t>(kZigZag[k])] = static_cast<std::uint16_t>(value);
            }
            if (std::find(table.values.begin(), table.values.end(), 0) != table.values.end())
                Warn("Quantization table " + std::to_string(id) + At(piece.offset) +
                     " holds a step of zero.");
            if (m_result.quantizationTables.size() < kMaxTables)
                m_result.quantizationTables.push_back(std::move(table));
            at += 1 + 64 * entry;
        }
    }

    void DecodeHuffman(const JpegPiece& piece, ByteSpan payload) {
        std::size_t at = 0;
        while (at < payload.size()) {
            if (payload.size() - at < 17) {
                Warn("The Huffman tables" + At(piece.offset) + " do not fit their segment.");
                return;
            }
            JpegHuffmanTable table;
            table.tableClass = payload[at] >> 4;
            table.id = payload[at] & 15;
            const ByteSpan counts = Slice(payload, at + 1, 16);
            table.counts.assign(counts.begin(), counts.end());
            std::size_t total = 0;
            for (const std::uint8_t count : table.counts) total += count;
            if (table.tableClass > 1 || table.id > 3 || total > 256 || total > payload.size() - at - 17) {
                Warn("The Huffman tables" + At(piece.offset) + " do not fit their segment.");
                return;
            }
            const ByteSpan symbols = Slice(payload, at + 17, total);
            table.symbols.assign(symbols.begin(), symbols.end());
            if (m_result.huffmanTables.size() < kMaxTables)
                m_result.huffmanTables.push_back(std::move(table));
            at += 17 + total;
        }
    }

    void DecodeFrame(const JpegPiece& piece, ByteSpan payload) {
        const std::size_t count = ByteAt(payload, 5);
        if (!FrameHeaderFits(payload)) {
            Fault("The frame header" + At(piece.offset) + " does not fit its segment.");
            return;
        }
        ++m_result.frameCount;
        if (m_result.frameCount > 1) {
            if (!m_hierarchical) Fault("A second frame header" + At(piece.offset) + ".");
            return;
        }
        JpegFrame& frame = m_result.frame;
        frame.marker = piece.marker;
        frame.process = JpegProcessName(piece.marker);
        frame.precision = static_cast<int>(payload[0]);
        frame.height = static_cast<int>(Big16(payload, 1));
        frame.width = static_cast<int>(Big16(payload, 3));
        for (std::size_t i = 0; i < count; ++i) {
            const ByteSpan component = Slice(payload, 6 + 3 * i, 3);
            frame.components.push_back({component[0], component[1] >> 4, component[1] & 15, component[2]});
            const JpegComponent& c = frame.components.back();
            if (c.horizontal < 1 || c.horizontal > 4 || c.vertical < 1 || c.vertical > 4)
                Warn("Component " + std::to_string(c.id) +
                     " of the frame header has impossible sampling factors.");
        }
    }

    void DecodeScan(const JpegPiece& piece, ByteSpan payload) {
        const std::size_t count = ByteAt(payload, 0);
        if (!ScanHeaderFits(payload)) {
            Fault("The scan header" + At(piece.offset) + " does not fit its segment.");
            m_scanListed = false;
            return;
        }
        if (m_result.frameCount == 0) Fault("A scan" + At(piece.offset) + " comes before any frame header.");
        JpegScan scan;
        scan.headerOffset = piece.MarkerOffset();
        for (std::size_t i = 0; i < count; ++i) {
            const int id = payload[1 + 2 * i];
            scan.components.push_back(id);
            const auto& known = m_result.frame.components;
            const bool found =
                std::any_of(known.begin(), known.end(), [id](const JpegComponent& c) { return c.id == id; });
            if (!found && m_result.frameCount > 0)
                Warn("The scan" + At(piece.offset) + " names a component that the frame does not have.");
        }
        scan.spectralStart = payload[1 + 2 * count];
        scan.spectralEnd = payload[2 + 2 * count];
        scan.approximationHigh = payload[3 + 2 * count] >> 4;
        scan.approximationLow = payload[3 + 2 * count] & 15;
        m_scanListed = m_result.scans.size() < kMaxJpegSegments;
        if (m_scanListed) m_result.scans.push_back(std::move(scan));
    }

    void Finish(bool ended) {
        m_result.end = m_walk.Position();
        m_result.trailingBytes = m_bytes.size() - m_result.end;
        if (!ended) Fault("The end-of-image marker is missing: the file is cut or damaged.");
        if (m_result.frameCount == 0) Fault("There is no frame header.");
        if (m_result.scans.empty()) Fault("There is no scan.");
        if (m_result.frameCount > 0 && m_result.frame.height == 0) Warn("The height is not stated.");
        if (m_result.trailingBytes > 0) {
            m_result.trailingWarning =
                std::to_string(m_result.trailingBytes) + " bytes follow the end-of-image marker.";
            Remark(m_result.trailingWarning);
        }
        CheckTables();
        m_result.complete = m_sound;
    }

    void CheckTables() {
        if (m_result.frame.marker == jpegmarker::kSof55 || m_result.frame.process.find("Lossless") == 0)
            return;
        for (const JpegComponent& component : m_result.frame.components) {
            const auto& tables = m_result.quantizationTables;
            const bool found = std::any_of(tables.begin(), tables.end(), [&](const QuantizationTable& table) {
                return table.id == component.table;
            });
            if (!found)
                Warn("Quantization table " + std::to_string(component.table) + " of component " +
                     std::to_string(component.id) + " is missing.");
        }
    }

    ByteSpan m_bytes;
    JpegWalk m_walk;
    JpegStructure m_result;
    bool m_sound = true;
    bool m_hierarchical = false;
    bool m_scanListed = false;
};

}  // namespace

JpegStructure ParseJpegStructure(std::span<const std::uint8_t> bytes, std::size_t start) {
    return Parser(bytes, start).Run();
}

std::string JpegSubsampling(const JpegFrame& frame) {
    std::vector<JpegSampling> factors;
    for (const JpegComponent& component : frame.components)
        factors.push_back({component.horizontal, component.vertical});
    return JpegSamplingName(factors);
}
