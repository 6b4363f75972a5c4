#include "orvgui/shell/mainframe.h"

#include <wx/menu.h>
#include <wx/msgdlg.h>

#include "orvgui/common/messagebox.h"
#include "orvgui/common/progressdialog.h"
#include "orvgui/pages/orvviewerpanel.h"
#include "orvgui/shell/commandregistry.h"
#include "orvgui/shell/filterspanel.h"
#include "orvgui/shell/projectgui.h"
#include "tests/orvgui/framefixture.h"
#include "zorbase/progress.h"

namespace {

OrvProgressDialog* FindProgressDialog() {
    for (wxWindow* window : wxTopLevelWindows) {
        if (auto* dialog = dynamic_cast<OrvProgressDialog*>(window)) {
            if (!wxTheApp->IsScheduledForDestruction(dialog)) return dialog;
        }
    }
    return nullptr;
}

}  // namespace

TEST_F(FrameTest, ShortWorkShowsNoProgressDialog) {
    EXPECT_FALSE(frame->HasProgress());
    frame->CreateProgress();
    EXPECT_TRUE(frame->HasProgress());
    frame->DestroyProgress();
    EXPECT_FALSE(frame->HasProgress());
    PumpFor(700);
    EXPECT_EQ(nullptr, FindProgressDialog());
}

TEST_F(FrameTest, LongWorkShowsProgressAndCanBeAborted) {
    probe->sleepMs = 30000;
    core->SetFile(PathToWx(folder.WritePicture("slow.png")), OrvEvidence);
    ASSERT_TRUE(PumpUntil([] { return FindProgressDialog() != nullptr; }));
    OrvProgressDialog* dialog = FindProgressDialog();
    EXPECT_EQ("Processing", dialog->GetTitle());
    EXPECT_EQ(100, dialog->GetRange());
    EXPECT_FALSE(frame->HasProgress()) << "the dialog is there";
    EXPECT_TRUE(PumpUntil([&] { return dialog->GetMessage().Contains("%)"); })) << dialog->GetMessage();
    DialogAnswers answers{wxID_OK};  // the interrupted filter's message
    wxCommandEvent press(wxEVT_BUTTON, wxID_CANCEL);
    dialog->ProcessWindowEvent(press);
    Settle();
    EXPECT_TRUE(PumpUntil([] { return FindProgressDialog() == nullptr; }));
    EXPECT_TRUE(frame->IsEnabled());
    EXPECT_EQ(0, probe->runs);
}

TEST_F(FrameTest, InnerProgressKeepsTheDialog) {
    frame->CreateProgress();
    {
        const ProgressInner inner("Inner");
        acvSetProgress(0.5, "Outer");
        acvSetProgress2(0.25);
        ASSERT_TRUE(PumpUntil([] { return FindProgressDialog() != nullptr; }));
        EXPECT_TRUE(PumpUntil([] {
            return FindProgressDialog()->GetMessage() == "Outer (50%)\nInner (25%)";
        })) << FindProgressDialog()->GetMessage();
        EXPECT_EQ(25, FindProgressDialog()->GetValue());
        frame->DestroyProgress();
        EXPECT_NE(nullptr, FindProgressDialog());
    }
    frame->DestroyProgress();
    EXPECT_EQ(nullptr, FindProgressDialog());
    acvResetProgress();
    Pump();
}

TEST_F(FrameTest, ProgressWaitsForAnOpenDialog) {
    frame->CreateProgress();
    DialogAnswers answers([](wxDialog*) { return wxID_NONE; });
    wxDialog dialog(frame, wxID_ANY, "Question");
    dialog.CallAfter([&dialog] {
        PumpFor(1200);
        EXPECT_TRUE(dialog.IsEnabled());
        EXPECT_EQ(nullptr, FindProgressDialog());
        dialog.EndModal(wxID_OK);
    });
    dialog.ShowModal();
    EXPECT_TRUE(PumpUntil([] { return FindProgressDialog() != nullptr; }));
    frame->DestroyProgress();
}

// A box of the desktop is in no list of windows.
TEST_F(FrameTest, ProgressWaitsForAMessageBox) {
    frame->Raise();
    ASSERT_TRUE(PumpUntil([this] { return frame->IsActive(); }));
    frame->CreateProgress();
    DialogAnswers answers([](wxDialog*) { return wxID_NONE; });
    bool sawProgress = false;
    frame->CallAfter([&] {
        PumpFor(1200);
        sawProgress = FindProgressDialog() != nullptr;
        wxUIActionSimulator().Char(WXK_ESCAPE);
    });
    wxMessageDialog(frame, "Question", "Caption", wxOK).ShowModal();
    EXPECT_FALSE(sawProgress);
    EXPECT_TRUE(PumpUntil([] { return FindProgressDialog() != nullptr; }));
    frame->DestroyProgress();
}

TEST_F(FrameTest, ClosingWhileProgressIsShownAsksOnce) {
    probe->sleepMs = 30000;
    core->SetFile(PathToWx(folder.WritePicture("slow.png")), OrvEvidence);
    ASSERT_TRUE(PumpUntil([] { return FindProgressDialog() != nullptr; }));
    EXPECT_TRUE(frame->IsEnabled()) << "a disabled window's close button does nothing";
    EXPECT_FALSE(frame->GetFiltersPanel()->IsEnabled()) << "everything in it waits";
    EXPECT_FALSE(frame->GetMenuBar()->IsThisEnabled());
    {
        DialogAnswers answers{wxID_NO};
        frame->Close();
        EXPECT_NE(std::string::npos, answers.Seen().at(0).find("still working"));
    }
    EXPECT_NE(nullptr, FindProgressDialog()) << "the work goes on";
    DialogAnswers answers{wxID_YES};
    const wxLongLong start = wxGetUTCTimeMillis();
    CloseFrame();
    EXPECT_LT((wxGetUTCTimeMillis() - start).ToLong(), 2000);
    EXPECT_EQ(1u, answers.Seen().size());
}

TEST_F(FrameTest, TheKeyboardIsWhereItWasBeforeTheProgress) {
    frame->Raise();
    wxWindow* tree = frame->GetFiltersPanel()->GetTree();
    tree->SetFocus();
    ASSERT_TRUE(PumpUntil([&] { return tree->HasFocus() || wxWindow::FindFocus() == tree; }));
    frame->CreateProgress();
    ASSERT_TRUE(PumpUntil([] { return FindProgressDialog() != nullptr; }));
    PumpFrames();
    frame->DestroyProgress();
    EXPECT_TRUE(PumpUntil([&] { return wxWindow::FindFocus() == tree; }));
}

TEST_F(FrameTest, AnEndedProgressGivesThePanesBack) {
    frame->GetFiltersPanel()->Disable();
    frame->CreateProgress();
    ASSERT_TRUE(PumpUntil([] { return FindProgressDialog() != nullptr; }));
    frame->DestroyProgress();
    EXPECT_TRUE(frame->GetViewerPanel()->IsEnabled());
    EXPECT_TRUE(frame->GetMenuBar()->IsThisEnabled());
    EXPECT_FALSE(frame->GetFiltersPanel()->IsThisEnabled()) << "what was disabled before stays so";
}
