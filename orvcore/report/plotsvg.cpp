#include "orvcore/report/plotsvg.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

#include "zorbase/text.h"

namespace {

constexpr double kWidth = 720;
constexpr double kHeight = 300;
constexpr double kLeft = 70;
constexpr double kRight = 14;
constexpr double kTop = 14;
constexpr double kBottom = 44;
constexpr const char* kHelpColours[] = {"#2b5fb4", "#2e8b57", "#7b3fa0"};

std::string Number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", value);
    return text;
}
std::string Place(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", value);
    return text;
}

struct Bounds {
    double low = std::numeric_limits<double>::infinity();
    double high = -std::numeric_limits<double>::infinity();
    void Add(double value) {
        if (!std::isfinite(value)) return;
        low = std::min(low, value);
        high = std::max(high, value);
    }
    void Widen() {
        if (!(low <= high)) low = high = 0.0;
        if (low == high) {
            low -= 0.5;
            high += 0.5;
        }
    }
};

// 1, 2 or 5 times a power of ten, so that there are three to seven of them.
double StepOf(const Bounds& bounds) {
    const double rough = (bounds.high - bounds.low) / 5.0;
    const double power = std::pow(10.0, std::floor(std::log10(rough)));
    const double share = rough / power;
    return power * (share < 1.5 ? 1.0 : share < 3.5 ? 2.0 : share < 7.5 ? 5.0 : 10.0);
}

class Drawing {
  public:
    Drawing(const OrvPlotData& plot, int layer) : m_plot(plot) {
        const auto count = static_cast<std::size_t>(std::max(plot.layerCount, 1));
        m_layer = layer >= 0 && static_cast<std::size_t>(layer) < count ? static_cast<std::size_t>(layer) : 0;
        const std::size_t n = plot.x.size();
        if (n > 0 && plot.counts.size() >= (m_layer + 1) * n) m_bars = plot.counts.data() + m_layer * n;
        if (m_layer < plot.curves.size()) m_curve = &plot.curves[m_layer];
        for (const float x : plot.x) m_x.Add(x);
        if (m_bars != nullptr) {
            m_y.Add(0.0);
            for (std::size_t i = 0; i < n; ++i) m_y.Add(static_cast<double>(m_bars[i]));
        }
        if (m_curve != nullptr)
            for (const float y : *m_curve) m_y.Add(y);
        if (plot.marks.size() >= 2) {
            for (const float x : plot.marks[0]) m_x.Add(x);
            for (const float y : plot.marks[1]) m_y.Add(y);
        }
        for (const std::vector<float>& line : plot.helpLines)
            for (std::size_t i = 0; i + 1 < line.size(); i += 2) {
                m_x.Add(line[i]);
                m_y.Add(line[i + 1]);
            }
        m_x.Widen();
        m_y.Widen();
    }

    std::string Axes() const {
        std::string svg;
        const auto text = [&svg](double x, double y, const char* anchor, const std::string& what) {
            svg += "<text x=\"" + Place(x) + "\" y=\"" + Place(y) + "\" text-anchor=\"" + anchor + "\">" +
                   EscapeHtml(what) + "</text>\n";
        };
        const auto grid = [&svg](double x0, double y0, double x1, double y1) {
            svg += "<line x1=\"" + Place(x0) + "\" y1=\"" + Place(y0) + "\" x2=\"" + Place(x1) + "\" y2=\"" +
                   Place(y1) + "\" stroke=\"#d9dde3\"/>\n";
        };
        for (const double tick : TicksOf(m_x)) {
            grid(X(tick), kTop, X(tick), kHeight - kBottom);
            text(X(tick), kHeight - kBottom + 15, "middle", Number(tick));
        }
        for (const double tick : TicksOf(m_y)) {
            grid(kLeft, Y(tick), kWidth - kRight, Y(tick));
            text(kLeft - 6, Y(tick) + 4, "end", Number(tick));
        }
        text((kLeft + kWidth - kRight) / 2, kHeight - 8, "middle", m_plot.xLabel);
        svg += "<text transform=\"translate(14 " + Place((kTop + kHeight - kBottom) / 2) +
               ") rotate(-90)\" text-anchor=\"middle\">" + EscapeHtml(m_plot.yLabel) + "</text>\n";
        if (!m_plot.text.empty()) text(kWidth - kRight - 6, kTop + 14, "end", m_plot.text);
        return svg;
    }

    std::string Data() const {
        std::string svg;
        const std::vector<float>& x = m_plot.x;
        if (m_bars != nullptr) {
            std::string path;
            const double half = x.size() > 1 ? (X(x[1]) - X(x[0])) / 2 : 2.0;
            for (std::size_t i = 0; i < x.size(); ++i) {
                if (m_bars[i] == 0) continue;
                path += "M" + Place(X(x[i]) - half) + " " + Place(Y(0.0)) + "V" +
                        Place(Y(static_cast<double>(m_bars[i]))) + "h" + Place(2 * half) + "V" +
                        Place(Y(0.0)) + "Z";
            }
            svg += "<path d=\"" + path + "\" fill=\"#5b6470\"/>\n";
        }
        if (m_curve != nullptr) {
            std::string path;
            bool isDown = false;
            for (std::size_t i = 0; i < std::min(x.size(), m_curve->size()); ++i) {
                const double y = (*m_curve)[i];
                const bool isNumber = std::isfinite(y) && std::isfinite(x[i]);
                if (isNumber) path += (isDown ? "L" : "M") + Place(X(x[i])) + " " + Place(Y(y));
                isDown = isNumber;
            }
            svg += "<path d=\"" + path + "\" fill=\"none\" stroke=\"#1c2127\" stroke-width=\"1.5\"/>\n";
        }
        for (std::size_t i = 0; i < std::min(m_plot.helpLines.size(), std::size(kHelpColours)); ++i) {
            std::string points;
            const std::vector<float>& line = m_plot.helpLines[i];
            for (std::size_t j = 0; j + 1 < line.size(); j += 2)
                points += Place(X(line[j])) + "," + Place(Y(line[j + 1])) + " ";
            svg += "<polyline points=\"" + points + "\" fill=\"none\" stroke=\"" + kHelpColours[i] +
                   "\" stroke-dasharray=\"5 3\"/>\n";
        }
        if (m_plot.marks.size() >= 2)
            for (std::size_t i = 0; i < std::min(m_plot.marks[0].size(), m_plot.marks[1].size()); ++i)
                svg += "<circle cx=\"" + Place(X(m_plot.marks[0][i])) + "\" cy=\"" +
                       Place(Y(m_plot.marks[1][i])) + "\" r=\"3\" fill=\"#b3261e\"/>\n";
        return svg;
    }

  private:
    double X(double value) const {
        return kLeft + (value - m_x.low) / (m_x.high - m_x.low) * (kWidth - kLeft - kRight);
    }
    double Y(double value) const {
        return kHeight - kBottom - (value - m_y.low) / (m_y.high - m_y.low) * (kHeight - kTop - kBottom);
    }
    static std::vector<double> TicksOf(const Bounds& bounds) {
        std::vector<double> ticks;
        const double step = StepOf(bounds);
        const double first = std::ceil(bounds.low / step);
        for (int i = 0; i < 20 && (first + i) * step <= bounds.high * (1 + 1e-12); ++i)
            ticks.push_back((first + i) * step);
        return ticks;
    }

    const OrvPlotData& m_plot;
    std::size_t m_layer = 0;
    const unsigned long long* m_bars = nullptr;
    const std::vector<float>* m_curve = nullptr;
    Bounds m_x;
    Bounds m_y;
};

}  // namespace

std::string PlotToSvg(const OrvPlotData& plot, int layer, const std::string& title) {
    if (plot.x.empty() && plot.marks.empty()) return {};
    const Drawing drawing(plot, layer);
    return "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " + Number(kWidth) + " " +
           Number(kHeight) + "\" width=\"" + Number(kWidth) + "\" height=\"" + Number(kHeight) +
           "\" role=\"img\" font-family=\"sans-serif\" font-size=\"11\" fill=\"#1c2127\">\n<title>" +
           EscapeHtml(title) + "</title>\n<rect width=\"100%\" height=\"100%\" fill=\"#fff\"/>\n" +
           drawing.Axes() + drawing.Data() + "</svg>\n";
}
