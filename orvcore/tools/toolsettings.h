#pragma once

#include <map>
#include <mutex>
#include <string>

#include "zorbase/json.h"

// What the tools' dialogs remember from one start of the program to the next: one JSON object per name, kept in
// settings/tools.json. What an object means is its reader's business. Safe on any thread.
class OrvToolSettings {
  public:
    static std::string Path();

    // Reads the file; a missing, damaged or far too large one is as good as none.
    void Load();
    void Save() const;  // throws ZorException (kind File)

    Json Get(const std::string& name) const;  // an empty object when there is none
    void Set(const std::string& name, const Json& record);

  private:
    mutable std::mutex m_mutex;
    std::map<std::string, Json> m_records;
};
