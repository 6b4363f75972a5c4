#include <cstdio>
#include <cstdlib>

#include "orvcore/formats/structure/picturesinfile.h"

// Structure and list of pictures of any bytes: besides crashes, every promise of the headers is held against the answer.

namespace {

void Require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "broken promise: %s\n", what);
    std::abort();
}

void CheckRows(const FileStructure& structure, std::size_t size) {
    struct Level {
        std::size_t position, end;
    };
    std::vector<Level> levels = {{0, size}};
    for (const StructureRow& row : structure.rows) {
        Require(row.depth >= 0 && row.depth < kMaxStructureDepth + 1, "a depth with an end");
        Require(static_cast<std::size_t>(row.depth) < levels.size(), "a part follows what it is a part of");
        levels.resize(static_cast<std::size_t>(row.depth) + 1);
        Level& level = levels.back();
        Require(row.depth > 0 || row.offset == level.position, "no holes");
        Require(row.offset >= level.position, "no overlap");
        Require(row.length <= level.end && row.offset <= level.end - row.length, "inside");
        level.position = row.offset + row.length;
        levels.push_back({row.offset, level.position});
    }
    Require(levels[0].position == size, "the sum of the lengths");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span<const std::uint8_t> bytes(data, size);
    const FileStructure structure = ReadFileStructure(bytes);
    CheckRows(structure, size);
    std::size_t taken = 0;
    for (const FilePicture& picture : ReadPicturesInFile(bytes, structure)) {
        Require(picture.width >= 0 && picture.height >= 0, "sizes are not negative");
        if (++taken > 8) break;
        const auto file = ExtractFilePicture(bytes, picture);
        Require(!file || picture.access != FilePicture::Access::None,
                "what cannot be reached is not given out");
    }
    return 0;
}
