#include "orvgui/common/licencecheck.h"

#include <wx/translation.h>

#include "orvgui/common/messagebox.h"

bool CheckLicence(LicenceManager::Command command, wxWindow* parent) {
    if (LicenceManager::Get().Allows(command)) return true;
    OrvMessageBox(wxGetTranslation(LicenceManager::GetRefusal(command)), wxString(), wxOK, parent);
    return false;
}
