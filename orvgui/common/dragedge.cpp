#include "orvgui/common/dragedge.h"

#include <wx/cursor.h>

namespace {

constexpr int kWidth = 6;

}  // namespace

DragEdge::DragEdge(wxWindow* parent, std::function<void()> began, std::function<void(int)> moved)
    : wxWindow(parent, wxID_ANY, wxDefaultPosition, wxSize(kWidth, -1), wxBORDER_NONE),
      m_began(std::move(began)),
      m_moved(std::move(moved)) {
    SetMinSize(wxSize(kWidth, -1));
    SetCursor(wxCursor(wxCURSOR_SIZEWE));
    for (const auto& type : {wxEVT_LEFT_DOWN, wxEVT_LEFT_UP, wxEVT_MOTION})
        Bind(type, &DragEdge::OnMouse, this);
    Bind(wxEVT_MOUSE_CAPTURE_LOST, [](wxMouseCaptureLostEvent&) {});
}

void DragEdge::OnMouse(wxMouseEvent& event) {
    const int place = ClientToScreen(event.GetPosition()).x;
    if (event.LeftDown()) {
        m_start = place;
        if (!HasCapture()) CaptureMouse();
        m_began();
    } else if (HasCapture()) {
        if (event.LeftUp()) ReleaseMouse();
        m_moved(place - m_start);
    }
}
