#pragma once

#include <wx/string.h>

#include <optional>
#include <string>
#include <vector>

#include "orvgui/common/orvgui.h"

class Canvas;
class OrvToolPanel;
struct OrvRange;
struct Roi;
class wxKeyEvent;
class wxMouseEvent;
class wxScrollWinEvent;

// The page around canvases and tool panels, as they see it: they report what happens and ask for operations; what an event
// means is the page's decision. The page owns them all (as child windows), so it outlives every call. GUI thread.
class ORVGUI_API OrvViewerHost {
  public:
    virtual ~OrvViewerHost() = default;

    // Reports of a canvas.
    virtual void ViewerMouseOn(wxMouseEvent& event, Canvas* canvas) = 0;
    virtual void ViewerScroll(wxScrollWinEvent& event, Canvas* canvas) = 0;
    virtual bool ViewerKey(wxKeyEvent& event, Canvas* canvas) = 0;  // whether the key was used
    virtual void ViewerResized(Canvas* canvas) = 0;
    virtual void ViewerMouseLeft() = 0;

    virtual std::vector<Canvas*> GetCanvases() const = 0;
    virtual Canvas* GetCanvasFromActiveWin() = 0;
    virtual OrvToolPanel* GetOrvToolPanel() const = 0;
    virtual wxString GetFilterDescription() const = 0;
    // What the map says about a pixel of the picture that a canvas shows, with its unit; "" for nothing.
    virtual wxString DescribeMap(const Canvas* canvas, int x, int y) const = 0;

    // Operations of the tool panels, applied to the active canvas and the one in step with it.
    virtual void WindowSplit() = 0;  // the user has chosen another view
    virtual void WindowSwap(int phase) = 0;
    // Lays the other picture of the mode over each half, percent of its weight; 0 for none.
    virtual void MixPictures(int /*percent*/) {}
    virtual void WindowFit() = 0;
    virtual void Zoom100() = 0;
    virtual void ZoomEnter(const wxString& text) = 0;
    virtual void ZoomMinus() = 0;
    virtual void ZoomPlus() = 0;
    virtual void ZoomSlider(int step) = 0;
    virtual void ZoomToSelection() {}                    // nothing without a selection
    virtual void ApplySelection(const Roi& region) = 0;  // image pixels
    virtual void ShowSidePanel(bool show) = 0;
    virtual void SelectionChanged(const Roi& region) = 0;  // image pixels; empty for none
    virtual void MapDisplayChanged() = 0;
    // The user wants this range for the maps of that name; nothing: their own again.
    virtual void SetMapRange(const std::string& map, const std::optional<OrvRange>& range) = 0;
};
