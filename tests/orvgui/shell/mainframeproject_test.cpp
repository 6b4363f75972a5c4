#include <gtest/gtest.h>
#include <wx/textctrl.h>
#include <wx/treectrl.h>
#include <wx/weakref.h>

#include <filesystem>

#include "orvcore/filter/mapranges.h"
#include "orvgui/dialogs/fieldsdialog.h"
#include "orvgui/pages/filterguiviewer.h"
#include "orvgui/pages/orvviewerpanel.h"
#include "orvgui/pages/pageview.h"
#include "orvgui/shell/projectgui.h"
#include "orvgui/viewer/canvas.h"
#include "orvgui/viewer/mappanel.h"
#include "orvgui/viewer/selectorpanel.h"
#include "orvgui/viewer/toolpanel.h"
#include "orvgui/viewer/zoompanel.h"
#include "tests/orvgui/framefixture.h"

namespace {

class FrameProject : public FrameTest {
  protected:
    ~FrameProject() override {
        // What a test leaves unsaved is given up.
        if (frame == nullptr || !core->GetProject().HasUnsavedWork()) return;
        DialogAnswers answers{wxID_NO};
        CloseFrame();
    }
    void AddBookmark(const char* name, const char* note = "") {
        core->AddBookmark(name, note);
        Settle();
    }
    std::string Names() {
        Settle();
        std::string all;
        const OrvProject project = core->GetProject();
        for (const OrvBookmark& bookmark : project.GetBookmarks()) all += bookmark.name + " ";
        return all;
    }
    wxTreeCtrl* Tree() { return frame->GetProjectTree()->GetTree(); }
    // The item of the tree, searched from the top, whose text begins so.
    wxTreeItemId Find(const wxString& text) { return Find(Tree()->GetRootItem(), text); }
    wxTreeItemId Find(const wxTreeItemId& parent, const wxString& text) {
        wxTreeItemIdValue cookie;
        for (wxTreeItemId item = Tree()->GetFirstChild(parent, cookie); item.IsOk();
             item = Tree()->GetNextSibling(item)) {
            if (Tree()->GetItemText(item).StartsWith(text)) return item;
            if (const wxTreeItemId inside = Find(item, text); inside.IsOk()) return inside;
        }
        return {};
    }
    void Send(wxEventType type, const wxTreeItemId& item, int key = 0, int modifiers = 0) {
        wxTreeEvent event(type, Tree(), item);
        wxKeyEvent press(wxEVT_KEY_DOWN);
        press.m_keyCode = key;
        press.SetControlDown((modifiers & wxMOD_CONTROL) != 0);
        event.SetKeyEvent(press);
        Tree()->ProcessWindowEvent(event);
        Settle();
    }
};

DialogAnswers::Answer Fill(const std::vector<wxString>& texts) {
    return [texts](wxDialog* dialog) {
        auto* fields = dynamic_cast<FieldsDialog*>(dialog);
        EXPECT_NE(fields, nullptr);
        for (std::size_t i = 0; fields != nullptr && i < texts.size(); ++i)
            fields->GetField(i)->ChangeValue(texts[i]);
        return wxID_OK;
    };
}

}  // namespace

TEST_F(FrameProject, NothingUnsavedIsLostWithoutAQuestion) {
    Load(folder.WritePicture("a.png"));
    Command(6005);
    Settle();
    EXPECT_EQ("", Evidence()) << "what was only opened needs no question";

    AddBookmark("kept");
    {
        DialogAnswers answers{wxID_CANCEL};
        Command(6005);
        EXPECT_EQ("kept ", Names());
        ASSERT_EQ(1u, answers.Seen().size());
        EXPECT_NE(std::string::npos, answers.Seen()[0].find("\"New Project\""));
    }
    {
        DialogAnswers answers{wxID_CANCEL};
        const wxWeakRef<wxWindow> window(frame);
        frame->Close();
        PumpFrames();
        ASSERT_TRUE(window) << "closing was cancelled";
    }
    // Saving fails: the window stays, with everything in it.
    chosen = folder / "absent/\n/x.zop";
    WriteFile(folder / "absent", "no folder");
    {
        DialogAnswers answers{wxID_YES, wxID_OK};
        const wxWeakRef<wxWindow> window(frame);
        frame->Close();
        Settle();
        PumpFrames();
        ASSERT_TRUE(window);
        EXPECT_EQ("kept ", Names());
    }
    // No name was chosen: neither saved nor given up.
    chosen = "";
    {
        DialogAnswers answers{wxID_YES};
        Command(6005);
        EXPECT_EQ("kept ", Names());
    }
    chosen = folder / "case.zop";
    {
        DialogAnswers answers{wxID_YES};
        Command(6005);
        Settle();
        EXPECT_EQ("", Names());
    }
    EXPECT_EQ(1u, OrvProject::FromText(ReadFile(folder / "case.zop")).GetBookmarks().size());

    Command(6006);
    EXPECT_EQ("kept ", Names());
    AddBookmark("second");
    {
        DialogAnswers answers{wxID_NO};
        Command(6006);
        EXPECT_EQ("kept ", Names()) << "loaded again, the change given up";
    }
    AddBookmark("third");
    DialogAnswers answers{wxID_YES};
    CloseFrame();
    EXPECT_EQ(2u, OrvProject::FromText(ReadFile(folder / "case.zop")).GetBookmarks().size())
        << "saved before the end";
}

TEST_F(FrameProject, ACloseThatCannotBeRefusedAsksNothing) {
    AddBookmark("lost");
    const wxWeakRef<wxWindow> window(frame);
    frame->Close(true);
    EXPECT_TRUE(PumpUntil([&] { return !window; }));
    frame = nullptr;
    core = nullptr;
}

TEST_F(FrameProject, UnsavedWorkIsKeptByItselfAndOfferedAfterACrash) {
    const std::string kept = folder / "documents/recovery";
    AddBookmark("found after the crash");
    frame->SetAutosaveInterval(20);
    ASSERT_TRUE(PumpUntil([&] { return FolderExists(kept) && !std::filesystem::is_empty(kept); }));
    core->GetRecovery().Wait();
    // What the folder looks like when the program is no more.
    const std::string crashed = folder / "crashed";
    std::filesystem::copy(std::filesystem::directory_iterator(kept)->path(), crashed);
    {
        DialogAnswers answers{wxID_NO};
        CloseFrame();
    }
    EXPECT_TRUE(std::filesystem::is_empty(kept)) << "an end in order leaves nothing";
    for (const char* name : {"1", "2"}) std::filesystem::copy(crashed, kept + "/" + name);

    OpenFrame();
    {
        DialogAnswers later{wxID_CANCEL};
        EXPECT_FALSE(frame->OfferRecovery());
    }
    DialogAnswers answers{wxID_NO, wxID_YES};
    EXPECT_TRUE(frame->OfferRecovery());
    EXPECT_EQ("found after the crash ", Names());
    EXPECT_EQ("New Project* - Orvane", frame->GetTitle());
    EXPECT_FALSE(FolderExists(kept + "/1") || FolderExists(kept + "/2"));
    EXPECT_FALSE(frame->OfferRecovery()) << "ours is no remnant";
}

TEST_F(FrameProject, ABookmarkBringsBackHowTheMapWasSeen) {
    OrvFilter* filter = core->GetContext().FindFilter("error-level");
    ASSERT_NE(filter, nullptr);
    Load(folder.WritePicture("a.jpg", 120, 300));
    core->ActivateFilter(filter, -1);
    Settle();
    auto* page = dynamic_cast<OrvFilterGuiViewer*>(frame->GetViewerPanel()->GetShownPage());
    ASSERT_NE(page, nullptr);
    MapPanel& maps = *page->GetMapPanel();
    ASSERT_TRUE(maps.HasMaps());
    const std::string name = maps.GetMap(OrvEvidence)->name;
    const MapDisplay wanted{0, 35, true};
    const OrvRange range{1.0, 7.5};
    page->SetMapRange(name, range);
    Settle();
    maps.SetDisplay(wanted);
    EXPECT_EQ(35, ReadPageView(page).mapOpacity);
    AddBookmark("map");
    maps.SetDisplay({});
    page->SetMapRange(name, {});
    Settle();
    EXPECT_TRUE(maps.GetDisplay() == MapDisplay() && maps.GetMap(OrvEvidence)->range != range);
    core->ActivateFilter(probe, -1);
    Settle();

    Send(wxEVT_TREE_ITEM_ACTIVATED, Find("map"));
    PumpFrames();
    EXPECT_EQ(page, frame->GetViewerPanel()->GetShownPage());
    EXPECT_TRUE(maps.GetDisplay() == wanted) << maps.GetDisplay().opacity;
    EXPECT_EQ(range, maps.GetMap(OrvEvidence)->range);
    EXPECT_TRUE(maps.GetRangeText().Contains("1 to 7.5")) << maps.GetRangeText();
    EXPECT_TRUE(maps.GetRangeText().Contains("set by hand")) << maps.GetRangeText();
    MapRangesOf(filter->GetId())->Set(name, {});
}

TEST_F(FrameProject, ABookmarkBringsBackWhatWasSeen) {
    OrvFilter* filter = core->GetContext().FindFilter("visual-inspection");
    ASSERT_NE(filter, nullptr);
    Load(folder.WritePicture("large.png", 120, 1500));
    core->ActivateFilter(filter, -1);
    Settle();
    auto* page = dynamic_cast<OrvFilterGuiViewer*>(frame->GetViewerPanel()->GetShownPage());
    ASSERT_NE(page, nullptr);
    PumpFrames();
    const OrvViewState fit = ReadPageView(page);
    EXPECT_TRUE(fit.isFit);
    OrvViewState wanted;
    wanted.mode = 1;
    wanted.isFit = false;
    wanted.zoom = 2.0;
    wanted.centreX = 1000;
    wanted.centreY = 400;
    wanted.selection = {900, 350, 200, 100};
    ShowPageView(page, wanted);
    PumpFrames();
    const OrvViewState shown = ReadPageView(page);
    EXPECT_EQ(wanted.mode, shown.mode);
    EXPECT_EQ(2.0, shown.zoom);
    EXPECT_NEAR(1000, shown.centreX, 2);
    EXPECT_NEAR(400, shown.centreY, 2);
    EXPECT_EQ(wanted.selection, shown.selection);
    AddBookmark("here", "a note\nof two lines");
    EXPECT_EQ(shown, core->GetProject().GetBookmarks()[0].view);

    ShowPageView(page, fit);
    core->SetFile(PathToWx(folder.WritePicture("other.png", 50, 300)), OrvEvidence);
    core->ActivateFilter(probe, -1);
    Settle();
    EXPECT_TRUE(Find("a note").IsOk()) << "notes are listed";
    Send(wxEVT_TREE_ITEM_ACTIVATED, Find("here"));
    PumpFrames();
    EXPECT_EQ(page, frame->GetViewerPanel()->GetShownPage());
    EXPECT_EQ("large.png", PathName(Evidence()));
    const OrvViewState back = ReadPageView(page);
    EXPECT_EQ(shown.mode, back.mode);
    EXPECT_EQ(shown.zoom, back.zoom);
    EXPECT_NEAR(shown.centreX, back.centreX, 2);
    EXPECT_NEAR(shown.centreY, back.centreY, 2);
    EXPECT_EQ(shown.selection, back.selection);
    EXPECT_EQ("200%", frame->GetStatusBar()->GetStatusText(3)) << "not the zoom of before";
}

TEST_F(FrameProject, ANewBookmarkIsInSightAndTellsItsValues) {
    OrvFilter* filter = core->GetContext().FindFilter("error-level");
    ASSERT_NE(filter, nullptr);
    Load(folder.WritePicture("picture.png"));
    core->ActivateFilter(filter, -1);
    Settle();
    for (int i = 0; i < 30; ++i) AddBookmark(("number " + std::to_string(i)).c_str());
    const wxTreeItemId newest = Find("number 29");
    wxRect box;
    ASSERT_TRUE(Tree()->GetBoundingRect(newest, box));
    EXPECT_GE(box.y, 0);
    EXPECT_LE(box.GetBottom(), Tree()->GetClientSize().y);
    wxTreeEvent tip(wxEVT_TREE_ITEM_GETTOOLTIP, Tree(), newest);
    Tree()->ProcessWindowEvent(tip);
    const wxString told = tip.GetLabel();
    EXPECT_TRUE(told.Contains("Quality")) << told;
    EXPECT_FALSE(told.Contains("{")) << told << ": for people";
}

TEST_F(FrameProject, TheListIsWorkedOnWithKeysAndMouse) {
    for (const char* name : {"a", "b", "c"}) AddBookmark(name);
    frame->GetProjectTree()->SelectFirstBookmark();
    EXPECT_EQ(0, frame->GetProjectTree()->GetSelectedBookmark());
    for (const int key : {WXK_DELETE, WXK_NUMPAD_DELETE}) {
        Send(wxEVT_TREE_KEY_DOWN, Find("a ("), key, wxMOD_CONTROL);
        EXPECT_EQ("a b c ", Names()) << "another command";
        Send(wxEVT_TREE_KEY_DOWN, Find("a ("), key);
        EXPECT_EQ("b c ", Names());
        Send(wxEVT_TREE_KEY_DOWN, {}, 'Z', wxMOD_CONTROL);
        EXPECT_EQ("a b c ", Names());
        frame->GetProjectTree()->SelectFirstBookmark();
    }

    Send(wxEVT_TREE_BEGIN_DRAG, Find("a ("));
    Send(wxEVT_TREE_END_DRAG, Find("c ("));
    EXPECT_EQ("b c a ", Names());
    Send(wxEVT_TREE_END_DRAG, Find("b ("));
    EXPECT_EQ("b c a ", Names()) << "nothing is dragged any more";

    wxTreeEvent edited(wxEVT_TREE_END_LABEL_EDIT, Tree(), Find("c ("));
    edited.SetLabel(Tree()->GetItemText(Find("c (")).replace(0, 1, "C & co"));
    Tree()->ProcessWindowEvent(edited);
    EXPECT_EQ("b C & co a ", Names());

    // A click, as the mouse makes it.
    Load(folder.WritePicture("first.png"));
    AddBookmark("clicked");
    Load(folder.WritePicture("second.png"));
    frame->Raise();
    wxRect box;
    const wxTreeItemId item = Find("clicked");
    Tree()->EnsureVisible(item);
    Pump();
    ASSERT_TRUE(Tree()->GetBoundingRect(item, box, true));
    wxUIActionSimulator mouse;
    const wxPoint at = Tree()->ClientToScreen(wxPoint(box.x + 5, box.y + box.height / 2));
    mouse.MouseMove(at.x, at.y);
    Pump();
    mouse.MouseClick();
    EXPECT_TRUE(PumpUntil([&] { return PathName(Evidence()) == "first.png"; }, 3000));
    Settle();
}

TEST_F(FrameProject, CaseDataAndExhibitsAreEnteredAndCompared) {
    Load(folder.WritePicture("a.png", 10));
    const std::string hash = core->GetFile(OrvEvidence)->GetSha256();
    {
        DialogAnswers answers(Fill({"The <b>spoon</b>", "Ada", "Grace", "Is it\none?", "None"}));
        Send(wxEVT_TREE_ITEM_ACTIVATED, Find("Case data"));
    }
    EXPECT_EQ("Is it\none?", core->GetProject().GetCaseData().question);
    EXPECT_TRUE(Find("Case: The <b>spoon</b>").IsOk());
    ASSERT_TRUE(Find("a.png").IsOk());
    {
        DialogAnswers answers(Fill({"17", "Police", "today", "SHA-256: " + hash}));
        Send(wxEVT_TREE_ITEM_ACTIVATED, Find("a.png"));
    }
    EXPECT_EQ("17  a.png  expected hash", Tree()->GetItemText(Find("17")));
    {
        DialogAnswers answers(Fill({"17", "Police", "today", std::string(64, '0')}));
        answers.Add([](wxDialog*) { return wxID_OK; });  // it is told
        Send(wxEVT_TREE_ITEM_ACTIVATED, Find("17"));
        ASSERT_EQ(2u, answers.Seen().size());
        EXPECT_NE(std::string::npos, answers.Seen()[1].find("not the expected"));
    }
    EXPECT_EQ("17  a.png  NOT the expected hash", Tree()->GetItemText(Find("17")));
    EXPECT_TRUE(Tree()->IsBold(Find("17")));
}
