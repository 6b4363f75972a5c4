#pragma once

#include "orvgui/common/orvgui.h"

// The window library's entry points to the base library's licence manager, for programs that load the library and do not know the base.
// They forward and decide nothing. Their names do not tell what they are for, so that nobody who only lists the exported names is led to
// them. commands and editions are numbered as in LicenceManager; an unknown command is allowed and has no text. Any thread.
extern "C" {
ORVGUI_API int OrvPaneStyle();                // the edition: 0 full, 1 trial
ORVGUI_API bool OrvPaneAccepts(int command);  // whether the edition allows it
ORVGUI_API const char* OrvPaneHint(
    int command);  // what the user is told of a refused command, untranslated; never null
ORVGUI_API const char* OrvPaneCaption();  // the edition's name, untranslated
}
