#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace codec {

// The headers of a BMP file, whatever their generation, with the palette. Offsets are from the start of the
// file and lie inside it.
struct BmpHeader {
    enum class Coding { None, Rle8, Rle4, BitFields, Jpeg, Png, Other };

    std::uint32_t headerBytes = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    bool isTopDown = false;
    int bits = 0;  // per pixel
    Coding coding = Coding::None;
    std::string codingName;
    std::array<std::uint32_t, 4> masks{};              // of B, G, R and alpha, for 16 and 32 bits
    std::vector<std::array<std::uint8_t, 3>> palette;  // B, G, R
    std::size_t dataOffset = 0;
    std::span<const std::uint8_t> iccProfile;
    std::vector<std::string> warnings;
};

// Throws ZorException (kind Format) for headers that cannot be right.
BmpHeader ReadBmpHeader(std::span<const std::uint8_t> bytes);

}  // namespace codec
