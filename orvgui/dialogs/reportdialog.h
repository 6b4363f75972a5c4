#pragma once

#include <wx/string.h>

#include "orvgui/common/orvgui.h"

class wxWindow;
enum class OrvReportContents;  // orvcore/report/report.h

// What the user wants of a report.
struct OrvReportWish {
    OrvReportContents contents{};
    wxString path;  // where to write it; "" is a page in the documents folder
};

// Asks what goes into the report and whether it is a page or a file for printing, whose name is asked for next. What was chosen last is
// proposed again. False when the user cancelled. GUI thread.
ORVGUI_API bool AskForReport(wxWindow* parent, const wxString& proposedName, OrvReportWish& wish);
