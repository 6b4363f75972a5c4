#pragma once

#include <gtest/gtest.h>
#include <wx/frame.h>
#include <wx/gbsizer.h>
#include <wx/panel.h>
#include <wx/textctrl.h>

#include <memory>
#include <vector>

#include "orvgui/controls/parametercontrol.h"
#include "tests/support/guitest.h"

// A panel with a grid for controls that counts what they report.
class ControlTest : public ::testing::Test {
  protected:
    void SetUp() override {
        frame = new wxFrame(nullptr, wxID_ANY, "Controls", wxDefaultPosition, wxSize(900, 700));
        panel = new wxPanel(frame);
        sizer = new wxGridBagSizer(0, 0);
        sizer->SetFlexibleDirection(wxBOTH);
        panel->SetSizer(sizer);
        panel->Bind(wxEVT_COMBOBOX, [this](wxCommandEvent&) { ++reports; });
    }
    void TearDown() override {
        frame->Destroy();
        Pump();
    }
    template <typename Control = ParameterControl>
    Control* Make(const Parameter& parameter) {
        controls.emplace_back(CreateParameterControl(panel, sizer, parameter));
        return dynamic_cast<Control*>(controls.back().get());
    }
    static wxTextCtrl* Field(ParameterControl* control) {
        return dynamic_cast<wxTextCtrl*>(control->GetControl());
    }
    // As the user types: the text, then Enter.
    static void Type(ParameterControl* control, const wxString& text) { Field(control)->SetValue(text); }
    static void Enter(ParameterControl* control) {
        wxCommandEvent event(wxEVT_TEXT_ENTER, Field(control)->GetId());
        event.SetEventObject(Field(control));
        event.SetString(Field(control)->GetValue());
        Field(control)->GetEventHandler()->ProcessEvent(event);
    }

    wxFrame* frame = nullptr;
    wxPanel* panel = nullptr;
    wxGridBagSizer* sizer = nullptr;
    std::vector<std::unique_ptr<ParameterControl>> controls;
    int reports = 0;
};
