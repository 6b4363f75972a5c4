#include "orvcore/tools/web/webresults.h"

#include <gtest/gtest.h>

#include <limits>

#include "zorbase/zorexception.h"

namespace {

TEST(WebResults, CamerasAreTheSameWhateverTheirSpelling) {
    const struct {
        const char *make, *model, *wantedMake, *wantedModel;
        bool isSame;
    } rows[] = {{"Canon", "EOS 5D", "CANON INC.", "canon eos  5d", true},
                {"Canon", "Canon EOS 5D", "Canon", "EOS 5D", true},
                {"NIKON CORPORATION", "NIKON D70", "Nikon", "D70", true},
                {"Canon", "EOS 5D", "Canon", "EOS 50D", false},
                {"Canon", "EOS 5D", "Nikon", "EOS 5D", false},
                {"Canon", "", "Canon", "", false},
                {"Canon", "Canon", "Canon", "Canon", true},
                {"", "EOS 5D", "", "EOS 5D", true},
                {"", " D70", "", "D70", true},
                {"Canon", "Canonet", "Canon", "et", false}};
    for (const auto& row : rows)
        EXPECT_EQ(IsSameCamera(row.make, row.model, row.wantedMake, row.wantedModel), row.isSame)
            << row.make << ' ' << row.model << " | " << row.wantedModel;
}

TEST(WebResults, NumbersAndTextsOfAServiceAreBounded) {
    const std::pair<const char*, int> numbers[] = {
        {"12", 12},        {"12.9", 12}, {"\"12\"", 12},
        {"\" 7 \"", 7},    {"-1", 0},    {"1000000000", 1000000000},
        {"1000000001", 0}, {"\"x\"", 0}, {"null", 0},
        {"[3]", 0},        {"true", 0},  {"{\"_content\":\"5\"}", 0}};
    for (const auto& [text, number] : numbers)
        EXPECT_EQ(WebNumber(Json{{"n", JsonFromText(text)}}, "n"), number) << text;
    EXPECT_EQ(WebNumber(Json::array(), "n"), 0);
    const std::pair<const char*, const char*> texts[] = {
        {"\" a b \"", "a b"},      {"5", "5"},  {"1.5", ""}, {"{\"_content\":\"inner\"}", "inner"},
        {"{\"other\":\"x\"}", ""}, {"null", ""}};
    for (const auto& [json, text] : texts)
        EXPECT_EQ(WebText(Json{{"t", JsonFromText(json)}}, "t"), text) << json;
    EXPECT_EQ(WebText(Json{{"t", std::string(3000, 'x')}}, "t").size(), 2000U);
    EXPECT_EQ(WebReason("no key SECRET, SECRET.", {"", "SECRET"}), "no key …, ….");
    EXPECT_LE(WebReason(std::string(1000, 'x'), {}).size(), 203U);
    try {
        RequireOption("", "key of the service");
        FAIL();
    } catch (const ZorException& exception) {
        EXPECT_EQ(exception.GetMessage(),
                  "The key of the service is missing. Enter it in View > Program Options.");
    }
    EXPECT_NO_THROW(RequireOption("x", "key"));
}

TEST(WebResults, ATableHasOneRowForEachPicture) {
    const TableString table = WebPictureTable(
        {{"title", "make", "model", "software", "taken", 640, 480, "jpeg", "https://example.org/a", "page"},
         {"", "", "", "", "", 0, -1, "", "javascript:x", "http://example.org/b"}});
    ASSERT_EQ(table.size(), 3U);
    EXPECT_EQ(table[0], (std::vector<std::string>{"Title", "Make", "Model", "Software", "Date Taken", "Width",
                                                  "Height", "Format", "Link", "Page"}));
    EXPECT_EQ(table[1], (std::vector<std::string>{"title", "make", "model", "software", "taken", "640", "480",
                                                  "jpeg", "https://example.org/a", ""}));
    EXPECT_EQ(table[2],
              (std::vector<std::string>{"", "", "", "", "", "", "", "", "", "http://example.org/b"}));
}

}  // namespace
