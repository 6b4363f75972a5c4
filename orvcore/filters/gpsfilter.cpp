#include <cmath>
#include <cstdio>

#include "orvcore/filter/filter.h"
#include "orvcore/filters/consistencyoffile.h"
#include "orvcore/filters/filterlist.h"
#include "zorbase/geodesic.h"
#include "zorbase/text.h"

namespace {

constexpr const char* kNotStated = "Not stated";

std::string Told(const std::string& text) {
    return text.empty() ? std::string(kNotStated) : text;
}

std::string Told(const std::optional<double>& value, int digits, const std::string& unit) {
    return value ? FixedText(*value, digits) + unit : std::string(kNotStated);
}

std::string Told(const std::optional<GpsDirection>& direction) {
    if (!direction) return kNotStated;
    return FixedText(direction->degrees, 1) + "° (from " + direction->reference + ")";
}

const char* PointOfCompass(double degrees) {
    static constexpr const char* kPoints[] = {"north", "north-east", "east", "south-east",
                                              "south", "south-west", "west", "north-west"};
    return kPoints[static_cast<std::size_t>(std::lround(degrees / 45)) % 8];
}

// A position as a slot's result keeps it for comparing.
std::optional<GpsPosition> PositionOf(const OrvSlotResult* slot) {
    const Parameter* kept = slot != nullptr ? slot->output.Find("kept") : nullptr;
    if (kept == nullptr || !kept->IsSet()) return std::nullopt;
    const std::string& text = kept->Get<std::string>();
    const std::size_t blank = text.find(' ');
    GpsPosition position;
    if (blank == std::string::npos || !FromString(text.substr(0, blank), position.latitude) ||
        !FromString(text.substr(blank + 1), position.longitude))
        return std::nullopt;
    return position;
}

class GpsFilter : public OrvFilter {
  public:
    GpsFilter();
    int GetVersion() const override { return 2; }
    std::string WhyNot(const OrvLoadedFile& file, const VecParameter&) const override {
        return IsReadableFormat(file.GetInfo().format) ? "" : "Not a picture";
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override;
    void Merge(const OrvSlotResult* evidence, const OrvSlotResult* reference,
               VecParameter& output) const override;
};

GpsFilter::GpsFilter() : OrvFilter("GPS", "gps") {
    Describe(
        "File",
        "Where and when the picture was taken by what its metadata say: position, altitude, direction of view, time of the fix, datum, "
        "speed, and how good the fix was; with a reference, how far and in which direction its position lies. Tools > Show Image "
        "Location On Google Maps opens a map. It cannot see: a position is written as easily as it is read, and indoors or just after "
        "switching on it may be an old one. Distances hold for positions in WGS 84, which nearly all devices use.");
    using enum ParameterType;
    SetParameters({}, {},
                  {
                      Parameter::Output(OutputString, "position", "Position (degrees)"),
                      Parameter::Output(OutputString, "sexagesimal", "Position"),
                      Parameter::Output(OutputString, "source", "Stated By"),
                      Parameter::Output(OutputString, "altitude", "Altitude"),
                      Parameter::Output(OutputString, "view", "Direction Of View"),
                      Parameter::Output(OutputString, "movement", "Direction Of Movement"),
                      Parameter::Output(OutputString, "speed", "Speed"),
                      Parameter::Output(OutputString, "bearing", "Bearing Of The Destination"),
                      Parameter::Output(OutputString, "time", "Time Of The Fix (UTC)"),
                      Parameter::Output(OutputString, "datum", "Datum"),
                      Parameter::Output(OutputString, "method", "Method"),
                      Parameter::Output(OutputString, "quality", "Quality Of The Fix"),
                      Parameter::Output(OutputString, "area", "Name Of The Place"),
                      Parameter::Output(OutputString, "distance", "Distance To The Reference"),
                      Parameter::Output(OutputString, "direction", "Direction To The Reference"),
                      Parameter::Output(OutputText, "findings", "What Deserves A Look"),
                      Parameter::Output(OutputString, "kept", "Position For Comparing").SetHiddenFromGui(),
                  });
}

void GpsFilter::Compute(const OrvLoadedFile& file, const VecParameter&, const OrvJob& job,
                        OrvSlotResult& result) const {
    const auto parts = GetConsistencyParts(file);
    const GpsFacts& gps = parts->gps;
    if (!gps.isPresent) {
        const bool isRead = parts->metadata.set.reading == MetadataReading::Whole;
        return result.SayNothing(isRead ? "No GPS fields" : "The metadata could not be read as a whole");
    }
    result.Set("position", gps.position ? GpsToText(*gps.position) : gps.whyNoPosition);
    result.Set("sexagesimal", gps.position ? GpsInDegrees(*gps.position) : std::string(kNotStated));
    result.Set("source", gps.position ? gps.position->source : std::string("-"));
    result.Set("altitude", Told(gps.altitude, 1, " m, " + gps.altitudeReference));
    result.Set("view", Told(gps.imageDirection));
    result.Set("movement", Told(gps.track));
    result.Set("speed", Told(gps.speed, 1, " km/h"));
    result.Set("bearing", Told(gps.destination));
    result.Set("time", Told(gps.time));
    result.Set("datum", Told(gps.datum));
    result.Set("method", Told(gps.method));
    std::vector<std::string> quality;
    for (const std::string& text :
         {gps.status, gps.dimensions, gps.satellites.empty() ? std::string() : "satellites " + gps.satellites,
          gps.dilution ? "dilution of precision " + FixedText(*gps.dilution, 1) : std::string(),
          gps.error ? "within " + FixedText(*gps.error, 1) + " m" : std::string()})
        if (!text.empty()) quality.push_back(text);
    result.Set("quality", Told(Join(quality, ", ")));
    result.Set("area", Told(gps.area));
    if (gps.position)
        result.Set("kept", ToString(gps.position->latitude) + " " + ToString(gps.position->longitude));
    const ConsistencyInput facts = ConsistencyInputOf(file, *parts, false, job);
    result.Set("findings", ConsistencyLines(FindInconsistencies(facts, {RuleGroup::Position})));
}

void GpsFilter::Merge(const OrvSlotResult* evidence, const OrvSlotResult* reference,
                      VecParameter& output) const {
    OrvFilter::Merge(evidence, reference, output);
    output.Find("kept")->Reset();
    const auto from = PositionOf(evidence);
    const auto to = PositionOf(reference);
    if (!from || !to) return;
    const auto way = FindGeodesic(from->latitude, from->longitude, to->latitude, to->longitude);
    std::string distance = "The positions lie nearly opposite each other on the globe";
    std::string direction = "Without meaning";
    if (way) {
        distance =
            way->metres < 10000 ? FixedText(way->metres, 1) + " m" : FixedText(way->metres / 1000, 2) + " km";
        if (way->metres >= 0.1)
            direction = FixedText(way->azimuth, 1) + "° (" + PointOfCompass(way->azimuth) + ")";
    }
    output.Find("distance")->SetValue(distance);
    output.Find("direction")->SetValue(direction);
}

}  // namespace

std::unique_ptr<OrvFilter> MakeGpsFilter() {
    return std::make_unique<GpsFilter>();
}
