#include "orvgui/tables/gridframe.h"

#include <gtest/gtest.h>
#include <wx/display.h>
#include <wx/srchctrl.h>

#include <algorithm>

#include "orvgui/tables/listctrlresults.h"
#include "tests/support/guitest.h"
#include "zorbase/text.h"

namespace {

WxTable SmallTable() {
    return {{"Name", "Full Path"}, {"b", "/b"}, {"a", "/a"}};
}

}  // namespace

TEST(GridFrame, HostsTheListOfItsKind) {
    auto* parent = new wxFrame(nullptr, wxID_ANY, "parent", wxPoint(300, 200), wxSize(500, 400));
    WxTable table = SmallTable();
    auto* batch = new GridFrame(parent, "batch <b>", table, GridFrame::Batch, 0, {});
    auto* web = new GridFrame(parent, "web", table, GridFrame::Web, 0, {});
    table[1][0] = "changed";
    EXPECT_NE(dynamic_cast<OrvListCtrlBatch*>(batch->GetListCtrl()), nullptr);
    EXPECT_NE(dynamic_cast<OrvListCtrlWeb*>(web->GetListCtrl()), nullptr);
    EXPECT_EQ(batch->GetListCtrl()->GetCellValue(0, 0), "b") << "the table is a copy";
    const wxRect screen = wxDisplay().GetClientArea();
    EXPECT_EQ(batch->GetSize(), wxSize(std::min(1200, screen.width), std::min(600, screen.height)));
    EXPECT_EQ(batch->GetPosition().y, std::max(0, 200 + 200 - 300)) << "in the middle of its parent";
    EXPECT_TRUE(screen.Contains(batch->GetRect())) << "and on the screen";
    EXPECT_EQ(batch->GetListCtrl()->GetColLabelTextOrientation(), wxHORIZONTAL);
    batch->Show();
    ASSERT_TRUE(PumpUntil([batch] { return batch->IsShownOnScreen(); }));
    PumpFrames();
    EXPECT_GT(batch->GetListCtrl()->GetSize().y, 400);
    parent->Destroy();
    Pump();
}

TEST(GridFrame, FilterLineNarrowsTheRows) {
    WxTable table = SmallTable();
    auto* frame = new GridFrame(nullptr, "t", table, GridFrame::Batch, 0, {});
    EXPECT_EQ(frame->GetCountText(), "2 rows");
    frame->GetFilterLine()->SetValue("/A");
    EXPECT_EQ(frame->GetListCtrl()->GetNumberRows(), 1);
    EXPECT_EQ(frame->GetCountText(), "1 of 2 rows");
    for (const int code : {static_cast<int>('A'), static_cast<int>(WXK_ESCAPE)}) {
        wxKeyEvent key(wxEVT_CHAR_HOOK);
        key.m_keyCode = code;
        frame->GetFilterLine()->ProcessWindowEvent(key);
        EXPECT_EQ(key.GetSkipped(), code == 'A');
        EXPECT_EQ(frame->GetFilterLine()->GetValue(), code == 'A' ? "/A" : "");
    }
    EXPECT_EQ(frame->GetListCtrl()->GetNumberRows(), 2);
    frame->GetFilterLine()->SetValue("/A");
    wxCommandEvent cancel(wxEVT_SEARCH_CANCEL);
    frame->GetFilterLine()->ProcessWindowEvent(cancel);
    EXPECT_EQ(frame->GetFilterLine()->GetValue(), "");
    EXPECT_EQ(frame->GetCountText(), "2 rows");
    frame->Destroy();
    Pump();
}

// The ids of the list's commands are those of other commands in the windows above.
TEST(GridFrame, KeepsMenuEventsToItself) {
    auto* parent = new wxFrame(nullptr, wxID_ANY, "parent");
    int reached = 0;
    parent->Bind(wxEVT_MENU, [&reached](wxCommandEvent&) { ++reached; });
    parent->Bind(wxEVT_UPDATE_UI, [&reached](wxUpdateUIEvent&) { ++reached; });
    WxTable table = SmallTable();
    auto* frame = new GridFrame(parent, "t", table, GridFrame::Web, 0, {});
    for (int id = 6000; id <= 6010; ++id) {
        if (id == OrvListDetails || id == OrvListImages) continue;  // these would show dialogs
        if (id == OrvListDataAsHtml || id == OrvListDataAsTsv || id == OrvListOpenInExcel) continue;
        wxCommandEvent event(wxEVT_MENU, id);
        frame->GetListCtrl()->ProcessWindowEvent(event);
        wxUpdateUIEvent update(id);
        frame->GetListCtrl()->ProcessWindowEvent(update);
    }
    EXPECT_EQ(reached, 0);
    wxArrayInt rows;
    EXPECT_EQ(frame->GetListCtrl()->GetSelection(rows), 2) << "the list's own command has arrived";
    EXPECT_TRUE(frame->GetListCtrl()->IsInSelection(1, 0));
    parent->Destroy();
    Pump();
}
