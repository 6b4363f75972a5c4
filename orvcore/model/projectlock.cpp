#include "orvcore/model/projectlock.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <filesystem>

#include "zorbase/files.h"
#include "zorbase/text.h"

namespace {

constexpr int kHeld = -1;
constexpr int kImpossible = -2;

// Two ways that lead to one project have one lock.
std::string LockPath(const std::string& projectPath) {
    std::error_code error;
    std::filesystem::path real = std::filesystem::weakly_canonical(projectPath, error);
    if (error) real = projectPath;
    return (real.parent_path() / ("." + real.filename().string() + ".lock")).string();
}

std::string HolderText() {
    char host[256] = {};
    if (gethostname(host, sizeof host - 1) != 0) host[0] = '\0';
    const char* user = getenv("USER");
    return std::string(user != nullptr ? user : "somebody") +
           (host[0] != '\0' ? std::string("@") + host : "") + ", process " +
           ToString(static_cast<int>(getpid())) + ", since " + FormatTime(std::time(nullptr));
}

// Whether the name still leads to the locked file: another instance may have removed it in between.
bool IsUnderName(int descriptor, const std::string& path) {
    struct stat open {};
    struct stat named {};
    return fstat(descriptor, &open) == 0 && lstat(path.c_str(), &named) == 0 && open.st_dev == named.st_dev &&
           open.st_ino == named.st_ino;
}

std::string ReadHolder(const std::string& path) {
    constexpr std::size_t kLongest = 200;
    char buffer[kLongest];
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    const ssize_t size = descriptor >= 0 ? read(descriptor, buffer, sizeof buffer) : 0;
    if (descriptor >= 0) close(descriptor);
    const std::string text =
        Trim(ToValidUtf8(std::string(buffer, size > 0 ? static_cast<std::size_t>(size) : 0)));
    return text.empty() ? "another instance" : text;
}

}  // namespace

int LockFile(const std::string& path) {
    constexpr int kTries = 20;
    for (int i = 0; i < kTries; ++i) {
        const int descriptor =
            open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, S_IRUSR | S_IWUSR);
        if (descriptor < 0) return kImpossible;
        // Of the open file, not of the process: two cores in one process are two instances, and no other close() gives it up.
        struct flock whole {};
        whole.l_type = F_WRLCK;
        whole.l_whence = SEEK_SET;
        if (fcntl(descriptor, F_OFD_SETLK, &whole) != 0) {
            const bool isHeld = errno == EAGAIN || errno == EACCES;
            close(descriptor);
            return isHeld ? kHeld : kImpossible;
        }
        if (IsUnderName(descriptor, path)) return descriptor;
        close(descriptor);
    }
    return kImpossible;
}

OrvProjectLock::Attempt OrvProjectLock::Take(const std::string& projectPath) {
    const std::string path = LockPath(projectPath);
    const int descriptor = LockFile(path);
    if (descriptor == kHeld) return {nullptr, ReadHolder(path)};
    if (descriptor < 0) return {};
    const std::string holder = HolderText() + "\n";
    // Who it is, is for people only; the lock holds without it.
    if (ftruncate(descriptor, 0) == 0 && pwrite(descriptor, holder.data(), holder.size(), 0) < 0) errno = 0;
    return {std::unique_ptr<OrvProjectLock>(new OrvProjectLock(path, descriptor)), {}};
}

OrvProjectLock::~OrvProjectLock() {
    if (IsUnderName(m_descriptor, m_path)) unlink(m_path.c_str());
    close(m_descriptor);
}

bool OrvProjectLock::IsFor(const std::string& projectPath) const {
    return LockPath(projectPath) == m_path;
}
