#pragma once

#include <ctime>
#include <optional>
#include <span>
#include <string>

#include "orvcore/formats/jpegquality.h"
#include "orvcore/formats/metadata.h"
#include "orvcore/formats/provenance/report.h"
#include "zorimage/imageformat.h"

// What one file of a folder says in its headers and metadata, as typed facts; nothing is judged here and no
// pixel is decoded. Texts come from the file and are hostile.
struct FileExamination {
    std::string path;     // bytes
    std::string problem;  // why the file could not be read; everything below is empty then
    std::uint64_t size = 0;
    bool hasChanged = false;  // while it was read
    std::optional<std::time_t> modified;
    std::optional<std::time_t> created;  // where the file system keeps it
    FileFormat format = FileFormat::Unknown;
    bool nameAgrees = true;
    int width = 0;  // as stored; 0 when not known
    int height = 0;
    std::string coding;       // "Baseline DCT, Huffman"; of other formats their compression
    std::string subsampling;  // of a JPEG
    std::string segments;     // of a JPEG: its markers up to the first scan, "SOI APP1 DQT SOF0 DHT SOS"
    std::string tablesHash;
    int pictures = 0;  // in the file, those that a JPEG's index names among them; 0 when not known
    int bitsPerSample = 0;
    int channels = 0;
    std::string profile;          // name of the embedded colour profile
    bool hasCredentials = false;  // content credentials (C2PA)
    provenance::Answer credentialSignature = provenance::Answer::NotThere;  // does their signature verify
    provenance::Answer credentialContent = provenance::Answer::NotThere;    // is the content what was signed
    std::string credentialSigner;                                           // organisation or name
    JpegQuality quality;                                                    // by the luminance table
    bool chrominanceAgrees = true;      // false: luminance standard, chrominance not of the same quality
    bool isComplete = true;             // false: cut, or with holes
    std::uint64_t bytesAfterEnd = 0;    // after a JPEG's end, other than the pictures its index names
    std::vector<std::string> warnings;  // about the structure
    MetadataFacts facts;                // lens and serial stay empty
    bool hasPosition = false;
    MetadataReading metadataReading = MetadataReading::Whole;
    std::string metadataProblem;       // why they were not read as a whole
    std::uint64_t thumbnailBytes = 0;  // of the EXIF thumbnail; 0 without one
    int thumbnailWidth = 0;
    int thumbnailHeight = 0;
    JpegQuality thumbnailQuality;
    std::string thumbnailSha256;
    std::string sha256;
    std::string sha1;  // like md5 only where it was asked for
    std::string md5;
};

// Pure, safe on any thread; never throws on what the bytes say. size, times and hashes of the file are the caller's.
FileExamination ExamineFile(const std::string& path, std::span<const std::uint8_t> bytes);
