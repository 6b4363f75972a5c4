#include "orvcore/tools/folder/copyfiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "orvcore/tools/newfile.h"
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

  private:
    int m_fd;
};

[[noreturn]] void Fail(const std::string& path) {
    const int error = errno;
    ZOR_THROW(File, "\"" + ToValidUtf8(PathName(path)) + "\": " + std::generic_category().message(error));
}

void CopyOne(const std::string& path, const std::string& folder, std::vector<std::uint8_t>& buffer,
             const OrvJob& job) {
    const Descriptor source(OpenForReading(path));
    struct stat facts {};
    if (source.Get() < 0 || fstat(source.Get(), &facts) != 0) Fail(path);
    // The name may have changed hands since it was listed, and a device has no end.
    if (!S_ISREG(facts.st_mode))
        ZOR_THROW(File, "\"" + ToValidUtf8(PathName(path)) + "\": it is not a regular file");
    NewFile copy(folder, PathName(path));
    for (;;) {
        job.CheckAbort();
        const ssize_t count = read(source.Get(), buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) Fail(path);
        if (count == 0) break;
        copy.Write(std::span(buffer).first(static_cast<std::size_t>(count)));
    }
    copy.Finish();
}

}  // namespace

int CopyFiles(const std::vector<std::string>& paths, const std::string& folder, const OrvJob& job) {
    MakeFolder(folder);
    std::vector<std::uint8_t> buffer(kBlock);
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
