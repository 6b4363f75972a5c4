#include "zorbase/licence.h"

#include <wx/translation.h>

LicenceManager& LicenceManager::Get() {
    static LicenceManager manager;
    return manager;
}

LicenceManager::Edition LicenceManager::GetBuiltEdition() {
#ifdef ORVANE_TRIAL
    return Edition::Trial;
#else
    return Edition::Full;
#endif
}

bool LicenceManager::Allows(Command) const {
    return !IsTrial();
}

const char* LicenceManager::GetRefusal(Command command) {
    switch (command) {
        case Command::SaveResult:
            return wxTRANSLATE("Command not available in trial version.");
        case Command::ExportTable:
            return wxTRANSLATE("Command not available on trial version.");
    }
    return "";
}

const char* LicenceManager::GetEditionName() const {
    return IsTrial() ? wxTRANSLATE("trial edition") : wxTRANSLATE("full edition");
}
