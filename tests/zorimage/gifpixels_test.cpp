// GIF files, block by block: which palette, which colour is clear, where the first picture stands and what is left of a cut one.

#include <gtest/gtest.h>

#include <opencv2/core.hpp>

#include "tests/zorimage/samples.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"

namespace {

using samples::operator+;
using samples::Append16;

// 2^(bits + 1) colours of blue = first + index, green 7, red 9.
Bytes Palette(int bits, int first) {
    Bytes bytes;
    for (int i = 0; i < 3 * (2 << bits); ++i)
        bytes.push_back(static_cast<std::uint8_t>(i % 3 == 0 ? 9 : i % 3 == 1 ? 7 : first + i / 3));
    return bytes;
}

Bytes Screen(int width, int height, int flags) {
    Bytes bytes;
    samples::AppendText(bytes, "GIF89a");
    Append16(bytes, static_cast<std::uint32_t>(width));
    Append16(bytes, static_cast<std::uint32_t>(height));
    return bytes + Bytes{static_cast<std::uint8_t>(flags), 0, 0};
}

Bytes Descriptor(int left, int top, int width, int height, int flags) {
    Bytes bytes = {','};
    for (const int value : {left, top, width, height}) Append16(bytes, static_cast<std::uint32_t>(value));
    bytes.push_back(static_cast<std::uint8_t>(flags));
    return bytes;
}

// The pixel data of MakeGif: codes of three bits.
Bytes Data(const std::vector<int>& pixels) {
    const Bytes gif = samples::MakeGif(static_cast<int>(pixels.size()), 1, pixels, false);
    return Bytes(gif.begin() + 13 + 12 + 10, gif.end() - 1);
}

const Bytes kEnd = {';'};
const Bytes kComment = {'!', 0xfe, 3, 'a', ',', ';', 0};

Bytes Clear(int index, int flags = 1) {
    return {'!', 0xf9, 4, static_cast<std::uint8_t>(flags), 0, 0, static_cast<std::uint8_t>(index), 0};
}

std::string Row(const Bytes& gif, int y = 0) {
    const cv::Mat pixels = DecodeImage(gif).image.GetMat();
    std::string text;
    for (int x = 0; x < pixels.cols; ++x) {
        const std::uint8_t* p = pixels.ptr(y) + static_cast<std::ptrdiff_t>(x) * pixels.channels();
        text += std::to_string(p[0]) + (pixels.channels() == 4 && p[3] == 0 ? "-" : "") + " ";
        EXPECT_TRUE(p[1] == 7 || p[0] == 0) << x;
        EXPECT_TRUE(p[2] == 9 || p[0] == 0) << x;
    }
    return text;
}

TEST(GifPixels, PalettesAndClearColours) {
    const Bytes data = Data({0, 1, 2, 3});
    const Bytes plain = Descriptor(0, 0, 4, 1, 0);
    const Bytes own = Descriptor(0, 0, 4, 1, 0x81) + Palette(1, 40);
    const struct {
        const char* what;
        Bytes gif;
        const char* row;
        const char* info;
    } rows[] = {
        {"of the screen", Screen(4, 1, 0x81) + Palette(1, 20) + plain + data + kEnd, "20 21 22 23 ",
         "2b LZW, Palette (4)"},
        {"of its own", Screen(4, 1, 0x81) + Palette(1, 20) + own + data + kEnd, "40 41 42 43 ",
         "2b LZW, Palette (4)"},
        {"of its own alone", Screen(4, 1, 0) + own + data + kEnd, "40 41 42 43 ", "2b LZW, Palette (4)"},
        {"another size of its own",
         Screen(4, 1, 0x81) + Palette(1, 20) + Descriptor(0, 0, 4, 1, 0x84) + Palette(4, 50) + data + kEnd,
         "50 51 52 53 ", "5b LZW, Palette (32)"},
        {"too few colours", Screen(4, 1, 0x80) + Palette(0, 20) + plain + data + kEnd, "20 21 0 0 ",
         "1b LZW, Palette (2)"},
        {"one clear", Screen(4, 1, 0x81) + Palette(1, 20) + Clear(1) + plain + data + kEnd, "20 21- 22 23 ",
         "2b LZW, Palette (4)"},
        {"a clear colour that is switched off",
         Screen(4, 1, 0x81) + Palette(1, 20) + Clear(1, 0) + plain + data + kEnd, "20 21 22 23 ",
         "2b LZW, Palette (4)"},
        {"the last word on it",
         Screen(4, 1, 0x81) + Palette(1, 20) + Clear(1) + Clear(3) + kComment + plain + data + kEnd,
         "20 21 22 23- ", "2b LZW, Palette (4)"},
        {"a later picture's is not asked",
         Screen(4, 1, 0x81) + Palette(1, 20) + plain + data + Clear(0) + Descriptor(0, 0, 4, 1, 0xc5) +
             Palette(5, 90) + data + kEnd,
         "20 21 22 23 ", "2b LZW, Palette (4)"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Row(row.gif), row.row) << row.what;
        const ImageInfo info = ReadImageInfo(row.gif);
        EXPECT_EQ(std::to_string(info.bitsPerSample) + "b " + info.compression + ", " + info.colourModel,
                  row.info)
            << row.what;
        EXPECT_TRUE(info.warnings.empty()) << row.what;
    }
    EXPECT_THROW(DecodeImage(Screen(4, 1, 0) + plain + data + kEnd), ZorException) << "no palette";
    EXPECT_THROW(DecodeImage(Screen(4, 1, 0x81) + Palette(1, 20) + kComment + kEnd), ZorException)
        << "no picture";
}

TEST(GifPixels, ThePictureStandsOnItsCanvas) {
    const Bytes head = Palette(1, 20);
    const Bytes data = Data({3, 2, 1, 3, 2, 1});  // three columns, two rows
    const struct {
        int width, height, left, top;
        cv::Size shown;
        bool isWidened;
    } rows[] = {{3, 2, 0, 0, {3, 2}, false}, {5, 4, 2, 2, {5, 4}, false}, {5, 4, 1, 0, {5, 4}, false},
                {4, 4, 2, 2, {5, 4}, true},  {5, 3, 2, 2, {5, 4}, true},  {3, 5, 0, 3, {3, 5}, false}};
    for (const auto& row : rows) {
        const Bytes gif =
            Screen(row.width, row.height, 0x81) + head + Descriptor(row.left, row.top, 3, 2, 0) + data + kEnd;
        const DecodedImage decoded = DecodeImage(gif);
        const cv::Mat& pixels = decoded.image.GetMat();
        ASSERT_EQ(pixels.size(), row.shown);
        ASSERT_EQ(pixels.channels(), row.shown == cv::Size(3, 2) ? 3 : 4);
        EXPECT_EQ(!decoded.warnings.empty(), row.isWidened);
        for (int y = 0; y < pixels.rows; ++y)
            for (int x = 0; x < pixels.cols; ++x) {
                const bool isIn = cv::Rect(row.left, row.top, 3, 2).contains({x, y});
                EXPECT_EQ(pixels.ptr(y)[x * pixels.channels()], isIn ? 23 - (x - row.left) : 0)
                    << x << ' ' << y;
                EXPECT_TRUE(pixels.channels() == 3 || pixels.ptr(y)[4 * x + 3] == (isIn ? 255 : 0));
            }
    }
}

TEST(GifPixels, ACutFileKeepsWhatCameBefore) {
    const int width = 60;
    const int height = 90;
    std::vector<int> levels;
    for (int i = 0; i < width * height; ++i) levels.push_back(1 + (i * 7 / 3) % 3);
    for (const bool isInterlaced : {false, true}) {
        const Bytes whole = samples::MakeGif(width, height, levels, isInterlaced);
        const cv::Mat full = DecodeImage(whole).image.GetMat();
        const DecodedImage cut = DecodeImage(std::span(whole).first(whole.size() * 6 / 10));
        int rows = 0;
        std::string found;
        for (int y = 0; y < height; ++y) {
            const bool isSame = cv::norm(cut.image.GetMat().row(y), full.row(y), cv::NORM_INF) == 0;
            EXPECT_TRUE(isSame || cv::norm(cut.image.GetMat().row(y), cv::NORM_INF) == 0) << y;
            rows += isSame ? 1 : 0;
            found += isSame ? 'x' : '.';
        }
        ASSERT_EQ(rows, 52);
        // Interlaced, all even rows come before the odd ones.
        std::string expected(90, '.');
        for (std::size_t y = 0; y < 90; ++y)
            if (isInterlaced ? y % 2 == 0 || y < 14 : y < 52) expected[y] = 'x';
        EXPECT_EQ(found, expected);
        EXPECT_EQ(cut.warnings, std::vector<std::string>{"File ends early: 38 of 90 rows are missing."});
        EXPECT_EQ(ReadImageInfo(std::span(whole).first(whole.size() * 6 / 10)).warnings,
                  std::vector<std::string>{"File ends early: the end mark is missing."});
    }
    Bytes damaged = samples::MakeGif(width, height, levels, false);
    damaged[13 + 12 + 11 + 100] = 0;  // an empty part ends the data in the middle
    const DecodedImage broken = DecodeImage(damaged);
    ASSERT_FALSE(broken.warnings.empty());
    EXPECT_EQ(ReadImageInfo(Bytes{'G', 'I', 'F', '8', '9', 'a', 4, 0, 4, 0, 0, 0}).warnings,
              std::vector<std::string>{"The file ends inside its header."});
}

}  // namespace
