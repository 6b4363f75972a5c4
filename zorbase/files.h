#pragma once

#include <cstdint>
#include <ctime>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// Files and folders. Paths are bytes. Functions that cannot do their work throw ZorException (kind File) with a text that
// names the file and the system's reason, unless they say otherwise. Nothing here opens a file of the user for writing
// except the Write functions.

using Bytes = std::vector<std::uint8_t>;

std::string ReadFile(const std::string& path);
Bytes ReadFileBytes(
    const std::string& path);  // opened read-only; the access time is left alone where the system allows

// The same in pieces, for whoever reads many files: into a buffer that grows when it must and never shrinks, so that the next
// file finds it ready. `added` gets each piece as soon as it has been read and may throw to stop. Returns how many bytes the
// file has. A file of more than maximumBytes is refused. Of a file that
// grows, what was there at the start is read; hasChanged (may be null) tells whether it changed meanwhile.
std::size_t ReadFileInto(const std::string& path, Bytes& buffer, std::uint64_t maximumBytes,
                         const std::function<void(std::span<const std::uint8_t>)>& added,
                         bool* hasChanged = nullptr);

// A descriptor for reading, or -1 with errno: never waits, never becomes the terminal, and leaves the file's access time
// alone where the system allows (to the owner). moreFlags: O_DIRECTORY, say. The caller closes it. Everything that
// opens evidence goes through here.
int OpenForReading(const std::string& path, int moreFlags = 0);

// Written to a temporary file in the same folder, synced, then renamed over the target: either the whole new file or the old
// one is there, also after a crash or on a full disk. WriteFile creates missing parent folders. A target that is there and
// no regular file (a link, a device, a pipe), and one that is worked on (zorbase/fileprotection.h), is refused.
void WriteFile(const std::string& path, const std::string& content);
void WriteFile(const std::string& path, const Bytes& content);
// Of many files of one folder each need not wait for the disk: written with Later, then SyncFolder once.
enum class FileSync { Now, Later };
void WriteFile(const std::string& path, const Bytes& content, FileSync sync);
void SyncFolder(const std::string& path);  // everything on its file system
// The same for what only the user may read (keys, passwords): at no moment can another user open it, also where a file
// of wider permissions stood before.
void WritePrivateFile(const std::string& path, const std::string& content);

// Takes the rights of all others from a file that is there, links not followed; what the system refuses stays.
void RestrictToOwner(const std::string& path);

// The same for what is too long to be held at once: written piece by piece, and under its name only after Finish. Destroyed
// without that, nothing is left of it. One thread at a time.
class FileWriter {
  public:
    explicit FileWriter(const std::string& path);
    ~FileWriter();
    void Add(std::string_view piece);
    void Finish();  // once, at the end

  private:
    class Implementation;
    std::unique_ptr<Implementation> m;
};

// Facts about a file, nothing when there is none or it cannot be looked at.
struct FileFacts {
    std::uint64_t size = 0;
    bool isFolder = false;
    std::time_t modified = 0;
    std::time_t accessed = 0;
    std::time_t changed = 0;             // of the inode
    std::optional<std::time_t> created;  // where the file system keeps it
};
std::optional<FileFacts> GetFileFacts(const std::string& path);
bool FileExists(const std::string& path);  // a file, not a folder
bool FolderExists(const std::string& path);
void MakeFolder(const std::string& path);    // and its parents; nothing when it is there
void RemoveFolder(const std::string& path);  // with everything in it; nothing when it is not there

// Parts of a path. Only '/' separates.
std::string PathFolder(const std::string& path);     // without trailing separator, "" when there is none
std::string PathName(const std::string& path);       // name with extension
std::string PathStem(const std::string& path);       // name without the last extension
std::string PathExtension(const std::string& path);  // lower case, without dot
std::string PathJoin(const std::string& folder, const std::string& name);

// Where the program keeps what it makes: $ORVANE_DOCUMENTS when set (tests, portable use), otherwise "Orvane" below the
// user's documents folder, or below the home folder when there is none. No trailing separator. Not created here.
std::string GetAppDocumentsPath();

// The installed data folder (img, docs, samples, locale), found relative to the executable, then the build tree.
// $ORVANE_DATA overrides. No trailing separator.
std::string GetAppDataPath();
std::string GetUserDesktopPath();

// The local time of a time stamp as "2026-11-21 14:03:59 +0100".
std::string FormatTime(std::time_t time);
