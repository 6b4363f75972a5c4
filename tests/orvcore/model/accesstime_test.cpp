// Looking at evidence leaves no trace on it: neither files nor their folder get another access time, whoever reads them.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <functional>

#include "orvcore/analysis/fingerprintfile.h"
#include "orvcore/filter/parameterfiles.h"
#include "orvcore/formats/provenance/provenance.h"
#include "orvcore/model/filelister.h"
#include "orvcore/model/loadedfile.h"
#include "orvcore/tools/folder/copyfiles.h"
#include "orvcore/tools/folder/foldertable.h"
#include "tests/support/temporaryfolder.h"
#include "zorbase/files.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"

namespace {

constexpr std::time_t kLongAgo = 1000000000;

// An access time older than the last change is renewed by any ordinary reading.
void SetOld(const std::string& path) {
    const timespec times[2] = {{kLongAgo, 0}, {1500000000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0) << path;
}

std::time_t Accessed(const std::string& path) {
    struct stat facts {};
    return stat(path.c_str(), &facts) == 0 ? facts.st_atime : 0;
}

}  // namespace

TEST(AccessTime, IsLeftAloneByEveryReader) {
    const TemporaryFolder root;
    const std::string folder = root / "case";
    const std::vector<std::string> files = {folder + "/a.png", folder + "/b.pem",
                                            folder + "/c." + kFingerprintExtension};
    WriteFile(files[0], EncodeImage(Image(cv::Mat(16, 16, CV_8UC3, cv::Scalar::all(90))), "png"));
    WriteFile(files[1], std::string("no certificate"));
    WriteFile(files[2], std::string("no fingerprint"));
    VecParameter parameters{Parameter::Path(ParameterType::Folder, "folder", "Folder", folder)};
    const std::pair<const char*, std::function<void()>> readers[] = {
        {"the files of a folder", [&] { EXPECT_EQ(ListImageFiles(folder, "", {}).size(), 1U); }},
        {"loading", [&] { OrvLoadedFile::Load(files[0], 1 << 20, OrvJob()); }},
        {"copies",
         [&] {
             EXPECT_EQ(CopyFiles({files[0], files[1]}, root / "copies", OrvJob()), 2);
         }},
        {"fingerprints",
         [&] {
             ASSERT_EQ(ListFingerprints(folder), std::vector<std::string>{files[2]});
             EXPECT_THROW(ReadFingerprint(files[2]), ZorException);
         }},
        {"trusted certificates",
         [&] {
             std::vector<std::string> warnings;
             ReadTrustFolder(folder, warnings);
             EXPECT_EQ(warnings.size(), 1U);
         }},
        {"files as parameters",
         [&] {
             EXPECT_NE(DigestOfFiles(parameters).find("a.png"), std::string::npos);
             StampOfFiles(parameters);
         }},
        {"the table of a folder", [&] { EXPECT_EQ(ScanFolder(folder, {}, OrvJob()).table.size(), 4U); }},
    };
    for (const auto& [name, read] : readers) {
        for (const std::string& file : files) SetOld(file);
        SetOld(folder);
        read();
        for (const std::string& file : files) EXPECT_EQ(Accessed(file), kLongAgo) << name << ": " << file;
        EXPECT_EQ(Accessed(folder), kLongAgo) << name << ": the folder";
    }
    // The system does count readings here: otherwise nothing above could fail.
    FILE* ordinary = std::fopen(files[0].c_str(), "rb");
    ASSERT_NE(ordinary, nullptr);
    std::fgetc(ordinary);
    std::fclose(ordinary);
    if (Accessed(files[0]) == kLongAgo) GTEST_SKIP() << "this file system keeps no access times";
}
