#pragma once

#include <string>
#include <vector>

#include "zorbase/json.h"

class OrvFilter;

// The configurations of all filters as JSON and back: the settings file of the program and the files that
// users exchange have the same text.
class OrvFilterStore {
  public:
    static Json ToJson(const std::vector<OrvFilter*>& filters);

    // Takes over what is known: filters and parameters by name. The rest is named in problems, and a filter
    // of which nothing could be read keeps what it has. Throws ZorException (kind Format) when the text is
    // not such a file at all or was written by a newer version.
    static void FromJson(const std::vector<OrvFilter*>& filters, const Json& json,
                         std::vector<std::string>& problems);

    static void ResetToDefaults(OrvFilter& filter);

    static std::string SettingsPath();
};
