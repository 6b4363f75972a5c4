#pragma once

#include "orvcore/filter/filterresult.h"

class OrvInterface;

// Whether a result was made from exactly the files that analyses see now; false for none and while nothing is
// loaded.
bool IsForLoadedFiles(const OrvFilterResultPtr& result, const OrvInterface& core);
