#pragma once

#include <vector>

#include "orvgui/common/orvgui.h"

// Where the groups of a strip of tools stand, without a window: in one row where they fit, else broken into as many as the width
// asks for. All numbers are pixels.

struct StripGroup {
    int least = 0;   // narrower than this it cannot be read
    int wanted = 0;  // wider than this it has no use for
    int height = 0;
    bool isShown = true;
    bool isExtra = false;  // left out rather than given a row of its own
};

struct StripPlace {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    bool operator==(const StripPlace&) const = default;
};

struct StripPlaces {
    std::vector<StripPlace> groups;  // in the order given; empty for a hidden group
    int height = 0;                  // of all rows, with a margin above and below
    int rows = 0;
};

// Groups go from left to right in their order, gap apart and vertically in the middle of their row; the next one begins a new row
// when its least width no longer fits (an extra one is left out then), one that is wider than the strip has a row of its own. What a row has to spare goes to its
// groups in order, up to what each wants.
ORVGUI_API StripPlaces PlaceStrip(const std::vector<StripGroup>& groups, int width, int gap, int margin);
