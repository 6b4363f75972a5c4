#include "orvcore/formats/printablestrings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

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

// The same search without any short cut: at every place a wide text, then a narrow one, then a byte on.
struct SlowSearch {
    const Bytes& bytes;
    std::size_t minimum;

    std::uint32_t At(std::size_t place) const { return place < bytes.size() ? bytes[place] : 0x100; }
    std::size_t Character(std::size_t at) const {
        const std::uint32_t a = At(at), b = At(at + 1), c = At(at + 2);
        const auto isTail = [](std::uint32_t byte) { return byte >= 0x80 && byte < 0xC0; };
        if (a == 9 || (a >= 0x20 && a < 0x7F)) return 1;
        if (a >= 0xC3 && a <= 0xDF) return isTail(b) ? 2 : 0;
        if (a < 0xE0 || a > 0xEF || !isTail(b) || !isTail(c)) return 0;
        const std::uint32_t code = (a & 15) << 12 | (b & 63) << 6 | (c & 63);
        return code < 0x800 || (code >= 0xD800 && code < 0xF900) || code >= 0xFFF0 ? 0 : 3;
    }
    std::size_t Wide(std::size_t at, bool isLittle) const {
        std::size_t count = 0;
        for (std::size_t i = at; i + 1 < bytes.size(); i += 2, ++count) {
            const std::uint32_t zero = At(isLittle ? i + 1 : i), letter = At(isLittle ? i : i + 1);
            if (zero != 0 || !(letter == 9 || (letter >= 0x20 && letter < 0x7F) || letter >= 0xC0)) break;
        }
        return count >= std::max<std::size_t>(minimum, 3) ? 2 * count : 0;
    }
    std::size_t Narrow(std::size_t at, bool& isText) const {
        std::size_t end = at, count = 0;
        std::uint32_t lead = 0xC3;
        while (const std::size_t length = Character(end)) {
            const std::uint32_t byte = At(end);
            if (length != 2 || byte == 0xC3 || (byte <= lead + 1 && lead <= byte + 1)) ++count;
            if (length == 2) lead = byte;
            end += length;
        }
        if (At(end) == 0 && end - at > 1 && end + 2 < bytes.size() && At(end + 2) == 0 &&
            (At(end + 1) == 9 || (At(end + 1) >= 0x20 && At(end + 1) < 0x7F))) {
            --end;
            count -= count > 0 ? 1 : 0;
        }
        isText = count >= minimum;
        return end - at;
    }
    std::string Outline() const {
        std::string text;
        for (std::size_t at = 0; at < bytes.size();) {
            bool isText = true;
            std::size_t taken = 0;
            const char* kind = "";
            if (At(at) == 0)
                taken = Wide(at, false), kind = " UTF-16 BE ";
            else if (At(at + 1) == 0)
                taken = Wide(at, true), kind = " UTF-16 LE ";
            if (taken == 0 && At(at) != 0) taken = Narrow(at, isText), kind = " 8 bit ";
            if (taken > 0 && isText) text += std::to_string(at) + kind + std::to_string(taken) + "\n";
            at += std::max<std::size_t>(taken, 1);
        }
        return text;
    }
};

std::string Places(const Bytes& bytes, std::size_t minimum) {
    std::string text;
    for (const PrintableString& found : FindPrintableStrings(bytes, minimum).strings)
        text += std::to_string(found.offset) + " " + StringEncodingText(found.encoding) + " " +
                std::to_string(found.size) + "\n";
    return text;
}

TEST(PrintableStrings, TheShortCutsMissNothing) {
    std::mt19937 random(11);
    const Bytes alphabets[] = {{},  // every byte
                               {'a', 'b', '\t', 1, 0xFF},
                               {'a', 0, 0xFF},
                               {0, 'a', 0xE9, 0xC3, 0xA9, 0xC4, 0xE2, 0x82, 0xAC, 0xED, 7},
                               {'a', 'b', 'c', 'd', 'e', 'f', 'g', 0xC3, 0xA9, 0}};
    for (const Bytes& alphabet : alphabets) {
        for (const std::size_t minimum : {1, 2, 3, 6, 7, 15, 16, 17, 40}) {
            // Small ones, and such as end near the edges of what is looked at in one go.
            for (std::size_t round = 0; round < 24; ++round) {
                Bytes bytes(round < 22 ? round * 11 : 3 * 16384 + round - 22);
                for (std::uint8_t& byte : bytes)
                    byte = alphabet.empty() ? static_cast<std::uint8_t>(random())
                                            : alphabet[random() % alphabet.size()];
                // Long texts across those edges.
                if (round % 2 == 1 && bytes.size() > 40000)
                    std::fill(bytes.begin() + 16370, bytes.begin() + 16400, 'x');
                ASSERT_EQ(Places(bytes, minimum), (SlowSearch{bytes, minimum}.Outline()))
                    << "minimum " << minimum << ", " << bytes.size() << " bytes";
            }
        }
    }
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
    // A stop is possible at every megabyte, within one text as well.
    Bytes wide(3 << 20, 'a');
    for (std::size_t i = 1; i < wide.size(); i += 2) wide[i] = 0;
    for (const Bytes& bytes : {Bytes(3 << 20, 'a'), Bytes(3 << 20, 0), wide, Bytes(3 << 20, 0xFF)}) {
        int ticks = 0;
        FindPrintableStrings(bytes, 6, [&ticks](double) { ++ticks; });
        EXPECT_GE(ticks, 2);
    }
    EXPECT_THROW(FindPrintableStrings(longText, 4, [](double) { throw Stop(); }), Stop);
}

}  // namespace
