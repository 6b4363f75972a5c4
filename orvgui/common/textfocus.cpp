#include "orvgui/common/textfocus.h"

#include <wx/button.h>
#include <wx/spinctrl.h>
#include <wx/textentry.h>
#include <wx/window.h>

#include <algorithm>

namespace {

constexpr int kFieldInset = 10;  // pixels of border and padding above and below

}  // namespace

bool IsTextEntry(const wxWindow* window) {
    for (; window != nullptr; window = window->GetParent()) {
        if (dynamic_cast<const wxTextEntryBase*>(window) != nullptr ||
            dynamic_cast<const wxSpinCtrlBase*>(window) != nullptr)
            return true;
        if (window->IsTopLevel()) return false;
    }
    return false;
}

wxSize FieldSize(const wxWindow& field, int width) {
    return {width, std::max(field.GetBestSize().GetHeight(), field.GetCharHeight() + kFieldInset)};
}

bool ConfirmsDialog(const wxKeyEvent& event) {
    const int key = event.GetKeyCode();
    return (key == WXK_RETURN || key == WXK_NUMPAD_ENTER) && !event.HasAnyModifiers() &&
           dynamic_cast<wxButton*>(wxWindow::FindFocus()) == nullptr;
}
