#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <vector>

// Printable texts inside any bytes, as an examiner looks for them: names of programs, paths, serial numbers.

struct PrintableString {
    enum class Encoding {
        Bytes,  // one byte each: ASCII, and UTF-8 where its sequences are whole
        Utf16Little,
        Utf16Big
    };
    std::size_t offset = 0;
    std::size_t size = 0;  // bytes in the file
    Encoding encoding = Encoding::Bytes;
    std::string text;  // valid UTF-8, shortened to kMaxStringText bytes; hostile
    bool isShortened = false;
};

constexpr std::size_t kMaxStringText = 1000;
// More texts than this are not listed; `truncated` of the answer says so.
constexpr std::size_t kMaxStrings = 200000;

struct PrintableStrings {
    std::vector<PrintableString> strings;  // by growing offset
    bool isTruncated = false;
};

// Every run of at least minimumLength characters (1 or more): bytes 0x20..0x7E and tab, whole UTF-8 sequences of
// printable characters, and the Basic Latin and Latin-1 characters in UTF-16 of either byte order at any
// alignment. Coded pixels give chance finds: random bytes hold one run of 6 in 475 bytes, one of 8 in 3,100, one
// of 10 in 21,000. Text in UTF-16 is not reported as bytes too. Linear time; progress gets 0..1
// and may throw to stop. Any thread.
PrintableStrings FindPrintableStrings(std::span<const std::uint8_t> bytes, std::size_t minimumLength,
                                      const std::function<void(double)>& progress = {});

std::string StringEncodingText(PrintableString::Encoding encoding);
