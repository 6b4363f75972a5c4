#include "orvgui/viewer/viewerpanel.h"

#include <wx/stattext.h>

#include <algorithm>

namespace {

constexpr int kGap = 4;  // pixels between the two canvases
constexpr int kLeastSide = 64;
constexpr int kMinimumSide = 300;
constexpr int kCaptionRoom = 6;  // above and below a caption's letters

// The canvas's own frame lies outside its panel: the picture's room is exactly the panel, which is what the fit is made for.
void FillParent(Canvas* canvas) {
    // A half that is hidden or on its way to a first size is smaller than scroll bars are, of which the library below would complain.
    wxSize panel = canvas->GetParent()->GetClientSize();
    panel.IncTo(wxSize(kLeastSide, kLeastSide));
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

wxStaticText* ViewerPanel::CreateCaption() {
    auto* caption = new wxStaticText(this, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize,
                                     wxST_NO_AUTORESIZE | wxST_ELLIPSIZE_MIDDLE);
    caption->SetFont(caption->GetFont().Smaller());
    return caption;
}

int ViewerPanel::GetCaptionHeight() const {
    return GetFont().Smaller().GetPixelSize().y + kCaptionRoom;
}

SingleViewerPanel::SingleViewerPanel(wxWindow* parent, bool isPlot) : ViewerPanel(parent) {
    m_canvasWin = CreateCanvasWin(kFirstCanvasId, false, isPlot, "canvas", m_canvas);
    m_caption = CreateCaption();
    Bind(wxEVT_SIZE, [this](wxSizeEvent&) {
        const wxSize size = GetClientSize();
        const int top = GetCaptionHeight();
        m_caption->SetSize(0, 0, size.x, top);
        m_canvasWin->SetSize(0, top, size.x, std::max(size.y - top, 1));
    });
}

void SingleViewerPanel::SetCaption(int canvas, const wxString& text) {
    if (canvas == 0 && m_caption->GetLabelText() != text) m_caption->SetLabelText(text);
}

wxString SingleViewerPanel::GetCaption(int canvas) const {
    return canvas == 0 ? m_caption->GetLabelText() : wxString();
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
    for (wxStaticText*& caption : m_captions) caption = CreateCaption();
    Bind(wxEVT_SIZE, [this](wxSizeEvent&) { LayOutPanels(); });
}

void SplitterViewerPanel::SetCaption(int canvas, const wxString& text) {
    if (m_captions[canvas]->GetLabelText() != text) m_captions[canvas]->SetLabelText(text);
}

wxString SplitterViewerPanel::GetCaption(int canvas) const {
    return m_captions[canvas]->GetLabelText();
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
    const int top = GetCaptionHeight();
    const auto place = [&size, top](wxPanel* panel, wxStaticText* caption, int x, int width) {
        const wxSize wanted(width, width == 1 ? 1 : std::max(size.y - top, 1));
        panel->SetMinSize(wanted);
        panel->SetSize(x, top, wanted.x, wanted.y);
        caption->SetSize(x, 0, width, top);
        caption->Show(width > 1);
    };
    // An odd pixel goes between the halves: they must be equal to stay in step.
    const int second = m_layout == ViewLayout::Split ? size.x - widths.second : 0;
    place(m_canvasWin1, m_captions[0], 0, widths.first);
    place(m_canvasWin2, m_captions[1], second, widths.second);
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
