#pragma once

#include "orvcore/formats/structure/structurewriter.h"

// One function per format: each writes rows for the bytes from begin up to end of the writer's file, at the
// writer's present depth and without holes, and never reads outside them. None throws on what the bytes say.

// A JPEG file: what lies before the first picture, its segments, further pictures, trailing data.
void WriteJpegParts(StructureWriter& writer, std::size_t begin, std::size_t end);
// A TIFF structure; offsets in it count from begin. Also that of an EXIF block.
void WriteTiffParts(StructureWriter& writer, std::size_t begin, std::size_t end);
void WritePngParts(StructureWriter& writer, std::size_t begin, std::size_t end);
void WriteWebpParts(StructureWriter& writer, std::size_t begin, std::size_t end);
void WriteGifParts(StructureWriter& writer, std::size_t begin, std::size_t end);
void WriteBmpParts(StructureWriter& writer, std::size_t begin, std::size_t end);
// Boxes of the ISO base media file format: HEIF, AVIF, MP4, CR3, and those of JPEG 2000.
void WriteIsoParts(StructureWriter& writer, std::size_t begin, std::size_t end);
// A codestream of JPEG 2000 without boxes.
void WriteCodestreamParts(StructureWriter& writer, std::size_t begin, std::size_t end);
// A Fujifilm RAW file: a header with offsets of a JPEG and of the sensor's data.
void WriteRafParts(StructureWriter& writer, std::size_t begin, std::size_t end);
// The blocks of an image-resource segment ("8BIM").
void WriteResourceParts(StructureWriter& writer, std::size_t begin, std::size_t end);
