#include "orvcore/formats/jpegtables/jpegtables.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>

#include "tests/orvcore/formats/formatsupport.h"
#include "zorbase/json.h"

using namespace formatsupport;

namespace {

JpegTables Read(const Bytes& bytes) {
    return ReadJpegTables(bytes, ParseJpegStructure(bytes));
}

QuantizationTable Scaled(double factor, bool isChrominance, double (*round)(double)) {
    QuantizationTable table = StandardQuantizationTable(50, isChrominance);
    for (std::uint16_t& value : table.values)
        value = static_cast<std::uint16_t>(std::clamp(round(value * factor), 1.0, 255.0));
    return table;
}

TEST(QuantizationOrigin, EveryQualityOfTheLibraryIsFoundExactly) {
    for (const bool isChrominance : {false, true})
        for (int quality = 1; quality <= 100; ++quality) {
            const QuantizationTable table = StandardQuantizationTable(quality, isChrominance);
            const QuantizationOrigin origin = FindQuantizationOrigin(table, isChrominance ? 1 : 0);
            ASSERT_EQ(origin.family, QuantizationFamily::Standard) << quality;
            EXPECT_EQ(origin.isChrominance, isChrominance) << quality;
            // The chrominance table saturates at low qualities, so several of them share one table.
            if (!isChrominance) {
                EXPECT_EQ(origin.quality.quality, quality);
            }
        }
}

TEST(QuantizationOrigin, OtherRoundingsAreToldFromOwnTables) {
    const auto nearest = [](double value) { return std::floor(value + 0.5); };
    const struct {
        double factor;
        double (*round)(double);
        const char* rounding;
    } cases[] = {{0.137, nearest, "rounded"},
                 {0.345, [](double v) { return std::floor(v); }, "cut off"},
                 {0.2895, [](double v) { return std::ceil(v); }, "rounded up"}};
    for (const auto& c : cases) {
        const QuantizationOrigin origin = FindQuantizationOrigin(Scaled(c.factor, false, c.round), 0);
        EXPECT_EQ(origin.family, QuantizationFamily::Scaled) << c.rounding;
        EXPECT_EQ(origin.rounding, c.rounding);
        EXPECT_NEAR(origin.factor, c.factor, 0.005) << c.rounding;
    }
    QuantizationTable own = Scaled(0.345, false, nearest);
    own.values[5] = static_cast<std::uint16_t>(own.values[5] + 4);
    EXPECT_EQ(FindQuantizationOrigin(own, 0).family, QuantizationFamily::Own);
    QuantizationTable flat = own;
    flat.values.assign(64, 7);
    EXPECT_EQ(FindQuantizationOrigin(flat, 0).family, QuantizationFamily::Flat);
    flat.values.resize(63);
    EXPECT_EQ(FindQuantizationOrigin(flat, 0).family, QuantizationFamily::None);
}

TEST(JpegTables, WhereTablesStandAndWhatUsesThem) {
    const Bytes bytes = MakeJpeg({.quality = 80});
    const JpegTables tables = Read(bytes);
    ASSERT_EQ(tables.quantization.size(), 2U);
    EXPECT_EQ(bytes[tables.quantization[1].offset], 1);
    EXPECT_EQ(tables.quantization[0].components, (std::vector<int>{1}));
    EXPECT_EQ(tables.quantization[1].components, (std::vector<int>{2, 3}));
    EXPECT_EQ(QuantizationOriginText(tables.quantization[1].origin), "standard (chrominance), quality 80");
    EXPECT_EQ(tables.setText, "standard");
    ASSERT_EQ(tables.huffman.size(), 4U);
    std::set<std::string> names;
    for (const HuffmanTableUse& use : tables.huffman) {
        EXPECT_EQ(use.family, HuffmanFamily::Standard);
        EXPECT_EQ(use.uses, 1U);
        EXPECT_EQ(bytes[use.offset], use.table.tableClass * 16 + use.table.id);
        names.insert(use.standardName);
    }
    EXPECT_EQ(names.size(), 4U);
}

TEST(JpegTables, OptimisedProgressiveGreyAndUnused) {
    for (const HuffmanTableUse& use : Read(MakeJpeg({.optimised = true})).huffman)
        EXPECT_EQ(use.family, HuffmanFamily::Optimised);
    const JpegTables progressive = Read(MakeJpeg({.progressive = true}));
    std::size_t redefined = 0;
    for (const HuffmanTableUse& use : progressive.huffman) {
        EXPECT_GE(use.uses, 1U);
        if (use.isRedefined) ++redefined;
    }
    EXPECT_GT(redefined, 0U);
    // A grey picture with a table that nothing asks for, and one that is defined twice.
    Bytes grey = MakeJpeg({.quality = 60, .components = 1, .horizontal = 1, .vertical = 1});
    const JpegStructure structure = ParseJpegStructure(grey);
    for (const JpegSegment& segment : structure.segments)
        if (segment.name == "DQT") {
            Bytes twice(grey.begin() + static_cast<std::ptrdiff_t>(segment.offset),
                        grey.begin() + static_cast<std::ptrdiff_t>(segment.offset + segment.size));
            Bytes other = twice;
            other[4] = 2;
            twice = twice + other;
            grey.insert(grey.begin() + static_cast<std::ptrdiff_t>(segment.offset), twice.begin(),
                        twice.end());
            break;
        }
    const JpegTables tables = Read(grey);
    ASSERT_EQ(tables.quantization.size(), 3U);
    EXPECT_TRUE(tables.quantization[1].components.empty());
    EXPECT_TRUE(tables.quantization[2].isRepeated);
    EXPECT_EQ(tables.quantization[2].components.size(), 1U);
    EXPECT_TRUE(tables.quantization[0].components.empty());
}

TEST(JpegTables, ImpossibleCodesAreDamaged) {
    JpegHuffmanTable table{0, 0, std::vector<std::uint8_t>(16, 0), {}};
    EXPECT_EQ(FindHuffmanFamily(table), HuffmanFamily::Damaged);
    table.counts[0] = 2;  // both codes of one bit: the second is all ones
    table.symbols = {0, 1};
    EXPECT_EQ(FindHuffmanFamily(table), HuffmanFamily::Damaged);
    table.counts = {1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(FindHuffmanFamily(table), HuffmanFamily::Optimised);
    table.symbols = {1, 1};
    EXPECT_EQ(FindHuffmanFamily(table), HuffmanFamily::Damaged);
}

TEST(JpegTables, AgreeWithAnotherReaderOnEveryRealFile) {
    NEED_FIXTURES();
    const Json expected = Json::parse(ReadFile(Fixtures() + "/oracle/expected.json"));
    std::size_t quantization = 0, huffman = 0;
    for (const Json& entry : expected) {
        if (!entry.contains("qtables") || !entry["qtables"].is_array()) continue;
        const std::string path = entry["path"];
        const Bytes bytes = ReadFileBytes(Fixtures() + "/" + path);
        const JpegStructure whole = ParseJpegStructure(bytes);
        if (whole.scans.empty()) continue;
        // The other reader tells the tables in force at the first scan.
        const Bytes head(bytes.begin(),
                         bytes.begin() + static_cast<std::ptrdiff_t>(whole.scans[0].headerOffset));
        const JpegTables tables = Read(head);
        std::map<std::string, std::string> codes;
        for (const HuffmanTableUse& use : tables.huffman) {
            std::string line = "bits";
            for (const int count : use.table.counts) line += " " + std::to_string(count);
            line += " vals";
            char text[8];
            for (const int symbol : use.table.symbols) {
                std::snprintf(text, sizeof text, " %02x", symbol);
                line += text;
            }
            codes[(use.table.tableClass == 0 ? "DC" : "AC") + std::to_string(use.table.id)] = line;
        }
        if (entry.contains("huffman") && entry["huffman"].is_array())
            for (const std::string line : entry["huffman"]) {
                EXPECT_EQ(codes[line.substr(0, 3)], line.substr(4)) << path;
                ++huffman;
            }
        std::map<int, std::vector<std::string>> values;
        for (const QuantizationTableUse& use : tables.quantization) {
            values[use.table.id].clear();
            for (const int value : use.table.values) values[use.table.id].push_back(std::to_string(value));
            EXPECT_EQ(bytes[use.offset], (use.table.precision == 16 ? 16 : 0) + use.table.id) << path;
        }
        std::vector<std::vector<std::string>> listed;
        for (const auto& [id, list] : values) listed.push_back(list);
        EXPECT_EQ(listed, entry["qtables"].get<std::vector<std::vector<std::string>>>()) << path;
        ++quantization;
    }
    EXPECT_GT(quantization, 100U);
    EXPECT_GT(huffman, 200U);
}

}  // namespace
