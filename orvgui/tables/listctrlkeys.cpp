// The part of the table control that finds, copies and shows details.

#include <wx/button.h>
#include <wx/clipbrd.h>
#include <wx/dataobj.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "orvgui/common/framehost.h"
#include "orvgui/common/messagebox.h"
#include "orvgui/tables/listctrl.h"
#include "orvgui/tables/listctrldetails.h"
#include "zorbase/text.h"

namespace {

constexpr std::size_t kCellsAtOnce = 200000;  // more are searched or copied beside the GUI thread

// Text as the clipboard wants it, shared: the toolkit's own object would convert and copy it several times over.
class SharedText : public wxDataObjectSimple {
  public:
    explicit SharedText(std::shared_ptr<const std::string> text)
        : wxDataObjectSimple(wxDF_UNICODETEXT), m_text(std::move(text)) {}
    std::size_t GetDataSize() const override { return m_text->size(); }
    bool GetDataHere(void* buffer) const override {
        std::memcpy(buffer, m_text->data(), m_text->size());
        return true;
    }

  private:
    std::shared_ptr<const std::string> m_text;  // UTF-8
};

bool PutOnClipboard(std::shared_ptr<const std::string> text) {
    const wxClipboardLocker locker;
    return !locker ? false : wxTheClipboard->SetData(new SharedText(std::move(text)));
}

}  // namespace

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
    } else if (!OnRowKey(event)) {
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
    std::vector<bool> cols(static_cast<std::size_t>(GetNumCols()), false);
    const bool isByRow = GetSelectionMode() == wxGridSelectRows;
    if (IsSelection()) {
        wxArrayInt selected;
        GetSelection(selected);
        rows.assign(selected.begin(), selected.end());
        for (const wxGridBlockCoords& block : GetSelectedBlocks())
            for (int col = block.GetLeftCol(); col <= block.GetRightCol() && col < GetNumCols(); ++col)
                cols[static_cast<std::size_t>(col)] = true;
    } else if (GetGridCursorRow() >= 0) {
        rows.push_back(GetGridCursorRow());
        for (int col = 0; col < GetNumCols(); ++col)
            if (isByRow || col == GetGridCursorCol()) cols[static_cast<std::size_t>(col)] = true;
    }
    std::vector<int> shown;
    for (int col = 0; col < GetNumCols(); ++col)
        if (cols[static_cast<std::size_t>(col)] && IsColShown(col)) shown.push_back(col);
    if (rows.empty() || shown.empty()) return false;
    if (rows.size() * shown.size() <= kCellsAtOnce) {
        m_copyTask.Stop();
        return PutOnClipboard(std::make_shared<const std::string>(CopyRows(GetView(), rows, shown)));
    }
    const auto text = std::make_shared<std::string>();
    const int count = static_cast<int>(rows.size());
    m_copyTask.Start([text, view = GetView(), rows = std::move(rows),
                      shown](const std::stop_token& stop) { *text = CopyRows(view, rows, shown, stop); },
                     [this, text, count](const std::string& error) {
                         if (!error.empty()) {
                             OrvMessageBox(ToWx(error), _("Error"), wxOK, this);
                         } else if (PutOnClipboard(text)) {
                             Tell(wxString::Format(_("%d rows copied"), count));
                         }
                     });
    Tell(_("Copying..."));
    return true;
}

void OrvListCtrl::Tell(const wxString& text) {
    if (OrvFrameHost* frame = GetFrameHost()) frame->SetStatusField(OrvStatusField::Activity, text);
}

bool OrvListCtrl::Find(const wxString& text, bool backwards) {
    struct Place {
        int row;
        int col;
        bool isFound = false;
    };
    const auto place = std::make_shared<Place>(Place{GetGridCursorRow(), GetGridCursorCol()});
    const auto search = [place, view = GetView(), text = FromWx(text),
                         backwards](const std::stop_token& stop) {
        place->isFound = FindCell(view, text, backwards, place->row, place->col, stop);
    };
    m_findTask.Stop();
    if (static_cast<std::size_t>(GetNumRows()) * static_cast<std::size_t>(GetNumCols()) <= kCellsAtOnce) {
        search({});
        if (place->isFound) GoToFound(place->row, place->col);
        return place->isFound;
    }
    m_findTask.Start(search, [this, place](const std::string&) {
        if (place->isFound) {
            GoToFound(place->row, place->col);
        } else {
            TellNotFound();
        }
    });
    return true;
}

void OrvListCtrl::GoToFound(int row, int col) {
    if (row >= GetNumRows() || col >= GetNumCols()) return;
    ClearSelection();
    GoToCell(row, col);
    if (GetSelectionMode() == wxGridSelectRows) SelectRow(row);
}

void OrvListCtrl::TellNotFound() {
    OrvMessageBox(_("The text was not found in the table."), _("Find"), wxOK, this);
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
        m_findTask.Stop();
        if (m_findDialog) m_findDialog->Destroy();
        m_findDialog = nullptr;
        return;
    }
    if (!Find(event.GetFindString(), (event.GetFlags() & wxFR_DOWN) == 0)) TellNotFound();
}
