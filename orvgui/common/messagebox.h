#pragma once

#include <wx/defs.h>
#include <wx/msgdlg.h>
#include <wx/string.h>

#include "orvgui/common/orvgui.h"

class wxWindow;

// The message box of every user message; waits for the answer and returns the button pressed (wxOK, wxCANCEL,
// wxYES, wxNO). The message may hold text from files: it is shown as it stands, never as mark-up, and very
// long ones are shortened. Without a parent the active window is taken. GUI thread.
ORVGUI_API int OrvMessageBox(const wxString& message, const wxString& caption = wxString(), long style = wxOK,
                             wxWindow* parent = nullptr);

// A question with two answers of its own names; returns wxYES, wxNO, or wxCANCEL when it was closed without one.
// style: an icon, wxNO_DEFAULT. Otherwise as above.
ORVGUI_API int OrvQuestionBox(const wxString& message, const wxString& caption, const wxString& yes,
                              const wxString& no, long style, wxWindow* parent = nullptr);
