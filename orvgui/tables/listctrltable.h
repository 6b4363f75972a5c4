#pragma once

#include <wx/bitmap.h>
#include <wx/grid.h>

#include <functional>
#include <map>
#include <optional>
#include <unordered_map>
#include <vector>

#include "orvcore/tables/tablemarkup.h"
#include "orvgui/tables/listctrlview.h"
#include "zorimage/image.h"

// The answers that a table control's grid asks for: labels, texts, colours and pictures of the cells that it shows at
// that moment. Keeps nothing per row. Belongs to its grid. GUI thread.
class ListCtrlTable : public wxGridTableBase {
  public:
    static constexpr int kAroundText = 5;  // pixels of a column that are not its text's

    // Gives the thumbnail of a number that is a valid one.
    using Thumbnails = std::function<const Image*(int index)>;

    ListCtrlTable(ListCtrlView view, Thumbnails thumbnails);
    ~ListCtrlTable() override;

    // Marks are told by the face of the font as well as by colour.
    void SetFont(const wxFont& font);

    const ListCtrlView& GetShownRows() const { return m_rows; }
    // Another table or another order of it; tells the grid what became of its rows and columns.
    void SetShownRows(ListCtrlView view);
    void ForgetThumbnails() { m_bitmaps.clear(); }
    // Shows a marked value in a cell until the rows are set anew.
    void SetCustomCell(int row, int col, const std::string& value);

    // The cell without its mark.
    ParsedCell GetCell(int row, int col) const;
    // As it is painted; at most a few lines of it.
    wxString GetDisplayText(int row, int col) const;
    // The picture of a thumbnail cell; not valid when there is none.
    const wxBitmap& GetBitmap(int row, int col);
    // Whether rows are as high as their texts have lines; otherwise line feeds are shown as signs.
    bool HasTallRows() const;
    int CountLines(int row) const;
    // Texts that are longer than their column go on in the next line, where rows are as high as their texts.
    void SetWrapping(bool on) { m_isWrapping = on; }
    bool IsWrapping() const { return m_isWrapping && HasTallRows(); }
    // As painted in a column of so many letters.
    wxString GetWrappedText(const wxGridCellAttr& attr, int row, int col, int columns, int lines) const;
    // Lines of a row whose columns hold so many letters each, within bounds.
    int CountWrappedLines(int row, const std::vector<int>& columns);

    int GetNumberRows() override { return m_rows.GetNumRows(); }
    int GetNumberCols() override { return m_rows.GetNumCols(); }
    wxString GetValue(int row, int col) override;
    void SetValue(int row, int col, const wxString& value) override;
    wxString GetColLabelValue(int col) override;
    void SetColLabelValue(int col, const wxString& value) override;
    wxGridCellAttr* GetAttr(int row, int col, wxGridCellAttr::wxAttrKind kind) override;
    bool CanHaveAttributes() override { return true; }

  private:
    const std::string& RawCell(int row, int col) const;
    void FindNumberColumns();
    void Tell(int message, int first, int second);

    ListCtrlView m_rows;
    Thumbnails m_thumbnails;
    bool m_isWrapping = false;
    std::vector<wxString> m_labels;
    std::vector<bool> m_isNumber;  // columns whose cells are aligned to the right
    std::map<std::pair<int, int>, std::string> m_custom;
    std::unordered_map<int, wxBitmap> m_bitmaps;
    wxGridCellAttr* m_attributes[4][2] = {};  // by mark and alignment
};

// Draws a cell's text; long texts are cut before the toolkit sees them.
class ListCtrlTextRenderer : public wxGridCellStringRenderer {
  public:
    void Draw(wxGrid& grid, wxGridCellAttr& attr, wxDC& dc, const wxRect& rect, int row, int col,
              bool isSelected) override;
    wxSize GetBestSize(wxGrid& grid, wxGridCellAttr& attr, wxDC& dc, int row, int col) override;
    ListCtrlTextRenderer* Clone() const override { return new ListCtrlTextRenderer(*this); }

  private:
    void MeasureFont(wxDC& dc, const wxFont& font);
    // As much of a text as its cell has room for, with a sign where it is cut.
    wxString FittedText(const ListCtrlTable& table, const wxGridCellAttr& attr, wxDC& dc, const wxRect& inner,
                        int row, int col);

    wxFont m_font;
    double m_advance = 0;  // pixels of every plain character of m_font; 0 when it is not of fixed pitch
    int m_height = 0;
};

// Draws a thumbnail.
class wxBmpCellRenderer : public wxGridCellStringRenderer {
  public:
    void Draw(wxGrid& grid, wxGridCellAttr& attr, wxDC& dc, const wxRect& rect, int row, int col,
              bool isSelected) override;
    wxSize GetBestSize(wxGrid& grid, wxGridCellAttr& attr, wxDC& dc, int row, int col) override;
    wxBmpCellRenderer* Clone() const override { return new wxBmpCellRenderer(*this); }
};
