#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "orvcore/formats/metadata.h"

// What the metadata say of the place where a picture was taken. Texts come from the file and are hostile.

struct GpsDirection {
    double degrees = 0;     // 0 up to 360, clockwise from north
    std::string reference;  // "true north", "magnetic north", "north, which one is not stated"
};

struct GpsFacts {
    bool isPresent = false;  // at least one GPS field, in EXIF or XMP
    std::optional<GpsPosition> position;
    std::string whyNoPosition;       // a sentence where fields are there but no position follows from them
    std::optional<double> altitude;  // metres, negative below the reference
    std::string altitudeReference;   // "above sea level", "below sea level", "above the ellipsoid"...
    std::optional<GpsDirection> imageDirection;
    std::optional<GpsDirection> track;        // the receiver's own movement
    std::optional<GpsDirection> destination;  // bearing of a destination
    std::optional<double> speed;              // km/h
    std::string time;  // of the fix, UTC: "2016:08:28 14:05:07", either part may be missing
    std::optional<std::int64_t> seconds;  // of it, since 1970; only where date and time are stated
    std::string timeProblem;              // a sentence where date or time are stated and are none
    std::string datum;
    std::string method;      // "GPS", "NETWORK"...
    std::string dimensions;  // "3-dimensional", "2-dimensional"
    std::string satellites;
    std::string status;              // "Measured", "Interpolated (void)"
    std::optional<double> dilution;  // of precision
    std::optional<double> error;     // horizontal positioning error, metres
    std::string area;                // name of the place
};

// From the entries of a set; EXIF counts before XMP, group by group. A value whose denominator is zero, or that lies outside its range,
// counts as not stated. Pure.
GpsFacts ReadGpsFacts(const MetadataSet& set);

// "48° 51' 29.88\" N, 2° 17' 40.20\" W".
std::string GpsInDegrees(const GpsPosition& position);
