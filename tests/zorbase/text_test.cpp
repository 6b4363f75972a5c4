#include "zorbase/text.h"

#include <gtest/gtest.h>

#include <wx/strconv.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include "zorbase/utf8.h"

namespace {

TEST(Text, DoublesReadBackEqualAndShort) {
    const std::pair<double, const char*> cases[] = {
        {0.1, "0.1"}, {5, "5"}, {-0.0, "-0"}, {1e21, "1e+21"}, {1.0 / 3, "0.3333333333333333"}};
    for (const auto& [value, text] : cases) EXPECT_EQ(ToString(value), text);

    std::mt19937_64 random(7);
    for (int i = 0; i < 2000; ++i) {
        const std::uint64_t bits = random();
        double value = 0;
        std::copy_n(reinterpret_cast<const char*>(&bits), sizeof value, reinterpret_cast<char*>(&value));
        if (!std::isfinite(value)) continue;
        double back = 0;
        ASSERT_TRUE(FromString(ToString(value), back));
        ASSERT_EQ(back, value) << ToString(value);
    }
}

TEST(Text, NumbersTakeTheWholeTextOrNothing) {
    int number = 42;
    for (const char* text : {"", " 1", "1 ", "1x", "0x10", "2147483648", "1.5", "--1"}) {
        EXPECT_FALSE(FromString(text, number)) << text;
    }
    EXPECT_EQ(number, 42);
    EXPECT_TRUE(FromString("-2147483648", number));
    EXPECT_EQ(number, std::numeric_limits<int>::min());

    std::int64_t wide = 0;
    EXPECT_TRUE(FromString("9223372036854775807", wide));
    EXPECT_FALSE(FromString("9223372036854775808", wide));
    EXPECT_EQ(wide, std::numeric_limits<std::int64_t>::max());

    double real = 1;
    EXPECT_FALSE(FromString("1,5", real));
    EXPECT_FALSE(FromString("1e999", real));
    bool flag = true;
    EXPECT_FALSE(FromString("1", flag));
    EXPECT_TRUE(FromString("false", flag));
    EXPECT_FALSE(flag);
}

TEST(Text, SplitsAndJoins) {
    using Strings = std::vector<std::string>;
    EXPECT_EQ(StringToVecString("a,,b,", ","), (Strings{"a", "", "b", ""}));
    EXPECT_EQ(StringToVecString(" a , , b ", ",", SplitMode::SkipEmpty, true), (Strings{"a", "b"}));
    EXPECT_EQ(StringToVecString("a--b-c", "--"), (Strings{"a", "b-c"}));
    EXPECT_EQ(StringToVecString("", ","), Strings{""});
    EXPECT_EQ(StringToVecString("abc", ""), Strings{"abc"});
    EXPECT_EQ(Join(StringToVecString(",a,", ","), ","), ",a,");
    EXPECT_EQ(Trim(" \t a b\r\n"), "a b");
    EXPECT_EQ(Trim("  "), "");
}

TEST(Text, IsShortenedBetweenCharacters) {
    const std::string euro = "\xE2\x82\xAC";
    EXPECT_EQ(ShortenText("abc", 3), "abc");
    EXPECT_EQ(ShortenText("abcd", 3), "abc");
    EXPECT_EQ(ShortenText("a" + euro + "b", 4), "a" + euro);
    EXPECT_EQ(ShortenText("a" + euro + "b", 3), "a");
    EXPECT_EQ(ShortenText(euro, 0), "");
    // Names of files may be any bytes: what is no UTF-8 is cut where it must be.
    EXPECT_EQ(ShortenText(std::string(9, '\x80'), 6), std::string(6, '\x80'));
}

TEST(Text, NaturalOrderIsThePersonsOrderAndTotal) {
    const std::vector<std::string> ordered = {"",
                                              "007",
                                              "07",
                                              "7",
                                              "IMG",
                                              "img",
                                              "img_1",
                                              "IMG_2",
                                              "img_2",
                                              "img_010",
                                              "img_10",
                                              "img_10a",
                                              "img_10b",
                                              "img_x",
                                              "z9",
                                              "z10",
                                              "z99999999999999999999998",
                                              "z99999999999999999999999"};
    for (std::size_t i = 0; i < ordered.size(); ++i) {
        for (std::size_t j = 0; j < ordered.size(); ++j) {
            const int order = CompareNatural(ordered[i], ordered[j]);
            EXPECT_EQ(order < 0, i < j) << ordered[i] << " | " << ordered[j];
            EXPECT_EQ(order == 0, i == j) << ordered[i] << " | " << ordered[j];
        }
    }

    // Whatever the names, the order must be one: otherwise sorting is undefined.
    std::mt19937 random(3);
    constexpr std::string_view kAlphabet = "0019aAbZ _\xC3";
    std::vector<std::string> names(60);
    for (std::string& name : names) {
        for (unsigned i = random() % 6; i > 0; --i) name += kAlphabet[random() % kAlphabet.size()];
    }
    for (const auto& a : names) {
        for (const auto& b : names) {
            ASSERT_EQ(CompareNatural(a, b) < 0, CompareNatural(b, a) > 0);
            ASSERT_EQ(CompareNatural(a, b) == 0, a == b);
            for (const auto& c : names) {
                if (CompareNatural(a, b) < 0 && CompareNatural(b, c) < 0) {
                    ASSERT_LT(CompareNatural(a, c), 0);
                }
            }
        }
    }
}

struct InvalidCase {
    std::string bytes;
    std::string text;
};

TEST(Text, WhatIsNotUtf8BecomesReplacementCharacters) {
    const std::string r = "\xEF\xBF\xBD";
    const InvalidCase cases[] = {
        {"caf\xC3\xA9 \xF0\x9F\x93\xB7", "caf\xC3\xA9 \xF0\x9F\x93\xB7"},
        {"caf\xE9.jpg", "caf" + r + ".jpg"},
        {"\xC0\xAF", r + r},                  // an overlong '/'
        {"\xED\xA0\x80", r + r + r},          // a surrogate
        {"\xF4\x90\x80\x80", r + r + r + r},  // above U+10FFFF
        {"\xE2\x82", r},                      // cut off
        {"\xE2\x82(", r + "("},               // the next character survives
        {"a\x80\xBF", "a" + r + r},
    };
    for (const InvalidCase& item : cases) {
        EXPECT_EQ(ToValidUtf8(item.bytes), item.text);
        EXPECT_EQ(FromWx(ToWx(item.bytes)), item.text);
    }
    EXPECT_EQ(ToValidUtf8(std::string("a\tb\nc\0d\x1B[m\r\x7F", 12)), "a\tb\nc" + r + "d" + r + "[m" + r + r);
    EXPECT_EQ(ToValidUtf8("\xC2\x85"), r);
    const std::string withNul("a\0b", 3);
    EXPECT_EQ(FromWx(ToWx(withNul)), withNul);
}

// The last and the first of each length.
TEST(Text, CodePointsTakeTheirBytes) {
    const std::pair<char32_t, const char*> cases[] = {{0x7F, "\x7F"},
                                                      {0x80, "\xC2\x80"},
                                                      {0x7FF, "\xDF\xBF"},
                                                      {0x800, "\xE0\xA0\x80"},
                                                      {0xFFFF, "\xEF\xBF\xBF"},
                                                      {0x10000, "\xF0\x90\x80\x80"},
                                                      {0x10FFFF, "\xF4\x8F\xBF\xBF"}};
    for (const auto& [codePoint, bytes] : cases) {
        std::string text = "-";
        AppendUtf8(text, codePoint);
        EXPECT_EQ(text, std::string("-") + bytes) << static_cast<int>(codePoint);
    }
}

TEST(Text, PathsSurviveTheToolkitWhateverTheirBytes) {
    std::vector<std::string> paths;
    std::string allBytes;
    for (int byte = 1; byte < 256; ++byte) {
        paths.push_back("/a/x" + std::string(1, static_cast<char>(byte)) + ".jpg");
        paths.push_back(std::string(1, static_cast<char>(byte)));
        allBytes += static_cast<char>(byte);
    }
    paths.push_back(allBytes);
    paths.insert(paths.end(), {"/evidence/caf\xC3\xA9 \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x93\xB7.jpg", "",
                               "\xE2\x82", "\xED\xA0\x80", "\xC0\xAF", "\xEF\xBF\xBD", "\xF4\x90\x80\x80"});
    // Names that already hold private-use characters: each of the 256 that stand for bytes, and their
    // neighbours.
    for (char32_t code = 0xFFFFF; code <= 0x100100; ++code) {
        paths.emplace_back("p");
        AppendUtf8(paths.back(), code);
    }
    for (const char32_t code : {U'\uE000', U'\uF8FF', U'\U000F0000', U'\U0010FFFD'}) {
        paths.emplace_back();
        AppendUtf8(paths.back(), code);
    }
    std::mt19937 random(11);
    for (int i = 0; i < 3000; ++i) {
        std::string& path = paths.emplace_back();
        for (unsigned n = random() % 12; n > 0; --n) path += static_cast<char>(1 + random() % 255);
    }

    const wxMBConvUTF8 toolkit(wxMBConvUTF8::MAP_INVALID_UTF8_TO_PUA);
    for (const std::string& path : paths) {
        ASSERT_EQ(PathFromWx(PathToWx(path)), path);
        ASSERT_EQ(PathFromUtf8(PathToUtf8(path)), path);
        // What the toolkit does with our string when it opens a file.
        const wxCharBuffer opened = PathToWx(path).mb_str(toolkit);
        ASSERT_EQ(std::string(opened.data(), opened.length()), path);
        for (const wxUniChar c : PathToWx(path)) ASSERT_LE(c.GetValue(), 0x10FFFFu);
    }
    EXPECT_EQ(PathToWx("/tmp/caf\xC3\xA9"), wxString(L"/tmp/caf\u00E9"));
}

TEST(Text, HtmlIsInert) {
    EXPECT_EQ(EscapeHtml("<b onclick=\"x('y')\">&amp;\xFF"),
              "&lt;b onclick=&quot;x(&#39;y&#39;)&quot;&gt;&amp;amp;\xEF\xBF\xBD");
}

TEST(Text, TsvCellsAreNeverFormulas) {
    const std::pair<std::string, std::string> cases[] = {
        {"=1+1", "'=1+1"},
        {"  =1+1", "'  =1+1"},
        {"\xC2\xA0=1+1", "'\xC2\xA0=1+1"},
        {"+cmd", "'+cmd"},
        {"-2+3", "'-2+3"},
        {"@SUM(A1)", "'@SUM(A1)"},
        {"\t=1", "'\\t=1"},
        {"\r=1", "'\\r=1"},
        {"\"=1+1\"", "'\"=1+1\""},
        {"\xEF\xBC\x9D"
         "1",
         "'\xEF\xBC\x9D"
         "1"},
        {"-12.5", "-12.5"},
        {"+3", "+3"},
        {"-1e-7", "-1e-7"},
        {"-inf", "'-inf"},
        {"- 5", "'- 5"},
        {"-12.5 mm", "-12.5 mm"},
        {"-33.856800 151.215300", "-33.856800 151.215300"},
        {"-5 % of 3", "-5 % of 3"},
        {"-2+3 mm", "'-2+3 mm"},
        {"-1 cmd|' /C calc'!A0", "'-1 cmd|' /C calc'!A0"},
        {"-1 SUM(A1)", "'-1 SUM(A1)"},
        {"--1", "'--1"},
        {"-", "'-"},
        {"a=b", "a=b"},
        {"a\tb\nc\rd\\e", "a\\tb\\nc\\rd\\\\e"},
        {"", ""},
    };
    for (const auto& [text, cell] : cases) EXPECT_EQ(EscapeTsv(text), cell);
}

TEST(Text, FileSizes) {
    const std::pair<std::uint64_t, const char*> cases[] = {
        {0, "0 bytes"},
        {1, "1 byte"},
        {1023, "1,023 bytes"},
        {1024, "1,024 bytes (1.0 KB)"},
        {12345678, "12,345,678 bytes (11.8 MB)"},
        {1048575, "1,048,575 bytes (1.0 MB)"},
        {1099511627776, "1,099,511,627,776 bytes (1.0 TB)"},
        {18446744073709551615u, "18,446,744,073,709,551,615 bytes (16.0 EB)"},
    };
    for (const auto& [size, text] : cases) EXPECT_EQ(FormatFileSize(size), text);
}

TEST(Text, EveryByteOfLatin1IsACharacter) {
    for (int code = 0; code < 256; ++code) {
        const std::string text = Latin1ToUtf8(std::string(1, static_cast<char>(code)));
        if (code < 0x80) {
            EXPECT_EQ(text, std::string(1, static_cast<char>(code)));
        } else {
            EXPECT_EQ(text, (std::string{static_cast<char>(0xc0 + code / 64),
                                         static_cast<char>(0x80 + code % 64)}));
        }
    }
}

}  // namespace
