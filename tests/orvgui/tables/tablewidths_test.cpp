// The widths of a table's columns belong to its filter and outlive the program.

#include <wx/grid.h>

#include "orvgui/pages/filterguitext.h"
#include "orvgui/pages/orvviewerpanel.h"
#include "orvgui/shell/filterspanel.h"
#include "orvgui/tables/gridframe.h"
#include "orvgui/tables/listctrlresults.h"
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
        PumpFor(50);
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

    CloseFrame();
    OpenFrame();
    AddFilters();
    EXPECT_EQ(Show("lengths")->GetColSize(1), 333);
    EXPECT_EQ(Show("weights")->GetColSize(0), 222);
    EXPECT_NE(Show("weights")->GetColSize(1), 333);
}
