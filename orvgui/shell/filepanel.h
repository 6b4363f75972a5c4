#pragma once

#include <wx/panel.h>

#include <map>
#include <string>

#include "orvcore/model/fileid.h"
#include "orvgui/common/orvgui.h"

class wxBitmapButton;
class wxSizer;
class wxStaticText;
class wxTextCtrl;

// What a file panel's buttons depend on. A plain record, so that the rules are tested without a window.
struct FilePanelState {
    OrvFileId slot = OrvEvidence;
    bool hasFile = false;  // in this slot
    bool hasOtherFile = false;
    bool hasFolder = false;  // there is a file, and it lies in a folder
    bool hasCache = false;   // the slot's output folder exists
    int index = -1;          // of the slot's file in its folder's list, -1 when it is not there (yet)
    int count = 0;           // files in the list

    bool IsCommandEnabled(int commandId) const;
    wxString Position() const;  // "3 / 27", "" when it is not known
};

// What the text typed into the file-name field names: a full path, "~/…", a file:// address, or a name in the
// folder of the slot's file. The unchanged name of the slot's file stands for that file. Paths as bytes.
std::string ResolveTypedFilename(const wxString& typed, const std::string& currentPath);

// The strip through which a file is put into one slot. Every operation acts on its own slot and is carried
// out by the core; the panel shows what the core holds when SetImage is called. Child of the main frame. GUI
// thread.
class ORVGUI_API FilePanel : public wxPanel {
  public:
    FilePanel(wxWindow* parent, OrvFileId slot);

    // Shows the slot's file: name, position in its folder, what can be done.
    void SetImage();
    void Browse();
    // Carries out one of the panel's commands (by registry id) as if its button had been pressed; false when
    // the command is not this panel's. A command that cannot be done now does nothing.
    bool RunCommand(int commandId);
    OrvFileId GetSlot() const { return m_slot; }
    wxTextCtrl* GetFilenameField() const { return m_filename; }

    void OnButtonBrowse(wxCommandEvent& event);
    void OnButtonClear(wxCommandEvent& event);
    void OnButtonCopyReferenceFromEvidence(wxCommandEvent& event);
    void OnButtonDeleteCache(wxCommandEvent& event);
    void OnButtonDeleteCacheFilter(wxCommandEvent& event);
    void OnButtonViewCache(wxCommandEvent& event);
    void OnButtonOpenPath(wxCommandEvent& event);
    void OnButtonEdit(wxCommandEvent& event);
    void OnButtonGoFirst(wxCommandEvent& event);
    void OnButtonGoBack(wxCommandEvent& event);
    void OnButtonGoForward(wxCommandEvent& event);
    void OnButtonGoLast(wxCommandEvent& event);
    void OnButtonSwitch(wxCommandEvent& event);
    void OnButtonReferenceOnOff(wxCommandEvent& event);
    void OnTextFilename(wxCommandEvent& event);

  private:
    using Handler = void (FilePanel::*)(wxCommandEvent&);

    void CreateControls();
    void ShowFilename();
    void GiveUpAttempt();
    void AddButton(wxSizer* sizer, int commandId, Handler handler);
    void GoTo(int index);
    FilePanelState ReadState() const;

    OrvFileId m_slot;
    // A name that was typed and could not be loaded stays to be mended, and the file that was loaded then.
    wxString m_attempt;
    wxString m_attemptedFrom;
    wxStaticText* m_title = nullptr;
    wxTextCtrl* m_filename = nullptr;
    wxStaticText* m_position = nullptr;
    std::map<int, wxBitmapButton*> m_buttons;  // by command id
    std::map<int, Handler> m_handlers;
};
