#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "zorbase/bytes.h"

// Boxes of the ISO base media file format (ISO/IEC 14496-12) and the items of a picture file (ISO/IEC
// 23008-12): what HEIF, AVIF, MP4, CR3 and JPEG 2000 share. Offsets count bytes of the file.

struct IsoBox {
    std::size_t offset = 0;
    std::size_t headerSize = 0;  // 8, 16 or, with a user type, 16 more
    std::size_t size = 0;        // with the header; cut to its container
    std::string type;            // four characters
    std::string userType;        // of "uuid": 32 hex digits
    bool isCut = false;          // states more than its container has
    std::size_t Content() const { return offset + headerSize; }
    std::size_t End() const { return offset + size; }
};

// The box at `at` inside a container that ends at `end`; nothing when no box can stand there.
std::optional<IsoBox> ReadIsoBox(ByteSpan bytes, std::size_t at, std::size_t end);

// One item of a picture file: a coded picture, a grid of them, metadata.
struct IsoItem {
    struct Extent {
        std::size_t offset = 0;  // in the file
        std::size_t size = 0;
    };
    struct Reference {
        std::string type;  // "dimg", "thmb", "auxl", "cdsc"
        std::vector<std::uint32_t> to;
    };
    std::uint32_t id = 0;
    std::string type;         // "hvc1", "av01", "grid", "Exif", "mime"
    std::string name;         // hostile
    std::string contentType;  // of "mime"
    std::string auxiliary;    // what an auxiliary picture is, as its property names it; hostile
    std::uint32_t width = 0;  // of its spatial extents, 0 when not told
    std::uint32_t height = 0;
    int quarterTurns = 0;  // anticlockwise, as its rotation property asks for
    bool isHidden = false;
    bool isProtected = false;
    bool isLocated =
        true;  // false when its data lie where this reader cannot look (another file, another item)
    std::vector<Extent> extents;
    std::vector<Reference> references;
};

struct IsoItems {
    std::uint32_t primary = 0;  // 0 when there is none
    std::vector<IsoItem> items;
    std::vector<std::string> warnings;
    const IsoItem* Find(std::uint32_t id) const;
};

// Items beyond this number are left out with a warning.
constexpr std::size_t kMaxIsoItems = 20000;

// What the file's meta box says of its items; nothing without one.
IsoItems ReadIsoItems(ByteSpan file);
