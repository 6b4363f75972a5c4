#include "orvgui/viewer/annotationgeometry.h"

#include <gtest/gtest.h>

namespace {

using Kind = OrvAnnotation::Kind;

OrvAnnotation Mark(Kind kind, Roi place) {
    OrvAnnotation mark;
    mark.kind = kind;
    mark.sha256 = "ab";
    mark.place = place;
    return mark;
}

}  // namespace

// At 200 % and 10 pixels off the window's edge; the label is 40 x 12.
TEST(AnnotationGeometry, TheMouseTakesWhatItIsNextTo) {
    const MarkShape box = ShapeOfMark(Mark(Kind::Rectangle, {100, 50, 60, 40}), 2.0, {10, 0}, {40, 12});
    const MarkShape arrow = ShapeOfMark(Mark(Kind::Arrow, {100, 50, -60, 40}), 2.0, {10, 0}, {});
    const MarkShape text = ShapeOfMark(Mark(Kind::Text, {100, 50, 0, 0}), 2.0, {10, 0}, {40, 12});
    const struct {
        const MarkShape& shape;
        IntPair point;
        MarkPart part;
        const char* what;
    } cases[] = {
        {box, {222, 101}, MarkPart::TopLeft, "a corner goes before its edges"},
        {box, {339, 103}, MarkPart::TopRight, ""},
        {box, {221, 178}, MarkPart::BottomLeft, ""},
        {box, {338, 182}, MarkPart::BottomRight, ""},
        {box, {228, 100}, MarkPart::Body, "just beyond the corner"},
        {box, {280, 107}, MarkPart::Body, "the upper edge"},
        {box, {280, 108}, MarkPart::None, "just beyond it"},
        {box, {280, 140}, MarkPart::None, "another one can be drawn inside"},
        {box, {245, 91}, MarkPart::Body, "the label above"},
        {box, {300, 90}, MarkPart::None, "beside the label"},
        {arrow, {221, 101}, MarkPart::Tail, ""},
        {arrow, {101, 181}, MarkPart::Tip, ""},
        {arrow, {161, 141}, MarkPart::Body, "the shaft"},
        {arrow, {161, 120}, MarkPart::None, "beside the shaft"},
        {arrow, {61, 208}, MarkPart::None, "beyond the tip"},
        {text, {255, 108}, MarkPart::Body, ""},
        {text, {265, 108}, MarkPart::None, ""},
    };
    for (const auto& one : cases)
        EXPECT_EQ(one.part, PartOfMark(one.shape, one.point))
            << one.what << " at " << one.point.x << ", " << one.point.y;
}

TEST(AnnotationGeometry, ALabelStaysOnThePicture) {
    const auto label = [](int y) {
        return ShapeOfMark(Mark(Kind::Rectangle, {5, y, 9, 9}), 1.0, {0, 7}, {40, 12}).label;
    };
    EXPECT_EQ((IntRect{5, 7 + 12 - 12, 40, 12}), label(12)) << "just room above";
    EXPECT_EQ((IntRect{5, 7 + 11, 40, 12}), label(11)) << "below the edge";
}

TEST(AnnotationGeometry, DraggingKeepsMarksOnThePicture) {
    const IntPair image{200, 100};
    const struct {
        OrvAnnotation mark;
        MarkPart part;
        IntPair step;
        Roi place;
    } cases[] = {
        {Mark(Kind::Rectangle, {10, 20, 30, 40}), MarkPart::Body, {5, -6}, {15, 14, 30, 40}},
        {Mark(Kind::Rectangle, {10, 20, 30, 40}), MarkPart::Body, {-50, 500}, {0, 60, 30, 40}},
        {Mark(Kind::Rectangle, {10, 20, 30, 40}), MarkPart::TopLeft, {2, 3}, {12, 23, 28, 37}},
        {Mark(Kind::Rectangle, {10, 20, 30, 40}), MarkPart::BottomRight, {900, -10}, {10, 20, 190, 30}},
        // Past the opposite corner, and onto it.
        {Mark(Kind::Rectangle, {10, 20, 30, 40}), MarkPart::TopRight, {-35, 0}, {5, 20, 5, 40}},
        {Mark(Kind::Rectangle, {10, 20, 30, 40}), MarkPart::BottomLeft, {30, -40}, {40, 20, 1, 1}},
        {Mark(Kind::Arrow, {50, 50, -20, 10}), MarkPart::Tip, {-90, 5}, {50, 50, -50, 15}},
        {Mark(Kind::Arrow, {50, 50, -20, 10}), MarkPart::Tail, {500, 500}, {199, 99, -169, -39}},
        {Mark(Kind::Arrow, {50, 50, -20, 10}), MarkPart::Body, {-40, 0}, {20, 50, -20, 10}},
        {Mark(Kind::Text, {50, 50, 0, 0}), MarkPart::Body, {300, -300}, {200, 0, 0, 0}},
        // One that never was on the picture is not forced onto it, and nothing overflows.
        {Mark(Kind::Rectangle, {INT32_MAX - 5, 0, 100, 5}), MarkPart::Body, {90, 0}, {INT32_MAX, 0, 100, 5}},
    };
    for (const auto& one : cases) {
        const OrvAnnotation dragged =
            DragMark(one.mark, one.part, {70, 70}, {70 + one.step.x, 70 + one.step.y}, image);
        EXPECT_EQ(one.place, dragged.place) << ToString(one.mark.place) << " part "
                                            << static_cast<int>(one.part) << ": " << ToString(dragged.place);
    }
}

TEST(AnnotationGeometry, NewMarksCoverWhatWasDrawn) {
    EXPECT_EQ(Roi(5, 3, 6, 8), NewMark(Kind::Rectangle, "ab", {10, 10}, {5, 3}).place);
    EXPECT_EQ(Roi(10, 10, -5, -7), NewMark(Kind::Arrow, "ab", {10, 10}, {5, 3}).place);
    EXPECT_EQ(Roi(5, 3, 0, 0), NewMark(Kind::Text, "ab", {10, 10}, {5, 3}).place);
    EXPECT_EQ("ab", NewMark(Kind::Text, "ab", {}, {}).sha256);
}
