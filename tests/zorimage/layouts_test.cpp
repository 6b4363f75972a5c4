// TIFF and GIF files made by hand: which samples of a pixel are shown, which rows a damaged strip costs, the names of what a header says.

#include <gtest/gtest.h>

#include <opencv2/core.hpp>

#include "tests/zorimage/maketiff.h"
#include "tests/zorimage/samples.h"
#include "zorimage/imageio.h"

namespace {

using samples::LevelOf;
using samples::MakeTiff;
using Layout = samples::TiffLayout;

int SampleOf(const cv::Mat& pixels, int x, int y, int channel) {
    const int at = x * pixels.channels() + channel;
    return pixels.depth() == CV_16U ? pixels.ptr<std::uint16_t>(y)[at] : pixels.ptr(y)[at];
}

TEST(TiffLayouts, SamplesThatAreNoColourAreLeftOut) {
    const struct {
        int photometric;
        std::vector<int> extra;
        int channels;  // of the picture
        int left;      // samples that are not shown
    } cases[] = {{1, {}, 1, 0},        {1, {0}, 1, 1},    {1, {1}, 2, 0},   {1, {2, 0}, 2, 1},
                 {1, {0, 0, 0}, 1, 3}, {2, {}, 3, 0},     {2, {0}, 3, 1},   {2, {1}, 4, 0},
                 {2, {2}, 4, 0},       {2, {0, 0}, 3, 2}, {2, {2, 0}, 4, 1}};
    for (const auto& one : cases) {
        for (const int bits : {8, 16}) {
            for (const bool isPlanar : {false, true}) {
                const int colours = one.photometric == 2 ? 3 : 1;
                const Layout layout{.bits = bits,
                                    .samples = colours + static_cast<int>(one.extra.size()),
                                    .photometric = one.photometric,
                                    .extra = one.extra,
                                    .isPlanar = isPlanar};
                SCOPED_TRACE(testing::Message() << layout.samples << " samples of " << bits << " bits, "
                                                << one.channels << " shown" << (isPlanar ? ", planar" : ""));
                const DecodedImage decoded = DecodeImage(MakeTiff(layout));
                const cv::Mat& pixels = decoded.image.GetMat();
                ASSERT_EQ(pixels.type(), CV_MAKETYPE(bits == 16 ? CV_16U : CV_8U, one.channels));
                ASSERT_EQ(pixels.size(), cv::Size(layout.width, layout.height));
                ASSERT_EQ(decoded.warnings.size(), one.left > 0 ? 1U : 0U);
                if (one.left > 0) {
                    EXPECT_EQ(decoded.warnings[0],
                              "Further samples of each pixel, left out: " + std::to_string(one.left) + ".");
                }
                int wrong = 0;
                for (int y = 0; y < layout.height; ++y)
                    for (int x = 0; x < layout.width; ++x)
                        for (int i = 0; i < one.channels; ++i) {
                            const int channel = colours == 3 && i < 3 ? 2 - i : i;  // B, G, R
                            wrong +=
                                SampleOf(pixels, x, y, channel) != LevelOf(x, y, i) * (bits == 16 ? 257 : 1);
                        }
                EXPECT_EQ(wrong, 0);
            }
        }
    }
}

TEST(TiffLayouts, ADamagedStripCostsItsOwnRows) {
    const Layout layout{.height = 8, .stripRows = 3};
    const Bytes whole = MakeTiff(layout);
    const std::size_t offsets = 8 + 5 * 8;  // the list of three stands behind the pixels
    ASSERT_EQ(whole[offsets], 8);
    for (int damaged = 0; damaged < 3; ++damaged) {
        SCOPED_TRACE(damaged);
        Bytes bytes = whole;
        bytes[offsets + 4 * static_cast<std::size_t>(damaged) + 2] = 0x7f;  // far behind the file's end
        const DecodedImage decoded = DecodeImage(bytes);
        const int rows = damaged < 2 ? 3 : 2;
        ASSERT_FALSE(decoded.warnings.empty());
        EXPECT_NE(decoded.warnings[0].find(": " + std::to_string(rows) + " of 8 rows"), std::string::npos)
            << decoded.warnings[0];
        for (int y = 0; y < layout.height; ++y)
            for (int x = 0; x < layout.width; ++x)
                EXPECT_EQ(SampleOf(decoded.image.GetMat(), x, y, 0), y / 3 == damaged ? 0 : LevelOf(x, y, 0))
                    << x << ", " << y;
    }
}

// The numbers are those of the registry of TIFF's tags.
TEST(TiffLayouts, CompressionsHaveTheirNames) {
    const std::pair<int, const char*> names[] = {{1, "none"},
                                                 {2, "CCITT run length"},
                                                 {3, "CCITT Group 3"},
                                                 {4, "CCITT Group 4"},
                                                 {5, "LZW"},
                                                 {7, "JPEG"},
                                                 {8, "Deflate"},
                                                 {32773, "PackBits"},
                                                 {32946, "Deflate"},
                                                 {33003, "JPEG 2000"},
                                                 {33005, "JPEG 2000"},
                                                 {34676, "SGI LogLuv"},
                                                 {34677, "SGI LogLuv"},
                                                 {34712, "JPEG 2000"},
                                                 {34887, "LERC"},
                                                 {34925, "LZMA"},
                                                 {50000, "Zstandard"},
                                                 {50001, "WebP"},
                                                 {33004, "unknown (33004)"}};
    for (const auto& [code, name] : names)
        EXPECT_EQ(ReadImageInfo(MakeTiff({.compression = code})).compression, name) << code;
}

}  // namespace
