#include "orvgui/controls/parametercontroltable.h"

#include <wx/intl.h>
#include <wx/settings.h>
#include <wx/sizer.h>

#include <algorithm>

#include "orvcore/tables/byteplaces.h"
#include "orvcore/tables/tablemarkup.h"
#include "orvgui/common/framehost.h"
#include "orvgui/common/statictext.h"
#include "orvgui/tables/listctrl.h"

namespace {

constexpr int kMaximumRows = 24;  // shown without scrolling
constexpr int kMaximumColumn = 420;
constexpr int kMinimumWidth = 320;
constexpr int kNarrowest = 220;  // beside a picture
constexpr int kInset = 4;

bool NamesThumbnails(const TableString& table) {
    return std::any_of(table.begin(), table.end(), [](const std::vector<std::string>& row) {
        return std::any_of(row.begin(), row.end(), [](const std::string& cell) {
            return ParseCell(cell).mark == CellMark::Thumbnail;
        });
    });
}

}  // namespace

ParameterControlTableString::ParameterControlTableString(wxWindow* parent, wxGridBagSizer* sizer,
                                                         const Parameter& parameter)
    : ParameterControl(parent, parameter) {
    m_list = new OrvListCtrl(parent, ListCtrlView::Source(), OrvListCtrl::kQuickFill,
                             wxGrid::wxGridSelectRows, wxHORIZONTAL);
    m_list->FitLongestCells(kMaximumColumn);
    m_list->DisableDragRowSize();
    m_list->SetByteViewer([](const BytePlace& place) {
        if (OrvFrameHost* frame = GetFrameHost()) frame->ShowBytes(place.offset, place.count.value_or(0));
    });
    m_none = new OrvStaticText(parent, GetPlaceholder());
    Adopt(m_list);
    Adopt(m_none);
    auto* content = new wxBoxSizer(wxVERTICAL);
    content->Add(m_list, 1, wxEXPAND);
    content->Add(m_none, 0, wxEXPAND);
    Place(sizer, content, Height::Tall);
    ParameterControlTableString::SetControlValue(parameter);
}

wxWindow* ParameterControlTableString::GetControl() {
    return m_list;
}

void ParameterControlTableString::Show(bool show) {
    m_isShown = show;
    ParameterControl::Show(show);
    // A white box with nothing in it tells nothing.
    const bool isEmpty = m_list->GetNumDataRows() == 0;
    m_list->Show(m_list->IsShown() && !isEmpty);
    m_none->Show(m_none->IsShown() && isEmpty);
}

void ParameterControlTableString::SetThumbnails(const std::vector<Image>& thumbnails) {
    const bool isSame =
        std::equal(thumbnails.begin(), thumbnails.end(), m_thumbnails.begin(), m_thumbnails.end(),
                   [](const Image& a, const Image& b) { return a.GetMat().data == b.GetMat().data; });
    if (isSame) return;
    m_thumbnails = thumbnails;
    m_isFilled = false;  // the same cells may mean other pictures now
}

void ParameterControlTableString::SetControlValue(const Parameter& parameter) {
    if (m_isFilled && parameter == m_parameter) return;
    m_isFilled = true;
    m_parameter = parameter;
    auto table =
        std::make_shared<const TableString>(parameter.IsSet() ? parameter.Get<TableString>() : TableString());
    // Only a table with pictures gets rows that are high enough for them.
    m_list->SetThumbnails(NamesThumbnails(*table) ? m_thumbnails : std::vector<Image>());
    const TableString& before = m_list->GetView().Table();
    const bool staysSorted = m_list->GetSortColumn() >= 0 && !before.empty() && !table->empty() &&
                             before.front() == table->front();
    const int column = m_list->GetSortColumn();
    const bool ascending = m_list->IsSortOrderAscending();
    m_list->ConfigureListCtrl(std::move(table));
    if (staysSorted) {
        m_list->SortCol(column);
        if (!ascending) m_list->SortCol(column);
    }
    FitSize();
    m_none->SetText(parameter.IsSet() ? wxString(_("None")) : GetPlaceholder());
    Show(m_isShown);
}

void ParameterControlTableString::FitSize() {
    const int rows = m_list->GetNumRows();
    int height = m_list->GetColLabelSize() + kInset;
    for (int row = 0; row < std::min(rows, kMaximumRows); ++row) height += m_list->GetRowSize(row);
    if (rows == 0) height += m_list->GetDefaultRowSize();
    int width = kInset;
    for (int column = 0; column < m_list->GetNumCols(); ++column) width += m_list->GetColSize(column);
    if (rows > kMaximumRows) width += wxSystemSettings::GetMetric(wxSYS_VSCROLL_X, m_list);
    // The bar below columns that are wider than the room must not lie over the last row, for which another one would have no room.
    if (width > kNarrowest) height += wxSystemSettings::GetMetric(wxSYS_HSCROLL_Y, m_list);
    m_list->SetMinSize(wxSize(std::min(width, kMinimumWidth), height));
    // Shown before it is laid out it must not be smaller than its scroll bars, of which the library below would complain.
    if (!m_list->IsShown()) m_list->SetSize(m_list->GetMinSize());
}
