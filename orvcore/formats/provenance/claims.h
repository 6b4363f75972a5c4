#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "orvcore/formats/provenance/manifests.h"
#include "orvcore/formats/provenance/report.h"

// A manifest's claim and records decoded: what is said, not whether it holds.
namespace provenance {

// A record that the claim lists.
struct ListedAssertion {
    HashedUri uri;
    bool isGathered = false;  // taken over from elsewhere, not vouched for by the signer
    std::string label;        // the address's last part
    const JumbfBox* box = nullptr;
    bool isForeign = false;  // the address leads into another manifest
};

// What an ingredient's record says beyond what is shown.
struct IngredientLink {
    std::optional<HashedUri> manifest;
    std::optional<HashedUri> signature;
    std::string manifestLabel;
    // Faults that the signer saw in it: code and the manifest's label.
    std::set<std::pair<std::string, std::string>> recorded;
};

// A decoded claim and the records that its manifest holds. The values point into the store's bytes.
struct DecodedManifest {
    std::vector<std::string> faults;  // status codes: claim.missing…
    std::string faultDetail;
    ByteSpan claimBytes;
    std::optional<CborValue> claim;
    std::string method;  // the claim's "alg"
    std::string signatureUrl;
    std::vector<ListedAssertion> listed;
    std::vector<std::string> redacted;             // addresses
    std::map<const JumbfBox*, CborValue> records;  // decoded CBOR assertions
    std::set<const JumbfBox*> unreadable;          // CBOR or JSON assertions that are damaged
    std::vector<IngredientLink> links;             // beside shown.ingredients
    std::vector<const JumbfBox*> ingredientBoxes;  // beside shown.ingredients
    std::vector<const JumbfBox*> bindings;
};

// Decodes one manifest; `shown` gets what the examiner reads.
DecodedManifest DecodeManifest(const StoredManifest& stored, Budget& budget, Manifest& shown);

// Whether a record states to which bytes its manifest belongs, by its label.
bool IsBinding(const std::string& label);

}  // namespace provenance
