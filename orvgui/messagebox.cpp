#include "orvgui/messagebox.h"

#include <wx/app.h>
#include <wx/window.h>

namespace {

// A text from a damaged file can be of any length; a box taller than the screen has no reachable button.
constexpr std::size_t kLongestMessage = 4000;

}  // namespace

int OrvMessageBox(const wxString& message, const wxString& caption, long style, wxWindow* parent) {
    if (!parent) parent = wxGetActiveWindow();
    if (!parent && wxTheApp) parent = wxTheApp->GetTopWindow();
    wxString text = message;
    if (text.length() > kLongestMessage) text = text.Left(kLongestMessage) + wxString::FromUTF8("…");
    return wxMessageBox(text, caption, style, parent);
}
