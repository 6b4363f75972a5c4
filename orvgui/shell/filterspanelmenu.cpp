// What the filters tree does on command: its context menu, buttons and keys, and the order of configurations
// by drag and drop.

#include <wx/menu.h>
#include <wx/msgdlg.h>
#include <wx/translation.h>
#include <wx/wupdlock.h>

#include <algorithm>

#include "orvcore/facade/interface.h"
#include "orvgui/common/fileselectors.h"
#include "orvgui/common/messagebox.h"
#include "orvgui/pages/orvviewerpanel.h"
#include "orvgui/shell/commandregistry.h"
#include "orvgui/shell/filterspanelpriv.h"

namespace {

struct MenuEntry {
    int id;  // 0 = separator
    const char* label;
};

constexpr MenuEntry kMenu[] = {
    {OrvCmdAddFilterConfiguration, wxTRANSLATE("Add Filter Configuration")},
    {OrvCmdDeleteFilterConfiguration, wxTRANSLATE("Delete Filter Configuration")},
    {0, ""},
    {OrvCmdEnableConfiguration, wxTRANSLATE("Enable")},
    {OrvCmdDisableConfiguration, wxTRANSLATE("Disable")},
    {0, ""},
    {OrvCmdSaveSettings, wxTRANSLATE("Save Current Configurations")},
    {OrvCmdLoadSettings, wxTRANSLATE("Load Configurations")},
    {OrvCmdResetDefaultSettings, wxTRANSLATE("Reset Default Configurations")},
    {0, ""},
    {OrvCmdExpandAll, wxTRANSLATE("Expand All Configurations")},
    {OrvCmdCollapseAll, wxTRANSLATE("Collapse All Configurations")},
};

wxString ConfigurationFileFilter() {
    return _("Filter configurations (*.zof)|*.zof|All files (*.*)|*.*");
}

bool Ask(const wxString& question, wxWindow* parent) {
    return OrvMessageBox(question, wxMessageBoxCaptionStr, wxOK | wxCANCEL, parent) == wxOK;
}

}  // namespace

std::unique_ptr<wxMenu> OrvFiltersPanel::CreateContextMenu() const {
    auto menu = std::make_unique<wxMenu>();
    for (const MenuEntry& entry : kMenu) {
        if (entry.id == 0)
            menu->AppendSeparator();
        else
            menu->Append(entry.id, wxGetTranslation(entry.label));
    }
    return menu;
}

void OrvFiltersPanel::PopUpMenu(const wxPoint& position) {
    const std::unique_ptr<wxMenu> menu = CreateContextMenu();
    PopupMenu(menu.get(), position);
}

void OrvFiltersPanel::OnItemRightClick(wxTreeEvent& event) {
    if (event.GetItem().IsOk()) m_tree->SelectItem(event.GetItem());
    PopUpMenu(wxDefaultPosition);
}

void OrvFiltersPanel::OnTreeKeyDown(wxTreeEvent& event) {
    const wxKeyEvent& key = event.GetKeyEvent();
    const int code = key.GetKeyCode();
    wxCommandEvent command(wxEVT_MENU, OrvCmdDeleteFilterConfiguration);
    if ((code == WXK_DELETE || code == WXK_NUMPAD_DELETE) && !key.HasAnyModifiers()) {
        OnMenuDeleteConfiguration(command);
        return;
    }
    if (code == WXK_MENU || code == WXK_WINDOWS_MENU || (code == WXK_F10 && key.ShiftDown())) {
        wxRect place;
        const wxTreeItemId item = m_tree->GetSelection();
        if (GetData(item) != nullptr && m_tree->GetBoundingRect(item, place, true))
            PopUpMenu(ScreenToClient(m_tree->ClientToScreen(place.GetBottomLeft())));
        return;
    }
    event.Skip();
}

void OrvFiltersPanel::OnMenuAddCurrentConfiguration(wxCommandEvent&) {
    const OrvItemData* data = GetData(m_tree->GetSelection());
    if (data == nullptr) return;
    if (data->kind == OrvItemGroup) {
        OrvMessageBox(_("Please select a tool to add the configuration."), wxString(), wxOK, this);
        return;
    }
    OrvFilter* filter = data->filter;
    const VecParameter parameters = filter->GetParametersInput();
    const std::vector<OrvFilterConfiguration> saved = filter->GetConfigurations();
    const auto isSame = [&](const OrvFilterConfiguration& other) {
        return other.GetParameters() == parameters;
    };
    if (std::any_of(saved.begin(), saved.end(), isSame)) {
        OrvMessageBox(_("This configuration is already present."), wxString(), wxOK, this);
        return;
    }
    const int index = static_cast<int>(saved.size());
    const wxTreeItemId filterItem = GetFilterItem(m_tree->GetSelection());
    GetInterface()->AddFilterConfiguration(filter, parameters, index);
    AppendItemForFilterConfiguration(filter, parameters, index, filterItem);
    UpdateItemData();
    SelectSilently(m_tree->GetLastChild(filterItem));
}

void OrvFiltersPanel::OnMenuDeleteConfiguration(wxCommandEvent&) {
    const wxTreeItemId item = m_tree->GetSelection();
    const OrvItemData* data = GetData(item);
    if (data == nullptr) return;
    if (data->kind == OrvItemGroup) {
        OrvMessageBox(_("You cannot delete a tool group."), wxString(), wxOK, this);
        return;
    }
    OrvFilter* filter = data->filter;
    if (data->kind == OrvItemFilter) {
        if (filter->HasSingleConfiguration()) {
            OrvMessageBox(_("This filter has no settings, so there is no configuration to delete."),
                          wxString(), wxOK, this);
            return;
        }
        if (!Ask(_("Do you want to delete all configurations for this filter?"), this)) return;
        m_dragged.Unset();
        m_tree->DeleteChildren(item);
        GetInterface()->DeleteAllFilterConfigurations(filter);
    } else {
        const int index = data->configuration;
        SelectSilently(m_tree->GetItemParent(item));
        m_dragged.Unset();
        m_tree->Delete(item);
        GetInterface()->DeleteFilterConfiguration(filter, index);
    }
    UpdateItemData();
}

void OrvFiltersPanel::OnMenuResetFilterConfigurations(wxCommandEvent&) {
    const OrvItemData* data = GetData(m_tree->GetSelection());
    if (data == nullptr) return;
    if (data->kind == OrvItemGroup) {
        OrvMessageBox(_("You cannot reset a tool group."), wxString(), wxOK, this);
        return;
    }
    OrvFilter* filter = data->filter;
    const wxTreeItemId item = GetFilterItem(m_tree->GetSelection());
    if (!Ask(_("Do you want to reset default configurations for this filter?"), this)) return;
    const wxWindowUpdateLocker freeze(m_tree);
    SelectSilently(item);
    m_dragged.Unset();
    m_tree->DeleteChildren(item);
    GetInterface()->ResetDefaultFilterConfigurations(filter);
    if (!filter->HasSingleConfiguration()) AppendConfigurations(filter, item);
    UpdateItemData();
}

// --- enabling ---

bool OrvFiltersPanel::IsAnyEnabled(wxTreeItemId item) const {
    const OrvItemData* data = GetData(item);
    if (data == nullptr) return false;
    bool isAny = false;
    if (data->kind == OrvItemConfiguration) return data->filter->IsConfigurationEnabled(data->configuration);
    if (data->kind == OrvItemGroup)
        ForEachChild(item, [&](wxTreeItemId child) { isAny = isAny || IsAnyEnabled(child); });
    else
        for (int i = 0; i < data->filter->GetConfigurationsSize(); ++i)
            isAny = isAny || data->filter->IsConfigurationEnabled(i);
    return isAny;
}

void OrvFiltersPanel::EnableConfigurations(wxTreeItemId item, bool enabled) {
    const OrvItemData* data = GetData(item);
    if (data->kind == OrvItemGroup) {
        ForEachChild(item, [&](wxTreeItemId child) { EnableConfigurations(child, enabled); });
        return;
    }
    const bool isWhole = data->kind == OrvItemFilter;
    const int first = isWhole ? 0 : data->configuration;
    const int last = isWhole ? data->filter->GetConfigurationsSize() - 1 : first;
    for (int i = first; i <= last; ++i)
        if (data->filter->IsConfigurationEnabled(i) != enabled)
            GetInterface()->EnableFilterConfiguration(data->filter, i, enabled);
}

void OrvFiltersPanel::EnableFilter(wxCommandEvent&, bool enabled) {
    const wxTreeItemId item = m_tree->GetSelection();
    const OrvItemData* data = GetData(item);
    if (data == nullptr) return;
    EnableConfigurations(item, enabled);
    const wxWindowUpdateLocker freeze(m_tree);
    UpdateFiltersGroup(data->kind == OrvItemGroup ? item : m_tree->GetItemParent(GetFilterItem(item)));
}

void OrvFiltersPanel::OnMenuEnableFilter(wxCommandEvent& event) {
    EnableFilter(event, true);
}

void OrvFiltersPanel::OnMenuDisableFilter(wxCommandEvent& event) {
    EnableFilter(event, false);
}

void OrvFiltersPanel::OnMenuToggleFilter(wxCommandEvent& event) {
    EnableFilter(event, !IsAnyEnabled(m_tree->GetSelection()));
}

// --- all configurations ---

void OrvFiltersPanel::OnMenuSaveCurrentSettings(wxCommandEvent&) {
    const wxString path = OrvFileSaveSelector(_("Choose a file for the filter configurations"), wxString(),
                                              ConfigurationFileFilter());
    if (!path.empty()) GetInterface()->SaveConfigurations(path);
}

// What was read arrives later; the core then asks for a full refresh.
void OrvFiltersPanel::OnMenuLoadSettings(wxCommandEvent&) {
    const wxString path = OrvFileLoadSelector(_("Choose a file of filter configurations"), wxString(),
                                              ConfigurationFileFilter());
    if (!path.empty()) GetInterface()->LoadConfigurations(path);
}

void OrvFiltersPanel::OnMenuResetDefaultSettings(wxCommandEvent&) {
    if (!Ask(_("Do you want to reset default configurations for all filters?"), this)) return;
    GetInterface()->ResetAllConfigurations();
    UpdateTreebook(true);
}

void OrvFiltersPanel::OnMenuLoadCurrentSettingsOnStartup(wxCommandEvent&) {
    GetContext()->RefreshConfigurations();
}

void OrvFiltersPanel::OnMenuExpandAll(wxCommandEvent&) {
    const wxWindowUpdateLocker freeze(m_tree);
    m_tree->ExpandAll();
}

// The groups stay open: closed, they would hide the filters.
void OrvFiltersPanel::OnMenuCollapseAll(wxCommandEvent&) {
    const wxWindowUpdateLocker freeze(m_tree);
    // The tree would tell of the selection that closing moves.
    const wxTreeItemId filterItem = GetFilterItem(m_tree->GetSelection());
    SelectSilently(filterItem);
    ForEachFilterItem([this](wxTreeItemId item) { m_tree->Collapse(item); });
}

// --- order ---

void OrvFiltersPanel::OnTreeDragBegin(wxTreeEvent& event) {
    const OrvItemData* data = GetData(event.GetItem());
    m_dragged.Unset();
    if (data == nullptr || data->kind != OrvItemConfiguration) return;
    m_dragged = event.GetItem();
    event.Allow();
}

void OrvFiltersPanel::OnTreeDragEnd(wxTreeEvent& event) {
    const wxTreeItemId dragged = m_dragged;
    m_dragged.Unset();
    OrvItemData* data = GetData(dragged);
    const wxTreeItemId target = event.GetItem();
    const OrvItemData* targetData = GetData(target);
    if (data == nullptr || targetData == nullptr || targetData->filter != data->filter || target == dragged)
        return;

    const int from = data->configuration;
    const bool isFirst = targetData->kind == OrvItemFilter;
    // Places count without the dragged item.
    const int after = targetData->configuration;
    const int to = isFirst ? 0 : after < from ? after + 1 : after;
    const bool isSelected = m_tree->GetSelection() == dragged;

    const wxWindowUpdateLocker freeze(m_tree);
    const wxTreeItemId parent = m_tree->GetItemParent(dragged);
    const wxString text = m_tree->GetItemText(dragged);
    const wxTreeItemId moved = isFirst ? m_tree->PrependItem(parent, text, -1, -1, data)
                                       : m_tree->InsertItem(parent, target, text, -1, -1, data);
    if (isSelected) SelectSilently(moved);
    m_tree->SetItemData(dragged, nullptr);
    m_tree->Delete(dragged);
    GetInterface()->MoveFilterConfiguration(data->filter, from, to);
    UpdateItemData();
    bool bold = false;
    bool red = false;
    bool formatted = false;
    UpdateFilter(parent, bold, red, formatted);
}
