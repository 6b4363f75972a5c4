#pragma once

#include <wx/string.h>

#include <string>

#include "orvgui/common/orvgui.h"

// A text that came from a file or a file's name, as the window shows it: control characters and the marks that change the writing
// direction are made visible ("[U+202E]"), so that no name looks like another one; tabs and line feeds stay. Not for opening files.
ORVGUI_API wxString VisibleText(const wxString& text);
// The same of bytes, a path say; what is no UTF-8 becomes U+FFFD.
ORVGUI_API wxString VisibleText(const std::string& bytes);

// The first line of a text, cut between two words with an ellipsis where it is longer than a tool tip should be.
ORVGUI_API wxString ShortLine(const wxString& text);

// A path for a field that gives it back: as it is, unless it holds a mark that changes the writing direction; then as VisibleText.
ORVGUI_API wxString EditablePath(const std::string& path);
