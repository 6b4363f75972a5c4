#include "orvcore/formats/metadata.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <sstream>

#include "orvcore/formats/exivsession.h"
#include "orvcore/formats/extendedxmp.h"
#include "zorbase/calendar.h"
#include "zorbase/gpsformat.h"
#include "zorbase/text.h"

namespace {

constexpr std::size_t kMaxListed = 1024;  // numbers of a long array that are shown
constexpr std::size_t kMaxEntries = 20000;

// Valid UTF-8 of at most kMaxMetadataText bytes and a note.
std::string Shorten(const std::string& bytes) {
    std::size_t cut = bytes.size();
    if (cut > kMaxMetadataText) {
        cut = kMaxMetadataText;
        while (cut > 0 && (static_cast<unsigned char>(bytes[cut]) & 0xC0) == 0x80) --cut;
    }
    std::string text = bytes.substr(0, cut);
    while (!text.empty() && text.back() == '\0') text.pop_back();
    text = ToValidUtf8(text);
    if (cut < bytes.size()) text += "… (" + std::to_string(bytes.size()) + " characters in all)";
    return text;
}

// Fields that begin with the name of their character set.
bool IsCommentField(const std::string& key) {
    return key == "Exif.Photo.UserComment" || key == "Exif.GPSInfo.GPSProcessingMethod" ||
           key == "Exif.GPSInfo.GPSAreaInformation";
}

bool IsUtf8(const std::string& bytes) {
    return ToValidUtf8(bytes).find("\xEF\xBF\xBD") == std::string::npos;
}

// The stored value as text; of a long array only the first numbers, because all of them would be megabytes of
// text.
std::string RawText(const Exiv2::Metadatum& datum) {
    const long count = datum.count();
    const Exiv2::TypeId type = datum.typeId();
    const bool isArray = type != Exiv2::asciiString && type != Exiv2::string && type != Exiv2::comment &&
                         type != Exiv2::xmpText && type != Exiv2::langAlt && type != Exiv2::xmpBag &&
                         type != Exiv2::xmpSeq && type != Exiv2::xmpAlt;
    if (!isArray || count <= static_cast<long>(kMaxListed)) return Shorten(datum.toString());
    std::string text;
    for (long i = 0; i < static_cast<long>(kMaxListed) && text.size() < kMaxMetadataText; ++i)
        text += (i == 0 ? "" : " ") + datum.toString(i);
    return Shorten(text) + "… (" + std::to_string(count) + " values in all)";
}

std::string Label(const std::string& label, const std::string& tagName) {
    return ToValidUtf8(label.empty() ? tagName : label);
}

class Collector {
  public:
    Collector(ExivSession& session, MetadataSet& set, TextEncoding encoding)
        : m_session(session), m_set(set), m_encoding(encoding) {}

    void AddExif(const Exiv2::ExifData& data) {
        for (const MetadataKind kind : {MetadataKind::Exif, MetadataKind::Gps, MetadataKind::MakerNote})
            for (const Exiv2::Exifdatum& datum : data)
                if (KindOf(datum) == kind) Add([&] { return ExifEntry(datum, data, kind); });
    }

    void AddIptc(const Exiv2::IptcData& data) {
        for (const Exiv2::Iptcdatum& datum : data) Add([&] { return IptcEntry(datum); });
    }

    void AddXmp(const Exiv2::XmpData& data, const char* group = "XMP ") {
        for (const Exiv2::Xmpdatum& datum : data)
            Add([&] {
                MetadataEntry entry = Common(datum, MetadataKind::Xmp, group + datum.groupName());
                entry.tag = Shorten(datum.groupName() + ":" + datum.tagName());
                entry.value = Shorten(datum.print());
                return entry;
            });
    }

    void AddComment(const std::string& comment) {
        if (comment.empty()) return;
        MetadataEntry entry{MetadataKind::Comment, "Comment", "Comment", "Comment", {},
                            Shorten(comment),      "String"};
        entry.size = comment.size();
        entry.value = entry.raw;
        ReadAsText(comment, entry);
        m_set.entries.push_back(std::move(entry));
    }

  private:
    template <typename Make>
    void Add(const Make& make) {
        if (m_set.entries.size() >= kMaxEntries) {
            m_session.Warn("There are more than " + std::to_string(kMaxEntries) +
                           " entries; the others are not listed.");
            return;
        }
        m_session.Guard([&] { m_set.entries.push_back(make()); });
    }

    static MetadataKind KindOf(const Exiv2::Exifdatum& datum) {
        const std::string group = datum.groupName();
        if (group == "GPSInfo") return MetadataKind::Gps;
        return Exiv2::ExifTags::isMakerGroup(group) ? MetadataKind::MakerNote : MetadataKind::Exif;
    }

    // The readable value of a text whose bytes are no UTF-8; false, and nothing changed, for any other.
    bool ReadAsText(const std::string& text, MetadataEntry& entry) const {
        const std::string_view bytes = std::string_view(text).substr(0, text.find_last_not_of('\0') + 1);
        if (IsUtf8(std::string(bytes))) return false;
        // More bytes than are shown need not be converted; a character may be cut at the end.
        const auto converted = DecodeText(bytes.substr(0, kMaxMetadataText + 8), m_encoding);
        if (!converted) return false;
        entry.value = Shorten(*converted);
        entry.type += ", read as " + TextEncodingName(m_encoding);
        return true;
    }

    static MetadataEntry Common(const Exiv2::Metadatum& datum, MetadataKind kind, const std::string& group) {
        MetadataEntry entry;
        entry.kind = kind;
        entry.group = ToValidUtf8(group);
        entry.key = Shorten(datum.key());
        entry.label = Label(datum.tagLabel(), datum.tagName());
        entry.raw = RawText(datum);
        const char* type = datum.typeName();
        entry.type = type == nullptr ? "Unknown" : type;
        if (kind != MetadataKind::Xmp) entry.size = static_cast<std::size_t>(std::max(0L, datum.size()));
        return entry;
    }

    // A comment that begins with eight bytes that name its character set: readable where that is one of several bytes a letter that the
    // library passes on as it is.
    bool ReadAsComment(const Exiv2::Exifdatum& datum, MetadataEntry& entry) const {
        std::string bytes(static_cast<std::size_t>(std::max(0L, datum.size())), '\0');
        datum.copy(reinterpret_cast<Exiv2::byte*>(bytes.data()), Exiv2::littleEndian);
        if (bytes.size() <= 8) return false;
        const std::string text = bytes.substr(8);
        if (bytes.starts_with("JIS")) {
            const auto converted =
                DecodeText(std::string_view(text).substr(0, kMaxMetadataText + 8), TextEncoding::JisComment);
            if (!converted) return false;
            entry.value = Shorten(*converted);
            entry.type += ", read as " + TextEncodingName(TextEncoding::JisComment);
            return true;
        }
        return !bytes.starts_with("UNICODE") && ReadAsText(text, entry);
    }

    MetadataEntry ExifEntry(const Exiv2::Exifdatum& datum, const Exiv2::ExifData& all,
                            MetadataKind kind) const {
        std::string group = "GPS";
        if (kind == MetadataKind::Exif) group = "EXIF " + datum.groupName();
        if (kind == MetadataKind::MakerNote) group = "Maker note " + datum.groupName();
        MetadataEntry entry = Common(datum, kind, group);
        char number[8];
        std::snprintf(number, sizeof number, "0x%04X", static_cast<unsigned>(datum.tag()));
        entry.tag = number;
        if (datum.typeId() == Exiv2::asciiString && ReadAsText(datum.toString(), entry)) return entry;
        if (IsCommentField(entry.key) && ReadAsComment(datum, entry)) return entry;
        // Interpreting a long array gives its numbers again.
        const bool isLong =
            datum.count() > static_cast<long>(kMaxListed) && datum.typeId() != Exiv2::asciiString;
        entry.value = isLong && datum.typeId() != Exiv2::comment && datum.key() != "Exif.Photo.UserComment"
                          ? entry.raw
                          : Shorten(datum.print(&all));
        return entry;
    }

    MetadataEntry IptcEntry(const Exiv2::Iptcdatum& datum) const {
        MetadataEntry entry = Common(datum, MetadataKind::Iptc, "IPTC " + datum.groupName());
        const std::string text = datum.toString();
        entry.tag = std::to_string(datum.record()) + ":" + std::to_string(datum.tag());
        if (datum.typeId() != Exiv2::string || !ReadAsText(text, entry)) entry.value = Shorten(datum.print());
        return entry;
    }

    ExivSession& m_session;
    MetadataSet& m_set;
    const TextEncoding m_encoding;
};

const Exiv2::Exifdatum* Find(const Exiv2::ExifData& data, const char* key) {
    const auto found = data.findKey(Exiv2::ExifKey(key));
    return found == data.end() ? nullptr : &*found;
}

std::string ExifText(const Exiv2::ExifData& data, const char* key) {
    const Exiv2::Exifdatum* datum = Find(data, key);
    if (datum == nullptr) return {};
    std::string text = datum->toString();
    // The text ends at its first zero byte; what is behind it is left over.
    if (const std::size_t zero = text.find('\0'); zero != std::string::npos) text.resize(zero);
    return Trim(Shorten(text));
}

int ExifNumber(const Exiv2::ExifData& data, const char* key) {
    const Exiv2::Exifdatum* datum = Find(data, key);
    if (datum == nullptr || datum->count() == 0) return 0;
    const long value = datum->toLong();
    return value > 0 && value <= INT32_MAX ? static_cast<int>(value) : 0;
}

// Interpreted text of what one of the library's searches over all makers finds.
std::string Interpreted(const Exiv2::ExifData& data,
                        Exiv2::ExifData::const_iterator (*search)(const Exiv2::ExifData&)) {
    const auto found = search(data);
    return found == data.end() ? std::string() : Trim(Shorten(found->print(&data)));
}

// The first of the keys that the packet has.
std::string XmpText(const Exiv2::XmpData& data, std::initializer_list<const char*> keys) {
    for (const char* key : keys) {
        const auto found = data.findKey(Exiv2::XmpKey(key));
        if (found == data.end()) continue;
        if (std::string text = Trim(Shorten(found->toString())); !text.empty()) return text;
    }
    return {};
}

void AddXmpFacts(const Exiv2::XmpData& data, MetadataFacts& facts) {
    const auto add = [&](std::string& fact, unsigned bit, std::initializer_list<const char*> keys) {
        if (!fact.empty()) return;
        fact = XmpText(data, keys);
        if (!fact.empty()) facts.fromXmp |= bit;
    };
    add(facts.make, kFactMake, {"Xmp.tiff.Make"});
    add(facts.model, kFactModel, {"Xmp.tiff.Model"});
    add(facts.software, kFactSoftware, {"Xmp.tiff.Software", "Xmp.xmp.CreatorTool"});
    add(facts.dateTimeOriginal, kFactTaken, {"Xmp.exif.DateTimeOriginal"});
    add(facts.dateTime, kFactChanged, {"Xmp.xmp.ModifyDate", "Xmp.tiff.DateTime"});
    add(facts.dateTimeDigitized, kFactDigitized, {"Xmp.exif.DateTimeDigitized", "Xmp.xmp.CreateDate"});
}

MetadataFacts FactsOf(ExivSession& session, const Exiv2::Image& image) {
    MetadataFacts facts;
    const Exiv2::ExifData& data = image.exifData();
    session.Guard([&] {
        facts.make = ExifText(data, "Exif.Image.Make");
        facts.model = ExifText(data, "Exif.Image.Model");
        facts.software = ExifText(data, "Exif.Image.Software");
        facts.dateTime = ExifText(data, "Exif.Image.DateTime");
        facts.dateTimeOriginal = ExifText(data, "Exif.Photo.DateTimeOriginal");
        facts.dateTimeDigitized = ExifText(data, "Exif.Photo.DateTimeDigitized");
        const int orientation = ExifNumber(data, "Exif.Image.Orientation");
        facts.orientation = orientation <= 8 ? orientation : 0;
        facts.pixelXDimension = ExifNumber(data, "Exif.Photo.PixelXDimension");
        facts.pixelYDimension = ExifNumber(data, "Exif.Photo.PixelYDimension");
        facts.lens = ExifText(data, "Exif.Photo.LensModel");
        facts.serial = ExifText(data, "Exif.Photo.BodySerialNumber");
    });
    session.Guard([&] {
        if (facts.lens.empty()) facts.lens = Interpreted(data, Exiv2::lensName);
        if (facts.serial.empty()) facts.serial = Interpreted(data, Exiv2::serialNumber);
    });
    session.Guard([&] { AddXmpFacts(image.xmpData(), facts); });
    return facts;
}

std::optional<GpsPosition> Position(const std::string& latitude, const std::string& longitude,
                                    const char* source) {
    GpsPosition position;
    position.latitude = GPSFormat::ConvertToDeg(latitude);
    position.longitude = GPSFormat::ConvertToDeg(longitude);
    position.source = source;
    if (std::isnan(position.latitude) || std::isnan(position.longitude)) return std::nullopt;
    if (std::abs(position.latitude) > 90 || std::abs(position.longitude) > 180) return std::nullopt;
    return position;
}

// "48/1 51/1 2991/100" with the letter of its hemisphere, "" when that is not one of the two.
std::string WithHemisphere(const std::string& degrees, const std::string& letter, const char* allowed) {
    if (degrees.empty() || letter.size() != 1) return {};
    if (std::string(allowed).find(letter[0]) == std::string::npos) return {};
    return degrees + " " + letter;
}

std::optional<GpsPosition> PositionOf(const Exiv2::ExifData& exif, const Exiv2::XmpData& xmp) {
    const std::string latitude = WithHemisphere(ExifText(exif, "Exif.GPSInfo.GPSLatitude"),
                                                ExifText(exif, "Exif.GPSInfo.GPSLatitudeRef"), "NS");
    const std::string longitude = WithHemisphere(ExifText(exif, "Exif.GPSInfo.GPSLongitude"),
                                                 ExifText(exif, "Exif.GPSInfo.GPSLongitudeRef"), "EW");
    if (std::optional<GpsPosition> position = Position(latitude, longitude, "EXIF")) return position;

    // "48,51.4985N" or "48,51,29N"
    const auto text = [&xmp](const char* key, const char* allowed) {
        const auto found = xmp.findKey(Exiv2::XmpKey(key));
        std::string value = found == xmp.end() ? "" : Trim(found->toString());
        if (value.size() < 2) return std::string();
        for (char& c : value)
            if (c == ',') c = ' ';
        return WithHemisphere(value.substr(0, value.size() - 1), value.substr(value.size() - 1), allowed);
    };
    return Position(text("Xmp.exif.GPSLatitude", "NS"), text("Xmp.exif.GPSLongitude", "EW"), "XMP");
}

std::vector<std::uint8_t> ThumbnailOf(ExivSession& session, const Exiv2::ExifData& data) {
    std::vector<std::uint8_t> thumbnail;
    session.Guard([&] {
        const Exiv2::DataBuf copy = Exiv2::ExifThumbC(data).copy();
        if (copy.size_ > 0) thumbnail.assign(copy.pData_, copy.pData_ + copy.size_);
        if (!thumbnail.empty()) return;
        // The library wants the compression stated too; a JPEG that is pointed to is one without it.
        const Exiv2::Exifdatum* jpeg = Find(data, "Exif.Thumbnail.JPEGInterchangeFormat");
        if (jpeg == nullptr || jpeg->sizeDataArea() <= 0) return;
        const Exiv2::DataBuf area = jpeg->dataArea();
        thumbnail.assign(area.pData_, area.pData_ + area.size_);
    });
    return thumbnail;
}

std::string FixedText(double value) {
    char text[400];
    const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, 6).ptr;
    return std::string(text, end);
}

}  // namespace

std::string MetadataFacts::NamesFromXmp() const {
    std::vector<std::string> names;
    if ((fromXmp & (kFactMake | kFactModel)) != 0) names.emplace_back("camera");
    if ((fromXmp & kFactSoftware) != 0) names.emplace_back("software");
    if ((fromXmp & (kFactTaken | kFactChanged | kFactDigitized)) != 0) names.emplace_back("dates");
    return Join(names, ", ");
}

MetadataFacts MetadataFacts::FromExif() const {
    MetadataFacts facts = *this;
    const auto clear = [this](std::string& fact, unsigned bit) {
        if ((fromXmp & bit) != 0) fact.clear();
    };
    clear(facts.make, kFactMake);
    clear(facts.model, kFactModel);
    clear(facts.software, kFactSoftware);
    clear(facts.dateTimeOriginal, kFactTaken);
    clear(facts.dateTime, kFactChanged);
    clear(facts.dateTimeDigitized, kFactDigitized);
    facts.fromXmp = 0;
    return facts;
}

std::optional<std::int64_t> ParseMetadataTime(const std::string& text) {
    CalendarTime time;
    char separator[4] = {};
    int end = 0;
    int count = std::sscanf(text.c_str(), "%4d%c%2d%c%2d%c%2d:%2d%n", &time.year, &separator[0], &time.month,
                            &separator[1], &time.day, &separator[2], &time.hour, &time.minute, &end);
    if (count != 8 || time.year < 1900) return std::nullopt;
    if ((separator[0] != ':' && separator[0] != '-') || separator[1] != separator[0]) return std::nullopt;
    if (separator[2] != ' ' && separator[2] != 'T') return std::nullopt;
    if (end < 16) return std::nullopt;  // numbers with blanks instead of digits
    count = std::sscanf(text.c_str() + end, ":%2d", &time.second);
    if (count != 1) time.second = 0;
    return SecondsOf(time);
}

std::string GpsToText(const GpsPosition& position) {
    return FixedText(position.latitude) + " " + FixedText(position.longitude);
}

MetadataSet ReadMetadata(std::span<const std::uint8_t> bytes, TextEncoding encoding) {
    MetadataSet set;
    ExivSession session;
    const Exiv2::Image::AutoPtr image = session.Open(bytes);
    if (image.get() != nullptr) {
        Collector collector(session, set, encoding);
        session.Guard([&] { collector.AddExif(image->exifData()); });
        session.Guard([&] { collector.AddIptc(image->iptcData()); });
        session.Guard([&] { collector.AddXmp(image->xmpData()); });
        session.Guard([&] { collector.AddComment(image->comment()); });
        std::string extension;
        // Not by its key: the library refuses keys of name spaces that no file has named yet.
        session.Guard([&] {
            for (const Exiv2::Xmpdatum& datum : image->xmpData())
                if (datum.tagName() == "HasExtendedXMP") extension = Trim(datum.toString());
        });
        const ExtendedXmp extended = ReadExtendedXmp(bytes, extension);
        set.extendedXmp = extended.state;
        for (const std::string& warning : extended.warnings) session.Warn(warning);
        if (!extended.packet.empty())
            session.Guard([&] {
                Exiv2::XmpData data;
                if (Exiv2::XmpParser::decode(data, extended.packet) != 0)
                    session.Warn("The extended XMP packet could not be read.");
                collector.AddXmp(data, "XMP extended ");
            });
        set.facts = FactsOf(session, *image);
        session.Guard([&] { set.gps = PositionOf(image->exifData(), image->xmpData()); });
        set.xmpPacket = ToValidUtf8(image->xmpPacket());
    }
    set.reading = session.Reading();
    set.warnings = session.Warnings();
    return set;
}

const MetadataEntry* FindMetadata(const MetadataSet& set, const std::string& key) {
    for (const MetadataEntry& entry : set.entries)
        if (entry.key == key) return &entry;
    return nullptr;
}

std::optional<GpsPosition> ReadGps(std::span<const std::uint8_t> bytes) {
    std::optional<GpsPosition> position;
    ExivSession session;
    const Exiv2::Image::AutoPtr image = session.Open(bytes);
    if (image.get() != nullptr)
        session.Guard([&] { position = PositionOf(image->exifData(), image->xmpData()); });
    return position;
}

MetadataFacts ReadMetadataFacts(std::span<const std::uint8_t> bytes) {
    ExivSession session;
    const Exiv2::Image::AutoPtr image = session.Open(bytes);
    return image.get() == nullptr ? MetadataFacts() : FactsOf(session, *image);
}

std::vector<std::uint8_t> ReadExifThumbnail(std::span<const std::uint8_t> bytes) {
    ExivSession session;
    const Exiv2::Image::AutoPtr image = session.Open(bytes);
    return image.get() == nullptr ? std::vector<std::uint8_t>() : ThumbnailOf(session, image->exifData());
}

MetadataSummary ReadMetadataSummary(std::span<const std::uint8_t> bytes) {
    MetadataSummary summary;
    ExivSession session;
    const Exiv2::Image::AutoPtr image = session.Open(bytes);
    summary.reading = session.Reading();
    if (summary.reading != MetadataReading::Whole) summary.problem = session.Warnings().front();
    if (image.get() == nullptr) return summary;
    summary.facts = FactsOf(session, *image);
    session.Guard([&] { summary.hasPosition = PositionOf(image->exifData(), image->xmpData()).has_value(); });
    summary.thumbnail = ThumbnailOf(session, image->exifData());
    return summary;
}
