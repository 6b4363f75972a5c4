#pragma once

#include <wx/defs.h>
#include <wx/msgdlg.h>
#include <wx/string.h>

#include "orvgui/orvgui.h"

class wxWindow;

// The message box of every user message; waits for the answer and returns the button pressed (wxOK, wxCANCEL,
// wxYES, wxNO). The message may hold text from files: it is shown as it stands, never as mark-up, and very
// long ones are shortened. Without a parent the active window is taken. GUI thread.
ORVGUI_API int OrvMessageBox(const wxString& message, const wxString& caption = wxString(), long style = wxOK,
                             wxWindow* parent = nullptr);
