#pragma once

#include <wx/window.h>

#include <vector>

// The children of that class, in their order.
template <typename T>
std::vector<T*> Children(const wxWindow* window) {
    std::vector<T*> found;
    for (wxWindow* child : window->GetChildren())
        if (auto* one = dynamic_cast<T*>(child)) found.push_back(one);
    return found;
}
