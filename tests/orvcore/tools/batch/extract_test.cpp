#include "orvcore/tools/batch/extract.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "tests/orvcore/formats/formatsupport.h"
#include "tests/support/testcore.h"

using namespace formatsupport;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

class Extract : public testing::Test {
  protected:
    std::string Jpegs(const std::string& name, const Bytes& content) {
        WriteFile(folder / name, content);
        return ExtractEmbeddedJpegs(folder / name, 1 << 20, OrvJob());
    }
    std::string Pdf(const std::string& name, const std::string& content) {
        WriteFile(folder / name, content);
        return ExtractPdfImages(folder / name, settings, 1 << 20, OrvJob());
    }
    static std::vector<std::string> Names(const std::string& path) {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
    static std::string MessageOf(const std::function<void()>& work) {
        try {
            work();
        } catch (const ZorException& error) {
            return error.GetMessage();
        }
        return "nothing was thrown";
    }

    CaseFolder folder;
    const Bytes jpeg = MakeJpeg();
    VecParameter settings = {Parameter::Int("first", "", 1, 1, 9), Parameter::Int("last", "", 0, 0, 9),
                             Parameter::Bool("j2k", "", false),    Parameter::Bool("jbig2", "", true),
                             Parameter::Bool("ccitt", "", true),   Parameter::String("owner", "", ""),
                             Parameter::String("user", "", "")};
    // One page with one picture of one grey sample.
    const std::string document =
        "%PDF-1.4\n1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj\n"
        "2 0 obj<</Type/Pages/Kids[3 0 R]/Count 1>>endobj\n"
        "3 0 obj<</Type/Page/Parent 2 0 R/MediaBox[0 0 9 9]/Resources<</XObject<</I 4 0 R>>>>>>endobj\n"
        "4 0 obj<</Type/XObject/Subtype/Image/Width 1/Height 1/BitsPerComponent 8/ColorSpace/DeviceGray"
        "/Length 1>>stream\nA\nendstream endobj\ntrailer<</Root 1 0 R/Size 5>>\n";
};

}  // namespace

TEST_F(Extract, EachContentHasAFolderOfItsOwnAwayFromTheFile) {
    const std::string one = Jpegs("case/a.bin", Bytes(9, 7) + jpeg);
    EXPECT_THAT(one, StartsWith(folder / "documents/extracted/a.bin-"));
    ASSERT_EQ(Names(one).size(), 1U);
    EXPECT_EQ(ReadFileBytes(one + "/" + Names(one)[0]), jpeg);
    EXPECT_EQ(Jpegs("case/a.bin", Bytes(9, 7) + jpeg), one);
    EXPECT_NE(Jpegs("other/a.bin", Bytes(8, 7) + jpeg), one);
    EXPECT_EQ(Jpegs("case/none.bin", Bytes(9, 7)), "");
    EXPECT_EQ(Names(folder / "case"), (std::vector<std::string>{"a.bin", "none.bin"}));
}

TEST_F(Extract, TheLongestNamesStillHaveRoomForMore) {
    const std::string bytes = std::string(251, 'n');
    const std::string letters = []() {
        std::string text;
        for (int i = 0; i < 83; ++i) text += "\xE2\x82\xAC";
        return text;
    }();
    EXPECT_EQ(Names(Jpegs(bytes + ".bin", Bytes(9, 7) + jpeg)).size(), 1U);
    EXPECT_EQ(Names(Pdf(bytes + ".pdf", document)).size(), 2U)
        << "the picture, and a word on the lacking table";
    const std::string cut = Jpegs(letters + ".bin", Bytes(9, 7) + jpeg);
    EXPECT_EQ(ToValidUtf8(cut), cut);
}

TEST_F(Extract, WhatCouldNotBeSearchedIsTold) {
    const Bytes locked = MakeZip({{"locked.jpg", MakeJpeg({.seed = 5}), true, true}});
    EXPECT_THAT(MessageOf([&] { Jpegs("a.docx", locked); }),
                AllOf(StartsWith("\"a.docx\": "), HasSubstr("locked.jpg is encrypted")));
    EXPECT_FALSE(FolderExists(folder / "documents/extracted"));
    const std::string found =
        Jpegs("b.docx", MakeZip({{"a.jpg", jpeg}, {"locked.jpg", MakeJpeg({.seed = 5}), true, true}}));
    ASSERT_EQ(Names(found).size(), 2U);
    EXPECT_THAT(ReadFile(found + "/warnings.txt"), HasSubstr("locked.jpg is encrypted"));
}

TEST_F(Extract, AFailureNamesTheFile) {
    EXPECT_THAT(MessageOf([&] { Pdf("no.pdf", "no document"); }), StartsWith("\"no.pdf\": "));
    EXPECT_THAT(MessageOf([&] {
                    settings[0].SetValue(2);
                    Pdf("short.pdf", document);
                }),
                AllOf(StartsWith("\"short.pdf\": "), HasSubstr("1 pages")));
    EXPECT_THAT(MessageOf([&] { ExtractEmbeddedJpegs(folder / "gone", 1, OrvJob()); }), HasSubstr("gone"));
}

// A thumbnail of the EXIF block is taken out under a name that tells where it was, and nothing is written over.
TEST_F(Extract, TakesOnePictureOutAndOverwritesNothing) {
    const Bytes thumbnail = MakeJpeg({.width = 16, .height = 12, .seed = 4});
    const auto size = static_cast<std::uint32_t>(thumbnail.size());
    const Bytes tiff =
        Tiff({.second = {{0x0103, 3, {6}}, {0x0201, 4, {3400}}, {0x0202, 4, {size}}}, .behind = thumbnail});
    const Bytes content = WithExif(tiff);
    WriteFile(folder / "case/a.jpg", content);
    const auto load = [&](const std::string& path) { return OrvLoadedFile::Load(path, 1 << 20, OrvJob()); };
    const OrvFilePtr file = load(folder / "case/a.jpg");
    const std::string path = ExtractPictureInFile(*file, 2, OrvJob());
    EXPECT_EQ(ReadFileBytes(path), thumbnail);
    const auto found = std::search(content.begin(), content.end(), thumbnail.begin(), thumbnail.end());
    EXPECT_EQ(PathName(path), "a-2-thumbnail-at-" + std::to_string(found - content.begin()) + ".jpg");
    EXPECT_THAT(path, StartsWith(folder / "documents"));
    EXPECT_EQ(Names(folder / "case"), std::vector<std::string>{"a.jpg"});
    // The same again is the same file; what somebody changed there stays.
    EXPECT_EQ(ExtractPictureInFile(*file, 2, OrvJob()), path);
    WriteFile(path, std::string("a note"));
    const std::string other = ExtractPictureInFile(*file, 2, OrvJob());
    EXPECT_NE(other, path);
    EXPECT_EQ(ReadFile(path), "a note");
    EXPECT_EQ(ReadFileBytes(other), thumbnail);
    for (const int number : {0, 1, 3, -5})
        EXPECT_THAT(MessageOf([&] { ExtractPictureInFile(*file, number, OrvJob()); }),
                    StartsWith("\"a.jpg\": "))
            << number;
    // A hidden name does not stay hidden.
    WriteFile(folder / "case/.jpg", content);
    EXPECT_THAT(PathName(ExtractPictureInFile(*load(folder / "case/.jpg"), 2, OrvJob())), StartsWith("file"));
}
