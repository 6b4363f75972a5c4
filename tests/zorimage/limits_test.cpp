// What is refused, with the words that say why: pictures too large for their file or for their format, and files without one.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <opencv2/core.hpp>

#include "tests/support/temporaryfolder.h"
#include "tests/zorimage/maketiff.h"
#include "tests/zorimage/samples.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"

namespace {

std::string Refusal(const Bytes& bytes) {
    try {
        DecodeImage(bytes);
        return "decoded";
    } catch (const ZorException& exception) {
        return exception.GetMessage();
    }
}

// The bytes with numbers of that many bytes put at places.
Bytes With(Bytes bytes, const std::vector<std::pair<std::size_t, std::uint32_t>>& numbers, int size,
           bool isBig) {
    for (const auto& [at, number] : numbers)
        for (int i = 0; i < size; ++i)
            bytes.at(at + static_cast<std::size_t>(i)) =
                static_cast<std::uint8_t>(number >> (8 * (isBig ? size - 1 - i : i)));
    return bytes;
}

std::size_t Find(const Bytes& bytes, std::uint8_t a, std::uint8_t b) {
    for (std::size_t at = 0; at + 1 < bytes.size(); ++at)
        if (bytes[at] == a && bytes[at + 1] == b) return at;
    return 0;
}

TEST(Limits, WidthAndHeightAreNamedInTheirOrder) {
    const Bytes jpeg = EncodeImage(samples::MakeScene(4, 4, 3), "jpg");
    const std::size_t frame = Find(jpeg, 0xff, 0xc0);
    const Bytes png = EncodeImage(samples::MakeScene(4, 4, 3), "png");
    const Bytes bmp = EncodeImage(samples::MakeScene(4, 4, 3), "bmp");
    const Bytes gif = samples::MakeGif(2, 2, {0, 1, 2, 3}, false);
    const std::size_t size = Find(samples::kGreyJp2, 0xff, 0x51);
    const Bytes tiff = samples::MakeTiff({.width = 40000,
                                          .height = 30000,
                                          .samples = 1,
                                          .stripRows = 30000,
                                          .compression = 5,
                                          .value = [](int, int, int) { return 0U; },
                                          .isEmpty = true});
    const auto sided = [](const Bytes& bytes, std::size_t start) {
        return With(bytes, {{start + 5, 30000}, {start + 7, 40000}}, 2, true);
    };
    const Bytes greyJpeg = EncodeImage(samples::MakeScene(4, 4, 1), "jpg");
    const Bytes& scans = samples::kProgressiveJpeg;
    const struct {
        const char* name;
        Bytes bytes;
        int perPixel;  // bytes of memory: of a JPEG with scans each coefficient is kept
    } files[] = {
        {"jpeg", sided(jpeg, frame), 3},
        {"grey jpeg", sided(greyJpeg, Find(greyJpeg, 0xff, 0xc0)), 1},
        {"ink jpeg", sided(samples::kInkJpeg, Find(samples::kInkJpeg, 0xff, 0xc0)), 3},
        {"jpeg with scans", sided(scans, Find(scans, 0xff, 0xc2)), 3 + 2 * 3},
        {"png", With(png, {{16, 40000}, {20, 30000}}, 4, true), 4},
        {"deep png", With(With(png, {{16, 40000}, {20, 30000}}, 4, true), {{24, 16}}, 1, true), 8},
        {"bmp", With(bmp, {{18, 40000}, {22, 30000}}, 4, false), 4},
        {"gif", With(gif, {{6, 40000}, {8, 30000}}, 2, false), 4},
        {"jp2",
         With(samples::kGreyJp2,
              {{size + 6, 40000}, {size + 10, 30000}, {size + 22, 40000}, {size + 26, 30000}}, 4, true),
         8 + 8},
        {"tiff", tiff, 4}};
    for (const auto& [name, bytes, perPixel] : files) {
        const std::uint64_t megabytes = std::uint64_t{40000} * 30000 * static_cast<unsigned>(perPixel) >> 20;
        EXPECT_EQ(Refusal(bytes), "The file says that its picture has 40000 x 30000 pixels, which take " +
                                      std::to_string(megabytes) + " MB to decode; its " +
                                      std::to_string(bytes.size()) + " bytes cannot hold so many.")
            << name;
    }
}

// The library found in a folder where the parts that it loads late do not lie.
TEST(Limits, AFormatWhosePartIsMissingSaysSo) {
    const TemporaryFolder folder;
    Dl_info library{};
    ASSERT_NE(dladdr(reinterpret_cast<const void*>(&IsReadableFormat), &library), 0);
    const std::string name = PathName(library.dli_fname);
    std::filesystem::create_symlink(library.dli_fname, folder / name);
    const std::string command = "LD_LIBRARY_PATH='" + folder.Path() + "' '" +
                                std::filesystem::read_symlink("/proc/self/exe").string() +
                                "' --gtest_filter=Decode.FilesOfOtherTools > '" + (folder / "said") +
                                "' 2>&1";
    EXPECT_NE(std::system(command.c_str()), 0);
    EXPECT_NE(
        ReadFile(folder / "said").find("The part of the program that reads this format cannot be loaded: "),
        std::string::npos);
}

TEST(Limits, FormatsHoldSoManyPixelsInARow) {
    const struct {
        const char* extension;
        int most;
    } rows[] = {{"jpg", 65500}, {"webp", 16383}};
    for (const auto& row : rows)
        for (const bool isWide : {false, true}) {
            const auto image = [isWide](int side) {
                return samples::MakeScene(isWide ? side : 1, isWide ? 1 : side, 1);
            };
            EXPECT_EQ(ReadImageInfo(EncodeImage(image(row.most), row.extension)).width,
                      isWide ? row.most : 1);
            EXPECT_THROW(EncodeImage(image(row.most + 1), row.extension), ZorException)
                << row.extension << isWide;
        }
}

TEST(Limits, FilesWithoutAPictureSayWhatTheyLack) {
    const Bytes gif = samples::MakeGif(2, 2, {0, 1, 2, 3}, false);
    Bytes bare(gif.begin(), gif.begin() + 25);
    bare.push_back(';');
    const std::pair<Bytes, const char*> rows[] = {
        {bare, "The GIF file holds no picture."},
        {With(gif, {{25 + 5, 0}}, 2, false), "The GIF file's first picture has no pixels."},
        {With(gif, {{25 + 7, 0}}, 2, false), "The GIF file's first picture has no pixels."},
        {{'G', 'I', 'F', '8', '9', 'a'}, "The GIF file cannot be decoded: "},
        {Bytes(gif.begin(), gif.begin() + 20), "The GIF file cannot be decoded: "},
        {Bytes(samples::kTurnedAvif.begin(), samples::kTurnedAvif.end() - 60),
         "The file cannot be decoded: "},
        {Bytes(samples::kColourHeic.begin(), samples::kColourHeic.end() - 60),
         "The file cannot be decoded: "},
        {{'R', 'I', 'F', 'F', 4, 0, 0, 0, 'W', 'E', 'B', 'P'},
         "The WebP file cannot be decoded: its headers are damaged or cut off."},
        {{'a', 'b', 'c'}, "The file is of the format Text, which cannot be shown as a picture."},
        {{0, 1, 2}, "The file is not of a format that can be shown as a picture."}};
    for (const auto& [bytes, text] : rows) EXPECT_EQ(Refusal(bytes).rfind(text, 0), 0U) << Refusal(bytes);
}

TEST(Limits, FurtherSamplesOfInkAndPalettesAreNoOpacity) {
    const std::vector<std::string> left = {"Further samples of each pixel, left out: 1."};
    const DecodedImage ink = DecodeImage(samples::MakeTiff({.samples = 5, .photometric = 5, .extra = {2}}));
    EXPECT_EQ(ink.image.GetChannels(), 3);
    EXPECT_EQ(ink.warnings, left);
    const DecodedImage palette = DecodeImage(samples::MakeTiff(
        {.samples = 2, .photometric = 3, .extra = {2}, .palette = std::vector<std::uint32_t>(768, 60000)}));
    EXPECT_EQ(palette.image.GetChannels(), 3);
    EXPECT_EQ(palette.warnings, left);
    // What the library finds odd is told in its words.
    Bytes odd = samples::MakeTiff({});
    const std::size_t tag = odd.size() - 4 - 12;  // of the last entry
    ASSERT_EQ(odd[tag] + 256 * odd[tag + 1], 284);
    odd[tag + 1] = 0xea;
    const ImageInfo info = ReadImageInfo(odd);
    ASSERT_EQ(info.warnings.size(), 1U);
    EXPECT_NE(info.warnings[0].find("Unknown field with tag"), std::string::npos) << info.warnings[0];
}

TEST(Limits, ASensorThatTheBytesCannotHoldIsInvented) {
    Bytes dng = samples::MakeDng(32, 24);
    ASSERT_TRUE(ReadImageInfo(dng).warnings.empty());
    const std::size_t first = 8 + 2 + 8;  // the value of the first entry
    const auto told = [](const Bytes& bytes) {
        std::string all;
        for (const std::string& warning : ReadImageInfo(bytes).warnings) all += warning;
        return all;
    };
    const std::string wide = told(With(dng, {{first + 12, 2000}, {first + 24, 1000}}, 4, false));
    EXPECT_NE(wide.find("File ends early: its " + std::to_string(dng.size()) +
                        " bytes cannot hold the 2000000 pixels of the sensor"),
              std::string::npos)
        << wide;
}

}  // namespace
