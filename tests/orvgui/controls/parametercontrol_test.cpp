#include "orvgui/controls/parametercontrol.h"

#include <gtest/gtest.h>
#include <wx/combobox.h>
#include <wx/listbox.h>
#include <wx/slider.h>
#include <wx/spinctrl.h>
#include <wx/textctrl.h>

#include <map>
#include <set>
#include <utility>

#include "orvgui/common/fileselectors.h"
#include "orvgui/controls/parametercontrolchoice.h"
#include "orvgui/controls/parametercontrolfile.h"
#include "orvgui/controls/parametercontrolnumber.h"
#include "orvgui/controls/parametercontrolquantization.h"
#include "orvgui/controls/parametercontrolroi.h"
#include "orvgui/controls/parametercontroltable.h"
#include "orvgui/controls/parametercontroltext.h"
#include "orvgui/tables/listctrl.h"
#include "tests/orvgui/controls/controlfixture.h"
#include "tests/orvgui/keys.h"
#include "tests/support/everytypefilter.h"
#include "tests/support/guitest.h"
#include "zorbase/text.h"

namespace {

template <typename Control>
bool Is(const ParameterControl* control) {
    return dynamic_cast<const Control*>(control) != nullptr;
}

TEST_F(ControlTest, EveryTypeCodeGetsItsClass) {
    const std::map<int, bool (*)(const ParameterControl*)> classes = {
        {0, Is<ParameterControlInputCheckBox>},
        {1, Is<ParameterControlInputInt>},
        {2, Is<ParameterControlInputSpinSlider>},
        {3, Is<ParameterControlInputSpinSlider>},
        {12, Is<ParameterControlInputSpinSlider>},
        {4, Is<ParameterControlInputComboBox>},
        {10, Is<ParameterControlInputComboBox>},
        {14, Is<ParameterControlInputInt64>},
        {21, Is<ParameterControlInputDouble>},
        {28, Is<ParameterControlInputString>},
        {29, Is<ParameterControlInputFolder>},
        {36, Is<ParameterControlInputFilenameFullPath>},
        {42, Is<ParameterControlInputFilenameFullPath>},
        {45, Is<ParameterControlInputFilenameFullPath>},
        {48, Is<ParameterControlRoi>},
        {49, Is<ParameterControlOrvRoi>},
        {57, Is<ParameterControlVectorString>},
        {65, Is<ParameterControlInputVectorRoi>},
        {69, Is<ParameterControlOutputQuantizationTable>},
        {85, Is<ParameterControlOutputImageResolution>},
        {86, Is<ParameterControlOutputString>},
        {87, Is<ParameterControlOutputText>},
        {88, Is<ParameterControlOutputInt64>},
        {89, Is<ParameterControlOutputDateTime>},
        {90, Is<ParameterControlTableString>},
    };
    std::set<int> seen;
    for (const VecParameter& parameters : {EveryTypeFilter::Inputs(), EveryTypeFilter::Outputs()}) {
        for (const Parameter& parameter : parameters) {
            const auto expected = classes.find(parameter.GetType());
            ASSERT_NE(expected, classes.end()) << parameter.GetType();
            EXPECT_TRUE(expected->second(Make(parameter))) << parameter.GetType();
            seen.insert(parameter.GetType());
        }
    }
    EXPECT_EQ(seen.size(), classes.size());

    const ExpectedAssertions assertions;
    EXPECT_EQ(CreateParameterControl(panel, sizer, Parameter::Output(ParameterType::Text, "t", "T")),
              nullptr);
    EXPECT_EQ(assertions.Messages().size(), 1U);
}

TEST_F(ControlTest, WhatIsSetIsReadBackAndNotReported) {
    VecParameter changed = EveryTypeFilter::Inputs();
    changed.Find("enabled")->SetValue(false);
    changed.Find("count")->SetValue(100);
    changed.Find("quality")->SetValue(1);
    changed.Find("spin")->SetValue(64);
    changed.Find("mode")->SetValue(2);
    changed.Find("list")->SetValue(1);
    changed.Find("range")->SetValue(-50);
    changed.Find("offset")->SetValue(std::int64_t{1} << 40);
    changed.Find("sigma")->SetValue(0.1);
    changed.Find("title")->SetValue(std::string());
    changed.Find("folder")->SetValue(std::string("/tmp/not utf-8 \xff"));
    changed.Find("picture")->SetValue(std::string("/tmp/\xc3\xa4.png"));
    changed.Find("region")->SetValue(Roi(-3, 0, 7, 9));
    changed.Find("names")->SetValue(std::vector<std::string>{});
    changed.Find("regions")->SetValue(std::vector<Roi>{Roi(5, 6, 7, 8)});
    const VecParameter inputs = EveryTypeFilter::Inputs();
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        ParameterControl* control = Make(inputs[i]);
        EXPECT_EQ(control->GetControlValue(), inputs[i]) << inputs[i].Name();
        control->SetControlValue(changed[i]);
        EXPECT_EQ(control->GetControlValue(), changed[i]) << inputs[i].Name();
    }
    VecParameter outputs = EveryTypeFilter::Outputs();
    for (Parameter& output : outputs) {
        ParameterControl* control = Make(output);
        EXPECT_EQ(control->GetControlValue(), output) << output.Name();
    }
    Pump();
    EXPECT_EQ(reports, 0);
}

TEST_F(ControlTest, ControlsRunDownwardsOrToTheRight) {
    const Parameter parameter = Parameter::Bool("b", "B", false);
    for (const int direction : {wxHORIZONTAL, wxBOTH}) {
        auto* grid = new wxGridBagSizer(0, 0);
        grid->SetFlexibleDirection(direction);
        for (int i = 0; i < 3; ++i) {
            const wxGBPosition expected = direction == wxHORIZONTAL ? wxGBPosition(0, i) : wxGBPosition(i, 0);
            EXPECT_EQ(ParameterControl::GetControlPosition(grid), expected) << direction;
            controls.emplace_back(CreateParameterControl(panel, grid, parameter));
            EXPECT_NE(grid->FindItemAtPosition(expected), nullptr);
        }
        delete grid;
    }
    wxGridBagSizer vertical;
    vertical.SetFlexibleDirection(wxVERTICAL);
    const ExpectedAssertions assertions;
    EXPECT_EQ(ParameterControl::GetControlPosition(&vertical), wxGBPosition(0, 0));
    EXPECT_EQ(assertions.Messages().size(), 1U);
}

TEST_F(ControlTest, LinesAreTakenOnceWhenTheirFieldIsLeft) {
    auto* control = Make(Parameter::Strings("names", "Names", {"one", "two"}));
    wxTextCtrl* field = Field(control);
    EXPECT_EQ(field->GetValue(), "one\ntwo");
    const auto leave = [&] {
        wxFocusEvent event(wxEVT_KILL_FOCUS);
        field->ProcessWindowEvent(event);
        return std::exchange(reports, 0);
    };
    const auto press = [&](int key, bool withControl) {
        wxKeyEvent event(wxEVT_KEY_DOWN);
        event.m_keyCode = key;
        event.SetControlDown(withControl);
        field->ProcessWindowEvent(event);
        return std::exchange(reports, 0);
    };
    EXPECT_EQ(leave(), 0) << "as it was";
    field->SetValue("one\n\nthree");
    EXPECT_EQ(leave(), 1);
    EXPECT_EQ(control->GetControlValue().Get<std::vector<std::string>>(),
              (std::vector<std::string>{"one", "three"}));
    EXPECT_EQ(leave(), 0);
    field->SetValue("four");
    EXPECT_EQ(press(WXK_RETURN, false), 0);
    EXPECT_EQ(press(WXK_RETURN, true), 1);
    field->SetValue("five");
    control->DiscardEdit();
    EXPECT_EQ(field->GetValue(), "four");
}

TEST_F(ControlTest, WhatIsTypedIsTakenWithEnterWhenItFits) {
    const struct {
        Parameter parameter;
        const char* refused[4];
        const char* accepted;
        Parameter expected;
    } cases[] = {
        {Parameter::Int("i", "I", 5, 1, 100),
         {"0", "101", "5.5", "5x"},
         " 42 ",
         Parameter::Int("i", "I", 42, 1, 100)},
        {Parameter::Double("d", "D", 1, -2, 2),
         {"nan", "2.1", "1,5", ""},
         "-0.25",
         Parameter::Double("d", "D", -0.25, -2, 2)},
        {Parameter::Int64("l", "L", 0, 0, std::int64_t{1} << 40),
         {"-1", "99999999999999999999", "1e3", "0x1"},
         "1099511627776",
         Parameter::Int64("l", "L", std::int64_t{1} << 40, 0, std::int64_t{1} << 40)},
        {Parameter::Region("r", "R", Roi(0, 0, 1, 1)),
         {"1, 2, 3", "1 2 3 4 5", "a, b, c, d", "0, 0, -1, 4"},
         "1,2, 3 ,4",
         Parameter::Region("r", "R", Roi(1, 2, 3, 4))},
    };
    for (const auto& test : cases) {
        ParameterControl* control = Make(test.parameter);
        const wxColour plain = Field(control)->GetBackgroundColour();
        for (const char* text : test.refused) {
            reports = 0;
            Type(control, text);
            EXPECT_NE(Field(control)->GetBackgroundColour(), plain) << text;
            Enter(control);
            EXPECT_EQ(reports, 0) << text;
            EXPECT_EQ(control->GetControlValue(), test.parameter) << text;
            EXPECT_EQ(Field(control)->GetValue(), text) << "the refused text is to stay visible";
        }
        Type(control, test.accepted);
        EXPECT_EQ(Field(control)->GetBackgroundColour(), plain) << test.accepted;
        EXPECT_EQ(reports, 0) << "nothing is reported while typing";
        Enter(control);
        Enter(control);
        EXPECT_EQ(reports, 1) << test.accepted;
        EXPECT_EQ(control->GetControlValue(), test.expected) << test.accepted;
    }
}

TEST_F(ControlTest, AResultDoesNotThrowAwayWhatIsBeingTyped) {
    const Parameter parameter = Parameter::Int("i", "I", 5, 1, 100);
    ParameterControl* control = Make(parameter);
    Type(control, "7");
    control->SetControlValue(parameter);
    EXPECT_EQ(Field(control)->GetValue(), "7");
    EXPECT_EQ(control->GetControlValue().Get<int>(), 7)
        << "another control's change takes the typed value along";
    Parameter other = parameter;
    other.SetValue(9);
    control->SetControlValue(other);
    EXPECT_EQ(Field(control)->GetValue(), "9");
    Type(control, "1000");
    control->DiscardEdit();
    EXPECT_EQ(Field(control)->GetValue(), "9");
}

TEST_F(ControlTest, ChoosingAnEntryReportsOnce) {
    auto* control = Make<ParameterControlInputComboBox>(Parameter::Choice("c", "C", 0, {"a", "b"}));
    auto* box = dynamic_cast<wxComboBox*>(control->GetControl());
    box->SetSelection(1);
    wxCommandEvent chosen(wxEVT_COMBOBOX, box->GetId());
    chosen.SetEventObject(box);
    box->GetEventHandler()->ProcessEvent(chosen);
    EXPECT_EQ(reports, 1);
    EXPECT_EQ(control->GetControlValue().Get<int>(), 1);
}

TEST_F(ControlTest, SliderAndSpinGoTogether) {
    auto* control = Make<ParameterControlInputSpinSlider>(Parameter::Slider("s", "S", 10, 0, 100));
    wxSlider* slider = control->GetSlider();
    wxSpinCtrl* spin = control->GetSpin();
    wxCommandEvent moved(wxEVT_SLIDER);
    wxScrollEvent ended(wxEVT_SCROLL_CHANGED);
    frame->Show();
    ASSERT_TRUE(PumpUntil([&] { return slider->IsShownOnScreen(); }));

    slider->SetValue(40);
    control->OnSliderChange(moved);
    EXPECT_EQ(reports, 0) << "the thumb only moves";
    EXPECT_EQ(spin->GetValue(), 10);
    EXPECT_EQ(control->GetNumberAboveThumb(), "40") << "told while it moves";
    control->SetControlValue(Parameter::Slider("s", "S", 10, 0, 100));
    EXPECT_EQ(slider->GetValue(), 40) << "a result must not pull the thumb away";
    control->OnSliderScrollChange(ended);
    EXPECT_EQ(reports, 1);
    EXPECT_EQ(control->GetNumberAboveThumb(), "");
    EXPECT_EQ(control->GetControlValue().Get<int>(), 40);
    control->OnSliderScrollChange(ended);
    EXPECT_EQ(reports, 1) << "equal values report nothing";

    slider->SetValue(50);
    control->SliderChange(false);
    EXPECT_EQ(spin->GetValue(), 50);
    EXPECT_EQ(reports, 1);

    wxSpinEvent spun(wxEVT_SPINCTRL);
    spin->SetValue(60);
    control->OnSpinChange(spun);
    control->OnSpinChange(spun);
    EXPECT_EQ(slider->GetValue(), 60);
    EXPECT_EQ(reports, 2);

    const std::pair<const char*, int> entered[] = {{"101", 2}, {"-1", 2},  {"abc", 2},
                                                   {"100", 3}, {"100", 3}, {"0", 4}};
    for (const auto& [text, expected] : entered) {
        wxCommandEvent enter(wxEVT_TEXT_ENTER);
        enter.SetString(text);
        control->OnSpinTextEnter(enter);
        EXPECT_EQ(reports, expected) << text;
    }
    EXPECT_EQ(control->GetControlValue().Get<int>(), 0);
    EXPECT_EQ(slider->GetValue(), 60) << "typing does not move the slider";

    slider->SetValue(70);
    control->OnSliderChange(moved);
    EXPECT_TRUE(PumpUntil([&] { return reports == 5; })) << "a thumb that rests is followed";
    control->OnSliderScrollChange(ended);
    EXPECT_EQ(reports, 5);
}

TEST_F(ControlTest, ANumberTypedIntoTheSpinIsTakenOnlyWithinItsBounds) {
    const Parameter parameter = Parameter::Slider("s", "S", 10, 0, 100);
    auto* control = Make<ParameterControlInputSpinSlider>(parameter);
    auto* other = new wxTextCtrl(panel, wxID_ANY);
    sizer->Add(other, wxGBPosition(5, 0));
    frame->Show();
    frame->Raise();
    panel->Layout();
    wxSpinCtrl* spin = control->GetSpin();
    ASSERT_TRUE(PumpUntil([&] { return spin->IsShownOnScreen() && frame->IsActive(); }));
    const wxColour plain = spin->GetBackgroundColour();
    const auto type = [&](const char* text, bool enter) {
        spin->SetFocus();
        ASSERT_TRUE(PumpUntil([&] { return spin->HasFocus(); }));
        spin->SetSelection(-1, -1);
        Pump();
        TypeText(text);
        if (enter) PressKey(WXK_RETURN);
    };
    type("500", true);
    EXPECT_NE(spin->GetBackgroundColour(), plain) << "refused, visibly";
    EXPECT_EQ(control->GetControlValue().Get<int>(), 10);
    EXPECT_EQ(reports, 0);
    other->SetFocus();
    EXPECT_TRUE(PumpUntil([&] { return spin->GetBackgroundColour() == plain; }));
    EXPECT_EQ(control->GetControlValue().Get<int>(), 10) << "the last valid value comes back";
    EXPECT_EQ(spin->GetBackgroundColour(), plain);
    EXPECT_EQ(reports, 0);
    type("55", false);
    control->SetControlValue(parameter);
    EXPECT_EQ(spin->GetTextValue(), "55") << "a result does not take away what is typed";
    PressKey(WXK_RETURN);
    EXPECT_EQ(control->GetControlValue().Get<int>(), 55);
    EXPECT_EQ(reports, 1) << "one change, one report";
}

TEST_F(ControlTest, RegionsAreAddedChangedAndRemoved) {
    auto* control = Make<ParameterControlInputVectorRoi>(Parameter::Regions("r", "R", {Roi(1, 1, 1, 1)}));
    wxCommandEvent event(wxEVT_BUTTON);
    const auto regions = [&] { return control->GetControlValue().Get<std::vector<Roi>>(); };
    control->GetField()->SetValue("not a region");
    control->OnButtonAdd(event);
    control->OnButtonRemove(event);
    EXPECT_EQ(reports, 0);
    control->GetField()->SetValue("2, 2, 2, 2");
    control->OnButtonAdd(event);
    EXPECT_EQ(regions(), (std::vector<Roi>{Roi(1, 1, 1, 1), Roi(2, 2, 2, 2)}));
    control->GetField()->SetValue("3, 3, 3, 3");
    control->OnButtonChange(event);
    EXPECT_EQ(regions(), (std::vector<Roi>{Roi(1, 1, 1, 1), Roi(3, 3, 3, 3)}));
    control->OnButtonChange(event);
    EXPECT_EQ(reports, 2) << "the same again is no change";
    control->GetListBox()->SetSelection(0);
    control->OnButtonRemove(event);
    EXPECT_EQ(regions(), (std::vector<Roi>{Roi(3, 3, 3, 3)}));
    EXPECT_EQ(control->GetListBox()->GetCount(), 1U);
    EXPECT_EQ(control->GetField()->GetValue(), "3, 3, 3, 3") << "the text is that of the chosen region";
    control->OnButtonRemove(event);
    EXPECT_TRUE(control->GetField()->GetValue().empty())
        << "nothing of what was removed is left to be edited";
    EXPECT_EQ(reports, 4);
    // Without the last of them the one before it is chosen.
    control->SetControlValue(
        Parameter::Regions("r", "R", {Roi(1, 1, 1, 1), Roi(2, 2, 2, 2), Roi(3, 3, 3, 3)}));
    for (const int last : {2, 1}) {
        control->GetListBox()->SetSelection(last);
        control->OnButtonRemove(event);
        EXPECT_EQ(control->GetListBox()->GetSelection(), last - 1);
    }
    EXPECT_EQ(control->GetField()->GetValue(), "1, 1, 1, 1");
}

// Both kinds of field: what was refused is gone when another field is entered, and stays in a dialog, which asks for another.
TEST_F(ControlTest, ARefusedNumberIsTakenBackOnAPage) {
    frame->Show();
    frame->Raise();
    ASSERT_TRUE(PumpUntil([this] { return frame->IsActive(); }));
    auto* other = new wxTextCtrl(panel, wxID_ANY);
    for (const char* name : {"count", "offset", "sigma"}) {
        const VecParameter inputs = EveryTypeFilter::Inputs();
        const Parameter* parameter = inputs.Find(name);
        if (parameter == nullptr || dynamic_cast<ParameterControlInt*>(Make(*parameter)) == nullptr) continue;
        wxTextCtrl* field = Field(controls.back().get());
        frame->Layout();
        const wxString before = field->GetValue();
        field->SetFocus();
        ASSERT_TRUE(PumpUntil([&] { return field->HasFocus(); }));
        field->SetValue("nonsense");
        other->SetFocus();
        EXPECT_TRUE(PumpUntil([&] { return field->GetValue() == before; })) << name;
    }
    EXPECT_EQ(reports, 0);
}

TEST_F(ControlTest, BrowsingAsksWithTheRightTitle) {
    std::vector<std::string> asked;
    std::string answer;
    const OrvSelectorAnswer before = SetSelectorAnswer(
        [&](OrvSelectorKind, const wxString& message, const wxString&, const wxString&, const wxString&) {
            asked.push_back(FromWx(message));
            return PathToWx(answer);
        });
    const VecParameter inputs = EveryTypeFilter::Inputs();
    wxCommandEvent event(wxEVT_BUTTON);
    for (const char* name : {"folder", "file", "picture", "save"}) {
        auto* control = Make<ParameterControlInputFilename>(*inputs.Find(name));
        reports = 0;
        answer = "";
        control->OnButtonBrowse(event);
        EXPECT_EQ(control->GetControlValue(), *inputs.Find(name)) << "cancelled";
        EXPECT_EQ(reports, 0);
        answer = "/chosen/\xff.tsv";
        control->OnButtonBrowse(event);
        EXPECT_EQ(control->GetControlValue().Get<std::string>(), answer);
        EXPECT_EQ(reports, 1);
    }
    SetSelectorAnswer(before);
    const std::vector<std::string> titles = {"Choose a folder", "Choose a file to load",
                                             "Choose a file to load", "Choose a file to save to"};
    ASSERT_EQ(asked.size(), 2 * titles.size());
    for (std::size_t i = 0; i < titles.size(); ++i) {
        EXPECT_NE(asked[2 * i].find(titles[i]), std::string::npos) << asked[2 * i];
    }
}

TEST_F(ControlTest, AHiddenParameterShowsNothing) {
    Parameter parameter = Parameter::Bool("b", "B", true);
    parameter.SetHiddenFromGui();
    ParameterControl* control = Make(parameter);
    control->Show(true);
    for (wxWindow* child : panel->GetChildren()) EXPECT_FALSE(child->IsShown());
    EXPECT_EQ(control->GetControlValue(), parameter);
}

}  // namespace
