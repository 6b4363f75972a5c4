#pragma once

#include <wx/aui/framemanager.h>
#include <wx/uiaction.h>

#include "orvgui/common/fileselectors.h"
#include "orvgui/shell/filepanel.h"
#include "orvgui/shell/mainframe.h"
#include "tests/support/guitest.h"
#include "tests/support/testcore.h"
#include "zorbase/gui/shell.h"

class OrvFilterGuiViewer;

// The real main window over a real core with one probe filter, which is active. Folders, choosers and programs of the desktop are
// the test's own.
class FrameTest : public testing::Test {
  protected:
    FrameTest() { OpenFrame(); }
    ~FrameTest() override;

    void OpenFrame();
    void CloseFrame();  // as the user does; returns when the window is gone
    void Settle();      // until the core has nothing to do and its events are handled
    void Load(const std::string& path, OrvFileId slot = OrvEvidence);
    OrvFilterGuiViewer* ShowImagePage(const std::string& filterId);  // null, and a failure, without one
    void Command(int id);                                            // as if its menu item had been chosen
    std::string Evidence() const;
    std::string LayoutPath() const { return folder / "documents/settings/layout.zol"; }
    wxAuiManager& Manager() const { return *wxAuiManager::GetManager(frame); }

    CaseFolder folder;
    AppVersion version;
    OrvInterface* core = nullptr;  // belongs to the frame
    ProbeFilter* probe = nullptr;
    OrvMainFrame* frame = nullptr;

    // What choosers were asked ("Load|message|folder|name|filter") and what they answer.
    std::vector<std::string> asked;
    std::string chosen;
    std::vector<std::string> launched;  // addresses given to other programs
    bool canLaunch = true;              // whether other programs start
};
