#pragma once

#include <wx/fdrepdlg.h>
#include <wx/grid.h>
#include <wx/weakref.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "orvcore/tables/tables.h"
#include "orvgui/common/backgroundtask.h"
#include "orvgui/common/orvgui.h"
#include "orvgui/tables/listctrlview.h"
#include "zorimage/image.h"

class ListCtrlTable;
class OrvFrameHost;
class wxMenu;
struct BytePlace;

// What can be done with a row, beside what every table offers.
struct OrvRowCommand {
    wxString label;
    wxString help;
    std::function<void()> run;
};
// The commands for a row; dataRow counts the table's rows behind the labels, from 0.
using OrvRowCommands = std::function<std::vector<OrvRowCommand>(int dataRow)>;

// The read-only table in which every tabular result is shown. Row 0 of a table holds the labels; cells may be marked
// (orvcore/tables/tablemarkup.h). Sorted by a click on a label; Ctrl+C copies the selection as TSV, Ctrl+F and F3 find, a
// double click shows the row's details. Large tables are sorted and filtered beside the GUI thread: until that is done
// the old rows stay. Rows and columns are numbers of the grid unless a name says "data row". GUI thread.
class ORVGUI_API OrvListCtrl : public wxGrid {
  public:
    // How a table is filled: the quick fill measures the columns only once.
    static constexpr int kQuickFill = -1;

    // The first form copies the table, the second shares it. labelOrientation is the toolkit's orientation flag.
    OrvListCtrl(wxWindow* parent, WxTable& table, int fillMode, wxGrid::wxGridSelectionModes selectionMode,
                int labelOrientation);
    OrvListCtrl(wxWindow* parent, ListCtrlView::Source table, int fillMode,
                wxGrid::wxGridSelectionModes selectionMode, int labelOrientation);
    ~OrvListCtrl() override;

    // Shows another table of any shape, in its own order, without a filter.
    void ConfigureListCtrl(const WxTable& table);
    void ConfigureListCtrl(ListCtrlView::Source table);
    void SetCellValues(const WxTable& table);
    void SetCellValues(const WxTable& table, bool skipWidths);
    void SetColLabelsValue(const std::vector<wxString>& labels);  // a leading "#" is not shown
    // Shows a marked value in one cell, until the table is filled or sorted anew.
    void SetCustomCellValue(int row, int col, const wxString& value);
    void SetCustomColHeader();

    // Shared with the caller's. Thumbnail cells name one by its place in the list.
    void SetThumbnails(const std::vector<Image>& thumbnails);
    Image GetThumbnail(int index) const;  // asserts that there are any; not valid for a number that is none

    int GetNumCols() const;
    int GetNumRows() const;  // shown
    // The selected rows, or every row when nothing is selected; returns their number.
    int GetSelection(wxArrayInt& rows) const;
    // Keeps the labels of the columns that are shown.
    void SaveCurrentSelection();
    const std::vector<wxString>& GetShownLabels() const { return m_shownLabels; }

    // Columns become as wide as their longest measured cell, of `maximum` pixels at most, instead of the average one.
    void FitLongestCells(int maximum);
    // Texts that are longer than their column go on in the next line; a table of very many rows stays as it is.
    void WrapTexts();
    // Other widths of the columns than the measured ones, as long as the same columns are shown; the user's stay as they are.
    void SetColumnWidths(const std::vector<int>& widths);

    // The column of the last sort; -1 when the table is in its own order.
    int GetSortColumn() const { return m_sortColumn; }
    // Sorts by a column: ascending, or descending when it is sorted ascending by that column now.
    void SortCol(int col);
    // Shows only rows that hold every word of the filter; "" shows all.
    void SetRowFilter(const wxString& filter);
    // Whether sorting or filtering goes on.
    bool IsUpdating() const { return m_viewTask.IsRunning(); }
    int GetNumDataRows() const { return GetView().GetNumDataRows(); }
    // Told whenever other rows are shown, and when the work for that begins.
    void SetViewListener(std::function<void()> listener) { m_listener = std::move(listener); }

    // Moves the cursor to the next cell with the text; false when there is none. Large tables are searched beside the GUI thread:
    // then true, and a message tells when there was none. A new search stops the one before.
    bool Find(const wxString& text, bool backwards = false);
    bool IsSearching() const { return m_findTask.IsRunning(); }
    void ShowFindDialog();
    // The selection, or the cursor's cell or row without one, as TSV on the clipboard. False when there is nothing. Large ones
    // are put together beside the GUI thread and arrive a moment later.
    bool CopySelection();
    bool IsCopying() const { return m_copyTask.IsRunning(); }
    // The details of the cursor's row.
    void ShowDetails();

    // Who shows the bytes that rows tell of (see FindBytePlaces), and further commands of the context menu.
    void SetByteViewer(std::function<void(const BytePlace&)> show) { m_showBytes = std::move(show); }
    void SetRowCommands(OrvRowCommands commands) { m_rowCommands = std::move(commands); }
    // Shows the bytes of a shown row; false when it tells of none or nobody shows them.
    bool ShowBytes(int row);
    // The context menu of the cursor's row.
    std::unique_ptr<wxMenu> CreateRowMenu();

    const ListCtrlView& GetView() const;

    virtual void OnCellLeftDoubleClick(wxGridEvent& event);
    virtual void OnCellRightClick(wxGridEvent& event);
    void OnColLabelLeftClick(wxGridEvent& event);
    void OnColSize(wxGridSizeEvent& event);
    void OnSize(wxSizeEvent& event);

  protected:
    // The text of a shown cell without its mark; "" when there is no such cell.
    std::string GetCellText(int row, int col) const;
    // The first column with one of these labels, whatever the case; -1 when there is none.
    int FindColumn(std::initializer_list<wxString> labels) const;
    const std::vector<Image>& GetThumbnails() const { return m_thumbnails; }

  private:
    void CreateListCtrl(wxWindow* parent, ListCtrlView::Source table,
                        wxGrid::wxGridSelectionModes selectionMode);
    void OnCharHook(wxKeyEvent& event);
    bool OnRowKey(const wxKeyEvent& event);
    void OnFind(wxFindDialogEvent& event);
    void GoToFound(int row, int col);
    void TellNotFound();
    void Tell(const wxString& text);
    OrvFrameHost* FindMainFrame() const;
    void StartView();
    void ApplyView(const ListCtrlViewResult& result);
    void ShowSource(ListCtrlView::Source source, bool skipWidths);
    void MeasureColumns();
    void RestoreColumnWidths();
    void KeepSelectionReadable();
    void FitRowHeights();

    int m_fillMode;
    int m_labelOrientation;
    int m_ascending = 0;     // of the last sort
    int m_sortColumn = -1;   // of the last sort
    int m_pendingSort = -1;  // column that is being sorted by
    std::string m_filter;
    bool m_hasTallRows = false;
    int m_longestCells = 0;  // pixels; 0: columns have their average width
    std::vector<int> m_columnWidths;
    std::vector<bool> m_isUserSized;  // columns that are not measured any more
    std::vector<wxString> m_shownLabels;
    std::vector<Image> m_thumbnails;
    wxFindReplaceData m_findData{wxFR_DOWN};
    wxWeakRef<wxFindReplaceDialog> m_findDialog;
    std::function<void()> m_listener;
    std::function<void(const BytePlace&)> m_showBytes;
    OrvRowCommands m_rowCommands;
    ListCtrlTable* m_gridTable = nullptr;  // belongs to the grid
    BackgroundTask m_viewTask{*this};
    BackgroundTask m_findTask{*this};
    BackgroundTask m_copyTask{*this};
};
