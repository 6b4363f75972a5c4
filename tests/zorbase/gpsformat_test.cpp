#include "zorbase/gpsformat.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

TEST(GpsFormat, ReadsTheFormsThatMetadataUses) {
    const double kTower = 48 + 51 / 60.0 + 29.91 / 3600;
    const std::pair<const char*, double> cases[] = {
        {"48.8583", 48.8583},
        {"-48.8583", -48.8583},
        {"+48.8583", 48.8583},
        {"48.8583 S", -48.8583},
        {"48 51 29.91 N", kTower},
        {"48deg 51' 29.91\" N", kTower},
        {"48\xC2\xB0"
         "51\xE2\x80\xB2"
         "29.91\xE2\x80\xB3W",
         -kTower},
        {"N 48 51 29.91", kTower},
        {"48/1 51/1 2991/100 N", kTower},
        {"48/1, 51/1, 2991/100", kTower},
        {"48,51.4985N", kTower},
        {"2,17.667E", 2 + 17.667 / 60},
        {"2 deg 17 min 40 sec s", -(2 + 17 / 60.0 + 40 / 3600.0)},
        {"180", 180},
        {"90 N", 90},
        {"0", 0},
    };
    for (const auto& [text, degrees] : cases)
        EXPECT_NEAR(GPSFormat::ConvertToDeg(text), degrees, 1e-12) << text;
}

TEST(GpsFormat, RefusesWhatIsNoPositionPart) {
    for (const char* text :
         {"",         " ",     "N",      "unknown",    "48,8583", "48 60 0", "48 51 60",
          "48 -51 0", "48/0",  "48/",    "181",        "91 N",    "inf",     "nan",
          "1e9",      "-48 S", "N 48 S", "48 51 29 3", "48'",     "48 N 51", "48.8583 2.2945 N x",
          "0x30"}) {
        EXPECT_TRUE(std::isnan(GPSFormat::ConvertToDeg(text))) << text;
    }
}

}  // namespace
