#pragma once

#include <wxContribItems/wxMathPlot/mathplot.h>

#include <functional>
#include <vector>

// The pieces that the plotting library does not have: a bar layer, axes with readable numbers, a text that
// keeps clear of the data, and a window that knows its twin. Coordinates are those of the plot unless a name
// says pixels. GUI thread.

// Distance between the numbers of an axis so that they stand at least minimumGap apart: 1, 2 or 5 times a
// power of ten. Both arguments are positive and in the axis' unit.
double ChooseTickStep(double minimumGap);
// A number beside an axis whose numbers are step apart.
wxString FormatTick(double value, double step);

// Axes along the lower and the left edge, with ticks, faint grid lines and the axis' name.
class PlotAxisX : public mpScaleX {
  public:
    explicit PlotAxisX(const wxString& name) : mpScaleX(name, mpALIGN_BORDER_BOTTOM, true) {}
    void Plot(wxDC& dc, mpWindow& window) override;
    void SetLabel(const wxString& label) { m_label = label; }
    // A picture behind everything else, stretched over the data's extent; invalid for none.
    void SetPicture(const wxImage& picture, double minX, double maxX, double minY, double maxY);

  private:
    wxString m_label;
    wxImage m_picture;
    double m_pictureArea[4] = {0, 0, 0, 0};
};

class PlotAxisY : public mpScaleY {
  public:
    explicit PlotAxisY(const wxString& name) : mpScaleY(name, mpALIGN_BORDER_LEFT, true) {}
    void Plot(wxDC& dc, mpWindow& window) override;
    void SetLabel(const wxString& label) { m_label = label; }
    const wxString& GetLabel() const { return m_label; }

  private:
    wxString m_label;
};

// Bars from zero upwards, each centred on its abscissa and as wide as the distance to its neighbour.
class PlotBars : public mpLayer {
  public:
    explicit PlotBars(const wxString& name);
    // Both of the same length; abscissae ascending.
    void SetData(const std::vector<double>& x, const std::vector<double>& heights);
    void Plot(wxDC& dc, mpWindow& window) override;
    bool HasBBox() override { return !m_x.empty(); }
    double GetMinX() override { return m_x.empty() ? 0 : m_x.front() - m_width / 2; }
    double GetMaxX() override { return m_x.empty() ? 1 : m_x.back() + m_width / 2; }
    double GetMinY() override { return 0; }
    double GetMaxY() override { return m_highest; }

  private:
    std::vector<double> m_x;
    std::vector<double> m_heights;
    double m_width = 1;
    double m_highest = 0;
};

// A curve or marks of the plotting library that takes no part in the extent while it is empty. Only the
// points that can be seen are drawn; a curve has at most a few segments per pixel column, whatever the number
// of points.
class PlotCurve : public mpFXYVector {
  public:
    enum class Style { Line, Marks };
    PlotCurve(const wxString& name, Style style);
    void SetPoints(const std::vector<double>& x, const std::vector<double>& y);
    bool HasBBox() override { return !m_xs.empty(); }
    void Plot(wxDC& dc, mpWindow& window) override;

  private:
    Style m_style;
};

// One line in the upper left corner when there is something to see, in the middle when there is not.
class PlotText : public mpText {
  public:
    PlotText() : mpText(wxString(), 50, 50) {}
    void SetText(const wxString& text, bool inTheMiddle) {
        m_name = text;
        m_inTheMiddle = inTheMiddle;
    }
    void Plot(wxDC& dc, mpWindow& window) override;

  private:
    bool m_inTheMiddle = false;
};

// The value under the mouse, in the upper right corner.
class PlotCoordinates : public mpInfoCoords {
  public:
    PlotCoordinates() : mpInfoCoords(wxRect(0, 0, 10, 10), wxWHITE_BRUSH) {}
    void UpdateInfo(mpWindow& window, wxEvent& event) override;
    void Plot(wxDC& dc, mpWindow& window) override;
    void UpdateReference() override {}
    bool Inside(wxPoint&) override {
        return false;
    }  // it cannot be dragged, so that a drag always means the plot
    const wxString& GetText() const { return m_content; }
};

// The plotting library's window with pointers to the evidence plot and the reference plot, so that either
// reaches its twin: zooming and moving one along x does the same to the other.
//
// Wheel: zoom at the pointer (Ctrl: along x only). Left drag: zoom into the rectangle. Middle drag, or left
// drag with Shift: move. Double click: everything. The library's menu is on the right button.
class PlotWindow : public mpWindow {
  public:
    PlotWindow(wxWindow* parent, int id);

    void SetTwins(PlotWindow* evidence, PlotWindow* reference) {
        m_evidence = evidence;
        m_reference = reference;
    }
    PlotWindow* GetEvidencePlot() const { return m_evidence; }
    PlotWindow* GetReferencePlot() const { return m_reference; }

    // Shows the extent of all layers.
    void FitAll();
    // The same when the extent is another one than at the last call or the user has not changed the view;
    // keeps the view otherwise.
    void FitNewData();
    // The y axis reaches over this range too, so that plots beside each other can be compared; an empty range (minY > maxY) for
    // nothing but the data.
    void SetLeastRangeY(double minY, double maxY);
    // For a small plot in a page that scrolls: a wheel turn belongs to the page, and the title has a line of its own.
    void SetSmall();
    bool IsSmall() const { return m_isSmall; }
    // Draws everything as it stands on the screen, without a selection rectangle.
    void Draw(wxDC& dc);
    // The data closest to an abscissa, for the text under the mouse; false when there is none.
    using Lookup = std::function<bool(double x, double& sampleX, double& sampleY)>;
    void SetLookup(Lookup lookup) { m_lookup = std::move(lookup); }
    const Lookup& GetLookup() const { return m_lookup; }
    wxRect GetPlotArea();  // pixels inside the margins

  protected:
    bool UpdateBBox() override;

  private:
    void OnPaintPlot(wxPaintEvent& event);
    void OnWheel(wxMouseEvent& event);
    void OnButtonDown(wxMouseEvent& event);
    void OnMotion(wxMouseEvent& event);
    void OnButtonUp(wxMouseEvent& event);
    void OnLeave(wxMouseEvent& event);
    void EndDrag();
    void UpdateCoordinates(wxMouseEvent& event);
    // Copies the view along x to the twin that is shown too.
    void MirrorView();
    void ShowRange(double minX, double maxX, double minY, double maxY);

    PlotWindow* m_evidence = nullptr;
    PlotWindow* m_reference = nullptr;
    Lookup m_lookup;
    enum class Drag { None, Zoom, Move };
    Drag m_drag = Drag::None;
    wxPoint m_dragStart;
    wxPoint m_dragEnd;
    double m_startX = 0;  // position of the view when the drag began
    double m_startY = 0;
    bool m_isSmall = false;
    bool m_viewChosen = false;  // by the user, since everything was last shown
    double m_extent[4] = {0, 0, 0, 0};
    double m_leastMinY = 1;
    double m_leastMaxY = 0;
};

// Gives the plots one scale along y that holds the data of both. Views that the user chose stay while the data does.
void ShareScaleY(PlotWindow& first, PlotWindow& second);
