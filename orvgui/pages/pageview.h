#pragma once

#include "orvcore/model/casedata.h"
#include "orvgui/common/orvgui.h"

class OrvFilterGui;

// How the picture on a page is looked at, for bookmarks and projects: view mode, zoom, place, selection and what the map panel shows, read from the page and
// brought back. Pages without a picture have the default state, and nothing is brought back there. GUI thread.
ORVGUI_API OrvViewState ReadPageView(OrvFilterGui* page);  // null: the default

// Brings a view back as far as the page can show it: the mode at once, zoom and place when the canvases have the size that goes with
// it. A page that is gone by then shows nothing.
ORVGUI_API void ShowPageView(OrvFilterGui* page, const OrvViewState& view);
