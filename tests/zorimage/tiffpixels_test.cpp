// Every way in which a TIFF file stores a sample, against the value that the standard gives it.

#include <gtest/gtest.h>

#include <opencv2/core.hpp>

#include "tests/zorimage/maketiff.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"

namespace {

using samples::MakeTiff;
using samples::TiffLayout;

int SampleOf(const cv::Mat& pixels, int x, int y, int channel) {
    const int at = x * pixels.channels() + channel;
    return pixels.depth() == CV_16U ? pixels.ptr<std::uint16_t>(y)[at] : pixels.ptr(y)[at];
}

// A value that fills the bits and tells its place.
std::uint32_t Stored(int bits, int x, int y, int sample) {
    const auto mixed =
        static_cast<std::uint32_t>(x * 2654435 + y * 40503 + sample * 97777 + 12345) * 2654435761U;
    return mixed >> (32 - bits);
}

// 0..from as 0..to, to the nearest.
std::uint64_t Scaled(std::uint64_t value, std::uint64_t from, std::uint64_t to) {
    return (2 * value * to + from) / (2 * from);
}

std::uint64_t Full(int bits) {
    return (std::uint64_t{1} << bits) - 1;
}

TEST(TiffPixels, EveryDepthReachesTheFullRange) {
    for (const int bits : {1, 2, 3, 4, 5, 6, 7, 8, 10, 12, 14, 16, 24, 32})
        for (const bool isBig : {false, true})
            for (const bool isPlanar : {false, true})
                for (const int photometric : {0, 1, 2})
                    for (const int format : {0, 2}) {
                        TiffLayout layout{.width = 7, .height = 3, .bits = bits};
                        layout.samples = photometric == 2 ? 3 : 1;
                        layout.photometric = photometric;
                        layout.isPlanar = isPlanar;
                        layout.isBigEndian = isBig;
                        layout.format = format;
                        layout.value = [bits](int x, int y, int i) { return Stored(bits, x, y, i); };
                        SCOPED_TRACE(testing::Message()
                                     << bits << " bits, colours " << photometric << ", format " << format
                                     << (isBig ? ", big-endian" : "") << (isPlanar ? ", planar" : ""));
                        const Bytes bytes = MakeTiff(layout);
                        const ImageInfo info = ReadImageInfo(bytes);
                        EXPECT_EQ(info.bitsPerSample, bits);
                        EXPECT_EQ(info.channels, layout.samples);
                        EXPECT_EQ(info.compression, "none");
                        EXPECT_EQ(info.colourModel, photometric == 2   ? "RGB"
                                                    : photometric == 1 ? "Grey"
                                                                       : "Grey (0 is white)");
                        const cv::Mat pixels = DecodeImage(bytes).image.GetMat();
                        ASSERT_EQ(pixels.type(), CV_MAKETYPE(bits <= 8 ? CV_8U : CV_16U, layout.samples));
                        const std::uint64_t full = bits <= 8 ? 255 : 65535;
                        int wrong = 0;
                        for (int y = 0; y < layout.height; ++y)
                            for (int x = 0; x < layout.width; ++x)
                                for (int i = 0; i < layout.samples; ++i) {
                                    std::uint64_t level = Stored(bits, x, y, i);
                                    if (format == 2) level ^= std::uint64_t{1} << (bits - 1);
                                    level = Scaled(level, Full(bits), full);
                                    if (photometric == 0) level = full - level;
                                    const int channel = layout.samples == 3 ? 2 - i : i;
                                    wrong +=
                                        SampleOf(pixels, x, y, channel) != static_cast<int>(level) ? 1 : 0;
                                }
                        EXPECT_EQ(wrong, 0);
                    }
}

TEST(TiffPixels, PalettesOfNewAndOldWriters) {
    for (const int bits : {1, 2, 4, 8})
        for (const bool isOld : {false, true})  // values of 8 bits
            for (const bool isPlanar : {false, true}) {
                TiffLayout layout{.width = 9, .height = 3, .bits = bits, .photometric = 3};
                layout.isPlanar = isPlanar;
                layout.value = [bits](int x, int y, int) { return Stored(bits, x, y, 0); };
                const std::uint32_t colours = 1U << bits;
                for (std::uint32_t i = 0; i < 3 * colours; ++i)
                    layout.palette.push_back(isOld ? i * 79 % 256 : i * 7919 % 65000 + 300);
                const Bytes bytes = MakeTiff(layout);
                EXPECT_EQ(ReadImageInfo(bytes).colourModel, "Palette (" + std::to_string(colours) + ")");
                const cv::Mat pixels = DecodeImage(bytes).image.GetMat();
                ASSERT_EQ(pixels.type(), CV_8UC3);
                for (int y = 0; y < layout.height; ++y)
                    for (int x = 0; x < layout.width; ++x)
                        for (std::uint32_t i = 0; i < 3; ++i) {
                            const std::uint32_t value = layout.palette[i * colours + Stored(bits, x, y, 0)];
                            EXPECT_EQ(SampleOf(pixels, x, y, static_cast<int>(2 - i)),
                                      static_cast<int>(isOld ? value : Scaled(value, 65535, 255)))
                                << bits << " bits, " << x << ", " << y;
                        }
            }
    // One value above 255 makes a palette of 16 bits.
    TiffLayout layout{
        .width = 2, .height = 1, .bits = 1, .photometric = 3, .palette = {255, 0, 0, 256, 0, 255}};
    layout.value = [](int x, int, int) { return static_cast<std::uint32_t>(x); };
    const cv::Mat pixels = DecodeImage(MakeTiff(layout)).image.GetMat();
    EXPECT_EQ(SampleOf(pixels, 0, 0, 2), 1);
    EXPECT_EQ(SampleOf(pixels, 1, 0, 1), 1);
}

TEST(TiffPixels, InkOfEightAndSixteenBits) {
    for (const int bits : {8, 16})
        for (const int tile : {0, 16}) {
            TiffLayout layout{.width = 20, .height = 17, .bits = bits, .samples = 4, .photometric = 5};
            layout.tileWidth = layout.tileHeight = tile;
            layout.value = [bits](int x, int y, int i) { return Stored(bits, x, y, i); };
            const Bytes bytes = MakeTiff(layout);
            EXPECT_EQ(ReadImageInfo(bytes).colourModel, "CMYK");
            EXPECT_NE(ReadImageInfo(bytes).recipe.find("Ink becomes RGB"), std::string::npos);
            const cv::Mat pixels = DecodeImage(bytes).image.GetMat();
            ASSERT_EQ(pixels.type(), bits == 8 ? CV_8UC3 : CV_16UC3);
            int wrong = 0;
            for (int y = 0; y < layout.height; ++y)
                for (int x = 0; x < layout.width; ++x)
                    for (int i = 0; i < 3; ++i) {
                        const std::uint64_t product =
                            (Full(bits) - Stored(bits, x, y, i)) * (Full(bits) - Stored(bits, x, y, 3));
                        wrong += SampleOf(pixels, x, y, 2 - i) !=
                                         static_cast<int>((2 * product + Full(bits)) / (2 * Full(bits)))
                                     ? 1
                                     : 0;
                    }
            EXPECT_EQ(wrong, 0) << bits;
        }
}

TEST(TiffPixels, TilesMeetAtTheirEdgesAndCostTheirOwnRows) {
    for (const bool isPlanar : {false, true})
        for (const int missing : {-1, 0, 1, 2, 3, 4, 5}) {
            TiffLayout layout{.width = 40, .height = 20, .samples = 3, .photometric = 2};
            layout.tileWidth = 16;
            layout.tileHeight = 16;
            layout.isPlanar = isPlanar;
            layout.value = [](int x, int y, int i) {
                return static_cast<std::uint32_t>(x * 3 + y * 5 + i * 17);
            };
            Bytes bytes = MakeTiff(layout);
            if (missing >=
                0) {  // far behind the end; the list is the first one behind the pixels that is long
                const std::size_t end = 8 + static_cast<std::size_t>(3 * 2 * 3 * 256);
                const std::size_t list = end + 6;  // behind the depths of three samples
                ASSERT_EQ(bytes[list], 8);
                bytes[list + 4 * static_cast<std::size_t>(missing) + 2] = 0x7f;
            }
            const DecodedImage decoded = DecodeImage(bytes);
            const int tileRow = missing % 6 / 3;
            int wrong = 0;
            for (int y = 0; y < layout.height; ++y)
                for (int x = 0; x < layout.width; ++x)
                    for (int i = 0; i < 3; ++i) {
                        const bool isLost = missing >= 0 && y / 16 == tileRow && x / 16 == missing % 3 &&
                                            (!isPlanar || i == 0);
                        const int expected = isLost ? 0 : x * 3 + y * 5 + i * 17;
                        wrong += SampleOf(decoded.image.GetMat(), x, y, 2 - i) != expected ? 1 : 0;
                    }
            EXPECT_EQ(wrong, 0) << missing << (isPlanar ? " planar" : "");
            if (missing < 0) {
                EXPECT_TRUE(decoded.warnings.empty());
                continue;
            }
            ASSERT_FALSE(decoded.warnings.empty());
            EXPECT_EQ(decoded.warnings[0],
                      "The file is damaged or ends early: " + std::string(tileRow == 0 ? "16" : "4") +
                          " of 20 rows are missing.");
        }
}

TEST(TiffPixels, ColourModelsHaveTheirNames) {
    const struct {
        int photometric;
        int samples;
        std::vector<std::uint32_t> subsampling;
        const char* name;
    } rows[] = {{0, 1, {}, "Grey (0 is white)"},
                {1, 1, {}, "Grey"},
                {2, 3, {}, "RGB"},
                {3, 1, {}, "Palette (256)"},
                {4, 1, {}, "Mask"},
                {5, 4, {}, "CMYK"},
                {6, 3, {1, 1}, "YCbCr 4:4:4"},
                {6, 3, {2, 1}, "YCbCr 4:2:2"},
                {6, 3, {2, 2}, "YCbCr 4:2:0"},
                {6, 3, {4, 1}, "YCbCr 4:1:1"},
                {6, 3, {1, 2}, "YCbCr (1x2)"},
                {6, 3, {}, "YCbCr 4:2:0"},  // the standard's own
                {8, 3, {}, "L*a*b*"},
                {9, 3, {}, "L*a*b*"},
                {10, 3, {}, "L*a*b*"},
                {32844, 1, {}, "LogLuv"},
                {32845, 3, {}, "LogLuv"},
                {32803, 1, {}, "Colour filter array"},
                {34892, 3, {}, "Linear raw"},
                {77, 1, {}, "Unknown (77)"}};
    for (const auto& row : rows)
        EXPECT_EQ(
            ReadImageInfo(MakeTiff({.samples = row.samples,
                                    .photometric = row.photometric,
                                    .palette = std::vector<std::uint32_t>(row.photometric == 3 ? 768 : 0),
                                    .subsampling = row.subsampling}))
                .colourModel,
            row.name)
            << row.photometric;
}

// Colour models that the library converts: files of ImageMagick from the slope.
TEST(TiffPixels, OtherColourModelsBecomeColours) {
    for (const std::string name : {"lab.tif", "ycc444.tif"}) {
        const DecodedImage decoded = DecodeImage(ReadFileBytes(std::string(ORVANE_VARIANTS) + "/" + name));
        EXPECT_TRUE(decoded.warnings.empty()) << name;
        EXPECT_LE(
            cv::norm(decoded.image.GetMat(), samples::ColourSlope().GetMat(), cv::NORM_L1) / (16 * 8 * 3),
            name == "lab.tif" ? 6 : 1)
            << name;
    }
    // Ink in planes, which it converts too.
    TiffLayout layout{
        .width = 4, .height = 3, .samples = 4, .photometric = 5, .isPlanar = true, .stripRows = 3};
    layout.value = [](int, int, int i) { return i == 3 ? 51U : static_cast<std::uint32_t>(50 * (2 - i)); };
    const cv::Mat pixels = DecodeImage(MakeTiff(layout)).image.GetMat();
    EXPECT_LE(cv::norm(pixels, cv::Mat(pixels.size(), CV_8UC3, cv::Scalar(204, 164, 124)), cv::NORM_INF), 1);
}

TEST(TiffPixels, WhatCannotBeShownIsRefused) {
    const std::pair<TiffLayout, const char*> rows[] = {
        {{.bits = 32, .format = 3}, "floating-point samples"},
        {{.bits = 16, .format = 5}, "floating-point samples"},
        {{.bits = 32, .format = 6}, "floating-point samples"},
        {{.compression = 34712}, "compression (number 34712)"},
        {{.bits = 16, .photometric = 3, .palette = std::vector<std::uint32_t>(3 << 16)},
         "its palette is missing"},
    };
    for (const auto& [layout, text] : rows) {
        try {
            DecodeImage(MakeTiff(layout));
            ADD_FAILURE() << "decoded: " << text;
        } catch (const ZorException& exception) {
            EXPECT_NE(exception.GetMessage().find(text), std::string::npos) << exception.GetMessage();
        }
    }
}

}  // namespace
