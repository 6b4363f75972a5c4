#include <gtest/gtest.h>

#include <numeric>

#include "orvcore/filters/hexviewfilter.h"
#include "orvcore/formats/bytesearch.h"
#include "orvcore/formats/hexdump.h"
#include "orvcore/formats/structure/filestructure.h"
#include "tests/orvcore/formats/formatsupport.h"
#include "tests/support/runfilter.h"
#include "tests/support/temporaryfolder.h"
#include "zorbase/text.h"

namespace {

Bytes Ramp(std::size_t size) {
    Bytes bytes(size);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
    return bytes;
}

VecParameter At(std::int64_t offset, int length, int choice = 0) {
    VecParameter input = HexViewFilter().GetInputPrototype();
    EXPECT_TRUE(input[0].SetValue(offset));
    EXPECT_TRUE(input[1].SetValue(length));
    EXPECT_TRUE(input[2].SetValue(choice));
    return input;
}

}  // namespace

TEST(HexDump, LinesHaveTheKnownForm) {
    const std::string text = "Hello, \x7F\xFFworld!\nbye";
    const Bytes bytes(text.begin(), text.end());
    EXPECT_EQ(HexDump(bytes, 0, 100, 16),
              "00000000  48 65 6C 6C 6F 2C 20 7F  FF 77 6F 72 6C 64 21 0A  Hello, ..world!.\n"
              "00000010  62 79 65                                          bye             ");
    EXPECT_EQ(HexDump(bytes, 1, 2, 8), "00000001  65 6C                    el      ");
    EXPECT_EQ(HexDump(bytes, 19, 1, 16), "");
}

TEST(HexDump, EveryByteIsThereOnceAndAllLinesAreEquallyLong) {
    const Bytes bytes = Ramp(1000);
    for (const int perLine : {16, 32})
        for (const int offset : {0, 1, 500, 999}) {
            const std::vector<std::string> lines =
                StringToVecString(HexDump(bytes, static_cast<std::uint64_t>(offset), 400, perLine), "\n");
            std::vector<int> seen;
            for (const std::string& line : lines) {
                EXPECT_EQ(line.size(), lines.front().size());
                for (int i = 0; i < perLine; ++i) {
                    const std::string digits = line.substr(static_cast<std::size_t>(10 + 3 * i + i / 8), 2);
                    if (digits != "  ") seen.push_back(std::stoi(digits, nullptr, 16));
                }
            }
            std::vector<int> expected;
            for (int i = offset; i < std::min(1000, offset + 400); ++i) expected.push_back(i % 256);
            EXPECT_EQ(seen, expected) << perLine << " from " << offset;
        }
}

TEST(HexView, ShowsBothFilesAndSaysWhatLiesBeyondTheEnd) {
    const TemporaryFolder folder;
    WriteFile(folder / "a", Ramp(300));
    WriteFile(folder / "b", Ramp(20));
    WriteFile(folder / "empty", Bytes());
    const HexViewFilter filter;

    VecParameter input = At(16, 16);
    OrvFilterResultPtr result = RunFilter(filter, folder / "a", folder / "b", &input);
    EXPECT_EQ(OutputOf(result, "hex"),
              "00000010  10 11 12 13 14 15 16 17  18 19 1A 1B 1C 1D 1E 1F  ................");
    EXPECT_EQ(OutputOf(result, "range"), "16 to 31 of 300 bytes");
    EXPECT_EQ(OutputOf(result, "range", true), "16 to 19 of 20 bytes");

    input = At(std::int64_t{1} << 53, 65536, 1);
    result = RunFilter(filter, folder / "a", folder / "empty", &input);
    EXPECT_EQ(OutputOf(result, "hex"),
              "Offset 9007199254740992 lies beyond the end of the file, which has 300 bytes.");
    EXPECT_EQ(OutputOf(result, "hex", true), "The file is empty.");
    EXPECT_EQ(result->status, FilterStatus::Processed);
}

TEST(ByteSearch, FindsEveryPlaceAndReadsDigits) {
    const Bytes bytes = {1, 1, 1, 2, 0xFF, 0xD8, 1, 1};
    const ByteSearch ones = FindBytes(bytes, Bytes{1, 1}, 2);
    EXPECT_EQ(ones.offsets, (std::vector<std::size_t>{0, 1}));
    EXPECT_EQ(ones.count, 3U);
    EXPECT_EQ(FindBytes(bytes, Bytes{}, 5).count, 0U);
    EXPECT_EQ(FindBytes(bytes, Bytes(9, 1), 5).count, 0U);
    // Over the border of the pieces that are searched one after the other.
    Bytes large((std::size_t{16} << 20) + 10, 0);
    large[(std::size_t{16} << 20) - 1] = 7;
    large[std::size_t{16} << 20] = 8;
    EXPECT_EQ(FindBytes(large, Bytes{7, 8}, 5).offsets,
              (std::vector<std::size_t>{(std::size_t{16} << 20) - 1}));
    EXPECT_EQ(BytesOfDigits("FF d8 00aB"), (Bytes{0xFF, 0xD8, 0x00, 0xAB}));
    for (const char* wrong : {"", " ", "F", "FG", "FF D", "0x12"})
        EXPECT_FALSE(BytesOfDigits(wrong)) << wrong;
    EXPECT_EQ(Utf16OfText("A\xC3\xB6"), (Bytes{'A', 0, 0xF6, 0}));
    EXPECT_FALSE(Utf16OfText("\xE2\x82\xAC"));
}

TEST(HexView, TellsThePartAndFindsTextAndBytes) {
    const TemporaryFolder folder;
    const std::string path = folder / "a.jpg";
    const Bytes wide = {'W', 0, 'i', 0, 'd', 0, 'e', 0};
    const Bytes jpeg = formatsupport::MakeJpeg({.comment = "Wide word"});
    WriteFile(path, formatsupport::operator+(jpeg, wide));
    const FileStructure structure = ReadFileStructure(ReadFileBytes(path));
    std::size_t comment = 0;
    for (const StructureRow& row : structure.rows)
        if (row.name == "COM") comment = row.offset;
    VecParameter input = At(static_cast<std::int64_t>(comment), 16);
    EXPECT_EQ(OutputOf(RunFilter(HexViewFilter(), path, {}, &input), "part"), "COM");
    input.Find("find")->SetValue(std::string("Wide"));
    const auto found = [&] {
        return RunFilter(HexViewFilter(), path, {}, &input)->output.Get<std::string>("found");
    };
    EXPECT_EQ(found(),
              std::to_string(comment + 4) + "  COM\n" + std::to_string(jpeg.size()) + "  trailing data");
    input.Find("find")->SetValue(std::string("ff d8 ff"));
    EXPECT_EQ(found(), "Not found");
    input.Find("findAs")->SetValue(1);
    EXPECT_EQ(found(), "0  SOI");
    input.Find("find")->SetValue(std::string("xyz"));
    EXPECT_NE(found().find("no sequence"), std::string::npos);
}

TEST(HexView, IsAimedAtWhatATableTellsOf) {
    VecParameter input = HexViewFilter().GetInputPrototype();
    const auto aimed = [&](std::uint64_t offset, std::uint64_t count) {
        HexViewFilter::Aim(input, offset, count);
        return std::pair(input.Get<std::int64_t>("offset"), input.Get<int>("length"));
    };
    EXPECT_EQ(aimed(123, 4), std::pair(std::int64_t{123}, 4));
    EXPECT_EQ(aimed(123, 0), std::pair(std::int64_t{123}, 4096));
    EXPECT_EQ(aimed(0, std::uint64_t{1} << 40), std::pair(std::int64_t{0}, 65536));
    EXPECT_EQ(aimed(~std::uint64_t{0}, 1).second, 1);
    EXPECT_GT(aimed(~std::uint64_t{0}, 1).first, std::int64_t{1} << 40);
}
