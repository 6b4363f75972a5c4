#pragma once

#include <wx/menu.h>

#include <memory>

#include "orvcore/model/fileid.h"
#include "orvgui/tables/exporttask.h"
#include "orvgui/tables/listctrl.h"

// The commands of the context menus of result lists. They overlap the main window's own ids: a window that hosts such a
// list keeps its menu events to itself.
enum OrvListCommand : int {
    OrvListSelectAll = 6000,
    OrvListDetails = 6001,
    OrvListImages = 6002,  // export or download
    OrvListDataAsHtml = 6003,
    OrvListDataAsTsv = 6005,
    OrvListOpenInExcel = 6006,
    OrvListLoadAsEvidence = 6007,
    OrvListLoadAsReference = 6008,
};

// What the lists of a batch run and of a web search have in common: selection by rows, a context menu, exports. Exports
// write the whole table in its present order, whatever is selected or filtered, beside the GUI thread; they are refused
// in the trial edition, and onto a file that the table lists.
class ORVGUI_API OrvListCtrlResults : public OrvListCtrl {
  public:
    OrvListCtrlResults(wxWindow* parent, ListCtrlView::Source table, int fillMode, int labelOrientation);

    void OnCellRightClick(wxGridEvent& event) override;
    // The menu at the cursor's cell, for its row or the selection that the row is part of.
    void OnMenuKey(wxKeyEvent& event);
    virtual std::unique_ptr<wxMenu> CreateContextMenu() const = 0;
    virtual int GetFilenameColumn() const = 0;

    void OnSelectAllImages(wxCommandEvent& event);
    void OnCopyDetails(wxCommandEvent& event);
    // Asks for a folder and has the core copy the files of the selected rows there.
    void OnExportImages(wxCommandEvent& event);
    void OnExportDataAsHtml(wxCommandEvent& event);
    void OnExportDataAsTsv(wxCommandEvent& event);
    void OnExportReportAsHtml(wxCommandEvent& event);
    void OnOpenInExcel(wxCommandEvent& event);

    // A page with the picture and the shown columns of these data rows of the table. Returns when it is written. Throws
    // ZorException.
    void SaveReportToHTML(const wxString& file, const TableString& table, const std::vector<int>& rows);

    ExportTask& GetExport() { return m_export; }
    bool IsExporting() const { return m_export.IsRunning(); }

  protected:
    bool AllowsExport();
    // Paths (bytes) in the file column of the selected rows.
    std::vector<std::string> GetSelectedFiles() const;

  private:
    void ShowPage(const wxString& file);
    void WriteTable(const wxString& file, bool asHtml, std::function<void()> done);

    ExportTask m_export{*this};
};

// The files that a batch run has produced; a double click loads one as evidence, with Shift as reference.
class ORVGUI_API OrvListCtrlBatch : public OrvListCtrlResults {
  public:
    OrvListCtrlBatch(wxWindow* parent, WxTable& table, int fillMode, int labelOrientation);
    OrvListCtrlBatch(wxWindow* parent, ListCtrlView::Source table, int fillMode, int labelOrientation);

    void OnCellLeftDoubleClick(wxGridEvent& event) override;
    std::unique_ptr<wxMenu> CreateContextMenu() const override;
    int GetFilenameColumn() const override;
    void OnLoadImageAsEvidence(wxCommandEvent& event);
    void OnLoadImageAsReference(wxCommandEvent& event);
    void OnMouseHover(wxMouseEvent& event);

  private:
    void Load(OrvFileId slot);

    int m_hoveredRow = -1;
    int m_hoveredCol = 0;
    wxString m_labelToolTip;
};

// The images that a web search has found.
class ORVGUI_API OrvListCtrlWeb : public OrvListCtrlResults {
  public:
    OrvListCtrlWeb(wxWindow* parent, WxTable& table, int fillMode, int labelOrientation);
    OrvListCtrlWeb(wxWindow* parent, ListCtrlView::Source table, int fillMode, int labelOrientation);

    void OnCellLeftDoubleClick(wxGridEvent& event) override;
    std::unique_ptr<wxMenu> CreateContextMenu() const override;
    // A web result has no local file.
    int GetFilenameColumn() const override { return -1; }
    int GetURLColumn() const;
    int GetExtensionColumn() const;
    void OnDownloadImages(wxCommandEvent& event);

  private:
    // The download's request: "Photo-Id" holds a file name and its address for each image, then comes the folder.
    VecParameter m_parameters;
};
