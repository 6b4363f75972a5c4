#pragma once

#include <string>
#include <utility>
#include <vector>

#include "zorbase/bytes.h"

// What identifies the kind of writer of a JPEG: how it compresses and in what order it writes, not what it
// shows. After Kee, Johnson and Farid, "Digital image authentication from JPEG headers" (2011), who use
// image size, tables, code counts, the thumbnail's size, tables and codes, and the number of EXIF entries;
// here without the size, which a crop changes, and with process, sampling, order of markers and scans.
// Tables of Huffman codes that were made for one picture count as "optimised", whatever their codes.

struct CompressionSignature {
    bool isJpeg = false;  // false: nothing else is filled in
    // Label and value, always the same labels in the same order. Values are printable ASCII.
    std::vector<std::pair<std::string, std::string>> fields;
    std::string key;   // 32 hex digits over all fields: equal for files of one kind of writer
    std::string size;  // "4000 x 3000", as the frame states it; not part of the key
};

CompressionSignature ReadCompressionSignature(ByteSpan jpeg);

// One line for storing: "label=value; label=value".
std::string SignatureText(const CompressionSignature& signature);

struct SignatureDifference {
    std::string label;
    std::string first;
    std::string second;
    bool isEqual = false;
};
// Field by field; both must be of JPEGs, otherwise the answer is empty.
std::vector<SignatureDifference> CompareSignatures(const CompressionSignature& first,
                                                   const CompressionSignature& second);
