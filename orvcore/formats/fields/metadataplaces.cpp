#include "orvcore/formats/fields/metadataplaces.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>

#include "orvcore/formats/jpegwalk.h"
#include "orvcore/formats/metadatablocks.h"
#include "zorbase/hash.h"
#include "zorbase/text.h"

namespace {

constexpr int kMaxPieces = 10000;
constexpr std::size_t kMaxDatasets = 20000;
constexpr std::size_t kMaxResources = 2000;
constexpr char kPhotoshop[] = "Photoshop 3.0";  // its final zero belongs to it
constexpr std::uint32_t kIptcResource = 0x0404;
constexpr std::uint32_t kDigestResource = 0x0425;
constexpr std::uint32_t kMakerNoteTag = 0x927C;
constexpr std::uint32_t kIptcTag = 0x83BB;
constexpr std::uint32_t kXmpTag = 0x02BC;
constexpr std::uint32_t kResourcesTag = 0x8649;

std::optional<std::size_t> OffsetIn(ByteSpan bytes, ByteSpan part) {
    if (part.empty() || part.data() < bytes.data() || part.data() >= bytes.data() + bytes.size())
        return std::nullopt;
    return static_cast<std::size_t>(part.data() - bytes.data());
}

std::string HexText(ByteSpan bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        char digits[4];
        std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned>(byte));
        text += digits;
    }
    return text;
}

class Finder {
  public:
    Finder(ByteSpan bytes, ByteSpan iccProfile) : m_bytes(bytes), m_profile(iccProfile) {}

    MetadataPlaces Run() {
        const MetadataBlocks blocks = FindMetadataBlocks(m_bytes);
        m_places.exif = OffsetIn(m_bytes, blocks.exif);
        m_places.exifBytes = blocks.exif;
        m_places.xmp = OffsetIn(m_bytes, blocks.xmp);
        m_places.xmpBytes = blocks.xmp;
        // Of two blocks of IPTC in a JPEG the one beside EXIF counts, not the one inside of it.
        if (StartsWith(m_bytes, 0, "\xFF\xD8", 2)) WalkJpeg();
        if (m_places.exif) ReadExif();
        if (m_places.exif == std::size_t{0}) ReadPacketOfTiff();
        if (StartsWith(m_bytes, 0, "8BPS", 4)) ReadPhotoshopFile();
        if (!m_places.icc) FindProfile(0);
        return std::move(m_places);
    }

  private:
    void ReadExif() {
        m_places.tiff = ReadTiffDirectories(m_places.exifBytes);
        for (const TiffDirectory& directory : m_places.tiff.directories) {
            if (directory.kind == TiffDirectoryKind::Exif && !m_places.makerNote) {
                if (const TiffEntry* note = FindTiffEntry(directory, kMakerNoteTag))
                    m_places.makerNote = ReadMakerNote(m_places.exifBytes, m_places.tiff.little,
                                                       note->valueOffset, note->valueSize, Make());
            }
            if (directory.kind != TiffDirectoryKind::Image || m_places.iptcBlock) continue;
            if (const TiffEntry* iptc = FindTiffEntry(directory, kIptcTag))
                ReadIptc(*m_places.exif + iptc->valueOffset, iptc->valueSize);
            if (const TiffEntry* resources = FindTiffEntry(directory, kResourcesTag))
                ReadResources(*m_places.exif + resources->valueOffset, resources->valueSize);
        }
    }

    // Of a TIFF file the packet is the one that the first directory points to; others belong to pictures inside.
    void ReadPacketOfTiff() {
        m_places.xmp = std::nullopt;
        m_places.xmpBytes = {};
        if (m_places.tiff.directories.empty()) return;
        const TiffEntry* packet = FindTiffEntry(m_places.tiff.directories.front(), kXmpTag);
        if (packet == nullptr) return;
        m_places.xmpBytes = Slice(m_bytes, packet->valueOffset, packet->valueSize);
        m_places.xmp = OffsetIn(m_bytes, m_places.xmpBytes);
    }

    std::string Make() const {
        for (const TiffDirectory& directory : m_places.tiff.directories)
            if (const TiffEntry* make = FindTiffEntry(directory, 0x010F))
                return TextOf(
                    Slice(m_places.exifBytes, make->valueOffset, std::min<std::size_t>(make->valueSize, 40)));
        return {};
    }

    void WalkJpeg() {
        JpegWalk walk(m_bytes, 0);
        for (int i = 0; i < kMaxPieces; ++i) {
            const JpegPiece piece = walk.Next();
            if (piece.kind == JpegPiece::Kind::End || piece.kind == JpegPiece::Kind::Entropy) break;
            if (piece.kind != JpegPiece::Kind::Segment) continue;
            const std::size_t at = piece.PayloadOffset();
            const std::size_t size = piece.PayloadSize();
            if (piece.marker == jpegmarker::kApp0 + 13 && size > sizeof kPhotoshop &&
                StartsWith(m_bytes, at, kPhotoshop, sizeof kPhotoshop))
                ReadResources(at + sizeof kPhotoshop, size - sizeof kPhotoshop);
            if (piece.marker == jpegmarker::kApp0 + 2 && StartsWith(m_bytes, at, "ICC_PROFILE\0\1", 13) &&
                !m_places.icc && IsProfile(at + 14))
                m_places.icc = at + 14;
        }
    }

    // Header and layer sections of Photoshop's own format: colour mode data, then the resources.
    void ReadPhotoshopFile() {
        const std::size_t resources = 26 + 4 + std::size_t{Big32(m_bytes, 26)};
        if (resources < m_bytes.size()) ReadResources(resources + 4, Big32(m_bytes, resources));
    }

    void ReadResources(std::size_t at, std::size_t size) {
        const std::size_t end =
            std::min(m_bytes.size(), at > m_bytes.size() ? at : at + std::min(size, m_bytes.size() - at));
        if (!m_places.photoshop && at < end) m_places.photoshop = at;
        for (std::size_t i = 0; i < kMaxResources && at + 12 <= end; ++i) {
            if (!StartsWith(m_bytes, at, "8BIM", 4)) break;
            const std::uint32_t number = Big16(m_bytes, at + 4);
            const std::size_t name = ByteAt(m_bytes, at + 6) + 1;
            const std::size_t header = at + 6 + name + (name & 1);
            if (header + 4 > end) break;
            const std::size_t length = Big32(m_bytes, header);
            const std::size_t content = header + 4;
            if (length > end - content) break;
            m_places.resources.push_back(number);
            if (number == kIptcResource) ReadIptc(content, length);
            if (number == kDigestResource && length == 16 && m_places.statedIptcDigest.empty())
                m_places.statedIptcDigest = HexText(Slice(m_bytes, content, length));
            at = content + length + (length & 1);
        }
    }

    void ReadIptc(std::size_t at, std::size_t size) {
        const ByteSpan block = Slice(m_bytes, at, size);
        if (m_places.iptcBlock || block.empty()) return;
        m_places.iptcBlock = at;
        m_places.iptcDigest = ComputeHashes(block).md5;
        std::size_t position = 0;
        while (position + 5 <= block.size() && m_places.iptc.size() < kMaxDatasets) {
            if (block[position] != 0x1C) {
                ++position;
                continue;
            }
            std::size_t length = Big16(block, position + 3);
            std::size_t value = position + 5;
            if ((length & 0x8000) != 0) {
                const std::size_t digits = length & 0x7FFF;
                if (digits == 0 || digits > 4 || value + digits > block.size()) break;
                length = 0;
                for (std::size_t i = 0; i < digits; ++i) length = length << 8 | block[value + i];
                value += digits;
            }
            if (length > block.size() - value) break;
            m_places.iptc.push_back({static_cast<int>(block[position + 1]),
                                     static_cast<int>(block[position + 2]), at + value, length});
            position = value + length;
        }
    }

    bool IsProfile(std::size_t at) const {
        return m_profile.size() > 128 && at + 128 <= m_bytes.size() &&
               std::memcmp(m_bytes.data() + at, m_profile.data(), 128) == 0;
    }

    void FindProfile(std::size_t from) {
        if (m_profile.size() <= 128 || m_bytes.size() < from + 128) return;
        const void* hit = memmem(m_bytes.data() + from, m_bytes.size() - from, m_profile.data(), 128);
        if (hit != nullptr)
            m_places.icc = static_cast<std::size_t>(static_cast<const std::uint8_t*>(hit) - m_bytes.data());
    }

    ByteSpan m_bytes;
    ByteSpan m_profile;
    MetadataPlaces m_places;
};

// The directory of the library's group, or null.
const TiffDirectory* DirectoryOf(const MetadataPlaces& places, const std::string& group) {
    static const std::map<std::string, std::string> kNames = {{"Image", "IFD0"},     {"Thumbnail", "IFD1"},
                                                              {"Image2", "IFD2"},    {"Image3", "IFD3"},
                                                              {"Photo", "Exif IFD"}, {"GPSInfo", "GPS IFD"}};
    const auto name = kNames.find(group);
    for (const TiffDirectory& directory : places.tiff.directories) {
        if (name != kNames.end() && directory.name == name->second) return &directory;
        if (group == "Iop" && directory.kind == TiffDirectoryKind::Interoperability) return &directory;
        if (group.starts_with("SubImage") && directory.name == "SubIFD " + group.substr(8)) return &directory;
    }
    return nullptr;
}

// "Photo" of "Exif.Photo.ExposureTime".
std::string GroupOf(const std::string& key) {
    const std::size_t first = key.find('.');
    const std::size_t second = key.find('.', first + 1);
    if (first == std::string::npos || second == std::string::npos) return {};
    return key.substr(first + 1, second - first - 1);
}

std::uint32_t NumberOf(const std::string& tag) {
    return static_cast<std::uint32_t>(std::strtoul(tag.c_str(), nullptr, 16));
}

// skip: how many entries of the same key came before.
void PlaceExif(const MetadataPlaces& places, std::size_t skip, MetadataEntry& entry) {
    const std::string group = GroupOf(entry.key);
    const std::uint32_t number = NumberOf(entry.tag);
    if (const TiffDirectory* directory = DirectoryOf(places, group)) {
        for (const TiffEntry& found : directory->entries) {
            if (found.tag != number || skip-- > 0) continue;
            if (found.valueSize == entry.size) entry.offset = *places.exif + found.valueOffset;
            break;
        }
        return;
    }
    if (!places.makerNote || !places.makerNote->isRead || places.makerNote->kind != group) return;
    for (const MakerNoteEntry& found : places.makerNote->entries)
        if (found.tag == number && found.isInBlock && found.valueSize == entry.size) {
            entry.offset = *places.exif + found.valueOffset;
            return;
        }
}

// "prefix:Name" of a key, that of the outermost property: "Xmp.xmpMM.History[1]/stEvt:action" is "xmpMM:History".
std::string PropertyOf(const std::string& key) {
    const std::string group = GroupOf(key);
    if (group.empty()) return {};
    const std::size_t start = 5 + group.size();
    return group + ":" + key.substr(start, key.find_first_of("[/", start) - start);
}

std::optional<std::size_t> FindProperty(ByteSpan packet, const std::string& name) {
    const auto isEnd = [](std::uint32_t c) { return c == '=' || c == '>' || c == '/' || c <= ' '; };
    std::size_t from = 0;
    while (from < packet.size()) {
        const void* hit = memmem(packet.data() + from, packet.size() - from, name.data(), name.size());
        if (hit == nullptr) return std::nullopt;
        const auto at = static_cast<std::size_t>(static_cast<const std::uint8_t*>(hit) - packet.data());
        const std::uint32_t before = at > 0 ? packet[at - 1] : 0;
        if ((before == '<' || (before != 0 && before <= ' ')) && isEnd(ByteAt(packet, at + name.size())))
            return at;
        from = at + 1;
    }
    return std::nullopt;
}

// Entries of a note that the library leaves closed.
void AddClosedNote(const MetadataPlaces& places, MetadataSet& set) {
    if (!places.makerNote || !places.makerNote->isRead) return;
    const MakerNote& note = *places.makerNote;
    const bool isOpen = std::any_of(set.entries.begin(), set.entries.end(), [](const MetadataEntry& entry) {
        return entry.kind == MetadataKind::MakerNote;
    });
    if (isOpen) return;
    std::vector<MetadataEntry> added;
    for (const MakerNoteEntry& found : note.entries) {
        char tag[16];
        std::snprintf(tag, sizeof tag, "0x%04X", static_cast<unsigned>(found.tag));
        MetadataEntry entry;
        entry.kind = MetadataKind::MakerNote;
        entry.group = "Maker note " + note.kind;
        entry.key = "Exif." + note.kind + "." + tag;
        const std::string name = MakerNoteTagName(note.kind, found.tag);
        entry.label = name.empty() ? std::string("Entry ") + tag : name;
        entry.value = MakerNoteValue(places.exifBytes, note, found);
        entry.raw = entry.value;
        const char* type = TiffTypeName(found.type);
        entry.type = type == nullptr ? "Unknown" : type;
        entry.tag = tag;
        entry.size = found.valueSize;
        if (found.isInBlock) entry.offset = *places.exif + found.valueOffset;
        added.push_back(std::move(entry));
    }
    // Behind EXIF and GPS, where notes stand.
    const auto place = std::find_if(set.entries.begin(), set.entries.end(), [](const MetadataEntry& entry) {
        return entry.kind != MetadataKind::Exif && entry.kind != MetadataKind::Gps;
    });
    set.entries.insert(place, added.begin(), added.end());
}

// The library passes over a data set without content that stands last in the block.
void AddLastDataSet(const MetadataPlaces& places, MetadataSet& set) {
    if (places.iptc.empty() || places.iptc.back().size > 0) return;
    const IptcPlace& last = places.iptc.back();
    const std::string tag = std::to_string(last.record) + ":" + std::to_string(last.number);
    const auto there = std::count_if(places.iptc.begin(), places.iptc.end(), [&last](const IptcPlace& place) {
        return place.record == last.record && place.number == last.number;
    });
    const auto read = std::count_if(
        set.entries.begin(), set.entries.end(),
        [&tag](const MetadataEntry& entry) { return entry.kind == MetadataKind::Iptc && entry.tag == tag; });
    if (read >= there) return;
    MetadataEntry entry;
    entry.kind = MetadataKind::Iptc;
    const std::string record = last.record == 1   ? "Envelope"
                               : last.record == 2 ? "Application2"
                                                  : "Record" + std::to_string(last.record);
    entry.group = "IPTC " + record;
    entry.key = "Iptc." + record + "." + std::to_string(last.number);
    entry.label = "Data Set " + tag;
    entry.type = "Empty";
    entry.tag = tag;
    entry.offset = last.offset;
    const auto behind =
        std::find_if(set.entries.rbegin(), set.entries.rend(),
                     [](const MetadataEntry& other) { return other.kind == MetadataKind::Iptc; });
    set.entries.insert(behind == set.entries.rend() ? set.entries.end() : behind.base(), std::move(entry));
}

void PlaceAll(const MetadataPlaces& places, MetadataSet& set) {
    std::map<std::string, std::optional<std::size_t>> properties;
    std::map<std::string, std::size_t> seen;
    for (MetadataEntry& entry : set.entries) {
        if (entry.offset) continue;
        const bool isExif = entry.kind == MetadataKind::Exif || entry.kind == MetadataKind::Gps ||
                            entry.kind == MetadataKind::MakerNote;
        if (isExif && places.exif) PlaceExif(places, seen[entry.key]++, entry);
        if (entry.kind == MetadataKind::Iptc) {
            // The same data set may come several times, in the order of the file.
            std::size_t skip = seen[entry.tag]++;
            for (const IptcPlace& place : places.iptc)
                if (std::to_string(place.record) + ":" + std::to_string(place.number) == entry.tag &&
                    skip-- == 0) {
                    if (place.size == entry.size || entry.size == 0) entry.offset = place.offset;
                    break;
                }
        }
        if (entry.kind == MetadataKind::Xmp && places.xmp && !entry.group.starts_with("XMP extended")) {
            const std::string name = PropertyOf(entry.key);
            const auto [found, isNew] = properties.try_emplace(name);
            if (isNew && !name.empty()) found->second = FindProperty(places.xmpBytes, name);
            if (found->second) entry.offset = *places.xmp + *found->second;
        }
    }
}

void AddProfile(ByteSpan bytes, ByteSpan profile, const DetailedMetadata& all, MetadataSet& set) {
    std::vector<MetadataEntry> entries = IccEntries(all.icc);
    std::size_t index = 0;
    const auto place = [&](std::size_t at, std::size_t size) {
        MetadataEntry& entry = entries[index++];
        if (!all.places.icc) return;
        const std::size_t offset = *all.places.icc + at;
        // A long profile goes on in another segment: the bytes say whether this is still the place.
        const ByteSpan there = Slice(bytes, offset, size);
        const ByteSpan wanted = Slice(profile, at, size);
        if (size > 0 && there.size() == size && wanted.size() == size &&
            std::equal(there.begin(), there.end(), wanted.begin()))
            entry.offset = offset;
    };
    for (const IccField& field : all.icc.header) place(field.offset, field.size);
    for (const IccTag& tag : all.icc.tags) place(tag.offset, tag.size);
    set.entries.insert(set.entries.end(), entries.begin(), entries.end());
}

}  // namespace

MetadataPlaces FindMetadataPlaces(ByteSpan bytes, ByteSpan iccProfile) {
    return Finder(bytes, iccProfile).Run();
}

DetailedMetadata ReadDetailedMetadata(ByteSpan bytes, ByteSpan iccProfile, TextEncoding encoding) {
    DetailedMetadata all;
    all.set = ReadMetadata(bytes, encoding);
    all.places = FindMetadataPlaces(bytes, iccProfile);
    all.icc = ReadIccFacts(iccProfile);
    AddClosedNote(all.places, all.set);
    AddLastDataSet(all.places, all.set);
    PlaceAll(all.places, all.set);
    AddProfile(bytes, iccProfile, all, all.set);
    return all;
}
