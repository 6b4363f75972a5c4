#pragma once

#include <wx/string.h>

#include <utility>
#include <vector>

#include "orvgui/common/orvgui.h"

// Reference data that is the same for every case. Both tables are made when the library is loaded, before any
// other object of it, and never change: safe on any thread.

// Which online service gives its files such names: service and regular expression, in this order. An
// expression is meant for the whole base name without extension, with regard to case. A service may have
// several; a name may fit several services, which then cannot be told apart by the name. The quirks of the
// expressions ("[o|n]" takes a bar as well) belong to the table.
using SocialMediaPatterns = std::vector<std::pair<wxString, wxString>>;
ORVGUI_API const SocialMediaPatterns& GetSocialMediaPatterns();

// The picture sizes that camera models record, one JSON text per model:
// {"Make":…,"Model":…,"Width":…,"Height":…,"_allRes":[{"Width":…,"Height":…},…],"referenceUrl":…}
// Make and model as the camera writes them into its files. Width and Height are the largest size in pixels;
// _allRes are the sizes known, largest first. referenceUrl is empty where no address is known. Made from
// data/camera-facts.tsv when building.
ORVGUI_API const std::vector<wxString>& GetCameraRecords();
