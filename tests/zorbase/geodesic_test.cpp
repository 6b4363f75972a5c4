#include "zorbase/geodesic.h"

#include <gtest/gtest.h>

#include <cmath>

TEST(Geodesic, DistanceAndDirectionOfKnownLines) {
    const struct {
        const char* what;
        double from[2], to[2];
        double metres, azimuth, tolerance;
    } lines[] = {
        // Geoscience Australia's test line, on an ellipsoid that differs by a tenth of a millimetre.
        {"Flinders Peak to Buninyong",
         {-37.951033416, 144.424867889},
         {-37.652821139, 143.926495528},
         54972.271,
         306.868158,
         0.01},
        {"a degree of the equator", {0, 10}, {0, 11}, 111319.4908, 90, 0.001},
        {"a quarter of a meridian", {0, 0}, {90, 0}, 10001965.729, 0, 0.01},
        {"across the date line, westwards", {0, -179.5}, {0, 179.5}, 111319.4908, 270, 0.001},
        {"one metre", {48, 11}, {48.00000899, 11}, 0.9997, 0, 0.01},
    };
    for (const auto& line : lines) {
        const auto way = FindGeodesic(line.from[0], line.from[1], line.to[0], line.to[1]);
        ASSERT_TRUE(way.has_value()) << line.what;
        EXPECT_NEAR(way->metres, line.metres, line.tolerance) << line.what;
        EXPECT_NEAR(way->azimuth, line.azimuth, 1e-5) << line.what;
    }
    EXPECT_EQ(FindGeodesic(48, 11, 48, 11)->metres, 0);
    EXPECT_NEAR(FindGeodesic(90, 0, 90, 120)->metres, 0, 1e-6) << "every longitude meets at the pole";
    EXPECT_FALSE(FindGeodesic(0, 0, 0.3, 179.9).has_value()) << "nearly opposite each other";
    EXPECT_FALSE(FindGeodesic(91, 0, 0, 0).has_value());
    EXPECT_FALSE(FindGeodesic(NAN, 0, 0, 0).has_value());
}
