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
        // By numerical integration along the ellipsoid with forty digits.
        {"Sydney to Paris", {-33.9, 151.2}, {48.85, 2.35}, 16959654.807573, 312.5058412184, 1e-4},
        {"New York to London", {40.6, -73.8}, {51.6, -0.5}, 5551759.4003187, 51.19888284558, 1e-4},
        {"and back", {51.6, -0.5}, {40.6, -73.8}, 5551759.4003187, 287.8217767355, 1e-4},
        {"southwards", {10, 20}, {-65, 170}, 13473844.012142, 165.6950936542, 1e-4},
        {"from the equator", {0, 0}, {60, 120}, 11621023.568061, 26.60568872172, 1e-4},
        {"over the pole", {70, 10}, {71, -160}, 4337177.3770225, 354.8287448908, 1e-4},
    };
    for (const auto& line : lines) {
        const auto way = FindGeodesic(line.from[0], line.from[1], line.to[0], line.to[1]);
        ASSERT_TRUE(way.has_value()) << line.what;
        EXPECT_NEAR(way->metres, line.metres, line.tolerance) << line.what;
        EXPECT_NEAR(way->azimuth, line.azimuth, line.tolerance > 1e-4 ? 1e-5 : 1e-9) << line.what;
    }
    EXPECT_EQ(FindGeodesic(48, 11, 48, 11)->metres, 0);
    EXPECT_NEAR(FindGeodesic(90, 0, 90, 120)->metres, 0, 1e-6) << "every longitude meets at the pole";
    EXPECT_FALSE(FindGeodesic(0, 0, 0.3, 179.9).has_value()) << "nearly opposite each other";
    const double places[][4] = {
        {91, 0, 0, 0}, {-91, 0, 0, 0}, {0, 181, 0, 0}, {0, 0, 90.1, 0}, {0, 0, 0, -180.1}};
    for (const auto& p : places) EXPECT_FALSE(FindGeodesic(p[0], p[1], p[2], p[3]).has_value()) << p[0];
    EXPECT_TRUE(FindGeodesic(90, 180, -90, -180).has_value()) << "the ends belong to it";
    EXPECT_FALSE(FindGeodesic(NAN, 0, 0, 0).has_value());
}
