#pragma once

#include <mutex>
#include <optional>
#include <string>

// The user's key of the CameraForensics service, in the file cameraforensics/cameraforensics.apikey below the
// documents folder. Only its owner may read it: the folder has mode 0700, the file 0600 from the moment it is
// made, and one that was found with wider permissions is narrowed. Safe on any thread.
class OrvKeyFile {
  public:
    static std::string Path();

    // The key as it is known: the newest one set, otherwise what the file says, without blanks around it. ""
    // when there is none, or when the file cannot be read or holds anything but one short line.
    std::string Get() const;
    // Remembers the key; Save puts it on the disk.
    void Set(const std::string& key);
    void Save();  // nothing when nothing was set; throws ZorException (kind File)

    // Whether a text can be a key: 1 to 512 printable ASCII characters without blanks.
    static bool CanBeKey(const std::string& key);

  private:
    mutable std::mutex m_mutex;
    std::optional<std::string> m_unsaved;
};
