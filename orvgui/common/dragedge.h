#pragma once

#include <wx/window.h>

#include <functional>

#include "orvgui/common/orvgui.h"

// A narrow upright edge between two windows that the user drags to and fro. It tells how far, and moves nothing itself. GUI thread.
class ORVGUI_API DragEdge : public wxWindow {
  public:
    // began: the button was pressed. moved: how far the mouse is from where that was, in pixels, positive to the right.
    DragEdge(wxWindow* parent, std::function<void()> began, std::function<void(int distance)> moved);

  private:
    void OnMouse(wxMouseEvent& event);

    std::function<void()> m_began;
    std::function<void(int)> m_moved;
    int m_start = 0;  // screen pixels
};
