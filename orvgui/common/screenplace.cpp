#include "orvgui/common/screenplace.h"

#include <wx/display.h>
#include <wx/toplevel.h>

void FitScreen(wxTopLevelWindow& window) {
    wxSize size = window.GetSize();
    size.DecTo(wxDisplay().GetClientArea().GetSize());
    if (size != window.GetSize() && size.x > 1 && size.y > 1) window.SetSize(size);
}

void PlaceOnParent(wxTopLevelWindow& window) {
    FitScreen(window);
    window.CentreOnParent();
}
