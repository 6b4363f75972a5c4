#include "orvgui/shell/filterstreeformat.h"

#include <gtest/gtest.h>
#include <wx/gdicmn.h>

namespace {

const OrvItemLook kPlain{false, false, true};
const OrvItemLook kRun{true, false, true};
const OrvItemLook kStandsOut{true, true, true};
const OrvItemLook kDisabled{false, false, false};

TEST(FiltersTreeFormat, StatusDecidesWeightAndColour) {
    EXPECT_EQ(LookOf(FilterStatus::NotProcessed, true), kPlain);
    EXPECT_EQ(LookOf(FilterStatus::Processed, true), kRun);
    EXPECT_EQ(LookOf(FilterStatus::StandsOut, true), kStandsOut);
    for (const int status : {0, 1, 2})
        EXPECT_EQ(LookOf(static_cast<FilterStatus>(status), false), kDisabled) << status;

    const wxColour text(230, 230, 230);
    EXPECT_EQ(ColourOf(kPlain, false, text), *wxBLACK);
    EXPECT_EQ(ColourOf(kRun, false, text), *wxBLACK);
    EXPECT_EQ(ColourOf(kStandsOut, false, text), *wxRED);
    EXPECT_EQ(ColourOf(kDisabled, false, text), *wxLIGHT_GREY);
    // Black would vanish on a dark background.
    EXPECT_EQ(ColourOf(kRun, true, text), text);
    EXPECT_EQ(ColourOf(kStandsOut, true, text), *wxRED);
}

TEST(FiltersTreeFormat, DisabledConfigurationsDoNotColourTheirFilter) {
    EXPECT_EQ(Strongest(kPlain, kStandsOut), kStandsOut);
    EXPECT_EQ(Strongest(kStandsOut, kRun), kStandsOut);
    EXPECT_EQ(Strongest(kDisabled, kRun), kRun);
    EXPECT_EQ(Strongest(kDisabled, kDisabled), kDisabled);
    const OrvItemLook greyButRed{true, true, false};
    EXPECT_EQ(Strongest(greyButRed, kPlain), kPlain);
    EXPECT_EQ(Strongest(kPlain, greyButRed), kPlain);
}

TEST(FiltersTreeFormat, AConfigurationWithNothingToTellIsStandard) {
    EXPECT_EQ(ConfigurationText({}), "Standard");
    Parameter hidden = Parameter::Int("a", "A", 1, 0, 9);
    hidden.SetHiddenFromGui();
    EXPECT_EQ(ConfigurationText({hidden}), "Standard");
    const VecParameter two{Parameter::Int("quality", "Quality", 90, 0, 100),
                           Parameter::Int("gain", "Gain", 10, 0, 100)};
    EXPECT_EQ(ConfigurationText(two), wxString::FromUTF8(GetParametersString(two, true)));
    const wxString tip = ConfigurationToolTip("Levels", two, FilterStatus::StandsOut, true);
    EXPECT_TRUE(tip.Contains("Levels\n")) << tip;
    EXPECT_TRUE(tip.Contains("Quality")) << tip;
    EXPECT_EQ(tip.Freq('\n'), 3) << tip;
    EXPECT_TRUE(tip.Contains("worth a look")) << tip;
    EXPECT_TRUE(ConfigurationToolTip("Levels", {}, FilterStatus::StandsOut, false).Contains("Disabled"));
}

TEST(FiltersTreeFormat, ATipIsShort) {
    wxString description = "Shows where a picture was compressed otherwise";
    for (int i = 0; i < 20; ++i) description += ", and more of what it does";
    VecParameter many;
    for (int i = 0; i < 20; ++i)
        many.push_back(Parameter::Int("p" + std::to_string(i), "Parameter " + std::to_string(i), i, 0, 100));
    for (const wxString& tip :
         {FilterToolTip("Levels", description + ". A second sentence.", FilterStatus::StandsOut, true, ""),
          ConfigurationToolTip("Levels", many, FilterStatus::StandsOut, true)}) {
        EXPECT_TRUE(tip.StartsWith("Levels\n")) << tip;
        EXPECT_TRUE(tip.Contains("worth a look")) << tip;
        EXPECT_LE(tip.Freq('\n'), 8) << tip;
        for (const wxString& line : wxSplit(tip, '\n', '\0')) EXPECT_LE(line.length(), 73U) << line;
    }
    const wxString tip = FilterToolTip("Levels", "One thing; another", FilterStatus::Processed, true, "");
    EXPECT_TRUE(tip.Contains("\nOne thing.\n")) << tip;
    // Name, one line, and either the state or why there is nothing.
    EXPECT_EQ(
        FilterToolTip("Levels", "One thing; another", FilterStatus::Processed, true, "No levels\nin it"),
        wxString::FromUTF8("Levels\nOne thing.\nNo levels\u2026"));
}

}  // namespace
