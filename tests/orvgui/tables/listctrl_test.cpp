#include "orvgui/tables/listctrlresults.h"

#include <gtest/gtest.h>
#include <wx/clipbrd.h>
#include <wx/menu.h>
#include <wx/settings.h>
#include <wx/uiaction.h>

#include "orvcore/facade/interface.h"
#include "orvcore/tables/byteplaces.h"
#include "orvcore/tables/tablemarkup.h"
#include "orvgui/common/fileselectors.h"
#include "orvgui/common/progressdialog.h"
#include "orvgui/tables/listctrldetails.h"
#include "orvgui/tables/listctrltable.h"
#include "orvgui/tables/listctrlview.h"
#include "orvgui/tables/listctrlwidths.h"
#include "tests/orvgui/nativecomplaints.h"
#include "tests/orvgui/tables/listctrlfixture.h"
#include "tests/support/guitest.h"
#include "tests/support/testcore.h"
#include "tests/support/threadtime.h"
#include "zorbase/gui/shell.h"
#include "zorbase/licence.h"

namespace {

std::vector<wxString> ColumnOf(OrvListCtrl& list, int col) {
    std::vector<wxString> texts;
    for (int row = 0; row < list.GetNumberRows(); ++row) texts.push_back(list.GetCellValue(row, col));
    return texts;
}

std::string ClipboardText() {
    const wxClipboardLocker locker;
    wxTextDataObject data;
    return !locker || !wxTheClipboard->GetData(data) ? std::string("nothing") : FromWx(data.GetText());
}

}  // namespace

TEST(ListCtrlWidths, FollowTheRules) {
    const struct {
        std::vector<int> best;
        int width;
    } cases[] = {
        {{10, 20, 30}, 40}, {{3, 2, 0, 30}, 50},  // up to 3 pixels do not count
        {{3, 3}, 80 + 20},                        // nothing is left: the default
        {{}, 80 + 20},      {{4, 4}, 15 + 20},    // the minimal width
    };
    for (const auto& each : cases) EXPECT_EQ(ColumnWidth(each.best, 80, 15), each.width);
    EXPECT_EQ(ColumnWidth({2}, 80, 95), 115);
    EXPECT_EQ(ToggledWidth(81), 82);
    EXPECT_EQ(ToggledWidth(80), 79);
    EXPECT_EQ(ToggledWidth(0), 0);
    EXPECT_EQ(RowsToMeasure(1000, 500, 20), (RowRange{0, 1000}));
    EXPECT_EQ(RowsToMeasure(1001, 500, 60), (RowRange{500, 60}));
    EXPECT_EQ(RowsToMeasure(5000, 4990, 60), (RowRange{4940, 60}));
    EXPECT_EQ(RowsToMeasure(5000, -1, 5000), (RowRange{0, 120}));
}

TEST(ListCtrlView, FindsAndCopiesInShownOrder) {
    ListCtrlView view(Share({{"a", "b"}, {"x", "!one"}, {"y", "=two"}, {"z", "ONE"}}));
    view.SetOrder(std::make_shared<const TableOrder>(TableOrder{2, 1, 0}), nullptr);
    int row = -1;
    int col = 0;
    EXPECT_TRUE(FindCell(view, "one", false, row, col));
    EXPECT_EQ(std::pair(row, col), std::pair(0, 1));
    EXPECT_TRUE(FindCell(view, "one", false, row, col));
    EXPECT_EQ(std::pair(row, col), std::pair(2, 1));
    EXPECT_TRUE(FindCell(view, "one", false, row, col)) << "around the end";
    EXPECT_EQ(std::pair(row, col), std::pair(0, 1));
    EXPECT_TRUE(FindCell(view, "one", true, row, col));
    EXPECT_EQ(std::pair(row, col), std::pair(2, 1));
    EXPECT_FALSE(FindCell(view, "!one", false, row, col));
    EXPECT_EQ(CopyRows(view, {1, 2}, {1, 0}), "'=two\ty\none\tx\n");
    view.SetOrder(nullptr, std::make_shared<const TableOrder>(TableOrder{2}));
    EXPECT_EQ(view.GetNumRows(), 1);
    EXPECT_EQ(view.ShownRow(2), 0);
    EXPECT_EQ(view.ShownRow(0), -1);
    EXPECT_EQ(view.Cell(1, 0), "");
}

// A row that tells of bytes shows them by double click, Enter or its menu; any other row shows its details.
TEST_F(ListCtrlTest, RowsLeadToTheirBytes) {
    auto* list = new OrvListCtrl(
        Frame(),
        Share({{"Part", "Offset", "Length"}, {"b", "300", "4"}, {"a", "100", "20"}, {"none", "-", ""}}), 0,
        wxGrid::wxGridSelectRows, wxHORIZONTAL);
    std::vector<BytePlace> shown;
    EXPECT_FALSE(list->ShowBytes(0)) << "nobody shows bytes";
    list->SetByteViewer([&](const BytePlace& place) { shown.push_back(place); });
    int commands = 0;
    list->SetRowCommands([&](int dataRow) {
        return std::vector<OrvRowCommand>{
            {"Command of row " + ToWx(ToString(dataRow)), "", [&] { ++commands; }}};
    });
    list->SortCol(0);
    // Sorted by the first column, the row with offset 100 comes first.
    list->SetGridCursor(0, 0);
    wxGridEvent twice(list->GetId(), wxEVT_GRID_CELL_LEFT_DCLICK, list, 0, 0);
    list->ProcessWindowEvent(twice);
    wxKeyEvent enter(wxEVT_CHAR_HOOK);
    enter.m_keyCode = WXK_RETURN;
    list->ProcessWindowEvent(enter);
    ASSERT_EQ(shown.size(), 2U);
    EXPECT_EQ(shown[0], (BytePlace{false, 100, 20}));
    EXPECT_EQ(shown[1], shown[0]);
    const auto labels = [](const wxMenu& menu) {
        std::vector<wxString> texts;
        for (const wxMenuItem* item : menu.GetMenuItems())
            if (!item->IsSeparator()) texts.push_back(item->GetItemLabelText());
        return texts;
    };
    auto menu = list->CreateRowMenu();
    EXPECT_EQ(labels(*menu),
              (std::vector<wxString>{"Show Bytes", "Command of row 1", "Show Details", "Copy"}));
    for (const wxMenuItem* item : menu->GetMenuItems()) {
        if (item->GetItemLabelText() == "Show Details") continue;
        wxCommandEvent chosen(wxEVT_MENU, item->GetId());
        menu->ProcessEvent(chosen);
    }
    EXPECT_EQ(shown.size(), 3U);
    EXPECT_EQ(commands, 1);
    EXPECT_TRUE(ClipboardText().starts_with("a\t100\t20")) << ClipboardText();
    list->SetGridCursor(2, 0);
    EXPECT_FALSE(list->ShowBytes(2));
    EXPECT_EQ(labels(*list->CreateRowMenu()).front(), "Command of row 2");
    // Two files: either can be chosen, Enter takes the evidence.
    list->ConfigureListCtrl(Share({{"Part", "Offset (evidence)", "Offset (reference)"}, {"a", "7", "9"}}));
    list->SetGridCursor(0, 0);
    EXPECT_EQ(labels(*list->CreateRowMenu())[1], "Show Bytes In The Reference");
    EXPECT_TRUE(list->ShowBytes(0));
    EXPECT_EQ(shown.back().offset, 7U);
}

TEST_F(ListCtrlTest, ShowsMarksAsColours) {
    OrvListCtrl* list = Make(
        {{"#Name", "#", "Plain"}, {"!12", "?x", "text"}, {"!", "", "?"}, {"\\!kept", "a\nb", "\\\\server"}});
    EXPECT_EQ(list->GetColLabelValue(0), "Name");
    EXPECT_EQ(list->GetColLabelValue(1), "");
    const wxColour orange(255, 165, 0);
    const struct {
        int row, col;
        const char* text;
        wxColour colour;
    } cells[] = {
        {0, 0, "12", *wxRED}, {0, 1, "x", orange}, {0, 2, "text", *wxBLACK},  {1, 0, "", *wxRED},
        {1, 1, "", *wxBLACK}, {1, 2, "", orange},  {2, 0, "!kept", *wxBLACK}, {2, 1, "a\nb", *wxBLACK},
    };
    for (const auto& cell : cells) {
        EXPECT_EQ(list->GetCellValue(cell.row, cell.col), cell.text);
        EXPECT_EQ(list->GetCellTextColour(cell.row, cell.col), cell.colour) << cell.row << "," << cell.col;
    }
    EXPECT_EQ(list->GetCellFont(0, 0), list->GetDefaultCellFont().Bold());
    EXPECT_EQ(list->GetCellFont(0, 1), list->GetDefaultCellFont().Italic());
    EXPECT_EQ(list->GetCellFont(0, 2), list->GetDefaultCellFont());
    // Without the focus a selected cell lies on the shadow's colour.
    const bool isLight = wxSystemSettings::GetColour(wxSYS_COLOUR_BTNSHADOW).GetLuminance() > 0.5;
    EXPECT_EQ(list->GetSelectionForeground(), isLight ? *wxBLACK : *wxWHITE);
    // Orange can be read on its ground (contrast as the accessibility guidelines count it).
    const auto luminance = [](const wxColour& colour) {
        const auto linear = [](int level) {
            const double part = level / 255.0;
            return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * linear(colour.Red()) + 0.7152 * linear(colour.Green()) +
               0.0722 * linear(colour.Blue());
    };
    EXPECT_GE((luminance(orange) + 0.05) / (luminance(list->GetCellBackgroundColour(0, 1)) + 0.05), 4.5);
    EXPECT_EQ(list->GetCellBackgroundColour(0, 2), *wxWHITE);
    EXPECT_GT(list->GetRowSize(2), list->GetRowSize(0)) << "a row of two lines is higher";
    list->SetCustomCellValue(0, 2, "?odd");
    EXPECT_EQ(list->GetCellValue(0, 2), "odd");
    EXPECT_EQ(list->GetCellTextColour(0, 2), orange);
    EXPECT_FALSE(list->IsEditable());
    EXPECT_EQ(list->GetRowLabelSize(), 0);
}

TEST_F(ListCtrlTest, TakesShortRowsAndEmptyTables) {
    OrvListCtrl* list = Make({{"a", "b"}, {"1"}, {"1", "2", "3"}});
    EXPECT_EQ(list->GetCellValue(0, 1), "");
    EXPECT_EQ(list->GetNumberCols(), 2);
    list->ConfigureListCtrl(WxTable{});
    EXPECT_EQ(list->GetNumberRows(), 0);
    EXPECT_EQ(list->GetNumberCols(), 0);
    list->SortCol(0);
    EXPECT_FALSE(list->Find("a"));
    EXPECT_FALSE(list->CopySelection());
    list->ConfigureListCtrl(WxTable{{"x", "y", "z"}, {"1", "2", "3"}});
    EXPECT_EQ(list->GetNumberCols(), 3);
    EXPECT_EQ(list->GetColLabelValue(2), "z");
    EXPECT_EQ(list->GetCellValue(0, 2), "3");
    ShowFrame();
}

TEST_F(ListCtrlTest, AsksForThumbnailsThatThereAre) {
    OrvListCtrl* list = Make({{"Picture"}, {"*IMG*0"}, {"*IMG*7"}, {"*IMG*x"}, {"*IMG*-1"}});
    {
        const ExpectedAssertions assertions;
        list->GetThumbnail(0);
        EXPECT_EQ(assertions.Messages().size(), 1u);
    }
    list->SetThumbnails({Image(cv::Mat(48, 64, CV_8UC3, cv::Scalar(0, 0, 255)))});
    EXPECT_TRUE(list->GetThumbnail(0).IsValid());
    EXPECT_FALSE(list->GetThumbnail(7).IsValid());
    EXPECT_GE(list->GetRowSize(0), 48);
    EXPECT_NE(dynamic_cast<wxBmpCellRenderer*>(list->GetCellRenderer(0, 0)), nullptr);
    list->GetCellRenderer(0, 0)->DecRef();
    EXPECT_EQ(list->GetCellValue(0, 0), "");
    ShowFrame();
}

TEST_F(ListCtrlTest, SortsUpAndDownAndStartsAnewOnAnotherColumn) {
    OrvListCtrl* list = Make({{"n", "s"}, {"10", "b"}, {"9", "a"}, {"!100", "c"}});
    using Texts = std::vector<wxString>;
    EXPECT_EQ(ColumnOf(*list, 0), (Texts{"10", "9", "100"}))
        << "the table's own order, whatever the indicator says";
    list->SortCol(0);
    EXPECT_EQ(ColumnOf(*list, 0), (Texts{"9", "10", "100"}));
    EXPECT_EQ(list->GetCellTextColour(2, 0), *wxRED) << "the mark goes with its cell";
    list->SortCol(0);
    EXPECT_EQ(ColumnOf(*list, 0), (Texts{"100", "10", "9"}));
    EXPECT_FALSE(list->IsSortOrderAscending());
    list->SortCol(0);
    EXPECT_EQ(ColumnOf(*list, 0), (Texts{"9", "10", "100"}));
    list->SortCol(1);
    EXPECT_EQ(ColumnOf(*list, 1), (Texts{"a", "b", "c"}));
    EXPECT_TRUE(list->IsSortingBy(1));
}

TEST_F(ListCtrlTest, SortsOnceWhenALabelIsClicked) {
    OrvListCtrl* list = Make({{"n", "s"}, {"10", "b"}, {"9", "a"}});
    ShowFrame();
    wxUIActionSimulator mouse;
    const auto click = [&](int x) {
        mouse.MouseMove(list->GetGridColLabelWindow()->ClientToScreen(wxPoint(x, 8)));
        Pump();
        mouse.MouseClick();
        PumpFrames();
    };
    click(12);
    EXPECT_EQ(list->GetCellValue(0, 0), "9");
    EXPECT_TRUE(list->IsSortingBy(0));
    EXPECT_TRUE(list->IsSortOrderAscending());
    PumpFor(600);  // not a double click
    click(12);
    EXPECT_EQ(list->GetCellValue(0, 0), "10");
    EXPECT_FALSE(list->IsSortOrderAscending());
}

TEST_F(ListCtrlTest, FilterNarrowsAndSelectionFollowsItsRows) {
    OrvListCtrl* list = Make({{"n", "s"}, {"3", "Nikon"}, {"1", "Canon"}, {"2", "canon eos"}});
    list->SelectRow(0);
    list->SetGridCursor(0, 1);
    list->SelectRow(0);
    list->SortCol(0);
    wxArrayInt rows;
    EXPECT_EQ(list->GetSelection(rows), 1);
    EXPECT_EQ(rows[0], 2) << "the row that was selected is selected at its new place";
    EXPECT_EQ(list->GetGridCursorRow(), 2);
    list->SetRowFilter("CANON");
    EXPECT_EQ(ColumnOf(*list, 0), (std::vector<wxString>{"1", "2"}));
    EXPECT_EQ(list->GetSelection(rows), 2) << "nothing is selected any more: all shown rows count";
    list->SortCol(0);
    EXPECT_EQ(ColumnOf(*list, 0), (std::vector<wxString>{"2", "1"})) << "the filter stays";
    list->SetRowFilter("");
    EXPECT_EQ(ColumnOf(*list, 0), (std::vector<wxString>{"3", "2", "1"}));
    list->SetRowFilter("nothing such");
    EXPECT_EQ(list->GetNumberRows(), 0);
    list->SetRowFilter("nik");
    EXPECT_EQ(list->GetNumberRows(), 1);
}

TEST_F(ListCtrlTest, ANewTableIsFilteredAnewByTheSameText) {
    OrvListCtrl* list = Make({{"n", "s"}, {"1", "Canon"}, {"2", "Nikon"}});
    list->SetRowFilter("canon");
    ASSERT_EQ(ColumnOf(*list, 0), (std::vector<wxString>{"1"}));
    list->ConfigureListCtrl(WxTable{{"n", "s"}, {"7", "Sony"}, {"8", "Canon"}, {"9", "Canon"}});
    EXPECT_EQ(ColumnOf(*list, 0), (std::vector<wxString>{"7", "8", "9"})) << "no filter of another table";
    list->SetRowFilter("canon");
    EXPECT_EQ(ColumnOf(*list, 0), (std::vector<wxString>{"8", "9"}));
}

TEST_F(ListCtrlTest, LargeTablesAreSortedWithoutTheWindow) {
    auto* list = new OrvListCtrl(Frame(), NumberedRows(30000), OrvListCtrl::kQuickFill,
                                 wxGrid::wxGridSelectRows, wxHORIZONTAL);
    list->SortCol(1);
    list->SortCol(0);  // the newest wish counts
    EXPECT_TRUE(list->IsUpdating());
    list->SetRowFilter("name9999");
    ASSERT_TRUE(PumpUntil([&] { return !list->IsUpdating(); }));
    EXPECT_EQ(list->GetNumberRows(), 1);
    list->SetRowFilter("");
    ASSERT_TRUE(PumpUntil([&] { return !list->IsUpdating(); }));
    ASSERT_EQ(list->GetNumberRows(), 30000);
    for (const int row : {0, 1, 29999}) EXPECT_EQ(list->GetCellValue(row, 0), ToWx(ToString(row)));
    list->SortCol(0);  // destroyed while it sorts
    list->Destroy();
}

TEST_F(ListCtrlTest, LargeTablesAreSearchedAndCopiedWithoutTheWindow) {
    auto* list = new OrvListCtrl(Frame(), NumberedRows(150000), OrvListCtrl::kQuickFill,
                                 wxGrid::wxGridSelectRows, wxHORIZONTAL);
    ShowFrame();
    const double start = ThreadSeconds();
    EXPECT_TRUE(list->Find("name149998"));
    EXPECT_TRUE(list->Find("name149999"));  // the newest wish counts
    list->SelectAll();
    EXPECT_TRUE(list->CopySelection());
    EXPECT_LT(ThreadSeconds() - start, 0.3);
    EXPECT_TRUE(list->IsSearching());
    EXPECT_TRUE(list->IsCopying());
    ASSERT_TRUE(PumpUntil([&] { return !list->IsCopying(); }));
    const std::string text = ClipboardText();
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 150000);
    EXPECT_NE(text.find("name149999"), std::string::npos);
    ASSERT_TRUE(PumpUntil([&] { return !list->IsSearching(); }));
    EXPECT_EQ(list->GetGridCursorRow(), 149999);
    DialogAnswers answers{wxID_OK};
    EXPECT_TRUE(list->Find("absent"));
    ASSERT_TRUE(PumpUntil([&] { return !answers.Seen().empty(); }));
    EXPECT_EQ(answers.Seen()[0], "Find|The text was not found in the table.");
    list->Find("absent again");  // destroyed while it searches
    list->CopySelection();
    list->Destroy();
}

TEST_F(ListCtrlTest, RowsAreAsHighAsPicturesThatComeLater) {
    TableString rows{{"Picture", "Name"}};
    for (int i = 0; i < 40; ++i) rows.push_back({i < 30 ? "" : ThumbnailCell(0), ToString(i)});
    auto* list = MakeBatch(std::move(rows));
    list->SetThumbnails({Image(cv::Mat(96, 64, CV_8UC3, cv::Scalar(0, 0, 255)))});
    EXPECT_GE(list->GetRowSize(35), 96);
}

TEST_F(ListCtrlTest, KeysCopyAndFind) {
    OrvListCtrl* list = Make({{"a", "b"}, {"1", "=2+3"}, {"3", "four"}, {"5", "four more"}});
    ShowFrame();
    list->SetFocus();
    list->SelectRow(1);
    list->SelectRow(0, true);
    wxUIActionSimulator keys;
    Pump();
    keys.Char('C', wxMOD_CONTROL);
    ASSERT_TRUE(PumpUntil([] { return ClipboardText().starts_with("1\t"); }));
    EXPECT_EQ(ClipboardText(), "1\t'=2+3\n3\tfour\n");
    EXPECT_TRUE(list->Find("FOUR"));
    EXPECT_EQ(list->GetGridCursorRow(), 1);
    EXPECT_TRUE(list->Find("four"));
    EXPECT_EQ(list->GetGridCursorRow(), 2);
    EXPECT_FALSE(list->Find("absent"));
    keys.Char('F', wxMOD_CONTROL);
    const auto findDialog = []() -> wxWindow* {
        for (wxWindow* window : wxTopLevelWindows)
            if (dynamic_cast<wxFindReplaceDialog*>(window)) return window;
        return nullptr;
    };
    ASSERT_TRUE(PumpUntil([&] { return findDialog() && findDialog()->IsShown(); }));
    list->SetGridCursor(0, 0);
    keys.Text("four");
    ASSERT_TRUE(PumpUntil([&] { return findDialog()->FindWindow(wxID_FIND)->IsEnabled(); }));
    keys.Char(WXK_RETURN);
    EXPECT_TRUE(PumpUntil([&] { return list->GetGridCursorRow() == 1; }))
        << "the dialog reports to the table";
    EXPECT_EQ(list->GetSelectionForeground(), *wxBLACK) << "on a grey ground while the dialog has the focus";
    wxTopLevelWindow* dialog = static_cast<wxTopLevelWindow*>(findDialog());
    dialog->Close();
    EXPECT_TRUE(PumpUntil([&] { return findDialog() == nullptr; }));
    list->ShowFindDialog();
    EXPECT_TRUE(findDialog() && findDialog()->IsShown()) << "opens again";
}

TEST_F(ListCtrlTest, KeysOfTheTableAreLeftToItWithoutCtrl) {
    OrvListCtrl* list = Make({{"a", "b"}, {"1", "2"}, {"3", "4"}});
    list->SelectRow(1);
    for (const int code : {'C', 'F'}) {
        wxKeyEvent key(wxEVT_CHAR_HOOK);
        key.m_keyCode = code;
        list->ProcessWindowEvent(key);
        EXPECT_TRUE(key.GetSkipped()) << code;
    }
    const TableString table = {{"#a", "b"}, {"!one"}, {"two", "three"}};
    EXPECT_TRUE(RowDetailsText(table, 0).Contains("one") && !RowDetailsText(table, 0).Contains("two"));
    EXPECT_TRUE(RowDetailsText(table, 1).Contains("three"));
    for (const int row : {-1, 2}) EXPECT_EQ(RowDetailsText(table, row), "") << row;
}

TEST_F(ListCtrlTest, DetailsShowTheCursorsRow) {
    OrvListCtrl* list = Make({{"#Name", "Value"}, {"a", "1"}, {"!b", "two\nlines <b>&"}});
    list->SortCol(0);
    list->SetGridCursor(1, 0);
    wxString text;
    {
        DialogAnswers answers([&text](wxDialog* dialog) {
            text = static_cast<RowDetailsDialog*>(dialog)->GetText();
            for (wxWindow* child : dialog->GetChildren()) {
                if (child->GetLabel() != "Copy All") continue;
                wxCommandEvent event(wxEVT_BUTTON, child->GetId());
                child->ProcessWindowEvent(event);
            }
            return wxID_OK;
        });
        wxGridEvent event(list->GetId(), wxEVT_GRID_CELL_LEFT_DCLICK, list, 1, 0);
        list->ProcessWindowEvent(event);
        EXPECT_EQ(answers.Seen(), std::vector<std::string>{"Row Details"});
    }
    EXPECT_EQ(text, ToWx("Name   b\nValue  two\u21b5lines <b>&\n"));
    EXPECT_EQ(ClipboardText(), FromWx(text));
}

TEST_F(ListCtrlTest, SizesFollowTheTableAndTheUser) {
    OrvListCtrl* list = Make({{"a", "b"}, {"x", "much longer text than the other"}});
    EXPECT_GT(list->GetColSize(1), list->GetColSize(0));
    list->SetColSize(0, 333);
    wxGridSizeEvent event(list->GetId(), wxEVT_GRID_COL_SIZE, list, 0);
    list->ProcessWindowEvent(event);
    list->SortCol(1);
    EXPECT_EQ(list->GetColSize(0), 333) << "what the user has set is not measured again";
    list->SetColSize(1, 101);
    wxSizeEvent size(list->GetSize(), list->GetId());
    list->OnSize(size);
    EXPECT_EQ(list->GetColSize(1), 102);
    list->OnSize(size);
    EXPECT_EQ(list->GetColSize(1), 101);
    list->HideCol(0);
    list->SaveCurrentSelection();
    EXPECT_EQ(list->GetShownLabels(), std::vector<wxString>{"b"});
}

TEST_F(ListCtrlTest, HostileCellsAreShownWithoutEffect) {
    const NativeComplaints complaints;
    ShowFrame();  // before it has its size a list is lower than its own scroll bars
    const std::string huge(10 << 20, 'W');
    OrvListCtrl* list = new OrvListCtrl(Frame(),
                                        Share({{"a&b", TableCell("!label")},
                                               {TableCell("<b>&amp;"), huge},
                                               {"x\u202Egpj", std::string("a\0b\x01", 4)}}),
                                        0, wxGrid::wxGridSelectRows, wxHORIZONTAL);
    EXPECT_EQ(list->GetColLabelValue(1), "!label");
    EXPECT_LT(list->GetColSize(1), 8000);
    EXPECT_EQ(list->GetCellValue(0, 1).length(), huge.size());
    const auto* table = static_cast<ListCtrlTable*>(list->GetTable());
    EXPECT_LT(table->GetDisplayText(0, 1).length(), 500u);
    EXPECT_EQ(table->GetDisplayText(1, 0), "x[U+202E]gpj");
    EXPECT_EQ(table->GetDisplayText(1, 1), "a[U+0000]b[U+0001]");
    Frame()->SendSizeEvent();
    PumpFrames();
    EXPECT_EQ(complaints.GetText(), "");
}

TEST_F(ListCtrlTest, MenusHaveTheirCommandsInOrder) {
    const auto describe = [](const wxMenu& menu) {
        std::vector<std::string> items;
        for (const wxMenuItem* item : menu.GetMenuItems())
            items.push_back(
                item->IsSeparator() ? "-" : ToString(item->GetId()) + " " + FromWx(item->GetItemLabelText()));
        return items;
    };
    auto* batch = MakeBatch({{"a"}});
    EXPECT_EQ(
        describe(*batch->CreateContextMenu()),
        (std::vector<std::string>{"6000 Select All", "6001 Show Details", "6002 Export Selected Images", "-",
                                  "6003 Export Data As HTML", "6005 Export Data As TSV", "6006 Open In Excel",
                                  "-", "6007 Load As Evidence", "6008 Load As Reference"}));
    auto* web = new OrvListCtrlWeb(Frame(), Share({{"Link", "Format"}}), 0, wxHORIZONTAL);
    EXPECT_EQ(describe(*web->CreateContextMenu()),
              (std::vector<std::string>{"6001 Show Details", "-", "6000 Select All", "-",
                                        "6002 Download Images", "6003 Export Data As HTML",
                                        "6005 Export Data As TSV", "6006 Open In Excel"}));
    EXPECT_EQ(web->GetURLColumn(), 0);
    EXPECT_EQ(web->GetExtensionColumn(), 1);
    EXPECT_EQ(web->GetFilenameColumn(), -1);
    EXPECT_EQ(batch->GetFilenameColumn(), -1);
}

TEST_F(ListCtrlTest, KeysOpenTheMenuForTheCursorsRow) {
    auto* list = MakeBatch({{"n"}, {"1"}, {"2"}, {"3"}});
    ShowFrame();
    list->SetFocus();
    list->SetGridCursor(1, 0);
    Pump();
    std::vector<int> selected;
    wxUIActionSimulator keys;
    const auto onOpen = [&](wxMenuEvent& event) {
        const wxArrayInt rows = list->GetSelectedRows();
        selected.assign(rows.begin(), rows.end());
        list->CallAfter([&keys] { keys.Char(WXK_ESCAPE); });
        event.Skip();
    };
    list->Bind(wxEVT_MENU_OPEN, onOpen);
    keys.Char(WXK_F10, wxMOD_SHIFT);
    EXPECT_TRUE(PumpUntil([&] { return selected == std::vector<int>{1}; }));
    list->SelectRow(2, true);
    keys.Char(WXK_MENU);
    EXPECT_TRUE(PumpUntil([&] { return selected == std::vector<int>{1, 2}; })) << "the selection stays";
    Pump();
}

TEST_F(ListCtrlTest, LabelsToolTipFollowsTheMouse) {
    auto* list = MakeBatch({{"first label", "second label"}, {"1", "2"}});
    ShowFrame();
    wxMouseEvent event(wxEVT_MOTION);
    event.SetPosition(wxPoint(list->GetColSize(0) + 5, 5));
    list->OnMouseHover(event);
    EXPECT_EQ(list->GetGridColLabelWindow()->GetToolTipText(), "second label");
    event.SetPosition(wxPoint(5, 5));
    list->OnMouseHover(event);
    EXPECT_EQ(list->GetGridColLabelWindow()->GetToolTipText(), "first label");
}
