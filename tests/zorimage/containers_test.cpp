// HEIF, AVIF, WebP and JPEG 2000 files in their variants (grey, half and full chroma, deep, with alpha), written by the formats' own tools from
// the two slopes; and what their boxes and chunks say.

#include <gtest/gtest.h>
#include <malloc.h>

#include <map>
#include <opencv2/core.hpp>

#include "tests/zorimage/samples.h"
#include "zorbase/bytes.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"

namespace {

using samples::operator+;

constexpr int kWidth = 16;
constexpr int kHeight = 8;

Bytes Variant(const std::string& name) {
    return ReadFileBytes(std::string(ORVANE_VARIANTS) + "/" + name);
}

std::string Line(const ImageInfo& info) {
    return std::to_string(info.bitsPerSample) + "b x" + std::to_string(info.channels) + " " +
           info.compression + ", " + info.colourModel;
}

int SampleAt(const cv::Mat& pixels, int x, int y, int channel) {
    const int at = x * pixels.channels() + channel;
    return pixels.depth() == CV_16U ? pixels.ptr<std::uint16_t>(y)[at] : pixels.ptr(y)[at];
}

// B, G, R and alpha of the slopes that the files were made from.
int Expected(bool isGrey, int x, int y, int channel) {
    const int values[] = {128, 32 * y, 16 * x, 255 - 15 * x};
    return isGrey ? 16 * x + y : values[channel];
}

TEST(Containers, EveryVariantHoldsTheSlope) {
    const struct {
        const char* file;
        const char* info;
        int type;
        bool isGrey;
        double worst;  // a sample may be off by that many levels of 8 bits
    } rows[] = {
        {"grey.avif", "8b x1 AV1, Grey", CV_8UC3, true, 0},
        {"half.avif", "8b x3 AV1, YCbCr 4:2:2", CV_8UC3, false, 14},
        {"deep.avif", "10b x3 AV1, YCbCr 4:4:4", CV_16UC3, false, 0.5},
        {"alpha.avif", "8b x4 AV1, YCbCr 4:4:4 + alpha", CV_8UC4, false, 0},
        {"deepalpha.avif", "12b x4 AV1, YCbCr 4:2:0 + alpha", CV_16UC4, false, 22},
        {"grey.heic", "8b x1 HEVC, Grey", CV_8UC3, true, 6},
        {"deep.heic", "8b x3 HEVC, YCbCr 4:2:0", CV_8UC3, false, 25},
        {"lossy.webp", "8b x3 WebP lossy (VP8), YCbCr 4:2:0", CV_8UC3, false, 25},
        {"lossyalpha.webp", "8b x4 WebP lossy (VP8), YCbCr 4:2:0 + alpha", CV_8UC4, false, 25},
        {"irr.jp2", "8b x3 JPEG 2000, irreversible 9/7 wavelet, sRGB", CV_8UC3, false, 2},
    };
    for (const auto& row : rows) {
        const Bytes bytes = Variant(row.file);
        const ImageInfo info = ReadImageInfo(bytes);
        EXPECT_EQ(Line(info), row.info) << row.file;
        EXPECT_EQ(cv::Size(info.width, info.height), cv::Size(kWidth, kHeight)) << row.file;
        EXPECT_TRUE(info.iccProfile.empty());
        EXPECT_EQ(info.frames, 1);
        const DecodedImage decoded = DecodeImage(bytes);
        EXPECT_TRUE(info.warnings.empty() && decoded.warnings.empty()) << row.file;
        const cv::Mat& pixels = decoded.image.GetMat();
        ASSERT_EQ(pixels.type(), row.type) << row.file;
        ASSERT_EQ(pixels.size(), cv::Size(kWidth, kHeight)) << row.file;
        const double full = pixels.depth() == CV_16U ? 257.0 : 1.0;
        double worst = 0;
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x)
                for (int c = 0; c < pixels.channels(); ++c)
                    worst = std::max(
                        worst, std::abs(SampleAt(pixels, x, y, c) / full - Expected(row.isGrey, x, y, c)));
        EXPECT_LE(worst, row.worst) << row.file;
    }
    const Bytes profile = ReadImageInfo(Variant("icc.avif")).iccProfile;
    ASSERT_EQ(profile.size(), 144U);
    EXPECT_EQ(std::string(profile.begin() + 36, profile.begin() + 40), "acsp");
    // Ten and twelve bits reach the full range.
    EXPECT_EQ(SampleAt(DecodeImage(Variant("deepalpha.avif")).image.GetMat(), 0, 0, 3), 65535);
    EXPECT_EQ(SampleAt(DecodeImage(Variant("deep.avif")).image.GetMat(), 0, 0, 0), 32928);  // 514 of 1023
}

void AppendBig32(Bytes& bytes, std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<std::uint8_t>(value >> shift));
}

Bytes Box(const std::string& name, const Bytes& body) {
    Bytes box;
    AppendBig32(box, static_cast<std::uint32_t>(8 + body.size()));
    samples::AppendText(box, name);
    box.insert(box.end(), body.begin(), body.end());
    return box;
}

// The JPEG 2000 files of these tests: the header box stands at 32 with the picture's size and the colour in it.
constexpr std::size_t kHeaderBox = 32;
constexpr std::size_t kColour = 62;
constexpr std::size_t kHeaderEnd = 77;

Bytes WithColour(Bytes jp2, std::uint8_t space) {
    jp2.at(kColour + 14) = space;
    return jp2;
}

// With another box at the header box's end.
Bytes WithBox(Bytes jp2, const Bytes& box) {
    jp2.at(kHeaderBox + 3) = static_cast<std::uint8_t>(jp2.at(kHeaderBox + 3) + box.size());
    jp2.insert(jp2.begin() + kHeaderEnd, box.begin(), box.end());
    return jp2;
}

// Of the first component's samples on.
std::size_t SizeSegment(const Bytes& jp2) {
    for (std::size_t at = 0; at + 1 < jp2.size(); ++at)
        if (jp2[at] == 0xff && jp2[at + 1] == 0x51) return at;
    return 0;
}

TEST(Jpeg2000, ColoursHaveTheirNames) {
    const Bytes colour = Variant("irr.jp2");
    const Bytes grey = samples::kGreyJp2;
    const std::string nine = "8b x3 JPEG 2000, irreversible 9/7 wavelet, ";
    const std::string five = "8b x1 JPEG 2000, reversible 5/3 wavelet, ";
    const std::pair<Bytes, std::string> rows[] = {
        {WithColour(colour, 12), nine + "CMYK"},
        {WithColour(colour, 16), nine + "sRGB"},
        {WithColour(colour, 17), nine + "Grey"},
        {WithColour(colour, 18), nine + "sYCC"},
        {WithColour(colour, 99), nine + "RGB"},
        {WithColour(grey, 99), five + "Grey"},
        {WithBox(grey, Box("pclr", Bytes(8))), five + "Palette"},
    };
    for (const auto& [bytes, line] : rows) EXPECT_EQ(Line(ReadImageInfo(bytes)), line);
    // Of two statements the first holds; a profile beside a number is kept.
    const Bytes second = WithBox(colour, Box("colr", {1, 0, 0, 0, 0, 0, 17}));
    EXPECT_EQ(Line(ReadImageInfo(second)), nine + "sRGB");
    const Bytes profile = WithBox(colour, Box("colr", {2, 0, 0, 'i', 'c', 'c'}));
    EXPECT_EQ(ReadImageInfo(profile).iccProfile, (Bytes{'i', 'c', 'c'}));
    EXPECT_EQ(Line(ReadImageInfo(profile)), nine + "sRGB");
    const Bytes two =
        WithBox(WithBox(colour, Box("colr", {2, 0, 0, 'n', 'o'})), Box("colr", {2, 0, 0, 'i', 'c', 'c'}));
    EXPECT_EQ(ReadImageInfo(two).iccProfile.size(), 3U) << "of two profiles the first";
    // The boxes of the header box say nothing elsewhere.
    Bytes outside = colour;
    const Bytes stray = Box("pclr", Bytes(8));
    outside.insert(outside.begin() + kHeaderBox, stray.begin(), stray.end());
    EXPECT_EQ(Line(ReadImageInfo(outside)), nine + "sRGB");
    Bytes transform = samples::kGreyJ2k;
    for (std::size_t at = 0; at + 1 < transform.size(); ++at)
        if (transform[at] == 0xff && transform[at + 1] == 0x52) transform[at + 13] = 7;
    EXPECT_EQ(Line(ReadImageInfo(transform)), "8b x1 JPEG 2000, Grey");
}

// Whatever lies in the memory that the library gets, which is what other pictures left there.
TEST(Jpeg2000, ATileOfWhichNothingIsThereIsTheSameEachTime) {
    std::map<std::string, Image> first;
    for (int round = 0; round < 40; ++round)
        for (const std::string name : {"tiles.jp2", "irr.jp2", "four.jp2", "ycc.jp2", "twelve.jp2"}) {
            const Bytes bytes = Variant(name);
            std::size_t start = 0;
            while (Big16(bytes, start) != 0xff93) ++start;  // where the data of the first tile begin
            mallopt(M_PERTURB, 0x11 + round);
            const Image image = DecodeImage(std::span(bytes).first(start + 2)).image;
            mallopt(M_PERTURB, 0);
            EXPECT_TRUE(image.IsEqual(first.try_emplace(name, image).first->second)) << name;
        }
}

TEST(Jpeg2000, TheFirstCodeStreamIsThePicture) {
    Bytes two = samples::kGreyJp2;
    const Bytes other(samples::kGreyJ2k);
    Bytes larger = other;
    larger[SizeSegment(larger) + 9] = 32;  // a second stream that says it is wider
    const Bytes box = Box("jp2c", larger);
    two.insert(two.end(), box.begin(), box.end());
    EXPECT_EQ(ReadImageInfo(two).width, 16);
    EXPECT_TRUE(DecodeImage(two).image.IsEqual(samples::GreySlope()));
}

TEST(Jpeg2000, LuminanceInkAndAlphaBecomeColours) {
    const auto clamp = [](double value) {
        return static_cast<int>(std::min(255.0, std::max(0.0, value + 0.5)));
    };
    const Bytes ycc = Variant("ycc.jp2");  // chroma of half the width and height
    EXPECT_EQ(Line(ReadImageInfo(ycc)), "8b x3 JPEG 2000, reversible 5/3 wavelet, sYCC");
    const cv::Mat colours = DecodeImage(ycc).image.GetMat();
    const Bytes cmyk = Variant("cmyk.jp2");
    const cv::Mat inks = DecodeImage(WithColour(cmyk, 12)).image.GetMat();
    const DecodedImage without = DecodeImage(cmyk);
    EXPECT_EQ(without.warnings, std::vector<std::string>{"Further components, left out: 1."});
    const Bytes channels = {0, 4, 0, 0, 0, 0, 0, 1, 0, 1, 0, 0, 0, 2, 0, 2, 0, 0, 0, 3, 0, 3, 0, 1, 0, 0};
    const DecodedImage clear = DecodeImage(WithBox(Variant("alpha.jp2"), Box("cdef", channels)));
    EXPECT_TRUE(clear.warnings.empty());
    ASSERT_EQ(colours.type(), CV_8UC3);
    ASSERT_EQ(inks.type(), CV_8UC3);
    ASSERT_EQ(without.image.GetMat().type(), CV_8UC3);
    ASSERT_EQ(clear.image.GetMat().type(), CV_8UC4);
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) {
            const double luma = 16 * x + y;
            const double blue = 100 + 8 * (x / 2) - 128;
            const double red = 160 - 16 * (y / 2) - 128;
            EXPECT_EQ(SampleAt(colours, x, y, 0), clamp(luma + 1.772 * blue)) << x << ' ' << y;
            EXPECT_EQ(SampleAt(colours, x, y, 1), clamp(luma - 0.344136 * blue - 0.714136 * red))
                << x << ' ' << y;
            EXPECT_EQ(SampleAt(colours, x, y, 2), clamp(luma + 1.402 * red)) << x << ' ' << y;
            const int ink[] = {100, 32 * y, 16 * x};  // of yellow, magenta and cyan
            for (int c = 0; c < 3; ++c) {
                EXPECT_EQ(SampleAt(inks, x, y, c), ((255 - ink[c]) * (255 - 8 * y) * 2 + 255) / 510)
                    << x << ' ' << y;
                EXPECT_EQ(SampleAt(without.image.GetMat(), x, y, c), ink[c]);
            }
            for (int c = 0; c < 4; ++c)
                EXPECT_EQ(SampleAt(clear.image.GetMat(), x, y, c), Expected(false, x, y, c));
        }
}

TEST(Jpeg2000, FewAndManyBitsReachTheFullRange) {
    const cv::Mat four = DecodeImage(Variant("four.jp2")).image.GetMat();
    const cv::Mat twelve = DecodeImage(Variant("twelve.jp2")).image.GetMat();
    ASSERT_EQ(four.type(), CV_8UC1);
    ASSERT_EQ(twelve.type(), CV_16UC1);
    EXPECT_EQ(ReadImageInfo(Variant("four.jp2")).bitsPerSample, 4);
    EXPECT_EQ(ReadImageInfo(Variant("twelve.jp2")).bitsPerSample, 12);
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) {
            EXPECT_EQ(SampleAt(four, x, y, 0), (x + y) % 16 * 17);
            EXPECT_EQ(SampleAt(twelve, x, y, 0), ((250 * x + 30 * y) * 65535 * 2 + 4095) / 8190);
        }
}

TEST(Jpeg2000, SizesThatCannotBeAreRefused) {
    const Bytes whole = samples::kGreyJp2;
    const std::size_t size = SizeSegment(whole) + 2;  // of the length; behind it 2 + the numbers
    const struct {
        std::size_t at;
        std::uint32_t value;
        const char* problem;
        int width;
        int height;
    } rows[] = {
        {4, 16, "", 16, 8},
        {4, 0, "no picture size", 0, 0},
        {8, 0, "no picture size", 0, 0},
        {12, 16, "no picture size", 0, 0},  // left as far as right
        {12, 15, "", 1, 8},
        {16, 8, "no picture size", 0, 0},
        {16, 7, "", 16, 1},
        {20, 0, "no picture size", 0, 0},  // tiles without width
        {24, 0, "no picture size", 0, 0},
        {28, 1, "no picture size", 0, 0},  // tiles that begin behind the picture
        {32, 1, "no picture size", 0, 0},
    };
    for (const auto& row : rows) {
        Bytes bytes = whole;
        for (std::size_t i = 0; i < 4; ++i)
            bytes.at(size + row.at + i) = static_cast<std::uint8_t>(row.value >> (24 - 8 * i));
        const ImageInfo info = ReadImageInfo(bytes);
        EXPECT_EQ(cv::Size(info.width, info.height), cv::Size(row.width, row.height))
            << row.at << ' ' << row.value;
        EXPECT_EQ(info.warnings,
                  *row.problem == 0
                      ? std::vector<std::string>()
                      : std::vector<std::string>{"The file has no picture size that makes sense."})
            << row.at << ' ' << row.value;
        if (*row.problem == 0) continue;
        EXPECT_THROW(DecodeImage(bytes), ZorException) << row.at << ' ' << row.value;
    }
}

Bytes Little24(std::uint32_t value) {
    return {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8),
            static_cast<std::uint8_t>(value >> 16)};
}

Bytes Chunk(const std::string& name, const Bytes& body) {
    Bytes chunk;
    samples::AppendText(chunk, name);
    samples::Append32(chunk, static_cast<std::uint32_t>(body.size()));
    chunk.insert(chunk.end(), body.begin(), body.end());
    if (body.size() % 2 != 0) chunk.push_back(0);
    return chunk;
}

Bytes Riff(const Bytes& chunks) {
    Bytes bytes;
    samples::AppendText(bytes, "RIFF");
    samples::Append32(bytes, static_cast<std::uint32_t>(4 + chunks.size()));
    samples::AppendText(bytes, "WEBP");
    bytes.insert(bytes.end(), chunks.begin(), chunks.end());
    return bytes;
}

TEST(Webp, ChunksOfThePictureAndBesideIt) {
    const Bytes plain = EncodeImage(samples::ColourSlope(), "webp");
    const Bytes picture(plain.begin() + 12, plain.end());
    const auto header = [](int flags, std::uint32_t width, std::uint32_t height) {
        return Chunk("VP8X", Bytes{static_cast<std::uint8_t>(flags), 0, 0, 0} + Little24(width - 1) +
                                 Little24(height - 1));
    };
    // Profiles of odd and even length; of two the first.
    for (const std::size_t size : {5U, 6U}) {
        const Bytes profile(size, 'p');
        const Bytes file =
            Riff(header(0x20, 16, 8) + Chunk("ICCP", profile) + Chunk("ICCP", Bytes(9, 'q')) + picture);
        const ImageInfo info = ReadImageInfo(file);
        EXPECT_EQ(info.iccProfile, profile);
        EXPECT_EQ(Line(info), "8b x3 WebP lossless, RGB");
        EXPECT_TRUE(info.warnings.empty());
        EXPECT_TRUE(DecodeImage(file).image.IsEqual(samples::ColourSlope()));
    }
    // A frame on a larger canvas: places are told in pairs of pixels.
    const auto frame = [&picture](std::uint32_t x, std::uint32_t y) {
        return Chunk("ANMF",
                     Little24(x / 2) + Little24(y / 2) + Little24(15) + Little24(7) + Bytes(4) + picture);
    };
    const struct {
        std::uint32_t x, y, width, height;
    } places[] = {{0, 0, 20, 8}, {0, 0, 16, 9}, {4, 0, 20, 8}, {0, 2, 16, 10}, {6, 10, 22, 18}};
    for (const auto& place : places) {
        const Bytes file = Riff(header(2, place.width, place.height) + Chunk("ANIM", Bytes(6)) +
                                frame(place.x, place.y) + frame(0, 0) + frame(0, 0));
        const ImageInfo info = ReadImageInfo(file);
        EXPECT_EQ(info.frames, 3);
        EXPECT_EQ(cv::Size(info.width, info.height),
                  cv::Size(static_cast<int>(place.width), static_cast<int>(place.height)));
        const cv::Mat pixels = DecodeImage(file).image.GetMat();
        ASSERT_EQ(pixels.type(), CV_8UC4);
        ASSERT_EQ(pixels.size(), cv::Size(info.width, info.height));
        const cv::Rect shown(static_cast<int>(place.x), static_cast<int>(place.y), 16, 8);
        int wrong = 0;
        for (int y = 0; y < pixels.rows; ++y)
            for (int x = 0; x < pixels.cols; ++x)
                for (int c = 0; c < 4; ++c) {
                    const bool isIn = shown.contains({x, y});
                    const int expected = !isIn    ? 0
                                         : c == 3 ? 255
                                                  : Expected(false, x - shown.x, y - shown.y, c);
                    wrong += SampleAt(pixels, x, y, c) != expected ? 1 : 0;
                }
        EXPECT_EQ(wrong, 0) << place.x << ' ' << place.y;
    }
    // The file's length says 4 + 8 + 10 bytes and so on; a chunk that claims more than there is, is told.
    Bytes cut = Riff(header(0x20, 16, 8) + picture + Chunk("EXIF", Bytes(20)));
    EXPECT_TRUE(ReadImageInfo(cut).warnings.empty());
    cut.pop_back();
    EXPECT_EQ(ReadImageInfo(cut).warnings, std::vector<std::string>{"File ends early: a chunk is cut off."});
}

TEST(Webp, ACutPictureIsEmptyWhereItsRowsAreMissing) {
    const Bytes whole = EncodeImage(samples::MakeScene(400, 300, 3), "webp");
    const cv::Mat full = DecodeImage(whole).image.GetMat();
    const DecodedImage cut = DecodeImage(std::span(whole).first(whole.size() / 2));
    ASSERT_EQ(cut.warnings.size(), 1U);
    int rows = 300;
    while (rows > 0 && cv::norm(cut.image.GetMat().row(rows - 1), cv::NORM_INF) == 0) --rows;
    EXPECT_GT(rows, 50);
    EXPECT_LT(rows, 250);
    EXPECT_EQ(cut.warnings[0],
              "File ends early: the last " + std::to_string(300 - rows) + " of 300 rows are missing.");
    EXPECT_EQ(cv::norm(cut.image.GetMat().rowRange(0, rows), full.rowRange(0, rows), cv::NORM_INF), 0);
}

}  // namespace
