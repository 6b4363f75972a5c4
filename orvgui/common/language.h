#pragma once

#include <string>

#include "orvgui/common/orvgui.h"
#include "zorbase/parameter.h"

// The language of texts in windows. Catalogues are read from the folder "locale" of the data folder ("de/orvane.mo"); a text that a
// catalogue does not hold is shown in English. GUI thread.

// What the program options ask for: "en", "de", "" for the system's own.
ORVGUI_API std::string LanguageOf(const VecVecParameter& options);
// Before the first window. The language of windows that exist already does not change.
ORVGUI_API void UseLanguage(const std::string& language);
