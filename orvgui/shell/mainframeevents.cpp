// The part of the main window that shows what the core tells. Every event handled here is acknowledged with PostResponse, which lets
// the core go on; where a handler returns without it, the core's own rule for that event applies.

#include <wx/translation.h>
#include <wx/utils.h>

#include "orvcore/facade/commandqueue.h"
#include "orvcore/facade/foldertools.h"
#include "orvcore/facade/interface.h"
#include "orvcore/tools/web/webparameters.h"
#include "orvgui/common/messagebox.h"
#include "orvgui/common/textdialog.h"
#include "orvgui/common/webconsent.h"
#include "orvgui/pages/filtergui.h"
#include "orvgui/pages/orvviewerpanel.h"
#include "orvgui/pages/pageview.h"
#include "orvgui/shell/commandregistry.h"
#include "orvgui/shell/filepanel.h"
#include "orvgui/shell/filterspanel.h"
#include "orvgui/shell/frametexts.h"
#include "orvgui/shell/mainframe.h"
#include "orvgui/shell/projectgui.h"
#include "orvgui/shell/recentfiles.h"
#include "orvgui/tables/gridframe.h"
#include "orvgui/viewer/annotationpanel.h"
#include "zorbase/gui/mapview.h"
#include "zorbase/gui/shell.h"
#include "zorbase/progress.h"
#include "zorbase/text.h"

namespace {

OrvFilterGui* PageOf(const OrvCommandEvent& event) {
    return dynamic_cast<OrvFilterGui*>(event.GetPage());
}

bool HasFirst(const VecParameter& parameters) {
    return !parameters.empty() && parameters[0].IsSet();
}

wxString FirstText(const OrvCommandEvent& event) {
    const VecParameter& parameters = event.GetParameters();
    return HasFirst(parameters) ? ToWx(parameters[0].Get<std::string>()) : wxString();
}

// The table itself, taken from the event: copying a large one would be felt.
ListCtrlView::Source FirstTable(const std::shared_ptr<const VecParameter>& parameters) {
    if (!HasFirst(*parameters)) return std::make_shared<const TableString>();
    return {parameters, &(*parameters)[0].Get<TableString>()};
}

// One page per site that was searched.
void OpenAddresses(const VecParameter& parameters) {
    for (const Parameter& parameter : parameters) {
        const std::string address = parameter.GetValueAsString();
        if (!address.empty() && parameter.Name() != kWebResultIncomplete) LaunchWebAddress(ToWx(address));
    }
}

// Asked only now that there is a place to be sent.
void ShowLocation(const OrvCommandEvent& event, OrvInterface& core, wxWindow* parent) {
    const MapPosition position = ParseMapPosition(FirstText(event));
    const MapView map(position.latitude, position.longitude);
    if (event.GetError() != 0 || !map.IsValid()) {
        const wxString message = event.GetMessage();
        OrvMessageBox(message.empty() ? wxString(_("The image names no location.")) : message, _("Error"),
                      wxOK, parent);
    } else if (AskBeforeSending(parent, core, OrvActionShowLocation, event.GetParameters()) &&
               !map.ShowOnMap()) {
        OrvMessageBox(
            wxString::Format(_("The browser cannot be opened. The address is:\n%s"), map.GetAddress()),
            _("Error"), wxOK | wxICON_ERROR, parent);
    }
}

// What a search could not do although it found something, and what a folder's tool has to say beside its table.
void TellRemark(const VecParameter& parameters, wxWindow* parent) {
    for (const char* name : {kWebResultIncomplete, kFolderToolRemark}) {
        const Parameter* remark = parameters.Find(name);
        const wxString text = remark != nullptr ? ToWx(remark->Get<std::string>()) : wxString();
        if (!text.empty()) OrvMessageBox(text, wxString(), wxOK, parent);
    }
}

// The command whose label names an action's result.
int CommandOfAction(int action) {
    switch (action) {
        case OrvActionBatchProcessing:
            return OrvCmdBatchProcessing;
        case OrvActionBatchAnalysis:
            return OrvCmdBatchAnalysis;
        case OrvActionBatchComparison:
            return OrvCmdBatchComparison;
        case OrvActionCameraForensics:
            return OrvCmdCameraForensics;
        default:
            return OrvCmdCameraSearch;
    }
}

// What the window of an action's table is called.
wxString TitleOf(int action) {
    if (const OrvFolderTool* tool = FindFolderTool(static_cast<OrvActionId>(action)))
        return wxGetTranslation(wxString::FromUTF8(tool->label)).BeforeFirst('.');
    return OrvGuiCommandRegistry::GetLabel(CommandOfAction(action));
}

// What the self-test found: in a sentence, and answer by answer.
wxString SelfTestOutcome(const VecParameter& parameters) {
    wxString text;
    for (const char* const name : {"summary", "answers"})
        if (const Parameter* part = parameters.Find(name))
            text += (text.empty() ? "" : "\n\n") + ToWx(part->Get<std::string>());
    return text;
}

}  // namespace

void OrvMainFrame::RefreshFilePanels() {
    m_evidencePanel->SetImage();
    m_referencePanel->SetImage();
    for (const OrvFileId slot : {OrvReference, OrvEvidence})
        GetRecentFiles().Note(RecentKind::Pictures, PathFromWx(m_core->GetFilename(slot)));
    if (m_projectTree) m_projectTree->RefreshFiles();
}

void OrvMainFrame::OnConfigureStarted(OrvCommandEvent& event) {
    if (acvProgressRunning2()) return;
    if (OrvFilterGui* page = PageOf(event)) {
        ChangePage(page, page->GetFilter()->GetActiveConfiguration());
        SetStatusField(OrvStatusField::Activity, wxGetTranslation(page->GetFilter()->GetName()));
    }
    RefreshFilePanels();
    // What the picture is like is told when it is known; until then nothing is said of the one before.
    const OrvFilePtr file = m_core->GetFile(OrvEvidence);
    if ((file ? file->GetSerial() : 0) != m_describedPicture)
        SetStatusField(OrvStatusField::Picture, wxString());
    CreateProgress();
}

void OrvMainFrame::OnConfigureCompleted(OrvCommandEvent& event) {
    if (acvProgressRunning2()) return;
    DestroyProgress();
    if (m_progressStartTimer.IsRunning()) return;
    OrvFilterGui* page = PageOf(event);
    if (!m_exitScheduled) {
        if (page) {
            page->UpdateGui();
            page->RefreshViewerPanel();
        }
        RefreshShownSummary(page);
        m_filtersPanel->UpdateTreebook(false);
        RefreshPictureStatus();
        RefreshFilePanels();  // a result may have made a cache folder
    }
    m_core->PostResponse();
    if (!m_exitScheduled && page) {
        ChangePage(page, page->GetFilter()->GetActiveConfiguration());
        if (const auto view = m_core->TakeViewToShow(page->GetFilter())) ShowPageView(page, *view);
    }
    UpdateTitle();
}

void OrvMainFrame::OnConfigureInterrupted(OrvCommandEvent& event) {
    if (acvProgressRunning2()) return;
    OrvFilterGui* page = PageOf(event);
    const wxString message = page ? page->GetFilter()->GetErrorMessage() : event.GetString();
    if (!message.empty() && !m_isStoppingToClose) OrvMessageBox(message, _("Error"), wxOK, this);
    if (page) page->UpdateGui();
    RefreshShownSummary(page);
    m_filtersPanel->UpdateTreebook(false);
    RefreshPictureStatus();
    m_core->PostResponse();
    // The values are those of the shown result again, and with them the configuration.
    if (!m_exitScheduled && page) ChangePage(page, page->GetFilter()->GetActiveConfiguration());
}

void OrvMainFrame::OnActionCompleted(OrvCommandEvent& event) {
    RefreshFilePanels();
    RefreshPictureStatus();
    DestroyProgress();
    const int error = static_cast<int>(event.GetExtraLong());
    if (OrvFilterGui* page = PageOf(event))
        page->UpdateAfterAction(event.GetInt(), error, event.GetParameters());
    if (error != 0) {
        DestroyProgress();
        m_afterSave = {};
        OrvMessageBox(event.GetString(), _("Error"), wxOK, this);
    }
    m_core->PostResponse();
    UpdateTitle();
}

void OrvMainFrame::OnCommandDeleteCache(OrvCommandEvent&) {
    m_core->PostResponse();
    m_filtersPanel->UpdateTreebook(true);
    RefreshFilePanels();
}

void OrvMainFrame::OnCommandReprocessCurrent(OrvCommandEvent&) {
    m_core->PostResponse();
    m_filtersPanel->UpdateTreebook(false);
}

void OrvMainFrame::OnCommandDumpEmbeddedJpgs(OrvCommandEvent& event) {
    DestroyProgress();
    const wxString& folder = event.GetString();
    wxString message = _("No embedded images found in file");
    m_core->PostResponse();
    if (!folder.empty()) message = wxString::Format(_("Embedded images saved in folder %s"), folder);
    if (!event.GetMessage().empty()) message = event.GetMessage();  // copied files
    OrvMessageBox(message, wxString(), wxOK, this);
}

void OrvMainFrame::OnCommandAddBookmark(OrvCommandEvent& event) {
    DestroyProgress();
    if (m_projectTree) m_projectTree->RefreshProject();
    if (m_projectTree && event.GetId() == OrvEventAddBookmark) m_projectTree->ShowLastBookmark();
    UpdateTitle();
    m_core->PostResponse();
}

void OrvMainFrame::OnCommandLoadProject(OrvCommandEvent&) {
    RefreshFilePanels();
    RefreshPictureStatus();
    UpdateTitle();
    GetRecentFiles().Note(RecentKind::Projects, m_core->GetProject().GetPath());
    ForgetMarkChanges();
    m_core->PostResponse();
    // A project brings its own filter configurations.
    m_filtersPanel->UpdateTreebook(true);
    if (!m_projectTree) return;
    m_projectTree->RefreshProject();
    m_projectTree->SelectFirstBookmark();
}

void OrvMainFrame::OnCommandSaveProject(OrvCommandEvent&) {
    DestroyProgress();
    GetRecentFiles().Note(RecentKind::Projects, m_core->GetProject().GetPath());
    m_core->PostResponse();
    UpdateTitle();
    if (m_projectTree) m_projectTree->RefreshProject();
    if (const auto next = std::exchange(m_afterSave, {})) next();
}

void OrvMainFrame::OnCommandGenerateReport(OrvCommandEvent& event) {
    DestroyProgress();
    m_core->PostResponse();
    UpdateTitle();
    if (m_exitScheduled) return;
    // A report runs filters of which the window was not told one by one.
    m_filtersPanel->UpdateTreebook(true);
    RefreshShownSummary(nullptr);
    // A report that is not to be opened comes as a message, which stands in for the string that is missing.
    const wxString& report = event.GetString();
    const wxString message = event.GetMessage();
    if (!message.empty() && (report.empty() || report == message)) {
        TellWhereReportIs(message);
    } else if (!report.empty()) {
        // A browser that starts and shows nothing answers as one that does.
        SetStatusField(OrvStatusField::Activity,
                       wxString::Format(_("The report was written to %s"), ToWx(PathFromWx(report))));
        if (!LaunchDefaultBrowserLocalFile(report)) TellWhereReportIs(report);
    }
}

void OrvMainFrame::OnCommandExit(OrvCommandEvent&) {
    Close(false);
}

void OrvMainFrame::ShowTable(OrvCommandEvent& event, bool withThumbnails) {
    const auto parameters = std::make_shared<const VecParameter>(event.TakeParameters());
    const ListCtrlView::Source table = FirstTable(parameters);
    std::vector<Image> thumbnails;
    if (withThumbnails) {
        thumbnails = GetContext()->GetThumbnails();
        GetContext()->ClearThumbnails();
    }
    if (event.GetError() != 0 || table->size() < 2) {
        const wxString message = event.GetMessage();
        OrvMessageBox(message.empty() ? wxString(_("No Image Found")) : message,
                      event.GetError() != 0 ? wxString(_("Error")) : wxString(), wxOK, this);
        return;
    }
    const bool isOfFiles =
        withThumbnails || FindFolderTool(static_cast<OrvActionId>(event.GetActionId())) != nullptr;
    (new GridFrame(this, TitleOf(event.GetActionId()), table, isOfFiles ? GridFrame::Batch : GridFrame::Web,
                   0, thumbnails))
        ->Show();
    TellRemark(*parameters, this);
}

void OrvMainFrame::OnCommandExecuted(OrvCommandEvent& event) {
    DestroyProgress();
    switch (event.GetActionId()) {
        case OrvActionSearchFlickr:
        case OrvActionSearchGoogle:
        case OrvActionCameraForensics:
            ShowTable(event, false);
            break;
        case OrvActionBatchProcessing:
        case OrvActionBatchAnalysis:
        case OrvActionBatchComparison:
            ShowTable(event, true);
            break;
        case OrvActionMakeFingerprint:
        case OrvActionCollectSignatures:
        case OrvActionIdentifyCameras:
            ShowTable(event, false);
            // The collection is another one now: what was found with it before is asked for again.
            if (OrvFilter* filter = m_core->GetActiveFilter())
                m_core->ActivateFilter(filter, filter->GetActiveConfiguration());
            break;
        case OrvActionShowLocation:
            if (!m_exitScheduled) ShowLocation(event, *m_core, this);
            break;
        case OrvActionDownload:
            OrvMessageBox(event.GetError() == 0 ? wxString(_("Download Completed")) : event.GetMessage(),
                          event.GetError() == 0 ? wxString() : wxString(_("Error")), wxOK, this);
            break;
        case OrvActionWebSearch: {
            m_filtersPanel->UpdateTreebook(false);
            if (event.GetError() != 0) {
                OrvMessageBox(event.GetMessage(), _("Error"), wxOK, this);
            } else if (!m_exitScheduled) {
                OpenAddresses(event.GetParameters());
                TellRemark(event.GetParameters(), this);
            }
            break;
        }
        case OrvActionRunAll:
            m_filtersPanel->UpdateTreebook(true);
            RefreshShownSummary(nullptr);
            // What was stopped has no need to be told of.
            if (event.GetError() != 0 && event.GetError() != kErrorAborted)
                OrvMessageBox(event.GetMessage(), _("Error"), wxOK, this);
            break;
        case OrvActionSelfTest:
            if (event.GetError() == 0 && !m_exitScheduled) {
                // Read at leisure: the core goes on.
                CallAfter([this, text = SelfTestOutcome(event.GetParameters())] {
                    TextDialog dialog(this, _("Self-Test"), text, true);
                    dialog.ShowModal();
                });
            } else if (event.GetError() != 0 && event.GetError() != kErrorAborted) {
                OrvMessageBox(event.GetMessage(), _("Error"), wxOK, this);
            }
            break;
        case 10:
        case 11:
            break;
        default:
            wxFAIL_MSG("false");
    }
    m_core->PostResponse();
    if (m_exitScheduled) Close();
}

void OrvMainFrame::OnFileList(wxThreadEvent& event) {
    GetFilePanel(event.GetInt() == OrvEvidence ? OrvEvidence : OrvReference)->SetImage();
}

// What the summary gathers changes with every filter's result, not with its own.
void OrvMainFrame::RefreshShownSummary(const OrvFilterGui* refreshed) {
    OrvFilterGui* shown = m_viewerPanel->GetShownPage();
    if (shown == nullptr || shown == refreshed || !m_viewerPanel->IsPageBuilt(shown)) return;
    if (shown->GetFilter()->GetPageKind() == OrvPageKind::Summary) shown->UpdateGui();
}

void OrvMainFrame::TellWhereReportIs(const wxString& path) {
    OrvMessageBox(wxString::Format(_("The report was written to:\n%s"), ToWx(PathFromWx(path))), wxString(),
                  wxOK, this);
}

// Called while the core waits for an acknowledgement only: a header is read under the lock that decoding holds.
void OrvMainFrame::RefreshPictureStatus() {
    const OrvFilePtr file = m_core->GetFile(OrvEvidence);
    m_describedPicture = file ? file->GetSerial() : 0;
    SetStatusField(OrvStatusField::Picture, file ? MakePictureText(*file) : wxString());
}
