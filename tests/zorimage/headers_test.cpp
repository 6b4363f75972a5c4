// What stands in the headers of JPEG files, of camera RAW files and of colour profiles, number by number.

#include <gtest/gtest.h>

#include <regex>

#include "tests/zorimage/samples.h"
#include "zorimage/imageio.h"
#include "zorimage/jpegheader.h"
#include "zorimage/libraryversions.h"

namespace {

using samples::operator+;
using samples::Append16;
using samples::Append32;

Bytes Text(const std::string& text) {
    return {text.begin(), text.end()};
}

Bytes Segment(int marker, const Bytes& body) {
    return Bytes{0xff, static_cast<std::uint8_t>(marker), static_cast<std::uint8_t>((body.size() + 2) >> 8),
                 static_cast<std::uint8_t>(body.size() + 2)} +
           body;
}

// A frame of height 300, width 258 and these components: number and sampling.
Bytes Frame(const std::vector<std::pair<int, int>>& components, int precision = 8) {
    Bytes body = {static_cast<std::uint8_t>(precision),        1, 44, 1, 2,
                  static_cast<std::uint8_t>(components.size())};
    for (const auto& [id, sampling] : components)
        body.insert(body.end(), {static_cast<std::uint8_t>(id), static_cast<std::uint8_t>(sampling), 0});
    return body;
}

const Bytes kStart = {0xff, 0xd8};
const Bytes kJfif = Segment(0xe0, Text(std::string("JFIF\0\1\1", 7)));
const Bytes kScan = Segment(0xda, {1, 1, 0, 0, 63, 0});

Bytes Adobe(int transform) {
    return Segment(0xee, Text("Adobe") + Bytes{0, 100, 0, 0, 0, 0, static_cast<std::uint8_t>(transform)});
}

TEST(JpegHeaders, ColourIsDecidedBySegmentsThenByNumbers) {
    const std::vector<std::pair<int, int>> usual = {{1, 0x22}, {2, 0x11}, {3, 0x11}};
    const std::vector<std::pair<int, int>> letters = {{'R', 0x11}, {'G', 0x11}, {'B', 0x11}};
    const std::vector<std::pair<int, int>> inks = {{1, 0x21}, {2, 0x11}, {3, 0x11}, {4, 0x21}};
    const struct {
        Bytes before;
        std::vector<std::pair<int, int>> components;
        const char* model;
    } rows[] = {
        {{}, {{1, 0x11}}, "Grey"},
        {{}, usual, "YCbCr 4:2:0"},
        {{}, letters, "RGB"},
        {{}, {{'R', 0x11}, {'G', 0x11}, {'C', 0x11}}, "YCbCr 4:4:4"},
        {{}, {{'X', 0x11}, {'G', 0x11}, {'B', 0x11}}, "YCbCr 4:4:4"},
        {{}, {{'R', 0x11}, {'X', 0x11}, {'B', 0x11}}, "YCbCr 4:4:4"},
        {kJfif, letters, "YCbCr 4:4:4"},
        {Adobe(0), usual, "RGB"},
        {Adobe(1), letters, "YCbCr 4:4:4"},
        {kJfif + Adobe(0), usual, "YCbCr 4:2:0"},
        {{}, inks, "CMYK"},
        {Adobe(0), inks, "CMYK (Adobe, inverted)"},
        {Adobe(2), inks, "YCCK 4:2:2 (Adobe, inverted)"},
        {Segment(0xee, Text("Adobe") + Bytes{0, 100, 0, 0, 0, 0}), inks,
         "CMYK"},  // too short for a transform
        {{}, {{1, 0x11}, {2, 0x11}}, "2 components"},
        {{}, {}, ""},
    };
    for (const auto& row : rows) {
        const ImageInfo info =
            ReadImageInfo(kStart + row.before + Segment(0xc0, Frame(row.components)) + kScan);
        EXPECT_EQ(info.colourModel, row.model);
        EXPECT_EQ(info.width, 258);
        EXPECT_EQ(info.height, 300);
        EXPECT_EQ(info.bitsPerSample, 8);
        EXPECT_EQ(info.channels, static_cast<int>(row.components.size()));
        EXPECT_TRUE(info.warnings.empty());
        EXPECT_EQ(info.recipe.find("Ink") != std::string::npos, row.components.size() == 4);
    }
    // Of several frames the first; of a count that claims more components than there are, those that are there.
    Bytes more = Frame(usual);
    more[5] = 4;
    EXPECT_EQ(ReadImageInfo(kStart + Segment(0xc0, more) + kScan).channels, 3);
    const ImageInfo two =
        ReadImageInfo(kStart + Segment(0xc2, Frame(usual, 12)) + Segment(0xc0, Frame(letters)) + kScan);
    EXPECT_EQ(two.compression, "JPEG: Progressive DCT, Huffman");
    EXPECT_EQ(two.bitsPerSample, 12);
    // Tables are no frames.
    for (const int marker : {0xc4, 0xc8, 0xcc, 0xbf, 0xd0})
        EXPECT_EQ(
            ReadImageInfo(kStart + Segment(marker, Frame(usual)) + Segment(0xc9, Frame(letters)) + kScan)
                .compression,
            "JPEG: Extended sequential DCT, arithmetic")
            << marker;
}

TEST(JpegHeaders, SegmentsAreFoundAsEveryDecoderFindsThem) {
    const Bytes frame = Segment(0xc0, Frame({{1, 0x11}}));
    const char* const garbage = "There are bytes between the segments that belong to none.";
    const char* const noScan = "The file ends, or is damaged, before the picture data begins.";
    const char* const noFrame = "The file has no frame header: its size is not known.";
    const std::pair<Bytes, std::vector<std::string>> rows[] = {
        {kStart + frame + kScan, {}},
        {kStart + Bytes{0xff, 0xff, 0xff} + frame + kScan, {}},        // filling
        {kStart + Bytes{0xff, 0x01, 0xff, 0xd3} + frame + kScan, {}},  // markers without a body
        {kStart + kJfif + Bytes{7} + frame + kScan, {garbage}},
        {kStart + frame + Bytes{0xff, 0xd9} + kScan, {noScan}},
        {kStart + frame, {noScan}},
        {kStart + kScan + frame, {noFrame}},
        {kStart + frame + Bytes{0xff, 0xe1, 0, 1} + kScan, {noScan}},  // a length that cannot be
        {kStart + frame + Bytes{0xff, 0xe1, 0, 2} + kScan, {}},        // an empty segment
        {kStart + frame + Bytes{0xff, 0xe1, 0, 60}, {noScan}},         // longer than the file
        {kStart + Segment(0xc0, {8, 0, 1, 0, 1}) + kScan, {noFrame}},  // too short for a frame
    };
    for (std::size_t i = 0; i < std::size(rows); ++i)
        EXPECT_EQ(ReadImageInfo(rows[i].first).warnings, rows[i].second) << i;
}

TEST(JpegHeaders, OnlyTheIndexOfPicturesIsCounted) {
    const Bytes head = kStart + Segment(0xc0, Frame({{1, 0x11}}));
    const auto index = [&head](bool isBig, std::uint32_t tag, std::uint32_t bytes, std::uint32_t table) {
        Bytes body = Text(std::string("MPF\0", 4)) + (isBig ? Bytes{'M', 'M', 0, 42, 0, 0, 0, 8, 0, 1}
                                                            : Bytes{'I', 'I', 42, 0, 8, 0, 0, 0, 1, 0});
        if (isBig) {
            body = body + Bytes{static_cast<std::uint8_t>(tag >> 8), static_cast<std::uint8_t>(tag), 0, 7};
            for (const std::uint32_t value : {bytes, table})
                for (int shift = 24; shift >= 0; shift -= 8)
                    body.push_back(static_cast<std::uint8_t>(value >> shift));
        } else {
            Append16(body, tag);
            Append16(body, 7);
            Append32(body, bytes);
            Append32(body, table);
        }
        body.resize(body.size() + 4 + 48, 0);  // the table of up to three stands at 26
        return ReadImageInfo(head + Segment(0xe2, body) + kScan).frames;
    };
    for (const bool isBig : {false, true}) {
        EXPECT_EQ(index(isBig, 0xb002, 48, 26), 3);
        EXPECT_EQ(index(isBig, 0xb002, 47, 26), 2);
        EXPECT_EQ(index(isBig, 0xb002, 480, 26), 3) << "no more than there is room for";
        EXPECT_EQ(index(isBig, 0xb002, 48, 42), 2);
        EXPECT_EQ(index(isBig, 0xb002, 48, 75), 1);
        EXPECT_EQ(index(isBig, 0xb002, 48, 5000), 1);
        EXPECT_EQ(index(isBig, 0xb001, 48, 26), 1);
    }
}

Bytes Big32(std::uint32_t value) {
    return {static_cast<std::uint8_t>(value >> 24), static_cast<std::uint8_t>(value >> 16),
            static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
}

// A description in languages: each record's language and 16-bit characters.
Bytes Localised(const std::vector<std::pair<std::string, std::vector<int>>>& records) {
    Bytes tag = Text("mluc") + Bytes(4) + Big32(static_cast<std::uint32_t>(records.size())) + Big32(12);
    Bytes texts;
    for (const auto& [language, characters] : records) {
        tag = tag + Text(language + "XX") + Big32(static_cast<std::uint32_t>(2 * characters.size())) +
              Big32(static_cast<std::uint32_t>(16 + 12 * records.size() + texts.size()));
        for (const int character : characters)
            texts.insert(texts.end(),
                         {static_cast<std::uint8_t>(character >> 8), static_cast<std::uint8_t>(character)});
    }
    return tag + texts;
}

TEST(IccProfiles, CharactersOfEveryLengthAndTheLanguageThatIsAsked) {
    const std::pair<std::vector<int>, const char*> rows[] = {{{'A', 0x7f}, "A\x7f"},
                                                             {{0x80, 0x7ff}, "\xc2\x80\xdf\xbf"},
                                                             {{0x800, 0xffff}, "\xe0\xa0\x80\xef\xbf\xbf"},
                                                             {{0xd7ff, 0xe000}, "\xed\x9f\xbf\xee\x80\x80"},
                                                             {{0xd800, 0xdc00}, "\xf0\x90\x80\x80"},
                                                             {{0xdbff, 0xdfff}, "\xf4\x8f\xbf\xbf"},
                                                             {{0xd801, 0xdc02, 'x'}, "\xf0\x90\x90\x82x"},
                                                             {{0xd800, 'x'}, "\xef\xbf\xbdx"},
                                                             {{0xdc00, 'x'}, "\xef\xbf\xbdx"},
                                                             {{0xd800, 0xe000}, "\xef\xbf\xbd\xee\x80\x80"},
                                                             {{'x', 0x1f, 0x20}, "x\xef\xbf\xbd "},
                                                             {{'x', 0, 'y'}, "x"}};
    for (const auto& [characters, text] : rows)
        EXPECT_EQ(IccProfileName(samples::MakeProfile(Localised({{"fr", characters}}))), text);
    EXPECT_EQ(IccProfileName(samples::MakeProfile(Localised({{"de", {'D'}}, {"en", {'E'}}, {"en", {'F'}}}))),
              "E");
    EXPECT_EQ(IccProfileName(samples::MakeProfile(Localised({{"de", {'D'}}, {"fr", {'F'}}}))), "D");
    // The description stands behind another tag.
    Bytes second = samples::MakeProfile(Localised({{"de", {'D'}}}));
    second[131] = 2;
    const Bytes other = Text("cprt") + Bytes(8);
    second.insert(second.begin() + 132, other.begin(), other.end());
    second[132 + 12 + 7] = 156;
    EXPECT_EQ(IccProfileName(second), "D");
    // The count of a plain description bounds it, as does a zero.
    const auto plain = [](std::uint32_t count, const std::string& text) {
        return IccProfileName(samples::MakeProfile(Text("desc") + Bytes(4) + Big32(count) + Text(text)));
    };
    EXPECT_EQ(plain(3, "abcdef"), "abc");
    EXPECT_EQ(plain(6, "abcdef"), "abcdef");
    EXPECT_EQ(plain(5, std::string("a\0bcd", 5)), "a");
    EXPECT_EQ(plain(2, "\xe9\x1f"), "\xc3\xa9\xef\xbf\xbd");
}

TEST(Libraries, TellTheirVersions) {
    for (const LibraryVersion& library : ImageLibraryVersions()) {
        const bool isFile = library.name == "JPEG" || library.name == "GIF";
        EXPECT_TRUE(std::regex_match(library.version,
                                     std::regex(isFile                  ? R"(lib\w+\.so\.[0-9.]+)"
                                                : library.name == "RAW" ? R"(\d+\.\d+\.\d+(-\w+)?)"
                                                                        : R"([1-9]\d*\.\d+(\.\d+)?(-\w+)?)")))
            << library.name << ": " << library.version;
    }
}

// The mosaic is told as the sensor's colours lie, row by row.
TEST(RawHeaders, TheMosaicIsNamedByItsColours) {
    const std::pair<std::uint32_t, const char*> rows[] = {{0x02010100, "Bayer mosaic (RGGB)"},
                                                          {0x01020001, "Bayer mosaic (GRBG)"},
                                                          {0x01000201, "Bayer mosaic (GBRG)"},
                                                          {0x00010102, "Bayer mosaic (BGGR)"}};
    for (const auto& [pattern, name] : rows) {
        Bytes dng = samples::MakeDng(32, 24);
        const std::size_t entry = 8 + 2 + 14 * 12 + 8;
        ASSERT_EQ(dng[entry + 3], 2);
        for (std::size_t i = 0; i < 4; ++i) dng[entry + i] = static_cast<std::uint8_t>(pattern >> (8 * i));
        EXPECT_EQ(ReadImageInfo(dng).colourModel, name);
    }
    Bytes cut = samples::MakeDng(32, 24);
    cut.resize(cut.size() - 400);
    const std::vector<std::string> warnings = ReadImageInfo(cut).warnings;
    ASSERT_FALSE(warnings.empty());
    EXPECT_NE(warnings.back().find("File ends early: by its headers it has at least " +
                                   std::to_string(cut.size() + 400) + " bytes, but there are " +
                                   std::to_string(cut.size())),
              std::string::npos)
        << warnings.back();
}

}  // namespace
