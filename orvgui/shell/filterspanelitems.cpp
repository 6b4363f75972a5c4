// The items of the filters tree: how they are found, what they show, and how they follow the core.

#include <wx/settings.h>
#include <wx/wupdlock.h>

#include <algorithm>

#include "orvcore/facade/interface.h"
#include "orvgui/common/loadedfiles.h"
#include "orvgui/common/visibletext.h"
#include "orvgui/pages/filtergui.h"
#include "orvgui/pages/orvviewerpanel.h"
#include "orvgui/shell/filterspanelpriv.h"
#include "zorbase/text.h"

namespace {

// What the trees of the process showed last: a full refresh is due when this changes. The same file loaded
// again is another snapshot, and so is another reference.
struct SeenFiles {
    wxString evidenceName;
    std::uint64_t serial[kFileSlots] = {0, 0};
    bool operator==(const SeenFiles& other) const = default;
};

SeenFiles& Seen() {
    static SeenFiles seen;
    return seen;
}

SeenFiles ReadFiles(const OrvInterface& core) {
    SeenFiles files;
    files.evidenceName = core.GetFilename(OrvEvidence);
    for (const OrvFileId slot : {OrvEvidence, OrvReference})
        if (const OrvFilePtr file = core.HasFile(slot) ? core.GetFile(slot) : nullptr)
            files.serial[slot] = file->GetSerial();
    return files;
}

// Nothing was run on files that are no longer loaded, whatever the configuration remembers.
FilterStatus CurrentStatus(const OrvFilterConfiguration& configuration, bool isResultCurrent) {
    return isResultCurrent ? configuration.GetFilterStatus() : FilterStatus::NotProcessed;
}

}  // namespace

OrvItemData* OrvFiltersPanel::GetData(wxTreeItemId item) const {
    if (!item.IsOk() || item == m_tree->GetRootItem()) return nullptr;
    return dynamic_cast<OrvItemData*>(m_tree->GetItemData(item));
}

// The filter item that a filter or configuration item belongs to; nothing for a group.
wxTreeItemId OrvFiltersPanel::GetFilterItem(wxTreeItemId item) const {
    const OrvItemData* data = GetData(item);
    if (data == nullptr || data->kind == OrvItemGroup) return {};
    return data->kind == OrvItemFilter ? item : m_tree->GetItemParent(item);
}

wxTreeItemId OrvFiltersPanel::FindFilterItem(const OrvFilter* filter) const {
    wxTreeItemId found;
    ForEachFilterItem([&](wxTreeItemId item) {
        if (GetData(item)->filter == filter) found = item;
    });
    return found;
}

wxTreeItemId OrvFiltersPanel::FindItem(wxTreeItemId from, wxTreeItemId item) const {
    const wxTreeItemId wanted = item;
    while (item.IsOk() && item != from) item = m_tree->GetItemParent(item);
    return item.IsOk() ? wanted : wxTreeItemId();
}

wxTreeItemId OrvFiltersPanel::FindItem(wxTreeItemId from, OrvFilterGui* page, int configuration) const {
    if (page == nullptr || !from.IsOk()) return {};
    const wxTreeItemId filterItem = FindFilterItem(page->GetFilter());
    wxTreeItemId found = FindItem(from, filterItem);
    ForEachChild(filterItem, [&](wxTreeItemId item) {
        if (GetData(item)->configuration == configuration && FindItem(from, item).IsOk()) found = item;
    });
    return found;
}

bool OrvFiltersPanel::AppendItemForFilterConfiguration(OrvFilter* filter, const VecParameter& parameters,
                                                       int index, wxTreeItemId parent) {
    const wxString text = ConfigurationText(parameters);
    auto* data = new OrvItemData(text, index, OrvItemConfiguration, filter);
    data->parameters = parameters;
    const wxTreeItemId item = m_tree->AppendItem(parent, text, -1, -1, data);
    const bool isEnabled = filter->IsConfigurationEnabled(index);
    if (!isEnabled) EnableItem(item, false, true);
    return isEnabled;
}

void OrvFiltersPanel::EnableItem(wxTreeItemId item, bool enabled, bool own) {
    const OrvItemData* d = GetData(item);
    wxCHECK_RET(d != nullptr && d->filter != nullptr, "d->filter");
    const int size = d->filter->GetConfigurationsSize();
    wxCHECK_RET(size > 0, "d->filter->GetConfigurationsSize()");
    if (!own)
        for (int i = 0; i < size && !enabled; ++i) enabled = d->filter->IsConfigurationEnabled(i);
    if (!enabled) {
        FormatItem(item, false, false, false);
    } else if (own) {
        bool bold = false;
        bool red = false;
        bool formatted = false;
        GetStatusAndFormatItem(item, bold, red, formatted);
    } else {
        FormatItem(item, m_tree->IsBold(item), m_tree->GetItemTextColour(item) == *wxRED, true);
    }
}

// Sets only what differs: each call of the tree's own redraws a line.
void OrvFiltersPanel::FormatItem(wxTreeItemId item, bool bold, bool red, bool enabled) {
    const OrvItemLook look{bold, red, enabled};
    const wxColour colour = ColourOf(look, wxSystemSettings::GetAppearance().IsDark(),
                                     wxSystemSettings::GetColour(wxSYS_COLOUR_LISTBOXTEXT));
    const int sign = enabled && red ? 0 : wxTREE_ITEMSTATE_NONE;
    if (m_tree->IsBold(item) != bold) m_tree->SetItemBold(item, bold);
    if (m_tree->GetItemTextColour(item) != colour) m_tree->SetItemTextColour(item, colour);
    if (m_tree->GetItemState(item) != sign) m_tree->SetItemState(item, sign);
}

void OrvFiltersPanel::GetStatusAndFormatItem(wxTreeItemId item, bool& bold, bool& red, bool& formatted) {
    formatted = false;
    const OrvItemData* data = GetData(item);
    if (data == nullptr || data->filter == nullptr) return;
    const std::vector<OrvFilterConfiguration> configurations = data->filter->GetConfigurations();
    const auto index = static_cast<std::size_t>(std::max(data->configuration, 0));
    if (index >= configurations.size() || !configurations[index].IsEnabled()) return;
    const OrvItemLook look = LookOf(
        CurrentStatus(configurations[index], IsForLoadedFiles(data->filter->GetResult(), *GetInterface())),
        true);
    bold = look.bold;
    red = look.red;
    formatted = true;
    FormatItem(item, bold, red, true);
}

void OrvFiltersPanel::UpdateFilter(wxTreeItemId item, bool& bold, bool& red, bool& formatted) {
    const OrvItemData* data = GetData(item);
    if (data == nullptr || data->kind != OrvItemFilter) return;
    const OrvFilter& filter = *data->filter;
    const std::vector<OrvFilterConfiguration> configurations = filter.GetConfigurations();
    const OrvFilterResultPtr result = filter.GetResult();
    const bool isCurrent = IsForLoadedFiles(result, *GetInterface());

    std::vector<OrvItemLook> looks;
    OrvItemLook whole;
    bool isSaved = false;  // what the newest result was made with
    for (const OrvFilterConfiguration& configuration : configurations) {
        looks.push_back(LookOf(CurrentStatus(configuration, isCurrent), configuration.IsEnabled()));
        whole = Strongest(whole, looks.back());
        isSaved = isSaved || (result && configuration.GetParameters() == result->input);
    }
    // A run with values that are saved in no configuration counts too; a disabled configuration does not.
    if (whole.enabled && isCurrent && !isSaved) whole = Strongest(whole, LookOf(result->status, true));

    if (!filter.HasSingleConfiguration()) {
        SyncConfigurations(item, configurations);
        std::size_t i = 0;
        ForEachChild(item, [&](wxTreeItemId child) {
            const OrvItemLook& look = looks[i++];
            FormatItem(child, look.bold, look.red, look.enabled);
        });
    }
    FormatItem(item, whole.bold, whole.red, whole.enabled);
    bold = whole.bold;
    red = whole.red;
    formatted = whole.enabled;
}

// Configurations that came from elsewhere (a loaded file, a reset) replace the items that no longer fit.
void OrvFiltersPanel::SyncConfigurations(wxTreeItemId item,
                                         const std::vector<OrvFilterConfiguration>& configurations) {
    std::size_t same = 0;
    bool isSame = true;
    ForEachChild(item, [&](wxTreeItemId child) {
        isSame = isSame && same < configurations.size() &&
                 GetData(child)->parameters == configurations[same].GetParameters();
        if (isSame) GetData(child)->configuration = static_cast<int>(same++);
    });
    if (isSame && same == configurations.size()) return;

    const wxWindowUpdateLocker freeze(m_tree);
    const bool isExpanded = m_tree->IsExpanded(item);
    const wxTreeItemId selection = m_tree->GetSelection();
    const bool hasSelection = selection.IsOk() && selection != item && FindItem(item, selection).IsOk();
    const int selected = hasSelection ? GetData(selection)->configuration : -1;
    // The selection leaves before its item goes; the tree would otherwise choose for itself, and tell.
    if (hasSelection) SelectSilently(item);
    m_dragged.Unset();
    m_tree->DeleteChildren(item);
    OrvFilter* filter = GetData(item)->filter;
    int index = 0;
    for (const OrvFilterConfiguration& configuration : configurations)
        AppendItemForFilterConfiguration(filter, configuration.GetParameters(), index++, item);
    if (isExpanded) m_tree->Expand(item);
    if (hasSelection && selected < index) SelectSilently(FindItem(item, FindPage(filter), selected));
}

void OrvFiltersPanel::UpdateFiltersGroup(wxTreeItemId group) {
    bool isAnyEnabled = false;
    ForEachChild(group, [&](wxTreeItemId item) {
        bool bold = false;
        bool red = false;
        bool formatted = false;
        UpdateFilter(item, bold, red, formatted);
        isAnyEnabled = isAnyEnabled || formatted;
    });
    FormatItem(group, m_tree->IsBold(group), false, isAnyEnabled);
}

void OrvFiltersPanel::UpdateTreebook(bool force) {
    m_viewerPanel->UpdateEmptyHint();
    const SeenFiles files = ReadFiles(*GetInterface());
    if (force || !(files == Seen())) {
        Seen() = files;
        const wxWindowUpdateLocker freeze(m_tree);
        m_running.clear();
        ForEachChild(m_tree->GetRootItem(), [this](wxTreeItemId group) { UpdateFiltersGroup(group); });
        return;
    }
    const wxTreeItemId selection = m_tree->GetSelection();
    bool bold = false;
    bool red = false;
    bool formatted = false;
    // The user may have gone on to another filter while these ran.
    for (const OrvFilter* filter : m_running) UpdateFilter(FindFilterItem(filter), bold, red, formatted);
    std::erase_if(m_running, [](const OrvFilter* filter) {
        return IsForLoadedFiles(filter->GetResult(), *GetInterface());
    });
    if (!selection.IsOk() || selection == m_tree->GetRootItem()) return;
    const OrvItemData* data = GetData(selection);
    wxCHECK_RET(data != nullptr, "false");
    if (data->kind != OrvItemGroup) UpdateFilter(GetFilterItem(selection), bold, red, formatted);
}

void OrvFiltersPanel::UpdateItemData() {
    ForEachFilterItem([this](wxTreeItemId filterItem) {
        int index = 0;
        ForEachChild(filterItem, [&](wxTreeItemId item) { GetData(item)->configuration = index++; });
    });
    // What is left decides how the filter and its group look.
    const wxTreeItemId filterItem = GetFilterItem(m_tree->GetSelection());
    if (filterItem.IsOk()) UpdateFiltersGroup(m_tree->GetItemParent(filterItem));
}

void OrvFiltersPanel::OnItemToolTip(wxTreeEvent& event) {
    const OrvItemData* data = GetData(event.GetItem());
    if (data == nullptr || data->filter == nullptr) {
        event.SetToolTip(wxString());
        return;
    }
    const OrvFilter& filter = *data->filter;
    const OrvFilterResultPtr result = filter.GetResult();
    const bool isCurrent = IsForLoadedFiles(result, *GetInterface());
    if (data->kind == OrvItemConfiguration) {
        const std::vector<OrvFilterConfiguration> configurations = filter.GetConfigurations();
        const auto index = static_cast<std::size_t>(data->configuration);
        if (index >= configurations.size()) return;
        event.SetToolTip(ConfigurationToolTip(filter.GetName(), configurations[index].GetParameters(),
                                              CurrentStatus(configurations[index], isCurrent),
                                              configurations[index].IsEnabled()));
        return;
    }
    wxString whyNothing = filter.GetErrorMessage();
    if (!whyNothing.empty()) whyNothing = _("The last run failed.") + " " + whyNothing;
    bool speaks = !isCurrent;
    for (int slot = 0; slot < kFileSlots && !speaks && whyNothing.empty(); ++slot)
        speaks = result->slot[slot] && !result->slot[slot]->SaysNothing();
    for (int slot = 0; slot < kFileSlots && !speaks && whyNothing.empty(); ++slot)
        if (const OrvSlotResultPtr& found = result->slot[slot]; found && !found->verdictText.empty())
            whyNothing = _("Not applicable to this file:") + " " + wxGetTranslation(ToWx(found->verdictText));
    event.SetToolTip(FilterToolTip(filter.GetName(), filter.GetDescription(),
                                   isCurrent ? result->status : FilterStatus::NotProcessed,
                                   IsAnyEnabled(event.GetItem()), whyNothing));
}
