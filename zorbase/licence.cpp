#include "zorbase/licence.h"

LicenceManager& LicenceManager::Get() {
    static LicenceManager manager;
    return manager;
}
