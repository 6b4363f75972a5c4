#pragma once

#include "orvgui/common/orvgui.h"

class wxTopLevelWindow;

// Where windows are put on the screen. GUI thread.

// A screen can be smaller than a window's usual size, or than the one of the last time: one that is shown at double scale, say.
ORVGUI_API void FitScreen(wxTopLevelWindow& window);
// No larger than the screen, in the middle of its parent.
ORVGUI_API void PlaceOnParent(wxTopLevelWindow& window);
