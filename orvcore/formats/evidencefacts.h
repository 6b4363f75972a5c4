#pragma once

#include <span>
#include <string>
#include <vector>

#include "zorimage/imageio.h"

// What one file says of the device that took it, as far as the tools that look for pictures of the same device
// ask for it. Texts come from the file and are hostile: valid UTF-8 on one line, at most kMaxEvidenceText bytes,
// "" when not stated.
struct EvidenceFacts {
    std::string make;
    std::string model;
    std::string software;
    // Of a JPEG's quantization tables, that of the first component (luminance) first, each table in use once:
    // MD5 of the 64 steps row by row, each as two bytes, high byte first; 32 hex digits in lower case.
    std::vector<std::string> tableHashes;
    int width = 0;  // as stored, pixels; 0 when not known
    int height = 0;
};

constexpr std::size_t kMaxEvidenceText = 200;

// Reads metadata and, of a JPEG, its structure. Never throws on what the bytes say. Any thread, but it may take
// milliseconds: of a loaded file ask OrvLoadedFile::GetEvidenceFacts.
EvidenceFacts ReadEvidenceFacts(std::span<const std::uint8_t> bytes, const ImageInfo& info);
