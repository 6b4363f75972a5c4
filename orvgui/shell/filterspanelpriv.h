#pragma once

#include "orvgui/shell/filterspanel.h"

// The walks over the tree that the panel's sources share.

template <typename Visit>
void OrvFiltersPanel::ForEachChild(wxTreeItemId parent, Visit visit) const {
    if (!parent.IsOk()) return;
    wxTreeItemIdValue cookie;
    for (wxTreeItemId item = m_tree->GetFirstChild(parent, cookie); item.IsOk();
         item = m_tree->GetNextChild(parent, cookie))
        visit(item);
}

template <typename Visit>
void OrvFiltersPanel::ForEachFilterItem(Visit visit) const {
    ForEachChild(m_tree->GetRootItem(), [&](wxTreeItemId group) { ForEachChild(group, visit); });
}
