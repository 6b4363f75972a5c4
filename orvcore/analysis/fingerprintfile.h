#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "orvcore/analysis/camerafingerprint.h"
#include "zorbase/files.h"

// A fingerprint in a collection, which is a folder of such files. Eight bytes "ORVFPRT1", the length of the description (4 bytes,
// little endian), the description as JSON, the pattern row by row as 32-bit floats (little endian), and the SHA-256 of all that.
struct FingerprintRecord {
    std::string name;
    std::string make;
    std::string model;
    std::string serialNumber;
    std::string madeWith;  // program version
    CameraFingerprint fingerprint;
    std::string hash;  // of the file, hex; filled when read
};

constexpr const char* kFingerprintExtension = "orvfp";

// Written whole or not at all. Throws ZorException (kind File).
void WriteFingerprint(const FingerprintRecord& record, const std::string& path);

// Throws ZorException: kind File when it cannot be read, kind Format with the file's name and the reason when it is no fingerprint,
// cut short, of impossible size, changed since it was written (hash), holds values that are not finite, or no energy.
FingerprintRecord ReadFingerprint(const std::string& path);
// The same from bytes; `name` stands in the message. buffer may be reused by the caller afterwards.
FingerprintRecord ParseFingerprint(std::span<const std::uint8_t> bytes, const std::string& name);

// Files of a collection by name, in order of the alphabet; empty when the folder does not exist.
std::vector<std::string> ListFingerprints(const std::string& folder);
