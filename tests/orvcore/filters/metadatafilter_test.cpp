#include "orvcore/filters/metadatafilter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "orvcore/formats/metadatatable.h"
#include "tests/orvcore/formats/formatsupport.h"
#include "tests/support/runfilter.h"
#include "tests/support/temporaryfolder.h"
#include "zorbase/text.h"

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

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

TEST(MetadataTable, BothFilesMeetInOneTable) {
    const TableString evidence = {{"EXIF", "a", "A", "0x1", "one", "1", "10"},
                                  {"EXIF", "b", "B", "0x2", "two", "2", "20"},
                                  {"EXIF", "k", "K", "", "x", "x", ""},
                                  {"EXIF", "k", "K", "", "y", "y", ""},
                                  {"GPS", "g", "G", "", "!5", "!5", ""}};
    const TableString reference = {{"EXIF", "a", "A", "0x1", "one", "1", "11"},
                                   {"EXIF", "b", "B", "0x2", "two", "3", "21"},
                                   {"EXIF", "k", "K", "", "x", "x", ""},
                                   {"EXIF", "c", "C", "", "4", "4", ""},
                                   {"XMP", "x", "#X", "", "*IMG*0", "*IMG*0", ""}};
    using Layout = MetadataTableLayout;
    Layout layout{Layout::Values::AsStored, Layout::Order::OfTheFile};
    MetadataDifferences differences;
    EXPECT_THAT(MergeMetadataRows(&evidence, &reference, layout, &differences),
                ElementsAre(ElementsAre("Group", "Name", "Tag", "Difference", "Evidence, As Stored",
                                        "Reference, As Stored", "Offset (evidence)", "Offset (reference)"),
                            ElementsAre("EXIF", "A", "0x1", "Equal", "1", "1", "10", "11"),
                            ElementsAre("EXIF", "B", "0x2", "Changed", "?2", "?3", "20", "21"),
                            ElementsAre("EXIF", "K", "", "Equal", "x", "x", "", ""),
                            ElementsAre("EXIF", "K", "", "Only in the evidence", "?y", "", "", ""),
                            ElementsAre("EXIF", "C", "", "Only in the reference", "", "?4", "", ""),
                            ElementsAre("GPS", "G", "", "Only in the evidence", "?!5", "", "", ""),
                            ElementsAre("XMP", "\\#X", "", "Only in the reference", "", "?*IMG*0", "", "")));
    EXPECT_EQ(differences.changed, 1U);
    EXPECT_EQ(differences.onlyEvidence, 2U);
    EXPECT_EQ(differences.onlyReference, 2U);
    EXPECT_EQ(differences.equal, 2U);

    layout = {Layout::Values::Interpreted, Layout::Order::DifferencesFirst};
    const TableString first = MergeMetadataRows(&evidence, &reference, layout);
    std::vector<std::string> order;
    for (std::size_t i = 1; i < first.size(); ++i)
        order.push_back(first[i][1] + " " + first[i][3].substr(0, 8));
    EXPECT_THAT(order, ElementsAre("B Changed", "K Only in ", "G Only in ", "C Only in ", "\\#X Only in ",
                                   "A Equal", "K Equal"));
    EXPECT_EQ(first[1][4], "?two") << "equal words, stored differently";
    layout.order = Layout::Order::DifferencesOnly;
    EXPECT_EQ(MergeMetadataRows(&evidence, &reference, layout).size(), 6U);
    EXPECT_TRUE(MergeMetadataRows(&evidence, &evidence, layout).empty());

    layout = {};
    EXPECT_THAT(MergeMetadataRows(&evidence, nullptr, layout).front(),
                ElementsAre("Group", "Name", "Tag", "Value", "As Stored", "Offset"));
    EXPECT_THAT(MergeMetadataRows(nullptr, &reference, layout).back(),
                ElementsAre("XMP", "\\#X", "", "\\*IMG*0", "\\*IMG*0", ""));
    const TableString none;
    EXPECT_TRUE(MergeMetadataRows(&none, nullptr, layout).empty());
    EXPECT_EQ(MergeMetadataRows(&evidence, &none, layout)[1][4], "?one")
        << "the other file lacks all of them";
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
    EXPECT_EQ(table[1][4], "Acme");
    EXPECT_EQ(table[2][4], "?Model One");
    EXPECT_EQ(table[2][5], "?Model Two");
    EXPECT_EQ(table[3][4], "?GIMP 2.10");
    EXPECT_EQ(table[4][5], "?!boo");
    EXPECT_EQ(OutputOf(result, "differences"),
              "1 changed, 1 only in the evidence, 1 only in the reference, 1 equal");
    EXPECT_EQ(OutputOf(result, "warnings"), "None");
    EXPECT_EQ(OutputOf(result, "camera"), "Acme Model One");
    EXPECT_EQ(OutputOf(result, "camera", true), "Acme Model Two");
    EXPECT_EQ(result->slot[OrvEvidence]->verdict, OrvVerdict::WorthALook);
    EXPECT_EQ(result->status, FilterStatus::StandsOut);

    const OrvFilterResultPtr alone = RunFilter(MetadataFilter(), {}, b);
    EXPECT_EQ(alone->output.Get<::TableString>("table").back()[3], "\\!boo") << "a value is no mark";
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
    input = filter.GetInputPrototype();
    ASSERT_TRUE(input.Find("search")->SetValueFromString("gimp"));
    const OrvFilterResultPtr searched = RunFilter(filter, a, {}, &input);
    ASSERT_EQ(searched->output.Get<::TableString>("table").size(), 2U);
    EXPECT_EQ(searched->output.Get<::TableString>("table")[1][1], "Software");
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
        {"Nikon D1X.jpg", {}},
        {"Canon IXUS 400.jpg",
         {"ACD Systems Digital Imaging", "wrote the file again", "1 of the three times"}},
        {"Issue 609.jpg", {"GIMP 2.10.30", "2288 x 1712", "there is none"}},
        {"FujiFilm SP-2500.jpg", {"3360 x 2240", "the other way round"}},
    };
    for (const auto& [name, expected] : files) {
        const OrvFilterResultPtr result = RunFilter(MetadataFilter(), folder + name);
        const std::string all = OutputOf(result, "findings");
        for (const char* text : expected) EXPECT_THAT(all, HasSubstr(text)) << name;
        EXPECT_NE(result->slot[OrvEvidence]->verdict, OrvVerdict::StrongSign) << name;
        EXPECT_GT(result->output.Get<::TableString>("table").size(), 10U) << name;
    }
}
