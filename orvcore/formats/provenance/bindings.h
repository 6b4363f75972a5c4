#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "orvcore/formats/provenance/cbor.h"
#include "orvcore/formats/provenance/digest.h"
#include "orvcore/formats/provenance/store.h"

// Whether the file's bytes are those that a credential was made for, and which bytes that says nothing about. Each
// function takes the decoded binding record; none of them looks at who signed. Pure; any thread.
namespace provenance {

enum class BindingOutcome {
    Match,
    Mismatch,
    Malformed,   // the record cannot be understood as the standard lays it down
    Unknown,     // the file has a box that the record does not name
    Unsupported  // a kind of binding or container that is not checked here
};

// Bytes of the file that no hash of the binding covers, apart from the store itself.
struct UncoveredRange {
    FileRange range;
    std::string what;      // "ftyp", "before the store", "store length field"…
    bool isUsual = false;  // left out by the standard's own rules, and says nothing about the picture
    bool operator==(const UncoveredRange&) const = default;
};

struct BindingResult {
    BindingOutcome outcome = BindingOutcome::Malformed;
    std::string reason;                     // a sentence for every outcome but Match
    std::vector<UncoveredRange> uncovered;  // ascending
};

// What the bindings are checked against.
struct BoundFile {
    ByteSpan file;
    Container container = Container::Unknown;
    const FoundStore* store = nullptr;  // the one whose bytes are left out
    bool isUpdated = false;  // later records were added to the store: its range has its present length
    Between between;
};

// c2pa.hash.data: one hash over the whole file without stated ranges.
BindingResult CheckDataBinding(const CborValue& record, const std::string& outerMethod,
                               const BoundFile& bound);
// c2pa.hash.bmff, v2 and v3: one hash over the boxes of a media file, with rows of a hash tree for its media data.
BindingResult CheckMediaBinding(const CborValue& record, const std::string& outerMethod,
                                const BoundFile& bound);
// c2pa.hash.boxes: one hash for each run of segments or chunks (JPEG, PNG, WebP).
BindingResult CheckBoxBinding(const CborValue& record, const std::string& outerMethod,
                              const BoundFile& bound);

// The ranges of `whole` that `covered` (any order, overlapping allowed) leaves over, ascending.
std::vector<FileRange> RangesLeft(FileRange whole, std::vector<FileRange> covered);

// The upper rows of the hash tree over leaves: neighbours are joined, an odd last node moves up unchanged, until a row
// has at most `count` nodes.
std::vector<std::vector<std::uint8_t>> HashTreeRow(std::vector<std::vector<std::uint8_t>> leaves,
                                                   std::size_t count, HashMethod method);

}  // namespace provenance
