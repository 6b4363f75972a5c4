#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "orvcore/formats/consistency/rulehelp.h"
#include "zorbase/calendar.h"
#include "zorbase/text.h"

// Times, each against the others. Clocks of cameras show local time without a zone; programs write some times in another zone.

namespace {

constexpr std::int64_t kQuarterHour = 900;
constexpr std::int64_t kLargestZones = 26 * 3600;  // from the most western clock to the most eastern one
constexpr std::int64_t kMinute = 60;

// Whether two clocks may have shown the same moment in different zones: apart by quarters of an hour, give or take `slack` seconds.
bool IsSameInSomeZone(std::int64_t a, std::int64_t b, std::int64_t slack) {
    const std::int64_t apart = std::abs(a - b);
    if (apart > kLargestZones + slack) return false;
    const std::int64_t rest = apart % kQuarterHour;
    return rest <= slack || kQuarterHour - rest <= slack;
}

struct FoundTime {
    std::int64_t seconds = 0;
    std::string text;
    std::size_t offset = 0;
};

// Times written as "2004:09:04 19:52:06" anywhere in a note.
void FindWrittenTimes(ByteSpan note, std::size_t at, std::vector<FoundTime>& times) {
    constexpr std::size_t kLength = 19;
    for (std::size_t i = 0; i + kLength <= note.size() && times.size() < 100; ++i) {
        if (note[i] < '1' || note[i] > '2' || note[i + 10] != ' ' || note[i + 13] != ':' ||
            note[i + 16] != ':')
            continue;
        const std::string text = TextOf(Slice(note, i, kLength));
        if (const auto seconds = ParseMetadataTime(text)) times.push_back({*seconds, text, at + i});
    }
}

// Date and time as bytes: year (two), month, day; hour, minute, second.
void FindPentaxTime(const ConsistencyInput& input, std::vector<FoundTime>& times) {
    const std::vector<std::string> date =
        StringToVecString(ValueOf(input, "Exif.Pentax.Date"), " ", SplitMode::SkipEmpty);
    const std::vector<std::string> time =
        StringToVecString(ValueOf(input, "Exif.Pentax.Time"), " ", SplitMode::SkipEmpty);
    if (date.size() != 4 || time.size() < 3) return;
    int number[7] = {};
    for (std::size_t i = 0; i < 7; ++i)
        if (!FromString(i < 4 ? date[i] : time[i - 4], number[i])) return;
    CalendarTime moment;
    moment.year = number[0] * 256 + number[1];
    moment.month = number[2];
    moment.day = number[3];
    moment.hour = number[4];
    moment.minute = number[5];
    moment.second = number[6];
    if (const auto seconds = SecondsOf(moment))
        times.push_back({*seconds, Join(date, " ") + " / " + Join(time, " "),
                         OffsetOf(input, "Exif.Pentax.Date").value_or(0)});
}

// Trail cameras whose note is a row of 16-bit words: 0xF101, and from the eleventh on second, minute, hour, month, day, year.
void FindTrailCameraTime(ByteSpan note, std::size_t at, bool little, std::vector<FoundTime>& times) {
    const auto word = [&](std::size_t index) {
        return static_cast<int>(little ? Little16(note, 2 * index) : Big16(note, 2 * index));
    };
    if (note.size() < 40 || word(0) != 0xF101) return;
    CalendarTime moment;
    moment.second = word(11);
    moment.minute = word(12);
    moment.hour = word(13);
    moment.month = word(14);
    moment.day = word(15);
    moment.year = word(16);
    if (const auto seconds = SecondsOf(moment))
        times.push_back({*seconds,
                         ToString(moment.year) + "-" + ToString(moment.month) + "-" + ToString(moment.day) +
                             " " + ToString(moment.hour) + ":" + ToString(moment.minute) + ":" +
                             ToString(moment.second),
                         at + 22});
}

// Minutes east of UTC of "+02:00"; nothing for anything else.
std::optional<int> ZoneMinutes(const std::string& text) {
    int hours = 0;
    int minutes = 0;
    if (text.size() != 6 || (text[0] != '+' && text[0] != '-') || text[3] != ':') return std::nullopt;
    for (const std::size_t at : {1U, 2U, 4U, 5U})
        if (std::isdigit(static_cast<unsigned char>(text[at])) == 0) return std::nullopt;
    FromString(text.substr(1, 2), hours);
    FromString(text.substr(4, 2), minutes);
    return (text[0] == '-' ? -1 : 1) * (hours * 60 + minutes);
}

std::string ZoneOf(const ConsistencyInput& input) {
    const std::string zone = ValueOf(input, "Exif.Photo.OffsetTimeOriginal");
    return zone.empty() ? ValueOf(input, "Exif.Photo.0x9011") : zone;
}

}  // namespace

namespace rules {

RuleAnswer TakenAfterChanged(const ConsistencyInput& input) {
    const MetadataFacts exif = input.facts.FromExif();
    const auto taken = ParseMetadataTime(exif.dateTimeOriginal);
    const auto changed = ParseMetadataTime(exif.dateTime);
    if (!taken || !changed) return NotStated();
    return Unless(*taken > *changed,
                  "Changed before it was taken: the time of taking (" + Quote(exif.dateTimeOriginal) +
                      ") is later than the time of the last change (" + Quote(exif.dateTime) + ").",
                  OffsetOf(input, "Exif.Image.DateTime"));
}

RuleAnswer ChangedAfterTaken(const ConsistencyInput& input) {
    const MetadataFacts exif = input.facts.FromExif();
    const auto taken = ParseMetadataTime(exif.dateTimeOriginal);
    const auto changed = ParseMetadataTime(exif.dateTime);
    if (!taken || !changed) return NotStated();
    return Unless(*changed - *taken > kWritingSeconds,
                  "Changed after it was taken: the time of the last change (" + Quote(exif.dateTime) +
                      ") is later than the time of taking (" + Quote(exif.dateTimeOriginal) +
                      "); something wrote the file again.",
                  OffsetOf(input, "Exif.Image.DateTime"));
}

RuleAnswer Digitized(const ConsistencyInput& input) {
    const MetadataFacts exif = input.facts.FromExif();
    const auto taken = ParseMetadataTime(exif.dateTimeOriginal);
    const auto digitized = ParseMetadataTime(exif.dateTimeDigitized);
    // What many phones write for a time that they do not know.
    const bool isUnknown = exif.dateTimeDigitized == "2002:12:08 12:00:00";
    if (!taken || !digitized || isUnknown) return NotStated();
    return Unless(std::abs(*taken - *digitized) > kWritingSeconds,
                  "The times of taking and of digitizing differ: " + Quote(exif.dateTimeOriginal) + " and " +
                      Quote(exif.dateTimeDigitized) + ".",
                  OffsetOf(input, "Exif.Photo.DateTimeDigitized"));
}

RuleAnswer SubSeconds(const ConsistencyInput& input) {
    static constexpr const char* kKeys[][2] = {
        {"Exif.Image.DateTime", "Exif.Photo.SubSecTime"},
        {"Exif.Photo.DateTimeOriginal", "Exif.Photo.SubSecTimeOriginal"},
        {"Exif.Photo.DateTimeDigitized", "Exif.Photo.SubSecTimeDigitized"}};
    int given = 0;
    std::optional<std::size_t> offset;
    for (const auto& [time, fraction] : kKeys) {
        if (ValueOf(input, time).empty()) return NotStated();
        if (ValueOf(input, fraction).empty()) continue;
        ++given;
        offset = OffsetOf(input, fraction);
    }
    if (given == 0) return NotStated();
    return Unless(given < 3,
                  "Fractions of a second are given for " + ToString(given) + " of the three times.", offset);
}

RuleAnswer TakenInXmp(const ConsistencyInput& input) {
    const MetadataFacts exif = input.facts.FromExif();
    const auto taken = ParseMetadataTime(exif.dateTimeOriginal);
    if (!taken) return NotStated();
    RuleAnswer answer = NotStated();
    for (const char* key : {"Xmp.exif.DateTimeOriginal", "Xmp.photoshop.DateCreated"}) {
        const std::string text = ValueOf(input, key);
        const auto other = ParseMetadataTime(text);
        if (!other) continue;
        if (!IsSameInSomeZone(*taken, *other, kMinute))
            return Broken(
                "EXIF and XMP state the time of taking differently: " + Quote(exif.dateTimeOriginal) +
                    " and " + Quote(text) + ", which no time zones explain.",
                OffsetOf(input, key));
        answer = Holds();
    }
    return answer;
}

RuleAnswer ChangedInXmp(const ConsistencyInput& input) {
    const MetadataFacts exif = input.facts.FromExif();
    const auto changed = ParseMetadataTime(exif.dateTime);
    const std::string text = ValueOf(input, "Xmp.xmp.ModifyDate");
    const auto other = ParseMetadataTime(text);
    if (!changed || !other) return NotStated();
    return Unless(!IsSameInSomeZone(*changed, *other, kWritingSeconds),
                  "EXIF and XMP state the time of the last change differently: " + Quote(exif.dateTime) +
                      " and " + Quote(text) + ", which no time zones explain.",
                  OffsetOf(input, "Xmp.xmp.ModifyDate"));
}

RuleAnswer TakenInIptc(const ConsistencyInput& input) {
    const MetadataFacts exif = input.facts.FromExif();
    const auto taken = ParseMetadataTime(exif.dateTimeOriginal);
    const std::string text = ValueOf(input, "Iptc.Application2.DateCreated");
    const auto day = ParseMetadataTime(text + " 12:00:00");
    if (!taken || !day) return NotStated();
    return Unless(std::abs(*taken / kSecondsADay - *day / kSecondsADay) > 1,
                  "EXIF states that the picture was taken at " + Quote(exif.dateTimeOriginal) +
                      ", IPTC names the day " + Quote(text) + ".",
                  OffsetOf(input, "Iptc.Application2.DateCreated"));
}

RuleAnswer TakenInNote(const ConsistencyInput& input) {
    const MetadataFacts exif = input.facts.FromExif();
    const auto taken = ParseMetadataTime(exif.dateTimeOriginal);
    if (!taken || input.metadata == nullptr || !input.metadata->places.makerNote) return NotStated();
    const MetadataPlaces& places = input.metadata->places;
    const ByteSpan note = Slice(places.exifBytes, places.makerNote->offset, places.makerNote->size);
    const std::size_t at = *places.exif + places.makerNote->offset;
    std::vector<FoundTime> times;
    FindPentaxTime(input, times);
    FindTrailCameraTime(note, at, places.tiff.little, times);
    if (times.empty()) FindWrittenTimes(note, at, times);
    if (times.empty()) return NotStated();
    const bool agrees = std::any_of(times.begin(), times.end(), [&](const FoundTime& time) {
        return IsSameInSomeZone(time.seconds, *taken, kWritingSeconds);
    });
    if (agrees) return Holds();
    return Broken("EXIF states that the picture was taken at " + Quote(exif.dateTimeOriginal) +
                      ", the camera's own note holds the time " + Quote(times.front().text) + ".",
                  times.front().offset);
}

RuleAnswer ZoneOfFix(const ConsistencyInput& input) {
    const auto taken = ParseMetadataTime(input.facts.FromExif().dateTimeOriginal);
    const std::string text = ZoneOf(input);
    const auto zone = ZoneMinutes(text);
    if (!taken || !zone || input.gps == nullptr || !input.gps->seconds) return NotStated();
    const std::int64_t apart = std::abs(*taken - std::int64_t{*zone} * 60 - *input.gps->seconds);
    return Unless(apart > 3600,
                  "By its clock and zone (" + Quote(input.facts.dateTimeOriginal) + ", " + Quote(text) +
                      ") the picture was taken more than an hour apart from the time of the position, " +
                      Quote(input.gps->time) + " UTC.",
                  OffsetOf(input, "Exif.GPSInfo.GPSTimeStamp"));
}

RuleAnswer ClockSet(const ConsistencyInput& input) {
    const MetadataFacts exif = input.facts.FromExif();
    if (!ParseMetadataTime(exif.dateTimeOriginal)) return NotStated();
    int year = 0;
    FromString(exif.dateTimeOriginal.substr(0, 4), year);
    const bool isStart = exif.dateTimeOriginal.substr(4, 9) == ":01:01 00";
    return Unless(year < 1993 || isStart,
                  "The time of taking, " + Quote(exif.dateTimeOriginal) +
                      ", is one that a clock shows that was never set.",
                  OffsetOf(input, "Exif.Photo.DateTimeOriginal"));
}

RuleAnswer ZoneOfPlace(const ConsistencyInput& input) {
    const std::string text = ZoneOf(input);
    const auto zone = ZoneMinutes(text);
    if (!zone || input.gps == nullptr || !input.gps->position) return NotStated();
    const double longitude = input.gps->position->longitude;
    const double apart = std::abs(*zone / 60.0 - longitude / 15.0);
    return Unless(std::min(apart, 24 - apart) > 4,
                  "The clock's zone " + Quote(text) + " is not that of the position's longitude, " +
                      ToString(static_cast<int>(longitude)) + " degrees.",
                  OffsetOf(input, "Exif.Photo.OffsetTimeOriginal"));
}

}  // namespace rules
