#include "orvgui/common/progressdialog.h"

#include <gtest/gtest.h>
#include <wx/arrstr.h>
#include <wx/button.h>
#include <wx/frame.h>
#include <wx/gauge.h>
#include <wx/stattext.h>

#include "tests/support/guitest.h"

namespace {

template <typename T>
T* FindChild(wxWindow& parent) {
    for (wxWindow* child : parent.GetChildren()) {
        if (auto* found = dynamic_cast<T*>(child)) return found;
    }
    return nullptr;
}

constexpr int kAllFlags =
    wxPD_CAN_ABORT | wxPD_AUTO_HIDE | wxPD_ELAPSED_TIME | wxPD_ESTIMATED_TIME | wxPD_REMAINING_TIME;

}  // namespace

TEST(ProgressEstimate, ShowsAnEstimateOnceItIsConfirmed) {
    ProgressEstimate estimate;
    struct Step {
        int value;
        unsigned long seconds;
        unsigned long estimated;
        unsigned long remaining;
    };
    // Of 100. The first seconds are taken as they come, later changes count when they were seen three times, or when the shown
    // estimate has been passed.
    const Step steps[] = {
        {0, 1, 0, 0},     {10, 2, 20, 18},  {10, 3, 30, 27}, {20, 4, 30, 26},  // 20: one vote for less
        {25, 5, 30, 25},                                                       // second vote
        {30, 6, 20, 14},                                                       // third vote: taken
        {30, 7, 20, 13},  {32, 8, 20, 12},  {33, 9, 27, 18},                   // three votes for more
        {34, 10, 27, 17}, {80, 11, 27, 16},  // one up, then down: votes start anew
        {30, 28, 93, 65},                    // longer than shown: taken at once
        {100, 29, 29, 0},
    };
    for (const Step& step : steps) {
        const auto times = estimate.Update(step.value, 100, step.seconds, 0);
        EXPECT_EQ(step.seconds, times.elapsed);
        EXPECT_EQ(step.estimated, times.estimated) << "after " << step.seconds << " s";
        EXPECT_EQ(step.remaining, times.remaining) << "after " << step.seconds << " s";
    }
    ProgressEstimate paused;
    EXPECT_EQ(10u + 10u, paused.Update(50, 100, 15, 10).estimated) << "a pause is no work";
}

TEST(ProgressEstimate, FormatsHoursMinutesSeconds) {
    EXPECT_EQ("0:00:00", ProgressEstimate::Format(0));
    EXPECT_EQ("0:01:05", ProgressEstimate::Format(65));
    EXPECT_EQ("100:00:09", ProgressEstimate::Format(360009));
}

TEST(ProgressDialog, HasTheProgramsSettings) {
    OrvProgressDialog dialog("Title", "One & two", 200000, nullptr, kAllFlags | wxPD_CAN_SKIP);
    EXPECT_EQ("Title", dialog.GetTitle());
    EXPECT_EQ("One & two", dialog.GetMessage());
    EXPECT_EQ(200000, dialog.GetRange());
    auto* gauge = FindChild<wxGauge>(dialog);
    ASSERT_NE(nullptr, gauge);
    EXPECT_EQ(wxSize(390, 20), gauge->GetMinSize());
    EXPECT_LE(gauge->GetRange(), 65535);
    EXPECT_NE(nullptr, dialog.FindWindow(32000)) << "skip";
    EXPECT_NE(nullptr, dialog.FindWindow(wxID_CANCEL));

    EXPECT_TRUE(dialog.Update(100000, "a & b"));
    EXPECT_EQ("a & b", dialog.GetMessage());
    EXPECT_NEAR(100000, dialog.GetValue(), 4);
    EXPECT_TRUE(dialog.Update(199999)) << "one step before the end is not the end";
    EXPECT_LT(dialog.GetValue(), 200000);
    EXPECT_TRUE(dialog.Pulse());
    EXPECT_EQ("a & b", dialog.GetMessage()) << "an empty message keeps the current one";

    dialog.SetTitle("Other");
    EXPECT_EQ("Other", dialog.GetTitle());
    const ExpectedAssertions assertions;
    dialog.SetRange(0);
    EXPECT_EQ(std::vector<std::string>{"Invalid range"}, assertions.Messages());
    EXPECT_EQ(200000, dialog.GetRange());
}

TEST(ProgressDialog, SkipIsReportedOnce) {
    OrvProgressDialog dialog("Title", "Message", 100, nullptr, kAllFlags | wxPD_CAN_SKIP);
    bool skip = false;
    dialog.Update(1, "x", &skip);
    EXPECT_FALSE(skip);
    wxCommandEvent press(wxEVT_BUTTON, 32000);
    dialog.ProcessWindowEvent(press);
    EXPECT_TRUE(dialog.WasSkipped());
    dialog.Update(2, "x", &skip);
    EXPECT_TRUE(skip);
    skip = false;
    dialog.Update(3, "x", &skip);
    EXPECT_FALSE(skip);
}

TEST(ProgressDialog, AbortAndResume) {
    wxFrame frame(nullptr, wxID_ANY, "Parent");
    frame.Show();
    {
        OrvProgressDialog dialog("Title", "Message", 100, &frame,
                                 wxPD_CAN_ABORT | wxPD_APP_MODAL | wxPD_AUTO_HIDE);
        EXPECT_FALSE(frame.IsEnabled()) << "the other windows wait";
        EXPECT_TRUE(dialog.Update(10));
        wxCommandEvent press(wxEVT_BUTTON, wxID_CANCEL);
        dialog.ProcessWindowEvent(press);
        EXPECT_TRUE(dialog.WasCancelled());
        EXPECT_FALSE(dialog.Update(11));
        dialog.Resume();
        EXPECT_FALSE(dialog.WasCancelled());
        EXPECT_TRUE(dialog.Update(12));
        dialog.Update(100);
        EXPECT_FALSE(dialog.IsShown()) << "hides at the end";
        EXPECT_TRUE(frame.IsEnabled());
    }
    EXPECT_TRUE(frame.IsEnabled());
}

TEST(ProgressDialog, KeepsItsSizeWhateverItSays) {
    OrvProgressDialog dialog("Title", "Processing", 100, nullptr, kAllFlags);
    Pump();
    const wxSize size = dialog.GetSize();
    const auto* label = FindChild<wxStaticText>(dialog);
    const wxRect room = label->GetRect();
    const std::string longName = "Reading " + std::string(300, 'n') + "-end.jpg";
    for (const std::string& text :
         {longName, longName + " (12%)\n" + longName, std::string("short"), std::string("one\ntwo\nthree")}) {
        dialog.Update(10, text);
        Pump();
        EXPECT_EQ(dialog.GetSize(), size) << text;
        EXPECT_EQ(label->GetRect(), room) << text;
        EXPECT_EQ(dialog.GetMessage(), text) << "what is said is not shortened";
        wxSize needed = label->GetTextExtent("x");
        for (const wxString& line : wxSplit(label->GetLabelText(), '\n', '\0'))
            needed.IncTo(label->GetTextExtent(line));
        EXPECT_LE(needed.x, room.width) << text;
    }
    dialog.Update(10, longName);
    EXPECT_TRUE(label->GetLabelText().StartsWith("Reading nnn")) << label->GetLabelText();
    EXPECT_TRUE(label->GetLabelText().EndsWith("-end.jpg")) << label->GetLabelText();
    EXPECT_TRUE(label->GetLabelText().Contains(wxString::FromUTF8("\u2026")) ||
                label->GetLabelText().Contains("..."));
    dialog.Pulse(wxString::FromUTF8("a\u202Egpj.exe"));
    EXPECT_EQ(label->GetLabelText(), "a[U+202E]gpj.exe");
}
