#pragma once

#include <cstdint>
#include <string>

// The one place that knows which files are worked on. Evidence is never written to: every writer of this library asks
// here before it puts anything under a name, whatever name or link leads to the file.

// Protects a file while it lives. Known by device and inode; a file that is not there protects nothing. Any thread.
class FileProtection {
  public:
    explicit FileProtection(const std::string& path);
    ~FileProtection();
    FileProtection(FileProtection&& other) noexcept;
    FileProtection(const FileProtection&) = delete;
    FileProtection& operator=(const FileProtection&) = delete;
    FileProtection& operator=(FileProtection&&) = delete;

  private:
    bool m_isKnown = false;
    std::uint64_t m_device = 0;
    std::uint64_t m_inode = 0;
};

// Throws ZorException (kind File) when writing to the path would change or replace a protected file.
void RefuseProtectedFile(const std::string& path);

// Whether two paths lead to one file that exists.
bool LeadToSameFile(const std::string& one, const std::string& other);
