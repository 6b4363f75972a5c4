#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "orvcore/formats/provenance/bindings.h"

// What was read and verified of a file's content credentials: plain values, no pointers into the file. Texts are valid
// UTF-8, mostly come from the file and are hostile. Offsets count bytes from the file's start; what lay in a compressed
// record has the place of the compressed bytes.
namespace provenance {

enum class Severity { Success, Information, Failure };

// One thing that was checked. The code is the standard's own; the sentence is for the examiner.
struct Status {
    std::string code;
    Severity severity = Severity::Information;
    std::string sentence;
    std::string subject;  // the record it is about: the label's last part, "" the file or the manifest itself
    std::size_t manifest = 0;
    FileRange place;
    bool wasRecorded = false;  // a fault that the later signer saw and wrote down: history, no failure
};

// What a digital source type means for the question who or what made the picture.
enum class SourceKind { None, Generated, PartlyGenerated, NotGenerated, Undecided };

struct Action {
    std::string name;  // "c2pa.created"
    std::string when;
    std::string softwareAgent;
    std::string sourceType;  // as stated, trimmed
    SourceKind sourceKind = SourceKind::None;
    std::string description;
    FileRange place;  // of the assertion
};

struct Ingredient {
    std::string label;
    std::string title;
    std::string format;
    std::string relationship;             // "parentOf", "componentOf", "inputTo"
    std::string manifestLabel;            // "" when it has none
    std::optional<std::size_t> manifest;  // index in Report::manifests
    std::string status;                   // a word or two
    FileRange place;
};

struct Thumbnail {
    std::string label;
    std::string mediaType;
    std::vector<std::uint8_t> bytes;
    std::size_t manifest = 0;
    FileRange place;
};

struct TimeStamp {
    std::time_t time = 0;
    std::string authority;
    bool isIntact = false;
    bool isChecked = false;  // against the examiner's own certificates for time stamps
    bool isTrusted = false;  // leads to one of them
};

enum class ManifestKind { Standard, Update, Unknown };

struct Manifest {
    std::string label;
    ManifestKind kind = ManifestKind::Unknown;
    bool isCompressed = false;
    bool isReached = false;  // from the active one; the others are only listed
    int claimVersion = 0;    // 0: no claim
    std::string generator;   // name and version
    std::string title;
    std::string format;
    std::string claimText;   // in CBOR diagnostic notation
    std::string algorithm;   // "PS256"
    std::string signerName;  // common name
    std::string signerOrganisation;
    std::string issuer;
    std::string issuerCommonName;
    std::string serial;
    std::time_t notBefore = 0;
    std::time_t notAfter = 0;
    std::optional<bool> signatureVerifies;  // nothing: cannot be told
    bool isUnsigned = false;                // no signature stands where the claim says that there is one
    std::optional<bool> signerTrusted;      // nothing: not checked
    bool isCredentialSound = false;         // form and validity of the signer's certificate
    bool assertionsIntact = false;
    std::optional<TimeStamp> stamp;       // the best one
    std::vector<std::string> assertions;  // labels, as listed
    std::vector<Action> actions;
    std::vector<std::string> otherSourceTypes;  // digital source types stated outside of actions
    std::vector<Ingredient> ingredients;
    FileRange place;
    FileRange signaturePlace;  // of its signature's box; size 0 without one
};

// A place where the file says that it was made by a generator, or what looks like it.
struct Mark {
    std::string text;    // what stands there, shortened
    std::string where;   // "EXIF Software", "PNG text \"parameters\"", "action c2pa.created of …"
    std::string writer;  // what writes such a mark, "" not known
    std::string source;  // where that is documented
    SourceKind kind = SourceKind::Generated;
    bool isSigned = false;  // stands in a credential whose signature verifies and whose records are unchanged
    std::optional<FileRange> place;
};

enum class Presence {
    None,
    Remote,  // the metadata points to credentials elsewhere; never fetched
    Embedded,
    Several,     // more than one store: none of them may count
    Unreadable,  // there is a store, and no manifest can be read from it
    Unread       // in a kind of file from which credentials are not read here
};

enum class Answer { NotThere, Unknown, No, Partly, Yes };

struct Verdict {
    Answer answer = Answer::NotThere;
    std::string sentence;
};

// A row of the lineage: manifests with what they hold below them, from the active one down to the sources.
struct LineageRow {
    int depth = 0;
    std::string what;  // "Manifest", "Signature", "Action", "Ingredient", "Fault"…
    std::string name;
    std::string detail;
    std::string sourceType;
    std::string status;
    FileRange place;
};

struct Finding {
    bool isStrong = false;  // otherwise worth a look
    std::string text;       // whole sentences
    std::optional<FileRange> place;
};

struct Report {
    Presence presence = Presence::None;
    std::string remoteReference;      // address in the XMP packet, "" none
    FileRange store;                  // its first piece
    std::vector<Manifest> manifests;  // in the order of the store
    std::size_t active = 0;
    std::vector<Status> statuses;
    std::string bindingLabel;                // "c2pa.hash.data"
    FileRange bindingPlace;                  // of that record
    std::optional<bool> contentHashMatches;  // the bare comparison; nothing: not checked
    bool isBindingSigned = false;  // the record of the bytes is vouched for by signatures that verify
    std::vector<UncoveredRange> uncovered;
    Verdict signature;  // No: it does not verify, or there is none where the claim names one
    Verdict content;
    Verdict trust;
    std::vector<LineageRow> lineage;
    std::vector<Mark> marks;
    std::vector<Thumbnail> thumbnails;
    std::vector<std::string> warnings;  // what was not read, and why
    std::vector<Finding> findings;

    const Manifest* Active() const { return manifests.empty() ? nullptr : &manifests[active]; }
    bool HasFailures() const;
    // The whole in a few words: "Valid, signer not checked", "Content differs"…
    std::string Summary() const;
};

// The row for a code of the standard; unknown codes count as failures.
struct StatusText {
    const char* code;
    Severity severity;
    const char* sentence;
};
const StatusText& TextOfStatus(const std::string& code);

// By the last part of a source type's address.
SourceKind KindOfSource(const std::string& sourceType);
// "trainedAlgorithmicMedia: made by a trained model", for reading.
std::string DescribeSource(const std::string& sourceType);

}  // namespace provenance
