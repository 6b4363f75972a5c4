#include "orvgui/shell/commandregistry.h"

#include <wx/aui/auibar.h>
#include <wx/bmpbuttn.h>
#include <wx/debug.h>
#include <wx/menuitem.h>
#include <wx/translation.h>

#include <vector>

#include "orvgui/common/icons.h"

OrvGuiCommandRegistryGlobal OrvGuiCommandRegistry::m_global;
OrvGuiCommandRegistryViewer OrvGuiCommandRegistry::m_viewer;
OrvGuiCommandRegistryTools OrvGuiCommandRegistry::m_tools;
OrvGuiCommandRegistryBookmarks OrvGuiCommandRegistry::m_bookmarks;

namespace {

constexpr int kButtonSize = 26;

constexpr int kAlt = wxACCEL_ALT;
constexpr int kCtrl = wxACCEL_CTRL;
constexpr int kShift = wxACCEL_SHIFT;

// The commands in their order. The two "Edit Bookmark" rows, the label of 6022 and the accelerators that the
// reference panel's commands share in pairs are meant so; of two commands with one accelerator the first
// answers to it.
const OrvGuiCommand kFileCommands[] = {
    {OrvCmdOpenEvidence, wxTRANSLATE("Open Evidence"), "", kCtrl, 'O'},
    {OrvCmdOpenReference, wxTRANSLATE("Open Reference"), "", kAlt | kCtrl, 'O'},
    {OrvCmdSaveResultAs, wxTRANSLATE("Save Result As..."), "", kCtrl, 'S'},
    {OrvCmdNewProject, wxTRANSLATE("New Project"), "new.png", kCtrl | kShift, 'N'},
    {OrvCmdOpenProject, wxTRANSLATE("Open Project..."), "open.png", kCtrl | kShift, 'O'},
    {OrvCmdSaveProject, wxTRANSLATE("Save Project"), "save.png", kCtrl | kShift, 'S'},
    {OrvCmdSaveProjectAs, wxTRANSLATE("Save Project As..."), "save.png", 0, 0},
    {OrvCmdGenerateReport, wxTRANSLATE("Generate Report"), "", 0, 0},
    {OrvCmdExit, wxTRANSLATE("Exit"), "", kCtrl, 'Q'},
    {OrvCmdOpenSamplesFolder, wxTRANSLATE("Open Samples Folder"), "", 0, 0},
    {OrvCmdReferenceManual, wxTRANSLATE("Program Reference Manual"), "", 0, 0},
    {OrvCmdCheckForUpdates, wxTRANSLATE("Check for Updates Online"), "", 0, 0},
};
const OrvGuiCommand kFilterCommands[] = {
    {OrvCmdAddFilterConfiguration, wxTRANSLATE("Add Filter Configuration"), "new.png", 0, 0},
    {OrvCmdDeleteFilterConfiguration, wxTRANSLATE("Delete Filter Configuration"), "delete.png", 0, 0},
    {OrvCmdResetFilterConfigurations, wxTRANSLATE("Reset Filter Configurations"), "reset.png", 0, 0},
    {OrvCmdExpandAll, wxTRANSLATE("Expand All"), "expand.png", 0, 0},
    {OrvCmdCollapseAll, wxTRANSLATE("Collapse All"), "collapse.png", 0, 0},
    {OrvCmdSaveSettings, wxTRANSLATE("Save Settings..."), "save.png", 0, 0},
    {OrvCmdLoadSettings, wxTRANSLATE("Load Settings..."), "open.png", 0, 0},
    {OrvCmdResetDefaultSettings, wxTRANSLATE("Reset Default Settings"), "reset.png", 0, 0},
    {OrvCmdSettingsOnOff, wxTRANSLATE("Reset Default Settings"), "onoff.png", 0, 0},
};
const OrvGuiCommand kToolCommands[] = {
    {OrvCmdBatchProcessing, wxTRANSLATE("Batch Processing"), "", kCtrl, 'B'},
    {OrvCmdCameraSearch, wxTRANSLATE("Search Images From Same Camera Model..."), "", 0, 0},
    {OrvCmdCameraForensics, wxTRANSLATE("Search Images From Same Camera Model (CameraForensics)..."), "", 0,
     0},
    {OrvCmdGeoTagSearch, wxTRANSLATE("Search Images From Geo Tag..."), "", 0, 0},
    {OrvCmdWebSearch, wxTRANSLATE("Search Similar Images On The Web..."), "", 0, 0},
    {OrvCmdShowLocation, wxTRANSLATE("Show Image Location On Google Maps"), "", 0, 0},
    {OrvCmdDumpEmbeddedJpgs, wxTRANSLATE("Extract Embedded JPEGs From File"), "", 0, 0},
    {OrvCmdExtractFromPdf, wxTRANSLATE("Extract Embedded Images From PDF"), "", 0, 0},
    {OrvCmdBatchAnalysis, wxTRANSLATE("Batch File Format Analysis"), "", 0, 0},
    {OrvCmdBatchComparison, wxTRANSLATE("Batch File Format Comparison"), "", 0, 0},
};
const OrvGuiCommand kBookmarkCommands[] = {
    {OrvCmdNewBookmark, wxTRANSLATE("New Bookmark"), "bookmark.png", 0, 0},
    {OrvCmdDeleteBookmark, wxTRANSLATE("Delete Bookmark"), "delete.png", 0, 0},
    {OrvCmdEditBookmark, wxTRANSLATE("Edit Bookmark"), "edit.png", 0, 0},
    {OrvCmdEditBookmark, wxTRANSLATE("Edit Bookmark"), "edit.png", 0, 0},
};
constexpr int kRef = kReferenceCommandOffset;
const OrvGuiCommand kPanelCommands[] = {
    {OrvCmdBrowse, wxTRANSLATE("Browse Evidence File"), "open.png", 0, 0},
    {OrvCmdClear, wxTRANSLATE("Clear Evidence File"), "delete.png", 0, 0},
    {OrvCmdOpenFolder, wxTRANSLATE("Open Evidence Folder"), "browse.png", 0, 0},
    {OrvCmdGoFirst, wxTRANSLATE("First Image In Evidence Folder"), "bwd.png", kAlt | kCtrl, WXK_LEFT},
    {OrvCmdGoBack, wxTRANSLATE("Previous Image In Evidence Folder"), "bwds.png", kCtrl, WXK_LEFT},
    {OrvCmdGoForward, wxTRANSLATE("Next Image In Evidence Folder"), "play.png", kCtrl, WXK_RIGHT},
    {OrvCmdGoLast, wxTRANSLATE("Last Image in Evidence Folder"), "fwd.png", kAlt | kCtrl, WXK_RIGHT},
    {OrvCmdViewCache, wxTRANSLATE("Open Evidence Cache Folder"), "cachefolder.png", 0, 0},
    {OrvCmdDeleteCache, wxTRANSLATE("Delete Whole Evidence Cache Folder"), "deletecache.png", 0, 0},
    {OrvCmdReprocessCurrent, wxTRANSLATE("Reprocess Current Filter Configuration"), "reset.png", 0, 0},
    {OrvCmdBrowse + kRef, wxTRANSLATE("Browse Reference File"), "open.png", 0, 0},
    {OrvCmdClear + kRef, wxTRANSLATE("Clear Reference File"), "delete.png", 0, 0},
    {OrvCmdOpenFolder + kRef, wxTRANSLATE("Open Reference Folder"), "browse.png", 0, 0},
    {OrvCmdGoFirst + kRef, wxTRANSLATE("First Image In Reference Folder"), "bwd.png", kAlt | kCtrl | kShift,
     WXK_LEFT},
    {OrvCmdGoBack + kRef, wxTRANSLATE("Previous Image In Reference Folder"), "bwds.png",
     kAlt | kCtrl | kShift, WXK_LEFT},
    {OrvCmdGoForward + kRef, wxTRANSLATE("Next Image In Reference Folder"), "play.png", kAlt | kCtrl | kShift,
     WXK_RIGHT},
    {OrvCmdGoLast + kRef, wxTRANSLATE("Last Image in Reference Folder"), "fwd.png", kAlt | kCtrl | kShift,
     WXK_RIGHT},
    {OrvCmdViewCache + kRef, wxTRANSLATE("Open Reference Cache Folder"), "cachefolder.png", 0, 0},
    {OrvCmdDeleteCache + kRef, wxTRANSLATE("Delete Whole Reference Cache Folder"), "deletecache.png", 0, 0},
    {OrvCmdReprocessCurrent + kRef, wxTRANSLATE("Reprocess Current Filter Configuration"), "reset.png", 0, 0},
    {OrvCmdSwitch, wxTRANSLATE("Switch Evidence And Reference"), "switch.png", 0, 0},
    {OrvCmdCopyReferenceFromEvidence, wxTRANSLATE("Copy Reference From Evidence"), "copy.png", 0, 0},
    {OrvCmdReferenceOnOff, wxTRANSLATE("On/Off Reference"), "onoff.png", 0, 0},
};

template <std::size_t N>
void AddAll(OrvGuiCommandRegistryBase& registry, const OrvGuiCommand (&commands)[N]) {
    for (const OrvGuiCommand& command : commands) registry.Add(command);
}

const OrvGuiCommand* FindCommand(int id) {
    OrvGuiCommandRegistry::Init();
    const OrvGuiCommandRegistryBase* registries[] = {
        &OrvGuiCommandRegistry::m_global, &OrvGuiCommandRegistry::m_viewer, &OrvGuiCommandRegistry::m_tools,
        &OrvGuiCommandRegistry::m_bookmarks};
    for (const OrvGuiCommandRegistryBase* registry : registries) {
        if (const OrvGuiCommand* command = registry->Find(id)) return command;
    }
    wxFAIL_MSG(wxString::Format("unknown command %d", id));
    return nullptr;
}

}  // namespace

void OrvGuiCommandRegistryBase::Add(const OrvGuiCommand& entry) {
    wxCHECK_RET(m_lastEntryId < MAX_ENTRY, "m_lastEntryId < MAX_ENTRY");
    m_entries[static_cast<std::size_t>(m_lastEntryId++)] = entry;
}

const OrvGuiCommand* OrvGuiCommandRegistryBase::Find(int id) const {
    for (const OrvGuiCommand& entry : *this) {
        if (entry.id == id) return &entry;
    }
    return nullptr;
}

wxAcceleratorTable OrvGuiCommandRegistryBase::GetAcceleratorTable() const {
    std::vector<wxAcceleratorEntry> entries;
    for (const OrvGuiCommand& command : *this) {
        if (command.key != 0) entries.emplace_back(command.flags, command.key, command.id);
    }
    if (entries.empty()) return wxAcceleratorTable();
    return wxAcceleratorTable(static_cast<int>(entries.size()), entries.data());
}

void OrvGuiCommandRegistry::Init() {
    if (m_global.size() > 0) return;
    AddAll(m_global, kFileCommands);
    AddAll(m_viewer, kFilterCommands);
    AddAll(m_tools, kToolCommands);
    AddAll(m_bookmarks, kBookmarkCommands);
    // The file panels' keys work wherever the focus is, so they stand in the table that the frame installs.
    AddAll(m_global, kPanelCommands);
}

wxString OrvGuiCommandRegistry::GetCommandName(int id) {
    const OrvGuiCommand* command = FindCommand(id);
    return command ? wxString::FromUTF8(command->label) : wxString();
}

wxString OrvGuiCommandRegistry::GetLabel(int id) {
    const wxString name = GetCommandName(id);
    return name.empty() ? name : wxGetTranslation(name);
}

wxString OrvGuiCommandRegistry::GetAcceleratorText(int id) {
    const OrvGuiCommand* command = FindCommand(id);
    if (!command || command->key == 0) return wxString();
    return wxAcceleratorEntry(command->flags, command->key, id).ToString();
}

wxString OrvGuiCommandRegistry::GetToolTip(int id) {
    const wxString accelerator = GetAcceleratorText(id);
    return accelerator.empty() ? GetLabel(id) : GetLabel(id) + " (" + accelerator + ")";
}

wxBitmapBundle OrvGuiCommandRegistry::GetBitmap(int id, int size) {
    const OrvGuiCommand* command = FindCommand(id);
    if (!command || command->icon[0] == '\0') return wxBitmapBundle();
    return LoadIconBundle(command->icon, size);
}

wxMenuItem* OrvGuiCommandRegistry::CreateMenuItem(int id) {
    const wxString accelerator = GetAcceleratorText(id);
    const wxString label = wxControl::EscapeMnemonics(GetLabel(id));
    auto* item = new wxMenuItem(nullptr, id, accelerator.empty() ? label : label + "\t" + accelerator);
    const wxBitmapBundle bitmap = GetBitmap(id);
    if (bitmap.IsOk()) item->SetBitmap(bitmap);
    return item;
}

void OrvGuiCommandRegistry::AddTool(wxAuiToolBar* toolBar, int id) {
    wxCHECK_RET(toolBar, "toolBar");
    toolBar->AddTool(id, GetLabel(id), GetBitmap(id), GetToolTip(id));
}

wxBitmapButton* OrvGuiCommandRegistry::CreateBitmapButton(wxWindow* parent, int id) {
    wxBitmapBundle bitmap = GetBitmap(id);
    if (!bitmap.IsOk()) bitmap = LoadIconBundle("report.png");
    auto* button = new wxBitmapButton(parent, id, bitmap, wxDefaultPosition, wxDefaultSize,
                                      wxBU_EXACTFIT | wxBORDER_NONE);
    // Without its frame the button is as small as its picture, too small to be hit well.
    button->SetMinSize(wxSize(kButtonSize, kButtonSize));
    button->SetToolTip(GetToolTip(id));
    button->SetName(GetLabel(id));
    return button;
}

wxAcceleratorTable OrvGuiCommandRegistry::GetAcceleratorTableGlobal() {
    return m_global.GetAcceleratorTable();
}
wxAcceleratorTable OrvGuiCommandRegistry::GetAcceleratorTableViewer() {
    return m_viewer.GetAcceleratorTable();
}
wxAcceleratorTable OrvGuiCommandRegistry::GetAcceleratorTableTools() {
    return m_tools.GetAcceleratorTable();
}
wxAcceleratorTable OrvGuiCommandRegistry::GetAcceleratorTableBookmarks() {
    return m_bookmarks.GetAcceleratorTable();
}

bool IsKeyOfTextField(int flags, int key) {
    const bool isArrow = key == WXK_LEFT || key == WXK_RIGHT;
    return isArrow && (flags & wxACCEL_CTRL) != 0 && (flags & wxACCEL_ALT) == 0;
}
