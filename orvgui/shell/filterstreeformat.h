#pragma once

#include <wx/colour.h>
#include <wx/string.h>

#include "orvcore/filter/filterconfiguration.h"

class OrvFilter;

// How an item of the filters tree looks. Windowless, so that the rules are tested from tables.
struct OrvItemLook {
    bool bold = false;
    bool red = false;
    bool enabled = false;
    bool operator==(const OrvItemLook&) const = default;
};

// A configuration: not run normal, run bold, standing out bold and red; disabled ones always plain.
OrvItemLook LookOf(FilterStatus status, bool enabled);
// An item above others: enabled when any of them is, and then as strong as the strongest enabled one.
OrvItemLook Strongest(const OrvItemLook& a, const OrvItemLook& b);
// The toolkit's stock colours; on a dark background enabled items that do not stand out take `plain` instead
// of black.
wxColour ColourOf(const OrvItemLook& look, bool isDark, const wxColour& plain);

// Text of a configuration's item: its parameters on one line, "Standard" when there is nothing to tell.
wxString ConfigurationText(const VecParameter& parameters);
// Name, one line of what the filter does, and how it stands. status: of its newest result for the loaded files. whyNothing:
// said instead, "" when there is a result.
wxString FilterToolTip(const wxString& name, const wxString& description, FilterStatus status, bool enabled,
                       const wxString& whyNothing);
// The configuration, one parameter per line, and how it stands.
wxString ConfigurationToolTip(const wxString& filterName, const VecParameter& parameters, FilterStatus status,
                              bool enabled);
