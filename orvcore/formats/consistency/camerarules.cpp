#include <algorithm>
#include <cmath>
#include <cstdio>

#include "orvcore/formats/consistency/rulehelp.h"
#include "zorbase/text.h"

// What EXIF and the maker note say of the camera and the exposure.

namespace {

// Makers whose cameras, but for some early ones, write a maker note into every JPEG, lower case, as the make begins.
constexpr const char* kNoteWriters[] = {"canon", "nikon", "olympus", "fujifilm", "pentax", "panasonic"};

// Whose cameras write notes of that kind; kinds that several makers share without a list are left out.
struct NoteMakers {
    const char* kind;
    std::vector<const char*> makes;
};
const NoteMakers kNoteMakers[] = {
    {"Apple", {"apple"}},
    {"Nikon3", {"nikon"}},
    {"Olympus2", {"olympus", "om digital"}},
    {"Fujifilm", {"fujifilm", "fuji photo", "leica"}},
    {"Panasonic", {"panasonic", "leica"}},
    {"Sony1", {"sony", "hasselblad"}},
    {"Casio2", {"casio"}},
    {"Pentax", {"pentax", "asahi", "samsung", "ricoh"}},
    {"Sigma", {"sigma", "foveon"}},
};

constexpr double kShutterSteps = 0.7;  // of exposure value
constexpr double kApertureSteps = 0.5;

bool BeginsWithAny(const std::string& text, const std::vector<const char*>& starts) {
    return std::any_of(starts.begin(), starts.end(),
                       [&text](const char* start) { return text.starts_with(start); });
}

// Digits and letters without leading zeros.
std::string Plain(const std::string& serial) {
    std::string plain;
    for (const char c : ToLower(serial))
        if ((c >= '0' && c <= '9') || (c >= 'a' && c <= 'z')) plain += c;
    plain.erase(0, std::min(plain.find_first_not_of('0'), plain.size()));
    return plain;
}

const TiffDirectories* DirectoriesOf(const ConsistencyInput& input) {
    if (input.metadata == nullptr || !input.metadata->places.exif || !input.metadata->places.tiff.isTiff)
        return nullptr;
    return &input.metadata->places.tiff;
}

std::string EntryName(const TiffDirectory& directory, std::uint32_t tag) {
    const char* name = TiffTagName(directory.kind, tag);
    char number[16];
    std::snprintf(number, sizeof number, "0x%04X", static_cast<unsigned>(tag));
    return (name == nullptr ? std::string(number) : std::string(name)) + " in " + directory.name;
}

}  // namespace

namespace rules {

RuleAnswer ExifValues(const ConsistencyInput& input) {
    const TiffDirectories* tiff = DirectoriesOf(input);
    if (tiff == nullptr) return NotStated();
    std::size_t count = 0;
    std::string first;
    std::optional<std::size_t> offset;
    for (const TiffDirectory& directory : tiff->directories)
        for (const TiffEntry& entry : directory.entries) {
            if (entry.warning.empty()) continue;
            if (count++ > 0) continue;
            first = EntryName(directory, entry.tag);
            offset = *input.metadata->places.exif + entry.entryOffset;
        }
    return Unless(count > 0,
                  std::to_string(count) + (count == 1 ? " value" : " values") +
                      " of the EXIF block cannot be where the block says; the first is " + first + ".",
                  offset);
}

RuleAnswer ExifOrder(const ConsistencyInput& input) {
    const TiffDirectories* tiff = DirectoriesOf(input);
    if (tiff == nullptr || input.format != FileFormat::Jpeg) return NotStated();
    for (const TiffDirectory& directory : tiff->directories)
        for (std::size_t i = 1; i < directory.entries.size(); ++i)
            if (directory.entries[i].tag <= directory.entries[i - 1].tag)
                return Broken("The entries of the EXIF block are not in growing order: " +
                                  EntryName(directory, directory.entries[i].tag) + " stands too late.",
                              *input.metadata->places.exif + directory.entries[i].entryOffset);
    return Holds();
}

RuleAnswer ExifVersion(const ConsistencyInput& input) {
    const TiffDirectories* tiff = DirectoriesOf(input);
    if (tiff == nullptr || input.format != FileFormat::Jpeg) return NotStated();
    for (const TiffDirectory& directory : tiff->directories)
        if (directory.kind == TiffDirectoryKind::Exif)
            return Unless(FindTiffEntry(directory, 0x9000) == nullptr,
                          "The EXIF block does not state the version of the standard it follows.",
                          *input.metadata->places.exif + directory.offset);
    return NotStated();
}

RuleAnswer WindowsPadding(const ConsistencyInput& input) {
    const TiffDirectories* tiff = DirectoriesOf(input);
    if (tiff == nullptr) return NotStated();
    for (const TiffDirectory& directory : tiff->directories)
        for (const std::uint32_t tag : {0xEA1CU, 0xEA1DU})
            if (const TiffEntry* entry = FindTiffEntry(directory, tag))
                return Broken("The EXIF block holds an entry of Windows' own for room to write (" +
                                  EntryName(directory, tag) + ").",
                              *input.metadata->places.exif + entry->entryOffset);
    return Holds();
}

RuleAnswer NoteThere(const ConsistencyInput& input) {
    if (input.metadata == nullptr || input.format != FileFormat::Jpeg || input.facts.dateTimeOriginal.empty())
        return NotStated();
    const std::string make = ToLower(input.facts.FromExif().make);
    const bool writes = std::any_of(std::begin(kNoteWriters), std::end(kNoteWriters),
                                    [&make](const char* writer) { return make.starts_with(writer); });
    if (!writes) return NotStated();
    const auto& entries = input.metadata->set.entries;
    const bool has = EntryOf(input, "Exif.Photo.MakerNote") != nullptr ||
                     std::any_of(entries.begin(), entries.end(), [](const MetadataEntry& entry) {
                         return entry.kind == MetadataKind::MakerNote;
                     });
    return Unless(!has,
                  "The maker of the camera is given as " + Quote(input.facts.make) +
                      ", most of whose cameras write a maker note; there is none.",
                  OffsetOf(input, "Exif.Image.Make"));
}

RuleAnswer NoteMoved(const ConsistencyInput& input) {
    if (input.metadata == nullptr || !input.metadata->places.makerNote) return NotStated();
    const MakerNote& note = *input.metadata->places.makerNote;
    if (!note.isRead || !note.isAbsolute || note.isDirectoryOnly) return NotStated();
    std::size_t pointed = 0;
    std::size_t outside = 0;
    for (const MakerNoteEntry& entry : note.entries) {
        if (entry.isInline || entry.valueSize == 0) continue;
        ++pointed;
        if (!entry.isInNote) ++outside;
    }
    if (pointed < 3) return NotStated();
    return Unless(outside * 2 > pointed,
                  "Of " + std::to_string(pointed) + " values that the maker note points at, " +
                      std::to_string(outside) +
                      " lie outside the note: it is not where it was when it was written.",
                  *input.metadata->places.exif + note.offset);
}

RuleAnswer NoteOfMaker(const ConsistencyInput& input) {
    const std::string make = ToLower(input.facts.FromExif().make);
    if (input.metadata == nullptr || !input.metadata->places.makerNote || make.empty()) return NotStated();
    const MakerNote& note = *input.metadata->places.makerNote;
    for (const NoteMakers& makers : kNoteMakers)
        if (note.kind == makers.kind)
            return Unless(!BeginsWithAny(make, makers.makes),
                          "The maker note is of the kind " + Quote(note.kind) +
                              ", the maker of the camera is given as " + Quote(input.facts.make) + ".",
                          *input.metadata->places.exif + note.offset);
    return NotStated();
}

RuleAnswer NoteModel(const ConsistencyInput& input) {
    const std::string note = ValueOf(input, "Exif.Canon.ImageType");
    std::string model = ToLower(Trim(input.facts.FromExif().model));
    if (model.starts_with("canon ")) model.erase(0, 6);
    const std::string lower = ToLower(note);
    const bool names = lower.find("ixus") != std::string::npos ||
                       lower.find("powershot") != std::string::npos ||
                       lower.find("eos") != std::string::npos || lower.find("ixy") != std::string::npos;
    if (!names || model.empty()) return NotStated();
    return Unless(
        lower.find(model) == std::string::npos,
        "The maker note names the model in " + Quote(note) + ", EXIF names " + Quote(input.facts.model) + ".",
        OffsetOf(input, "Exif.Canon.ImageType"));
}

RuleAnswer NoteSerial(const ConsistencyInput& input) {
    const std::string body = ValueOf(input, "Exif.Photo.BodySerialNumber");
    if (Plain(body).empty()) return NotStated();
    RuleAnswer answer = NotStated();
    for (const char* key :
         {"Exif.Canon.SerialNumber", "Exif.Nikon3.SerialNumber", "Exif.OlympusEq.SerialNumber",
          "Xmp.aux.SerialNumber", "Xmp.exifEX.BodySerialNumber"}) {
        const std::string other = ValueOf(input, key);
        if (Plain(other).empty()) continue;
        if (Plain(other) != Plain(body))
            return Broken("EXIF states the camera's serial number as " + Quote(body) + ", " +
                              (std::string(key).starts_with("Xmp") ? "XMP" : "the maker note") + " as " +
                              Quote(other) + ".",
                          OffsetOf(input, key));
        answer = Holds();
    }
    return answer;
}

RuleAnswer NoteSize(const ConsistencyInput& input) {
    if (input.format != FileFormat::Jpeg || input.width <= 0) return NotStated();
    for (const char* key :
         {"Exif.Iop.RelatedImageWidth", "Exif.Olympus.ImageWidth", "Exif.Canon.AFCanonImageWidth"}) {
        const auto width = NumberOf(input, key);
        if (!width || *width < 1) continue;
        const int stated = static_cast<int>(std::min(*width, 1e9));
        return Unless(stated != input.width && stated != input.height,
                      "The camera noted a picture " + std::to_string(stated) + " pixels wide (" +
                          std::string(key) + "), the file holds one of " + ToString(input.width) + " x " +
                          ToString(input.height) + ".",
                      OffsetOf(input, key));
    }
    return NotStated();
}

RuleAnswer MakerInXmp(const ConsistencyInput& input) {
    RuleAnswer answer = NotStated();
    for (const auto& [exif, xmp, name] : {std::tuple{"Exif.Image.Make", "Xmp.tiff.Make", "maker"},
                                          {"Exif.Image.Model", "Xmp.tiff.Model", "camera model"}}) {
        const std::string first = ValueOf(input, exif);
        const std::string second = ValueOf(input, xmp);
        if (first.empty() || second.empty()) continue;
        if (ToLower(first) != ToLower(second))
            return Broken(std::string("EXIF and XMP state the ") + name + " differently: " + Quote(first) +
                              " and " + Quote(second) + ".",
                          OffsetOf(input, xmp));
        answer = Holds();
    }
    return answer;
}

RuleAnswer Exposure(const ConsistencyInput& input) {
    const auto time = NumberOf(input, "Exif.Photo.ExposureTime");
    const auto speed = NumberOf(input, "Exif.Photo.ShutterSpeedValue");
    if (!time || !speed || *time <= 0) return NotStated();
    const double other = std::exp2(-*speed);
    char text[200];
    std::snprintf(text, sizeof text,
                  "The exposure time is stated as %.5g s, and by the shutter speed value as %.5g s.", *time,
                  other);
    return Unless(std::abs(std::log2(*time) + *speed) > kShutterSteps, text,
                  OffsetOf(input, "Exif.Photo.ShutterSpeedValue"));
}

RuleAnswer Aperture(const ConsistencyInput& input) {
    const auto number = NumberOf(input, "Exif.Photo.FNumber");
    const auto value = NumberOf(input, "Exif.Photo.ApertureValue");
    if (!number || !value || *number <= 0) return NotStated();
    char text[200];
    std::snprintf(text, sizeof text, "The aperture is stated as f/%.3g, and by the aperture value as f/%.3g.",
                  *number, std::exp2(*value / 2));
    return Unless(std::abs(2 * std::log2(*number) - *value) > kApertureSteps, text,
                  OffsetOf(input, "Exif.Photo.ApertureValue"));
}

RuleAnswer ExposureThere(const ConsistencyInput& input) {
    const MetadataFacts exif = input.facts.FromExif();
    if (input.metadata == nullptr || exif.make.empty() || exif.model.empty() || exif.dateTimeOriginal.empty())
        return NotStated();
    const bool has = EntryOf(input, "Exif.Photo.ExposureTime") != nullptr ||
                     EntryOf(input, "Exif.Photo.ShutterSpeedValue") != nullptr ||
                     EntryOf(input, "Exif.Photo.FNumber") != nullptr ||
                     EntryOf(input, "Exif.Photo.ApertureValue") != nullptr ||
                     EntryOf(input, "Exif.Photo.ISOSpeedRatings") != nullptr;
    return Unless(
        !has,
        "A camera and a time of taking are named, but neither exposure time nor aperture nor sensitivity.",
        OffsetOf(input, "Exif.Image.Make"));
}

RuleAnswer FocalLength(const ConsistencyInput& input) {
    const auto focal = NumberOf(input, "Exif.Photo.FocalLength");
    const std::string lens = ValueOf(input, "Exif.Photo.LensSpecification");
    const std::size_t blank = lens.find(' ');
    if (!focal || *focal <= 0 || blank == std::string::npos) return NotStated();
    const auto fraction = [](const std::string& text) {
        const std::size_t slash = text.find('/');
        double above = 0;
        double below = 0;
        if (slash == std::string::npos || !FromString(text.substr(0, slash), above) ||
            !FromString(text.substr(slash + 1, text.find(' ', slash) - slash - 1), below) || below == 0)
            return 0.0;
        return above / below;
    };
    const double shortest = fraction(lens);
    const double longest = fraction(lens.substr(blank + 1));
    if (shortest <= 0 || longest < shortest) return NotStated();
    char text[200];
    std::snprintf(text, sizeof text,
                  "The focal length is stated as %.4g mm, the lens as one of %.4g to %.4g mm.", *focal,
                  shortest, longest);
    return Unless(*focal < shortest * 0.95 || *focal > longest * 1.05, text,
                  OffsetOf(input, "Exif.Photo.FocalLength"));
}

RuleAnswer OrientationInXmp(const ConsistencyInput& input) {
    const auto xmp = NumberOf(input, "Xmp.tiff.Orientation");
    if (!xmp || input.facts.orientation == 0) return NotStated();
    char stated[32];
    std::snprintf(stated, sizeof stated, "%.12g", std::trunc(*xmp));
    return Unless(std::trunc(*xmp) != input.facts.orientation,
                  "EXIF states orientation " + std::to_string(input.facts.orientation) +
                      ", XMP orientation " + std::string(stated) + ".",
                  OffsetOf(input, "Xmp.tiff.Orientation"));
}

RuleAnswer ThumbnailTurned(const ConsistencyInput& input) {
    const int width = input.thumbnailWidth;
    const int height = input.thumbnailHeight;
    if (width == height || width <= 0 || height <= 0 || input.width == input.height || input.width <= 0 ||
        input.height <= 0)
        return NotStated();
    return Unless((width > height) != (input.width > input.height),
                  std::string("The picture is ") +
                      (input.width > input.height ? "wider than high" : "higher than wide") +
                      ", its thumbnail (" + ToString(width) + " x " + ToString(height) +
                      ") the other way round.",
                  OffsetOf(input, "Exif.Thumbnail.JPEGInterchangeFormat"));
}

// Neither the picture's shape nor the usual 4:3 with bars beside a longer picture.
RuleAnswer ThumbnailShape(const ConsistencyInput& input) {
    if (input.thumbnailWidth <= 0 || input.thumbnailHeight <= 0 || input.width <= 0 || input.height <= 0)
        return NotStated();
    constexpr double kTolerance = 0.03;
    constexpr double kUsual = 4.0 / 3.0;
    const double picture = static_cast<double>(input.width) / input.height;
    const double thumbnail = static_cast<double>(input.thumbnailWidth) / input.thumbnailHeight;
    if ((picture > 1) != (thumbnail > 1) && picture != 1 && thumbnail != 1) return NotStated();  // turned
    if (std::max(picture / thumbnail, thumbnail / picture) <= 1 + kTolerance) return Holds();
    const double longPicture = std::max(picture, 1 / picture);
    const double longThumbnail = std::max(thumbnail, 1 / thumbnail);
    return Unless(longThumbnail > kUsual * (1 + kTolerance) || longThumbnail < kUsual * (1 - kTolerance) ||
                      longPicture < kUsual,
                  "The thumbnail's shape is not that of the picture: " + ToString(input.thumbnailWidth) +
                      " x " + ToString(input.thumbnailHeight) + " for " + ToString(input.width) + " x " +
                      ToString(input.height) + ".",
                  OffsetOf(input, "Exif.Thumbnail.JPEGInterchangeFormat"));
}

RuleAnswer ThumbnailWriter(const ConsistencyInput& input) {
    if (input.thumbnail.empty() || !NamesCamera(input)) return NotStated();
    const JpegStructure thumbnail = ParseJpegStructure(input.thumbnail);
    if (!thumbnail.isJpeg) return NotStated();
    for (const JpegSegment& segment : thumbnail.segments)
        if ((segment.name == "APP13" && segment.identifier.starts_with("Photoshop")) ||
            (segment.name == "APP14" && segment.identifier.starts_with("Adobe")))
            return Broken("The EXIF thumbnail was written by a program: it holds a segment " + segment.name +
                              " " + Quote(segment.identifier) + ".",
                          OffsetOf(input, "Exif.Thumbnail.JPEGInterchangeFormat"));
    return Holds();
}

}  // namespace rules
