#pragma once

#include <wx/gdicmn.h>

#include "orvgui/common/orvgui.h"

class wxKeyEvent;
class wxTextCtrl;
class wxWindow;

// Whether a window takes typed text: a text field, the field of a combo box or of a number with arrows, or a
// window inside one of these. False for null.
ORVGUI_API bool IsTextEntry(const wxWindow* window);

// Whether a key confirms the dialog that it was pressed in: Enter alone, which text fields keep for themselves, except on a
// button, which it presses.
bool ConfirmsDialog(const wxKeyEvent& event);

// A width in pixels that suits texts of the usual size, for the texts of this window: the same, more where texts are enlarged.
ORVGUI_API int TextWidth(const wxWindow& window, int width);

// The least size, in pixels, of a one-line text field of this width where texts have the usual size. The toolkit's best size of a
// field that was never shown is too low where texts are enlarged: it cuts off what hangs below the line, and an underscore reads as
// a blank.
ORVGUI_API wxSize FieldSize(const wxWindow& field, int width);

// Texts of several lines keep the distance from their edge that those of one line have from theirs.
constexpr int kTextInsetX = 8;  // pixels
constexpr int kTextInsetY = 5;
void InsetText(wxTextCtrl& field);
