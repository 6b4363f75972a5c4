#include "orvgui/common/wheel.h"

#include <wx/scrolwin.h>
#include <wx/textctrl.h>

bool HasMoreText(const wxTextCtrl& field) {
    const int bottom = field.PositionToCoords(field.GetLastPosition()).y + field.GetCharHeight();
    const int top = field.PositionToCoords(0).y;
    return bottom - top > field.GetClientSize().y;
}

void PassWheelOn(wxTextCtrl* field) {
    field->Bind(wxEVT_MOUSEWHEEL, [field](wxMouseEvent& event) {
        event.Skip();
        if (HasMoreText(*field)) return;
        for (wxWindow* window = field->GetParent(); window != nullptr && !window->IsTopLevel();
             window = window->GetParent()) {
            auto* scrolled = dynamic_cast<wxScrollHelperBase*>(window);
            if (scrolled == nullptr || !window->CanScroll(wxVERTICAL)) continue;
            event.Skip(false);
            scrolled->HandleOnMouseWheel(event);
            return;
        }
    });
}

void FitScrolledParents(wxWindow* window) {
    for (wxWindow* parent = window->GetParent(); parent != nullptr && !parent->IsTopLevel();
         parent = parent->GetParent()) {
        if (dynamic_cast<wxScrollHelperBase*>(parent) != nullptr) parent->FitInside();
    }
}
