#include "orvcore/model/filelister.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>

#include "zorbase/files.h"
#include "zorbase/folders.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageformat.h"

namespace {

bool IsImageFile(const FolderEntry& entry) {
    // Looking at a file does not count as reading it.
    const int file = OpenInFolder(entry.folder, entry.name);
    if (file < 0) return false;
    std::array<std::uint8_t, kFormatSniffBytes> head;
    struct stat facts {};
    ssize_t count = -1;
    if (fstat(file, &facts) == 0 && S_ISREG(facts.st_mode)) count = read(file, head.data(), head.size());
    close(file);
    if (count <= 0) return false;
    return IsReadableFormat(DetectFormat(std::span(head.data(), static_cast<std::size_t>(count))));
}

}  // namespace

OrvPaths ListImageFiles(const std::string& folder, const std::string& always, const std::stop_token& stop) {
    const std::string alwaysName = PathName(always);
    std::vector<std::string> names;
    try {
        ForEachEntry(folder, [&](const FolderEntry& entry) {
            const bool mayBeFile =
                entry.kind == FolderEntry::Kind::File || entry.kind == FolderEntry::Kind::Link;
            if (mayBeFile && (alwaysName == entry.name || IsImageFile(entry))) names.push_back(entry.name);
            return !stop.stop_requested();
        });
    } catch (const ZorException&) {
        // A folder that cannot be read has no files to step through.
    }
    if (!alwaysName.empty() && std::find(names.begin(), names.end(), alwaysName) == names.end())
        names.push_back(alwaysName);
    std::sort(names.begin(), names.end(),
              [](const std::string& a, const std::string& b) { return CompareNatural(a, b) < 0; });
    OrvPaths paths;
    paths.reserve(names.size());
    for (const std::string& name : names) paths.push_back(PathJoin(folder, name));
    return paths;
}

OrvFileLister::OrvFileLister(Done done) : m_done(std::move(done)) {
    m_thread = std::thread([this] {
        while (true) {
            Task task;
            std::stop_token stop;
            {
                std::unique_lock lock(m_mutex);
                m_runningSlot = -1;
                m_changed.notify_all();
                m_changed.wait(lock, [this] { return m_isStopping || !m_tasks.empty(); });
                if (m_isStopping) return;
                task = m_tasks.front();
                m_tasks.pop_front();
                m_runningSlot = task.slot;
                m_running = std::stop_source();
                stop = m_running.get_token();
            }
            auto paths = std::make_shared<const OrvPaths>(ListImageFiles(task.folder, task.always, stop));
            if (stop.stop_requested()) continue;
            {
                const std::lock_guard lock(m_mutex);
                m_runningSlot = -1;
            }
            m_done(task.slot, task.folder, std::move(paths));
        }
    });
}

OrvFileLister::~OrvFileLister() {
    {
        const std::lock_guard lock(m_mutex);
        m_isStopping = true;
        m_running.request_stop();
    }
    m_changed.notify_all();
    m_thread.join();
}

void OrvFileLister::Request(int slot, const std::string& folder, const std::string& always) {
    {
        const std::lock_guard lock(m_mutex);
        std::erase_if(m_tasks, [slot](const Task& task) { return task.slot == slot; });
        if (m_runningSlot == slot) m_running.request_stop();
        m_tasks.push_back({slot, folder, always});
    }
    m_changed.notify_all();
}

void OrvFileLister::Cancel(int slot) {
    const std::lock_guard lock(m_mutex);
    std::erase_if(m_tasks, [slot](const Task& task) { return task.slot == slot; });
    if (m_runningSlot == slot) m_running.request_stop();
}

bool OrvFileLister::IsListing(int slot) const {
    const std::lock_guard lock(m_mutex);
    return m_runningSlot == slot || std::any_of(m_tasks.begin(), m_tasks.end(),
                                                [slot](const Task& task) { return task.slot == slot; });
}

bool OrvFileLister::WaitIdle(int timeoutMs) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                              [this] { return m_tasks.empty() && m_runningSlot < 0; });
}
