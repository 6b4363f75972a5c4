#pragma once

#include "orvgui/viewer/viewgeometry.h"

// The selection rectangle's decisions, without a window. Coordinates are image points; a rectangle's last
// column is x + width - 1.

// Where a point lies on the selection. The numbers are part of the contract.
enum class RelativePosition : int {
    None = 0,  // there is no selection
    Outside = 1,
    Inside = 2,
    Top = 3,
    TopLeft = 4,
    Left = 5,
    BottomLeft = 6,
    Bottom = 7,
    BottomRight = 8,
    Right = 9,
    TopRight = 10,
};

// Near an edge means fewer than 8 screen pixels from it. A small rectangle prefers its top and right edges.
RelativePosition PositionOnSelection(const IntRect& selection, IntPair point, double zoom);

// One drag of the selection, from the press to the release.
class SelectionDrag {
  public:
    // position: where the press was; the inside moves the rectangle, an edge or corner resizes it, the rest
    // drags nothing.
    void Start(const IntRect& selection, IntPair point, RelativePosition position);
    void Clear() { *this = SelectionDrag(); }

    bool IsMoving() const { return m_moving; }
    bool IsResizing() const { return m_resizing; }

    // The rectangle for the mouse at point, as its top left corner and that plus its size. A width or height
    // of exactly 0 becomes 1; sizes may be negative once an edge was dragged past the opposite one.
    void Drag(IntPair point, IntPair& topLeft, IntPair& bottomRight) const;

  private:
    bool m_moving = false;
    bool m_resizing = false;
    int m_factorX = 0, m_factorY = 0, m_factorWidth = 0, m_factorHeight = 0;
    IntRect m_rect;   // at the start
    IntPair m_start;  // where the press was
};

// The rectangle between two corners in any order.
IntRect RectBetween(IntPair a, IntPair b);
// The part of a rectangle that lies on the image; all zero when there is none.
IntRect ClipRect(const IntRect& rect, IntPair image);
// The rectangle moved so that it lies on the image; its size changes only when the image is smaller.
IntRect MoveInto(const IntRect& rect, IntPair image);
