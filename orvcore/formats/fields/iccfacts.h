#pragma once

#include <optional>
#include <string>
#include <vector>

#include "zorbase/bytes.h"
#include "orvcore/formats/metadata.h"

// What an ICC profile says (ICC.1:2010, ICC.1:2022): header, texts, primaries, kind of the curves. Texts come from the file and are
// hostile: valid UTF-8, shortened.

struct IccTag {
    std::string signature;   // four characters
    std::size_t offset = 0;  // in the profile, as stated
    std::size_t size = 0;
    bool isInside = true;
    std::string type;   // four characters; "" outside the profile
    std::string label;  // "Red Primary", the signature where it has no name here
    std::string value;  // readable: "x 0.6400, y 0.3300", "gamma 2.20", a text
    std::string raw;    // the numbers as stored, or the size of what is not read
};

// One field of the header.
struct IccField {
    std::string label;
    std::string value;
    std::string raw;
    std::size_t offset = 0;  // in the profile
    std::size_t size = 0;
};

struct IccFacts {
    bool isProfile =
        false;  // 128 bytes of header with the profile file signature; nothing else is filled in otherwise
    std::string description;
    std::string space;    // of the device: "RGB "
    std::string creator;  // four characters, "" for zeros
    std::string cmm;
    std::vector<IccField> header;
    std::vector<IccTag> tags;
    // Of a matrix profile, x and y of the red, green and blue primaries as the profile holds them: adapted to D50. Empty, or six numbers.
    std::vector<double> primaries;
    std::string
        curves;  // "gamma 2.20", "table of 1024", "sRGB curve (parametric)"; "different" where channels differ; "" without
    std::string damage;  // what is wrong with it, a sentence; "" when nothing is
};

// Of a profile as one piece. Never throws on what the bytes say.
IccFacts ReadIccFacts(ByteSpan profile);

// The profile's fields as entries of the metadata (kind Icc), without offsets in the file.
std::vector<MetadataEntry> IccEntries(const IccFacts& facts);

// Whether the primaries are those of sRGB, within 0.003 after adaptation to D50.
bool HasPrimariesOfSrgb(const IccFacts& facts);
