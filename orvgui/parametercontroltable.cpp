#include "orvgui/parametercontroltable.h"

#include <wx/grid.h>
#include <wx/settings.h>

#include <algorithm>
#include <vector>

#include "orvcore/tablemarkup.h"
#include "zorbase/text.h"

namespace {

constexpr int kMaximumRows = 24;     // shown without scrolling
constexpr int kMeasuredRows = 200;   // looked at for the width of a column
constexpr int kMaximumColumn = 420;  // pixels
constexpr int kColumnMargin = 16;
constexpr int kMinimumWidth = 320;
const wxColour kOrange(255, 165, 0);

wxString CellText(const TableString& table, int row, int column) {
    const auto r = static_cast<std::size_t>(row) + 1;
    const auto c = static_cast<std::size_t>(column);
    if (r >= table.size() || c >= table[r].size()) return wxString();
    return ToWx(ParseCell(table[r][c]).text);
}

// The grid's view of one table of strings: cells are made when they are painted.
class StringTable : public wxGridTableBase {
  public:
    StringTable() {
        for (auto& row : m_attributes) {
            for (wxGridCellAttr*& attribute : row) {
                attribute = new wxGridCellAttr;
                attribute->SetReadOnly();
                attribute->SetBackgroundColour(*wxWHITE);
                attribute->SetTextColour(*wxBLACK);
                attribute->SetOverflow(false);
            }
            row[1]->SetTextColour(*wxRED);
            row[2]->SetTextColour(kOrange);
        }
        for (wxGridCellAttr* attribute : m_attributes[1])
            attribute->SetAlignment(wxALIGN_RIGHT, wxALIGN_CENTRE);
    }
    ~StringTable() override {
        for (auto& row : m_attributes) {
            for (wxGridCellAttr* attribute : row) attribute->DecRef();
        }
    }

    void Take(const TableString& table) {
        const int rows = GetNumberRows();
        const int columns = GetNumberCols();
        m_table = table;
        m_numeric.clear();
        for (int column = 0; column < GetNumberCols(); ++column)
            m_numeric.push_back(IsNumericColumn(m_table, static_cast<std::size_t>(column)));
        Tell(columns, GetNumberCols(), wxGRIDTABLE_NOTIFY_COLS_APPENDED, wxGRIDTABLE_NOTIFY_COLS_DELETED);
        Tell(rows, GetNumberRows(), wxGRIDTABLE_NOTIFY_ROWS_APPENDED, wxGRIDTABLE_NOTIFY_ROWS_DELETED);
    }

    int GetNumberRows() override { return m_table.empty() ? 0 : static_cast<int>(m_table.size()) - 1; }
    int GetNumberCols() override { return m_table.empty() ? 0 : static_cast<int>(m_table.front().size()); }
    bool IsEmptyCell(int row, int column) override { return GetValue(row, column).empty(); }
    wxString GetValue(int row, int column) override { return CellText(m_table, row, column); }
    void SetValue(int, int, const wxString&) override {}
    wxString GetColLabelValue(int column) override {
        if (column >= GetNumberCols()) return wxString();
        return ToWx(ParseLabel(m_table.front()[static_cast<std::size_t>(column)]));
    }
    wxGridCellAttr* GetAttr(int row, int column, wxGridCellAttr::wxAttrKind) override {
        const auto r = static_cast<std::size_t>(row) + 1;
        const auto c = static_cast<std::size_t>(column);
        CellMark mark = CellMark::None;
        if (r < m_table.size() && c < m_table[r].size()) mark = ParseCell(m_table[r][c]).mark;
        const int colour = mark == CellMark::StandsOut ? 1 : mark == CellMark::Doubtful ? 2 : 0;
        wxGridCellAttr* attribute = m_attributes[c < m_numeric.size() && m_numeric[c] ? 1 : 0][colour];
        attribute->IncRef();
        return attribute;
    }

  private:
    void Tell(int before, int now, int appended, int deleted) {
        if (GetView() == nullptr || before == now) return;
        const int count = std::abs(now - before);
        if (now > before) {
            wxGridTableMessage message(this, appended, count);
            GetView()->ProcessTableMessage(message);
        } else {
            wxGridTableMessage message(this, deleted, now, count);
            GetView()->ProcessTableMessage(message);
        }
    }

    TableString m_table;
    std::vector<bool> m_numeric;
    wxGridCellAttr* m_attributes[2][3];  // text or number, by mark
};

}  // namespace

bool IsNumericColumn(const TableString& table, std::size_t column) {
    bool any = false;
    for (std::size_t row = 1; row < table.size(); ++row) {
        if (column >= table[row].size()) continue;
        const std::string cell = ParseCell(table[row][column]).text;
        if (cell.empty() || cell == "-") continue;
        double number = 0;
        if (!FromString(cell, number)) return false;
        any = true;
    }
    return any;
}

ParameterControlTableString::ParameterControlTableString(wxWindow* parent, wxGridBagSizer* sizer,
                                                         const Parameter& parameter)
    : ParameterControl(parent, parameter) {
    m_grid = new wxGrid(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxWANTS_CHARS | wxBORDER_THEME);
    m_grid->AssignTable(new StringTable, wxGrid::wxGridSelectRows);
    m_grid->HideRowLabels();
    m_grid->EnableEditing(false);
    m_grid->DisableDragRowSize();
    m_grid->SetColLabelAlignment(wxALIGN_LEFT, wxALIGN_CENTRE);
    m_grid->SetDefaultCellFont(
        wxFont(wxFontInfo(parent->GetFont().GetPointSize()).Family(wxFONTFAMILY_TELETYPE)));
    Place(sizer, m_grid, Height::Tall);
    ParameterControlTableString::SetControlValue(parameter);
}

wxWindow* ParameterControlTableString::GetControl() {
    return m_grid;
}

void ParameterControlTableString::SetControlValue(const Parameter& parameter) {
    if (m_filled && parameter == m_parameter) return;
    m_filled = true;
    m_parameter = parameter;
    const TableString none;
    const TableString& table = parameter.IsSet() ? parameter.Get<TableString>() : none;
    m_grid->BeginBatch();
    static_cast<StringTable*>(m_grid->GetTable())->Take(table);
    FitColumns(table);
    m_grid->EndBatch();
    m_grid->ForceRefresh();

    constexpr int kInset = 4;
    const int rows = std::clamp(m_grid->GetNumberRows(), 1, kMaximumRows);
    int width = kInset;
    for (int column = 0; column < m_grid->GetNumberCols(); ++column) width += m_grid->GetColSize(column);
    const bool scrolls = m_grid->GetNumberRows() > kMaximumRows;
    if (scrolls) width += wxSystemSettings::GetMetric(wxSYS_VSCROLL_X, m_grid);
    m_grid->SetMinSize(wxSize(std::min(width, kMinimumWidth),
                              m_grid->GetColLabelSize() + rows * m_grid->GetDefaultRowSize() + kInset));
}

// Wide enough for the label and the cells looked at; all cells have one fixed-pitch font, so the longest text
// is the widest.
void ParameterControlTableString::FitColumns(const TableString& table) {
    const int charWidth = m_grid->GetTextExtent("0").GetWidth();
    wxSize cell;
    {
        wxWindow* window = m_grid->GetGridWindow();
        const wxFont font = m_grid->GetDefaultCellFont();
        window->GetTextExtent("0", &cell.x, &cell.y, nullptr, nullptr, &font);
    }
    const int cellWidth = std::max(cell.x, 1);
    m_grid->SetDefaultRowSize(std::max(cell.y + 6, 20), true);
    const int rows = std::min(m_grid->GetNumberRows(), kMeasuredRows);
    for (int column = 0; column < m_grid->GetNumberCols(); ++column) {
        std::size_t longest = 0;
        for (int row = 0; row < rows; ++row)
            longest = std::max(longest, CellText(table, row, column).length());
        const int label = m_grid->GetTextExtent(m_grid->GetColLabelValue(column)).GetWidth() + charWidth;
        const int width = std::max(label, static_cast<int>(longest) * cellWidth);
        m_grid->SetColSize(column, std::min(width + kColumnMargin, kMaximumColumn));
    }
}
