#pragma once

#include <wx/image.h>
#include <wx/panel.h>

#include <vector>

#include "orvgui/common/orvgui.h"
#include "zorimage/image.h"

class PlotAxisX;
class PlotAxisY;
class PlotBars;
class PlotCurve;
class PlotText;
class PlotWindow;
class mpWindow;

// One plot: axes, bars, a curve, marks, three help lines, the value under the mouse. Wheel and drag zoom and
// move the view; a new set of data of the same extent keeps the view. GUI thread only.
class ORVGUI_API PlotPanel : public wxPanel {
  public:
    PlotPanel(wxWindow* parent, int id);

    mpWindow* GetPlot() const;
    // The plot with the pointers to its twin.
    PlotWindow* GetPlotWindow() const { return m_plot; }

    // Loads the data of one plot, in the order of OrvPlotData's fields. counts holds layerCount blocks as
    // long as x, or is null. The layer shown is visibleLayer, limited to the layers there are.
    void ConfigurePlot(const std::vector<float>& x, const std::vector<std::vector<float>>& series,
                       int layerCount, unsigned long long* counts, wxImage& image, int visibleLayer,
                       const std::vector<std::vector<float>>& marks,
                       const std::vector<std::vector<float>>& helpLines);
    // Quantity and unit of the axes and a line for the corner. Texts of files are safe here.
    void SetTexts(const wxString& xLabel, const wxString& yLabel, const wxString& text);

    // The plot drawn off screen at its current size, 8-bit colour; empty when it has no size.
    Image Render();

  private:
    bool FindSample(double x, double& sampleX, double& sampleY) const;

    PlotWindow* m_plot;
    PlotAxisX* m_xAxis;
    PlotAxisY* m_yAxis;
    PlotCurve* m_helpLines[3];
    PlotBars* m_bars;
    PlotCurve* m_line;
    PlotCurve* m_points;
    PlotText* m_text;
    wxString m_corner;
    bool m_empty = true;
    std::vector<double> m_sampleX;  // what is shown, for the value under the mouse
    std::vector<double> m_sampleY;
};
