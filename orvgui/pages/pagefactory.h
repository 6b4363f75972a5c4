#pragma once

#include "orvgui/common/orvgui.h"

class OrvFilter;
class OrvFilterGui;
class wxWindow;

// Tells the core how pages are made: one maker per kind of page. Called once when the window library starts.
// GUI thread.
ORVGUI_API void RegisterPageFactory();

// A page of the filter's kind, not yet initialised; owned by its parent window. Null for kinds that make
// their own page.
ORVGUI_API OrvFilterGui* CreateFilterPage(wxWindow* parent, OrvFilter* filter);
