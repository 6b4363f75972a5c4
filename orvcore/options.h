#pragma once

#include <mutex>

#include "zorbase/parameter.h"

// The program options: typed, with defaults, kept in settings/options.json. Safe on any thread.
class OrvOptions {
  public:
    OrvOptions();

    // Reads the settings file; what does not fit keeps its default.
    void Load();
    void Save() const;  // throws ZorException (kind File)

    VecVecParameter Get() const;
    void Set(const VecVecParameter& options);

    bool IsCacheEnabled() const;
    std::uint64_t GetMaximumFileBytes() const;
    int GetJpegQuality() const;
    bool OpensReports() const;
    bool BatchIncludesSubfolders() const;

  private:
    template <typename T>
    T Value(const char* name) const;

    mutable std::mutex m_mutex;
    VecVecParameter m_groups;
};
