#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "zorbase/files.h"

// Small files for the tests of formats/, made in memory.
namespace formatsupport {

struct JpegRecipe {
    int width = 48;
    int height = 32;
    int quality = 80;
    int components = 3;  // 1 or 3
    int horizontal = 2;  // sampling of the first component
    int vertical = 2;
    bool progressive = false;
    bool optimised = false;
    int restartRows = 0;
    std::string comment = {};
    unsigned seed = 1;                                 // of the picture's content
    std::vector<std::pair<int, Bytes>> segments = {};  // APPn number and payload, after JFIF
};
Bytes MakeJpeg(const JpegRecipe& recipe = {});

Bytes ToBytes(const std::string& text);
Bytes operator+(Bytes left, const Bytes& right);
void AppendLittle(Bytes& bytes, std::uint64_t value, int count);
void AppendBig(Bytes& bytes, std::uint64_t value, int count);

struct ZipEntry {
    std::string name;
    Bytes content;
    bool deflate = true;
    bool encrypted = false;
};
Bytes MakeZip(const std::vector<ZipEntry>& entries);

// --- EXIF blocks and XMP packets ---

struct Tag {
    int number;
    int type;  // of the standard: 1 and 7 bytes, 2 text, 3 short, 4 long, 5 rational, 9 signed long, 10 signed rational, 13 directory
    std::vector<std::uint32_t> values;
    std::string text = {};
};
// One directory with its values behind it, little endian; `offset` is where it will stand in the TIFF structure.
Bytes Directory(const std::vector<Tag>& tags, std::size_t offset, std::uint32_t next = 0);
// Where the directories of a position and of the camera stand in what Tiff makes, and how they are pointed to.
struct TiffRecipe {
    std::vector<Tag> main = {};
    std::vector<Tag> photo = {};
    std::vector<Tag> gps = {};
    std::vector<Tag> second = {};  // the thumbnail's directory, at 3000
    Bytes behind = {};             // at 3400
    int pointerType = 4;
    bool loops = false;
};
// A TIFF structure, little endian: main directory, then at 1000 the camera's, at 2000 the position's, at 3000 the
// thumbnail's with what belongs to it at 3400.
Bytes Tiff(const TiffRecipe& recipe);
// A position north and west, of the given type of fraction (5 or 10).
std::vector<Tag> Position(int type = 5);
Bytes WithExif(const Bytes& tiff);
// An XMP packet as a segment's payload; a JPEG of it.
Bytes XmpPayload(const std::string& properties);
Bytes WithXmp(const std::string& properties);

// Folder of real files, "" when $ORVANE_FIXTURES is not set.
std::string Fixtures();
std::vector<std::string> FilesBelow(const std::string& folder);

}  // namespace formatsupport

// Skips the test, visibly, when there is no folder of real files.
#define NEED_FIXTURES() \
    if (formatsupport::Fixtures().empty()) GTEST_SKIP() << "ORVANE_FIXTURES is not set"
