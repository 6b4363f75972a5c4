#include "orvcore/tools/copyfiles.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr std::size_t kBlock = 1 << 20;
constexpr int kNamedFailures = 5;

class Descriptor {
  public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor() {
        if (m_fd >= 0) close(m_fd);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int Get() const { return m_fd; }
    int Close() {
        const int result = close(m_fd);
        m_fd = -1;
        return result;
    }

  private:
    int m_fd;
};

// Removed at the end, whether it was linked to its name or not.
class Draft {
  public:
    explicit Draft(std::string path)
        : m_path(std::move(path)),
          m_file(open(m_path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666)) {}
    ~Draft() {
        if (m_isOurs) unlink(m_path.c_str());
    }
    Draft(const Draft&) = delete;
    Draft& operator=(const Draft&) = delete;
    const std::string& Path() const { return m_path; }
    Descriptor& File() { return m_file; }

  private:
    std::string m_path;
    Descriptor m_file;
    bool m_isOurs = m_file.Get() >= 0;
};

[[noreturn]] void Fail(const std::string& path) {
    const int error = errno;
    ZOR_THROW(File, "\"" + ToValidUtf8(PathName(path)) + "\": " + std::generic_category().message(error));
}

void WriteAll(int fd, const char* data, std::size_t size, const std::string& path) {
    while (size > 0) {
        const ssize_t written = write(fd, data, size);
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) Fail(path);
        data += written;
        size -= static_cast<std::size_t>(written);
    }
}

std::string NumberedName(const std::string& name, int number) {
    if (number == 1) return name;
    const std::size_t dot = name.rfind('.');
    const std::size_t end = dot == std::string::npos || dot == 0 ? name.size() : dot;
    return name.substr(0, end) + " (" + ToString(number) + ")" + name.substr(end);
}

// link() fails where the name is taken, so that two programs cannot overwrite each other. Where the file system knows
// no links the name is taken by an empty file first.
void GiveName(const std::string& draft, const std::string& folder, const std::string& name) {
    for (int number = 1;; ++number) {
        const std::string target = PathJoin(folder, NumberedName(name, number));
        if (link(draft.c_str(), target.c_str()) == 0) return;
        if (errno == EEXIST) continue;
        const int fd = open(target.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0 && errno == EEXIST) continue;
        if (fd < 0) Fail(target);
        close(fd);
        if (std::rename(draft.c_str(), target.c_str()) == 0) return;
        const int error = errno;
        unlink(target.c_str());
        errno = error;
        Fail(target);
    }
}

void CopyOne(const std::string& path, const std::string& folder, std::vector<char>& buffer,
             const OrvJob& job) {
    const auto facts = GetFileFacts(path);
    if (facts && facts->isFolder) {
        errno = EISDIR;
        Fail(path);
    }
    // Not waiting for a writer, should the name be a pipe.
    Descriptor source(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (source.Get() < 0) Fail(path);
    Draft draft(PathJoin(folder, ".orvane-copy-" + ToString(static_cast<int>(getpid())) + ".tmp"));
    if (draft.File().Get() < 0) Fail(draft.Path());
    for (;;) {
        job.CheckAbort();
        const ssize_t count = read(source.Get(), buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) Fail(path);
        if (count == 0) break;
        WriteAll(draft.File().Get(), buffer.data(), static_cast<std::size_t>(count), path);
    }
    if (fsync(draft.File().Get()) != 0 || draft.File().Close() != 0) Fail(path);
    GiveName(draft.Path(), folder, PathName(path));
}

}  // namespace

int CopyFiles(const std::vector<std::string>& paths, const std::string& folder, const OrvJob& job) {
    MakeFolder(folder);
    std::vector<char> buffer(kBlock);
    std::string problems;
    int failed = 0;
    for (std::size_t i = 0; i < paths.size(); ++i) {
        job.SetProgress(static_cast<double>(i) / static_cast<double>(paths.size()),
                        ToString(static_cast<int>(i + 1)) + " / " + ToString(static_cast<int>(paths.size())) +
                            "  " + ToValidUtf8(PathName(paths[i])));
        try {
            CopyOne(paths[i], folder, buffer, job);
        } catch (const ZorException& exception) {
            if (exception.GetKind() != ZorException::Kind::File) throw;
            if (++failed <= kNamedFailures) problems += "\n" + exception.GetMessage();
        }
    }
    if (failed > kNamedFailures) problems += "\n\u2026";
    if (failed > 0)
        ZOR_THROW(File, ToString(failed) + " of " + ToString(static_cast<int>(paths.size())) +
                            " files were not copied:" + problems);
    return static_cast<int>(paths.size());
}
