#include "zorbase/files.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "tests/support/temporaryfolder.h"
#include "zorbase/fileprotection.h"
#include "zorbase/zorexception.h"

namespace {

using testing::HasSubstr;
namespace fs = std::filesystem;

std::string MessageOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const ZorException& error) {
        EXPECT_EQ(error.GetKind(), ZorException::Kind::File);
        return error.GetMessage();
    }
    return "nothing was thrown";
}

std::size_t CountFiles(const std::string& folder) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

TEST(Files, ReadsBackWhatItWrites) {
    const TemporaryFolder folder;
    std::string content(300000, '\0');
    for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i * 31 >> 3);
    // A name that is not UTF-8, below folders that are not there yet.
    const std::string path = folder / "a/b/caf\xE9.bin";
    WriteFile(path, content);
    EXPECT_EQ(ReadFile(path), content);
    EXPECT_EQ(ReadFileBytes(path), Bytes(content.begin(), content.end()));
    WriteFile(path, Bytes{});
    EXPECT_EQ(ReadFile(path), "");
    EXPECT_EQ(CountFiles(folder / "a/b"), 1u);
    // A file that does not tell its size beforehand.
    EXPECT_THAT(ReadFile("/proc/self/status"), HasSubstr("Umask"));
}

TEST(Files, ReadingLeavesTheAccessTimeAlone) {
    const TemporaryFolder folder;
    const std::string path = folder / "evidence.jpg";
    WriteFile(path, std::string("bytes"));
    // An old access time, which the system would renew on an ordinary read.
    const timespec times[2] = {{1000000000, 0}, {1500000000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    ReadFileBytes(path);
    const auto facts = GetFileFacts(path);
    ASSERT_TRUE(facts);
    EXPECT_EQ(facts->accessed, 1000000000);
    EXPECT_EQ(facts->modified, 1500000000);
    EXPECT_EQ(facts->size, 5u);
    EXPECT_FALSE(facts->isFolder);
    EXPECT_GT(facts->changed, 1700000000);
    if (facts->created) {
        EXPECT_GT(*facts->created, 1700000000);
    }
}

TEST(Files, RefusesWhatIsNoRegularFileWithoutWaiting) {
    const TemporaryFolder folder;
    const std::string fifo = folder / "fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const auto read = [](const std::string& path) { return MessageOf([&path] { ReadFileBytes(path); }); };
    EXPECT_THAT(read(folder.Path()), HasSubstr("it is a folder"));
    EXPECT_THAT(read(fifo), HasSubstr("not a regular file"));
    EXPECT_THAT(read("/dev/zero"), HasSubstr("not a regular file"));
    EXPECT_THAT(read(folder / "absent.jpg"), AllOf(HasSubstr("absent.jpg"), HasSubstr("No such file")));
    WriteFile(folder / "a.jpg", std::string("x"));
    EXPECT_THAT(read(folder / std::string("a.jpg\0.png", 10)), HasSubstr("zero byte"));
    EXPECT_FALSE(FileExists(folder / std::string("a.jpg\0.png", 10)));
    // The name of a hostile file is made fit to be shown.
    EXPECT_THAT(read(folder / "\xFF\x1B[31m"), HasSubstr("\xEF\xBF\xBD\xEF\xBF\xBD[31m"));
}

TEST(Files, ReadsInPiecesIntoOneBuffer) {
    const TemporaryFolder folder;
    Bytes content(1000003);
    for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<std::uint8_t>(i * 7 >> 3);
    WriteFile(folder / "large", content);
    WriteFile(folder / "small", Bytes{1, 2, 3});
    WriteFile(folder / "empty", Bytes());
    Bytes buffer;
    Bytes pieces;
    const auto read = [&](const std::string& name, std::uint64_t maximum) {
        pieces.clear();
        return ReadFileInto(folder / name, buffer, maximum,
                            [&](auto piece) { pieces.insert(pieces.end(), piece.begin(), piece.end()); });
    };
    EXPECT_EQ(read("large", content.size()), content.size());
    EXPECT_EQ(pieces, content);
    EXPECT_TRUE(std::equal(content.begin(), content.end(), buffer.begin()));
    const std::size_t room = buffer.size();
    EXPECT_EQ(read("small", 3), 3U);
    EXPECT_EQ(pieces, (Bytes{1, 2, 3}));
    EXPECT_EQ(read("empty", 0), 0U);
    EXPECT_EQ(buffer.size(), room);
    EXPECT_THAT(MessageOf([&] { read("small", 2); }), HasSubstr("it has more than 2 bytes"));
    EXPECT_THAT(MessageOf([&] { read("absent", 2); }), HasSubstr("No such file"));
    EXPECT_THAT(MessageOf([&] { ReadFileInto(folder.Path(), buffer, 9, {}); }), HasSubstr("folder"));
}

TEST(Files, FailedWriteLeavesTheOldFileAndNothingElse) {
    const TemporaryFolder folder;
    const std::string path = folder / "settings.json";
    WriteFile(path, std::string("old"));

    // A full disk, as far as this process can tell.
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{100000, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const std::string message = MessageOf([&path] { WriteFile(path, std::string(200000, 'x')); });
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, oldHandler);

    EXPECT_THAT(message, AllOf(HasSubstr("settings.json"), HasSubstr("File too large")));
    EXPECT_EQ(ReadFile(path), "old");
    EXPECT_EQ(CountFiles(folder.Path()), 1u);

    // The target is in the way.
    MakeFolder(folder / "taken");
    EXPECT_THAT(MessageOf([&] { WriteFile(folder / "taken", std::string("x")); }), HasSubstr("taken"));
    EXPECT_EQ(CountFiles(folder.Path()), 2u);
    EXPECT_THAT(MessageOf([&] { WriteFile(path + "/below", std::string("x")); }), HasSubstr("settings.json"));
}

TEST(Files, WritingRefusesWhatIsNoRegularFileAndKeepsTheMode) {
    const TemporaryFolder folder;
    WriteFile(folder / "evidence.jpg", std::string("evidence"));
    fs::create_symlink(folder / "evidence.jpg", folder / "link");
    fs::create_symlink(folder / "nowhere", folder / "loose");
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    for (const auto& [name, reason] :
         {std::pair{"link", "it is a link"}, {"loose", "it is a link"}, {"pipe", "not a regular file"}}) {
        const std::string path = folder / name;
        EXPECT_THAT(MessageOf([&] { WriteFile(path, std::string("x")); }),
                    AllOf(HasSubstr(name), HasSubstr(reason)));
        EXPECT_THAT(MessageOf([&] { WritePrivateFile(path, "x"); }), HasSubstr(reason));
        EXPECT_THAT(MessageOf([&] { FileWriter file(path); }), HasSubstr(reason));
    }
    EXPECT_EQ(ReadFile(folder / "evidence.jpg"), "evidence");
    EXPECT_TRUE(fs::is_symlink(folder / "loose") && fs::is_fifo(folder / "pipe"));
    EXPECT_EQ(CountFiles(folder.Path()), 4u) << "no temporary file is left";

    struct stat facts {};
    WriteFile(folder / "report.txt", std::string("report"));
    ASSERT_EQ(chmod((folder / "report.txt").c_str(), 0640), 0);
    WriteFile(folder / "report.txt", std::string("again"));
    ASSERT_EQ(stat((folder / "report.txt").c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777, 0640u);
    RestrictToOwner(folder / "report.txt");
    ASSERT_EQ(stat((folder / "report.txt").c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777, 0600u);
}

TEST(Files, NoWriterTouchesWhatIsWorkedOn) {
    const TemporaryFolder folder;
    const std::string path = folder / "evidence.jpg";
    WriteFile(path, std::string("evidence"));
    fs::create_hard_link(path, folder / "twin.jpg");
    const auto refusals = [&] {
        int count = 0;
        for (const std::string& name : {path, folder / "twin.jpg", folder / "./evidence.jpg"}) {
            count += MessageOf([&] { WriteFile(name, std::string("x")); }).find("never written to") !=
                     std::string::npos;
            count +=
                MessageOf([&] { WritePrivateFile(name, "x"); }).find("never written to") != std::string::npos;
        }
        return count;
    };
    {
        FileWriter late(folder / "late.txt");
        late.Add("x");
        const FileProtection first(path);
        {
            FileProtection second(path);
            const FileProtection moved(std::move(second));
        }
        EXPECT_EQ(refusals(), 6) << "one of three has gone";
        WriteFile(folder / "other.jpg", std::string("x"));
        // What became evidence while it was written.
        fs::create_hard_link(path, folder / "late.txt");
        EXPECT_THAT(MessageOf([&] { late.Finish(); }), HasSubstr("never written to"));
        EXPECT_TRUE(LeadToSameFile(path, folder / "twin.jpg"));
        EXPECT_FALSE(LeadToSameFile(path, folder / "other.jpg"));
        EXPECT_FALSE(LeadToSameFile(folder / "absent", folder / "absent"));
    }
    EXPECT_EQ(ReadFile(path), "evidence");
    EXPECT_EQ(refusals(), 0);
}

TEST(Files, AGrowingFileIsReadAsItWas) {
    const TemporaryFolder folder;
    const std::string path = folder / "growing.bin";
    std::FILE* writer = std::fopen(path.c_str(), "w");
    ASSERT_NE(writer, nullptr);
    const std::string start(600000, 'a');
    std::fwrite(start.data(), 1, start.size(), writer);
    std::fflush(writer);
    Bytes buffer;
    bool hasChanged = false;
    std::size_t size = ReadFileInto(
        path, buffer, 1 << 30,
        [&](auto) {
            std::fwrite(start.data(), 1, start.size(), writer);
            std::fflush(writer);
        },
        &hasChanged);
    std::fclose(writer);
    EXPECT_EQ(size, start.size());
    EXPECT_TRUE(hasChanged);
    size = ReadFileInto(
        path, buffer, 1 << 30, [](auto) {}, &hasChanged);
    EXPECT_GT(size, start.size());
    EXPECT_FALSE(hasChanged);
    size = ReadFileInto(
        path, buffer, 1 << 30, [&](auto) { fs::resize_file(path, 10); }, &hasChanged);
    EXPECT_TRUE(hasChanged) << "it was cut";
}

TEST(Files, PrivateFilesAreTheOwnersAlone) {
    const TemporaryFolder folder;
    const std::string path = folder / "keys/service.key";
    struct stat facts {};
    // Whatever the user's own file mode is and whatever stood there before.
    const mode_t before = umask(0);
    WriteFile(path, std::string("old"));
    ASSERT_EQ(stat(path.c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777, 0666u);
    WritePrivateFile(path, "secret");
    umask(before);
    ASSERT_EQ(stat(path.c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777, 0600u);
    EXPECT_EQ(ReadFile(path), "secret");
    EXPECT_EQ(CountFiles(folder / "keys"), 1u);
}

TEST(Files, FoldersAreMadeAndRemovedButNeverThroughALink) {
    const TemporaryFolder folder;
    MakeFolder(folder / "a/b/c");
    MakeFolder(folder / "a/b/c");
    EXPECT_TRUE(FolderExists(folder / "a/b/c"));
    EXPECT_FALSE(FileExists(folder / "a/b/c"));
    WriteFile(folder / "a/kept.txt", std::string("kept"));
    EXPECT_THAT(MessageOf([&] { MakeFolder(folder / "a/kept.txt"); }), HasSubstr("kept.txt"));

    MakeFolder(folder / "b");
    fs::create_directory_symlink(folder / "a", folder / "b/link");
    EXPECT_THAT(MessageOf([&] { RemoveFolder(folder / "b/link"); }), HasSubstr("not a folder"));
    EXPECT_THAT(MessageOf([&] { RemoveFolder(folder / "a/kept.txt"); }), HasSubstr("not a folder"));
    RemoveFolder(folder / "b");
    RemoveFolder(folder / "b");
    EXPECT_FALSE(FolderExists(folder / "b"));
    EXPECT_EQ(ReadFile(folder / "a/kept.txt"), "kept");
}

TEST(Files, PiecesOfAnyLengthAreWrittenInOrder) {
    const TemporaryFolder folder;
    const std::string path = folder / "pieces";
    std::string expected;
    {
        FileWriter file(path);
        for (const std::size_t length : {1UL, 65534UL, 1UL, 3UL, 65536UL, 0UL, 70000UL, 2UL, 65535UL, 5UL}) {
            const std::string piece(length, static_cast<char>('a' + length % 26));
            file.Add(piece);
            expected += piece;
        }
        EXPECT_FALSE(FileExists(path)) << "under its name only when it is whole";
        file.Finish();
    }
    EXPECT_EQ(ReadFile(path), expected);
    { FileWriter(folder / "given up").Add("x"); }
    EXPECT_EQ(CountFiles(folder.Path()), 1U);
    WriteFile(folder / "later", Bytes{1, 2, 3}, FileSync::Later);
    SyncFolder(folder.Path());
    EXPECT_EQ(ReadFile(folder / "later"), "\1\2\3");
    EXPECT_EQ(MessageOf([&] { SyncFolder(folder / "later"); }),
              "Cannot write the folder \"" + (folder / "later") + "\": Not a directory.");
}

// Files of the system state no size, and are read to their end.
TEST(Files, WhatStatesNoSizeIsReadToItsEnd) {
    const std::string expected = ReadFile("/proc/self/cmdline");
    Bytes buffer;
    bool hasChanged = true;
    std::string pieces;
    const std::size_t size = ReadFileInto(
        "/proc/self/cmdline", buffer, 1 << 20, [&](auto piece) { pieces.append(piece.begin(), piece.end()); },
        &hasChanged);
    EXPECT_GT(size, 5U);
    EXPECT_EQ(pieces, expected);
    EXPECT_EQ(std::string(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(size)), expected);
    EXPECT_FALSE(hasChanged);
    EXPECT_THAT(MessageOf([&] { ReadFileInto("/proc/self/cmdline", buffer, size - 1, [](auto) {}); }),
                HasSubstr("it has more than"));

    const TemporaryFolder folder;
    const std::string path = folder / "touched";
    WriteFile(path, std::string("bytes"));
    for (const timespec& moment :
         {timespec{1500000000, 5}, timespec{1500000000, 6}, timespec{1500000001, 6}}) {
        ReadFileInto(
            path, buffer, 5,
            [&](auto) {
                const timespec times[2] = {moment, moment};
                utimensat(AT_FDCWD, path.c_str(), times, 0);
            },
            &hasChanged);
        EXPECT_TRUE(hasChanged) << moment.tv_sec << "." << moment.tv_nsec;
    }
}

TEST(Files, EveryRefusalNamesFileAndReason) {
    const TemporaryFolder folder;
    const std::string file = folder / "file";
    WriteFile(file, std::string("x"));
    fs::create_symlink(file, folder / "link");
    const std::string zero = folder / std::string("a\0b", 3);
    const auto shown = [&](const char* what, const std::string& name, const char* reason) {
        return std::string(what) + " \"" + (folder / name) + "\": " + reason + ".";
    };
    Bytes buffer;
    const std::pair<std::function<void()>, std::string> cases[] = {
        {[&] { ReadFile(folder / "absent"); },
         shown("Cannot read the file", "absent", "No such file or directory")},
        {[] { ReadFile("/proc/self/mem"); }, "Cannot read the file \"/proc/self/mem\": Input/output error."},
        {[&] { ReadFileInto("/proc/self/mem", buffer, 9, {}); },
         "Cannot read the file \"/proc/self/mem\": Input/output error."},
        {[&] { WriteFile(zero, std::string("x")); }, shown("Cannot write the file",
                                                           "a\xEF\xBF\xBD"
                                                           "b",
                                                           "the name holds a zero byte")},
        {[&] { WriteFile(folder / "link", std::string("x")); },
         shown("Cannot write the file", "link", "it is a link, and what it leads to must not change")},
        {[&] { WriteFile(file + "/below", std::string("x")); },
         shown("Cannot make the folder", "file", "Not a directory")},
        {[] { WriteFile("/proc/orvane", std::string("x")); },
         "Cannot write the file \"/proc/orvane\": No such file or directory."},
        {[&] { MakeFolder(zero); }, shown("Cannot make the folder",
                                          "a\xEF\xBF\xBD"
                                          "b",
                                          "the name holds a zero byte")},
        {[&] { RemoveFolder(zero); }, shown("Cannot remove the folder",
                                            "a\xEF\xBF\xBD"
                                            "b",
                                            "the name holds a zero byte")},
        {[&] { RemoveFolder(file); }, shown("Cannot remove the folder", "file", "it is not a folder")},
    };
    for (const auto& [action, message] : cases) EXPECT_EQ(MessageOf(action), message);
    EXPECT_NO_THROW(RemoveFolder(file + "/below")) << "below a file there is nothing to remove";
    EXPECT_FALSE(GetFileFacts(zero).has_value());
    const FileProtection protection(file);
    EXPECT_EQ(MessageOf([&] { WriteFile(file, std::string("y")); }),
              "\"file\" is one of the files to work on, which are never written to. Choose another name.");
    EXPECT_EQ(MessageOf([&] { RefuseProtectedFile(folder / "link"); }),
              "\"link\" is one of the files to work on, which are never written to. Choose another name.");
    EXPECT_NO_THROW(RefuseProtectedFile(file + std::string("\0.txt", 5)));
}

TEST(Files, RestrictingLeavesLinksFoldersAndTheOwnersRights) {
    const TemporaryFolder folder;
    WriteFile(folder / "program", std::string("x"));
    MakeFolder(folder / "inner");
    fs::create_symlink(folder / "program", folder / "link");
    const auto mode = [&](const char* name) {
        struct stat facts {};
        EXPECT_EQ(stat((folder / name).c_str(), &facts), 0);
        return facts.st_mode & 0777;
    };
    ASSERT_EQ(chmod((folder / "program").c_str(), 0751), 0);
    ASSERT_EQ(chmod((folder / "inner").c_str(), 0755), 0);
    RestrictToOwner(folder / "link");
    RestrictToOwner(folder / "inner");
    RestrictToOwner(folder / "absent");
    EXPECT_EQ(mode("program"), 0751U);
    EXPECT_EQ(mode("inner"), 0755U);
    RestrictToOwner(folder / "program");
    EXPECT_EQ(mode("program"), 0700U);
}

TEST(Paths, Parts) {
    struct Case {
        const char* path;
        const char* folder;
        const char* name;
        const char* stem;
        const char* extension;
    };
    const Case cases[] = {
        {"/a/b/photo.JPG", "/a/b", "photo.JPG", "photo", "jpg"},
        {"photo.tar.gz", "", "photo.tar.gz", "photo.tar", "gz"},
        {"/photo", "/", "photo", "photo", ""},
        {"/a.b/photo", "/a.b", "photo", "photo", ""},
        {".hidden", "", ".hidden", ".hidden", ""},
        {"a//b.", "a", "b.", "b", ""},
        {"/a/b/", "/a/b", "", "", ""},
        {"a\\b.png", "", "a\\b.png", "a\\b", "png"},
        {"", "", "", "", ""},
    };
    for (const Case& item : cases) {
        EXPECT_EQ(PathFolder(item.path), item.folder) << item.path;
        EXPECT_EQ(PathName(item.path), item.name) << item.path;
        EXPECT_EQ(PathStem(item.path), item.stem) << item.path;
        EXPECT_EQ(PathExtension(item.path), item.extension) << item.path;
    }
    EXPECT_EQ(PathJoin("/a", "b"), "/a/b");
    EXPECT_EQ(PathJoin("/a/", "b"), "/a/b");
    EXPECT_EQ(PathJoin("", "b"), "b");
    EXPECT_EQ(PathJoin("/", "b"), "/b");
    EXPECT_EQ(PathJoin("/a", "/etc/passwd"), "/a/etc/passwd");
    EXPECT_EQ(PathJoin("/a", "//"), "/a/");
    EXPECT_EQ(PathFolder("a///b"), "a");
    EXPECT_EQ(PathFolder("//b"), "/");
}

TEST(Paths, DocumentsFollowTheUsersSettings) {
    const TemporaryFolder home;
    const ScopedVariable homeVariable("HOME", home.Path().c_str());
    const ScopedVariable config("XDG_CONFIG_HOME", nullptr);
    {
        const ScopedVariable own("ORVANE_DOCUMENTS", "/somewhere/else/");
        EXPECT_EQ(GetAppDocumentsPath(), "/somewhere/else");
    }
    const ScopedVariable own("ORVANE_DOCUMENTS", nullptr);
    EXPECT_EQ(GetAppDocumentsPath(), home / "Orvane");
    EXPECT_EQ(GetUserDesktopPath(), home.Path());
    MakeFolder(home / "Desktop");
    EXPECT_EQ(GetUserDesktopPath(), home / "Desktop");

    const std::string file = home / ".config/user-dirs.dirs";
    WriteFile(
        file,
        std::string(
            "# comment\nXDG_DESKTOP_DIR=\"$HOME/Bureau\"\n  XDG_DOCUMENTS_DIR=\"$HOME/Mes \\\"documents\"\n"));
    EXPECT_EQ(GetAppDocumentsPath(), home / "Orvane");  // named, but not there
    MakeFolder(home / "Mes \"documents");
    MakeFolder(home / "Bureau");
    EXPECT_EQ(GetAppDocumentsPath(), home / "Mes \"documents/Orvane");
    EXPECT_EQ(GetUserDesktopPath(), home / "Bureau");

    for (const char* line : {"XDG_DOCUMENTS_DIR=\"relative\"", "XDG_DOCUMENTS_DIR=\"",
                             "XDG_DOCUMENTS_DIR=\"\"", "XDG_DOCUMENTS_DIR=\"$HOMER/x\"", "garbage"}) {
        WriteFile(file, std::string(line));
        EXPECT_EQ(GetAppDocumentsPath(), home / "Orvane") << line;
    }
    // Of a switched-off folder the settings say that it is the home itself.
    WriteFile(file, std::string("XDG_DESKTOP_DIR=\"$HOME\""));
    EXPECT_EQ(GetUserDesktopPath(), home.Path());
    MakeFolder(home / "R");
    MakeFolder(home / "R\\");
    const std::pair<std::string, std::string> lines[] = {
        {"XDG_DOCUMENTS_DIR=\"$HOME/R\\\"", home / "R\\"},
        {"XDG_DOCUMENTS_DIR=\"/\"", ""},
        {"XDG_DOCUMENTS_DIR=\"/absent\"\nXDG_DOCUMENTS_DIR=\"$HOME/R//\"\nXDG_DOCUMENTS_DIR=\"$HOME/Bureau\"",
         home / "R"}};
    for (const auto& [text, documents] : lines) {
        WriteFile(file, text);
        EXPECT_EQ(GetAppDocumentsPath(), documents + "/Orvane") << text;
    }
    const ScopedVariable otherConfig("XDG_CONFIG_HOME", (home / "elsewhere").c_str());
    EXPECT_EQ(GetAppDocumentsPath(), home / "Orvane");
    WriteFile(home / "elsewhere/user-dirs.dirs", std::string("XDG_DOCUMENTS_DIR=\"$HOME/Bureau\""));
    EXPECT_EQ(GetAppDocumentsPath(), home / "Bureau/Orvane");
}

TEST(Paths, AHomeFolderIsAlwaysKnown) {
    const ScopedVariable own("ORVANE_DOCUMENTS", nullptr);
    const ScopedVariable config("XDG_CONFIG_HOME", "/nowhere");
    const ScopedVariable none("HOME", nullptr);
    const passwd* user = getpwuid(getuid());
    EXPECT_EQ(GetAppDocumentsPath(), PathJoin(user != nullptr ? user->pw_dir : "/", "Orvane"));
    const ScopedVariable root("HOME", "//");
    EXPECT_EQ(GetAppDocumentsPath(), "/Orvane");
}

TEST(Paths, DataFolderCanBeGiven) {
    const ScopedVariable own("ORVANE_DATA", "/opt/orvane-data/");
    EXPECT_EQ(GetAppDataPath(), "/opt/orvane-data");
    // Beside the programs of the build tree.
    const ScopedVariable none("ORVANE_DATA", nullptr);
    const fs::path prefix = fs::read_symlink("/proc/self/exe").parent_path().parent_path();
    const bool isBuilt = fs::exists(prefix / "data/img");
    EXPECT_EQ(GetAppDataPath(), (prefix / (isBuilt ? "data" : "share/orvane")).string());
}

TEST(Time, IsLocalWithItsOffset) {
    const ScopedVariable zone("TZ", "CET-1CEST,M3.5.0,M10.5.0/3");
    EXPECT_EQ(FormatTime(1795266239), "2026-11-21 14:03:59 +0100");
    EXPECT_EQ(FormatTime(1783598639), "2026-07-09 14:03:59 +0200");
    const std::pair<const char*, const char*> zones[] = {{"UTC0", "2026-07-09 12:03:59 +0000"},
                                                         {"NST3:30", "2026-07-09 08:33:59 -0330"},
                                                         {"NPT-5:45", "2026-07-09 17:48:59 +0545"}};
    for (const auto& [other, expected] : zones) {
        const ScopedVariable there("TZ", other);
        EXPECT_EQ(FormatTime(1783598639), expected) << other;
    }
}

}  // namespace
