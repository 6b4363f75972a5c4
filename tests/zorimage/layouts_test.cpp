// TIFF and GIF files made by hand: which samples of a pixel are shown, which rows a damaged strip costs, the names of what a header says.

#include <gtest/gtest.h>

#include <opencv2/core.hpp>

#include "tests/zorimage/samples.h"
#include "zorimage/imageio.h"

namespace {

using samples::Append16;
using samples::Append32;

struct Layout {
    int width = 5;
    int height = 8;
    int bits = 8;  // 8 or 16
    int samples = 1;
    int photometric = 1;     // 0 and 1 grey, 2 RGB
    std::vector<int> extra = {};  // kinds: 0 unspecified, 1 and 2 alpha
    bool isPlanar = false;
    int stripRows = 8;
    int compression = 1;
};

int LevelOf(int x, int y, int sample) {
    return 40 * sample + 7 * x + y;
}

// An uncompressed file of such levels, in 16 bits 257 times as high. The directory stands behind the pixels.
Bytes MakeTiff(const Layout& layout) {
    Bytes bytes = {'I', 'I', 42, 0, 0, 0, 0, 0};
    std::vector<std::uint32_t> offsets;
    std::vector<std::uint32_t> counts;
    const int planes = layout.isPlanar ? layout.samples : 1;
    const int together = layout.isPlanar ? 1 : layout.samples;
    for (int plane = 0; plane < planes; ++plane) {
        for (int top = 0; top < layout.height; top += layout.stripRows) {
            offsets.push_back(static_cast<std::uint32_t>(bytes.size()));
            for (int y = top; y < std::min(top + layout.stripRows, layout.height); ++y)
                for (int x = 0; x < layout.width; ++x)
                    for (int i = 0; i < together; ++i) {
                        const auto level = static_cast<std::uint32_t>(LevelOf(x, y, plane + i));
                        if (layout.bits == 16)
                            Append16(bytes, level * 257);
                        else
                            bytes.push_back(static_cast<std::uint8_t>(level));
                    }
            counts.push_back(static_cast<std::uint32_t>(bytes.size()) - offsets.back());
        }
    }
    if (bytes.size() % 2 != 0) bytes.push_back(0);
    const auto list = [&bytes](const std::vector<std::uint32_t>& values) {
        const auto at = static_cast<std::uint32_t>(bytes.size());
        for (const std::uint32_t value : values) Append32(bytes, value);
        return at;
    };
    const std::vector<std::uint32_t> depths(static_cast<std::size_t>(layout.samples),
                                            static_cast<std::uint32_t>(layout.bits));
    const std::vector<std::uint32_t> kinds(layout.extra.begin(), layout.extra.end());
    struct Entry {
        std::uint32_t tag;
        std::vector<std::uint32_t> values;
    };
    std::vector<Entry> entries = {{256, {static_cast<std::uint32_t>(layout.width)}},
                                  {257, {static_cast<std::uint32_t>(layout.height)}},
                                  {258, depths},
                                  {259, {static_cast<std::uint32_t>(layout.compression)}},
                                  {262, {static_cast<std::uint32_t>(layout.photometric)}},
                                  {273, offsets},
                                  {277, {static_cast<std::uint32_t>(layout.samples)}},
                                  {278, {static_cast<std::uint32_t>(layout.stripRows)}},
                                  {279, counts},
                                  {284, {layout.isPlanar ? 2U : 1U}}};
    if (!kinds.empty()) entries.push_back({338, kinds});
    Bytes directory;
    Append16(directory, static_cast<std::uint32_t>(entries.size()));
    for (const Entry& entry : entries) {
        Append16(directory, entry.tag);
        // Short numbers where the standard wants them; a list of them that does not fit stands elsewhere, of long ones as well.
        const bool isShort = entry.tag != 273 && entry.tag != 279;
        Append16(directory, isShort ? 3 : 4);
        Append32(directory, static_cast<std::uint32_t>(entry.values.size()));
        if (entry.values.size() == 1) {
            Append32(directory, entry.values[0]);
        } else if (!isShort) {
            Append32(directory, list(entry.values));
        } else if (entry.values.size() == 2) {
            for (const std::uint32_t value : entry.values) Append16(directory, value);
        } else {
            Append32(directory, static_cast<std::uint32_t>(bytes.size()));
            for (const std::uint32_t value : entry.values) Append16(bytes, value);
            if (entry.values.size() % 2 != 0) Append16(bytes, 0);
        }
    }
    Append32(directory, 0);
    for (int i = 0; i < 4; ++i)
        bytes[4 + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(bytes.size() >> (8 * i));
    bytes.insert(bytes.end(), directory.begin(), directory.end());
    return bytes;
}

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

TEST(GifLayouts, APictureThatLeavesCanvasFreeHasAlpha) {
    for (const int right : {0, 2}) {
        for (const int below : {0, 3}) {
            Bytes gif = samples::MakeGif(6, 5, std::vector<int>(30, 2), false);
            gif[6] = static_cast<std::uint8_t>(6 + right);
            gif[8] = static_cast<std::uint8_t>(5 + below);
            const cv::Mat pixels = DecodeImage(gif).image.GetMat();
            ASSERT_EQ(pixels.size(), cv::Size(6 + right, 5 + below));
            const bool isFilled = right == 0 && below == 0;
            ASSERT_EQ(pixels.channels(), isFilled ? 3 : 4) << right << ", " << below;
            EXPECT_EQ(SampleOf(pixels, 5, 4, 0), 170);
            if (isFilled) continue;
            EXPECT_EQ(SampleOf(pixels, 5, 4, 3), 255);
            EXPECT_EQ(SampleOf(pixels, 5 + right, 4 + below, 3), 0);
        }
    }
}

}  // namespace
