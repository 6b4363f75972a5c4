#include "orvcore/tools/newfile.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <system_error>

#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

// A draft that an earlier run left behind may have the name: then the next one is taken.
int OpenDraft(const std::string& folder, std::string& path) {
    static std::atomic<int> s_counter{0};
    const std::string stem = ".orvane-new-" + ToString(static_cast<int>(getpid())) + "-";
    int fd = -1;
    do {
        path = PathJoin(folder, stem + ToString(s_counter++) + ".tmp");
        fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    } while (fd < 0 && errno == EEXIST);
    return fd;
}

std::string NumberedName(const std::string& name, int number) {
    if (number == 1) return name;
    const std::size_t dot = name.rfind('.');
    const std::size_t end = dot == std::string::npos || dot == 0 ? name.size() : dot;
    return name.substr(0, end) + " (" + ToString(number) + ")" + name.substr(end);
}

}  // namespace

NewFile::NewFile(const std::string& folder, const std::string& name)
    : m_folder(folder), m_name(name), m_fd(OpenDraft(folder, m_draft)) {
    if (m_fd < 0) Fail();
}

NewFile::~NewFile() {
    if (m_fd >= 0) close(m_fd);
    unlink(m_draft.c_str());
}

void NewFile::Fail() const {
    const int error = errno;
    ZOR_THROW(File, "\"" + ToValidUtf8(m_name) + "\": " + std::generic_category().message(error));
}

void NewFile::Write(std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(m_fd, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) Fail();
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
}

std::string NewFile::Finish() {
    if (fsync(m_fd) != 0) Fail();
    const int fd = m_fd;
    m_fd = -1;
    if (close(fd) != 0) Fail();
    return GiveName();
}

// link() fails where the name is taken, so that two programs cannot overwrite each other. Where the file system knows
// no links the name is taken by an empty file first.
std::string NewFile::GiveName() const {
    for (int number = 1;; ++number) {
        const std::string name = NumberedName(m_name, number);
        const std::string target = PathJoin(m_folder, name);
        if (link(m_draft.c_str(), target.c_str()) == 0) return name;
        if (errno == EEXIST) continue;
        const int fd = open(target.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0 && errno == EEXIST) continue;
        if (fd < 0) Fail();
        close(fd);
        if (std::rename(m_draft.c_str(), target.c_str()) == 0) return name;
        const int error = errno;
        unlink(target.c_str());
        errno = error;
        Fail();
    }
}
