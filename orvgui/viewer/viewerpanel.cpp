#include "orvgui/viewer/viewerpanel.h"

#include <algorithm>

namespace {

constexpr int kGap = 4;  // pixels between the two canvases
constexpr int kMinimumSide = 300;

// The canvas's own frame lies outside its panel: the picture's room is exactly the panel, which is what the fit is made for.
void FillParent(Canvas* canvas) {
    const wxSize panel = canvas->GetParent()->GetClientSize();
    const wxSize border = canvas->GetWindowBorderSize();
    canvas->SetSize(-border.x / 2, -border.y / 2, panel.x + border.x, panel.y + border.y);
}

}  // namespace

ViewerPanel::ViewerPanel(wxWindow* parent)
    : wxPanel(parent, wxID_ANY, wxDefaultPosition, wxSize(1, 1), wxTAB_TRAVERSAL) {
    SetMinSize(wxSize(kMinimumSide, kMinimumSide));
}

wxPanel* ViewerPanel::CreateCanvasWin(int canvasId, bool isInput, bool isPlot, const wxString& name,
                                      Canvas*& canvas) {
    // A fresh window is 20 x 20 here: an early fit to that size would stick.
    auto* panel =
        new wxPanel(this, wxID_ANY, wxDefaultPosition, wxSize(1, 1), wxTAB_TRAVERSAL | wxCLIP_CHILDREN);
    panel->SetSize(1, 1);
    canvas = new Canvas(panel, canvasId, isInput, isPlot, name);
    Canvas* const child = canvas;
    FillParent(child);
    panel->Bind(wxEVT_SIZE, [child](wxSizeEvent&) { FillParent(child); });
    return panel;
}

SingleViewerPanel::SingleViewerPanel(wxWindow* parent, bool isPlot) : ViewerPanel(parent) {
    m_canvasWin = CreateCanvasWin(kFirstCanvasId, false, isPlot, "canvas", m_canvas);
    Bind(wxEVT_SIZE, [this](wxSizeEvent&) { m_canvasWin->SetSize(GetClientSize()); });
}

void SingleViewerPanel::ConfigureViewer(Image& first, Image&) {
    if (!first.IsValid()) {
        m_canvas->Reset();
        return;
    }
    m_canvas->SetImage(first);
    if (WindowProperties* shared = GetSharedWindowProperties()) {
        shared->syncViews = false;
        shared->SetImageSize(first.GetWidth(), first.GetHeight());
    }
    m_canvas->InitZoom();
}

void SingleViewerPanel::SetInputOutputImages(Image& evidenceInput, Image& evidenceOutput, Image&, Image&) {
    m_canvas->GetProperties()->SetImage1(evidenceInput);
    m_canvas->GetProperties()->SetImage2(evidenceOutput);
}

SplitterViewerPanel::SplitterViewerPanel(wxWindow* parent, bool isPlot) : ViewerPanel(parent) {
    m_canvasWin1 = CreateCanvasWin(kFirstCanvasId, true, isPlot, "canvas1", m_canvas1);
    m_canvasWin2 = CreateCanvasWin(kSecondCanvasId, false, isPlot, "canvas2", m_canvas2);
    Bind(wxEVT_SIZE, [this](wxSizeEvent&) { LayOutPanels(); });
}

Canvas* SplitterViewerPanel::FindCanvas(int id) {
    if (id == kFirstCanvasId) return m_canvas1;
    return id == kSecondCanvasId ? m_canvas2 : nullptr;
}

void SplitterViewerPanel::SetLayout(ViewLayout layout) {
    m_layout = layout;
    LayOutPanels();
}

void SplitterViewerPanel::LayOutPanels() {
    const wxSize size = GetClientSize();
    const PanelWidths widths = WidthsForTotal(m_layout, size.x, kGap);
    const auto place = [&size](wxPanel* panel, int x, int width) {
        const wxSize wanted(width, width == 1 ? 1 : size.y);
        panel->SetMinSize(wanted);
        panel->SetSize(x, 0, wanted.x, wanted.y);
    };
    // An odd pixel goes between the halves: they must be equal to stay in step.
    const int second = m_layout == ViewLayout::Split ? size.x - widths.second : 0;
    place(m_canvasWin1, 0, widths.first);
    place(m_canvasWin2, second, widths.second);
}

void SplitterViewerPanel::ResetImages() {
    m_canvas1->Reset();
    m_canvas2->Reset();
}

void SplitterViewerPanel::ConfigureViewer(Image& first, Image& second) {
    const auto put = [](Canvas* canvas, const Image& image) {
        if (image.IsValid()) {
            canvas->SetImage(image);
        } else {
            canvas->Reset();
        }
    };
    put(m_canvas1, first);
    put(m_canvas2, second);
    WindowProperties* shared = GetSharedWindowProperties();
    if (shared == nullptr || (!first.IsValid() && !second.IsValid())) return;
    shared->SetImageSize(std::max(first.GetWidth(), second.GetWidth()),
                         std::max(first.GetHeight(), second.GetHeight()));

    // The leader comes last: where the images differ in size, its zoom is the one that counts.
    Canvas* leader = m_leader == kSecondCanvasId ? m_canvas2 : m_canvas1;
    Canvas* other = leader == m_canvas1 ? m_canvas2 : m_canvas1;
    if (!leader->HasImage()) std::swap(leader, other);
    if (shared->zoom == -1.0 || shared->IsImageSizeChanged()) {
        other->InitZoom();
        leader->InitZoom();
    } else {
        const IntPair centre = shared->zoomCentre;
        const IntPair scroll = shared->scrollPosition;
        const double zoom = shared->zoom;
        other->SetZoom(centre.x, centre.y, zoom, scroll.x, scroll.y);
        leader->SetZoom(centre.x, centre.y, zoom, scroll.x, scroll.y);
    }
    if (shared->syncViews) other->FollowZoom(leader->GetViewStart());
}

void SplitterViewerPanel::SetInputOutputImages(Image& evidenceInput, Image& evidenceOutput,
                                               Image& referenceInput, Image& referenceOutput) {
    GetCanvasProp1()->SetImage1(evidenceInput);
    GetCanvasProp1()->SetImage2(referenceInput);
    GetCanvasProp2()->SetImage1(evidenceOutput);
    GetCanvasProp2()->SetImage2(referenceOutput);
}
