#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "zorimage/imageformat.h"

// What a file is made of, part by part: one model for every format. Offsets count bytes from the start of the
// file. Texts are valid UTF-8 but come from the file: they are hostile.

struct StructureRow {
    enum class Kind {
        Part,      // a part that the format lays down
        Data,      // coded pixels
        Gap,       // bytes that belong to no part
        Trailing,  // bytes after the end of what the format lays down
        NotListed  // there are more parts than are listed
    };
    std::size_t offset = 0;
    std::size_t length = 0;  // bytes in the file, less than stated when the file ends inside
    int depth = 0;           // 0 for the parts of the file, 1 for the parts of such a part...
    Kind kind = Kind::Part;
    std::string name;     // "APP1", "IHDR", "IFD0", "moov"
    std::string text;     // decoded fields in a few words
    std::string warning;  // sentences; "" when nothing is wrong with it
};

struct FileStructure {
    FileFormat format = FileFormat::Unknown;
    bool isRead = false;  // false: the format's structure is not known here, one row stands for the file
    std::vector<StructureRow> rows;  // a part is followed by its own parts, one level deeper
    std::vector<std::string>
        warnings;              // each a sentence: those of the rows with their offset, and those of the whole
    std::size_t gapBytes = 0;  // of the gaps of depth 0
    std::size_t trailingBytes = 0;  // of the trailing rows of depth 0
};

// More rows than this are counted but not listed: no real file has so many.
constexpr std::size_t kMaxStructureRows = 200000;
// Parts inside parts are followed to this depth.
constexpr int kMaxStructureDepth = 24;

// Reads JPEG (markers, coded data, several pictures), PNG, TIFF and camera RAW built on it (classic and big
// directories), HEIF, AVIF, MP4 and CR3 boxes, WebP, GIF, BMP, JPEG 2000. The rows of depth 0 follow each
// other without holes: their lengths add up to the size of the file, whatever the bytes say. The parts of a
// row lie inside it, by growing offset, without overlap. Needs time linear in the bytes, reads nothing but
// them, never throws by itself except for lack of memory. progress gets the part done, 0..1, and may throw to
// stop.
FileStructure ReadFileStructure(std::span<const std::uint8_t> bytes,
                                const std::function<void(double)>& progress = {});

// Index of the deepest row that holds the byte at `offset`, or -1 outside the file. Time linear in the rows.
int FindStructureRow(const FileStructure& structure, std::size_t offset);

// "APP1 > IFD0 > Orientation": the parts around the byte at `offset`, "" outside the file. Time linear in the rows.
std::string StructurePath(const FileStructure& structure, std::size_t offset);
