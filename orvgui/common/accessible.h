#pragma once

#include <wx/string.h>

#include "orvgui/common/orvgui.h"

class wxWindow;

// The names under which assistive programs know the controls that carry no text of their own. GUI thread.

// Tells the toolkit's accessibility object of a native control its name.
ORVGUI_API void SetAccessibleName(wxWindow* window, const wxString& name);
ORVGUI_API wxString GetAccessibleName(const wxWindow* window);

// Whether a control needs a name given to it: a button with a picture alone, a field, a choice, a list, a slider. A control that
// draws itself (a grid, a tree, a canvas) has no accessibility object of its own that would speak, and is left out.
ORVGUI_API bool NeedsAccessibleName(const wxWindow* window);

// Names every control below root that needs a name and has none: after the window's own name where one was given, after the
// label that stands before it, after its hint, after its tool tip.
ORVGUI_API void NameControls(wxWindow* root);
// From now on every modal dialog has its controls named when it opens. Once; lasts until the process ends.
ORVGUI_API void NameControlsOfDialogs();
