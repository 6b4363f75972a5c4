#include "orvcore/model/project.h"

#include <gmock/gmock.h>

#include "tests/support/testcore.h"

using testing::HasSubstr;

namespace {

class Project : public CoreTest {
  protected:
    std::string FailureOf(const std::function<void()>& request) {
        sink.seen.clear();
        request();
        EXPECT_TRUE(sink.PumpUntilIdle());
        std::string told;
        for (const TestSink::Seen& event : sink.seen)
            if (event.error != 0) {
                EXPECT_EQ(event.id, OrvEventActionCompleted);
                EXPECT_TRUE(told.empty()) << "one message";
                told = event.text;
            }
        return told;
    }
    std::string LoadProject(const std::string& path) {
        return FailureOf([&] { core->LoadProject(PathToWx(path)); });
    }
    std::string SaveProject(const std::string& path) {
        return FailureOf([&] { core->SaveProject(PathToWx(path)); });
    }
};

}  // namespace

TEST_F(Project, FilesAndBookmarksComeBackWhateverTheirNames) {
    const std::string evidence = folder.WritePicture("photo \xFF\xFE ä \"x\".png", 10);
    const std::string reference = folder.WritePicture("b.png", 200);
    Load(evidence);
    Load(reference, OrvReference);
    Configure(7, 3);
    core->AddBookmark(ToWx("<b>ä</b>"), ToWx("line\nline"));
    EXPECT_EQ(SaveProject(folder / "case.zop"), "");
    EXPECT_TRUE(core->GetProject().IsSaved());
    core->NewProject();
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_FALSE(core->HasFile(OrvEvidence));
    EXPECT_TRUE(core->GetProject().GetBookmarks().empty());
    Configure(1);

    EXPECT_EQ(LoadProject(folder / "case.zop"), "");
    ASSERT_TRUE(core->HasFile(OrvEvidence) && core->HasFile(OrvReference));
    EXPECT_EQ(core->GetFile(OrvEvidence)->GetPath(), evidence);
    EXPECT_EQ(core->GetFile(OrvReference)->GetPath(), reference);
    EXPECT_TRUE(core->GetProject().IsSaved());
    ASSERT_EQ(core->GetProject().GetBookmarks().size(), 1U);
    EXPECT_EQ(core->GetProject().GetBookmarks()[0].name, "<b>ä</b>");
    EXPECT_EQ(core->GetProject().GetBookmarks()[0].note, "line\nline");

    Load("", OrvReference);
    core->ShowBookmark(0);
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_TRUE(core->HasFile(OrvReference));
    EXPECT_EQ(probe->GetParametersInput().Get<int>("value"), 7);
    EXPECT_EQ(probe->GetParametersPostProcessing().Get<int>("gain"), 3);
}

TEST_F(Project, AnUnreadableProjectChangesNothing) {
    Load(folder.WritePicture("a.png"));
    SaveProject(folder / "good.zop");
    const std::string good = ReadFile(folder / "good.zop");
    const OrvFilePtr before = core->GetFile(OrvEvidence);
    const std::pair<std::string, const char*> files[] = {
        {"", "not loaded"},
        {good.substr(0, good.size() / 2), "not loaded"},
        {"{}", "not a project file"},
        {R"({"format":"orvane-project","version":2})", "newer version"},
        {R"({"format":"orvane-project","version":4294967297})", "newer version"},
        {R"({"format":"orvane-project","version":1,"bookmarks":[1]})", "bookmark"},
        {R"({"format":"orvane-project","version":1,"bookmarks":{}})", "bookmarks"},
        {R"({"format":"orvane-project","version":1,"evidence":{"path":{"hex":1}}})", "path"},
        {R"({"format":"orvane-project","version":1,"evidence":{"path":{"hex":"6"}}})", "path"},
        {R"({"format":"orvane-project","version":1,"evidence":{"path":{"hex":"zz"}}})", "path"},
    };
    for (const auto& [text, expected] : files) {
        WriteFile(folder / "bad.zop", text);
        EXPECT_THAT(LoadProject(folder / "bad.zop"), HasSubstr(expected)) << text;
        EXPECT_EQ(core->GetFile(OrvEvidence), before) << text;
        EXPECT_EQ(core->GetProject().GetPath(), folder / "good.zop") << text;
        EXPECT_EQ(ReadFile(folder / "bad.zop"), text) << "left untouched";
    }
    EXPECT_THAT(LoadProject(folder / "none.zop"), HasSubstr("none.zop"));
    EXPECT_EQ(core->GetFile(OrvEvidence), before);
}

TEST_F(Project, MissingAndChangedFilesAreToldAndTheRestIsOpened) {
    const std::string evidence = folder.WritePicture("a.png", 10);
    const std::string reference = folder.WritePicture("b.png", 200);
    Load(evidence);
    Load(reference, OrvReference);
    const std::string oldHash = core->GetFile(OrvEvidence)->GetSha256();
    SaveProject(folder / "case.zop");
    folder.WritePicture("a.png", 99);
    std::filesystem::remove(reference);

    const std::string told = LoadProject(folder / "case.zop");
    EXPECT_THAT(told, HasSubstr("b.png"));
    EXPECT_THAT(told, HasSubstr("has changed"));
    EXPECT_THAT(told, HasSubstr(oldHash));
    ASSERT_TRUE(core->HasFile(OrvEvidence));
    EXPECT_THAT(told, HasSubstr(core->GetFile(OrvEvidence)->GetSha256()));
    EXPECT_FALSE(core->HasFile(OrvReference));
}

TEST_F(Project, NothingIsSavedOverALoadedFile) {
    const std::string evidence = folder.WritePicture("a.png", 10);
    const std::string reference = folder.WritePicture("b.png", 20);
    std::filesystem::create_symlink(evidence, folder / "link.zop");
    std::filesystem::create_hard_link(reference, folder / "hard.zop");
    Load(evidence);
    Load(reference, OrvReference);
    const std::string bytes = ReadFile(evidence);
    for (const char* name : {"a.png", "b.png", "link.zop", "hard.zop", "./x/../a.png"}) {
        if (std::string(name).find('x') != std::string::npos) MakeFolder(folder / "x");
        const std::string path = folder / name;
        EXPECT_THAT(SaveProject(path), HasSubstr("never written to")) << name;
        EXPECT_THAT(FailureOf([&] { core->SaveConfigurations(PathToWx(path)); }),
                    HasSubstr("never written to"));
        EXPECT_THAT(FailureOf([&] { core->GenerateReport(PathToWx(path)); }), HasSubstr("never written to"));
        EXPECT_THAT(FailureOf([&] { core->SaveFilterResult(PathToWx(path)); }),
                    HasSubstr("never written to"));
    }
    EXPECT_EQ(ReadFile(evidence), bytes);
}
