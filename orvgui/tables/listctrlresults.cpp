#include "orvgui/tables/listctrlresults.h"

#include <wx/filedlg.h>
#include <wx/utils.h>

#include <algorithm>
#include <filesystem>
#include <optional>

#include "orvcore/facade/interface.h"
#include "orvcore/tables/tablemarkup.h"
#include "orvgui/common/fileselectors.h"
#include "orvgui/common/framehost.h"
#include "orvgui/common/licencecheck.h"
#include "orvgui/common/messagebox.h"
#include "orvgui/common/spreadsheet.h"
#include "zorbase/files.h"
#include "zorbase/gui/shell.h"
#include "zorbase/text.h"
#include "zorbase/utf8.h"

namespace {

constexpr int kPictureSide = 320;  // pixels, of a report's pictures
const char* const kHtmlFilter = wxTRANSLATE("HTML file (*.html)|*.html|All files (*.*)|*.*");
const char* const kTsvFilter = wxTRANSLATE("TAB separated values (*.tsv)|*.tsv|All files (*.*)|*.*");

wxString DefaultName(const char* format) {
    return wxString::Format(format, ToWx(DateTimeNowAsString()));
}

// A line in the log, with the hash of what was written.
void NoteExported(const char* what, const std::string& path) {
    if (OrvInterface* core = GetInterface()) core->NoteExport(what, path);
}

// What a report takes from a row, apart from any window.
struct ReportColumns {
    int file = -1;                                   // holds the picture's path
    std::vector<std::optional<std::string>> labels;  // of the shown columns
    std::vector<wxSize> thumbnails;                  // the picture is shown in the thumbnail's shape
};

TableReportEntry MakeEntry(const ReportColumns& columns, const TableString& table, int row) {
    TableReportEntry entry;
    entry.id = ToString(row + 1);
    entry.width = kPictureSide;
    entry.height = kPictureSide * 3 / 4;
    const auto& cells = table[static_cast<std::size_t>(row) + 1];
    for (std::size_t col = 0; col < cells.size() && col < columns.labels.size(); ++col) {
        const ParsedCell cell = ParseCell(cells[col]);
        if (static_cast<int>(col) == columns.file) entry.image = PathFromUtf8(cell.text);
        if (cell.mark == CellMark::Thumbnail) {
            if (static_cast<std::size_t>(cell.thumbnail) >= columns.thumbnails.size()) continue;
            const wxSize size = columns.thumbnails[static_cast<std::size_t>(cell.thumbnail)];
            const int longest = std::max(size.x, size.y);
            if (longest <= 0) continue;
            entry.width = std::max(1, size.x * kPictureSide / longest);
            entry.height = std::max(1, size.y * kPictureSide / longest);
        } else if (columns.labels[col]) {
            entry.facts.emplace_back(*columns.labels[col], cell.text);
        }
    }
    return entry;
}

void WriteReport(const std::string& path, const ReportColumns& columns, const TableString& table,
                 const std::vector<int>& rows, const TableProgress& progress) {
    RefuseListedFile(path, table, columns.file);
    SaveTableReport(
        path, rows.size(), [&](std::size_t i) { return MakeEntry(columns, table, rows[i]); }, progress);
}

ReportColumns ColumnsOf(const OrvListCtrlResults& list, const std::vector<Image>& thumbnails) {
    ReportColumns columns;
    columns.file = list.GetFilenameColumn();
    for (int col = 0; col < list.GetNumCols(); ++col) {
        columns.labels.emplace_back();
        if (list.IsColShown(col)) columns.labels.back() = FromWx(list.GetColLabelValue(col));
    }
    for (const Image& image : thumbnails)
        columns.thumbnails.emplace_back(image.GetWidth(), image.GetHeight());
    return columns;
}

void TellExported(const wxString& file) {
    if (OrvFrameHost* frame = GetFrameHost())
        frame->SetStatusField(OrvStatusField::Activity,
                              wxString::Format(_("Written: %s"), ToWx(PathFromWx(file))));
}

}  // namespace

OrvListCtrlResults::OrvListCtrlResults(wxWindow* parent, ListCtrlView::Source table, int fillMode,
                                       int labelOrientation)
    : OrvListCtrl(parent, std::move(table), fillMode, wxGridSelectRows, labelOrientation) {
    Bind(wxEVT_CHAR_HOOK, &OrvListCtrlResults::OnMenuKey, this);
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
        SetFocus();
    }
    const std::unique_ptr<wxMenu> menu = CreateContextMenu();
    PopupMenu(menu.get());
}

void OrvListCtrlResults::OnMenuKey(wxKeyEvent& event) {
    const int code = event.GetKeyCode();
    const bool isMenu = code == WXK_MENU || code == WXK_WINDOWS_MENU;
    if (!isMenu && !(code == WXK_F10 && event.GetModifiers() == wxMOD_SHIFT)) {
        event.Skip();
        return;
    }
    wxPoint place;
    if (GetGridCursorRow() >= 0) {
        MakeCellVisible(GetGridCursorCoords());
        if (!IsInSelection(GetGridCursorCoords())) SelectRow(GetGridCursorRow());
        const wxRect cell = CellToRect(GetGridCursorCoords());
        place = ScreenToClient(GetGridWindow()->ClientToScreen(CalcScrolledPosition(cell.GetBottomLeft())));
    }
    const std::unique_ptr<wxMenu> menu = CreateContextMenu();
    PopupMenu(menu.get(), place);
}

void OrvListCtrlResults::OnSelectAllImages(wxCommandEvent&) {
    SelectAll();
}

void OrvListCtrlResults::OnCopyDetails(wxCommandEvent&) {
    ShowDetails();
}

bool OrvListCtrlResults::AllowsExport() {
    if (!CheckLicence(LicenceManager::Command::ExportTable, this)) return false;
    if (!m_export.IsRunning()) return true;
    OrvMessageBox(_("The table is still being written."), wxString(), wxOK, this);
    return false;
}

void OrvListCtrlResults::WriteTable(const wxString& file, bool asHtml, std::function<void()> done) {
    const auto write = [path = PathFromWx(file), asHtml, source = GetView().GetSource(),
                        order = GetView().GetOrder(),
                        column = GetFilenameColumn()](const TableProgress& progress) {
        RefuseListedFile(path, *source, column);
        if (asHtml) {
            SaveImageInfoTableAsHtml(path, *source, true, order.get(), progress);
        } else {
            SaveImageInfoTableAsTsv(path, *source, order.get(), progress);
        }
        NoteExported("Table exported", path);
    };
    m_export.Start(write, [file, done = std::move(done)] {
        TellExported(file);
        done();
    });
}

void OrvListCtrlResults::ShowPage(const wxString& file) {
    if (!LaunchDefaultBrowserLocalFile(file))
        OrvMessageBox(wxString::Format(_("The page was written to:\n%s"), ToWx(PathFromWx(file))), wxString(),
                      wxOK, this);
}

void OrvListCtrlResults::OnExportDataAsHtml(wxCommandEvent&) {
    if (!AllowsExport()) return;
    const wxString file =
        OrvFileSaveSelector(wxFileSelectorPromptStr, DefaultName("export-%s"), wxGetTranslation(kHtmlFilter));
    if (file.empty()) return;
    WriteTable(file, true, [this, file] { ShowPage(file); });
}

void OrvListCtrlResults::OnExportDataAsTsv(wxCommandEvent&) {
    if (!AllowsExport()) return;
    const wxString file =
        OrvFileSaveSelector(wxFileSelectorPromptStr, DefaultName("export-%s"), wxGetTranslation(kTsvFilter));
    if (!file.empty()) WriteTable(file, false, [] {});
}

void OrvListCtrlResults::OnOpenInExcel(wxCommandEvent&) {
    if (!AllowsExport()) return;
    std::string folder = GetUserDesktopPath();
    // Without a desktop folder the home folder is named, where nobody expects the program to write.
    if (!FolderExists(folder) || folder == PathFromWx(wxGetHomeDir())) folder = GetAppDocumentsPath();
    const wxString file = PathToWx(PathJoin(folder, "export-" + DateTimeNowAsString()));
    WriteTable(file, false, [this, file] {
        // A table that nobody opened is not left lying about.
        const auto remove = [&file] {
            std::error_code ignored;
            std::filesystem::remove(PathFromWx(file), ignored);
        };
        switch (OpenInSpreadsheet(file)) {
            case SpreadsheetResult::Opened:
                break;
            case SpreadsheetResult::NotInstalled:
                OrvMessageBox(_("Failed to create Excel instance. Excel must be installed for this "
                                "function to work."),
                              wxString(), wxOK, this);
                remove();
                break;
            case SpreadsheetResult::NotOpened:
                OrvMessageBox(wxString::Format(_("Failed to open %s."), file), wxString(), wxOK, this);
                remove();
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
    const auto write = [path = PathFromWx(file), columns = ColumnsOf(*this, GetThumbnails()),
                        source = GetView().GetSource(), rows](const TableProgress& progress) {
        WriteReport(path, columns, *source, rows, progress);
        NoteExported("Table exported as a report", path);
    };
    m_export.Start(write, [this, file] {
        TellExported(file);
        ShowPage(file);
    });
}

void OrvListCtrlResults::SaveReportToHTML(const wxString& file, const TableString& table,
                                          const std::vector<int>& rows) {
    std::vector<int> known;
    for (const int row : rows)
        if (row >= 0 && static_cast<std::size_t>(row) + 1 < table.size()) known.push_back(row);
    WriteReport(PathFromWx(file), ColumnsOf(*this, GetThumbnails()), table, known, {});
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
