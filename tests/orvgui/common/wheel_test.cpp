#include "orvgui/common/wheel.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <wx/choice.h>
#include <wx/combobox.h>
#include <wx/frame.h>
#include <wx/scrolwin.h>
#include <wx/sizer.h>
#include <wx/slider.h>
#include <wx/spinctrl.h>
#include <wx/textctrl.h>
#include <wx/uiaction.h>

#include <functional>

#include "tests/support/guitest.h"

namespace {

// A turn towards the user as the display sends it, to whatever native part lies under the pointer: events of the toolkit's own would
// miss those it does not know. The library that makes it comes with the toolkit.
void TurnWheelAt(const wxPoint& screenPoint) {
    using GetDisplay = void* (*)();
    using FakeButton = int (*)(void*, unsigned int, int, unsigned long);
    const auto getDisplay = reinterpret_cast<GetDisplay>(dlsym(RTLD_DEFAULT, "gdk_x11_get_default_xdisplay"));
    const auto fakeButton = reinterpret_cast<FakeButton>(dlsym(RTLD_DEFAULT, "XTestFakeButtonEvent"));
    ASSERT_TRUE(getDisplay != nullptr && fakeButton != nullptr);
    constexpr unsigned int kTowardsUser = 5;
    wxUIActionSimulator().MouseMove(screenPoint);
    PumpFrames();
    fakeButton(getDisplay(), kTowardsUser, 1, 0);
    fakeButton(getDisplay(), kTowardsUser, 0, 0);
    PumpFrames();
}

}  // namespace

TEST(PassWheelOn, AFieldThatCannotScrollScrollsThePage) {
    auto* frame = new wxFrame(nullptr, wxID_ANY, "wheel", wxPoint(0, 0), wxSize(400, 300));
    auto* page = new wxScrolledWindow(frame);
    page->SetScrollRate(10, 10);
    page->SetVirtualSize(300, 3000);
    frame->Show();
    ASSERT_TRUE(PumpUntil([&] { return page->GetClientSize().y > 100; }));
    const struct {
        const char* what;
        long style;
        int lines;
        bool scrollsPage;
    } cases[] = {
        {"short text", 0, 2, true},
        {"no text", 0, 0, true},
        {"short result", wxTE_READONLY | wxTE_DONTWRAP, 3, true},
        {"long text", 0, 60, false},
        {"long result", wxTE_READONLY, 60, false},
    };
    for (const auto& c : cases) {
        auto* field = new wxTextCtrl(page, wxID_ANY, wxString(), wxPoint(10, 10), wxSize(200, 100),
                                     wxTE_MULTILINE | c.style);
        for (int line = 0; line < c.lines; ++line) field->AppendText(line > 0 ? "\nline" : "line");
        PassWheelOn(field);
        PumpFrames();
        page->Scroll(0, 20);
        wxMouseEvent event(wxEVT_MOUSEWHEEL);
        event.SetEventObject(field);
        event.m_wheelRotation = -120;
        event.m_wheelDelta = 120;
        event.m_linesPerAction = 3;
        field->ProcessWindowEvent(event);
        EXPECT_EQ(page->GetViewStart().y > 20, c.scrollsPage) << c.what;
        EXPECT_EQ(event.GetSkipped(), !c.scrollsPage) << c.what << ": turned once, not twice";
        field->Destroy();
    }
    frame->Destroy();
    Pump();
}

TEST(LeaveWheelToPage, NoValueChangesOnTheWayPast) {
    auto* frame = new wxFrame(nullptr, wxID_ANY, "wheel", wxPoint(0, 0), wxSize(400, 400));
    auto* page = new wxScrolledWindow(frame);
    page->SetScrollRate(10, 10);
    wxArrayString entries;
    for (int i = 0; i < 9; ++i) entries.push_back(wxString::Format("entry %d", i));
    auto* combo =
        new wxComboBox(page, wxID_ANY, entries[4], wxPoint(10, 110), wxSize(180, -1), entries, wxCB_READONLY);
    auto* choice = new wxChoice(page, wxID_ANY, wxPoint(10, 150), wxSize(180, -1), entries);
    choice->SetSelection(4);
    auto* slider = new wxSlider(page, wxID_ANY, 4, 0, 9, wxPoint(10, 190), wxSize(180, -1));
    auto* spin = new wxSpinCtrl(page, wxID_ANY, wxString(), wxPoint(10, 230), wxSize(180, -1),
                                wxSP_ARROW_KEYS, 0, 9, 4);
    auto* other = new wxTextCtrl(page, wxID_ANY, wxString(), wxPoint(10, 70));
    page->SetVirtualSize(300, 3000);
    frame->Show();
    ASSERT_TRUE(PumpUntil([&] { return page->GetClientSize().y > 300 && frame->IsActive(); }));
    for (wxWindow* control : {static_cast<wxWindow*>(combo), static_cast<wxWindow*>(choice),
                              static_cast<wxWindow*>(slider), static_cast<wxWindow*>(spin)})
        LeaveWheelToPage(control);
    other->SetFocus();
    Pump();
    const struct {
        const char* what;
        wxWindow* control;
        double at;  // of its width: the text, or the arrow beside it
        std::function<int()> value;
    } cases[] = {
        {"combo box, text", combo, 0.2, [&] { return combo->GetSelection(); }},
        {"combo box, arrow", combo, 0.95, [&] { return combo->GetSelection(); }},
        {"choice, text", choice, 0.2, [&] { return choice->GetSelection(); }},
        {"choice, arrow", choice, 0.95, [&] { return choice->GetSelection(); }},
        {"slider", slider, 0.5, [&] { return slider->GetValue(); }},
        {"spin, text", spin, 0.2, [&] { return spin->GetValue(); }},
        {"spin, arrows", spin, 0.95, [&] { return spin->GetValue(); }},
    };
    for (const auto& c : cases) {
        page->Scroll(0, 0);
        PumpFrames();
        const wxSize size = c.control->GetSize();
        TurnWheelAt(c.control->ClientToScreen(wxPoint(static_cast<int>(size.x * c.at), size.y / 2)));
        EXPECT_EQ(c.value(), 4) << c.what;
        EXPECT_GT(page->GetViewStart().y, 0) << c.what << ": the page scrolls";
    }
    // Where the keyboard is, a turn is meant; but a choice keeps the keyboard after an entry was chosen.
    page->Scroll(0, 0);
    slider->SetFocus();
    PumpFrames();
    const wxPoint middle(slider->GetSize().x / 2, slider->GetSize().y / 2);
    TurnWheelAt(slider->ClientToScreen(middle));
    EXPECT_NE(slider->GetValue(), 4);
    combo->SetFocus();
    PumpFrames();
    TurnWheelAt(combo->ClientToScreen(wxPoint(combo->GetSize().x - 10, combo->GetSize().y / 2)));
    EXPECT_EQ(combo->GetSelection(), 4);
    frame->Destroy();
    Pump();
}

TEST(PassWheelOn, APartOfAPageScrollsFirstAndThenThePage) {
    auto* frame = new wxFrame(nullptr, wxID_ANY, "wheel", wxPoint(0, 0), wxSize(400, 400));
    auto* page = new wxScrolledWindow(frame);
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    const auto addPart = [&](int height) {
        auto* part = new wxScrolledWindow(page, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxVSCROLL);
        part->SetScrollRate(0, 10);
        part->SetMinSize(wxSize(200, 100));
        auto* inner = new wxBoxSizer(wxVERTICAL);
        auto* content = new wxPanel(part);
        content->SetMinSize(wxSize(100, height));
        inner->Add(content, 1, wxEXPAND);
        part->SetSizer(inner);
        PassWheelOn(part);
        sizer->Add(part);
        return part;
    };
    const wxScrolledWindow* low = addPart(80);
    const wxScrolledWindow* high = addPart(140);
    sizer->Add(1, 3000);
    page->SetSizer(sizer);
    page->SetScrollRate(10, 10);
    frame->Show();
    ASSERT_TRUE(PumpUntil([&] { return page->GetClientSize().y > 300 && frame->IsActive(); }));
    PumpFrames();
    const auto turn = [&](const wxScrolledWindow* part) {
        TurnWheelAt(part->ClientToScreen(wxPoint(50, 50)));
        return std::pair(part->GetViewStart().y > 0, page->GetViewStart().y > 0);
    };
    EXPECT_EQ(turn(low), std::pair(false, true)) << "it has nothing to scroll";
    page->Scroll(0, 0);
    EXPECT_EQ(turn(high), std::pair(true, false));
    for (int i = 0; i < 3; ++i) turn(high);
    EXPECT_GT(page->GetViewStart().y, 0) << "it is at its end";
    frame->Destroy();
    Pump();
}
