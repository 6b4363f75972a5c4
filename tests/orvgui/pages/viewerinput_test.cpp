// What mouse and keys do on the page of a picture.

#include "orvgui/pages/filterguiviewer.h"

#include <gtest/gtest.h>
#include <wx/choice.h>
#include <wx/dcmemory.h>
#include <wx/sizer.h>
#include <wx/textctrl.h>
#include <wx/uiaction.h>

#include <random>

#include "orvgui/viewer/canvas.h"
#include "orvgui/viewer/inspectorpanel.h"
#include "orvgui/viewer/navigatorcanvas.h"
#include "orvgui/viewer/selectorpanel.h"
#include "orvgui/viewer/toolpanel.h"
#include "orvgui/viewer/zoompanel.h"
#include "tests/orvgui/pages/viewerpagefixture.h"
#include "tests/support/guitest.h"
#include "tests/support/testcore.h"

TEST_F(ViewerPageTest, DragsAndWheelDoNotMix) {
    Load(WritePattern("e.png", 2000, 1500, 10), "");
    Build();
    m_page->Zoom100();
    Canvas* canvas = m_page->GetCanvasFromActiveWin();
    Enter(canvas);
    SendMouse(canvas, wxEVT_LEFT_DOWN, 100, 100, true);
    SendMouse(canvas, wxEVT_MOTION, 110, 110, true);
    SendMouse(canvas, wxEVT_MOUSEWHEEL, 110, 110, true, false, 120);
    const double zoom = m_shared.zoom;
    const wxPoint start = canvas->GetViewStart();
    SendMouse(canvas, wxEVT_MOTION, 110, 110, true);
    EXPECT_EQ(canvas->GetViewStart(), start) << "the drag goes on from the new place";
    SendMouse(canvas, wxEVT_LEFT_UP, 110, 110);
    EXPECT_DOUBLE_EQ(m_shared.zoom, zoom) << "the release is no click";

    // A drag that begins beside the picture.
    m_page->ZoomEnter("20");
    m_page->GetOrvToolPanel()->SetTool(OrvTool::Select);
    SelectorPanel* selector = m_page->GetOrvToolPanel()->GetSelectorPanel();
    selector->SetSelector({100, 100}, {300, 250}, true, canvas);
    const IntRect before = selector->GetSelector(canvas);
    SendMouse(canvas, wxEVT_LEFT_DOWN, 2, 2, true);
    SendMouse(canvas, wxEVT_MOTION, 300, 300, true);
    SendMouse(canvas, wxEVT_LEFT_UP, 300, 300);
    EXPECT_EQ(selector->GetSelector(canvas), before);
    // One that begins on the picture, outside the selection, draws another in its place.
    const auto send = [&](wxEventType type, int x, int y, bool isDown) {
        SendMouse(canvas, type, static_cast<int>((m_shared.offset.x + x) * m_shared.zoom),
                  static_cast<int>((m_shared.offset.y + y) * m_shared.zoom), isDown);
    };
    send(wxEVT_LEFT_DOWN, 600, 700, true);
    EXPECT_FALSE(selector->IsSelector(canvas));
    send(wxEVT_MOTION, 700, 750, true);
    send(wxEVT_MOTION, 1000, 1000, true);
    send(wxEVT_LEFT_UP, 1000, 1000, false);
    const IntRect drawn = selector->GetSelector(canvas);
    EXPECT_NEAR(drawn.x, 600, 6);
    EXPECT_NEAR(drawn.y, 700, 6);
    EXPECT_NEAR(drawn.width, 400, 6);
    EXPECT_NEAR(drawn.height, 300, 6);
}

TEST_F(ViewerPageTest, RealMouseZoomsPansSelectsAndSwaps) {
    Load(WritePattern("e.png", 2000, 1500, 10), WritePattern("r.png", 2000, 1500, 60));
    Build();
    m_frame->Raise();
    m_page->Zoom100();
    PumpFrames();
    wxUIActionSimulator mouse;
    Canvas* canvas = First();
    const auto to = [&](int x, int y) {
        mouse.MouseMove(canvas->ClientToScreen(wxPoint(x, y)));
        PumpFrames();
    };
    to(20, 20);
    to(150, 150);
    const wxPoint before = canvas->GetViewStart();
    mouse.MouseDown();
    PumpFrames();
    to(130, 140);
    to(100, 120);
    mouse.MouseUp();
    PumpFrames();
    EXPECT_EQ(canvas->GetViewStart(), before + wxPoint(50, 30));  // a drag moves
    EXPECT_DOUBLE_EQ(m_shared.zoom, 1.0);
    ExpectInStep("a drag");

    mouse.MouseDown(wxMOUSE_BTN_RIGHT);  // both halves show the other image while it is held
    PumpFrames();
    EXPECT_EQ(PixelOf(First(), 30, 20), cv::Vec3b(195, 235, 225));
    EXPECT_EQ(PixelOf(Second(), 30, 20), cv::Vec3b(245, 235, 225));
    mouse.MouseUp(wxMOUSE_BTN_RIGHT);
    PumpFrames();
    EXPECT_EQ(PixelOf(First(), 30, 20), cv::Vec3b(245, 235, 225));

    mouse.MouseClick();  // a click zooms in by a step
    PumpFrames();
    EXPECT_DOUBLE_EQ(m_shared.zoom, 2.0);
    ExpectInStep("a click");

    m_page->GetOrvToolPanel()->SetTool(OrvTool::Select);
    PumpFrames();  // the strip makes room for the selection's fields
    to(60, 60);
    mouse.MouseDown();
    PumpFrames();
    to(100, 90);
    to(160, 120);
    mouse.MouseUp();
    PumpFrames();
    SelectorPanel* selector = m_page->GetOrvToolPanel()->GetSelectorPanel();
    const IntRect drawn = selector->GetSelector(canvas);
    EXPECT_EQ(drawn.width, 50);  // 100 screen pixels at 200 %
    EXPECT_EQ(drawn.height, 30);
    EXPECT_TRUE(Second()->IsDrawRectEnabled());
    EXPECT_DOUBLE_EQ(m_shared.zoom, 2.0);
    to(110, 90);  // inside: moves
    mouse.MouseDown();
    PumpFrames();
    to(130, 100);
    mouse.MouseUp();
    PumpFrames();
    EXPECT_EQ(selector->GetSelector(canvas), (IntRect{drawn.x + 10, drawn.y + 5, 50, 30}));
    to(300, 300);  // a click outside removes it
    mouse.MouseClick();
    PumpFrames();
    EXPECT_FALSE(selector->IsSelector(canvas));
}

TEST_F(ViewerPageTest, TypedZoomAndKeys) {
    Load(WritePattern("e.png", 2000, 1500, 10), "");
    Build();
    wxTextCtrl* field = m_page->GetOrvToolPanel()->GetZoomPanel()->GetZoomField();
    m_page->ZoomEnter("150%");
    EXPECT_DOUBLE_EQ(m_shared.zoom, 1.5);
    EXPECT_EQ(field->GetValue(), "150");
    field->ChangeValue("nonsense");
    m_page->ZoomEnter("nonsense");
    EXPECT_DOUBLE_EQ(m_shared.zoom, 1.5);
    EXPECT_EQ(field->GetValue(), "150");
    Canvas* canvas = m_page->GetCanvasFromActiveWin();
    SendKey(canvas, wxEVT_CHAR, '+');
    EXPECT_DOUBLE_EQ(m_shared.zoom, 3.0);  // 150 % counts as 200 %
    SendKey(canvas, wxEVT_CHAR, '0');
    EXPECT_DOUBLE_EQ(m_shared.zoom, 1.0);
    SendKey(canvas, wxEVT_CHAR, 'f');
    EXPECT_LT(m_shared.zoom, 1.0);
    // Nothing larger than the largest step.
    m_page->ZoomEnter("12800");
    m_page->ZoomPlus();
    EXPECT_DOUBLE_EQ(m_shared.zoom, 128.0);
    SendKey(canvas, wxEVT_KEY_DOWN, 'X');
    EXPECT_EQ(PixelOf(canvas, 30, 20), cv::Vec3b(10, 20, 30));
    SendKey(canvas, wxEVT_KEY_UP, 'X');
}

TEST_F(ViewerPageTest, KeysScrollByStepsPagesAndPixels) {
    Load(WritePattern("e.png", 3000, 2500, 10), "");
    Build();
    m_page->ZoomEnter("200");
    Canvas* canvas = m_page->GetCanvasFromActiveWin();
    const int pageX = canvas->GetClientSize().x / 2;
    const int pageY = canvas->GetClientSize().y / 2;
    // In scroll units of two screen pixels; with Shift by one, and pages sideways.
    const struct {
        std::vector<int> keys;
        wxPoint step, fineStep;
    } rows[] = {{{WXK_LEFT, WXK_NUMPAD_LEFT}, {-24, 0}, {-1, 0}},
                {{WXK_RIGHT, WXK_NUMPAD_RIGHT}, {24, 0}, {1, 0}},
                {{WXK_UP, WXK_NUMPAD_UP}, {0, -24}, {0, -1}},
                {{WXK_DOWN, WXK_NUMPAD_DOWN}, {0, 24}, {0, 1}},
                {{WXK_PAGEUP, WXK_NUMPAD_PAGEUP}, {0, -pageY}, {-pageX, 0}},
                {{WXK_PAGEDOWN, WXK_NUMPAD_PAGEDOWN}, {0, pageY}, {pageX, 0}}};
    for (const auto& row : rows) {
        for (const int code : row.keys) {
            for (const bool isFine : {false, true}) {
                canvas->ScrollTo(1000, 900);
                wxKeyEvent key(wxEVT_KEY_DOWN);
                key.SetEventObject(canvas);
                key.m_keyCode = code;
                key.SetShiftDown(isFine);
                canvas->ProcessWindowEvent(key);
                EXPECT_EQ(canvas->GetViewStart(), wxPoint(1000, 900) + (isFine ? row.fineStep : row.step))
                    << code << " fine " << isFine;
            }
        }
    }
}

// Passing over the picture takes the keyboard, but not from a field that is typed in.
TEST_F(ViewerPageTest, TheMouseTakesTheKeyboardUnlessSomebodyTypes) {
    Load(WritePattern("e.png", 640, 480, 10), "");
    Build();
    ASSERT_TRUE(PumpUntil([this] { return m_frame->IsActive(); }));
    Canvas* canvas = m_page->GetCanvasFromActiveWin();
    wxTextCtrl* field = m_page->GetOrvToolPanel()->GetZoomPanel()->GetZoomField();
    wxWindow* choice = m_page->GetOrvToolPanel()->GetZoomPanel()->GetViewChoice();
    for (wxWindow* before : {static_cast<wxWindow*>(field), choice}) {
        before->SetFocus();
        ASSERT_TRUE(PumpUntil([&] { return wxWindow::FindFocus() == before; }));
        Enter(canvas);
        SendMouse(canvas, wxEVT_MOTION, 30, 30);
        wxWindow* expected = before == field ? before : canvas;
        EXPECT_TRUE(PumpUntil([&] { return wxWindow::FindFocus() == expected; }, 2000));
    }
}

TEST_F(ViewerPageTest, TheNavigatorDarkensWhatIsNotSeen) {
    cv::Mat image(1500, 2000, CV_8UC3, cv::Scalar(3, 90, 255));
    const std::string path = m_folder / "flat.png";
    WriteFile(path, EncodeImage(Image(image), "png"));
    Load(path, "");
    Build();
    Choose(0);
    m_page->Zoom100();
    NavigatorCanvas* navigator = m_page->GetNavigator();
    ASSERT_EQ(navigator->GetClientSize(), wxSize(120, 90));
    const auto paint = [&] {
        wxBitmap bitmap(120, 90);
        {
            wxMemoryDC dc(bitmap);
            navigator->Paint(First(), &dc, wxRect(0, 0, 120, 90));
        }
        return bitmap.ConvertToImage();
    };
    First()->ScrollTo(0, 0);
    wxImage painted = paint();
    EXPECT_EQ(painted.GetRed(2, 2), 255);
    EXPECT_EQ(painted.GetRed(118, 88), 170);
    EXPECT_EQ(painted.GetGreen(118, 88), 60);
    EXPECT_EQ(painted.GetBlue(118, 88), 2);
    wxMouseEvent press(wxEVT_LEFT_DOWN);
    press.SetEventObject(navigator);
    press.SetLeftDown(true);
    press.SetPosition(wxPoint(60, 45));
    navigator->ProcessWindowEvent(press);
    const wxSize client = First()->GetClientSize();
    int x = 0;
    int y = 0;
    First()->GetPixelCoordinates(client.x / 2, client.y / 2, x, y, false, false);
    EXPECT_NEAR(x, 1000, 2);
    EXPECT_NEAR(y, 750, 2);
    m_page->WindowFit();
    painted = paint();
    EXPECT_EQ(painted.GetRed(118, 88), 255);  // all of it is seen
}

TEST_F(ViewerPageTest, ANullCanvasIsAProgrammingError) {
    Load(WritePattern("e.png", 200, 150, 10), "");
    Build();
    wxMouseEvent event(wxEVT_MOTION);
    const ExpectedAssertions expected;
    m_page->ViewerMouseOn(event, nullptr);
    m_page->GetOrvToolPanel()->GetZoomPanel()->SetZoom(0, 0, 1.0, nullptr);
    ASSERT_EQ(expected.Messages().size(), 2U);
    EXPECT_EQ(expected.Messages()[0], "OrvFilterGuiViewerDouble::ViewerMouseOn");
    EXPECT_EQ(expected.Messages()[1], "ZoomPanel::SetZoom");
}
