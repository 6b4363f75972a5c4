#include "orvgui/pages/filterguiviewer.h"

#include <gtest/gtest.h>
#include <wx/choice.h>
#include <wx/dcmemory.h>
#include <wx/sizer.h>
#include <wx/textctrl.h>

#include <random>

#include "orvgui/viewer/canvas.h"
#include "orvgui/viewer/inspectorpanel.h"
#include "orvgui/viewer/navigatorcanvas.h"
#include "orvgui/viewer/toolpanel.h"
#include "orvgui/viewer/viewerpanel.h"
#include "orvgui/viewer/zoompanel.h"
#include "tests/orvgui/pages/viewerpagefixture.h"
#include "tests/support/guitest.h"
#include "tests/support/testcore.h"
#include "zorbase/text.h"

TEST_F(ViewerPageTest, EveryModeShowsItsImages) {
    Load(WritePattern("e.png", 640, 480, 10), WritePattern("r.png", 640, 480, 60));
    Build();
    ZoomPanel* zoom = m_page->GetOrvToolPanel()->GetZoomPanel();
    EXPECT_EQ(zoom->GetWindowSplitMode(), 7);  // both files, for the first time
    const cv::Vec3b evidenceIn(10, 20, 30), evidenceOut(245, 235, 225), referenceIn(60, 20, 30),
        referenceOut(195, 235, 225);
    const cv::Vec3b difference(50, 0, 0), none(255, 255, 255);
    const struct {
        int mode;
        cv::Vec3b first, second;
        bool firstShown, secondShown;
    } cases[] = {
        {0, evidenceIn, evidenceOut, true, false},   {1, evidenceIn, evidenceOut, false, true},
        {2, evidenceIn, evidenceOut, true, true},    {3, referenceIn, referenceOut, true, false},
        {4, referenceIn, referenceOut, false, true}, {5, referenceIn, referenceOut, true, true},
        {6, evidenceIn, referenceIn, true, true},    {7, evidenceOut, referenceOut, true, true},
        {8, none, difference, false, true},          {9, none, difference, false, true},
    };
    for (const auto& c : cases) {
        Choose(c.mode);
        EXPECT_EQ(m_shared.splitMode, c.mode);
        EXPECT_EQ(PixelOf(First(), 30, 20), c.first) << c.mode;
        EXPECT_EQ(PixelOf(Second(), 30, 20), c.second) << c.mode;
        EXPECT_EQ(First()->GetParent()->IsShown(), c.firstShown) << c.mode;
        EXPECT_EQ(Second()->GetParent()->IsShown(), c.secondShown) << c.mode;
        EXPECT_EQ(m_shared.syncViews, c.firstShown && c.secondShown);
        EXPECT_EQ(m_page->GetActiveWinId(), c.firstShown ? 6000 : 6001);
        if (m_shared.syncViews) {
            EXPECT_EQ(First()->GetParent()->GetSize(), Second()->GetParent()->GetSize());
            ExpectInStep("mode " + std::to_string(c.mode));
        }
    }
}

TEST_F(ViewerPageTest, OneFileOrTwoOfDifferentSize) {
    const std::string reference = WritePattern("r.png", 320, 200, 60);
    Load("", reference);
    Build();
    ZoomPanel* zoom = m_page->GetOrvToolPanel()->GetZoomPanel();
    EXPECT_EQ(zoom->GetWindowSplitMode(), 1);  // the evidence's mode shows the reference
    EXPECT_EQ(PixelOf(Second(), 30, 20), cv::Vec3b(195, 235, 225));
    Choose(8);
    EXPECT_FALSE(Second()->HasImage());

    Load(WritePattern("e.png", 640, 480, 10), reference);
    m_page->UpdateGui();
    for (const int mode : {8, 9}) {
        Choose(mode);
        EXPECT_FALSE(First()->HasImage());
        EXPECT_FALSE(Second()->HasImage());
    }
    // The active canvas leads, the smaller image follows as far as it goes.
    Choose(6);
    m_page->Zoom100();
    First()->ScrollTo(100, 60);
    m_page->ZoomPlus();
    PumpFrames();
    EXPECT_EQ(m_shared.imageSize, (IntPair{640, 480}));
    EXPECT_LE(Second()->GetViewStart().x, First()->GetViewStart().x);
    // The files go away.
    Load("", "");
    m_page->UpdateGui();
    PumpFrames();
    EXPECT_FALSE(First()->HasImage());
    EXPECT_FALSE(Second()->HasImage());
}

TEST_F(ViewerPageTest, ANewResultOfTheSameSizeKeepsTheView) {
    Load(WritePattern("a.png", 2000, 1500, 10), "");
    Build();
    m_page->Zoom100();
    Second()->ScrollTo(300, 200);
    SendKey(Second(), wxEVT_KEY_DOWN, WXK_RIGHT);
    PumpFrames();
    const wxPoint start = Second()->GetViewStart();
    EXPECT_GT(start.x, 300);
    Load(WritePattern("b.png", 2000, 1500, 90), "");
    m_page->UpdateGui();
    PumpFrames();
    EXPECT_DOUBLE_EQ(m_shared.zoom, 1.0);
    EXPECT_EQ(Second()->GetViewStart(), start);
    Load(WritePattern("c.png", 2001, 1500, 90), "");
    m_page->UpdateGui();
    PumpFrames();
    EXPECT_LT(m_shared.zoom, 1.0);  // fitted afresh
}

TEST_F(ViewerPageTest, HalvesStayInStepThroughAnything) {
    Load(WritePattern("e.png", 1700, 1300, 10), WritePattern("r.png", 1700, 1300, 60));
    Build();
    ASSERT_TRUE(m_shared.syncViews);
    std::mt19937 random(20261121);
    const auto pick = [&random](int count) {
        return static_cast<int>(random() % static_cast<unsigned>(count));
    };
    const wxEventType scrolls[] = {wxEVT_SCROLLWIN_LINEDOWN, wxEVT_SCROLLWIN_LINEUP, wxEVT_SCROLLWIN_PAGEDOWN,
                                   wxEVT_SCROLLWIN_PAGEUP,   wxEVT_SCROLLWIN_TOP,    wxEVT_SCROLLWIN_BOTTOM};
    const int keys[] = {WXK_LEFT, WXK_RIGHT, WXK_UP, WXK_DOWN, WXK_PAGEUP, WXK_PAGEDOWN};
    const char characters[] = {'+', '-', '0', 'f'};
    int moved = 0;
    for (int i = 0; i < 1000; ++i) {
        Canvas* canvas = pick(2) ? First() : Second();
        const wxPoint before = First()->GetViewStart();
        const int x = pick(400);
        const int y = pick(500);
        const int operation = pick(10);
        switch (operation) {
            case 0:
                m_page->ZoomPlus();
                break;
            case 1:
                m_page->ZoomMinus();
                break;
            case 2:
                m_page->ZoomSlider(pick(31));
                break;
            case 3: {
                wxScrollWinEvent event(scrolls[pick(6)], 0, pick(2) ? wxHORIZONTAL : wxVERTICAL);
                event.SetEventObject(canvas);
                canvas->ProcessWindowEvent(event);
                break;
            }
            case 4:
                Enter(canvas);
                SendMouse(canvas, wxEVT_MOUSEWHEEL, x, y, false, false, pick(2) ? 120 : -120);
                break;
            case 5:
                Enter(canvas);
                SendMouse(canvas, wxEVT_LEFT_DOWN, x, y, true);
                for (int step = 0; step < 3; ++step)
                    SendMouse(canvas, wxEVT_MOTION, pick(400), pick(500), true);
                SendMouse(canvas, wxEVT_LEFT_UP, pick(400), pick(500));
                break;
            case 6:
                SendKey(canvas, wxEVT_KEY_DOWN, keys[pick(6)]);
                break;
            case 7:
                SendKey(canvas, wxEVT_CHAR, characters[pick(4)]);
                break;
            case 8: {
                wxMouseEvent event(wxEVT_LEFT_DOWN);
                event.SetEventObject(m_page->GetNavigator());
                event.SetLeftDown(true);
                event.SetPosition(wxPoint(pick(120), pick(90)));
                m_page->GetNavigator()->ProcessWindowEvent(event);
                break;
            }
            case 9:
                if (i % 7 == 0) {
                    m_page->SetSize(900 + pick(290), 600 + pick(250));
                    m_page->SendSizeEvent();
                } else {
                    SendMouse(canvas, wxEVT_RIGHT_DOWN, x, y, false, true);
                    SendMouse(canvas, wxEVT_RIGHT_UP, x, y);
                }
                break;
        }
        if (i % 10 == 0) Pump();
        moved += First()->GetViewStart() != before;
        ExpectInStep("operation " + std::to_string(operation) + " at step " + std::to_string(i));
        if (HasFatalFailure()) return;
    }
    EXPECT_GT(moved, 200);  // the sequence has to move what it tests
    PumpFrames();
    ExpectInStep("everything");
}

// Two photographs side by side: every way to zoom brings the point that it is about to where it belongs.
TEST_F(ViewerPageTest, AZoomStepKeepsThePlaceThatWasAskedFor) {
    Load(WritePattern("e.png", 4000, 3000, 10), WritePattern("r.png", 4000, 3000, 60));
    Build();
    std::mt19937 random(7);
    const auto pick = [&random](int count) {
        return static_cast<int>(random() % static_cast<unsigned>(count));
    };
    ZoomPanel* zoom = m_page->GetOrvToolPanel()->GetZoomPanel();
    int steps = 0;
    for (const int mode : {7, 2, 6}) {
        Choose(mode);
        for (int i = 0; i < 60; ++i) {
            Canvas* canvas = pick(2) ? First() : Second();
            m_page->ZoomSlider(14 + pick(9));  // 25 % to 500 %
            Enter(canvas);
            const wxSize client = canvas->GetClientSize();
            const IntPair mouse{pick(client.x), pick(client.y)};
            IntPair point;
            canvas->GetPixelCoordinates(mouse.x, mouse.y, point.x, point.y, true, false);
            const double before = m_shared.zoom;
            std::string what = "wheel";
            switch (pick(4)) {
                case 0:
                    SendMouse(canvas, wxEVT_MOUSEWHEEL, mouse.x, mouse.y, false, false, pick(2) ? 120 : -120);
                    break;
                case 1:
                    what = "click";
                    SendMouse(canvas, wxEVT_LEFT_DOWN, mouse.x, mouse.y, true);
                    SendMouse(canvas, wxEVT_LEFT_UP, mouse.x, mouse.y);
                    break;
                default: {
                    // Buttons and keys: the last centre, or the middle of the view when it has been moved since.
                    what = "button";
                    SendKey(canvas, wxEVT_KEY_DOWN, WXK_RIGHT);
                    SendKey(canvas, wxEVT_KEY_DOWN, WXK_DOWN);
                    if (canvas->DoesImageFit()) continue;
                    point = canvas->GetViewCentre();
                    if (pick(2)) {
                        m_page->ZoomPlus();
                    } else {
                        m_page->ZoomEnter(std::to_string(30 + pick(300)));
                    }
                    break;
                }
            }
            if (m_shared.zoom == before) continue;
            ++steps;
            const std::string after = what + " in mode " + std::to_string(mode) + ", step " +
                                      std::to_string(i) + ", to " +
                                      zoom->GetZoomField()->GetValue().utf8_string() + " %";
            ExpectPlace(AskedPlace(canvas, point), after);
            Pump();
            ExpectPlace(AskedPlace(canvas, point), after + ", a moment later");
            ExpectInStep(after);
            if (HasFailure()) return;
        }
    }
    EXPECT_GT(steps, 100);
}

TEST_F(ViewerPageTest, AtAnEdgeTheViewKeepsItsMiddle) {
    Load(WritePattern("e.png", 3000, 2000, 10), "");
    Build();
    Canvas* canvas = m_page->GetCanvasFromActiveWin();
    const std::pair<const char*, std::function<void()>> steps[] = {
        {"+", [&] { m_page->ZoomPlus(); }},
        {"-", [&] { m_page->ZoomMinus(); }},
        {"100", [&] { m_page->Zoom100(); }},
        {"slider", [&] { m_page->ZoomSlider(20); }},
    };
    for (const auto& [name, step] : steps) {
        m_page->ZoomEnter("150");
        // To the corner and a little along one edge, as a user scrolls.
        canvas->ScrollTo(0, 0);
        SendKey(canvas, wxEVT_KEY_DOWN, WXK_DOWN);
        ASSERT_EQ(m_shared.scrollPosition.x, 0);
        const IntPair middle = canvas->GetViewCentre();
        step();
        const wxPoint asked = AskedPlace(canvas, middle);
        EXPECT_EQ(canvas->GetViewStart(), asked) << name;
        EXPECT_LT(canvas->GetViewCentre().x, 1300) << name << " jumped to the middle of the picture";
    }
}

TEST_F(ViewerPageTest, AfterAScrollTheNextStepKeepsTheNewMiddle) {
    Load(WritePattern("e.png", 3000, 2000, 10), "");
    Build();
    Canvas* canvas = m_page->GetCanvasFromActiveWin();
    m_page->ZoomEnter("100");
    // A click zooms about its place, which is then the stored middle.
    SendMouse(canvas, wxEVT_LEFT_DOWN, 50, 40, true);
    SendMouse(canvas, wxEVT_LEFT_UP, 50, 40);
    ASSERT_NE(m_shared.zoomCentre, (IntPair{0, 0}));
    for (int i = 0; i < 25; ++i) {
        SendKey(canvas, wxEVT_KEY_DOWN, WXK_RIGHT);
        SendKey(canvas, wxEVT_KEY_DOWN, WXK_DOWN);
    }
    EXPECT_EQ(m_shared.zoomCentre, (IntPair{0, 0})) << "the place of the click is past";
    const IntPair middle = canvas->GetViewCentre();
    ASSERT_GT(middle.x, 1000);
    m_page->ZoomPlus();
    EXPECT_EQ(canvas->GetViewStart(), AskedPlace(canvas, middle));
}

TEST_F(ViewerPageTest, AChangeOfModeOrAKnownResultKeepsThePlace) {
    Load(WritePattern("e.png", 2400, 1800, 10), WritePattern("r.png", 2400, 1800, 60));
    Build();
    m_page->Zoom100();
    for (int i = 0; i < 13; ++i) {
        const int mode = std::vector<int>{7, 1, 4, 2, 6}[static_cast<std::size_t>(i % 5)];
        Canvas* canvas = m_page->GetCanvasFromActiveWin();
        canvas->ScrollTo(400 + 13 * i, 300 + 7 * i);
        SendKey(canvas, wxEVT_KEY_DOWN, WXK_RIGHT);
        PumpFrames();
        const wxPoint before = canvas->GetViewStart();
        Choose(mode);
        EXPECT_TRUE(
            PumpUntil([&] { return m_page->GetCanvasFromActiveWin()->GetViewStart() == before; }, 500))
            << "mode " << mode << ": " << m_page->GetCanvasFromActiveWin()->GetViewStart().x << " for "
            << before.x;
        m_page->UpdateGui();
        PumpFrames();
        EXPECT_EQ(m_page->GetCanvasFromActiveWin()->GetViewStart(), before) << "the same result again";
    }
}

TEST_F(ViewerPageTest, AFittedPictureStaysFitted) {
    Load(WritePattern("e.png", 2400, 1800, 10), WritePattern("r.png", 2400, 1800, 60));
    Build();
    ZoomPanel* zoom = m_page->GetOrvToolPanel()->GetZoomPanel();
    const auto isFitted = [this] {
        Canvas* canvas = m_page->GetCanvasFromActiveWin();
        return m_shared.zoom == FitZoom(canvas->GetZoomArea(), canvas->GetProperties()->GetPixelSize());
    };
    EXPECT_TRUE(isFitted());
    EXPECT_TRUE(zoom->IsFitShown());
    for (const int mode : {1, 7, 4, 2}) {
        Choose(mode);
        EXPECT_TRUE(PumpUntil(isFitted)) << mode;
    }
    m_page->SetSize(900, 600);
    m_page->SendSizeEvent();
    EXPECT_TRUE(PumpUntil(isFitted));
    m_page->ZoomPlus();
    EXPECT_FALSE(zoom->IsFitShown());
    const double chosen = m_shared.zoom;
    Choose(1);
    m_page->SetSize(1100, 700);
    m_page->SendSizeEvent();
    PumpFrames();
    EXPECT_DOUBLE_EQ(m_shared.zoom, chosen) << "the user has zoomed since";
    m_page->WindowFit();
    EXPECT_TRUE(zoom->IsFitShown());

    // A canvas that had no size when its picture came zooms by itself when it gets one: the number is that zoom's.
    Canvas* canvas = m_page->GetCanvasFromActiveWin();
    wxWindow* room = canvas->GetParent();
    const auto size = [&](int width, int height) {
        room->SetSize(width, height);
        canvas->SetSize(width, height);
        wxSizeEvent event(wxSize(width, height));
        canvas->OnSize(event);
    };
    size(1, 1);
    m_shared.zoom = -1.0;
    m_page->ConfigureViewer(-1, true);
    size(300, 200);
    EXPECT_GT(m_shared.zoom, 0.0);
    EXPECT_EQ(zoom->GetZoomField()->GetValue(), ToWx(ZoomPercentText(m_shared.zoom)));
}

TEST_F(ViewerPageTest, AReferenceGoesToTheComparisonUnlessTheUserChoseAView) {
    const std::string evidence = WritePattern("e.png", 640, 480, 10);
    const std::string reference = WritePattern("r.png", 640, 480, 60);
    Load(evidence, "");
    Build();
    ZoomPanel* zoom = m_page->GetOrvToolPanel()->GetZoomPanel();
    EXPECT_EQ(zoom->GetWindowSplitMode(), 1);
    Load(evidence, reference);
    m_page->UpdateGui();
    EXPECT_EQ(zoom->GetWindowSplitMode(), 7);
    EXPECT_TRUE(m_shared.syncViews);
    Load(evidence, "");
    m_page->UpdateGui();
    Choose(1);
    Load(evidence, reference);
    m_page->UpdateGui();
    EXPECT_EQ(zoom->GetWindowSplitMode(), 1) << "the user has chosen";
}

TEST_F(ViewerPageTest, CaptionsSayWhatEachHalfShows) {
    Load(WritePattern("one.png", 640, 480, 10), WritePattern("two.png", 640, 480, 60));
    Build();
    auto* panel = static_cast<SplitterViewerPanel*>(m_page->GetViewerPanel());
    const struct {
        int mode;
        const char *first, *second;
    } cases[] = {{7, "Evidence: one.png  \u00b7  processed", "Reference: two.png  \u00b7  processed"},
                 {6, "Evidence: one.png  \u00b7  original", "Reference: two.png  \u00b7  original"},
                 {5, "Reference: two.png  \u00b7  original", "Reference: two.png  \u00b7  processed"},
                 {9, "", "Difference"}};
    for (const auto& c : cases) {
        Choose(c.mode);
        EXPECT_EQ(panel->GetCaption(0), wxString::FromUTF8(c.first)) << c.mode;
        EXPECT_EQ(panel->GetCaption(1), wxString::FromUTF8(c.second)) << c.mode;
    }
    Choose(7);
    m_page->WindowSwap(1);
    EXPECT_EQ(panel->GetCaption(0),
              wxString::FromUTF8("Reference: two.png  \u00b7  processed  \u00b7  swapped"));
    m_page->WindowSwap(2);
    EXPECT_EQ(panel->GetCaption(0), wxString::FromUTF8(cases[0].first));
    // The page is three parents above the canvas, and the canvas alone in its parent.
    EXPECT_EQ(First()->GetParent()->GetParent()->GetParent(), m_page);
    EXPECT_EQ(First()->GetParent()->GetChildren().size(), 1U);
}

TEST_F(ViewerPageTest, TheReadOutTellsOfWhatIsSeen) {
    Load(WritePattern("e.png", 640, 480, 10), WritePattern("r.png", 640, 480, 60));
    Build();
    m_page->Zoom100();
    PumpFrames();
    InspectorPanel* inspector = m_page->GetOrvToolPanel()->GetInspectorPanel();
    Enter(First());
    SendMouse(First(), wxEVT_MOTION, 100, 300);
    const wxString own = inspector->GetText();
    EXPECT_TRUE(own.Contains(" B 245")) << own;
    m_page->WindowSwap(1);
    EXPECT_TRUE(inspector->GetText().Contains(" B 195")) << "the other picture: " << inspector->GetText();
    m_page->WindowSwap(2);
    EXPECT_EQ(inspector->GetText(), own);
    Load(WritePattern("f.png", 640, 480, 110), WritePattern("s.png", 640, 480, 60));
    m_page->UpdateGui();
    EXPECT_TRUE(inspector->GetText().Contains(" B 145")) << "a new result: " << inspector->GetText();
    SendMouse(First(), wxEVT_LEAVE_WINDOW, -1, -1);
    EXPECT_TRUE(inspector->GetText().empty()) << "the pointer has left";
    Enter(First());
    SendMouse(First(), wxEVT_MOTION, 100, 300);
    m_page->ResetViewerPanel();
    EXPECT_TRUE(inspector->GetText().empty()) << "another page";
    m_page->UpdateGui();
    Enter(First());
    SendMouse(First(), wxEVT_MOTION, 100, 300);
    Load("", "");
    m_page->UpdateGui();
    EXPECT_TRUE(inspector->GetText().empty()) << "no file";
}

// With the evidence alone, one half of a comparison is empty; nothing goes dead over it.
TEST_F(ViewerPageTest, AnEmptyHalfLeavesTheControlsToTheOther) {
    Load(WritePattern("e.png", 1600, 1200, 10), "");
    Build();
    Choose(6);
    ASSERT_TRUE(First()->HasImage());
    ASSERT_FALSE(Second()->HasImage());
    Enter(Second());
    SendMouse(Second(), wxEVT_MOTION, 50, 50);
    m_page->Zoom100();
    EXPECT_DOUBLE_EQ(m_shared.zoom, 1.0);
    EXPECT_TRUE(m_page->GetDisplayedImage().IsValid());
    First()->ScrollTo(200, 100);
    SendKey(Second(), wxEVT_KEY_DOWN, WXK_RIGHT);
    EXPECT_GT(First()->GetViewStart().x, 200) << "the arrow key moves what is seen";
    const wxPoint start = First()->GetViewStart();
    m_page->UpdateGui();
    PumpFrames();
    EXPECT_EQ(First()->GetViewStart(), start);
    EXPECT_EQ(m_shared.scrollPosition, (IntPair{start.x, start.y}));
    wxMouseEvent press(wxEVT_LEFT_DOWN);
    press.SetEventObject(m_page->GetNavigator());
    press.SetLeftDown(true);
    press.SetPosition(wxPoint(60, 45));
    m_page->GetNavigator()->ProcessWindowEvent(press);
    EXPECT_NE(First()->GetViewStart(), start) << "the overview is not blank";
}

TEST_F(ViewerPageTest, TheOverviewHasTheShapeOfThePictureInUse) {
    Load(WritePattern("e.png", 800, 600, 10), WritePattern("r.png", 400, 800, 60));
    Build();
    for (Canvas* canvas : {First(), Second(), First()}) {
        Enter(canvas);
        SendMouse(canvas, wxEVT_MOTION, 30, 30);
        EXPECT_EQ(m_page->GetNavigator()->GetMinSize().y, canvas == First() ? 90 : 240);
    }
}

TEST_F(ViewerPageTest, TheDifferenceOfLargePicturesComesByItself) {
    Load(WritePattern("e.png", 2000, 1200, 10), WritePattern("r.png", 2000, 1200, 60));
    Build();
    Choose(8);
    ASSERT_TRUE(PumpUntil([this] { return Second()->HasImage(); }));
    EXPECT_EQ(PixelOf(Second(), 1999, 1199), cv::Vec3b(50, 0, 0));
    EXPECT_EQ(PixelOf(Second(), 0, 0), cv::Vec3b(50, 0, 0));
    // Asked for and left at once, again and again: nothing waits, nothing of it arrives afterwards.
    for (int i = 0; i < 20; ++i) {
        m_page->ResetViewerPanel();
        m_page->UpdateGui();
        Choose(i % 2 == 0 ? 8 : 7);
    }
    Choose(7);
    PumpFrames();
    EXPECT_EQ(PixelOf(Second(), 30, 20), cv::Vec3b(195, 235, 225));
}
