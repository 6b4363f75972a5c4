#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/orvcore/formats/fields/fieldsupport.h"
#include "tests/support/runfilter.h"
#include "tests/support/temporaryfolder.h"
#include "zorbase/text.h"

using namespace formatsupport;
using testing::HasSubstr;
using testing::StartsWith;

std::unique_ptr<OrvFilter> MakeConsistencyFilter();
std::unique_ptr<OrvFilter> MakeGpsFilter();

namespace {

// At whole degrees north and east.
Bytes Photograph(std::uint32_t north, std::uint32_t east, const std::string& software = "Ver 1") {
    return WithExif(Tiff({.main = {{0x0131, 2, {}, software}, {0x0132, 2, {}, "2004:06:17 07:10:06"}},
                          .photo = {{0x9003, 2, {}, "2004:06:17 07:10:06"}},
                          .gps = {{1, 2, {}, "N"},
                                  {2, 5, {north, 1, 0, 1, 0, 1}},
                                  {3, 2, {}, "E"},
                                  {4, 5, {east, 1, 0, 1, 0, 1}},
                                  {5, 1, {}, std::string(1, '\0')},
                                  {6, 5, {5195, 10}}}}));
}

std::string Cell(const ::TableString& table, const std::string& rule, const std::string& label) {
    for (const auto& row : table)
        for (std::size_t i = 0; i < row.size(); ++i)
            if (row[0] == rule && table[0][i] == label) return row[i];
    return "no such cell";
}

}  // namespace

TEST(GpsFilter, TellsThePlaceAndTheWayToTheReference) {
    const TemporaryFolder folder;
    WriteFile(folder / "a.jpg", Photograph(48, 11));
    WriteFile(folder / "b.jpg", Photograph(49, 11));
    WriteFile(folder / "none.jpg", MakeJpeg());
    const auto filter = MakeGpsFilter();
    const OrvFilterResultPtr both = RunFilter(*filter, folder / "a.jpg", folder / "b.jpg");
    EXPECT_EQ(OutputOf(both, "position"), "48.000000 11.000000");
    EXPECT_EQ(OutputOf(both, "sexagesimal", true), "49° 00' 00.00\" N, 11° 00' 00.00\" E");
    EXPECT_EQ(OutputOf(both, "altitude"), "519.5 m, above sea level");
    EXPECT_EQ(OutputOf(both, "speed"), "Not stated");
    EXPECT_EQ(OutputOf(both, "distance"), "111.20 km");
    EXPECT_EQ(OutputOf(both, "direction"), "0.0° (north)");
    EXPECT_FALSE(both->output.Find("kept")->IsSet());

    const OrvFilterResultPtr none = RunFilter(*filter, folder / "none.jpg", folder / "b.jpg");
    EXPECT_EQ(none->slot[OrvEvidence]->verdictText, "No GPS fields");
    EXPECT_FALSE(none->output.Find("distance")->IsSet());
}

// Hints alone are told calmly, in the same words wherever the rules speak.
TEST(ConsistencyFilter, HintsAloneAreNoFinding) {
    const TemporaryFolder folder;
    WriteFile(folder / "hint.jpg", Photograph(0, 0));
    for (const char* id : {"consistency", "metadata"}) {
        SCOPED_TRACE(id);
        const OrvFilterResultPtr result = RunFilter(*MakeFilter(id), folder / "hint.jpg");
        const OrvSlotResult& slot = *result->slot[OrvEvidence];
        EXPECT_EQ(slot.verdict, OrvVerdict::NothingFound);
        EXPECT_EQ(slot.verdictText, "Nothing found, but 2 hints");
        EXPECT_EQ(slot.status, FilterStatus::Processed);
        EXPECT_TRUE(slot.findings.empty());
        EXPECT_THAT(
            OutputOf(result, "findings"),
            StartsWith("Nothing found, but 2 hints: Hint: The EXIF block does not state the version"));
    }
    EXPECT_THAT(OutputOf(RunFilter(*MakeFilter("gps"), folder / "hint.jpg"), "findings"),
                StartsWith("Nothing found, but 1 hint: Hint: The position is where equator"));
}

TEST(ConsistencyFilter, ListsWhatDoesNotFitInBothFiles) {
    const TemporaryFolder folder;
    WriteFile(folder / "a.jpg", Photograph(0, 0, "GIMP 2.10"));
    WriteFile(folder / "b.png", Photograph(48, 11));
    const auto filter = MakeConsistencyFilter();
    const OrvFilterResultPtr alone = RunFilter(*filter, folder / "a.jpg");
    const auto& table = alone->output.Get<::TableString>("table");
    EXPECT_EQ(alone->slot[OrvEvidence]->verdict, OrvVerdict::WorthALook);
    EXPECT_THAT(Cell(table, "Program For Changing Pictures", "What Was Found"), HasSubstr("GIMP 2.10"));
    EXPECT_EQ(Cell(table, "Program For Changing Pictures", "Severity"), "?Worth a look");
    EXPECT_EQ(alone->slot[OrvEvidence]->verdictText, "1 point to look at, 2 hints");
    EXPECT_EQ(alone->slot[OrvEvidence]->findings.size(), 1U) << "a hint is no finding";
    EXPECT_THAT(OutputOf(alone, "findings"), HasSubstr(" Hint: The position is where equator"));
    EXPECT_EQ(Cell(table, "Changed After Taking", "Severity"), "no such cell") << "it holds";
    for (std::size_t i = 1; i < table.size(); ++i) EXPECT_EQ(table[i][3], "Does not fit");

    const OrvFilterResultPtr both = RunFilter(*filter, folder / "a.jpg", folder / "b.png");
    const auto& compared = both->output.Get<::TableString>("table");
    EXPECT_EQ(Cell(compared, "Name And Content", "Evidence"), "?Not listed");
    EXPECT_EQ(Cell(compared, "Name And Content", "Reference"), "?Does not fit");
    EXPECT_THAT(Cell(compared, "Name And Content", "Found In The Reference"),
                HasSubstr("?The content is not"));
    EXPECT_EQ(Cell(compared, "Name And Content", "Found In The Evidence"), "");

    VecParameter input = filter->GetInputPrototype();
    ASSERT_TRUE(input.Find("show")->SetValueFromString("All Rules"));
    const OrvFilterResultPtr all = RunFilter(*filter, folder / "a.jpg", {}, &input);
    const auto& rules = all->output.Get<::TableString>("table");
    EXPECT_GT(rules.size(), 60U);
    EXPECT_EQ(Cell(rules, "Changed After Taking", "Result"), "Fits");
    EXPECT_EQ(Cell(rules, "Extended XMP", "Result"), "Not stated");
    const std::string compared1 = OutputOf(all, "compared");
    EXPECT_EQ(OutputOf(alone, "compared"), compared1);
}
