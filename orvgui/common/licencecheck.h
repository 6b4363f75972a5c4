#pragma once

#include "zorbase/licence.h"

class wxWindow;

// Whether the edition allows the command; tells the user where it does not. GUI thread.
bool CheckLicence(LicenceManager::Command command, wxWindow* parent);
