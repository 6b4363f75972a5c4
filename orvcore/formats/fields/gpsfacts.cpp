#include "orvcore/formats/fields/gpsfacts.h"

#include <cmath>
#include <cstdio>

#include "zorbase/text.h"

namespace {

constexpr double kKilometresAMile = 1.609344;
constexpr double kKilometresAKnot = 1.852;

class Reader {
  public:
    explicit Reader(const MetadataSet& set) : m_set(set) {}

    GpsFacts Run() {
        for (const MetadataEntry& entry : m_set.entries)
            m_facts.isPresent = m_facts.isPresent || entry.key.starts_with("Xmp.exif.GPS") ||
                                (entry.kind == MetadataKind::Gps && entry.tag != "0x0000");
        if (!m_facts.isPresent) return std::move(m_facts);
        m_facts.position = m_set.gps;
        if (!m_facts.position) m_facts.whyNoPosition = WhyNoPosition();
        ReadAltitude();
        m_facts.imageDirection = Direction("GPSImgDirection");
        m_facts.track = Direction("GPSTrack");
        m_facts.destination = Direction("GPSDestBearing");
        ReadSpeed();
        ReadTime();
        m_facts.datum = Text("GPSMapDatum");
        m_facts.method = Readable("GPSProcessingMethod");
        m_facts.area = Readable("GPSAreaInformation");
        m_facts.satellites = Text("GPSSatellites");
        const std::string mode = Text("GPSMeasureMode");
        m_facts.dimensions = mode == "2" ? "2-dimensional" : mode == "3" ? "3-dimensional" : mode;
        const std::string status = Text("GPSStatus");
        m_facts.status = status == "A" ? "Measured" : status == "V" ? "Not measured (void)" : status;
        m_facts.dilution = Number("GPSDOP");
        m_facts.error = Number("GPSHPositioningError");
        return std::move(m_facts);
    }

  private:
    const MetadataEntry* Find(const std::string& name) const {
        const MetadataEntry* exif = FindMetadata(m_set, "Exif.GPSInfo." + name);
        return exif != nullptr ? exif : FindMetadata(m_set, "Xmp.exif." + name);
    }
    std::string Text(const std::string& name) const {
        const MetadataEntry* entry = Find(name);
        return entry == nullptr ? std::string() : Trim(entry->raw);
    }
    // Of a comment with a character code.
    std::string Readable(const std::string& name) const {
        const MetadataEntry* entry = Find(name);
        if (entry == nullptr) return {};
        std::string text = Trim(entry->value);
        if (text.starts_with("charset=")) {
            const std::size_t blank = text.find(' ');
            text = blank == std::string::npos ? std::string() : Trim(text.substr(blank));
        }
        return text;
    }

    // "12/5", "2.4", "-3/1".
    static std::optional<double> Fraction(const std::string& text) {
        const std::size_t slash = text.find('/');
        double above = 0;
        double below = 1;
        if (!FromString(Trim(text.substr(0, slash)), above)) return std::nullopt;
        if (slash != std::string::npos && (!FromString(Trim(text.substr(slash + 1)), below) || below == 0))
            return std::nullopt;
        const double value = above / below;
        return std::isfinite(value) ? std::optional(value) : std::nullopt;
    }
    std::optional<double> Number(const std::string& name) const {
        const std::string text = Text(name);
        return text.empty() ? std::nullopt : Fraction(text);
    }

    std::string WhyNoPosition() const {
        const bool hasLatitude = Find("GPSLatitude") != nullptr;
        const bool hasLongitude = Find("GPSLongitude") != nullptr;
        if (!hasLatitude && !hasLongitude) return "The GPS fields name no position.";
        if (!hasLatitude || !hasLongitude) return "Only one of latitude and longitude is stated.";
        const bool isExif = FindMetadata(m_set, "Exif.GPSInfo.GPSLatitude") != nullptr;
        if (isExif && (Find("GPSLatitudeRef") == nullptr || Find("GPSLongitudeRef") == nullptr))
            return "Degrees are stated without their hemisphere.";
        return "What is stated cannot be read as a position: zero denominators, or degrees, minutes or seconds out of range.";
    }

    void ReadAltitude() {
        const auto altitude = Number("GPSAltitude");
        if (!altitude) return;
        const std::string reference = Text("GPSAltitudeRef");
        const bool isBelow = reference == "1" || reference == "3";
        m_facts.altitude = isBelow ? -std::abs(*altitude) : *altitude;
        m_facts.altitudeReference = reference == "1"   ? "below sea level"
                                    : reference == "2" ? "above the ellipsoid"
                                    : reference == "3" ? "below the ellipsoid"
                                    : reference == "0" ? "above sea level"
                                                       : "reference not stated";
    }

    std::optional<GpsDirection> Direction(const std::string& name) const {
        const auto degrees = Number(name);
        if (!degrees || *degrees < 0 || *degrees > 360) return std::nullopt;
        const std::string reference = Text(name + "Ref");
        return GpsDirection{*degrees, reference == "T"   ? "true north"
                                      : reference == "M" ? "magnetic north"
                                                         : "north, which one is not stated"};
    }

    void ReadSpeed() {
        const auto speed = Number("GPSSpeed");
        const std::string unit = Text("GPSSpeedRef");
        if (!speed || *speed < 0) return;
        if (unit == "K") m_facts.speed = *speed;
        if (unit == "M") m_facts.speed = *speed * kKilometresAMile;
        if (unit == "N") m_facts.speed = *speed * kKilometresAKnot;
    }

    void ReadTime() {
        const std::string date = Text("GPSDateStamp");
        const std::string time = Text("GPSTimeStamp");
        // XMP states both in one.
        if (const auto whole = ParseMetadataTime(time)) {
            m_facts.seconds = whole;
            m_facts.time = time;
            return;
        }
        std::string clock;
        const std::vector<std::string> parts = StringToVecString(time, " ", SplitMode::SkipEmpty);
        if (parts.size() == 3) {
            const auto hours = Fraction(parts[0]);
            const auto minutes = Fraction(parts[1]);
            const auto seconds = Fraction(parts[2]);
            const bool isTime = hours && minutes && seconds && *hours >= 0 && *hours < 24 && *minutes >= 0 &&
                                *minutes < 60 && *seconds >= 0 && *seconds < 61;
            char text[32];
            if (isTime) {
                std::snprintf(text, sizeof text, "%02d:%02d:%02d", static_cast<int>(*hours),
                              static_cast<int>(*minutes), static_cast<int>(*seconds));
                clock = text;
            }
        }
        m_facts.time = Trim(date + " " + clock);
        const bool isDate = ParseMetadataTime(date + " 00:00:00").has_value();
        if (!date.empty() && !isDate)
            m_facts.timeProblem = "What is stated as the date of the position is no date.";
        else if (!time.empty() && clock.empty())
            m_facts.timeProblem = "What is stated as the time of the position is no time of day.";
        if (!date.empty() && !clock.empty()) m_facts.seconds = ParseMetadataTime(date + " " + clock);
    }

    const MetadataSet& m_set;
    GpsFacts m_facts;
};

std::string Sexagesimal(double degrees, char positive, char negative) {
    // Rounded as a whole, so that there are never 60 seconds.
    const auto hundredths = std::llround(std::abs(degrees) * 360000);
    char text[64];
    std::snprintf(text, sizeof text, "%lld° %02lld' %02lld.%02lld\" %c", hundredths / 360000,
                  hundredths / 6000 % 60, hundredths / 100 % 60, hundredths % 100,
                  degrees < 0 ? negative : positive);
    return text;
}

}  // namespace

GpsFacts ReadGpsFacts(const MetadataSet& set) {
    return Reader(set).Run();
}

std::string GpsInDegrees(const GpsPosition& position) {
    return Sexagesimal(position.latitude, 'N', 'S') + ", " + Sexagesimal(position.longitude, 'E', 'W');
}
