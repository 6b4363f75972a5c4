#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

// Places of a sequence of bytes inside others.

struct ByteSearch {
    std::vector<std::size_t> offsets;  // the first `maximum`, growing; places may overlap
    std::size_t count = 0;             // all of them
};

// progress gets 0..1 and may throw to stop. An empty sequence is found nowhere. Any thread.
ByteSearch FindBytes(std::span<const std::uint8_t> bytes, std::span<const std::uint8_t> sequence,
                     std::size_t maximum, const std::function<void(double)>& progress = {});

// "FF D8 ff" or "ffd8ff" as bytes: digits in pairs, blanks between pairs; nothing for any other text, and for none.
std::optional<std::vector<std::uint8_t>> BytesOfDigits(const std::string& digits);

// A text's ASCII and Latin-1 characters in UTF-16, low byte first; nothing when it has others. text is UTF-8.
std::optional<std::vector<std::uint8_t>> Utf16OfText(const std::string& text);
