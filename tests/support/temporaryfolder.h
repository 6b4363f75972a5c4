#pragma once

#include <stdlib.h>

#include <filesystem>
#include <stdexcept>
#include <string>

// A folder of its own for one test, removed with everything in it at the end.
class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::string path = (std::filesystem::temp_directory_path() / "orvane-test-XXXXXX").string();
        if (mkdtemp(path.data()) == nullptr) throw std::runtime_error("no temporary folder");
        m_path = path;
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& Path() const { return m_path; }  // without trailing separator
    std::string operator/(const std::string& name) const { return m_path + "/" + name; }

  private:
    std::string m_path;
};

// An environment variable that has a value (or none, for null) as long as this lives.
class ScopedVariable {
  public:
    ScopedVariable(const char* name, const char* value) : m_name(name) {
        if (const char* old = getenv(name); old != nullptr) {
            m_wasSet = true;
            m_old = old;
        }
        if (value != nullptr) {
            setenv(name, value, 1);
        } else {
            unsetenv(name);
        }
    }
    ~ScopedVariable() {
        if (m_wasSet) {
            setenv(m_name.c_str(), m_old.c_str(), 1);
        } else {
            unsetenv(m_name.c_str());
        }
    }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

  private:
    std::string m_name;
    std::string m_old;
    bool m_wasSet = false;
};
