#include "zorbase/folders.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <system_error>

#include "zorbase/files.h"
#include "zorbase/openbelow.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

FolderEntry::Kind KindOf(int folder, const dirent& entry) {
    struct stat facts {};
    switch (entry.d_type) {
        case DT_REG:
            return FolderEntry::Kind::File;
        case DT_DIR:
            return FolderEntry::Kind::Folder;
        case DT_LNK:
            return FolderEntry::Kind::Link;
        case DT_UNKNOWN:
            if (fstatat(folder, entry.d_name, &facts, AT_SYMLINK_NOFOLLOW) != 0)
                return FolderEntry::Kind::Other;
            return S_ISREG(facts.st_mode)   ? FolderEntry::Kind::File
                   : S_ISDIR(facts.st_mode) ? FolderEntry::Kind::Folder
                   : S_ISLNK(facts.st_mode) ? FolderEntry::Kind::Link
                                            : FolderEntry::Kind::Other;
        default:
            return FolderEntry::Kind::Other;
    }
}

}  // namespace

int OpenBelow(int folder, const std::string& name, int moreFlags) {
    // Without waiting: a named pipe would otherwise block until somebody writes to it.
    const int flags = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | moreFlags;
    if (name.find('\0') != std::string::npos) {
        errno = EINVAL;
        return -1;
    }
    const int fd = openat(folder, name.c_str(), flags | O_NOATIME);
    // Only the owner may leave the access time alone.
    return fd >= 0 || errno != EPERM ? fd : openat(folder, name.c_str(), flags);
}

int OpenInFolder(int folder, const std::string& name) {
    return OpenBelow(folder, name, 0);
}

void ForEachEntry(const std::string& folder, const std::function<bool(const FolderEntry&)>& take) {
    const int descriptor = OpenForReading(folder, O_DIRECTORY);
    DIR* handle = descriptor >= 0 ? fdopendir(descriptor) : nullptr;
    if (handle == nullptr) {
        const int reason = errno;
        if (descriptor >= 0) close(descriptor);
        ZOR_THROW(File, "Cannot read the folder \"" + ToValidUtf8(folder) +
                            "\": " + std::generic_category().message(reason) + ".");
    }
    const std::unique_ptr<DIR, int (*)(DIR*)> closer(handle, closedir);
    while (const dirent* entry = readdir(handle)) {
        const std::string name = entry->d_name;
        if (name == "." || name == "..") continue;
        if (!take({name, KindOf(descriptor, *entry), descriptor})) return;
    }
}

std::vector<std::string> ListFiles(const std::string& folder) {
    std::vector<std::string> paths;
    try {
        ForEachEntry(folder, [&](const FolderEntry& entry) {
            const std::string path = PathJoin(folder, entry.name);
            const bool isFile = entry.kind == FolderEntry::Kind::File ||
                                (entry.kind == FolderEntry::Kind::Link && FileExists(path));
            if (isFile) paths.push_back(path);
            return true;
        });
    } catch (const ZorException&) {
        return {};
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}
