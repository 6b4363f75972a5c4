#include "orvgui/common/dragedge.h"

#include <wx/cursor.h>

namespace {

constexpr int kWidth = 6;

}  // namespace

DragEdge::DragEdge(wxWindow* parent, wxOrientation direction, std::function<void()> began,
                   std::function<void(int)> moved)
    : wxWindow(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxBORDER_NONE),
      m_direction(direction),
      m_began(std::move(began)),
      m_moved(std::move(moved)) {
    const bool isUpright = direction == wxHORIZONTAL;
    SetMinSize(isUpright ? wxSize(kWidth, -1) : wxSize(-1, kWidth));
    SetCursor(wxCursor(isUpright ? wxCURSOR_SIZEWE : wxCURSOR_SIZENS));
    for (const auto& type : {wxEVT_LEFT_DOWN, wxEVT_LEFT_UP, wxEVT_MOTION})
        Bind(type, &DragEdge::OnMouse, this);
    Bind(wxEVT_MOUSE_CAPTURE_LOST, [](wxMouseCaptureLostEvent&) {});
}

int DragEdge::Place(const wxMouseEvent& event) const {
    const wxPoint point = ClientToScreen(event.GetPosition());
    return m_direction == wxHORIZONTAL ? point.x : point.y;
}

void DragEdge::OnMouse(wxMouseEvent& event) {
    const int place = Place(event);
    if (event.LeftDown()) {
        m_start = place;
        if (!HasCapture()) CaptureMouse();
        m_began();
    } else if (HasCapture()) {
        if (event.LeftUp()) ReleaseMouse();
        m_moved(place - m_start);
    }
}
