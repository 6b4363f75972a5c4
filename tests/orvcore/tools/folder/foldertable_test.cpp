#include "orvcore/tools/folder/foldertable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

#include <chrono>
#include <map>
#include <stop_token>
#include <thread>

#include "orvcore/formats/jpegstructure.h"
#include "orvcore/tables/tablemarkup.h"
#include "orvcore/tools/folder/thumbnail.h"
#include "tests/orvcore/formats/exifmaker.h"
#include "tests/orvcore/formats/formatsupport.h"
#include "tests/orvcore/formats/provenance/storemaker.h"
#include "tests/support/temporaryfolder.h"
#include "zorbase/hash.h"
#include "zorbase/json.h"
#include "zorbase/progress.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"

using namespace formatsupport;
using testing::HasSubstr;

namespace {

std::size_t Column(const TableString& table, const std::string& label) {
    for (std::size_t i = 0; i < table[0].size(); ++i)
        if (table[0][i] == label) return i;
    ADD_FAILURE() << "no column " << label;
    return 0;
}
std::string Raw(const TableString& table, std::size_t row, const std::string& label) {
    return table.at(row).at(Column(table, label));
}
std::string Text(const TableString& table, std::size_t row, const std::string& label) {
    return ParseCell(Raw(table, row, label)).text;
}
CellMark Mark(const TableString& table, std::size_t row, const std::string& label) {
    return ParseCell(Raw(table, row, label)).mark;
}
std::size_t RowOf(const TableString& table, const std::string& name) {
    for (std::size_t i = 1; i < table.size(); ++i)
        if (Text(table, i, "Name") == name) return i;
    ADD_FAILURE() << "no row " << name;
    return 0;
}

FolderScanOptions WithoutThumbnails() {
    FolderScanOptions options;
    options.makesThumbnails = false;
    return options;
}

Bytes Photograph(const std::string& software, const std::string& changed, const std::string& taken,
                 const JpegRecipe& recipe = {}, int statedWidth = 48) {
    JpegRecipe withExif = recipe;
    withExif.segments.emplace_back(
        1, ExifMaker(true).Segment("Maker", "Model 1", software, changed, taken, statedWidth, recipe.height));
    return MakeJpeg(withExif);
}

constexpr const char* kTaken = "2004:06:17 07:10:06";

}  // namespace

TEST(FolderTable, EveryRuleMarksItsColumnAndSaysWhy) {
    const TemporaryFolder folder;
    JpegRecipe progressive;
    progressive.progressive = true;
    const Bytes sound = Photograph("Ver.1.0", kTaken, kTaken);
    WriteFile(folder / "a sound.jpg", sound);
    WriteFile(folder / "b copy.jpg", sound);
    WriteFile(folder / "c name.png", Photograph("", kTaken, kTaken, {.seed = 2}));
    WriteFile(folder / "d edited.jpg", Photograph("Some Photoshop 7", "2004:06:18 07:10:06", kTaken));
    WriteFile(folder / "e before.jpg", Photograph("", "2004:06:16 07:10:06", kTaken));
    WriteFile(folder / "f progressive.jpg", Photograph("", kTaken, kTaken, progressive));
    WriteFile(folder / "g size.jpg", Photograph("", kTaken, kTaken, {}, 640));
    WriteFile(folder / "h cut.jpg", Bytes(sound.begin(), sound.end() - 40));
    WriteFile(folder / "i more.jpg", sound + ToBytes("hidden"));
    WriteFile(folder / "j future.jpg", Photograph("", kTaken, kTaken, {.seed = 3}));
    const utimbuf old{1000000000, 1000000000};
    ASSERT_EQ(utime((folder / "j future.jpg").c_str(), &old), 0);
    WriteFile(folder / "k empty.jpg", Bytes());
    Bytes foreign = MakeJpeg({.seed = 4});
    // The second table's last entry: the chrominance is no longer of the luminance's quality.
    const JpegStructure structure = ParseJpegStructure(foreign);
    std::size_t tables = 0;
    for (const JpegSegment& segment : structure.segments)
        if (segment.name == "DQT") tables = segment.PayloadOffset() + segment.PayloadSize();
    foreign[tables - 1] ^= 1;
    WriteFile(folder / "l tables.jpg", foreign);
    WriteFile(folder / "m notes.txt", std::string("Notes of the case.\n"));
    WriteFile(folder / "n none.jpg", Bytes(100, 0x17));

    const TableString table = ScanFolder(folder.Path(), WithoutThumbnails(), OrvJob()).table;
    ASSERT_EQ(table.size(), 15U);
    struct Expected {
        const char* name;
        const char* column;
        CellMark mark;
        const char* note;
    };
    using enum CellMark;
    const std::vector<Expected> expected = {
        {"b copy.jpg", "Same Content As", Doubtful, "Same content as \"a sound.jpg\""},
        {"c name.png", "Format", StandsOut, "extension"},
        {"d edited.jpg", "Software", StandsOut, "program for changing pictures"},
        {"d edited.jpg", "Date Changed", StandsOut, "Changed after"},
        {"e before.jpg", "Date Changed", StandsOut, "Changed before"},
        {"f progressive.jpg", "Coding", Doubtful, "Nothing found, but 1 hint: Progressive although"},
        {"g size.jpg", "Width", StandsOut, "states 640 x 32"},
        {"g size.jpg", "Height", StandsOut, "states 640 x 32"},
        {"h cut.jpg", "Structure", StandsOut, "."},
        {"i more.jpg", "Structure", Doubtful, "6 bytes follow"},
        {"j future.jpg", "Date Taken", Doubtful, "Taken after"},
        {"k empty.jpg", "Format", StandsOut, "empty"},
        {"l tables.jpg", "Quality", Doubtful, "chrominance table"},
        {"n none.jpg", "Format", StandsOut, "no known picture format"},
    };
    std::size_t marks = 0;
    for (std::size_t row = 1; row < table.size(); ++row)
        for (const std::string& cell : table[row]) marks += ParseCell(cell).mark == None ? 0 : 1;
    EXPECT_EQ(marks, expected.size()) << "a cell is marked without need";
    for (const Expected& one : expected) {
        const std::size_t row = RowOf(table, one.name);
        EXPECT_EQ(Mark(table, row, one.column), one.mark) << one.name << " " << one.column;
        EXPECT_THAT(Text(table, row, "Notes"), HasSubstr(one.note)) << one.name;
    }
    EXPECT_EQ(Text(table, 1, "Name"), "a sound.jpg");
    EXPECT_EQ(Text(table, 1, "Notes"), "");
    EXPECT_EQ(Text(table, 1, "Quality"), "80");
    EXPECT_EQ(Text(table, 1, "Subsampling"), "4:2:0");
    EXPECT_EQ(Text(table, 1, "Model"), "Model 1");
    EXPECT_EQ(Text(table, 1, "GPS"), "No");
    EXPECT_EQ(Text(table, 1, "SHA-256"), Sha256(std::span<const std::uint8_t>(sound)));
    EXPECT_EQ(Text(table, RowOf(table, "m notes.txt"), "Format"), "Text");
}

TEST(FolderTable, WhatCannotBeReadIsARowThatSaysSo) {
    const TemporaryFolder folder;
    WriteFile(folder / "readable.jpg", MakeJpeg());
    WriteFile(folder / "large.bin", Bytes(5000, 1));
    ASSERT_EQ(symlink("nowhere", (folder / "gone.jpg").c_str()), 0);
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    const std::string strange = "!\xFF=1+1\t.jpg";
    WriteFile(folder / strange, MakeJpeg());
    MakeFolder(folder / "sub");
    WriteFile(folder / "sub/deep.jpg", MakeJpeg());
    ASSERT_EQ(symlink(folder.Path().c_str(), (folder / "sub/loop").c_str()), 0);

    FolderScanOptions options = WithoutThumbnails();
    options.maximumBytes = 4000;
    TableString table = ScanFolder(folder.Path(), options, OrvJob()).table;
    ASSERT_EQ(table.size(), 5U) << "a named pipe is no file";
    EXPECT_THAT(Text(table, RowOf(table, "gone.jpg"), "Notes"), HasSubstr("No such file"));
    EXPECT_EQ(Mark(table, RowOf(table, "gone.jpg"), "Notes"), CellMark::StandsOut);
    EXPECT_THAT(Text(table, RowOf(table, "large.bin"), "Notes"), HasSubstr("more than"));
    EXPECT_EQ(Text(table, RowOf(table, "large.bin"), "Size (bytes)"), "5000");

    // The window finds the file again by the text in "Full Path"; its name colours nothing.
    bool wasFound = false;
    for (std::size_t row = 1; row < table.size(); ++row) {
        const std::string path = PathFromWx(ToWx(Text(table, row, "Full Path")));
        EXPECT_TRUE(path == folder / "gone.jpg" || FileExists(path)) << path;
        wasFound = wasFound || path == folder / strange;
        EXPECT_EQ(Mark(table, row, "Name"), CellMark::None);
    }
    EXPECT_TRUE(wasFound);

    options.includesSubfolders = true;
    table = ScanFolder(folder.Path(), options, OrvJob()).table;
    EXPECT_EQ(table.size(), 6U);
    EXPECT_EQ(Text(table, 5, "Name"), "deep.jpg");

    EXPECT_THROW(ScanFolder(folder / "absent", options, OrvJob()), ZorException);
    MakeFolder(folder / "sub/nothing");
    EXPECT_THROW(ScanFolder(folder / "sub/nothing", options, OrvJob()), ZorException);
}

// Present, whether the content is what was signed, and by whom.
TEST(FolderTable, CredentialsAreTold) {
    const TemporaryFolder folder;
    const storemaker::Signer signer = storemaker::MakeSigner();
    const Bytes sound = storemaker::SignedJpeg(MakeJpeg(), {}, signer);
    Bytes changed = sound;
    changed.at(changed.size() - 20) ^= 1;
    Bytes forged = sound;
    const std::string title = "made.jpg";
    const auto at = std::search(forged.begin(), forged.end(), title.begin(), title.end());
    ASSERT_NE(at, forged.end());
    *at = 'f';
    WriteFile(folder / "a sound.jpg", sound);
    WriteFile(folder / "b changed.jpg", changed);
    WriteFile(folder / "c forged.jpg", forged);
    WriteFile(folder / "d none.jpg", MakeJpeg());
    const TableString table = ScanFolder(folder.Path(), WithoutThumbnails(), OrvJob()).table;
    const char* const expected[] = {"Yes, content matches, signer ", "Yes, content differs, signer ",
                                    "Yes, no signature that verifies", "No"};
    for (std::size_t row = 0; row < 4; ++row) {
        EXPECT_THAT(Text(table, row + 1, "Content Credentials"), testing::StartsWith(expected[row]));
        EXPECT_EQ(Mark(table, row + 1, "Content Credentials") == CellMark::StandsOut, row == 1 || row == 2);
    }
}

TEST(FolderTable, ThumbnailsShowThePictureItself) {
    const TemporaryFolder folder;
    cv::Mat halves(600, 800, CV_8UC3, cv::Scalar(0, 0, 255));
    halves.colRange(400, 800) = cv::Scalar(255, 0, 0);
    for (const char* name : {"a.jpg", "b.png", "d.webp"})
        WriteFile(folder / name, EncodeImage(Image(halves), PathExtension(name)));
    WriteFile(folder / "c.txt", std::string("text"));
    const FolderTable result = ScanFolder(folder.Path(), {}, OrvJob());
    ASSERT_EQ(result.thumbnails.size(), 3U);
    const std::vector<std::string> cells = {"*IMG*0", "*IMG*1", "", "*IMG*2"};
    for (std::size_t row = 0; row < 4; ++row) EXPECT_EQ(Raw(result.table, row + 1, "Thumbnail"), cells[row]);
    for (const Image& thumbnail : result.thumbnails) {
        ASSERT_EQ(thumbnail.GetWidth(), 96);
        ASSERT_EQ(thumbnail.GetHeight(), 72);
        EXPECT_GT(thumbnail.GetMat().at<cv::Vec3b>(36, 20)[2], 240);
        EXPECT_GT(thumbnail.GetMat().at<cv::Vec3b>(36, 76)[0], 240);
        EXPECT_LT(thumbnail.GetMat().at<cv::Vec3b>(36, 76)[2], 15);
    }
    // A picture that is smaller than its thumbnail stays as it is; what is no picture has none.
    EXPECT_EQ(MakeThumbnail(MakeJpeg(), 96, OrvJob()).GetWidth(), 48);
    EXPECT_FALSE(MakeThumbnail(ToBytes("\xFF\xD8\xFF\xE0 no picture"), 96, OrvJob()).IsValid());
    EXPECT_FALSE(MakeThumbnail({}, 96, OrvJob()).IsValid());
}

TEST(FolderTable, SaysWhichPicturesAreTooManyForThumbnails) {
    const TemporaryFolder folder;
    for (const char* name : {"a.jpg", "b.txt", "c.jpg", "d.jpg", "e.txt"})
        WriteFile(folder / name, PathExtension(name) == "jpg" ? MakeJpeg() : ToBytes("text"));
    FolderScanOptions options;
    options.maximumThumbnails = 3;
    const FolderTable result = ScanFolder(folder.Path(), options, OrvJob());
    EXPECT_EQ(result.thumbnails.size(), 2U);
    const std::vector<std::string> cells = {"*IMG*0", "", "*IMG*1", "Not made", ""};
    for (std::size_t row = 1; row <= cells.size(); ++row)
        EXPECT_EQ(Raw(result.table, row, "Thumbnail"), cells[row - 1]);
    EXPECT_THAT(Text(result.table, 4, "Notes"), HasSubstr("No thumbnail: the folder has too many pictures."));
    EXPECT_EQ(Text(result.table, 5, "Notes"), "Same content as \"b.txt\".");

    const std::pair<std::size_t, int> sides[] = {{1, 96},      {10000, 96},    {20000, 68},
                                                 {100000, 30}, {10000000, 30}, {0, 96}};
    for (const auto& [files, side] : sides) EXPECT_EQ(FolderThumbnailSide(files, 96), side) << files;
    EXPECT_EQ(FolderThumbnailSide(20000, 40), 40);
}

TEST(FolderTable, HoldsEveryHashWhereAskedFor) {
    const TemporaryFolder folder;
    WriteFile(folder / "abc", std::string("abc"));
    WriteFile(folder / "empty", std::string());
    TableString table = ScanFolder(folder.Path(), WithoutThumbnails(), OrvJob()).table;
    EXPECT_THAT(table[0], testing::Not(testing::Contains("MD5")));
    EXPECT_EQ(table[1].size(), table[0].size());
    EXPECT_EQ(Text(table, 1, "Full Path"), folder / "abc");

    FolderScanOptions options = WithoutThumbnails();
    options.allHashes = true;
    table = ScanFolder(folder.Path(), options, OrvJob()).table;
    EXPECT_EQ(Text(table, 1, "MD5"), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(Text(table, 1, "SHA-1"), "a9993e364706816aba3e25717850c26c9cd0d89d");
    EXPECT_EQ(Text(table, 2, "MD5"), "d41d8cd98f00b204e9800998ecf8427e");
    const OrvFilePtr evidence = OrvLoadedFile::Load(folder / "abc", 1 << 20, OrvJob());
    table = CompareFolder(folder.Path(), *evidence, options, OrvJob()).table;
    EXPECT_EQ(Text(table, 1, "MD5"), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(Text(table, 1, "Notes"), "The evidence.");
    EXPECT_EQ(Text(table, 3, "Full Path"), folder / "empty");
}

TEST(FolderTable, ComparisonTellsDifferentFromContradictory) {
    const TemporaryFolder folder;
    WriteFile(folder / "evidence.jpg", Photograph("Ver.1.0", kTaken, kTaken));
    MakeFolder(folder / "f");
    WriteFile(folder / "f/a other camera.jpg", MakeJpeg({.quality = 60, .horizontal = 1, .vertical = 1}));
    WriteFile(folder / "f/b same camera.jpg",
              Photograph("Ver.1.0", kTaken, kTaken, {.horizontal = 1, .vertical = 1, .seed = 5}));
    WriteFile(folder / "f/c same settings.jpg",
              Photograph("Ver.1.0", kTaken, "2005:01:01 00:00:00", {.seed = 6}));
    WriteFile(folder / "f/d twin.jpg", Photograph("Ver.1.0", kTaken, kTaken));
    ASSERT_EQ(symlink("nowhere", (folder / "f/e gone.jpg").c_str()), 0);
    const OrvFilePtr evidence = OrvLoadedFile::Load(folder / "evidence.jpg", 1 << 20, OrvJob());
    const FolderTable result = CompareFolder(folder / "f", *evidence, {}, OrvJob());
    const TableString& table = result.table;
    ASSERT_EQ(table.size(), 7U);
    ASSERT_EQ(table[0][0], "Differences");
    const std::vector<std::pair<std::string, std::string>> order = {
        {"evidence.jpg", "0"},      {"c same settings.jpg", "0"}, {"d twin.jpg", "0"},
        {"b same camera.jpg", "1"}, {"a other camera.jpg", "7"},  {"e gone.jpg", ""}};
    for (std::size_t row = 1; row < table.size(); ++row) {
        EXPECT_EQ(Text(table, row, "Name"), order[row - 1].first);
        EXPECT_EQ(table[row][0], order[row - 1].second);
        EXPECT_EQ(table[row].size(), table[0].size());
    }
    const std::size_t same = RowOf(table, "b same camera.jpg");
    EXPECT_EQ(Mark(table, same, "Subsampling"), CellMark::StandsOut);
    EXPECT_EQ(Text(table, same, "Notes"), "Same camera, yet different: Subsampling.");
    const std::size_t other = RowOf(table, "a other camera.jpg");
    EXPECT_EQ(Mark(table, other, "Subsampling"), CellMark::Doubtful);
    EXPECT_EQ(Mark(table, other, "Quality"), CellMark::Doubtful);
    EXPECT_EQ(Mark(table, other, "Format"), CellMark::None);
    EXPECT_EQ(Text(table, RowOf(table, "d twin.jpg"), "Notes"), "Same content as the evidence.");
    EXPECT_EQ(ParseCell(Raw(table, 1, "Thumbnail")).thumbnail, 4);
    EXPECT_EQ(result.thumbnails.size(), 5U);
}

TEST(FolderTable, TenThousandFilesAreStoppedHalfWay) {
    const TemporaryFolder folder;
    WriteFile(folder / "0.jpg", MakeJpeg({.width = 256, .height = 256}));
    for (int i = 1; i < 10000; ++i)
        ASSERT_EQ(link((folder / "0.jpg").c_str(), (folder / (std::to_string(i) + ".jpg")).c_str()), 0);

    using Clock = std::chrono::steady_clock;
    std::stop_source stop;
    Clock::time_point asked;
    double progressThen = 0;
    std::string textThen;
    acvResetProgress();
    std::jthread user([&] {
        while (acvGetProgress() < 0.5) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        progressThen = acvGetProgress();
        textThen = acvGetProgressString();
        asked = Clock::now();
        stop.request_stop();
    });
    try {
        ScanFolder(folder.Path(), {}, OrvJob(stop.get_token()));
        ADD_FAILURE() << "it was not stopped";
    } catch (const ZorException& exception) {
        EXPECT_EQ(exception.GetKind(), ZorException::Kind::Aborted);
    }
    user.join();
    EXPECT_LT(std::chrono::duration<double>(Clock::now() - asked).count(), 1.0)
        << "the other half takes longer";
    EXPECT_LT(progressThen, 0.9);
    EXPECT_THAT(textThen, testing::MatchesRegex("File [0-9]+ of 10000: [0-9]+\\.jpg(, [0-9]+ s left)?"));
    acvResetProgress();

    const TableString table = ScanFolder(folder.Path(), WithoutThumbnails(), OrvJob()).table;
    ASSERT_EQ(table.size(), 10001U);
    for (const std::size_t i : {1U, 2U, 11U, 5000U, 10000U})
        EXPECT_EQ(Text(table, i, "Name"), std::to_string(i - 1) + ".jpg");
}

TEST(FolderTable, AgreesWithIndependentToolsOnRealFiles) {
    NEED_FIXTURES();
    FolderScanOptions options = WithoutThumbnails();
    options.includesSubfolders = true;
    const TableString table = ScanFolder(Fixtures(), options, OrvJob()).table;
    std::map<std::string, std::size_t> rows;
    for (std::size_t row = 1; row < table.size(); ++row) rows[Text(table, row, "Full Path")] = row;
    const Json expected = JsonFromText(ReadFile(Fixtures() + "/oracle/expected.json"));
    const auto text = [](const Json& value) {
        return value.is_null() ? std::string() : Trim(value.get<std::string>());
    };
    int qualities = 0;
    for (const Json& one : expected) {
        const std::string path = Fixtures() + "/" + one["path"].get<std::string>();
        SCOPED_TRACE(path);
        ASSERT_TRUE(rows.contains(path));
        const std::size_t row = rows[path];
        const auto cell = [&](const char* label) { return Text(table, row, label); };
        EXPECT_EQ(cell("Size (bytes)"), std::to_string(one["size"].get<int>()));
        EXPECT_EQ(cell("SHA-256"), one["sha256"].get<std::string>());
        EXPECT_EQ(cell("Make"), text(one["make"]));
        EXPECT_EQ(cell("Model"), text(one["model"]));
        // That tool was asked for what EXIF says.
        const bool isFromXmp = cell("Notes").find("Told by XMP only") != std::string::npos;
        if (!isFromXmp) {
            EXPECT_EQ(cell("Software"), text(one["software"]));
        }
        if (one["width"].is_number()) {
            EXPECT_EQ(cell("Width"), std::to_string(one["width"].get<int>()));
        }
        // 0 is a height that the frame defers to a later segment.
        if (one["height"].is_number() && one["height"].get<int>() > 0) {
            EXPECT_EQ(cell("Height"), std::to_string(one["height"].get<int>()));
        }
        if (one["thumbnail"].is_object()) {
            EXPECT_EQ(cell("Thumbnail Size (bytes)"), std::to_string(one["thumbnail"]["bytes"].get<int>()));
            EXPECT_EQ(cell("Thumbnail SHA-256"), one["thumbnail"]["sha256"].get<std::string>());
        }
        const bool hasPosition =
            one["gps"].is_array() && one["gps"][0].is_number() && one["gps"][1].is_number();
        EXPECT_EQ(cell("GPS"), hasPosition ? "Yes" : "No");
        std::vector<std::string> markers;
        for (const Json& marker : one["markers_until_sos"])
            markers.push_back(JpegMarkerName(
                static_cast<std::uint8_t>(std::stoi(marker.get<std::string>().substr(4), nullptr, 16))));
        EXPECT_EQ(cell("Segments"), Join(markers, " "));
        static const std::map<std::string, std::string> kSubsampling = {
            {"2 2", "4:2:0"}, {"1 1", "4:4:4"}, {"2 1", "4:2:2"}, {"1 2", "4:4:0"}, {"4 1", "4:1:1"}};
        if (one["subsampling"].is_string()) {
            EXPECT_EQ(cell("Subsampling"), kSubsampling.at(one["subsampling"].get<std::string>()));
        }
        EXPECT_EQ(cell("Coding").find("rogressive") != std::string::npos,
                  one["encoding_process"].get<int>() == 2);
        // Where a table is standard and the two tools agree on it: each has its own approximation for others.
        const std::string quality = cell("Quality");
        const Json& judged = one["quality"];
        if (!quality.starts_with("about") && judged["imagemagick"].is_string() &&
            judged["jhead"].is_number() &&
            judged["imagemagick"].get<std::string>() == std::to_string(judged["jhead"].get<int>())) {
            EXPECT_EQ(quality, judged["imagemagick"].get<std::string>());
            ++qualities;
        }
    }
    EXPECT_GT(qualities, 50);
}
