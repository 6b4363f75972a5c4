#include "orvgui/shell/projectgui.h"

#include <wx/bmpbuttn.h>
#include <wx/settings.h>
#include <wx/sizer.h>
#include <wx/textctrl.h>
#include <wx/translation.h>
#include <wx/treectrl.h>
#include <wx/wrapsizer.h>

#include "orvcore/facade/interface.h"
#include "orvgui/common/messagebox.h"
#include "orvgui/dialogs/tooldialog.h"
#include "orvgui/shell/commandregistry.h"
#include "zorbase/text.h"

namespace {

constexpr int kStrip[] = {OrvCmdNewProject,     OrvCmdOpenProject, OrvCmdSaveProject,  OrvCmdSaveProjectAs,
                          OrvCmdGenerateReport, OrvCmdNewBookmark, OrvCmdEditBookmark, OrvCmdDeleteBookmark};

// The bookmark that a tree item stands for.
class BookmarkItem : public wxTreeItemData {
  public:
    explicit BookmarkItem(int bookmark) : index(bookmark) {}
    int index;
};

// Asks for a bookmark's texts; false when the user cancelled.
bool AskForTexts(wxWindow* parent, const wxString& title, wxString& name, wxString& note) {
    OrvToolDialog dialog(wxGetTopLevelParent(parent), title);
    dialog.SetParameters(
        {Parameter::String("name", "Name", FromWx(name)), Parameter::String("note", "Note", FromWx(note))});
    dialog.SetValidation([](const VecParameter& parameters) -> std::optional<ToolProblem> {
        if (!Trim(parameters.Get<std::string>("name")).empty()) return {};
        return ToolProblem{"name", _("The bookmark needs a name.")};
    });
    dialog.Init();
    if (dialog.ShowModal() != wxID_OK) return false;
    const VecParameter entered = dialog.GetParameters();
    name = ToWx(Trim(entered.Get<std::string>("name")));
    note = ToWx(entered.Get<std::string>("note"));
    return true;
}

wxString FilterName(const std::string& filterId) {
    const OrvFilter* filter = GetContext()->FindFilter(filterId);
    return filter ? wxGetTranslation(filter->GetName()) : ToWx(filterId);
}

}  // namespace

OrvProjectGui::OrvProjectGui(wxWindow* parent) : wxPanel(parent) {
    auto* strip = new wxWrapSizer(wxHORIZONTAL, wxREMOVE_LEADING_SPACES);
    for (int commandId : kStrip) {
        AddButton(strip, commandId);
        if (commandId == OrvCmdGenerateReport) strip->AddSpacer(8);
    }
    m_tree = new wxTreeCtrl(
        this, wxID_ANY, wxDefaultPosition, wxDefaultSize,
        wxTR_HIDE_ROOT | wxTR_SINGLE | wxTR_NO_LINES | wxTR_FULL_ROW_HIGHLIGHT | wxBORDER_NONE);
    m_tree->SetName(_("Bookmarks"));
    m_tree->Bind(wxEVT_TREE_ITEM_ACTIVATED, &OrvProjectGui::OnItemActivated, this);
    m_tree->Bind(wxEVT_TREE_SEL_CHANGED, [this](wxTreeEvent& event) {
        UpdateButtons();
        event.Skip();
    });

    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(strip, 0, wxEXPAND);
    sizer->Add(m_tree, 1, wxEXPAND);
    SetSizer(sizer);
    RefreshProject();
}

void OrvProjectGui::AddButton(wxSizer* sizer, int commandId) {
    wxBitmapButton* button = OrvGuiCommandRegistry::CreateBitmapButton(this, commandId);
    button->Bind(wxEVT_BUTTON, &OrvProjectGui::OnButton, this);
    sizer->Add(button);
    m_buttons.push_back(button);
}

void OrvProjectGui::RefreshProject() {
    const int selected = GetSelectedBookmark();
    const OrvProject project = GetInterface()->GetProject();
    m_tree->DeleteAllItems();
    const wxTreeItemId root = m_tree->AddRoot(wxString());
    int index = 0;
    for (const OrvBookmark& bookmark : project.GetBookmarks()) {
        const wxString text = ToWx(bookmark.name) + " (" + FilterName(bookmark.filterId) + ")";
        const wxTreeItemId item = m_tree->AppendItem(root, text, -1, -1, new BookmarkItem(index));
        if (index == selected) m_tree->SelectItem(item);
        ++index;
    }
    if (index == 0) {
        const wxTreeItemId hint = m_tree->AppendItem(root, _("No bookmarks yet"));
        m_tree->SetItemTextColour(hint, wxSystemSettings::GetColour(wxSYS_COLOUR_GRAYTEXT));
    }
    UpdateButtons();
}

void OrvProjectGui::SelectFirstBookmark() {
    wxTreeItemIdValue cookie;
    const wxTreeItemId first = m_tree->GetFirstChild(m_tree->GetRootItem(), cookie);
    if (first.IsOk() && m_tree->GetItemData(first)) m_tree->SelectItem(first);
}

int OrvProjectGui::GetSelectedBookmark() const {
    const wxTreeItemId item = m_tree->GetSelection();
    if (!item.IsOk()) return -1;
    const auto* data = static_cast<const BookmarkItem*>(m_tree->GetItemData(item));
    return data ? data->index : -1;
}

void OrvProjectGui::UpdateButtons() {
    const bool hasBookmark = GetSelectedBookmark() >= 0;
    for (wxBitmapButton* button : m_buttons) {
        const int id = button->GetId();
        if (id == OrvCmdEditBookmark || id == OrvCmdDeleteBookmark) button->Enable(hasBookmark);
    }
}

void OrvProjectGui::OnButton(wxCommandEvent& event) {
    switch (event.GetId()) {
        case OrvCmdNewBookmark:
            return AddBookmark();
        case OrvCmdEditBookmark:
            return EditBookmark(GetSelectedBookmark());
        case OrvCmdDeleteBookmark:
            return DeleteBookmark(GetSelectedBookmark());
        default:
            break;
    }
    wxCommandEvent command(wxEVT_MENU, event.GetId());
    command.SetEventObject(this);
    GetParent()->GetEventHandler()->ProcessEvent(command);
}

void OrvProjectGui::OnItemActivated(wxTreeEvent&) {
    const int index = GetSelectedBookmark();
    if (index >= 0) GetInterface()->ShowBookmark(index);
}

void OrvProjectGui::AddBookmark() {
    const OrvFilter* filter = GetInterface()->GetActiveFilter();
    wxString name = filter ? wxGetTranslation(filter->GetName()) : wxString();
    wxString note;
    if (AskForTexts(this, _("New Bookmark"), name, note)) GetInterface()->AddBookmark(name, note);
}

void OrvProjectGui::EditBookmark(int index) {
    const OrvProject project = GetInterface()->GetProject();
    if (index < 0 || index >= static_cast<int>(project.GetBookmarks().size())) return;
    const OrvBookmark& bookmark = project.GetBookmarks()[static_cast<std::size_t>(index)];
    wxString name = ToWx(bookmark.name);
    wxString note = ToWx(bookmark.note);
    if (AskForTexts(this, _("Edit Bookmark"), name, note)) GetInterface()->EditBookmark(index, name, note);
}

void OrvProjectGui::DeleteBookmark(int index) {
    if (index < 0) return;
    const int answer = OrvMessageBox(_("Do you want to delete this bookmark?"), _("Delete Bookmark"),
                                     wxYES_NO | wxICON_QUESTION);
    if (answer == wxYES) GetInterface()->DeleteBookmark(index);
}
