#include "orvgui/controls/parametercontrol.h"

#include <gtest/gtest.h>
#include <wx/button.h>
#include <wx/combobox.h>
#include <wx/frame.h>
#include <wx/listbox.h>
#include <wx/panel.h>
#include <wx/slider.h>
#include <wx/spinctrl.h>
#include <wx/textctrl.h>

#include <map>
#include <memory>
#include <set>

#include "orvgui/common/fileselectors.h"
#include "orvgui/common/statictext.h"
#include "orvgui/common/validator.h"
#include "orvgui/controls/parametercontrolchoice.h"
#include "orvgui/controls/parametercontrolfile.h"
#include "orvgui/controls/parametercontrolnumber.h"
#include "orvgui/controls/parametercontrolquantization.h"
#include "orvgui/controls/parametercontrolroi.h"
#include "orvgui/controls/parametercontroltable.h"
#include "orvgui/controls/parametercontroltext.h"
#include "orvgui/tables/listctrl.h"
#include "tests/orvgui/keys.h"
#include "tests/support/everytypefilter.h"
#include "tests/support/guitest.h"
#include "zorbase/text.h"

namespace {

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

template <typename Control>
bool Is(const ParameterControl* control) {
    return dynamic_cast<const Control*>(control) != nullptr;
}

// A row that gives the field more room with the button than without comes to rest all the same.
TEST_F(ControlTest, TheButtonOfALongTextComesToRest) {
    auto* control =
        Make<ParameterControlString>(Parameter::Output(ParameterType::OutputString, "text", "Text"));
    ASSERT_NE(control, nullptr);
    int sizes = 0;
    panel->SetSizer(nullptr, false);
    panel->Bind(wxEVT_SIZE, [&](wxSizeEvent&) {
        if (++sizes > 100) return;  // it never rests
        bool hasButton = false;
        for (const wxWindow* child : panel->GetChildren())
            hasButton = hasButton || (dynamic_cast<const wxButton*>(child) != nullptr && child->IsShown());
        Field(control)->SetSize(hasButton ? 600 : 60, 30);
    });
    frame->Show();
    Parameter value = Parameter::Output(ParameterType::OutputString, "text", "Text");
    value.SetValue(std::string("A text of some forty letters, or thereabouts"));
    control->SetControlValue(value);
    panel->PostSizeEvent();
    PumpFrames();
    EXPECT_LT(sizes, 20);
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

TEST_F(ControlTest, TwoSlotsStandInOneFieldAndDifferencesAreRed) {
    const struct {
        const char* evidence;   // null: not set
        const char* reference;  // null: not set
        const char* shown;
        bool red;
    } cases[] = {
        {nullptr, nullptr, "-", false}, {"a", nullptr, "a", false},      {nullptr, "b", "- / b", true},
        {"a", "b", "a / b", true},      {"a", "a", "a / a", false},      {"a", "A", "a / A", true},
        {"", "", "- / -", false},       {"&x", "<b>", "&x / <b>", true},
    };
    ParameterControl* control = Make(Parameter::Output(ParameterType::OutputString, "s", "S"));
    for (const auto& test : cases) {
        Parameter parameter = Parameter::Output(ParameterType::OutputString, "s", "S");
        if (test.evidence != nullptr) parameter.SetValue(std::string(test.evidence));
        if (test.reference != nullptr) parameter.SetReference(std::string(test.reference));
        control->SetControlValue(parameter);
        EXPECT_EQ(Field(control)->GetValue(), test.shown);
        EXPECT_EQ(Field(control)->GetForegroundColour(), test.red ? *wxRED : *wxBLACK) << test.shown;
        EXPECT_EQ(control->GetControlValue(), parameter);
    }
    Parameter size = Parameter::Output(ParameterType::OutputImageResolution, "size", "Size");
    size.SetValue(ImageResolution{640, 480});
    size.SetReference(ImageResolution{480, 640});
    EXPECT_EQ(Field(Make(size))->GetValue(), "640 x 480 / 480 x 640");
    Parameter bytes = Parameter::Output(ParameterType::OutputInt64, "bytes", "Bytes");
    bytes.SetValue(std::int64_t{-9007199254740993});
    EXPECT_EQ(Field(Make(bytes))->GetValue(), "-9007199254740993");
}

TEST_F(ControlTest, OfLongTextsOnlyTheLinesThatDifferAreRed) {
    Parameter dump = Parameter::Output(ParameterType::OutputText, "dump", "Dump");
    dump.SetValue(std::string("same\nleft"));
    dump.SetReference(std::string("same\nright\nmore"));
    wxTextCtrl* field = Field(Make(dump));
    EXPECT_EQ(field->GetValue(), "same\nleft\n / \nsame\nright\nmore");
    const auto isRed = [field](long position) {
        wxTextAttr style;
        field->GetStyle(position, style);
        return style.GetTextColour() == *wxRED;
    };
    EXPECT_FALSE(isRed(0));
    EXPECT_TRUE(isRed(5));
    EXPECT_FALSE(isRed(14));
    EXPECT_TRUE(isRed(19));
    EXPECT_TRUE(isRed(25));
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

TEST_F(ControlTest, ProseIsWrappedAndColumnsAreNot) {
    frame->Show();
    wxString prose;
    for (int i = 0; i < 40; ++i) prose += "words of a sentence that goes on ";
    Parameter parameter = Parameter::Output(ParameterType::OutputText, "t", "T");
    parameter.SetValue(FromWx(prose));
    auto* control = Make<ParameterControlOutputText>(parameter);
    wxTextCtrl* field = Field(control);
    panel->Layout();
    Pump();
    EXPECT_EQ(field->GetWindowStyleFlag() & wxTE_DONTWRAP, 0);
    EXPECT_GT(field->GetMinSize().y, 5 * field->GetCharHeight()) << "room for what was wrapped";
    parameter.SetValue(std::string("a    b\nlonger    c"));
    control->SetControlValue(parameter);
    EXPECT_NE(field->GetWindowStyleFlag() & wxTE_DONTWRAP, 0);
    EXPECT_LT(field->GetMinSize().y, 5 * field->GetCharHeight());
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

TEST_F(ControlTest, ALongTextIsOpenedInFull) {
    Parameter note = Parameter::Output(ParameterType::OutputString, "note", "Note");
    const std::string full = std::string(5000, 'x') + "\nend";
    note.SetValue(full);
    auto* control = Make<ParameterControlString>(note);
    frame->Show();
    sizer->FitInside(panel);
    panel->Layout();
    ASSERT_TRUE(PumpUntil([&] { return Field(control)->GetClientSize().GetWidth() > 20; }));
    wxString shown;
    DialogAnswers answers([&](wxDialog* dialog) {
        for (wxWindow* child : dialog->GetChildren()) {
            if (auto* text = dynamic_cast<wxTextCtrl*>(child)) shown = text->GetValue();
        }
        return wxID_CLOSE;
    });
    wxCommandEvent event(wxEVT_BUTTON);
    control->OnButtonView(event);
    EXPECT_EQ(FromWx(shown), full);
}

TEST_F(ControlTest, OnlyATextThatDoesNotFitHasAButton) {
    Parameter note = Parameter::Output(ParameterType::OutputString, "note", "Note");
    note.SetValue(std::string("two\nlines"));
    auto* control = Make<ParameterControlString>(note);
    frame->Show();
    panel->Layout();
    const auto hasButton = [this] {
        for (const wxWindow* child : panel->GetChildren())
            if (dynamic_cast<const wxButton*>(child) != nullptr && child->IsShown()) return true;
        return false;
    };
    EXPECT_TRUE(hasButton());
    control->Show(false);
    EXPECT_FALSE(hasButton());
    control->Show(true);
    EXPECT_TRUE(hasButton());
    note.SetValue(std::string("short"));
    control->SetControlValue(note);
    EXPECT_FALSE(hasButton());
    control->Show(true);
    EXPECT_FALSE(hasButton());
}

TEST_F(ControlTest, AHiddenParameterShowsNothing) {
    Parameter parameter = Parameter::Bool("b", "B", true);
    parameter.SetHiddenFromGui();
    ParameterControl* control = Make(parameter);
    control->Show(true);
    for (wxWindow* child : panel->GetChildren()) EXPECT_FALSE(child->IsShown());
    EXPECT_EQ(control->GetControlValue(), parameter);
}

TEST(QuantizationText, PutsBothSlotsSideBySideAndNamesTheDifferences) {
    QuantizationTable table;
    for (int i = 0; i < 64; ++i) table.values.push_back(static_cast<std::uint16_t>(i + 1));
    QuantizationTable other = table;
    other.values[9] = 255;
    const QuantizationTables evidence{table};
    const QuantizationTables reference{other};

    const QuantizationText single = FormatQuantizationTables(evidence, nullptr);
    EXPECT_EQ(single.lines, 9);
    EXPECT_TRUE(single.differing.empty());
    const QuantizationText both = FormatQuantizationTables(evidence, &reference);
    EXPECT_EQ(both.lines, 10);
    std::vector<std::string> differing;
    for (const auto& [start, end] : both.differing)
        differing.push_back(
            FromWx(both.text.Mid(static_cast<std::size_t>(start), static_cast<std::size_t>(end - start))));
    EXPECT_EQ(differing, (std::vector<std::string>{"1 of 64 values differ", "10*", "255*"}));
    const wxArrayString lines = wxSplit(both.text, '\n', '\0');
    EXPECT_EQ(lines[3].length(), lines[9].length());

    const QuantizationTables none;
    const QuantizationText missing = FormatQuantizationTables(evidence, &none);
    EXPECT_EQ(missing.differing.size(), 1U + 128U) << "a table that only one side has";
    EXPECT_TRUE(FormatQuantizationTables(none, nullptr).text.empty());
    // A damaged table may be short.
    const QuantizationTables damaged{{0, 8, {1, 2}}};
    EXPECT_EQ(FormatQuantizationTables(damaged, nullptr).lines, 9);
}

TEST(QuantizationText, ShowsEveryDefinitionOfATable) {
    const std::vector<std::uint16_t> ones(64, 1), twos(64, 2);
    const QuantizationTables evidence{{0, 8, ones}, {1, 8, ones}, {0, 8, twos}};
    const QuantizationTables reference{{0, 8, ones}, {1, 8, ones}};
    const QuantizationText both = FormatQuantizationTables(evidence, &reference);
    const wxArrayString lines = wxSplit(both.text, '\n', '\0');
    std::vector<std::string> titles;
    for (const wxString& line : lines)
        if (line.StartsWith("Table")) titles.push_back(FromWx(line));
    EXPECT_EQ(titles,
              (std::vector<std::string>{"Table 0: equal", "Table 0 (2nd definition): 64 of 64 values differ",
                                        "Table 1: equal"}));
}

TEST_F(ControlTest, TableIsATableControlThatStaysAsTheUserSortedIt) {
    Parameter table = Parameter::Output(ParameterType::TableString, "table", "Metadata");
    auto* control = Make(table);
    auto* list = dynamic_cast<OrvListCtrl*>(control->GetControl());
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->GetNumberCols(), 0);
    table.SetValue(TableString{{"#Tag", "Value"}, {"b", "!10"}, {"a", "?9"}, {"c", "\\!x"}});
    control->SetControlValue(table);
    EXPECT_EQ(control->GetControlValue(), table);
    EXPECT_EQ(list->GetColLabelValue(0), "Tag");
    EXPECT_EQ(list->GetCellTextColour(0, 1), *wxRED);
    EXPECT_EQ(list->GetCellTextColour(1, 1), wxColour(255, 165, 0));
    EXPECT_EQ(list->GetCellValue(2, 1), "!x");

    list->SortCol(0);
    list->SortCol(0);
    EXPECT_EQ(list->GetCellValue(0, 0), "c");
    table.SetValue(TableString{{"#Tag", "Value"}, {"x", "1"}, {"z", "2"}, {"y", "3"}});
    control->SetControlValue(table);
    EXPECT_EQ(list->GetCellValue(0, 0), "z");
    EXPECT_EQ(list->GetCellValue(2, 0), "x");
    // Other columns are another table.
    table.SetValue(TableString{{"Tag", "Other"}, {"x", "1"}, {"z", std::string(3000, 'W')}});
    control->SetControlValue(table);
    EXPECT_EQ(list->GetCellValue(0, 0), "x");
    EXPECT_EQ(list->GetSortColumn(), -1);
    EXPECT_GT(list->GetColSize(1), 300) << "as wide as the longest cell";
    EXPECT_LT(list->GetColSize(1), 500) << "but not wider than can be read";
    EXPECT_EQ(reports, 0);
}

// No white box where there is nothing: a word says whether nothing was found or nothing was looked for.
TEST_F(ControlTest, ATableWithoutRowsSaysNone) {
    Parameter table = Parameter::Output(ParameterType::TableString, "table", "Parts");
    auto* control = Make(table);
    frame->Show();
    const auto shown = [this] {
        std::string text;
        for (const wxWindow* child : panel->GetChildren()) {
            const auto* label = dynamic_cast<const OrvStaticText*>(child);
            if (label != nullptr && label->IsShown() && label->GetText() != "Parts")
                text += FromWx(label->GetText());
        }
        return text;
    };
    const wxWindow* list = control->GetControl();
    const TableString empty{{"Part", "Offset"}};
    const TableString one{{"Part", "Offset"}, {"SOI", "0"}};
    const struct {
        const TableString* rows;  // null: not looked for
        std::string text;
    } steps[] = {{nullptr, FromWx(ParameterControl::GetPlaceholder())},
                 {&empty, "None"},
                 {&one, ""},
                 {&empty, "None"},
                 {&one, ""},
                 {nullptr, FromWx(ParameterControl::GetPlaceholder())}};
    for (const auto& step : steps) {
        Parameter value = Parameter::Output(ParameterType::TableString, "table", "Parts");
        if (step.rows != nullptr) value.SetValue(*step.rows);
        control->SetControlValue(value);
        EXPECT_EQ(shown(), step.text);
        EXPECT_EQ(list->IsShown(), step.text.empty());
        control->Show(false);
        EXPECT_EQ(shown(), "");
        EXPECT_FALSE(list->IsShown());
        control->Show(true);
        EXPECT_EQ(shown(), step.text) << "as before it was hidden";
    }
}

// A bar below a table that is wider than its room would lie over its only row.
TEST_F(ControlTest, ATableLeavesRoomForItsBar) {
    Parameter table = Parameter::Output(ParameterType::TableString, "table", "Parts");
    auto* control = Make(table);
    auto* list = dynamic_cast<OrvListCtrl*>(control->GetControl());
    frame->Show();
    for (const int letters : {4, 30, 90}) {
        table.SetValue(
            TableString{{"Part", "Content"}, {"SOI", std::string(static_cast<std::size_t>(letters), 'n')}});
        control->SetControlValue(table);
        list->SetSize(wxSize(220, list->GetMinSize().y));
        PumpFrames();
        EXPECT_GE(list->GetGridWindow()->GetClientSize().y, list->GetRowSize(0)) << letters;
    }
}

TEST(FixedPitch, IsForDigestsAndColumns) {
    const std::pair<const char*, bool> cases[] = {
        {"d41d8cd98f00b204e9800998ecf8427e", true},
        {"D4:1D:8C:D9:8F:00:B2:04", true},
        {"0000  ff d8 ff e0", true},
        {"a\tb", true},
        {"Canon EOS 5D Mark IV", false},
        {"2026-11-21 14:03:59", false},
        {"A sentence. Another one.", false},
        {"", false},
        {"12345678 bytes", false},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(NeedsFixedPitch(text), expected) << text;
}

TEST(StaticText, BreaksLinesAtBlanksAndInsideLongWords) {
    const auto tenPixels = [](const wxString& text) {
        std::vector<int> ends;
        for (std::size_t i = 1; i <= text.length(); ++i) ends.push_back(static_cast<int>(10 * i));
        return ends;
    };
    const struct {
        const char* text;
        int width;
        std::vector<wxString> lines;
    } cases[] = {
        {"", 100, {""}},
        {"one two", 100, {"one two"}},
        {"one two three", 70, {"one two", "three"}},
        {"one two three", 79, {"one two", "three"}},
        {"abcdefgh", 30, {"abc", "def", "gh"}},
        {"a\n\nb", 30, {"a", "", "b"}},
        {"one   two", 40, {"one ", "two"}},
        {"wide", 1, {"w", "i", "d", "e"}},
    };
    for (const auto& test : cases)
        EXPECT_EQ(WrapLines(test.text, test.width, tenPixels), test.lines) << test.text;
}

TEST_F(ControlTest, AStaticTextTakesTheHeightThatItsWidthNeeds) {
    auto* text = new OrvStaticText(panel, wxString('w', 30) + " & <b>" + wxString(" word", 1));
    text->SetMaximumTextWidth(120);
    const int high = text->GetMinSize().GetHeight();
    EXPECT_LE(text->GetMinSize().GetWidth(), 120);
    EXPECT_GT(high, text->GetCharHeight());
    text->SetSize(0, 0, 2000, high);
    EXPECT_EQ(text->GetMinSize().GetHeight(), text->GetCharHeight());
    EXPECT_EQ(text->GetLabelText(), text->GetText()) << "no mnemonic, no mark-up";
}

}  // namespace
