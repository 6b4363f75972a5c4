#pragma once

#include <wx/string.h>

#include <functional>

// Opens things in other programs of the desktop. GUI thread. Nothing waits for the other program; false means
// that nothing was started. Paths are in the form of PathToWx. No shell ever sees a name.

// The folder itself, or the folder that a file lies in. The file is not opened.
bool OpenFileExplorer(const wxString& fileOrFolder);

// A file of our own making (a report), in the program that the desktop has for it.
bool LaunchDefaultBrowserLocalFile(const wxString& file);

// A web address; only http and https.
bool LaunchWebAddress(const wxString& address);

// Who starts the other program: gets an address (file, http or https; ASCII only) and answers whether
// something was started. An empty function brings the desktop's own back. For tests.
void SetShellLauncher(std::function<bool(const wxString& address)> launcher);
