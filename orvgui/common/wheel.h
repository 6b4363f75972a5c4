#pragma once

#include <wx/scrolwin.h>

#include "orvgui/common/orvgui.h"

class wxMouseEvent;
class wxTextCtrl;
class wxWindow;

// Scrolls the nearest page around a window by a wheel turn: the first that is not yet at its end that way; false when there is none.
ORVGUI_API bool ScrollPageAround(const wxWindow* window, wxMouseEvent& wheel);
// A wheel turn over a control that stands on a page belongs to the page: it must not change a value on the way past. A control with
// the keyboard keeps it, unless it is a choice of entries, which stays where it is after an entry was chosen. The native parts
// inside a control, of which the toolkit sends no events, are reached too. Bound for the control's life.
ORVGUI_API void LeaveWheelToPage(wxWindow* control);

// A wheel turn over a text that cannot scroll any farther belongs to the page around it; a text field of several lines would
// swallow it. Bound for the field's life.
ORVGUI_API void PassWheelOn(wxTextCtrl* field);
// The same for a part of a page that scrolls by itself.
ORVGUI_API void PassWheelOn(wxScrolled<wxPanel>* part);
// Whether the text is higher than its field.
bool HasMoreText(const wxTextCtrl& field);
// The scrolled windows around a window work out anew how large their content is.
void FitScrolledParents(wxWindow* window);
