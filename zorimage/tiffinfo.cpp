#include <algorithm>

#include "zorimage/codec.h"
#include "zorimage/tiffmemory.h"

namespace {

std::string CompressionText(int code) {
    switch (code) {
        case COMPRESSION_NONE:
            return "none";
        case COMPRESSION_CCITTRLE:
            return "CCITT run length";
        case COMPRESSION_CCITTFAX3:
            return "CCITT Group 3";
        case COMPRESSION_CCITTFAX4:
            return "CCITT Group 4";
        case COMPRESSION_LZW:
            return "LZW";
        case COMPRESSION_OJPEG:
            return "JPEG (old style)";
        case COMPRESSION_JPEG:
            return "JPEG";
        case COMPRESSION_ADOBE_DEFLATE:
        case COMPRESSION_DEFLATE:
            return "Deflate";
        case COMPRESSION_PACKBITS:
            return "PackBits";
        case COMPRESSION_LZMA:
            return "LZMA";
        case COMPRESSION_ZSTD:
            return "Zstandard";
        case COMPRESSION_WEBP:
            return "WebP";
        case COMPRESSION_LERC:
            return "LERC";
        case COMPRESSION_SGILOG:
        case COMPRESSION_SGILOG24:
            return "SGI LogLuv";
        case 33003:
        case 33005:
        case COMPRESSION_JP2000:
            return "JPEG 2000";
        default:
            return "unknown (" + std::to_string(code) + ")";
    }
}

std::string ColourText(const codec::TiffReader& tiff, int photometric, int bits) {
    switch (photometric) {
        case PHOTOMETRIC_MINISWHITE:
            return "Grey (0 is white)";
        case PHOTOMETRIC_MINISBLACK:
            return "Grey";
        case PHOTOMETRIC_RGB:
            return "RGB";
        case PHOTOMETRIC_PALETTE:
            return "Palette (" + std::to_string(bits > 0 && bits <= 16 ? 1 << bits : 0) + ")";
        case PHOTOMETRIC_MASK:
            return "Mask";
        case PHOTOMETRIC_SEPARATED:
            return "CMYK";
        case PHOTOMETRIC_YCBCR: {
            std::uint16_t across = 0;
            std::uint16_t down = 0;
            TIFFGetFieldDefaulted(tiff.Get(), TIFFTAG_YCBCRSUBSAMPLING, &across, &down);
            if (across == 1 && down == 1) return "YCbCr 4:4:4";
            if (across == 2 && down == 1) return "YCbCr 4:2:2";
            if (across == 2 && down == 2) return "YCbCr 4:2:0";
            if (across == 4 && down == 1) return "YCbCr 4:1:1";
            return "YCbCr (" + std::to_string(across) + "x" + std::to_string(down) + ")";
        }
        case PHOTOMETRIC_CIELAB:
        case PHOTOMETRIC_ICCLAB:
        case PHOTOMETRIC_ITULAB:
            return "L*a*b*";
        case PHOTOMETRIC_LOGL:
        case PHOTOMETRIC_LOGLUV:
            return "LogLuv";
        case 32803:
            return "Colour filter array";
        case 34892:
            return "Linear raw";
        default:
            return "Unknown (" + std::to_string(photometric) + ")";
    }
}

}  // namespace

namespace codec {

void ReadTiffInfo(ByteSpan bytes, ImageInfo& info) {
    TiffReader tiff(bytes);
    const auto bound = [](std::uint32_t value) {
        return static_cast<int>(std::min<std::uint32_t>(value, 0x7fffffff));
    };
    info.width = bound(tiff.Get32(TIFFTAG_IMAGEWIDTH));
    info.height = bound(tiff.Get32(TIFFTAG_IMAGELENGTH));
    info.bitsPerSample = tiff.Get16(TIFFTAG_BITSPERSAMPLE, 1);
    info.channels = tiff.Get16(TIFFTAG_SAMPLESPERPIXEL, 1);
    info.compression = CompressionText(tiff.Get16(TIFFTAG_COMPRESSION, COMPRESSION_NONE));
    std::uint16_t photometric = 0;
    if (TIFFGetField(tiff.Get(), TIFFTAG_PHOTOMETRIC, &photometric) == 1) {
        info.colourModel = ColourText(tiff, photometric, info.bitsPerSample);
    }
    std::uint32_t length = 0;
    void* profile = nullptr;
    if (TIFFGetField(tiff.Get(), TIFFTAG_ICCPROFILE, &length, &profile) == 1 && profile != nullptr) {
        const auto* start = static_cast<const std::uint8_t*>(profile);
        info.iccProfile.assign(start, start + length);
    }
    info.recipe = "First page, samples as stored and scaled to the full range, no colour management.";
    if (photometric == PHOTOMETRIC_SEPARATED) {
        info.recipe +=
            " Ink becomes RGB by R = (255 - C)(255 - K) / 255, rounded, and likewise for green and blue.";
    }
    info.frames = std::max(1, static_cast<int>(TIFFNumberOfDirectories(tiff.Get())));
    info.warnings = tiff.GetWarnings().Take();
}

}  // namespace codec
