#include "orvgui/common/threeway.h"

#include <wx/msgdlg.h>

int OrvThreeWayBox(wxWindow* parent, const wxString& message, const wxString& caption, const wxString& yes,
                   const wxString& no, const wxString& cancel) {
    wxMessageDialog box(parent, message, caption, wxYES_NO | wxCANCEL | wxICON_QUESTION);
    box.SetYesNoCancelLabels(yes, no, cancel);
    switch (box.ShowModal()) {
        case wxID_YES:
            return wxYES;
        case wxID_NO:
            return wxNO;
        default:
            return wxCANCEL;
    }
}
