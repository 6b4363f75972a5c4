#include <algorithm>
#include <array>
#include <set>
#include <string_view>
#include <vector>

#include "orvcore/formats/jpegcarver.h"
#include "orvcore/formats/jpegsegmenttext.h"
#include "orvcore/formats/jpegstructure.h"
#include "orvcore/formats/jpegwalk.h"
#include "orvcore/formats/structure/parts.h"

namespace {

using Kind = StructureRow::Kind;

// What a scan's coded data are checked against.
struct FrameFacts {
    std::size_t width = 0;
    std::size_t height = 0;
    std::vector<JpegComponent> components;
};

// How many restart markers a scan of these components must hold: one between every two intervals of MCUs (the
// standard, A.2 and B.2.4.4).
std::size_t ExpectedRestarts(const FrameFacts& frame, ByteSpan scan, std::size_t interval) {
    std::size_t widest = 1, tallest = 1;
    for (const JpegComponent& c : frame.components) {
        widest = std::max<std::size_t>(widest, static_cast<std::size_t>(c.horizontal));
        tallest = std::max<std::size_t>(tallest, static_cast<std::size_t>(c.vertical));
    }
    const auto ceil = [](std::size_t a, std::size_t b) { return (a + b - 1) / b; };
    std::size_t units = ceil(frame.width, 8 * widest) * ceil(frame.height, 8 * tallest);
    if (ByteAt(scan, 0) == 1) {
        for (const JpegComponent& c : frame.components)
            if (c.id == static_cast<int>(ByteAt(scan, 1)))
                units = ceil(ceil(frame.width * static_cast<std::size_t>(c.horizontal), widest), 8) *
                        ceil(ceil(frame.height * static_cast<std::size_t>(c.vertical), tallest), 8);
    }
    return units == 0 ? 0 : ceil(units, interval) - 1;
}

// Writes the segments of one picture.
class Picture {
  public:
    Picture(StructureWriter& writer, std::size_t begin, std::size_t end)
        : m_writer(writer), m_begin(begin), m_bytes(writer.Part(0, end)), m_walk(m_bytes, begin) {}

    // Answers the position just past the end-of-image marker, or `end` when there is none.
    std::size_t Write() {
        std::size_t last = StructureWriter::kNone;
        for (;;) {
            const JpegPiece piece = m_walk.Next();
            if (piece.kind == JpegPiece::Kind::End) break;
            if (piece.kind == JpegPiece::Kind::Gap)
                last = WriteGap(piece);
            else if (piece.kind == JpegPiece::Kind::Entropy)
                last = WriteEntropy(piece);
            else
                last = WriteSegment(piece);
            if (piece.kind == JpegPiece::Kind::Segment && piece.marker == jpegmarker::kEoi) {
                CheckWhole(last);
                return m_walk.Position();
            }
        }
        m_writer.Warn(last, "The file ends here without an end-of-image marker.");
        return m_bytes.size();
    }

    const std::vector<JpegPictureEntry>& Pictures() const { return m_pictures; }

  private:
    std::size_t WriteGap(const JpegPiece& piece) {
        const std::size_t row = m_writer.Add(piece.offset, piece.size, "gap",
                                             GuessText(Slice(m_bytes, piece.offset, piece.size)), Kind::Gap);
        m_writer.Warn(row, CountText(piece.size, "byte belongs", "bytes belong") + " to no segment.");
        return row;
    }

    std::size_t WriteEntropy(const JpegPiece& piece) {
        std::string text = "scan " + std::to_string(m_scans);
        if (piece.restarts > 0) text += ", " + CountText(piece.restarts, "restart marker", "restart markers");
        const std::size_t row =
            m_writer.Add(piece.offset, piece.size, "entropy-coded data", text, Kind::Data);
        if (piece.size == 0) m_writer.Warn(row, "The scan has no coded data.");
        if (piece.strangeCodes > 0 && m_frameMarker != jpegmarker::kSof55)
            m_writer.Warn(row, CountText(piece.strangeCodes, "code has", "codes have") +
                                   " no place in coded data; they may be damaged.");
        if (piece.restartOrderBroken) m_writer.Warn(row, "The restart markers are out of order.");
        CheckRestarts(piece, row);
        return row;
    }

    void CheckRestarts(const JpegPiece& piece, std::size_t row) {
        if (m_frame.width == 0 || m_frame.height == 0 || m_frameMarker == jpegmarker::kSof55) return;
        if (m_interval == 0) {
            if (piece.restarts > 0)
                m_writer.Warn(row, "There are restart markers but no restart interval is set.");
            return;
        }
        // Lossless frames count samples, not blocks, and in a hierarchical file the frames differ.
        const int kind = (m_frameMarker - jpegmarker::kSof0) & 3;
        if (kind == 3 || m_frames > 1) return;
        const std::size_t expected = ExpectedRestarts(m_frame, m_scan, m_interval);
        // One more than needed, at the very end, is a habit of some encoders.
        if (piece.restarts != expected && piece.restarts != expected + 1 && piece.size > 0)
            m_writer.Warn(
                row, "Size and restart interval ask for " + std::to_string(expected) + " restart markers.");
    }

    std::size_t WriteSegment(const JpegPiece& piece) {
        using namespace jpegmarker;
        const ByteSpan payload = Slice(m_bytes, piece.PayloadOffset(), piece.PayloadSize());
        std::string identifier;
        const bool isApp = piece.marker >= kApp0 && piece.marker <= kApp15;
        if (isApp) identifier = JpegAppIdentifier(payload);
        std::string text = JpegSegmentText(piece.marker, identifier, payload);
        if (!identifier.empty()) text = identifier + (text.empty() ? "" : ": " + text);
        if (piece.marker == kSos && piece.size > piece.fill + 2) ++m_scans;
        const std::size_t row = m_writer.Add(piece.offset, piece.size, JpegMarkerName(piece.marker), text);
        // One before the end marker is a camera's padding to an even size.
        if (piece.fill > 0 && piece.marker != kEoi)
            m_writer.Warn(row, CountText(piece.fill, "fill byte", "fill bytes") + " before the marker.");
        if (piece.cut)
            m_writer.Warn(row, "The segment states " + CountText(piece.length, "byte", "bytes") +
                                   " but the file ends inside it.");
        else if (piece.lengthTooShort)
            m_writer.Warn(row, "The segment states an impossible length.");
        Note(piece, payload, row);
        if (isApp && m_writer.CanNest()) WriteInside(piece, identifier);
        return row;
    }

    // What a later check needs, and what is wrong with the segment at this place.
    void Note(const JpegPiece& piece, ByteSpan payload, std::size_t row) {
        using namespace jpegmarker;
        const std::uint8_t marker = piece.marker;
        if (marker == kSoi && piece.offset != m_begin) {
            m_writer.Warn(row, "A second start-of-image marker inside the picture.");
        } else if (IsFrame(marker)) {
            if (!FrameHeaderFits(payload)) {
                m_writer.Warn(row, "The frame header does not fit its segment.");
                return;
            }
            if (++m_frames > 1 && !m_hierarchical) m_writer.Warn(row, "A second frame header.");
            m_frameMarker = marker;
            m_frame = {};
            m_frame.height = Big16(payload, 1);
            m_frame.width = Big16(payload, 3);
            for (std::size_t i = 0; i < payload[5]; ++i)
                m_frame.components.push_back({payload[6 + 3 * i], payload[7 + 3 * i] >> 4,
                                              payload[7 + 3 * i] & 15, payload[8 + 3 * i]});
        } else if (marker == kSos) {
            m_scan = payload;
            if (!ScanHeaderFits(payload)) m_writer.Warn(row, "The scan header does not fit its segment.");
            if (m_frames == 0) m_writer.Warn(row, "A scan comes before any frame header.");
        } else if (marker == kDri) {
            m_interval = Big16(payload, 0);
        } else if (marker == kDhp) {
            m_hierarchical = true;
        } else if (marker == 0xE2 && m_pictures.empty()) {
            m_pictures = ReadPictureIndex(payload, piece.PayloadOffset(), m_begin);
        } else if (IsRestart(marker) || IsReserved(marker) || marker == kTem) {
            m_writer.Warn(row, "The marker has no place here.");
        }
    }

    void WriteInside(const JpegPiece& piece, const std::string& identifier) {
        const std::size_t begin = piece.PayloadOffset();
        const std::size_t end = begin + piece.PayloadSize();
        std::size_t head = 0;
        if (identifier == "Exif") head = 6;
        if (identifier == "MPF") head = 4;
        if (identifier == "Photoshop 3.0") head = 14;
        if (head == 0 || end <= begin + head) return;
        StructureWriter::Nest nest(m_writer);
        StructureLevel level(m_writer, begin, end);
        level.Add(head, "identifier", identifier);
        if (head == 14)
            WriteResourceParts(m_writer, begin + head, end);
        else
            WriteTiffParts(m_writer, begin + head, end);
    }

    void CheckWhole(std::size_t row) {
        if (m_frames == 0) m_writer.Warn(row, "The picture has no frame header.");
        if (m_scans == 0) m_writer.Warn(row, "The picture has no scan.");
    }

    StructureWriter& m_writer;
    std::size_t m_begin;
    ByteSpan m_bytes;
    JpegWalk m_walk;
    FrameFacts m_frame;
    std::uint8_t m_frameMarker = 0;
    std::size_t m_frames = 0;
    std::size_t m_scans = 0;
    std::size_t m_interval = 0;
    bool m_hierarchical = false;
    ByteSpan m_scan;
    std::vector<JpegPictureEntry> m_pictures;
};

// Where further pictures start after `from`: those that the index names and those that are whole.
std::set<std::size_t> FurtherPictures(StructureWriter& writer, std::size_t from, std::size_t end,
                                      const std::vector<JpegPictureEntry>& index) {
    std::set<std::size_t> starts;
    const ByteSpan bytes = writer.Part(0, end);
    for (const JpegPictureEntry& entry : index)
        if (entry.offset >= from && StartsWith(bytes, entry.offset, "\xFF\xD8\xFF", 3))
            starts.insert(entry.offset);
    if (StartsWith(bytes, from, "\xFF\xD8\xFF", 3)) starts.insert(from);
    const ByteSpan rest = writer.Part(from, end);
    std::size_t covered = 0;
    CarveJpegs(
        rest,
        [&](const CarvedJpeg& jpeg) {
            if (jpeg.offset < covered || starts.size() > 10000) return;
            covered = jpeg.offset + jpeg.size;
            starts.insert(from + jpeg.offset);
        },
        [&](double) { writer.Tick(from); });
    return starts;
}

// Bytes between and after the pictures of a file or of an embedded block.
void WriteOutside(StructureWriter& writer, StructureLevel& level, std::size_t until, bool isEmbedded) {
    if (until <= level.Position()) return;
    const std::size_t begin = level.Position();
    const ByteSpan bytes = writer.Part(begin, until);
    const std::size_t row = level.Add(until - begin, "trailing data", GuessText(bytes), Kind::Trailing);
    // Padding behind an embedded picture is every camera's habit.
    const bool isPadding =
        std::all_of(bytes.begin(), bytes.end(), [&](std::uint8_t b) { return b == bytes[0]; });
    if (!isEmbedded || !isPadding)
        writer.Warn(row,
                    CountText(bytes.size(), "byte follows", "bytes follow") + " the end of the picture.");
    // A camera's short film in the same file.
    if (StartsWith(bytes, 4, "ftyp", 4) && writer.CanNest()) {
        StructureWriter::Nest nest(writer);
        WriteIsoParts(writer, begin, until);
    }
}

}  // namespace

void WriteJpegParts(StructureWriter& writer, std::size_t begin, std::size_t end) {
    const ByteSpan bytes = writer.Part(begin, end);
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    StructureLevel level(writer, begin, end);
    std::size_t first = text.substr(0, std::size_t{1} << 20).find("\xFF\xD8");
    if (first == std::string_view::npos) {
        level.FillTo(end);
        return;
    }
    if (first > 0) {
        const std::size_t row = writer.Add(begin, first, "gap", GuessText(bytes.first(first)), Kind::Gap);
        writer.Warn(row,
                    CountText(first, "byte stands", "bytes stand") + " before the start of the picture.");
    }
    Picture picture(writer, begin + first, end);
    std::size_t position = picture.Write();
    if (position >= end) return;

    const bool isEmbedded = begin != 0 || end != writer.File().size();
    int number = 2;
    const std::set<std::size_t> starts = FurtherPictures(writer, position, end, picture.Pictures());
    for (auto start = starts.begin(); start != starts.end(); ++start) {
        if (*start < position) continue;
        StructureLevel between(writer, position, end);
        WriteOutside(writer, between, *start, isEmbedded);
        const auto next = std::next(start);
        const std::size_t limit = next == starts.end() ? end : *next;
        std::string what = "JPEG";
        for (const JpegPictureEntry& entry : picture.Pictures())
            if (entry.offset == *start) what += ", in the index: " + entry.text;
        const std::size_t row =
            writer.Add(*start, limit - *start, "picture " + std::to_string(number++), what);
        StructureWriter::Nest nest(writer);
        position = Picture(writer, *start, limit).Write();
        writer.SetLength(row, position - *start);
    }
    StructureLevel rest(writer, position, end);
    WriteOutside(writer, rest, end, isEmbedded);
}

void WriteResourceParts(StructureWriter& writer, std::size_t begin, std::size_t end) {
    const ByteSpan bytes = writer.Part(0, end);
    StructureLevel level(writer, begin, end);
    while (level.Left() >= 12 && StartsWith(bytes, level.Position(), "8BIM", 4)) {
        const std::size_t at = level.Position();
        const std::size_t id = Big16(bytes, at + 4);
        const std::size_t nameSize = (1 + std::size_t{ByteAt(bytes, at + 6)} + 1) & ~std::size_t{1};
        const std::size_t length = Big32(bytes, at + 6 + nameSize);
        const std::size_t size = 10 + nameSize + length + (length & 1);
        static constexpr std::pair<std::size_t, const char*> kNames[] = {{0x03ED, "resolution"},
                                                                         {0x0404, "IPTC"},
                                                                         {0x0409, "thumbnail (BGR)"},
                                                                         {0x040C, "thumbnail"},
                                                                         {0x040F, "ICC profile"},
                                                                         {0x0422, "EXIF"},
                                                                         {0x0424, "XMP"},
                                                                         {0x0425, "digest of the IPTC"},
                                                                         {0x0421, "version"},
                                                                         {0x0406, "JPEG quality"},
                                                                         {0x040A, "copyright flag"}};
        std::string name = "resource 0x" + HexText(id, 4);
        for (const auto& [number, text] : kNames)
            if (number == id) name += std::string(" ") + text;
        // The last one may leave out its padding byte.
        const std::size_t row = level.Add(size, name, CountText(length, "byte", "bytes"));
        if (length > end - at) writer.Warn(row, "The resource ends outside its segment.");
        const std::size_t content = at + 10 + nameSize;
        if ((id == 0x0409 || id == 0x040C) && StartsWith(bytes, content + 28, "\xFF\xD8\xFF", 3) &&
            writer.CanNest()) {
            StructureWriter::Nest nest(writer);
            StructureLevel inside(writer, content, level.Position());
            inside.Add(28, "thumbnail header",
                       std::to_string(Big32(bytes, content + 4)) + " x " +
                           std::to_string(Big32(bytes, content + 8)));
            WriteJpegParts(writer, content + 28, level.Position());
        }
    }
    level.FillTo(end);
}
