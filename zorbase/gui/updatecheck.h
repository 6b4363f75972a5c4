#pragma once

#include <wx/string.h>

class wxWindow;

// Asks whether the page with the updates shall be opened in the browser, and opens it; nothing is sent before
// the user agrees, and nothing is downloaded or installed by the program itself. An empty address means that
// this build has no update service, which a message says. changesFile and lastVersionFile are names below the
// address: what has changed, and a text that holds the newest version; without allowDownload the page of
// changes is opened instead of the address itself. Modal, GUI thread.
void CheckForUpdates(wxWindow* parent, const wxString& address, const wxString& changesFile,
                     const wxString& lastVersionFile, const wxString& appName, const wxString& revision,
                     bool allowDownload);
