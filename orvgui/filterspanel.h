#pragma once

#include <wx/panel.h>
#include <wx/treectrl.h>

#include <vector>

#include "zorbase/parameter.h"

class OrvFilter;
class OrvFilterGui;
class OrvViewerPanel;
class wxBitmapButton;

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
    OrvFilter* filter;  // null for a group; belongs to the core

    // What the item shows now, so that only a difference reaches the window.
    bool shownBold = false;
    wxColour shownColour;
};

// The docked panel that lists all filters in a tree, by group, and under each filter its saved
// configurations. Choosing an item shows that filter's page with that configuration and asks the core for the
// result when it is missing; colour and weight tell what was run and what stands out. It adds, deletes,
// orders, enables, saves and loads configurations; the configurations themselves live in the core, which it
// asks through OrvInterface.
//
// Selecting from code (SelectFirstItem, ChangePage, a rebuild) is silent: it never asks for work. GUI thread
// only.
class OrvFiltersPanel : public wxPanel {
  public:
    OrvFiltersPanel(wxWindow* parent, OrvViewerPanel* viewerPanel);
    ~OrvFiltersPanel() override;

    // Builds the tree from the core's filters; pages are made once per filter and kept over later calls. The
    // selection and what was collapsed survive a rebuild.
    void InitTreebook();
    // Brings the tree in line with the core: everything when the evidence has changed since the last full
    // refresh or force is set, else only what is selected. Touches no item that already looks right.
    void UpdateTreebook(bool force);

    // Silent; the first filter item with its page. Nothing when there is no filter.
    void SelectFirstItem();
    // Shows the page with a configuration (-1: the filter's own) because the core works on it. Leaves a page
    // that the user has chosen since in its place. Silent.
    void ChangePage(OrvFilterGui* page, int configuration);
    // Makes the page's filter the active one with its active configuration, as if the user had picked it, and
    // asks for its result when it is missing.
    void ActivateGui(OrvFilterGui* page);

    // The pages in the core's filter order.
    const std::vector<OrvFilterGui*>& GetPages() const { return m_pages; }
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
    // The item within `from` (itself included) that carries the same data as `like`.
    wxTreeItemId FindItem(wxTreeItemId from, wxTreeItemId like) const;
    // The item within `from` of the page's filter and configuration; the filter's item when there is no such
    // configuration.
    wxTreeItemId FindItem(wxTreeItemId from, OrvFilterGui* page, int configuration) const;
    // One filter item and its configurations; the flags are the strongest ones found.
    void UpdateFilter(wxTreeItemId item, bool& bold, bool& red, bool& formatted);
    void UpdateFiltersGroup(wxTreeItemId group);
    // Numbers the configuration items of every filter by their place, brings the core's order in line with a
    // drop that moved one, and refreshes how they look.
    void UpdateItemData();
    // Makes the item that a selection event names the active filter and configuration. activate: also ask for
    // the result when it is missing.
    void SelectFilter(wxTreeEvent& event, bool activate);
    // Enables or disables what is selected: one configuration, a filter's all, or a group's all.
    void EnableFilter(wxCommandEvent& event, bool enabled);

    // --- handlers
    void OnItemActivated(wxTreeEvent& event);
    void OnItemRightClick(wxTreeEvent& event);
    void OnItemMenu(wxTreeEvent& event);
    void OnItemToolTip(wxTreeEvent& event);
    void OnSelChanged(wxTreeEvent& event);
    void OnKeyDown(wxTreeEvent& event);
    void OnSize(wxSizeEvent& event);
    void OnTreeDragBegin(wxTreeEvent& event);
    void OnTreeDragEnd(wxTreeEvent& event);
    void OnMenuAddCurrentConfiguration(wxCommandEvent& event);
    void OnMenuDeleteConfiguration(wxCommandEvent& event);
    void OnMenuResetFilterConfigurations(wxCommandEvent& event);
    void OnMenuEnableFilter(wxCommandEvent& event);
    void OnMenuDisableFilter(wxCommandEvent& event);
    void OnMenuToggleFilter(wxCommandEvent& event);
    void OnMenuSaveCurrentSettings(wxCommandEvent& event);
    void OnMenuLoadSettings(wxCommandEvent& event);
    void OnMenuResetDefaultSettings(wxCommandEvent& event);
    void OnMenuLoadCurrentSettingsOnStartup(wxCommandEvent& event);
    void OnMenuExpandAll(wxCommandEvent& event);
    void OnMenuCollapseAll(wxCommandEvent& event);

  private:
    OrvItemData* GetData(wxTreeItemId item) const;
    OrvItemData* GetSelectedData(wxTreeItemId& item) const;

    OrvViewerPanel* m_viewerPanel;
    wxTreeCtrl* m_tree = nullptr;
    std::vector<OrvFilterGui*> m_pages;  // belong to the viewer panel
    wxTreeItemId m_dragged;
    bool m_silent = false;  // selection events come from code
};
