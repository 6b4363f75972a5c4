#include <wx/dcbuffer.h>

#include <algorithm>
#include <cmath>

#include "orvgui/common/wheel.h"
#include "orvgui/pages/plotlayers.h"

namespace {
constexpr int kSmallestDrag = 6;  // pixels; less is a click
constexpr double kAir = 0.03;     // of the extent, above and beside the data
}  // namespace

PlotWindow::PlotWindow(wxWindow* parent, int id)
    : mpWindow(parent, id, wxDefaultPosition, wxDefaultSize, wxBORDER_SUNKEN) {
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    SetMargins(30, 30, 70, 50);
    // What the library tells about the mouse does not hold here, and the axes have different units.
    GetPopupMenu()->Destroy(mpID_HELP_MOUSE);
    GetPopupMenu()->Destroy(mpID_LOCKASPECT);

    Bind(wxEVT_PAINT, &PlotWindow::OnPaintPlot, this);
    Bind(wxEVT_MOUSEWHEEL, &PlotWindow::OnWheel, this);
    Bind(wxEVT_LEFT_DOWN, &PlotWindow::OnButtonDown, this);
    Bind(wxEVT_MIDDLE_DOWN, &PlotWindow::OnButtonDown, this);
    Bind(wxEVT_MOTION, &PlotWindow::OnMotion, this);
    Bind(wxEVT_LEFT_UP, &PlotWindow::OnButtonUp, this);
    Bind(wxEVT_MIDDLE_UP, &PlotWindow::OnButtonUp, this);
    Bind(wxEVT_LEAVE_WINDOW, &PlotWindow::OnLeave, this);
    Bind(wxEVT_LEFT_DCLICK, [this](wxMouseEvent&) {
        FitAll();
        MirrorView();
    });
    Bind(wxEVT_MOUSE_CAPTURE_LOST, [this](wxMouseCaptureLostEvent&) {
        m_drag = Drag::None;
        Refresh();
    });
    Bind(
        wxEVT_MENU,
        [this](wxCommandEvent&) {
            FitAll();
            MirrorView();
        },
        mpID_FIT);
}

void PlotWindow::SetSmall() {
    m_isSmall = true;
    SetMargins(46, 14, 56, 50);
}

wxRect PlotWindow::GetPlotArea() {
    return wxRect(GetMarginLeft(), GetMarginTop(),
                  std::max(1, GetScrX() - GetMarginLeft() - GetMarginRight()),
                  std::max(1, GetScrY() - GetMarginTop() - GetMarginBottom()));
}

bool PlotWindow::UpdateBBox() {
    const bool any = mpWindow::UpdateBBox();
    if (!any) {
        m_minX = m_minY = 0;
        m_maxX = m_maxY = 1;
    }
    if (m_leastMinY <= m_leastMaxY && any) {
        m_minY = std::min(m_minY, m_leastMinY);
        m_maxY = std::max(m_maxY, m_leastMaxY);
    }
    if (!(m_maxX > m_minX)) m_maxX = m_minX + 1;
    if (!(m_maxY > m_minY)) m_maxY = m_minY + 1;
    const double airX = (m_maxX - m_minX) * kAir / 3;
    const double airY = (m_maxY - m_minY) * kAir;
    m_minX -= airX;
    m_maxX += airX;
    // What starts at zero stands on the axis.
    if (m_minY != 0) m_minY -= airY;
    m_maxY += airY;
    return true;
}

void PlotWindow::SetLeastRangeY(double minY, double maxY) {
    m_leastMinY = minY;
    m_leastMaxY = maxY;
}

void ShareScaleY(PlotWindow& first, PlotWindow& second) {
    double minY = 1;
    double maxY = 0;
    for (PlotWindow* plot : {&first, &second}) {
        for (unsigned int i = 0; i < plot->CountAllLayers(); ++i) {
            mpLayer* layer = plot->GetLayer(static_cast<int>(i));
            if (layer == nullptr || !layer->HasBBox()) continue;
            if (!std::isfinite(layer->GetMinY()) || !std::isfinite(layer->GetMaxY())) continue;
            const bool isFirst = minY > maxY;
            minY = isFirst ? layer->GetMinY() : std::min(minY, layer->GetMinY());
            maxY = isFirst ? layer->GetMaxY() : std::max(maxY, layer->GetMaxY());
        }
    }
    for (PlotWindow* plot : {&first, &second}) {
        plot->SetLeastRangeY(minY, maxY);
        plot->FitNewData();
    }
}

void PlotWindow::FitAll() {
    m_viewChosen = false;
    mpWindow::Fit();
}

void PlotWindow::FitNewData() {
    UpdateBBox();
    const double extent[] = {m_minX, m_maxX, m_minY, m_maxY};
    const bool same = std::equal(extent, extent + 4, m_extent);
    std::copy(extent, extent + 4, m_extent);
    if (same && m_viewChosen)
        Refresh();
    else
        FitAll();
}

void PlotWindow::ShowRange(double minX, double maxX, double minY, double maxY) {
    if (!(maxX > minX) || !(maxY > minY) || !std::isfinite(maxX - minX) || !std::isfinite(maxY - minY))
        return;
    // Below this part of a coordinate's size its digits run out.
    constexpr double kFinest = 1e-9;
    if (maxX - minX < kFinest * std::max(std::abs(minX), std::abs(maxX)) ||
        maxY - minY < kFinest * std::max(std::abs(minY), std::abs(maxY)))
        return;
    m_viewChosen = true;
    mpWindow::Fit(minX, maxX, minY, maxY);
}

void PlotWindow::Draw(wxDC& dc) {
    GetClientSize(&m_scrX, &m_scrY);
    dc.SetPen(*wxTRANSPARENT_PEN);
    dc.SetBrush(*wxWHITE_BRUSH);
    dc.DrawRectangle(0, 0, m_scrX, m_scrY);
    // Lines and marks lie on the bars, whatever the order of the layers.
    const auto depth = [](mpLayer* layer) {
        if (layer->GetLayerType() == mpLAYER_AXIS) return 0;
        return dynamic_cast<PlotBars*>(layer) != nullptr ? 1 : 2;
    };
    for (int pass = 0; pass <= 2; ++pass) {
        for (mpLayer* layer : m_layers) {
            if (depth(layer) == pass && layer->IsVisible()) layer->Plot(dc, *this);
        }
    }
}

void PlotWindow::OnPaintPlot(wxPaintEvent&) {
    wxAutoBufferedPaintDC dc(this);
    Draw(dc);
    if (m_drag == Drag::Zoom) {
        dc.SetPen(wxPen(*wxBLACK, 1, wxPENSTYLE_SHORT_DASH));
        dc.SetBrush(*wxTRANSPARENT_BRUSH);
        dc.DrawRectangle(wxRect(m_dragStart, m_dragEnd));
    }
}

void PlotWindow::OnWheel(wxMouseEvent& event) {
    if (m_isSmall) {
        event.Skip(!ScrollPageAround(this, event));
        return;
    }
    const wxRect area = GetPlotArea();
    if (event.GetWheelAxis() != wxMOUSE_WHEEL_VERTICAL || event.GetWheelRotation() == 0) return;
    const double factor = event.GetWheelRotation() > 0 ? 1 / 1.25 : 1.25;
    const double x = p2x(std::clamp(event.GetX(), area.GetLeft(), area.GetRight()));
    const double y = p2y(std::clamp(event.GetY(), area.GetTop(), area.GetBottom()));
    const double factorY = event.ControlDown() ? 1.0 : factor;
    ShowRange(x - (x - m_desiredXmin) * factor, x + (m_desiredXmax - x) * factor,
              y - (y - m_desiredYmin) * factorY, y + (m_desiredYmax - y) * factorY);
    MirrorView();
    UpdateCoordinates(event);
}

void PlotWindow::OnButtonDown(wxMouseEvent& event) {
    SetFocus();
    if (m_drag != Drag::None) return;
    m_drag = event.MiddleDown() || event.ShiftDown() ? Drag::Move : Drag::Zoom;
    m_dragStart = m_dragEnd = event.GetPosition();
    m_startX = m_desiredXmin;
    m_startY = m_desiredYmin;
    if (!HasCapture()) CaptureMouse();
}

void PlotWindow::OnMotion(wxMouseEvent& event) {
    if (m_drag != Drag::None) {
        m_dragEnd = event.GetPosition();
        if (m_drag == Drag::Move) {
            const double minX = m_startX - (m_dragEnd.x - m_dragStart.x) / m_scaleX;
            const double minY = m_startY + (m_dragEnd.y - m_dragStart.y) / m_scaleY;
            ShowRange(minX, minX + (m_desiredXmax - m_desiredXmin), minY,
                      minY + (m_desiredYmax - m_desiredYmin));
            MirrorView();
        }
    }
    UpdateCoordinates(event);
}

void PlotWindow::OnButtonUp(wxMouseEvent& event) {
    const Drag drag = m_drag;
    EndDrag();
    if (drag != Drag::Zoom) return;
    m_dragEnd = event.GetPosition();
    if (std::abs(m_dragEnd.x - m_dragStart.x) >= kSmallestDrag &&
        std::abs(m_dragEnd.y - m_dragStart.y) >= kSmallestDrag) {
        const double x0 = p2x(m_dragStart.x);
        const double x1 = p2x(m_dragEnd.x);
        const double y0 = p2y(m_dragStart.y);
        const double y1 = p2y(m_dragEnd.y);
        ShowRange(std::min(x0, x1), std::max(x0, x1), std::min(y0, y1), std::max(y0, y1));
        MirrorView();
    }
    Refresh();
}

void PlotWindow::OnLeave(wxMouseEvent& event) {
    UpdateCoordinates(event);
}

void PlotWindow::EndDrag() {
    m_drag = Drag::None;
    if (HasCapture()) ReleaseMouse();
}

void PlotWindow::UpdateCoordinates(wxMouseEvent& event) {
    for (mpLayer* layer : m_layers) {
        if (layer->IsInfo()) static_cast<mpInfoLayer*>(layer)->UpdateInfo(*this, event);
    }
    Refresh();
}

void PlotWindow::MirrorView() {
    PlotWindow* twin = this == m_evidence ? m_reference : m_evidence;
    if (twin == nullptr || twin == this || !twin->IsShownOnScreen()) return;
    if (m_viewChosen)
        twin->ShowRange(m_desiredXmin, m_desiredXmax, twin->m_desiredYmin, twin->m_desiredYmax);
    else
        twin->FitAll();
}
