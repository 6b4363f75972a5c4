#pragma once

#include <wx/string.h>

#include <functional>

// Opening a table in the spreadsheet program by automation, which one platform has; elsewhere there is none to start.
enum class SpreadsheetResult {
    Opened,
    NotInstalled,  // no spreadsheet could be started
    NotOpened,     // it did not open the file
};

// GUI thread.
SpreadsheetResult OpenInSpreadsheet(const wxString& file);

// Who opens the file instead. For tests; an empty function brings the program's own back.
void SetSpreadsheetOpener(std::function<SpreadsheetResult(const wxString& file)> opener);
