#include "zorimage/warnings.h"

#include <gtest/gtest.h>

#include "zorimage/codec.h"
#include "zorimage/jpegnames.h"

namespace {

TEST(Warnings, AreSentencesOnceEachAndNotTooMany) {
    codec::Warnings warnings;
    for (const char* text : {"", "one", "one.", "two.", "one"}) warnings.Add(text);
    EXPECT_EQ(warnings.Take(), (std::vector<std::string>{"one.", "two."}));
    for (const int count : {19, 20, 25}) {
        codec::Warnings many;
        for (int i = 0; i < count; ++i) many.Add("w" + std::to_string(i));
        const std::vector<std::string> taken = many.Take();
        ASSERT_EQ(taken.size(), count == 19 ? 19U : 20U);
        EXPECT_EQ(taken[18], "w18.");
        if (count > 19) {
            EXPECT_EQ(taken[19], "Further warnings of the decoder: " + std::to_string(count - 19) + ".");
        }
        many.Add("again");
        EXPECT_EQ(many.Take().back(), "again.");
    }
}

TEST(Codec, SamplesAreScaledToTheNearest) {
    const std::uint64_t rows[][4] = {
        {0, 31, 255, 0},      {1, 31, 255, 8},      {15, 31, 255, 123},         {16, 31, 255, 132},
        {31, 31, 255, 255},   {1, 3, 255, 85},      {1, 2, 255, 127 + 1},       {127, 65535, 255, 0},
        {128, 65535, 255, 0}, {129, 65535, 255, 1}, {1023, 1023, 65535, 65535}, {512, 1023, 65535, 32800}};
    for (const auto& row : rows)
        EXPECT_EQ(codec::ScaleSample(row[0], row[1], row[2]), row[3]) << row[0] << " of " << row[1];
}

TEST(Codec, InkLeavesWhatLightItDoes) {
    const std::uint8_t ink[] = {100, 50, 0, 51, 255, 0, 128, 0};
    std::uint8_t bgr[6] = {};
    codec::InkToBgr(ink, bgr, 2, false);
    const int plain[] = {204, 164, 124, 127, 255, 0};
    for (int i = 0; i < 6; ++i) EXPECT_EQ(bgr[i], plain[i]) << i;
    codec::InkToBgr(ink, bgr, 2, true);
    const int inverted[] = {0, 10, 20, 0, 0, 0};
    for (int i = 0; i < 6; ++i) EXPECT_EQ(bgr[i], inverted[i]) << i;
}

TEST(Codec, BoxesHaveABeginningAndAnEnd) {
    const struct {
        std::vector<std::uint8_t> bytes;
        std::size_t at, end;
        bool isThere;
        std::size_t body, boxEnd;
    } rows[] = {
        {{0, 0, 0, 9, 'f', 'r', 'e', 'e', 7, 7}, 0, 10, true, 8, 9},
        {{0, 0, 0, 8, 'f', 'r', 'e', 'e', 7, 7}, 0, 10, true, 8, 8},
        {{0, 0, 0, 8, 'f', 'r', 'e', 'e'}, 0, 7, false, 0, 0},
        {{0, 0, 0, 0, 'f', 'r', 'e', 'e', 7, 7}, 0, 10, true, 8, 10},
        {{0, 0, 0, 99, 'f', 'r', 'e', 'e', 7, 7}, 0, 9, true, 8, 9},
        {{0, 0, 0, 7, 'f', 'r', 'e', 'e', 7, 7}, 0, 10, false, 0, 0},
        {{5, 5, 0, 0, 0, 9, 'f', 'r', 'e', 'e', 7, 7}, 2, 12, true, 10, 11},
        {{0, 0, 0, 1, 'f', 'r', 'e', 'e', 0, 0, 0, 0, 0, 0, 0, 17, 7, 7}, 0, 18, true, 16, 17},
        {{0, 0, 0, 1, 'f', 'r', 'e', 'e', 0, 0, 0, 0, 0, 0, 0, 16}, 0, 16, true, 16, 16},
        {{0, 0, 0, 1, 'f', 'r', 'e', 'e', 0, 0, 0, 0, 0, 0, 0, 15, 7}, 0, 17, false, 0, 0},
        {{0, 0, 0, 1, 'f', 'r', 'e', 'e', 0, 0, 0, 0, 0, 0, 0, 17}, 0, 15, false, 0, 0},
    };
    for (const auto& row : rows) {
        std::size_t body = 0;
        std::size_t end = 0;
        ASSERT_EQ(codec::ReadBox(row.bytes, row.at, row.end, body, end), row.isThere);
        if (!row.isThere) continue;
        EXPECT_EQ(body, row.body);
        EXPECT_EQ(end, row.boxEnd);
    }
}

TEST(JpegNames, SamplingInTheUsualWords) {
    const std::pair<std::vector<JpegSampling>, const char*> rows[] = {
        {{{1, 1}, {1, 1}, {1, 1}}, "4:4:4"},
        {{{2, 2}, {2, 2}, {2, 2}}, "4:4:4"},
        {{{2, 1}, {1, 1}, {1, 1}}, "4:2:2"},
        {{{2, 2}, {1, 2}, {1, 2}}, "4:2:2"},
        {{{2, 2}, {1, 1}, {1, 1}}, "4:2:0"},
        {{{1, 2}, {1, 1}, {1, 1}}, "4:4:0"},
        {{{4, 1}, {1, 1}, {1, 1}}, "4:1:1"},
        {{{4, 2}, {1, 1}, {1, 1}}, "4:1:0"},
        {{{4, 2}, {2, 1}, {2, 1}}, "4:2:0"},
        {{{2, 2}, {1, 1}, {1, 1}, {2, 2}}, "4:2:0"},
        {{{2, 2}, {1, 1}, {1, 1}, {1, 1}}, "2x2,1x1,1x1,1x1"},
        {{{2, 2}, {1, 1}, {1, 1}, {2, 1}}, "2x2,1x1,1x1,2x1"},
        {{{2, 2}, {1, 2}, {1, 1}}, "2x2,1x2,1x1"},
        {{{2, 2}, {2, 1}, {1, 1}}, "2x2,2x1,1x1"},
        {{{3, 1}, {2, 1}, {2, 1}}, "3x1,2x1,2x1"},
        {{{1, 3}, {1, 2}, {1, 2}}, "1x3,1x2,1x2"},
        {{{2, 2}, {0, 1}, {0, 1}}, "2x2,0x1,0x1"},
        {{{2, 2}, {1, 0}, {1, 0}}, "2x2,1x0,1x0"},
        {{{1, 1}}, "1x1"},
        {{{2, 1}, {1, 1}}, "2x1,1x1"},
        {{}, ""}};
    for (const auto& [components, name] : rows) EXPECT_EQ(JpegSamplingName(components), name);
}

TEST(JpegNames, EveryProcessOfTheStandard) {
    const std::pair<int, const char*> rows[] = {{0xc0, "Baseline DCT, Huffman"},
                                                {0xc1, "Extended sequential DCT, Huffman"},
                                                {0xc2, "Progressive DCT, Huffman"},
                                                {0xc3, "Lossless, Huffman"},
                                                {0xc4, "Unknown"},
                                                {0xc5, "Differential sequential DCT, Huffman"},
                                                {0xc6, "Differential progressive DCT, Huffman"},
                                                {0xc7, "Lossless differential, Huffman"},
                                                {0xc8, "Unknown"},
                                                {0xc9, "Extended sequential DCT, arithmetic"},
                                                {0xca, "Progressive DCT, arithmetic"},
                                                {0xcb, "Lossless, arithmetic"},
                                                {0xcc, "Unknown"},
                                                {0xcd, "Differential sequential DCT, arithmetic"},
                                                {0xce, "Differential progressive DCT, arithmetic"},
                                                {0xcf, "Lossless differential, arithmetic"},
                                                {0xf7, "JPEG-LS"}};
    for (const auto& [marker, name] : rows)
        EXPECT_EQ(JpegProcessName(static_cast<std::uint8_t>(marker)), name);
}

}  // namespace
