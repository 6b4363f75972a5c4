#include "orvgui/viewer/canvas.h"

#include <algorithm>

#include "orvgui/common/framehost.h"
#include "orvgui/viewer/viewerhost.h"

namespace {

WindowProperties* g_sharedRecord = nullptr;

}  // namespace

WindowProperties* GetSharedWindowProperties() {
    if (g_sharedRecord != nullptr) return g_sharedRecord;
    const OrvFrameHost* frame = GetFrameHost();
    return frame ? frame->GetWindowProperties() : nullptr;
}

void SetSharedWindowProperties(WindowProperties* record) {
    g_sharedRecord = record;
}

SmallImageRule& GetSmallImageRule() {
    static SmallImageRule rule;
    return rule;
}

// clang-format off
wxBEGIN_EVENT_TABLE(Canvas, wxScrolledWindow)
    EVT_SIZE(Canvas::OnSize)
    EVT_SCROLLWIN(Canvas::OnScroll)
    EVT_ENTER_WINDOW(Canvas::OnMouseEnterWindow)
    EVT_LEAVE_WINDOW(Canvas::OnMouseLeaveWindow)
    EVT_MOUSE_EVENTS(Canvas::OnMouseOn)
    EVT_MAGNIFY(Canvas::OnMouseOn)
    EVT_ERASE_BACKGROUND(Canvas::OnEraseBackground)
wxEND_EVENT_TABLE()
    // clang-format on

    Canvas::Canvas(wxWindow* parent, int id, bool isInput, bool isPlot, const wxString& name)
    : wxScrolledWindow(parent, id, wxDefaultPosition, wxDefaultSize,
                       wxVSCROLL | wxHSCROLL | wxBORDER_SUNKEN | wxCLIP_CHILDREN, name),
      m_isInput(isInput),
      m_isPlot(isPlot),
      m_properties(std::make_unique<CanvasProperties>(static_cast<const IplImage*>(nullptr), id)) {
    EnableScrolling(true, true);
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    SetBackgroundColour(*wxLIGHT_GREY);
    Bind(wxEVT_KEY_DOWN, &Canvas::OnKey, this);
    Bind(wxEVT_KEY_UP, &Canvas::OnKey, this);
    Bind(wxEVT_CHAR, &Canvas::OnKey, this);
}

Canvas::~Canvas() {
    Unwatch();
}

void Canvas::Watch() {
    if (m_watched == m_properties->GetPyramid()) return;
    Unwatch();
    m_watched = m_properties->GetPyramid();
    if (!m_watched) return;
    m_listener = m_watched->AddListener([this] { CallAfter([this] { Refresh(false); }); });
}

void Canvas::Unwatch() {
    if (m_watched) m_watched->RemoveListener(m_listener);
    m_watched.reset();
    m_listener = -1;
}

void Canvas::SetImage(const Image& image) {
    m_ownImage = image;
    m_isShowingOther = false;
    m_properties->SetImage(image);
    Unwatch();
    m_painted = Painted();
    Refresh(false);
}

void Canvas::Reset() {
    m_ownImage.Reset();
    m_isShowingOther = false;
    m_properties->Reset();
    Unwatch();
    m_painted = Painted();
    m_pending = Pending::None;
    Refresh(false);
}

void Canvas::ShowInstead(const Image& image) {
    if (m_isShowingOther || !image.IsValid()) return;
    const wxPoint start = GetViewStart();
    const Image own = m_ownImage;
    SetImage(image);
    m_ownImage = own;
    m_isShowingOther = true;
    FollowZoom(start);
}

void Canvas::ShowOwn() {
    if (!m_isShowingOther) return;
    const wxPoint start = GetViewStart();
    SetImage(Image(m_ownImage));
    FollowZoom(start);
}

void Canvas::SetEmptyMessage(const wxString& message) {
    if (message == m_emptyMessage) return;
    m_emptyMessage = message;
    Refresh(false);
}

IntPair Canvas::GetZoomArea() const {
    const wxSize size = GetParent() ? GetParent()->GetClientSize() : GetClientSize();
    return {size.x, size.y};
}

OrvViewerHost* Canvas::GetPage() const {
    const wxWindow* window = this;
    for (int i = 0; i < 3 && window != nullptr; ++i) window = window->GetParent();
    return dynamic_cast<OrvViewerHost*>(const_cast<wxWindow*>(window));
}

void Canvas::InitZoom() {
    WindowProperties* shared = GetSharedWindowProperties();
    if (!HasImage() || shared == nullptr) return;
    shared->SetZoomMinMax();
    const IntPair area = GetZoomArea();
    if (area.x <= 1 || area.y <= 1) {
        m_pending = Pending::Init;
        return;
    }
    if (shared->imageSize.x <= area.x && shared->imageSize.y <= area.y) {
        SetZoom(0, 0, 1.0, 0, 0);
    } else {
        SetBestZoom(-1, -1);
    }
}

void Canvas::SetBestZoom(int width, int height) {
    if (!HasImage()) return;
    IntPair area{width, height};
    if (width == -1 || height == -1) area = GetZoomArea();
    const IntPair image = m_properties->GetPixelSize();
    SetZoom(image.x / 2, image.y / 2, FitZoom(area, image), 0, 0);
}

void Canvas::ApplyScrollRange(double zoom, int rate) {
    const IntPair size =
        ZoomedSize(m_properties->GetPixelSize(), zoom, GetSharedWindowProperties()->VerticalZoom(zoom));
    int rateX = 0;
    int rateY = 0;
    GetScrollPixelsPerUnit(&rateX, &rateY);
    if (rateX != rate || rateY != rate) SetScrollRate(rate, rate);
    SetVirtualSize(size.x, size.y);
}

void Canvas::SetZoom(int centreX, int centreY, double zoom, int scrollX, int scrollY) {
    WindowProperties* shared = GetSharedWindowProperties();
    if (!HasImage() || shared == nullptr) return;
    const IntPair area = GetZoomArea();
    if (area.x <= 1 || area.y <= 1) {
        if (m_pending == Pending::None) m_pending = Pending::Follow;
        return;
    }
    if (!shared->IsZoomAccepted(zoom)) return;
    m_pending = Pending::None;

    // Side by side, both halves must come to the same zoom: the size that they share decides.
    const IntPair image = m_properties->GetPixelSize();
    const IntPair judged = shared->syncViews && shared->imageSize.x > 0 ? shared->imageSize : image;
    zoom = GetSmallImageRule().Apply(judged, zoom, FitZoom(area, judged));

    Freeze();
    const int rate = ScrollRateForZoom(zoom);
    ApplyScrollRange(zoom, rate);
    IntPair scroll{scrollX, scrollY};
    if (scrollX == 0 && scrollY == 0) {
        scroll = ScrollForCentre({GetScrollLines(wxHORIZONTAL), GetScrollLines(wxVERTICAL)},
                                 {GetScrollPageSize(wxHORIZONTAL), GetScrollPageSize(wxVERTICAL)},
                                 {centreX, centreY}, image);
    }
    ScrollTo(scroll.x, scroll.y);

    shared->zoom = zoom;
    shared->scrollRate = rate;
    shared->zoomCentre = {centreX, centreY};
    shared->scrollPosition = scroll;
    CalculateOffset();
    Thaw();
    Refresh(true);
}

void Canvas::FollowZoom(wxPoint viewStart) {
    const WindowProperties* shared = GetSharedWindowProperties();
    if (!HasImage() || shared == nullptr || !(shared->zoom > 0.0)) return;
    ApplyScrollRange(shared->zoom, shared->scrollRate);
    ScrollTo(viewStart.x, viewStart.y);
    Refresh(false);
}

void Canvas::AdjustScrollbars() {
    ++m_ownScrolling;
    wxScrolledWindow::AdjustScrollbars();
    --m_ownScrolling;
}

void Canvas::DoScroll(int x, int y) {
    ++m_ownScrolling;
    wxScrolledWindow::DoScroll(x, y);
    --m_ownScrolling;
}

void Canvas::ScrollTo(int x, int y) {
    Scroll(std::max(x, 0), std::max(y, 0));
}

void Canvas::CalculateOffset() {
    WindowProperties* shared = GetSharedWindowProperties();
    if (!HasImage() || shared == nullptr) return;
    const IntPair area = GetZoomArea();
    if (area.x <= 1 || area.y <= 1) return;
    shared->offset = CentringOffset(area, m_properties->GetPixelSize(), shared->zoom);
    m_properties->CorrectWindowBorder(true);
}

IntPair Canvas::ScrollPixels() const {
    const WindowProperties* shared = GetSharedWindowProperties();
    const wxPoint start = GetViewStart();
    const int rate = shared ? shared->scrollRate : 1;
    return {start.x * rate, start.y * rate};
}

bool Canvas::GetPixelCoordinates(int x, int y, int& px, int& py, bool clip, bool useZoomCentre) {
    const WindowProperties* shared = GetSharedWindowProperties();
    if (!HasImage() || shared == nullptr) return false;
    if (useZoomCentre) {
        px = shared->zoomCentre.x;
        py = shared->zoomCentre.y;
        return true;
    }
    if (!(shared->zoom > 0.0)) return false;
    const IntPair point = ImagePointAt({x, y}, ScrollPixels(), shared->zoom, shared->offset);
    px = point.x;
    py = point.y;
    return clip ? ClipCoordinates(px, py) : true;
}

wxPoint Canvas::GetWindowCoordinates(int x, int y) {
    const WindowProperties* shared = GetSharedWindowProperties();
    if (shared == nullptr) return {x, y};
    return {x + shared->offset.x, y + shared->offset.y};
}

bool Canvas::ClipCoordinates(int& x, int& y) {
    if (!HasImage()) return false;
    return ClipPoint(x, y, m_properties->GetPixelSize());
}

bool Canvas::DoesImageFit() const {
    const WindowProperties* shared = GetSharedWindowProperties();
    if (!HasImage() || shared == nullptr) return true;
    const IntPair area = GetZoomArea();
    const IntPair size =
        ZoomedSize(m_properties->GetPixelSize(), shared->zoom, shared->VerticalZoom(shared->zoom));
    return size.x <= area.x && size.y <= area.y;
}

IntPair Canvas::GetViewCentre() {
    const wxSize client = GetClientSize();
    int x = 0;
    int y = 0;
    GetPixelCoordinates(client.x / 2, client.y / 2, x, y, true, false);
    return {x, y};
}

void Canvas::GetRGB(int& r, int& g, int& b, int x, int y) {
    DisplayColour colour;
    // Callers clip to the size itself, which is one past the last pixel.
    if (HasImage() && IsPixel({x, y}, m_properties->GetPixelSize())) {
        colour = DisplayColourAt(m_properties->GetIplImage().GetMat(), x, y);
    }
    r = colour.red;
    g = colour.green;
    b = colour.blue;
}

void Canvas::GetValue(double& value, int& x, int y) {
    value = -1.0;
    if (!HasImage() || !IsPixel({x, y}, m_properties->GetPixelSize())) return;
    const cv::Mat& image = m_properties->GetIplImage().GetMat();
    const auto red = [&image, x](int row) { return DisplayColourAt(image, x, row).red; };
    if (red(y) == 255) return;
    while (y > 0 && red(y) == 0) --y;
    x /= 3;
    value = (image.rows - y) / m_properties->GetScale();
}

void Canvas::SetMarks(const std::vector<OrvMapLine>& lines, const std::vector<OrvMapRegion>& regions) {
    if (lines.empty() && regions.empty() && m_lines.empty() && m_regions.empty()) return;
    m_lines = lines;
    m_regions = regions;
    Refresh(false);
}

void Canvas::SetDrawRect(wxRect rect, bool enabled) {
    m_drawRect = rect;
    m_drawRectEnabled = enabled;
}

void Canvas::OnSize(wxSizeEvent&) {
    static bool isRunning = false;
    if (!isRunning && HasImage()) {
        isRunning = true;
        const Pending pending = GetZoomArea().x > 1 && GetZoomArea().y > 1 ? m_pending : Pending::None;
        const WindowProperties* shared = GetSharedWindowProperties();
        if (pending == Pending::Init) {
            m_pending = Pending::None;
            // Side by side the canvas in use decides the zoom, whichever of the two gets its size last.
            OrvViewerHost* page = GetPage();
            Canvas* leader = page && shared && shared->syncViews ? page->GetCanvasFromActiveWin() : nullptr;
            if (leader == nullptr || leader == this || !leader->HasImage()) InitZoom();
        } else {
            if (pending == Pending::Follow && shared != nullptr) {
                m_pending = Pending::None;
                FollowZoom({shared->scrollPosition.x, shared->scrollPosition.y});
            }
            CalculateOffset();
        }
        if (OrvViewerHost* page = GetPage()) page->ViewerResized(this);
        Refresh(true);
    }
    isRunning = false;
}

void Canvas::OnScroll(wxScrollWinEvent& event) {
    auto* canvas = dynamic_cast<Canvas*>(event.GetEventObject());
    if (canvas == nullptr) canvas = this;
    if (canvas->m_ownScrolling > 0) return;
    if (OrvViewerHost* page = canvas->GetPage()) {
        page->ViewerScroll(event, canvas);
    } else {
        canvas->HandleOnScroll(event);
    }
}

void Canvas::OnMouseEnterWindow(wxMouseEvent&) {
    m_mouseInside = true;
}

void Canvas::OnMouseLeaveWindow(wxMouseEvent&) {
    m_mouseInside = false;
    if (OrvViewerHost* page = GetPage()) page->ViewerMouseLeft();
}

void Canvas::OnMouseOn(wxMouseEvent& event) {
    if (!m_mouseInside) return;
    auto* canvas = dynamic_cast<Canvas*>(event.GetEventObject());
    if (canvas == nullptr) return;
    if (OrvViewerHost* page = canvas->GetPage()) page->ViewerMouseOn(event, canvas);
}

void Canvas::OnKey(wxKeyEvent& event) {
    OrvViewerHost* page = GetPage();
    if (page == nullptr || !page->ViewerKey(event, this)) event.Skip();
}
