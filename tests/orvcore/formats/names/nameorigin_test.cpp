#include "orvcore/formats/names/nameorigin.h"

#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "orvcore/formats/names/camerasizes.h"
#include "tests/orvcore/formats/formatsupport.h"
#include "zorbase/calendar.h"
#include "zorbase/text.h"

namespace {

// The surest origin; "" none, "no origin" for a name that anything could have.
std::string OriginOf(const std::string& name) {
    const NameReading reading = ReadNameOrigin(name);
    if (reading.IsGeneric()) return "no origin";
    return reading.origins.empty() ? std::string() : reading.origins.front().row.origin;
}

}  // namespace

TEST(NameOrigins, EveryRowIsWhole) {
    const std::set<std::string> kinds = {"device",  "messenger", "service", "screenshot",
                                         "program", "copy",      "none"};
    EXPECT_GT(GetNameOriginRows().size(), 50U);
    for (const NameOriginRow& row : GetNameOriginRows()) {
        EXPECT_TRUE(kinds.contains(row.kind)) << row.pattern;
        EXPECT_TRUE(row.sure == "high" || row.sure == "medium" || row.sure == "low" ||
                    (row.sure == "-" && row.kind == "none"))
            << row.pattern;
        EXPECT_FALSE(row.origin.empty() || row.source.empty()) << row.pattern;
        EXPECT_TRUE(row.pattern.starts_with("^") && row.pattern.ends_with("$")) << row.pattern;
        // Every letter of the time needs a group, or a time could never be read.
        const std::size_t letters = row.time == "-" ? 0 : row.time.size() - row.time.find(':') - 1;
        EXPECT_GE(std::regex(row.pattern).mark_count(), letters) << row.pattern;
    }
}

TEST(NameOrigins, AreToldByTheName) {
    const struct {
        const char* name;
        const char* origin;  // its beginning
    } kCases[] = {
        {"IMG-20170628-WA0003.jpeg", "WhatsApp"},
        {"/a/folder/IMG-20170628-WA0003.jpeg", "WhatsApp"},
        {"IMG-20170628-WA0003 (2).jpeg", "WhatsApp"},
        {"IMG-20171328-WA0003.jpeg", ""},  // no such month
        {"WhatsApp Image 2023-01-05 at 10.30.45 PM(1).jpeg", "WhatsApp"},
        {"signal-2021-03-04-15-16-17-123.jpg", "Signal"},
        {"DSCN0001.JPG", "Nikon Coolpix"},
        {"RSCN0001.JPG", "Nikon Coolpix, copy cut"},
        {"IMG_1234.JPG", "Canon, iPhone"},
        {"IMG_20170630_140333.jpg", "Camera of an Android"},
        {"Screenshot 2024-01-15 103045.png", "Screenshot of Windows"},
        {"Screen Shot 2024-01-15 at 1.30.45 PM.png", "Screenshot of macOS"},
        {"1234.jpg", "no origin"},
        {"image (3).png", "no origin"},
        {"12345678.jpg", "no origin"},
        {"d41d8cd98f00b204e9800998ecf8427e.jpg", "no origin"},
        {"holiday-in-paris.jpg", ""},
        {"", ""},
        {".jpg", ""},
    };
    for (const auto& item : kCases) {
        const std::string origin = OriginOf(item.name);
        EXPECT_EQ(origin.substr(0, std::string(item.origin).size()), item.origin) << item.name;
        if (item.origin[0] == '\0') {
            EXPECT_EQ(origin, "") << item.name;
        }
    }
    EXPECT_EQ(ReadNameOrigin("IMG-20170628-WA0003 (2).jpeg").copyNumber, " (2)");
    EXPECT_EQ(ReadNameOrigin("12345_67890_11121_n.jpg").services,
              (std::vector<std::string>{"Facebook", "Instagram"}));
    EXPECT_TRUE(ReadNameOrigin("x" + std::string(400, 'a') + ".jpg").origins.empty());
}

TEST(NameOrigins, TimesAreDecoded) {
    const struct {
        const char* name;
        CalendarTime time;
        bool isUtc;
        bool hasClock;
    } kCases[] = {
        {"IMG_20170630_140333.jpg", {2017, 6, 30, 14, 3, 33}, false, true},
        {"IMG-20170630-WA0003.jpg", {2017, 6, 30}, false, false},
        {"PXL_20210304_151617123.jpg", {2021, 3, 4, 15, 16, 17}, true, true},
        {"FB_IMG_1481417432878.jpg", {2016, 12, 11, 0, 50, 32}, true, true},
        {"Screen Shot 2024-01-15 at 1.30.45 PM.png", {2024, 1, 15, 13, 30, 45}, false, true},
        {"Screen Shot 2024-01-15 at 12.30.45 AM.png", {2024, 1, 15, 0, 30, 45}, false, true},
        {"WhatsApp Image 2023-01-05 at 10.30.45.jpeg", {2023, 1, 5, 10, 30, 45}, false, true},
    };
    for (const auto& item : kCases) {
        const NameReading reading = ReadNameOrigin(item.name);
        ASSERT_FALSE(reading.origins.empty()) << item.name;
        ASSERT_TRUE(reading.origins.front().time) << item.name;
        EXPECT_EQ(reading.origins.front().time->seconds, *SecondsOf(item.time)) << item.name;
        EXPECT_EQ(reading.origins.front().time->isUtc, item.isUtc);
        EXPECT_EQ(reading.origins.front().time->hasClock, item.hasClock);
    }
}

// Names of real files with the service or camera that writes them.
TEST(NameOrigins, AgreeWithKnownNames) {
    NEED_FIXTURES();
    const auto lines =
        StringToVecString(ReadFile(formatsupport::Fixtures() + "/filenames/filenames.tsv"), "\n");
    int known = 0;
    int count = 0;
    for (std::size_t i = 1; i < lines.size(); ++i) {
        const auto cells = StringToVecString(lines[i], "\t");
        if (cells.size() < 3) continue;
        ++count;
        const std::string origin = ToLower(OriginOf(cells[1]));
        const std::string expected = ToLower(cells[2]);
        const bool isNone = expected.starts_with("no ");
        const std::string word = expected.starts_with("camera default, ")
                                     ? expected.substr(16)
                                     : expected.substr(0, expected.find_first_of(" /,"));
        const bool agrees = isNone                         ? origin.empty() || origin == "no origin"
                            : expected == "camera default" ? !origin.empty() && origin != "no origin"
                                                           : origin.find(word) != std::string::npos;
        EXPECT_TRUE(agrees) << cells[1] << " is " << origin << ", expected " << cells[2];
        if (agrees) ++known;
    }
    EXPECT_GE(count, 30);
    RecordProperty("agreeing", known);
}

TEST(CameraSizes, AreFoundByMakeAndModel) {
    const auto camera = FindCameraSizes("Canon", " canon digital ixus ");
    ASSERT_TRUE(camera);
    ASSERT_EQ(camera->sizes.size(), 2U);
    EXPECT_EQ(MatchSize(*camera, 1600, 1200), SizeMatch::Among);
    EXPECT_EQ(MatchSize(*camera, 480, 640), SizeMatch::Turned);
    EXPECT_EQ(MatchSize(*camera, 1600, 1199), SizeMatch::NotAmong);
    EXPECT_FALSE(camera->isComplete);
    EXPECT_TRUE(FindCameraSizes("CASIO", "QV-3000EX"));
    EXPECT_FALSE(FindCameraSizes("Nobody", "Canon DIGITAL IXUS"));
    EXPECT_FALSE(FindCameraSizes("Canon", ""));
    EXPECT_FALSE(FindCameraSizes("Canon", "No Such Camera"));
}
