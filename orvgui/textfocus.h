#pragma once

#include "orvgui/orvgui.h"

class wxWindow;

// Whether a window takes typed text: a text field, the field of a combo box or of a number with arrows, or a
// window inside one of these. False for null.
ORVGUI_API bool IsTextEntry(const wxWindow* window);
