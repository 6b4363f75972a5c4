#include "orvcore/formats/jpegstructure.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <map>

#include "tests/orvcore/formats/formatsupport.h"
#include "zorbase/json.h"

using namespace formatsupport;

namespace {

// What every answer must hold, whatever the file: the rows add up to the file and do not overlap.
void ExpectAddsUp(const Bytes& bytes, const JpegStructure& structure) {
    std::size_t sum =
        structure.entropyBytes + structure.gapBytes + structure.droppedBytes + structure.trailingBytes;
    std::size_t end = structure.start;
    for (const JpegSegment& segment : structure.segments) {
        sum += segment.size;
        EXPECT_GE(segment.offset, end);
        end = segment.offset + segment.size;
        EXPECT_LE(end, bytes.size());
    }
    EXPECT_EQ(sum, bytes.size() - structure.start);
}

const JpegSegment* FindSegment(const JpegStructure& structure, const std::string& name) {
    for (const JpegSegment& segment : structure.segments)
        if (segment.name == name) return &segment;
    return nullptr;
}

bool Warns(const JpegStructure& structure, const std::string& part) {
    for (const std::string& warning : structure.warnings)
        if (warning.find(part) != std::string::npos) return true;
    return false;
}

// The tables in force at the first scan, as another reader printed them.
void ExpectTables(const Bytes& bytes, const JpegStructure& whole, const Json& entry) {
    ASSERT_FALSE(whole.scans.empty());
    const std::span<const std::uint8_t> head(bytes.data(), whole.scans[0].headerOffset);
    const JpegStructure structure = ParseJpegStructure(head);
    std::map<int, std::vector<std::string>> tables;
    for (const QuantizationTable& table : structure.quantizationTables) {
        tables[table.id].clear();
        for (const int value : table.values) tables[table.id].push_back(std::to_string(value));
    }
    std::vector<std::vector<std::string>> inOrder;
    for (const auto& [id, values] : tables) inOrder.push_back(values);
    if (!entry["qtables"].empty()) {
        EXPECT_EQ(Json(inOrder), entry["qtables"]);
    }

    std::map<std::string, std::string> codes;
    for (const JpegHuffmanTable& table : structure.huffmanTables) {
        std::string text = "bits";
        for (const int count : table.counts) text += " " + std::to_string(count);
        text += " vals";
        char symbol[8];
        for (const int value : table.symbols) {
            std::snprintf(symbol, sizeof symbol, " %02x", value);
            text += symbol;
        }
        codes[(table.tableClass == 0 ? "DC" : "AC") + std::to_string(table.id)] = text;
    }
    for (const Json& line : entry["huffman"]) {
        const std::string text = line.get<std::string>();
        EXPECT_EQ(text, text.substr(0, 4) + codes[text.substr(0, 3)]);
    }
}

}  // namespace

TEST(JpegStructure, TellsWhatTheEncoderWasAskedFor) {
    JpegRecipe recipe;
    recipe.width = 100;
    recipe.height = 60;
    recipe.comment = "made\x01 by hand \xE9";
    recipe.restartRows = 1;
    const Bytes bytes = MakeJpeg(recipe);
    const JpegStructure structure = ParseJpegStructure(bytes);
    ExpectAddsUp(bytes, structure);
    EXPECT_TRUE(structure.complete);
    EXPECT_EQ(structure.end, bytes.size());
    EXPECT_EQ(structure.frame.width, 100);
    EXPECT_EQ(structure.frame.height, 60);
    EXPECT_EQ(structure.frame.precision, 8);
    EXPECT_EQ(structure.frame.process, "Baseline DCT, Huffman");
    EXPECT_EQ(JpegSubsampling(structure.frame), "4:2:0");
    ASSERT_EQ(structure.frame.components.size(), 3U);
    EXPECT_EQ(structure.frame.components[1].table, 1);
    EXPECT_EQ(structure.restartInterval, 7);  // MCUs of 16 columns in 100
    ASSERT_EQ(structure.scans.size(), 1U);
    EXPECT_EQ(structure.scans[0].restarts, 3U);  // 4 rows of MCUs
    EXPECT_EQ(structure.scans[0].dataSize, structure.entropyBytes);
    EXPECT_EQ(structure.scans[0].spectralEnd, 63);
    ASSERT_EQ(structure.comments.size(), 1U);
    EXPECT_EQ(structure.comments[0], "made\xEF\xBF\xBD by hand \xEF\xBF\xBD");
    ASSERT_EQ(structure.segments[1].identifier, "JFIF");
    EXPECT_EQ(structure.segments[1].text, "version 1.01, density 1 x 1 without unit");
    EXPECT_TRUE(structure.warnings.empty());
}

TEST(JpegStructure, TablesAreInNaturalOrder) {
    const JpegStructure structure = ParseJpegStructure(MakeJpeg({.quality = 50}));
    // Quality 50 is the standard's example table itself.
    const std::vector<std::uint16_t> firstRows = {16, 11, 10, 16, 24, 40, 51, 61,
                                                  12, 12, 14, 19, 26, 58, 60, 55};
    ASSERT_EQ(structure.quantizationTables.size(), 2U);
    const QuantizationTable& table = structure.quantizationTables[0];
    EXPECT_EQ(std::vector<std::uint16_t>(table.values.begin(), table.values.begin() + 16), firstRows);
    EXPECT_EQ(table.precision, 8);
    ASSERT_EQ(structure.huffmanTables.size(), 4U);
    EXPECT_EQ(structure.huffmanTables[1].tableClass, 1);
    EXPECT_EQ(structure.huffmanTables[0].symbols.size(), 12U);
    EXPECT_EQ(structure.huffmanTables[0].counts[1], 1);

    const JpegStructure rough = ParseJpegStructure(MakeJpeg({.quality = 1}));
    EXPECT_EQ(rough.quantizationTables[0].precision, 16);
    EXPECT_EQ(rough.quantizationTables[0].values[0], 800);
}

TEST(JpegStructure, NamesProcessAndSampling) {
    struct Case {
        JpegRecipe recipe;
        const char* process;
        const char* sampling;
        std::size_t scans;
    };
    const Case cases[] = {
        {{.horizontal = 1, .vertical = 1}, "Baseline DCT, Huffman", "4:4:4", 1},
        {{.horizontal = 2, .vertical = 1, .optimised = true}, "Baseline DCT, Huffman", "4:2:2", 1},
        {{.horizontal = 1, .vertical = 2}, "Baseline DCT, Huffman", "4:4:0", 1},
        {{.progressive = true}, "Progressive DCT, Huffman", "4:2:0", 10},
        {{.components = 1}, "Baseline DCT, Huffman", "1x1", 1},
    };
    for (const Case& c : cases) {
        const Bytes bytes = MakeJpeg(c.recipe);
        const JpegStructure structure = ParseJpegStructure(bytes);
        SCOPED_TRACE(std::string(c.process) + " " + c.sampling);
        ExpectAddsUp(bytes, structure);
        EXPECT_TRUE(structure.complete);
        EXPECT_EQ(structure.frame.process, c.process);
        EXPECT_EQ(JpegSubsampling(structure.frame), c.sampling);
        EXPECT_EQ(structure.scans.size(), c.scans);
    }
}

TEST(JpegStructure, TellsWhatIsWrong) {
    const Bytes good = MakeJpeg();
    const JpegStructure reference = ParseJpegStructure(good);
    const JpegSegment frame = *FindSegment(reference, "SOF0");
    const auto insert = [&](std::size_t at, const std::string& text) {
        Bytes bytes = good;
        bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(at), text.begin(), text.end());
        return bytes;
    };
    const auto change = [&](std::size_t at, std::uint8_t value) {
        Bytes bytes = good;
        bytes[at] = value;
        return bytes;
    };
    struct Case {
        const char* what;
        Bytes bytes;
        bool complete;
        const char* warning;
    };
    const Case cases[] = {
        {"trailing", good + Bytes(10, 7), true, "10 bytes follow"},
        {"half", Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(good.size() / 2)), false,
         "end-of-image marker is missing"},
        {"no EOI", Bytes(good.begin(), good.end() - 2), false, "end-of-image marker is missing"},
        {"fill bytes", insert(frame.offset, "\xFF\xFF\xFF"), true, "3 fill bytes before SOF0"},
        {"junk between", insert(frame.offset, "junk"), false, "4 bytes at offset"},
        {"second SOI", insert(frame.offset, "\xFF\xD8"), false, "second start-of-image"},
        {"second frame",
         insert(frame.offset,
                std::string(good.begin() + static_cast<std::ptrdiff_t>(frame.offset),
                            good.begin() + static_cast<std::ptrdiff_t>(frame.offset + frame.size))),
         false, "second frame header"},
        {"length of one", change(frame.offset + 3, 1), false, "impossible length"},
        {"huge length", change(frame.offset + 2, 0xFF), false, "file ends inside"},
        {"frame too long", change(frame.offset + 9, 4), false, "frame header"},
        {"no table", change(frame.offset + 12, 3), true, "Quantization table 3"},
        {"no width", change(frame.offset + 8, 0), false, "frame header"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const JpegStructure structure = ParseJpegStructure(c.bytes);
        ExpectAddsUp(c.bytes, structure);
        EXPECT_EQ(structure.complete, c.complete);
        EXPECT_TRUE(Warns(structure, c.warning)) << testing::PrintToString(structure.warnings);
    }
    EXPECT_EQ(ParseJpegStructure(good + Bytes(10, 7)).end, good.size());
    const Bytes shifted = Bytes(20, 0) + good;
    EXPECT_FALSE(ParseJpegStructure(shifted).isJpeg);
    const JpegStructure inner = ParseJpegStructure(shifted, 20);
    EXPECT_TRUE(inner.complete);
    EXPECT_EQ(FindSegment(inner, "SOF0")->offset, frame.offset + 20);
    for (const std::size_t start : {std::size_t{0}, std::size_t{1}, std::size_t{99}})
        EXPECT_FALSE(ParseJpegStructure(Bytes{}, start).isJpeg);
}

TEST(JpegStructure, DescribesApplicationSegments) {
    struct Case {
        int number;
        std::string payload;
        const char* identifier;
        const char* text;
    };
    using namespace std::string_literals;
    const Case cases[] = {
        {1, "Exif\0\0MM\0\x2A\0\0\0\x08"s, "Exif", "TIFF structure, big endian"},
        {1, "http://ns.adobe.com/xap/1.0/\0<x/>"s, "http://ns.adobe.com/xap/1.0/", "XMP packet of 4 bytes"},
        {2,
         "ICC_PROFILE\0\x02\x03"
         "data"s,
         "ICC_PROFILE", "part 2 of 3"},
        {11, "JP\0\x01\0\0\0\x01\0\0\0\x20jumb\0\0c2pa"s, "JP",
         "JUMBF box, instance 1, part 1, content credentials (C2PA)"},
        {13, "Photoshop 3.0\0008BIM\x04\x04\0\0\0\0\0\x01x\0008BIM\x03\xED\0\0\0\0\0\0"s, "Photoshop 3.0",
         "2 resources: 0x0404 (IPTC), 0x03ED"},
        {14, "Adobe\0\x64\0\0\0\0\x02"s, "Adobe", "version 100, flags 0000 0000, transform 2 YCCK"},
        {5, "\x01\x02\x03"s, "", ""},
    };
    for (const Case& c : cases) {
        const JpegStructure structure =
            ParseJpegStructure(MakeJpeg({.segments = {{c.number, ToBytes(c.payload)}}}));
        ASSERT_GT(structure.segments.size(), 2U);
        EXPECT_EQ(structure.segments[2].identifier, c.identifier);
        EXPECT_EQ(structure.segments[2].text, c.text);
        EXPECT_EQ(structure.segments[2].length, c.payload.size() + 2);
    }
}

TEST(JpegStructure, ListsThePicturesOfAMultiPictureIndex) {
    Bytes index = ToBytes(std::string("MPF\0II\x2A\0", 8));
    AppendLittle(index, 8, 4);
    AppendLittle(index, 1, 2);
    AppendLittle(index, 0xB002, 2);
    AppendLittle(index, 7, 2);
    AppendLittle(index, 32, 4);
    AppendLittle(index, 26, 4);
    AppendLittle(index, 0, 4);
    for (const std::uint32_t value : {0x20030000U, 5000U, 0U, 0U, 0x010001U, 600U, 4000U, 0U})
        AppendLittle(index, value, 4);
    const Bytes bytes = Bytes(3, 0) + MakeJpeg({.segments = {{2, index}}});
    const JpegStructure structure = ParseJpegStructure(bytes, 3);
    ASSERT_EQ(structure.pictures.size(), 2U);
    EXPECT_EQ(structure.pictures[0].offset, 3U);
    EXPECT_EQ(structure.pictures[0].text, "primary image, representative");
    EXPECT_EQ(structure.pictures[1].size, 600U);
    EXPECT_EQ(structure.pictures[1].offset, structure.segments[2].PayloadOffset() + 4 + 4000);
}

// Every prefix and every changed byte of a small file: never outside the bytes, sums always right.
TEST(JpegStructure, SurvivesDamageAnywhere) {
    const Bytes good = MakeJpeg({.width = 16, .height = 16, .progressive = true, .comment = "x"});
    for (std::size_t i = 0; i < good.size(); ++i) {
        ExpectAddsUp(Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(i)),
                     ParseJpegStructure(Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(i))));
        for (const std::uint8_t value : {0x00, 0xFF, 0xDA}) {
            Bytes bytes = good;
            bytes[i] = value;
            ExpectAddsUp(bytes, ParseJpegStructure(bytes));
        }
    }
}

TEST(JpegStructure, HostileBytesTakeLinearTime) {
    std::string empty;
    for (int i = 0; i < 2000000; ++i) empty += std::string("\xFF\xE0\x00\x02", 4);
    const std::string cases[] = {
        "\xFF\xD8" + empty, "\xFF\xD8" + std::string(8000000, '\xFF'),
        "\xFF\xD8\xFF\xDA" + std::string("\0\x08\x01\x01\0\0\x3F\0", 8) + std::string(8000000, '\xFF'),
        "\xFF\xD8" + std::string(8000000, 'a')};
    for (const std::string& text : cases) {
        const Bytes bytes = ToBytes(text);
        const auto started = std::chrono::steady_clock::now();
        const JpegStructure structure = ParseJpegStructure(bytes);
        ExpectAddsUp(bytes, structure);
        EXPECT_LE(structure.segments.size(), kMaxJpegSegments);
        EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(5));
    }
}

TEST(JpegStructureFixtures, AgreesWithIndependentReaders) {
    NEED_FIXTURES();
    const Json expected = JsonFromText(ReadFile(Fixtures() + "/oracle/expected.json"));
    int files = 0;
    for (const Json& entry : expected) {
        const std::string path = Fixtures() + "/" + entry["path"].get<std::string>();
        SCOPED_TRACE(path);
        const Bytes bytes = ReadFileBytes(path);
        const JpegStructure structure = ParseJpegStructure(bytes);
        ExpectAddsUp(bytes, structure);
        std::vector<std::string> markers;
        for (const JpegSegment& segment : structure.segments) {
            char text[8];
            std::snprintf(text, sizeof text, "0xff%02x", segment.marker);
            markers.push_back(text);
            if (segment.name == "SOS") break;
        }
        if (entry["markers_until_sos"].is_array()) {
            EXPECT_EQ(markers, entry["markers_until_sos"].get<std::vector<std::string>>());
        }
        if (entry["width"].is_number()) {
            EXPECT_EQ(structure.frame.width, entry["width"].get<int>());
            // A height of 0 in the frame header is deferred to a later segment, which that reader does not
            // read.
            const int height = entry["height"].get<int>();
            EXPECT_EQ(structure.frame.height, height == 0 ? 200 : height);
        }
        ExpectTables(bytes, structure, entry);
        if (entry["djpeg_rc"] == 0) {
            EXPECT_TRUE(structure.complete) << testing::PrintToString(structure.warnings);
        }
        ++files;
    }
    EXPECT_GT(files, 100);
}
