// The part of the main window that deals with the project: new, open, save, what is not saved yet, and what a crash left behind.

#include <wx/translation.h>

#include <utility>

#include "orvcore/facade/interface.h"
#include "orvgui/common/fileselectors.h"
#include "orvgui/common/messagebox.h"
#include "orvgui/common/threeway.h"
#include "orvgui/pages/filtergui.h"
#include "orvgui/pages/orvviewerpanel.h"
#include "orvgui/pages/pageview.h"
#include "orvgui/shell/frametexts.h"
#include "orvgui/shell/mainframe.h"
#include "orvgui/shell/recentfiles.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr int kAutosaveMs = 60 * 1000;

wxString ProjectName(const std::string& path) {
    return path.empty() ? wxString(_("New Project")) : ToWx(PathName(path));
}

}  // namespace

void OrvMainFrame::StartProjectKeeping() {
    m_core->SetViewSource([this] { return ReadPageView(m_viewerPanel->GetShownPage()); });
    Bind(
        wxEVT_TIMER,
        [this](wxTimerEvent&) {
            m_core->Autosave();
            GetRecentFiles().Save();
        },
        m_autosaveTimer.GetId());
    SetAutosaveInterval(kAutosaveMs);
}

void OrvMainFrame::SetAutosaveInterval(int milliseconds) {
    m_autosaveTimer.Start(milliseconds);
}

void OrvMainFrame::OnMenuFileNewProject(wxCommandEvent&) {
    AfterUnsavedWork([this] { m_core->NewProject(); });
}

// The list of recent projects sends the command with a path.
void OrvMainFrame::OnMenuFileOpenProject(wxCommandEvent& event) {
    const wxString filter = wxString::Format(_("%s Project file (*.zop)|*.zop|All files (*.*)|*.*"),
                                             ToWx(m_version.GetAppName()));
    const wxString path = event.GetString().empty()
                              ? OrvFileLoadSelector(_("Choose a project to load"), wxString(), filter)
                              : event.GetString();
    if (!path.empty()) AfterUnsavedWork([this, path] { m_core->LoadProject(path); });
}

void OrvMainFrame::OnMenuFileSaveProject(wxCommandEvent& event) {
    const wxString path = m_core->GetProject().GetFilename();
    if (path.empty()) return OnMenuFileSaveProjectAs(event);
    m_core->SaveProject(path);
}

void OrvMainFrame::OnMenuFileSaveProjectAs(wxCommandEvent&) {
    const wxString path = AskForProjectPath();
    if (!path.empty()) m_core->SaveProject(path);
}

wxString OrvMainFrame::AskForProjectPath() {
    const wxString name =
        ProposeProjectName(m_core->GetProject().GetFilename(), m_core->GetFilename(OrvEvidence));
    return OrvFileSaveSelector(_("Choose a file to save"), name,
                               _("Zorvex Orvane Project file (*.zop)|*.zop|All files (*.*)|*.*"));
}

void OrvMainFrame::AfterUnsavedWork(const std::function<void()>& next) {
    const OrvProject project = m_core->GetProject();
    if (!project.HasUnsavedWork()) return next();
    const wxString message = wxString::Format(
        _("Do you want to save the changes to the project \"%s\"?\nWhat is not saved is lost."),
        ProjectName(project.GetPath()));
    const int answer =
        OrvThreeWayBox(this, message, _("Unsaved Changes"), _("Save"), _("Discard"), _("Cancel"));
    if (answer == wxNO) return next();
    if (answer != wxYES) return;
    const wxString path = project.GetPath().empty() ? AskForProjectPath() : project.GetFilename();
    if (path.empty()) return;
    // Only what is on disk is saved: the core tells when it is, or why it is not.
    m_afterSave = next;
    m_core->SaveProject(path);
}

bool OrvMainFrame::MayCloseWithProject(wxCloseEvent& event) {
    GetRecentFiles().Save();
    if (std::exchange(m_isCloseSettled, false) || !event.CanVeto()) return true;
    if (!m_core->GetProject().HasUnsavedWork()) return true;
    event.Veto();
    if (m_isAskingToClose) return false;
    m_isAskingToClose = true;
    AfterUnsavedWork([this] {
        m_isCloseSettled = true;
        CallAfter([this] { Close(); });
    });
    m_isAskingToClose = false;
    return false;
}

bool OrvMainFrame::OfferRecovery() {
    for (const OrvRecoveredProject& left : m_core->GetRecovery().List()) {
        const wxString message = wxString::Format(
            _("The program ended without saving the project \"%s\".\nIts state of %s was kept. Do you want to open it?"),
            ProjectName(left.projectPath), ToWx(FormatTime(left.written)));
        const int answer =
            OrvThreeWayBox(this, message, _("Recover a Project"), _("Open"), _("Delete"), _("Later"));
        if (answer == wxYES) {
            m_core->RecoverProject(left);
            return true;
        }
        if (answer != wxNO) return false;
        try {
            OrvRecovery::Discard(left.folder);
        } catch (const ZorException& exception) {
            OrvMessageBox(ToWx(exception.GetMessage()), _("Error"), wxOK | wxICON_ERROR, this);
        }
    }
    return false;
}
