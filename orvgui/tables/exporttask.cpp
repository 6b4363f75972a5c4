#include "orvgui/tables/exporttask.h"

#include <wx/translation.h>

#include <algorithm>

#include "orvgui/common/messagebox.h"
#include "orvgui/common/progressdialog.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr auto kDialogDelay = std::chrono::milliseconds(500);
constexpr int kPollMs = 100;

}  // namespace

ExportTask::ExportTask(wxWindow& owner) : m_owner(owner), m_task(owner) {
    m_timer.Bind(wxEVT_TIMER, [this](wxTimerEvent&) { OnTimer(); });
}

ExportTask::~ExportTask() {
    if (m_dialog) m_dialog->Destroy();
}

void ExportTask::Start(std::function<void(const TableProgress&)> write, std::function<void()> done) {
    const auto state = std::make_shared<State>();
    m_state = state;
    m_start = std::chrono::steady_clock::now();
    m_task.Start(
        [state, write = std::move(write)](const std::stop_token& stop) {
            write([&state, &stop](double part) {
                state->done = part;
                if (state->isAborted || stop.stop_requested()) ZOR_THROW(Aborted, "The export was stopped.");
            });
        },
        [this, state, done = std::move(done)](const std::string& error) { OnEnd(*state, error, done); });
    m_timer.Start(kPollMs);
}

void ExportTask::Abort() {
    if (m_state) m_state->isAborted = true;
}

void ExportTask::OnTimer() {
    // Update runs timers itself.
    if (m_isUpdating || std::chrono::steady_clock::now() - m_start < kDialogDelay) return;
    m_isUpdating = true;
    const wxString message = _("Writing the table");
    if (!m_dialog) {
        m_dialog = new OrvProgressDialog(_("Export"), message, 100, wxGetTopLevelParent(&m_owner),
                                         wxPD_CAN_ABORT | wxPD_AUTO_HIDE | wxPD_ELAPSED_TIME);
        m_dialog->CentreOnParent();
        m_dialog->Show();
    }
    // The end is told by the work, not by its figures.
    const int percent = std::min(99, static_cast<int>(m_state->done * 100));
    if (!m_dialog->Update(percent, message)) Abort();
    m_isUpdating = false;
}

void ExportTask::OnEnd(const State& state, const std::string& error, const std::function<void()>& done) {
    m_timer.Stop();
    if (m_dialog) m_dialog->Destroy();
    m_dialog = nullptr;
    if (error.empty()) {
        done();
    } else if (!state.isAborted) {
        OrvMessageBox(ToWx(error), _("Error"), wxOK, &m_owner);
    }
}
