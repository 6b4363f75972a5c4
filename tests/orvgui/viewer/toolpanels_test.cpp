// The strip of tools, on a page that only writes down what it is asked for.

#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/sizer.h>
#include <wx/slider.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>
#include <wx/textdlg.h>
#include <wx/tglbtn.h>

#include "orvgui/common/accessible.h"
#include "orvgui/common/numberfield.h"
#include "orvgui/common/statictext.h"
#include "orvgui/viewer/annotationpaint.h"
#include "orvgui/viewer/annotationpanel.h"
#include "orvgui/viewer/comparepanel.h"
#include "orvgui/viewer/inspectorpanel.h"
#include "orvgui/viewer/mappanel.h"
#include "orvgui/viewer/selectorpanel.h"
#include "orvgui/viewer/settingspanel.h"
#include "orvgui/viewer/zoompanel.h"
#include "tests/orvgui/viewer/fakehost.h"

namespace {

using Asked = std::vector<std::string>;
using ToolPanels = FakeHostTest;

cv::Mat Grey(int width, int height, int level = 90) {
    return {height, width, CV_8UC3, cv::Scalar::all(level)};
}

}  // namespace

TEST_F(ToolPanels, EveryControlOfTheZoomAsksForItsOperation) {
    ZoomPanel* zoom = host->strip->GetZoomPanel();
    zoom->SetZoomChoices("image");
    const auto buttons = All<wxButton>(zoom);
    ASSERT_EQ(buttons.size(), 4U);
    const struct {
        const char *label, *spoken, *toolTip, *asked;
    } rows[] = {
        {"Swap", "", "While pressed, the other picture is shown in place (X, or the right button)", ""},
        {"\u2212", "Zoom out", "Zoom out by one step (-)", "minus"},
        {"+", "Zoom in", "Zoom in by one step (+)", "plus"},
        {"100", "Zoom to 100 percent", "One image pixel per screen pixel (0)", "100"}};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(buttons[i]->GetLabel(), wxString::FromUTF8(rows[i].label));
        EXPECT_EQ(buttons[i]->GetToolTipText(), rows[i].toolTip);
        if (i > 0) {
            EXPECT_EQ(GetAccessibleName(buttons[i]), rows[i].spoken);
        }
        Send(buttons[i], wxEVT_BUTTON);
        EXPECT_EQ(host->Asked(), i == 0 ? Asked{} : Asked{rows[i].asked});
    }
    for (const auto& [type, phase] :
         {std::pair{wxEVT_LEFT_DOWN, "swap 1"}, {wxEVT_LEFT_UP, "swap 2"}, {wxEVT_LEAVE_WINDOW, "swap 2"}}) {
        wxMouseEvent event(type);
        buttons[0]->ProcessWindowEvent(event);
        EXPECT_EQ(host->Asked(), Asked{phase});
        EXPECT_TRUE(event.GetSkipped()) << "the button itself needs it, too";
    }
    auto* fit = All<wxToggleButton>(zoom).at(0);
    EXPECT_EQ(fit->GetLabel(), "Fit");
    EXPECT_EQ(GetAccessibleName(fit), "Fit the picture to the window");
    Send(fit, wxEVT_TOGGLEBUTTON, 1);
    EXPECT_EQ(host->Asked(), Asked{"fit"});
    zoom->ShowFit(true);
    EXPECT_TRUE(zoom->IsFitShown());
    zoom->ShowFit(false);
    EXPECT_FALSE(zoom->IsFitShown());
    Send(zoom->GetViewChoice(), wxEVT_CHOICE);
    EXPECT_EQ(host->Asked(), Asked{"split"});
    EXPECT_EQ(GetAccessibleName(zoom->GetViewChoice()), "View");

    auto* slider = All<wxSlider>(zoom).at(0);
    EXPECT_EQ(slider->GetMin(), 0);
    EXPECT_EQ(slider->GetMax(), 30);
    EXPECT_EQ(slider->GetValue(), 18) << "100 %";
    EXPECT_EQ(GetAccessibleName(slider), "Zoom");
    for (const auto& type :
         {wxEVT_SCROLL_TOP, wxEVT_SCROLL_BOTTOM, wxEVT_SCROLL_LINEUP, wxEVT_SCROLL_LINEDOWN,
          wxEVT_SCROLL_PAGEUP, wxEVT_SCROLL_PAGEDOWN, wxEVT_SCROLL_THUMBTRACK}) {
        wxScrollEvent event(type, slider->GetId(), 20);
        slider->ProcessWindowEvent(event);
        EXPECT_EQ(host->Asked(), Asked{"slider 20"});
    }

    wxTextCtrl* field = zoom->GetZoomField();
    EXPECT_EQ(GetAccessibleName(field), "Zoom in percent");
    EXPECT_EQ(field->GetToolTipText(), "Zoom in percent: 150, 150%, 1.5x or fit");
    field->ChangeValue("150 %");
    Send(field, wxEVT_TEXT_ENTER);
    EXPECT_EQ(host->Asked(), Asked{"enter 150 %"});
    const struct {
        int key;
        bool withShift;
        const char* asked;
    } keys[] = {{WXK_UP, false, "plus"},
                {WXK_NUMPAD_UP, false, "plus"},
                {WXK_DOWN, false, "minus"},
                {WXK_NUMPAD_DOWN, false, "minus"},
                {WXK_UP, true, ""},
                {WXK_LEFT, false, ""},
                {'5', false, ""}};
    for (const auto& k : keys) {
        wxKeyEvent event(wxEVT_KEY_DOWN);
        event.m_keyCode = k.key;
        event.SetShiftDown(k.withShift);
        zoom->OnZoomKey(event);
        EXPECT_EQ(host->Asked(), *k.asked == '\0' ? Asked{} : Asked{k.asked}) << k.key;
        EXPECT_EQ(event.GetSkipped(), *k.asked == '\0') << k.key;
    }
    const struct {
        int rotation;
        wxMouseWheelAxis axis;
        const char* asked;
    } turns[] = {{120, wxMOUSE_WHEEL_VERTICAL, "plus"},
                 {-1, wxMOUSE_WHEEL_VERTICAL, "minus"},
                 {0, wxMOUSE_WHEEL_VERTICAL, ""},
                 {120, wxMOUSE_WHEEL_HORIZONTAL, ""}};
    for (const auto& t : turns) {
        wxMouseEvent event(wxEVT_MOUSEWHEEL);
        event.m_wheelRotation = t.rotation;
        event.m_wheelAxis = t.axis;
        zoom->OnZoomWheel(event);
        EXPECT_EQ(host->Asked(), *t.asked == '\0' ? Asked{} : Asked{t.asked}) << t.rotation;
    }
}

TEST_F(ToolPanels, TheZoomIsShownAndTheViewsAreListed) {
    ZoomPanel* zoom = host->strip->GetZoomPanel();
    auto* slider = All<wxSlider>(zoom).at(0);
    const struct {
        double zoom;
        const char* text;
        int step;
    } rows[] = {{0.667, "66.7", 17},
                {1.0, "100", 18},
                {128.0, "12800", 30},
                {0.00333, "0.333", 0},
                {0.084, "8.4", 11}};
    for (const auto& row : rows) {
        frame->shared.zoom = row.zoom;
        zoom->RefreshValues();
        EXPECT_EQ(zoom->GetZoomField()->GetValue(), row.text);
        EXPECT_EQ(slider->GetValue(), row.step) << row.text;
    }
    frame->shared.zoom = -1.0;
    zoom->RefreshValues();
    EXPECT_EQ(zoom->GetZoomField()->GetValue(), "8.4") << "nothing is zoomed yet";
    frame->shared.zoom = 0.5;
    zoom->GetZoomField()->ChangeValue("77");
    wxFocusEvent leave(wxEVT_KILL_FOCUS);
    zoom->GetZoomField()->ProcessWindowEvent(leave);
    EXPECT_EQ(zoom->GetZoomField()->GetValue(), "50") << "typed and not entered";

    for (int i = 0; i < 2; ++i) {
        zoom->SetZoomChoices("image");
        EXPECT_EQ(zoom->GetWindowSplitChoices(), 10);
        EXPECT_EQ(zoom->GetViewChoice()->GetString(0), "Unprocessed (Evidence)");
        EXPECT_EQ(zoom->GetViewChoice()->GetString(9), "Difference Processed (Evidence VS Reference)");
        EXPECT_EQ(zoom->GetViewChoice()->GetMinSize().x, 176);
        zoom->SetZoomChoices("plot");
        EXPECT_EQ(zoom->GetWindowSplitChoices(), 3);
        EXPECT_EQ(zoom->GetViewChoice()->GetString(2), "Plot (Evidence VS Reference)");
    }
    for (const auto& [mode, shown] : {std::pair{2, 2}, {3, 2}, {-1, 2}, {0, 0}}) {
        zoom->SetWindowSplitVal(mode);
        EXPECT_EQ(zoom->GetWindowSplitMode(), shown) << mode;
    }
    zoom->ClearWindowSplitVal();
    EXPECT_EQ(zoom->GetWindowSplitMode(), -1);
}

TEST_F(ToolPanels, AClickZoomsAndADragDoesNot) {
    Show(Grey(1000, 800), 1.0);
    using Steps = std::vector<std::function<void()>>;
    const auto press = [this](int x, int y) { return [=, this] { Mouse(wxEVT_LEFT_DOWN, x, y, true); }; };
    const auto drag = [this](int x, int y) { return [=, this] { Mouse(wxEVT_MOTION, x, y, true); }; };
    const auto release = [this](int x, int y) { return [=, this] { Mouse(wxEVT_LEFT_UP, x, y); }; };
    const auto wheel = [this](int rotation) {
        return [=, this] {
            wxMouseEvent event(wxEVT_MOUSEWHEEL);
            event.SetPosition(wxPoint(100, 100));
            event.m_wheelRotation = rotation;
            host->strip->ViewerMouseOn(event, first, false);
        };
    };
    const struct {
        const char* what;
        Steps steps;
        double zoom;
    } cases[] = {
        {"a click", {press(50, 50), release(50, 50)}, 2.0},
        {"a drag", {press(50, 50), drag(60, 50), release(60, 50)}, 1.0},
        {"a drag back to its place", {press(50, 50), drag(60, 50), drag(50, 50), release(50, 50)}, 1.0},
        {"a release alone", {release(50, 50)}, 1.0},
        {"twice", {press(50, 50), release(50, 50), press(50, 50), release(50, 50)}, 3.0},
        {"the right button", {[this] { Mouse(wxEVT_RIGHT_DOWN, 50, 50); }}, 0.667},
        {"the wheel away", {wheel(120)}, 2.0},
        {"the wheel towards the user", {wheel(-120)}, 0.667},
        {"a motion", {[this] { Mouse(wxEVT_MOTION, 50, 50); }}, 1.0},
    };
    for (const auto& c : cases) {
        first->SetZoom(500, 400, 1.0, 0, 0);
        for (const auto& step : c.steps) step();
        EXPECT_DOUBLE_EQ(frame->shared.zoom, c.zoom) << c.what;
    }
    host->strip->SetTool(OrvTool::Select);
    first->SetZoom(500, 400, 1.0, 0, 0);
    Mouse(wxEVT_LEFT_DOWN, 50, 50, true);
    Mouse(wxEVT_LEFT_UP, 50, 50);
    EXPECT_DOUBLE_EQ(frame->shared.zoom, 1.0) << "another tool";
}

TEST_F(ToolPanels, ADragMovesThePictureByWhatTheMouseMoves) {
    Show(Grey(1000, 800), 2.0);
    first->ScrollTo(50, 40);
    frame->shared.zoomCentre = {7, 7};
    Mouse(wxEVT_LEFT_DOWN, 100, 100, true);
    Mouse(wxEVT_MOTION, 60, 80, true);
    EXPECT_EQ(first->GetViewStart(), wxPoint(70, 50));
    EXPECT_EQ(frame->shared.scrollPosition, (IntPair{70, 50}));
    EXPECT_EQ(frame->shared.zoomCentre, (IntPair{0, 0}));
    Mouse(wxEVT_MOTION, 120, 110, true);
    EXPECT_EQ(first->GetViewStart(), wxPoint(40, 35));
    Mouse(wxEVT_LEFT_UP, 120, 110);
    Mouse(wxEVT_MOTION, 20, 20);
    EXPECT_EQ(first->GetViewStart(), wxPoint(40, 35)) << "let go";
    Mouse(wxEVT_MOTION, 10, 10, true);
    EXPECT_EQ(first->GetViewStart(), wxPoint(40, 35)) << "pressed elsewhere";
    host->strip->SetTool(OrvTool::Select);
    Mouse(wxEVT_LEFT_DOWN, 100, 100, true);
    Mouse(wxEVT_MOTION, 60, 80, true);
    EXPECT_EQ(first->GetViewStart(), wxPoint(40, 35)) << "another tool";
}

TEST_F(ToolPanels, TheReadOutTellsPlaceColourGreyAndStoredSamples) {
    InspectorPanel* inspector = host->strip->GetInspectorPanel();
    auto* swatch = All<wxPanel>(inspector).at(0);
    EXPECT_FALSE(swatch->IsShown());
    const struct {
        int type;
        cv::Scalar value;
        const char* text;
        wxColour colour;
    } cases[] = {
        {CV_8UC3, {10, 20, 200}, "3, 2  R 200 G 20 B 10  grey 73", {200, 20, 10}},
        {CV_8UC1, {40}, "3, 2  R 40 G 40 B 40  grey 40", {40, 40, 40}},
        {CV_8UC2, {40, 99}, "3, 2  R 40 G 40 B 40  grey 40  8 bit 40 A 99", {40, 40, 40}},
        {CV_8UC4, {10, 20, 200, 77}, "3, 2  R 200 G 20 B 10  grey 73  8 bit 200 20 10 A 77", {200, 20, 10}},
        {CV_16UC1, {32896}, "3, 2  R 128 G 128 B 128  grey 128  16 bit 32896", {128, 128, 128}},
        {CV_16UC3, {257, 514, 65535}, "3, 2  R 255 G 2 B 1  grey 78  16 bit 65535 514 257", {255, 2, 1}},
        {CV_16UC4, {257, 514, 771, 9}, "3, 2  R 3 G 2 B 1  grey 2  16 bit 771 514 257 A 9", {3, 2, 1}},
    };
    for (const auto& c : cases) {
        cv::Mat picture(800, 1000, c.type, cv::Scalar::all(0));
        picture(cv::Rect(3, 2, 1, 1)).setTo(c.value);
        Show(picture, 2.0);
        Mouse(wxEVT_MOTION, 7, 5);
        EXPECT_EQ(inspector->GetText(), c.text);
        EXPECT_EQ(frame->status[OrvStatusField::Pixel], c.text);
        EXPECT_EQ(swatch->GetBackgroundColour(), c.colour) << c.text;
        EXPECT_EQ(inspector->IsExtra(), CV_MAT_DEPTH(c.type) == CV_8U && CV_MAT_CN(c.type) % 2 == 1)
            << c.text;
    }
    host->map = "Level 3 units";
    Mouse(wxEVT_MOTION, 9, 5);
    EXPECT_EQ(inspector->GetText(), "4, 2  R 0 G 0 B 0  grey 0  16 bit 0 0 0 A 0  Level 3 units");
    inspector->ClearValues();
    EXPECT_EQ(inspector->GetText(), "");
    EXPECT_EQ(frame->status[OrvStatusField::Pixel], "");
    EXPECT_FALSE(swatch->IsShown());
    // Beside a picture that is smaller than its canvas there is nothing to tell.
    host->map.clear();
    Show(Grey(300, 200), 1.0);
    for (const auto& [x, y, text] : {std::tuple{50, 50, "0, 0  R 90 G 90 B 90  grey 90"},
                                     {49, 50, ""},
                                     {349, 249, "299, 199  R 90 G 90 B 90  grey 90"},
                                     {350, 249, ""},
                                     {349, 250, ""}}) {
        Mouse(wxEVT_MOTION, x, y);
        EXPECT_EQ(inspector->GetText(), text) << x << " " << y;
    }
    EXPECT_EQ(InspectorPanel::DescribePixel(first, 300, 5), "");
    EXPECT_EQ(InspectorPanel::DescribePixel(first, 5, 199), "5, 199  R 90 G 90 B 90\ngrey 90");
}

TEST_F(ToolPanels, ASelectionIsDrawnMovedResizedTypedAndRemoved) {
    Show(Grey(1000, 800), 2.0);
    SelectorPanel* selector = host->strip->GetSelectorPanel();
    host->strip->SetTool(OrvTool::Select);
    const auto fields = All<NumberField>(selector);
    ASSERT_EQ(fields.size(), 4U);
    const char* const tips[] = {"Left edge of the selection, pixels", "Upper edge of the selection, pixels",
                                "Width of the selection, pixels", "Height of the selection, pixels"};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(fields[i]->GetToolTipText(), tips[i]);
        EXPECT_EQ(GetAccessibleName(fields[i]), tips[i]);
    }
    const auto drag = [this](IntPair from, IntPair to) {  // image pixels
        Mouse(wxEVT_LEFT_DOWN, 2 * from.x, 2 * from.y, true);
        Mouse(wxEVT_MOTION, from.x + to.x, from.y + to.y, true);
        Mouse(wxEVT_MOTION, 2 * to.x, 2 * to.y, true);
        Mouse(wxEVT_LEFT_UP, 2 * to.x, 2 * to.y);
    };
    const auto expect = [&](const IntRect& rect, const char* what) {
        EXPECT_EQ(selector->GetSelector(first), rect) << what;
        EXPECT_EQ(host->selection, Roi(rect.x, rect.y, rect.width, rect.height)) << what;
        EXPECT_EQ(selector->IsSelector(first), rect.width > 0) << what;
        for (Canvas* canvas : {first, second}) {
            EXPECT_EQ(canvas->IsDrawRectEnabled(), rect.width > 0) << what;
            EXPECT_EQ(canvas->GetDrawRect(), wxRect(rect.x, rect.y, rect.width, rect.height)) << what;
        }
        const int numbers[] = {rect.x, rect.y, rect.width, rect.height};
        for (std::size_t i = 0; i < 4 && rect.width > 0; ++i)
            EXPECT_EQ(fields[i]->GetNumber(), numbers[i]) << what;
    };
    Mouse(wxEVT_MOTION, 24, 36);
    EXPECT_EQ(fields[0]->GetNumber(), 12) << "the place of the mouse";
    EXPECT_EQ(fields[1]->GetNumber(), 18);
    drag({10, 20}, {30, 50});
    expect({10, 20, 20, 30}, "drawn");
    Mouse(wxEVT_MOTION, 200, 100);
    expect({10, 20, 20, 30}, "the mouse goes on");
    drag({20, 30}, {25, 35});
    expect({15, 25, 20, 30}, "moved");
    drag({20, 30}, {0, 0});
    expect({0, 0, 20, 30}, "moved as far as the picture goes");
    drag({19, 10}, {29, 10});
    expect({0, 0, 30, 30}, "its right edge");
    drag({15, 29}, {15, 19});
    expect({0, 0, 30, 20}, "its lower edge");
    drag({29, 19}, {39, 49});
    expect({0, 0, 40, 50}, "its corner");
    drag({150, 100}, {160, 110});
    expect({150, 100, 10, 10}, "a drag outside draws another");
    drag({300, 200}, {300, 200});
    EXPECT_FALSE(selector->IsSelector(first)) << "a click outside removes it";
    drag({40, 60}, {20, 10});
    expect({20, 10, 20, 50}, "drawn upwards");

    const auto type = [&](std::size_t field, const char* text) {
        fields[field]->ChangeValue(text);
        Send(fields[field], wxEVT_TEXT_ENTER);
    };
    type(0, "100");
    expect({100, 10, 20, 50}, "typed");
    type(1, "30");
    type(2, "40");
    type(3, "60");
    expect({100, 30, 40, 60}, "all typed");
    type(0, "990");
    expect({990, 30, 10, 60}, "cut at the edge");

    const auto buttons = All<wxButton>(selector);
    ASSERT_EQ(buttons.size(), 3U);
    const char* const spoken[] = {"Apply", "Zoom to the selection", "Remove"};
    host->Asked();
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(GetAccessibleName(buttons[i]), spoken[i]);
        Send(buttons[i], wxEVT_BUTTON);
    }
    EXPECT_EQ(host->Asked(), (Asked{"apply " + ToString(Roi(990, 30, 10, 60)), "to selection"}));
    expect({0, 0, 0, 0}, "removed");
    Send(buttons[0], wxEVT_BUTTON);
    EXPECT_EQ(host->Asked(), Asked{}) << "there is nothing to apply";
    // A smaller picture cuts it, and takes it where nothing is left.
    selector->SetSelector({100, 30}, {140, 90}, true, first);
    EXPECT_TRUE(selector->IsSelectorInCanvas(first));
    Show(Grey(500, 60), 2.0);
    expect({100, 30, 40, 30}, "a smaller picture");
    Show(Grey(50, 600), 2.0);
    expect({0, 0, 0, 0}, "another one");
    // Another tool leaves it alone.
    host->strip->SetTool(OrvTool::Navigate);
    Mouse(wxEVT_LEFT_DOWN, 20, 20, true);
    Mouse(wxEVT_MOTION, 60, 60, true);
    EXPECT_FALSE(selector->IsSelector(first));
}

TEST_F(ToolPanels, OneToolAtATimeWithItsFields) {
    OrvToolPanel* strip = host->strip;
    std::vector<wxBitmapToggleButton*> toggles;
    for (wxWindow* child : strip->GetChildren())
        for (auto* button : All<wxBitmapToggleButton>(child))
            if (child != FindAnnotationPanel(strip)) toggles.push_back(button);
    ASSERT_EQ(toggles.size(), 4U);
    const char* const spoken[] = {"Navigate", "Select", "Mark", "Details"};
    const char* const tips[] = {"Navigate: a click zooms in, a drag moves the picture",
                                "Select: a drag draws, moves or resizes the selection",
                                "Mark: a drag draws a mark on the picture, which is kept in the project only",
                                "Details: shows or hides description, parameters, results and overview"};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(GetAccessibleName(toggles[i]), spoken[i]);
        EXPECT_EQ(toggles[i]->GetToolTipText(), tips[i]);
    }
    const OrvTool tools[] = {OrvTool::Navigate, OrvTool::Select, kMarkTool};
    for (const std::size_t chosen : {1U, 2U, 0U, 2U, 1U, 0U}) {
        Send(toggles[chosen], wxEVT_TOGGLEBUTTON, 1);
        EXPECT_EQ(strip->GetTool(), tools[chosen]);
        for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(toggles[i]->GetValue(), i == chosen) << chosen;
        EXPECT_EQ(strip->GetSelectorPanel()->IsShown(), chosen == 1);
        EXPECT_EQ(FindAnnotationPanel(strip)->IsShown(), chosen == 2);
        EXPECT_TRUE(toggles[3]->GetValue());
    }
    host->Asked();
    Send(toggles[3], wxEVT_TOGGLEBUTTON, 0);
    Send(toggles[3], wxEVT_TOGGLEBUTTON, 1);
    EXPECT_EQ(host->Asked(), (Asked{"side hidden", "side shown"}));

    // Groups 10 pixels apart in the middle of their row, 3 from the edges.
    strip->SetTool(OrvTool::Select);
    strip->SetSize(0, 0, 2000, 80);
    strip->Layout();
    const wxWindow* groups[] = {strip->GetZoomPanel(), toggles[0]->GetParent(), strip->GetSelectorPanel(),
                                strip->GetInspectorPanel()};
    const int row = strip->HeightForWidth(2000) - 6;
    int x = 3;
    for (const wxWindow* group : groups) {
        EXPECT_EQ(group->GetPosition(), wxPoint(x, 3 + (row - group->GetSize().y) / 2)) << group->GetName();
        EXPECT_EQ(group->GetSize().y, group->GetSizer()->CalcMin().y);
        EXPECT_GE(group->GetSize().x, group->GetSizer()->CalcMin().x);
        x += group->GetSize().x + 10;
    }
    EXPECT_EQ(strip->CountRows(), 1);
    EXPECT_GT(strip->HeightForWidth(500), strip->HeightForWidth(2000));
    strip->SetSize(0, 0, 500, 80);
    EXPECT_GT(strip->CountRows(), 1);
}

TEST_F(ToolPanels, MarksAnswerKeysAndButtons) {
    ForgetMarkChanges();
    Show(Grey(1000, 800), 2.0);
    SetMarkedFile(*first, "ab");
    host->strip->SetTool(kMarkTool);
    AnnotationPanel* panel = FindAnnotationPanel(host->strip);
    using Kind = OrvAnnotation::Kind;
    const auto marks = [this] { return core.GetProject().GetAnnotations(); };
    const auto key = [panel](int code, int modifiers = wxMOD_NONE) {
        wxKeyEvent event(wxEVT_KEY_DOWN);
        event.m_keyCode = code;
        event.SetControlDown((modifiers & wxMOD_CONTROL) != 0);
        event.SetShiftDown((modifiers & wxMOD_SHIFT) != 0);
        return panel->UseKey(event);
    };
    const auto drag = [this](IntPair from, IntPair to) {  // window points
        Mouse(wxEVT_LEFT_DOWN, from.x, from.y, true);
        Mouse(wxEVT_MOTION, to.x, to.y, true);
        Mouse(wxEVT_LEFT_UP, to.x, to.y);
    };
    const auto answer = [&](int code, const char* text, const char* asked, const std::function<void()>& act) {
        DialogAnswers answers([=](wxDialog* dialog) {
            dynamic_cast<wxTextEntryDialog*>(dialog)->SetValue(text);
            EXPECT_EQ(dynamic_cast<wxTextEntryDialog*>(dialog)->GetTitle(), "Mark");
            return code;
        });
        act();
        EXPECT_TRUE(PumpUntil([&] { return !answers.Seen().empty(); })) << asked;
        Pump();
    };
    const auto toggles = All<wxBitmapToggleButton>(panel);
    std::vector<wxButton*> buttons;  // edit, delete, undo
    for (auto* button : All<wxButton>(panel)) buttons.push_back(button);
    ASSERT_EQ(toggles.size(), 3U);
    ASSERT_EQ(buttons.size(), 3U);
    const auto enabled = [&] {
        std::string text;
        for (const wxButton* button : buttons) text += button->IsEnabled() ? '1' : '0';
        return text;
    };
    EXPECT_EQ(enabled(), "000");
    EXPECT_FALSE(key(WXK_DELETE) || key(WXK_F2) || key(WXK_RETURN) || key(WXK_ESCAPE) || key(WXK_INSERT));
    drag({20, 40}, {22, 42});
    EXPECT_TRUE(marks().empty()) << "a click";
    drag({20, 40}, {60, 100});
    ASSERT_EQ(marks().size(), 1U);
    EXPECT_EQ(marks()[0], (OrvAnnotation{Kind::Rectangle, "ab", {10, 20, 21, 31}, ""}));
    EXPECT_EQ(enabled(), "111");
    EXPECT_EQ(panel->SelectedOn("ab"), 0);
    EXPECT_EQ(panel->SelectedOn("cd"), -1);
    answer(wxID_OK, "  one ", "F2", [&] { EXPECT_TRUE(key(WXK_F2)); });
    EXPECT_EQ(marks()[0].text, "one");
    answer(wxID_CANCEL, "two", "Enter", [&] { EXPECT_TRUE(key(WXK_RETURN)); });
    EXPECT_EQ(marks()[0].text, "one");
    EXPECT_FALSE(key(WXK_DELETE, wxMOD_SHIFT) || key('Z') || key('Z', wxMOD_CONTROL | wxMOD_SHIFT));
    EXPECT_TRUE(key(WXK_ESCAPE));
    EXPECT_EQ(enabled(), "001");
    EXPECT_FALSE(key(WXK_ESCAPE));
    // The selection becomes a mark.
    host->strip->GetSelectorPanel()->SetSelector({5, 6}, {12, 14}, true, first);
    EXPECT_TRUE(key(WXK_INSERT));
    ASSERT_EQ(marks().size(), 2U);
    EXPECT_EQ(marks()[1].place, Roi(5, 6, 7, 8));
    EXPECT_TRUE(key(WXK_NUMPAD_DELETE));
    EXPECT_EQ(marks().size(), 1U);
    EXPECT_TRUE(key('Z', wxMOD_CONTROL));
    EXPECT_EQ(marks().size(), 2U);
    Send(buttons[2], wxEVT_BUTTON);
    EXPECT_EQ(marks().size(), 1U);
    EXPECT_EQ(marks()[0].text, "one");

    const char* const names[] = {"Rectangle", "Arrow", "Text"};
    const Kind kinds[] = {Kind::Rectangle, Kind::Arrow, Kind::Text};
    for (std::size_t chosen = 0; chosen < 3; ++chosen) {
        EXPECT_EQ(GetAccessibleName(toggles[chosen]), names[chosen]);
        Send(toggles[chosen], wxEVT_TOGGLEBUTTON, 1);
        EXPECT_EQ(panel->GetKind(), kinds[chosen]);
        for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(toggles[i]->GetValue(), i == chosen);
    }
    // A text without letters is none.
    for (const auto& [code, text] : {std::pair{wxID_CANCEL, "no"}, {wxID_OK, "  "}, {wxID_OK, " hi "}})
        answer(code, text, text, [&] { drag({200, 202}, {200, 202}); });
    ASSERT_EQ(marks().size(), 2U);
    EXPECT_EQ(marks()[1], (OrvAnnotation{Kind::Text, "ab", {100, 101, 0, 0}, "hi"}));
    answer(wxID_OK, "", "emptied", [&] { Send(buttons[0], wxEVT_BUTTON); });
    EXPECT_EQ(marks().size(), 1U);
    // What is drawn beyond the picture ends at its edge.
    panel->SetKind(Kind::Arrow);
    drag({200, 202}, {-60, -80});
    EXPECT_EQ(marks().back().place, Roi(100, 101, -100, -101));
    Send(buttons[1], wxEVT_BUTTON);
    EXPECT_EQ(marks().size(), 1U);
    host->strip->SetTool(OrvTool::Navigate);
    EXPECT_FALSE(key('Z', wxMOD_CONTROL)) << "another tool";
    ForgetMarkChanges();
    host->strip->SetTool(kMarkTool);
    EXPECT_EQ(enabled(), "000") << "another project";
}
