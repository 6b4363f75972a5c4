#include "zorbase/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <span>
#include <system_error>

#include "zorbase/calendar.h"
#include "zorbase/fileprotection.h"
#include "zorbase/openbelow.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

[[noreturn]] void Fail(const std::string& what, const std::string& path, const std::string& reason) {
    ZOR_THROW(File, what + " \"" + ToValidUtf8(path) + "\": " + reason + ".");
}

// strerror is not safe between threads; the error category's message is.
std::string Reason(int error) {
    return std::generic_category().message(error);
}

bool HasNul(const std::string& path) {
    return path.find('\0') != std::string::npos;
}

class Descriptor {
  public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor() { Close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int Get() const { return m_fd; }
    bool IsOpen() const { return m_fd >= 0; }
    // False with errno when the system reports a late write error.
    bool Close() {
        if (m_fd < 0) return true;
        const int fd = m_fd;
        m_fd = -1;
        return close(fd) == 0;
    }

  private:
    int m_fd;
};

constexpr const char* kReading = "Cannot read the file";

void CheckRegular(const Descriptor& file, const std::string& path, struct stat& facts) {
    if (!file.IsOpen()) Fail(kReading, path, HasNul(path) ? "the name holds a zero byte" : Reason(errno));
    if (fstat(file.Get(), &facts) != 0) Fail(kReading, path, Reason(errno));
    if (S_ISDIR(facts.st_mode)) Fail(kReading, path, "it is a folder");
    if (!S_ISREG(facts.st_mode)) Fail(kReading, path, "it is not a regular file");
}

template <typename Buffer>
Buffer ReadAll(const std::string& path) {
    struct stat facts {};
    const Descriptor file(OpenForReading(path, 0));
    CheckRegular(file, path, facts);

    try {
        Buffer content;
        std::size_t filled = 0;
        // One byte more than the file is said to have: the read that finds its end needs no further growth.
        std::size_t room = static_cast<std::size_t>(facts.st_size) + 1;
        for (;;) {
            content.resize(room);
            const ssize_t got = read(file.Get(), content.data() + filled, room - filled);
            if (got < 0 && errno == EINTR) continue;
            if (got < 0) Fail(kReading, path, Reason(errno));
            if (got == 0) break;
            filled += static_cast<std::size_t>(got);
            if (filled == room) room += std::max<std::size_t>(room, 65536);
        }
        content.resize(filled);
        return content;
    } catch (const std::bad_alloc&) {
        ZOR_THROW(Memory, "There is not enough memory to read the file \"" + ToValidUtf8(path) + "\".");
    } catch (const std::length_error&) {
        ZOR_THROW(Memory, "There is not enough memory to read the file \"" + ToValidUtf8(path) + "\".");
    }
}

enum class Readers { AsUsual, OwnerOnly };

// A new empty file beside the target that nobody else has; removed again unless it was renamed. Created with
// the user's own file mode, which mkstemp would narrow, or from the start for the owner alone.
class TemporaryFile {
  public:
    TemporaryFile(const std::string& folder, Readers readers) {
        static std::atomic<unsigned> s_counter{0};
        do {
            m_path = PathJoin(
                folder, ".orvane-" + std::to_string(getpid()) + "-" + std::to_string(s_counter++) + ".tmp");
            m_fd = open(m_path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                        readers == Readers::OwnerOnly ? 0600 : 0666);
        } while (m_fd < 0 && errno == EEXIST);
    }
    ~TemporaryFile() {
        if (m_fd >= 0 && !m_renamed) unlink(m_path.c_str());
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    int Descriptor() const { return m_fd; }
    bool RenameTo(const std::string& target) {
        m_renamed = std::rename(m_path.c_str(), target.c_str()) == 0;
        return m_renamed;
    }

  private:
    std::string m_path;
    int m_fd = -1;
    bool m_renamed = false;
};

constexpr const char* kWriting = "Cannot write the file";

// A file that takes its name when it is whole.
class AtomicFile {
  public:
    explicit AtomicFile(const std::string& path, Readers readers = Readers::AsUsual)
        : m_path(path),
          m_folder(MakeParent(path)),
          m_temporary(m_folder, readers),
          m_file(m_temporary.Descriptor()) {
        if (!m_file.IsOpen()) Fail(kWriting, m_path, Reason(errno));
        struct stat old {};
        if (readers == Readers::AsUsual && lstat(m_path.c_str(), &old) == 0 &&
            fchmod(m_file.Get(), old.st_mode & 0777) != 0) {
            Fail(kWriting, m_path, Reason(errno));
        }
    }

    void Add(std::string_view piece) {
        if (m_waiting.size() + piece.size() < kBuffer) {
            m_waiting += piece;
            return;
        }
        Write(m_waiting);
        m_waiting.clear();
        Write(piece);
    }

    void Finish(FileSync sync = FileSync::Now) {
        Write(m_waiting);
        if ((sync == FileSync::Now && fsync(m_file.Get()) != 0) || !m_file.Close())
            Fail(kWriting, m_path, Reason(errno));
        RefuseTarget(m_path);  // again: it may have taken long
        if (!m_temporary.RenameTo(m_path)) Fail(kWriting, m_path, Reason(errno));

        if (sync == FileSync::Later) return;
        // The new name itself must be on the disk too. Some file systems cannot sync a folder and say so.
        const Descriptor directory(open(m_folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (directory.IsOpen() && fsync(directory.Get()) != 0 && errno == EIO)
            Fail(kWriting, m_path, Reason(errno));
    }

  private:
    static constexpr std::size_t kBuffer = 65536;

    // A rename would put a file in the place of a device, a pipe or a link, and the system's own are among them.
    static void RefuseTarget(const std::string& path) {
        struct stat old {};
        if (lstat(path.c_str(), &old) != 0) return;
        if (S_ISDIR(old.st_mode)) Fail(kWriting, path, "it is a folder");
        if (S_ISLNK(old.st_mode)) Fail(kWriting, path, "it is a link, and what it leads to must not change");
        if (!S_ISREG(old.st_mode)) Fail(kWriting, path, "it is not a regular file");
        RefuseProtectedFile(path);
    }

    static std::string MakeParent(const std::string& path) {
        if (HasNul(path)) Fail(kWriting, path, "the name holds a zero byte");
        RefuseTarget(path);
        const std::string parent = PathFolder(path);
        if (!parent.empty()) MakeFolder(parent);
        return parent.empty() ? "." : parent;
    }

    void Write(std::string_view content) {
        while (!content.empty()) {
            const ssize_t put = write(m_file.Get(), content.data(), content.size());
            if (put < 0 && errno == EINTR) continue;
            if (put < 0) Fail(kWriting, m_path, Reason(errno));
            content.remove_prefix(static_cast<std::size_t>(put));
        }
    }

    std::string m_path;
    std::string m_folder;
    TemporaryFile m_temporary;
    Descriptor m_file;
    std::string m_waiting;
};

}  // namespace

int OpenForReading(const std::string& path, int moreFlags) {
    return OpenBelow(AT_FDCWD, path, moreFlags);
}

std::string ReadFile(const std::string& path) {
    return ReadAll<std::string>(path);
}
Bytes ReadFileBytes(const std::string& path) {
    return ReadAll<Bytes>(path);
}

std::size_t ReadFileInto(const std::string& path, Bytes& buffer, std::uint64_t maximumBytes,
                         const std::function<void(std::span<const std::uint8_t>)>& added, bool* hasChanged) {
    // Small enough that whoever takes a piece finds it in the processor's cache.
    constexpr std::size_t kPiece = std::size_t{256} << 10;
    struct stat facts {};
    const Descriptor file(OpenForReading(path, 0));
    CheckRegular(file, path, facts);
    // What is added meanwhile is not read: the file as it was at one moment is what can be examined. A file that states
    // no size is read to its end.
    const auto stated = static_cast<std::size_t>(facts.st_size);
    const auto finish = [&](std::size_t filled) {
        struct stat after {};
        if (hasChanged != nullptr)
            *hasChanged = fstat(file.Get(), &after) != 0 || after.st_size != facts.st_size ||
                          (stated > 0 && filled != stated) || after.st_mtim.tv_sec != facts.st_mtim.tv_sec ||
                          after.st_mtim.tv_nsec != facts.st_mtim.tv_nsec;
        return filled;
    };
    try {
        std::size_t filled = 0;
        for (;;) {
            if (stated > 0 && filled == stated) return finish(filled);
            if (filled > maximumBytes || static_cast<std::uint64_t>(facts.st_size) > maximumBytes)
                Fail(kReading, path, "it has more than " + FormatFileSize(maximumBytes));
            if (filled == buffer.size())
                buffer.resize(
                    std::max({buffer.size() * 2, kPiece, static_cast<std::size_t>(facts.st_size) + 1}));
            const ssize_t got =
                read(file.Get(), buffer.data() + filled,
                     std::min({kPiece, buffer.size() - filled, stated > 0 ? stated - filled : kPiece}));
            if (got < 0 && errno == EINTR) continue;
            if (got < 0) Fail(kReading, path, Reason(errno));
            if (got == 0) return finish(filled);
            added(std::span<const std::uint8_t>(buffer).subspan(filled, static_cast<std::size_t>(got)));
            filled += static_cast<std::size_t>(got);
        }
    } catch (const std::bad_alloc&) {
        ZOR_THROW(Memory, "There is not enough memory to read the file \"" + ToValidUtf8(path) + "\".");
    }
}

class FileWriter::Implementation : public AtomicFile {
  public:
    using AtomicFile::AtomicFile;
};

FileWriter::FileWriter(const std::string& path) : m(std::make_unique<Implementation>(path)) {}
FileWriter::~FileWriter() = default;

void FileWriter::Add(std::string_view piece) {
    m->Add(piece);
}

void FileWriter::Finish() {
    m->Finish();
}

void WriteFile(const std::string& path, const std::string& content) {
    FileWriter file(path);
    file.Add(content);
    file.Finish();
}

void WriteFile(const std::string& path, const Bytes& content) {
    WriteFile(path, content, FileSync::Now);
}

void WriteFile(const std::string& path, const Bytes& content, FileSync sync) {
    AtomicFile file(path);
    file.Add(std::string_view(reinterpret_cast<const char*>(content.data()), content.size()));
    file.Finish(sync);
}

void SyncFolder(const std::string& path) {
    const Descriptor folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.IsOpen() || syncfs(folder.Get()) != 0) Fail("Cannot write the folder", path, Reason(errno));
}

void WritePrivateFile(const std::string& path, const std::string& content) {
    AtomicFile file(path, Readers::OwnerOnly);
    file.Add(content);
    file.Finish();
}

void RestrictToOwner(const std::string& path) {
    const Descriptor file(OpenForReading(path, O_NOFOLLOW));
    struct stat facts {};
    if (!file.IsOpen() || fstat(file.Get(), &facts) != 0 || !S_ISREG(facts.st_mode)) return;
    if ((facts.st_mode & 077) != 0 && fchmod(file.Get(), facts.st_mode & 0700) != 0) return;
}

std::optional<FileFacts> GetFileFacts(const std::string& path) {
    if (HasNul(path)) return std::nullopt;
    struct statx facts {};
    if (statx(AT_FDCWD, path.c_str(), AT_STATX_SYNC_AS_STAT, STATX_BASIC_STATS | STATX_BTIME, &facts) != 0) {
        return std::nullopt;
    }
    FileFacts result;
    result.size = facts.stx_size;
    result.isFolder = S_ISDIR(facts.stx_mode);
    result.modified = facts.stx_mtime.tv_sec;
    result.accessed = facts.stx_atime.tv_sec;
    result.changed = facts.stx_ctime.tv_sec;
    if ((facts.stx_mask & STATX_BTIME) != 0) result.created = facts.stx_btime.tv_sec;
    return result;
}

bool FileExists(const std::string& path) {
    const std::optional<FileFacts> facts = GetFileFacts(path);
    return facts && !facts->isFolder;
}

bool FolderExists(const std::string& path) {
    const std::optional<FileFacts> facts = GetFileFacts(path);
    return facts && facts->isFolder;
}

void MakeFolder(const std::string& path) {
    constexpr const char* kWhat = "Cannot make the folder";
    if (HasNul(path)) Fail(kWhat, path, "the name holds a zero byte");
    if (FolderExists(path)) return;
    std::error_code error;
    std::filesystem::create_directories(path, error);
    if (error) Fail(kWhat, path, error.message());
    if (!FolderExists(path)) Fail(kWhat, path, "a file of that name is in the way");
}

void RemoveFolder(const std::string& path) {
    constexpr const char* kWhat = "Cannot remove the folder";
    if (HasNul(path)) Fail(kWhat, path, "the name holds a zero byte");
    struct stat facts {};
    if (lstat(path.c_str(), &facts) != 0) {
        if (errno == ENOENT || errno == ENOTDIR) return;
        Fail(kWhat, path, Reason(errno));
    }
    if (!S_ISDIR(facts.st_mode)) Fail(kWhat, path, "it is not a folder");
    std::error_code error;
    std::filesystem::remove_all(path, error);
    if (error) Fail(kWhat, path, error.message());
}

std::string FormatTime(std::time_t time) {
    const CalendarTime local = LocalTime(time);
    const int zone = std::abs(local.secondsOfZone) / 60;
    char text[80];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d %c%02d%02d", local.year, local.month,
                  local.day, local.hour, local.minute, local.second, local.secondsOfZone < 0 ? '-' : '+',
                  zone / 60, zone % 60);
    return text;
}
