#pragma once

#include <cstdint>
#include <span>
#include <string>

// What stands between a hostile file and the libraries that read it: everything here looks at the file's own bytes and
// costs next to nothing, before any library gets them. The aim: no file of less than 5 MB costs more than 1 GB of
// memory or 10 s.

// Why the bytes must not be handed to a library, a sentence; "" when they may. Files of boxes (HEIF, AVIF, JPEG 2000,
// camera RAW): nested deeper, or with more boxes, than any real one. TIFF and what is TIFF inside: directories without
// end, or pixels of so many samples that a row alone needs gigabytes. Pure, linear in the bytes, never throws.
std::string StructureProblem(std::span<const std::uint8_t> bytes);

// Whether a file is shorter than its own headers say, a sentence, "" when not: strips and tiles of a TIFF (and of camera
// RAW that is TIFF inside), boxes, and a JPEG 2000 code stream without its end. Decoders often say nothing and show
// invented or empty pixels there.
std::string CutProblem(std::span<const std::uint8_t> bytes);

// How much memory a file of that size may ask for, bytes: what any file may have, and a generous multiple of its own
// size beyond that.
std::uint64_t MemoryLimit(std::uint64_t fileBytes);
