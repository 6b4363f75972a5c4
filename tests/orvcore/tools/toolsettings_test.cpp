#include "orvcore/tools/toolsettings.h"

#include <sys/stat.h>
#include <unistd.h>

#include "orvcore/tools/web/keyfile.h"
#include "tests/support/testcore.h"

namespace {

int ModeOf(const std::string& path) {
    struct stat facts {};
    return lstat(path.c_str(), &facts) == 0 ? static_cast<int>(facts.st_mode & 0777) : -1;
}

std::string KeyFolder() {
    return PathFolder(OrvKeyFile::Path());
}

}  // namespace

TEST(ToolSettings, RecordsOutliveTheProgram) {
    const CaseFolder folder;
    {
        OrvInterface core;
        EXPECT_EQ(core.GetToolSettings("pdf"), Json::object());
        core.SetToolSettings("pdf", {{"first", 3}});
        core.SetToolSettings("web", {{"domain", "example.org"}});
        core.SetToolSettings("pdf", {{"first", 4}});
        EXPECT_EQ(core.GetToolSettings("pdf"), (Json{{"first", 4}}));
    }  // also when the program ends at once
    const OrvInterface next;
    EXPECT_EQ(next.GetToolSettings("pdf"), (Json{{"first", 4}}));
    EXPECT_EQ(next.GetToolSettings("web"), (Json{{"domain", "example.org"}}));
}

TEST(ToolSettings, ADamagedFileIsAsGoodAsNone) {
    const CaseFolder folder;
    const std::string sound =
        R"({"format":"orvane-tools","version":1,"tools":{"pdf":{"first":3},"bad":[1]}})";
    const std::pair<std::string, int> files[] = {
        {sound, 1},
        {"", 0},
        {sound.substr(0, 60), 0},
        {"[]", 0},
        {R"({"format":"orvane-tools","version":2,"tools":{"pdf":{"first":3}}})", 0},
        {R"({"format":"other","version":1,"tools":{"pdf":{"first":3}}})", 0},
        {R"({"format":"orvane-tools","version":1,"tools":[{"pdf":1}]})", 0},
        {std::string(2 * 1024 * 1024, ' ') + sound, 0},
    };
    for (const auto& [text, records] : files) {
        WriteFile(OrvToolSettings::Path(), text);
        OrvToolSettings settings;
        settings.Load();
        EXPECT_EQ(static_cast<int>(settings.Get("pdf").size()), records) << text.substr(0, 80);
        EXPECT_EQ(settings.Get("bad"), Json::object());
    }
}

TEST(KeyFile, OnlyTheOwnerMayReadIt) {
    const CaseFolder folder;
    const mode_t mask = umask(0);
    OrvKeyFile file;
    EXPECT_EQ(file.Get(), "");
    file.Set("  secret-1 \n");
    EXPECT_EQ(file.Get(), "secret-1") << "known before it is on the disk";
    file.Save();
    EXPECT_EQ(ReadFile(OrvKeyFile::Path()), "secret-1\n");
    EXPECT_EQ(ModeOf(OrvKeyFile::Path()), 0600);
    EXPECT_EQ(ModeOf(KeyFolder()), 0700);

    // Found with wider permissions: narrowed when it is read, also by whoever only looks.
    chmod(OrvKeyFile::Path().c_str(), 0664);
    chmod(KeyFolder().c_str(), 0777);
    EXPECT_EQ(OrvKeyFile().Get(), "secret-1");
    EXPECT_EQ(ModeOf(OrvKeyFile::Path()), 0600);
    EXPECT_EQ(ModeOf(KeyFolder()), 0700);

    chmod(OrvKeyFile::Path().c_str(), 0666);
    chmod(KeyFolder().c_str(), 0755);
    file.Set("secret-2");
    file.Save();
    EXPECT_EQ(ReadFile(OrvKeyFile::Path()), "secret-2\n");
    EXPECT_EQ(ModeOf(OrvKeyFile::Path()), 0600);
    EXPECT_EQ(ModeOf(KeyFolder()), 0700);
    umask(mask);
}

TEST(KeyFile, WhatIsNoKeyIsNotTaken) {
    const CaseFolder folder;
    const std::pair<std::string, std::string> files[] = {
        {"abc-123\n", "abc-123"}, {"\t abc \r\n", "abc"},      {"", ""},
        {"two words", ""},        {"key\nX-Header: more", ""}, {std::string("a\0b", 3), ""},
        {"schl\xC3\xBCssel", ""}, {std::string(600, 'k'), ""}, {std::string(5000, ' ') + "k", ""},
    };
    for (const auto& [text, key] : files) {
        WriteFile(OrvKeyFile::Path(), text);
        EXPECT_EQ(OrvKeyFile().Get(), key) << text.substr(0, 40);
    }
    RemoveFolder(KeyFolder());
    MakeFolder(OrvKeyFile::Path());
    EXPECT_EQ(OrvKeyFile().Get(), "") << "a folder of that name";
    RemoveFolder(OrvKeyFile::Path());
    ASSERT_EQ(symlink("/dev/zero", OrvKeyFile::Path().c_str()), 0);
    EXPECT_EQ(OrvKeyFile().Get(), "");
}

TEST(KeyFile, TheFacadeKeepsItAndTellsWhenItCannot) {
    const CaseFolder folder;
    {
        OrvInterface core;
        core.SetServiceKey("secret");
    }
    EXPECT_EQ(OrvInterface().GetServiceKey(), "secret");
    EXPECT_EQ(ModeOf(OrvKeyFile::Path()), 0600);

    RemoveFolder(KeyFolder());
    WriteFile(KeyFolder(), "a file in the folder's place");
    OrvInterface core;
    std::string told;
    core.SetEventConsumer([&told](OrvCommandEvent& event) { told = event.GetString().utf8_string(); });
    core.SetServiceKey("other");
    ASSERT_TRUE(core.WaitIdle(10000));
    EXPECT_NE(told.find("cameraforensics"), std::string::npos) << told;
    EXPECT_EQ(core.GetServiceKey(), "other") << "it serves until the program ends";
}
