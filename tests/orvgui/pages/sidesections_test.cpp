// The panel beside the pictures: its sections are made higher and lower by hand, and stay so.

#include <wx/button.h>
#include <wx/grid.h>
#include <wx/uiaction.h>

#include <algorithm>

#include "orvgui/common/dragedge.h"
#include "orvgui/pages/filterguiviewer.h"
#include "orvgui/pages/sidesection.h"
#include "orvgui/shell/filterspanel.h"
#include "orvgui/viewer/navigatorcanvas.h"
#include "orvgui/viewer/viewerpanel.h"
#include "tests/orvgui/framefixture.h"
#include "tests/orvgui/nativecomplaints.h"
#include "zorbase/files.h"

namespace {

class SideSectionsTest : public FrameTest {
  protected:
    void SetUp() override {
        evidence = folder.WritePicture("evidence.png", 90, 400);
        Open();
    }

    void Open() {
        frame->SetSize(1280, 800);
        Load(evidence);
        page = ShowImagePage("error-level");
        ASSERT_NE(page, nullptr);
        ASSERT_TRUE(PumpUntil([this] { return page->IsShownOnScreen() && Results() != nullptr; }));
        PumpUntilPlaced(frame);
    }
    void OpenAgain() {
        CloseFrame();
        OpenFrame();
        Open();
    }

    // By the place in the list, of those that are seen.
    SideSection* Shown(std::size_t place) const {
        const std::vector<SideSection*>& all = page->GetSideSections();
        return place < all.size() && all[place] != nullptr && all[place]->IsShown() ? all[place] : nullptr;
    }
    SideSection* Description() const { return Shown(0); }
    SideSection* Results() const { return Shown(3); }

    // The edge below a section is taken in its middle and moved.
    static void Drag(SideSection* section, int distance) {
        DragEdge* edge = section->GetEdge();
        const auto mouse = [edge](wxEventType type, int y) {
            wxMouseEvent event(type);
            event.SetX(20);
            event.SetY(y);
            event.m_leftDown = type != wxEVT_LEFT_UP;
            event.SetEventObject(edge);
            // The edge moves with what it sizes.
            edge->ProcessWindowEvent(event);
        };
        const int before = edge->GetScreenPosition().y;
        mouse(wxEVT_LEFT_DOWN, 2);
        if (distance != 0) mouse(wxEVT_MOTION, 2 + distance);
        PumpFrames();
        mouse(wxEVT_LEFT_UP, 2 + distance - (edge->GetScreenPosition().y - before));
        PumpFrames();
    }

    std::string evidence;
    OrvFilterGuiViewer* page = nullptr;
};

}  // namespace

TEST_F(SideSectionsTest, EveryPartHasAnEdgeThatSizesIt) {
    int shown = 0;
    for (SideSection* section : page->GetSideSections()) {
        if (section == nullptr || !section->IsShown()) continue;
        ++shown;
        EXPECT_TRUE(section->GetEdge()->IsShown());
        EXPECT_EQ(section->GetChosenHeight(), 0);
        const int natural = section->GetSize().y;
        EXPECT_EQ(section->GetClientSize().x, section->GetSize().x) << "as high as its content: " << shown;
        Drag(section, 0);
        EXPECT_EQ(section->GetChosenHeight(), 0) << "a click is no choice";
        Drag(section, 57);
        EXPECT_EQ(section->GetSize().y, natural + 57) << shown;
        EXPECT_GE(section->GetEdge()->GetPosition().y, section->GetRect().GetBottom());
        Drag(section, -3000);
        EXPECT_EQ(section->GetSize().y, SideSection::kLeast) << shown;
        wxMouseEvent twice(wxEVT_LEFT_DCLICK);
        section->GetEdge()->ProcessWindowEvent(twice);
        PumpFrames();
        EXPECT_EQ(section->GetSize().y, natural) << shown;
        Drag(section, 0);
        EXPECT_EQ(section->GetChosenHeight(), 0) << "a click after a drag is none either";
    }
    EXPECT_GE(shown, 4) << "description, map, parameters, results";
}

// What a section gains goes to its table; what it loses the table loses first, without a complaint of the libraries below.
TEST_F(SideSectionsTest, ATableTakesTheRoomOfItsSection) {
    SideSection* section = Results();
    wxGrid* grid = nullptr;
    std::vector<wxWindow*> below{section};
    for (std::size_t i = 0; i < below.size() && grid == nullptr; ++i) {
        for (wxWindow* child : below[i]->GetChildren()) below.push_back(child);
        grid = dynamic_cast<wxGrid*>(below[i]);
    }
    ASSERT_NE(grid, nullptr);
    const NativeComplaints complaints;
    const int natural = grid->GetSize().y;
    Drag(section, 120);
    EXPECT_EQ(grid->GetSize().y, natural + 120);
    Drag(section, -110);
    EXPECT_EQ(grid->GetSize().y, natural + 10);
    Drag(section, -1000);
    EXPECT_LE(grid->GetSize().y, natural);
    EXPECT_EQ(complaints.GetText(), "");
}

TEST_F(SideSectionsTest, WhatTheUserMadeOfItStaysOverARestart) {
    const int results = Results()->GetSize().y;
    Drag(Results(), 90);
    page->SetSideWidth(330);
    page->SetNavigatorHeight(150);
    wxButton* title = nullptr;
    for (wxWindow* child : Description()->GetChildren().GetFirst()->GetData()->GetChildren())
        if (auto* button = dynamic_cast<wxButton*>(child)) title = button;
    ASSERT_NE(title, nullptr);
    const int description = Description()->GetSize().y;
    wxCommandEvent click(wxEVT_BUTTON, title->GetId());
    click.SetEventObject(title);
    title->ProcessWindowEvent(click);
    PumpFrames();
    EXPECT_LT(Description()->GetSize().y, description / 2) << "the text makes room";
    const wxSize navigator = page->GetNavigator()->GetSize();
    EXPECT_NEAR(navigator.y, 150, 2);

    OpenAgain();
    EXPECT_FALSE(frame->SaveListControlsColumnsWidth().Contains("side-panel")) << "no columns of a table";
    EXPECT_EQ(Results()->GetSize().y, results + 90);
    EXPECT_LT(Description()->GetSize().y, description / 2);
    EXPECT_EQ(page->GetNavigator()->GetSize(), navigator);
    EXPECT_EQ(Results()->GetGrandParent()->GetParent()->GetSize().x, 330) << "the panel";
}

// The file that keeps the numbers may have been edited.
TEST_F(SideSectionsTest, NumbersThatCannotBeAreTakenWithinReason) {
    core->SetToolSettings("side-panels", {{"error-level", {100000, 7, 90000, -5, "x", 3, 999999999999}}});
    OpenAgain();
    EXPECT_GE(page->GetViewerPanel()->GetSize().x, 270);
    EXPECT_LE(page->GetNavigator()->GetSize().x, 600);
    for (SideSection* section : page->GetSideSections()) {
        if (section != nullptr) {
            EXPECT_LE(section->GetChosenHeight(), SideSection::kMost);
        }
    }
}

// Why there is nothing to see is read in lines: the panel needs no scroll bar below for it.
TEST_F(SideSectionsTest, AReasonMakesThePanelNoWider) {
    frame->SetSize(1024, 768);
    evidence = PathJoin(PathJoin(GetAppDataPath(), "samples"), "coffee-edited.jpg");
    Load(evidence);
    OrvFilter* dimples = core->GetContext().FindFilter("jpeg-dimples");
    ASSERT_NE(dimples, nullptr);
    page = dynamic_cast<OrvFilterGuiViewer*>(dimples->GetAnalsyisFilterGui());
    ASSERT_NE(page, nullptr);
    frame->GetFiltersPanel()->ActivateGui(page);
    Settle();
    ASSERT_TRUE(PumpUntil([this] { return page->IsShownOnScreen() && Results() != nullptr; }));
    PumpFrames();
    wxWindow* panel = Description()->GetGrandParent();
    EXPECT_LE(Description()->GetSize().x, panel->GetClientSize().x);
    EXPECT_LE(panel->GetVirtualSize().x, panel->GetClientSize().x);
}
