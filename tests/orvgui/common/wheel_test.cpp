#include "orvgui/common/wheel.h"

#include <gtest/gtest.h>
#include <wx/frame.h>
#include <wx/scrolwin.h>
#include <wx/sizer.h>
#include <wx/textctrl.h>

#include "tests/support/guitest.h"

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
        PumpFor(50);
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
