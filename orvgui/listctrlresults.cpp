#include "orvgui/listctrlresults.h"

#include <wx/filedlg.h>

#include <algorithm>

#include "orvcore/interface.h"
#include "orvcore/tablemarkup.h"
#include "orvgui/fileselectors.h"
#include "orvgui/licencecheck.h"
#include "orvgui/messagebox.h"
#include "orvgui/spreadsheet.h"
#include "zorbase/files.h"
#include "zorbase/gui/shell.h"
#include "zorbase/text.h"
#include "zorbase/utf8.h"
#include "zorbase/zorexception.h"

namespace {

constexpr int kRowsAtOnce = 10000;  // larger exports are written beside the GUI thread
constexpr int kPictureSide = 320;   // pixels, of a report's pictures
const char* const kHtmlFilter = wxTRANSLATE("HTML file (*.html)|*.html|All files (*.*)|*.*");
const char* const kTsvFilter = wxTRANSLATE("TAB separated values (*.tsv)|*.tsv|All files (*.*)|*.*");

wxString DefaultName(const char* format) {
    return wxString::Format(format, ToWx(DateTimeNowAsString()));
}

}  // namespace

OrvListCtrlResults::OrvListCtrlResults(wxWindow* parent, ListCtrlView::Source table, int fillMode,
                                       int labelOrientation)
    : OrvListCtrl(parent, std::move(table), fillMode, wxGridSelectRows, labelOrientation) {
    Bind(wxEVT_GRID_CELL_RIGHT_CLICK, &OrvListCtrlResults::OnCellRightClick, this);
    Bind(wxEVT_MENU, &OrvListCtrlResults::OnSelectAllImages, this, OrvListSelectAll);
    Bind(wxEVT_MENU, &OrvListCtrlResults::OnCopyDetails, this, OrvListDetails);
    Bind(wxEVT_MENU, &OrvListCtrlResults::OnExportDataAsHtml, this, OrvListDataAsHtml);
    Bind(wxEVT_MENU, &OrvListCtrlResults::OnExportDataAsTsv, this, OrvListDataAsTsv);
    Bind(wxEVT_MENU, &OrvListCtrlResults::OnOpenInExcel, this, OrvListOpenInExcel);
}

void OrvListCtrlResults::OnCellRightClick(wxGridEvent& event) {
    // The menu's commands mean the row under the mouse, or the selection that it is part of.
    const int row = event.GetRow();
    if (row >= 0 && row < GetNumRows() && event.GetCol() >= 0) {
        const bool wasSelected = IsInSelection(row, event.GetCol());
        wxArrayInt selected;
        if (wasSelected) GetSelection(selected);
        SetGridCursor(row, event.GetCol());
        if (!wasSelected) SelectRow(row);
    }
    const std::unique_ptr<wxMenu> menu = CreateContextMenu();
    PopupMenu(menu.get());
}

void OrvListCtrlResults::OnSelectAllImages(wxCommandEvent&) {
    SelectAll();
}

void OrvListCtrlResults::OnCopyDetails(wxCommandEvent&) {
    ShowDetails();
}

bool OrvListCtrlResults::AllowsExport() {
    if (!CheckLicence(kTrialRefusesExport, this)) return false;
    if (!IsExporting()) return true;
    OrvMessageBox(_("The table is still being written."), wxString(), wxOK, this);
    return false;
}

void OrvListCtrlResults::WriteExport(std::function<void()> write, std::function<void()> done) {
    if (GetNumDataRows() > kRowsAtOnce) {
        m_exportTask.Start([write = std::move(write)](const std::stop_token&) { write(); },
                           [this, done = std::move(done)](const std::string& error) {
                               if (error.empty()) {
                                   done();
                               } else {
                                   OrvMessageBox(ToWx(error), _("Error"), wxOK, this);
                               }
                           });
        return;
    }
    try {
        write();
    } catch (const ZorException& exception) {
        OrvMessageBox(ToWx(exception.GetMessage()), _("Error"), wxOK, this);
        return;
    }
    done();
}

void OrvListCtrlResults::OnExportDataAsHtml(wxCommandEvent&) {
    if (!AllowsExport()) return;
    const wxString file =
        OrvFileSaveSelector(wxFileSelectorPromptStr, DefaultName("export-%s"), wxGetTranslation(kHtmlFilter));
    if (file.empty()) return;
    WriteExport(
        [path = PathFromWx(file), source = GetView().GetSource(), order = GetView().GetOrder()] {
            SaveImageInfoTableAsHtml(path, *source, true, order.get());
        },
        [file] { LaunchDefaultBrowserLocalFile(file); });
}

void OrvListCtrlResults::OnExportDataAsTsv(wxCommandEvent&) {
    if (!AllowsExport()) return;
    const wxString file =
        OrvFileSaveSelector(wxFileSelectorPromptStr, DefaultName("export-%s"), wxGetTranslation(kTsvFilter));
    if (file.empty()) return;
    WriteExport([path = PathFromWx(file), source = GetView().GetSource(),
                 order = GetView().GetOrder()] { SaveImageInfoTableAsTsv(path, *source, order.get()); },
                [] {});
}

void OrvListCtrlResults::OnOpenInExcel(wxCommandEvent&) {
    if (!AllowsExport()) return;
    const wxString file = PathToWx(PathJoin(GetUserDesktopPath(), "export-" + DateTimeNowAsString()));
    WriteExport(
        [path = PathFromWx(file), source = GetView().GetSource(), order = GetView().GetOrder()] {
            SaveImageInfoTableAsTsv(path, *source, order.get());
        },
        [this, file] {
            switch (OpenInSpreadsheet(file)) {
                case SpreadsheetResult::Opened:
                    break;
                case SpreadsheetResult::NotInstalled:
                    OrvMessageBox(_("Failed to create Excel instance. Excel must be installed for this "
                                    "function to work."),
                                  wxString(), wxOK, this);
                    break;
                case SpreadsheetResult::NotOpened:
                    OrvMessageBox(wxString::Format(_("Failed to open %s."), file), wxString(), wxOK, this);
                    break;
            }
        });
}

void OrvListCtrlResults::OnExportReportAsHtml(wxCommandEvent&) {
    if (!AllowsExport()) return;
    const wxString file = OrvFileSaveSelector(wxFileSelectorPromptStr, DefaultName("export-report-%s"),
                                              wxGetTranslation(kHtmlFilter));
    if (file.empty()) return;
    SaveCurrentSelection();
    wxArrayInt shown;
    GetSelection(shown);
    std::vector<int> rows;
    for (const int row : shown) rows.push_back(GetView().DataRow(row));
    try {
        SaveReportToHTML(file, GetView().Table(), rows);
    } catch (const ZorException& exception) {
        OrvMessageBox(ToWx(exception.GetMessage()), _("Error"), wxOK, this);
        return;
    }
    LaunchDefaultBrowserLocalFile(file);
}

void OrvListCtrlResults::SaveReportToHTML(const wxString& file, const TableString& table,
                                          const std::vector<int>& rows) {
    const int fileColumn = GetFilenameColumn();
    std::vector<TableReportEntry> entries;
    for (const int row : rows) {
        if (row < 0 || static_cast<std::size_t>(row) + 1 >= table.size()) continue;
        const auto& cells = table[static_cast<std::size_t>(row) + 1];
        TableReportEntry entry;
        entry.id = ToString(row + 1);
        entry.width = kPictureSide;
        entry.height = kPictureSide * 3 / 4;
        for (std::size_t col = 0; col < cells.size() && col < table[0].size(); ++col) {
            const ParsedCell cell = ParseCell(cells[col]);
            if (static_cast<int>(col) == fileColumn) entry.image = PathFromUtf8(cell.text);
            if (cell.mark == CellMark::Thumbnail) {
                // The picture has the thumbnail's shape.
                if (static_cast<std::size_t>(cell.thumbnail) >= GetThumbnails().size()) continue;
                const Image& image = GetThumbnails()[static_cast<std::size_t>(cell.thumbnail)];
                const int longest = std::max(image.GetWidth(), image.GetHeight());
                if (longest <= 0) continue;
                entry.width = std::max(1, image.GetWidth() * kPictureSide / longest);
                entry.height = std::max(1, image.GetHeight() * kPictureSide / longest);
                continue;
            }
            const wxString label = GetColLabelValue(static_cast<int>(col));
            if (static_cast<int>(col) < GetNumCols() && !IsColShown(static_cast<int>(col))) continue;
            entry.facts.emplace_back(FromWx(label), cell.text);
        }
        entries.push_back(std::move(entry));
    }
    SaveTableReport(PathFromWx(file), entries);
}

std::vector<std::string> OrvListCtrlResults::GetSelectedFiles() const {
    std::vector<std::string> paths;
    const int col = GetFilenameColumn();
    if (col < 0) return paths;
    wxArrayInt rows;
    GetSelection(rows);
    for (const int row : rows) {
        const std::string path = PathFromUtf8(GetCellText(row, col));
        if (!path.empty()) paths.push_back(path);
    }
    return paths;
}

void OrvListCtrlResults::OnExportImages(wxCommandEvent&) {
    if (!AllowsExport()) return;
    const std::vector<std::string> paths = GetSelectedFiles();
    if (paths.empty()) return;
    const wxString folder = OrvDirSelector(_("Select the directory where to save the images"));
    if (folder.empty() || GetInterface() == nullptr) return;
    GetInterface()->CopyFilesTo(paths, folder);
}
