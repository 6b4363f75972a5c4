#include "orvgui/viewer/annotationgeometry.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

#include "orvgui/viewer/selectiongeometry.h"

namespace {

constexpr double kReach = 8.0;  // device pixels that are near enough

int Sum(int begin, int length) {
    const std::int64_t end = std::int64_t{begin} + length;
    return static_cast<int>(std::clamp<std::int64_t>(end, INT32_MIN, INT32_MAX));
}

bool IsNear(IntPair a, IntPair b) {
    return std::hypot(double{1} * a.x - b.x, double{1} * a.y - b.y) < kReach;
}

double DistanceToLine(IntPair from, IntPair to, IntPair point) {
    const double dx = double{1} * to.x - from.x;
    const double dy = double{1} * to.y - from.y;
    const double px = double{1} * point.x - from.x;
    const double py = double{1} * point.y - from.y;
    const double length = dx * dx + dy * dy;
    const double part = length > 0.0 ? std::clamp((px * dx + py * dy) / length, 0.0, 1.0) : 0.0;
    return std::hypot(px - part * dx, py - part * dy);
}

bool Holds(const IntRect& rect, IntPair point) {
    return point.x >= rect.x && point.x < Sum(rect.x, rect.width) && point.y >= rect.y &&
           point.y < Sum(rect.y, rect.height);
}

// The part of a step that keeps begin..begin+length within 0..size; nothing where it does not fit.
int StepWithin(int begin, int length, int step, int size) {
    const int low = std::min(begin, Sum(begin, length));
    const int high = std::max(begin, Sum(begin, length));
    if (low < 0 || high > size) return step;
    return std::clamp(step, -low, size - high);
}

}  // namespace

MarkShape ShapeOfMark(const OrvAnnotation& mark, double zoom, IntPair offset, IntPair labelSize) {
    // The ends of an arrow are the centres of their pixels.
    const double half = mark.kind == OrvAnnotation::Kind::Arrow ? 0.5 : 0.0;
    const auto place = [&](int value, int shift) {
        return RoundToInt((double{1} * value + half + shift) * zoom);
    };
    MarkShape shape;
    shape.kind = mark.kind;
    shape.from = {place(mark.place.x, offset.x), place(mark.place.y, offset.y)};
    shape.to = {place(Sum(mark.place.x, mark.place.width), offset.x),
                place(Sum(mark.place.y, mark.place.height), offset.y)};
    if (mark.kind == OrvAnnotation::Kind::Text) shape.to = shape.from;
    if (labelSize.x <= 0 || labelSize.y <= 0) return shape;
    shape.label = {shape.from.x, shape.from.y, labelSize.x, labelSize.y};
    const bool hasRoomAbove = shape.from.y - labelSize.y >= RoundToInt(offset.y * zoom);
    if (mark.kind != OrvAnnotation::Kind::Text && hasRoomAbove) shape.label.y -= labelSize.y;
    return shape;
}

MarkPart PartOfMark(const MarkShape& shape, IntPair point) {
    if (shape.kind == OrvAnnotation::Kind::Rectangle) {
        if (IsNear(point, shape.from)) return MarkPart::TopLeft;
        if (IsNear(point, {shape.to.x, shape.from.y})) return MarkPart::TopRight;
        if (IsNear(point, {shape.from.x, shape.to.y})) return MarkPart::BottomLeft;
        if (IsNear(point, shape.to)) return MarkPart::BottomRight;
        const IntPair topRight{shape.to.x, shape.from.y};
        const IntPair bottomLeft{shape.from.x, shape.to.y};
        for (const auto& [a, b] : {std::pair(shape.from, topRight), std::pair(topRight, shape.to),
                                   std::pair(shape.to, bottomLeft), std::pair(bottomLeft, shape.from)})
            if (DistanceToLine(a, b, point) < kReach) return MarkPart::Body;
    } else if (shape.kind == OrvAnnotation::Kind::Arrow) {
        if (IsNear(point, shape.to)) return MarkPart::Tip;
        if (IsNear(point, shape.from)) return MarkPart::Tail;
        if (DistanceToLine(shape.from, shape.to, point) < kReach) return MarkPart::Body;
    } else if (IsNear(point, shape.from)) {
        return MarkPart::Body;
    }
    return Holds(shape.label, point) ? MarkPart::Body : MarkPart::None;
}

OrvAnnotation DragMark(const OrvAnnotation& mark, MarkPart part, IntPair from, IntPair to, IntPair image) {
    OrvAnnotation dragged = mark;
    Roi& place = dragged.place;
    const bool isText = mark.kind == OrvAnnotation::Kind::Text;
    const int dx = StepWithin(place.x, isText ? 0 : place.width, to.x - from.x, image.x);
    const int dy = StepWithin(place.y, isText ? 0 : place.height, to.y - from.y, image.y);
    if (part == MarkPart::Body) {
        place.x = Sum(place.x, dx);
        place.y = Sum(place.y, dy);
        return dragged;
    }
    const int lastX = mark.kind == OrvAnnotation::Kind::Arrow ? image.x - 1 : image.x;
    const int lastY = mark.kind == OrvAnnotation::Kind::Arrow ? image.y - 1 : image.y;
    const auto moved = [](int value, int step, int last) {
        return std::clamp(Sum(value, step), 0, std::max(last, 0));
    };
    int left = place.x;
    int top = place.y;
    int right = Sum(place.x, place.width);
    int bottom = Sum(place.y, place.height);
    const int stepX = to.x - from.x;
    const int stepY = to.y - from.y;
    if (part == MarkPart::TopLeft || part == MarkPart::BottomLeft || part == MarkPart::Tail)
        left = moved(left, stepX, lastX);
    if (part == MarkPart::TopRight || part == MarkPart::BottomRight || part == MarkPart::Tip)
        right = moved(right, stepX, lastX);
    if (part == MarkPart::TopLeft || part == MarkPart::TopRight || part == MarkPart::Tail)
        top = moved(top, stepY, lastY);
    if (part == MarkPart::BottomLeft || part == MarkPart::BottomRight || part == MarkPart::Tip)
        bottom = moved(bottom, stepY, lastY);
    if (mark.kind == OrvAnnotation::Kind::Rectangle) {
        if (left > right) std::swap(left, right);
        if (top > bottom) std::swap(top, bottom);
        right = std::max(right, left + 1);
        bottom = std::max(bottom, top + 1);
    }
    place = Roi(left, top, right - left, bottom - top);
    return dragged;
}

OrvAnnotation NewMark(OrvAnnotation::Kind kind, const std::string& sha256, IntPair from, IntPair to) {
    OrvAnnotation mark;
    mark.kind = kind;
    mark.sha256 = sha256;
    switch (kind) {
        case OrvAnnotation::Kind::Rectangle: {
            const IntRect rect = RectBetween(from, to);
            mark.place = Roi(rect.x, rect.y, rect.width + 1, rect.height + 1);
            break;
        }
        case OrvAnnotation::Kind::Arrow:
            mark.place = Roi(from.x, from.y, to.x - from.x, to.y - from.y);
            break;
        case OrvAnnotation::Kind::Text:
            mark.place = Roi(to.x, to.y, 0, 0);
            break;
    }
    return mark;
}
