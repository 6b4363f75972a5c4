#include "orvgui/pages/plotlayers.h"

#include <wx/control.h>

#include <algorithm>
#include <cmath>

namespace {

constexpr int kTick = 5;         // length of a tick, pixels
constexpr int kNumberGapX = 72;  // least distance of numbers along an axis, pixels
constexpr int kNumberGapY = 32;
constexpr int kTextGap = 4;
constexpr double kPixelLimit = 16000;
const wxColour kGridColour(228, 228, 228);
const wxColour kAxisColour(96, 96, 96);
const wxColour kBarColour(112, 128, 144);

// Pixel of a coordinate, kept within what a device can draw.
int PixelX(mpWindow& window, double x) {
    return static_cast<int>(
        std::lround(std::clamp((x - window.GetPosX()) * window.GetScaleX(), -kPixelLimit, kPixelLimit)));
}

int PixelY(mpWindow& window, double y) {
    return static_cast<int>(
        std::lround(std::clamp((window.GetPosY() - y) * window.GetScaleY(), -kPixelLimit, kPixelLimit)));
}

wxRect AreaOf(mpWindow& window) {
    return wxRect(window.GetMarginLeft(), window.GetMarginTop(),
                  std::max(1, window.GetScrX() - window.GetMarginLeft() - window.GetMarginRight()),
                  std::max(1, window.GetScrY() - window.GetMarginTop() - window.GetMarginBottom()));
}

bool IsSmall(mpWindow& window) {
    const auto* plot = dynamic_cast<PlotWindow*>(&window);
    return plot != nullptr && plot->IsSmall();
}

// Where the label of the y axis ends.
int LabelEnd(wxDC& dc, mpWindow& window) {
    int end = 0;
    for (unsigned int i = 0; i < window.CountAllLayers(); ++i)
        if (auto* axis = dynamic_cast<PlotAxisY*>(window.GetLayer(static_cast<int>(i))))
            end = 2 * kTextGap + dc.GetTextExtent(axis->GetLabel()).GetWidth();
    return end;
}

// Steps of an axis in view; never so many that drawing them would not end.
template <typename Function>
void ForEachTick(double from, double to, double step, const Function& function) {
    constexpr int kMaximumTicks = 200;
    const double first = std::ceil(from / step);
    for (int i = 0; i < kMaximumTicks; ++i) {
        const double value = (first + i) * step;
        if (value > to) return;
        function(std::abs(value) < step / 1000 ? 0.0 : value);
    }
}

}  // namespace

double ChooseTickStep(double minimumGap) {
    if (!(minimumGap > 0) || !std::isfinite(minimumGap)) return 1;
    const double power = std::pow(10, std::floor(std::log10(minimumGap)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        // A hair of tolerance: 10^log10(x) need not be x again.
        if (factor * power >= minimumGap * (1 - 1e-9)) return factor * power;
    }
    return 10 * power;
}

wxString FormatTick(double value, double step) {
    double scale = 1;
    const char* suffix = "";
    const double magnitude = std::max(std::abs(value), step);
    if (magnitude >= 1e9) {
        scale = 1e9;
        suffix = "G";
    } else if (magnitude >= 1e6) {
        scale = 1e6;
        suffix = "M";
    } else if (magnitude >= 1e4) {
        scale = 1e3;
        suffix = "k";
    } else if (magnitude < 1e-4) {
        return wxString::Format("%g", value);
    }
    if (value == 0) return "0";
    const int decimals = std::clamp(static_cast<int>(std::ceil(-std::log10(step / scale) - 1e-9)), 0, 6);
    return wxString::Format("%.*f%s", decimals, value / scale, suffix);
}

void PlotAxisX::SetPicture(const wxImage& picture, double minX, double maxX, double minY, double maxY) {
    m_picture = picture;
    m_pictureArea[0] = minX;
    m_pictureArea[1] = maxX;
    m_pictureArea[2] = minY;
    m_pictureArea[3] = maxY;
}

void PlotAxisX::Plot(wxDC& dc, mpWindow& window) {
    const wxRect area = AreaOf(window);
    if (m_picture.IsOk()) {
        const wxPoint corner(PixelX(window, m_pictureArea[0]), PixelY(window, m_pictureArea[3]));
        const wxSize size(PixelX(window, m_pictureArea[1]) - corner.x,
                          PixelY(window, m_pictureArea[2]) - corner.y);
        constexpr int kLargest = 8192;
        if (size.x > 0 && size.y > 0 && size.x < kLargest && size.y < kLargest) {
            wxDCClipper clipper(dc, area);
            dc.DrawBitmap(wxBitmap(m_picture.Scale(size.x, size.y)), corner);
        }
    }
    dc.SetFont(m_font);
    dc.SetTextForeground(*wxBLACK);
    const double step = ChooseTickStep(kNumberGapX / window.GetScaleX());
    ForEachTick(window.p2x(area.GetLeft()), window.p2x(area.GetRight()), step, [&](double value) {
        const int x = PixelX(window, value);
        dc.SetPen(wxPen(kGridColour));
        dc.DrawLine(x, area.GetTop(), x, area.GetBottom());
        dc.SetPen(wxPen(kAxisColour));
        dc.DrawLine(x, area.GetBottom(), x, area.GetBottom() + kTick);
        const wxString number = FormatTick(value, step);
        dc.DrawText(number, x - dc.GetTextExtent(number).GetWidth() / 2, area.GetBottom() + kTick + kTextGap);
    });
    dc.SetPen(wxPen(kAxisColour));
    dc.DrawLine(area.GetLeft(), area.GetBottom(), area.GetRight() + 1, area.GetBottom());
    const wxSize label = dc.GetTextExtent(m_label);
    dc.DrawText(m_label, area.GetLeft() + (area.GetWidth() - label.GetWidth()) / 2,
                area.GetBottom() + kTick + 3 * kTextGap + label.GetHeight());
}

void PlotAxisY::Plot(wxDC& dc, mpWindow& window) {
    const wxRect area = AreaOf(window);
    dc.SetFont(m_font);
    dc.SetTextForeground(*wxBLACK);
    const double step = ChooseTickStep(kNumberGapY / window.GetScaleY());
    ForEachTick(window.p2y(area.GetBottom()), window.p2y(area.GetTop()), step, [&](double value) {
        const int y = PixelY(window, value);
        dc.SetPen(wxPen(kGridColour));
        dc.DrawLine(area.GetLeft(), y, area.GetRight(), y);
        dc.SetPen(wxPen(kAxisColour));
        dc.DrawLine(area.GetLeft() - kTick, y, area.GetLeft(), y);
        const wxString number = FormatTick(value, step);
        const wxSize size = dc.GetTextExtent(number);
        dc.DrawText(number, area.GetLeft() - kTick - kTextGap - size.GetWidth(), y - size.GetHeight() / 2);
    });
    dc.SetPen(wxPen(kAxisColour));
    dc.DrawLine(area.GetLeft(), area.GetTop(), area.GetLeft(), area.GetBottom());
    const wxSize label = dc.GetTextExtent(m_label);
    const int top = IsSmall(window) ? area.GetTop() - label.GetHeight() - kTextGap
                                    : (area.GetTop() - label.GetHeight()) / 2;
    dc.DrawText(m_label, 2 * kTextGap, top);
}

PlotBars::PlotBars(const wxString& name) {
    SetName(name);
    m_type = mpLAYER_PLOT;
    SetPen(*wxTRANSPARENT_PEN);
    SetBrush(wxBrush(kBarColour));
}

void PlotBars::SetData(const std::vector<double>& x, const std::vector<double>& heights) {
    m_x = x;
    m_heights = heights;
    m_highest = heights.empty() ? 0 : *std::max_element(heights.begin(), heights.end());
    m_width = 1;
    for (std::size_t i = 1; i < x.size(); ++i) {
        const double gap = x[i] - x[i - 1];
        if (gap > 0) m_width = i == 1 ? gap : std::min(m_width, gap);
    }
}

void PlotBars::Plot(wxDC& dc, mpWindow& window) {
    if (m_x.empty()) return;
    const wxRect area = AreaOf(window);
    wxDCClipper clipper(dc, area);
    dc.SetPen(m_pen);
    dc.SetBrush(m_brush);
    const int zero = PixelY(window, 0);
    // Several bars on one pixel column make one rectangle as high as the highest of them.
    int column = 0;
    int columnEnd = 0;
    int top = zero;
    const auto flush = [&] {
        if (top < zero) dc.DrawRectangle(column, top, std::max(1, columnEnd - column), zero - top);
    };
    bool first = true;
    for (std::size_t i = 0; i < m_x.size(); ++i) {
        const int left = PixelX(window, m_x[i] - m_width / 2);
        const int right = PixelX(window, m_x[i] + m_width / 2);
        if (right < area.GetLeft() || left > area.GetRight()) continue;
        const int height = PixelY(window, m_heights[i]);
        if (first || left != column) {
            if (!first) flush();
            first = false;
            column = left;
            top = zero;
        }
        // A narrow gap sets wide bars apart.
        columnEnd = right - (right - left > 3 ? 1 : 0);
        top = std::min(top, height);
    }
    if (!first) flush();
}

PlotCurve::PlotCurve(const wxString& name, Style style) : mpFXYVector(name), m_style(style) {
    SetContinuity(style == Style::Line);
    ShowName(false);
}

void PlotCurve::SetPoints(const std::vector<double>& x, const std::vector<double>& y) {
    std::vector<double> xs;
    std::vector<double> ys;
    for (std::size_t i = 0; i < std::min(x.size(), y.size()); ++i) {
        if (!std::isfinite(x[i]) || !std::isfinite(y[i])) continue;
        xs.push_back(x[i]);
        ys.push_back(y[i]);
    }
    SetData(xs, ys);
    if (xs.empty()) return;
    // The exact extent; the library's has room around it that would show as a shift.
    m_minX = *std::min_element(xs.begin(), xs.end());
    m_maxX = *std::max_element(xs.begin(), xs.end());
    m_minY = *std::min_element(ys.begin(), ys.end());
    m_maxY = *std::max_element(ys.begin(), ys.end());
}

void PlotCurve::Plot(wxDC& dc, mpWindow& window) {
    if (m_xs.empty()) return;
    // What is exactly zero lies on the axis, one row below the area.
    wxRect area = AreaOf(window);
    area.height += 1;
    wxDCClipper clipper(dc, area);
    dc.SetPen(m_pen);
    if (m_style == Style::Marks) {
        dc.SetBrush(*wxTRANSPARENT_BRUSH);
        constexpr int kRadius = 4;
        // A cloud is read by where it is dense: rings would run together.
        constexpr std::size_t kCloud = 500;
        const bool isCloud = m_xs.size() > kCloud;
        if (isCloud) dc.SetPen(wxPen(m_pen.GetColour(), 1));
        for (std::size_t i = 0; i < m_xs.size(); ++i) {
            const wxPoint point(PixelX(window, m_xs[i]), PixelY(window, m_ys[i]));
            if (!area.Contains(point)) continue;
            if (isCloud)
                dc.DrawPoint(point);
            else
                dc.DrawCircle(point, kRadius);
        }
        return;
    }
    // Points on one pixel column become at most four: where the curve enters, its lowest, its highest, where
    // it leaves.
    std::vector<wxPoint> line;
    std::size_t i = 0;
    while (i < m_xs.size()) {
        const int column = PixelX(window, m_xs[i]);
        const int enter = PixelY(window, m_ys[i]);
        int lowest = enter;
        int highest = enter;
        int leave = enter;
        for (++i; i < m_xs.size() && PixelX(window, m_xs[i]) == column; ++i) {
            leave = PixelY(window, m_ys[i]);
            lowest = std::max(lowest, leave);
            highest = std::min(highest, leave);
        }
        for (const int y : {enter, lowest, highest, leave}) {
            if (line.empty() || line.back() != wxPoint(column, y)) line.emplace_back(column, y);
        }
    }
    if (line.size() == 1) line.push_back(line.front() + wxPoint(1, 0));
    dc.DrawLines(static_cast<int>(line.size()), line.data());
}

void PlotText::Plot(wxDC& dc, mpWindow& window) {
    if (m_name.empty()) return;
    const wxRect area = AreaOf(window);
    dc.SetFont(m_font);
    dc.SetTextForeground(*wxBLACK);
    const wxSize size = dc.GetMultiLineTextExtent(m_name);
    if (m_inTheMiddle) {
        dc.DrawText(m_name, area.GetLeft() + (area.GetWidth() - size.GetWidth()) * m_offsetx / 100,
                    area.GetTop() + (area.GetHeight() - size.GetHeight()) * m_offsety / 100);
    } else if (IsSmall(window)) {
        // Above the axis label.
        const int room = window.GetScrX() - 4 * kTextGap;
        dc.DrawText(wxControl::Ellipsize(m_name, dc, wxELLIPSIZE_END, room), 2 * kTextGap, kTextGap);
    } else {
        // Right of the axis label, above the data.
        const int room = area.GetRight() - LabelEnd(dc, window) - 2 * kTextGap;
        const wxString text = size.GetWidth() <= room
                                  ? m_name
                                  : wxControl::Ellipsize(m_name, dc, wxELLIPSIZE_END, std::max(room, 0));
        dc.DrawText(text, area.GetRight() - std::min(size.GetWidth(), dc.GetTextExtent(text).GetWidth()),
                    (area.GetTop() - size.GetHeight()) / 2);
    }
}

void PlotCoordinates::UpdateInfo(mpWindow& window, wxEvent& event) {
    m_content.clear();
    auto* mouse = dynamic_cast<wxMouseEvent*>(&event);
    if (mouse == nullptr || mouse->Leaving() || !AreaOf(window).Contains(mouse->GetPosition())) return;
    const double x = window.p2x(mouse->GetX());
    const double y = window.p2y(mouse->GetY());
    m_content = wxString::Format("x = %.6g\ny = %.6g", x, y);
    double sampleX = 0;
    double sampleY = 0;
    auto* plot = dynamic_cast<PlotWindow*>(&window);
    if (plot != nullptr && plot->GetLookup() && plot->GetLookup()(x, sampleX, sampleY))
        m_content += wxString::Format("\n%.6g: %.9g", sampleX, sampleY);
}

void PlotCoordinates::Plot(wxDC& dc, mpWindow& window) {
    if (m_content.empty()) return;
    const wxRect area = AreaOf(window);
    dc.SetFont(m_font);
    const wxSize size = dc.GetMultiLineTextExtent(m_content) + wxSize(4 * kTextGap, 2 * kTextGap);
    m_dim = wxRect(area.GetRight() - size.GetWidth() - kTextGap, area.GetTop() + kTextGap, size.GetWidth(),
                   size.GetHeight());
    dc.SetPen(m_pen);
    dc.SetBrush(*wxWHITE_BRUSH);
    dc.DrawRectangle(m_dim);
    dc.SetTextForeground(*wxBLACK);
    dc.DrawText(m_content, m_dim.GetLeft() + 2 * kTextGap, m_dim.GetTop() + kTextGap);
}
