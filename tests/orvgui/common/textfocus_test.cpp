#include "orvgui/common/textfocus.h"

#include <gtest/gtest.h>
#include <wx/combobox.h>
#include <wx/frame.h>
#include <wx/spinctrl.h>
#include <wx/textctrl.h>
#include <wx/treectrl.h>

#include "tests/support/guitest.h"

TEST(TextFocus, KnowsEveryWindowThatTakesText) {
    auto* frame = new wxFrame(nullptr, wxID_ANY, "Fields");
    EXPECT_TRUE(IsTextEntry(new wxTextCtrl(frame, wxID_ANY)));
    EXPECT_TRUE(IsTextEntry(new wxSpinCtrl(frame, wxID_ANY)));
    EXPECT_TRUE(IsTextEntry(new wxSpinCtrlDouble(frame, wxID_ANY)));
    EXPECT_TRUE(IsTextEntry(new wxComboBox(frame, wxID_ANY)));
    EXPECT_FALSE(IsTextEntry(new wxTreeCtrl(frame, wxID_ANY)));
    EXPECT_FALSE(IsTextEntry(frame));
    EXPECT_FALSE(IsTextEntry(nullptr));
    frame->Destroy();
    Pump();
}
