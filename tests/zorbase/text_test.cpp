#include "zorbase/text.h"

#include <gtest/gtest.h>

#include <wx/strconv.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
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
    EXPECT_EQ(Trim("\v\f\n\r\t x"), "x");
    EXPECT_EQ(StringToVecString(" a, ", ",", SplitMode::KeepEmpty, true), (Strings{"a", ""}));
    EXPECT_EQ(StringToVecString(" a, ", ",", SplitMode::SkipEmpty), (Strings{" a", " "}));
    EXPECT_EQ(ToLower("@AMZ[`az{\xC3\x84"), "@amz[`az{\xC3\x84");
    EXPECT_EQ(Join({"a", "", "b"}, "; "), "a; ; b");
}

TEST(Text, IsShortenedBetweenCharacters) {
    const std::string euro = "\xE2\x82\xAC";
    EXPECT_EQ(ShortenText("abc", 3), "abc");
    EXPECT_EQ(ShortenText("abcd", 3), "abc");
    EXPECT_EQ(ShortenText("a" + euro + "b", 4), "a" + euro);
    EXPECT_EQ(ShortenText("a" + euro + "b", 3), "a");
    EXPECT_EQ(ShortenText("a" + euro + "b", 2), "a");
    for (const std::size_t most : {0U, 1U, 2U}) EXPECT_EQ(ShortenText(euro, most), "") << most;
    const std::string camera = "\xF0\x9F\x93\xB7";
    for (const std::size_t most : {1U, 2U, 3U}) EXPECT_EQ(ShortenText(camera + "x", most), "") << most;
    EXPECT_EQ(ShortenText("x" + camera + "x", 5), "x" + camera);
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
                                              "img_1 (2)",
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

    // Of a part of a text nothing behind it counts.
    const std::string_view longer = "ab1";
    EXPECT_GT(CompareNatural("ab1", std::string_view("ab2").substr(0, 2)), 0);
    EXPECT_LT(CompareNatural(longer.substr(0, 2), "ab0"), 0);
    EXPECT_EQ(CompareNatural(longer.substr(0, 2), "ab"), 0);
    EXPECT_LT(CompareNatural(std::string_view("x12").substr(0, 2), "x2"), 0);
    EXPECT_GT(CompareNatural("Z", "["), 0) << "letters compare as small ones";
    EXPECT_LT(CompareNatural("a/", "a0"), 0);

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
        // Read in the middle of a text, and cut at every place.
        const Utf8Step step = NextUtf8(text + "!", 1);
        EXPECT_TRUE(step.valid);
        EXPECT_EQ(step.codePoint, codePoint);
        EXPECT_EQ(step.length, text.size() - 1);
        for (std::size_t cut = 2; cut < text.size(); ++cut) {
            const Utf8Step part = NextUtf8(std::string_view(text).substr(0, cut), 1);
            EXPECT_FALSE(part.valid);
            EXPECT_EQ(part.length, cut - 1);
        }
    }
}

// Every second byte behind every first: what the standard's table of well-formed sequences allows, and no more.
TEST(Text, OnlyWellFormedSequencesAreCharacters) {
    for (int lead = 0; lead < 256; ++lead) {
        for (int second = 0; second < 256; ++second) {
            const std::string text{static_cast<char>(lead), static_cast<char>(second), '\x80', '\xBF'};
            const Utf8Step step = NextUtf8(text, 0);
            int low = 0x80;
            int high = 0xBF;
            if (lead == 0xE0) low = 0xA0;
            if (lead == 0xED) high = 0x9F;
            if (lead == 0xF0) low = 0x90;
            if (lead == 0xF4) high = 0x8F;
            const std::size_t length = lead < 0x80   ? 1U
                                       : lead < 0xC2 ? 0U
                                       : lead < 0xE0 ? 2U
                                       : lead < 0xF0 ? 3U
                                       : lead < 0xF5 ? 4U
                                                     : 0U;
            const bool isValid = length == 1 || (length > 1 && second >= low && second <= high);
            ASSERT_EQ(step.valid, isValid) << lead << ", " << second;
            ASSERT_EQ(step.length, isValid ? length : 1U) << lead << ", " << second;
        }
    }
    EXPECT_EQ(NextUtf8("\xE2\x82\xC0", 0).length, 2U) << "a third byte out of its range";
    EXPECT_EQ(NextUtf8("\xF0\x9F\x93\x7F", 0).length, 3U);
}

TEST(Text, MarksOfDirection) {
    for (char32_t code = 0x600; code < 0x2100; ++code) {
        const bool isMark = code == 0x61C || code == 0x200E || code == 0x200F ||
                            (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
        ASSERT_EQ(IsDirectionMark(code), isMark) << static_cast<int>(code);
    }
}

TEST(Text, ControlCharactersAreReplaced) {
    for (int code = 0; code < 0x100; ++code) {
        std::string text;
        AppendUtf8(text, static_cast<char32_t>(code));
        const bool isKept = code == '\t' || code == '\n' || (code >= 0x20 && code <= 0x7E) || code >= 0xA0;
        EXPECT_EQ(ToValidUtf8(text + "x"), (isKept ? text : "\xEF\xBF\xBD") + "x") << code;
    }
    // A character of the toolkit that none of the standard's is.
    for (const wchar_t wrong : {wchar_t{0xD800}, wchar_t{0xDFFF}, wchar_t{0x110000}})
        EXPECT_EQ(FromWx(wxString(wrong)), "\xEF\xBF\xBD");
    for (const wchar_t right : {wchar_t{0xD7FF}, wchar_t{0xE000}, wchar_t{0x10FFFF}})
        EXPECT_EQ(ToWx(FromWx(wxString(right))), wxString(right));
}

TEST(Text, AddressesEscapeAllButPlainCharacters) {
    for (int code = 0; code < 256; ++code) {
        const std::string one(1, static_cast<char>(code));
        const bool isPlain =
            (code < 0x80 && std::isalnum(code) != 0) || std::string("-._~").find(one) != std::string::npos;
        char escaped[4];
        std::snprintf(escaped, sizeof escaped, "%%%02X", code);
        EXPECT_EQ(PercentEncode(one), isPlain && code != 0 ? one : escaped) << code;
        EXPECT_EQ(PercentDecode(escaped), one) << code;
        EXPECT_EQ(PercentDecode(ToLower(escaped)), one) << code;
    }
    EXPECT_EQ(PercentEncode("/a b/", "/"), "/a%20b/");
    const std::pair<const char*, const char*> cases[] = {
        {"100%", "100%"}, {"%4", "%4"},   {"%4g", "%4g"},       {"%g4", "%g4"},
        {"%%41", "%A"},   {"%/0", "%/0"}, {"%:0", "%:0"},       {"%@0", "%@0"},
        {"%G0", "%G0"},   {"%`0", "%`0"}, {"a%41%42b", "aABb"}, {"", ""}};
    for (const auto& [text, plain] : cases) EXPECT_EQ(PercentDecode(text), plain);
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
        {"\xE3\x80\x80=1", "'\xE3\x80\x80=1"},
        {" \xEF\xBB\xBF \xC2\xA0@a", "' \xEF\xBB\xBF \xC2\xA0@a"},
        {"\v=1", "'\xEF\xBF\xBD=1"},
        {"\f=1", "'\xEF\xBF\xBD=1"},
        {"\xEF\xBC\x8B"
         "1",
         "'\xEF\xBC\x8B"
         "1"},
        {"\xEF\xBC\x8D"
         "1",
         "'\xEF\xBC\x8D"
         "1"},
        {"\xEF\xBC\xA0"
         "a",
         "'\xEF\xBC\xA0"
         "a"},
        {"\xEF\xBC\x8C"
         "a",
         "\xEF\xBC\x8C"
         "a"},
        {"-.5 AZ az %", "-.5 AZ az %"},
        {"-5  3 ", "-5  3 "},
        {"-5 a[", "'-5 a["},
        {"-5 a{", "'-5 a{"},
        {"-5 @", "'-5 @"},
        {"-a 5", "'-a 5"},
        {"+", "'+"},
        {"+.", "'+."},
        {"-0x1", "'-0x1"},
        {"-1e999", "'-1e999"},
        {"-5x", "'-5x"},
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
        {999, "999 bytes"},
        {10000, "10,000 bytes (9.8 KB)"},
        {1048524, "1,048,524 bytes (1023.9 KB)"},
        {1048525, "1,048,525 bytes (1.0 MB)"},
        {1048575, "1,048,575 bytes (1.0 MB)"},
        {5368709120, "5,368,709,120 bytes (5.0 GB)"},
        {1125899906842624, "1,125,899,906,842,624 bytes (1.0 PB)"},
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
