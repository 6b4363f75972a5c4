#pragma once

#include <wx/window.h>

#include <vector>

#include "orvgui/common/orvgui.h"
#include "orvgui/viewer/displaypyramid.h"

class Canvas;

// The overview of a viewer page: the whole image of the active canvas, everything outside the visible part darkened. It knows
// no canvas: its page routes paint and mouse events to Paint and MouseEvent. GUI thread.
class ORVGUI_API NavigatorCanvas : public wxWindow {
  public:
    explicit NavigatorCanvas(wxWindow* parent);

    // The client size stored by the last Paint.
    wxSize GetWindowSize() const { return m_windowSize; }
    // The size of the overview of an image: 120 pixels wide, of the image's aspect ratio; 0 x 0 stays that.
    static wxSize GetWindowSize(wxSize imageSize);

    void Paint(Canvas* canvas, wxDC* dc, wxRect rect);
    void MouseEvent(wxMouseEvent& event, Canvas* canvas);
    void OnDraw(wxDC& dc);

    void OnPaint(wxPaintEvent&) {}
    void OnMouseEvent(wxMouseEvent&) {}
    void OnEraseBackground(wxEraseEvent&) {}

    static int m_width;  // of every navigator, pixels

  private:
    wxSize m_windowSize;
    // The thumbnail as it was last made, and of what.
    std::vector<std::uint8_t> m_thumbnail;
    std::weak_ptr<DisplayPyramid> m_thumbnailOf;
    int m_thumbnailVersion = -1;
    IntPair m_thumbnailSize;

    wxDECLARE_EVENT_TABLE();
};

// The navigator that an event comes from; null when there is none.
NavigatorCanvas* GetNavigatorCanvasFromEventObject(wxEvent& event);
