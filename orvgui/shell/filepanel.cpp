#include "orvgui/shell/filepanel.h"

#include <wx/bmpbuttn.h>
#include <wx/debug.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>
#include <wx/translation.h>

#include "orvcore/facade/interface.h"
#include "orvgui/common/filedrop.h"
#include "orvgui/common/fileselectors.h"
#include "orvgui/common/messagebox.h"
#include "orvgui/common/textfocus.h"
#include "orvgui/common/visibletext.h"
#include "orvgui/shell/commandregistry.h"
#include "orvgui/shell/mainframe.h"
#include "orvgui/shell/recentfiles.h"
#include "zorbase/files.h"
#include "zorbase/gui/shell.h"
#include "zorbase/text.h"

namespace {

constexpr int kGap = 4;
constexpr int kGroupGap = 12;

}  // namespace

FilePanel::FilePanel(wxWindow* parent, OrvFileId slot) : wxPanel(parent), m_slot(slot) {
    CreateControls();
    SetDropTarget(new FilePanelDropTarget(slot));
    m_filename->SetDropTarget(new FilePanelDropTarget(slot));
    SetImage();
}

void FilePanel::CreateControls() {
    m_title = new wxStaticText(this, wxID_ANY, wxString());
    m_title->SetFont(m_title->GetFont().Bold());
    m_filename =
        new wxTextCtrl(this, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize, wxTE_PROCESS_ENTER);
    m_filename->SetMinSize(FieldSize(*m_filename, -1));
    m_filename->SetHint(_("Drop a photograph here, or type its name"));
    m_filename->Bind(wxEVT_TEXT_ENTER, &FilePanel::OnTextFilename, this);
    // A name that was typed and not loaded must not be taken for that of the loaded file.
    m_filename->Bind(wxEVT_KILL_FOCUS, [this](wxFocusEvent& event) {
        event.Skip();
        // A message about the name takes the focus too; where it goes is known a moment later.
        CallAfter([this] { GiveUpAttempt(); });
    });
    m_position = new wxStaticText(this, wxID_ANY, wxString());

    auto* top = new wxBoxSizer(wxHORIZONTAL);
    top->Add(m_title, 0, wxALIGN_CENTER_VERTICAL | wxLEFT | wxRIGHT, 2 * kGap);
    top->Add(m_filename, 1, wxALIGN_CENTER_VERTICAL);
    top->AddSpacer(2 * kGap);
    top->Add(m_position, 0, wxALIGN_CENTER_VERTICAL | wxRIGHT, 2 * kGap);

    const int offset = m_slot == OrvReference ? kReferenceCommandOffset : 0;
    auto* buttons = new wxBoxSizer(wxHORIZONTAL);
    buttons->AddSpacer(kGap);
    AddButton(buttons, OrvCmdBrowse + offset, &FilePanel::OnButtonBrowse);
    buttons->Add(CreateRecentButton(
                     this, RecentKind::Pictures,
                     [this](const std::string& path) { GetInterface()->SetFile(PathToWx(path), m_slot); }),
                 0, wxALIGN_CENTER_VERTICAL);
    AddButton(buttons, OrvCmdClear + offset, &FilePanel::OnButtonClear);
    AddButton(buttons, OrvCmdOpenFolder + offset, &FilePanel::OnButtonOpenPath);
    buttons->AddSpacer(kGroupGap);
    AddButton(buttons, OrvCmdGoFirst + offset, &FilePanel::OnButtonGoFirst);
    AddButton(buttons, OrvCmdGoBack + offset, &FilePanel::OnButtonGoBack);
    AddButton(buttons, OrvCmdGoForward + offset, &FilePanel::OnButtonGoForward);
    AddButton(buttons, OrvCmdGoLast + offset, &FilePanel::OnButtonGoLast);
    buttons->AddSpacer(kGroupGap);
    AddButton(buttons, OrvCmdViewCache + offset, &FilePanel::OnButtonViewCache);
    AddButton(buttons, OrvCmdDeleteCache + offset, &FilePanel::OnButtonDeleteCache);
    AddButton(buttons, OrvCmdReprocessCurrent + offset, &FilePanel::OnButtonDeleteCacheFilter);
    if (m_slot == OrvReference) {
        buttons->AddSpacer(kGroupGap);
        AddButton(buttons, OrvCmdSwitch, &FilePanel::OnButtonSwitch);
        AddButton(buttons, OrvCmdCopyReferenceFromEvidence, &FilePanel::OnButtonCopyReferenceFromEvidence);
        AddButton(buttons, OrvCmdReferenceOnOff, &FilePanel::OnButtonReferenceOnOff);
    }

    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(top, 0, wxEXPAND | wxTOP, 2);
    sizer->Add(buttons, 0, wxEXPAND | wxTOP | wxBOTTOM, 1);
    SetSizer(sizer);
}

void FilePanel::AddButton(wxSizer* sizer, int commandId, Handler handler) {
    wxBitmapButton* button = OrvGuiCommandRegistry::CreateBitmapButton(this, commandId);
    button->Bind(wxEVT_BUTTON, handler, this);
    sizer->Add(button, 0, wxALIGN_CENTER_VERTICAL);
    m_buttons[commandId] = button;
    m_handlers[commandId] = handler;
}

FilePanelState FilePanel::ReadState() const {
    FilePanelState state;
    state.slot = m_slot;
    const OrvInterface* core = GetInterface();
    if (!core) return state;
    // A reference that is switched off is still in its slot, though it has no part in any analysis.
    state.hasFile = !core->GetFilename(m_slot).empty();
    state.hasOtherFile = !core->GetFilename(m_slot == OrvEvidence ? OrvReference : OrvEvidence).empty();
    // Not looked at here: a network folder that does not answer would hold up the window at every click.
    state.hasFolder = state.hasFile;
    state.hasCache = state.hasFile && FolderExists(PathFromWx(core->GetOutputDir(m_slot)));
    state.index = core->GetFileId(m_slot);
    state.count = static_cast<int>(core->GetFileList(m_slot).size());
    return state;
}

void FilePanel::SetImage() {
    const FilePanelState state = ReadState();
    ShowFilename();
    m_position->SetLabelText(state.Position());
    m_position->Show(!state.Position().empty());
    const bool isOff = m_slot == OrvReference && GetInterface() && !GetInterface()->IsReferenceEnabled();
    m_title->SetLabelText(m_slot == OrvEvidence ? _("Evidence")
                          : isOff               ? _("Reference (off)")
                                                : _("Reference"));
    for (const auto& [commandId, button] : m_buttons) {
        const bool enabled = state.IsCommandEnabled(commandId);
        // A button that goes grey would take the keyboard's focus with it.
        if (!enabled && button->HasFocus()) m_filename->SetFocus();
        button->Enable(enabled);
    }
    Layout();
}

void FilePanel::ShowFilename() {
    const OrvInterface* core = GetInterface();
    const wxString path = core ? core->GetFilename(m_slot) : wxString();
    if (path != m_attemptedFrom) m_attempt.clear();
    const wxString name = m_attempt.empty() ? VisibleText(PathName(PathFromWx(path))) : m_attempt;
    if (m_filename->GetValue() != name) m_filename->ChangeValue(name);
    if (path.empty()) {
        m_filename->UnsetToolTip();
    } else if (const wxString tip = VisibleText(PathFromWx(path)); m_filename->GetToolTipText() != tip) {
        m_filename->SetToolTip(tip);
    }
}

// The user has gone on to something else in this window: the field names the loaded file again.
void FilePanel::GiveUpAttempt() {
    wxWindow* focus = wxWindow::FindFocus();
    if (focus == nullptr || focus == m_filename || wxGetTopLevelParent(focus) != wxGetTopLevelParent(this))
        return;
    m_attempt.clear();
    ShowFilename();
}

bool FilePanel::RunCommand(int commandId) {
    const auto it = m_handlers.find(commandId);
    if (it == m_handlers.end()) return false;
    if (!ReadState().IsCommandEnabled(commandId)) return true;
    wxCommandEvent event(wxEVT_BUTTON, commandId);
    event.SetEventObject(this);
    (this->*it->second)(event);
    return true;
}

void FilePanel::Browse() {
    OrvInterface* core = GetInterface();
    const wxString path = OrvFileLoadSelector(_("Choose a file to analyze"), core->GetFilename(m_slot),
                                              core->GetStringImageFormatsRead());
    if (!path.empty()) core->SetFile(path, m_slot);
}

void FilePanel::GoTo(int index) {
    const OrvFileList list = GetInterface()->GetFileList(m_slot);
    if (index < 0 || index >= static_cast<int>(list.size())) return;
    GetInterface()->SetFile(list[static_cast<std::size_t>(index)], m_slot);
}

void FilePanel::OnButtonBrowse(wxCommandEvent&) {
    Browse();
}

void FilePanel::OnButtonClear(wxCommandEvent&) {
    GetInterface()->SetFile(wxString(), m_slot);
}

void FilePanel::OnButtonCopyReferenceFromEvidence(wxCommandEvent&) {
    wxCHECK_RET(m_slot == OrvReference, "m_slot == OrvReference");
    GetInterface()->SetFile(GetInterface()->GetFilename(OrvEvidence), OrvReference);
}

void FilePanel::OnButtonDeleteCache(wxCommandEvent&) {
    if (!FolderExists(PathFromWx(GetInterface()->GetOutputDir(m_slot)))) return;
    const int answer = OrvMessageBox(_("Do you want to delete preprocessed data for this image?"),
                                     _("Delete Cache"), wxYES_NO | wxICON_QUESTION);
    if (answer == wxYES) GetInterface()->DeleteCache(m_slot);
}

void FilePanel::OnButtonDeleteCacheFilter(wxCommandEvent&) {
    GetInterface()->ReprocessCurrent(m_slot);
}

void FilePanel::OnButtonViewCache(wxCommandEvent&) {
    const wxString folder = GetInterface()->GetOutputDir(m_slot);
    if (FolderExists(PathFromWx(folder))) OpenFileExplorer(folder);
}

void FilePanel::OnButtonOpenPath(wxCommandEvent&) {
    const std::string folder = PathFolder(PathFromWx(GetInterface()->GetFilename(m_slot)));
    if (FolderExists(folder)) OpenFileExplorer(PathToWx(folder));
}

void FilePanel::OnButtonEdit(wxCommandEvent&) {
    if (auto* frame = dynamic_cast<OrvMainFrame*>(GetParent())) frame->OpenEditPanel(m_slot);
}

void FilePanel::OnButtonGoFirst(wxCommandEvent&) {
    GoTo(0);
}
void FilePanel::OnButtonGoBack(wxCommandEvent&) {
    GoTo(GetInterface()->GetFileId(m_slot) - 1);
}
void FilePanel::OnButtonGoForward(wxCommandEvent&) {
    GoTo(GetInterface()->GetFileId(m_slot) + 1);
}
void FilePanel::OnButtonGoLast(wxCommandEvent&) {
    GoTo(static_cast<int>(GetInterface()->GetFileList(m_slot).size()) - 1);
}

void FilePanel::OnButtonSwitch(wxCommandEvent&) {
    GetInterface()->SwitchFiles();
}

void FilePanel::OnButtonReferenceOnOff(wxCommandEvent&) {
    GetInterface()->EnableReference(!GetInterface()->IsReferenceEnabled());
    SetImage();
}

void FilePanel::OnTextFilename(wxCommandEvent&) {
    const std::string current = PathFromWx(GetInterface()->GetFilename(m_slot));
    m_attempt = m_filename->GetValue();
    m_attemptedFrom = GetInterface()->GetFilename(m_slot);
    const std::string path = ResolveTypedFilename(m_attempt, current);
    if (path == current) m_attempt.clear();
    GetInterface()->SetFile(PathToWx(path), m_slot);
}
