#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// What a picture's file name tells of where it comes from. Names are given and changed by everybody: a hint, never more. The
// wide table is data/name-origins.tsv, compiled in; safe on any thread.

// Which online service gives its files such names. An expression is meant for the whole base name without extension, with regard
// to case; a name may fit several services. The quirks of the expressions ("[o|n]" takes a bar as well) belong to the table.
struct ServicePattern {
    const char* service;
    const char* pattern;  // extended regular expression
};
constexpr std::size_t kServicePatternCount = 11;
extern const ServicePattern kServicePatterns[kServicePatternCount];

// One row of the wide table; see its file.
struct NameOriginRow {
    std::string pattern;  // ECMAScript, of the base name without extension
    std::string origin;
    std::string
        kind;  // "device", "messenger", "service", "screenshot", "program", "copy"; "none": it tells nothing
    std::string sure;    // "high", "medium", "low"; "-" for kind none
    std::string time;    // "local:YMDhms": whose time, and what its groups are; "-" none
    std::string makers;  // parts of the makers' names that such names belong to, with "|"; "-" of any
    std::string source;  // where that is known from
};
// In the order of the file.
const std::vector<NameOriginRow>& GetNameOriginRows();

// A time in a name. seconds: since 1970, by the clock in UTC for isUtc, else as if the device's local clock ran in UTC.
struct NameTime {
    std::int64_t seconds = 0;
    bool isUtc = false;
    bool hasClock = false;  // otherwise it is a day alone, at 00:00:00
};

struct NameOrigin {
    NameOriginRow row;
    std::optional<NameTime> time;
};

struct NameReading {
    std::string stem;        // without folder and extension, valid UTF-8
    std::string copyNumber;  // " (2)" and the like behind it, passed over; "" none
    std::vector<NameOrigin>
        origins;  // what fits, the surest first; rows of kind none alone when there is nothing else
    std::vector<std::string> services;  // of kServicePatterns
    bool IsGeneric() const;             // a row of kind none fits, and nothing of more than low sureness
};

// name: a file name or path, as bytes. Names longer than 255 bytes give nothing.
NameReading ReadNameOrigin(const std::string& name);
