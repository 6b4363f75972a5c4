#pragma once

#include <functional>
#include <string>
#include <vector>

#include "orvcore/formats/provenance/claims.h"
#include "orvcore/formats/provenance/provenance.h"

// One manifest's signature with everything that stands beside it: certificate, time stamps, answers about revocation.
namespace provenance {

// Takes a status code and what is added to its usual sentence ("" nothing).
using Tell = std::function<void(const char* code, const std::string& more)>;

// Fills the signer's part of `shown` and tells a status for everything looked at. laterStamps: time stamps of this signature that
// records of other manifests hold ("c2pa.time-stamp"). Never throws on what the bytes say.
void VerifySigner(const StoredManifest& stored, const DecodedManifest& decoded, const ProvenanceTrust& trust,
                  const std::vector<ByteSpan>& laterStamps, Budget& budget, Manifest& shown,
                  const Tell& tell);

}  // namespace provenance
