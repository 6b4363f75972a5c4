// Pictures beside the first one, and why a file ends early: what small files of every kind say of themselves.

#include <gtest/gtest.h>

#include "tests/zorimage/samples.h"
#include "zorimage/imageio.h"

namespace {

using samples::Append16;
using samples::Append32;

TEST(Frames, GifPicturesWithPalettesOfTheirOwnAreCounted) {
    for (int bits = 0; bits < 4; ++bits) {
        Bytes gif = samples::MakeGif(6, 5, std::vector<int>(30, 2), false);
        gif.pop_back();  // the trailer
        for (int i = 0; i < 2; ++i) {
            gif.insert(gif.end(), {',', 0, 0, 0, 0, 6, 0, 5, 0, static_cast<std::uint8_t>(0x80 | bits)});
            // Bytes that would be taken for blocks, were they not the palette.
            gif.resize(gif.size() + (std::size_t{6} << bits), ';');
            gif.insert(gif.end(), {2, 1, 0x2c, 0});
        }
        gif.push_back(';');
        EXPECT_EQ(ReadImageInfo(gif).frames, 3) << bits;
    }
}

TEST(Frames, TheIndexOfAJpegIsCounted) {
    const Bytes jpeg = EncodeImage(samples::MakeScene(9, 9, 3), "jpg");
    for (const int pictures : {1, 2, 5}) {
        Bytes body = {'M', 'P', 'F', 0, 'I', 'I', 42, 0, 8, 0, 0, 0};
        Append16(body, 3);
        const std::uint32_t entries[][4] = {{0xb000, 7, 4, 0x30303130},
                                            {0xb001, 4, 1, static_cast<std::uint32_t>(pictures)},
                                            {0xb002, 7, static_cast<std::uint32_t>(16 * pictures), 50}};
        for (const auto& [tag, type, count, value] : entries) {
            Append16(body, tag);
            Append16(body, type);
            Append32(body, count);
            Append32(body, value);
        }
        Append32(body, 0);
        body.resize(body.size() + static_cast<std::size_t>(16 * pictures), 0);
        EXPECT_EQ(ReadImageInfo(samples::WithJpegSegment(jpeg, 0xe2, body)).frames, pictures);
    }
}

TEST(Frames, ACutPngEndsEarlyAndADamagedOneDoesNot) {
    const Bytes png = EncodeImage(samples::MakeScene(200, 160, 3), "png");
    const DecodedImage cut = DecodeImage(std::span(png).first(png.size() / 2));
    ASSERT_FALSE(cut.warnings.empty());
    EXPECT_EQ(cut.warnings[0].rfind("File ends early: ", 0), 0U) << cut.warnings[0];
    Bytes damaged = png;
    for (std::size_t i = png.size() / 2; i < png.size() / 2 + 64; ++i) damaged[i] ^= 0x5a;
    const DecodedImage broken = DecodeImage(damaged);
    ASSERT_FALSE(broken.warnings.empty());
    EXPECT_EQ(broken.warnings[0].rfind("File ends early: ", 0), std::string::npos) << broken.warnings[0];
    EXPECT_EQ(broken.warnings[0].rfind("The decoder gave up (", 0), 0U) << broken.warnings[0];
    EXPECT_EQ(broken.warnings[0].find("()"), std::string::npos) << "it says why";
}

}  // namespace
