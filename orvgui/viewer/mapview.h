#pragma once

#include <wx/string.h>

#include <stop_token>
#include <vector>

#include "orvcore/filter/map.h"
#include "orvcore/filter/mapstatistics.h"
#include "orvgui/common/orvgui.h"
#include "zorimage/image.h"

// How an analysis' map is shown, without a window: laid over the picture, explained by a legend, summed up in words. What the map
// says and what colours it gets is the core's affair.

// What the user has chosen to see of a map.
struct MapDisplay {
    std::size_t map = 0;      // which of the result's maps
    int opacity = 100;        // percent: 0 the picture alone, 100 the map alone
    bool beyondOnly = false;  // colours only where the threshold is passed
    bool operator==(const MapDisplay&) const = default;
};

// The map over the picture that was measured, pixel by pixel: (1 - opacity) of the picture and opacity of the map's colour, rounded;
// where the map says nothing, or the threshold is not passed and only that is wanted, the picture alone. picture: 8 bits,
// three channels, of the map's image size; a picture of another size or none leaves the map alone. Empty when it was stopped. Any thread.
Image OverlayMap(const Image& picture, const OrvMap& map, const MapDisplay& display,
                 const std::stop_token& stop = {});

// Whether the threshold side that counts has this value; false without a threshold.
bool IsBeyond(const OrvMap& map, const OrvMapValue& value);

// A number beside the legend's bar: its place, 0 at the low end and 1 at the high one.
struct LegendMark {
    double place = 0.0;
    wxString text;
    bool isThreshold = false;
};
// At most five numbers over the range, the ends among them, and the threshold where it lies in the range. None for classes.
std::vector<LegendMark> LegendMarks(const OrvMap& map);
// Name and unit: "Error Level (levels)".
wxString MapTitle(const OrvMap& map);
// "0 to 12 levels, automatic", "0 to 25.5 levels, set by hand", "0 to 1"; "" for classes.
// isByHand: the user has set the range.
wxString RangeText(const OrvMap& map, bool isByHand = false);
// "Above 8 levels counts"; "" without a threshold.
wxString ThresholdText(const OrvMap& map);

// The numbers of one part of a map: "mean 3.21, median 3, deviation 1.02, 12 % beyond the threshold (4096 values)"; "" for no values.
wxString NumbersText(const OrvMap& map, const MapNumbers& numbers);
