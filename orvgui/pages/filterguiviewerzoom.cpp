// Zoom, the fit that is kept, and scrolling by keys.

#include "orvgui/pages/filterguiviewer.h"

#include <algorithm>

#include "orvgui/viewer/annotationpanel.h"
#include "orvgui/viewer/canvas.h"
#include "orvgui/viewer/selectorpanel.h"
#include "orvgui/viewer/toolpanel.h"
#include "orvgui/viewer/viewgeometry.h"
#include "orvgui/viewer/zoompanel.h"

namespace {

constexpr int kKeyScrollPixels = 48;

}  // namespace

double OrvFilterGuiViewer::m_fitZoom = -1.0;

template <typename Operation>
void OrvFilterGuiViewer::ApplyZoom(const Operation& operation) {
    Canvas* canvas = GetLeadCanvas();
    if (canvas == nullptr || m_toolPanel == nullptr || !canvas->HasImage()) return;
    operation(*m_toolPanel->GetZoomPanel(), canvas);
    ViewChanged(false);
}

void OrvFilterGuiViewer::WindowFit() {
    ApplyZoom([this](ZoomPanel&, Canvas* canvas) {
        m_toolPanel->WindowFit(canvas);
        m_fitZoom = GetSharedWindowProperties()->zoom;
        m_toolPanel->GetZoomPanel()->ShowFit(true);
    });
}

// The whole selection as large as it fits, in the middle.
void OrvFilterGuiViewer::ZoomToSelection() {
    Canvas* canvas = GetLeadCanvas();
    const WindowProperties* shared = GetSharedWindowProperties();
    if (canvas == nullptr || shared == nullptr || m_toolPanel == nullptr || !canvas->HasImage()) return;
    const IntRect region = m_toolPanel->GetSelectorPanel()->GetSelector(canvas);
    if (region.IsEmpty()) return;
    const IntPair area = canvas->GetZoomArea();
    const double zoom = std::min(FitZoom(area, {region.width, region.height}), shared->zoomUpperLimit);
    const IntPair centre{region.x + region.width / 2, region.y + region.height / 2};
    canvas->SetZoom(centre.x, centre.y, zoom, 0, 0);
    const auto toMiddle = [shared](int place, int offset, int room) {
        return std::max(RoundToInt(((place + offset) * shared->zoom - room / 2.0) / shared->scrollRate), 0);
    };
    canvas->ScrollTo(toMiddle(centre.x, shared->offset.x, area.x),
                     toMiddle(centre.y, shared->offset.y, area.y));
    ViewChanged(true);
}

bool OrvFilterGuiViewer::IsFit() {
    const WindowProperties* shared = GetSharedWindowProperties();
    return shared != nullptr && shared->zoom > 0.0 && shared->zoom == m_fitZoom;
}

void OrvFilterGuiViewer::KeepFit() {
    Canvas* canvas = GetLeadCanvas();
    if (!IsFit() || canvas == nullptr || !canvas->HasImage()) return;
    const double wanted = FitZoom(canvas->GetZoomArea(), canvas->GetProperties()->GetPixelSize());
    if (wanted > 0.0 && wanted != m_fitZoom) WindowFit();
}

// However it came to it: a picture that is shown afresh and larger than its window is fitted, too.
void OrvFilterGuiViewer::NoteFit() {
    const WindowProperties* shared = GetSharedWindowProperties();
    Canvas* canvas = GetLeadCanvas();
    if (shared == nullptr || canvas == nullptr || !canvas->HasImage() || !(shared->zoom > 0.0)) return;
    if (shared->zoom == FitZoom(canvas->GetZoomArea(), canvas->GetProperties()->GetPixelSize()))
        m_fitZoom = shared->zoom;
    m_toolPanel->GetZoomPanel()->ShowFit(IsFit());
}

void OrvFilterGuiViewer::ViewerResized(Canvas* canvas) {
    if (m_toolPanel == nullptr || canvas != GetLeadCanvas()) return;
    NoteFit();
    KeepFit();
    // The canvas may have come to another zoom by itself.
    ViewChanged(false);
}

void OrvFilterGuiViewer::Zoom100() {
    ApplyZoom([](ZoomPanel& zoom, Canvas* canvas) { zoom.Zoom100(canvas); });
}

void OrvFilterGuiViewer::ZoomEnter(const wxString& text) {
    ApplyZoom([&text](ZoomPanel& zoom, Canvas* canvas) { zoom.ZoomEnter(text, canvas); });
}

void OrvFilterGuiViewer::ZoomMinus() {
    ApplyZoom([](ZoomPanel& zoom, Canvas* canvas) { zoom.ZoomMinus(canvas, false); });
}

void OrvFilterGuiViewer::ZoomPlus() {
    ApplyZoom([](ZoomPanel& zoom, Canvas* canvas) { zoom.ZoomPlus(canvas, false); });
}

void OrvFilterGuiViewer::ZoomSlider(int step) {
    ApplyZoom([step](ZoomPanel& zoom, Canvas* canvas) { zoom.ZoomSlider(step, canvas); });
}

void OrvFilterGuiViewer::ViewerScroll(wxScrollWinEvent& event, Canvas* canvas) {
    if (canvas == nullptr || !canvas->HasImage()) return;
    canvas->HandleOnScroll(event);
    ViewChanged(true);
}

bool OrvFilterGuiViewer::ScrollByKey(int key, bool fine, Canvas* canvas) {
    const WindowProperties* shared = GetSharedWindowProperties();
    if (shared == nullptr || shared->scrollRate <= 0) return false;
    const int step = fine ? 1 : std::max(kKeyScrollPixels / shared->scrollRate, 1);
    const wxSize client = canvas->GetClientSize();
    const wxPoint page(std::max(client.x / shared->scrollRate, 1),
                       std::max(client.y / shared->scrollRate, 1));
    wxPoint start = canvas->GetViewStart();
    switch (key) {
        case WXK_LEFT:
        case WXK_NUMPAD_LEFT:
            start.x -= step;
            break;
        case WXK_RIGHT:
        case WXK_NUMPAD_RIGHT:
            start.x += step;
            break;
        case WXK_UP:
        case WXK_NUMPAD_UP:
            start.y -= step;
            break;
        case WXK_DOWN:
        case WXK_NUMPAD_DOWN:
            start.y += step;
            break;
        case WXK_PAGEUP:
        case WXK_NUMPAD_PAGEUP:
            (fine ? start.x : start.y) -= fine ? page.x : page.y;
            break;
        case WXK_PAGEDOWN:
        case WXK_NUMPAD_PAGEDOWN:
            (fine ? start.x : start.y) += fine ? page.x : page.y;
            break;
        default:
            return false;
    }
    canvas->ScrollTo(start.x, start.y);
    ViewChanged(true);
    return true;
}

bool OrvFilterGuiViewer::ViewerKey(wxKeyEvent& event, Canvas* canvas) {
    if (AnnotationPanel* marks = FindAnnotationPanel(m_toolPanel); marks != nullptr && marks->UseKey(event))
        return true;
    if (canvas == nullptr || event.ControlDown() || event.AltDown() || event.MetaDown()) return false;
    m_activeWinId = canvas->GetId();
    canvas = GetLeadCanvas();
    if (canvas == nullptr) return false;
    const int key = event.GetKeyCode();
    if (event.GetEventType() == wxEVT_KEY_DOWN) return ScrollByKey(key, event.ShiftDown(), canvas);
    if (event.GetEventType() != wxEVT_CHAR) return false;
    switch (key) {
        case '+':
        case '=':
        case WXK_NUMPAD_ADD:
            ZoomPlus();
            return true;
        case '-':
        case WXK_NUMPAD_SUBTRACT:
            ZoomMinus();
            return true;
        case '0':
        case WXK_NUMPAD0:
            Zoom100();
            return true;
        case 'f':
        case 'F':
            WindowFit();
            return true;
        case 's':
        case 'S':
            ZoomToSelection();
            return true;
        default:
            return false;
    }
}
