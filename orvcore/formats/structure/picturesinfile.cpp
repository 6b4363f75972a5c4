#include "orvcore/formats/structure/picturesinfile.h"

#include <algorithm>
#include <set>
#include <string_view>

#include "orvcore/formats/jpegsegmenttext.h"
#include "orvcore/formats/jpegwalk.h"
#include "orvcore/formats/structure/isobox.h"
#include "orvcore/formats/structure/structurewriter.h"
#include "orvcore/formats/structure/tiffdirectories.h"

namespace {

using Kind = FilePicture::Kind;
using Access = FilePicture::Access;

bool Contains(ByteSpan bytes, std::string_view text) {
    return std::search(bytes.begin(), bytes.end(), text.begin(), text.end()) != bytes.end();
}

// What a further JPEG is, by the name space that its own metadata use.
std::string AuxiliaryRole(ByteSpan segment) {
    if (Contains(segment, "ns.adobe.com/hdr-gain-map") || Contains(segment, "aux:hdrgainmap") ||
        Contains(segment, "apdi:AuxiliaryImageType>urn:com:apple:photo:2020") ||
        Contains(segment, "ISO 21496") || Contains(segment, "21496:-1"))
        return "gain map";
    if (Contains(segment, "ns.google.com/photos/1.0/depthmap") || Contains(segment, "aux:disparity") ||
        Contains(segment, "aux:depth"))
        return "depth";
    return {};
}

std::string AuxiliaryItemRole(const std::string& urn) {
    const auto has = [&](const char* part) { return urn.find(part) != std::string::npos; };
    if (has("gainmap") || has("hdrgain")) return "gain map";
    if (has("depth") || urn == "urn:mpeg:hevc:2015:auxid:2") return "depth";
    if (has("alpha") || urn == "urn:mpeg:hevc:2015:auxid:1") return "alpha";
    if (has("disparity")) return "disparity";
    return urn;
}

std::string CompressionName(std::uint64_t code) {
    struct Name {
        std::uint64_t code;
        const char* name;
    };
    static constexpr Name kNames[] = {
        {1, "uncompressed"},   {2, "CCITT 1D"}, {3, "CCITT G3"}, {4, "CCITT G4"},     {5, "LZW"},
        {6, "JPEG (old)"},     {7, "JPEG"},     {8, "Deflate"},  {32773, "PackBits"}, {32946, "Deflate"},
        {34892, "lossy JPEG"}, {50000, "ZSTD"}, {50001, "WebP"}, {52546, "JPEG XL"}};
    for (const Name& name : kNames)
        if (name.code == code) return name.name;
    return "compression " + std::to_string(code);
}

class Collector {
  public:
    Collector(ByteSpan bytes, const FileStructure& structure) : m_bytes(bytes), m_structure(structure) {}

    std::vector<FilePicture> Run() {
        switch (m_structure.format) {
            case FileFormat::Tiff:
                CollectPages(false);
                break;
            case FileFormat::Raw:
                if (!StartsWith(m_bytes, 4, "ftyp", 4) && !StartsWith(m_bytes, 0, "FUJI", 4))
                    CollectPages(true);
                else
                    AddWhole("camera RAW");
                break;
            case FileFormat::Heif:
            case FileFormat::Avif:
                CollectItems();
                break;
            case FileFormat::Gif:
                CollectFrames("picture descriptor", "picture data", "GIF");
                break;
            case FileFormat::Webp:
                CollectFrames("ANMF", "", "WebP");
                break;
            case FileFormat::Png:
                CollectFrames("fcTL", "", "PNG");
                break;
            case FileFormat::Bmp:
            case FileFormat::Jpeg2000:
                AddWhole(FormatName(m_structure.format));
                break;
            default:
                break;
        }
        CollectJpegs();
        std::stable_sort(m_pictures.begin(), m_pictures.end(),
                         [](const FilePicture& a, const FilePicture& b) {
                             if ((a.kind == Kind::Primary) != (b.kind == Kind::Primary))
                                 return a.kind == Kind::Primary;
                             return a.offset < b.offset;
                         });
        return std::move(m_pictures);
    }

  private:
    bool Add(FilePicture picture) {
        if (m_pictures.size() >= kMaxFilePictures) return false;
        if (picture.access == Access::Bytes) {
            if (!m_taken.insert(picture.offset).second) return true;
            // A directory whose only strip is a whole JPEG: one picture, which can be taken out as it is.
            for (FilePicture& known : m_pictures) {
                if (known.offset != picture.offset || known.size == 0) continue;
                if (known.access == Access::Directory) {
                    known.access = Access::Bytes;
                    known.size = picture.size;
                    known.format = "JPEG";
                    return true;
                }
                if (known.access == Access::Whole && known.where != "") return true;
            }
        }
        m_pictures.push_back(std::move(picture));
        return true;
    }

    void AddWhole(const std::string& format) {
        FilePicture picture;
        picture.size = m_bytes.size();
        picture.format = format;
        Add(std::move(picture));
    }

    // JPEGs are told from the rows: wherever one was read there is a start marker.
    void CollectJpegs() {
        const auto& rows = m_structure.rows;
        std::vector<std::size_t> path;  // rows around the present one
        for (std::size_t i = 0; i < rows.size(); ++i) {
            path.resize(std::min(path.size(), static_cast<std::size_t>(rows[i].depth)));
            const bool isStart = rows[i].name == "SOI" && rows[i].warning.find("second") == std::string::npos;
            if (isStart && !AddJpeg(i, path)) return;
            path.push_back(i);
        }
    }

    std::string PathText(const std::vector<std::size_t>& path) const {
        std::string text;
        for (const std::size_t row : path) text += (text.empty() ? "" : " > ") + m_structure.rows[row].name;
        return text;
    }

    bool AddJpeg(std::size_t start, const std::vector<std::size_t>& path) {
        const auto& rows = m_structure.rows;
        FilePicture picture;
        picture.access = Access::Bytes;
        picture.format = "JPEG";
        picture.offset = rows[start].offset;
        std::size_t end = picture.offset;
        bool isWhole = false;
        std::string role;
        for (std::size_t i = start; i < rows.size() && rows[i].depth >= rows[start].depth && !isWhole; ++i) {
            const StructureRow& row = rows[i];
            if (row.depth > rows[start].depth) continue;
            if (row.kind == StructureRow::Kind::Trailing) break;
            end = row.offset + row.length;
            isWhole = row.name == "EOI";
            if (row.name.compare(0, 3, "SOF") == 0 && picture.width == 0) {
                const ByteSpan frame = FramePayload(row);
                picture.height = static_cast<int>(Big16(frame, 1));
                picture.width = static_cast<int>(Big16(frame, 3));
            }
            if (row.name == "DNL" && picture.height == 0)
                picture.height = static_cast<int>(Big16(FramePayload(row), 0));
            if (role.empty() && (row.name == "APP1" || row.name == "APP2"))
                role = AuxiliaryRole(Slice(m_bytes, row.offset, row.length));
        }
        picture.size = end - picture.offset;
        picture.where = PathText(path);
        if (!isWhole && !path.empty()) picture.access = Access::None;
        Classify(picture, role, path);
        if (picture.kind == Kind::Primary && !m_pictures.empty()) return true;
        return Add(std::move(picture));
    }

    ByteSpan FramePayload(const StructureRow& row) const {
        JpegWalk walk(Slice(m_bytes, 0, row.offset + row.length), row.offset);
        const JpegPiece piece = walk.Next();
        return Slice(m_bytes, piece.PayloadOffset(), piece.PayloadSize());
    }

    void Classify(FilePicture& picture, const std::string& role, const std::vector<std::size_t>& path) {
        picture.role = role;
        if (path.empty()) {
            picture.kind = Kind::Primary;
            picture.access = Access::Whole;
            picture.role.clear();
            return;
        }
        const StructureRow& parent = m_structure.rows[path.back()];
        const std::size_t colon = parent.text.find("in the index: ");
        if (colon != std::string::npos && picture.role.empty()) picture.role = parent.text.substr(colon + 14);
        if (parent.name.compare(0, 8, "picture ") == 0) {
            picture.kind = role.empty() ? Kind::Further : Kind::Auxiliary;
            if (picture.role.find("thumbnail") != std::string::npos) picture.kind = Kind::Preview;
            return;
        }
        // The second directory of an EXIF block holds the thumbnail; larger pictures elsewhere are previews.
        const bool isSmall = picture.width <= 320 && picture.height <= 320;
        picture.kind = isSmall ? Kind::Thumbnail : Kind::Preview;
        if (picture.role.empty()) picture.role = parent.text;
    }

    void CollectPages(bool isRaw) {
        const TiffDirectories tiff = ReadTiffDirectories(m_bytes);
        bool hasPrimary = false;
        // Strips or tiles of all pictures: many directories may share one list.
        std::size_t blocksLeft = 300000;
        for (const TiffDirectory& directory : tiff.directories) {
            if (directory.kind != TiffDirectoryKind::Image) continue;
            const auto number = [&](std::uint32_t tag) -> std::uint64_t {
                const TiffEntry* entry = FindTiffEntry(directory, tag);
                const auto numbers =
                    entry == nullptr ? std::vector<std::uint64_t>() : TiffNumbers(tiff, m_bytes, *entry, 1);
                return numbers.empty() ? 0 : numbers[0];
            };
            const auto blocks = [&](std::uint32_t tag) {
                const TiffEntry* entry = FindTiffEntry(directory, tag);
                return entry == nullptr ? std::vector<std::uint64_t>()
                                        : TiffNumbers(tiff, m_bytes, *entry, blocksLeft);
            };
            auto offsets = blocks(0x0111);
            auto sizes = blocks(0x0117);
            if (offsets.empty()) {
                offsets = blocks(0x0144);
                sizes = blocks(0x0145);
            }
            if (offsets.empty()) continue;
            blocksLeft -= std::min(blocksLeft, std::max(offsets.size(), sizes.size()));
            FilePicture picture;
            picture.access = Access::Directory;
            picture.index = directory.offset;
            picture.offset = static_cast<std::size_t>(std::min<std::uint64_t>(offsets[0], m_bytes.size()));
            // The pieces may claim anything; no picture is larger than the file.
            for (const std::uint64_t size : sizes)
                picture.size +=
                    static_cast<std::size_t>(std::min<std::uint64_t>(size, m_bytes.size() - picture.size));
            picture.width = static_cast<int>(std::min<std::uint64_t>(number(0x0100), 0x7FFFFFFF));
            picture.height = static_cast<int>(std::min<std::uint64_t>(number(0x0101), 0x7FFFFFFF));
            picture.format = CompressionName(number(0x0103));
            picture.where = directory.name;
            const bool isReduced = (number(0x00FE) & 1) != 0;
            const bool isMask = (number(0x00FE) & 4) != 0;
            picture.kind = isMask      ? Kind::Auxiliary
                           : isReduced ? Kind::Preview
                           : isRaw     ? Kind::Further
                                       : Kind::Page;
            if (isMask) picture.role = "transparency mask";
            if (!hasPrimary && !isReduced && !isMask) {
                picture.kind = Kind::Primary;
                picture.access = Access::Whole;
                hasPrimary = true;
            }
            if (!Add(std::move(picture))) return;
        }
    }

    void CollectItems() {
        const IsoItems items = ReadIsoItems(m_bytes);
        std::set<std::uint32_t> parts, thumbnails, auxiliaries;
        for (const IsoItem& item : items.items) {
            for (const IsoItem::Reference& reference : item.references) {
                if (reference.type == "dimg") parts.insert(reference.to.begin(), reference.to.end());
                if (reference.type == "thmb") thumbnails.insert(item.id);
                if (reference.type == "auxl") auxiliaries.insert(item.id);
            }
        }
        for (const IsoItem& item : items.items) {
            static const char* const kCoded[] = {"hvc1", "av01", "grid", "iovl", "iden", "jpeg",
                                                 "avc1", "j2k1", "unci", "vvc1", "tmap"};
            if (std::none_of(std::begin(kCoded), std::end(kCoded),
                             [&](const char* type) { return item.type == type; }))
                continue;
            FilePicture picture;
            picture.access = item.isProtected || !item.isLocated ? Access::None : Access::Item;
            picture.index = item.id;
            picture.offset = item.extents.empty() ? 0 : item.extents[0].offset;
            for (const IsoItem::Extent& extent : item.extents)
                picture.size +=
                    std::min(extent.size, m_bytes.size() - std::min(m_bytes.size(), picture.size));
            picture.width = static_cast<int>(std::min<std::uint32_t>(item.width, 0x7FFFFFFF));
            picture.height = static_cast<int>(std::min<std::uint32_t>(item.height, 0x7FFFFFFF));
            picture.format = item.type;
            picture.where = "item " + std::to_string(item.id);
            picture.role = item.name;
            if (item.id == items.primary) {
                picture.kind = Kind::Primary;
                picture.access = Access::Whole;
            } else if (thumbnails.count(item.id) != 0) {
                picture.kind = Kind::Thumbnail;
            } else if (auxiliaries.count(item.id) != 0 || !item.auxiliary.empty()) {
                picture.kind = Kind::Auxiliary;
                picture.role = AuxiliaryItemRole(item.auxiliary);
            } else if (parts.count(item.id) != 0) {
                picture.kind = Kind::Part;
            } else {
                picture.kind = item.type == "tmap" ? Kind::Auxiliary : Kind::Further;
                if (item.type == "tmap") picture.role = "tone-mapped by a gain map";
            }
            if (!Add(std::move(picture))) return;
        }
    }

    // Frames of an animation: a row that describes each, and its data until the next one.
    void CollectFrames(const char* name, const char* dataName, const char* format) {
        const auto& rows = m_structure.rows;
        std::size_t count = 0;
        for (const StructureRow& row : rows)
            if (row.name == name) ++count;
        if (count < 2) {
            AddWhole(format);
            if (format == std::string_view("GIF") && count == 0) m_pictures.clear();
            SetCanvas(m_pictures.empty() ? nullptr : &m_pictures.back());
            return;
        }
        std::size_t index = 0;
        for (std::size_t i = 0; i < rows.size(); ++i) {
            if (rows[i].name != name) continue;
            FilePicture picture;
            picture.kind = index == 0 ? Kind::Primary : Kind::Frame;
            picture.access = index == 0 ? Access::Whole : Access::Frame;
            picture.index = index++;
            picture.offset = rows[i].offset;
            picture.format = format;
            picture.where = "frame " + std::to_string(index);
            SetFrameSize(picture, rows[i].offset, format);
            std::size_t end = rows[i].offset + rows[i].length;
            for (std::size_t k = i + 1; k < rows.size() && rows[k].name != name; ++k) {
                if (rows[k].depth != rows[i].depth) continue;
                if (*dataName != 0 ? rows[k].name == dataName
                                   : rows[k].name == "IDAT" || rows[k].name == "fdAT")
                    end = rows[k].offset + rows[k].length;
            }
            picture.size = end - picture.offset;
            if (!Add(std::move(picture))) return;
        }
    }

    void SetFrameSize(FilePicture& picture, std::size_t at, std::string_view format) const {
        if (format == "GIF") {
            picture.width = static_cast<int>(Little16(m_bytes, at + 5));
            picture.height = static_cast<int>(Little16(m_bytes, at + 7));
        } else if (format == "WebP") {
            picture.width = static_cast<int>((Little32(m_bytes, at + 8 + 6) & 0xFFFFFF) + 1);
            picture.height = static_cast<int>((Little32(m_bytes, at + 8 + 9) & 0xFFFFFF) + 1);
        } else {
            picture.width = static_cast<int>(Big32(m_bytes, at + 8 + 4) & 0x7FFFFFFF);
            picture.height = static_cast<int>(Big32(m_bytes, at + 8 + 8) & 0x7FFFFFFF);
        }
    }

    void SetCanvas(FilePicture* picture) const {
        if (picture == nullptr) return;
        if (m_structure.format == FileFormat::Webp) {
            for (const StructureRow& row : m_structure.rows) {
                const ByteSpan data = Slice(m_bytes, row.offset + 8, row.length);
                if (row.name == "VP8X") {
                    picture->width = static_cast<int>((Little32(data, 4) & 0xFFFFFF) + 1);
                    picture->height = static_cast<int>((Little32(data, 7) & 0xFFFFFF) + 1);
                } else if (row.name == "VP8L") {
                    picture->width = static_cast<int>((Little32(data, 1) & 0x3FFF) + 1);
                    picture->height = static_cast<int>(((Little32(data, 1) >> 14) & 0x3FFF) + 1);
                } else if (row.name == "VP8 ") {
                    picture->width = static_cast<int>(Little16(data, 6) & 0x3FFF);
                    picture->height = static_cast<int>(Little16(data, 8) & 0x3FFF);
                }
                if (picture->width > 0) return;
            }
        } else if (m_structure.format == FileFormat::Gif) {
            picture->width = static_cast<int>(Little16(m_bytes, 6));
            picture->height = static_cast<int>(Little16(m_bytes, 8));
        } else if (m_structure.format == FileFormat::Png) {
            picture->width = static_cast<int>(Big32(m_bytes, 16) & 0x7FFFFFFF);
            picture->height = static_cast<int>(Big32(m_bytes, 20) & 0x7FFFFFFF);
        }
    }

    ByteSpan m_bytes;
    const FileStructure& m_structure;
    std::vector<FilePicture> m_pictures;
    std::set<std::size_t> m_taken;
};

}  // namespace

std::vector<FilePicture> ReadPicturesInFile(std::span<const std::uint8_t> bytes,
                                            const FileStructure& structure) {
    return Collector(bytes, structure).Run();
}

std::string FilePictureKindText(FilePicture::Kind kind) {
    switch (kind) {
        case Kind::Primary:
            return "primary picture";
        case Kind::Further:
            return "further picture";
        case Kind::Thumbnail:
            return "thumbnail";
        case Kind::Preview:
            return "preview";
        case Kind::Auxiliary:
            return "auxiliary picture";
        case Kind::Page:
            return "page";
        case Kind::Frame:
            return "frame";
        case Kind::Part:
            break;
    }
    return "part of a picture";
}
