#include "orvgui/viewer/selectiongeometry.h"

#include <algorithm>
#include <cstdlib>

namespace {

constexpr double kEdgePixels = 8.0;

bool IsLeftSide(RelativePosition position) {
    return position == RelativePosition::TopLeft || position == RelativePosition::Left ||
           position == RelativePosition::BottomLeft;
}
bool IsRightSide(RelativePosition position) {
    return position == RelativePosition::TopRight || position == RelativePosition::Right ||
           position == RelativePosition::BottomRight;
}
bool IsTopSide(RelativePosition position) {
    return position == RelativePosition::Top || position == RelativePosition::TopLeft ||
           position == RelativePosition::TopRight;
}
bool IsBottomSide(RelativePosition position) {
    return position == RelativePosition::Bottom || position == RelativePosition::BottomLeft ||
           position == RelativePosition::BottomRight;
}

}  // namespace

RelativePosition PositionOnSelection(const IntRect& selection, IntPair point, double zoom) {
    if (selection.IsEmpty()) return RelativePosition::None;
    const int lastX = selection.x + selection.width - 1;
    const int lastY = selection.y + selection.height - 1;
    if (point.x < selection.x || point.x > lastX || point.y < selection.y || point.y > lastY) {
        return RelativePosition::Outside;
    }
    const double tolerance = zoom > 0.0 ? kEdgePixels / zoom : 0.0;
    const auto isNear = [tolerance](int a, int b) { return std::abs(a - b) < tolerance; };
    // Top and right win over bottom and left where the rectangle is smaller than the two tolerances.
    const bool top = isNear(point.y, selection.y);
    const bool bottom = !top && isNear(point.y, lastY);
    const bool right = isNear(point.x, lastX);
    const bool left = !right && isNear(point.x, selection.x);
    if (top && right) return RelativePosition::TopRight;
    if (top && left) return RelativePosition::TopLeft;
    if (bottom && left) return RelativePosition::BottomLeft;
    if (bottom && right) return RelativePosition::BottomRight;
    if (top) return RelativePosition::Top;
    if (bottom) return RelativePosition::Bottom;
    if (right) return RelativePosition::Right;
    if (left) return RelativePosition::Left;
    return RelativePosition::Inside;
}

void SelectionDrag::Start(const IntRect& selection, IntPair point, RelativePosition position) {
    Clear();
    m_moving = position == RelativePosition::Inside;
    m_resizing = static_cast<int>(position) >= static_cast<int>(RelativePosition::Top);
    if (IsLeftSide(position)) m_factorX = m_factorWidth = 1;
    if (IsRightSide(position)) m_factorWidth = -1;
    if (IsTopSide(position)) m_factorY = m_factorHeight = 1;
    if (IsBottomSide(position)) m_factorHeight = -1;
    m_rect = selection;
    m_start = point;
}

void SelectionDrag::Drag(IntPair point, IntPair& topLeft, IntPair& bottomRight) const {
    int width = m_rect.width;
    int height = m_rect.height;
    if (m_moving) {
        topLeft = {m_rect.x + point.x - m_start.x, m_rect.y + point.y - m_start.y};
    } else {
        topLeft = {(point.x - m_start.x) * m_factorX + m_rect.x,
                   (point.y - m_start.y) * m_factorY + m_rect.y};
        width += (m_start.x - point.x) * m_factorWidth;
        height += (m_start.y - point.y) * m_factorHeight;
        if (width == 0) {
            width = 1;
            topLeft.x = m_rect.x;
        }
        if (height == 0) {
            height = 1;
            topLeft.y = m_rect.y;
        }
    }
    bottomRight = {topLeft.x + width, topLeft.y + height};
}

IntRect RectBetween(IntPair a, IntPair b) {
    return {std::min(a.x, b.x), std::min(a.y, b.y), std::abs(a.x - b.x), std::abs(a.y - b.y)};
}

IntRect ClipRect(const IntRect& rect, IntPair image) {
    const int left = std::clamp(rect.x, 0, std::max(image.x, 0));
    const int top = std::clamp(rect.y, 0, std::max(image.y, 0));
    const int right = std::min(rect.x + rect.width, image.x);
    const int bottom = std::min(rect.y + rect.height, image.y);
    if (right <= left || bottom <= top) return {};
    return {left, top, right - left, bottom - top};
}

IntRect MoveInto(const IntRect& rect, IntPair image) {
    const int width = std::min(rect.width, image.x);
    const int height = std::min(rect.height, image.y);
    return {std::clamp(rect.x, 0, std::max(image.x - width, 0)),
            std::clamp(rect.y, 0, std::max(image.y - height, 0)), width, height};
}
