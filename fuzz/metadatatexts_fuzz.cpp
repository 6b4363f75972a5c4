#include <array>
#include <cmath>

#include "orvcore/formats/consistency/consistency.h"
#include "orvcore/formats/textencoding.h"
#include "zorbase/text.h"
#include "zorbase/utf8.h"

// Any texts as the values of metadata: decoded from every character set, read as a position with all that belongs to it, and held
// against each other by every rule. The input is cut at its bytes 0x1E; each piece is one value, by turns.

namespace {

constexpr const char* kKeys[] = {
    "Exif.GPSInfo.GPSLatitude",
    "Exif.GPSInfo.GPSLatitudeRef",
    "Exif.GPSInfo.GPSLongitude",
    "Exif.GPSInfo.GPSLongitudeRef",
    "Exif.GPSInfo.GPSAltitude",
    "Exif.GPSInfo.GPSAltitudeRef",
    "Exif.GPSInfo.GPSTimeStamp",
    "Exif.GPSInfo.GPSDateStamp",
    "Exif.GPSInfo.GPSImgDirection",
    "Exif.GPSInfo.GPSSpeed",
    "Exif.GPSInfo.GPSSpeedRef",
    "Exif.GPSInfo.GPSDOP",
    "Xmp.exif.GPSLatitude",
    "Xmp.exif.GPSLongitude",
    "Xmp.exif.GPSTimeStamp",
    "Exif.Image.DateTime",
    "Exif.Photo.DateTimeOriginal",
    "Exif.Photo.DateTimeDigitized",
    "Exif.Photo.SubSecTime",
    "Exif.Photo.OffsetTimeOriginal",
    "Xmp.exif.DateTimeOriginal",
    "Xmp.xmp.ModifyDate",
    "Iptc.Application2.DateCreated",
    "Exif.Photo.ExposureTime",
    "Exif.Photo.ShutterSpeedValue",
    "Exif.Photo.FNumber",
    "Exif.Photo.ApertureValue",
    "Exif.Photo.FocalLength",
    "Exif.Photo.LensSpecification",
    "Exif.Image.XResolution",
    "Exif.Image.Software",
    "Xmp.xmp.CreatorTool",
    "Exif.Photo.BodySerialNumber",
    "Exif.Canon.SerialNumber",
    "Exif.Canon.FileNumber",
    "Exif.Canon.ImageType",
    "Exif.Pentax.Date",
    "Exif.Pentax.Time",
    "Xmp.iptcExt.DigitalSourceType",
    "Xmp.exif.PixelXDimension",
    "Xmp.exif.PixelYDimension",
    "Xmp.tiff.Orientation",
};

void Expect(bool holds) {
    if (!holds) __builtin_trap();
}

bool IsText(const std::string& text) {
    return ToValidUtf8(text) == text;
}

// Control characters are allowed.
bool IsUtf8(const std::string& text) {
    for (std::size_t at = 0; at < text.size();) {
        const Utf8Step step = NextUtf8(text, at);
        if (!step.valid) return false;
        at += step.length;
    }
    return true;
}

void CheckPosition(const GpsFacts& facts) {
    for (const std::optional<GpsDirection>* direction :
         {&facts.imageDirection, &facts.track, &facts.destination})
        Expect(!*direction || ((*direction)->degrees >= 0 && (*direction)->degrees <= 360));
    for (const std::optional<double>* number : {&facts.altitude, &facts.speed, &facts.dilution, &facts.error})
        Expect(!*number || std::isfinite(**number));
    Expect(!facts.speed || *facts.speed >= 0);
    Expect(facts.timeProblem.empty() || !facts.seconds);
    Expect(IsText(facts.time) && IsText(facts.method) && IsText(facts.area));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string_view all(reinterpret_cast<const char*>(data) + 1, size - 1);
    const auto encoding =
        static_cast<TextEncoding>(data[0] % (static_cast<int>(TextEncoding::JisComment) + 1));
    if (const auto text = DecodeText(all, encoding)) Expect(IsUtf8(*text));

    DetailedMetadata metadata;
    std::size_t key = 0;
    for (std::size_t from = 0; from <= all.size() && key < 4 * std::size(kKeys); ++key) {
        const std::size_t end = std::min(all.find('\x1E', from), all.size());
        MetadataEntry entry;
        entry.key = kKeys[key % std::size(kKeys)];
        entry.kind = entry.key.starts_with("Exif.GPSInfo") ? MetadataKind::Gps
                     : entry.key.starts_with("Xmp")        ? MetadataKind::Xmp
                                                           : MetadataKind::Exif;
        entry.tag = "0x0001";
        entry.raw = entry.value = ToValidUtf8(std::string(all.substr(from, end - from)));
        if (!entry.raw.empty()) metadata.set.entries.push_back(entry);
        from = end + 1;
    }
    MetadataFacts& facts = metadata.set.facts;
    const auto take = [&](std::string& fact, const char* from) {
        if (const MetadataEntry* entry = FindMetadata(metadata.set, from)) fact = entry->raw;
    };
    take(facts.dateTimeOriginal, "Exif.Photo.DateTimeOriginal");
    take(facts.dateTimeDigitized, "Exif.Photo.DateTimeDigitized");
    take(facts.dateTime, "Exif.Image.DateTime");
    take(facts.software, "Exif.Image.Software");
    facts.make = "Canon";
    facts.model = facts.software;
    const GpsFacts gps = ReadGpsFacts(metadata.set);
    CheckPosition(gps);
    ConsistencyInput input;
    input.name = "IMG_0001.JPG";
    input.format = FileFormat::Jpeg;
    input.width = 640;
    input.height = 480;
    input.facts = facts;
    input.metadata = &metadata;
    input.gps = &gps;
    const std::vector<ConsistencyResult> broken = FindInconsistencies(input);
    for (const ConsistencyResult& one : broken) Expect(IsText(one.Text()) && one.Text().size() < 2000);
    Expect(!ConsistencySummary(broken).empty() && !ConsistencyLines(broken).empty());
    return 0;
}
