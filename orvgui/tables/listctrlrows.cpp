// The part of the table control that does something with one row: its details, its bytes, what its page offers.

#include <wx/menu.h>

#include <memory>

#include "orvcore/tables/byteplaces.h"
#include "orvgui/tables/listctrl.h"
#include "orvgui/tables/listctrldetails.h"

namespace {

void AppendCommand(wxMenu& menu, const wxString& label, const wxString& help, std::function<void()> run) {
    const wxMenuItem* item = menu.Append(wxID_ANY, label, help);
    menu.Bind(
        wxEVT_MENU, [run = std::move(run)](wxCommandEvent&) { run(); }, item->GetId());
}

}  // namespace

void OrvListCtrl::OnCellLeftDoubleClick(wxGridEvent& event) {
    if (!ShowBytes(event.GetRow())) ShowDetails();
}

void OrvListCtrl::OnCellRightClick(wxGridEvent& event) {
    const int row = event.GetRow();
    if (row < 0 || row >= GetNumRows() || event.GetCol() < 0) return;
    const bool wasSelected = IsInSelection(row, event.GetCol());
    SetGridCursor(row, event.GetCol());
    if (!wasSelected && GetSelectionMode() == wxGridSelectRows) SelectRow(row);
    SetFocus();
    const std::unique_ptr<wxMenu> menu = CreateRowMenu();
    PopupMenu(menu.get());
}

// Enter shows bytes where there are some; the menu key opens the row's menu. False for any other key.
bool OrvListCtrl::OnRowKey(const wxKeyEvent& event) {
    const int code = event.GetKeyCode();
    if ((code == WXK_RETURN || code == WXK_NUMPAD_ENTER) && event.GetModifiers() == wxMOD_NONE)
        return ShowBytes(GetGridCursorRow());
    const bool isMenu = code == WXK_MENU || code == WXK_WINDOWS_MENU ||
                        (code == WXK_F10 && event.GetModifiers() == wxMOD_SHIFT);
    if (!isMenu || GetGridCursorRow() < 0) return false;
    MakeCellVisible(GetGridCursorCoords());
    const wxRect cell = CellToRect(GetGridCursorCoords());
    const wxPoint place =
        ScreenToClient(GetGridWindow()->ClientToScreen(CalcScrolledPosition(cell.GetBottomLeft())));
    const std::unique_ptr<wxMenu> menu = CreateRowMenu();
    PopupMenu(menu.get(), place);
    return true;
}

std::unique_ptr<wxMenu> OrvListCtrl::CreateRowMenu() {
    auto menu = std::make_unique<wxMenu>();
    const int dataRow = GetView().DataRow(GetGridCursorRow());
    if (m_showBytes && dataRow >= 0) {
        const auto places = FindBytePlaces(GetView().Table(), static_cast<std::size_t>(dataRow) + 1);
        for (const BytePlace& place : places) {
            const wxString label = places.size() == 1  ? _("Show Bytes\tEnter")
                                   : place.isReference ? _("Show Bytes In The Reference")
                                                       : _("Show Bytes In The Evidence\tEnter");
            AppendCommand(*menu, label, _("Show what stands there in the file"),
                          [show = m_showBytes, place] { show(place); });
        }
    }
    if (m_rowCommands && dataRow >= 0)
        for (const OrvRowCommand& command : m_rowCommands(dataRow))
            AppendCommand(*menu, command.label, command.help, command.run);
    if (menu->GetMenuItemCount() > 0) menu->AppendSeparator();
    AppendCommand(*menu, _("Show Details"), _("All cells of the row"), [this] { ShowDetails(); });
    AppendCommand(*menu, _("Copy\tCtrl+C"), _("Copy the selection as text"), [this] { CopySelection(); });
    return menu;
}

bool OrvListCtrl::ShowBytes(int row) {
    const int dataRow = GetView().DataRow(row);
    if (!m_showBytes || dataRow < 0) return false;
    const auto places = FindBytePlaces(GetView().Table(), static_cast<std::size_t>(dataRow) + 1);
    if (places.empty()) return false;
    // The control's own page may be hidden by what happens now.
    const auto show = m_showBytes;
    show(places.front());
    return true;
}

void OrvListCtrl::ShowDetails() {
    const int dataRow = GetView().DataRow(GetGridCursorRow());
    if (dataRow < 0) return;
    ShowRowDetails(this, GetView().Table(), dataRow);
}
