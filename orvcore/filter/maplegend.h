#pragma once

#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "orvcore/filter/map.h"

// What tells the colours of a map: texts and places, drawn by whoever has room for them. Pure; any thread.
struct OrvMapLegendTick {
    double place = 0.0;  // 0 at the low end of the scale, 1 at the high one
    std::string text;
};

struct OrvMapLegend {
    std::string title;  // "Error Level (levels)"
    // From low to high. Of classes one per class that has a name, its place the middle of its colour among them.
    std::vector<OrvMapLegendTick> ticks;
    double threshold = -1.0;  // place of the threshold, -1 for none or one beyond the scale
    // "Scale 0 to 12 levels, automatic (never narrower than 0 to 12 levels). Beyond the threshold: above 8 levels."
    std::string note;
    std::vector<int> classes;  // the values of the ticks, for Classes only
};
// isByHand: the user has set the range, see mapranges.h.
OrvMapLegend LegendOf(const OrvMap& map, bool isByHand = false);

// The legend as a picture of that width (at least 200 pixels), B, G, R: title, scale, ticks and the mark of the threshold. Letters
// outside ASCII become '?': windows and pages write the texts themselves.
cv::Mat DrawLegend(const OrvMap& map, int width, bool isByHand = false);
