#pragma once

#include <optional>
#include <string>

#include "orvcore/formats/consistency/consistency.h"

// What the rules share. Texts of the file are quoted before they are told.

inline RuleAnswer NotStated() {
    return {};
}
inline RuleAnswer Holds(const std::string& found = {}) {
    return {RuleState::Holds, found, std::nullopt};
}
inline RuleAnswer Broken(const std::string& found, std::optional<std::size_t> offset = std::nullopt) {
    return {RuleState::Broken, found, offset};
}
// Broken with the sentence, or holding.
inline RuleAnswer Unless(bool isBroken, const std::string& found,
                         std::optional<std::size_t> offset = std::nullopt) {
    return isBroken ? Broken(found, offset) : Holds();
}

// In quotation marks, on one line, at most 80 bytes.
std::string Quote(const std::string& text);

// Of the whole reading: the entry of a key, null without one; its stored value, trimmed; where it stands.
const MetadataEntry* EntryOf(const ConsistencyInput& input, const char* key);
std::string ValueOf(const ConsistencyInput& input, const char* key);
std::optional<std::size_t> OffsetOf(const ConsistencyInput& input, const char* key);
// The first number of a stored value, fractions worked out; nothing where it is none.
std::optional<double> NumberOf(const ConsistencyInput& input, const char* key);

// Whether a camera is named in EXIF.
inline bool NamesCamera(const ConsistencyInput& input) {
    return !input.facts.FromExif().make.empty();
}

constexpr std::int64_t kSecondsADay = 86400;
// A picture is written within moments after it was taken; anything later was another hand.
constexpr std::int64_t kWritingSeconds = 120;

// The rules, by source file.
namespace rules {
RuleAnswer NameAgrees(const ConsistencyInput&);
RuleAnswer KnownContent(const ConsistencyInput&);
RuleAnswer Sound(const ConsistencyInput&);
RuleAnswer NothingAfterEnd(const ConsistencyInput&);
RuleAnswer PicturesOfIndex(const ConsistencyInput&);
RuleAnswer TakenBeforeFile(const ConsistencyInput&);
RuleAnswer FileNumber(const ConsistencyInput&);

RuleAnswer ChrominanceTable(const ConsistencyInput&);
RuleAnswer CameraCoding(const ConsistencyInput&);
RuleAnswer EditorsTables(const ConsistencyInput&);
RuleAnswer JfifBesideExif(const ConsistencyInput&);
RuleAnswer AdobeSegment(const ConsistencyInput&);
RuleAnswer PhotoshopResources(const ConsistencyInput&);
RuleAnswer CommentOfLibrary(const ConsistencyInput&);
RuleAnswer Resolution(const ConsistencyInput&);
RuleAnswer StatedSize(const ConsistencyInput&);
RuleAnswer XmpSize(const ConsistencyInput&);
RuleAnswer ExtendedXmpWhole(const ConsistencyInput&);
RuleAnswer IptcDigest(const ConsistencyInput&);
RuleAnswer ProfileSound(const ConsistencyInput&);
RuleAnswer ColourSpace(const ConsistencyInput&);

RuleAnswer ExifValues(const ConsistencyInput&);
RuleAnswer ExifOrder(const ConsistencyInput&);
RuleAnswer ExifVersion(const ConsistencyInput&);
RuleAnswer WindowsPadding(const ConsistencyInput&);
RuleAnswer NoteThere(const ConsistencyInput&);
RuleAnswer NoteMoved(const ConsistencyInput&);
RuleAnswer NoteOfMaker(const ConsistencyInput&);
RuleAnswer NoteModel(const ConsistencyInput&);
RuleAnswer NoteSerial(const ConsistencyInput&);
RuleAnswer NoteSize(const ConsistencyInput&);
RuleAnswer MakerInXmp(const ConsistencyInput&);
RuleAnswer Exposure(const ConsistencyInput&);
RuleAnswer Aperture(const ConsistencyInput&);
RuleAnswer ExposureThere(const ConsistencyInput&);
RuleAnswer FocalLength(const ConsistencyInput&);
RuleAnswer OrientationInXmp(const ConsistencyInput&);

RuleAnswer ThumbnailTurned(const ConsistencyInput&);
RuleAnswer ThumbnailShape(const ConsistencyInput&);
RuleAnswer ThumbnailWriter(const ConsistencyInput&);

RuleAnswer TakenAfterChanged(const ConsistencyInput&);
RuleAnswer ChangedAfterTaken(const ConsistencyInput&);
RuleAnswer Digitized(const ConsistencyInput&);
RuleAnswer SubSeconds(const ConsistencyInput&);
RuleAnswer TakenInXmp(const ConsistencyInput&);
RuleAnswer ChangedInXmp(const ConsistencyInput&);
RuleAnswer TakenInIptc(const ConsistencyInput&);
RuleAnswer TakenInNote(const ConsistencyInput&);
RuleAnswer ZoneOfFix(const ConsistencyInput&);
RuleAnswer ClockSet(const ConsistencyInput&);

RuleAnswer Source(const ConsistencyInput&);
RuleAnswer EditingProgram(const ConsistencyInput&);
RuleAnswer TwoPrograms(const ConsistencyInput&);
RuleAnswer History(const ConsistencyInput&);
RuleAnswer Ancestors(const ConsistencyInput&);
RuleAnswer Derived(const ConsistencyInput&);
RuleAnswer Developed(const ConsistencyInput&);
RuleAnswer ProfileOfProgram(const ConsistencyInput&);

RuleAnswer DateOfFix(const ConsistencyInput&);
RuleAnswer TimeOfFix(const ConsistencyInput&);
RuleAnswer PositionWhole(const ConsistencyInput&);
RuleAnswer PositionInXmp(const ConsistencyInput&);
RuleAnswer PositionNotZero(const ConsistencyInput&);
RuleAnswer ZoneOfPlace(const ConsistencyInput&);
RuleAnswer AltitudePossible(const ConsistencyInput&);

RuleAnswer CredentialSignature(const ConsistencyInput&);
RuleAnswer CredentialContent(const ConsistencyInput&);
}  // namespace rules
