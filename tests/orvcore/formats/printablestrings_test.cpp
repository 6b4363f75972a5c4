#include "orvcore/formats/printablestrings.h"

#include <gtest/gtest.h>

#include "tests/orvcore/formats/formatsupport.h"

using namespace formatsupport;

namespace {

// "offset encoding text" of each.
std::string Outline(const Bytes& bytes, std::size_t minimum = 4) {
    std::string text;
    for (const PrintableString& found : FindPrintableStrings(bytes, minimum).strings)
        text +=
            std::to_string(found.offset) + " " + StringEncodingText(found.encoding) + " " + found.text + "\n";
    return text;
}

Bytes Wide(const std::string& text, bool isLittle) {
    Bytes bytes;
    for (const char c : text) {
        const std::uint8_t letter = static_cast<std::uint8_t>(c);
        bytes = bytes + (isLittle ? Bytes{letter, 0} : Bytes{0, letter});
    }
    return bytes;
}

TEST(PrintableStrings, EveryEncodingAtEveryPlace) {
    const Bytes noise = {1, 0x80, 0xFF, 3};
    const struct {
        const char* what;
        Bytes bytes;
        const char* expected;
    } cases[] = {
        {"at both ends", ToBytes("abcd") + noise + ToBytes("efgh"), "0 8 bit abcd\n8 8 bit efgh\n"},
        {"too short", ToBytes("abc") + noise, ""},
        {"tab belongs, line feed ends", ToBytes("ab\tcd\nefgh"), "0 8 bit ab\tcd\n6 8 bit efgh\n"},
        {"UTF-8", ToBytes("K\xC3\xB6ln\xE2\x82\xAC\xFF"), "0 8 bit K\xC3\xB6ln\xE2\x82\xAC\n"},
        {"cut UTF-8", ToBytes("abcd\xE2\x82"), "0 8 bit abcd\n"},
        {"overlong and surrogate",
         ToBytes("abcd\xC0\xAF"
                 "efgh\xED\xA0\x80"),
         "0 8 bit abcd\n6 8 bit efgh\n"},
        {"UTF-16 little", noise + Wide("Paint", true) + noise, "4 UTF-16 LE Paint\n"},
        {"UTF-16 big at an odd offset", Bytes{7} + Wide("Paint", false) + noise, "1 UTF-16 BE Paint\n"},
        {"UTF-16 Latin-1", Bytes{7, 'K', 0, 0xF6, 0, 'l', 0, 'n', 0}, "1 UTF-16 LE K\xC3\xB6ln\n"},
        {"wide after narrow", ToBytes("name") + Wide("wide", true), "0 8 bit name\n4 UTF-16 LE wide\n"},
        {"zeros", Bytes(50, 0), ""},
        {"one odd byte at the end", Wide("wide", true) + Bytes{'x'}, "0 UTF-16 LE wide\n"},
    };
    for (const auto& c : cases) EXPECT_EQ(Outline(c.bytes), c.expected) << c.what;
    EXPECT_EQ(Outline(ToBytes("ab\ncde"), 2), "0 8 bit ab\n3 8 bit cde\n");
}

TEST(PrintableStrings, LimitsAndStop) {
    const Bytes longText(100000, 'a');
    const PrintableStrings one = FindPrintableStrings(longText, 4);
    ASSERT_EQ(one.strings.size(), 1U);
    EXPECT_EQ(one.strings[0].size, longText.size());
    EXPECT_TRUE(one.strings[0].isShortened);
    EXPECT_LE(one.strings[0].text.size(), kMaxStringText);
    Bytes many;
    for (std::size_t i = 0; i < kMaxStrings + 10; ++i) many.insert(many.end(), {'a', 'b', 1});
    const PrintableStrings listed = FindPrintableStrings(many, 2);
    EXPECT_EQ(listed.strings.size(), kMaxStrings);
    EXPECT_TRUE(listed.isTruncated);
    struct Stop {};
    EXPECT_THROW(FindPrintableStrings(longText, 4, [](double) { throw Stop(); }), Stop);
}

}  // namespace
