#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

using OrvPaths = std::vector<std::string>;

// The readable image files of a folder (by content, never by name), as full paths in natural name order.
// `always` is listed even when it is not readable. An unreadable folder gives just `always`. Stops early,
// with what it has, when asked to.
OrvPaths ListImageFiles(const std::string& folder, const std::string& always, const std::stop_token& stop);

// Lists folders on a thread of its own, so that neither the window nor the worker waits for ten thousand
// files. A newer request for a slot replaces one that waits and stops one that runs.
class OrvFileLister {
  public:
    using Done =
        std::function<void(int slot, const std::string& folder, std::shared_ptr<const OrvPaths> paths)>;

    explicit OrvFileLister(Done done);  // called on the lister's thread
    ~OrvFileLister();

    void Request(int slot, const std::string& folder, const std::string& always);
    void Cancel(int slot);
    bool IsListing(int slot) const;
    bool WaitIdle(int timeoutMs);

  private:
    struct Task {
        int slot;
        std::string folder;
        std::string always;
    };

    Done m_done;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Task> m_tasks;
    int m_runningSlot = -1;
    std::stop_source m_running;
    bool m_isStopping = false;
    std::thread m_thread;
};
