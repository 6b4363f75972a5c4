#include "orvcore/tables/comparetables.h"

#include <gtest/gtest.h>

#include "orvcore/tables/tablemarkup.h"

namespace {

const TableComparison kHow{{"Part", "Offset", "Content", "Warning"}, 1, {1}, 3};

// Cells of a row, those that are marked in brackets.
std::string Line(const std::vector<std::string>& row) {
    std::string text;
    for (const std::string& cell : row) {
        const ParsedCell parsed = ParseCell(cell);
        text += (text.empty() ? "" : "|") +
                (parsed.mark == CellMark::None ? parsed.text : "[" + parsed.text + "]");
    }
    return text;
}

std::string Lines(const TableString& table) {
    std::string text;
    for (const auto& row : table) text += Line(row) + "\n";
    return text;
}

TEST(CompareTables, OneFileKeepsItsRows) {
    const TableString rows = {{"!SOI", "0", "", ""}, {"EOI", "9", "end"}, {"gap", "11", "", "bad"}};
    const std::string expected = "Part|Offset|Content|Warning\n!SOI|0||\nEOI|9|end|\ngap|11||[bad]\n";
    EXPECT_EQ(Lines(CompareTables(&rows, nullptr, kHow)), expected);
    EXPECT_EQ(Lines(CompareTables(nullptr, &rows, kHow)), expected);
    const TableString none;
    EXPECT_TRUE(CompareTables(&none, nullptr, kHow).empty());
    EXPECT_TRUE(CompareTables(&none, &none, kHow).empty());
    EXPECT_TRUE(CompareTables(nullptr, nullptr, kHow).empty());
}

TEST(CompareTables, BothFilesStandSideBySide) {
    const TableString evidence = {
        {"SOI", "0", "x"}, {"DQT", "2", "a"}, {"DQT", "9", "b"}, {"EOI", "20", "e"}};
    const TableString reference = {{"SOI", "0", "x"},
                                   {"COM", "2", "c"},
                                   {"DQT", "7", "a"},
                                   {"DQT", "9", "z"},
                                   {"APP1", "15", "m", "bad"}};
    EXPECT_EQ(
        Lines(CompareTables(&evidence, &reference, kHow)),
        "Part|Offset (evidence)|Offset (reference)|Content (evidence)|Content (reference)|Warning (evidence)|"
        "Warning (reference)\n"
        "SOI|0|0|x|x||\n"
        "[COM]||2||[c]||\n"
        "DQT|2|7|a|a||\n"
        "DQT|9|9|[b]|[z]||\n"
        "[APP1]||15||[m]||[bad]\n"
        "[EOI]|20||[e]|||\n");
}

}  // namespace
