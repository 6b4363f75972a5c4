#include "zorbase/fileprotection.h"

#include <sys/stat.h>

#include <map>
#include <mutex>
#include <utility>

#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

using Identity = std::pair<std::uint64_t, std::uint64_t>;  // device, inode

bool GetIdentity(const std::string& path, Identity& identity) {
    struct stat facts {};
    if (path.find('\0') != std::string::npos || stat(path.c_str(), &facts) != 0) return false;
    identity = {facts.st_dev, facts.st_ino};
    return true;
}

struct Registry {
    std::mutex mutex;
    std::map<Identity, int> files;  // how often each is protected
};

Registry& TheRegistry() {
    static Registry registry;
    return registry;
}

}  // namespace

FileProtection::FileProtection(const std::string& path) {
    Identity identity;
    m_isKnown = GetIdentity(path, identity);
    if (!m_isKnown) return;
    m_device = identity.first;
    m_inode = identity.second;
    const std::lock_guard lock(TheRegistry().mutex);
    ++TheRegistry().files[identity];
}

FileProtection::FileProtection(FileProtection&& other) noexcept
    : m_isKnown(std::exchange(other.m_isKnown, false)), m_device(other.m_device), m_inode(other.m_inode) {}

FileProtection::~FileProtection() {
    if (!m_isKnown) return;
    const std::lock_guard lock(TheRegistry().mutex);
    const auto found = TheRegistry().files.find({m_device, m_inode});
    if (found != TheRegistry().files.end() && --found->second == 0) TheRegistry().files.erase(found);
}

void RefuseProtectedFile(const std::string& path) {
    Identity identity;
    if (!GetIdentity(path, identity)) return;
    {
        const std::lock_guard lock(TheRegistry().mutex);
        if (!TheRegistry().files.contains(identity)) return;
    }
    ZOR_THROW(File,
              "\"" + ToValidUtf8(PathName(path)) +
                  "\" is one of the files to work on, which are never written to. Choose another name.");
}

bool LeadToSameFile(const std::string& one, const std::string& other) {
    Identity first;
    Identity second;
    return GetIdentity(one, first) && GetIdentity(other, second) && first == second;
}
