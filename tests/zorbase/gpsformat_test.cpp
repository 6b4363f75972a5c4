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
        {"48 degrees 51 min 29.91 sec", kTower},
        {"48\xC2\xBA"
         "51\xE2\x80\x99"
         "29.91\xE2\x80\x9D",
         kTower},
        {"48;51;29.91''", kTower},
        {"48:51:29.91 n", kTower},
        {"\t 48.5\te", 48.5},
        {"w48.5", -48.5},
        {".5", 0.5},
        {"N  48 30", 48.5},
        {"48 59.999 59.999", 48 + 59.999 / 60 + 59.999 / 3600},
        {"180", 180},
        {"-180", -180},
        {"180 E", 180},
        {"90 S", -90},
        {"90 N", 90},
        {"0", 0},
    };
    for (const auto& [text, degrees] : cases)
        EXPECT_NEAR(GPSFormat::ConvertToDeg(text), degrees, 1e-12) << text;
}

TEST(GpsFormat, RefusesWhatIsNoPositionPart) {
    for (const char* text : {"",
                             " ",
                             "N",
                             "unknown",
                             "48,8583",
                             "48 60 0",
                             "48 51 60",
                             "48 -51 0",
                             "48/0",
                             "48/",
                             "181",
                             "91 N",
                             "inf",
                             "nan",
                             "90.1 S",
                             "180.1 W",
                             "180 0 1",
                             "48 N N",
                             "+48 N",
                             "4\xC2",
                             "48 51 29 \xC2\xB0",
                             "48 min",
                             "48,, 51",
                             "- 48",
                             "1e9",
                             "-48 S",
                             "N 48 S",
                             "48 51 29 3",
                             "48'",
                             "48 N 51",
                             "48.8583 2.2945 N x",
                             "0x30"}) {
        EXPECT_TRUE(std::isnan(GPSFormat::ConvertToDeg(text))) << text;
    }
    EXPECT_TRUE(std::isnan(GPSFormat::ConvertToDeg(std::string(400, '9')))) << "beyond every number";
}

}  // namespace
