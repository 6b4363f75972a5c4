#include "orvgui/shell/mainframe.h"

#include <wx/app.h>
#include <wx/aui/dockart.h>
#include <wx/aui/framemanager.h>
#include <wx/filename.h>
#include <wx/menu.h>
#include <wx/settings.h>
#include <wx/statusbr.h>
#include <wx/stdpaths.h>
#include <wx/translation.h>
#include <wx/utils.h>

#include <algorithm>

#include "orvcore/facade/interface.h"
#include "orvcore/filters/hexviewfilter.h"
#include "orvgui/common/accessible.h"
#include "orvgui/common/icons.h"
#include "orvgui/common/messagebox.h"
#include "orvgui/common/opencverrors.h"
#include "orvgui/common/screenplace.h"
#include "orvgui/common/textfocus.h"
#include "orvgui/common/visibletext.h"
#include "orvgui/pages/filtergui.h"
#include "orvgui/pages/orvviewerpanel.h"
#include "orvgui/pages/pagefactory.h"
#include "orvgui/shell/commandregistry.h"
#include "orvgui/shell/filepanel.h"
#include "orvgui/shell/filterspanel.h"
#include "orvgui/shell/help.h"
#include "orvgui/shell/logpanel.h"
#include "orvgui/shell/projectgui.h"
#include "orvgui/viewer/windowproperties.h"
#include "zorbase/files.h"
#include "zorbase/text.h"

namespace {

constexpr int kPaneMinWidth = 200;
constexpr int kFiltersWidth = 270;
constexpr int kProjectHeight = 170;
constexpr int kCaptionHeight = 24;

// Until the window manager has told its borders the window is laid out at no size, and the fields of its status bar at less: what is
// written meanwhile is kept, and seen with the first full paint.
class FrameStatusBar : public wxStatusBar {
  public:
    explicit FrameStatusBar(wxWindow* parent)
        : wxStatusBar(parent, wxID_ANY, wxSTB_DEFAULT_STYLE, wxASCII_STR(wxStatusBarNameStr)) {}

  protected:
    void DoUpdateStatusText(int field) override {
        wxRect place;
        if (GetFieldRect(field, place) && !place.IsEmpty()) wxStatusBar::DoUpdateStatusText(field);
    }
};

}  // namespace

OrvMainFrame::OrvMainFrame(OrvInterface* core, const AppVersion& version, const wxString& title)
    : wxFrame(nullptr, wxID_ANY, wxGetTranslation(title), wxDefaultPosition, wxSize(1024, 768),
              wxDEFAULT_FRAME_STYLE),
      m_core(core),
      m_progressStartTimer(this),
      m_progressUpdateTimer(this),
      m_autosaveTimer(this),
      m_version(version),
      m_helpNode(std::make_unique<OrvHelpNode>("Main Window", wxString())) {
    m_layoutPath = PathToWx(GetAppDocumentsPath()) + wxFileName::GetPathSeparator() + "settings" +
                   wxFileName::GetPathSeparator() + "layout.zol";
    m_baseTitle = GetTitle();
    OrvGuiCommandRegistry::Init();
    m_auiManager = std::make_unique<wxAuiManager>(this, wxAUI_MGR_DEFAULT);
    ConfigureDockArt();
    InstallOpenCvErrorHandler();
    GetInterface()->SetProgressHandler(this);
    m_windowProperties = std::make_unique<WindowProperties>();
    SetIcons(LoadMainIcon());
    CreateMenuBar();
    CreateStatusBar();
    ConfigureStatusBar();
    CreatePanes();
    LoadLayout();
    FitScreen(*this);
    m_auiManager->Update();
    BindEvents();
    StartProjectKeeping();
    SetAcceleratorTable(OrvGuiCommandRegistry::GetAcceleratorTableGlobal());
    UpdateTitle();
    // Until the window manager has told its borders the toolkit lays the window out two pixels wide, and complains of the menu bar,
    // which does not fit.
    GetMenuBar()->Hide();
    Bind(wxEVT_SHOW, [this](wxShowEvent& event) {
        event.Skip();
        if (event.IsShown()) GetMenuBar()->Show();
    });
    NameControls(this);
    NameControlsOfDialogs();
    // The keyboard starts in the tree, where every shortcut works; a text field would keep some of them.
    m_filtersPanel->GetTree()->SetFocus();
}

OrvMainFrame::~OrvMainFrame() {
    SaveLayout();
    // From here on no event of the core has anybody to show it to.
    m_core->SetProgressHandler(nullptr);
    m_core->SetViewSource({});
    m_autosaveTimer.Stop();
    m_progressStartTimer.Stop();
    m_progressUpdateTimer.Stop();
    m_auiManager->UnInit();
    m_auiManager.reset();
    DestroyChildren();
    m_windowProperties.reset();
    m_core.reset();
    m_helpNode.reset();
    m_columnWidths.clear();
}

void OrvMainFrame::CreateStatusBar() {
    SetStatusBar(new FrameStatusBar(this));
}

void OrvMainFrame::ConfigureStatusBar() {
    // The longest zoom, and the corner by which the window is resized.
    const int zoomWidth = GetTextExtent("12800.0%").x + 2 * GetCharHeight();
    // Pixels where positive, shares of the rest where negative: a pixel with a map's value is the longest text.
    const int widths[] = {-2, -4, -4, zoomWidth};
    const int styles[] = {wxSB_FLAT, wxSB_FLAT, wxSB_FLAT, wxSB_FLAT};
    GetStatusBar()->SetFieldsCount(4, widths);
    GetStatusBar()->SetStatusStyles(4, styles);
    SetStatusBarPane(static_cast<int>(OrvStatusField::Activity));
    // The log is for the rare day: its window collects from the start and stays out of sight until the status bar
    // is double-clicked.
    m_logFrame = new wxFrame(this, wxID_ANY, _("Log"), wxDefaultPosition, wxSize(640, 300),
                             wxDEFAULT_FRAME_STYLE | wxFRAME_FLOAT_ON_PARENT);
    new LogPanel(m_logFrame);
    m_logFrame->Bind(wxEVT_CLOSE_WINDOW, [this](wxCloseEvent&) { m_logFrame->Hide(); });
    GetStatusBar()->Bind(wxEVT_LEFT_DCLICK, [this](wxMouseEvent&) {
        if (!m_logFrame->IsShown()) PlaceOnParent(*m_logFrame);
        m_logFrame->Show();
        m_logFrame->Raise();
    });
}

void OrvMainFrame::ConfigureDockArt() {
    wxAuiDockArt* art = m_auiManager->GetArtProvider();
    const wxColour plain = wxSystemSettings::GetColour(wxSYS_COLOUR_BTNFACE);
    const wxColour text = wxSystemSettings::GetColour(wxSYS_COLOUR_BTNTEXT);
    art->SetMetric(wxAUI_DOCKART_GRADIENT_TYPE, wxAUI_GRADIENT_NONE);
    art->SetMetric(wxAUI_DOCKART_CAPTION_SIZE, kCaptionHeight);
    art->SetMetric(wxAUI_DOCKART_SASH_SIZE, 4);
    for (int colour : {wxAUI_DOCKART_ACTIVE_CAPTION_COLOUR, wxAUI_DOCKART_INACTIVE_CAPTION_COLOUR,
                       wxAUI_DOCKART_BACKGROUND_COLOUR, wxAUI_DOCKART_SASH_COLOUR}) {
        art->SetColour(colour, plain);
    }
    art->SetColour(wxAUI_DOCKART_ACTIVE_CAPTION_TEXT_COLOUR, text);
    art->SetColour(wxAUI_DOCKART_INACTIVE_CAPTION_TEXT_COLOUR, text);
    art->SetFont(wxAUI_DOCKART_CAPTION_FONT, GetFont().Bold());
}

wxAuiPaneInfo OrvMainFrame::PaneInfo(const wxString& name) {
    return wxAuiPaneInfo()
        .Name(name)
        .Caption(wxGetTranslation(name))
        .MinSize(kPaneMinWidth, -1)
        .Floatable(false);
}

void OrvMainFrame::CreatePanes() {
    m_evidencePanel = new FilePanel(this, OrvEvidence);
    m_referencePanel = new FilePanel(this, OrvReference);
    m_viewerPanel = new OrvViewerPanel(this);
    RegisterPageFactory();
    m_filtersPanel = new OrvFiltersPanel(this, m_viewerPanel);
    m_filtersPanel->InitTreebook();
    m_projectTree = new OrvProjectGui(this);

    const wxSize fileSize(-1, m_evidencePanel->GetBestSize().y);
    m_auiManager->AddPane(m_evidencePanel, PaneInfo(wxTRANSLATE("Evidence"))
                                               .Top()
                                               .Position(0)
                                               .CaptionVisible(false)
                                               .PaneBorder(false)
                                               .BestSize(fileSize));
    m_auiManager->AddPane(m_referencePanel, PaneInfo(wxTRANSLATE("Reference"))
                                                .Top()
                                                .Position(1)
                                                .CaptionVisible(false)
                                                .PaneBorder(false)
                                                .BestSize(fileSize));
    wxAuiPaneInfo filters = PaneInfo(wxTRANSLATE("Filters")).Left().Position(0).CloseButton(false);
    m_auiManager->AddPane(m_filtersPanel, filters.BestSize(TextWidth(*this, kFiltersWidth), -1));
    m_auiManager->AddPane(m_viewerPanel, PaneInfo(wxTRANSLATE("Viewer"))
                                             .CentrePane()
                                             .PaneBorder(false)
                                             .CaptionVisible(false)
                                             .CloseButton(false));
    wxAuiPaneInfo project = PaneInfo(wxTRANSLATE("Project")).Left().Position(1).CloseButton(false);
    m_auiManager->AddPane(
        m_projectTree, project.BestSize(TextWidth(*this, kFiltersWidth), TextWidth(*this, kProjectHeight)));
    // The tree gets three quarters of the height that it shares with the project.
    m_auiManager->GetPane(m_filtersPanel).dock_proportion =
        3 * m_auiManager->GetPane(m_projectTree).dock_proportion;
}

void OrvMainFrame::OnCloseEvent(wxCloseEvent& event) {
    if (m_progressDialog != nullptr && event.CanVeto() && !m_exitScheduled) {
        event.Veto();
        if (m_isAskingToClose) return;
        m_isAskingToClose = true;
        const int answer =
            OrvMessageBox(_("The program is still working. Do you want to stop it and close the program?"),
                          _("Confirm"), wxYES_NO | wxICON_QUESTION, this);
        m_isAskingToClose = false;
        // The end of the core stops the work, and nobody is told of it any more.
        if (answer != wxYES) return;
        // Otherwise saving would have to wait for it.
        m_isStoppingToClose = true;
        m_core->AbortProcessing();
    }
    if (!MayCloseWithProject(event)) {
        m_isStoppingToClose = false;
        return;
    }
    OnCloseWindow(event);
    if (!m_restartScheduled) return;
    const wxString program = wxStandardPaths::Get().GetExecutablePath();
    const wxCharBuffer path = program.fn_str();
    const char* const arguments[] = {path.data(), nullptr};
    wxExecute(arguments, wxEXEC_ASYNC);
}

void OrvMainFrame::SetZoom(double zoom) {
    m_windowProperties->zoom = zoom;
}

void OrvMainFrame::ChangePage(OrvFilterGui* page, int configuration) {
    m_filtersPanel->ChangePage(page, configuration);
}

void OrvMainFrame::ShowBytes(std::uint64_t offset, std::uint64_t count) {
    OrvFilter* filter = GetContext()->FindFilter(HexViewFilter::kId);
    OrvFilterGui* page = filter != nullptr ? m_filtersPanel->FindPage(filter) : nullptr;
    if (page == nullptr) return;
    VecParameter input = filter->GetParametersInput();
    HexViewFilter::Aim(input, offset, count);
    m_core->Configure(filter, -1, input, filter->GetParametersPostProcessing(), false);
    m_filtersPanel->ActivateGui(page);
}

void OrvMainFrame::ShowFilter(OrvFilter* filter) {
    if (filter != nullptr)
        m_filtersPanel->ActivateGui(dynamic_cast<OrvFilterGui*>(filter->GetAnalsyisFilterGui()));
}

void OrvMainFrame::SelectFirstItem() {
    m_filtersPanel->SelectFirstItem();
}

void OrvMainFrame::SetStatusField(OrvStatusField field, const wxString& message) {
    const wxString text = VisibleText(message);
    const int index = static_cast<int>(field);
    if (GetStatusBar() && GetStatusBar()->GetStatusText(index) != text)
        GetStatusBar()->SetStatusText(text, index);
}

OrvMainFrame* GetMainFrame() {
    return wxTheApp ? dynamic_cast<OrvMainFrame*>(wxTheApp->GetTopWindow()) : nullptr;
}
