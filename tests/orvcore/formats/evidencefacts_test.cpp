#include "orvcore/formats/evidencefacts.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "orvcore/formats/jpegquality.h"
#include "tests/orvcore/formats/formatsupport.h"
#include "zorbase/hash.h"
#include "zorbase/json.h"
#include "zorbase/text.h"

namespace {

EvidenceFacts Read(const Bytes& bytes) {
    return ReadEvidenceFacts(bytes, ReadImageInfo(bytes));
}

std::string HashSteps(const std::vector<std::uint16_t>& steps) {
    Bytes bytes;
    for (const std::uint16_t step : steps) formatsupport::AppendBig(bytes, step, 2);
    return ComputeHashes(bytes).md5;
}

std::string StandardHash(int quality, bool isChrominance) {
    return HashSteps(StandardQuantizationTable(quality, isChrominance).values);
}

// Where the frame header's list of components begins.
std::size_t FindComponents(const Bytes& jpeg) {
    const Bytes marker = {0xFF, 0xC0, 0x00, 0x11};
    const auto found = std::search(jpeg.begin(), jpeg.end(), marker.begin(), marker.end());
    return static_cast<std::size_t>(found - jpeg.begin()) + 10;
}

// An EXIF block whose first directory holds the maker, here the only text.
Bytes ExifWithMake(const std::string& make) {
    Bytes block = formatsupport::ToBytes(std::string("Exif\0\0II*\0\x08\0\0\0\x01\0\x0F\x01\x02\0", 20));
    formatsupport::AppendLittle(block, make.size() + 1, 4);
    formatsupport::AppendLittle(block, 26, 4);
    formatsupport::AppendLittle(block, 0, 4);
    block.insert(block.end(), make.begin(), make.end());
    block.push_back(0);
    return block;
}

}  // namespace

TEST(EvidenceFacts, TablesInUseLuminanceFirst) {
    using formatsupport::MakeJpeg;
    const std::string luminance = StandardHash(80, false);
    const std::string chrominance = StandardHash(80, true);
    Bytes jpeg = MakeJpeg({.width = 48, .height = 32, .quality = 80});
    const EvidenceFacts plain = Read(jpeg);
    EXPECT_EQ(plain.tableHashes, (std::vector<std::string>{luminance, chrominance}));
    EXPECT_EQ(plain.width, 48);
    EXPECT_EQ(plain.height, 32);
    EXPECT_EQ(plain.make + plain.model + plain.software, "");

    EXPECT_EQ(Read(MakeJpeg({.quality = 80, .components = 1})).tableHashes,
              std::vector<std::string>{luminance});

    // The number says which table is whose, not its place in the file.
    const std::size_t components = FindComponents(jpeg);
    ASSERT_LT(components + 9, jpeg.size());
    jpeg[components + 2] = 1;
    jpeg[components + 5] = jpeg[components + 8] = 0;
    EXPECT_EQ(Read(jpeg).tableHashes, (std::vector<std::string>{chrominance, luminance}));
    jpeg[components + 2] = 3;  // there is none
    EXPECT_EQ(Read(jpeg).tableHashes, std::vector<std::string>{luminance});

    EXPECT_TRUE(Read({}).tableHashes.empty());
    EXPECT_TRUE(Read(Bytes(jpeg.begin(), jpeg.begin() + 30)).tableHashes.empty());
}

TEST(EvidenceFacts, TextsOfTheFileStayOnOneLineAndShort) {
    const auto makeOf = [](const std::string& text) {
        return Read(formatsupport::MakeJpeg({.segments = {{1, ExifWithMake(text)}}})).make;
    };
    EXPECT_EQ(makeOf("Maker & Sons  "), "Maker & Sons");
    EXPECT_EQ(makeOf("one\ntwo\tthree"), "one two three");
    EXPECT_EQ(makeOf("\n      "), "");
    EXPECT_EQ(makeOf(std::string(1000, 'x')), std::string(kMaxEvidenceText, 'x'));
    // Two bytes each: a cut in the middle of one would not be UTF-8.
    std::string umlauts = "x";
    for (int i = 0; i < 300; ++i) umlauts += "\xC3\xA4";
    const std::string cut = makeOf(umlauts);
    EXPECT_EQ(cut, umlauts.substr(0, kMaxEvidenceText - 1));
}

TEST(EvidenceFacts, AgreeWithOtherReadersOnRealFiles) {
    NEED_FIXTURES();
    const Json files = JsonFromText(ReadFile(formatsupport::Fixtures() + "/oracle/expected.json"));
    int compared = 0;
    for (const Json& expected : files) {
        if (!expected.contains("qtables") || !expected["qtables"].is_array()) continue;
        const std::string path = expected["path"].get<std::string>();
        const EvidenceFacts facts = Read(ReadFileBytes(formatsupport::Fixtures() + "/" + path));
        std::vector<std::string> hashes;
        for (const Json& table : expected["qtables"]) {
            std::vector<std::uint16_t> steps;
            for (const Json& step : table)
                steps.push_back(static_cast<std::uint16_t>(std::stoi(step.get<std::string>())));
            hashes.push_back(HashSteps(steps));
        }
        // A table that no component uses is in the file but not in use.
        for (const std::string& hash : facts.tableHashes)
            EXPECT_NE(std::find(hashes.begin(), hashes.end(), hash), hashes.end()) << path;
        if (hashes.empty()) continue;
        ASSERT_FALSE(facts.tableHashes.empty()) << path;
        EXPECT_EQ(facts.tableHashes.front(), hashes.front()) << path;
        if (expected["make"].is_string()) {
            EXPECT_EQ(facts.make, Trim(expected["make"].get<std::string>())) << path;
        }
        if (expected["model"].is_string()) {
            EXPECT_EQ(facts.model, Trim(expected["model"].get<std::string>())) << path;
        }
        ++compared;
    }
    EXPECT_GT(compared, 50);
}
