#pragma once

#include <optional>
#include <string>
#include <vector>

#include "orvcore/formats/structure/filestructure.h"
#include "zorbase/files.h"

// Every picture that one file holds: the one that is analysed and all the others, with a way to take each out.

struct FilePicture {
    enum class Kind {
        Primary,    // what a viewer shows
        Further,    // another picture beside it: of a multi-picture file, after the end of the first
        Thumbnail,  // small, of the primary one
        Preview,    // larger, of the primary one; of a RAW file
        Auxiliary,  // gain map, depth, alpha
        Page,       // of a TIFF
        Frame,      // of an animation
        Part        // a tile or layer that another item is composed of
    };
    // How its pixels are reached.
    enum class Access {
        Whole,      // the file itself
        Bytes,      // offset and size are a complete JPEG
        Directory,  // index is the offset of its TIFF directory
        Item,       // index is the number of an item of a HEIF or AVIF file
        Frame,      // index counts frames from 0
        None        // known to be there, not reachable (cut off, protected, packed in an unknown way)
    };
    Kind kind = Kind::Primary;
    Access access = Access::Whole;
    std::size_t index = 0;
    std::size_t offset = 0;  // of its coded data in the file
    std::size_t size = 0;    // bytes of its coded data, in as many pieces as it has
    int width = 0;           // pixels as stored; 0 when not told
    int height = 0;
    std::string format;  // "JPEG", "hvc1", "LZW"; from the file where it is not known, hostile
    std::string where;   // "APP1 > IFD1", "item 3", "picture 2"
    std::string role;    // what the file says of it: "gain map", "large thumbnail (VGA)"; hostile, often ""
};

// Beyond this number pictures are left out (an animation may have more frames than anyone lists).
constexpr std::size_t kMaxFilePictures = 5000;

// By growing importance of the place: the primary picture first, the others by growing offset. structure must be
// ReadFileStructure's of the same bytes. Empty for formats whose structure is not read. Never throws on what the
// bytes say.
std::vector<FilePicture> ReadPicturesInFile(std::span<const std::uint8_t> bytes,
                                            const FileStructure& structure);

// A file that holds that picture alone or shows it first, for the program's own decoders: for Bytes the file's
// own bytes, unchanged; for a directory or an item the whole file with the one pointer changed that says which
// picture comes first; for a frame a file of that frame as it is stored, not composed with those before it.
// Nothing for Access::None and where the file is too damaged. The index must be one of ReadPicturesInFile.
std::optional<Bytes> ExtractFilePicture(std::span<const std::uint8_t> bytes, const FilePicture& picture);

// "primary picture", "thumbnail", "frame"...
std::string FilePictureKindText(FilePicture::Kind kind);
