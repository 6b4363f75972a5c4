#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "zorimage/image.h"
#include "zorimage/imageformat.h"

// What the headers of an image file say, without decoding pixels.
struct ImageInfo {
    FileFormat format = FileFormat::Unknown;
    int width = 0;  // as stored, before any rotation that metadata asks for; 0 when not known
    int height = 0;
    int bitsPerSample = 0;    // as stored (1, 2, 4, 8, 10, 12, 14, 16, 32)
    int channels = 0;         // as stored: palette images count 1
    int frames = 1;           // pictures, pages or animation frames in the file
    std::string compression;  // "JPEG: Baseline DCT, Huffman", "Deflate", "LZW", "none"…
    std::string colourModel;  // "YCbCr 4:2:0", "Grey", "RGB", "CMYK (Adobe, inverted)", "Palette (256)"…
    std::vector<std::uint8_t> iccProfile;  // embedded profile, empty when there is none
    std::string recipe;  // how Orvane decodes the pixels, in one sentence; always given for camera RAW
    std::vector<std::string> warnings;  // what is wrong with the file, each a sentence
};

struct DecodedImage {
    Image image;                        // invalid when nothing could be decoded
    std::vector<std::string> warnings;  // "File ends early: the last 120 of 600 rows are missing."
};

// Called while decoding with the part done, 0..1, at least every 50 ms where the library allows it; leaves by exception to stop.
using DecodeProgress = std::function<void(double done)>;

// The headers of a whole file in memory. Never throws: what cannot be read stays 0 or empty and is told in warnings.
ImageInfo ReadImageInfo(std::span<const std::uint8_t> bytes);

// Decodes the first picture as stored: no rotation by metadata, no colour management, no automatic brightening. Palettes are
// expanded, CMYK and YCCK become RGB by the plain formula, 1/2/4 bits become 8 by full-range scaling, 10..16 bits become 16 (scaled to
// the full range), alpha is kept. A damaged file gives what could be decoded plus warnings. Throws ZorException: kind Format when nothing can be
// decoded (the text says why), kind Memory when the image would need more than 2^31 - 1 pixels or the memory is not to be had.
// Sizes are checked before anything is allocated.
DecodedImage DecodeImage(std::span<const std::uint8_t> bytes, const DecodeProgress& progress = {});

// Name of an ICC profile as its description tag says it, "" when there is none. Never throws.
std::string IccProfileName(std::span<const std::uint8_t> profile);

// Formats that WriteImage knows, by the path's extension: png, jpg/jpeg, tif/tiff, bmp, webp. 16 bits are kept by PNG and TIFF.
// Written to a temporary file and renamed. Throws ZorException (kind File or Argument).
void WriteImage(const Image& image, const std::string& path, int jpegQuality = 95);
// The same into memory; extension without dot.
std::vector<std::uint8_t> EncodeImage(const Image& image, const std::string& extension, int jpegQuality = 95);
