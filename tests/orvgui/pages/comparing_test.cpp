// The two pictures of a viewer page in one place: mixed, in turn, and the selection that is looked at closely.

#include <wx/scrolwin.h>

#include "orvgui/pages/filterguiviewer.h"
#include "orvgui/shell/filterspanel.h"
#include "orvgui/viewer/canvas.h"
#include "orvgui/viewer/comparepanel.h"
#include "orvgui/viewer/selectorpanel.h"
#include "orvgui/viewer/toolpanel.h"
#include "orvgui/viewer/viewerpanel.h"
#include "orvgui/viewer/zoompanel.h"
#include "tests/orvgui/framefixture.h"
#include "tests/orvgui/nativecomplaints.h"

namespace {

class ComparingTest : public FrameTest {
  protected:
    void Open(int evidenceSide, int referenceSide) {
        Load(folder.WritePicture("evidence.png", 40, evidenceSide));
        Load(folder.WritePicture("reference.png", 140, referenceSide), OrvReference);
        OrvFilter* filter = core->GetContext().FindFilter("visual-inspection");
        ASSERT_NE(filter, nullptr);
        page = dynamic_cast<OrvFilterGuiViewerDouble*>(filter->GetAnalsyisFilterGui());
        ASSERT_NE(page, nullptr);
        frame->GetFiltersPanel()->ActivateGui(page);
        Settle();
        ASSERT_TRUE(PumpUntil([this] { return page->IsShownOnScreen() && First()->HasImage(); }));
        panel = page->GetComparePanel();
        ASSERT_NE(panel, nullptr);
    }
    Canvas* First() const { return page->GetCanvases()[0]; }
    Canvas* Second() const { return page->GetCanvases()[1]; }
    static int Grey(Canvas* canvas) {
        int red = -1;
        int green = -1;
        int blue = -1;
        canvas->GetRGB(red, green, blue, 5, 5);
        return green;
    }
    void Choose(int mode) {
        page->GetOrvToolPanel()->GetZoomPanel()->SetWindowSplitVal(mode);
        page->WindowSplit();
        PumpFrames();
    }

    OrvFilterGuiViewerDouble* page = nullptr;
    ComparePanel* panel = nullptr;
};

}  // namespace

TEST_F(ComparingTest, TheOtherPictureIsLaidOverEach) {
    Open(300, 300);
    ASSERT_TRUE(panel->IsShown());
    EXPECT_EQ(Grey(First()), 40);
    panel->SetMix(25);
    EXPECT_EQ(Grey(First()), 65);
    EXPECT_EQ(Grey(Second()), 115);
    auto* splitter = static_cast<SplitterViewerPanel*>(page->GetViewerPanel());
    EXPECT_TRUE(splitter->GetCaption(0).Contains("evidence.png")) << splitter->GetCaption(0);
    EXPECT_TRUE(splitter->GetCaption(0).EndsWith("25 % of the other")) << splitter->GetCaption(0);
    page->WindowSwap(1);
    EXPECT_EQ(Grey(First()), 65) << "mixed pictures are not swapped";
    page->WindowSwap(2);
    // A new result, and another pair of pictures, are mixed alike.
    page->UpdateGui();
    EXPECT_EQ(Grey(First()), 65);
    Choose(2);
    EXPECT_EQ(Grey(First()), 40) << "the untouched and the processed picture are one";
    Choose(7);
    EXPECT_EQ(Grey(Second()), 115);
    panel->SetMix(0);
    EXPECT_EQ(Grey(First()), 40);
    EXPECT_FALSE(splitter->GetCaption(0).Contains("%"));
    // One picture alone has nothing to be compared with.
    panel->SetMix(50);
    Choose(1);
    EXPECT_FALSE(panel->IsShown());
    EXPECT_EQ(panel->GetMix(), 0);
    EXPECT_EQ(Grey(Second()), 40);
}

TEST_F(ComparingTest, PicturesOfDifferentSizeAreNotMixed) {
    Open(300, 280);
    panel->SetMix(50);
    page->UpdateGui();
    EXPECT_EQ(panel->GetMix(), 0);
    EXPECT_EQ(Grey(First()), 40);
    EXPECT_EQ(Grey(Second()), 140);
}

TEST_F(ComparingTest, BlinkingShowsBothInTurnUntilItIsStopped) {
    Open(300, 300);
    EXPECT_FALSE(panel->IsBlinking()) << "off by default";
    panel->SetRate(9.0);
    EXPECT_DOUBLE_EQ(panel->GetRate(), 3.0);
    EXPECT_EQ(BlinkIntervalMs(3.0), 167);
    EXPECT_EQ(BlinkIntervalMs(0.5), 1000);
    EXPECT_EQ(BlinkIntervalMs(0.0), 1000);
    EXPECT_EQ(BlinkIntervalMs(50.0), 167);
    panel->Blink(true);
    for (const int expected : {140, 40, 140})
        EXPECT_TRUE(PumpUntil([&] { return Grey(First()) == expected; }, 2000)) << expected;
    panel->Blink(false);
    EXPECT_EQ(Grey(First()), 40);
    EXPECT_EQ(Grey(Second()), 140);
    panel->Blink(true);
    EXPECT_TRUE(PumpUntil([&] { return Grey(First()) == 140; }, 2000));
    panel->SetMix(30);
    EXPECT_FALSE(panel->IsBlinking()) << "one of the two";
    EXPECT_EQ(Grey(First()), 70);
    // Another page stops it: nothing flickers unseen.
    panel->Blink(true);
    frame->SelectFirstItem();
    Pump();
    EXPECT_FALSE(panel->IsBlinking());
}

TEST_F(ComparingTest, TheSelectionFillsTheView) {
    Open(1200, 1200);
    SelectorPanel* selector = page->GetOrvToolPanel()->GetSelectorPanel();
    const WindowProperties& shared = *frame->GetWindowProperties();
    page->ZoomToSelection();
    const double before = shared.zoom;
    EXPECT_DOUBLE_EQ(before, FitZoom(First()->GetZoomArea(), {1200, 1200}))
        << "no selection, nothing happens";
    for (const IntRect& region :
         {IntRect{400, 700, 100, 40}, IntRect{0, 0, 64, 64}, IntRect{1190, 1190, 10, 10}}) {
        selector->SetSelector({region.x, region.y}, {region.x + region.width, region.y + region.height}, true,
                              First());
        page->ZoomToSelection();
        PumpFrames();
        EXPECT_DOUBLE_EQ(shared.zoom,
                         std::min(FitZoom(First()->GetZoomArea(), {region.width, region.height}), 128.0));
        for (Canvas* canvas : {First(), Second()}) {
            const wxSize client = canvas->GetClientSize();
            int left = 0, top = 0, right = 0, bottom = 0;
            canvas->GetPixelCoordinates(0, 0, left, top, false, false);
            canvas->GetPixelCoordinates(client.x - 1, client.y - 1, right, bottom, false, false);
            // Scroll bars that come with the zoom take a little of it.
            const int bar = 2 + static_cast<int>(24 / shared.zoom);
            EXPECT_LE(left, region.x + bar);
            EXPECT_LE(top, region.y + bar);
            EXPECT_GE(right, region.x + region.width - 1 - bar);
            EXPECT_GE(bottom, region.y + region.height - 1 - bar);
            if (region.x != 400) continue;  // the others lie at an edge of the picture
            EXPECT_NEAR((left + right) / 2, 450, bar);
            EXPECT_NEAR((top + bottom) / 2, 720, bar);
        }
    }
}

// Sections that have nothing to say are hidden; the panel scrolls over them without a complaint of the libraries below.
TEST_F(ComparingTest, TheSidePanelScrollsQuietly) {
    Open(300, 300);
    core->SetFile(wxString(), OrvReference);
    Settle();
    ASSERT_FALSE(panel->IsShown());
    wxScrolledWindow* scrolled = nullptr;
    for (wxWindow* window = panel->GetParent(); window != nullptr && scrolled == nullptr;
         window = window->GetParent())
        scrolled = dynamic_cast<wxScrolledWindow*>(window);
    ASSERT_NE(scrolled, nullptr);
    scrolled->SetVirtualSize(200, 4000);
    Pump();
    const NativeComplaints complaints;
    ASSERT_TRUE(complaints.IsListening());
    for (const int place : {3, 9, 30, 2}) {
        scrolled->Scroll(0, place);
        PumpFrames();
        EXPECT_EQ(scrolled->GetViewStart().y, place);
    }
    EXPECT_EQ(complaints.GetText(), "");
}
