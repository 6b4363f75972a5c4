#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "orvcore/formats/textencoding.h"

// What a file says about itself: EXIF, GPS, maker notes, IPTC, XMP and comments. All texts are valid UTF-8,
// come from the file and are hostile. Labels and interpreted values are English whatever the locale. Safe on
// any thread; calls wait for each other.

enum class MetadataKind { Exif, Gps, MakerNote, Iptc, Xmp, Comment, Icc };

// Values longer than this many characters (bytes of UTF-8) are cut, with a note of the full length after
// them.
constexpr std::size_t kMaxMetadataText = 4096;

struct MetadataEntry {
    MetadataKind kind = MetadataKind::Exif;
    std::string group;  // "EXIF Image", "EXIF Thumbnail", "GPS", "Maker note CanonCs", "IPTC Application2",
                        // "XMP dc", "Comment"
    std::string key;    // "Exif.Photo.ExposureTime"; the same key may come twice
    std::string label;  // "Exposure Time"
    std::string value;  // interpreted: "1/60 s"
    std::string raw;    // as stored: "1/60"
    std::string type;   // "Rational"; "String, read as Western (ISO 8859-1)" where the bytes were not UTF-8
    std::string tag =
        {};  // number within its group: "0x829A", "2:120" (IPTC), "xmp:Rating", "xmp:Rating", "desc" (ICC)
    std::size_t size = 0;  // of the stored value, bytes; 0 where it is not known
    // Of the value, in bytes from the start of the file; nothing where it is not known. Filled in by AddMetadataPlaces.
    std::optional<std::size_t> offset = {};
};

// In degrees, north and east positive.
struct GpsPosition {
    double latitude = 0;
    double longitude = 0;
    std::string source;  // "EXIF" or "XMP"
};

// "48.858300 2.294500": latitude, blank, longitude, six decimals.
std::string GpsToText(const GpsPosition& position);

// Facts that EXIF and XMP both can state.
enum MetadataFact : unsigned {
    kFactMake = 1,
    kFactModel = 2,
    kFactSoftware = 4,
    kFactTaken = 8,
    kFactChanged = 16,
    kFactDigitized = 32
};

// The few facts that others ask for. Texts without trailing blanks, "" when not stated. EXIF counts before XMP.
struct MetadataFacts {
    std::string make;
    std::string model;
    std::string software;
    std::string dateTimeOriginal;  // "2004:06:17 07:10:06", as stored
    std::string dateTime;
    std::string dateTimeDigitized;
    std::string lens;
    std::string serial;       // of the camera body
    int orientation = 0;      // 1..8; 0 when not stated or anything else
    int pixelXDimension = 0;  // 0 when not stated
    int pixelYDimension = 0;
    unsigned fromXmp =
        0;  // those (MetadataFact) that stand in the XMP packet only; its dates may carry a time zone

    // "Camera, Software", "" when none is: the facts that stand in XMP only.
    std::string NamesFromXmp() const;
    // The same without what stands in XMP only.
    MetadataFacts FromExif() const;
};

// How much of the metadata could be read.
enum class MetadataReading {
    Whole,   // also of a format that has none
    Part,    // the library refused the file; what its blocks hold by themselves was read
    NotRead  // it refused the file and no block was found
};

// "2004:06:17 07:10:06", or as XMP writes it, "2004-06-17T07:10:06+02:00" (seconds, fraction and zone may be missing; the
// zone is passed over): seconds since 1970 as if the clock ran in UTC. Nothing when it is no date.
std::optional<std::int64_t> ParseMetadataTime(const std::string& text);

// What became of the parts of an XMP packet that is too long for one segment of a JPEG.
enum class ExtendedXmpState { None, Whole, Incomplete, Altered };

struct MetadataSet {
    std::vector<MetadataEntry> entries;  // in the order of the file, kind by kind
    MetadataFacts facts;
    std::optional<GpsPosition> gps;
    MetadataReading reading = MetadataReading::Whole;
    std::string xmpPacket;  // the XMP packet itself, not cut
    ExtendedXmpState extendedXmp = ExtendedXmpState::None;
    std::vector<std::string> warnings;  // each a sentence: what is damaged, what was not read
};

// Never throws on what the bytes say: what cannot be read is told in warnings. Formats without metadata give
// an empty set. Films are not read.
// encoding: what texts are read as that are not Unicode and do not say what they are.
MetadataSet ReadMetadata(std::span<const std::uint8_t> bytes, TextEncoding encoding = TextEncoding::Western);

// The entry of that key, the first one, or null.
const MetadataEntry* FindMetadata(const MetadataSet& set, const std::string& key);

// The position that the file states. Nothing when a part, its hemisphere, or a denominator is missing or out
// of range.
std::optional<GpsPosition> ReadGps(std::span<const std::uint8_t> bytes);

MetadataFacts ReadMetadataFacts(std::span<const std::uint8_t> bytes);

// The thumbnail of the EXIF block, unchanged: a JPEG, or a small TIFF made of the strips where it is stored
// uncompressed. Empty when there is none.
std::vector<std::uint8_t> ReadExifThumbnail(std::span<const std::uint8_t> bytes);

// Facts, position and thumbnail from one reading.
struct MetadataSummary {
    MetadataFacts facts;
    bool hasPosition = false;
    MetadataReading reading = MetadataReading::Whole;
    std::string problem;  // why it was not read as a whole, one sentence
    std::vector<std::uint8_t> thumbnail;
};
MetadataSummary ReadMetadataSummary(std::span<const std::uint8_t> bytes);
