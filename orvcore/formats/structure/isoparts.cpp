#include <algorithm>
#include <ctime>

#include "orvcore/formats/structure/isobox.h"
#include "orvcore/formats/structure/parts.h"
#include "zorbase/text.h"

namespace {

using Kind = StructureRow::Kind;

// Boxes of CR3 files with boxes inside, and with pictures.
constexpr const char* kCanonBoxes = "85C0B687820F11E08111F4CE462B6A48";
constexpr const char* kCanonPreview = "EAF42B5E1C984B88B9FBB7DC406E4D16";
constexpr const char* kXmpBox = "BE7ACFCB97A942E89C71999491E3AFAC";
constexpr const char* kC2paBox = "D8FEC3D61B0E483C92975828877EC481";

// Where the boxes inside a box start, or 0 when it holds none that are read here.
std::size_t InnerOffset(ByteSpan bytes, const IsoBox& box) {
    static const char* const kPlain[] = {"moov", "trak", "mdia", "minf", "stbl", "dinf", "edts", "udta",
                                         "iprp", "ipco", "mvex", "moof", "traf", "mfra", "jp2h", "grpl",
                                         "jumb", "sinf", "schi", "asoc", "rinf", "res ", "uinf", "strk"};
    for (const char* type : kPlain)
        if (box.type == type) return box.Content();
    if (box.type == "meta") {
        // QuickTime's has no version field: its first box follows at once.
        return StartsWith(bytes, box.Content() + 4, "hdlr", 4) ? box.Content() : box.Content() + 4;
    }
    if (box.type == "iref") return box.Content() + 4;
    if (box.type == "iinf") return box.Content() + (ByteAt(bytes, box.Content()) == 0 ? 6 : 8);
    if (box.type == "dref" || box.type == "stsd") return box.Content() + 8;
    if (box.userType == kCanonBoxes) return box.Content();
    if (box.userType == kCanonPreview) return box.Content() + 8;
    return 0;
}

std::string SizeText(std::size_t width, std::size_t height) {
    return std::to_string(width) + " x " + std::to_string(height);
}

// Seconds since 1904, as film boxes count.
std::string TimeText(std::uint64_t seconds) {
    constexpr std::uint64_t kTo1970 = 2082844800;
    if (seconds == 0) return "no time";
    if (seconds < kTo1970 || seconds > kTo1970 * 4) return std::to_string(seconds) + " s";
    const std::time_t time = static_cast<std::time_t>(seconds - kTo1970);
    std::tm parts{};
    gmtime_r(&time, &parts);
    char text[40];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &parts);
    return text;
}

std::string BrandsText(ByteSpan content) {
    std::string text = "brand " + FourCharacterText(content, 0) + ", compatible with ";
    for (std::size_t at = 8; at + 4 <= content.size() && at < 8 + 4 * 16; at += 4)
        text += (at > 8 ? ", " : "") + FourCharacterText(content, at);
    return text;
}

std::string ProfileText(ByteSpan content) {
    const std::string kind = FourCharacterText(content, 0);
    if (kind == "nclx")
        return "nclx, primaries " + std::to_string(Big16(content, 4)) + ", transfer " +
               std::to_string(Big16(content, 6)) + ", matrix " + std::to_string(Big16(content, 8));
    return kind == "prof" || kind == "rICC" ? "ICC profile" : kind;
}

std::string ReferenceText(ByteSpan content, bool isWide) {
    const std::size_t width = isWide ? 4 : 2;
    const auto id = [&](std::size_t at) { return isWide ? Big32(content, at) : Big16(content, at); };
    const std::size_t count = Big16(content, width);
    std::string text = "item " + std::to_string(id(0)) + " to ";
    for (std::size_t i = 0; i < std::min<std::size_t>(count, 8); ++i)
        text += (i == 0 ? "" : ", ") + std::to_string(id(width + 2 + i * width));
    return text + (count > 8 ? "… (" + std::to_string(count) + ")" : "");
}

std::string BoxText(const IsoBox& box, ByteSpan bytes, const std::string& parent) {
    const ByteSpan content = Slice(bytes, box.Content(), box.size - box.headerSize);
    const std::string& type = box.type;
    const std::uint32_t version = ByteAt(content, 0);
    if (parent == "iref") return ReferenceText(content, false);
    if (type == "ftyp" || type == "styp") return BrandsText(content);
    if (type == "hdlr") {
        const std::string name = FieldText(Slice(content, 24, 80));
        return FourCharacterText(content, 8) + (name.empty() ? "" : ", " + name);
    }
    if (type == "pitm")
        return "primary item " + std::to_string(version == 0 ? Big16(content, 4) : Big32(content, 4));
    if (type == "iinf")
        return CountText(version == 0 ? Big16(content, 4) : Big32(content, 4), "item", "items");
    if (type == "infe") {
        const std::size_t shift = version >= 3 ? 2 : 0;
        const std::string id = std::to_string(version >= 3 ? Big32(content, 4) : Big16(content, 4));
        if (version < 2) return "item " + id + ", " + FieldText(Slice(content, 8, 80));
        const std::string name = FieldText(Slice(content, 12 + shift, 80));
        return "item " + id + ", " + FourCharacterText(content, 8 + shift) +
               (name.empty() ? "" : ", " + name) + ((ByteAt(content, 3) & 1) != 0 ? ", hidden" : "");
    }
    if (type == "iloc")
        return CountText(version < 2 ? Big16(content, 6) : Big32(content, 6), "item located",
                         "items located");
    if (type == "ispe") return SizeText(Big32(content, 4), Big32(content, 8));
    if (type == "pixi") {
        std::string text;
        for (std::size_t i = 0; i < std::min<std::size_t>(ByteAt(content, 4), 8); ++i)
            text += (i == 0 ? "" : ", ") + std::to_string(ByteAt(content, 5 + i));
        return text + " bit";
    }
    if (type == "irot")
        return "turned by " + std::to_string(90 * (ByteAt(content, 0) & 3)) + " degrees anticlockwise";
    if (type == "imir")
        return (ByteAt(content, 0) & 1) != 0 ? "mirrored left to right" : "mirrored top to bottom";
    if (type == "auxC") return FieldText(Slice(content, 4, 100));
    if (type == "colr") {
        if (parent == "jp2h")
            return version == 1 ? "enumerated colour space " + std::to_string(Big32(content, 3))
                                : "ICC profile";
        return ProfileText(content);
    }
    if (type == "hvcC")
        return "HEVC, profile " + std::to_string(ByteAt(content, 1) & 31) + ", level " +
               std::to_string(ByteAt(content, 12) / 30) + "." + std::to_string(ByteAt(content, 12) % 30 / 3);
    if (type == "av1C")
        return "AV1, profile " + std::to_string(ByteAt(content, 1) >> 5) + ", level index " +
               std::to_string(ByteAt(content, 1) & 31);
    if (type == "mvhd" || type == "tkhd" || type == "mdhd")
        return version == 1
                   ? "created " + TimeText(Big64(content, 4)) + ", changed " + TimeText(Big64(content, 12))
                   : "created " + TimeText(Big32(content, 4)) + ", changed " + TimeText(Big32(content, 8));
    if (type == "ihdr" && parent == "jp2h")
        return SizeText(Big32(content, 4), Big32(content, 0)) + ", " +
               CountText(Big16(content, 8), "component", "components") + ", " +
               std::to_string((ByteAt(content, 10) & 0x7F) + 1) + " bit";
    if (type == "jP  ") return "signature";
    if (type == "xml ") return "XML";
    if (type == "free" || type == "skip") return "free space";
    if (box.userType == kXmpBox) return "XMP packet";
    if (box.userType == kC2paBox) return "content credentials (C2PA)";
    if (!box.userType.empty()) return "user type " + box.userType;
    return {};
}

class Writer {
  public:
    explicit Writer(StructureWriter& writer) : m_writer(writer) {}

    // The boxes from begin up to end. What follows the last one is trailing data at the outermost level.
    void Write(std::size_t begin, std::size_t end, const std::string& parent) {
        const ByteSpan bytes = m_writer.Part(0, end);
        StructureLevel level(m_writer, begin, end);
        while (level.Left() >= 8) {
            const auto box = ReadIsoBox(bytes, level.Position(), end);
            // A type is printable; anything else is not a box any more.
            if (!box || (box->type.size() != 4 && box->type.compare(0, 4, "\\xA9") != 0)) break;
            WriteBox(level, bytes, *box, parent);
        }
        if (level.Left() == 0) return;
        if (parent.empty()) {
            const std::size_t left = level.Left();
            m_writer.Warn(level.Trail(), CountText(left, "byte follows", "bytes follow") + " the last box.");
        } else {
            level.FillTo(end, "other data");
        }
    }

  private:
    void WriteBox(StructureLevel& level, ByteSpan bytes, const IsoBox& box, const std::string& parent) {
        const bool isData = box.type == "mdat" || box.type == "jp2c" || box.type == "idat";
        const std::size_t row =
            level.Add(box.size, box.type, BoxText(box, bytes, parent), isData ? Kind::Data : Kind::Part);
        if (box.isCut) m_writer.Warn(row, "The box states more bytes than there are.");
        const std::size_t inner = InnerOffset(bytes, box);
        const bool hasInside = inner != 0 || box.type == "mdat" || box.type == "idat" || box.type == "jp2c" ||
                               IsTiffBox(box.type) || IsJpegBox(box.type);
        if (!hasInside) return;
        if (!m_writer.CanNest()) {
            m_writer.Warn(row, "Boxes are nested too deep; what is inside is not read.");
            return;
        }
        StructureWriter::Nest nest(m_writer);
        if (inner != 0 && inner <= box.End()) {
            Write(inner, box.End(), box.type);
        } else if (box.type == "mdat" || box.type == "idat") {
            WriteExtents(bytes, box);
        } else if (box.type == "jp2c") {
            WriteCodestreamParts(m_writer, box.Content(), box.End());
        } else if (IsTiffBox(box.type)) {
            WriteTiffParts(m_writer, box.Content(), box.End());
        } else if (IsJpegBox(box.type)) {
            WriteJpegInside(bytes, box);
        }
    }

    static bool IsTiffBox(const std::string& type) {
        return type == "CMT1" || type == "CMT2" || type == "CMT3" || type == "CMT4";
    }
    static bool IsJpegBox(const std::string& type) { return type == "THMB" || type == "PRVW"; }

    // A picture behind a short header of its own.
    void WriteJpegInside(ByteSpan bytes, const IsoBox& box) {
        for (std::size_t at = box.Content(); at < box.End() && at < box.Content() + 64; ++at) {
            if (!StartsWith(bytes, at, "\xFF\xD8\xFF", 3)) continue;
            StructureLevel level(m_writer, box.Content(), box.End());
            if (at > box.Content()) level.Add(at - box.Content(), "picture header");
            WriteJpegParts(m_writer, at, box.End());
            return;
        }
    }

    struct Piece {
        std::size_t offset, size;
        const IsoItem* item;
    };

    // The data of all items by growing offset, read once: a file may have any number of data boxes.
    void ReadPieces() {
        if (m_hasItems) return;
        m_hasItems = true;
        m_items = ReadIsoItems(m_writer.File());
        for (const std::string& warning : m_items.warnings) m_writer.WarnWhole(warning);
        for (const IsoItem& item : m_items.items)
            for (const IsoItem::Extent& extent : item.extents)
                m_pieces.push_back({extent.offset, extent.size, &item});
        std::stable_sort(m_pieces.begin(), m_pieces.end(),
                         [](const Piece& a, const Piece& b) { return a.offset < b.offset; });
    }

    // The items whose data lie in the box.
    void WriteExtents(ByteSpan bytes, const IsoBox& box) {
        ReadPieces();
        const auto isBefore = [](const Piece& piece, std::size_t offset) { return piece.offset < offset; };
        const auto first = std::lower_bound(m_pieces.begin(), m_pieces.end(), box.Content(), isBefore);
        const auto last = std::lower_bound(first, m_pieces.end(), box.End(), isBefore);
        if (first == last) return;
        StructureLevel level(m_writer, box.Content(), box.End());
        for (auto piece = first; piece != last; ++piece) {
            std::string name = "item " + std::to_string(piece->item->id);
            if (piece->offset < level.Position()) {
                if (++m_shared <= 20)
                    m_writer.WarnWhole(name + " shares bytes with another item at offset " +
                                       std::to_string(piece->offset) + ".");
                continue;
            }
            const IsoItem& item = *piece->item;
            const std::size_t begin = piece->offset;
            const std::size_t size = piece->size;
            // Equal tiles of a grid may share one piece of data.
            for (; std::next(piece) != last && std::next(piece)->offset == begin &&
                   std::next(piece)->size == size;
                 ++piece)
                if (name.size() < 100) name += ", " + std::to_string(std::next(piece)->item->id);
            level.FillTo(begin);
            std::string text = item.type;
            if (!item.contentType.empty()) text += ", " + item.contentType;
            if (!item.auxiliary.empty()) text += ", " + item.auxiliary;
            level.Add(size, name, text, item.width > 0 ? Kind::Data : Kind::Part);
            if (item.type == "Exif" && m_writer.CanNest()) WriteExif(bytes, begin, level.Position());
        }
        level.FillTo(box.End());
    }

    // An Exif item starts with the distance from there to its TIFF structure.
    void WriteExif(ByteSpan bytes, std::size_t begin, std::size_t end) {
        const std::size_t skip = std::size_t{Big32(bytes, begin)} + 4;
        if (end - begin <= skip) return;
        StructureWriter::Nest nest(m_writer);
        StructureLevel level(m_writer, begin, end);
        level.Add(skip, "identifier", "Exif");
        WriteTiffParts(m_writer, begin + skip, end);
    }

    StructureWriter& m_writer;
    IsoItems m_items;
    std::vector<Piece> m_pieces;
    bool m_hasItems = false;
    std::size_t m_shared = 0;
};

}  // namespace

void WriteIsoParts(StructureWriter& writer, std::size_t begin, std::size_t end) {
    Writer(writer).Write(begin, end, {});
}
