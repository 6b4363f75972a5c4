#include "orvcore/tables/tablemarkup.h"

#include <gtest/gtest.h>

TEST(TableMarkup, ATextFromAFileComesBackAsItIsAndUnmarked) {
    for (const char* value : {"", "plain", "!urgent", "?", "#1", "*IMG*7", "*IMG", "\\!x", "\\\\?x", "\\",
                              "\\\\", "C:\\pictures", "\\\\server\\share", "\\*IMG*0", "a!b", " !x"}) {
        const ParsedCell parsed = ParseCell(TableCell(value));
        EXPECT_EQ(parsed.text, value);
        EXPECT_EQ(parsed.mark, CellMark::None) << value;
        EXPECT_EQ(parsed.thumbnail, -1) << value;
        EXPECT_EQ(ParseLabel(TableCell(value)), value);
        for (const CellMark mark : {CellMark::StandsOut, CellMark::Doubtful}) {
            EXPECT_EQ(ParseCell(MarkCell(mark, value)).text, value);
            EXPECT_EQ(ParseCell(MarkCell(mark, value)).mark, mark) << value;
        }
    }
    EXPECT_EQ(TableCell("C:\\pictures"), "C:\\pictures") << "nothing is escaped without need";
}

TEST(TableMarkup, MarksOfTheCoreAreRead) {
    EXPECT_EQ(ParseCell("!gone").mark, CellMark::StandsOut);
    EXPECT_EQ(ParseCell("?maybe").text, "maybe");
    EXPECT_EQ(ParseLabel("#Size"), "Size");
    EXPECT_EQ(ParseCell(ThumbnailCell(12)).thumbnail, 12);
    EXPECT_EQ(ParseCell(ThumbnailCell(12)).mark, CellMark::Thumbnail);
    for (const char* broken : {"*IMG*", "*IMG*x", "*IMG*-1", "*IMG*99999999999"})
        EXPECT_EQ(ParseCell(broken).thumbnail, -1) << broken;
}
