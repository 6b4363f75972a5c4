// The part of the main window that shows how far the core is.

#include <wx/menu.h>
#include <wx/translation.h>

#include "orvcore/facade/interface.h"
#include "orvgui/common/progressdialog.h"
#include "orvgui/shell/commandregistry.h"
#include "orvgui/shell/frametexts.h"
#include "orvgui/shell/mainframe.h"
#include "zorbase/progress.h"

namespace {

constexpr int kProgressDelayMs = 500;  // what ends sooner shows no dialog
constexpr int kProgressPollMs = 100;

}  // namespace

void OrvMainFrame::CreateProgress() {
    // Inner progress can keep the dialog from one piece of work to the next: a cancel was meant for the first.
    const std::uint64_t work = m_core->GetToldWork();
    if (m_progressDialog && work != m_progressWork && m_progressDialog->WasCancelled())
        m_progressDialog->Resume();
    m_progressWork = work;
    if (!m_progressStartTimer.IsRunning()) m_progressStartTimer.StartOnce(kProgressDelayMs);
}

void OrvMainFrame::OnTimerProgressStart(wxTimerEvent&) {
    if (m_progressDialog) return;
    // The progress dialog disables every other window; one that waits for the user's answer would wait for ever.
    if (m_openDialogs.IsAny()) {
        m_progressStartTimer.StartOnce(kProgressDelayMs);
        return;
    }
    m_focusBefore = wxGetTopLevelParent(wxWindow::FindFocus()) == this ? wxWindow::FindFocus() : nullptr;
    m_progressDialog =
        new OrvProgressDialog(_("Processing"), _("Processing"), 100, this,
                              wxPD_CAN_ABORT | wxPD_APP_MODAL | wxPD_AUTO_HIDE | wxPD_ELAPSED_TIME);
    m_progressDialog->CentreOnParent(wxBOTH);
    m_progressDialog->Show();
    BlockPanes(true);
    m_progressUpdateTimer.Start(kProgressPollMs);
}

void OrvMainFrame::OnTimerProgressUpdate(wxTimerEvent&) {
    // Update and Pulse run timers themselves.
    if (!m_progressDialog || m_isUpdatingProgress) return;
    m_isUpdatingProgress = true;
    const ProgressView view = MakeProgressView(ReadProgressState());
    SetStatusField(OrvStatusField::Activity, view.message.BeforeFirst('\n'));
    const bool goOn = view.value < 1 ? m_progressDialog->Pulse(view.message)
                                     : m_progressDialog->Update(view.value, view.message);
    if (!goOn && m_abortedWork != m_progressWork) {
        m_abortedWork = m_progressWork;
        m_core->AbortProcessing(m_progressWork);
    }
    m_isUpdatingProgress = false;
}

// The dialog disables the whole window, and with it the close button, which would then do nothing at all: what is in the window is
// disabled instead.
void OrvMainFrame::BlockPanes(bool block) {
    if (block) {
        std::vector<wxWindow*> parts(GetChildren().begin(), GetChildren().end());
        parts.push_back(GetMenuBar());  // which the toolkit does not count among the children
        for (wxWindow* child : parts) {
            if (child == nullptr || child->IsTopLevel() || !child->IsThisEnabled()) continue;
            child->Disable();
            m_blocked.push_back(child);
        }
        SetAcceleratorTable(wxNullAcceleratorTable);
        Enable();
    } else {
        for (wxWindow* child : m_blocked) child->Enable();
        m_blocked.clear();
        SetAcceleratorTable(OrvGuiCommandRegistry::GetAcceleratorTableGlobal());
        // What was disabled has lost the keyboard, which goes on where it was.
        CallAfter([this] {
            const bool isElsewhere = wxWindow::FindFocus() != nullptr && wxWindow::FindFocus() != this;
            if (m_focusBefore && !isElsewhere && m_progressDialog == nullptr) m_focusBefore->SetFocus();
        });
    }
}

void OrvMainFrame::DestroyProgress() {
    if (acvProgressRunning2()) return;
    m_progressStartTimer.Stop();
    m_progressUpdateTimer.Stop();
    SetStatusField(OrvStatusField::Activity, wxString());
    if (!m_progressDialog) return;
    BlockPanes(false);
    m_progressDialog->Destroy();
    m_progressDialog = nullptr;
}

bool OrvMainFrame::HasProgress() {
    return m_progressStartTimer.IsRunning();
}
