#pragma once

#include <memory>
#include <string>

// Says to other instances of the program that a project is open here. A small file beside the project is locked through the
// operating system, so that a program that crashed leaves no lock behind; it goes with the lock. Where the folder cannot be
// written there is no lock, and no project could be saved there either. Any thread.
class OrvProjectLock {
  public:
    struct Attempt;
    static Attempt Take(const std::string& projectPath);
    ~OrvProjectLock();
    OrvProjectLock(const OrvProjectLock&) = delete;
    OrvProjectLock& operator=(const OrvProjectLock&) = delete;

    bool IsFor(const std::string& projectPath) const;

  private:
    OrvProjectLock(std::string path, int descriptor) : m_path(std::move(path)), m_descriptor(descriptor) {}

    std::string m_path;  // of the small file
    int m_descriptor;
};

struct OrvProjectLock::Attempt {
    std::unique_ptr<OrvProjectLock> lock;  // null where there is none
    std::string holder;                    // who has it, "" unless another instance does
};

// The lock of a small file by itself, for whoever marks something as in use as long as the program runs: a descriptor to be closed,
// -1 where somebody else holds it, -2 where it cannot be made.
int LockFile(const std::string& path);
