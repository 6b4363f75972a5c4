#include "orvcore/tables/byteplaces.h"

#include <gtest/gtest.h>

#include "orvcore/tables/tablemarkup.h"

TEST(BytePlaces, AreReadByTheLabels) {
    const std::vector<std::string> row = {"a part", "100", "20"};
    const struct {
        TableString table;
        std::vector<BytePlace> places;
    } kCases[] = {
        {{{"Part", "Offset", "Length"}, row}, {{false, 100, 20}}},
        {{{"Part", "Offset", "Bytes"}, row}, {{false, 100, 20}}},
        {{{"Part", "#Offset", "Size (bytes)"}, row}, {{false, 100, 20}}},
        {{{"Part", "Offset"}, row}, {{false, 100, {}}}},
        {{{"File", "Offset", "Bytes"}, {"Reference", "100", "20"}}, {{true, 100, 20}}},
        {{{"File", "Offset", "Bytes"}, {"Evidence", "100", "-"}}, {{false, 100, {}}}},
        {{{"Part", "Offset (evidence)", "Offset (reference)", "Length (evidence)", "Length (reference)"},
          {"a", "1", "2", "3", "4"}},
         {{false, 1, 3}, {true, 2, 4}}},
        {{{"Part", "Offset (evidence)", "Offset (reference)"}, {"a", "", "2"}}, {{true, 2, {}}}},
        {{{"Part", "Offset x (pixels)"}, row}, {}},
        {{{"Part", "Offset"}, {"a", "-"}}, {}},
        {{{"Part", "Offset"}, {"a", "12 bytes"}}, {}},
        {{{"Part", "Offset"}, {"a", "-1"}}, {}},
        {{{"Part", "Offset"}, {"a", "99999999999999999999999"}}, {}},
        {{{"Part", "Offset"}, {"a"}}, {}},
        // A mark is not part of the number.
        {{{"Part", "Offset"}, {"a", MarkCell(CellMark::Doubtful, "18446744073709551615")}},
         {{false, ~std::uint64_t{0}, {}}}},
    };
    for (const auto& item : kCases) {
        EXPECT_EQ(FindBytePlaces(item.table, 1), item.places) << item.table[0][1];
        EXPECT_TRUE(FindBytePlaces(item.table, 0).empty());
        EXPECT_TRUE(FindBytePlaces(item.table, 2).empty());
    }
    EXPECT_TRUE(FindBytePlaces({}, 0).empty());
}

TEST(TableMarkup, ThumbnailsAreCountedOn) {
    EXPECT_EQ(ShiftThumbnail(ThumbnailCell(2), 3), ThumbnailCell(5));
    for (const char* cell : {"plain", "!red", "", "*IMG*x"}) EXPECT_EQ(ShiftThumbnail(cell, 3), cell);
}
