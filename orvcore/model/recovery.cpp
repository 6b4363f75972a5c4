#include "orvcore/model/recovery.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>

#include "orvcore/model/projectlock.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr const char* kProjectName = "project.zop";
constexpr const char* kPathName = "path";
constexpr const char* kLockName = "lock";

std::string NewFolderName() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return ToString(static_cast<std::int64_t>(
               std::chrono::duration_cast<std::chrono::microseconds>(now).count())) +
           "-" + ToString(static_cast<int>(getpid()));
}

// Whether nobody uses the folder any more.
bool IsLeftBehind(const std::string& folder) {
    const int lock = LockFile(PathJoin(folder, kLockName));
    if (lock >= 0) close(lock);
    return lock >= 0;
}

}  // namespace

OrvRecovery::~OrvRecovery() {
    {
        const std::lock_guard lock(m_mutex);
        m_isStopping = true;
        m_waiting.reset();
    }
    m_changed.notify_all();
    if (m_worker.joinable()) m_worker.join();
    Clear();
    if (m_lock >= 0) close(m_lock);
}

void OrvRecovery::Keep(const OrvProject& project) {
    {
        const std::lock_guard lock(m_mutex);
        m_waiting = project;
        if (!m_worker.joinable()) m_worker = std::thread([this] { Work(); });
    }
    m_changed.notify_all();
}

void OrvRecovery::Clear() {
    {
        const std::lock_guard lock(m_mutex);
        m_waiting.reset();
    }
    const std::lock_guard lock(m_fileMutex);
    if (m_folder.empty()) return;
    try {
        RemoveFolder(m_folder);
    } catch (const ZorException&) {
        // It is offered at the next start, where the user can do away with it.
    }
    if (m_lock >= 0) close(m_lock);
    m_lock = -1;
    m_folder.clear();
}

void OrvRecovery::Wait() {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return !m_waiting && !m_isWriting; });
}

std::string OrvRecovery::GetProblem() const {
    const std::lock_guard lock(m_mutex);
    return m_problem;
}

void OrvRecovery::Work() {
    std::unique_lock lock(m_mutex);
    while (true) {
        m_changed.wait(lock, [this] { return m_waiting || m_isStopping; });
        if (m_isStopping) return;
        m_isWriting = true;
        lock.unlock();
        std::string problem;
        try {
            const std::lock_guard files(m_fileMutex);
            // Taken only now: whoever clears meanwhile has the last word.
            std::optional<OrvProject> project;
            {
                const std::lock_guard waiting(m_mutex);
                project = std::exchange(m_waiting, {});
            }
            if (project) Write(*project);
        } catch (const ZorException& exception) {
            problem = exception.GetMessage();
        }
        lock.lock();
        m_problem = problem;
        m_isWriting = false;
        m_changed.notify_all();
    }
}

void OrvRecovery::Write(const OrvProject& project) {
    if (m_folder.empty()) {
        const std::string folder = PathJoin(m_root, NewFolderName());
        MakeFolder(folder);
        m_lock = LockFile(PathJoin(folder, kLockName));
        if (m_lock < 0) ZOR_THROW(File, "\"" + ToValidUtf8(folder) + "\" cannot be locked.");
        m_folder = folder;
    }
    WritePrivateFile(PathJoin(m_folder, kPathName), project.GetPath());
    WritePrivateFile(PathJoin(m_folder, kProjectName), project.ToText());
}

std::vector<OrvRecoveredProject> OrvRecovery::List() const {
    std::vector<OrvRecoveredProject> found;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(m_root, error)) {
        const std::string folder = entry.path().string();
        const auto facts = GetFileFacts(PathJoin(folder, kProjectName));
        if (!facts || facts->isFolder || !IsLeftBehind(folder)) continue;
        OrvRecoveredProject left;
        left.folder = folder;
        left.written = facts->modified;
        try {
            left.projectPath = ReadFile(PathJoin(folder, kPathName));
        } catch (const ZorException&) {
            // It is offered without a name.
        }
        found.push_back(std::move(left));
    }
    std::sort(found.begin(), found.end(), [](const OrvRecoveredProject& a, const OrvRecoveredProject& b) {
        return std::pair(b.written, b.folder) < std::pair(a.written, a.folder);
    });
    return found;
}

OrvProject OrvRecovery::Read(const std::string& folder) {
    OrvProject project = OrvProject::FromText(ReadFile(PathJoin(folder, kProjectName)));
    project.SetPath(ReadFile(PathJoin(folder, kPathName)));
    project.SetSaved(false);
    return project;
}

void OrvRecovery::Discard(const std::string& folder) {
    RemoveFolder(folder);
}
