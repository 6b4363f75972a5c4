#include "orvgui/shell/projectgui.h"

#include <wx/bmpbuttn.h>
#include <wx/imaglist.h>
#include <wx/menu.h>
#include <wx/settings.h>
#include <wx/sizer.h>
#include <wx/translation.h>
#include <wx/treectrl.h>
#include <wx/wrapsizer.h>

#include <algorithm>

#include "orvcore/facade/interface.h"
#include "orvgui/common/framehost.h"
#include "orvgui/common/icons.h"
#include "orvgui/common/visibletext.h"
#include "orvgui/shell/commandregistry.h"
#include "orvgui/shell/projectdialogs.h"
#include "orvgui/shell/recentfiles.h"
#include "zorbase/files.h"
#include "zorbase/gui/imageconvert.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"

namespace {

constexpr int kStrip[] = {OrvCmdNewProject,     OrvCmdOpenProject, OrvCmdSaveProject,  OrvCmdSaveProjectAs,
                          OrvCmdGenerateReport, OrvCmdNewBookmark, OrvCmdEditBookmark, OrvCmdDeleteBookmark};
constexpr int kThumbnailWidth = 36;
constexpr int kThumbnailHeight = 27;
constexpr int kLargestThumbnail = 1000;  // side of what a project may bring, pixels
constexpr std::size_t kNoteLine = 60;    // letters of a note that are listed

enum MenuId { kShow = 1, kRename, kEdit, kDelete, kUndo };

enum class ItemKind { Case, File, Bookmark, Note };

class ProjectItem : public wxTreeItemData {
  public:
    ProjectItem(ItemKind what, int number) : kind(what), index(number) {}
    ItemKind kind;
    int index;  // of the file or bookmark
};

const ProjectItem* DataOf(const wxTreeCtrl* tree, const wxTreeItemId& item) {
    return item.IsOk() ? static_cast<const ProjectItem*>(tree->GetItemData(item)) : nullptr;
}

// Of the bookmark that an item belongs to, -1 for none.
int BookmarkOf(const wxTreeCtrl* tree, const wxTreeItemId& item) {
    const ProjectItem* data = DataOf(tree, item);
    return data && (data->kind == ItemKind::Bookmark || data->kind == ItemKind::Note) ? data->index : -1;
}

wxString FilterName(const std::string& filterId) {
    const OrvFilter* filter = GetContext()->FindFilter(filterId);
    return filter ? wxGetTranslation(filter->GetName()) : ToWx(filterId);
}

wxString FirstLine(const std::string& text) {
    const wxString line = ToWx(text).BeforeFirst('\n');
    return line.length() > kNoteLine ? line.Left(kNoteLine) + wxString::FromUTF8("…") : line;
}

// A thumbnail on a ground of fixed size, as image lists want it.
wxBitmap DrawThumbnail(const std::string& jpeg) {
    wxImage ground(kThumbnailWidth, kThumbnailHeight);
    const wxColour colour = wxSystemSettings::GetColour(wxSYS_COLOUR_WINDOW);
    ground.SetRGB(wxRect(0, 0, kThumbnailWidth, kThumbnailHeight), colour.Red(), colour.Green(),
                  colour.Blue());
    try {
        const std::span<const std::uint8_t> bytes(reinterpret_cast<const std::uint8_t*>(jpeg.data()),
                                                  jpeg.size());
        const ImageInfo info = ReadImageInfo(bytes);
        wxImage picture;
        if (info.width > 0 && info.width <= kLargestThumbnail && info.height > 0 &&
            info.height <= kLargestThumbnail &&
            IplImageToWxImage(DecodeImage(bytes).image.GetMat(), picture)) {
            const double scale = std::min(double(kThumbnailWidth) / picture.GetWidth(),
                                          double(kThumbnailHeight) / picture.GetHeight());
            const int width = std::max(1, static_cast<int>(picture.GetWidth() * scale));
            const int height = std::max(1, static_cast<int>(picture.GetHeight() * scale));
            ground.Paste(picture.Scale(width, height, wxIMAGE_QUALITY_HIGH), (kThumbnailWidth - width) / 2,
                         (kThumbnailHeight - height) / 2);
        }
    } catch (const ZorException&) {
        // The list does without.
    }
    return wxBitmap(ground);
}

// The values as the tree of filters names them; without the filter their meaning is not known.
wxString ValuesText(const OrvBookmark& bookmark) {
    const OrvFilter* filter = GetContext()->FindFilter(bookmark.filterId);
    if (filter == nullptr) return {};
    VecParameter input = filter->GetInputPrototype();
    std::vector<std::string> unfit;
    input.FromJson(bookmark.input, unfit);
    return ShortLine(ToWx(GetParametersString(input, true)));
}

wxString BookmarkTip(const OrvBookmark& bookmark) {
    wxString tip = FilterName(bookmark.filterId);
    if (bookmark.filterVersion > 0) tip += wxString::Format(_(", version %d"), bookmark.filterVersion);
    if (const wxString values = ValuesText(bookmark); !values.empty()) tip += "\n" + values;
    for (const OrvCaseFile& file : bookmark.file)
        if (!file.IsEmpty()) tip += "\n" + ToWx(PathName(file.path)) + "  " + ToWx(file.sha256.substr(0, 12));
    if (!bookmark.madeOn.empty()) tip += "\n" + ToWx(bookmark.madeOn + "  " + bookmark.programVersion);
    return tip;
}

// The frame opens what is chosen: it asks about unsaved work first.
wxBitmapButton* CreateRecentProjects(wxWindow* pane) {
    return CreateRecentButton(pane, RecentKind::Projects, [pane](const std::string& path) {
        wxCommandEvent command(wxEVT_MENU, OrvCmdOpenProject);
        command.SetEventObject(pane);
        command.SetString(PathToWx(path));
        pane->GetParent()->GetEventHandler()->ProcessEvent(command);
    });
}

}  // namespace

OrvProjectGui::OrvProjectGui(wxWindow* parent)
    : wxPanel(parent), m_images(std::make_unique<wxImageList>(kThumbnailWidth, kThumbnailHeight, false)) {
    auto* strip = new wxWrapSizer(wxHORIZONTAL, wxREMOVE_LEADING_SPACES);
    for (int commandId : kStrip) {
        AddButton(strip, commandId);
        if (commandId == OrvCmdOpenProject) strip->Add(CreateRecentProjects(this));
        if (commandId == OrvCmdGenerateReport) strip->AddSpacer(8);
    }
    m_tree = new wxTreeCtrl(this, wxID_ANY, wxDefaultPosition, wxDefaultSize,
                            wxTR_HIDE_ROOT | wxTR_SINGLE | wxTR_NO_LINES | wxTR_HAS_BUTTONS |
                                wxTR_FULL_ROW_HIGHLIGHT | wxTR_HAS_VARIABLE_ROW_HEIGHT | wxBORDER_NONE);
    m_tree->SetName(_("Bookmarks"));
    m_tree->SetImageList(m_images.get());
    m_tree->Bind(wxEVT_TREE_ITEM_ACTIVATED, &OrvProjectGui::OnItemActivated, this);
    m_tree->Bind(wxEVT_TREE_ITEM_MENU, &OrvProjectGui::OnItemMenu, this);
    m_tree->Bind(wxEVT_TREE_ITEM_GETTOOLTIP, &OrvProjectGui::OnItemToolTip, this);
    m_tree->Bind(wxEVT_TREE_END_LABEL_EDIT, &OrvProjectGui::OnLabelEdited, this);
    m_tree->Bind(wxEVT_TREE_BEGIN_DRAG, &OrvProjectGui::OnDragBegin, this);
    m_tree->Bind(wxEVT_TREE_END_DRAG, &OrvProjectGui::OnDragEnd, this);
    m_tree->Bind(wxEVT_TREE_KEY_DOWN, &OrvProjectGui::OnKey, this);
    m_tree->Bind(wxEVT_LEFT_UP, &OrvProjectGui::OnClick, this);
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

OrvProjectGui::~OrvProjectGui() {
    m_tree->SetImageList(nullptr);
}

void OrvProjectGui::AddButton(wxSizer* sizer, int commandId) {
    wxBitmapButton* button = OrvGuiCommandRegistry::CreateBitmapButton(this, commandId);
    // In menus both commands of saving bear the same picture; side by side they are told apart.
    if (commandId == OrvCmdSaveProjectAs) button->SetBitmap(LoadIconBundle("saveas.png"));
    button->Bind(wxEVT_BUTTON, &OrvProjectGui::OnButton, this);
    sizer->Add(button);
    m_buttons.push_back(button);
}

void OrvProjectGui::RefreshProject() {
    const int selected = GetSelectedBookmark();
    const OrvProject project = GetInterface()->GetProject();
    m_tree->Freeze();
    m_tree->DeleteAllItems();
    const wxTreeItemId root = m_tree->AddRoot(wxString());
    const std::string& title = project.GetCaseData().title;
    m_tree->AppendItem(
        root, title.empty() ? wxString(_("Case data...")) : wxString::Format(_("Case: %s"), FirstLine(title)),
        -1, -1, new ProjectItem(ItemKind::Case, -1));
    AddFiles(project, root);
    AddBookmarks(project, root, selected);
    m_tree->Thaw();
    UpdateButtons();
}

void OrvProjectGui::RefreshFiles() {
    if (GetInterface()->GetProject().GetAllFiles() != m_files) RefreshProject();
}

void OrvProjectGui::AddFiles(const OrvProject& project, const wxTreeItemId& root) {
    m_files = project.GetAllFiles();
    if (m_files.empty()) return;
    const wxTreeItemId group = m_tree->AppendItem(root, _("Files"));
    for (std::size_t i = 0; i < m_files.size(); ++i) {
        const OrvCaseFile& file = m_files[i];
        wxString text = VisibleText(PathName(file.path));
        const OrvExhibit* exhibit = project.GetCaseData().Find(file);
        if (exhibit && !exhibit->number.empty()) text = ToWx(exhibit->number) + "  " + text;
        const OrvHashCheck check = exhibit ? CheckExpectedHash(ParseExpectedHash(exhibit->expectedHash),
                                                               GetInterface()->GetKnownHashes(file))
                                           : OrvHashCheck::NotGiven;
        if (check == OrvHashCheck::Matches) text += "  " + _("expected hash");
        if (check == OrvHashCheck::Differs || check == OrvHashCheck::Unreadable)
            text += "  " + _("NOT the expected hash");
        if (check == OrvHashCheck::NotCompared) text += "  " + _("hash not compared");
        const wxTreeItemId item =
            m_tree->AppendItem(group, text, -1, -1, new ProjectItem(ItemKind::File, static_cast<int>(i)));
        if (check == OrvHashCheck::Differs || check == OrvHashCheck::Unreadable) m_tree->SetItemBold(item);
    }
    m_tree->Expand(group);
}

void OrvProjectGui::AddBookmarks(const OrvProject& project, const wxTreeItemId& root, int selected) {
    const wxTreeItemId group = m_tree->AppendItem(root, _("Bookmarks"));
    const wxColour quiet = wxSystemSettings::GetColour(wxSYS_COLOUR_GRAYTEXT);
    // Thumbnails that are no longer shown go with their places.
    if (m_thumbnails.size() > 2 * project.GetBookmarks().size() + 100) {
        m_images->RemoveAll();
        m_thumbnails.clear();
    }
    int index = 0;
    for (const OrvBookmark& bookmark : project.GetBookmarks()) {
        const wxString text = VisibleText(bookmark.name) + " (" + FilterName(bookmark.filterId) + ")";
        const wxTreeItemId item = m_tree->AppendItem(group, text, ThumbnailIndex(bookmark), -1,
                                                     new ProjectItem(ItemKind::Bookmark, index));
        if (!bookmark.note.empty()) {
            const wxTreeItemId note = m_tree->AppendItem(item, FirstLine(bookmark.note), -1, -1,
                                                         new ProjectItem(ItemKind::Note, index));
            m_tree->SetItemTextColour(note, quiet);
            m_tree->Expand(item);
        }
        if (index == selected) m_tree->SelectItem(item);
        ++index;
    }
    if (index == 0) {
        const wxTreeItemId hint = m_tree->AppendItem(group, _("No bookmarks yet"));
        m_tree->SetItemTextColour(hint, quiet);
    }
    m_tree->Expand(group);
}

int OrvProjectGui::ThumbnailIndex(const OrvBookmark& bookmark) {
    if (!bookmark.thumbnail) return -1;
    const auto known = m_thumbnails.find(bookmark.thumbnail);
    if (known != m_thumbnails.end()) return known->second;
    return m_thumbnails[bookmark.thumbnail] = m_images->Add(DrawThumbnail(*bookmark.thumbnail));
}

void OrvProjectGui::SelectFirstBookmark() {
    wxTreeItemIdValue cookie;
    const wxTreeItemId group = m_tree->GetLastChild(m_tree->GetRootItem());
    const wxTreeItemId first = m_tree->GetFirstChild(group, cookie);
    if (BookmarkOf(m_tree, first) >= 0) m_tree->SelectItem(first);
}

void OrvProjectGui::ShowLastBookmark() {
    const wxTreeItemId last = m_tree->GetLastChild(m_tree->GetLastChild(m_tree->GetRootItem()));
    if (BookmarkOf(m_tree, last) >= 0) m_tree->EnsureVisible(last);
}

int OrvProjectGui::GetSelectedBookmark() const {
    return BookmarkOf(m_tree, m_tree->GetSelection());
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

void OrvProjectGui::OnItemActivated(wxTreeEvent& event) {
    // The first click of a double click has shown the bookmark already.
    if (BookmarkOf(m_tree, event.GetItem()) >= 0 && wxGetMouseState().LeftIsDown()) return;
    Open(event.GetItem());
}

void OrvProjectGui::Open(const wxTreeItemId& item) {
    const ProjectItem* data = DataOf(m_tree, item);
    if (data == nullptr) return;
    switch (data->kind) {
        case ItemKind::Case:
            return EditCaseData();
        case ItemKind::File:
            return EditExhibit(static_cast<std::size_t>(data->index));
        default:
            return ShowBookmark(data->index);
    }
}

void OrvProjectGui::OnClick(wxMouseEvent& event) {
    event.Skip();
    int where = 0;
    const wxTreeItemId item = m_tree->HitTest(event.GetPosition(), where);
    const bool isOnItem = (where & (wxTREE_HITTEST_ONITEMLABEL | wxTREE_HITTEST_ONITEMICON)) != 0;
    if (m_dragged < 0 && isOnItem && item == m_tree->GetSelection()) ShowBookmark(BookmarkOf(m_tree, item));
}

void OrvProjectGui::OnItemMenu(wxTreeEvent& event) {
    const wxTreeItemId item = event.GetItem();
    const ProjectItem* data = DataOf(m_tree, item);
    if (item.IsOk()) m_tree->SelectItem(item);
    const int index = BookmarkOf(m_tree, item);
    wxMenu menu;
    if (index >= 0) {
        menu.Append(kShow, _("Show"));
        menu.Append(kRename, _("Rename") + "\tF2");
    }
    if (data) menu.Append(kEdit, _("Edit..."));
    if (index >= 0) menu.Append(kDelete, _("Delete") + "\tDel");
    if (data) menu.AppendSeparator();
    menu.Append(kUndo, _("Undo") + "\tCtrl+Z")->Enable(GetInterface()->CanUndoBookmarkChange());
    switch (m_tree->GetPopupMenuSelectionFromUser(menu)) {
        case kShow:
            return ShowBookmark(index);
        case kRename:
            m_tree->EditLabel(item);
            return;
        case kEdit:
            return index >= 0 ? EditBookmark(index) : Open(item);
        case kDelete:
            return DeleteBookmark(index);
        case kUndo:
            return GetInterface()->UndoBookmarkChange();
        default:
            return;
    }
}

void OrvProjectGui::OnItemToolTip(wxTreeEvent& event) {
    const ProjectItem* data = DataOf(m_tree, event.GetItem());
    if (data == nullptr) return;
    const OrvProject project = GetInterface()->GetProject();
    const auto index = static_cast<std::size_t>(std::max(data->index, 0));
    if (data->kind == ItemKind::Bookmark && index < project.GetBookmarks().size()) {
        event.SetToolTip(BookmarkTip(project.GetBookmarks()[index]));
    } else if (data->kind == ItemKind::Note && index < project.GetBookmarks().size()) {
        event.SetToolTip(ToWx(project.GetBookmarks()[index].note));
    } else if (data->kind == ItemKind::File && index < m_files.size()) {
        const OrvCaseFile& file = m_files[index];
        const OrvExhibit* exhibit = project.GetCaseData().Find(file);
        wxString tip = ToWx(file.path) + "\nSHA-256 " + ToWx(file.sha256);
        if (exhibit)
            tip += "\n" + ToWx(HashCheckText(exhibit->expectedHash, GetInterface()->GetKnownHashes(file)));
        event.SetToolTip(tip);
    }
}

void OrvProjectGui::OnLabelEdited(wxTreeEvent& event) {
    // The list is made anew with what the core keeps.
    event.Veto();
    const int index = BookmarkOf(m_tree, event.GetItem());
    const OrvProject project = GetInterface()->GetProject();
    if (event.IsEditCancelled() || index < 0 || index >= static_cast<int>(project.GetBookmarks().size()))
        return;
    const OrvBookmark& bookmark = project.GetBookmarks()[static_cast<std::size_t>(index)];
    wxString name = event.GetLabel();
    const wxString behind = " (" + FilterName(bookmark.filterId) + ")";
    if (name.EndsWith(behind)) name.RemoveLast(behind.length());
    name.Trim(true).Trim(false);
    if (!name.empty() && name != ToWx(bookmark.name))
        GetInterface()->EditBookmark(index, name, ToWx(bookmark.note));
}

void OrvProjectGui::OnDragBegin(wxTreeEvent& event) {
    const ProjectItem* data = DataOf(m_tree, event.GetItem());
    if (data == nullptr || data->kind != ItemKind::Bookmark) return;
    m_dragged = data->index;
    event.Allow();
}

void OrvProjectGui::OnDragEnd(wxTreeEvent& event) {
    const int from = std::exchange(m_dragged, -1);
    const int onto = BookmarkOf(m_tree, event.GetItem());
    if (from >= 0 && onto >= 0) GetInterface()->MoveBookmark(from, onto);
}

void OrvProjectGui::OnKey(wxTreeEvent& event) {
    const int index = GetSelectedBookmark();
    const wxKeyEvent& key = event.GetKeyEvent();
    if (key.GetKeyCode() == 'Z' && key.GetModifiers() == wxMOD_CONTROL)
        return GetInterface()->UndoBookmarkChange();
    if (key.GetModifiers() != wxMOD_NONE || index < 0) return event.Skip();
    switch (key.GetKeyCode()) {
        case WXK_F2:
            m_tree->EditLabel(m_tree->GetSelection());
            return;
        case WXK_DELETE:
        case WXK_NUMPAD_DELETE:
            return DeleteBookmark(index);
        default:
            event.Skip();
    }
}

void OrvProjectGui::ShowBookmark(int index) {
    if (index >= 0) GetInterface()->ShowBookmark(index);
}

void OrvProjectGui::AddBookmark() {
    const OrvFilter* filter = GetInterface()->GetActiveFilter();
    wxString name = filter ? wxGetTranslation(filter->GetName()) : wxString();
    wxString note;
    if (AskForBookmark(this, _("New Bookmark"), name, note)) GetInterface()->AddBookmark(name, note);
}

void OrvProjectGui::EditBookmark(int index) {
    const OrvProject project = GetInterface()->GetProject();
    if (index < 0 || index >= static_cast<int>(project.GetBookmarks().size())) return;
    const OrvBookmark& bookmark = project.GetBookmarks()[static_cast<std::size_t>(index)];
    wxString name = ToWx(bookmark.name);
    wxString note = ToWx(bookmark.note);
    if (AskForBookmark(this, _("Edit Bookmark"), name, note)) GetInterface()->EditBookmark(index, name, note);
}

// Without a question: Ctrl+Z and the context menu take it back.
void OrvProjectGui::DeleteBookmark(int index) {
    if (index < 0) return;
    GetInterface()->DeleteBookmark(index);
}

void OrvProjectGui::EditCaseData() {
    OrvCaseData data = GetInterface()->GetProject().GetCaseData();
    if (data.examiner.empty()) data.examiner = GetInterface()->GetOptions().GetExaminer();
    if (AskForCaseData(this, data)) GetInterface()->SetCaseData(data);
}

void OrvProjectGui::EditExhibit(std::size_t file) {
    if (file >= m_files.size()) return;
    OrvCaseData data = GetInterface()->GetProject().GetCaseData();
    const OrvExhibit* known = data.Find(m_files[file]);
    OrvExhibit exhibit = known ? *known : OrvExhibit();
    exhibit.file = m_files[file];
    if (!AskForExhibit(this, exhibit)) return;
    data.Set(exhibit);
    GetInterface()->SetCaseData(data);
}
