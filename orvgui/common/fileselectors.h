#pragma once

#include <wx/string.h>

#include <functional>

#include "orvgui/common/orvgui.h"

// The choosers of files and folders. Each returns the chosen full path, empty when the user cancelled. With
// an empty default path the chooser opens in the folder last used with the same filter string, also when that
// choice was made through another chooser. GUI thread.

// A file to open.
ORVGUI_API wxString OrvFileLoadSelector(const wxString& message, const wxString& defaultPath,
                                        const wxString& filter);

// A file to write; an existing picture or project is confirmed once more, by name and date, and what is worked on is refused. The
// filter's first extension is added to a name without one; of a project ".zop" is always the end.
ORVGUI_API wxString OrvFileSaveSelector(const wxString& message, const wxString& defaultPath,
                                        const wxString& filter);

// A folder. `title` goes before the message in the window's title when it is not empty, and is the key of the
// remembered folder.
ORVGUI_API wxString OrvDirSelector(const wxString& message, const wxString& defaultPath = wxString(),
                                   const wxString& title = wxString());

enum class OrvSelectorKind { Load, Save, Folder };
// Answers a chooser in place of the window; folder and name are what the chooser would have opened with.
using OrvSelectorAnswer =
    std::function<wxString(OrvSelectorKind kind, const wxString& message, const wxString& folder,
                           const wxString& name, const wxString& filter)>;
// For tests: an empty function brings the windows back. The folders remembered so far are forgotten. Returns the
// answer function in use before.
OrvSelectorAnswer SetSelectorAnswer(OrvSelectorAnswer answer);
