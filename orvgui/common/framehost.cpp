#include "orvgui/common/framehost.h"

#include <wx/app.h>
#include <wx/window.h>

OrvFrameHost* GetFrameHost() {
    return wxTheApp != nullptr ? dynamic_cast<OrvFrameHost*>(wxTheApp->GetTopWindow()) : nullptr;
}

bool IsMainWindowActive() {
    const wxWindow* frame = GetFrameHost() != nullptr ? wxTheApp->GetTopWindow() : nullptr;
    // On this platform the toolkit calls the window with the focus the active one.
    const wxWindow* active = wxGetTopLevelParent(wxGetActiveWindow());
    if (frame == nullptr || active == nullptr) return true;
    return frame->GetId() == active->GetId();
}
