#include <wx/dcbuffer.h>
#include <wx/dcclient.h>
#include <wx/graphics.h>
#include <wx/pen.h>

#include <algorithm>
#include <cmath>

#include "orvcore/facade/context.h"
#include "orvgui/viewer/annotationpaint.h"
#include "orvgui/viewer/canvas.h"
#include "zorbase/text.h"

namespace {

const wxColour kMarkColour(255, 220, 0);
constexpr std::size_t kMostLines = 5000;
constexpr double kDashPeriod = 4.0;  // a dash and a gap, screen pixels

struct BorderTools {
    wxPen pen{wxColour(128, 128, 128, 255), 0, wxPENSTYLE_TRANSPARENT};
    wxBrush brush{wxColour(200, 200, 200, 255), wxBRUSHSTYLE_SOLID};
};

// Made on first use and kept to the end: the toolkit may be gone before static objects are.
const BorderTools& GetBorderTools() {
    static const auto* tools = new BorderTools;
    return *tools;
}

const BorderTools& GetCorrectionTools() {
    static const auto* tools = new BorderTools;
    return *tools;
}

void UseTools(wxDC& dc, const BorderTools& tools) {
    dc.SetPen(tools.pen);
    dc.SetBrush(tools.brush);
}

wxString NoDataMessage() {
    const OrvContext* context = GetContext();
    return context ? wxGetTranslation(context->GetNoDataAvailableMessage()) : wxString();
}

}  // namespace

void Canvas::OnPaint(wxPaintEvent& event) {
    auto* canvas = dynamic_cast<Canvas*>(event.GetEventObject());
    if (canvas == nullptr) return;
    wxBufferedPaintDC dc(canvas, canvas->m_spareBitmap, wxBUFFER_CLIENT_AREA);
    canvas->DoPrepareDC(dc);
    canvas->Draw(dc);
}

void Canvas::Draw(wxDC& dc) {
    wxSize area = GetClientSize();
    if (GetParent() != nullptr) area = GetParent()->GetClientSize();
    WindowProperties* shared = GetSharedWindowProperties();
    if (!HasImage()) {
        DrawMessage(dc, area.x, area.y);
        return;
    }
    if (shared == nullptr) return;
    // The offset is shared: where this image is smaller than the one it was made for, a strip would stay unpainted.
    UseTools(dc, GetBorderTools());
    const wxSize client = GetClientSize();
    const wxPoint origin = dc.GetDeviceOrigin();
    const IntRect covered = m_properties->GetPyramid()->PaintedPart(
        shared->zoom, shared->offset, {-origin.x, -origin.y}, {0, 0, client.x, client.y});
    if (covered.width < client.x || covered.height < client.y) {
        dc.DrawRectangle(-origin.x, -origin.y, client.x, client.y);
    }
    DrawBorders(&dc, area.x, area.y);
    if (shared->zoom > 0.0) {
        PaintImage(dc, *shared);
        if (!m_isShowingOther) DrawMarks(dc, *shared);
        DrawAnnotationMarks(dc, *this, *shared);
        if (m_drawRectEnabled) DrawSpecialRectangle(&dc, m_drawRect);
    }
}

void Canvas::PaintImage(wxDC& dc, const WindowProperties& shared) {
    const wxSize client = GetClientSize();
    const wxPoint origin = dc.GetDeviceOrigin();
    Watch();
    const DisplayPyramid& pyramid = *m_properties->GetPyramid();
    const Painted wanted{&pyramid,      pyramid.GetVersion(),   shared.zoom,
                         shared.offset, {-origin.x, -origin.y}, {client.x, client.y}};
    if (!(wanted == m_painted)) {
        m_buffer.Resize(wanted.size);
        m_paintedPart =
            pyramid.PaintedPart(wanted.zoom, wanted.offset, wanted.scroll, {0, 0, client.x, client.y});
        for (const IntRect& part : MissingParts(wanted)) {
            pyramid.Paint(wanted.zoom, wanted.offset, wanted.scroll, part, m_buffer.Pixels());
        }
        m_painted = wanted;
    }
    m_buffer.Draw(dc, m_paintedPart);
}

// Marks are one screen pixel of colour on a dark edge, whatever the zoom; their ends are the centres of pixels.
void Canvas::DrawMarks(wxDC& dc, const WindowProperties& shared) {
    if (m_lines.empty() && m_regions.empty()) return;
    const auto place = [&shared](double x, double y) {
        return wxPoint(RoundToInt((x + shared.offset.x) * shared.zoom),
                       RoundToInt((y + shared.offset.y) * shared.zoom));
    };
    const wxPoint origin = dc.GetDeviceOrigin();
    const wxRect seen(wxPoint(-origin.x, -origin.y), GetClientSize());
    const wxPen edge(*wxBLACK, 3);
    const wxPen colour(kMarkColour, 1);
    dc.SetBrush(*wxTRANSPARENT_BRUSH);
    std::size_t drawn = 0;
    for (const OrvMapLine& line : m_lines) {
        const wxPoint from = place(line.from.x + 0.5, line.from.y + 0.5);
        const wxPoint to = place(line.to.x + 0.5, line.to.y + 0.5);
        const wxRect around(wxPoint(std::min(from.x, to.x), std::min(from.y, to.y)),
                            wxPoint(std::max(from.x, to.x), std::max(from.y, to.y)));
        if (!around.Intersects(seen)) continue;
        if (++drawn > kMostLines) break;  // more are one blot, and cost seconds
        for (const wxPen* pen : {&edge, &colour}) {
            dc.SetPen(*pen);
            dc.DrawLine(from, to);
        }
    }
    dc.SetFont(GetFont());
    for (const OrvMapRegion& region : m_regions) {
        const wxPoint topLeft = place(region.box.x, region.box.y);
        const wxPoint bottomRight = place(region.box.x + region.box.width, region.box.y + region.box.height);
        wxRect box(topLeft, bottomRight);
        box.Intersect(wxRect(seen).Inflate(8));
        if (box.IsEmpty()) continue;
        for (const wxPen* pen : {&edge, &colour}) {
            dc.SetPen(*pen);
            dc.DrawRectangle(box);
        }
        if (region.text.empty()) continue;
        const wxString text = ToWx(region.text);
        const wxSize size = dc.GetTextExtent(text);
        dc.SetPen(*wxTRANSPARENT_PEN);
        dc.SetBrush(*wxBLACK_BRUSH);
        // Above the box, so that what it marks stays in sight; in it where the canvas ends.
        const int top = box.y - size.y - 2 >= seen.y ? box.y - size.y - 2 : box.y;
        dc.DrawRectangle(box.x, top, size.x + 6, size.y + 2);
        dc.SetTextForeground(kMarkColour);
        dc.DrawText(text, box.x + 3, top + 1);
        dc.SetBrush(*wxTRANSPARENT_BRUSH);
    }
}

// What has to be painted anew; what a scroll leaves in sight is moved.
std::vector<IntRect> Canvas::MissingParts(const Painted& wanted) {
    const int width = wanted.size.x;
    const int height = wanted.size.y;
    Painted moved = m_painted;
    moved.scroll = wanted.scroll;
    const long dx = static_cast<long>(wanted.scroll.x) - m_painted.scroll.x;
    const long dy = static_cast<long>(wanted.scroll.y) - m_painted.scroll.y;
    if (!(moved == wanted) || std::labs(dx) >= width || std::labs(dy) >= height)
        return {{0, 0, width, height}};
    const int x = static_cast<int>(dx);
    const int y = static_cast<int>(dy);
    m_buffer.Shift(x, y);
    const IntRect column{x > 0 ? width - x : 0, 0, std::abs(x), height};
    const IntRect row{x > 0 ? 0 : -x, y > 0 ? height - y : 0, width - std::abs(x), std::abs(y)};
    return {column, row};
}

void Canvas::DrawMessage(wxDC& dc, int width, int height) {
    if (GetVirtualSize() != wxSize(width, height)) SetVirtualSize(width, height);
    const wxColour background = GetBackgroundColour();
    dc.SetPen(wxPen(background, 1, wxPENSTYLE_SOLID));
    dc.SetBrush(wxBrush(background, wxBRUSHSTYLE_SOLID));
    if (GetParent() != nullptr) dc.DrawRectangle(0, 0, width, height);
    dc.SetFont(GetFont());
    dc.SetTextForeground(*wxBLACK);
    const wxString message = m_emptyMessage.empty() ? NoDataMessage() : m_emptyMessage;
    const wxSize text = dc.GetMultiLineTextExtent(message);
    dc.DrawLabel(message, wxRect((width - text.x) / 2, (height - text.y) / 2, text.x, text.y),
                 wxALIGN_CENTRE_HORIZONTAL);
}

void Canvas::DrawBorders(wxDC* dc, int width, int height) {
    const WindowProperties* shared = GetSharedWindowProperties();
    if (dc == nullptr || !HasImage() || shared == nullptr) return;
    UseTools(*dc, GetBorderTools());
    for (const IntRect& band :
         BorderBands({width, height}, m_properties->GetPixelSize(), shared->offset, shared->zoom)) {
        dc->DrawRectangle(band.x, band.y, band.width, band.height);
    }
}

void Canvas::CorrectBorders(wxDC* dc) {
    const WindowProperties* shared = GetSharedWindowProperties();
    if (dc == nullptr || !HasImage() || shared == nullptr) return;
    UseTools(*dc, GetCorrectionTools());
    const IntPair area = GetZoomArea();
    const int thickness = RoundToInt(shared->zoom + 1.0);
    if (shared->offset.y == 0) dc->DrawRectangle(0, area.y - 1, area.x, thickness);
    if (shared->offset.x == 0) dc->DrawRectangle(area.x - 1, 0, thickness, area.y);
}

void Canvas::DrawSpecialLine(wxDC* dc, double x1, double y1, double x2, double y2) {
    if (dc == nullptr) return;
    static const wxDash dashes[] = {2, 2, 2, 2};
    const wxPoint from(RoundToInt(x1), RoundToInt(y1));
    const wxPoint to(RoundToInt(x2), RoundToInt(y2));
    // Smoothed dashes would be grey instead of black and white.
    wxGraphicsContext* graphics = dc->GetGraphicsContext();
    const wxAntialiasMode before = graphics ? graphics->GetAntialiasMode() : wxANTIALIAS_DEFAULT;
    if (graphics) graphics->SetAntialiasMode(wxANTIALIAS_NONE);
    dc->SetBrush(*wxBLACK_BRUSH);
    dc->SetPen(wxPen(*wxBLACK, 1, wxPENSTYLE_SOLID));
    dc->DrawLine(from, to);
    wxPen dashed(*wxWHITE, 1, wxPENSTYLE_USER_DASH);
    dashed.SetDashes(4, dashes);
    dc->SetPen(dashed);
    dc->DrawLine(from, to);
    if (graphics) graphics->SetAntialiasMode(before);
}

// The corners are image points; the lines are one screen pixel wide, so they are drawn at the zoomed place without the scale.
void Canvas::DrawSpecialRectangle(wxDC* dc, wxRect& rect) {
    const WindowProperties* shared = GetSharedWindowProperties();
    if (!HasImage() || shared == nullptr) return;
    if (dc == nullptr) {
        wxClientDC clientDc(this);
        DoPrepareDC(clientDc);
        DrawSpecialRectangle(&clientDc, rect);
        return;
    }
    const wxPoint corner1 = GetWindowCoordinates(rect.x, rect.y);
    const wxPoint corner2 = GetWindowCoordinates(rect.x + rect.width, rect.y + rect.height);
    const double left = corner1.x * shared->zoom;
    const double top = corner1.y * shared->zoom;
    const double right = corner2.x * shared->zoom;
    const double bottom = corner2.y * shared->zoom;
    // Dashes far outside the window cost as much as those inside.
    const wxPoint origin = dc->GetDeviceOrigin();
    const wxSize client = GetClientSize();
    const LineSpan seenX{-origin.x - kDashPeriod, -origin.x + client.x + kDashPeriod};
    const LineSpan seenY{-origin.y - kDashPeriod, -origin.y + client.y + kDashPeriod};
    const LineSpan across = ClipPatternedLine({left, right}, seenX, kDashPeriod);
    const LineSpan down = ClipPatternedLine({top, bottom}, seenY, kDashPeriod);
    const auto isSeen = [](double place, const LineSpan& seen) {
        return place >= seen.begin && place <= seen.end;
    };
    for (const double y : {top, bottom})
        if (across.begin < across.end && isSeen(y, seenY))
            DrawSpecialLine(dc, across.begin, y, across.end, y);
    for (const double x : {right, left})
        if (down.begin < down.end && isSeen(x, seenX)) DrawSpecialLine(dc, x, down.begin, x, down.end);
}
