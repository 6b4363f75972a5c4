#pragma once

#include <string>
#include <vector>

#include "orvcore/analysis/fingerprintranking.h"
#include "orvcore/model/job.h"
#include "zorbase/parameter.h"

// Camera fingerprints over folders (the collection is FingerprintFolder() unless another is named): making one from pictures of one camera, testing pictures against a collection.

struct FingerprintRequest {
    std::string folder;      // of the pictures
    std::string name;        // of the fingerprint, "" the camera's make, model and serial number
    std::string collection;  // the folder that it is written to; "" FingerprintFolder()
    bool includesSubfolders = false;
};

struct FingerprintOutcome {
    std::string path;        // of the file that was written
    int pictures = 0;        // that took part
    double agreement = 0.0;  // see CameraFingerprint; NaN for less than three pictures
    std::string warning;     // "" or one sentence: few pictures, or pictures that do not agree
    // One row per file: Name, Took Part ("yes", or "?no"), Agreement, Why Not, Full Path.
    TableString table;
};

// Picture by picture: memory of one picture and 8 bytes per pixel more, whatever their number. Left out, and named with the reason: files
// that are no picture or cannot be decoded, pictures of another size, turned, of another camera by their metadata, or written by a
// program for changing pictures. An existing fingerprint of that name is not replaced: a number is added. Throws ZorException: kind
// Argument when no picture of the folder could be used, Aborted within 0.1 s, File.
FingerprintOutcome MakeCameraFingerprint(const FingerprintRequest& request, const OrvJob& job);

// Every picture of a folder against every fingerprint of a collection ("" FingerprintFolder()), one row per picture: Name, Camera ("none"
// when none matches), PCE, Threshold, log10 Of The False-Alarm Probability, Runner-Up Camera, Its PCE, Notes, Full Path. Sizes that are
// equal are tested as they lie, exchanged sides by turning; others are told in Notes. Thresholds are raised with the number of fingerprints.
// Damaged fingerprints are named in Notes of the first row. Throws ZorException when there is no fingerprint or no picture, and Aborted.
TableString IdentifyCameras(const std::string& folder, const std::string& collection, bool includesSubfolders,
                            const OrvJob& job);
