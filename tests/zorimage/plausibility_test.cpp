// Where a file's own headers say that it ends, number by number, and how much it may ask for.

#include "zorimage/plausibility.h"

#include <gtest/gtest.h>

#include "tests/zorimage/maketiff.h"
#include "zorimage/imageio.h"

namespace {

using samples::Append16;
using samples::Append32;
using samples::MakeTiff;

// The number in "at least N bytes", 0 without a complaint.
std::uint64_t LeastOf(std::span<const std::uint8_t> bytes) {
    const std::string text = CutProblem(bytes);
    const std::string mark = "at least ";
    return text.empty() ? 0 : std::stoull("0" + text.substr(text.find(mark) + mark.size()));
}

void AppendBig32(Bytes& bytes, std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<std::uint8_t>(value >> shift));
}

TEST(Plausibility, MemoryGrowsWithTheFile) {
    EXPECT_EQ(MemoryLimit(0), std::uint64_t{576} << 20);
    EXPECT_EQ(MemoryLimit(1), (std::uint64_t{576} << 20) + 64);
    EXPECT_EQ(MemoryLimit(1U << 20), std::uint64_t{640} << 20);
}

TEST(Plausibility, ATiffReachesAsFarAsItsLastPart) {
    for (const bool isBig : {false, true})
        for (const int tile : {0, 16})
            for (const int rows : {8, 3})  // one strip, or several
                for (const int samples : {1, 3}) {
                    samples::TiffLayout layout{.width = 20, .height = 18, .samples = samples};
                    layout.photometric = samples == 3 ? 2 : 1;
                    layout.stripRows = rows;
                    layout.tileWidth = layout.tileHeight = tile;
                    layout.isBigEndian = isBig;
                    layout.isPlanar = samples == 3;
                    const Bytes whole = MakeTiff(layout);
                    EXPECT_EQ(LeastOf(whole), 0U);
                    // The directory ends the file; what is claimed grows when the place of the next one is cut.
                    for (const std::size_t cut : {1U, 4U, 30U})
                        EXPECT_EQ(LeastOf(std::span(whole).first(whole.size() - cut)), whole.size())
                            << tile << ' ' << rows << ' ' << cut;
                }
}

// A directory in front and one strip behind it: offset and size in long or short numbers, in place or in lists.
Bytes InFront(bool isBig, int type, std::uint32_t count, std::uint32_t offset, std::uint32_t size,
              bool isTiled = false) {
    Bytes bytes = isBig ? Bytes{'M', 'M', 0, 42, 0, 0, 0, 8} : Bytes{'I', 'I', 42, 0, 8, 0, 0, 0};
    const auto put16 = [&](std::uint32_t value) {
        isBig ? bytes.insert(bytes.end(),
                             {static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)})
              : bytes.insert(bytes.end(),
                             {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8)});
    };
    const auto put32 = [&](std::uint32_t value) {
        isBig ? (put16(value >> 16), put16(value & 65535)) : (put16(value & 65535), put16(value >> 16));
    };
    const auto put = [&](std::uint32_t value) { type == 3 ? put16(value) : put32(value); };
    const std::uint32_t unit = type == 3 ? 2 : 4;
    put16(2);
    std::uint32_t list = 8 + 2 + 24 + 4;
    for (const std::uint32_t tag : {isTiled ? 324U : 273U, isTiled ? 325U : 279U}) {
        put16(tag);
        put16(static_cast<std::uint32_t>(type));
        put32(count);
        if (count * unit <= 4) {
            for (std::uint32_t i = 0; i < count; ++i)
                put(tag == 273 || tag == 324 ? offset + i * size : size);
            for (std::uint32_t i = count * unit; i < 4; i += 2) put16(0);
        } else {
            put32(list);
            list += count * unit;
        }
    }
    put32(0);
    if (count * unit > 4)
        for (const bool isOffset : {true, false})
            for (std::uint32_t i = 0; i < count; ++i) put(isOffset ? offset + i * size : size);
    bytes.resize(std::max<std::size_t>(bytes.size(), 150), 0);
    return bytes;
}

TEST(Plausibility, PartsOfATiffAreTakenFromShortAndLongLists) {
    for (const bool isBig : {false, true})
        for (const bool isTiled : {false, true})
            for (const int type : {3, 4})
                for (const std::uint32_t count : {1U, 2U, 3U}) {
                    const Bytes bytes = InFront(isBig, type, count, 100, 50, isTiled);
                    const std::uint64_t end = 100 + 50 * count;
                    EXPECT_EQ(LeastOf(bytes), end > bytes.size() ? end : 0)
                        << isBig << isTiled << ' ' << type << ' ' << count;
                    EXPECT_EQ(LeastOf(std::span(bytes).first(120)), end)
                        << isBig << isTiled << ' ' << type << ' ' << count;
                }
    // A part without a size or a place asks for nothing.
    EXPECT_EQ(LeastOf(InFront(false, 4, 1, 5000, 0)), 0U);
    EXPECT_EQ(LeastOf(InFront(false, 4, 1, 0, 5000)), 0U);
}

TEST(Plausibility, DirectoriesAreFollowedWhereverTheyAreNamed) {
    // A directory in the first one's entry; its strip ends at 1000.
    for (const std::uint32_t tag : {0x14aU, 0x8769U, 0x8825U, 0xa005U, 0x1234U, 0U}) {
        Bytes bytes = {'I', 'I', 42, 0, 8, 0, 0, 0};
        const std::uint32_t second = 8 + 2 + 12 + 4;
        Append16(bytes, 1);
        Append16(bytes, tag == 0 ? 0x1234 : tag);
        Append16(bytes, 4);
        Append32(bytes, 1);
        Append32(bytes, second);
        Append32(bytes, tag == 0 ? second : 0);  // the next one, when no entry names it
        Append16(bytes, 2);
        for (const auto& [key, value] : {std::pair{273U, 900U}, {279U, 100U}}) {
            Append16(bytes, key);
            Append16(bytes, 4);
            Append32(bytes, 1);
            Append32(bytes, value);
        }
        Append32(bytes, 0);
        EXPECT_EQ(LeastOf(bytes), tag == 0x1234 ? 0U : 1000U) << tag;
    }
    // A list of two.
    Bytes bytes = {'I', 'I', 42, 0, 8, 0, 0, 0};
    Append16(bytes, 1);
    Append16(bytes, 0x14a);
    Append16(bytes, 4);
    Append32(bytes, 2);
    Append32(bytes, 26);
    Append32(bytes, 0);
    Append32(bytes, 34);
    Append32(bytes, 64);
    for (const std::uint32_t end : {700U, 800U}) {
        Append16(bytes, 2);
        for (const auto& [key, value] : {std::pair{273U, end - 100}, {279U, 100U}}) {
            Append16(bytes, key);
            Append16(bytes, 4);
            Append32(bytes, 1);
            Append32(bytes, value);
        }
        Append32(bytes, 0);
    }
    EXPECT_EQ(LeastOf(bytes), 800U);
}

TEST(Plausibility, BoxesAreMeasuredOnTheOutermostLevel) {
    const auto file = [](std::initializer_list<std::pair<std::uint32_t, const char*>> boxes,
                         std::size_t size) {
        Bytes bytes = {0, 0, 0, 16, 'f', 't', 'y', 'p', 'h', 'e', 'i', 'c', 0, 0, 0, 0};
        for (const auto& [length, name] : boxes) {
            AppendBig32(bytes, length);
            samples::AppendText(bytes, name);
            bytes.resize(std::max<std::size_t>(bytes.size(), bytes.size() - 8 + std::min(length, 1000U)));
        }
        bytes.resize(size);
        return bytes;
    };
    EXPECT_EQ(LeastOf(file({{24, "meta"}, {60, "mdat"}}, 100)), 0U);
    EXPECT_EQ(LeastOf(file({{24, "meta"}, {60, "mdat"}}, 99)), 100U);
    EXPECT_EQ(LeastOf(file({{24, "meta"}, {61, "mdat"}}, 100)), 101U);
    EXPECT_EQ(LeastOf(file({{24, "meta"}, {0, "mdat"}}, 60)), 0U) << "to the end";
    EXPECT_EQ(LeastOf(file({{7, "mdat"}}, 60)), 0U) << "too short for a box";
    EXPECT_EQ(LeastOf(file({{8, "free"}, {40, "mdat"}}, 32)), 64U);
    EXPECT_EQ(LeastOf(file({{8, "free"}, {40, "mdat"}}, 31)), 0U);
    // A length of 64 bits.
    Bytes large = file({}, 16);
    AppendBig32(large, 1);
    samples::AppendText(large, "mdat");
    AppendBig32(large, 0);
    AppendBig32(large, 84);
    large.resize(100);
    EXPECT_EQ(LeastOf(large), 0U);
    large[16 + 15] = 85;
    EXPECT_EQ(LeastOf(large), 101U);
    large[16 + 11] = 1;
    EXPECT_EQ(LeastOf(large), (std::uint64_t{1} << 32) + 101);
}

TEST(Plausibility, CodeStreamsEndWithTheirMark) {
    const char* const lost = "File ends early: the end mark of the code stream is missing.";
    for (const Bytes& whole : {samples::kGreyJp2, samples::kGreyJ2k}) {
        EXPECT_EQ(CutProblem(whole), "");
        Bytes padded = whole;
        padded.resize(whole.size() + 62, 0);
        EXPECT_EQ(CutProblem(padded).find("end mark"), std::string::npos);
        padded.push_back(0);
        EXPECT_EQ(CutProblem(padded), lost);
        Bytes cut = whole;
        cut.back() = 0;
        EXPECT_EQ(CutProblem(cut), lost);
    }
}

TEST(Plausibility, LimitsStandWhereTheySay) {
    const auto tiff = [](std::uint32_t width, std::uint32_t height, std::uint32_t samples,
                         std::uint32_t bits) {
        Bytes bytes = {'I', 'I', 42, 0, 8, 0, 0, 0, 4, 0};
        for (const auto& [tag, value] :
             {std::pair{256U, width}, {257U, height}, {258U, bits}, {277U, samples}}) {
            Append16(bytes, tag);
            Append16(bytes, 4);
            Append32(bytes, 1);
            Append32(bytes, value);
        }
        Append32(bytes, 0);
        return bytes;
    };
    const std::uint64_t limit = MemoryLimit(tiff(1, 1, 1, 8).size());
    ASSERT_EQ(limit, 603983744U);  // of 62 bytes
    const struct {
        std::uint32_t width, height, samples, bits;
        bool isRefused;
    } rows[] = {{30000, 30000, 64, 8, false}, {30000, 30000, 65, 8, true}, {9293, 1000, 65, 8, true},
                {9292, 1000, 65, 8, false},   {4647, 1000, 65, 16, true},  {4646, 1000, 65, 16, false},
                {4647, 1000, 65, 9, true},    {9292, 1000, 65, 1, false},  {9293, 1000, 65, 1, true},
                {1000, 9293, 65, 8, true}};
    for (const auto& row : rows)
        EXPECT_EQ(!StructureProblem(tiff(row.width, row.height, row.samples, row.bits)).empty(),
                  row.isRefused)
            << row.width << ' ' << row.height << ' ' << row.samples << ' ' << row.bits;
}

}  // namespace
