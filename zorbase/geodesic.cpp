#include "zorbase/geodesic.h"

#include <cmath>
#include <numbers>

namespace {

constexpr double kEquator = 6378137.0;  // metres
constexpr double kFlattening = 1 / 298.257223563;
constexpr double kPolar = kEquator * (1 - kFlattening);
constexpr double kRadians = std::numbers::pi / 180;
constexpr int kMaxRounds = 200;

bool IsPlace(double latitude, double longitude) {
    return std::abs(latitude) <= 90 && std::abs(longitude) <= 180;  // not for what is no number
}

}  // namespace

std::optional<Geodesic> FindGeodesic(double fromLatitude, double fromLongitude, double toLatitude,
                                     double toLongitude) {
    if (!IsPlace(fromLatitude, fromLongitude) || !IsPlace(toLatitude, toLongitude)) return std::nullopt;
    if (fromLatitude == toLatitude && fromLongitude == toLongitude) return Geodesic();
    // Latitudes on the auxiliary sphere.
    const double u1 = std::atan((1 - kFlattening) * std::tan(fromLatitude * kRadians));
    const double u2 = std::atan((1 - kFlattening) * std::tan(toLatitude * kRadians));
    const double sinU1 = std::sin(u1);
    const double cosU1 = std::cos(u1);
    const double sinU2 = std::sin(u2);
    const double cosU2 = std::cos(u2);
    const double longitude = std::remainder(toLongitude - fromLongitude, 360.0) * kRadians;
    double lambda = longitude;
    for (int round = 0; round < kMaxRounds; ++round) {
        const double across = cosU2 * std::sin(lambda);
        const double along = cosU1 * sinU2 - sinU1 * cosU2 * std::cos(lambda);
        const double sinSigma = std::hypot(across, along);
        if (sinSigma == 0) return Geodesic();
        const double cosSigma = sinU1 * sinU2 + cosU1 * cosU2 * std::cos(lambda);
        const double sigma = std::atan2(sinSigma, cosSigma);
        const double sinAlpha = cosU1 * cosU2 * std::sin(lambda) / sinSigma;
        const double cosSquared = 1 - sinAlpha * sinAlpha;
        const double middle = cosSquared < 1e-15 ? 0 : cosSigma - 2 * sinU1 * sinU2 / cosSquared;
        const double c = kFlattening / 16 * cosSquared * (4 + kFlattening * (4 - 3 * cosSquared));
        const double before = lambda;
        lambda = longitude + (1 - c) * kFlattening * sinAlpha *
                                 (sigma + c * sinSigma * (middle + c * cosSigma * (2 * middle * middle - 1)));
        if (std::abs(lambda) > std::numbers::pi + 1e-9) return std::nullopt;
        if (std::abs(lambda - before) > 1e-12) continue;
        const double square = cosSquared * (kEquator * kEquator - kPolar * kPolar) / (kPolar * kPolar);
        const double a = 1 + square / 16384 * (4096 + square * (-768 + square * (320 - 175 * square)));
        const double b = square / 1024 * (256 + square * (-128 + square * (74 - 47 * square)));
        const double correction =
            b * sinSigma *
            (middle + b / 4 *
                          (cosSigma * (2 * middle * middle - 1) -
                           b / 6 * middle * (4 * sinSigma * sinSigma - 3) * (4 * middle * middle - 3)));
        const double degrees = std::atan2(across, along) / kRadians;
        return Geodesic{kPolar * a * (sigma - correction), degrees < 0 ? degrees + 360 : degrees};
    }
    return std::nullopt;
}
