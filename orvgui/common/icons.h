#pragma once

#include <wx/bmpbndl.h>
#include <wx/iconbndl.h>
#include <wx/string.h>

#include "orvgui/common/orvgui.h"

// An icon of the folder "img" in the data folder, by file name ("open.png" stands for open.png of 32 pixels,
// open-16.png and their double-scale pictures), to be shown at `size` pixels. A missing or damaged file gives
// a plain picture of the toolkit, silently.
wxBitmapBundle LoadIconBundle(const wxString& fileName, int size = 16);

// The icon of the application's windows ("MAINICON").
wxIconBundle LoadMainIcon();

// The sign beside what deserves a look, to be shown at `size` pixels.
wxBitmapBundle MakeWarningSign(int size);
