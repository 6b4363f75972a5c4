#include "orvgui/shell/recentfiles.h"

#include <gtest/gtest.h>

#include "tests/orvgui/framefixture.h"

namespace {

using Paths = std::vector<std::string>;

}  // namespace

TEST(RecentFiles, TheNewestComesFirstAndEachOnce) {
    const TemporaryFolder folder;
    OrvRecentFiles files(folder / "settings/recent.json");
    files.Load();
    for (int i = 0; i < 20; ++i) files.Note(RecentKind::Pictures, "/p/" + std::to_string(i));
    EXPECT_EQ(OrvRecentFiles::kMost, files.Get(RecentKind::Pictures).size());
    files.Note(RecentKind::Pictures, "/p/15");
    files.Note(RecentKind::Pictures, "");
    EXPECT_EQ("/p/15", files.Get(RecentKind::Pictures)[0]);
    EXPECT_EQ("/p/19", files.Get(RecentKind::Pictures)[1]);
    EXPECT_EQ(OrvRecentFiles::kMost, files.Get(RecentKind::Pictures).size());
    EXPECT_TRUE(files.Get(RecentKind::Projects).empty());
}

TEST(RecentFiles, AreKeptForEveryRunningCopy) {
    const TemporaryFolder folder;
    const std::string path = folder / "recent.json";
    OrvRecentFiles first(path);
    OrvRecentFiles second(path);
    first.Load();
    second.Load();
    first.Note(RecentKind::Pictures, "/a\xFF&\"");
    first.Note(RecentKind::Projects, "/a.zop");
    second.Note(RecentKind::Pictures, "/b");
    first.Save();
    second.Save();
    OrvRecentFiles later(path);
    later.Load();
    EXPECT_EQ((Paths{"/b", "/a\xFF&\""}), later.Get(RecentKind::Pictures));
    EXPECT_EQ(Paths{"/a.zop"}, later.Get(RecentKind::Projects));
    later.Clear(RecentKind::Pictures);
    OrvRecentFiles last(path);
    last.Load();
    EXPECT_EQ(Paths{}, last.Get(RecentKind::Pictures)) << "also those of other copies";
    EXPECT_EQ(Paths{"/a.zop"}, last.Get(RecentKind::Projects));

    for (const char* damaged : {"", "{", "[1]", "{\"pictures\": 5}", "{\"pictures\": [5, null, \"/c\"]}"}) {
        WriteFile(path, damaged);
        OrvRecentFiles read(path);
        read.Load();
        EXPECT_EQ(std::string(damaged).find("/c") != std::string::npos ? 1U : 0U,
                  read.Get(RecentKind::Pictures).size())
            << damaged;
    }
    OrvRecentFiles nowhere("/dev/null/recent.json");
    nowhere.Note(RecentKind::Pictures, "/d");
    nowhere.Save();
}

TEST(RecentFiles, AMenuTakesNoNameForASign) {
    EXPECT_EQ(wxString::FromUTF8("a&&b c.jpg  \u00b7  /x"), RecentMenuText("/x/a&b\tc.jpg"));
    EXPECT_LT(RecentMenuText("/" + std::string(300, 'd') + "/a.jpg").length(), 80U);
}

class RecentInFrame : public FrameTest {};

TEST_F(RecentInFrame, TheWindowRemembersWhatWasOpened) {
    const std::string a = folder.WritePicture("a.png", 1);
    const std::string b = folder.WritePicture("b.png", 2);
    Load(a);
    Load(b, OrvReference);
    Load("");
    EXPECT_EQ((Paths{b, a}), GetRecentFiles().Get(RecentKind::Pictures));
    const std::string project = folder / "case.zop";
    core->SaveProject(PathToWx(project));
    Settle();
    EXPECT_EQ(Paths{project}, GetRecentFiles().Get(RecentKind::Projects));
    core->NewProject();
    Settle();

    // The command of the list opens that project and asks for no name.
    wxCommandEvent command(wxEVT_MENU, 6006);
    command.SetEventObject(frame);
    command.SetString(PathToWx(project));
    frame->ProcessWindowEvent(command);
    Settle();
    EXPECT_EQ(project, core->GetProject().GetPath());
    EXPECT_TRUE(asked.empty());
    CloseFrame();
    OpenFrame();
    EXPECT_EQ((Paths{b, a}), GetRecentFiles().Get(RecentKind::Pictures));
}
