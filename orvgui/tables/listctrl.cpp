#include "orvgui/tables/listctrl.h"

#include <wx/dcclient.h>
#include <wx/headerctrl.h>
#include <wx/settings.h>

#include <algorithm>

#include "orvcore/facade/context.h"
#include "orvcore/filter/filter.h"
#include "orvgui/common/framehost.h"
#include "orvgui/common/messagebox.h"
#include "orvgui/tables/listctrltable.h"
#include "orvgui/tables/listctrlwidths.h"
#include "zorbase/text.h"

namespace {

constexpr int kRowsAtOnce = 10000;      // more are sorted and filtered beside the GUI thread
constexpr int kKeptSelection = 1000;    // rows whose selection follows them to another place
constexpr int kLargestRowHeight = 160;  // pixels, for thumbnails
constexpr int kRowRoom = 8;
constexpr int kSortSign = 16;              // pixels beside a label
constexpr std::size_t kLongestLabel = 24;  // characters of a label that a column makes room for
constexpr int kLabelAlignment = 0x0D00;    // not one of the toolkit's: it keeps its own vertical alignment

ListCtrlView::Source ShareTable(const WxTable& table) {
    return std::make_shared<const TableString>(TableFromWx(table));
}

// The toolkit repaints its header from a resized column on to the right edge, also where the column begins beyond that: a rectangle of
// negative width, of which the library below complains. Meanwhile the header is as wide as its columns.
void SizeColumn(wxGrid& grid, int col, int width) {
    if (grid.GetColSize(col) == width) return;
    wxWindow* header = grid.GetGridColLabelWindow();
    const wxSize size = header->GetSize();
    int all = 0;
    for (int i = 0; i <= col; ++i) all += grid.GetColSize(i);
    const bool isBeyond = all >= size.x;
    if (isBeyond) header->SetSize(all + 1, size.y);
    grid.SetColSize(col, width);
    if (isBeyond) header->SetSize(size);
}

}  // namespace

OrvListCtrl::OrvListCtrl(wxWindow* parent, WxTable& table, int fillMode,
                         wxGrid::wxGridSelectionModes selectionMode, int labelOrientation)
    : OrvListCtrl(parent, ShareTable(table), fillMode, selectionMode, labelOrientation) {}

OrvListCtrl::OrvListCtrl(wxWindow* parent, ListCtrlView::Source table, int fillMode,
                         wxGrid::wxGridSelectionModes selectionMode, int labelOrientation)
    : m_fillMode(fillMode), m_labelOrientation(labelOrientation) {
    CreateListCtrl(parent, std::move(table), selectionMode);
}

OrvListCtrl::~OrvListCtrl() {
    SaveCurrentSelection();
    if (m_findDialog) m_findDialog->Destroy();
}

void OrvListCtrl::CreateListCtrl(wxWindow* parent, ListCtrlView::Source table,
                                 wxGrid::wxGridSelectionModes selectionMode) {
    Create(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxWANTS_CHARS | wxBORDER_THEME);
    Bind(wxEVT_GRID_COL_SORT, &OrvListCtrl::OnColLabelLeftClick, this);
    Bind(wxEVT_GRID_CELL_LEFT_DCLICK, &OrvListCtrl::OnCellLeftDoubleClick, this);
    Bind(wxEVT_GRID_CELL_RIGHT_CLICK, &OrvListCtrl::OnCellRightClick, this);
    Bind(wxEVT_GRID_COL_SIZE, &OrvListCtrl::OnColSize, this);
    Bind(wxEVT_SIZE, &OrvListCtrl::OnSize, this);
    Bind(wxEVT_CHAR_HOOK, &OrvListCtrl::OnCharHook, this);

    const wxGridUpdateLocker quiet(this);
    const wxFont font(wxFontInfo(std::max(1, GetFont().GetPointSize() - 1)).Family(wxFONTFAMILY_MODERN));
    m_gridTable = new ListCtrlTable(ListCtrlView(std::move(table)), [this](int index) {
        return index < static_cast<int>(m_thumbnails.size()) ? &m_thumbnails[static_cast<std::size_t>(index)]
                                                             : nullptr;
    });
    m_gridTable->SetFont(font);
    AssignTable(m_gridTable, selectionMode);
    EnableEditing(false);
    HideRowLabels();
    SetSortingColumn(0, false);
    SetColLabelTextOrientation(m_labelOrientation);
    SetColLabelAlignment(0, kLabelAlignment);
    SetDefaultCellFont(font);
    // The texts' colours are fixed ones: they are read on white in a dark desktop, too.
    SetDefaultCellBackgroundColour(*wxWHITE);
    KeepSelectionReadable();
    SetDefaultRowSize(GetCharHeight() + kRowRoom, true);
    SetCustomColHeader();
    SetColLabelSize(wxGRID_AUTOSIZE);
    FitRowHeights();
    RestoreColumnWidths();
    MeasureColumns();
}

// Without the focus the toolkit paints selected cells on the shadow colour, but leaves their texts in the colour
// that is meant for the selection's own background: hardly to be read in most themes.
void OrvListCtrl::KeepSelectionReadable() {
    const wxColour selectedText = GetSelectionForeground();
    const auto follow = [this, selectedText](bool hasFocus) {
        const bool isLight = wxSystemSettings::GetColour(wxSYS_COLOUR_BTNSHADOW).GetLuminance() > 0.5;
        SetSelectionForeground(hasFocus ? selectedText : isLight ? *wxBLACK : *wxWHITE);
    };
    for (const auto type : {wxEVT_SET_FOCUS, wxEVT_KILL_FOCUS})
        GetGridWindow()->Bind(type, [follow](wxFocusEvent& event) {
            follow(event.GetEventType() == wxEVT_SET_FOCUS);
            event.Skip();
        });
    follow(false);
}

const ListCtrlView& OrvListCtrl::GetView() const {
    return m_gridTable->GetShownRows();
}

void OrvListCtrl::SetCustomColHeader() {
    UseNativeColHeader(true);
}

void OrvListCtrl::ConfigureListCtrl(const WxTable& table) {
    ConfigureListCtrl(ShareTable(table));
}

void OrvListCtrl::ConfigureListCtrl(ListCtrlView::Source table) {
    ShowSource(std::move(table), false);
}

void OrvListCtrl::SetCellValues(const WxTable& table) {
    ShowSource(ShareTable(table), false);
}

void OrvListCtrl::SetCellValues(const WxTable& table, bool skipWidths) {
    ShowSource(ShareTable(table), skipWidths);
}

void OrvListCtrl::ShowSource(ListCtrlView::Source source, bool skipWidths) {
    m_viewTask.Stop();
    m_findTask.Stop();
    m_pendingSort = -1;
    m_filter.clear();
    const wxGridUpdateLocker quiet(this);
    ClearSelection();
    m_gridTable->ForgetThumbnails();
    const int oldCols = GetNumCols();
    m_gridTable->SetShownRows(ListCtrlView(std::move(source)));
    m_sortColumn = -1;
    if (GetNumCols() > 0) SetSortingColumn(0, false);
    if (GetNumCols() != oldCols) {
        m_isUserSized.clear();
        RestoreColumnWidths();
    }
    SetColLabelSize(wxGRID_AUTOSIZE);
    FitRowHeights();
    ClearAttrCache();
    if (!skipWidths) MeasureColumns();
    ForceRefresh();
    if (m_listener) m_listener();
}

void OrvListCtrl::SetColLabelsValue(const std::vector<wxString>& labels) {
    for (int col = 0; col < GetNumCols() && static_cast<std::size_t>(col) < labels.size(); ++col)
        SetColLabelValue(col, ToWx(ParseLabel(FromWx(labels[static_cast<std::size_t>(col)]))));
    SetColLabelSize(wxGRID_AUTOSIZE);
}

void OrvListCtrl::SetCustomCellValue(int row, int col, const wxString& value) {
    const std::string cell = FromWx(value);
    if (const ParsedCell parsed = ParseCell(cell); parsed.mark == CellMark::Thumbnail)
        GetThumbnail(parsed.thumbnail);
    m_gridTable->SetCustomCell(row, col, cell);
    RefreshAttr(row, col);
    RefreshBlock(row, col, row, col);
}

void OrvListCtrl::SetThumbnails(const std::vector<Image>& thumbnails) {
    m_thumbnails = thumbnails;
    m_gridTable->ForgetThumbnails();
    const wxGridUpdateLocker quiet(this);
    FitRowHeights();
    MeasureColumns();
}

Image OrvListCtrl::GetThumbnail(int index) const {
    wxASSERT(!m_thumbnails.empty());
    if (index < 0 || index >= static_cast<int>(m_thumbnails.size())) return Image();
    return m_thumbnails[static_cast<std::size_t>(index)];
}

int OrvListCtrl::GetNumCols() const {
    return GetView().GetNumCols();
}

int OrvListCtrl::GetNumRows() const {
    return GetView().GetNumRows();
}

std::string OrvListCtrl::GetCellText(int row, int col) const {
    return m_gridTable->GetCell(row, col).text;
}

int OrvListCtrl::FindColumn(std::initializer_list<wxString> labels) const {
    for (int col = 0; col < GetNumCols(); ++col)
        for (const wxString& label : labels)
            if (GetColLabelValue(col).IsSameAs(label, false)) return col;
    return -1;
}

void OrvListCtrl::SaveCurrentSelection() {
    m_shownLabels.clear();
    for (int col = 0; col < GetNumCols(); ++col)
        if (IsColShown(col)) m_shownLabels.push_back(GetColLabelValue(col));
}

OrvFrameHost* OrvListCtrl::FindMainFrame() const {
    for (wxWindow* window = GetParent(); window != nullptr; window = window->GetParent())
        if (auto* frame = dynamic_cast<OrvFrameHost*>(window)) return frame;
    return nullptr;
}

void OrvListCtrl::FitLongestCells(int maximum) {
    m_longestCells = maximum;
    MeasureColumns();
}

void OrvListCtrl::WrapTexts() {
    m_gridTable->SetWrapping(true);
    const wxGridUpdateLocker quiet(this);
    FitRowHeights();
}

void OrvListCtrl::SetColumnWidths(const std::vector<int>& widths) {
    const wxGridUpdateLocker quiet(this);
    for (int col = 0; col < GetNumCols() && static_cast<std::size_t>(col) < widths.size(); ++col) {
        const auto index = static_cast<std::size_t>(col);
        if (index < m_isUserSized.size() && m_isUserSized[index]) continue;
        if (IsColShown(col)) SizeColumn(*this, col, widths[index]);
    }
    FitRowHeights();
}

// --- order and filter ---

void OrvListCtrl::OnColLabelLeftClick(wxGridEvent& event) {
    SortCol(event.GetCol());
    event.Veto();
}

void OrvListCtrl::SortCol(int col) {
    if (col < 0 || col >= GetNumCols()) return;
    const bool ascending = !(IsSortingBy(col) && IsSortOrderAscending());
    m_ascending = ascending ? 1 : 0;
    m_sortColumn = col;
    m_pendingSort = col;
    StartView();
    SetSortingColumn(col, ascending);
}

void OrvListCtrl::SetRowFilter(const wxString& filter) {
    const std::string text = FromWx(filter);
    if (text == m_filter) return;
    m_filter = text;
    StartView();
}

void OrvListCtrl::StartView() {
    const ListCtrlViewRequest request{GetView().GetSource(), GetView().GetOrder(), m_pendingSort,
                                      m_ascending != 0, m_filter};
    if (GetNumDataRows() <= kRowsAtOnce) {
        m_viewTask.Stop();
        ApplyView(ComputeView(request));
        return;
    }
    const auto result = std::make_shared<ListCtrlViewResult>();
    m_viewTask.Start([request, result](const std::stop_token& stop) { *result = ComputeView(request, stop); },
                     [this, result](const std::string& error) {
                         if (error.empty()) {
                             ApplyView(*result);
                         } else {
                             m_pendingSort = -1;
                             OrvMessageBox(ToWx(error), _("Error"), wxOK, this);
                         }
                     });
    if (m_listener) m_listener();
}

void OrvListCtrl::ApplyView(const ListCtrlViewResult& result) {
    m_findTask.Stop();  // it searches rows in another order
    const bool isSorted = m_pendingSort >= 0;
    m_pendingSort = -1;
    const wxGridUpdateLocker quiet(this);

    // The selection and the cursor follow their rows.
    std::vector<int> selected;
    if (IsSelection()) {
        wxArrayInt rows;
        if (GetSelection(rows) <= kKeptSelection)
            for (const int row : rows) selected.push_back(GetView().DataRow(row));
    }
    const int cursor = GetView().DataRow(GetGridCursorRow());
    const int cursorCol = GetGridCursorCol();
    ClearSelection();

    ListCtrlView view = GetView();
    view.SetOrder(result.order, result.shown);
    m_gridTable->SetShownRows(std::move(view));
    FitRowHeights();
    if (isSorted && m_fillMode != kQuickFill) MeasureColumns();

    if (const int row = GetView().ShownRow(cursor); row >= 0 && cursorCol >= 0) {
        SetGridCursor(row, cursorCol);
    } else if (GetNumRows() > 0 && GetNumCols() > 0) {
        SetGridCursor(0, 0);
    }
    ClearSelection();
    for (const int dataRow : selected)
        if (const int row = GetView().ShownRow(dataRow); row >= 0) SelectRow(row, true);
    ClearAttrCache();
    ForceRefresh();
    if (m_listener) m_listener();
}

// --- sizes ---

void OrvListCtrl::MeasureColumns() {
    const int cols = GetNumCols();
    m_columnWidths.resize(static_cast<std::size_t>(cols), GetDefaultColSize());
    m_isUserSized.resize(static_cast<std::size_t>(cols), false);
    const int rowHeight = std::max(1, GetDefaultRowSize());
    const RowRange range = RowsToMeasure(GetNumRows(), GetFirstFullyVisibleRow(),
                                         GetGridWindow()->GetClientSize().y / rowHeight + 1);
    wxClientDC dc(GetGridWindow());
    const wxFont labelFont = GetGridColLabelWindow()->GetFont().Bold();
    std::vector<int> best;
    for (int col = 0; col < cols; ++col) {
        if (m_isUserSized[static_cast<std::size_t>(col)]) continue;
        best.clear();
        for (int row = range.first; row < range.first + range.count; ++row) {
            const wxGridCellAttrPtr attribute = GetCellAttrPtr(row, col);
            const wxGridCellRendererPtr renderer = attribute->GetRendererPtr(this, row, col);
            best.push_back(renderer->GetBestSize(*this, *attribute, dc, row, col).x);
        }
        int labelWidth = 0;
        GetGridColLabelWindow()->GetTextExtent(GetColLabelValue(col).Left(kLongestLabel), &labelWidth,
                                               nullptr, nullptr, nullptr, &labelFont);
        if (m_longestCells > 0 && !best.empty())
            best = {std::min(*std::max_element(best.begin(), best.end()), m_longestCells)};
        const int width =
            ColumnWidth(best, GetDefaultColSize(), std::max(GetColMinimalWidth(col), labelWidth + kSortSign));
        m_columnWidths[static_cast<std::size_t>(col)] = width;
        if (IsColShown(col)) SizeColumn(*this, col, width);
    }
}

void OrvListCtrl::RestoreColumnWidths() {
    const OrvFrameHost* frame = FindMainFrame();
    const OrvFilter* filter = GetContext() == nullptr ? nullptr : GetContext()->GetActiveFilter();
    if (frame == nullptr || filter == nullptr) return;
    const std::vector<int> widths = frame->GetListControlColumnsWidth(filter->GetName());
    if (widths.size() != static_cast<std::size_t>(GetNumCols())) return;
    m_columnWidths.resize(widths.size(), GetDefaultColSize());
    m_isUserSized.assign(widths.size(), false);
    for (std::size_t i = 0; i < widths.size(); ++i) {
        // The file that keeps them may have been edited.
        if (widths[i] < GetColMinimalAcceptableWidth() || widths[i] > 10000) continue;
        m_columnWidths[i] = widths[i];
        m_isUserSized[i] = true;
        SizeColumn(*this, static_cast<int>(i), widths[i]);
    }
}

void OrvListCtrl::OnColSize(wxGridSizeEvent& event) {
    event.Skip();
    const int col = event.GetRowOrCol();
    if (col < 0 || static_cast<std::size_t>(col) >= m_columnWidths.size()) return;
    m_columnWidths[static_cast<std::size_t>(col)] = GetColSize(col);
    m_isUserSized[static_cast<std::size_t>(col)] = true;
    if (m_gridTable->IsWrapping()) {
        const wxGridUpdateLocker quiet(this);
        FitRowHeights();
    }
    OrvFrameHost* frame = FindMainFrame();
    const OrvFilter* filter = GetContext() == nullptr ? nullptr : GetContext()->GetActiveFilter();
    if (frame != nullptr && filter != nullptr)
        frame->SetListControlColumnsWidth(filter->GetName(), m_columnWidths);
}

void OrvListCtrl::OnSize(wxSizeEvent& event) {
    // Forces the grid to lay itself out anew.
    if (m_gridTable != nullptr && GetNumberCols() > 0) {
        const int last = GetNumberCols() - 1;
        SizeColumn(*this, last, ToggledWidth(GetColSize(last)));
    }
    event.Skip();
}

void OrvListCtrl::FitRowHeights() {
    int height = GetCharHeight() + kRowRoom;
    // The first rows may be those of files that have no picture.
    for (const Image& image : m_thumbnails)
        height = std::max(height, std::min(image.GetHeight() + 4, kLargestRowHeight));
    if (m_hasTallRows || height != GetDefaultRowSize()) SetDefaultRowSize(height, true);
    m_hasTallRows = false;
    if (!m_gridTable->HasTallRows()) return;
    std::vector<int> columns;
    if (m_gridTable->IsWrapping()) {
        wxClientDC dc(GetGridWindow());
        dc.SetFont(GetDefaultCellFont());
        constexpr int kSample = 64;  // the width of one is no whole number
        const int sample = std::max(1, dc.GetTextExtent(wxString('0', kSample)).x);
        for (int col = 0; col < GetNumCols(); ++col) {
            const int lost = col + 1 == GetNumCols() ? 1 : 0;  // with the next change of size
            columns.push_back((GetColSize(col) - ListCtrlTable::kAroundText - lost) * kSample / sample);
        }
    }
    for (int row = 0; row < GetNumRows(); ++row) {
        const int lines =
            columns.empty() ? m_gridTable->CountLines(row) : m_gridTable->CountWrappedLines(row, columns);
        if (lines < 2) continue;
        m_hasTallRows = true;
        SetRowSize(row, std::max(height, lines * GetCharHeight() + kRowRoom));
    }
}
