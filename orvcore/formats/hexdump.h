#pragma once

#include <cstdint>
#include <span>
#include <string>

// Bytes as lines "00000010  48 65 6C 6C 6F …  Hello…": offset in hexadecimal (eight digits, more when the file
// needs them), the bytes in groups of eight, and the same bytes as ASCII with a dot for whatever is not
// printable. Every line is as long as the others; the last one is filled with blanks. No line feed at the end.
// offset, length: of the stretch to show, cut at the end of the bytes. bytesPerLine: 1 or more. Pure.
std::string HexDump(std::span<const std::uint8_t> bytes, std::uint64_t offset, std::uint64_t length,
                    int bytesPerLine);
