// Readers and writers at their edges: messages word for word, sizes that just fit and just do not, and what is written, field by field.

#include <gtest/gtest.h>

#include <chrono>
#include <iostream>
#include <map>
#include <opencv2/core.hpp>

#include "tests/support/damage.h"
#include "tests/zorimage/maketiff.h"
#include "tests/zorimage/samples.h"
#include "zorimage/codec.h"
#include "zorimage/plausibility.h"

namespace {

using samples::operator+;
using Kind = ZorException::Kind;

std::string MessageOf(const std::function<void()>& action, Kind kind = Kind::Format) {
    try {
        action();
    } catch (const ZorException& exception) {
        EXPECT_EQ(exception.GetKind(), kind) << exception.GetMessage();
        return exception.GetMessage();
    }
    return "nothing was thrown";
}

// A picture of which only the sides are real: its pixels are never touched.
Image OnlySides(int width, int height) {
    static std::uint8_t s_pixel = 0;
    return Image(cv::Mat(height, width, CV_8UC1, &s_pixel));
}

TEST(Edges, SidesAndMemoryAreCheckedToTheLastPixel) {
    const auto start = [](const std::string& sides) {
        return "The file says that its picture has " + sides + " pixels";
    };
    const std::string much = ": more than the 2,147,483,647 that can be decoded.";
    const std::string nothing = ": there is nothing to decode.";
    const struct {
        std::uint64_t width, height;
        Kind kind;
        std::string message;
    } rows[] = {{2147483647, 1, Kind::Memory, "nothing was thrown"},
                {1, 2147483647, Kind::Memory, "nothing was thrown"},
                {2147483648, 1, Kind::Memory, start("2147483648 x 1") + much},
                {1, 2147483648, Kind::Memory, start("1 x 2147483648") + much},
                {46340, 46341, Kind::Memory, "nothing was thrown"},
                {46341, 46342, Kind::Memory, start("46341 x 46342") + much},
                {0, 5, Kind::Format, start("0 x 5") + nothing},
                {5, 0, Kind::Format, start("5 x 0") + nothing}};
    for (const auto& row : rows) {
        EXPECT_EQ(MessageOf([&] { codec::CheckSides(row.width, row.height); }, row.kind), row.message);
        if (row.message[0] == 'n') continue;
        EXPECT_EQ(MessageOf([&] { codec::NewPixels(row.width, row.height, CV_8UC1); }, row.kind),
                  row.message);
        EXPECT_EQ(MessageOf([&] { codec::CheckPlausible(row.width, row.height, 9, 1); }, row.kind),
                  row.message);
    }
    // 576 MB and 64 bytes for each byte of the file.
    EXPECT_NO_THROW(codec::CheckPlausible(1U << 20, 576, 0, 1));
    EXPECT_NO_THROW(codec::CheckPlausible(16U << 10, 9, 0, 4096));
    EXPECT_NO_THROW(codec::CheckPlausible(4, (144U << 20) + 16, 1, 1));
    EXPECT_EQ(MessageOf([] { codec::CheckPlausible(3, 201327000, 1000, 2); }),
              start("3 x 201327000") + ", which take 1152 MB to decode; its 1000 bytes cannot hold so many.");
    EXPECT_THROW(codec::CheckPlausible(1, (576U << 20) + 65, 1, 1), ZorException);
    const cv::Mat pixels = codec::NewPixels(5, 3, CV_16UC3);
    EXPECT_EQ(pixels.size(), cv::Size(5, 3));
    EXPECT_EQ(pixels.type(), CV_16UC3);
    EXPECT_EQ(codec::MissingRowsText(3, 10), "the last 7 of 10 rows are missing.");
    EXPECT_EQ(codec::MissingRowsText(9, 10), "the last 1 of 10 rows are missing.");
    EXPECT_EQ(codec::MissingRowsText(10, 10), "");
    std::uint8_t bgr[] = {1, 1, 1, 77};
    const std::uint8_t inks[] = {9, 1, 2, 3, 4, 9};
    codec::InkToBgr(inks + 1, bgr, 1, false);
    EXPECT_EQ(bgr[3], 77) << "nothing is written behind the row";
}

TEST(Edges, WritersSayWhatTheyCannotHold) {
    const std::pair<std::function<void()>, std::string> rows[] = {
        {[] { EncodeImage(Image(), "png"); }, "There is no picture to save."},
        {[] { EncodeImage(samples::MakeScene(2, 2, 1), "gif"); },
         "Pictures cannot be saved as \"gif\"; use png, jpg, tif, bmp or webp."},
        {[] { EncodeImage(OnlySides(65501, 1), "jpg"); },
         "A JPEG file cannot hold more than 65500 pixels in a row or column; save as PNG or TIFF."},
        {[] { EncodeImage(OnlySides(1, 65501), "jpeg"); },
         "A JPEG file cannot hold more than 65500 pixels in a row or column; save as PNG or TIFF."},
        {[] { EncodeImage(OnlySides(16384, 1), "webp"); },
         "A WebP file cannot hold more than 16383 pixels in a row or column; save as PNG or TIFF."},
        {[] { EncodeImage(OnlySides(1, 16384), "webp"); },
         "A WebP file cannot hold more than 16383 pixels in a row or column; save as PNG or TIFF."},
        {[] { EncodeImage(OnlySides(70000, 61360), "bmp"); },
         "A BMP file cannot hold 4 GiB; save as PNG or TIFF."}};
    for (const auto& [action, message] : rows) EXPECT_EQ(MessageOf(action, Kind::Argument), message);
    EXPECT_EQ(
        MessageOf([] { OnlySides(65536, 32768).GetIplImage(); }, Kind::Memory),
        "The picture has 65536 x 32768 pixels: more than 2 GiB, which this function cannot handle. Work "
        "on a part of it.");
    EXPECT_EQ(OnlySides(2147483647, 1).GetIplImage().width, 2147483647);
}

TEST(Edges, WhatIsWrittenFieldByField) {
    // Grey with 256 greys, and alpha left out.
    cv::Mat two(2, 3, CV_8UC2);
    for (int i = 0; i < 12; ++i) two.ptr(i / 6)[i % 6] = static_cast<std::uint8_t>(10 + i);
    Bytes grey = {'B', 'M', 70, 4, 0, 0, 0, 0, 0, 0, 54, 4, 0, 0, 40,
                  0,   0,   0,  3, 0, 0, 0, 2, 0, 0, 0,  1, 0, 8, 0};
    grey.resize(54);
    grey[2] = 1086 & 255;
    grey[3] = 1086 >> 8;
    for (int i = 0; i < 256; ++i)
        grey = grey + Bytes{static_cast<std::uint8_t>(i), static_cast<std::uint8_t>(i),
                            static_cast<std::uint8_t>(i), 0};
    grey = grey + Bytes{16, 18, 20, 0, 10, 12, 14, 0};
    EXPECT_EQ(EncodeImage(Image(two), "bmp"), grey);
    cv::Mat four(2, 1, CV_8UC4);
    for (int i = 0; i < 8; ++i) four.ptr(i / 4)[i % 4] = static_cast<std::uint8_t>(10 + i);
    Bytes colour = {'B', 'M', 62, 0, 0, 0, 0, 0, 0, 0, 54, 0, 0, 0,  40,
                    0,   0,   0,  1, 0, 0, 0, 2, 0, 0, 0,  1, 0, 24, 0};
    colour.resize(54);
    EXPECT_EQ(EncodeImage(Image(four), "bmp"), colour + Bytes({14, 15, 16, 0, 10, 11, 12, 0}));

    for (const int channels : {1, 2, 3, 4})
        for (const int depth : {8, 16}) {
            const Bytes png = EncodeImage(samples::MakeScene(5, 3, channels, depth), "png");
            const std::uint8_t type = channels == 1 ? 0 : channels == 2 ? 4 : channels == 3 ? 2 : 6;
            Bytes header = {0, 0, 0, 13, 'I', 'H', 'D', 'R', 0, 0, 0, 5, 0, 0, 0, 3};
            header.insert(header.end(), {static_cast<std::uint8_t>(depth), type, 0, 0, 0});
            EXPECT_EQ(Bytes(png.begin() + 8, png.begin() + 29), header);
            const Bytes tiff = EncodeImage(samples::MakeScene(5, 3, channels, depth), "tif");
            std::map<std::uint32_t, std::uint32_t> fields;
            const std::size_t directory = Little32(tiff, 4);
            for (std::size_t i = 0; i < Little16(tiff, directory); ++i) {
                const std::size_t entry = directory + 2 + 12 * i;
                const std::uint32_t tag = Little16(tiff, entry);
                if (tag != 273 && tag != 279) fields[tag] = Little16(tiff, entry + 8);
            }
            if (channels > 2) fields[258] = Little16(tiff, fields[258]);  // a list elsewhere
            std::map<std::uint32_t, std::uint32_t> expected = {{256, 5},
                                                               {257, 3},
                                                               {258, static_cast<std::uint32_t>(depth)},
                                                               {259, 5},
                                                               {262, channels >= 3 ? 2 : 1},
                                                               {277, static_cast<std::uint32_t>(channels)},
                                                               {278, fields[278]},
                                                               {284, 1},
                                                               {317, 2}};
            if (channels % 2 == 0) expected[338] = 2;
            EXPECT_EQ(fields, expected) << channels << ' ' << depth;
            EXPECT_GE(fields[278], 3U);
        }
    // The first number of the table of brightness at qualities beside the usual ones.
    const Image scene = samples::MakeScene(16, 16, 3);
    const std::pair<int, int> qualities[] = {{-5, 255}, {0, 255}, {1, 255}, {50, 16},
                                             {90, 3},   {100, 1}, {101, 1}};
    for (const auto& [quality, first] : qualities) {
        const Bytes jpeg = EncodeImage(scene, "jpg", quality);
        EXPECT_EQ(jpeg[25], first) << quality;
        EXPECT_EQ(ReadImageInfo(jpeg).colourModel, quality < 90 ? "YCbCr 4:2:0" : "YCbCr 4:4:4") << quality;
    }
    EXPECT_EQ(ReadImageInfo(EncodeImage(scene, "jpg", 89)).colourModel, "YCbCr 4:2:0");
    EXPECT_EQ(ReadImageInfo(EncodeImage(samples::MakeScene(9, 9, 2), "jpg")).colourModel, "Grey");
}

TEST(Edges, PicturesOfEveryKindAreConvertedPixelByPixel) {
    for (const int channels : {1, 2, 3, 4})
        for (const int depth : {8, 16}) {
            const Image scene = samples::MakeScene(7, 5, channels, depth);
            const cv::Mat colour = scene.ToColor().GetMat();
            const cv::Mat grey = scene.ToGray().GetMat();
            ASSERT_EQ(colour.type(), CV_8UC3);
            ASSERT_EQ(grey.type(), CV_8UC1);
            ASSERT_EQ(colour.size(), cv::Size(7, 5));
            ASSERT_EQ(grey.size(), cv::Size(7, 5));
            for (int y = 0; y < 5; ++y)
                for (int x = 0; x < 7; ++x) {
                    int level[3];
                    for (int c = 0; c < 3; ++c) {
                        const int at = x * channels + (channels >= 3 ? c : 0);
                        level[c] = depth == 8 ? scene.GetMat().ptr(y)[at]
                                              : (scene.GetMat().ptr<std::uint16_t>(y)[at] * 2 + 257) / 514;
                        EXPECT_EQ(colour.ptr(y)[3 * x + c], level[c]);
                    }
                    EXPECT_EQ(grey.ptr(y)[x],
                              (114 * level[0] + 587 * level[1] + 299 * level[2] + 500) / 1000);
                }
        }
    const Image scene = samples::MakeScene(8, 6, 3);
    for (const cv::Rect& part : {cv::Rect(0, 0, 8, 5), cv::Rect(0, 0, 7, 6)})
        EXPECT_FALSE(scene.IsEqual(Image(scene.GetMat()(part))) ||
                     Image(scene.GetMat()(part)).IsEqual(scene));
    cv::Mat last = scene.GetMat().clone();
    last.ptr(5)[23] ^= 1;
    EXPECT_FALSE(scene.IsEqual(Image(last)));
}

// The sides that a HEIC file states, as its first box of sizes that belongs to the picture has them.
Bytes WithSides(Bytes heic, std::uint32_t width, std::uint32_t height) {
    for (std::size_t at = 0; at + 20 < heic.size(); ++at) {
        if (!codec::HasText(heic, at, "ispe") || Big32(heic, at + 8) != 16) continue;
        for (std::size_t i = 0; i < 4; ++i) {
            heic[at + 8 + i] = static_cast<std::uint8_t>(width >> (24 - 8 * i));
            heic[at + 12 + i] = static_cast<std::uint8_t>(height >> (24 - 8 * i));
        }
    }
    return heic;
}

TEST(Edges, SidesOfHeicAreBounded) {
    EXPECT_EQ(
        MessageOf([] { DecodeImage(WithSides(samples::kColourHeic, 23170, 20)); }, Kind::Memory),
        "The file says that its picture has 23170 x 20 pixels; no side may be longer than 23169 in this "
        "format.");
    EXPECT_EQ(
        MessageOf([] { DecodeImage(WithSides(samples::kColourHeic, 20, 23170)); }, Kind::Memory),
        "The file says that its picture has 20 x 23170 pixels; no side may be longer than 23169 in this "
        "format.");
    const Bytes wide = WithSides(samples::kColourHeic, 20000, 30000);
    EXPECT_EQ(MessageOf([&] { DecodeImage(wide); }),
              "The file says that its picture has 20000 x 30000 pixels, which take 4577 MB to decode; its " +
                  std::to_string(wide.size()) + " bytes cannot hold so many.");
    // The sampling of the chroma, as the coder's own header tells it.
    const char* const names[] = {"Grey", "YCbCr 4:2:0", "YCbCr 4:2:2", "YCbCr 4:4:4"};
    for (std::size_t chroma = 0; chroma < 4; ++chroma) {
        Bytes heic = samples::kColourHeic;
        for (std::size_t at = 0; at + 24 < heic.size(); ++at)
            if (codec::HasText(heic, at, "hvcC"))
                heic[at + 4 + 16] = static_cast<std::uint8_t>(0xfc | chroma);
        const ImageInfo info = ReadImageInfo(heic);
        EXPECT_EQ(info.colourModel, names[chroma]);
        EXPECT_EQ(info.channels, chroma == 0 ? 1 : 3);
    }
}

TEST(Edges, RefusalsOfEveryFormat) {
    const Bytes jpeg = EncodeImage(samples::MakeScene(8, 8, 3), "jpg");
    const auto frame = [&jpeg](std::uint8_t marker, std::uint8_t components) {
        Bytes bytes = jpeg;
        for (std::size_t at = 0; at + 9 < bytes.size(); ++at)
            if (bytes[at] == 0xff && bytes[at + 1] == 0xc0) {
                bytes[at + 1] = marker;
                bytes[at + 9] = components;
            }
        return bytes;
    };
    const Bytes gif = samples::MakeGif(2, 2, {0, 1, 2, 3}, false);
    Bytes os2 = samples::BmpHeader(1, 1, 24, 4);
    os2.resize(64);
    os2[0] = 64;
    Bytes parts = EncodeImage(samples::MakeScene(40, 40, 3), "webp");
    Bytes components = samples::kGreyJ2k;
    components[41] = 0;
    Bytes many = samples::kGreyJ2k;
    const std::pair<Bytes, std::string> rows[] = {
        {frame(0xc5, 3), "This JPEG file is hierarchical (differential) JPEG, which cannot be decoded."},
        {frame(0xcf, 3), "This JPEG file is hierarchical (differential) JPEG, which cannot be decoded."},
        {frame(0xc3, 3), "This JPEG file is lossless JPEG, which cannot be decoded."},
        {frame(0xcb, 3), "This JPEG file is lossless JPEG, which cannot be decoded."},
        {frame(0xc0, 2), "This JPEG file has 2 components; only 1, 3 and 4 are understood."},
        {frame(0xc0, 0), "This JPEG file has 0 components; only 1, 3 and 4 are understood."},
        {frame(0xfe, 3), "The JPEG file has no frame header: there is nothing to decode."},
        {Bytes(gif.begin(), gif.begin() + 36), "The GIF file cannot be decoded: "},
        {samples::MakeBmp(os2, Bytes(64)), "The BMP file's coding, RLE24, cannot be decoded."},
        {components, "The JPEG 2000 file claims 0 components; only 1 to 64 are understood."},
        {Bytes(parts.begin(), parts.begin() + 30),
         "The WebP file cannot be decoded: its picture data is damaged or cut off."},
        {Bytes(samples::kGreyJp2.begin(), samples::kGreyJp2.begin() + 90),
         "The JPEG 2000 file has no picture size that makes sense: there is nothing to decode."},
        {{0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n', 0},
         "The PNG file has no header chunk: there is nothing to decode."}};
    for (const auto& [bytes, message] : rows) {
        const std::string found = MessageOf([&bytes = bytes] { DecodeImage(bytes); });
        EXPECT_EQ(message.ends_with(": ") ? found.substr(0, message.size()) : found, message);
    }
    // A picture in a picture's clothes.
    const Bytes png = EncodeImage(samples::MakeScene(5, 3, 3), "png");
    EXPECT_TRUE(DecodeImage(samples::MakeBmp(samples::BmpHeader(5, 3, 0, 5), png))
                    .image.IsEqual(samples::MakeScene(5, 3, 3)));
    EXPECT_TRUE(DecodeImage(samples::MakeBmp(samples::BmpHeader(8, 8, 0, 4), jpeg))
                    .image.IsEqual(DecodeImage(jpeg).image));
    // A cut file is decoded as far as it goes, and the library's own words are kept.
    const DecodedImage cut = DecodeImage(std::span(samples::kGreyJp2).first(samples::kGreyJp2.size() - 30));
    ASSERT_FALSE(cut.warnings.empty());
    EXPECT_EQ(cut.warnings[0].rfind("JPEG 2000: ", 0), 0U) << cut.warnings[0];
    EXPECT_TRUE(cut.warnings[0].ends_with('.') && !cut.warnings[0].ends_with("\n.")) << cut.warnings[0];
}

// All that the headers say, in one line.
std::string Line(std::span<const std::uint8_t> bytes) {
    const ImageInfo info = ReadImageInfo(bytes);
    std::string text = FormatName(info.format);
    for (const int number : {info.width, info.height, info.bitsPerSample, info.channels, info.frames})
        text += " " + std::to_string(number);
    text += ", " + info.compression + ", " + info.colourModel + ", " +
            std::to_string(info.iccProfile.size()) + " " + IccProfileName(info.iccProfile);
    for (const std::string& warning : info.warnings) text += " | " + warning;
    return text;
}

// What does not come from a library but from readers of this house.
std::string Checks(std::span<const std::uint8_t> bytes) {
    return FormatName(DetectFormat(bytes)) + " " + StructureProblem(bytes) + " " + CutProblem(bytes);
}

std::string Pixels(std::span<const std::uint8_t> bytes) {
    const ImageInfo info = ReadImageInfo(bytes);
    if (std::int64_t{info.width} * info.height > 1000) return "large";
    const DecodedImage decoded = DecodeImage(bytes);
    const cv::Mat& pixels = decoded.image.GetMat();
    std::string text = std::to_string(pixels.cols) + "x" + std::to_string(pixels.rows) + ":";
    for (int y = 0; y < pixels.rows; ++y)
        for (int i = 0; i < pixels.cols * pixels.channels(); ++i)
            text += " " + std::to_string(pixels.ptr(y)[i]);
    for (const std::string& warning : decoded.warnings) text += " | " + warning;
    return text;
}

TEST(Edges, DamagedHeadersReadAsBefore) {
    const Bytes jpeg = EncodeImage(samples::MakeScene(9, 5, 3), "jpg");
    const Bytes profile =
        samples::MakeProfile(Bytes{'d', 'e', 's', 'c', 0, 0, 0, 0, 0, 0, 0, 3, 'a', 'b', 0});
    Bytes chunk;
    samples::AppendText(chunk, std::string("ICC_PROFILE\0\1\1", 14));
    const Bytes index = {'M', 'P', 'F', 0, 'M', 'M', 0,  42, 0, 0, 0,  8, 0, 1, 0xb0,
                         2,   0,   7,   0, 0,   0,   48, 0,  0, 0, 26, 0, 0, 0, 0};
    const Bytes adobe = {'A', 'd', 'o', 'b', 'e', 0, 100, 0, 0, 0, 0, 1};
    const Bytes full = samples::WithJpegSegment(
        samples::WithJpegSegment(samples::WithJpegSegment(jpeg, 0xe2, chunk + profile), 0xe2,
                                 index + Bytes(48)),
        0xee, adobe);
    Bytes v5 = samples::BmpHeader(3, 2, 16, 3);
    v5.resize(124);
    v5[0] = 124;
    const Bytes masks = {0, 0xf8, 0, 0, 0xe0, 7, 0, 0, 0x1f, 0, 0, 0, 0, 0, 0, 0, 'D', 'E', 'B', 'M'};
    std::copy(masks.begin(), masks.end(), v5.begin() + 40);
    v5[112] = 140;
    v5[116] = 12;
    const Bytes bmp = samples::MakeBmp(v5, Bytes(32, 0x35));
    const Bytes palette = {1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 0};
    const Bytes runs = samples::MakeBmp(
        samples::BmpHeader(5, 4, 4, 2, 3) + palette,
        {0, 5, 0x12, 0x01, 0x20, 9, 3, 0x12, 0, 0, 2, 0x21, 0, 2, 1, 1, 0, 3, 0x10, 0x20, 0, 1});
    const Bytes gif = samples::MakeGif(6, 5, std::vector<int>(30, 2), true, 1);
    const Bytes webp = samples::kAnimatedWebp;
    samples::TiffLayout tiles{.width = 20, .height = 18, .samples = 3, .photometric = 2, .isPlanar = true};
    tiles.tileWidth = tiles.tileHeight = 16;
    Bytes plain = samples::MakeTiff({.isBigEndian = true});
    samples::TiffLayout ink{.bits = 16, .samples = 4, .photometric = 5, .stripRows = 3};
    samples::TiffLayout colours{.bits = 4, .photometric = 3, .stripRows = 3};
    for (std::uint32_t k = 0; k < 48; ++k) colours.palette.push_back(k * 1000);
    colours.value = [](int x, int y, int) { return static_cast<std::uint32_t>(x + y); };
    const struct {
        const char* name;
        Bytes file;
        Describe describe;
        const char* sum;
        std::size_t end = 400;  // of what is changed
    } rows[] = {
        {"jpeg", jpeg, Line, "fff5365de510165e"},
        {"jpeg with segments", full, Line, "edb97b7a5a996d76"},
        {"ink", samples::kInkJpeg, Line, "91f60e2addb385df"},
        {"png", EncodeImage(samples::MakeScene(9, 5, 4, 16), "png"), Line, "369e0a4e8c8a8038"},
        {"bmp", bmp, Line, "f07a39c58ee62c6a"},
        {"bmp's pixels", bmp, Pixels, "c22d3049a88e0ab8"},
        {"runs", runs, Line, "ce7323b4563d97bc"},
        {"runs' pixels", runs, Pixels, "d77ea2a861534ed0"},
        {"gif", gif, Line, "4c691754c262f694"},
        {"jp2", samples::kGreyJp2, Line, "09ee61c35aea60c0"},
        {"j2k", samples::kGreyJ2k, Line, "fd9d177d882bbd42"},
        {"webp", webp, Line, "751906a2c4c61b42"},
        {"heic", samples::kColourHeic, Checks, "2795938403dcd8b1"},
        {"avif", samples::kTurnedAvif, Checks, "ca7d99375772184b"},
        {"dng", samples::MakeDng(6, 4), Checks, "b6986ce2d761b87c"},
        {"tiles", samples::MakeTiff(tiles), Checks, "2945ea07cf2c54da"},
        {"big-endian tiff", plain, Checks, "b8b724946a5d2cab"},
        // The libraries' words and what they make of damage are in these too.
        {"jpeg's pixels", jpeg, Pixels, "ca589e41a8613cd4", 120},
        {"progressive pixels", samples::kProgressiveJpeg, Pixels, "c3899a5c1339f8f1", 120},
        {"ink's pixels", samples::kInkJpeg, Pixels, "213b2857ecd4c0e1", 120},
        {"png's pixels", EncodeImage(samples::MakeScene(9, 5, 3), "png"), Pixels, "00a08473add7d29c", 120},
        {"gif's pixels", gif, Pixels, "04e95789a404f0cf", 120},
        {"tiles' pixels", samples::MakeTiff(tiles), Pixels, "c8b8496d43aa4f8b", 120},
        {"plain tiff's pixels", plain, Pixels, "f460243cdccdff27", 120},
        {"tiff of inks", samples::MakeTiff(ink), Pixels, "15283688f3ec2adb", 120},
        {"tiff of a palette", samples::MakeTiff(colours), Pixels, "0fcfa5e8e714da36", 120},
        {"tiff by lzw", EncodeImage(samples::MakeScene(9, 5, 4), "tif"), Pixels, "759b5e4abaea0c92", 120},
        {"tiff's header", EncodeImage(samples::MakeScene(9, 5, 4), "tif"), Line, "ce5d0587caee280d"},
        {"jp2's pixels", samples::kGreyJp2, Pixels, "c49c9c06881da905", 120},
        {"webp's pixels", webp, Pixels, "d81d43d173ccebea", 44}};
    for (const auto& row : rows)
        EXPECT_EQ(SumOfDamage(row.file, row.describe, 0, row.end), row.sum) << row.name;
}

TEST(Edges, FormatsBesideTheirSignatures) {
    const std::string text = "abc";
    const std::pair<std::string, FileFormat> rows[] = {
        {"\xf0\x90\x80\x80" + text, FileFormat::Text},
        {"\xe0\xa0\x80" + text, FileFormat::Text},
        {"\xc2\x80" + text, FileFormat::Text},
        {std::string("B\0\0\0\0\0\0\0\0\0\0\0\0\0\x28\0\0\0\0\0", 20), FileFormat::Unknown},
        {std::string("XM\0\0\0\0\0\0\0\0\0\0\0\0\x28\0\0\0\0\0", 20), FileFormat::Unknown},
        {"RIFF....WEBX", FileFormat::Text},
        {"RIFX....WEBP", FileFormat::Text},
        {"....ftyphei", FileFormat::Text},
        {"....ftypheic", FileFormat::Heif}};
    for (const auto& [head, format] : rows)
        EXPECT_EQ(FormatName(DetectFormat(Bytes(head.begin(), head.end()))), FormatName(format))
            << testing::PrintToString(head);
    EXPECT_NE(ImageFormatsReadFilter().find("|WebP|*.webp;*.WEBP|JPEG 2000|*.jp2;*.JP2;*.j2k;*.J2K;"),
              std::string::npos);
    EXPECT_TRUE(IsPictureName("/a/b.HEIC") && IsPictureName("x.dng"));
    EXPECT_FALSE(IsPictureName("a.pdf") || IsPictureName("heic") || IsPictureName("a.psd"));
    // A profile that ends before its table, of bytes that would name very many entries.
    for (std::size_t size = 120; size < 132; ++size) EXPECT_EQ(IccProfileName(Bytes(size, 0xff)), "");
    Bytes gif = samples::MakeGif(2, 2, {0, 1, 2, 3}, false);
    gif.resize(13);
    EXPECT_EQ(ReadImageInfo(gif).warnings,
              std::vector<std::string>{"File ends early: the end mark is missing."});
}

}  // namespace
