#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "zorbase/bytes.h"

// The boxes that credentials are kept in (JUMBF, ISO/IEC 19566-5). Offsets count from the start of the bytes handed in.
namespace provenance {

constexpr int kMaxBoxDepth = 16;
constexpr std::size_t kMaxBoxes = 50000;  // in one file

constexpr std::uint32_t BoxCode(const char (&letters)[5]) {
    return (std::uint32_t{static_cast<std::uint8_t>(letters[0])} << 24) |
           (std::uint32_t{static_cast<std::uint8_t>(letters[1])} << 16) |
           (std::uint32_t{static_cast<std::uint8_t>(letters[2])} << 8) |
           std::uint32_t{static_cast<std::uint8_t>(letters[3])};
}

struct JumbfBox {
    std::uint32_t code = 0;      // BoxCode("jumb"), …
    std::size_t offset = 0;      // of the header
    std::size_t headerSize = 0;  // 8 or 16
    std::size_t size = 0;        // header included

    // Of a superbox (code "jumb"); its description box is not among the children.
    std::uint32_t kind =
        0;              // the type's four letters; 0 when the type is not built of letters in the usual way
    std::string label;  // valid UTF-8; "" when there is none
    std::vector<JumbfBox> children;

    std::size_t PayloadOffset() const { return offset + headerSize; }
    std::size_t PayloadSize() const { return size - headerSize; }
    ByteSpan Payload(ByteSpan bytes) const { return bytes.subspan(PayloadOffset(), PayloadSize()); }
    bool IsSuperbox(std::uint32_t wantedKind) const { return code == BoxCode("jumb") && kind == wantedKind; }
    // The first content box of that code, or null.
    const JumbfBox* Content(std::uint32_t wantedCode) const;
};

struct JumbfParse {
    bool isWhole = false;  // the box at the start is a superbox that lies inside the bytes
    JumbfBox root;
    std::vector<std::string> faults;  // each a sentence with its offset; what was read up to there is kept
};

// The superbox at the start of the bytes; what follows it is not looked at. budget: boxes that may still be made.
JumbfParse ParseJumbf(ByteSpan bytes, std::size_t& budget);

}  // namespace provenance
