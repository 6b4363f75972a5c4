#pragma once

#include <wx/event.h>

#include <functional>
#include <stop_token>
#include <string>
#include <thread>

// One piece of work beside the GUI thread, for a window that must not freeze over its own data. It belongs to the window
// as a member. Not for work of the core. GUI thread.
class BackgroundTask {
  public:
    // `owner` delivers the end of the work; it must outlive this.
    explicit BackgroundTask(wxEvtHandler& owner) : m_owner(owner) {}
    ~BackgroundTask() { Stop(); }
    BackgroundTask(const BackgroundTask&) = delete;
    BackgroundTask& operator=(const BackgroundTask&) = delete;

    // Runs `work` on a thread of its own; a running one is stopped first. `done` runs on the GUI thread with the message
    // of the exception that ended the work, "" for none. It does not run when the work was stopped.
    void Start(std::function<void(std::stop_token)> work, std::function<void(const std::string& error)> done);
    // Asks the work to stop and waits for it.
    void Stop();
    bool IsRunning() const { return m_isRunning; }

  private:
    wxEvtHandler& m_owner;
    std::jthread m_thread;
    unsigned m_number = 0;  // of the present work; what an older one reports is dropped
    bool m_isRunning = false;
};
