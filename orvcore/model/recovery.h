#pragma once

#include <condition_variable>
#include <ctime>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "orvcore/model/project.h"

// A project as it was kept by an instance of the program that did not end in order.
struct OrvRecoveredProject {
    std::string folder;       // which one, for the calls below
    std::string projectPath;  // under which it was open, "" when it was never saved
    std::time_t written = 0;
};

// Keeps what is not saved yet in a file of its own, so that a crash costs a minute of work: one folder per running program, locked
// as long as it runs and removed when it ends in order. Writing happens on a thread of its own. Any thread.
class OrvRecovery {
  public:
    explicit OrvRecovery(std::string root) : m_root(std::move(root)) {}
    ~OrvRecovery();  // nothing is left to be recovered
    OrvRecovery(const OrvRecovery&) = delete;
    OrvRecovery& operator=(const OrvRecovery&) = delete;

    // Written soon, in place of what was kept before; returns at once.
    void Keep(const OrvProject& project);
    // Everything is saved or given up: what was kept goes, and what waits is not written.
    void Clear();
    // Waits until what was to be kept is on disk or could not be written.
    void Wait();
    // Why the last one could not be written, "" when it was.
    std::string GetProblem() const;

    // What others left behind, the newest first. What a running program keeps is not among it.
    std::vector<OrvRecoveredProject> List() const;
    // Throws ZorException as OrvProject::FromText and ReadFile do.
    static OrvProject Read(const std::string& folder);
    static void Discard(const std::string& folder);

  private:
    void Work();
    void Write(const OrvProject& project);

    std::string m_root;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::optional<OrvProject> m_waiting;
    bool m_isWriting = false;
    bool m_isStopping = false;
    std::string m_problem;
    std::string m_folder;  // ours, "" until it is needed; under m_fileMutex
    int m_lock = -1;
    std::mutex m_fileMutex;  // held while files are written or removed
    std::thread m_worker;
};
