// The panel itself: its windows, the building of the tree, and what choosing an item does. Items are in
// filterspanelitems.cpp, commands in filterspanelmenu.cpp.

#include "orvgui/shell/filterspanel.h"

#include <wx/bmpbuttn.h>
#include <wx/dcclient.h>
#include <wx/imaglist.h>
#include <wx/settings.h>
#include <wx/time.h>
#include <wx/translation.h>
#include <wx/weakref.h>
#include <wx/wupdlock.h>

#include <algorithm>

#include "orvcore/facade/interface.h"
#include "orvgui/common/icons.h"
#include "orvgui/pages/filtergui.h"
#include "orvgui/pages/filtersummary.h"
#include "orvgui/pages/orvviewerpanel.h"
#include "orvgui/shell/commandregistry.h"
#include "orvgui/shell/filterspanelpriv.h"

namespace {

constexpr int kButtonCommands[] = {OrvCmdAddFilterConfiguration,
                                   OrvCmdDeleteFilterConfiguration,
                                   OrvCmdResetFilterConfigurations,
                                   OrvCmdExpandAll,
                                   OrvCmdCollapseAll,
                                   OrvCmdSaveSettings,
                                   OrvCmdLoadSettings,
                                   OrvCmdResetDefaultSettings,
                                   OrvCmdSettingsOnOff};

// Whether the filter's values now are those of this saved configuration.
bool HoldsConfiguration(const OrvFilter& filter, int configuration) {
    return configuration >= 0 && configuration < filter.GetConfigurationsSize() &&
           filter.GetConfigurationParams(configuration) == filter.GetParametersInput();
}

// Values of a configuration can be longer than any pane is wide: they end in a sign, and the item's tip tells them. There is nothing to
// scroll sideways.
class FiltersTree : public wxTreeCtrl {
  public:
    FiltersTree(wxWindow* parent, long style)
        : wxTreeCtrl(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, style) {
        Bind(wxEVT_PAINT, &FiltersTree::OnPaintTree, this);
    }
    void SetScrollbars(int unitX, int unitY, int, int unitsY, int, int y, bool noRefresh) override {
        wxTreeCtrl::SetScrollbars(unitX, unitY, 0, unitsY, 0, y, noRefresh);
    }

  private:
    void OnPaintTree(wxPaintEvent& event) {
        OnPaint(event);
        wxPaintDC dc(this);
        const wxString sign = wxString::FromUTF8("\u2026");
        const int room = GetClientSize().x;
        for (wxTreeItemId item = GetFirstVisibleItem(); item.IsOk(); item = GetNextVisible(item)) {
            wxRect text;
            if (!GetBoundingRect(item, text, true) || text.GetRight() - kBehindText <= room) continue;
            dc.SetFont(IsBold(item) ? GetFont().Bold() : GetFont());
            const int width = dc.GetTextExtent(sign).GetWidth() + kBehindText;
            const bool isChosen = item == GetSelection();
            const wxColour ground = !isChosen    ? GetBackgroundColour()
                                    : HasFocus() ? wxSystemSettings::GetColour(wxSYS_COLOUR_HIGHLIGHT)
                                                 : wxSystemSettings::GetColour(wxSYS_COLOUR_BTNSHADOW);
            dc.SetPen(*wxTRANSPARENT_PEN);
            dc.SetBrush(wxBrush(ground));
            dc.DrawRectangle(room - width, text.y + 1, width, text.height - 2);
            dc.SetTextForeground(isChosen ? wxSystemSettings::GetColour(wxSYS_COLOUR_HIGHLIGHTTEXT)
                                          : GetItemTextColour(item));
            dc.DrawText(sign, room - width, text.y + (text.height - dc.GetCharHeight()) / 2);
        }
    }

    static constexpr int kBehindText = 4;  // pixels that the tree keeps free
};

}  // namespace

OrvFiltersPanel::OrvFiltersPanel(wxWindow* parent, OrvViewerPanel* viewerPanel)
    : wxPanel(parent, wxID_ANY), m_viewerPanel(viewerPanel), m_activationTimer(this) {
    CreateButtons();
    m_tree = new FiltersTree(this, wxTR_HIDE_ROOT | wxTR_HAS_BUTTONS | wxTR_LINES_AT_ROOT | wxTR_NO_LINES |
                                       wxTR_SINGLE | wxTR_FULL_ROW_HIGHLIGHT | wxBORDER_NONE);
    m_tree->SetIndent(10);
    m_tree->SetSpacing(14);
    const int sign = FromDIP(12);
    auto* signs = new wxImageList(sign, sign);
    // Weight and colour alone are not for every eye.
    signs->Add(MakeWarningSign(sign).GetBitmap(wxSize(sign, sign)));
    m_tree->AssignStateImageList(signs);
    BindEvents();
}

void OrvFiltersPanel::CreateButtons() {
    for (const int command : kButtonCommands) {
        wxBitmapButton* button = OrvGuiCommandRegistry::CreateBitmapButton(this, command);
        // The registry's label of this command is that of its neighbour; the button says what it does.
        button->SetToolTip(command == OrvCmdSettingsOnOff ? _("Enable or Disable Filter Configuration")
                                                          : OrvGuiCommandRegistry::GetToolTip(command));
        m_buttons.push_back(button);
    }
}

void OrvFiltersPanel::BindEvents() {
    m_tree->Bind(wxEVT_TREE_ITEM_ACTIVATED, &OrvFiltersPanel::OnItemActivated, this);
    m_tree->Bind(wxEVT_TREE_ITEM_RIGHT_CLICK, &OrvFiltersPanel::OnItemRightClick, this);
    m_tree->Bind(wxEVT_TREE_ITEM_GETTOOLTIP, &OrvFiltersPanel::OnItemToolTip, this);
    // Who goes on by the keyboard would have the tip of where the mouse was left over each page.
    m_tree->Bind(wxEVT_KEY_DOWN, [this](wxKeyEvent& event) {
        event.Skip();
        m_tree->UnsetToolTip();
    });
    m_tree->Bind(wxEVT_TREE_SEL_CHANGED, &OrvFiltersPanel::OnSelChanged, this);
    m_tree->Bind(wxEVT_TREE_KEY_DOWN, &OrvFiltersPanel::OnTreeKeyDown, this);
    m_tree->Bind(wxEVT_TREE_BEGIN_DRAG, &OrvFiltersPanel::OnTreeDragBegin, this);
    m_tree->Bind(wxEVT_TREE_END_DRAG, &OrvFiltersPanel::OnTreeDragEnd, this);
    Bind(wxEVT_SIZE, &OrvFiltersPanel::OnSize, this);
    Bind(wxEVT_TIMER, &OrvFiltersPanel::OnActivationTimer, this, m_activationTimer.GetId());

    using Handler = void (OrvFiltersPanel::*)(wxCommandEvent&);
    constexpr std::pair<int, Handler> kHandlers[] = {
        {OrvCmdExpandAll, &OrvFiltersPanel::OnMenuExpandAll},
        {OrvCmdCollapseAll, &OrvFiltersPanel::OnMenuCollapseAll},
        {OrvCmdDeleteFilterConfiguration, &OrvFiltersPanel::OnMenuDeleteConfiguration},
        {OrvCmdAddFilterConfiguration, &OrvFiltersPanel::OnMenuAddCurrentConfiguration},
        {OrvCmdEnableConfiguration, &OrvFiltersPanel::OnMenuEnableFilter},
        {OrvCmdDisableConfiguration, &OrvFiltersPanel::OnMenuDisableFilter},
        {OrvCmdLoadSettingsOnStartup, &OrvFiltersPanel::OnMenuLoadCurrentSettingsOnStartup},
        {OrvCmdResetFilterConfigurations, &OrvFiltersPanel::OnMenuResetFilterConfigurations},
        {OrvCmdSaveSettings, &OrvFiltersPanel::OnMenuSaveCurrentSettings},
        {OrvCmdLoadSettings, &OrvFiltersPanel::OnMenuLoadSettings},
        {OrvCmdResetDefaultSettings, &OrvFiltersPanel::OnMenuResetDefaultSettings},
        {OrvCmdSettingsOnOff, &OrvFiltersPanel::OnMenuToggleFilter},
    };
    for (const auto& [id, handler] : kHandlers) {
        Bind(wxEVT_MENU, handler, this, id);
        Bind(wxEVT_BUTTON, handler, this, id);
    }
}

// Buttons from left to right in as many rows as the width asks for, the tree below them.
void OrvFiltersPanel::OnSize(wxSizeEvent&) {
    constexpr int kGap = 2;
    constexpr int kSmallest = 26;
    const wxSize size = GetClientSize();
    int x = kGap;
    int y = kGap;
    int rowHeight = 0;
    for (wxWindow* button : m_buttons) {
        wxSize best = button->GetBestSize();
        best.IncTo(wxSize(kSmallest, kSmallest));
        if (x > kGap && x + best.x + kGap > size.x) {
            x = kGap;
            y += rowHeight + kGap;
            rowHeight = 0;
        }
        button->SetSize(x, y, best.x, best.y);
        x += best.x + kGap;
        rowHeight = std::max(rowHeight, best.y);
    }
    y += rowHeight + kGap;
    // What was chosen before there was room for it is brought into sight.
    const auto hasRoom = [this] {
        constexpr int kLittle = 100;
        return m_tree->GetSize().x > kLittle && m_tree->GetSize().y > kLittle;
    };
    const bool hadRoom = hasRoom();
    m_tree->SetSize(0, y, size.x, std::max(0, size.y - y));
    const wxTreeItemId chosen = m_tree->GetSelection();
    if (!hadRoom && hasRoom() && chosen.IsOk() && chosen != m_tree->GetRootItem())
        m_tree->EnsureVisible(chosen);
}

// --- building ---

// Pages are many, and scroll bars dear: each is made when it is first asked for.
void OrvFiltersPanel::CollectFilters() {
    OrvContext* context = GetContext();
    if (context == nullptr) return;
    FilterSummary::Register(*context);
    m_filters = context->GetFilters();
    for (OrvFilter* filter : m_filters) {
        if (!filter->HasPage()) continue;
        // One that belongs to another window is none of ours.
        const auto* page = dynamic_cast<OrvFilterGui*>(filter->GetAnalsyisFilterGui());
        if (page == nullptr || page->GetParent() != m_viewerPanel)
            MakePage(*filter);
        else
            m_hadPage.insert(filter);
    }
    OrvFilter::SetPageSource([panel = wxWeakRef<OrvFiltersPanel>(this),
                              viewer = wxWeakRef<OrvViewerPanel>(m_viewerPanel)](const OrvFilter& filter) {
        if (panel && viewer && !viewer->IsBeingDeleted()) panel->MakePage(filter);
    });
}

// Once for each: a page that is gone was destroyed.
void OrvFiltersPanel::MakePage(const OrvFilter& filter) {
    const auto found = std::find(m_filters.begin(), m_filters.end(), &filter);
    if (found == m_filters.end() || !m_hadPage.insert(&filter).second) return;
    auto* page = dynamic_cast<OrvFilterGui*>((*found)->CreateAnalysisPanel(m_viewerPanel, *found));
    if (page != nullptr) m_viewerPanel->AddPage(page);
}

std::vector<OrvFilterGui*> OrvFiltersPanel::GetPages() const {
    std::vector<OrvFilterGui*> pages;
    for (const OrvFilter* filter : m_filters)
        if (OrvFilterGui* page = FindPage(filter)) pages.push_back(page);
    return pages;
}

void OrvFiltersPanel::InitTreebook() {
    CollectFilters();

    const OrvItemData* selected = GetData(m_tree->GetSelection());
    OrvFilterGui* selectedPage = selected != nullptr ? FindPage(selected->filter) : nullptr;
    int selectedConfiguration = selected != nullptr ? selected->configuration : -1;
    if (selectedPage == nullptr) {
        // A group has no page: the shown one is that of the active filter.
        if (const OrvFilter* active = GetContext()->GetActiveFilter()) selectedPage = FindPage(active);
        if (selectedPage != nullptr) {
            const OrvFilter& filter = *selectedPage->GetFilter();
            selectedConfiguration = filter.GetActiveConfiguration();
            if (!HoldsConfiguration(filter, selectedConfiguration)) selectedConfiguration = -1;
        }
    }
    std::set<const OrvFilter*> expanded;
    ForEachFilterItem([&](wxTreeItemId item) {
        if (m_tree->IsExpanded(item)) expanded.insert(GetData(item)->filter);
    });

    {
        const wxWindowUpdateLocker freeze(m_tree);
        m_silent = true;
        m_dragged.Unset();
        m_tree->DeleteAllItems();
        const wxTreeItemId root = m_tree->AddRoot(wxString());
        wxTreeItemId group;
        wxString groupName;
        for (OrvFilter* filter : m_filters) {
            const wxString type = filter->GetAnalysisTypeString();
            if (!group.IsOk() || type != groupName) {
                groupName = type;
                const wxString text = wxGetTranslation(type);
                group =
                    m_tree->AppendItem(root, text, -1, -1, new OrvItemData(text, -1, OrvItemGroup, nullptr));
            }
            AppendFilter(filter, group);
        }
        ForEachChild(root, [this](wxTreeItemId item) { m_tree->Expand(item); });
        ForEachFilterItem([&](wxTreeItemId item) {
            if (expanded.count(GetData(item)->filter) > 0) m_tree->Expand(item);
        });
        m_silent = false;
    }

    UpdateTreebook(true);
    if (selectedPage != nullptr)
        SelectSilently(FindItem(m_tree->GetRootItem(), selectedPage, selectedConfiguration));
    else
        SelectFirstItem();
}

void OrvFiltersPanel::AppendFilter(OrvFilter* filter, wxTreeItemId group) {
    const wxString text = wxGetTranslation(filter->GetName());
    const wxTreeItemId item =
        m_tree->AppendItem(group, text, -1, -1, new OrvItemData(text, -1, OrvItemFilter, filter));
    if (filter->GetConfigurationsSize() == 0)
        FormatItem(item, false, false, false);  // nothing that could be enabled
    else if (!filter->HasSingleConfiguration())
        AppendConfigurations(filter, item);
    else if (!filter->IsConfigurationEnabled(0))
        EnableItem(item, false, true);
}

void OrvFiltersPanel::AppendConfigurations(OrvFilter* filter, wxTreeItemId item) {
    for (int i = 0; i < filter->GetConfigurationsSize(); ++i)
        EnableItem(item, AppendItemForFilterConfiguration(filter, filter->GetConfigurationParams(i), i, item),
                   false);
}

// --- choosing ---

void OrvFiltersPanel::SelectSilently(wxTreeItemId item) {
    if (!item.IsOk() || item == m_tree->GetSelection()) return;
    m_silent = true;
    m_tree->SelectItem(item);
    m_silent = false;
}

void OrvFiltersPanel::SelectFirstItem() {
    wxTreeItemId first;
    ForEachFilterItem([&](wxTreeItemId item) {
        if (!first.IsOk()) first = item;
    });
    if (!first.IsOk()) return;
    m_activationTimer.Stop();
    SelectSilently(first);
    OrvFilter* filter = GetData(first)->filter;
    GetContext()->SetActiveFilter(filter);
    m_viewerPanel->ShowPage(FindPage(filter), false);
}

void OrvFiltersPanel::ChangePage(OrvFilterGui* page, int configuration) {
    m_viewerPanel->UpdateEmptyHint();
    if (page == nullptr) return;
    OrvFilter* filter = page->GetFilter();
    m_running.insert(filter);
    // The user has moved on since the core began with this one, or is just choosing.
    const OrvFilter* active = GetContext()->GetActiveFilter();
    if (m_activationTimer.IsRunning() || (active != nullptr && active != filter)) return;

    m_viewerPanel->ShowPage(page, false);
    if (configuration < 0) configuration = filter->GetActiveConfiguration();
    const OrvItemData* selected = GetData(m_tree->GetSelection());
    // A run with values of the user's own belongs to the filter, not to one of its configurations.
    const bool isSaved = HoldsConfiguration(*filter, configuration);
    const bool isChosen =
        selected != nullptr && selected->filter == filter &&
        (selected->kind == OrvItemFilter || (isSaved && selected->configuration == configuration));
    if (isChosen) return;
    SelectSilently(FindItem(m_tree->GetRootItem(), page, isSaved ? configuration : -1));
}

void OrvFiltersPanel::ActivateGui(OrvFilterGui* page) {
    if (page == nullptr) return;
    OrvFilter* filter = page->GetFilter();
    int configuration = filter->GetActiveConfiguration();
    // Values of the user's own belong to the filter, not to one of its configurations: they stay.
    if (!HoldsConfiguration(*filter, configuration)) configuration = -1;
    SelectSilently(FindItem(m_tree->GetRootItem(), page, configuration));
    m_activationTimer.Stop();
    Activate(filter, configuration);
}

// Shows the filter's page with the configuration's values and has the core see to the result.
void OrvFiltersPanel::Activate(OrvFilter* filter, int configuration) {
    OrvFilterGui* page = FindPage(filter);
    if (page == nullptr) return;
    if (GetInterface()->ActivateFilter(filter, configuration)) m_running.insert(filter);
    const bool isShown = m_viewerPanel->GetShownPage() == page && m_viewerPanel->IsPageBuilt(page);
    m_viewerPanel->ShowPage(page, true);
    if (isShown) page->UpdateGui();
}

void OrvFiltersPanel::SelectFilter(wxTreeEvent& event, bool activate) {
    const wxTreeItemId item = event.GetItem();
    // The hidden root takes the selection when nothing else has it.
    if (!item.IsOk() || item == m_tree->GetRootItem()) return;
    wxTreeItemData* data = m_tree->GetItemData(item);
    wxCHECK_RET(data, "data");
    auto* idata = dynamic_cast<OrvItemData*>(data);
    wxCHECK_RET(idata, "idata");
    if (idata->filter == nullptr) return;

    const wxLongLong now = wxGetUTCTimeMillis();
    // A held arrow key computes nothing for the items that it passes by.
    const bool isQuick = now - m_lastSelection < m_settleMs;
    m_lastSelection = now;
    if (activate || !isQuick) {
        m_activationTimer.Stop();
        Activate(idata->filter, idata->configuration);
        return;
    }
    GetContext()->SetActiveFilter(idata->filter);
    m_viewerPanel->ShowPage(FindPage(idata->filter), true);
    m_passedFilter = idata->filter;
    m_passedConfiguration = idata->configuration;
    m_activationTimer.StartOnce(m_settleMs);
}

void OrvFiltersPanel::OnActivationTimer(wxTimerEvent&) {
    const OrvItemData* data = GetData(m_tree->GetSelection());
    if (data == nullptr) return;
    // On a group the page of the item before stays in sight, and needs its result.
    if (data->filter != nullptr) {
        Activate(data->filter, data->configuration);
    } else if (m_passedFilter != nullptr) {
        Activate(m_passedFilter, m_passedConfiguration);
    }
}

void OrvFiltersPanel::OnSelChanged(wxTreeEvent& event) {
    if (!m_silent) SelectFilter(event, false);
}

void OrvFiltersPanel::OnItemActivated(wxTreeEvent& event) {
    const OrvItemData* data = GetData(event.GetItem());
    if (data == nullptr || data->kind == OrvItemGroup) {
        event.Skip();  // the tree opens or closes the group
        return;
    }
    SelectSilently(event.GetItem());
    SelectFilter(event, true);
    if (OrvFilterGui* page = FindPage(data->filter)) page->UpdateFocus();
}

OrvFilterGui* OrvFiltersPanel::FindPage(const OrvFilter* filter) const {
    const bool isListed = std::find(m_filters.begin(), m_filters.end(), filter) != m_filters.end();
    return isListed ? dynamic_cast<OrvFilterGui*>(filter->GetAnalsyisFilterGui()) : nullptr;
}
