#include "orvgui/viewer/selectiongeometry.h"

#include <gtest/gtest.h>

TEST(Selection, PositionOfThePoint) {
    const IntRect rect{100, 200, 50, 40};  // columns 100..149, rows 200..239
    using enum RelativePosition;
    const struct {
        IntPair point;
        RelativePosition expected;
    } cases[] = {
        {{99, 220}, Outside},      {{150, 220}, Outside}, {{125, 199}, Outside},  {{125, 240}, Outside},
        {{125, 220}, Inside},      {{125, 200}, Top},     {{125, 207}, Top},      {{125, 208}, Inside},
        {{125, 232}, Bottom},      {{125, 231}, Inside},  {{107, 220}, Left},     {{108, 220}, Inside},
        {{142, 220}, Right},       {{100, 200}, TopLeft}, {{149, 200}, TopRight}, {{100, 239}, BottomLeft},
        {{149, 239}, BottomRight},
    };
    for (const auto& c : cases)
        EXPECT_EQ(PositionOnSelection(rect, c.point, 1.0), c.expected) << c.point.x << ',' << c.point.y;
    EXPECT_EQ(PositionOnSelection({}, {0, 0}, 1.0), None);
    // Eight screen pixels are one image pixel at 800 %.
    EXPECT_EQ(PositionOnSelection(rect, {125, 201}, 8.0), Inside);
    EXPECT_EQ(PositionOnSelection(rect, {125, 215}, 0.5), Top);
    // Where every edge is near, top and right win.
    EXPECT_EQ(PositionOnSelection({10, 10, 3, 3}, {10, 12}, 1.0), TopRight);
}

TEST(Selection, DragMovesOrResizes) {
    const IntRect rect{100, 200, 50, 40};
    using enum RelativePosition;
    const struct {
        RelativePosition position;
        IntRect expected;  // after moving the mouse by (+7, -5)
    } cases[] = {
        {Inside, {107, 195, 50, 40}},      {Top, {100, 195, 50, 45}},        {TopLeft, {107, 195, 43, 45}},
        {Left, {107, 200, 43, 40}},        {BottomLeft, {107, 200, 43, 35}}, {Bottom, {100, 200, 50, 35}},
        {BottomRight, {100, 200, 57, 35}}, {Right, {100, 200, 57, 40}},      {TopRight, {100, 195, 57, 45}},
    };
    for (const auto& c : cases) {
        SelectionDrag drag;
        drag.Start(rect, {120, 220}, c.position);
        EXPECT_EQ(drag.IsMoving(), c.position == Inside);
        EXPECT_EQ(drag.IsResizing(), c.position != Inside);
        IntPair topLeft;
        IntPair bottomRight;
        drag.Drag({127, 215}, topLeft, bottomRight);
        EXPECT_EQ(topLeft, (IntPair{c.expected.x, c.expected.y})) << static_cast<int>(c.position);
        EXPECT_EQ(bottomRight, (IntPair{c.expected.x + c.expected.width, c.expected.y + c.expected.height}));
    }
    for (const auto position : {None, Outside}) {
        SelectionDrag drag;
        drag.Start(rect, {0, 0}, position);
        EXPECT_FALSE(drag.IsMoving() || drag.IsResizing());
    }
}

TEST(Selection, ASideOfZeroBecomesOne) {
    SelectionDrag drag;
    drag.Start({100, 200, 50, 40}, {100, 220}, RelativePosition::Left);
    IntPair topLeft;
    IntPair bottomRight;
    drag.Drag({150, 220}, topLeft, bottomRight);
    EXPECT_EQ(topLeft.x, 100);
    EXPECT_EQ(bottomRight.x, 101);
    drag.Drag({160, 220}, topLeft, bottomRight);  // past the other edge: negative, put in order by the caller
    EXPECT_EQ(topLeft.x, 160);
    EXPECT_EQ(bottomRight.x, 150);
    EXPECT_EQ(RectBetween(topLeft, bottomRight), (IntRect{150, 200, 10, 40}));
}

TEST(Selection, StaysOnTheImage) {
    EXPECT_EQ(ClipRect({-5, 10, 20, 200}, {100, 50}), (IntRect{0, 10, 15, 40}));
    EXPECT_EQ(ClipRect({100, 10, 20, 20}, {100, 50}), (IntRect{}));
    EXPECT_EQ(MoveInto({-5, 40, 20, 20}, {100, 50}), (IntRect{0, 30, 20, 20}));
    EXPECT_EQ(MoveInto({95, 0, 20, 90}, {100, 50}), (IntRect{80, 0, 20, 50}));
}
