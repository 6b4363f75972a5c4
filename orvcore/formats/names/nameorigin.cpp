#include "orvcore/formats/names/nameorigin.h"

#include <algorithm>
#include <charconv>
#include <regex>
#include <string_view>

#include "zorbase/calendar.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/utf8.h"
#include "zorbase/zorexception.h"

const ServicePattern kServicePatterns[kServicePatternCount] = {
    {"Facebook", "^[0-9]+_[0-9]+_[0-9]+_[o|n]$"},
    {"Flickr", "^[0-9]+_[a-z0-9]+_[b|k|h|m|o|q|z]$"},
    {"Tumblr", "^tumblr_[a-zA-Z0-9]+_[0-9]{3,5}$"},
    {"Imgur", "^[0-9]* - [a-zA-Z0-9]{7,8}$"},
    {"Whatsapp", "^IMG-[0-9]{8}-WA[0-9]{4,}$"},
    {"Whatsapp", "^WhatsApp-Image-[0-9]{8}[ \\([0-9]*\\)*$"},
    {"Whatsapp", "^WhatsApp Image [0-9]{4}-[0-9]{2}-[0-9]{2} at [0-9]{2}.[0-9]{2}.[0-9]{2}$"},
    {"Instagram", "^[0-9]+_[0-9]+_[0-9]+_[o|n]$"},
    {"Tinypic", "^[a-z0-9]{7,8}$"},
    {"Telegram", "^[0-9]+_[0-9]{16,}$"},
    {"Telegram", "^photo[0-9]+$"},
};

namespace {

constexpr std::size_t kLongestName = 255;
constexpr std::string_view kRows =
#include "name-origins.inc"
    ;

struct Table {
    std::vector<NameOriginRow> rows;
    std::vector<std::regex> expressions;  // beside rows
    std::vector<std::regex> services;     // beside kServicePatterns
};

Table MakeTable() {
    Table table;
    const std::vector<std::string> lines = StringToVecString(std::string(kRows), "\n");
    for (std::size_t i = 1; i < lines.size(); ++i) {
        const std::vector<std::string> cells = StringToVecString(lines[i], "\t");
        if (cells.size() != 7) continue;
        table.rows.push_back({cells[0], cells[1], cells[2], cells[3], cells[4], cells[5], cells[6]});
        table.expressions.emplace_back(cells[0], std::regex::ECMAScript | std::regex::optimize);
    }
    for (const ServicePattern& pattern : kServicePatterns)
        table.services.emplace_back(pattern.pattern, std::regex::extended | std::regex::optimize);
    return table;
}

const Table& GetTable() {
    static const Table s_table = MakeTable();
    return s_table;
}

std::optional<std::int64_t> NumberOf(const std::string& text) {
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) return {};
    return number;
}

// What the groups of a match say; nothing when that is no time of 1990 to 2100.
std::optional<NameTime> TimeOf(const std::string& how, const std::smatch& match) {
    const std::size_t colon = how.find(':');
    if (colon == std::string::npos) return {};
    constexpr std::int64_t kFirst = 631152000;  // 1990-01-01
    constexpr std::int64_t kLast = 4102444800;  // 2100-01-01
    NameTime time;
    time.isUtc = how.compare(0, colon, "utc") == 0;
    CalendarTime calendar;
    const std::string_view letters = std::string_view(how).substr(colon + 1);
    std::optional<std::int64_t> seconds;
    for (std::size_t i = 0; i < letters.size() && i + 1 < match.size(); ++i) {
        const std::string text = match[i + 1].str();
        if (letters[i] == 'p') {
            const bool isAfternoon = text.find('P') != std::string::npos;
            if (!text.empty()) calendar.hour = calendar.hour % 12 + (isAfternoon ? 12 : 0);
            continue;
        }
        const auto number = NumberOf(text);
        if (!number) return {};
        const auto value = static_cast<int>(std::min<std::int64_t>(*number, 1000000));
        switch (letters[i]) {
            case 'Y':
                calendar.year = value;
                break;
            case 'M':
                calendar.month = value;
                break;
            case 'D':
                calendar.day = value;
                break;
            case 'h':
                calendar.hour = value;
                time.hasClock = true;
                break;
            case 'm':
                calendar.minute = value;
                break;
            case 's':
                calendar.second = value;
                break;
            default:  // 'V': thousandths of a second since 1970
                seconds = *number / 1000;
                time.hasClock = true;
        }
    }
    if (!seconds) seconds = SecondsOf(calendar);
    if (!seconds || *seconds < kFirst || *seconds >= kLast) return {};
    time.seconds = *seconds;
    return time;
}

int Rank(const NameOriginRow& row) {
    if (row.kind == "none") return 3;
    return row.sure == "high" ? 0 : row.sure == "medium" ? 1 : 2;
}

std::vector<NameOrigin> OriginsOf(const std::string& stem) {
    const Table& table = GetTable();
    std::vector<NameOrigin> origins;
    for (std::size_t i = 0; i < table.rows.size(); ++i) {
        std::smatch match;
        if (!std::regex_match(stem, match, table.expressions[i])) continue;
        NameOrigin origin{table.rows[i], TimeOf(table.rows[i].time, match)};
        // Digits in the place of a date that are none are another name.
        if (origin.row.time == "-" || origin.time) origins.push_back(std::move(origin));
    }
    std::stable_sort(origins.begin(), origins.end(),
                     [](const NameOrigin& a, const NameOrigin& b) { return Rank(a.row) < Rank(b.row); });
    return origins;
}

}  // namespace

const std::vector<NameOriginRow>& GetNameOriginRows() {
    return GetTable().rows;
}

bool NameReading::IsGeneric() const {
    const auto tells = [](const NameOrigin& origin) { return Rank(origin.row) < 2; };
    return std::none_of(origins.begin(), origins.end(), tells) &&
           std::any_of(origins.begin(), origins.end(),
                       [](const NameOrigin& origin) { return origin.row.kind == "none"; });
}

NameReading ReadNameOrigin(const std::string& name) {
    NameReading reading;
    reading.stem = ToValidUtf8(PathStem(PathName(name)));
    if (reading.stem.empty() || reading.stem.size() > kLongestName) return reading;
    reading.origins = OriginsOf(reading.stem);
    if (reading.origins.empty()) {
        static const std::regex s_copy(
            R"(^(.+?)( ?\([0-9]{1,3}\)| - Copy(?: \([0-9]{1,3}\))?|[~ ][0-9]{1,2})$)");
        std::smatch match;
        if (std::regex_match(reading.stem, match, s_copy)) {
            reading.origins = OriginsOf(match[1].str());
            if (!reading.origins.empty()) reading.copyNumber = match[2].str();
        }
    }
    const Table& table = GetTable();
    for (std::size_t i = 0; i < kServicePatternCount; ++i) {
        const char* service = kServicePatterns[i].service;
        if (std::find(reading.services.begin(), reading.services.end(), service) == reading.services.end() &&
            std::regex_match(reading.stem, table.services[i]))
            reading.services.emplace_back(service);
    }
    return reading;
}
