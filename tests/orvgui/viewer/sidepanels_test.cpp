// The panels beside the pictures, on a page that only writes down what it is asked for.

#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/sizer.h>
#include <wx/slider.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>
#include <wx/textdlg.h>
#include <wx/tglbtn.h>

#include "orvgui/common/statictext.h"
#include "orvgui/viewer/annotationpanel.h"
#include "orvgui/viewer/comparepanel.h"
#include "orvgui/viewer/inspectorpanel.h"
#include "orvgui/viewer/mappanel.h"
#include "orvgui/viewer/selectorpanel.h"
#include "orvgui/viewer/settingspanel.h"
#include "orvgui/viewer/zoompanel.h"
#include "tests/orvgui/viewer/fakehost.h"

namespace {

using Asked = std::vector<std::string>;
using SidePanels = FakeHostTest;

}  // namespace

TEST_F(SidePanels, ComparingIsMixedOrBlinks) {
    auto* panel = new ComparePanel(host, host);
    const auto sliders = All<wxSlider>(panel);
    const auto texts = All<OrvStaticText>(panel);  // title, percent, rate, reason
    auto* blink = All<wxCheckBox>(panel).at(0);
    ASSERT_EQ(sliders.size(), 2U);
    ASSERT_EQ(texts.size(), 4U);
    EXPECT_FALSE(panel->IsShown());
    EXPECT_EQ(texts[1]->GetText(), "0 %");
    EXPECT_EQ(texts[2]->GetText(), "1.0 Hz");
    EXPECT_EQ(sliders[1]->GetMin(), 5);
    EXPECT_EQ(sliders[1]->GetMax(), 30);
    panel->SetPictures(true, wxString());
    EXPECT_TRUE(panel->IsShown());
    EXPECT_TRUE(sliders[0]->IsEnabled());
    EXPECT_FALSE(texts[3]->IsShown());
    host->Asked();
    sliders[0]->SetValue(30);
    Send(sliders[0], wxEVT_SLIDER, 30);
    EXPECT_EQ(host->Asked(), Asked{"mix 30"});
    EXPECT_EQ(texts[1]->GetText(), "30 %");
    sliders[1]->SetValue(25);
    Send(sliders[1], wxEVT_SLIDER, 25);
    EXPECT_EQ(texts[2]->GetText(), "2.5 Hz");
    EXPECT_FALSE(panel->IsBlinking());
    Send(blink, wxEVT_CHECKBOX, 1);
    EXPECT_TRUE(panel->IsBlinking());
    EXPECT_TRUE(blink->GetValue());
    EXPECT_EQ(panel->GetMix(), 0) << "one of the two";
    EXPECT_EQ(host->Asked(), Asked{"mix 0"});
    Asked swaps;
    ASSERT_TRUE(PumpUntil([&] {
        for (const std::string& what : host->Asked()) swaps.push_back(what);
        return swaps.size() >= 3;
    }));
    EXPECT_EQ(Asked(swaps.begin(), swaps.begin() + 3), (Asked{"swap 1", "swap 2", "swap 1"}));
    panel->SetRate(0.1);
    EXPECT_EQ(texts[2]->GetText(), "0.5 Hz");
    EXPECT_TRUE(panel->IsBlinking());
    panel->SetMix(40);
    EXPECT_FALSE(panel->IsBlinking());
    EXPECT_FALSE(blink->GetValue());
    const Asked after = host->Asked();
    EXPECT_EQ(after.back(), "mix 40");
    // Pictures of different size are there to blink, not to be mixed.
    panel->SetPictures(true, "not alike");
    EXPECT_EQ(panel->GetMix(), 0);
    EXPECT_FALSE(sliders[0]->IsEnabled());
    EXPECT_TRUE(texts[3]->IsShown());
    EXPECT_EQ(texts[3]->GetText(), "not alike");
    panel->Blink(true);
    panel->SetPictures(true, "not alike");
    EXPECT_TRUE(panel->IsBlinking());
    panel->SetPictures(false, wxString());
    EXPECT_FALSE(panel->IsBlinking());
    EXPECT_FALSE(panel->IsShown());
    panel->SetPictures(true, wxString());
    panel->SetMix(10);
    panel->ClearValues();
    EXPECT_EQ(panel->GetMix(), 0);
}

TEST_F(SidePanels, TheMapPanelShowsWhatCanBeChosenOfEachMap) {
    auto* panel = new MapPanel(host, host);
    OrvMap level;
    level.name = "Level";
    level.unit = "units";
    level.values = cv::Mat(8, 8, CV_8U, cv::Scalar(3));
    level.block = {1, 1};
    level.image = {8, 8};
    level.range = {0.0, 10.0};
    level.threshold = 5.0;
    level.thresholdSide = OrvMapSide::Above;
    OrvMap shift = level;
    shift.name = "Shift";
    shift.unit = "";
    shift.scale = OrvMapScale::Diverging;
    shift.values = cv::Mat(8, 8, CV_32F, cv::Scalar(0.5F));
    shift.range = {-2.0, 2.0};
    shift.thresholdSide = OrvMapSide::None;
    const std::vector<OrvMap> none[kFileSlots];
    const std::vector<OrvMap> one[kFileSlots] = {{level}, {}};
    const std::vector<OrvMap> both[kFileSlots] = {{level, shift}, {level, shift}};
    auto* choice = All<wxChoice>(panel).at(0);
    auto* opacity = All<wxSlider>(panel).at(0);
    auto* beyond = All<wxCheckBox>(panel).at(0);
    panel->SetMaps(none, {});
    EXPECT_FALSE(panel->IsShown());
    EXPECT_FALSE(panel->HasMaps());
    panel->SetMaps(one, {});
    EXPECT_TRUE(panel->IsShown());
    EXPECT_FALSE(choice->IsShown()) << "nothing to choose";
    EXPECT_TRUE(beyond->IsShown());
    EXPECT_EQ(panel->GetRangeText(), "Level (units)\n0 to 10 units, automatic\nAbove 5 units counts");
    EXPECT_EQ(panel->GetLowField()->GetValue(), "0");
    EXPECT_EQ(panel->GetHighField()->GetValue(), "10");
    panel->SetMaps(both, {"Shift"});
    EXPECT_TRUE(choice->IsShown());
    EXPECT_EQ(choice->GetStrings(), wxArrayString(2, std::vector<wxString>{"Level (units)", "Shift"}.data()));
    EXPECT_EQ(choice->GetSelection(), 0);
    EXPECT_FALSE(panel->GetResetButton()->IsEnabled());
    host->Asked();

    choice->SetSelection(1);
    Send(choice, wxEVT_CHOICE, 1);
    EXPECT_EQ(host->Asked(), Asked{"display"});
    EXPECT_EQ(panel->GetDisplay().map, 1U);
    EXPECT_FALSE(beyond->IsShown()) << "without a threshold";
    EXPECT_EQ(panel->GetRangeText(), "Shift\n-2 to 2, set by hand");
    EXPECT_TRUE(panel->GetResetButton()->IsEnabled());
    Send(panel->GetResetButton(), wxEVT_BUTTON);
    EXPECT_EQ(host->Asked(), Asked{"range Shift"});
    const auto type = [&](wxTextCtrl* field, const char* text) {
        field->ChangeValue(text);
        Send(field, wxEVT_TEXT_ENTER);
        return host->Asked();
    };
    EXPECT_EQ(type(panel->GetLowField(), "-3"), Asked{"range Shift -3.000000 3.000000"})
        << "its ends mirror each other";
    EXPECT_EQ(panel->GetLowField()->GetValue(), "-2") << "until it is drawn so";
    EXPECT_EQ(type(panel->GetHighField(), "1"), Asked{"range Shift -1.000000 1.000000"});
    EXPECT_EQ(type(panel->GetHighField(), "2"), Asked{}) << "as it is";
    EXPECT_EQ(type(panel->GetHighField(), "x"), Asked{});
    EXPECT_EQ(panel->GetHighField()->GetValue(), "2");
    // The same again is no change.
    Send(choice, wxEVT_CHOICE, 1);
    EXPECT_EQ(host->Asked(), Asked{});
    opacity->SetValue(35);
    Send(opacity, wxEVT_SLIDER, 35);
    EXPECT_EQ(host->Asked(), Asked{"display"});
    EXPECT_EQ(panel->GetDisplay().opacity, 35);
    choice->SetSelection(0);
    Send(choice, wxEVT_CHOICE, 0);
    beyond->SetValue(true);
    Send(beyond, wxEVT_CHECKBOX, 1);
    EXPECT_TRUE(panel->GetDisplay().beyondOnly);
    choice->SetSelection(1);
    Send(choice, wxEVT_CHOICE, 1);
    EXPECT_EQ(panel->GetDisplay(), (MapDisplay{1, 35, true})) << "taken back with the next change";
    // A new result with fewer maps begins with the first; what the user chose stays.
    panel->SetMaps(one, {});
    EXPECT_EQ(panel->GetDisplay().map, 0U);
    EXPECT_EQ(opacity->GetValue(), 35);
    EXPECT_EQ(panel->FindMap("Shift"), 0U);
    panel->SetMaps(both, {});
    EXPECT_EQ(panel->FindMap("Shift"), 1U);
    EXPECT_EQ(panel->GetMap(OrvReference)->name, "Level");
    ASSERT_TRUE(PumpUntil([&] { return !panel->IsCounting(); }));
    const wxString numbers = "mean 3, median 3, deviation 0, 0 % beyond the threshold (64 values)";
    EXPECT_EQ(panel->GetNumbersText(),
              "Evidence\nWhole map: " + numbers + "\nReference\nWhole map: " + numbers);
    panel->SetMaps(one, {});
    panel->SetRegion(Roi(0, 0, 4, 8));
    ASSERT_TRUE(PumpUntil([&] { return !panel->IsCounting(); }));
    const wxString half = "mean 3, median 3, deviation 0, 0 % beyond the threshold (32 values)";
    EXPECT_EQ(panel->GetNumbersText(), "Inside the selection: " + half + "\nOutside: " + half);
    panel->LetGoMaps();
    EXPECT_FALSE(panel->HasMaps());
}

TEST_F(SidePanels, TheDescriptionFoldsUnderItsTitle) {
    auto* panel = new DescriptionPanel(host, host);
    auto* title = All<wxButton>(panel).at(0);
    auto* text = All<OrvStaticText>(panel).at(0);
    int told = 0;
    panel->SetListener([&] { ++told; });
    EXPECT_EQ(text->GetText(), "What it does.");
    for (const bool isShown : {false, true}) {
        Send(title, wxEVT_BUTTON);
        EXPECT_EQ(panel->IsTextShown(), isShown);
        EXPECT_EQ(text->IsShown(), isShown);
        EXPECT_EQ(title->GetLabelText(),
                  wxString::FromUTF8(isShown ? "\u25be Description" : "\u25b8 Description"));
    }
    EXPECT_EQ(told, 2);
}
