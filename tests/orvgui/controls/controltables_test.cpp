#include "orvgui/controls/parametercontroltable.h"

#include <gtest/gtest.h>

#include "orvgui/common/statictext.h"
#include "orvgui/controls/parametercontrolchoice.h"
#include "orvgui/controls/parametercontrolnumber.h"
#include "orvgui/controls/parametercontrolquantization.h"
#include "orvgui/controls/parametercontrolroi.h"
#include "orvgui/controls/parametercontroltable.h"
#include "orvgui/controls/parametercontroltext.h"
#include "orvgui/tables/listctrl.h"
#include "tests/orvgui/controls/controlfixture.h"
#include "tests/support/everytypefilter.h"
#include "tests/support/guitest.h"
#include "zorbase/text.h"

namespace {

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

}  // namespace
