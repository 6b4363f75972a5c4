#pragma once

#include <ctime>
#include <string>
#include <vector>

#include "orvcore/formats/metadata.h"
#include "orvcore/formats/provenance/certificates.h"
#include "orvcore/formats/provenance/report.h"

// Content credentials (C2PA 1.4 to 2.2) of a picture: found, read, verified and put into words. Three questions stay
// apart: does the signature verify, is the content what was signed, is the signer one whom the examiner trusts.
// Nothing is fetched and nothing is written. Any thread.

// What the examiner decided, and the day on which it is judged: the result depends on nothing but this and the file.
struct ProvenanceTrust {
    provenance::TrustStore anchors;   // none: "trust not checked"
    std::vector<std::string> usages;  // further extended key usages that may sign, as dotted numbers
    std::time_t now = 0;              // for certificates without a time stamp that counts
};

// The certificates in a folder's files (.pem, .crt, .cer as PEM); files whose names contain "tsa" count for time
// stamps only. An empty path gives no anchors. warnings: what could not be read. At most 200 files.
provenance::TrustStore ReadTrustFolder(const std::string& folder, std::vector<std::string>& warnings);

struct ProvenanceOptions {
    // Read from the same bytes; adds credentials kept elsewhere and marks without credentials. May be null.
    const MetadataSet* metadata = nullptr;
    bool wantsMarks = true;
    provenance::Between between;  // called every few megabytes; may throw to stop
};

// Throws nothing on what the bytes say. Memory beside the file: at most the store joined once, 64 MB of unpacked records,
// and about 60 MB of decoded ones.
provenance::Report ReadProvenance(ByteSpan file, const ProvenanceTrust& trust,
                                  const ProvenanceOptions& options = {});

// Whether there is a store at all. Looks at headers only: a JPEG's segments up to its first scan, chunks, boxes.
bool HasProvenance(ByteSpan file);
