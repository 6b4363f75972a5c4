// The list of a batch run, and the list of a web search.

#include <wx/translation.h>

#include "orvcore/facade/interface.h"
#include "orvcore/tools/web/webparameters.h"
#include "orvgui/common/fileselectors.h"
#include "orvgui/common/webconsent.h"
#include "orvgui/tables/listctrlresults.h"
#include "zorbase/text.h"

namespace {

const char* const kSelectAllHelp = wxTRANSLATE("Select all items in the list.");
const char* const kDetailsHelp = wxTRANSLATE("Show details of selected image.");
const char* const kHtmlHelp = wxTRANSLATE("Save the selected items in an HTML file.");
const char* const kTsvHelp = wxTRANSLATE("Save the selected items in a tab-separated text file.");
const char* const kExcelHelp = wxTRANSLATE("Open the selected items in Excel.");

ListCtrlView::Source ShareTable(const WxTable& table) {
    return std::make_shared<const TableString>(TableFromWx(table));
}

void AppendExports(wxMenu& menu) {
    menu.Append(OrvListDataAsHtml, _("Export Data As HTML"), wxGetTranslation(kHtmlHelp));
    menu.Append(OrvListDataAsTsv, _("Export Data As TSV"), wxGetTranslation(kTsvHelp));
    menu.Append(OrvListOpenInExcel, _("Open In Excel"), wxGetTranslation(kExcelHelp));
}

}  // namespace

// --- batch ---

OrvListCtrlBatch::OrvListCtrlBatch(wxWindow* parent, WxTable& table, int fillMode, int labelOrientation)
    : OrvListCtrlBatch(parent, ShareTable(table), fillMode, labelOrientation) {}

OrvListCtrlBatch::OrvListCtrlBatch(wxWindow* parent, ListCtrlView::Source table, int fillMode,
                                   int labelOrientation)
    : OrvListCtrlResults(parent, std::move(table), fillMode, labelOrientation) {
    Bind(wxEVT_MENU, &OrvListCtrlBatch::OnExportImages, this, OrvListImages);
    Bind(wxEVT_MENU, &OrvListCtrlBatch::OnLoadImageAsEvidence, this, OrvListLoadAsEvidence);
    Bind(wxEVT_MENU, &OrvListCtrlBatch::OnLoadImageAsReference, this, OrvListLoadAsReference);
    GetGridColLabelWindow()->Bind(wxEVT_MOTION, &OrvListCtrlBatch::OnMouseHover, this);
}

std::unique_ptr<wxMenu> OrvListCtrlBatch::CreateContextMenu() const {
    auto menu = std::make_unique<wxMenu>();
    menu->Append(OrvListSelectAll, _("Select All"), wxGetTranslation(kSelectAllHelp));
    menu->Append(OrvListDetails, _("Show Details"), wxGetTranslation(kDetailsHelp));
    menu->Append(OrvListImages, _("Export Selected Images"), _("Save the selected images in a folder."));
    menu->AppendSeparator();
    AppendExports(*menu);
    menu->AppendSeparator();
    menu->Append(OrvListLoadAsEvidence, _("Load As Evidence"),
                 _("Load the selected image in the evidence panel."));
    menu->Append(OrvListLoadAsReference, _("Load As Reference"),
                 _("Load the selected image in the reference panel."));
    return menu;
}

int OrvListCtrlBatch::GetFilenameColumn() const {
    return FindColumn({_("Full Path")});
}

void OrvListCtrlBatch::Load(OrvFileId slot) {
    const wxString path = ToWx(GetCellText(GetGridCursorRow(), GetFilenameColumn()));
    if (!path.empty() && GetInterface() != nullptr) GetInterface()->SetFile(path, slot);
}

void OrvListCtrlBatch::OnCellLeftDoubleClick(wxGridEvent& event) {
    // The click before, with Shift held, has stretched the selection to this row and left the cursor where it was.
    SetGridCursor(event.GetRow(), event.GetCol());
    SelectRow(event.GetRow());
    Load(event.ShiftDown() ? OrvReference : OrvEvidence);
}

void OrvListCtrlBatch::OnLoadImageAsEvidence(wxCommandEvent&) {
    Load(OrvEvidence);
}

void OrvListCtrlBatch::OnLoadImageAsReference(wxCommandEvent&) {
    Load(OrvReference);
}

void OrvListCtrlBatch::OnMouseHover(wxMouseEvent& event) {
    event.Skip();
    const wxPoint position = CalcUnscrolledPosition(event.GetPosition());
    const int col = XToCol(position.x);
    m_hoveredRow = YToRow(position.y);
    if (col == m_hoveredCol && !m_labelToolTip.empty()) return;
    if (col < 0) return;
    m_hoveredCol = col;
    m_labelToolTip = GetColLabelValue(col);
    GetGridColLabelWindow()->SetToolTip(ToWx(DisplayText(FromWx(m_labelToolTip), false)));
}

// --- web ---

OrvListCtrlWeb::OrvListCtrlWeb(wxWindow* parent, WxTable& table, int fillMode, int labelOrientation)
    : OrvListCtrlWeb(parent, ShareTable(table), fillMode, labelOrientation) {}

OrvListCtrlWeb::OrvListCtrlWeb(wxWindow* parent, ListCtrlView::Source table, int fillMode,
                               int labelOrientation)
    : OrvListCtrlResults(parent, std::move(table), fillMode, labelOrientation) {
    m_parameters = {Parameter::Strings(kWebParameterPhotos, "", {})};
    Bind(wxEVT_MENU, &OrvListCtrlWeb::OnDownloadImages, this, OrvListImages);
}

std::unique_ptr<wxMenu> OrvListCtrlWeb::CreateContextMenu() const {
    auto menu = std::make_unique<wxMenu>();
    menu->Append(OrvListDetails, _("Show Details"), wxGetTranslation(kDetailsHelp));
    menu->AppendSeparator();
    menu->Append(OrvListSelectAll, _("Select All"), wxGetTranslation(kSelectAllHelp));
    menu->AppendSeparator();
    menu->Append(OrvListImages, _("Download Images"), _("Download the selected images in a folder."));
    AppendExports(*menu);
    return menu;
}

void OrvListCtrlWeb::OnCellLeftDoubleClick(wxGridEvent&) {}

int OrvListCtrlWeb::GetURLColumn() const {
    return FindColumn({_("Link"), "url"});
}

int OrvListCtrlWeb::GetExtensionColumn() const {
    return FindColumn({_("Format"), "format"});
}

void OrvListCtrlWeb::OnDownloadImages(wxCommandEvent&) {
    if (!AllowsExport()) return;
    const wxString folder = OrvDirSelector(_("Select the directory where to download the images"));
    if (folder.empty()) return;
    std::vector<std::string> photos;
    const int col = GetURLColumn();
    wxArrayInt rows;
    GetSelection(rows);
    for (const int row : rows) {
        const std::string address = GetCellText(row, col);
        if (address.empty()) continue;
        photos.push_back(address.substr(address.rfind('/') + 1));
        photos.push_back(address);
    }
    if (photos.empty() || GetInterface() == nullptr) return;
    m_parameters = {Parameter::Strings(kWebParameterPhotos, "", photos),
                    Parameter::Path(ParameterType::Folder, kWebParameterFolder, "", PathFromWx(folder))};
    if (AskBeforeSending(this, *GetInterface(), OrvActionDownload, m_parameters))
        GetInterface()->CallGenericAction(OrvActionDownload, _("Download Images"), m_parameters);
}
