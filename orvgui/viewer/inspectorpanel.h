#pragma once

#include "orvgui/viewer/toolpanel.h"

class wxStaticText;

// The value under the mouse: position, red, green and blue, the value in the file's own depth, grey level; on plots the value
// of the column. It also moves the picture while the left button is held and the navigate tool is chosen.
class ORVGUI_API InspectorPanel : public OrvToolPanelBase {
  public:
    InspectorPanel(wxWindow* parent, OrvViewerHost* page);

    void CreateControls() override;
    void ConfigureControls() override;  // room for the values of the images shown
    void RefreshValues() override;      // what is under the mouse now, which has not moved
    void ClearValues() override;
    void ViewerMouseOn(wxMouseEvent& event, Canvas* canvas, bool useZoomCentre) override;
    // The status bar tells the same, and has room for all but stored samples.
    bool IsExtra() const override { return !m_isDeep; }

    wxString GetText() const;  // the read-out as it is shown, in one line
    // The text of the read-out at an image point: place and colour in the first line, grey level and stored samples in the
    // second. Empty where there is no pixel.
    static wxString DescribePixel(Canvas* canvas, int x, int y);

  private:
    void Pan(const wxMouseEvent& event, Canvas* canvas);
    void ShowPixel(Canvas* canvas);
    void ShowNothing();
    wxSize TextSize(int moreDigits) const;

    Canvas* m_canvas = nullptr;  // under the mouse; null while it is elsewhere
    IntPair m_mousePoint;        // window point
    wxPanel* m_colour = nullptr;
    wxStaticText* m_text = nullptr;
    bool m_isDeep = false;  // some picture has stored samples to tell
    bool m_isPanning = false;
    IntPair m_pressPoint;  // window point
    IntPair m_pressStart;  // view start at the press, scroll units
    double m_pressZoom = 0.0;
};

// Whether an image's samples say more than the colour shown: 16 bits, or an alpha.
bool HasStoredSamples(const class Image& image);
// The stored samples of a pixel in the file's order of red, green, blue (grey: one value), with alpha last where there is any.
wxString DescribeSamples(const class Image& image, int x, int y);
