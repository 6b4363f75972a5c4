#pragma once

#include <array>
#include <vector>

#include "orvcore/model/casedata.h"
#include "zorimage/image.h"

// Marks as pixels, for reports and for results that are saved with them. Any thread.

struct AnnotationStyle {
    double scale = 1.0;       // of the picture against the marks' own pixels
    bool isNumbered = false;  // each has its number in the list, from 1, in place of its text
};

// A copy of the picture with the marks drawn over it, as 8-bit colour. Lines and letters are as thick as the picture's size asks
// for. What lies outside the picture is cut off; an invalid picture stays that.
Image DrawAnnotations(const Image& picture, const std::vector<OrvAnnotation>& marks,
                      const AnnotationStyle& style);

// The far ends of the two barbs of an arrow from (x1, y1) to its tip (x2, y2): x, y, x, y. length: of a barb, in the same unit.
std::array<double, 4> ArrowBarbs(double x1, double y1, double x2, double y2, double length);

// "rectangle", "arrow", "text".
const char* AnnotationKindName(OrvAnnotation::Kind kind);
