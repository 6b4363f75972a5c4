#pragma once

#include "orvgui/common/orvgui.h"

class wxTextCtrl;
class wxWindow;

// A wheel turn over a text that cannot scroll any farther belongs to the page around it; a text field of several lines would
// swallow it. Bound for the field's life.
ORVGUI_API void PassWheelOn(wxTextCtrl* field);
// Whether the text is higher than its field.
bool HasMoreText(const wxTextCtrl& field);
// The scrolled windows around a window work out anew how large their content is.
void FitScrolledParents(wxWindow* window);
