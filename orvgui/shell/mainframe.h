#pragma once

#include <wx/frame.h>
#include <wx/timer.h>
#include <wx/weakref.h>

#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "orvcore/facade/commandevent.h"
#include "orvcore/facade/progresshandler.h"
#include "orvcore/model/fileid.h"
#include "orvgui/common/framehost.h"
#include "orvgui/common/opendialogs.h"
#include "orvgui/common/orvgui.h"
#include "zorbase/appversion.h"

class FilePanel;
class OrvFilter;
class OrvFilterGui;
class OrvFiltersPanel;
class OrvHelpNode;
class OrvInterface;
class OrvProgressDialog;
class OrvProjectGui;
class OrvToolDialog;
class OrvViewerPanel;
class WindowProperties;
class wxAuiManager;
class wxAuiPaneInfo;
class wxAuiToolBar;
enum class ToolKind;

// The one main window: panes, menus, layout file, and the place where the core's events arrive. It decides
// nothing about images or filters. It owns the core it is given and destroys it at its end. GUI thread only.
class ORVGUI_API OrvMainFrame : public wxFrame, public OrvProgressHandler, public OrvFrameHost {
  public:
    OrvMainFrame(OrvInterface* core, const AppVersion& version, const wxString& title);
    ~OrvMainFrame() override;

    void CreateProgress() override;
    void DestroyProgress() override;
    bool HasProgress() override;  // true from CreateProgress until the dialog appears

    void ScheduleExit() { m_exitScheduled = true; }
    void ScheduleRestart() { m_restartScheduled = true; }
    bool IsExitScheduled() const { return m_exitScheduled; }

    void CreateStatusBar();
    void CreateMenuBar();
    wxAuiPaneInfo PaneInfo(const wxString& name);
    void LoadLayout();
    void SaveLayout() const;
    wxString SaveListControlsColumnsWidth() const;
    std::vector<int> GetListControlColumnsWidth(const wxString& key) const override;
    void SetListControlColumnsWidth(const wxString& key, const std::vector<int>& widths) override;
    void ShowBytes(std::uint64_t offset, std::uint64_t count) override;
    void UpdateTitle();
    // A tool bar with the one tool "Add Bookmark"; not part of the standard layout. A child of the frame.
    wxAuiToolBar* CreateAuiToolBar();

    WindowProperties* GetWindowProperties() const override { return m_windowProperties.get(); }
    void SetZoom(double zoom);  // 1 = one image pixel per window pixel
    OrvFiltersPanel* GetFiltersPanel() const { return m_filtersPanel; }
    OrvViewerPanel* GetViewerPanel() const { return m_viewerPanel; }
    OrvProjectGui* GetProjectTree() const { return m_projectTree; }
    FilePanel* GetFilePanel(OrvFileId slot) const {
        return slot == OrvEvidence ? m_evidencePanel : m_referencePanel;
    }
    void ChangePage(OrvFilterGui* page, int configuration);
    void SelectFirstItem();
    AppVersion GetAppVersion() const { return m_version; }
    OrvHelpNode* GetHelpNode() const { return m_helpNode.get(); }
    void OpenEditPanel(OrvFileId) {}  // deliberately empty
    void SetStatusField(OrvStatusField field, const wxString& text) override;
    void ShowFilter(OrvFilter* filter) override;

    // Asks about what a run of the program that crashed has left behind; whether a project is being opened from it.
    bool OfferRecovery();
    // How often unsaved work is kept against a crash; a minute from the start.
    void SetAutosaveInterval(int milliseconds);

  private:
    void StartProjectKeeping();
    wxString AskForProjectPath();  // "" when the user cancelled
    // Goes on with what would lose unsaved work: at once where there is none or the user gives it up, after it was saved, or not.
    void AfterUnsavedWork(const std::function<void()>& next);
    bool MayCloseWithProject(wxCloseEvent& event);
    void ConfigureStatusBar();
    void ConfigureDockArt();
    void CreatePanes();
    void BindEvents();
    void RefreshFilePanels();
    void RefreshPictureStatus();
    void RefreshShownSummary(const OrvFilterGui* refreshed);
    void TellWhereReportIs(const wxString& path);
    void OnFrameSize(wxSizeEvent& event);
    void OnCloseEvent(wxCloseEvent& event);
    void BlockPanes(bool block);
    void OnTimerProgressStart(wxTimerEvent& event);
    void OnTimerProgressUpdate(wxTimerEvent& event);

    void OnMenuFileOpen(wxCommandEvent& event);
    void OnMenuFileNewProject(wxCommandEvent& event);
    void OnMenuFileOpenProject(wxCommandEvent& event);
    void OnMenuFileSaveProject(wxCommandEvent& event);
    void OnMenuFileSaveProjectAs(wxCommandEvent& event);
    void OnMenuFileSaveResultAs(wxCommandEvent& event);
    void OnMenuFileExtractFromPdf(wxCommandEvent& event);
    void OnMenuFileDumpEmbeddedJpgs(wxCommandEvent& event);
    void OnMenuFileGenerateReport(wxCommandEvent& event);
    void OnMenuFileExit(wxCommandEvent& event);
    void OnMenuViewProgramOptions(wxCommandEvent& event);
    void OnMenuHelpAbout(wxCommandEvent& event);
    void OnMenuHelpCheckForUpdates(wxCommandEvent& event);
    void OnMenuHelpOpenSamplesFolder(wxCommandEvent& event);
    void OnMenuHelpProgramReferenceManual(wxCommandEvent& event);
    void OnToolAddBookmark(wxCommandEvent& event);
    void OnPanelCommand(wxCommandEvent& event);
    void OnCommandRequested(wxCommandEvent& event);

    void OnConfigureStarted(OrvCommandEvent& event);
    void OnConfigureCompleted(OrvCommandEvent& event);
    void OnConfigureInterrupted(OrvCommandEvent& event);
    void OnActionCompleted(OrvCommandEvent& event);
    void OnCommandDeleteCache(OrvCommandEvent& event);
    void OnCommandReprocessCurrent(OrvCommandEvent& event);
    void OnCommandDumpEmbeddedJpgs(OrvCommandEvent& event);
    void OnCommandAddBookmark(OrvCommandEvent& event);
    void OnCommandLoadProject(OrvCommandEvent& event);
    void OnCommandSaveProject(OrvCommandEvent& event);
    void OnCommandGenerateReport(OrvCommandEvent& event);
    void OnCommandExecuted(OrvCommandEvent& event);
    void OnCommandExit(OrvCommandEvent& event);
    void OnFileList(wxThreadEvent& event);
    void RunToolDialog(OrvToolDialog* dialog, ToolKind kind, const wxString& name);
    void ShowTable(OrvCommandEvent& event, bool withThumbnails);

    bool m_exitScheduled = false;
    bool m_restartScheduled = false;
    wxString m_layoutPath;
    wxString m_baseTitle;
    std::unique_ptr<WindowProperties> m_windowProperties;
    OrvFiltersPanel* m_filtersPanel = nullptr;
    OrvViewerPanel* m_viewerPanel = nullptr;
    OrvProjectGui* m_projectTree = nullptr;
    std::unique_ptr<OrvInterface> m_core;
    FilePanel* m_evidencePanel = nullptr;
    FilePanel* m_referencePanel = nullptr;
    wxTimer m_progressStartTimer;
    wxTimer m_progressUpdateTimer;
    wxTimer m_autosaveTimer;
    std::function<void()> m_afterSave;  // what the user wanted before he was asked to save
    bool m_isCloseSettled = false;      // the user has decided what becomes of unsaved work
    OpenDialogs m_openDialogs;
    OrvProgressDialog* m_progressDialog = nullptr;
    bool m_isUpdatingProgress = false;
    std::vector<wxWindow*> m_blocked;   // what the progress dialog keeps from being used; our children
    wxWeakRef<wxWindow> m_focusBefore;  // what had the keyboard before the progress dialog
    wxSize m_normalSize{1024, 768};     // the last one that was neither maximised nor iconised
    enum class StartMaximised { No, Wanted, Seen };
    StartMaximised m_startMaximised = StartMaximised::No;
    bool m_isStoppingToClose = false;  // nobody is told of the stop that closing asked for
    bool m_isAskingToClose = false;
    std::uint64_t m_describedPicture = 0;             // serial of the file that the status bar describes
    std::uint64_t m_progressWork = 0;                 // number of the work that the dialog is shown for
    std::uint64_t m_abortedWork = ~std::uint64_t{0};  // the newest that the user has stopped
    std::unique_ptr<wxAuiManager> m_auiManager;
    wxFrame* m_logFrame = nullptr;  // hidden until it is asked for
    const AppVersion& m_version;
    std::unique_ptr<OrvHelpNode> m_helpNode;
    std::map<wxString, std::vector<int>> m_columnWidths;
};

// The main window of the running program, null when there is none.
ORVGUI_API OrvMainFrame* GetMainFrame();
