#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "zorbase/bytes.h"
#include "orvcore/formats/fields/gpsfacts.h"
#include "orvcore/formats/fields/metadataplaces.h"
#include "orvcore/formats/jpegstructure.h"
#include "orvcore/formats/jpegtables/jpegtables.h"
#include "orvcore/formats/metadata.h"
#include "orvcore/formats/provenance/report.h"
#include "zorimage/imageformat.h"

// What the rules of consistency compare. A quick survey of many files fills in what it knows; what only a whole reading gives stays null,
// and rules that need it say nothing. What is pointed to must outlive the input. Sizes in pixels as stored, 0 when not known.
struct ConsistencyInput {
    ByteSpan bytes;
    std::string name;  // the file's, without folder
    FileFormat format = FileFormat::Unknown;
    bool isPictureName = false;            // the extension is that of a picture
    bool nameAgrees = true;                // with the content
    std::optional<std::int64_t> modified;  // by the file system, seconds since 1970 as a clock in UTC shows
    std::vector<std::string> damage;       // sentences
    std::uint64_t bytesAfterEnd = 0;       // of a JPEG, other than the pictures its index names
    int width = 0;
    int height = 0;
    int thumbnailWidth = 0;  // of the EXIF block
    int thumbnailHeight = 0;
    std::string coding;  // of a JPEG: "Baseline DCT, Huffman"
    bool chrominanceAgrees =
        true;  // false: luminance table standard, the chrominance table of another quality
    bool hasCredentials = false;
    provenance::Answer credentialSignature = provenance::Answer::NotThere;
    provenance::Answer credentialContent = provenance::Answer::NotThere;
    MetadataFacts facts;

    const DetailedMetadata* metadata = nullptr;
    const GpsFacts* gps = nullptr;
    const JpegStructure* jpeg = nullptr;
    const JpegTables* tables = nullptr;
    ByteSpan thumbnail;
};

// What ReadConsistencyInput points to.
struct ConsistencyParts {
    DetailedMetadata metadata;
    GpsFacts gps;
    JpegStructure jpeg;  // isJpeg is false for what is none
    JpegTables tables;
    std::vector<std::uint8_t> thumbnail;
};

// An input of a whole reading, but for what the caller alone knows: credentials, damage, modification. parts must outlive it.
ConsistencyInput ReadConsistencyInput(ByteSpan bytes, const std::string& path, const ConsistencyParts& parts);
ConsistencyParts ReadConsistencyParts(ByteSpan bytes);

// Whether the chrominance table is not of the quality of a standard luminance table.
bool ChrominanceAgrees(const JpegStructure& structure);
