#pragma once

#include <wx/panel.h>

#include <vector>

class wxTreeCtrl;
class wxTreeEvent;
class wxBitmapButton;
class wxSizer;

// The pane of the current project: its name, its bookmarks, and a strip of buttons for the project and bookmark commands. It shows
// what the core holds when RefreshProject is called. Double click or Enter on a bookmark loads its files and runs its filter.
// Child of the main frame; the commands of the project (new, open, save, report) are answered by the frame. GUI thread.
class OrvProjectGui : public wxPanel {
  public:
    explicit OrvProjectGui(wxWindow* parent);

    void RefreshProject();
    void SelectFirstBookmark();       // silent; nothing when there is none
    void AddBookmark();               // asks for name and note
    int GetSelectedBookmark() const;  // index, -1 for none
    wxTreeCtrl* GetTree() const { return m_tree; }

  private:
    void AddButton(wxSizer* sizer, int commandId);
    void UpdateButtons();
    void OnButton(wxCommandEvent& event);
    void OnItemActivated(wxTreeEvent& event);
    void EditBookmark(int index);
    void DeleteBookmark(int index);

    wxTreeCtrl* m_tree = nullptr;
    std::vector<wxBitmapButton*> m_buttons;
};
