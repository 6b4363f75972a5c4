#include "zorbase/folders.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <map>

#include "tests/support/temporaryfolder.h"
#include "zorbase/files.h"
#include "zorbase/zorexception.h"

TEST(Folders, EntriesWithTheirKinds) {
    const TemporaryFolder folder;
    WriteFile(folder / "b", std::string("file"));
    WriteFile(folder / "inner/deep", std::string());
    ASSERT_EQ(symlink("b", (folder / "link").c_str()), 0);
    ASSERT_EQ(symlink("inner", (folder / "to inner").c_str()), 0);
    ASSERT_EQ(symlink("nowhere", (folder / "broken").c_str()), 0);
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    using Kind = FolderEntry::Kind;
    std::map<std::string, Kind> found;
    ForEachEntry(folder.Path(), [&](const FolderEntry& entry) {
        found[entry.name] = entry.kind;
        // Opened by its name in the open folder; a pipe is not waited for.
        const int file = OpenInFolder(entry.folder, entry.name);
        EXPECT_EQ(file >= 0, entry.name != "broken") << entry.name;
        if (file >= 0) close(file);
        return true;
    });
    EXPECT_EQ(found, (std::map<std::string, Kind>{{"b", Kind::File},
                                                  {"inner", Kind::Folder},
                                                  {"link", Kind::Link},
                                                  {"to inner", Kind::Link},
                                                  {"broken", Kind::Link},
                                                  {"pipe", Kind::Other}}));
    EXPECT_EQ(ListFiles(folder.Path()), (std::vector<std::string>{folder / "b", folder / "link"}));
    int looked = 0;
    ForEachEntry(folder.Path(), [&looked](const FolderEntry&) { return ++looked < 2; });
    EXPECT_EQ(looked, 2) << "stops when told to";
}

TEST(Folders, FilesAreListedInOrder) {
    const TemporaryFolder folder;
    std::vector<std::string> expected;
    for (const char* name : {"10", "9", "B", "a", "b", "c d"}) expected.push_back(folder / name);
    for (const char* name : {"b", "10", "c d", "a", "9", "B"}) WriteFile(folder / name, std::string());
    EXPECT_EQ(ListFiles(folder.Path()), expected);
}

TEST(Folders, WhatCannotBeReadIsSaid) {
    const TemporaryFolder folder;
    WriteFile(folder / "file", std::string("no folder"));
    for (const std::string& path : {folder / "absent", folder / "file", std::string("a\0b", 3)}) {
        EXPECT_THROW(ForEachEntry(path, [](const FolderEntry&) { return true; }), ZorException);
        EXPECT_TRUE(ListFiles(path).empty());
    }
    try {
        ForEachEntry(folder / "file", [](const FolderEntry&) { return true; });
    } catch (const ZorException& error) {
        EXPECT_EQ(error.GetMessage(),
                  "Cannot read the folder \"" + (folder / "file") + "\": Not a directory.");
    }
}
