#pragma once

#include <wx/gdicmn.h>

#include "zorbase/json.h"

// A window's size as {"width": ..., "height": ...}.
Json ToJson(const wxSize& size);

// False, and size unchanged, when it is not that or a side is less than the toolkit's default of -1.
bool FromJson(const Json& json, wxSize& size);
