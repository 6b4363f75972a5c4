#pragma once

#include <array>
#include <map>
#include <opencv2/core.hpp>
#include <optional>
#include <string>
#include <vector>

#include "zorbase/roi.h"

// What an analysis found place by place, as numbers. How it is drawn is the display's affair: see mapimage.h; what its numbers
// are inside and outside a selection: see mapstatistics.h.

// How values are to be read, and so which colours they get.
enum class OrvMapScale : int {
    Sequential,   // from little to much, evenly
    Diverging,    // about zero, which is neutral; both signs mean something
    Probability,  // 0..1
    Classes,      // whole numbers without an order (the position of a grid); see classNames
};

// The side of the threshold that counts as a sign.
enum class OrvMapSide : int { None, Above, Below };

// Both ends belong to it, in the unit of what it is for.
struct OrvRange {
    double low = 0.0;
    double high = 0.0;
    bool operator==(const OrvRange&) const = default;
};

// Two places that belong together (a part and its copy), in pixels of the image; x to the right, y down, whole numbers are the
// centres of pixels.
struct OrvMapLine {
    cv::Point2f from;
    cv::Point2f to;
};

// A place that is named: pixels of the image, and a few words.
struct OrvMapRegion {
    Roi box;
    std::string text;
};

// A plain value; values and mask share their memory between copies and never change once a result is published.
// How a class is drawn where the colour of its number would say something else.
enum class OrvClassColour {
    Calm,  // nothing to see here: nearly black, as the low end of a scale
    Red,
    Green,
    Blue,
};

struct OrvMap {
    std::string name;  // what is measured, in title case: "Error Level"; tells the maps of a result apart
    std::string unit;  // "levels"; "" for a number without one
    OrvMapScale scale = OrvMapScale::Sequential;

    // One value per block, in the smallest type that holds it exactly: CV_8U, CV_8S, CV_16U, CV_16S, CV_32S or CV_32F with one
    // channel; or CV_8UC3 (B, G, R), each channel measured on its own: drawn as a colour picture, counted sample by sample. May
    // be empty where the lines and regions are all there is. A value that is not a number says nothing, like a masked one.
    cv::Mat values;
    cv::Mat
        mask;  // CV_8U, the size of values: not 0 where the map says nothing. Empty: it says something everywhere.

    // The value in column c and row r stands for the pixels from origin + (c, r) * block, block.width wide and block.height high.
    // origin may lie outside the image; what reaches beyond the image is cut off.
    cv::Size block{1, 1};
    cv::Point origin{0, 0};
    cv::Size image;  // of the picture that was measured, in pixels; set by the framework where it is empty

    // The range that the colours cover. floor: what the values spread over in untouched pictures. An automatic range covers the
    // floor and the middle 99 % of the values of both files, so that a calm picture looks calm; it is set by the framework.
    // A map with isAutomatic false states its range. Ignored by Probability (0..1) and Classes.
    OrvRange floor;
    OrvRange range;
    bool isAutomatic = true;

    double threshold = 0.0;
    OrvMapSide thresholdSide = OrvMapSide::None;

    std::vector<OrvMapLine> lines;
    std::vector<OrvMapRegion> regions;
    std::vector<std::string> classNames;  // of Classes, by value; a value without a name is shown as a number
    std::map<int, OrvClassColour>
        classColours;  // of Classes: those that are not to have the colour of their number
};

// What the map's fields allow: "" or what is wrong, for tests and for the framework, which refuses such a map.
std::string DescribeMapFault(const OrvMap& map);

// The value for a pixel of the image: one number, or three (B, G, R). None outside the map, under the mask and for what is no
// number.
struct OrvMapValue {
    std::array<double, 3> channels{};
    int count = 0;  // 0: nothing is said here
};
OrvMapValue MapValueAt(const OrvMap& map, int x, int y);

// The value as text with the map's unit: "12 levels", "0.85", "3, 4, 9 levels" (R, G, B), the name of a class. Whole numbers
// without digits behind the point, others with three significant ones. "" for none.
std::string MapValueText(const OrvMap& map, const OrvMapValue& value);
// One number of the map as text, without the unit.
std::string MapNumberText(const OrvMap& map, double value);

// The pixels of the image that the value in this column and row stands for; empty outside the image.
Roi MapCell(const OrvMap& map, int column, int row);

// The range that covers the floor and the middle 99 % of the values (of at most a million, evenly spread); symmetric about zero
// for Diverging, 0..1 for Probability, 0..highest class for Classes.
OrvRange AutomaticRange(const OrvMap& map);
