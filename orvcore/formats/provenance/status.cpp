#include <algorithm>
#include <iterator>

#include "orvcore/formats/provenance/report.h"
#include "zorbase/text.h"

namespace provenance {

namespace {

using enum Severity;

constexpr StatusText kStatuses[] = {
    {"claimSignature.validated", Success, "The signature over the claim verifies."},
    {"claimSignature.mismatch", Failure,
     "The signature does not verify: the claim, or the signature itself, is not as it was when it was signed."},
    {"claimSignature.missing", Failure, "The claim has no signature where it says that it has one."},
    {"claimSignature.insideValidity", Success,
     "The signing lies within the validity of the signer's certificate."},
    {"claimSignature.outsideValidity", Information,
     "The signing lies outside the validity of the signer's certificate."},
    {"signingCredential.trusted", Success,
     "The signer's certificate leads to a certificate that you chose to trust."},
    {"signingCredential.untrusted", Information,
     "The signer's certificate does not lead to any certificate that you chose to trust."},
    {"signingCredential.invalid", Information,
     "The signer's certificate is not of the form that the standard asks for."},
    {"signingCredential.expired", Information,
     "The signer's certificate is out of its validity, and no time stamp proves that it was valid when it signed."},
    {"signingCredential.ocsp.notRevoked", Success,
     "An answer that was stored with the signature says that the signer's certificate was not revoked."},
    {"signingCredential.ocsp.revoked", Failure, "The signer's certificate was revoked."},
    {"signingCredential.ocsp.unknown", Information,
     "The stored answer about revocation does not know the signer's certificate."},
    {"signingCredential.ocsp.skipped", Information,
     "Whether the signer's certificate was revoked is not known: no sound answer is stored in the file, and none is asked for."},
    {"timeStamp.validated", Success,
     "The time stamp was made for these credentials, and its own signature verifies."},
    {"timeStamp.trusted", Success,
     "The time stamp's authority leads to a certificate that you chose to trust."},
    {"timeStamp.untrusted", Information,
     "The time stamp's authority does not lead to any certificate that you chose to trust."},
    {"timeStamp.mismatch", Information, "The time stamp was not made for these credentials, or was changed."},
    {"timeStamp.malformed", Information, "What stands for a time stamp cannot be used as one."},
    {"timeStamp.outsideValidity", Information,
     "The time stamp lies outside the validity of its authority's certificate."},
    {"algorithm.unsupported", Failure,
     "A method of signing or hashing is named that is not checked here: nothing can be said of what rests on it."},
    {"manifest.inaccessible", Information,
     "The metadata says that credentials are kept elsewhere. They are not fetched."},
    {"manifest.compressed.invalid", Failure, "A compressed manifest cannot be unpacked."},
    {"manifest.multipleParents", Failure,
     "The manifest names more than one picture as the one it was made from."},
    {"manifest.update.invalid", Failure, "An update manifest holds what it must not hold."},
    {"manifest.update.wrongParents", Failure, "An update manifest does not name exactly one parent."},
    {"claim.missing", Failure, "The manifest has no claim."},
    {"claim.multiple", Failure, "The manifest has more than one claim."},
    {"claim.cbor.invalid", Failure, "The claim cannot be read."},
    {"claim.malformed", Failure, "The claim lacks something that every claim must have."},
    {"claim.hardBindings.missing", Failure, "The manifest does not say to which bytes it belongs."},
    {"assertion.multipleHardBindings", Failure,
     "The manifest says more than once to which bytes it belongs."},
    {"assertion.missing", Failure, "The claim lists a record that is not there."},
    {"assertion.outsideManifest", Failure, "The claim lists a record of another manifest as its own."},
    {"assertion.hashedURI.match", Success, "The record is as it was when the claim was signed."},
    {"assertion.hashedURI.mismatch", Failure, "The record was changed after the claim was signed."},
    {"assertion.cbor.invalid", Failure, "The record cannot be read."},
    {"assertion.json.invalid", Failure, "The record cannot be read."},
    {"assertion.undeclared", Failure, "There is a record in the manifest that its claim does not list."},
    {"assertion.notRedacted", Failure, "A record that was said to be removed is still there."},
    {"assertion.selfRedacted", Failure, "A claim says that a record of its own manifest was removed."},
    {"assertion.action.redacted", Failure, "A record of what was done was removed; that is not allowed."},
    {"assertion.dataHash.redacted", Failure,
     "The record of the bytes that the manifest belongs to was removed; that is not allowed."},
    {"assertion.dataHash.match", Success, "The file's bytes are those that were signed."},
    {"assertion.dataHash.mismatch", Failure, "The file's bytes are not those that were signed."},
    {"assertion.dataHash.malformed", Failure, "The record of the signed bytes cannot be used."},
    {"assertion.bmffHash.match", Success, "The file's boxes are those that were signed."},
    {"assertion.bmffHash.mismatch", Failure, "The file's boxes are not those that were signed."},
    {"assertion.bmffHash.malformed", Failure, "The record of the signed boxes cannot be used."},
    {"assertion.boxesHash.match", Success, "The file's segments are those that were signed."},
    {"assertion.boxesHash.mismatch", Failure, "The file's segments are not those that were signed."},
    {"assertion.boxesHash.malformed", Failure, "The record of the signed segments cannot be used."},
    {"assertion.boxesHash.unknownBox", Failure,
     "The file holds something that the record of the signed segments does not name."},
    {"ingredient.manifest.validated", Success,
     "The manifest of the ingredient is as it was when it was taken over."},
    {"ingredient.manifest.mismatch", Failure,
     "The manifest of the ingredient was changed after it was taken over."},
    {"ingredient.manifest.missing", Failure, "The manifest of the ingredient is not in the file."},
    {"ingredient.claimSignature.validated", Success,
     "A record of the ingredient's manifest was removed openly; its signature is as it was when it was taken over."},
    {"ingredient.claimSignature.mismatch", Failure,
     "The signature of the ingredient's manifest was changed after it was taken over."},
    {"ingredient.unknownProvenance", Information, "The ingredient came without credentials."},
    {"general.error", Failure, "The credentials are damaged."},
};

struct SourceText {
    const char* name;
    SourceKind kind;
    const char* text;
};
// The terms of the IPTC vocabulary "Digital Source Type", lower case.
constexpr SourceText kSources[] = {
    {"trainedalgorithmicmedia", SourceKind::Generated, "made by a trained model"},
    {"trainedalgorithmicdata", SourceKind::Generated, "data made by a trained model"},
    {"compositewithtrainedalgorithmicmedia", SourceKind::PartlyGenerated,
     "put together, parts of it made by a trained model"},
    {"compositesynthetic", SourceKind::PartlyGenerated, "put together, parts of it made by a program"},
    {"digitalcapture", SourceKind::NotGenerated, "taken with a digital camera"},
    {"computationalcapture", SourceKind::NotGenerated,
     "taken with a camera that computes one picture from several"},
    {"digitalcreation", SourceKind::NotGenerated, "made by a person with a program"},
    {"humanedits", SourceKind::NotGenerated, "edited by a person"},
    {"minorhumanedits", SourceKind::NotGenerated, "edited by a person a little"},
    {"algorithmicmedia", SourceKind::NotGenerated, "made by rules, not by a trained model"},
    {"algorithmicallyenhanced", SourceKind::NotGenerated, "enhanced by a program"},
    {"screencapture", SourceKind::NotGenerated, "taken from a screen"},
    {"virtualrecording", SourceKind::NotGenerated, "a recording of a virtual event"},
    {"negativefilm", SourceKind::NotGenerated, "scanned from a negative"},
    {"positivefilm", SourceKind::NotGenerated, "scanned from a positive"},
    {"print", SourceKind::NotGenerated, "scanned from a print"},
    {"composite", SourceKind::Undecided, "put together of several"},
    {"compositecapture", SourceKind::NotGenerated, "put together of several captures"},
    {"digitalart", SourceKind::Undecided, "made with a program"},
    {"datadrivenmedia", SourceKind::NotGenerated, "drawn from data"},
    {"empty", SourceKind::NotGenerated, "an empty canvas"},
};

std::string LastPart(const std::string& sourceType) {
    std::string name = Trim(sourceType);
    while (name.ends_with('/')) name.pop_back();
    const std::size_t cut = name.find_last_of("/#:");
    return cut == std::string::npos ? name : name.substr(cut + 1);
}

const SourceText* FindSource(const std::string& sourceType) {
    const std::string name = ToLower(LastPart(sourceType));
    const auto found = std::find_if(std::begin(kSources), std::end(kSources),
                                    [&name](const SourceText& source) { return name == source.name; });
    return found == std::end(kSources) ? nullptr : found;
}

}  // namespace

const StatusText& TextOfStatus(const std::string& code) {
    static constexpr StatusText kUnknown = {"general.error", Failure, "The credentials are damaged."};
    const auto found = std::find_if(std::begin(kStatuses), std::end(kStatuses),
                                    [&code](const StatusText& status) { return code == status.code; });
    return found == std::end(kStatuses) ? kUnknown : *found;
}

SourceKind KindOfSource(const std::string& sourceType) {
    if (Trim(sourceType).empty()) return SourceKind::None;
    const SourceText* source = FindSource(sourceType);
    return source == nullptr ? SourceKind::Undecided : source->kind;
}

std::string DescribeSource(const std::string& sourceType) {
    const SourceText* source = FindSource(sourceType);
    return source == nullptr ? LastPart(sourceType) : LastPart(sourceType) + ": " + source->text;
}

bool Report::HasFailures() const {
    return std::any_of(statuses.begin(), statuses.end(), [](const Status& status) {
        return status.severity == Severity::Failure && !status.wasRecorded;
    });
}

std::string Report::Summary() const {
    switch (presence) {
        case Presence::None:
            return "None";
        case Presence::Remote:
            return "Kept elsewhere, not fetched";
        case Presence::Several:
            return "Several stores: none counts";
        case Presence::Unreadable:
            return "Damaged";
        case Presence::Unread:
            return "Present, not read";
        default:
            break;
    }
    if (signature.answer == Answer::No)
        return Active() != nullptr && Active()->isUnsigned ? "No signature" : "Signature does not verify";
    if (content.answer == Answer::No) return "Content differs";
    if (signature.answer != Answer::Yes || content.answer < Answer::Partly) return "Cannot be told";
    if (HasFailures()) return "Damaged records";
    const std::string matches =
        content.answer == Answer::Partly ? "Content matches in part" : "Content matches";
    return matches + (trust.answer == Answer::Yes       ? ", signer trusted"
                      : trust.answer == Answer::Unknown ? ", signer not checked"
                                                        : ", signer not trusted");
}

}  // namespace provenance
