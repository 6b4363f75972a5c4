#pragma once

class AppVersion;
class wxIcon;
class wxWindow;

// Shows what the program is, its version and revision, and the libraries it stands on with their licences;
// returns when the user closes it with OK or Escape. restart is set to whether the program shall start anew:
// false, nothing here asks for it. Modal, GUI thread. The icon may be invalid.
void CreateAboutDialog(wxWindow* parent, const AppVersion& version, const wxIcon& icon, bool& restart);
