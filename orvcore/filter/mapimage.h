#pragma once

#include <array>
#include <opencv2/core.hpp>

#include "orvcore/filter/map.h"
#include "zorimage/image.h"

// Maps as pictures: colours, and nothing that is measured. Pure functions; any thread.

using MapColour = std::array<std::uint8_t, 3>;  // B, G, R
using MapColours = std::array<MapColour, 256>;

// The colours of a scale from the low end of the range to the high one. Even steps in value are even steps in CIE lightness
// (Sequential and Probability: from black over violet and red to a light yellow; Diverging: light in the middle, blue below, red
// above, of equal lightness at equal distance). Classes: one colour per class, neighbours well apart, again from the start after 256.
const MapColours& ColoursOfScale(OrvMapScale scale);

// Those of the map's scale, with the colours that the map gives its classes.
MapColours ColoursOfMap(const OrvMap& map);

// What stands where a map says nothing: a grey that no scale has but for its lightness.
constexpr MapColour kNothingSaid{150, 150, 150};

// The place of a value in its scale, 0..255: rounded, and the ends for what lies beyond the range. A class is its own number.
int MapColourIndex(const OrvMap& map, double value);

// part of the image, drawn with the map's range (set by the framework, see OrvFilterResult::GetMaps): B, G, R, 8 bits, part's size.
// What the map does not cover or says nothing about is kNothingSaid. Maps of three channels become a colour picture: each sample
// is range.low..range.high scaled to 0..255 and rounded. part must lie in the image; throws ZorException (kind Argument) otherwise.
cv::Mat DrawMapPart(const OrvMap& map, const cv::Rect& part);

// The whole map in the size of its image.
Image DrawMap(const OrvMap& map);
