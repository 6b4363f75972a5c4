#include "orvgui/pages/filtersummary.h"

#include <gtest/gtest.h>
#include <wx/gbsizer.h>
#include <wx/textctrl.h>

#include "orvgui/common/statictext.h"
#include "orvgui/pages/orvviewerpanel.h"
#include "tests/orvgui/filtersfixture.h"
#include "tests/support/guitest.h"

namespace {

class Summary : public FiltersFixture {
  protected:
    void SetUp() override {
        FiltersFixture::SetUp();
        grid = AddFakeFilter("Grid", "Tests", {true, true, {1, 2, 3}});
        silent = AddFakeFilter("Silent", "Tests", {true, false, {}});
        BuildPanels();
    }

    // As when the user looks at the summary.
    FilterSummaryPanel* Open() {
        Select(FilterItem(core->GetContext().FindFilter("summary")));
        Settle();
        return dynamic_cast<FilterSummaryPanel*>(viewer->GetShownPage());
    }
    const StatusGroup* Line(const FilterSummaryPanel* page, const OrvFilter* filter) {
        for (const auto& group : page->GetStatusGroups())
            if (group->GetFilter() == filter) return group.get();
        return nullptr;
    }

    FakeFilter* grid = nullptr;
    FakeFilter* silent = nullptr;
};

TEST_F(Summary, IsMadeOnceBeforeAllOthersAndActive) {
    EXPECT_EQ(core->GetFilters().front()->GetId(), "summary");
    EXPECT_EQ(core->GetActiveFilter(), core->GetFilters().front());
    FilterSummary::Register(core->GetContext());
    EXPECT_NE(core->GetFilters()[1]->GetId(), "summary");
    EXPECT_EQ(core->GetFilters().front()->GetName(), "Summary");
}

TEST_F(Summary, LaysOutTitleLinesAndResult) {
    LoadEvidence("one");
    const FilterSummaryPanel* page = Open();
    ASSERT_NE(page, nullptr);
    auto* sizer = dynamic_cast<wxGridBagSizer*>(page->GetSizer());
    ASSERT_NE(sizer, nullptr);
    const auto rowOf = [&](const wxString& text) {
        for (wxWindow* child : page->GetChildren()) {
            const auto* label = dynamic_cast<OrvStaticText*>(child);
            if (label != nullptr && label->GetText() == text) return sizer->GetItemPosition(child).GetRow();
        }
        return -1;
    };
    const int title = rowOf("Description");
    const int description =
        rowOf("This panel summarizes in a glance what is the overall status of the image being analyzed.");
    const int result = rowOf("Global Result:");
    EXPECT_EQ(title, 0);
    EXPECT_EQ(description, 1);
    EXPECT_GT(result, description);
    wxTextCtrl* text = page->GetResultText();
    EXPECT_EQ(sizer->GetItemPosition(text), wxGBPosition(result + 1, 0));
    EXPECT_EQ(sizer->GetItemSpan(text), wxGBSpan(2, 4));
    EXPECT_EQ(text->GetSize().y, 200);
    EXPECT_TRUE(text->IsMultiLine());
    EXPECT_FALSE(text->IsEditable());
}

TEST_F(Summary, FollowsTheFilters) {
    LoadEvidence("one");
    const FilterSummaryPanel* page = Open();
    ASSERT_NE(page, nullptr);
    const StatusGroup* line = Line(page, grid);
    ASSERT_NE(line, nullptr);
    EXPECT_EQ(Line(page, silent), nullptr);
    EXPECT_EQ(line->GetStatus(), "not run yet");
    EXPECT_TRUE(page->GetResultText()->GetValue().Contains("filters tree"));
    const wxColour before = line->GetColor();

    Select(Child(grid, 2));
    Settle();
    Open();
    EXPECT_EQ(line->GetStatus(), "strong sign");
    EXPECT_NE(line->GetColor(), before);
    EXPECT_TRUE(page->GetResultText()->GetValue().Contains("Grid (strong sign): The level is 2."));

    Select(Child(grid, 3));
    Settle();
    Open();
    EXPECT_EQ(line->GetStatus(), "failed");

    // The result of other files is none of these files'.
    Select(Child(grid, 0));
    Settle();
    Open();
    EXPECT_EQ(line->GetStatus(), "nothing found");
    LoadEvidence("two");
    EXPECT_EQ(line->GetStatus(), "not run yet");
}

TEST_F(Summary, SpeaksOfBothFilesByName) {
    LoadEvidence("one");
    core->SetFile(wxString::FromUTF8(MakeFile("other")), OrvReference);
    Settle();
    Select(Child(grid, 1));
    Settle();
    const wxString text = Open()->GetResultText()->GetValue();
    EXPECT_TRUE(text.Contains("Evidence (one.jpg)")) << text;
    EXPECT_TRUE(text.Contains("Reference (other.jpg)")) << text;
}

}  // namespace
