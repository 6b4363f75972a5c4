#include "orvgui/pages/plotpanel.h"

#include <wx/dcmemory.h>
#include <wx/intl.h>
#include <wx/sizer.h>

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "orvgui/pages/plotlayers.h"

namespace {

std::vector<double> ToDouble(const std::vector<float>& values) {
    return std::vector<double>(values.begin(), values.end());
}

}  // namespace

PlotPanel::PlotPanel(wxWindow* parent, int id) : wxPanel(parent, id) {
    m_plot = new PlotWindow(this, wxID_ANY);
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(m_plot, 1, wxEXPAND);
    SetSizer(sizer);

    wxFont font = GetFont();
    const auto add = [this, &font](mpLayer* layer) {
        layer->SetFont(font);
        m_plot->AddLayer(layer, false);
    };
    add(m_xAxis = new PlotAxisX("X"));
    add(m_yAxis = new PlotAxisY("Y"));
    const struct {
        const char* name;
        wxColour colour;
    } helpLines[] = {{"blueHelpLine", wxColour(0, 128, 255)},
                     {"greenHelpLine", *wxGREEN},
                     {"purpleHelpLine", wxColour(255, 0, 255)}};
    constexpr int kHelpLineWidth = 3;
    for (int i = 0; i < 3; ++i) {
        m_helpLines[i] = new PlotCurve(helpLines[i].name, PlotCurve::Style::Line);
        m_helpLines[i]->SetPen(wxPen(helpLines[i].colour, kHelpLineWidth, wxPENSTYLE_SOLID));
        add(m_helpLines[i]);
    }
    add(m_bars = new PlotBars("Histogram"));
    m_line = new PlotCurve("Line", PlotCurve::Style::Line);
    m_line->SetPen(wxPen(*wxBLACK, 2, wxPENSTYLE_SOLID));
    add(m_line);
    m_points = new PlotCurve("Points", PlotCurve::Style::Marks);
    m_points->SetPen(wxPen(*wxBLACK, 2, wxPENSTYLE_SOLID));
    add(m_points);
    auto* coordinates = new PlotCoordinates;
    coordinates->SetName("InfoCoords");
    coordinates->SetPen(wxPen(*wxBLACK, 1, wxPENSTYLE_SOLID));
    add(coordinates);
    add(m_text = new PlotText);
    m_plot->SetLookup(
        [this](double x, double& sampleX, double& sampleY) { return FindSample(x, sampleX, sampleY); });
    m_text->SetText(_("No plot for this image"), true);
}

mpWindow* PlotPanel::GetPlot() const {
    return m_plot;
}

void PlotPanel::ConfigurePlot(const std::vector<float>& x, const std::vector<std::vector<float>>& series,
                              int layerCount, unsigned long long* counts, wxImage& image, int visibleLayer,
                              const std::vector<std::vector<float>>& marks,
                              const std::vector<std::vector<float>>& helpLines) {
    const int layers = std::max(layerCount, static_cast<int>(series.size()));
    const auto visible = static_cast<std::size_t>(std::clamp(visibleLayer, 0, std::max(0, layers - 1)));
    m_sampleX = ToDouble(x);
    m_sampleY.clear();

    std::vector<double> bars;
    if (counts != nullptr && static_cast<int>(visible) < layerCount) {
        const unsigned long long* block = counts + visible * x.size();
        bars.assign(block, block + x.size());
    }
    m_bars->SetData(bars.empty() ? std::vector<double>() : m_sampleX, bars);
    std::vector<double> curve;
    if (visible < series.size()) curve = ToDouble(series[visible]);
    m_line->SetPoints(m_sampleX, curve);
    m_sampleY = bars.empty() ? curve : bars;
    m_sampleX.resize(std::min(m_sampleX.size(), m_sampleY.size()));

    const bool hasMarks = marks.size() >= 2;
    m_points->SetPoints(hasMarks ? ToDouble(marks[0]) : std::vector<double>(),
                        hasMarks ? ToDouble(marks[1]) : std::vector<double>());
    for (std::size_t i = 0; i < 3; ++i) {
        std::vector<double> xs;
        std::vector<double> ys;
        for (std::size_t k = 0; i < helpLines.size() && k + 1 < helpLines[i].size(); k += 2) {
            xs.push_back(helpLines[i][k]);
            ys.push_back(helpLines[i][k + 1]);
        }
        m_helpLines[i]->SetPoints(xs, ys);
    }
    m_empty = bars.empty() && curve.empty() && !hasMarks && !image.IsOk();
    m_text->SetText(m_empty ? wxString(_("No plot for this image")) : m_corner, m_empty);

    m_xAxis->SetVisible(!m_empty);
    m_yAxis->SetVisible(!m_empty);
    m_xAxis->SetPicture(wxImage(), 0, 0, 0, 0);
    m_plot->FitNewData();
    if (image.IsOk()) {
        double box[6];
        m_plot->GetBoundingBox(box);
        m_xAxis->SetPicture(image, box[0], box[1], box[2], box[3]);
    }
}

void PlotPanel::SetTexts(const wxString& xLabel, const wxString& yLabel, const wxString& text) {
    m_xAxis->SetLabel(xLabel);
    m_yAxis->SetLabel(yLabel);
    m_corner = text;
    if (!m_empty) m_text->SetText(text, false);
    m_plot->Refresh();
}

bool PlotPanel::FindSample(double x, double& sampleX, double& sampleY) const {
    if (m_sampleX.empty()) return false;
    std::size_t best = 0;
    for (std::size_t i = 1; i < m_sampleX.size(); ++i) {
        if (std::abs(m_sampleX[i] - x) < std::abs(m_sampleX[best] - x)) best = i;
    }
    sampleX = m_sampleX[best];
    sampleY = m_sampleY[best];
    return true;
}

Image PlotPanel::Render() {
    const wxSize size = m_plot->GetClientSize();
    if (size.GetWidth() < 2 || size.GetHeight() < 2) return Image();
    wxBitmap bitmap(size, 24);
    wxMemoryDC dc(bitmap);
    dc.SetFont(GetFont());
    m_plot->Draw(dc);
    dc.SelectObject(wxNullBitmap);
    wxImage picture = bitmap.ConvertToImage();
    const cv::Mat rgb(picture.GetHeight(), picture.GetWidth(), CV_8UC3, picture.GetData());
    cv::Mat bgr;
    cv::cvtColor(rgb, bgr, cv::COLOR_RGB2BGR);
    return Image(bgr);
}
