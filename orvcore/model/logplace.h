#pragma once

#include <string>
#include <vector>

// Where in a log something was written down. Whoever keeps this can later tell that nothing before it was changed.
struct OrvLogPlace {
    std::string log;     // name of the file, "" when no log could be written
    int line = 0;        // counted from 1
    std::string sha256;  // of that line, as it stands in the log

    bool operator==(const OrvLogPlace&) const = default;
};

// "orvane-000012.log, line 45, SHA-256 …"; "" for an empty place.
std::string LogPlaceText(const OrvLogPlace& place);
// Every such text in a file of ours: a report, say.
std::vector<OrvLogPlace> FindLogPlaces(const std::string& text);
