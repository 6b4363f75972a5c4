// The part of the table control that finds, copies and shows details.

#include <wx/button.h>
#include <wx/clipbrd.h>

#include <algorithm>
#include <set>

#include "orvgui/common/messagebox.h"
#include "orvgui/tables/listctrl.h"
#include "orvgui/tables/listctrldetails.h"
#include "zorbase/text.h"

void OrvListCtrl::OnCharHook(wxKeyEvent& event) {
    const bool isControl = event.GetModifiers() == wxMOD_CONTROL;
    if (isControl && event.GetKeyCode() == 'C') {
        CopySelection();
    } else if (isControl && event.GetKeyCode() == 'F') {
        ShowFindDialog();
    } else if (event.GetKeyCode() == WXK_F3 && (event.GetModifiers() & ~wxMOD_SHIFT) == 0) {
        if (m_findData.GetFindString().empty()) {
            ShowFindDialog();
        } else {
            Find(m_findData.GetFindString(), event.ShiftDown());
        }
    } else {
        event.Skip();
    }
}

int OrvListCtrl::GetSelection(wxArrayInt& rows) const {
    rows.Clear();
    if (!IsSelection()) {
        rows.Alloc(static_cast<std::size_t>(GetNumRows()));
        for (int row = 0; row < GetNumRows(); ++row) rows.Add(row);
        return GetNumRows();
    }
    std::vector<std::pair<int, int>> spans;
    for (const wxGridBlockCoords& block : GetSelectedBlocks())
        spans.emplace_back(block.GetTopRow(), block.GetBottomRow());
    std::sort(spans.begin(), spans.end());
    int next = 0;
    for (const auto& [top, bottom] : spans) {
        for (int row = std::max(top, next); row <= bottom && row < GetNumRows(); ++row) rows.Add(row);
        next = std::max(next, bottom + 1);
    }
    return static_cast<int>(rows.size());
}

bool OrvListCtrl::CopySelection() {
    std::vector<int> rows;
    std::set<int> cols;
    const bool isByRow = GetSelectionMode() == wxGridSelectRows;
    if (IsSelection()) {
        wxArrayInt selected;
        GetSelection(selected);
        rows.assign(selected.begin(), selected.end());
        for (const wxGridBlockCoords& block : GetSelectedBlocks())
            for (int col = block.GetLeftCol(); col <= block.GetRightCol(); ++col) cols.insert(col);
    } else if (GetGridCursorRow() >= 0) {
        rows.push_back(GetGridCursorRow());
        for (int col = 0; col < GetNumCols(); ++col)
            if (isByRow || col == GetGridCursorCol()) cols.insert(col);
    }
    std::vector<int> shown;
    for (const int col : cols)
        if (col < GetNumCols() && IsColShown(col)) shown.push_back(col);
    if (rows.empty() || shown.empty()) return false;
    const wxClipboardLocker locker;
    if (!locker) return false;
    return wxTheClipboard->SetData(new wxTextDataObject(ToWx(CopyRows(GetView(), rows, shown))));
}

bool OrvListCtrl::Find(const wxString& text, bool backwards) {
    int row = GetGridCursorRow();
    int col = GetGridCursorCol();
    if (!FindCell(GetView(), FromWx(text), backwards, row, col)) return false;
    ClearSelection();
    GoToCell(row, col);
    if (GetSelectionMode() == wxGridSelectRows) SelectRow(row);
    return true;
}

void OrvListCtrl::ShowFindDialog() {
    if (m_findDialog) {
        m_findDialog->Raise();
        return;
    }
    m_findDialog = new wxFindReplaceDialog(this, &m_findData, _("Find"), wxFR_NOWHOLEWORD | wxFR_NOMATCHCASE);
    // The dialog belongs to the top-level window, whatever parent it is given, and reports to that one only.
    for (const auto type : {wxEVT_FIND, wxEVT_FIND_NEXT, wxEVT_FIND_CLOSE})
        m_findDialog->Bind(type, &OrvListCtrl::OnFind, this);
    if (auto* button = dynamic_cast<wxButton*>(m_findDialog->FindWindow(wxID_FIND))) button->SetDefault();
    m_findDialog->Show();
}

void OrvListCtrl::OnFind(wxFindDialogEvent& event) {
    if (event.GetEventType() == wxEVT_FIND_CLOSE) {
        if (m_findDialog) m_findDialog->Destroy();
        m_findDialog = nullptr;
        return;
    }
    if (!Find(event.GetFindString(), (event.GetFlags() & wxFR_DOWN) == 0))
        OrvMessageBox(_("The text was not found in the table."), _("Find"), wxOK, this);
}

void OrvListCtrl::OnCellLeftDoubleClick(wxGridEvent&) {
    ShowDetails();
}

void OrvListCtrl::OnCellRightClick(wxGridEvent&) {}

void OrvListCtrl::ShowDetails() {
    const int dataRow = GetView().DataRow(GetGridCursorRow());
    if (dataRow < 0) return;
    ShowRowDetails(this, GetView().Table(), dataRow);
}
