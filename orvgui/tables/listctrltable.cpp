#include "orvgui/tables/listctrltable.h"

#include <wx/dc.h>
#include <wx/image.h>
#include <wx/translation.h>

#include <algorithm>
#include <cmath>

#include "orvcore/tables/tables.h"
#include "orvgui/tables/listctrlwidths.h"
#include "zorbase/gui/imageconvert.h"
#include "zorbase/text.h"

namespace {

constexpr std::size_t kKeptBitmaps = 512;
constexpr int kSampledRows = 100;
constexpr int kMostLines = 12;
constexpr int kMostWrappedLines = 12;
constexpr std::size_t kSignLetters = 2;
constexpr std::size_t kLongestShown = 400;  // bytes of one cell
constexpr int kMargin = 2;
constexpr int kLargestPicture = 4096;  // pixels; a larger bitmap would not be drawn

const wxColour kOrange(255, 165, 0);
// Orange can be read on a dark ground alone: 8 to 1, on white it would be 2 to 1.
const wxColour kOrangeGround(56, 36, 8);

// With the sign that says the same as the colour.
wxString SignedText(const ListCtrlTable& table, const wxGridCellAttr& attr, int row, int col) {
    const wxString text = table.GetDisplayText(row, col);
    if (text.empty() || attr.GetTextColour() != kOrange) return text;
    return wxString::FromUTF8("\u25b2 ") + text;
}

}  // namespace

ListCtrlTable::ListCtrlTable(ListCtrlView view, Thumbnails thumbnails)
    : m_rows(std::move(view)), m_thumbnails(std::move(thumbnails)) {
    FindNumberColumns();
    for (int mark = 0; mark < 4; ++mark) {
        for (int aligned = 0; aligned < 2; ++aligned) {
            auto* attribute = new wxGridCellAttr;
            const auto kind = static_cast<CellMark>(mark);
            attribute->SetTextColour(kind == CellMark::StandsOut  ? *wxRED
                                     : kind == CellMark::Doubtful ? kOrange
                                                                  : *wxBLACK);
            if (kind == CellMark::Doubtful) attribute->SetBackgroundColour(kOrangeGround);
            attribute->SetAlignment(aligned != 0 ? wxALIGN_RIGHT : wxALIGN_LEFT, wxALIGN_CENTRE);
            attribute->SetOverflow(false);
            attribute->SetReadOnly();
            if (kind == CellMark::Thumbnail) {
                attribute->SetRenderer(new wxBmpCellRenderer);
            } else {
                attribute->SetRenderer(new ListCtrlTextRenderer);
            }
            m_attributes[mark][aligned] = attribute;
        }
    }
}

ListCtrlTable::~ListCtrlTable() {
    for (auto& pair : m_attributes)
        for (wxGridCellAttr* attribute : pair) attribute->DecRef();
}

void ListCtrlTable::SetFont(const wxFont& font) {
    for (int aligned = 0; aligned < 2; ++aligned) {
        m_attributes[static_cast<int>(CellMark::StandsOut)][aligned]->SetFont(font.Bold());
        m_attributes[static_cast<int>(CellMark::Doubtful)][aligned]->SetFont(font.Italic());
    }
}

void ListCtrlTable::FindNumberColumns() {
    const TableString& table = m_rows.Table();
    const auto cols = static_cast<std::size_t>(m_rows.GetNumCols());
    const std::size_t rows = std::min<std::size_t>(table.size(), kSampledRows + 1);
    m_isNumber.assign(cols, false);
    for (std::size_t col = 0; col < cols; ++col) {
        bool isNumber = true;
        bool isEmpty = true;
        for (std::size_t row = 1; row < rows && isNumber; ++row) {
            if (col >= table[row].size() || table[row][col].empty() || table[row][col] == "-") continue;
            isEmpty = false;
            isNumber = IsNumberCell(table[row][col]);
        }
        m_isNumber[col] = isNumber && !isEmpty;
    }
}

void ListCtrlTable::Tell(int message, int first, int second) {
    if (GetView() == nullptr) return;
    wxGridTableMessage told(this, message, first, second);
    GetView()->ProcessTableMessage(told);
}

void ListCtrlTable::SetShownRows(ListCtrlView view) {
    const int oldRows = m_rows.GetNumRows();
    const int oldCols = m_rows.GetNumCols();
    const bool isOther = view.GetSource() != m_rows.GetSource();
    m_rows = std::move(view);
    m_custom.clear();
    if (isOther) {
        m_labels.clear();
        FindNumberColumns();
    }
    const int rows = m_rows.GetNumRows();
    const int cols = m_rows.GetNumCols();
    // The grid keeps its own counts: each message must fit what it has been told before.
    if (rows < oldRows) Tell(wxGRIDTABLE_NOTIFY_ROWS_DELETED, rows, oldRows - rows);
    if (rows > oldRows) Tell(wxGRIDTABLE_NOTIFY_ROWS_APPENDED, rows - oldRows, 0);
    if (cols < oldCols) Tell(wxGRIDTABLE_NOTIFY_COLS_DELETED, cols, oldCols - cols);
    if (cols > oldCols) Tell(wxGRIDTABLE_NOTIFY_COLS_APPENDED, cols - oldCols, 0);
}

void ListCtrlTable::SetCustomCell(int row, int col, const std::string& value) {
    if (row < 0 || row >= GetNumberRows() || col < 0 || col >= GetNumberCols()) return;
    m_custom[{row, col}] = value;
}

const std::string& ListCtrlTable::RawCell(int row, int col) const {
    if (!m_custom.empty()) {
        const auto found = m_custom.find({row, col});
        if (found != m_custom.end()) return found->second;
    }
    return m_rows.Cell(row, col);
}

ParsedCell ListCtrlTable::GetCell(int row, int col) const {
    return ParseCell(RawCell(row, col));
}

wxString ListCtrlTable::GetDisplayText(int row, int col) const {
    const std::string& raw = RawCell(row, col);
    // Of a very long cell only the start is looked at.
    const ParsedCell cell = ParseCell(std::string_view(raw).substr(0, 2 * kLongestShown));
    if (!HasTallRows()) return ToWx(DisplayText(cell.text, false, kLongestShown));
    std::size_t end = 0;
    for (int line = 0; line < kMostLines && end != std::string::npos; ++line)
        end = cell.text.find('\n', end + 1);
    if (end == std::string::npos) return ToWx(DisplayText(cell.text, true, kLongestShown));
    return ToWx(DisplayText(std::string_view(cell.text).substr(0, end), true, kLongestShown) + "\u2026");
}

const wxBitmap& ListCtrlTable::GetBitmap(int row, int col) {
    static const wxBitmap s_none;
    const int index = GetCell(row, col).thumbnail;
    const Image* image = index < 0 ? nullptr : m_thumbnails(index);
    if (image == nullptr) return s_none;
    const auto known = m_bitmaps.find(index);
    if (known != m_bitmaps.end()) return known->second;
    if (m_bitmaps.size() >= kKeptBitmaps) m_bitmaps.clear();
    wxImage picture;
    wxBitmap bitmap;
    if (IplImageToWxImage(image->GetMat(), picture) && picture.IsOk() &&
        picture.GetWidth() <= kLargestPicture && picture.GetHeight() <= kLargestPicture)
        bitmap = wxBitmap(picture);
    return m_bitmaps.emplace(index, bitmap).first->second;
}

bool ListCtrlTable::HasTallRows() const {
    return m_rows.GetNumRows() <= kExactWidthRows;
}

int ListCtrlTable::CountLines(int row) const {
    int most = 1;
    for (int col = 0; col < m_rows.GetNumCols(); ++col) {
        const std::string_view shown = std::string_view(RawCell(row, col)).substr(0, kLongestShown);
        const auto lines = 1 + static_cast<int>(std::count(shown.begin(), shown.end(), '\n'));
        most = std::max(most, std::min(lines, kMostLines));
    }
    return most;
}

wxString ListCtrlTable::GetWrappedText(const wxGridCellAttr& attr, int row, int col, int columns,
                                       int lines) const {
    return WrapText(SignedText(*this, attr, row, col), columns, lines);
}

int ListCtrlTable::CountWrappedLines(int row, const std::vector<int>& columns) {
    int most = 1;
    for (int col = 0; col < std::min(GetNumberCols(), static_cast<int>(columns.size())); ++col) {
        const wxGridCellAttrPtr attr(GetAttr(row, col, wxGridCellAttr::Any));
        const int room = columns[static_cast<std::size_t>(col)];
        // Most cells are short.
        if (room <= 0 || RawCell(row, col).length() + kSignLetters <= static_cast<std::size_t>(room))
            continue;
        const wxString text = GetWrappedText(*attr, row, col, room, kMostWrappedLines);
        most = std::max(most, 1 + static_cast<int>(text.Freq('\n')));
    }
    return std::max(most, CountLines(row));
}

wxString ListCtrlTable::GetValue(int row, int col) {
    return ToWx(GetCell(row, col).text);
}

void ListCtrlTable::SetValue(int row, int col, const wxString& value) {
    SetCustomCell(row, col, TableCell(FromWx(value)));
}

wxString ListCtrlTable::GetColLabelValue(int col) {
    if (col < 0 || col >= GetNumberCols()) return wxString();
    if (static_cast<std::size_t>(col) < m_labels.size()) return m_labels[static_cast<std::size_t>(col)];
    return ToWx(LabelText(m_rows.Table()[0][static_cast<std::size_t>(col)]));
}

void ListCtrlTable::SetColLabelValue(int col, const wxString& value) {
    if (col < 0 || col >= GetNumberCols()) return;
    for (int i = static_cast<int>(m_labels.size()); i < GetNumberCols(); ++i)
        m_labels.push_back(GetColLabelValue(i));
    m_labels[static_cast<std::size_t>(col)] = value;
}

wxGridCellAttr* ListCtrlTable::GetAttr(int row, int col, wxGridCellAttr::wxAttrKind kind) {
    if (kind != wxGridCellAttr::Any && kind != wxGridCellAttr::Cell) return nullptr;
    if (row < 0 || row >= GetNumberRows() || col < 0 || col >= GetNumberCols()) return nullptr;
    const std::string& raw = RawCell(row, col);
    const CellMark mark = ParseCell(std::string_view(raw).substr(0, 16)).mark;
    wxGridCellAttr* attribute =
        m_attributes[static_cast<int>(mark)][m_isNumber[static_cast<std::size_t>(col)] ? 1 : 0];
    attribute->IncRef();
    return attribute;
}

// --- renderers ---

namespace {

ListCtrlTable* TableOf(wxGrid& grid) {
    return dynamic_cast<ListCtrlTable*>(grid.GetTable());
}

}  // namespace

void ListCtrlTextRenderer::Draw(wxGrid& grid, wxGridCellAttr& attr, wxDC& dc, const wxRect& rect, int row,
                                int col, bool isSelected) {
    // The background alone: the string renderer in between would draw its own text.
    // NOLINTNEXTLINE(bugprone-parent-virtual-call)
    wxGridCellRenderer::Draw(grid, attr, dc, rect, row, col, isSelected);
    const ListCtrlTable* table = TableOf(grid);
    if (table == nullptr) return;
    SetTextColoursAndFont(grid, attr, dc, isSelected);
    int horizontal = wxALIGN_LEFT;
    int vertical = wxALIGN_CENTRE;
    attr.GetAlignment(&horizontal, &vertical);
    wxRect inner = rect;
    inner.Deflate(kMargin, 1);
    grid.DrawTextRectangle(dc, FittedText(*table, attr, dc, inner, row, col), inner, horizontal, vertical);
}

wxString ListCtrlTextRenderer::FittedText(const ListCtrlTable& table, const wxGridCellAttr& attr, wxDC& dc,
                                          const wxRect& inner, int row, int col) {
    MeasureFont(dc, attr.GetFont());
    if (m_advance <= 0 || m_height <= 0) return SignedText(table, attr, row, col);
    const int columns = static_cast<int>(inner.width / m_advance);
    if (table.IsWrapping())
        return table.GetWrappedText(attr, row, col, columns, std::max(1, (inner.height + 1) / m_height));
    wxString fitted;
    for (const wxString& line : wxSplit(SignedText(table, attr, row, col), '\n', '\0')) {
        if (!fitted.empty()) fitted += '\n';
        fitted += WrapText(line, columns, 1);
    }
    return fitted;
}

wxSize ListCtrlTextRenderer::GetBestSize(wxGrid& grid, wxGridCellAttr& attr, wxDC& dc, int row, int col) {
    const ListCtrlTable* table = TableOf(grid);
    if (table == nullptr) return wxSize();
    const wxString text = SignedText(*table, attr, row, col);
    if (text.empty()) return wxSize();
    // Asking the toolkit for the width of every cell costs most of the time that a table takes to be shown.
    const bool isPlain =
        std::all_of(text.begin(), text.end(), [](wxUniChar c) { return c >= ' ' && c < 127; });
    if (isPlain) MeasureFont(dc, attr.GetFont());
    if (!isPlain || m_advance <= 0) return DoGetBestSize(attr, dc, text);
    return wxSize(static_cast<int>(std::ceil(m_advance * static_cast<double>(text.length()))), m_height);
}

void ListCtrlTextRenderer::MeasureFont(wxDC& dc, const wxFont& font) {
    if (m_font.IsOk() && font == m_font) return;
    constexpr int kSample = 64;
    m_font = font;
    dc.SetFont(font);
    const wxSize narrow = dc.GetTextExtent(wxString('i', kSample));
    const wxSize wide = dc.GetTextExtent(wxString('W', kSample));
    m_advance = narrow.x == wide.x ? static_cast<double>(wide.x) / kSample : 0;
    m_height = wide.y;
}

void wxBmpCellRenderer::Draw(wxGrid& grid, wxGridCellAttr& attr, wxDC& dc, const wxRect& rect, int row,
                             int col, bool isSelected) {
    // The background alone: the string renderer in between would draw its own text.
    // NOLINTNEXTLINE(bugprone-parent-virtual-call)
    wxGridCellRenderer::Draw(grid, attr, dc, rect, row, col, isSelected);
    ListCtrlTable* table = TableOf(grid);
    if (table == nullptr) return;
    const wxBitmap& bitmap = table->GetBitmap(row, col);
    if (!bitmap.IsOk()) return;
    const wxDCClipper clip(dc, rect);
    dc.DrawBitmap(bitmap, rect.x + kMargin,
                  rect.y + std::max(kMargin, (rect.height - bitmap.GetHeight()) / 2), true);
}

wxSize wxBmpCellRenderer::GetBestSize(wxGrid& grid, wxGridCellAttr&, wxDC&, int row, int col) {
    ListCtrlTable* table = TableOf(grid);
    if (table == nullptr) return wxSize();
    const wxBitmap& bitmap = table->GetBitmap(row, col);
    return bitmap.IsOk() ? bitmap.GetSize() + wxSize(2 * kMargin, 2 * kMargin) : wxSize();
}
