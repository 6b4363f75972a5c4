#include "orvgui/common/referencetables.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <wx/regex.h>

#include <cstdlib>
#include <map>
#include <set>

#include "zorbase/files.h"
#include "zorbase/json.h"
#include "zorbase/text.h"

namespace {

// An object of the ordinary order finds both tables made.
const std::size_t g_patternsAtStart = GetSocialMediaPatterns().size();
const std::size_t g_camerasAtStart = GetCameraRecords().size();

std::vector<std::string> ServicesOf(const std::string& baseName) {
    std::vector<std::string> services;
    for (const auto& [service, pattern] : GetSocialMediaPatterns()) {
        wxRegEx expression(pattern, wxRE_EXTENDED);
        EXPECT_TRUE(expression.IsValid()) << pattern;
        if (expression.Matches(ToWx(baseName))) services.push_back(FromWx(service));
    }
    return services;
}

}  // namespace

TEST(ReferenceTables, AreMadeBeforeEverythingElse) {
    EXPECT_EQ(g_patternsAtStart, 11U);
    EXPECT_EQ(g_camerasAtStart, 896U);
}

TEST(ReferenceTables, NamesTellTheirServices) {
    const std::vector<std::pair<std::string, std::vector<std::string>>> cases = {
        {"12345_67890_11121_n", {"Facebook", "Instagram"}},
        {"12345_67890_11121_|", {"Facebook", "Instagram"}},
        {"12345_67890_11121_x", {}},
        {"12502775644_acfd415fa7_b", {"Flickr"}},
        {"12502775644_acfd415fa7_w", {}},
        {"tumblr_abcDEF0123456789_1280", {"Tumblr"}},
        {"tumblr_abc_12", {}},
        {"12 - aB3dE5f", {"Imgur"}},
        {" - aB3dE5fg", {"Imgur"}},
        {"IMG-20170101-WA0001", {"Whatsapp"}},
        {"IMG-20170101-WA001", {}},
        {"VID-20170101-WA0001", {}},
        {"WhatsApp-Image-20170101", {"Whatsapp"}},
        {"WhatsApp-Image-20170101 (2)", {"Whatsapp"}},
        {"WhatsApp Image 2023-01-05 at 10.30.45", {"Whatsapp"}},
        {"WhatsApp Image 2023-01-05 at 10:30:45", {"Whatsapp"}},
        {"ab3de5f", {"Tinypic"}},
        {"12345678", {"Tinypic"}},
        {"aB3dE5f", {}},
        {"123_1234567890123456", {"Telegram"}},
        {"photo1234567", {"Telegram"}},
        {"photo17", {"Tinypic", "Telegram"}},
        {"photo_2020-01-31_12-00-05", {}},
        {"IMG_20170630_140333", {}},
        {"", {}},
    };
    for (const auto& [name, services] : cases) EXPECT_EQ(ServicesOf(name), services) << name;
}

// Names that services gave, from public sources. The table does not know every form of them; where it knows
// one, it must name the right service, and cameras' own names must fit none.
TEST(ReferenceTables, RealNamesAreNeverGivenToAWrongService) {
    const char* folder = std::getenv("ORVANE_FIXTURES");
    if (folder == nullptr) GTEST_SKIP() << "ORVANE_FIXTURES is not set";
    std::set<std::string> known;
    for (const auto& line :
         StringToVecString(ReadFile(std::string(folder) + "/filenames/filenames.tsv"), "\n")) {
        const auto cells = StringToVecString(line, "\t");
        if (cells.size() < 3 || cells[0] == "origin") continue;
        const std::string origin = ToLower(cells[0] + " " + cells[2]);
        for (const std::string& service : ServicesOf(PathStem(cells[1]))) {
            // Seven or eight letters and digits are nobody's alone: the list says so of such a name.
            if (service == "Tinypic" && cells[2] == "no safe origin") continue;
            // Shares the expression of the other: by such a name the two cannot be told apart.
            if (service == "Instagram" && known.contains("Facebook")) continue;
            EXPECT_THAT(origin, testing::HasSubstr(ToLower(service))) << cells[1];
            known.insert(service);
        }
    }
    EXPECT_THAT(known, testing::IsSupersetOf({"Facebook", "Flickr", "Whatsapp"}));
}

TEST(ReferenceTables, CameraRecordsAreSoundAndComplete) {
    std::map<std::string, int> makes;
    std::set<std::string> models;
    const std::set<wxString> records(GetCameraRecords().begin(), GetCameraRecords().end());
    for (const wxString& record : GetCameraRecords()) {
        const Json json = JsonFromText(FromWx(record));
        const std::string make = json.at("Make");
        ++makes[make];
        models.insert(make + "\n" + json.at("Model").get<std::string>());
        const Json& sizes = json.at("_allRes");
        ASSERT_FALSE(sizes.empty()) << record;
        EXPECT_EQ(sizes[0].at("Width"), json.at("Width")) << record;
        EXPECT_EQ(sizes[0].at("Height"), json.at("Height")) << record;
        for (std::size_t i = 1; i < sizes.size(); ++i) {
            EXPECT_LE(
                sizes[i].at("Width").get<std::int64_t>() * sizes[i].at("Height").get<std::int64_t>(),
                sizes[i - 1].at("Width").get<std::int64_t>() * sizes[i - 1].at("Height").get<std::int64_t>())
                << record;
        }
    }
    const std::map<std::string, int> most = {{"Canon", 185},    {"SONY", 133},
                                             {"NIKON", 107},    {"OLYMPUS IMAGING CORP.", 89},
                                             {"FUJIFILM", 82},  {"NIKON CORPORATION", 46},
                                             {"Panasonic", 43}, {"CASIO COMPUTER CO.,LTD.", 38}};
    for (const auto& [make, count] : most) EXPECT_EQ(makes[make], count) << make;
    EXPECT_EQ(makes.size(), 37U);
    EXPECT_EQ(models.size(), 896U) << "a model is listed twice";
    // Keys in their order.
    EXPECT_TRUE(records.contains(
        R"({"Make":"CASIO","Model":"QV-3000EX","Width":2048,"Height":1536,"_allRes":[{"Width":2048,"Height":1536},{"Width":1024,"Height":768}],"referenceUrl":""})"));
    EXPECT_TRUE(records.contains(
        R"({"Make":"TOSHIBA","Model":"PDRM81","Width":2400,"Height":1600,"_allRes":[{"Width":2400,"Height":1600},{"Width":1200,"Height":800},{"Width":720,"Height":480}],"referenceUrl":""})"));
}
