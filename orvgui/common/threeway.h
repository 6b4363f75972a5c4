#pragma once

#include <wx/string.h>

#include "orvgui/common/orvgui.h"

class wxWindow;

// A question with three answers of their own names; returns wxYES, wxNO or wxCANCEL, which closing the box means too. The message
// may hold text from files. GUI thread.
ORVGUI_API int OrvThreeWayBox(wxWindow* parent, const wxString& message, const wxString& caption,
                              const wxString& yes, const wxString& no, const wxString& cancel);
