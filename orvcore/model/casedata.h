#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "zorbase/hash.h"
#include "zorbase/roi.h"

// What a case consists of beside its pictures: plain values, texts in UTF-8, paths as bytes. Kept in the project, shown in the
// window and in reports; nothing here is computed from pixels.

// A file as a project or a bookmark remembers it, so that it is found again and a change of its bytes is noticed.
struct OrvCaseFile {
    std::string path;          // absolute, as it was when it was loaded; "" for no file
    std::string relativePath;  // from the project's folder when that was saved; "" while it is not known
    std::uint64_t size = 0;
    std::string sha256;  // lower-case hexadecimal, "" in projects that did not keep it

    bool IsEmpty() const { return path.empty(); }
    bool operator==(const OrvCaseFile&) const = default;
};

// What is known of where a file came from. Belongs to the file with these bytes; another file at the same place is another exhibit.
struct OrvExhibit {
    OrvCaseFile file;
    std::string number;
    std::string receivedFrom;
    std::string receivedOn;    // as it was entered
    std::string expectedHash;  // as it was entered: MD5, SHA-1 or SHA-256 in hexadecimal

    bool operator==(const OrvExhibit&) const = default;
};

// What is asked of the examiner, and by whom it was answered.
struct OrvCaseData {
    std::string title;  // of the case
    std::string examiner;
    std::string reviewer;
    std::string question;  // asked of the examination; many lines
    std::string limits;    // of the examination; many lines
    std::vector<OrvExhibit> exhibits;

    // The exhibit that the file is: the one with its bytes, otherwise the one that was last seen at its place; null for none.
    const OrvExhibit* Find(const OrvCaseFile& file) const;
    // Takes the place of the exhibit of the same file, or is added; without anything entered, that one goes.
    void Set(const OrvExhibit& exhibit);

    bool IsEmpty() const;
    bool operator==(const OrvCaseData&) const = default;
};

// How the picture on a page was looked at.
struct OrvViewState {
    int mode = -1;                        // of the view choice, -1: the page's own
    bool isFit = true;                    // the whole picture; then zoom and centre do not count
    double zoom = 1.0;                    // screen pixels per image pixel
    double centreX = 0.0, centreY = 0.0;  // of the view, image pixels
    Roi selection;                        // image pixels; empty for none
    std::string map = {};          // name of the map that was shown, "" for the first or where there is none
    int mapOpacity = 100;          // percent of the map over the picture
    bool isMapBeyondOnly = false;  // its colours only where its threshold is passed

    bool operator==(const OrvViewState&) const = default;
};

// A mark on a picture: kept beside it, never part of its pixels.
struct OrvAnnotation {
    enum class Kind { Rectangle, Arrow, Text };
    Kind kind = Kind::Rectangle;
    std::string sha256;  // of the file that it stands on
    Roi place;  // image pixels; of an arrow, the tip lies at x + width, y + height (which may be negative)
    std::string text;  // UTF-8, "" for none

    bool operator==(const OrvAnnotation&) const = default;
};

// An expected hash as somebody wrote it down: blanks, colons, dashes, case and a leading "SHA-256:" do not count.
struct OrvExpectedHash {
    enum class Kind { None, Md5, Sha1, Sha256, Unreadable };
    Kind kind = Kind::None;
    std::string digits;  // lower-case hexadecimal
};
OrvExpectedHash ParseExpectedHash(const std::string& text);
const char* HashName(OrvExpectedHash::Kind kind);  // "SHA-256"; "" where it is no hash

// What became of the comparison with the file's own hashes.
// NotCompared: the file's own hash of that kind is not known ("").
enum class OrvHashCheck { NotGiven, Unreadable, NotCompared, Matches, Differs };
OrvHashCheck CheckExpectedHash(const OrvExpectedHash& expected, const FileHashes& hashes);
// In a sentence: "The SHA-256 is the expected one." or "The SHA-256 is … and not the expected …."; "" where none was given.
std::string HashCheckText(const std::string& expectedHash, const FileHashes& hashes);
