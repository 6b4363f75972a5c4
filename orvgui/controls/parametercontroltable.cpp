#include "orvgui/controls/parametercontroltable.h"

#include <wx/settings.h>

#include <algorithm>

#include "orvgui/tables/listctrl.h"

namespace {

constexpr int kMaximumRows = 24;  // shown without scrolling
constexpr int kMaximumColumn = 420;
constexpr int kMinimumWidth = 320;
constexpr int kInset = 4;

}  // namespace

ParameterControlTableString::ParameterControlTableString(wxWindow* parent, wxGridBagSizer* sizer,
                                                         const Parameter& parameter)
    : ParameterControl(parent, parameter) {
    m_list = new OrvListCtrl(parent, ListCtrlView::Source(), OrvListCtrl::kQuickFill,
                             wxGrid::wxGridSelectRows, wxHORIZONTAL);
    m_list->FitLongestCells(kMaximumColumn);
    m_list->DisableDragRowSize();
    Place(sizer, m_list, Height::Tall);
    ParameterControlTableString::SetControlValue(parameter);
}

wxWindow* ParameterControlTableString::GetControl() {
    return m_list;
}

void ParameterControlTableString::SetControlValue(const Parameter& parameter) {
    if (m_isFilled && parameter == m_parameter) return;
    m_isFilled = true;
    m_parameter = parameter;
    auto table =
        std::make_shared<const TableString>(parameter.IsSet() ? parameter.Get<TableString>() : TableString());
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
}

void ParameterControlTableString::FitSize() {
    const int rows = m_list->GetNumRows();
    int height = m_list->GetColLabelSize() + kInset;
    for (int row = 0; row < std::min(rows, kMaximumRows); ++row) height += m_list->GetRowSize(row);
    if (rows == 0) height += m_list->GetDefaultRowSize();
    int width = kInset;
    for (int column = 0; column < m_list->GetNumCols(); ++column) width += m_list->GetColSize(column);
    if (rows > kMaximumRows) width += wxSystemSettings::GetMetric(wxSYS_VSCROLL_X, m_list);
    m_list->SetMinSize(wxSize(std::min(width, kMinimumWidth), height));
}
