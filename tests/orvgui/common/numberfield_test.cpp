#include "orvgui/common/numberfield.h"

#include <gtest/gtest.h>
#include <wx/button.h>
#include <wx/frame.h>
#include <wx/panel.h>

#include "tests/support/guitest.h"

namespace {

class NumberFieldTest : public testing::Test {
  protected:
    NumberFieldTest() {
        m_frame = new wxFrame(nullptr, wxID_ANY, "numbers");
        auto* panel = new wxPanel(m_frame);
        m_field = new NumberField(panel, 5, [this] { m_told.push_back(m_field->GetNumber()); });
        m_other = new wxButton(panel, wxID_ANY, "other", wxPoint(0, 60));
        m_field->SetRange(0, 200);
        m_frame->Show();
        PumpFrames();
    }
    ~NumberFieldTest() override {
        m_frame->Destroy();
        Pump();
    }

    void Key(int code) {
        wxKeyEvent event(wxEVT_KEY_DOWN);
        event.SetEventObject(m_field);
        event.m_keyCode = code;
        m_field->ProcessWindowEvent(event);
    }
    void Wheel(int rotation, bool shift = false) {
        wxMouseEvent event(wxEVT_MOUSEWHEEL);
        event.SetEventObject(m_field);
        event.m_wheelRotation = rotation;
        event.m_wheelDelta = 120;
        event.SetShiftDown(shift);
        m_field->ProcessWindowEvent(event);
    }
    void Enter() {
        wxCommandEvent event(wxEVT_TEXT_ENTER);
        event.SetEventObject(m_field);
        m_field->ProcessWindowEvent(event);
    }

    wxFrame* m_frame;
    NumberField* m_field;
    wxButton* m_other;
    std::vector<int> m_told;
};

}  // namespace

TEST_F(NumberFieldTest, KeysAndWheelStepWithinTheRange) {
    m_field->SetNumber(195);
    EXPECT_TRUE(m_told.empty()) << "set from code";
    Key(WXK_UP);
    Key(WXK_PAGEUP);
    Key(WXK_PAGEUP);  // at the end already
    Key(WXK_DOWN);
    Wheel(-120);
    Wheel(40);  // a fine wheel: a third of a step each
    Wheel(40);
    Wheel(40);
    Wheel(-120, true);
    EXPECT_EQ(m_told, (std::vector<int>{196, 200, 199, 198, 199, 189}));
    EXPECT_EQ(m_field->GetValue(), "189");
}

TEST_F(NumberFieldTest, WhatIsTypedIsTakenWhenItIsInTheRange) {
    m_field->SetNumber(7);
    m_field->SetFocus();
    PumpFrames();
    m_field->SetValue("120");
    m_field->SetNumber(8);
    EXPECT_EQ(m_field->GetValue(), "120") << "the text of somebody who types stays";
    m_field->SetNumber(7);
    Enter();
    EXPECT_EQ(m_told, std::vector<int>{120});
    const wxColour plain = m_field->GetBackgroundColour();
    for (const char* wrong : {"201", "-1", "", "12x", "99999999999"}) {
        m_field->SetValue(wrong);
        EXPECT_NE(m_field->GetBackgroundColour(), plain) << wrong;
        Enter();
        EXPECT_EQ(m_field->GetNumber(), 120) << wrong;
        EXPECT_EQ(m_field->GetValue(), wrong) << "can be corrected";
    }
    m_other->SetFocus();
    PumpFrames();
    EXPECT_EQ(m_field->GetValue(), "120") << "given up";
    EXPECT_EQ(m_told.size(), 1U);
    // A smaller picture.
    m_field->SetRange(0, 50);
    EXPECT_EQ(m_field->GetNumber(), 50);
}
