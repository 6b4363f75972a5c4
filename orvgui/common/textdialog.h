#pragma once

#include <wx/dialog.h>

// Shows one long text in full, for reading and copying. Escape closes it. The text is never mark-up.
class TextDialog : public wxDialog {
  public:
    TextDialog(wxWindow* parent, const wxString& title, const wxString& text, bool fixedPitch);
};
