#pragma once

#include <optional>

// The shortest way between two places on the WGS 84 ellipsoid.
struct Geodesic {
    double metres = 0;
    // Degrees clockwise from true north, 0 up to 360: the way's direction where it starts. Without meaning for distances below a few
    // centimetres.
    double azimuth = 0;
};

// Vincenty's inverse formula (Survey Review 23, 1975), right to a millimetre. Latitudes within -90..90, longitudes within -180..180
// degrees, north and east positive. Nothing for other places, and for places almost opposite each other on the globe, where the formula
// finds no answer. Any thread.
std::optional<Geodesic> FindGeodesic(double fromLatitude, double fromLongitude, double toLatitude,
                                     double toLongitude);
