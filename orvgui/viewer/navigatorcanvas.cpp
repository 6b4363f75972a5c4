#include "orvgui/viewer/navigatorcanvas.h"

#include <wx/bitmap.h>
#include <wx/dc.h>
#include <wx/image.h>

#include <cstring>

#include "orvgui/viewer/canvas.h"
#include "orvgui/viewer/viewerhost.h"

int NavigatorCanvas::m_width = 120;

// clang-format off
wxBEGIN_EVENT_TABLE(NavigatorCanvas, wxWindow)
    EVT_PAINT(NavigatorCanvas::OnPaint)
    EVT_MOUSE_EVENTS(NavigatorCanvas::OnMouseEvent)
    EVT_ERASE_BACKGROUND(NavigatorCanvas::OnEraseBackground)
wxEND_EVENT_TABLE()
    // clang-format on

    namespace {
    ShownView ViewOf(Canvas & canvas, const WindowProperties& shared) {
        const wxSize client = canvas.GetClientSize();
        const wxPoint start = canvas.GetViewStart();
        ShownView view;
        view.image = canvas.GetProperties()->GetPixelSize();
        view.client = {client.x, client.y};
        view.viewStart = {start.x, start.y};
        view.offset = shared.offset;
        view.zoom = shared.zoom;
        view.scrollRate = shared.scrollRate;
        return view;
    }

    std::uint8_t Darkened(std::uint8_t value) {
        return static_cast<std::uint8_t>(value / 1.5);
    }

}  // namespace

NavigatorCanvas::NavigatorCanvas(wxWindow* parent)
    : wxWindow(parent, wxID_ANY, wxDefaultPosition, wxSize(m_width, m_width * 3 / 4), wxBORDER_NONE) {
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    SetMinSize(wxSize(m_width, m_width * 3 / 4));
}

wxSize NavigatorCanvas::GetWindowSize(wxSize imageSize) {
    const IntPair size = NavigatorSize({imageSize.x, imageSize.y});
    return {size.x, size.y};
}

void NavigatorCanvas::Paint(Canvas* canvas, wxDC* dc, wxRect) {
    if (canvas == nullptr) {
        wxFAIL_COND_MSG("canvas", "NavigatorCanvas::Paint");
        return;
    }
    m_windowSize = GetClientSize();
    const IntPair size{m_windowSize.x, m_windowSize.y};
    const WindowProperties* shared = GetSharedWindowProperties();
    if (!canvas->HasImage() || shared == nullptr) {
        const wxColour background = GetBackgroundColour();
        dc->SetPen(wxPen(background));
        dc->SetBrush(wxBrush(background));
        dc->DrawRectangle(0, 0, size.x, size.y);
        return;
    }
    if (size.x <= 0 || size.y <= 0) return;
    const std::shared_ptr<DisplayPyramid> shown = canvas->GetProperties()->GetPyramid();
    const DisplayPyramid& pyramid = *shown;
    if (m_thumbnailOf.lock() != shown || m_thumbnailVersion != pyramid.GetVersion() ||
        m_thumbnailSize != size) {
        m_thumbnailVersion = pyramid.GetVersion();
        m_thumbnail = pyramid.Thumbnail(size);
        m_thumbnailOf = shown;
        m_thumbnailSize = size;
    }
    wxImage picture(size.x, size.y, false);
    std::uint8_t* pixels = picture.GetData();
    std::memcpy(pixels, m_thumbnail.data(), m_thumbnail.size());
    if (const auto mark = MarkOnNavigator(ViewOf(*canvas, *shared), size)) {
        for (int y = 0; y < size.y; ++y) {
            for (int x = 0; x < size.x; ++x, pixels += 3) {
                if (mark->Contains(x, y)) continue;
                for (int c = 0; c < 3; ++c) pixels[c] = Darkened(pixels[c]);
            }
        }
    }
    dc->DrawBitmap(wxBitmap(picture), 0, 0, false);
}

void NavigatorCanvas::MouseEvent(wxMouseEvent& event, Canvas* canvas) {
    WindowProperties* shared = GetSharedWindowProperties();
    if (canvas == nullptr || shared == nullptr || !canvas->HasImage()) return;
    if (!event.LeftIsDown() || !(event.LeftDown() || event.Dragging() || event.LeftDClick())) return;
    const wxSize client = GetClientSize();
    const IntPair scroll =
        ScrollForNavigatorPoint(ViewOf(*canvas, *shared), {client.x, client.y}, {event.GetX(), event.GetY()});
    canvas->ScrollTo(scroll.x, scroll.y);
    // Where the image ends, the view could not follow all the way.
    const wxPoint start = canvas->GetViewStart();
    shared->scrollPosition = {start.x, start.y};
    shared->zoomCentre = {0, 0};
    canvas->Refresh(false);
}

void NavigatorCanvas::OnDraw(wxDC& dc) {
    const wxWindow* window = GetParent();
    while (window != nullptr && dynamic_cast<const OrvViewerHost*>(window) == nullptr)
        window = window->GetParent();
    auto* page = dynamic_cast<OrvViewerHost*>(const_cast<wxWindow*>(window));
    if (page == nullptr) return;
    if (Canvas* canvas = page->GetCanvasFromActiveWin()) Paint(canvas, &dc, wxRect(GetClientSize()));
}

NavigatorCanvas* GetNavigatorCanvasFromEventObject(wxEvent& event) {
    return dynamic_cast<NavigatorCanvas*>(event.GetEventObject());
}
