// The widths of a table's columns belong to its filter and outlive the program.

#include <wx/frame.h>
#include <wx/grid.h>

#include <cstdlib>
#include <memory>

#include "orvgui/pages/filterguitext.h"
#include "orvgui/pages/orvviewerpanel.h"
#include "orvgui/shell/filterspanel.h"
#include "orvgui/tables/gridframe.h"
#include "orvgui/tables/listctrlresults.h"
#include "orvgui/tables/listctrlwidths.h"
#include "tests/orvgui/framefixture.h"

namespace {

// A filter whose result is a table.
class TableFilter : public OrvFilter {
  public:
    explicit TableFilter(const std::string& name) : OrvFilter(ToWx(name), name) {
        Describe("Tables", "Gives a table.");
        SetParameters({}, {}, {Parameter::Output(ParameterType::TableString, "table", "Table")});
    }

  protected:
    void Compute(const OrvLoadedFile&, const VecParameter&, const OrvJob&,
                 OrvSlotResult& result) const override {
        result.output.Find("table")->SetValue(TableString{{"Name", "Value", "Unit"}, {"a", "1", "mm"}});
    }
};

OrvListCtrl* FindTable(wxWindow* window) {
    if (auto* list = dynamic_cast<OrvListCtrl*>(window)) return list;
    for (wxWindow* child : window->GetChildren())
        if (OrvListCtrl* found = FindTable(child)) return found;
    return nullptr;
}

// As if the user had dragged the edge of the column's label.
void Drag(OrvListCtrl* list, int col, int width) {
    list->SetColSize(col, width);
    wxGridSizeEvent event(list->GetId(), wxEVT_GRID_COL_SIZE, list, col);
    list->ProcessWindowEvent(event);
}

class TableWidths : public FrameTest {
  protected:
    void AddFilters() {
        for (const char* name : {"lengths", "weights"})
            core->GetContext().RegisterFilter(std::make_unique<TableFilter>(name));
        frame->GetFiltersPanel()->InitTreebook();
        Load(folder.WritePicture("a.png"));
    }
    OrvListCtrl* Show(const char* name) {
        OrvFilter* filter = core->GetContext().FindFilter(name);
        frame->GetFiltersPanel()->ActivateGui(dynamic_cast<OrvFilterGui*>(filter->GetAnalsyisFilterGui()));
        Settle();
        PumpFrames();
        return FindTable(frame->GetViewerPanel()->GetShownPage());
    }
};

}  // namespace

TEST_F(TableWidths, ComeBackPerFilterAfterARestart) {
    AddFilters();
    OrvListCtrl* lengths = Show("lengths");
    ASSERT_NE(lengths, nullptr);
    ASSERT_EQ(lengths->GetNumberCols(), 3);
    Drag(lengths, 1, 333);
    OrvListCtrl* weights = Show("weights");
    ASSERT_NE(weights, nullptr);
    ASSERT_NE(weights, lengths);
    EXPECT_NE(weights->GetColSize(1), 333);
    Drag(weights, 0, 222);
    EXPECT_EQ(Show("lengths")->GetColSize(1), 333);

    // A result window's table is kept under the filter that is active, where it has as many columns.
    WxTable files = {{"Name", "Size", "Full Path"}, {"a", "1", "/a"}};
    auto* window = new GridFrame(frame, "files", files, GridFrame::Batch, 0, {});
    EXPECT_EQ(window->GetListCtrl()->GetColSize(1), 333);
    WxTable pairs = {{"Name", "Full Path"}, {"a", "/a"}};
    auto* other = new GridFrame(frame, "pairs", pairs, GridFrame::Batch, 0, {});
    EXPECT_NE(other->GetListCtrl()->GetColSize(1), 333);

    // The file that keeps them may have been edited.
    const std::vector<int> kept = frame->GetListControlColumnsWidth(core->GetActiveFilter()->GetName());
    const int least = other->GetListCtrl()->GetColMinimalAcceptableWidth();
    for (const auto& [width, isTaken] :
         {std::pair{10000, true}, {10001, false}, {least, true}, {least - 1, false}}) {
        frame->SetListControlColumnsWidth(core->GetActiveFilter()->GetName(), {width, 50});
        auto* again = new GridFrame(frame, "pairs", pairs, GridFrame::Batch, 0, {});
        EXPECT_EQ(again->GetListCtrl()->GetColSize(0) == width, isTaken) << width;
        again->Destroy();
    }
    frame->SetListControlColumnsWidth(core->GetActiveFilter()->GetName(), kept);

    CloseFrame();
    OpenFrame();
    AddFilters();
    EXPECT_EQ(Show("lengths")->GetColSize(1), 333);
    EXPECT_EQ(Show("weights")->GetColSize(0), 222);
    EXPECT_NE(Show("weights")->GetColSize(1), 333);
}

TEST(WrapText, BreaksBetweenWordsAndSaysWhereItCuts) {
    const wxString more = wxString::FromUTF8("\u2026");
    const struct {
        const char* text;
        int columns;
        int lines;
        wxString wrapped;
    } cases[] = {
        {"", 10, 3, ""},
        {"one two", 7, 3, "one two"},
        {"one two", 6, 3, "one\ntwo"},
        {"one two three", 8, 3, "one two\nthree"},
        {"one two three four", 5, 3, "one\ntwo\nthre" + more},
        {"abcdefghij", 4, 3, "abcd\nefgh\nij"},
        {"abcdefghij", 4, 2, "abcd\nefg" + more},
        {"ab abcdefgh", 4, 9, "ab\nabcd\nefgh"},
        {"one\ntwo", 10, 3, "one\ntwo"},
        {"one\ntwo", 10, 1, "one" + more},
        {"one two", 6, 1, "one t" + more},
        {"abc", 0, 9, "a\nb\nc"},
        {"  indented text", 10, 3, "  indented\ntext"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(WrapText(c.text, c.columns, c.lines), c.wrapped)
            << c.text << " in " << c.columns << " x " << c.lines;
    const wxString wide = wxString::FromUTF8("\u5199\u771f\u5199\u771f");
    EXPECT_EQ(WrapText(wide, 4, 2), wide.Left(2) + "\n" + wide.Mid(2)) << "each takes two columns";
}

// Columns that begin beyond the right edge are sized too.
TEST(TableColumnsOutOfSight, AreSizedQuietly) {
    auto* frame = new wxFrame(nullptr, wxID_ANY, "table", wxPoint(0, 0), wxSize(300, 200));
    TableString rows(3, std::vector<std::string>(30, "a text of some length"));
    auto* list = new OrvListCtrl(frame, std::make_shared<const TableString>(rows), OrvListCtrl::kQuickFill,
                                 wxGrid::wxGridSelectRows, wxHORIZONTAL);
    frame->Show();
    ASSERT_TRUE(PumpUntil([&] { return list->GetClientSize().x > 200; }));
    PumpFrames();
    testing::internal::CaptureStderr();
    const int before = list->GetColSize(29);
    frame->SetSize(320, 220);
    PumpFrames();
    const int toggled = list->GetColSize(29);
    list->SetColumnWidths(std::vector<int>(30, 90));
    PumpFrames();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(std::abs(toggled - before), 1);
    EXPECT_EQ(list->GetColSize(29), 90);
    frame->Destroy();
    Pump();
}
