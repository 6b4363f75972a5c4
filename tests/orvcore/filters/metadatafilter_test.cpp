#include "orvcore/filters/metadatafilter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "orvcore/formats/metadatacheck.h"
#include "orvcore/formats/metadatatable.h"
#include "tests/orvcore/formats/formatsupport.h"
#include "tests/support/runfilter.h"
#include "tests/support/temporaryfolder.h"
#include "zorbase/text.h"

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

using Entries = std::vector<std::pair<std::string, std::string>>;

// A set as it would be read, of keys and values; the facts follow from the entries.
MetadataSet Make(const Entries& entries) {
    MetadataSet set;
    for (const auto& [key, value] : entries) {
        set.entries.push_back({MetadataKind::Exif, "EXIF", key, key, value, value, "Ascii"});
        if (key == "Exif.Image.Make") set.facts.make = value;
        if (key == "Exif.Image.Software") set.facts.software = value;
        if (key == "Exif.Image.DateTime") set.facts.dateTime = value;
        if (key == "Exif.Photo.DateTimeOriginal") set.facts.dateTimeOriginal = value;
        if (key == "Exif.Photo.PixelXDimension") set.facts.pixelXDimension = std::stoi(value);
        if (key == "Exif.Photo.PixelYDimension") set.facts.pixelYDimension = std::stoi(value);
    }
    return set;
}

constexpr const char* kTaken = "Exif.Photo.DateTimeOriginal";
constexpr const char* kChanged = "Exif.Image.DateTime";

struct Case {
    const char* what;
    Entries entries;
    MetadataSurroundings around;
    const char* expected;  // part of the only finding, "" for none
};

// An EXIF block of ASCII entries in the first directory.
Bytes ExifBlock(const std::vector<std::pair<int, std::string>>& entries) {
    using namespace formatsupport;
    Bytes bytes = ToBytes(std::string("Exif\0\0", 6));
    bytes = bytes + ToBytes("II");
    AppendLittle(bytes, 42, 2);
    AppendLittle(bytes, 8, 4);
    AppendLittle(bytes, entries.size(), 2);
    Bytes values;
    for (const auto& [tag, text] : entries) {
        AppendLittle(bytes, static_cast<std::uint64_t>(tag), 2);
        AppendLittle(bytes, 2, 2);
        AppendLittle(bytes, text.size() + 1, 4);
        AppendLittle(bytes, 8 + 2 + 12 * entries.size() + 4 + values.size(), 4);
        values = values + ToBytes(text) + Bytes{0};
    }
    AppendLittle(bytes, 0, 4);
    return bytes + values;
}

constexpr int kMake = 0x010F;
constexpr int kModel = 0x0110;
constexpr int kSoftware = 0x0131;
constexpr int kArtist = 0x013B;

std::string WriteJpeg(const TemporaryFolder& folder, const std::string& name,
                      const std::vector<std::pair<int, std::string>>& entries) {
    formatsupport::JpegRecipe recipe;
    if (!entries.empty()) recipe.segments = {{1, ExifBlock(entries)}};
    WriteFile(folder / name, formatsupport::MakeJpeg(recipe));
    return folder / name;
}

}  // namespace

TEST(MetadataCheck, EachRuleSpeaksWhereItCanAndOnlyThere) {
    MetadataSurroundings jpeg;
    jpeg.format = FileFormat::Jpeg;
    jpeg.width = 1600;
    jpeg.height = 1200;
    MetadataSurroundings png = jpeg;
    png.format = FileFormat::Png;
    MetadataSurroundings upright = jpeg;
    upright.thumbnailWidth = 120;
    upright.thumbnailHeight = 160;
    MetadataSurroundings boxed = jpeg;
    boxed.thumbnailWidth = 160;
    boxed.thumbnailHeight = 90;
    const Entries whole = {{"Exif.Image.Make", "Canon"},
                           {"Exif.Photo.MakerNote", "binary"},
                           {kTaken, "2004:06:17 07:10:06"},
                           {kChanged, "2004:06:17 07:10:06"},
                           {"Exif.Photo.DateTimeDigitized", "2004:06:17 07:10:06"},
                           {"Exif.Photo.PixelXDimension", "1600"},
                           {"Exif.Photo.PixelYDimension", "1200"},
                           {"Exif.Image.Software", "Firmware 1.2"}};
    Entries partFractions = whole;
    partFractions.push_back({"Exif.Photo.SubSecTimeOriginal", "61"});
    Entries allFractions = partFractions;
    allFractions.push_back({"Exif.Photo.SubSecTime", "61"});
    allFractions.push_back({"Exif.Photo.SubSecTimeDigitized", "61"});

    const Case cases[] = {
        {"a sound file", whole, jpeg, ""},
        {"taken after the last change",
         {{kTaken, "2004:06:17 07:10:06"}, {kChanged, "2004:06:17 07:10:05"}},
         jpeg,
         "is later than the time of the last change"},
        {"changed later",
         {{kTaken, "2004:06:17 07:10:06"}, {kChanged, "2004:06:17 08:00:00"}},
         jpeg,
         "wrote the file again"},
        {"written within moments",
         {{kTaken, "2004:06:17 23:59:59"}, {kChanged, "2004:06:18 00:00:30"}},
         jpeg,
         ""},
        {"a clock that was never set",
         {{kTaken, "0000:00:00 00:00:00"}, {kChanged, "2004:06:17 08:00:00"}},
         jpeg,
         ""},
        {"dates that are none", {{kTaken, "    :  :     :  :  "}, {kChanged, "yesterday"}}, jpeg, ""},
        {"another size",
         {{"Exif.Photo.PixelXDimension", "3200"}, {"Exif.Photo.PixelYDimension", "2400"}},
         jpeg,
         "states a picture of 3200 x 2400"},
        {"turned",
         {{"Exif.Photo.PixelXDimension", "1200"}, {"Exif.Photo.PixelYDimension", "1600"}},
         jpeg,
         "was turned"},
        {"another size in a PNG",
         {{"Exif.Photo.PixelXDimension", "3"}, {"Exif.Photo.PixelYDimension", "2"}},
         png,
         ""},
        {"an editor", {{"Exif.Image.Software", "GIMP 2.10.30"}}, jpeg, "names \"GIMP 2.10.30\""},
        {"an editor named twice",
         {{"Exif.Image.Software", "Adobe Photoshop 7.0"}, {"Xmp.xmp.CreatorTool", "Adobe Photoshop 7.0"}},
         jpeg,
         "Adobe Photoshop 7.0"},
        {"thumbnail the other way round", {{"Exif.Image.Model", "X"}}, upright, "the other way round"},
        {"thumbnail of another shape", {{"Exif.Image.Model", "X"}}, boxed, ""},
        {"fractions for one time", partFractions, jpeg, "1 of the three times"},
        {"fractions for all", allFractions, jpeg, ""},
        {"no maker note",
         {{"Exif.Image.Make", "NIKON CORPORATION"}, {kTaken, "2004:06:17 07:10:06"}},
         jpeg,
         "there is none"},
        {"no maker note of an unknown maker",
         {{"Exif.Image.Make", "Acme"}, {kTaken, "2004:06:17 07:10:06"}},
         jpeg,
         ""},
        {"position of another day",
         {{"Exif.GPSInfo.GPSDateStamp", "2004:06:19"}, {kTaken, "2004:06:17 23:10:06"}},
         jpeg,
         "more than a day apart"},
        {"position of the next day in UTC",
         {{"Exif.GPSInfo.GPSDateStamp", "2004:06:18"}, {kTaken, "2004:06:17 23:10:06"}},
         jpeg,
         ""},
        {"two makers",
         {{"Exif.Image.Make", "Acme"}, {"Xmp.tiff.Make", "Other"}},
         jpeg,
         "the maker differently"},
        {"one maker, two spellings", {{"Exif.Image.Make", "ACME"}, {"Xmp.tiff.Make", "Acme"}}, jpeg, ""},
        {"two times of taking",
         {{kTaken, "2004:06:17 07:10:06"}, {"Xmp.exif.DateTimeOriginal", "2006-01-01T00:00:00+02:00"}},
         jpeg,
         "EXIF and XMP state the time"},
        {"a history",
         {{"Xmp.xmpMM.History[1]/stEvt:action", "created"},
          {"Xmp.xmpMM.History[2]/stEvt:action", "saved"},
          {"Xmp.xmpMM.History[2]/stEvt:softwareAgent", "Tool 1"}},
         jpeg,
         "history of 2 steps, the last by \"Tool 1\""},
        {"a declaration",
         {{"Xmp.iptcExt.DigitalSourceType",
           "http://cv.iptc.org/newscodes/digitalsourcetype/trainedAlgorithmicMedia"}},
         jpeg,
         "by an algorithm"},
        {"a harmless declaration",
         {{"Xmp.iptcExt.DigitalSourceType", "http://cv.iptc.org/newscodes/digitalsourcetype/digitalCapture"}},
         jpeg,
         ""},
    };
    for (const Case& c : cases) {
        const std::vector<MetadataFinding> findings = CheckMetadata(Make(c.entries), c.around);
        if (*c.expected == '\0') {
            EXPECT_TRUE(findings.empty()) << c.what << ": " << (findings.empty() ? "" : findings[0].text);
            continue;
        }
        ASSERT_EQ(findings.size(), 1U) << c.what;
        EXPECT_THAT(findings[0].text, HasSubstr(c.expected)) << c.what;
        EXPECT_EQ(findings[0].isStrong, std::string(c.what) == "a declaration") << c.what;
        EXPECT_EQ(findings[0].text.find("fake"), std::string::npos);
    }
}

TEST(MetadataCheck, AnEndlessHostileTextIsQuotedShort) {
    std::string text = "photoshop\n";
    for (int i = 0; i < 3000; ++i) text += "ä";
    const std::vector<MetadataFinding> findings =
        CheckMetadata(Make({{"Exif.Image.Software", text}}), MetadataSurroundings());
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_LT(findings[0].text.size(), 400U);
    EXPECT_EQ(ToValidUtf8(findings[0].text), findings[0].text) << "cut between characters";
    EXPECT_EQ(findings[0].text.find('\n'), std::string::npos);
}

TEST(MetadataTable, BothFilesMeetInOneTable) {
    const TableString evidence = {{"EXIF", "a", "A", "1"},
                                  {"EXIF", "b", "B", "2"},
                                  {"EXIF", "k", "K", "x"},
                                  {"EXIF", "k", "K", "y"},
                                  {"GPS", "g", "G", "!5"}};
    const TableString reference = {{"EXIF", "a", "A", "1"},
                                   {"EXIF", "b", "B", "3"},
                                   {"EXIF", "k", "K", "x"},
                                   {"EXIF", "c", "C", "4"},
                                   {"XMP", "x", "#X", "*IMG*0"}};
    EXPECT_THAT(
        MergeMetadataRows(&evidence, &reference),
        ElementsAre(ElementsAre("Group", "Name", "Evidence", "Reference"), ElementsAre("EXIF", "A", "1", "1"),
                    ElementsAre("EXIF", "B", "?2", "?3"), ElementsAre("EXIF", "K", "x", "x"),
                    ElementsAre("EXIF", "K", "?y", ""), ElementsAre("EXIF", "C", "", "?4"),
                    ElementsAre("GPS", "G", "?!5", ""), ElementsAre("XMP", "\\#X", "", "?*IMG*0")));
    EXPECT_THAT(MergeMetadataRows(nullptr, &reference).back(), ElementsAre("XMP", "\\#X", "\\*IMG*0"));
    EXPECT_THAT(MergeMetadataRows(&evidence, nullptr).front(), ElementsAre("Group", "Name", "Evidence"));
    const TableString none;
    EXPECT_TRUE(MergeMetadataRows(&none, nullptr).empty());
    EXPECT_EQ(MergeMetadataRows(&evidence, &none)[1][2], "?1") << "the other file lacks all of them";
}

TEST(MetadataFilter, ShowsBothFilesWithTheirDifferences) {
    const TemporaryFolder folder;
    const std::string a =
        WriteJpeg(folder, "a.jpg", {{kMake, "Acme"}, {kModel, "Model One"}, {kSoftware, "GIMP 2.10"}});
    const std::string b =
        WriteJpeg(folder, "b.jpg", {{kMake, "Acme"}, {kModel, "Model Two"}, {kArtist, "!boo"}});
    const OrvFilterResultPtr result = RunFilter(MetadataFilter(), a, b);
    const ::TableString& table = result->output.Get<::TableString>("table");
    ASSERT_EQ(table.size(), 5U);
    EXPECT_EQ(table[1][2], "Acme");
    EXPECT_EQ(table[2][2], "?Model One");
    EXPECT_EQ(table[2][3], "?Model Two");
    EXPECT_EQ(table[3][2], "?GIMP 2.10");
    EXPECT_EQ(table[4][3], "?!boo");
    EXPECT_EQ(OutputOf(result, "camera"), "Acme Model One");
    EXPECT_EQ(OutputOf(result, "camera", true), "Acme Model Two");
    EXPECT_EQ(result->slot[OrvEvidence]->verdict, OrvVerdict::WorthALook);
    EXPECT_EQ(result->slot[OrvReference]->verdict, OrvVerdict::NothingFound);
    EXPECT_EQ(result->status, FilterStatus::StandsOut);

    const OrvFilterResultPtr alone = RunFilter(MetadataFilter(), {}, b);
    EXPECT_EQ(alone->output.Get<::TableString>("table").back()[2], "\\!boo") << "a value is no mark";
}

TEST(MetadataFilter, ShowsTheGroupThatWasAskedForAndJudgesAll) {
    const TemporaryFolder folder;
    const std::string a = WriteJpeg(folder, "a.jpg", {{kMake, "Acme"}, {kSoftware, "GIMP 2.10"}});
    const MetadataFilter filter;
    VecParameter input = filter.GetInputPrototype();
    ASSERT_TRUE(input.Find("show")->SetValueFromString("XMP"));
    const OrvFilterResultPtr result = RunFilter(filter, a, {}, &input);
    EXPECT_FALSE(result->output.Find("table")->IsSet());
    EXPECT_EQ(OutputOf(result, "entries"), "2");
    EXPECT_EQ(result->slot[OrvEvidence]->verdict, OrvVerdict::WorthALook);
}

TEST(MetadataFilter, AFileWithoutMetadataSaysSo) {
    const TemporaryFolder folder;
    const std::string bare = WriteJpeg(folder, "bare.jpg", {});
    WriteFile(folder / "empty.jpg", std::string());
    WriteFile(folder / "text.txt", std::string("Exif\0\0 but no picture"));
    for (const std::string& path : {bare, folder / "empty.jpg", folder / "text.txt"}) {
        const OrvFilterResultPtr result = RunFilter(MetadataFilter(), path);
        EXPECT_EQ(result->slot[OrvEvidence]->verdict, OrvVerdict::NotApplicable) << path;
        EXPECT_EQ(result->slot[OrvEvidence]->verdictText, "No metadata") << path;
        EXPECT_FALSE(result->output.Find("table")->IsSet()) << path;
    }
}

// Files of known history, so that no rule sleeps and none barks at everything.
TEST(MetadataFilter, RealFilesOfKnownHistory) {
    NEED_FIXTURES();
    const std::string folder = formatsupport::Fixtures() + "/cameras/jpg/";
    const std::pair<const char*, std::vector<const char*>> files[] = {
        {"Canon IXUS v3.jpg", {}},
        {"Nikon D1X.jpg", {}},
        {"Sony Cybershot (2).jpg", {}},
        {"Canon IXUS 400.jpg",
         {"ACD Systems Digital Imaging", "wrote the file again", "1 of the three times"}},
        {"Issue 609.jpg", {"GIMP 2.10.30", "2288 x 1712", "there is none"}},
        {"FujiFilm SP-2500.jpg", {"3360 x 2240", "the other way round"}},
    };
    for (const auto& [name, expected] : files) {
        const OrvFilterResultPtr result = RunFilter(MetadataFilter(), folder + name);
        const std::vector<std::string>& findings = result->slot[OrvEvidence]->findings;
        ASSERT_EQ(findings.size(), expected.size()) << name;
        for (std::size_t i = 0; i < expected.size(); ++i)
            EXPECT_THAT(findings[i], HasSubstr(expected[i])) << name;
        EXPECT_GT(result->output.Get<::TableString>("table").size(), 10U) << name;
    }
}
