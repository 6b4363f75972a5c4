#include "orvcore/formats/provenance/cbor.h"

#include <gtest/gtest.h>

#include "orvcore/formats/provenance/bindings.h"
#include "tests/orvcore/formats/formatsupport.h"

using namespace provenance;
using formatsupport::ToBytes;
using formatsupport::operator+;

namespace {

Bytes FromHex(const std::string& hex) {
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes.push_back(static_cast<std::uint8_t>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    return bytes;
}

// Without line ends and what they indent.
std::string OnOneLine(const std::string& text) {
    std::string line;
    bool isIndent = false;
    for (const char c : text) {
        isIndent = c == '\n' || (isIndent && c == ' ');
        if (!isIndent) line += c;
    }
    return line;
}

// Encodings from RFC 8949, appendix A.
TEST(Cbor, ReadsTheStandardsOwnExamples) {
    const struct {
        const char* hex;
        const char* text;
    } kCases[] = {
        {"00", "0"},
        {"1903e8", "1000"},
        {"1bffffffffffffffff", "18446744073709551615"},
        {"3bffffffffffffffff", "-18446744073709551616"},
        {"3903e7", "-1000"},
        {"f93c00", "1"},
        {"f97bff", "65504"},
        {"f90001", "5.960464477539063e-08"},
        {"f9c400", "-4"},
        {"fb3ff199999999999a", "1.1"},
        {"f97c00", "Infinity"},
        {"f97e00", "NaN"},
        {"f4", "false"},
        {"f6", "null"},
        {"f7", "undefined"},
        {"f0", "simple(16)"},
        {"f8ff", "simple(255)"},
        {"c11a514b67b0", "1(1363896240)"},
        {"d2420102", "18(h'0102')"},
        {"4401020304", "h'01020304'"},
        {"62c3bc", "\"ü\""},
        {"6449455446", "\"IETF\""},
        {"80", "[]"},
        {"8301820203820405", "[1,[2,3],[4,5]]"},
        {"a201020304", "{1: 2,3: 4}"},
        {"5f42010243030405ff", "h'0102030405'"},
        {"7f657374726561646d696e67ff", "\"streaming\""},
        {"9f018202039f0405ffff", "[1,[2,3],[4,5]]"},
        {"bf61610161629f0203ffff", "{\"a\": 1,\"b\": [2,3]}"},
    };
    for (const auto& item : kCases) {
        std::size_t budget = 100;
        const Bytes bytes = FromHex(item.hex);
        const CborResult result = DecodeCbor(bytes, budget);
        ASSERT_TRUE(result.value) << item.hex << ": " << result.error;
        EXPECT_EQ(OnOneLine(CborToText(*result.value, 1000)), item.text) << item.hex;
        EXPECT_EQ(result.value->raw.size(), bytes.size()) << item.hex;
    }
}

TEST(Cbor, RefusesWhatIsNotSound) {
    const struct {
        const char* hex;
        const char* error;
    } kCases[] = {
        {"", "ends inside"},
        {"18", "ends inside"},
        {"1b00", "ends inside"},
        {"4401", "longer"},
        {"5b7fffffffffffffff", "longer"},
        {"9b7fffffffffffffff", "more entries"},
        {"bb4000000000000000", "more entries"},
        {"61ff", "UTF-8"},
        {"62eda0", "UTF-8"},
        {"a2616101616102", "twice"},
        {"a201020103", "twice"},
        {"a1800102", "plain value"},
        {"0001", "after"},
        {"1c", "reserved"},
        {"ff", "break"},
        {"1f", "reserved"},
        {"5f6161ff", "pieces"},
        {"f810", "reserved"},
        {"9f01", "ends inside"},
        {"df", "reserved"},
    };
    for (const auto& item : kCases) {
        std::size_t budget = 100;
        const Bytes bytes = FromHex(item.hex);
        const CborResult result = DecodeCbor(bytes, budget);
        EXPECT_FALSE(result.value) << item.hex;
        EXPECT_NE(result.error.find(item.error), std::string::npos) << item.hex << ": " << result.error;
    }
}

TEST(Cbor, IsBoundedInDepthAndItems) {
    std::size_t budget = kMaxCborItems;
    EXPECT_NE(DecodeCbor(Bytes(100000, 0x81), budget).error.find("deep"), std::string::npos);
    budget = kMaxCborItems;
    EXPECT_NE(DecodeCbor(Bytes(100000, 0xC6), budget).error.find("deep"), std::string::npos);
    // A million small items cost a hundred times their bytes.
    Bytes many = {0x9A, 0x00, 0x0F, 0x42, 0x40};
    many.resize(many.size() + 1000000, 0x00);
    budget = kMaxCborItems;
    EXPECT_NE(DecodeCbor(many, budget).error.find("too many items"), std::string::npos);
    EXPECT_EQ(budget, 0U);
}

TEST(Cbor, FindsEntriesByTextAndNumber) {
    std::size_t budget = 100;
    const Bytes bytes = FromHex("a40126182181410a6161f66162626869");
    const CborResult result = DecodeCbor(bytes, budget);
    ASSERT_TRUE(result.value);
    EXPECT_EQ(result.value->Find(1)->Signed(), -7);
    EXPECT_TRUE(result.value->Find(33)->IsArray());
    EXPECT_EQ(result.value->Find("a"), nullptr) << "null counts as absent";
    EXPECT_EQ(result.value->TextOf("b"), "hi");
    EXPECT_EQ(result.value->Find(2), nullptr);
}

// Five leaves: ((01)(23))(4), the last one moving up twice unchanged.
TEST(HashTree, JoinsNeighboursAndMovesTheOddOneUp) {
    const auto hash = [](const Bytes& bytes) { return HashOf(HashMethod::Sha256, bytes); };
    std::vector<Bytes> leaves;
    for (int i = 0; i < 5; ++i) leaves.push_back(hash(ToBytes(std::to_string(i))));
    const Bytes left = hash(leaves[0] + leaves[1]);
    const Bytes right = hash(leaves[2] + leaves[3]);
    EXPECT_EQ(HashTreeRow(leaves, 5, HashMethod::Sha256), leaves);
    EXPECT_EQ(HashTreeRow(leaves, 3, HashMethod::Sha256), (std::vector<Bytes>{left, right, leaves[4]}));
    EXPECT_EQ(HashTreeRow(leaves, 2, HashMethod::Sha256),
              (std::vector<Bytes>{hash(left + right), leaves[4]}));
    EXPECT_EQ(HashTreeRow(leaves, 1, HashMethod::Sha256),
              (std::vector<Bytes>{hash(hash(left + right) + leaves[4])}));
}

TEST(FileRanges, LeavesWhatIsNotCovered) {
    using Ranges = std::vector<FileRange>;
    EXPECT_EQ(RangesLeft({0, 10}, {}), (Ranges{{0, 10}}));
    EXPECT_EQ(RangesLeft({0, 10}, {{5, 2}, {0, 3}}), (Ranges{{3, 2}, {7, 3}}));
    EXPECT_EQ(RangesLeft({0, 10}, {{2, 5}, {3, 1}, {6, 9}}), (Ranges{{0, 2}}));
    EXPECT_EQ(RangesLeft({0, 10}, {{0, 10}}), Ranges{});
}

}  // namespace
