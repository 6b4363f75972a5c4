#pragma once

#include <wx/panel.h>
#include <wx/timer.h>
#include <wx/treectrl.h>

#include <memory>
#include <set>
#include <vector>

#include "orvcore/filter/filterresult.h"
#include "orvgui/common/orvgui.h"
#include "orvgui/shell/filterstreeformat.h"
#include "zorbase/parameter.h"

class OrvFilter;
class OrvFilterConfiguration;
class OrvFilterGui;
class OrvViewerPanel;
class wxMenu;

// What a tree item stands for.
enum OrvItemKind : int { OrvItemGroup = 0, OrvItemFilter = 1, OrvItemConfiguration = 2 };

// The data of one tree item; owned by the tree.
class OrvItemData : public wxTreeItemData {
  public:
    OrvItemData(const wxString& name, int configuration, OrvItemKind kind, OrvFilter* filter)
        : name(name), configuration(configuration), kind(kind), filter(filter) {}

    wxString name;
    int configuration;  // -1 for groups and filters
    OrvItemKind kind;
    OrvFilter* filter;        // null for a group; belongs to the core
    VecParameter parameters;  // of a configuration
};

// The docked panel that lists all filters in a tree, by group, and under each filter its saved
// configurations. Choosing an item shows that filter's page with that configuration and asks the core for the
// result when it is missing; colour and weight tell what was run and what stands out. It adds, deletes,
// orders, enables, saves and loads configurations; the configurations themselves live in the core, which it
// asks through OrvInterface.
//
// Selecting from code (SelectFirstItem, ChangePage, a rebuild) is silent: it never asks for work. GUI thread
// only.
class ORVGUI_API OrvFiltersPanel : public wxPanel {
  public:
    OrvFiltersPanel(wxWindow* parent, OrvViewerPanel* viewerPanel);

    // Builds the tree from the core's filters, with the summary as the first of them; a page is made once per
    // filter, when it is first asked for, and kept over later calls. Selection and expanded filters survive a rebuild; the first filter is
    // selected when nothing was.
    void InitTreebook();
    // Brings the tree in line with the core: everything when the loaded files have changed since the last
    // full refresh or force is set, else what is selected and what was running. Touches no item that already
    // looks right.
    void UpdateTreebook(bool force);

    // Silent; the first filter item with its page. Nothing when there is no filter.
    void SelectFirstItem();
    // Shows the page with a configuration (-1: the filter's own) because the core works on it. Leaves a page
    // that the user has chosen since in its place. Silent.
    void ChangePage(OrvFilterGui* page, int configuration);
    // Makes the page's filter the active one with its active configuration, as if the user had picked it, and
    // asks for its result when it is missing.
    void ActivateGui(OrvFilterGui* page);

    // For how long the selection has to rest, after it has moved quickly, before a result is asked for.
    void SetSettleTime(int milliseconds) { m_settleMs = milliseconds; }

    // The pages in the core's filter order. Makes those that nobody has asked for so far: for one page, FindPage.
    std::vector<OrvFilterGui*> GetPages() const;
    OrvFilterGui* FindPage(const OrvFilter* filter) const;  // null for a filter that is not in the tree
    wxTreeCtrl* GetTree() const { return m_tree; }

    // --- items
    // Appends the item of configuration `index` below parent; answers whether that configuration is enabled.
    bool AppendItemForFilterConfiguration(OrvFilter* filter, const VecParameter& parameters, int index,
                                          wxTreeItemId parent);
    // Shows an item as enabled or not. own: the state is the item's own; otherwise it is that of one
    // configuration below the item, and the item stays enabled as long as any of them is.
    void EnableItem(wxTreeItemId item, bool enabled, bool own);
    void FormatItem(wxTreeItemId item, bool bold, bool red, bool enabled);
    // formatted: the item's configuration exists and is enabled; otherwise the item is left as it is.
    void GetStatusAndFormatItem(wxTreeItemId item, bool& bold, bool& red, bool& formatted);
    // `item` when it is `from` or anywhere below it, else nothing.
    wxTreeItemId FindItem(wxTreeItemId from, wxTreeItemId item) const;
    // The item at or below `from` of the page's filter and configuration; the filter's own item for -1 and
    // when there is no such configuration.
    wxTreeItemId FindItem(wxTreeItemId from, OrvFilterGui* page, int configuration) const;
    // One filter item and its configurations; the flags are the strongest ones found.
    void UpdateFilter(wxTreeItemId item, bool& bold, bool& red, bool& formatted);
    void UpdateFiltersGroup(wxTreeItemId group);
    // Numbers the configuration items of every filter by their place and refreshes the selected filter.
    void UpdateItemData();
    // Shows the page of the item that the event names and makes its filter the active one. The result is
    // asked for at once when activate is set or the user had rested before; else when he has.
    void SelectFilter(wxTreeEvent& event, bool activate);
    // Enables or disables what is selected: one configuration, a filter's all, or a group's all.
    void EnableFilter(wxCommandEvent& event, bool enabled);
    // The menu of every item, as OnItemRightClick and the menu key open it.
    std::unique_ptr<wxMenu> CreateContextMenu() const;

    // --- handlers
    void OnItemActivated(wxTreeEvent& event);
    void OnItemRightClick(wxTreeEvent& event);
    void OnItemToolTip(wxTreeEvent& event);
    void OnSelChanged(wxTreeEvent& event);
    void OnTreeKeyDown(wxTreeEvent& event);
    void OnSize(wxSizeEvent& event);
    void OnTreeDragBegin(wxTreeEvent& event);
    void OnTreeDragEnd(wxTreeEvent& event);
    void OnActivationTimer(wxTimerEvent& event);
    void OnMenuAddCurrentConfiguration(wxCommandEvent& event);
    void OnMenuDeleteConfiguration(wxCommandEvent& event);
    void OnMenuResetFilterConfigurations(wxCommandEvent& event);
    void OnMenuEnableFilter(wxCommandEvent& event);
    void OnMenuDisableFilter(wxCommandEvent& event);
    void OnMenuToggleFilter(wxCommandEvent& event);
    void OnMenuSaveCurrentSettings(wxCommandEvent& event);
    void OnMenuLoadSettings(wxCommandEvent& event);
    void OnMenuResetDefaultSettings(wxCommandEvent& event);
    // Keeps the configurations as they are now, so that the next start begins with them. In no menu: every change is
    // kept by itself. For whoever sends the panel command OrvCmdLoadSettingsOnStartup.
    void OnMenuLoadCurrentSettingsOnStartup(wxCommandEvent& event);
    void OnMenuExpandAll(wxCommandEvent& event);
    void OnMenuCollapseAll(wxCommandEvent& event);

  private:
    void CreateButtons();
    void BindEvents();
    void CollectFilters();
    void MakePage(const OrvFilter& filter);
    void AppendFilter(OrvFilter* filter, wxTreeItemId group);
    void AppendConfigurations(OrvFilter* filter, wxTreeItemId item);
    void SyncConfigurations(wxTreeItemId item, const std::vector<OrvFilterConfiguration>& configurations);

    OrvItemData* GetData(wxTreeItemId item) const;  // null for the root and for no item
    wxTreeItemId GetFilterItem(wxTreeItemId item) const;
    wxTreeItemId FindFilterItem(const OrvFilter* filter) const;
    template <typename Visit>  // visit(item) for every child, in order
    void ForEachChild(wxTreeItemId parent, Visit visit) const;
    template <typename Visit>
    void ForEachFilterItem(Visit visit) const;

    void SelectSilently(wxTreeItemId item);
    void Activate(OrvFilter* filter, int configuration);
    void PopUpMenu(const wxPoint& position);
    bool IsAnyEnabled(wxTreeItemId item) const;
    void EnableConfigurations(wxTreeItemId item, bool enabled);

    OrvViewerPanel* m_viewerPanel;
    wxTreeCtrl* m_tree = nullptr;
    std::vector<wxWindow*> m_buttons;
    std::vector<OrvFilter*> m_filters;  // in the core's order; their pages belong to the viewer panel
    std::set<const OrvFilter*> m_hadPage;
    std::set<OrvFilter*> m_running;  // filters the core was seen working on, not refreshed since
    wxTreeItemId m_dragged;
    wxTimer m_activationTimer;
    OrvFilter* m_passedFilter = nullptr;  // of the item that a quick selection passed last
    int m_passedConfiguration = -1;
    int m_settleMs = 250;
    wxLongLong m_lastSelection = 0;  // milliseconds, when the user last moved the selection
    bool m_silent = false;           // selection events come from code
};
