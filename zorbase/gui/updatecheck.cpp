#include "zorbase/gui/updatecheck.h"

#include <wx/intl.h>
#include <wx/msgdlg.h>

#include "zorbase/gui/shell.h"

namespace {

wxString Below(const wxString& address, const wxString& name) {
    return address.EndsWith("/") ? address + name : address + "/" + name;
}

}  // namespace

void CheckForUpdates(wxWindow* parent, const wxString& address, const wxString& changesFile,
                     const wxString& lastVersionFile, const wxString& appName, const wxString& revision,
                     bool allowDownload) {
    const wxString caption = _("Check for Updates");
    if (address.empty()) {
        wxMessageBox(wxString::Format(_("This build of %s has no update service."), appName), caption,
                     wxOK | wxICON_INFORMATION, parent);
        return;
    }
    const wxString page = allowDownload || changesFile.empty() ? address : Below(address, changesFile);
    wxString question = wxString::Format(_("The updates of %s are announced at:\n%s"), appName, page);
    if (!revision.empty())
        question += "\n\n" + wxString::Format(_("This program is of revision %s."), revision);
    if (!lastVersionFile.empty()) {
        question +=
            "\n" + wxString::Format(_("The newest one is named at:\n%s"), Below(address, lastVersionFile));
    }
    question += "\n\n" + _("Open the page in the browser?");
    if (wxMessageBox(question, caption, wxYES_NO | wxICON_QUESTION, parent) != wxYES) return;
    if (!LaunchWebAddress(page)) {
        wxMessageBox(
            wxString::Format(_("The address %s cannot be opened. Open it in a browser yourself."), page),
            caption, wxOK | wxICON_ERROR, parent);
    }
}
