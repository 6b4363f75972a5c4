#pragma once

#include <wx/accel.h>
#include <wx/bmpbndl.h>
#include <wx/string.h>

#include <array>

#include "orvgui/common/orvgui.h"

class wxAuiToolBar;
class wxBitmapButton;
class wxMenuItem;
class wxWindow;

// The toolkit ids of the user commands.
enum OrvCommandId : int {
    OrvCmdOpenEvidence = 6000,
    OrvCmdOpenReference = 6001,
    OrvCmdSaveResultAs = 6003,
    OrvCmdBatchProcessing = 6004,
    OrvCmdNewProject = 6005,
    OrvCmdOpenProject = 6006,
    OrvCmdSaveProject = 6007,
    OrvCmdSaveProjectAs = 6008,
    OrvCmdGenerateReport = 6009,
    OrvCmdExit = 6010,
    OrvCmdExpandAll = 6011,
    OrvCmdCollapseAll = 6012,
    OrvCmdDeleteFilterConfiguration = 6013,
    OrvCmdAddFilterConfiguration = 6014,
    // The next three are no registered commands: items of the tree's context menu, and a panel command.
    OrvCmdEnableConfiguration = 6015,
    OrvCmdDisableConfiguration = 6016,
    OrvCmdLoadSettingsOnStartup = 6017,
    OrvCmdResetFilterConfigurations = 6018,
    OrvCmdSaveSettings = 6019,
    OrvCmdLoadSettings = 6020,
    OrvCmdResetDefaultSettings = 6021,
    OrvCmdSettingsOnOff = 6022,
    OrvCmdCameraSearch = 6023,
    OrvCmdCameraForensics = 6024,
    OrvCmdGeoTagSearch = 6025,
    OrvCmdWebSearch = 6026,
    OrvCmdShowLocation = 6027,
    OrvCmdDumpEmbeddedJpgs = 6028,
    OrvCmdExtractFromPdf = 6029,
    OrvCmdBatchAnalysis = 6030,
    OrvCmdBatchComparison = 6031,
    OrvCmdNewBookmark = 6032,
    OrvCmdDeleteBookmark = 6033,
    OrvCmdEditBookmark = 6034,
    OrvCmdOpenSamplesFolder = 6035,
    OrvCmdReferenceManual = 6036,
    OrvCmdCheckForUpdates = 6037,
    // The evidence panel's commands; those of the reference panel follow at a distance of 10, then three of
    // its own.
    OrvCmdBrowse = 6038,
    OrvCmdClear = 6039,
    OrvCmdOpenFolder = 6040,
    OrvCmdGoFirst = 6041,
    OrvCmdGoBack = 6042,
    OrvCmdGoForward = 6043,
    OrvCmdGoLast = 6044,
    OrvCmdViewCache = 6045,
    OrvCmdDeleteCache = 6046,
    OrvCmdReprocessCurrent = 6047,
    OrvCmdSwitch = 6058,
    OrvCmdCopyReferenceFromEvidence = 6059,
    OrvCmdReferenceOnOff = 6060,
};
constexpr int kReferenceCommandOffset = 10;

// One command: everything that menus, tool bars, buttons and shortcuts show of it comes from here.
struct OrvGuiCommand {
    int id = 0;
    const char* label = "";  // untranslated
    const char* icon = "";   // file name in the folder "img", "" for none
    int flags = 0;           // toolkit's accelerator bits: 1 Alt, 2 Ctrl, 4 Shift
    int key = 0;             // toolkit's key code, 0 for no accelerator
};

// A list of commands of fixed capacity, filled once and in order.
class OrvGuiCommandRegistryBase {
  public:
    static constexpr int MAX_ENTRY = 48;

    // Appends; asserts and ignores the entry when the list is full.
    void Add(const OrvGuiCommand& entry);
    const OrvGuiCommand* Find(int id) const;  // the first of that id, or null
    wxAcceleratorTable GetAcceleratorTable() const;

    int size() const { return m_lastEntryId; }
    const OrvGuiCommand* begin() const { return m_entries.data(); }
    const OrvGuiCommand* end() const { return m_entries.data() + m_lastEntryId; }

  private:
    std::array<OrvGuiCommand, MAX_ENTRY> m_entries;
    int m_lastEntryId = 0;
};

// File, project, help and file panel commands: whatever has to answer wherever the focus is in the frame.
class OrvGuiCommandRegistryGlobal : public OrvGuiCommandRegistryBase {};
// The commands of the filters tree, which choose what the viewer shows.
class OrvGuiCommandRegistryViewer : public OrvGuiCommandRegistryBase {};
class OrvGuiCommandRegistryTools : public OrvGuiCommandRegistryBase {};
class OrvGuiCommandRegistryBookmarks : public OrvGuiCommandRegistryBase {};

// Every user command of the program, in one place. GUI thread. Unknown ids assert and give an empty answer.
class ORVGUI_API OrvGuiCommandRegistry {
  public:
    static void Init();  // fills the registries; doing it again changes nothing

    static wxString GetCommandName(int id);      // the untranslated label
    static wxString GetLabel(int id);            // translated
    static wxString GetAcceleratorText(int id);  // "Ctrl+O", "" for none
    static wxString GetToolTip(int id);          // label and accelerator
    // The command's icon at `size` pixels (sharp at double scale too), a picture of the toolkit where the
    // file is missing; an empty bundle for a command without icon.
    static wxBitmapBundle GetBitmap(int id, int size = 16);

    static wxMenuItem* CreateMenuItem(int id);  // belongs to the menu that it is appended to
    static void AddTool(wxAuiToolBar* toolBar, int id);
    static wxBitmapButton* CreateBitmapButton(wxWindow* parent, int id);  // its window id is the command's id

    static wxAcceleratorTable GetAcceleratorTableGlobal();
    static wxAcceleratorTable GetAcceleratorTableViewer();
    static wxAcceleratorTable GetAcceleratorTableTools();
    static wxAcceleratorTable GetAcceleratorTableBookmarks();

    static OrvGuiCommandRegistryGlobal m_global;
    static OrvGuiCommandRegistryViewer m_viewer;
    static OrvGuiCommandRegistryTools m_tools;
    static OrvGuiCommandRegistryBookmarks m_bookmarks;
};

// Whether a text field with the focus uses this key combination itself (word-wise movement).
bool IsKeyOfTextField(int flags, int key);
