// PNG files of every colour type and depth, plain and interlaced, written byte by byte; what their headers say, and what is left of one that is cut.

#include <gtest/gtest.h>
#include <zlib.h>

#include <functional>
#include <opencv2/core.hpp>

#include "tests/zorimage/samples.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"

namespace {

using samples::operator+;

void AppendBig32(Bytes& bytes, std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<std::uint8_t>(value >> shift));
}

Bytes Chunk(const std::string& name, const Bytes& body) {
    Bytes chunk;
    AppendBig32(chunk, static_cast<std::uint32_t>(body.size()));
    samples::AppendText(chunk, name);
    chunk.insert(chunk.end(), body.begin(), body.end());
    AppendBig32(chunk, static_cast<std::uint32_t>(crc32(0, &chunk[4], static_cast<uInt>(chunk.size() - 4))));
    return chunk;
}

struct Layout {
    int width = 13;
    int height = 11;
    int bits = 8;
    int colour = 0;  // 0 grey, 2 RGB, 3 palette, 4 grey and alpha, 6 RGB and alpha
    bool isInterlaced = false;
    Bytes before = {};  // chunks in front of the pixels
};

int SamplesOf(int colour) {
    return colour == 2 ? 3 : colour == 4 ? 2 : colour == 6 ? 4 : 1;
}

// A value that fills the bits and tells its place.
std::uint32_t Stored(int bits, int x, int y, int sample) {
    return static_cast<std::uint32_t>(x * 2654435 + y * 40503 + sample * 97777 + 12345) * 2654435761U >>
           (32 - bits);
}

Bytes MakePng(const Layout& layout) {
    Bytes rows;
    constexpr int kPasses[7][4] = {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4},
                                   {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}};
    constexpr int kWhole[4] = {0, 0, 1, 1};
    for (int pass = 0; pass < (layout.isInterlaced ? 7 : 1); ++pass) {
        const int* step = layout.isInterlaced ? kPasses[pass] : kWhole;
        if (step[0] >= layout.width) continue;
        for (int y = step[1]; y < layout.height; y += step[3]) {
            rows.push_back(0);  // no prediction
            std::uint32_t pending = 0;
            int count = 0;
            for (int x = step[0]; x < layout.width; x += step[2])
                for (int i = 0; i < SamplesOf(layout.colour); ++i) {
                    const std::uint32_t value = Stored(layout.bits, x, y, i);
                    for (int bit = layout.bits - 1; bit >= 0; --bit) {
                        pending = pending << 1 | (value >> bit & 1U);
                        if (++count % 8 == 0) rows.push_back(static_cast<std::uint8_t>(pending));
                    }
                }
            if (count % 8 != 0) rows.push_back(static_cast<std::uint8_t>(pending << (8 - count % 8)));
        }
    }
    uLongf size = compressBound(rows.size());
    Bytes packed(size);
    compress2(packed.data(), &size, rows.data(), rows.size(), 0);
    packed.resize(size);
    Bytes header;
    AppendBig32(header, static_cast<std::uint32_t>(layout.width));
    AppendBig32(header, static_cast<std::uint32_t>(layout.height));
    for (const int value : {layout.bits, layout.colour, 0, 0, layout.isInterlaced ? 1 : 0})
        header.push_back(static_cast<std::uint8_t>(value));
    Bytes data;  // in small chunks: of one that is cut nothing is read
    for (std::size_t at = 0; at < packed.size(); at += 200) {
        const auto first = packed.begin() + static_cast<std::ptrdiff_t>(at);
        data = data + Chunk("IDAT", Bytes(first, first + static_cast<std::ptrdiff_t>(std::min<std::size_t>(
                                                             200, packed.size() - at))));
    }
    Bytes png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
    for (const Bytes& part : {Chunk("IHDR", header), layout.before, data, Chunk("IEND", {})})
        png.insert(png.end(), part.begin(), part.end());
    return png;
}

// A palette of all colours that the bits can name, and how clear the first five are.
Bytes Palette(int bits) {
    Bytes body;
    for (int i = 0; i < 3 << bits; ++i) body.push_back(static_cast<std::uint8_t>(i * 79 + 5));
    return Chunk("PLTE", body);
}
const Bytes kClear = {10, 20, 30, 40, 50};

int SampleOf(const cv::Mat& pixels, int x, int y, int channel) {
    const int at = x * pixels.channels() + channel;
    return pixels.depth() == CV_16U ? pixels.ptr<std::uint16_t>(y)[at] : pixels.ptr(y)[at];
}

// What memory holds before a picture is decoded into it.
void SoilMemory(std::size_t size) {
    for (int i = 0; i < 8; ++i) {
        const Bytes soiled(size + static_cast<std::size_t>(i) * 16, 0xa5);
        volatile std::uint8_t kept = soiled[size / 2];
        static_cast<void>(kept);
    }
}

TEST(PngPixels, EveryColourTypeAndDepth) {
    const struct {
        int colour;
        int bits;
        bool isClear;  // with a transparent colour, or a palette with opacities
        const char* model;
    } rows[] = {{0, 1, false, "Grey"},
                {0, 2, false, "Grey"},
                {0, 4, false, "Grey"},
                {0, 8, false, "Grey"},
                {0, 16, false, "Grey"},
                {0, 4, true, "Grey with transparency"},
                {0, 16, true, "Grey with transparency"},
                {2, 8, false, "RGB"},
                {2, 16, false, "RGB"},
                {2, 8, true, "RGB with transparency"},
                {2, 16, true, "RGB with transparency"},
                {3, 1, false, "Palette (2)"},
                {3, 2, false, "Palette (4)"},
                {3, 4, false, "Palette (16)"},
                {3, 8, false, "Palette (256)"},
                {3, 4, true, "Palette (16) with transparency"},
                {4, 8, false, "Grey + alpha"},
                {4, 16, false, "Grey + alpha"},
                {6, 8, false, "RGB + alpha"},
                {6, 16, false, "RGB + alpha"}};
    for (const auto& row : rows)
        for (const bool isInterlaced : {false, true}) {
            SCOPED_TRACE(testing::Message()
                         << row.model << ' ' << row.bits << (isInterlaced ? " interlaced" : ""));
            Layout layout{.bits = row.bits, .colour = row.colour, .isInterlaced = isInterlaced};
            const int samples = SamplesOf(row.colour);
            if (row.colour == 3) layout.before = Palette(row.bits);
            Bytes key;  // the transparent colour: that of one pixel
            for (int i = 0; i < samples; ++i) {
                const std::uint32_t value = Stored(row.bits, 3, 2, i);
                for (const int shift : {8, 0}) key.push_back(static_cast<std::uint8_t>(value >> shift));
            }
            if (row.isClear) layout.before = layout.before + Chunk("tRNS", row.colour == 3 ? kClear : key);
            const Bytes bytes = MakePng(layout);
            const ImageInfo info = ReadImageInfo(bytes);
            EXPECT_EQ(info.colourModel, row.model);
            EXPECT_EQ(info.bitsPerSample, row.bits);
            EXPECT_EQ(info.channels, samples);
            EXPECT_EQ(info.compression, isInterlaced ? "Deflate, interlaced" : "Deflate");
            EXPECT_TRUE(info.warnings.empty());
            const DecodedImage decoded = DecodeImage(bytes);
            EXPECT_TRUE(decoded.warnings.empty());
            const cv::Mat& pixels = decoded.image.GetMat();
            const int colours = row.colour == 3 ? 3 : samples;
            ASSERT_EQ(pixels.type(),
                      CV_MAKETYPE(row.bits == 16 ? CV_16U : CV_8U, colours + (row.isClear ? 1 : 0)));
            ASSERT_EQ(pixels.size(), cv::Size(layout.width, layout.height));
            const int full = row.bits == 16 ? 65535 : 255;
            int wrong = 0;
            for (int y = 0; y < layout.height; ++y)
                for (int x = 0; x < layout.width; ++x) {
                    int expected[4] = {};
                    const std::uint32_t index = Stored(row.bits, x, y, 0);
                    bool isKey = true;
                    for (int i = 0; i < colours; ++i) {
                        const bool isColour = colours >= 3 && i < 3;
                        const std::uint32_t value = Stored(row.bits, x, y, i);
                        expected[isColour ? 2 - i : i] =
                            row.colour == 3 ? static_cast<std::uint8_t>(
                                                  (index * 3 + static_cast<std::uint32_t>(i)) * 79 + 5)
                            : row.bits < 8 ? static_cast<int>(value * 255 / ((1U << row.bits) - 1))
                                           : static_cast<int>(value);
                        isKey = isKey && value == Stored(row.bits, 3, 2, i);
                    }
                    if (row.isClear)
                        expected[colours] = row.colour == 3 ? (index < 5 ? kClear[index] : 255)
                                            : isKey         ? 0
                                                            : full;
                    for (int c = 0; c < pixels.channels(); ++c)
                        wrong += SampleOf(pixels, x, y, c) != expected[c] ? 1 : 0;
                }
            EXPECT_EQ(wrong, 0);
        }
}

TEST(PngPixels, ACutFileKeepsWhatCameBefore) {
    for (const bool isInterlaced : {false, true}) {
        const Layout layout{.width = 40, .height = 37, .colour = 2, .isInterlaced = isInterlaced};
        const Bytes whole = MakePng(layout);
        const cv::Mat full = DecodeImage(whole).image.GetMat();
        for (const int percent : {20, 40, 60, 90}) {
            SoilMemory(full.total() * 3);
            const DecodedImage cut =
                DecodeImage(std::span(whole).first(whole.size() * static_cast<std::size_t>(percent) / 100));
            ASSERT_EQ(cut.warnings.size(), 1U);
            int same = 0;
            int empty = 0;
            int lastRow = -1;
            for (int y = 0; y < layout.height; ++y)
                for (int x = 0; x < layout.width; ++x) {
                    const auto found = cut.image.GetMat().at<cv::Vec3b>(y, x);
                    const bool isSame = found == full.at<cv::Vec3b>(y, x);
                    same += isSame ? 1 : 0;
                    empty += !isSame && found == cv::Vec3b() ? 1 : 0;
                    if (isSame) lastRow = y;
                }
            EXPECT_EQ(same + empty, layout.width * layout.height) << percent << ": invented pixels";
            EXPECT_NEAR(same, layout.width * layout.height * percent / 100, 130) << percent;
            if (isInterlaced) {
                const int pass = percent == 20 ? 5 : percent == 40 ? 6 : 7;
                EXPECT_EQ(cut.warnings[0],
                          "File ends early: the picture is interlaced, and what follows pass " +
                              std::to_string(pass) + " of 7 is missing.");
            } else {
                EXPECT_EQ(cut.warnings[0], "File ends early: the last " + std::to_string(36 - lastRow) +
                                               " of 37 rows are missing.");
            }
        }
    }
}

TEST(PngPixels, ChunksAreReadFieldByField) {
    const auto info = [](const Bytes& before) {
        return ReadImageInfo(MakePng({.colour = 2, .before = before}));
    };
    EXPECT_EQ(info({}).frames, 1);
    const std::pair<Bytes, int> frames[] = {{{0, 0, 0, 5, 0, 0, 0, 0}, 5},
                                            {{0, 0, 1, 2}, 258},
                                            {{0, 0, 0, 0, 0, 0, 0, 0}, 1},
                                            {{0, 0, 5}, 1},
                                            {{0xff, 0xff, 0xff, 0xff}, 1 << 30}};
    for (const auto& [body, count] : frames) EXPECT_EQ(info(Chunk("acTL", body)).frames, count);
    // A wrong sum of any chunk is told with its place, of twenty at most.
    Bytes wrong = Chunk("tEXt", Bytes(4));
    wrong.back() ^= 1;
    EXPECT_EQ(info(wrong).warnings, std::vector<std::string>{"The checksum of a chunk at byte 33 is wrong."});
    EXPECT_EQ(info(Chunk("tEXt", Bytes(4)) + wrong).warnings,
              std::vector<std::string>{"The checksum of a chunk at byte 49 is wrong."});
    Bytes many;
    for (int i = 0; i < 30; ++i) many = many + wrong;
    EXPECT_EQ(info(many).warnings.size(), 20U);
    // A profile that does not unpack, and one after another.
    const auto profile = [](const Bytes& content) {
        uLongf size = compressBound(content.size());
        Bytes packed(size);
        compress(packed.data(), &size, content.data(), content.size());
        packed.resize(size);
        return Bytes{'n', 0, 0} + packed;
    };
    EXPECT_EQ(info(Chunk("iCCP", profile({1, 2, 3})) + Chunk("iCCP", profile({4, 5}))).iccProfile,
              (Bytes{1, 2, 3}));
    const ImageInfo broken = info(Chunk("iCCP", {'n', 0, 0, 1, 2, 3, 4}));
    EXPECT_TRUE(broken.iccProfile.empty());
    EXPECT_EQ(broken.warnings, std::vector<std::string>{"The colour profile cannot be unpacked."});
    // Damage in what has no say in the pixels costs nothing.
    for (const char* name : {"iCCP", "gAMA", "cHRM", "sRGB", "tEXt", "eXIf", "pHYs"})
        EXPECT_TRUE(DecodeImage(MakePng({.colour = 2, .before = Chunk(name, {'n', 0, 0, 1, 2, 3, 4})}))
                        .warnings.empty())
            << name;
    // A transparent colour of a wrong length is passed over, and told.
    const DecodedImage odd = DecodeImage(MakePng({.colour = 2, .before = Chunk("tRNS", Bytes(5))}));
    EXPECT_EQ(odd.image.GetChannels(), 3);
    EXPECT_FALSE(odd.warnings.empty());
    EXPECT_TRUE(info(Chunk("iCCP", {'n', 'o'})).warnings.empty()) << "no name's end, nothing to unpack";
    const Bytes whole = MakePng({.colour = 2});
    EXPECT_EQ(ReadImageInfo(std::span(whole).first(28)).warnings,
              std::vector<std::string>{"The file has no header chunk: its size is not known."});
    EXPECT_EQ(ReadImageInfo(std::span(whole).first(29)).width, 13);
    EXPECT_EQ(ReadImageInfo(std::span(whole).first(whole.size() - 1)).warnings,
              std::vector<std::string>{"File ends early: the end chunk is missing."});
}

}  // namespace
