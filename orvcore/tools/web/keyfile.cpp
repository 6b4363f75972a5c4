#include "orvcore/tools/web/keyfile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr std::size_t kLongestKey = 512;
constexpr std::uint64_t kLargestFile = 4096;
constexpr mode_t kForOthers = 0077;

std::string Folder() {
    return PathFolder(OrvKeyFile::Path());
}

// Takes away what others may do. What belongs to somebody else cannot be narrowed and stays.
void Narrow(const std::string& path) {
    struct stat facts {};
    if (lstat(path.c_str(), &facts) != 0 || S_ISLNK(facts.st_mode) || (facts.st_mode & kForOthers) == 0)
        return;
    chmod(path.c_str(), facts.st_mode & 07777 & ~kForOthers);
}

void MakePrivateFolder(const std::string& folder) {
    MakeFolder(PathFolder(folder));
    if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST)
        ZOR_THROW(File, "Cannot make the folder \"" + ToValidUtf8(folder) +
                            "\": " + std::generic_category().message(errno) + ".");
    Narrow(folder);
}

}  // namespace

std::string OrvKeyFile::Path() {
    return PathJoin(PathJoin(GetAppDocumentsPath(), "cameraforensics"), "cameraforensics.apikey");
}

std::string OrvKeyFile::Get() const {
    const std::lock_guard lock(m_mutex);
    if (m_unsaved) return *m_unsaved;
    const std::string path = Path();
    const auto facts = GetFileFacts(path);
    if (!facts || facts->isFolder) return {};
    Narrow(Folder());
    Narrow(path);
    if (facts->size > kLargestFile) return {};
    try {
        const std::string key = Trim(ReadFile(path));
        return CanBeKey(key) ? key : std::string();
    } catch (const ZorException&) {
        return {};
    }
}

void OrvKeyFile::Set(const std::string& key) {
    const std::lock_guard lock(m_mutex);
    m_unsaved = Trim(key);
}

void OrvKeyFile::Save() {
    std::string key;
    {
        const std::lock_guard lock(m_mutex);
        if (!m_unsaved) return;
        key = *m_unsaved;
    }
    MakePrivateFolder(Folder());
    WritePrivateFile(Path(), key + "\n");
    const std::lock_guard lock(m_mutex);
    if (m_unsaved == key) m_unsaved.reset();
}

bool OrvKeyFile::CanBeKey(const std::string& key) {
    return !key.empty() && key.size() <= kLongestKey &&
           std::all_of(key.begin(), key.end(), [](char c) { return c > ' ' && c < '\x7F'; });
}
