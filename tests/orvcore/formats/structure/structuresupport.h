#pragma once

#include <string>
#include <vector>

#include "orvcore/formats/structure/filestructure.h"
#include "tests/orvcore/formats/formatsupport.h"

// Small files of every format, made in memory, and what every structure must hold.
namespace structuresupport {

// Fails the running test unless the rows of depth 0 tile the file and the parts of a row lie inside it, in
// order, without overlap.
void ExpectTiles(const Bytes& bytes, const FileStructure& structure, const std::string& what);

const StructureRow* FindRow(const FileStructure& structure, const std::string& name, std::size_t number = 0);
bool HasWarning(const FileStructure& structure, const std::string& part);

Bytes PngChunk(const std::string& type, const Bytes& data);
Bytes MakePng();

struct TiffRecipeEntry {
    unsigned tag;
    unsigned type;
    std::uint64_t count;
    std::uint64_t value;  // the number itself, or the offset of the value
};
// One directory at the present end of `bytes`, which starts with a TIFF header; classic or big as that says.
void AppendDirectory(Bytes& bytes, const std::vector<TiffRecipeEntry>& entries, std::uint64_t next);
Bytes TiffHeader(bool isBig, std::uint64_t first);

Bytes Box(const std::string& type, const Bytes& content);
// A picture file with a primary item of 4 bytes, a thumbnail of 3, an Exif item, a gain map that lies in the item
// data box, and 5 bytes that no item claims.
Bytes MakeHeif();
Bytes MakeGif(int frames);
Bytes MakeWebp(bool isAnimated);
Bytes MakeBmp(int width, int height);

}  // namespace structuresupport
