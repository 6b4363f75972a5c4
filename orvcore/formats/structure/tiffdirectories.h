#pragma once

#include <string>
#include <vector>

#include "orvcore/formats/structure/tifftags.h"
#include "zorbase/bytes.h"

// The directories of a TIFF structure, classic or big, as they stand in the file: nothing is interpreted
// beyond types and pointers. Offsets count bytes of the span, in which the structure starts at 0. Shared by
// TIFF, camera RAW and EXIF blocks.

struct TiffEntry {
    std::uint32_t tag = 0;
    std::uint32_t type = 0;
    std::uint64_t count = 0;
    std::size_t entryOffset = 0;  // of the entry itself
    std::size_t valueOffset = 0;  // of its value: inside the entry when it is short enough
    std::size_t valueSize = 0;    // bytes of the value that lie in the span
    bool isInline = false;
    std::string warning;  // value outside the file, unknown type
};

struct TiffDirectory {
    std::string name;  // "IFD0", "Exif IFD", "SubIFD 1"
    TiffDirectoryKind kind = TiffDirectoryKind::Image;
    std::size_t offset = 0;
    std::size_t size = 0;  // bytes it takes: count, entries and pointer to the next one
    std::vector<TiffEntry> entries;
    std::string warning;
};

struct TiffDirectories {
    bool isTiff = false;  // byte order and magic number are right
    bool isBig = false;   // offsets of 64 bits
    bool little = false;
    std::uint32_t magic = 0;
    std::size_t headerSize = 0;
    std::vector<TiffDirectory> directories;  // in the order in which they are pointed at
    std::vector<std::string> warnings;

    std::uint64_t Number(ByteSpan bytes, std::size_t at, std::size_t size) const;  // 1, 2, 4 or 8 bytes
};

// Directories, and entries in all of them together, beyond which reading stops with a warning.
constexpr std::size_t kMaxTiffDirectories = 2000;
constexpr std::size_t kMaxTiffEntries = 100000;

// Follows every pointer once: a directory that points at itself or back ends the chain with a warning, and so does
// one that would lie over the header or over a directory that was read before it. Never throws on what the bytes
// say.
TiffDirectories ReadTiffDirectories(ByteSpan tiff);

// The entry with that number, or nullptr.
const TiffEntry* FindTiffEntry(const TiffDirectory& directory, std::uint32_t tag);
// The numbers of an entry of an integer type, at most `maximum`; empty for other types.
std::vector<std::uint64_t> TiffNumbers(const TiffDirectories& tiff, ByteSpan bytes, const TiffEntry& entry,
                                       std::size_t maximum);
// What the value is, in a few words: "6000", "1/250", "\"NIKON\"", "4 values: 1, 2, 3, 4".
std::string TiffValueText(const TiffDirectories& tiff, ByteSpan bytes, const TiffEntry& entry);
