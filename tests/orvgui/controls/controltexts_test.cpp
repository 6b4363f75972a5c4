#include "orvgui/controls/parametercontroltext.h"

#include <gtest/gtest.h>
#include <wx/button.h>
#include <wx/textctrl.h>

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
#include "tests/orvgui/controls/controlfixture.h"
#include "tests/support/everytypefilter.h"
#include "tests/support/guitest.h"
#include "zorbase/text.h"

namespace {

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
    // Two short texts stand side by side.
    dump.SetValue(std::string("left"));
    dump.SetReference(std::string("right"));
    EXPECT_EQ(Field(Make(dump))->GetValue(), "left / right");
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
    // Where something below it needs the room.
    EXPECT_TRUE(control->SetMaximumLines(3));
    EXPECT_FALSE(control->SetMaximumLines(3));
    EXPECT_LT(field->GetMinSize().y, 5 * field->GetCharHeight());
    EXPECT_EQ(field->GetValue(), prose);
    EXPECT_TRUE(control->SetMaximumLines(1000));
    parameter.SetValue(std::string("a    b\nlonger    c"));
    control->SetControlValue(parameter);
    EXPECT_NE(field->GetWindowStyleFlag() & wxTE_DONTWRAP, 0);
    EXPECT_LT(field->GetMinSize().y, 5 * field->GetCharHeight());
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
