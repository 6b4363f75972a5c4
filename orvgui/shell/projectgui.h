#pragma once

#include <wx/bitmap.h>
#include <wx/panel.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "orvcore/model/project.h"

class wxImageList;
class wxTreeCtrl;
class wxTreeEvent;
class wxTreeItemId;
class wxBitmapButton;
class wxSizer;

// The pane of the current project: case data, files with their exhibits, bookmarks with thumbnails and notes, and a strip of
// buttons for the project and bookmark commands. It shows what the core holds when RefreshProject is called. A click or Enter on a
// bookmark brings everything back that was shown; F2 renames, Delete deletes, Ctrl+Z takes back, dragging reorders; a double click
// or Enter on the case or a file asks for its data. Child of the main frame; the commands of the project (new, open, save, report)
// are answered by the frame. GUI thread.
class OrvProjectGui : public wxPanel {
  public:
    explicit OrvProjectGui(wxWindow* parent);
    ~OrvProjectGui() override;

    void RefreshProject();
    void RefreshFiles();         // the same, only where other files belong to the project than are listed
    void SelectFirstBookmark();  // silent; nothing when there is none
    void ShowLastBookmark();     // scrolls to the newest one
    void AddBookmark();          // asks for name and note
    int GetSelectedBookmark() const;  // index, -1 for none
    wxTreeCtrl* GetTree() const { return m_tree; }

  private:
    void AddButton(wxSizer* sizer, int commandId);
    void AddFiles(const OrvProject& project, const wxTreeItemId& root);
    void AddBookmarks(const OrvProject& project, const wxTreeItemId& root, int selected);
    int ThumbnailIndex(const OrvBookmark& bookmark);
    void UpdateButtons();
    void Open(const wxTreeItemId& item);
    void OnButton(wxCommandEvent& event);
    void OnItemActivated(wxTreeEvent& event);
    void OnItemMenu(wxTreeEvent& event);
    void OnItemToolTip(wxTreeEvent& event);
    void OnLabelEdited(wxTreeEvent& event);
    void OnDragBegin(wxTreeEvent& event);
    void OnDragEnd(wxTreeEvent& event);
    void OnKey(wxTreeEvent& event);
    void OnClick(wxMouseEvent& event);
    void ShowBookmark(int index);
    void EditBookmark(int index);
    void DeleteBookmark(int index);
    void EditCaseData();
    void EditExhibit(std::size_t file);

    wxTreeCtrl* m_tree = nullptr;
    std::unique_ptr<wxImageList> m_images;
    // Places in the image list of the thumbnails that were drawn; held, so that no address comes twice.
    std::map<std::shared_ptr<const std::string>, int> m_thumbnails;
    std::vector<OrvCaseFile> m_files;  // as they are listed
    int m_dragged = -1;                // bookmark, -1 for none
    std::vector<wxBitmapButton*> m_buttons;
};
