#include <algorithm>
#include <cmath>
#include <cstdio>

#include "orvcore/formats/consistency/rulehelp.h"
#include "orvcore/formats/editingsoftware.h"
#include "zorbase/geodesic.h"
#include "zorbase/gpsformat.h"
#include "zorbase/text.h"

// What the metadata say of programs, of places, and of credentials.

namespace {

constexpr const char* kLocalCorrections[] = {"PaintBasedCorrections",
                                             "GradientBasedCorrections",
                                             "CircularGradientBasedCorrections",
                                             "MaskGroupBasedCorrections",
                                             "RetouchInfo",
                                             "RetouchAreas"};
constexpr double kSamePlace = 100;  // metres

// Degrees of "48,51.498N"; NaN for anything else.
double XmpDegrees(std::string text) {
    std::replace(text.begin(), text.end(), ',', ' ');
    return GPSFormat::ConvertToDeg(text);
}

const MetadataEntry* FindBeginning(const ConsistencyInput& input, const std::string& start) {
    if (input.metadata == nullptr) return nullptr;
    for (const MetadataEntry& entry : input.metadata->set.entries)
        if (entry.key.starts_with(start)) return &entry;
    return nullptr;
}

bool HasXmp(const ConsistencyInput& input) {
    return FindBeginning(input, "Xmp.") != nullptr;
}

}  // namespace

namespace rules {

RuleAnswer Source(const ConsistencyInput& input) {
    std::string type = ValueOf(input, "Xmp.iptcExt.DigitalSourceType");
    if (type.empty()) return NotStated();
    if (const std::size_t slash = type.rfind('/'); slash != std::string::npos) type.erase(0, slash + 1);
    const std::string lower = ToLower(type);
    const std::string declares =
        "The metadata declares the kind of source as " + Quote(type) + ": by its own words the picture ";
    const auto offset = OffsetOf(input, "Xmp.iptcExt.DigitalSourceType");
    if (lower.find("algorithmicmedia") != std::string::npos)
        return Broken(declares + "was made, wholly or in part, by an algorithm.", offset);
    if (lower.find("composite") != std::string::npos)
        return Broken(declares + "is put together of several.", offset);
    return Holds();
}

RuleAnswer EditingProgram(const ConsistencyInput& input) {
    std::vector<std::string> named;
    bool isStated = false;
    for (const std::string& text :
         {input.facts.FromExif().software, input.metadata == nullptr ? input.facts.software : std::string(),
          ValueOf(input, "Exif.Image.ProcessingSoftware"), ValueOf(input, "Xmp.xmp.CreatorTool"),
          ValueOf(input, "Xmp.tiff.Software"), ValueOf(input, "Iptc.Application2.Program")}) {
        isStated = isStated || !text.empty();
        if (IsEditingSoftware(text) && std::find(named.begin(), named.end(), Quote(text)) == named.end())
            named.push_back(Quote(text));
    }
    if (!isStated) return NotStated();
    if (named.empty()) return Holds();
    const auto offset = IsEditingSoftware(input.facts.FromExif().software)
                            ? OffsetOf(input, "Exif.Image.Software")
                            : OffsetOf(input, "Xmp.xmp.CreatorTool");
    return Broken(
        "The metadata names " + Join(named, " and ") +
            (named.size() == 1 ? ", a program for changing pictures." : ", programs for changing pictures."),
        offset);
}

RuleAnswer TwoPrograms(const ConsistencyInput& input) {
    const std::string exif = input.facts.FromExif().software;
    const std::string xmp = ValueOf(input, "Xmp.xmp.CreatorTool");
    if (exif.empty() || xmp.empty()) return NotStated();
    const std::string a = ToLower(exif);
    const std::string b = ToLower(xmp);
    return Unless(a.find(b) == std::string::npos && b.find(a) == std::string::npos,
                  "EXIF names the program " + Quote(exif) + ", XMP another, " + Quote(xmp) + ".",
                  OffsetOf(input, "Xmp.xmp.CreatorTool"));
}

RuleAnswer History(const ConsistencyInput& input) {
    if (!HasXmp(input)) return NotStated();
    int steps = 0;
    std::string agent;
    std::optional<std::size_t> offset;
    for (const MetadataEntry& entry : input.metadata->set.entries) {
        if (!entry.key.starts_with("Xmp.xmpMM.History[")) continue;
        if (entry.key.ends_with("stEvt:action")) ++steps;
        if (entry.key.ends_with("stEvt:softwareAgent")) agent = entry.raw;
        if (!offset) offset = entry.offset;
    }
    return Unless(steps > 0,
                  "The XMP block keeps a history of " + ToString(steps) + (steps == 1 ? " step" : " steps") +
                      (agent.empty() ? std::string() : ", the last by " + Quote(agent)) + ".",
                  offset);
}

RuleAnswer Ancestors(const ConsistencyInput& input) {
    if (!HasXmp(input)) return NotStated();
    const MetadataEntry* entry = FindBeginning(input, "Xmp.photoshop.DocumentAncestors");
    if (entry == nullptr) return Holds();
    const auto count = std::count(entry->raw.begin(), entry->raw.end(), ',') + 1;
    return Broken("The XMP block names " + ToString(static_cast<std::int64_t>(count)) +
                      (count == 1 ? " other document" : " other documents") +
                      " from which content was placed into this one.",
                  entry->offset);
}

RuleAnswer Derived(const ConsistencyInput& input) {
    if (!HasXmp(input)) return NotStated();
    const MetadataEntry* from = FindBeginning(input, "Xmp.xmpMM.DerivedFrom");
    const std::string document = ValueOf(input, "Xmp.xmpMM.DocumentID");
    const std::string original = ValueOf(input, "Xmp.xmpMM.OriginalDocumentID");
    const bool isOther = !document.empty() && !original.empty() && document != original;
    return Unless(from != nullptr || isOther,
                  "The XMP block says that the file was derived from another one.",
                  from != nullptr ? from->offset : OffsetOf(input, "Xmp.xmpMM.OriginalDocumentID"));
}

RuleAnswer Developed(const ConsistencyInput& input) {
    if (FindBeginning(input, "Xmp.crs.") == nullptr) return NotStated();
    for (const char* name : kLocalCorrections)
        if (const MetadataEntry* entry = FindBeginning(input, std::string("Xmp.crs.") + name))
            return Broken(
                std::string("The develop settings in XMP name corrections of parts of the picture (") + name +
                    ").",
                entry->offset);
    return Holds();
}

RuleAnswer ProfileOfProgram(const ConsistencyInput& input) {
    if (input.metadata == nullptr || !input.metadata->icc.isProfile || !NamesCamera(input))
        return NotStated();
    const IccFacts& icc = input.metadata->icc;
    for (const std::string& code : {icc.creator, icc.cmm})
        for (const char* program : {"ADBE", "lcms", "argl"})
            if (code == program)
                return Broken("A camera is named, the colour profile " + Quote(icc.description) +
                                  " was made by a program (" + Quote(code) + ").",
                              input.metadata->places.icc);
    return Holds();
}

// Days that are two apart are more than a day apart in whatever time zone.
RuleAnswer DateOfFix(const ConsistencyInput& input) {
    const std::string date = ValueOf(input, "Exif.GPSInfo.GPSDateStamp");
    const std::string taken = input.facts.FromExif().dateTimeOriginal;
    const auto fix = ParseMetadataTime(date + " 00:00:00");
    const auto time = ParseMetadataTime(taken);
    if (!fix || !time) return NotStated();
    return Unless(std::abs(*fix / kSecondsADay - *time / kSecondsADay) >= 2,
                  "The date of the position (" + Quote(date) + ") and the time of taking (" + Quote(taken) +
                      ") lie more than a day apart.",
                  OffsetOf(input, "Exif.GPSInfo.GPSDateStamp"));
}

RuleAnswer TimeOfFix(const ConsistencyInput& input) {
    if (input.gps == nullptr) return NotStated();
    const std::string date = ValueOf(input, "Exif.GPSInfo.GPSDateStamp");
    const std::string time = ValueOf(input, "Exif.GPSInfo.GPSTimeStamp");
    if (input.gps->time.empty() && input.gps->timeProblem.empty()) return NotStated();
    return Unless(
        !input.gps->timeProblem.empty(),
        input.gps->timeProblem +
            (date.empty() && time.empty() ? std::string() : " It is " + Quote(Trim(date + " " + time)) + "."),
        OffsetOf(input, date.empty() ? "Exif.GPSInfo.GPSTimeStamp" : "Exif.GPSInfo.GPSDateStamp"));
}

RuleAnswer PositionWhole(const ConsistencyInput& input) {
    if (input.gps == nullptr || !input.gps->isPresent) return NotStated();
    const bool isStated = FindBeginning(input, "Exif.GPSInfo.GPSL") != nullptr ||
                          FindBeginning(input, "Xmp.exif.GPSL") != nullptr;
    if (!isStated) return NotStated();
    return Unless(!input.gps->position, input.gps->whyNoPosition,
                  OffsetOf(input, "Exif.GPSInfo.GPSLatitude"));
}

RuleAnswer PositionInXmp(const ConsistencyInput& input) {
    if (input.gps == nullptr || !input.gps->position || input.gps->position->source != "EXIF")
        return NotStated();
    const double latitude = XmpDegrees(ValueOf(input, "Xmp.exif.GPSLatitude"));
    const double longitude = XmpDegrees(ValueOf(input, "Xmp.exif.GPSLongitude"));
    if (std::isnan(latitude) || std::isnan(longitude)) return NotStated();
    const auto way =
        FindGeodesic(input.gps->position->latitude, input.gps->position->longitude, latitude, longitude);
    char text[120];
    std::snprintf(text, sizeof text, "EXIF and XMP state positions that lie %.0f m apart.",
                  way ? way->metres : 2e7);
    return Unless(!way || way->metres > kSamePlace, text, OffsetOf(input, "Xmp.exif.GPSLatitude"));
}

RuleAnswer PositionNotZero(const ConsistencyInput& input) {
    if (input.gps == nullptr || !input.gps->position) return NotStated();
    const GpsPosition& position = *input.gps->position;
    return Unless(std::abs(position.latitude) < 0.001 && std::abs(position.longitude) < 0.001,
                  "The position is where equator and zero meridian meet, in the sea.",
                  OffsetOf(input, "Exif.GPSInfo.GPSLatitude"));
}

RuleAnswer AltitudePossible(const ConsistencyInput& input) {
    if (input.gps == nullptr || !input.gps->altitude) return NotStated();
    const double altitude = *input.gps->altitude;
    char text[120];
    std::snprintf(text, sizeof text, "The altitude is stated as %.0f m, where no ground is.", altitude);
    return Unless(altitude > 8900 || altitude < -440, text, OffsetOf(input, "Exif.GPSInfo.GPSAltitude"));
}

RuleAnswer CredentialSignature(const ConsistencyInput& input) {
    if (!input.hasCredentials) return NotStated();
    return Unless(input.credentialSignature == provenance::Answer::No,
                  "The content credentials' signature is missing or does not verify.");
}

RuleAnswer CredentialContent(const ConsistencyInput& input) {
    if (!input.hasCredentials) return NotStated();
    return Unless(input.credentialContent == provenance::Answer::No,
                  "The content is not what its credentials were made for.");
}

}  // namespace rules
