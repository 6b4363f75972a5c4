#pragma once

#include <string>
#include <vector>

#include "zorbase/bytes.h"
#include "orvcore/formats/metadata.h"

// The part of an XMP packet that does not fit into one segment of a JPEG: further APP1 segments, each with the identifier of the
// whole (its MD5 in upper-case hex), its length and the place of the piece (Adobe, XMP Specification Part 3, 1.1.3.1).
struct ExtendedXmp {
    ExtendedXmpState state = ExtendedXmpState::None;
    std::string packet;                 // put together; empty unless whole, though its MD5 may be another
    std::vector<std::string> warnings;  // each a sentence
};

// The largest packet that is put together, bytes.
constexpr std::size_t kMaxExtendedXmp = std::size_t{64} << 20;

// Of the first picture of a JPEG; None for any other file. named: the identifier that the packet itself names
// (xmpNote:HasExtendedXMP), "" when it names none; then the longest one counts. Pieces may come in any order; where they lie over each
// other or leave holes nothing is put together. Never throws on what the bytes say.
ExtendedXmp ReadExtendedXmp(ByteSpan bytes, const std::string& named);
