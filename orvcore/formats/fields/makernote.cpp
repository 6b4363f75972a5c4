#include "orvcore/formats/fields/makernote.h"

#include <algorithm>

#include "zorbase/text.h"

namespace {

constexpr std::size_t kShownText = 400;

// What a note begins with, and how it goes on.
struct Layout {
    const char* kind;
    const char* header;
    std::size_t headerSize;
    std::size_t directory;  // where its directory stands from the start of the note
    enum class Order { Block, AtMinusTwo, Little, Big } order;
    enum class Base {
        Block,
        Note,
        Tiff
    } base;  // where offsets count from; Tiff: a TIFF header inside the note
};

constexpr Layout kLayouts[] = {
    {"Apple", "Apple iOS\0", 10, 14, Layout::Order::AtMinusTwo, Layout::Base::Note},
    {"Nikon3", "Nikon\0\x02", 7, 18, Layout::Order::Block, Layout::Base::Tiff},
    {"Nikon1", "Nikon\0\x01", 7, 8, Layout::Order::Block, Layout::Base::Block},
    {"Olympus2", "OLYMPUS\0", 8, 12, Layout::Order::Block, Layout::Base::Note},
    {"Olympus2", "OM SYSTEM\0", 10, 16, Layout::Order::Block, Layout::Base::Note},
    {"Olympus", "OLYMP\0", 6, 8, Layout::Order::Block, Layout::Base::Block},
    {"Olympus", "EPSON\0", 6, 8, Layout::Order::Block, Layout::Base::Block},
    {"Fujifilm", "FUJIFILM", 8, 12, Layout::Order::Little, Layout::Base::Note},
    {"Panasonic", "Panasonic\0\0\0", 12, 12, Layout::Order::Block, Layout::Base::Block},
    {"Sony1", "SONY DSC \0\0\0", 12, 12, Layout::Order::Block, Layout::Base::Block},
    {"Sony1", "SONY CAM \0\0\0", 12, 12, Layout::Order::Block, Layout::Base::Block},
    {"Casio2", "QVC\0\0\0", 6, 6, Layout::Order::Block, Layout::Base::Block},
    {"Pentax", "AOC\0", 4, 6, Layout::Order::Block, Layout::Base::Block},
    {"Sigma", "SIGMA\0\0\0", 8, 10, Layout::Order::Block, Layout::Base::Block},
    {"Sigma", "FOVEON\0\0", 8, 10, Layout::Order::Block, Layout::Base::Block},
    {"Sanyo", "SANYO\0", 6, 8, Layout::Order::Block, Layout::Base::Block},
};

// Makers whose notes are a directory without a header.
struct Bare {
    const char* make;  // as it begins, lower case
    const char* kind;
};
constexpr Bare kBare[] = {{"canon", "Canon"},
                          {"casio", "Casio"},
                          {"nikon", "Nikon2"},
                          {"minolta", "Minolta"},
                          {"konica minolta", "Minolta"},
                          {"sony", "Sony2"}};

struct TagName {
    const char* kind;
    std::uint32_t tag;
    const char* name;
};
constexpr TagName kNames[] = {
    {"Apple", 0x0001, "Maker Note Version"},
    {"Apple", 0x0003, "Run Time"},
    {"Apple", 0x0004, "AE Stable"},
    {"Apple", 0x0005, "AE Target"},
    {"Apple", 0x0006, "AE Average"},
    {"Apple", 0x0007, "AF Stable"},
    {"Apple", 0x0008, "Acceleration Vector"},
    {"Apple", 0x000a, "HDR Image Type"},
    {"Apple", 0x000b, "Burst UUID"},
    {"Apple", 0x000c, "Focus Distance Range"},
    {"Apple", 0x0011, "Content Identifier"},
    {"Apple", 0x0014, "Image Capture Type"},
    {"Apple", 0x0015, "Image Unique ID"},
    {"Apple", 0x0017, "Live Photo Video Index"},
    {"Apple", 0x0020, "Image Capture Request ID"},
    {"Apple", 0x0021, "HDR Headroom"},
    {"Apple", 0x002b, "Photo Identifier"},
    {"Apple", 0x002e, "Camera Type"},
    {"Apple", 0x002f, "Focus Position"},
    {"Apple", 0x0030, "HDR Gain"},
    {"Sanyo", 0x0200, "Special Mode"},
    {"Sanyo", 0x0201, "Quality"},
    {"Sanyo", 0x0202, "Macro"},
    {"Sanyo", 0x0204, "Digital Zoom"},
    {"Sanyo", 0x0207, "Software Release"},
    {"Sanyo", 0x0208, "Picture Information"},
    {"Sanyo", 0x0209, "Camera ID"},
};

class Reader {
  public:
    Reader(ByteSpan tiff, MakerNote& note) : m_tiff(tiff), m_note(note) {}

    std::uint32_t Number16(std::size_t at) const {
        return m_note.little ? Little16(m_tiff, at) : Big16(m_tiff, at);
    }
    std::uint32_t Number32(std::size_t at) const {
        return m_note.little ? Little32(m_tiff, at) : Big32(m_tiff, at);
    }

    // False, and no entries, where no directory can stand.
    bool Read(std::size_t at, std::size_t base) {
        const std::size_t end = m_note.offset + m_note.size;
        if (at < m_note.offset || at + 2 > end) return false;
        const std::size_t count = Number16(at);
        if (count == 0 || count > kMaxMakerNoteEntries || count > (end - at - 2) / 12) return false;
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t entryAt = at + 2 + 12 * i;
            MakerNoteEntry entry;
            entry.tag = Number16(entryAt);
            entry.type = Number16(entryAt + 2);
            entry.count = Number32(entryAt + 4);
            const std::size_t unit = TiffTypeSize(entry.type);
            // A first entry of no known type: this is no directory.
            if (unit == 0 && i == 0) return false;
            const std::uint64_t size = unit * entry.count;
            entry.valueSize = static_cast<std::size_t>(size);
            entry.isInline = size <= 4;
            entry.valueOffset = entry.isInline ? entryAt + 8 : base + Number32(entryAt + 8);
            entry.isInBlock = unit != 0 && size <= m_tiff.size() && entry.valueOffset <= m_tiff.size() - size;
            entry.isInNote =
                entry.isInBlock && entry.valueOffset >= m_note.offset && entry.valueOffset + size <= end;
            m_note.entries.push_back(entry);
        }
        m_note.isDirectoryOnly = end - (at + 2 + 12 * count) < 12;
        return true;
    }

  private:
    ByteSpan m_tiff;
    MakerNote& m_note;
};

// The order that two letters name, where they are there.
void TakeOrder(ByteSpan tiff, std::size_t at, bool& little) {
    if (StartsWith(tiff, at, "II", 2)) little = true;
    if (StartsWith(tiff, at, "MM", 2)) little = false;
}

void ReadWithLayout(ByteSpan tiff, const Layout& layout, MakerNote& note) {
    std::size_t directory = note.offset + layout.directory;
    std::size_t base = layout.base == Layout::Base::Block ? 0 : note.offset;
    if (layout.order == Layout::Order::Little) note.little = true;
    if (layout.order == Layout::Order::Big) note.little = false;
    if (layout.order == Layout::Order::AtMinusTwo) TakeOrder(tiff, directory - 2, note.little);
    Reader reader(tiff, note);
    if (layout.base == Layout::Base::Tiff) {
        base = note.offset + 10;
        TakeOrder(tiff, base, note.little);
        directory = base + std::min<std::size_t>(reader.Number32(base + 4), tiff.size());
    } else if (note.kind == "Fujifilm") {
        directory = note.offset + std::min<std::size_t>(Little32(tiff, note.offset + 8), tiff.size());
    } else if (note.kind == "Olympus2") {
        TakeOrder(tiff, directory - 4, note.little);
    } else if (note.kind == "Pentax") {
        TakeOrder(tiff, note.offset + 4, note.little);
    }
    note.isAbsolute = base == 0;
    note.isRead = reader.Read(directory, base);
}

}  // namespace

MakerNote ReadMakerNote(ByteSpan tiff, bool little, std::size_t offset, std::size_t size,
                        const std::string& make) {
    MakerNote note;
    note.offset = std::min(offset, tiff.size());
    note.size = std::min(size, tiff.size() - note.offset);
    note.little = little;
    for (const Layout& layout : kLayouts) {
        if (note.size < layout.headerSize || !StartsWith(tiff, note.offset, layout.header, layout.headerSize))
            continue;
        note.kind = layout.kind;
        ReadWithLayout(tiff, layout, note);
        return note;
    }
    const std::string lower = ToLower(make);
    for (const Bare& bare : kBare) {
        if (!lower.starts_with(bare.make)) continue;
        note.isAbsolute = true;
        note.isRead = Reader(tiff, note).Read(note.offset, 0);
        if (note.isRead) note.kind = bare.kind;
        return note;
    }
    return note;
}

std::string MakerNoteTagName(const std::string& kind, std::uint32_t tag) {
    for (const TagName& name : kNames)
        if (kind == name.kind && tag == name.tag) return name.name;
    return {};
}

std::string MakerNoteValue(ByteSpan tiff, const MakerNote& note, const MakerNoteEntry& entry) {
    if (!entry.isInBlock) return "Outside the block";
    TiffDirectories numbers;
    numbers.little = note.little;
    TiffEntry plain;
    plain.tag = entry.tag;
    plain.type = entry.type;
    plain.count = entry.count;
    plain.valueOffset = entry.valueOffset;
    plain.valueSize = entry.valueSize;
    plain.isInline = entry.isInline;
    return ShortenText(TiffValueText(numbers, tiff, plain), kShownText);
}
