// The headers of BMP files, field by field: each row changes one thing, and says what the file then is.

#include <gtest/gtest.h>

#include "tests/zorimage/samples.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"

namespace {

using samples::operator+;
using samples::Append16;
using samples::Append32;
using samples::MakeBmp;

// A second header of that many bytes, zero behind what all of them have.
Bytes Header(std::uint32_t size, int width, int height, int bits, std::uint32_t code,
             std::uint32_t used = 0) {
    Bytes bytes = samples::BmpHeader(width, height, bits, code, used);
    bytes.resize(size, 0);
    bytes[0] = static_cast<std::uint8_t>(size);
    return bytes;
}

Bytes Masks(std::initializer_list<std::uint32_t> masks) {
    Bytes bytes;
    for (const std::uint32_t mask : masks) Append32(bytes, mask);
    return bytes;
}

Bytes With(Bytes bytes, std::size_t at, const Bytes& part) {
    std::copy(part.begin(), part.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
    return bytes;
}

std::string Info(const Bytes& file) {
    const ImageInfo info = ReadImageInfo(file);
    std::string text = std::to_string(info.width) + "x" + std::to_string(info.height) + " " +
                       std::to_string(info.bitsPerSample) + "b x" + std::to_string(info.channels) + " " +
                       info.compression + ", " + info.colourModel;
    for (const std::string& warning : info.warnings) text += " | " + warning;
    return text;
}

// Samples of the top row, or the refusal.
std::string Pixels(const Bytes& file, int y = 0) {
    try {
        const DecodedImage decoded = DecodeImage(file);
        const cv::Mat& pixels = decoded.image.GetMat();
        std::string text;
        for (int i = 0; i < pixels.cols * pixels.channels(); ++i)
            text += std::to_string(pixels.depth() == CV_16U ? pixels.ptr<std::uint16_t>(y)[i]
                                                            : pixels.ptr(y)[i]) +
                    ((i + 1) % pixels.channels() == 0 ? " " : ".");
        for (const std::string& warning : decoded.warnings) text += "| " + warning;
        return text;
    } catch (const ZorException& exception) {
        return exception.GetMessage();
    }
}

const Bytes kPalette = {10, 20, 30, 0, 40, 50, 60, 0, 70, 80, 90, 0, 100, 110, 120, 0};

TEST(BmpHeaders, CodingsAndWhatTheyAreCalled) {
    const struct {
        std::uint32_t size;  // of the header
        int bits;
        std::uint32_t code;
        const char* name;  // what starts with a T is a refusal
    } rows[] = {
        {40, 1, 0, "none"},
        {40, 2, 0, "none"},
        {40, 4, 0, "none"},
        {40, 8, 0, "none"},
        {40, 16, 0, "none"},
        {40, 24, 0, "none"},
        {40, 32, 0, "none"},
        {40, 8, 1, "RLE8"},
        {40, 4, 2, "RLE4"},
        {124, 16, 3, "none (bit fields)"},
        {124, 32, 3, "none (bit fields)"},
        {124, 32, 6, "none (bit fields)"},
        {64, 1, 3, "Huffman 1D"},
        {64, 24, 4, "RLE24"},
        {40, 24, 4, "JPEG"},
        {40, 0, 4, "JPEG"},
        {40, 0, 5, "PNG"},
        {40, 24, 7, "unknown (7)"},
        {40, 3, 0, "T3 bits per pixel with the coding \"none\""},
        {40, 48, 0, "T48 bits per pixel with the coding \"none\""},
        {40, 0, 0, "T0 bits per pixel with the coding \"none\""},
        {40, 4, 1, "T4 bits per pixel with the coding \"RLE8\""},
        {40, 8, 2, "T8 bits per pixel with the coding \"RLE4\""},
        {124, 24, 3, "T24 bits per pixel with the coding \"none (bit fields)\""},
        {124, 8, 6, "T8 bits per pixel with the coding \"none (bit fields)\""},
    };
    for (const auto& row : rows) {
        Bytes header = Header(row.size, 1, 1, row.bits, row.code);
        if (row.size == 124) header = With(header, 40, Masks({0x7c00, 0x3e0, 0x1f, 0}));
        const ImageInfo info = ReadImageInfo(MakeBmp(header, Bytes(2000)));
        if (*row.name != 'T') {
            EXPECT_EQ(info.compression, row.name) << row.size << ' ' << row.bits << ' ' << row.code;
            continue;
        }
        ASSERT_EQ(info.warnings.size(), 1U) << row.name;
        EXPECT_NE(info.warnings[0].find(row.name + 1), std::string::npos) << row.name;
    }
}

TEST(BmpHeaders, EverySizeOfHeaderIsReadAsFarAsItGoes) {
    // The size of the picture, its bits and its colours, whatever follows them.
    for (const std::uint32_t size : {16U, 40U, 52U, 56U, 64U, 108U, 124U}) {
        Bytes palette = kPalette;
        palette.resize(1024);
        const Bytes file = MakeBmp(Header(size, 2, 1, 8, 0) + palette, {1, 0, 0, 0});
        EXPECT_EQ(Info(file), "2x1 8b x1 none, Palette (256)") << size;
        EXPECT_EQ(Pixels(file), "40.50.60 10.20.30 ") << size;
    }
    // The oldest header has numbers of 16 bits and a palette of triples.
    Bytes oldest;
    Append32(oldest, 12);
    for (const std::uint32_t value : {3U, 2U, 1U, 4U}) Append16(oldest, value);
    for (int i = 0; i < 16; ++i) oldest.insert(oldest.end(), {static_cast<std::uint8_t>(i), 7, 9});
    const Bytes file = MakeBmp(oldest, {0x12, 0x30, 0, 0, 0x45, 0x60, 0, 0});
    EXPECT_EQ(Info(file), "3x2 4b x1 none, Palette (16)");
    EXPECT_EQ(Pixels(file, 0), "4.7.9 5.7.9 6.7.9 ");
    EXPECT_EQ(Pixels(file, 1), "1.7.9 2.7.9 3.7.9 ");
}

TEST(BmpHeaders, AHeaderLongerThanTheFileIsRefused) {
    const Bytes file = MakeBmp(Header(40, 1, 1, 24, 0), {1, 2, 3, 0});
    ASSERT_EQ(file.size(), 58U);
    EXPECT_EQ(Pixels(With(file, 14, {44})), "The BMP file ends before its first row of pixels.");
    EXPECT_EQ(Pixels(With(file, 14, {48})), "The BMP file ends inside its headers.");
    EXPECT_EQ(Pixels(With(file, 14, {124})), "The BMP file ends inside its headers.");
}

TEST(BmpHeaders, MasksStandInTheHeaderOrBehindIt) {
    const Bytes five = {0x21, 0x84, 0xff, 0xff};  // 1, 1 and 1 of 5 bits and the highest bit; all ones
    const struct {
        const char* what;
        Bytes file;
        const char* info;
        const char* pixels;
    } rows[] = {
        {"5 5 5", MakeBmp(Header(40, 2, 1, 16, 0), five), "2x1 5b x3 none, RGB", "8.8.8 255.255.255 "},
        {"8 8 8 and a filler", MakeBmp(Header(40, 1, 1, 32, 0), {1, 2, 3, 200}), "1x1 8b x3 none, RGB",
         "1.2.3 "},
        {"5 6 5 behind", MakeBmp(Header(40, 2, 1, 16, 3) + Masks({0xf800, 0x7e0, 0x1f}), five),
         "2x1 6b x3 none (bit fields), RGB", "8.134.132 255.255.255 "},
        {"1 5 5 5 behind, with alpha",
         MakeBmp(Header(40, 2, 1, 16, 6) + Masks({0x7c00, 0x3e0, 0x1f, 0x8000}), {0x21, 0x84, 0x21, 0x04}),
         "2x1 5b x4 none (bit fields), RGB + alpha", "8.8.8.255 8.8.8.0 "},
        {"in a header of 52",
         MakeBmp(With(Header(52, 1, 1, 32, 3), 40, Masks({0xff, 0xff00, 0xff0000})), {1, 2, 3, 4}),
         "1x1 8b x3 none (bit fields), RGB", "3.2.1 "},
        {"in a header of 56",
         MakeBmp(With(Header(56, 1, 1, 32, 3), 40, Masks({0xff, 0xff00, 0xff0000, 0xff000000})),
                 {1, 2, 3, 4}),
         "1x1 8b x4 none (bit fields), RGB + alpha", "3.2.1.4 "},
        {"ten bits each",
         MakeBmp(With(Header(108, 1, 1, 32, 3), 40, Masks({0x3ff00000, 0xffc00, 0x3ff, 0})),
                 {0x01, 0x08, 0xf0, 0x3f}),  // 1, 2 and 1023
         "1x1 10b x3 none (bit fields), RGB", "64.128.65535 "},
        {"nine bits of one",
         MakeBmp(With(Header(108, 1, 1, 32, 3), 40, Masks({0xff000000, 0xff0000, 0x1ff, 0})), {0, 1, 0, 255}),
         "1x1 9b x3 none (bit fields), RGB", "32832.0.65535 "},
        {"a colour without bits",
         MakeBmp(With(Header(108, 1, 1, 32, 3), 40, Masks({0xff0000, 0, 0xff, 0})), {9, 8, 7, 6}),
         "1x1 8b x3 none (bit fields), RGB", "9.0.7 "},
        {"no colours at all", MakeBmp(Header(108, 1, 1, 32, 3), {9, 8, 7, 6}),
         "0x0 0b x0 ,  | The BMP file's colour masks are empty.", "The BMP file's colour masks are empty."},
        {"a mask with a hole",
         MakeBmp(Header(40, 1, 1, 32, 3) + Masks({0xff0000, 0xbf00, 0xff}), {9, 8, 7, 6}),
         "0x0 0b x0 ,  | The BMP file's colour masks have holes.", "The BMP file's colour masks have holes."},
        {"three masks and no more", MakeBmp(Header(40, 1, 1, 32, 3) + Masks({0xff0000, 0xff00, 0xff}), {}),
         "1x1 8b x3 none (bit fields), RGB | File ends early: rows of the picture are missing.",
         "The BMP file ends before its first row of pixels."},
        {"three masks, cut", MakeBmp(Header(40, 1, 1, 32, 3) + Bytes(11), {}),
         "0x0 0b x0 ,  | The BMP file ends before its colour masks.",
         "The BMP file ends before its colour masks."},
        {"four masks, cut", MakeBmp(Header(40, 1, 1, 32, 6) + Bytes(15), {}),
         "0x0 0b x0 ,  | The BMP file ends before its colour masks.",
         "The BMP file ends before its colour masks."},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Info(row.file), row.info) << row.what;
        EXPECT_EQ(Pixels(row.file), row.pixels) << row.what;
    }
}

TEST(BmpHeaders, PalettesEndWhereThePixelsBegin) {
    const struct {
        const char* what;
        Bytes file;
        const char* info;
        const char* pixels;
    } rows[] = {
        {"four colours of 2 bits", MakeBmp(Header(40, 4, 1, 2, 0) + kPalette, {0xe4, 0, 0, 0}),
         "4x1 2b x1 none, Palette (4)", "100.110.120 70.80.90 40.50.60 10.20.30 "},
        {"fewer than stated", MakeBmp(Header(40, 1, 1, 8, 0, 200) + kPalette, {3, 0, 0, 0}),
         "1x1 8b x1 none, Palette (4)", "100.110.120 "},
        {"more than can be", MakeBmp(Header(40, 2, 1, 1, 0, 3) + kPalette, {0x40, 0, 0, 0}),
         "2x1 1b x1 none, Palette (2) | The palette claims 3 colours.",
         "10.20.30 40.50.60 | The palette claims 3 colours."},
        {"as many as can be", MakeBmp(Header(40, 3, 1, 1, 0, 2) + kPalette, {0xa0, 0, 0, 0}),
         "3x1 1b x1 none, Palette (2)", "40.50.60 10.20.30 40.50.60 "},
        {"one, and an index beyond it",
         MakeBmp(Header(40, 2, 1, 8, 0, 1) + Bytes(kPalette.begin(), kPalette.begin() + 4), {0, 1, 0, 0}),
         "2x1 8b x1 none, Palette (1)",
         "10.20.30 0.0.0 | Some pixels have colours that the palette does not hold; they are black."},
        {"none", MakeBmp(Header(40, 2, 1, 8, 0), {0, 1, 0, 0}), "2x1 8b x1 none, Palette (0)",
         "0.0.0 0.0.0 | Some pixels have colours that the palette does not hold; they are black."},
        {"cut",
         With(MakeBmp(Header(40, 1, 1, 8, 0, 4) + Bytes(kPalette.begin(), kPalette.begin() + 9), {}), 10,
              {200}),
         "1x1 8b x1 none, Palette (2) | File ends early: the palette is cut off. | The place of the pixels, 200, "
         "cannot be right; they are taken from behind the headers.",
         "0.0.0 | File ends early: the palette is cut off.| The place of the pixels, 200, cannot be right; they are taken from behind the headers.| Some pixels have colours that the palette does not hold; they are black."},
        {"hints for displays are passed over",
         With(MakeBmp(Header(40, 1, 1, 24, 0, 2) + Bytes{9, 9, 9, 9, 8, 8, 8, 8}, {1, 2, 3, 0}), 10, {0}),
         "1x1 8b x3 none, RGB | The place of the pixels, 0, cannot be right; they are taken from behind the headers.",
         "1.2.3 | The place of the pixels, 0, cannot be right; they are taken from behind the headers."},
        {"as many hints as can be",
         With(MakeBmp(Header(40, 1, 1, 24, 0, 256) + Bytes(1024, 9), {1, 2, 3, 0}), 10, {0, 0}),
         "1x1 8b x3 none, RGB | The place of the pixels, 0, cannot be right; they are taken from behind the headers.",
         "1.2.3 | The place of the pixels, 0, cannot be right; they are taken from behind the headers."},
        {"too many hints are none", With(MakeBmp(Header(40, 1, 1, 24, 0, 257), {1, 2, 3, 0}), 10, {0}),
         "1x1 8b x3 none, RGB | The place of the pixels, 0, cannot be right; they are taken from behind the headers.",
         "1.2.3 | The place of the pixels, 0, cannot be right; they are taken from behind the headers."},
        {"a place inside the header", With(MakeBmp(Header(40, 1, 1, 24, 0), {1, 2, 3, 0}), 10, {53}),
         "1x1 8b x3 none, RGB | The place of the pixels, 53, cannot be right; they are taken from behind the headers.",
         "1.2.3 | The place of the pixels, 53, cannot be right; they are taken from behind the headers."},
        {"room before the pixels", With(MakeBmp(Header(40, 1, 1, 24, 0), {7, 7, 1, 2, 3, 0}), 10, {56}),
         "1x1 8b x3 none, RGB", "1.2.3 "},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Info(row.file), row.info) << row.what;
        EXPECT_EQ(Pixels(row.file), row.pixels) << row.what;
    }
}

TEST(BmpHeaders, ProfilesStandBehindTheLongestHeader) {
    Bytes header = With(Header(124, 1, 1, 24, 0), 56, {0x44, 0x45, 0x42, 0x4d});
    header[112] = 124 + 4;  // from the header's beginning, behind the pixel
    header[116] = 5;
    const Bytes file = MakeBmp(header, {1, 2, 3, 0, 'p', 'r', 'o', 'f', 'i', '!'});
    EXPECT_EQ(ReadImageInfo(file).iccProfile, (Bytes{'p', 'r', 'o', 'f', 'i'}));
    const std::pair<std::size_t, std::uint8_t> changes[] = {{14 + 56, 0x73},   // another colour space
                                                            {14 + 116, 7},     // longer than the file
                                                            {14 + 112, 140}};  // outside
    for (const auto& [at, value] : changes)
        EXPECT_TRUE(ReadImageInfo(With(file, at, {value})).iccProfile.empty()) << at;
    EXPECT_EQ(ReadImageInfo(With(file, 14 + 116, {6})).iccProfile.size(), 6U) << "up to the last byte";
}

TEST(BmpHeaders, RowsThatAreMissingAreCounted) {
    const Bytes rows = {1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 0};
    const struct {
        int height;
        std::size_t bytes;
        const char* top;
        const char* bottom;
        bool isTold;
    } cases[] = {
        {3, 12, "7.8.9 ", "1.2.3 ", false},
        {3, 11, "7.8.9 ", "1.2.3 ", false},  // only the padding is missing
        {3, 10, "0.0.0 | File ends early: the first 1 of 3 rows are missing.",
         "1.2.3 | File ends early: the first 1 of 3 rows are missing.", true},
        {-3, 11, "1.2.3 ", "7.8.9 ", false},
        {-3, 7, "1.2.3 | File ends early: the last 1 of 3 rows are missing.",
         "0.0.0 | File ends early: the last 1 of 3 rows are missing.", true},
        {-3, 3, "1.2.3 | File ends early: the last 2 of 3 rows are missing.",
         "0.0.0 | File ends early: the last 2 of 3 rows are missing.", true},
        {3, 2, "The BMP file ends before its first row of pixels.",
         "The BMP file ends before its first row of pixels.", true},
    };
    for (const auto& one : cases) {
        const Bytes file =
            MakeBmp(Header(40, 1, one.height, 24, 0),
                    Bytes(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(one.bytes)));
        EXPECT_EQ(Pixels(file, 0), one.top) << one.height << ' ' << one.bytes;
        EXPECT_EQ(Pixels(file, 2), one.bottom) << one.height << ' ' << one.bytes;
        EXPECT_EQ(Info(file), std::string("1x3 8b x3 none, RGB") +
                                  (one.isTold ? " | File ends early: rows of the picture are missing." : ""));
    }
}

TEST(BmpHeaders, RunsGoWhereTheFileSays) {
    const Bytes colours = {0, 0, 0, 0, 1, 1, 1, 0, 2, 2, 2, 0, 3, 3, 3, 0};
    const struct {
        const char* what;
        int bits;
        int height;
        Bytes data;
        const char* top;
        const char* bottom;
        const char* warning;
    } rows[] = {
        {"two rows", 8, 2, {4, 1, 0, 0, 4, 2, 0, 1}, "2222", "1111", ""},
        {"top down", 8, -2, {4, 1, 0, 0, 4, 2, 0, 1}, "1111", "2222", ""},
        {"an odd literal and its padding",
         8,
         2,
         {0, 3, 1, 2, 3, 9, 1, 1, 0, 0, 2, 3, 0, 1},
         "3300",
         "1231",
         ""},
        {"an even literal without", 8, 2, {0, 4, 1, 2, 3, 1, 0, 0, 1, 3, 0, 1}, "3000", "1231", ""},
        {"three of 4 bits", 4, 2, {0, 3, 0x12, 0x30, 1, 0x20, 0, 1}, "0000", "1232", ""},
        {"three of 4 bits at the end", 4, 1, {0, 3, 0x12, 0x30, 0, 1}, "1230", "1230", ""},
        {"runs of 4 bits change between two",
         4,
         2,
         {3, 0x12, 1, 0x30, 0, 0, 2, 0x31, 0, 1},
         "3100",
         "1213",
         ""},
        {"a leap right and up", 8, 2, {1, 1, 0, 2, 1, 1, 1, 2, 0, 1}, "0020", "1000", ""},
        {"a leap to the edge", 8, 2, {0, 2, 3, 0, 1, 2, 0, 1}, "0000", "0002", ""},
        {"past the right edge",
         8,
         2,
         {5, 1, 0, 0, 1, 2, 0, 1},
         "2000",
         "1111",
         "Some rows of the file are longer than the picture is wide."},
        {"a row's end and no more",
         8,
         2,
         {4, 1, 0, 0},
         "0000",
         "1111",
         "File ends early: the first 1 of 2 rows are missing."},
        {"both rows' ends, no end mark", 8, 2, {4, 1, 0, 0, 4, 2, 0, 0}, "2222", "1111", ""},
        {"a literal cut",
         8,
         2,
         {1, 1, 0, 3, 1, 2},
         "0000",
         "1000",
         "File ends early: the first 2 of 2 rows are missing."},
        {"a leap cut",
         8,
         2,
         {4, 1, 0, 0, 0, 2, 1},
         "0000",
         "1111",
         "File ends early: the first 1 of 2 rows are missing."},
        {"an early end mark", 8, 2, {2, 3, 0, 1, 4, 1, 0, 0}, "0000", "3300", ""},
    };
    for (const auto& row : rows) {
        const DecodedImage decoded = DecodeImage(
            MakeBmp(Header(40, 4, row.height, row.bits, row.bits == 8 ? 1 : 2, 4) + colours, row.data));
        const auto text = [&decoded](int y) {
            std::string levels;
            for (int x = 0; x < 4; ++x)
                levels += static_cast<char>('0' + decoded.image.GetMat().at<cv::Vec3b>(y, x)[1]);
            return levels;
        };
        EXPECT_EQ(text(0), row.top) << row.what;
        EXPECT_EQ(text(decoded.image.GetHeight() - 1), row.bottom) << row.what;
        EXPECT_EQ(decoded.warnings,
                  *row.warning == 0 ? std::vector<std::string>() : std::vector<std::string>{row.warning})
            << row.what;
    }
}

}  // namespace
