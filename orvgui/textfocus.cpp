#include "orvgui/textfocus.h"

#include <wx/spinctrl.h>
#include <wx/textentry.h>
#include <wx/window.h>

bool IsTextEntry(const wxWindow* window) {
    for (; window != nullptr; window = window->GetParent()) {
        if (dynamic_cast<const wxTextEntryBase*>(window) != nullptr ||
            dynamic_cast<const wxSpinCtrlBase*>(window) != nullptr)
            return true;
        if (window->IsTopLevel()) return false;
    }
    return false;
}
