#pragma once

#include <string>
#include <vector>

#include "orvcore/formats/jpegtables/signaturecollection.h"
#include "orvcore/model/job.h"

// What a folder of pictures whose origin is known adds to a collection of signatures.
struct SignatureScan {
    std::vector<SignatureRecord> records;  // one per kind of writer, with the number of pictures
    std::int64_t pictures = 0;             // that are in records
    std::int64_t unnamed = 0;              // JPEGs that name no camera, and are therefore left out
    std::int64_t others = 0;               // files that are no JPEG
    std::vector<std::string> problems;     // files that could not be read, as sentences
};

// Reads every file of the folder, read-only. Make, model and software are those that the pictures themselves
// name in EXIF: a folder of edited pictures gives a collection of editors under their cameras' names. Throws
// ZorException when the folder cannot be read, and Aborted.
SignatureScan ScanSignatures(const std::string& folder, bool includesSubfolders, const OrvJob& job);
