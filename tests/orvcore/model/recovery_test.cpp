#include "orvcore/model/project.h"

#include <gmock/gmock.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "orvcore/model/log.h"
#include "orvcore/model/projectlock.h"
#include "tests/orvcore/model/projectfixture.h"
#include "tests/support/testcore.h"

using testing::HasSubstr;

// Another instance is a lock of its own: it belongs to the open file, not to the process.
TEST_F(Project, TheSecondInstanceIsTold) {
    const std::string path = folder / "case.zop";
    Load(folder.WritePicture("a.png"));
    EXPECT_EQ(SaveProject(path), "");
    EXPECT_FALSE(OrvProjectLock::Take(path).lock) << "held as long as the project is open";
    core->NewProject();
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_FALSE(FileExists(folder / ".case.zop.lock")) << "nothing is left behind";

    OrvProjectLock::Attempt other = OrvProjectLock::Take(path);
    ASSERT_TRUE(other.lock);
    std::filesystem::create_symlink(path, folder / "link.zop");
    EXPECT_THAT(LoadProject(folder / "link.zop"), HasSubstr("open in another window"));
    const std::string told = LoadProject(path);
    EXPECT_THAT(told, testing::AllOf(HasSubstr("open in another window"),
                                     HasSubstr("process " + ToString(static_cast<int>(getpid())))));
    EXPECT_TRUE(core->HasFile(OrvEvidence)) << "to be looked at";
    const std::string before = ReadFile(path);
    core->AddBookmark("b", "");
    EXPECT_THAT(SaveProject(path), HasSubstr("another name"));
    EXPECT_EQ(ReadFile(path), before);
    EXPECT_EQ(SaveProject(folder / "copy.zop"), "");
    other.lock.reset();
    EXPECT_EQ(SaveProject(path), "") << "the other one is closed";
    // A lock file that a crash left is no lock.
    WriteFile(folder / ".old.zop.lock", "somebody");
    EXPECT_TRUE(OrvProjectLock::Take(folder / "old.zop").lock);
    // Nor is a link in its place followed.
    std::filesystem::create_symlink(folder / "victim", folder / ".x.zop.lock");
    EXPECT_FALSE(OrvProjectLock::Take(folder / "x.zop").lock);
    EXPECT_FALSE(FileExists(folder / "victim"));
}

namespace {

// A process of its own that works on a case until it is killed.
constexpr const char* kChildFolder = "ORVANE_TEST_CHILD_FOLDER";

class Child {
  public:
    explicit Child(const std::string& folder) {
        int ends[2];
        if (pipe(ends) != 0) return;
        m_pid = fork();
        if (m_pid == 0) {
            dup2(ends[1], STDOUT_FILENO);
            setenv(kChildFolder, folder.c_str(), 1);
            execl("/proc/self/exe", "child", "--gtest_filter=RecoveryChild.DISABLED_WorksUntilItIsKilled",
                  "--gtest_also_run_disabled_tests", nullptr);
            _exit(1);
        }
        close(ends[1]);
        std::string told;
        char letter = 0;
        while (told.find("KEPT") == std::string::npos && read(ends[0], &letter, 1) == 1) told += letter;
        close(ends[0]);
        isReady = told.find("KEPT") != std::string::npos;
    }
    void Kill() {
        kill(m_pid, SIGKILL);
        int status = 0;
        waitpid(m_pid, &status, 0);
        wasKilled = WIFSIGNALED(status);
    }
    bool isReady = false;
    bool wasKilled = false;

  private:
    pid_t m_pid = -1;
};

}  // namespace

TEST(RecoveryChild, DISABLED_WorksUntilItIsKilled) {
    const char* folder = getenv(kChildFolder);
    if (folder == nullptr) GTEST_SKIP();
    wxAppConsole::SetInstance(new wxAppConsole);
    OrvInterface core;
    core.SetEventConsumer([](OrvCommandEvent&) {});
    core.SetFile(PathToWx(std::string(folder) + "/a.png"), OrvEvidence);
    core.SaveProject(PathToWx(std::string(folder) + "/case.zop"));
    core.AddBookmark("after the last save", "note");
    core.WaitIdle();
    core.Autosave();
    core.GetRecovery().Wait();
    std::printf("KEPT\n");
    std::fflush(stdout);
    sleep(60);
}

TEST_F(Project, WorkOfAKilledProgramIsOfferedAndRecovered) {
    folder.WritePicture("a.png", 77);
    EXPECT_TRUE(core->GetRecovery().List().empty());
    Child child(folder.Path());
    ASSERT_TRUE(child.isReady);
    EXPECT_TRUE(core->GetRecovery().List().empty()) << "it still runs";
    child.Kill();
    ASSERT_TRUE(child.wasKilled);
    const auto left = core->GetRecovery().List();
    ASSERT_EQ(left.size(), 1U);
    EXPECT_EQ(left[0].projectPath, folder / "case.zop");

    EXPECT_EQ(FailureOf([&] { core->RecoverProject(left[0]); }), "") << "the killed one holds no lock";
    ASSERT_EQ(core->GetProject().GetBookmarks().size(), 1U);
    EXPECT_EQ(core->GetProject().GetBookmarks()[0].name, "after the last save");
    EXPECT_EQ(FromWx(core->GetFilename(OrvEvidence)), folder / "a.png");
    EXPECT_EQ(core->GetProject().GetPath(), folder / "case.zop");
    EXPECT_TRUE(core->GetProject().HasUnsavedWork());
    EXPECT_TRUE(core->GetRecovery().List().empty());
    EXPECT_FALSE(std::filesystem::is_empty(folder / "documents/recovery")) << "kept by us until it is saved";
    EXPECT_EQ(SaveProject(folder / "case.zop"), "");
    EXPECT_TRUE(std::filesystem::is_empty(folder / "documents/recovery"));
}

TEST_F(Project, OnlyUnsavedWorkIsKept) {
    const auto kept = [this] {
        core->Autosave();
        core->GetRecovery().Wait();
        return FolderExists(folder / "documents/recovery") &&
               !std::filesystem::is_empty(folder / "documents/recovery");
    };
    EXPECT_FALSE(kept());
    Load(folder.WritePicture("a.png"));
    EXPECT_FALSE(kept()) << "a file that was only opened is no work";
    core->SetCaseData({"title", "", "", "", "", {}});
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_TRUE(kept());
    core->NewProject();
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_FALSE(kept()) << "given up";

    // A folder that cannot be written is told once.
    std::filesystem::remove_all(folder / "documents/recovery");
    WriteFile(folder / "documents/recovery", "in the way");
    core->AddBookmark("b", "");
    ASSERT_TRUE(sink.PumpUntilIdle());
    EXPECT_EQ(FailureOf([&] { kept(); }), "") << "it is known only after the first attempt";
    EXPECT_THAT(FailureOf([&] { kept(); }), HasSubstr("cannot be kept against a crash"));
    EXPECT_EQ(FailureOf([&] { kept(); }), "");
}
