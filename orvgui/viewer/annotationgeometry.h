#pragma once

#include "orvcore/model/casedata.h"
#include "orvgui/viewer/viewgeometry.h"

// What the mouse does with marks on a picture, without a window.

// Which part of a mark is taken hold of.
enum class MarkPart { None, Body, TopLeft, TopRight, BottomLeft, BottomRight, Tail, Tip };

// Where a mark is drawn, in device points (see viewgeometry.h).
struct MarkShape {
    OrvAnnotation::Kind kind = OrvAnnotation::Kind::Rectangle;
    IntPair from;   // upper left corner of a rectangle, tail of an arrow, place of a text
    IntPair to;     // opposite corner (exclusive), tip
    IntRect label;  // the ground of its text; empty without one
};

// labelSize: of the text with its ground, in pixels; 0, 0 without text. A text stands at its place, the label of another mark above
// it, or below its upper edge where there is no room in the picture.
MarkShape ShapeOfMark(const OrvAnnotation& mark, double zoom, IntPair offset, IntPair labelSize);

// A rectangle is taken by its outline and label only, so that another one can be drawn inside it; ends and corners go before the rest.
MarkPart PartOfMark(const MarkShape& shape, IntPair devicePoint);

// The mark after its part was dragged from one image point to another. A body moves as far as it stays on the picture; corners and
// ends stay on it, and a rectangle keeps a width and height of 1 at least, its corners in order.
OrvAnnotation DragMark(const OrvAnnotation& mark, MarkPart part, IntPair from, IntPair to, IntPair image);

// A new mark drawn from one image point to another, both on it. A rectangle covers both pixels.
OrvAnnotation NewMark(OrvAnnotation::Kind kind, const std::string& sha256, IntPair from, IntPair to);
