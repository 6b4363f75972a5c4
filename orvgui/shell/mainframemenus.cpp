// The part of the main window that makes its menus and tool bar and binds every command and event to its handler.

#include <wx/app.h>
#include <wx/aui/auibar.h>
#include <wx/aui/framemanager.h>
#include <wx/filename.h>
#include <wx/image.h>
#include <wx/log.h>
#include <wx/menu.h>
#include <wx/statusbr.h>
#include <wx/translation.h>

#include "orvcore/facade/interface.h"
#include "orvgui/common/icons.h"
#include "orvgui/common/textfocus.h"
#include "orvgui/shell/commandregistry.h"
#include "orvgui/shell/filepanel.h"
#include "orvgui/shell/helpwindow.h"
#include "orvgui/shell/mainframe.h"

namespace {

constexpr int kSeparator = 0;

wxMenu* CreateMenu(std::initializer_list<int> commandIds) {
    auto* menu = new wxMenu;
    for (int id : commandIds) {
        if (id == kSeparator) {
            menu->AppendSeparator();
        } else {
            menu->Append(OrvGuiCommandRegistry::CreateMenuItem(id));
        }
    }
    return menu;
}

// Alt and the title's first letter open the menu.
wxString MenuTitle(const wxString& title) {
    return "&" + wxControl::EscapeMnemonics(title);
}

}  // namespace

void OrvMainFrame::CreateMenuBar() {
    const bool isJapanese = ZorHasJapaneseCustomization();
    auto* bar = new wxMenuBar;
    bar->Append(
        CreateMenu({OrvCmdOpenEvidence, OrvCmdOpenReference, OrvCmdSaveResultAs, kSeparator, OrvCmdExit}),
        MenuTitle(_("File")));

    wxMenu* tools = CreateMenu({OrvCmdBatchProcessing, OrvCmdBatchAnalysis, OrvCmdBatchComparison, kSeparator,
                                OrvCmdShowLocation, OrvCmdWebSearch, OrvCmdCameraSearch});
    if (!isJapanese) tools->Append(OrvGuiCommandRegistry::CreateMenuItem(OrvCmdCameraForensics));
    tools->AppendSeparator();
    tools->Append(OrvGuiCommandRegistry::CreateMenuItem(OrvCmdDumpEmbeddedJpgs));
    tools->Append(OrvGuiCommandRegistry::CreateMenuItem(OrvCmdExtractFromPdf));
    bar->Append(tools, MenuTitle(_("Tools")));

    auto* view = new wxMenu;
    view->Append(wxID_PREFERENCES, _("Program Options..."));
    bar->Append(view, MenuTitle(_("View")));

    auto* help = new wxMenu;
    if (isJapanese) {
        help->Append(wxID_ABOUT, _("About..."));
    } else {
        help->Append(OrvGuiCommandRegistry::CreateMenuItem(OrvCmdOpenSamplesFolder));
        help->Append(OrvGuiCommandRegistry::CreateMenuItem(OrvCmdReferenceManual));
        help->Append(wxID_ABOUT, _("About..."));
        help->Append(OrvGuiCommandRegistry::CreateMenuItem(OrvCmdCheckForUpdates));
    }
    bar->Append(help, MenuTitle(_("Help")));
    SetMenuBar(bar);
}

wxAuiToolBar* OrvMainFrame::CreateAuiToolBar() {
    auto* toolBar = new wxAuiToolBar(this);
    const wxString path =
        GetContext()->GetConfigDir() + "img" + wxFileName::GetPathSeparator() + "bookmark.png";
    const wxLogNull silence;
    wxImage image;
    if (wxFileName::FileExists(path) && image.LoadFile(path, wxBITMAP_TYPE_PNG)) {
        toolBar->AddTool(OrvCmdNewBookmark, _("Add Bookmark"),
                         wxBitmap(image.Rescale(16, 16, wxIMAGE_QUALITY_HIGH)));
    } else {
        toolBar->AddTool(OrvCmdNewBookmark, _("Add Bookmark"), LoadIconBundle("bookmark.png"));
    }
    toolBar->Bind(wxEVT_MENU, &OrvMainFrame::OnToolAddBookmark, this, OrvCmdNewBookmark);
    toolBar->Realize();
    return toolBar;
}

void OrvMainFrame::BindEvents() {
    const auto menu = [this](void (OrvMainFrame::*handler)(wxCommandEvent&), std::initializer_list<int> ids) {
        for (int id : ids) Bind(wxEVT_MENU, handler, this, id);
    };
    menu(&OrvMainFrame::OnMenuFileOpen, {OrvCmdOpenEvidence, OrvCmdOpenReference});
    menu(&OrvMainFrame::OnMenuFileNewProject, {OrvCmdNewProject});
    menu(&OrvMainFrame::OnMenuFileOpenProject, {OrvCmdOpenProject});
    menu(&OrvMainFrame::OnMenuFileSaveProject, {OrvCmdSaveProject});
    menu(&OrvMainFrame::OnMenuFileSaveProjectAs, {OrvCmdSaveProjectAs});
    menu(&OrvMainFrame::OnMenuFileSaveResultAs, {OrvCmdSaveResultAs});
    menu(&OrvMainFrame::OnMenuFileGenerateReport, {OrvCmdGenerateReport});
    menu(&OrvMainFrame::OnMenuFileExtractFromPdf, {OrvCmdExtractFromPdf});
    menu(&OrvMainFrame::OnMenuFileDumpEmbeddedJpgs, {OrvCmdDumpEmbeddedJpgs});
    menu(&OrvMainFrame::OnMenuFileExit, {OrvCmdExit});
    menu(&OrvMainFrame::OnMenuViewProgramOptions, {wxID_PREFERENCES});
    menu(&OrvMainFrame::OnMenuHelpAbout, {wxID_ABOUT});
    menu(&OrvMainFrame::OnMenuHelpCheckForUpdates, {OrvCmdCheckForUpdates});
    menu(&OrvMainFrame::OnMenuHelpOpenSamplesFolder, {OrvCmdOpenSamplesFolder});
    menu(&OrvMainFrame::OnMenuHelpProgramReferenceManual, {OrvCmdReferenceManual});
    menu(&OrvMainFrame::OnToolAddBookmark, {OrvCmdNewBookmark});
    menu(&OrvMainFrame::OnCommandRequested,
         {OrvCmdBatchProcessing, OrvCmdCameraSearch, OrvCmdCameraForensics, OrvCmdWebSearch,
          OrvCmdShowLocation, OrvCmdBatchAnalysis, OrvCmdBatchComparison});
    Bind(wxEVT_MENU, &OrvMainFrame::OnPanelCommand, this, OrvCmdBrowse, OrvCmdReferenceOnOff);
    // Help on what is shown.
    Bind(wxEVT_CHAR_HOOK, [this](wxKeyEvent& event) {
        if (event.GetKeyCode() != WXK_F1 || event.HasAnyModifiers()) return event.Skip();
        const OrvFilter* filter = m_core->GetActiveFilter();
        OrvHelpWindow::ShowHelp(this, filter ? filter->GetId() : std::string());
    });

    const auto core = [this](OrvEventId id, void (OrvMainFrame::*handler)(OrvCommandEvent&)) {
        Bind(wxEVT_ORV_COMMAND, handler, this, id);
    };
    core(OrvEventConfigureStarted, &OrvMainFrame::OnConfigureStarted);
    core(OrvEventConfigureCompleted, &OrvMainFrame::OnConfigureCompleted);
    core(OrvEventConfigureInterrupted, &OrvMainFrame::OnConfigureInterrupted);
    core(OrvEventActionCompleted, &OrvMainFrame::OnActionCompleted);
    core(OrvEventDeleteCache, &OrvMainFrame::OnCommandDeleteCache);
    core(OrvEventReprocessCurrent, &OrvMainFrame::OnCommandReprocessCurrent);
    core(OrvEventDumpEmbeddedJpgs, &OrvMainFrame::OnCommandDumpEmbeddedJpgs);
    core(OrvEventAddBookmark, &OrvMainFrame::OnCommandAddBookmark);
    core(OrvEventEditBookmark, &OrvMainFrame::OnCommandAddBookmark);
    core(OrvEventLoadProject, &OrvMainFrame::OnCommandLoadProject);
    core(OrvEventNewProject, &OrvMainFrame::OnCommandLoadProject);
    core(OrvEventSaveProject, &OrvMainFrame::OnCommandSaveProject);
    core(OrvEventGenerateReport, &OrvMainFrame::OnCommandGenerateReport);
    core(OrvEventCommandExecuted, &OrvMainFrame::OnCommandExecuted);
    core(OrvEventExit, &OrvMainFrame::OnCommandExit);
    Bind(wxEVT_ORV_FILE_LIST, &OrvMainFrame::OnFileList, this);

    Bind(wxEVT_TIMER, &OrvMainFrame::OnTimerProgressStart, this, m_progressStartTimer.GetId());
    Bind(wxEVT_TIMER, &OrvMainFrame::OnTimerProgressUpdate, this, m_progressUpdateTimer.GetId());
    Bind(wxEVT_CLOSE_WINDOW, &OrvMainFrame::OnCloseEvent, this);
    Bind(wxEVT_SIZE, &OrvMainFrame::OnFrameSize, this);
    // The window manager may tell the size first and the state later, and then no more sizes.
    Bind(wxEVT_MAXIMIZE, [this](wxMaximizeEvent& event) {
        event.Skip();
        if (m_startMaximised == StartMaximised::Wanted && IsMaximized())
            m_startMaximised = StartMaximised::Seen;
    });
}

void OrvMainFrame::OnPanelCommand(wxCommandEvent& event) {
    const OrvGuiCommand* command = OrvGuiCommandRegistry::m_global.Find(event.GetId());
    // A skipped shortcut goes on to the text field as an ordinary key.
    if (command && IsTextEntry(wxWindow::FindFocus()) && IsKeyOfTextField(command->flags, command->key)) {
        event.Skip();
        return;
    }
    if (!m_evidencePanel->RunCommand(event.GetId()) && !m_referencePanel->RunCommand(event.GetId()))
        event.Skip();
}
