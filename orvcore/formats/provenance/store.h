#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "zorbase/bytes.h"

// Where a file keeps its content credentials: the manifest store, found in the container's own way. Pure; any thread.
namespace provenance {

enum class Container { Unknown, Jpeg, Png, Bmff, Webp, Tiff, JpegXl, Sidecar, Gif, Pdf };

struct FileRange {
    std::size_t offset = 0;
    std::size_t size = 0;
    std::size_t End() const { return offset + size; }
    bool operator==(const FileRange&) const = default;
};

// One store. In a JPEG it is cut into packets, so a place in it is not a place in the file.
struct FoundStore {
    struct Piece {
        std::size_t storeOffset = 0;
        FileRange file;
    };
    std::vector<Piece> pieces;  // in the order of the store, gapless
    std::size_t size = 0;       // bytes of the store
    // What the store takes in the file with everything around it (segments with their markers, chunks with length and
    // checksum, the whole box), ascending and apart from each other.
    std::vector<FileRange> shell;
    FileRange countField;  // TIFF: the entry's field that states the store's length; empty otherwise
    std::string purpose;   // media boxes: "manifest", "original" or "update"
    std::vector<std::string> faults;  // packets missing, numbered twice…: a sentence each

    // Where a byte of the store lies in the file; beyond the store, where its last byte lies.
    std::size_t FileOffset(std::size_t storeOffset) const;
    // The store as one run of bytes: a part of the file, or joined in `buffer` when it lies in several pieces.
    ByteSpan View(ByteSpan file, std::vector<std::uint8_t>& buffer) const;
};

// Top-level boxes of a media file (ISO/IEC 14496-12), in order, gapless from the first byte.
struct MediaBox {
    std::uint32_t code = 0;
    std::size_t offset = 0;
    std::size_t headerSize = 0;
    std::size_t size = 0;
};
// The boxes that follow each other in a range of the file. isWhole: they fill it exactly. At most 100,000.
std::vector<MediaBox> ListMediaBoxes(ByteSpan file, FileRange range, bool& isWhole);
// Whether it is a box of content credentials (its extended type says so).
bool IsCredentialBox(ByteSpan file, const MediaBox& box);

// Credentials in a kind of file from which they are not read.
struct UnreadStore {
    FileRange place;
    std::string why;  // a sentence
};

struct StoreSearch {
    Container container = Container::Unknown;
    std::vector<FoundStore> stores;   // in file order
    std::vector<UnreadStore> unread;  // GIF and PDF
    // One store, or in media boxes one "original" and one "update".
    bool IsLegal() const;
};

// Looks at headers, segments up to the first scan, chunks, boxes and directories, never at picture data: its time does not
// depend on the picture's size, but for GIF, whose blocks are stepped over, and PDF, which is searched for one word.
StoreSearch FindStores(ByteSpan file);

}  // namespace provenance
