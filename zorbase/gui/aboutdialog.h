#pragma once

#include <wx/string.h>

class AppVersion;
class wxIcon;
class wxWindow;

// A check of the program that the dialog offers: how it went last, and the button that asks for it, which closes the dialog.
struct AboutCheck {
    wxString text;  // "" for no such check
    wxString button;
    bool* isWanted = nullptr;  // set to true by the button
};

// Shows what the program is, its version and revision, and the libraries it stands on with their licences;
// returns when the user closes it with OK or Escape. restart is set to whether the program shall start anew:
// false, nothing here asks for it. Modal, GUI thread. The icon may be invalid.
void CreateAboutDialog(wxWindow* parent, const AppVersion& version, const wxIcon& icon, bool& restart,
                       const AboutCheck& check = {});
