#include "orvcore/formats/structure/picturesinfile.h"

#include <gtest/gtest.h>

#include "tests/orvcore/formats/structure/structuresupport.h"

using namespace formatsupport;
using namespace structuresupport;

namespace {

using Kind = FilePicture::Kind;
using Access = FilePicture::Access;

std::vector<FilePicture> Read(const Bytes& bytes) {
    return ReadPicturesInFile(bytes, ReadFileStructure(bytes));
}

// "kind width x height" of each.
std::string Outline(const std::vector<FilePicture>& pictures) {
    std::string text;
    for (const FilePicture& picture : pictures)
        text += FilePictureKindText(picture.kind) + " " + std::to_string(picture.width) + " x " +
                std::to_string(picture.height) + (picture.role.empty() ? "" : " " + picture.role) + "\n";
    return text;
}

Bytes ExifWithThumbnail(const Bytes& thumbnail) {
    Bytes tiff = TiffHeader(false, 8);
    AppendDirectory(tiff, {{0x0112, 3, 1, 1}}, 26);
    AppendDirectory(tiff, {{0x0201, 4, 1, 56}, {0x0202, 4, 1, thumbnail.size()}}, 0);
    return ToBytes(std::string("Exif\0\0", 6)) + tiff + thumbnail;
}

TEST(PicturesInFile, JpegWithThumbnailGainMapAndFurtherPicture) {
    const Bytes thumbnail = MakeJpeg({.width = 16, .height = 12});
    const Bytes main = MakeJpeg({.segments = {{1, ExifWithThumbnail(thumbnail)}}});
    const Bytes gain = MakeJpeg(
        {.width = 24,
         .height = 16,
         .segments = {
             {1, ToBytes(std::string(
                     "http://ns.adobe.com/xap/1.0/\0<x xmlns:g='http://ns.adobe.com/hdr-gain-map/1.0/'/>",
                     82))}}});
    const Bytes other = MakeJpeg({.width = 32, .height = 32, .seed = 5});
    const Bytes file = main + gain + other;
    const auto pictures = Read(file);
    EXPECT_EQ(
        Outline(pictures),
        "primary picture 48 x 32\nthumbnail 16 x 12 IFD1\nauxiliary picture 24 x 16 gain map\nfurther picture 32 x 32\n");
    ASSERT_EQ(pictures.size(), 4U);
    EXPECT_EQ(pictures[0].size, main.size());
    EXPECT_EQ(ExtractFilePicture(file, pictures[0]), file);
    EXPECT_EQ(ExtractFilePicture(file, pictures[1]), thumbnail);
    EXPECT_EQ(ExtractFilePicture(file, pictures[2]), gain);
    EXPECT_EQ(ExtractFilePicture(file, pictures[3]), other);
}

TEST(PicturesInFile, PagesOfATiffAreReachedByTheirDirectory) {
    Bytes tiff = TiffHeader(false, 20) + Bytes(12, 0xAA);
    const auto page = [](unsigned width, unsigned type, std::uint64_t strip) {
        return std::vector<TiffRecipeEntry>{{0x00FE, 4, 1, type}, {0x0100, 3, 1, width}, {0x0101, 3, 1, 2},
                                            {0x0103, 3, 1, 5},    {0x0111, 4, 1, strip}, {0x0117, 4, 1, 4}};
    };
    const std::size_t size = 2 + 6 * 12 + 4;
    AppendDirectory(tiff, page(5, 1, 8), 20 + size);
    AppendDirectory(tiff, page(50, 0, 12), 20 + 2 * size);
    AppendDirectory(tiff, page(60, 2, 16), 0);
    const auto pictures = Read(tiff);
    EXPECT_EQ(Outline(pictures), "primary picture 50 x 2\npreview 5 x 2\npage 60 x 2\n");
    ASSERT_EQ(pictures.size(), 3U);
    EXPECT_EQ(pictures[2].format, "LZW");
    const auto third = ExtractFilePicture(tiff, pictures[2]);
    ASSERT_TRUE(third);
    const auto again = Read(*third);
    ASSERT_FALSE(again.empty());
    EXPECT_EQ(again[0].width, 60);
    EXPECT_EQ(third->size(), tiff.size());
}

TEST(PicturesInFile, ItemsOfAPictureFile) {
    const Bytes heif = MakeHeif();
    const auto pictures = Read(heif);
    EXPECT_EQ(Outline(pictures),
              "primary picture 640 x 480\nauxiliary picture 0 x 0 gain map\nthumbnail 0 x 0\n");
    ASSERT_EQ(pictures.size(), 3U);
    EXPECT_EQ(pictures[0].size, 4U);
    const auto thumbnail = ExtractFilePicture(heif, pictures[2]);
    ASSERT_TRUE(thumbnail);
    EXPECT_EQ(FindRow(ReadFileStructure(*thumbnail), "pitm")->text, "primary item 2");
}

TEST(PicturesInFile, FramesOfAnimations) {
    const Bytes gif = MakeGif(3);
    const auto frames = Read(gif);
    ASSERT_EQ(frames.size(), 3U);
    EXPECT_EQ(frames[0].access, Access::Whole);
    EXPECT_EQ(frames[2].where, "frame 3");
    const auto frame = ExtractFilePicture(gif, frames[2]);
    ASSERT_TRUE(frame);
    const FileStructure single = ReadFileStructure(*frame);
    EXPECT_TRUE(single.warnings.empty());
    EXPECT_EQ(FindRow(single, "screen descriptor")->text, "2 x 1");
    EXPECT_EQ(Outline(Read(MakeGif(1))), "primary picture 4 x 2\n");

    const Bytes webp = MakeWebp(true);
    const auto two = Read(webp);
    ASSERT_EQ(two.size(), 2U);
    const auto second = ExtractFilePicture(webp, two[1]);
    ASSERT_TRUE(second);
    EXPECT_TRUE(ReadFileStructure(*second).warnings.empty());
    EXPECT_EQ(Outline(Read(*second)), "primary picture 3 x 2\n");

    Bytes control;
    for (const unsigned value : {0U, 3U, 2U, 0U, 0U}) AppendBig(control, value, 4);
    const Bytes png = MakePng();
    Bytes later = control;
    later[3] = 1;
    later[7] = 1;
    const Bytes animated = Bytes(png.begin(), png.begin() + 33) + PngChunk("acTL", {0, 0, 0, 2, 0, 0, 0, 0}) +
                           PngChunk("fcTL", control + Bytes(6, 0)) + PngChunk("IDAT", {1, 2, 3}) +
                           PngChunk("fcTL", later + Bytes(6, 0)) + PngChunk("fdAT", {0, 0, 0, 2, 9, 9}) +
                           PngChunk("IEND", {});
    const auto pages = Read(animated);
    ASSERT_EQ(pages.size(), 2U);
    const auto page = ExtractFilePicture(animated, pages[1]);
    ASSERT_TRUE(page);
    const FileStructure still = ReadFileStructure(*page);
    EXPECT_TRUE(still.warnings.empty()) << still.warnings.front();
    EXPECT_EQ(FindRow(still, "IHDR")->text, "1 x 2, 8 bit, grey");
    EXPECT_EQ(FindRow(still, "IDAT")->length, 14U);
}

TEST(PicturesInFile, RealFilesWithSeveralPictures) {
    NEED_FIXTURES();
    const auto count = [](const std::string& path, Kind kind) {
        std::size_t found = 0;
        for (const FilePicture& picture : Read(ReadFileBytes(Fixtures() + "/" + path)))
            if (picture.kind == kind) ++found;
        return found;
    };
    EXPECT_EQ(count("found/sugarshack.mpo", Kind::Primary) + count("found/sugarshack.mpo", Kind::Further),
              2U);
    EXPECT_EQ(count("cameras/heic/cheers_1440x960.heic", Kind::Thumbnail), 1U);
    EXPECT_EQ(count("provenance/t-data-ps384.heic", Kind::Auxiliary), 1U);
    EXPECT_EQ(count("cameras/avif/32Bit-72dpi-sRGB-800x600.avif", Kind::Part), 4U);
    EXPECT_EQ(count("cameras/gif/pbar-ani-invalid-XMP.gif", Kind::Frame), 22U);
    EXPECT_EQ(count("provenance/C.dng", Kind::Preview), 4U);
    EXPECT_EQ(count("synth/jpegstruct/two_concatenated.jpg", Kind::Further), 1U);
}

}  // namespace
