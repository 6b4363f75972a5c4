#include "orvgui/shell/filepanel.h"

#include <wx/bmpbuttn.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>
#include <wx/treectrl.h>

#include <filesystem>

#include "orvgui/common/filedrop.h"
#include "orvgui/shell/commandregistry.h"
#include "orvgui/shell/filterspanel.h"
#include "tests/orvgui/framefixture.h"

TEST(FilePanelState, EnablesWhatCanBeDone) {
    FilePanelState state;
    const auto enabled = [&state] {
        std::vector<int> ids;
        for (int id = OrvCmdBrowse; id <= OrvCmdReferenceOnOff; ++id) {
            if (state.IsCommandEnabled(id)) ids.push_back(id);
        }
        return ids;
    };
    EXPECT_EQ(std::vector<int>{6038}, enabled()) << "an empty slot can only be filled";
    EXPECT_EQ("", state.Position());

    state.hasFile = state.hasFolder = true;
    EXPECT_EQ((std::vector<int>{6038, 6039, 6040, 6047}), enabled()) << "the list is not there yet";
    state.index = 0;
    EXPECT_EQ("", state.Position()) << "of no list";
    state.count = 3;
    const struct {
        int index;
        std::vector<int> navigation;
        const char* position;
    } places[] = {
        {0, {6043, 6044}, "1 / 3"},
        {1, {6041, 6042, 6043, 6044}, "2 / 3"},
        {2, {6041, 6042}, "3 / 3"},
        {-1, {6041, 6044}, ""},
    };
    for (const auto& place : places) {
        state.index = place.index;
        std::vector<int> expected = {6038, 6039, 6040};
        expected.insert(expected.end(), place.navigation.begin(), place.navigation.end());
        expected.push_back(6047);
        EXPECT_EQ(expected, enabled()) << place.index;
        EXPECT_EQ(place.position, state.Position());
    }
    state.hasCache = true;
    EXPECT_TRUE(state.IsCommandEnabled(6045));
    EXPECT_TRUE(state.IsCommandEnabled(6046));

    state = FilePanelState();
    state.slot = OrvReference;
    EXPECT_EQ(std::vector<int>{6048}, enabled());
    state.hasOtherFile = true;
    EXPECT_EQ((std::vector<int>{6048, 6058, 6059}), enabled());
    state.hasFile = true;
    EXPECT_TRUE(state.IsCommandEnabled(6060));
}

TEST(FilePanelState, TypedNames) {
    const ScopedVariable home("HOME", "/home/somebody");
    const struct {
        const char* typed;
        const char* current;
        const char* path;
    } cases[] = {
        {"", "/a/b.jpg", ""},
        {"b.jpg", "/a/b.jpg", "/a/b.jpg"},
        {"c.jpg", "/a/b.jpg", "/a/c.jpg"},
        {" c.jpg ", "/a/b.jpg", "/a/c.jpg"},
        {"/x/y.jpg", "/a/b.jpg", "/x/y.jpg"},
        {"~/y.jpg", "", "/home/somebody/y.jpg"},
        {"file:///x/a%20b.jpg", "", "/x/a b.jpg"},
        {"y.jpg", "", "y.jpg"},
    };
    for (const auto& c : cases) EXPECT_EQ(c.path, ResolveTypedFilename(c.typed, c.current)) << c.typed;
    // The name that is shown for a file whose name is not UTF-8 still stands for that file.
    const std::string broken = "/a/\xFF.jpg";
    EXPECT_EQ(broken, ResolveTypedFilename(ToWx("\xFF.jpg"), broken));
    EXPECT_TRUE(IsProjectFilename("/a/CASE.ZOP"));
    EXPECT_FALSE(IsProjectFilename("/a/case.zop.jpg"));
}

class FilePanelTest : public FrameTest {
  protected:
    FilePanelTest() {
        for (const char* name : {"img1.png", "img2.png", "img10.png"})
            paths.push_back(folder.WritePicture(name));
    }
    FilePanel& Panel(OrvFileId slot = OrvEvidence) { return *frame->GetFilePanel(slot); }
    void Press(int commandId, OrvFileId slot = OrvEvidence) {
        EXPECT_TRUE(Panel(slot).RunCommand(commandId));
        Settle();
    }
    std::string Name(OrvFileId slot = OrvEvidence) {
        return Panel(slot).GetFilenameField()->GetValue().utf8_string();
    }
    std::string Reference() { return PathFromWx(core->GetFilename(OrvReference)); }

    std::vector<std::string> paths;
};

TEST_F(FilePanelTest, NavigatesInNaturalOrderAndStopsAtTheEnds) {
    Load(paths[1]);
    EXPECT_EQ("img2.png", Name());
    const struct {
        int command;
        const char* name;
    } steps[] = {
        {6043, "img10.png"}, {6043, "img10.png"}, {6044, "img10.png"}, {6041, "img1.png"},
        {6042, "img1.png"},  {6043, "img2.png"},  {6044, "img10.png"}, {6042, "img2.png"},
    };
    for (const auto& step : steps) {
        Press(step.command);
        EXPECT_EQ(step.name, Name()) << "after " << step.command;
        EXPECT_EQ(step.name, PathName(Evidence()));
    }
}

// By a press on the button itself, in either panel; and files are taken wherever they are dropped.
TEST_F(FilePanelTest, EveryButtonDoesItsCommand) {
    Load(paths[1]);
    Load(paths[1], OrvReference);
    chosen = paths[0];
    const struct {
        int button;
        const char *evidence, *reference;
    } steps[] = {
        {6043, "img10.png", "img2.png"}, {6042, "img2.png", "img2.png"},  {6044, "img10.png", "img2.png"},
        {6041, "img1.png", "img2.png"},  {6053, "img1.png", "img10.png"}, {6052, "img1.png", "img2.png"},
        {6054, "img1.png", "img10.png"}, {6051, "img1.png", "img1.png"},  {6053, "img1.png", "img2.png"},
        {6058, "img2.png", "img1.png"},  {6059, "img2.png", "img2.png"},  {6038, "img1.png", "img2.png"},
        {6048, "img1.png", "img1.png"},  {6039, "", "img1.png"},          {6049, "", ""}};
    for (const auto& step : steps) {
        wxWindow* button = Panel(step.button < 6048 ? OrvEvidence : OrvReference).FindWindow(step.button);
        ASSERT_NE(button, nullptr) << step.button;
        EXPECT_TRUE(button->IsEnabled()) << step.button;
        EXPECT_EQ(button->GetToolTipText(), OrvGuiCommandRegistry::GetToolTip(step.button));
        wxCommandEvent press(wxEVT_BUTTON, step.button);
        press.SetEventObject(button);
        button->ProcessWindowEvent(press);
        Settle();
        EXPECT_EQ(step.evidence, Name()) << step.button;
        EXPECT_EQ(step.reference, Name(OrvReference)) << step.button;
    }
    Load(paths[1]);
    // Title, name and place in the folder in one line, the buttons below it in their order.
    wxRect before;
    for (wxWindow* child : Panel().GetChildren()) {
        if (child->GetRect().y < Panel().GetFilenameField()->GetRect().GetBottom()) continue;
        EXPECT_GE(child->GetRect().x, before.GetRight()) << child->GetId();
        EXPECT_GE(child->GetSize().x, 16);
        before = child->GetRect();
    }
    const wxRect name = Panel().GetFilenameField()->GetRect();
    bool isPlaceSeen = false;
    for (wxWindow* child : Panel().GetChildren())
        isPlaceSeen = isPlaceSeen || (child->GetLabel() == "2 / 3" && child->GetRect().x > name.GetRight() &&
                                      child->GetRect().GetRight() < Panel().GetClientSize().x);
    EXPECT_TRUE(isPlaceSeen);
    Load("");
    for (const OrvFileId slot : {OrvEvidence, OrvReference}) {
        EXPECT_NE(Panel(slot).GetDropTarget(), nullptr);
        EXPECT_NE(Panel(slot).GetFilenameField()->GetDropTarget(), nullptr);
        EXPECT_FALSE(Panel(slot).FindWindow(slot == OrvEvidence ? 6043 : 6053)->IsEnabled())
            << "no file, no next";
    }
}

TEST_F(FilePanelTest, MovesFilesBetweenTheSlots) {
    Load(paths[0]);
    Press(6059, OrvReference);
    EXPECT_EQ(paths[0], Reference());
    Load(paths[1]);
    Press(6058, OrvReference);
    EXPECT_EQ(paths[0], Evidence());
    EXPECT_EQ(paths[1], Reference());
    Press(6060, OrvReference);
    EXPECT_FALSE(core->IsReferenceEnabled());
    EXPECT_EQ("img2.png", Name(OrvReference)) << "off is not empty";
    EXPECT_TRUE(Panel(OrvReference).FindWindow(6060)->IsEnabled());
    Press(6060, OrvReference);
    EXPECT_TRUE(core->IsReferenceEnabled());
    Press(6049, OrvReference);
    EXPECT_EQ("", Reference());
    EXPECT_FALSE(Panel(OrvReference).FindWindow(6049)->IsEnabled());
    const ExpectedAssertions assertions;
    wxCommandEvent event;
    Panel(OrvEvidence).OnButtonCopyReferenceFromEvidence(event);
    EXPECT_EQ(1u, assertions.Messages().size());
}

TEST_F(FilePanelTest, AMistypedNameStaysToBeMended) {
    Load(paths[0]);
    wxTextCtrl* field = Panel().GetFilenameField();
    field->SetFocus();
    field->ChangeValue("img11.png");
    wxCommandEvent enter(wxEVT_TEXT_ENTER, field->GetId());
    enter.SetEventObject(field);
    {
        DialogAnswers answers{wxID_OK};
        field->ProcessWindowEvent(enter);
        Settle();
        EXPECT_EQ(1u, answers.Seen().size());
    }
    EXPECT_EQ(paths[0], Evidence());
    EXPECT_EQ("img11.png", Name());
    field->ChangeValue("img2.png");
    field->ProcessWindowEvent(enter);
    Settle();
    EXPECT_EQ("img2.png", Name());
    // Given up when the user goes elsewhere.
    field->ChangeValue("img12.png");
    DialogAnswers answers{wxID_OK};
    field->ProcessWindowEvent(enter);
    Settle();
    EXPECT_EQ("img12.png", Name());
    field->SetFocus();
    Pump();
    frame->GetFiltersPanel()->GetTree()->SetFocus();
    EXPECT_TRUE(PumpUntil([&] { return Name() == "img2.png"; })) << Name();
}

TEST_F(FilePanelTest, LoadsChosenTypedAndDroppedFiles) {
    chosen = "";
    Press(6038);
    EXPECT_EQ("", Evidence()) << "cancelled";
    chosen = paths[0];
    Press(6038);
    EXPECT_EQ(paths[0], Evidence());
    ASSERT_EQ(2u, asked.size());
    EXPECT_EQ(0u, asked[0].find("Load|Choose a file to analyze|||"));

    wxTextCtrl* field = Panel().GetFilenameField();
    field->ChangeValue("img2.png");
    wxCommandEvent enter(wxEVT_TEXT_ENTER, field->GetId());
    enter.SetEventObject(field);
    field->ProcessWindowEvent(enter);
    Settle();
    EXPECT_EQ(paths[1], Evidence());

    FilePanelDropTarget target(OrvReference);
    wxArrayString dropped;
    EXPECT_FALSE(target.OnDropFiles(0, 0, dropped));
    dropped.Add(PathToWx(paths[2]));
    dropped.Add(PathToWx(paths[0]));
    EXPECT_TRUE(target.OnDropFiles(0, 0, dropped));
    Settle();
    EXPECT_EQ(paths[2], Reference());
    EXPECT_EQ(paths[1], Evidence()) << "only the first dropped file counts";

    const std::string project = folder / "CASE.ZOP";
    core->SaveProject(PathToWx(project));
    Settle();
    Press(6039);
    Press(6049, OrvReference);
    dropped.Clear();
    dropped.Add(PathToWx(project));
    EXPECT_TRUE(target.OnDropFiles(0, 0, dropped));
    Settle();
    EXPECT_EQ(paths[1], Evidence());
    EXPECT_EQ(paths[2], Reference());
}

TEST_F(FilePanelTest, FailedLoadTellsWhyAndLeavesTheSlot) {
    Load(paths[0]);
    DialogAnswers answers{wxID_OK};
    core->SetFile(PathToWx(folder / "missing.png"), OrvEvidence);
    Settle();
    ASSERT_EQ(1u, answers.Seen().size());
    EXPECT_EQ(0u, answers.Seen()[0].find("Error|"));
    EXPECT_NE(std::string::npos, answers.Seen()[0].find("missing.png")) << answers.Seen()[0];
    EXPECT_EQ(paths[0], Evidence());
    EXPECT_EQ("img1.png", Name());
}

TEST_F(FilePanelTest, CacheIsDeletedOnlyWhenAskedAndAnswered) {
    Load(paths[0]);
    const std::string cache = PathFromWx(core->GetOutputDir(OrvEvidence));
    Press(6046);
    Press(6045);
    EXPECT_TRUE(launched.empty()) << "there is no cache folder";
    WriteFile(cache + "/something", std::string("x"));
    {
        DialogAnswers answers{wxID_NO, wxID_YES};
        Press(6046);
        EXPECT_TRUE(FolderExists(cache));
        EXPECT_EQ("Delete Cache|Do you want to delete preprocessed data for this image?", answers.Seen()[0]);
        Press(6045);
        EXPECT_EQ(1u, launched.size());
        Press(6046);
    }
    EXPECT_FALSE(FolderExists(cache));
    Press(6040);
    EXPECT_EQ(2u, launched.size());
    const int runs = probe->runs;
    Press(6047);
    EXPECT_EQ(runs + 1, probe->runs);
}

TEST_F(FilePanelTest, SelectorsRememberTheFolderOfEachFilter) {
    chosen = paths[0];
    OrvFileLoadSelector("First", "", "A|*.a");
    OrvFileLoadSelector("Second", "", "A|*.a");
    OrvFileLoadSelector("Other filter", "", "B|*.b");
    OrvFileLoadSelector("Given", "/given/name.a", "A|*.a");
    chosen = "";
    OrvFileSaveSelector("Cancelled", "", "C|*.c");
    ASSERT_EQ(5u, asked.size());
    EXPECT_EQ("Load|First|||A|*.a", asked[0]);
    EXPECT_EQ("Load|Second|" + folder.Path() + "||A|*.a", asked[1]);
    EXPECT_EQ("Load|Other filter|||B|*.b", asked[2]);
    EXPECT_EQ("Load|Given|/given|name.a|A|*.a", asked[3]);
    EXPECT_EQ("Save|Cancelled|" + folder.Path() + "/documents||C|*.c", asked[4]);

    chosen = folder / "new";
    EXPECT_EQ(folder / "new.c", PathFromWx(OrvFileSaveSelector("Extension", "", "C|*.c|All|*.*")));
}

TEST_F(FilePanelTest, SaveSelectorRefusesTheEvidence) {
    Load(paths[0]);
    chosen = paths[0];
    DialogAnswers answers([this](wxDialog*) {
        chosen = "";
        return wxID_OK;
    });
    EXPECT_EQ("", OrvFileSaveSelector("Save", "", "PNG|*.png"));
    EXPECT_NE(std::string::npos, answers.Seen()[0].find("never written to"));
}

TEST_F(FilePanelTest, SaveSelectorRefusesAReferenceThatIsOffUnderAnyOfItsNames) {
    Load(paths[1], OrvReference);
    core->EnableReference(false);
    Settle();
    for (const std::string& name : {paths[1], folder.Path() + "/./" + PathName(paths[1])}) {
        chosen = name;
        DialogAnswers answers([this](wxDialog*) {
            chosen = "";
            return wxID_OK;
        });
        EXPECT_EQ("", OrvFileSaveSelector("Save", "", "PNG|*.png")) << name;
        ASSERT_EQ(1u, answers.Seen().size()) << name;
        EXPECT_NE(std::string::npos, answers.Seen()[0].find("never written to"));
    }
}

TEST_F(FilePanelTest, WhatCannotBeBroughtBackIsReplacedOnlyAfterASecondQuestion) {
    WriteFile(folder / "old.zop", std::string("{}"));
    WriteFile(folder / "case.jpg.zop", std::string("{}"));
    WriteFile(folder / "table.tsv", std::string("a"));
    WriteFile(folder / "named.c", std::string("a"));
    std::filesystem::copy_file(paths[2], folder / "picture.dat");  // a picture under another name
    const std::string project = "Project file (*.zop)|*.zop|All files (*.*)|*.*";
    const struct {
        const char* chosen;
        const std::string filter;
        const char* written;
        bool asks;
    } cases[] = {
        {"img10.png", "PNG|*.png", "img10.png", true},
        {"picture.dat", "PNG|*.png", "picture.dat", true},
        {"old.zop", project, "old.zop", true},
        {"old", project, "old.zop", true},
        {"case.jpg", project, "case.jpg.zop", true},
        {"named", "C|*.c", "named.c", true},             // the chooser asked about another name
        {"table.tsv", "TSV|*.tsv", "table.tsv", false},  // asked in the chooser
        {"new.png", "PNG|*.png", "new.png", false},
        {"new.ZOP", project, "new.ZOP", false},
    };
    for (const auto& c : cases) {
        if (!c.asks) {
            chosen = folder / c.chosen;
            EXPECT_EQ(PathFromWx(OrvFileSaveSelector("Save", "", ToWx(c.filter))), folder / c.written);
            continue;
        }
        for (const int answer : {wxID_YES, wxID_NO}) {
            chosen = folder / c.chosen;
            DialogAnswers answers([this, answer](wxDialog*) {
                if (answer != wxID_YES) chosen = "";  // the chooser comes again
                return answer;
            });
            const std::string path = PathFromWx(OrvFileSaveSelector("Save", "", ToWx(c.filter)));
            EXPECT_EQ(path, answer == wxID_YES ? folder / c.written : "") << c.chosen;
            ASSERT_EQ(answers.Seen().size(), 1u) << c.chosen;
            const std::string& question = answers.Seen()[0];
            EXPECT_NE(question.find("\"" + std::string(c.written) + "\""), std::string::npos) << question;
            const std::string date = FormatTime(GetFileFacts(folder / c.written)->modified);
            EXPECT_NE(question.find(date), std::string::npos) << question;
        }
    }
}

TEST_F(FilePanelTest, FoldersWithForeignNamesAreFolders) {
    const std::string name = folder / "caf\xE9";  // Latin-1
    std::filesystem::create_directory(name);
    folder.WritePicture("caf\xE9/a.png");
    Load(name + "/a.png");
    EXPECT_TRUE(Panel(OrvEvidence).FindWindow(6040)->IsEnabled());
    Press(6040);
    ASSERT_EQ(1u, launched.size());
    EXPECT_NE(std::string::npos, launched[0].find("caf%E9"));
}
