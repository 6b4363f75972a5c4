#include "orvcore/model/filelister.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "tests/support/testcore.h"

using testing::ElementsAre;

namespace {

std::vector<std::string> Names(const OrvPaths& paths) {
    std::vector<std::string> names;
    for (const std::string& path : paths) names.push_back(PathName(path));
    return names;
}

}  // namespace

TEST(FileLister, PicturesByContentInNaturalOrder) {
    const CaseFolder folder;
    for (const char* name : {"IMG_10.png", "img_9.png", "IMG_010.png", "a.png"}) folder.WritePicture(name);
    std::filesystem::rename(folder / "a.png", folder / "no extension");
    WriteFile(folder / "text.jpg", std::string("no picture"));
    WriteFile(folder / "empty.jpg", std::string());
    WriteFile(folder / "wanted.txt", std::string("no picture either"));
    MakeFolder(folder / "folder.jpg");
    ASSERT_EQ(mkfifo((folder / "pipe.jpg").c_str(), 0600), 0);
    std::filesystem::create_symlink(folder / "nowhere", folder / "broken.jpg");
    std::filesystem::create_symlink(folder / "img_9.png", folder / "link");

    EXPECT_THAT(Names(ListImageFiles(folder.Path(), "", {})),
                ElementsAre("img_9.png", "IMG_010.png", "IMG_10.png", "link", "no extension"));
    EXPECT_THAT(Names(ListImageFiles(folder.Path(), folder / "wanted.txt", {})),
                ElementsAre("img_9.png", "IMG_010.png", "IMG_10.png", "link", "no extension", "wanted.txt"));
    EXPECT_THAT(ListImageFiles(folder / "gone", folder / "gone/x.png", {}),
                ElementsAre(folder / "gone/x.png"));
    EXPECT_TRUE(ListImageFiles(folder / "gone", "", {}).empty());
}

TEST(FileLister, TenThousandFilesAndAChangeOfMind) {
    const CaseFolder folder;
    const Bytes head = ReadFileBytes(folder.WritePicture("0.png"));
    MakeFolder(folder / "many");
    for (int i = 0; i < 10000; ++i)
        std::filesystem::copy_file(folder / "0.png", folder / ("many/" + ToString(i) + ".png"));
    std::mutex mutex;
    std::vector<std::pair<int, std::size_t>> done;
    OrvFileLister lister([&](int slot, const std::string&, std::shared_ptr<const OrvPaths> paths) {
        const std::lock_guard lock(mutex);
        done.emplace_back(slot, paths->size());
    });
    lister.Request(0, folder / "many", "");
    ASSERT_TRUE(lister.WaitIdle(60000));
    EXPECT_FALSE(lister.IsListing(0));
    lister.Request(0, folder / "many", "");
    lister.Request(0, folder.Path(), "");  // replaces the first
    lister.Request(1, folder.Path(), "");
    ASSERT_TRUE(lister.WaitIdle(60000));
    const std::lock_guard lock(mutex);
    EXPECT_EQ(done.front(), std::pair(0, std::size_t{10000}));
    EXPECT_EQ(done.back(), std::pair(1, std::size_t{1}));
    EXPECT_EQ(done[done.size() - 2], std::pair(0, std::size_t{1}));
}
