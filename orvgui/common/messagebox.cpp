#include "orvgui/common/messagebox.h"

#include <wx/app.h>
#include <wx/window.h>

#include "orvgui/common/visibletext.h"

namespace {

// A text from a damaged file can be of any length; a box taller than the screen has no reachable button.
constexpr std::size_t kLongestMessage = 4000;

wxWindow* FindParent(wxWindow* parent) {
    if (!parent) parent = wxGetActiveWindow();
    if (!parent && wxTheApp) parent = wxTheApp->GetTopWindow();
    return parent;
}

wxString Fit(const wxString& message) {
    const wxString text = VisibleText(message);
    return text.length() > kLongestMessage ? text.Left(kLongestMessage) + wxString::FromUTF8("…") : text;
}

}  // namespace

int OrvMessageBox(const wxString& message, const wxString& caption, long style, wxWindow* parent) {
    return wxMessageBox(Fit(message), caption, style, FindParent(parent));
}

int OrvQuestionBox(const wxString& message, const wxString& caption, const wxString& yes, const wxString& no,
                   long style, wxWindow* parent) {
    wxMessageDialog box(FindParent(parent), Fit(message), caption, wxYES_NO | style);
    box.SetYesNoLabels(yes, no);
    switch (box.ShowModal()) {
        case wxID_YES:
            return wxYES;
        case wxID_NO:
            return wxNO;
        default:
            return wxCANCEL;
    }
}
