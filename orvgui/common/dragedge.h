#pragma once

#include <wx/window.h>

#include <functional>

#include "orvgui/common/orvgui.h"

// A narrow edge beside or below a window that the user drags to and fro. It tells how far, and moves nothing itself. GUI thread.
class ORVGUI_API DragEdge : public wxWindow {
  public:
    // direction: in which it is dragged, wxHORIZONTAL for an upright edge. began: the button was pressed. moved: how far the
    // mouse is from where that was, in pixels, positive to the right or downwards.
    DragEdge(wxWindow* parent, wxOrientation direction, std::function<void()> began,
             std::function<void(int distance)> moved);

  private:
    void OnMouse(wxMouseEvent& event);

    int Place(const wxMouseEvent& event) const;

    wxOrientation m_direction;
    std::function<void()> m_began;
    std::function<void(int)> m_moved;
    int m_start = 0;  // screen pixels
};
