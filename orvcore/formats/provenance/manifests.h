#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "orvcore/formats/provenance/cbor.h"
#include "orvcore/formats/provenance/jumbf.h"
#include "orvcore/formats/provenance/store.h"

// The manifests of a store as they lie there: boxes found, claims decoded, addresses resolved. Nothing is judged here.
namespace provenance {

// All work of one reading shares these, so that no file can make it long.
struct Budget {
    std::size_t boxes = kMaxBoxes;
    std::size_t items = kMaxCborItems;
    std::size_t unpackedBytes = std::size_t{64} << 20;
    std::size_t jsonBytes = std::size_t{8} << 20;
};
constexpr std::size_t kMaxManifests = 200;

// A reference to a box with the hash that it had.
struct HashedUri {
    std::string url;
    std::string method;  // "" the surrounding one
    ByteSpan hash;
};
// Nothing when it is none.
std::optional<HashedUri> ReadHashedUri(const CborValue* value);

// One manifest. Points into the store's bytes, which must outlive it.
struct StoredManifest {
    std::string label;
    std::uint32_t kind = 0;  // c2ma, c2md, c2um: of the unpacked one; c2cm when it could not be unpacked
    const FoundStore* store = nullptr;
    ByteSpan storeBytes;
    const JumbfBox* outer = nullptr;  // as it lies in the store
    bool isCompressed = false;
    std::string unpackFault;

    ByteSpan bytes;                 // what `box` counts in: the store, or the unpacked manifest
    const JumbfBox* box = nullptr;  // null when it could not be unpacked
    const JumbfBox* assertionStore = nullptr;
    std::vector<const JumbfBox*> claims;
    std::map<std::string, std::vector<const JumbfBox*>> assertions;  // by label
    std::shared_ptr<const std::vector<std::uint8_t>> unpacked;
    std::shared_ptr<const JumbfParse> unpackedBoxes;

    bool IsUpdate() const { return kind == BoxCode("c2um"); }
    FileRange PlaceOf(const JumbfBox& part) const;
};

// A store's manifests, in order.
struct StoredManifests {
    std::vector<StoredManifest> list;
    std::vector<std::string> faults;
    std::map<std::string, std::vector<std::size_t>> byLabel;
    std::vector<std::shared_ptr<const JumbfParse>> parses;
    std::vector<std::unique_ptr<std::vector<std::uint8_t>>> buffers;

    // The one manifest of that label; nothing when there is none or several.
    std::optional<std::size_t> Find(const std::string& label) const;
};

// stores: in the order in which their manifests follow each other.
StoredManifests ReadManifests(ByteSpan file, const std::vector<const FoundStore*>& stores, Budget& budget);

// An address inside the file ("self#jumbf=…").
struct BoxAddress {
    std::string manifest;  // "" within the manifest itself
    std::vector<std::string> path;
};
std::optional<BoxAddress> ParseAddress(const std::string& url);
// The one box that the path leads to inside a manifest, or null.
const JumbfBox* Resolve(const StoredManifest& manifest, const std::vector<std::string>& path);

// The assertion's name without instance number: "c2pa.ingredient.v3__2" is "c2pa.ingredient.v3".
std::string BaseLabel(const std::string& label);

}  // namespace provenance
