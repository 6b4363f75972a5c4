#pragma once

#include <cstddef>
#include <cstdint>

// Names of the entries of TIFF directories, as TIFF 6.0, EXIF 2.32 and DNG 1.6 give them.

enum class TiffDirectoryKind { Image, Exif, Gps, Interoperability, MultiPicture };

// "ImageWidth", "ExposureTime"; nullptr for a number that is not known in such a directory.
const char* TiffTagName(TiffDirectoryKind kind, std::uint32_t tag);

// "SHORT", "RATIONAL"; nullptr for an unknown type.
const char* TiffTypeName(std::uint32_t type);
// Bytes of one value of a type, 0 for an unknown type.
std::size_t TiffTypeSize(std::uint32_t type);
