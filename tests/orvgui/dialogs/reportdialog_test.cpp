#include "orvgui/dialogs/reportdialog.h"

#include <gtest/gtest.h>

#include "orvcore/report/report.h"
#include "orvgui/common/fileselectors.h"
#include "tests/support/guitest.h"
#include "tests/support/testcore.h"

TEST_F(CoreTest, AReportIsProposedAsItWasWrittenLast) {
    using enum OrvReportContents;
    std::string asked;
    std::string chosen = folder / "case.pdf";
    SetSelectorAnswer([&](OrvSelectorKind kind, const wxString& message, const wxString&,
                          const wxString& name, const wxString& filter) {
        asked = std::to_string(static_cast<int>(kind)) + FromWx("|" + message + "|" + name + "|" + filter);
        return ToWx(chosen);
    });
    const Json asPdf = {{"contents", 2}, {"format", 1}};
    const struct {
        Json record;
        OrvReportContents contents;
        bool isPdf;
    } cases[] = {{Json::object(), Everything, false},
                 {{{"contents", 1}, {"format", 0}}, Bookmarks, false},
                 {asPdf, Verdicts, true},
                 {{{"contents", 3}, {"format", -1}}, Everything, false},
                 {{{"contents", "2"}, {"format", 2}}, Everything, false}};
    for (const auto& c : cases) {
        core->SetToolSettings("report", c.record);
        asked.clear();
        OrvReportWish wish;
        wish.path = "of another report";
        DialogAnswers answers{wxID_OK};
        EXPECT_TRUE(AskForReport(nullptr, "case", wish)) << c.record.dump();
        EXPECT_EQ(answers.Seen(), std::vector<std::string>{"Generate Report"});
        EXPECT_EQ(wish.contents, c.contents) << c.record.dump();
        EXPECT_EQ(FromWx(wish.path), c.isPdf ? chosen : "") << c.record.dump();
        EXPECT_EQ(asked, c.isPdf ? "1|Choose a file to save|case.pdf|PDF Files (*.pdf)|*.pdf" : "");
        EXPECT_EQ(core->GetToolSettings("report"),
                  (Json{{"contents", static_cast<int>(c.contents)}, {"format", c.isPdf ? 1 : 0}}));
    }
    // Neither "Cancel" nor a chooser that is left chooses anything, or is remembered.
    core->SetToolSettings("report", asPdf);
    OrvReportWish wish;
    {
        DialogAnswers answers{wxID_CANCEL};
        EXPECT_FALSE(AskForReport(nullptr, "case", wish));
    }
    chosen.clear();
    DialogAnswers answers{wxID_OK};
    EXPECT_FALSE(AskForReport(nullptr, "case", wish));
    EXPECT_EQ(core->GetToolSettings("report"), asPdf);
    SetSelectorAnswer({});
}
