#include "orvgui/shell/mainframe.h"

#include <wx/menu.h>
#include <wx/statusbr.h>
#include <wx/textctrl.h>
#include <wx/treectrl.h>
#include <wx/weakref.h>

#include "orvcore/facade/foldertools.h"
#include "orvcore/tools/web/webparameters.h"
#include "orvgui/common/messagebox.h"
#include "orvgui/common/progressdialog.h"
#include "orvgui/pages/filtersummary.h"
#include "orvgui/pages/orvviewerpanel.h"
#include "orvgui/shell/commandregistry.h"
#include "orvgui/shell/filterspanel.h"
#include "orvgui/shell/logpanel.h"
#include "orvgui/shell/projectgui.h"
#include "orvgui/tables/gridframe.h"
#include "orvgui/tables/listctrlresults.h"
#include "tests/orvgui/fakefilters.h"
#include "tests/orvgui/framefixture.h"

namespace {

std::vector<int> MenuIds(const wxMenuBar& bar, std::size_t menu) {
    std::vector<int> ids;
    for (const wxMenuItem* item : bar.GetMenu(menu)->GetMenuItems())
        ids.push_back(item->IsSeparator() ? 0 : item->GetId());
    return ids;
}

}  // namespace

TEST_F(FrameTest, FirstStartShowsTheStandardArrangement) {
    EXPECT_EQ(wxSize(1024, 768), frame->GetSize());
    EXPECT_EQ("New Project - Orvane", frame->GetTitle());
    const struct {
        const char* name;
        int direction;
        bool caption;
    } panes[] = {
        {"Evidence", wxAUI_DOCK_TOP, false}, {"Reference", wxAUI_DOCK_TOP, false},
        {"Filters", wxAUI_DOCK_LEFT, true},  {"Viewer", wxAUI_DOCK_CENTRE, false},
        {"Project", wxAUI_DOCK_LEFT, true},
    };
    for (const auto& expected : panes) {
        const wxAuiPaneInfo& pane = Manager().GetPane(expected.name);
        ASSERT_TRUE(pane.IsOk()) << expected.name;
        EXPECT_TRUE(pane.IsShown() && pane.window->IsShownOnScreen()) << expected.name;
        EXPECT_EQ(expected.direction, pane.dock_direction) << expected.name;
        EXPECT_EQ(expected.caption, pane.HasCaption()) << expected.name;
        EXPECT_FALSE(pane.IsFloatable()) << expected.name;
        EXPECT_EQ(200, pane.min_size.x) << expected.name;
    }
    EXPECT_LT(frame->GetFilePanel(OrvEvidence)->GetSize().y, 72);
    EXPECT_EQ(frame->GetFilePanel(OrvEvidence)->GetPosition().y,
              frame->GetFilePanel(OrvReference)->GetPosition().y);
    EXPECT_LT(frame->GetFilePanel(OrvEvidence)->GetPosition().x,
              frame->GetFilePanel(OrvReference)->GetPosition().x);

    const wxMenuBar& bar = *frame->GetMenuBar();
    ASSERT_EQ(4u, bar.GetMenuCount());
    EXPECT_EQ((std::vector<int>{6000, 6001, 6003, 0, 6010}), MenuIds(bar, 0));
    EXPECT_EQ((std::vector<int>{6004, 6030, 6031, 0, 6027, 6026, 6023, 6024, 0, 6028, 6029}),
              MenuIds(bar, 1));
    EXPECT_EQ((std::vector<int>{5022}), MenuIds(bar, 2));
    EXPECT_EQ((std::vector<int>{6035, 6036, 5014, 6037}), MenuIds(bar, 3));
}

TEST_F(FrameTest, JapaneseEditionHidesSomeMenuItems) {
    CloseFrame();
    const ScopedVariable edition("ORVANE_EDITION", "jp");
    OpenFrame();
    EXPECT_EQ((std::vector<int>{6004, 6030, 6031, 0, 6027, 6026, 6023, 0, 6028, 6029}),
              MenuIds(*frame->GetMenuBar(), 1));
    EXPECT_EQ((std::vector<int>{5014}), MenuIds(*frame->GetMenuBar(), 3));
}

TEST_F(FrameTest, LayoutIsRestored) {
    frame->SetSize(wxSize(1100, 700));
    frame->SetListControlColumnsWidth("grid", {80, 120});
    Manager().GetPane("Filters").Right();
    Manager().Update();
    Pump();
    CloseFrame();
    const auto lines = StringToVecString(ReadFile(LayoutPath()), "\n");
    ASSERT_EQ(4u, lines.size());
    EXPECT_EQ("false", lines[0]);
    EXPECT_EQ("grid=80;120", lines[3]);

    // As saved under another language, with another minimum.
    std::string text = ReadFile(LayoutPath());
    const auto replace = [&text](const std::string& from, const std::string& to) {
        const std::size_t at = text.find(from);
        ASSERT_NE(std::string::npos, at) << from;
        text.replace(at, from.size(), to);
    };
    replace("caption=Filters", "caption=Filter");
    replace("caption=Project", "caption=Projekt");
    replace("minw=200", "minw=1");
    WriteFile(LayoutPath(), text);

    OpenFrame();
    EXPECT_EQ(wxSize(1100, 700), frame->GetSize());
    EXPECT_EQ(wxAUI_DOCK_RIGHT, Manager().GetPane("Filters").dock_direction);
    EXPECT_EQ("Filters", Manager().GetPane("Filters").caption);
    EXPECT_EQ("Project", Manager().GetPane("Project").caption);
    EXPECT_EQ(200, Manager().GetPane("Evidence").min_size.x);
    EXPECT_EQ((std::vector<int>{80, 120}), frame->GetListControlColumnsWidth("grid"));
    EXPECT_TRUE(frame->GetListControlColumnsWidth("unknown").empty());
    EXPECT_EQ("grid=80;120", frame->SaveListControlsColumnsWidth());
}

TEST_F(FrameTest, MaximisedLayoutIgnoresTheSize) {
    frame->Maximize();
    PumpUntil([this] { return frame->IsMaximized(); });
    CloseFrame();
    EXPECT_EQ(0u, ReadFile(LayoutPath()).find("true\n"));
    OpenFrame();
    EXPECT_TRUE(PumpUntil([this] { return frame->IsMaximized(); }));
}

TEST_F(FrameTest, AMaximisedStartComesBackToTheLastNormalSize) {
    frame->SetSize(900, 650);
    ASSERT_TRUE(PumpUntil([this] { return frame->GetSize() == wxSize(900, 650); }));
    frame->Maximize();
    ASSERT_TRUE(PumpUntil([this] { return frame->IsMaximized() && frame->GetSize().x > 1000; }));
    CloseFrame();
    EXPECT_NE(std::string::npos, ReadFile(LayoutPath()).find("900"));
    for (int round = 0; round < 2; ++round) {  // the second has no size of its own to keep
        OpenFrame();
        ASSERT_TRUE(PumpUntil([this] { return frame->IsMaximized() && frame->GetSize().x > 1024; }));
        Pump();
        if (round == 0) CloseFrame();
    }
    frame->Maximize(false);
    EXPECT_TRUE(PumpUntil([this] { return frame->GetSize() == wxSize(900, 650); })) << frame->GetSize().x;
}

TEST_F(FrameTest, DamagedLayoutIsTreatedAsAbsent) {
    CloseFrame();
    const std::string good = ReadFile(LayoutPath());
    const std::string damaged[] = {
        "",
        "true",
        good.substr(0, good.size() / 2),
        "false\n{\"width\":900,\"height\":600}\nlayout2|name=Other;caption=x|\n",
        std::string("\0\xFF\xFE", 3),
        good.substr(0, good.find("|name=Project")) + "|\n",
    };
    for (const std::string& text : damaged) {
        WriteFile(LayoutPath(), text);
        OpenFrame();
        EXPECT_EQ(wxSize(1024, 768), frame->GetSize()) << text;
        for (const char* name : {"Evidence", "Reference", "Filters", "Viewer", "Project"}) {
            EXPECT_TRUE(Manager().GetPane(name).IsShown()) << name << " after " << text;
        }
        CloseFrame();
    }
}

TEST_F(FrameTest, ToolsNeedAnEvidence) {
    for (int id : {6004, 6023, 6024, 6026, 6027, 6031}) {
        DialogAnswers answers{wxID_OK};
        Command(id);
        ASSERT_EQ(1u, answers.Seen().size()) << id;
        EXPECT_NE(std::string::npos, answers.Seen()[0].find("|You need to load an evidence image first."))
            << answers.Seen()[0];
        EXPECT_FALSE(core->IsBusy());
    }
    EXPECT_TRUE(asked.empty());
    Command(6030);
    ASSERT_EQ(1u, asked.size());
    // The default folder is the one last used, which another test may have chosen.
    EXPECT_TRUE(asked[0].starts_with("Folder|Select the directory where the images to analyze are located|"));
    EXPECT_FALSE(core->IsBusy()) << "cancelled";

    Load(folder.WritePicture("a.png"));
    Command(6031);
    ASSERT_EQ(2u, asked.size());
    EXPECT_EQ("Folder|Select the directory where the images to compare with the evidence are located|" +
                  folder.Path() + "/documents||Batch Comparison",
              asked[1]);
}

TEST_F(FrameTest, ProjectIsSavedUnderAProposedName) {
    Command(6007);
    Load(folder.WritePicture("photo.x.png"));
    EXPECT_EQ("New Project* - Orvane", frame->GetTitle());
    Command(6007);
    ASSERT_EQ(2u, asked.size());
    const std::string filter = "Zorvex Orvane Project file (*.zop)|*.zop|All files (*.*)|*.*";
    EXPECT_EQ("Save|Choose a file to save|" + folder.Path() + "/documents|New Project.zop|" + filter,
              asked[0]);
    EXPECT_EQ("Save|Choose a file to save|" + folder.Path() + "/documents|photo.x.zop|" + filter, asked[1]);
    EXPECT_EQ("New Project* - Orvane", frame->GetTitle()) << "cancelled";

    chosen = folder / "case12";
    Command(6007);
    Settle();
    EXPECT_TRUE(FileExists(folder / "case12.zop"));
    EXPECT_EQ("case12.zop - Orvane", frame->GetTitle());
    Command(6007);
    Settle();
    EXPECT_EQ(3u, asked.size()) << "a project with a name is saved without asking";
    Command(6005);
    Settle();
    EXPECT_EQ("New Project - Orvane", frame->GetTitle());
    EXPECT_EQ("", Evidence());
    chosen = folder / "case12.zop";
    Command(6006);
    Settle();
    EXPECT_EQ("Load|Choose a project to load|||Orvane Project file (*.zop)|*.zop|All files (*.*)|*.*",
              asked.back());
    EXPECT_EQ("photo.x.png", PathName(Evidence()));
}

TEST_F(FrameTest, BookmarksAreShownAndLoadTheirFile) {
    Load(folder.WritePicture("first.png"));
    core->AddBookmark("Mark & one", "note");
    Settle();
    wxTreeCtrl* tree = frame->GetProjectTree()->GetTree();
    frame->GetProjectTree()->SelectFirstBookmark();
    EXPECT_EQ(0, frame->GetProjectTree()->GetSelectedBookmark());
    EXPECT_TRUE(tree->GetItemText(tree->GetSelection()).Contains("Mark & one"));
    Load(folder.WritePicture("second.png"));
    wxTreeEvent activate(wxEVT_TREE_ITEM_ACTIVATED, tree, tree->GetSelection());
    tree->ProcessWindowEvent(activate);
    Settle();
    EXPECT_EQ("first.png", PathName(Evidence()));
    wxCommandEvent press(wxEVT_BUTTON, 6033);
    frame->GetProjectTree()->FindWindow(6033)->ProcessWindowEvent(press);
    Settle();
    EXPECT_TRUE(core->GetProject().GetBookmarks().empty());
    EXPECT_EQ(-1, frame->GetProjectTree()->GetSelectedBookmark());
    core->UndoBookmarkChange();  // nothing was asked, so it can be taken back
    Settle();
    EXPECT_EQ(1u, core->GetProject().GetBookmarks().size());
    core->DeleteBookmark(0);
    Settle();
}

TEST_F(FrameTest, ShowsWhatGenericActionsFound) {
    const auto tell = [this](OrvActionId action, int error, const VecParameter& results) {
        auto* event = new OrvCommandEvent(OrvEventCommandExecuted);
        event->SetActionId(action);
        event->SetError(error, error ? "It went wrong." : "");
        event->SetParameters(results);
        wxQueueEvent(frame, event);
        Pump();
    };
    Parameter table = Parameter::Output(ParameterType::TableString, "table", "Table");
    ASSERT_TRUE(table.SetValue(TableString{{"Name", "#Size"}, {"a", "!7"}}));
    tell(OrvActionBatchAnalysis, 0, {table});
    GridFrame* grid = nullptr;
    for (wxWindow* window : wxTopLevelWindows) grid = grid ? grid : dynamic_cast<GridFrame*>(window);
    ASSERT_NE(nullptr, grid);
    EXPECT_EQ("Batch File Format Analysis", grid->GetTitle());
    grid->Destroy();
    Pump();

    DialogAnswers answers{wxID_OK, wxID_OK, wxID_OK, wxID_OK};
    tell(OrvActionSearchFlickr, 0, {});
    tell(OrvActionSearchFlickr, 1, {});
    tell(OrvActionDownload, 0, {});
    tell(OrvActionDownload, 1, {});
    ASSERT_EQ(4u, answers.Seen().size());
    EXPECT_NE(std::string::npos, answers.Seen()[0].find("No Image Found"));
    EXPECT_EQ("Error|It went wrong.", answers.Seen()[1]);
    EXPECT_NE(std::string::npos, answers.Seen()[2].find("Download Completed"));
    EXPECT_EQ("Error|It went wrong.", answers.Seen()[3]);

    // What is to be told beside a table is told although the table was taken out of the event.
    for (const auto& [action, name] : {std::pair{OrvActionSearchFlickr, kWebResultIncomplete},
                                       std::pair{OrvActionMakeFingerprint, kFolderToolRemark}}) {
        DialogAnswers told{wxID_OK};
        tell(action, 0, {table, Parameter::Output(name, "Remark", "One site did not answer.")});
        ASSERT_EQ(1u, told.Seen().size()) << name;
        EXPECT_NE(std::string::npos, told.Seen()[0].find("One site did not answer.")) << name;
        for (wxWindow* window : wxTopLevelWindows)
            if (dynamic_cast<GridFrame*>(window) != nullptr) window->Destroy();
        Pump();
    }

    const VecParameter position = {Parameter::Output("position", "Position", "48.858300 2.294500")};
    DialogAnswers consent{wxID_NO, wxID_YES};
    tell(OrvActionShowLocation, 0, position);
    EXPECT_TRUE(launched.empty()) << "the user did not agree";
    tell(OrvActionShowLocation, 0, position);
    tell(OrvActionShowLocation, 0, position);
    ASSERT_EQ(2u, consent.Seen().size()) << "asked until the user agrees";
    EXPECT_NE(std::string::npos, consent.Seen()[1].find("www.openstreetmap.org"));
    ASSERT_EQ(2u, launched.size());
    launched.pop_back();

    canLaunch = false;
    DialogAnswers noted{wxID_OK, wxID_OK};
    tell(OrvActionShowLocation, 0, position);
    EXPECT_NE(std::string::npos, noted.Seen()[0].find("mlat=48.858300")) << "the address to copy";
    canLaunch = true;
    launched.pop_back();
    tell(
        OrvActionWebSearch, 0,
        {Parameter::Output("one", "One", "https://example.org/search"), Parameter::Output("none", "None", ""),
         Parameter::Output("two", "Two", "https://example.com/search"),
         Parameter::Output(kWebResultIncomplete, "Incomplete", "https://example.net/ did not answer.")});
    EXPECT_NE(std::string::npos, noted.Seen()[1].find("did not answer"));
    ASSERT_EQ(3u, launched.size());
    EXPECT_NE(std::string::npos, launched[0].find("48.8583"));
    EXPECT_EQ("https://example.org/search", launched[1]);
    EXPECT_EQ("https://example.com/search", launched[2]);
}

TEST_F(FrameTest, TellsWhereAReportIsThatIsNotOpened) {
    const auto tell = [this](const std::string& opened, const std::string& message) {
        auto* event = new OrvCommandEvent(OrvEventGenerateReport);
        if (!message.empty()) event->SetError(0, message);
        event->SetText(opened);
        event->PrepareDelivery();
        wxQueueEvent(frame, event);
        Pump();
    };
    const std::string report = folder / "report.html";
    WriteFile(report, "<html></html>");
    tell(report, "");
    EXPECT_EQ(1u, launched.size()) << "and no box";
    EXPECT_EQ(frame->GetStatusBar()->GetStatusText(static_cast<int>(OrvStatusField::Activity)),
              "The report was written to " + report);
    canLaunch = false;
    DialogAnswers answers{wxID_OK, wxID_OK, wxID_OK};
    tell(report, "");
    EXPECT_EQ(2u, launched.size());
    tell("", report);
    EXPECT_EQ(2u, launched.size());
    Command(OrvCmdOpenSamplesFolder);
    ASSERT_EQ(3u, answers.Seen().size());
    for (const std::size_t i : {0u, 1u})
        EXPECT_NE(std::string::npos, answers.Seen()[i].find("The report was written to:\n" + report))
            << answers.Seen()[i];
    EXPECT_NE(std::string::npos, answers.Seen()[2].find("The folder cannot be opened:\n"));
}

TEST_F(FrameTest, TheShownSummaryFollowsTheOtherFilters) {
    FakeFilter* fake = AddFakeFilter("Fake", "Tests", {true, true, {}});
    frame->GetFiltersPanel()->InitTreebook();
    Load(folder.WritePicture("a.png"));
    OrvFilter* filter = core->GetContext().FindFilter("summary");
    ASSERT_NE(nullptr, filter);
    auto* page = dynamic_cast<FilterSummaryPanel*>(filter->GetAnalsyisFilterGui());
    ASSERT_NE(nullptr, page);
    frame->GetFiltersPanel()->ActivateGui(page);
    Settle();
    ASSERT_EQ(page, frame->GetViewerPanel()->GetShownPage());
    const auto status = [&] {
        for (const auto& group : page->GetStatusGroups())
            if (group->GetFilter() == fake) return group->GetStatus();
        return wxString();
    };
    EXPECT_EQ("not run yet", status());
    core->Configure(fake, -1, FakeFilter::Level(2), {}, false);
    core->GetContext().SetActiveFilter(filter);
    Settle();
    ASSERT_EQ(page, frame->GetViewerPanel()->GetShownPage());
    EXPECT_EQ("strong sign", status());
    DialogAnswers answers{wxID_OK};
    core->Configure(fake, -1, FakeFilter::Level(3), {}, false);
    core->GetContext().SetActiveFilter(filter);
    Settle();
    EXPECT_EQ("failed", status());
}

TEST_F(FrameTest, ScheduledExitClosesAfterTheNextAction) {
    const wxWeakRef<wxWindow> window(frame);
    frame->ScheduleExit();
    auto* event = new OrvCommandEvent(OrvEventCommandExecuted);
    event->SetActionId(9);
    wxQueueEvent(frame, event);
    EXPECT_TRUE(PumpUntil([&] { return !window; }));
    frame = nullptr;
    EXPECT_TRUE(FileExists(LayoutPath()));
}

TEST_F(FrameTest, ClosesQuicklyWhileTheCoreWorks) {
    probe->sleepMs = 30000;
    core->SetFile(PathToWx(folder.WritePicture("slow.png")), OrvEvidence);
    ASSERT_TRUE(PumpUntil([this] { return probe->started > 0; }));
    const wxLongLong start = wxGetUTCTimeMillis();
    CloseFrame();
    EXPECT_LT((wxGetUTCTimeMillis() - start).ToLong(), 2000);
}

TEST_F(FrameTest, TheStatusBarSaysNothingOfThePictureBefore) {
    const auto described = [this] { return frame->GetStatusBar()->GetStatusText(1).utf8_string(); };
    Load(folder.WritePicture("a.png", 100, 16));
    EXPECT_NE(std::string::npos, described().find("16 x 16"));
    probe->sleepMs = 300;
    const int started = probe->started;
    core->SetFile(PathToWx(folder.WritePicture("b.png", 100, 32)), OrvEvidence);
    ASSERT_TRUE(PumpUntil([&] { return probe->started > started; }));
    EXPECT_TRUE(PumpUntil([&] { return Evidence().ends_with("b.png") && described().empty(); }, 250))
        << described();
    Settle();
    EXPECT_NE(std::string::npos, described().find("32 x 32"));
}

// Until the window manager has told its borders the window has no size at all.
TEST_F(FrameTest, AStatusBarWithoutASizeKeepsItsTextsQuietly) {
    wxStatusBar* bar = frame->GetStatusBar();
    const wxRect place = bar->GetRect();
    bar->SetSize(0, 0, 2, 1);
    Pump();
    testing::internal::CaptureStderr();
    frame->SetStatusField(OrvStatusField::Activity, "at work");
    Pump();
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
    EXPECT_EQ("at work", bar->GetStatusText(0));
    bar->SetSize(place);
}

TEST_F(FrameTest, LogIsCollectedAndShownOnDoubleClick) {
    DialogAnswers answers{wxID_OK};  // the toolkit's own box still tells the user
    wxLog* const target = wxLog::GetActiveTarget();
    wxLogMessage("100%% & <b>noted</b>");
    wxMouseEvent click(wxEVT_LEFT_DCLICK);
    frame->GetStatusBar()->ProcessWindowEvent(click);
    wxWindow* log = wxWindow::FindWindowByLabel("Log", nullptr);
    ASSERT_NE(nullptr, log);
    EXPECT_TRUE(log->IsShown());
    auto* text = dynamic_cast<LogPanel*>(log->GetChildren().front())->GetText();
    EXPECT_TRUE(text->GetValue().Contains("100% & <b>noted</b>")) << text->GetValue();
    log->Close();
    EXPECT_FALSE(log->IsShown());
    CloseFrame();
    EXPECT_NE(target, wxLog::GetActiveTarget());
    wxLog::FlushActive();
}

// Real keys, as the window system delivers them.
TEST_F(FrameTest, ShortcutsWorkEverywhereButLeaveTextFieldsTheirKeys) {
    const std::string first = folder.WritePicture("img1.png"), second = folder.WritePicture("img2.png");
    Load(first);
    frame->Raise();
    wxUIActionSimulator simulator;
    const auto press = [&](int key, int modifiers) {
        simulator.Char(key, modifiers);
        PumpFrames();
        Settle();
    };
    wxTreeCtrl* tree = frame->GetFiltersPanel()->GetTree();
    tree->SetFocus();
    ASSERT_TRUE(PumpUntil([&] { return frame->IsActive() && tree->HasFocus(); }));
    press(WXK_RIGHT, wxMOD_CONTROL);
    EXPECT_EQ(second, Evidence());
    press(WXK_LEFT, wxMOD_CONTROL);
    EXPECT_EQ(first, Evidence());
    press(WXK_RIGHT, wxMOD_CONTROL | wxMOD_ALT);
    EXPECT_EQ(second, Evidence());

    wxTextCtrl* field = frame->GetFilePanel(OrvEvidence)->GetFilenameField();
    field->SetFocus();
    PumpUntil([&] { return field->HasFocus(); });
    field->ChangeValue("one two");
    field->SetInsertionPoint(7);
    press(WXK_LEFT, wxMOD_CONTROL);
    EXPECT_EQ(4, field->GetInsertionPoint()) << "moved by a word";
    EXPECT_EQ(second, Evidence());
    press('Q', wxMOD_NONE);
    EXPECT_EQ("one qtwo", field->GetValue());
    press(WXK_LEFT, wxMOD_CONTROL | wxMOD_ALT);
    EXPECT_EQ(first, Evidence()) << "no key of a text field";

    press('O', wxMOD_CONTROL);
    press('O', wxMOD_CONTROL | wxMOD_ALT);
    press('O', wxMOD_CONTROL | wxMOD_SHIFT);
    ASSERT_EQ(3u, asked.size());
    EXPECT_EQ(0u, asked[0].find("Load|Choose a file to analyze|" + folder.Path() + "|img1.png|"));
    EXPECT_EQ(0u, asked[1].find("Load|Choose a file to analyze|"));
    EXPECT_EQ(0u, asked[2].find("Load|Choose a project to load|"));
    press('N', wxMOD_CONTROL | wxMOD_SHIFT);
    EXPECT_EQ("", Evidence());
    {
        DialogAnswers answers{wxID_OK};
        press('B', wxMOD_CONTROL);
    }
    const wxWeakRef<wxWindow> window(frame);
    simulator.Char('Q', wxMOD_CONTROL);
    EXPECT_TRUE(PumpUntil([&] { return !window; }));
    frame = nullptr;
}

TEST_F(FrameTest, ControlQEndsTheProgramFromATablesWindow) {
    WxTable table = {{"Name"}, {"a"}};
    auto* window = new GridFrame(frame, "table", table, GridFrame::Batch, 0, {});
    window->Show();
    Pump();
    const wxWeakRef<wxWindow> main(frame);
    const auto press = [&](int modifiers) {
        wxKeyEvent event(wxEVT_CHAR_HOOK);
        event.m_keyCode = 'Q';
        event.SetControlDown((modifiers & wxMOD_CONTROL) != 0);
        event.SetShiftDown((modifiers & wxMOD_SHIFT) != 0);
        event.SetEventObject(window->GetListCtrl());
        window->GetListCtrl()->ProcessWindowEvent(event);
    };
    press(wxMOD_NONE);
    press(wxMOD_CONTROL | wxMOD_SHIFT);
    PumpFrames();
    ASSERT_TRUE(main) << "other keys";
    press(wxMOD_CONTROL);
    EXPECT_TRUE(PumpUntil([&] { return !main; }));
    frame = nullptr;
    core = nullptr;
}

TEST_F(FrameTest, AnExportThatEndsSaysSoInTheStatusBar) {
    WxTable table = {{"Name"}, {"a"}};
    auto* window = new GridFrame(frame, "table", table, GridFrame::Batch, 0, {});
    chosen = folder / "out.tsv";
    wxCommandEvent event(wxEVT_MENU, OrvListDataAsTsv);
    window->GetListCtrl()->ProcessWindowEvent(event);
    const auto note = [this] { return frame->GetStatusBar()->GetStatusText(0); };
    EXPECT_TRUE(PumpUntil([&] { return !note().empty(); }));
    EXPECT_EQ(note(), "Written: " + chosen);
    EXPECT_EQ(ReadFile(chosen), "Name\na\n");
    window->Destroy();
    Pump();
}

// A name made to look like another: "photo" and a mark, after which "gpj.exe" would be read backwards.
TEST_F(FrameTest, MarksThatTurnTheWritingAreVisibleEverywhere) {
    const std::string name = "photo\u202Egpj\u061C.png";
    const std::string visible = "photo[U+202E]gpj[U+061C].png";
    const std::string path = folder.WritePicture(name);
    Load(path);
    const FilePanel& panel = *frame->GetFilePanel(OrvEvidence);
    EXPECT_EQ(FromWx(panel.GetFilenameField()->GetValue()), visible);
    EXPECT_TRUE(panel.GetFilenameField()->GetToolTipText().Contains(ToWx(visible)));
    // What is shown still stands for the file.
    wxCommandEvent enter(wxEVT_TEXT_ENTER);
    panel.GetFilenameField()->ProcessWindowEvent(enter);
    Settle();
    EXPECT_EQ(Evidence(), path);

    frame->SetStatusField(OrvStatusField::Activity, ToWx(name));
    EXPECT_EQ(FromWx(frame->GetStatusBar()->GetStatusText(0)), visible);
    auto* log = dynamic_cast<LogPanel*>(wxWindow::FindWindowByLabel("Log", nullptr)->GetChildren().front());
    EXPECT_FALSE(log->GetText()->GetValue().Contains(wxString::FromUTF8("\u202E")));
    {
        DialogAnswers answers{wxID_OK};
        OrvMessageBox(ToWx(name), "Caption");
        EXPECT_EQ(answers.Seen()[0], "Caption|" + visible);
    }
    chosen = folder / name;
    core->SaveProject(PathToWx(folder / "a\u202Eb.zop"));
    Settle();
    EXPECT_TRUE(frame->GetTitle().StartsWith("a[U+202E]b.zop")) << frame->GetTitle();
}
