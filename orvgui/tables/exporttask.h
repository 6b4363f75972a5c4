#pragma once

#include <wx/timer.h>
#include <wx/weakref.h>
#include <wx/window.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>

#include "orvcore/tables/tables.h"
#include "orvgui/common/backgroundtask.h"

class OrvProgressDialog;

// An export that a window has written beside the GUI thread. One that takes longer than half a second shows how far it is,
// in a dialog that can stop it; the window takes no input meanwhile. A failure is told in a message box; what was
// stopped says nothing. Belongs to its window as a member, ends with it. GUI thread.
class ExportTask {
  public:
    explicit ExportTask(wxWindow& owner);
    ~ExportTask();
    ExportTask(const ExportTask&) = delete;
    ExportTask& operator=(const ExportTask&) = delete;

    // `write` runs on a thread of its own and calls its argument often: that throws once the work is to end. `done` runs
    // on the GUI thread when everything has been written.
    void Start(std::function<void(const TableProgress&)> write, std::function<void()> done);
    // Asks the work to end; it does so soon.
    void Abort();
    bool IsRunning() const { return m_task.IsRunning(); }
    OrvProgressDialog* GetDialog() const { return m_dialog; }

  private:
    struct State {
        std::atomic<double> done{0};
        std::atomic<bool> isAborted{false};
    };

    void OnTimer();
    void OnEnd(const State& state, const std::string& error, const std::function<void()>& done);

    wxWindow& m_owner;
    std::shared_ptr<State> m_state;
    std::chrono::steady_clock::time_point m_start;
    wxTimer m_timer;
    wxWeakRef<OrvProgressDialog> m_dialog;
    bool m_isUpdating = false;
    BackgroundTask m_task;
};
