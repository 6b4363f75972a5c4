#include "orvgui/common/licencecheck.h"

#include "orvgui/common/messagebox.h"
#include "zorbase/licence.h"

bool CheckLicence(const char* refusal, wxWindow* parent) {
    if (!LicenceManager::Get().IsTrial()) return true;
    OrvMessageBox(wxGetTranslation(refusal), wxString(), wxOK, parent);
    return false;
}
