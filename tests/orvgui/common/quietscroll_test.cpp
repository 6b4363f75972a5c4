#include "orvgui/common/quietscroll.h"

#include <gtest/gtest.h>
#include <wx/button.h>
#include <wx/frame.h>
#include <wx/radiobox.h>
#include <wx/scrolwin.h>

#include "tests/orvgui/nativecomplaints.h"
#include "tests/support/guitest.h"

namespace {

class QuietScrollTest : public testing::Test {
  protected:
    QuietScrollTest() {
        page->SetScrollRate(10, 10);
        page->SetVirtualSize(300, 3000);
    }
    ~QuietScrollTest() override {
        frame->Destroy();
        Pump();
    }
    void Show() {
        frame->Show();
        ASSERT_TRUE(PumpUntil([&] { return page->GetClientSize().y > 100; }));
    }

    wxFrame* frame = new wxFrame(nullptr, wxID_ANY, "scroll", wxPoint(0, 0), wxSize(400, 300));
    QuietScroll<wxScrolledWindow>* page = new QuietScroll<wxScrolledWindow>(frame);
};

}  // namespace

TEST_F(QuietScrollTest, HiddenChildrenAreMovedWithoutAComplaintAndStayHidden) {
    auto* hidden = new wxButton(page, wxID_ANY, "hidden", wxPoint(10, 10));
    auto* shown = new wxButton(page, wxID_ANY, "shown", wxPoint(10, 60));
    hidden->Hide();
    Show();
    const NativeComplaints complaints;
    ASSERT_TRUE(complaints.IsListening());
    page->Scroll(0, 20);
    PumpFrames();
    page->Scroll(0, 2);
    PumpFrames();
    EXPECT_EQ(complaints.GetText(), "");
    EXPECT_FALSE(hidden->IsShown());
    EXPECT_EQ(hidden->GetPosition(), wxPoint(10, 10 - 20));
    EXPECT_EQ(shown->GetPosition(), wxPoint(10, 60 - 20));
    // It can still be shown, where it belongs.
    hidden->Show();
    PumpFrames();
    EXPECT_TRUE(hidden->IsShownOnScreen());
}

// Controls that are put together of parts draw on the window that scrolls, and keep parts that are hidden.
TEST_F(QuietScrollTest, WhatIsHiddenDeeperDownIsMovedWithoutAComplaintToo) {
    const wxString choices[] = {"one", "two", "three"};
    auto* box = new wxRadioBox(page, wxID_ANY, "box", wxPoint(10, 10), wxDefaultSize, 3, choices, 1);
    box->Show(1, false);
    Show();
    const NativeComplaints complaints;
    ASSERT_TRUE(complaints.IsListening());
    page->Scroll(0, 2);
    PumpFrames();
    EXPECT_EQ(complaints.GetText(), "");
    EXPECT_FALSE(box->IsItemShown(1));
}
