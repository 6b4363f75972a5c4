#include "orvcore/model/casedata.h"

#include <algorithm>

#include "zorbase/text.h"

namespace {

bool IsSameFile(const OrvCaseFile& a, const OrvCaseFile& b) {
    if (!a.sha256.empty() && !b.sha256.empty()) return a.sha256 == b.sha256;
    return !a.path.empty() && a.path == b.path;
}

const std::string& HashOf(OrvExpectedHash::Kind kind, const FileHashes& hashes) {
    if (kind == OrvExpectedHash::Kind::Md5) return hashes.md5;
    return kind == OrvExpectedHash::Kind::Sha1 ? hashes.sha1 : hashes.sha256;
}

}  // namespace

const OrvExhibit* OrvCaseData::Find(const OrvCaseFile& file) const {
    if (file.IsEmpty()) return nullptr;
    const auto same = [&file](const OrvExhibit& exhibit) { return IsSameFile(exhibit.file, file); };
    auto found = std::find_if(exhibits.begin(), exhibits.end(), same);
    if (found == exhibits.end())
        found = std::find_if(exhibits.begin(), exhibits.end(),
                             [&file](const OrvExhibit& exhibit) { return exhibit.file.path == file.path; });
    return found == exhibits.end() ? nullptr : &*found;
}

void OrvCaseData::Set(const OrvExhibit& exhibit) {
    const OrvExhibit* former = Find(exhibit.file);
    const auto place = former ? exhibits.begin() + (former - exhibits.data()) : exhibits.end();
    const bool isEmpty = exhibit.number.empty() && exhibit.receivedFrom.empty() &&
                         exhibit.receivedOn.empty() && exhibit.expectedHash.empty();
    if (place != exhibits.end() && isEmpty) {
        exhibits.erase(place);
    } else if (place != exhibits.end()) {
        *place = exhibit;
    } else if (!isEmpty) {
        exhibits.push_back(exhibit);
    }
}

bool OrvCaseData::IsEmpty() const {
    return *this == OrvCaseData();
}

OrvExpectedHash ParseExpectedHash(const std::string& text) {
    using Kind = OrvExpectedHash::Kind;
    std::string rest = ToLower(Trim(text));
    if (rest.empty()) return {};
    // A name in front must be that of the hash that follows.
    Kind named = Kind::None;
    const std::pair<const char*, Kind> names[] = {{"sha-256", Kind::Sha256},
                                                  {"sha256", Kind::Sha256},
                                                  {"sha-1", Kind::Sha1},
                                                  {"sha1", Kind::Sha1},
                                                  {"md5", Kind::Md5}};
    for (const auto& [name, kind] : names) {
        if (named != Kind::None || !rest.starts_with(name)) continue;
        named = kind;
        rest.erase(0, std::string(name).size());
    }
    OrvExpectedHash hash;
    for (const char letter : rest) {
        if ((letter >= '0' && letter <= '9') || (letter >= 'a' && letter <= 'f')) {
            hash.digits += letter;
        } else if (std::string(" \t\r\n:-=").find(letter) == std::string::npos) {
            return {Kind::Unreadable, {}};
        }
    }
    hash.kind = hash.digits.size() == 32   ? Kind::Md5
                : hash.digits.size() == 40 ? Kind::Sha1
                : hash.digits.size() == 64 ? Kind::Sha256
                                           : Kind::Unreadable;
    if (hash.kind == Kind::Unreadable || (named != Kind::None && named != hash.kind))
        return {Kind::Unreadable, {}};
    return hash;
}

const char* HashName(OrvExpectedHash::Kind kind) {
    switch (kind) {
        case OrvExpectedHash::Kind::Md5:
            return "MD5";
        case OrvExpectedHash::Kind::Sha1:
            return "SHA-1";
        case OrvExpectedHash::Kind::Sha256:
            return "SHA-256";
        default:
            return "";
    }
}

OrvHashCheck CheckExpectedHash(const OrvExpectedHash& expected, const FileHashes& hashes) {
    if (expected.kind == OrvExpectedHash::Kind::None) return OrvHashCheck::NotGiven;
    if (expected.kind == OrvExpectedHash::Kind::Unreadable) return OrvHashCheck::Unreadable;
    if (HashOf(expected.kind, hashes).empty()) return OrvHashCheck::NotCompared;
    return HashOf(expected.kind, hashes) == expected.digits ? OrvHashCheck::Matches : OrvHashCheck::Differs;
}

std::string HashCheckText(const std::string& expectedHash, const FileHashes& hashes) {
    const OrvExpectedHash expected = ParseExpectedHash(expectedHash);
    const std::string name = HashName(expected.kind);
    switch (CheckExpectedHash(expected, hashes)) {
        case OrvHashCheck::NotGiven:
            return {};
        case OrvHashCheck::Unreadable:
            return "The expected hash \"" + ToValidUtf8(Trim(expectedHash)) +
                   "\" is neither an MD5, a SHA-1 nor a SHA-256, so nothing was compared.";
        case OrvHashCheck::NotCompared:
            return "The expected " + name + " was not compared: the file was not loaded.";
        case OrvHashCheck::Matches:
            return "The " + name + " is the expected one.";
        case OrvHashCheck::Differs:
            break;
    }
    return "The " + name + " is " + HashOf(expected.kind, hashes) + " and not the expected " +
           expected.digits + ".";
}
