#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace codec {

// What the boxes and the main header of a JPEG 2000 file say. Spans point into the file.
struct Jpeg2000Header {
    struct Component {
        int bits = 0;
        bool isSigned = false;
        std::uint32_t stepX = 1;  // one sample stands for so many columns and rows
        std::uint32_t stepY = 1;
    };
    bool isCodestream = false;  // without boxes
    bool hasSize = false;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint64_t tiles = 0;
    std::vector<Component> components;
    int transform = -1;             // 0: irreversible 9/7, 1: reversible 5/3, -1: not told
    std::uint32_t colourSpace = 0;  // enumerated: 16 sRGB, 17 grey, 18 sYCC, 12 CMYK; 0 when there is none
    bool hasPalette = false;
    std::span<const std::uint8_t> iccProfile;
    std::span<const std::uint8_t> codestream;
};

// Never throws but for memory.
Jpeg2000Header ReadJpeg2000Header(std::span<const std::uint8_t> bytes);

}  // namespace codec
