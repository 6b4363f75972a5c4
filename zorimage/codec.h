#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <span>
#include <string>
#include <vector>

#include "zorbase/bytes.h"
#include "zorimage/imageio.h"
#include "zorimage/warnings.h"

// What the format readers of this library share. Private to zorimage.
namespace codec {

// One format: its header reader and its pixel decoder. Both get the whole file.
struct Codec {
    FileFormat format;
    // Fills what the headers say (format is set already). May throw; what was filled before stays.
    void (*readInfo)(ByteSpan bytes, ImageInfo& info);
    // As DecodeImage. The progress function is never empty here.
    DecodedImage (*decode)(ByteSpan bytes, const DecodeProgress& progress);
};

// The reader of a format, or null when its pixels are not decoded here.
const Codec* FindCodec(FileFormat format);

void ReadJpegInfo(ByteSpan bytes, ImageInfo& info);
DecodedImage DecodeJpeg(ByteSpan bytes, const DecodeProgress& progress);
void ReadPngInfo(ByteSpan bytes, ImageInfo& info);
DecodedImage DecodePng(ByteSpan bytes, const DecodeProgress& progress);
void ReadTiffInfo(ByteSpan bytes, ImageInfo& info);
DecodedImage DecodeTiff(ByteSpan bytes, const DecodeProgress& progress);
void ReadBmpInfo(ByteSpan bytes, ImageInfo& info);
DecodedImage DecodeBmp(ByteSpan bytes, const DecodeProgress& progress);
void ReadGifInfo(ByteSpan bytes, ImageInfo& info);
DecodedImage DecodeGif(ByteSpan bytes, const DecodeProgress& progress);
void ReadWebpInfo(ByteSpan bytes, ImageInfo& info);
DecodedImage DecodeWebp(ByteSpan bytes, const DecodeProgress& progress);
void ReadJpeg2000Info(ByteSpan bytes, ImageInfo& info);
DecodedImage DecodeJpeg2000(ByteSpan bytes, const DecodeProgress& progress);
void ReadHeifInfo(ByteSpan bytes, ImageInfo& info);
DecodedImage DecodeHeif(ByteSpan bytes, const DecodeProgress& progress);
void ReadRawInfo(ByteSpan bytes, ImageInfo& info);
DecodedImage DecodeRaw(ByteSpan bytes, const DecodeProgress& progress);

// A picture buffer, not initialised, once its sides are known to be sane: throws ZorException of kind Format
// for empty sides, of kind Memory for more than 2^31 - 1 pixels or when the memory is not to be had. type is
// an OpenCV type (CV_8UC3…).
cv::Mat NewPixels(std::uint64_t width, std::uint64_t height, int type);
// The check of NewPixels alone.
void CheckSides(std::uint64_t width, std::uint64_t height);
// Throws ZorException when decoding would need more memory than a file of that size may ask for (MemoryLimit), so that
// a few bytes cannot claim gigabytes. bytesPerPixel: of everything that is held at once while decoding, the library's
// own buffers included.
void CheckPlausible(std::uint64_t width, std::uint64_t height, std::uint64_t fileBytes,
                    std::uint64_t bytesPerPixel);

// "the last 120 of 600 rows are missing.", to follow a colon; empty when none is.
std::string MissingRowsText(int rowsDone, int rows);

// Ink to B, G, R by R = (255 - C)(255 - K) / 255, rounded. Each pixel has four samples; isInverted when 255
// stands for no ink.
void InkToBgr(const std::uint8_t* ink, std::uint8_t* bgr, int width, bool isInverted);

// value of 0..from as a value of 0..to, rounded to the nearest.
constexpr std::uint32_t ScaleSample(std::uint64_t value, std::uint64_t from, std::uint64_t to) {
    return static_cast<std::uint32_t>((value * to + from / 2) / from);
}

// One box of an ISO base media file at `at`, which must not be behind `end`: where its content begins and where it ends. A box of no
// length goes on to `end`, one that claims more is cut there, as every reader does. False where none fits.
bool ReadBox(ByteSpan bytes, std::size_t at, std::size_t end, std::size_t& body, std::size_t& boxEnd);

// Whether the bytes at offset are those of text (its end included only when length says so).
bool HasText(ByteSpan bytes, std::size_t offset, std::string_view text);

// Writers, one per extension. The image is valid.
std::vector<std::uint8_t> EncodeJpeg(const Image& image, int quality);
std::vector<std::uint8_t> EncodePng(const Image& image);
std::vector<std::uint8_t> EncodeTiff(const Image& image);
std::vector<std::uint8_t> EncodeBmp(const Image& image);
std::vector<std::uint8_t> EncodeWebp(const Image& image);

}  // namespace codec
