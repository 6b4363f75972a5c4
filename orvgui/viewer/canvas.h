#pragma once

#include <wx/bitmap.h>
#include <wx/dcmemory.h>
#include <wx/scrolwin.h>

#include <functional>
#include <memory>
#include <vector>

#include "orvcore/filter/map.h"
#include "orvgui/common/orvgui.h"
#include "orvgui/viewer/canvasproperties.h"
#include "orvgui/viewer/paintbuffer.h"
#include "orvgui/viewer/windowproperties.h"

class OrvViewerHost;

// The scrolled panel that shows one image at the zoom that all canvases share. It keeps no zoom of its own: after every
// change of the image its owner calls InitZoom or SetZoom. It converts between window points and image points, draws grey
// borders around a smaller image and outlines the selection. Mouse, keys and scrolling go to the viewer page three parents
// up, which decides what they mean.
//
// "Client size" in the zoom rules is that of the canvas's parent. Operations that find no image, no shared record, a window
// of size 1 or a zoom out of range do nothing. GUI thread.
class ORVGUI_API Canvas : public wxScrolledWindow {
  public:
    Canvas(wxWindow* parent, int id, bool isInput, bool isPlot, const wxString& name);
    ~Canvas() override;

    // Shows an image (an empty one: nothing) and repaints; the zoom is the caller's business.
    void SetImage(const Image& image);
    void SetImage(const IplImage* image) { SetImage(Image(image)); }
    void Reset();
    // Shows another image in place of the canvas's own at the same zoom, and the own one again.
    void ShowInstead(const Image& image);
    void ShowOwn();
    const Image& GetOwnImage() const { return m_ownImage; }
    bool IsShowingOther() const { return m_isShowingOther; }
    // Shown while there is no image, in place of the core's no-data message; empty for that one.
    void SetEmptyMessage(const wxString& message);

    void InitZoom();
    void SetZoom(int centreX, int centreY, double zoom, int scrollX, int scrollY);
    void SetBestZoom(int width, int height);
    void SetWindowBest(wxSize size, bool) { SetBestZoom(size.x, size.y); }
    void CalculateOffset();
    // Brings scroll rate and virtual size in line with the shared zoom without changing it, and scrolls to viewStart (scroll
    // units) as far as the image allows.
    void FollowZoom(wxPoint viewStart);
    // Scrolls as far as the image allows, in scroll units; negative values count as 0.
    void ScrollTo(int x, int y);

    // The image pixel under a window point. With clip, whether it had to be moved onto the
    // image; without, true.
    bool GetPixelCoordinates(int x, int y, int& px, int& py, bool clip, bool useZoomCentre);
    wxPoint GetWindowCoordinates(int x, int y);
    bool ClipCoordinates(int& x, int& y);
    void GetRGB(int& r, int& g, int& b, int x, int y);
    // The plotted value under (x, y) and, in x, its column; -1.0 where there is none.
    void GetValue(double& value, int& x, int y);
    // Whether the whole image is seen at the shared zoom.
    bool DoesImageFit() const;
    // The image point at the centre of the view.
    IntPair GetViewCentre();

    void Draw(wxDC& dc);
    void DrawBorders(wxDC* dc, int width, int height);
    void CorrectBorders(wxDC* dc);
    void DrawSpecialLine(wxDC* dc, double x1, double y1, double x2, double y2);
    void DrawSpecialRectangle(wxDC* dc, wxRect& rect);
    void SetDrawRect(wxRect rect, bool enabled);
    const wxRect& GetDrawRect() const { return m_drawRect; }
    bool IsDrawRectEnabled() const { return m_drawRectEnabled; }

    // Lines and regions that an analysis names, drawn over the picture while it shows its own image; both empty for none.
    void SetMarks(const std::vector<OrvMapLine>& lines, const std::vector<OrvMapRegion>& regions);

    CanvasProperties* GetProperties() { return m_properties.get(); }
    bool HasImage() const { return m_properties->IsValid(); }
    bool IsInput() const { return m_isInput; }
    bool IsPlot() const { return m_isPlot; }
    // Of the parent, as the zoom rules take it.
    IntPair GetZoomArea() const;
    // The page that contains this canvas, or null.
    OrvViewerHost* GetPage() const;
    std::size_t GetBufferBytes() const { return m_buffer.GetMemoryBytes(); }

    void OnDraw(wxDC& dc) override { Draw(dc); }
    void OnPaint(wxPaintEvent& event);
    void OnSize(wxSizeEvent& event);
    void OnScroll(wxScrollWinEvent& event);
    void OnMouseEnterWindow(wxMouseEvent& event);
    void OnMouseLeaveWindow(wxMouseEvent& event);
    void OnMouseOn(wxMouseEvent& event);
    void OnEraseBackground(wxEraseEvent&) {}

    bool SendAutoScrollEvents(wxScrollWinEvent&) const override { return false; }

    // Called by the toolkit whenever range, rate or size change. It clamps the old position then, and sends a scroll event from
    // inside: that is nobody's wish and is not heard.
    void AdjustScrollbars() override;

  protected:
    void DoScroll(int x, int y) override;

  private:
    // What the kept buffer shows.
    struct Painted {
        const DisplayPyramid* pyramid = nullptr;
        int version = -1;
        double zoom = 0.0;
        IntPair offset;
        IntPair scroll;
        IntPair size;
        bool operator==(const Painted&) const = default;
    };

    void Watch();
    void Unwatch();
    IntPair ScrollPixels() const;
    void ApplyScrollRange(double zoom, int rate);
    void PaintImage(wxDC& dc, const WindowProperties& shared);
    std::vector<IntRect> MissingParts(const Painted& wanted);
    void DrawMarks(wxDC& dc, const WindowProperties& shared);
    void DrawMessage(wxDC& dc, int width, int height);
    void OnKey(wxKeyEvent& event);

    bool m_isInput;
    bool m_isPlot;
    bool m_mouseInside = false;
    std::unique_ptr<CanvasProperties> m_properties;
    wxBitmap m_spareBitmap;
    wxMemoryDC m_memoryDc;
    bool m_drawRectEnabled = false;
    wxRect m_drawRect;  // image pixels
    std::vector<OrvMapLine> m_lines;
    std::vector<OrvMapRegion> m_regions;
    wxString m_emptyMessage;
    // A zoom that was asked for before the window had a size.
    enum class Pending { None, Init, Follow };
    Pending m_pending = Pending::None;
    int m_ownScrolling = 0;  // > 0: the program sets range or position
    Image m_ownImage;
    bool m_isShowingOther = false;
    PaintBuffer m_buffer;  // of the client area
    Painted m_painted;
    IntRect m_paintedPart;
    std::shared_ptr<DisplayPyramid> m_watched;
    int m_listener = -1;

    wxDECLARE_EVENT_TABLE();
};

// The record that all canvases share: the main frame's, or null.
ORVGUI_API WindowProperties* GetSharedWindowProperties();
// For tests without a main frame: this record from now on; null brings back the main frame's.
ORVGUI_API void SetSharedWindowProperties(WindowProperties* record);
// The rule about the first zoom after a small image; shared by all canvases.
SmallImageRule& GetSmallImageRule();
