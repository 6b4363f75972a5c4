#include "orvgui/viewer/inspectorpanel.h"

#include <wx/font.h>
#include <wx/intl.h>
#include <wx/sizer.h>
#include <wx/stattext.h>

#include <algorithm>
#include <cmath>

#include "orvgui/common/framehost.h"
#include "orvgui/viewer/canvas.h"
#include "orvgui/viewer/viewerhost.h"

namespace {

constexpr int kGap = 4;
constexpr int kSwatch = 16;
constexpr int kPlaceDigits = 31;   // first line: place and colour
constexpr int kGreyDigits = 8;     // second line, which goes on with
constexpr int kMapDigits = 28;     // name, value and unit of a map
constexpr int kStoredDigits = 34;  // stored samples of 16 bits, or with an alpha

int Sample(const cv::Mat& mat, int x, int y, int channel) {
    const int at = x * mat.channels() + channel;
    return mat.depth() == CV_16U ? mat.ptr<std::uint16_t>(y)[at] : mat.ptr<std::uint8_t>(y)[at];
}

}  // namespace

bool HasStoredSamples(const Image& image) {
    return image.GetDepth() == 16 || image.GetChannels() == 2 || image.GetChannels() == 4;
}

wxString DescribeSamples(const Image& image, int x, int y) {
    const cv::Mat& mat = image.GetMat();
    const int channels = mat.channels();
    wxString text;
    const auto add = [&](int channel) {
        if (!text.empty()) text += ' ';
        text += wxString::Format("%d", Sample(mat, x, y, channel));
    };
    if (channels <= 2) {
        add(0);
    } else {
        for (const int channel : {2, 1, 0}) add(channel);
    }
    if (channels == 2 || channels == 4) {
        text += wxString::Format(" A %d", Sample(mat, x, y, channels - 1));
    }
    return text;
}

InspectorPanel::InspectorPanel(wxWindow* parent, OrvViewerHost* page) : OrvToolPanelBase(parent, page) {}

void InspectorPanel::CreateControls() {
    auto* sizer = new wxBoxSizer(wxHORIZONTAL);
    m_colour = new wxPanel(this, wxID_ANY, wxDefaultPosition, wxSize(kSwatch, kSwatch), wxBORDER_SIMPLE);
    m_colour->SetMinSize(wxSize(kSwatch, kSwatch));
    m_text =
        new wxStaticText(this, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize, wxST_NO_AUTORESIZE);
    m_text->SetFont(wxFont(wxFontInfo(8).Family(wxFONTFAMILY_TELETYPE)));
    // A fixed size: the strip must not be laid out anew with every motion of the mouse.
    m_text->SetMinSize(TextSize(0));
    sizer->Add(m_colour, 0, wxALIGN_CENTER_VERTICAL | wxRESERVE_SPACE_EVEN_IF_HIDDEN);
    sizer->Add(m_text, 1, wxALIGN_CENTER_VERTICAL | wxLEFT, kGap);
    SetSizer(sizer);
    m_colour->Hide();  // without a colour it would be taken for a box to be ticked
}

void InspectorPanel::ConfigureControls() {
    const auto canvases = m_page->GetCanvases();
    const bool wasDeep = m_isDeep;
    m_isDeep = std::any_of(canvases.begin(), canvases.end(), [](Canvas* canvas) {
        return canvas->HasImage() && HasStoredSamples(canvas->GetProperties()->GetIplImage());
    });
    const bool isMapped = std::any_of(canvases.begin(), canvases.end(), [this](Canvas* canvas) {
        const IntPair size = canvas->GetProperties()->GetPixelSize();
        return canvas->HasImage() && !m_page->DescribeMap(canvas, size.x / 2, size.y / 2).empty();
    });
    const wxSize size = TextSize((m_isDeep ? kStoredDigits : 0) + (isMapped ? kMapDigits : 0));
    if (m_text->GetMinSize() == size && m_isDeep == wasDeep) return;
    m_text->SetMinSize(size);
    FitStrip();  // which may need another row for it
}

// Two lines, the second one with as many digits after the grey level.
wxSize InspectorPanel::TextSize(int moreDigits) const {
    const int digits = std::max(kPlaceDigits, kGreyDigits + moreDigits);
    const wxSize line = m_text->GetTextExtent(wxString('0', static_cast<std::size_t>(digits)));
    return wxSize(line.x, 2 * line.y);
}

void InspectorPanel::RefreshValues() {
    ShowPixel(m_canvas);
}

void InspectorPanel::ClearValues() {
    m_canvas = nullptr;
    ShowNothing();
}

wxString InspectorPanel::GetText() const {
    wxString text = m_text->GetLabelText();
    text.Replace("\n", "  ");
    return text;
}

void InspectorPanel::ShowNothing() {
    if (m_text->GetLabelText().empty()) return;
    m_text->SetLabelText(wxString());
    m_colour->Hide();
    if (OrvFrameHost* frame = GetFrameHost()) frame->SetStatusField(OrvStatusField::Pixel, wxString());
}

wxString InspectorPanel::DescribePixel(Canvas* canvas, int x, int y) {
    const IntPair point{x, y};
    if (!canvas->HasImage() || !IsPixel(point, canvas->GetProperties()->GetPixelSize())) return {};
    if (canvas->IsPlot()) {
        double value = -1.0;
        canvas->GetValue(value, x, y);
        // TRANSLATORS: column of a bar chart and its value.
        return value < 0.0 ? wxString() : wxString::Format(_("column %d  value %g"), x, value);
    }
    int red = -1;
    int green = -1;
    int blue = -1;
    canvas->GetRGB(red, green, blue, x, y);
    const int grey = static_cast<int>(std::lround(0.299 * red + 0.587 * green + 0.114 * blue));
    const Image& image = canvas->GetProperties()->GetIplImage();
    wxString text = wxString::Format("%d, %d  R %d G %d B %d\n", x, y, red, green, blue);
    text += wxString::Format(_("grey %d"), grey);
    if (HasStoredSamples(image)) {
        text += wxString::Format("  %d bit %s", image.GetDepth(), DescribeSamples(image, x, y));
    }
    return text;
}

void InspectorPanel::Pan(const wxMouseEvent& event, Canvas* canvas) {
    WindowProperties* shared = GetSharedWindowProperties();
    if (shared == nullptr || shared->scrollRate <= 0) return;
    // The release itself may still report the button as held.
    if (event.LeftUp() || !event.LeftIsDown()) m_isPanning = false;
    const bool isPress = event.LeftDown() || event.LeftDClick();
    if (!isPress && !m_isPanning) return;
    // A wheel turn during the drag makes scroll units of another size: the drag goes on from there.
    if (isPress || m_pressZoom != shared->zoom) {
        const wxPoint start = canvas->GetViewStart();
        m_isPanning = true;
        m_pressPoint = {event.GetX(), event.GetY()};
        m_pressStart = {start.x, start.y};
        m_pressZoom = shared->zoom;
        return;
    }
    const wxPoint before = canvas->GetViewStart();
    canvas->ScrollTo(m_pressStart.x - (event.GetX() - m_pressPoint.x) / shared->scrollRate,
                     m_pressStart.y - (event.GetY() - m_pressPoint.y) / shared->scrollRate);
    const wxPoint start = canvas->GetViewStart();
    if (start == before) return;
    // A new result keeps this view, and the next zoom step its middle.
    shared->scrollPosition = {start.x, start.y};
    shared->zoomCentre = {0, 0};
}

void InspectorPanel::ViewerMouseOn(wxMouseEvent& event, Canvas* canvas, bool useZoomCentre) {
    if (useZoomCentre || canvas == nullptr || !canvas->HasImage()) return;
    if (IsToolChosen(OrvTool::Navigate)) {
        Pan(event, canvas);
    } else {
        m_isPanning = false;
    }
    m_canvas = canvas;
    m_mousePoint = {event.GetX(), event.GetY()};
    ShowPixel(canvas);
}

void InspectorPanel::ShowPixel(Canvas* canvas) {
    if (canvas == nullptr || !canvas->HasImage()) return ShowNothing();
    int x = 0;
    int y = 0;
    const bool isOffImage = canvas->GetPixelCoordinates(m_mousePoint.x, m_mousePoint.y, x, y, true, false);
    wxString text = isOffImage ? wxString() : DescribePixel(canvas, x, y);
    if (text.empty()) return ShowNothing();
    const wxString map = m_page->DescribeMap(canvas, x, y);
    if (!map.empty()) text += "  " + map;
    if (m_text->GetLabelText() != text) {
        m_text->SetLabelText(text);
        if (OrvFrameHost* frame = GetFrameHost()) frame->SetStatusField(OrvStatusField::Pixel, GetText());
    }
    int red = 0;
    int green = 0;
    int blue = 0;
    canvas->GetRGB(red, green, blue, x, y);
    const wxColour colour(static_cast<unsigned char>(red), static_cast<unsigned char>(green),
                          static_cast<unsigned char>(blue));
    if (m_colour->GetBackgroundColour() != colour) {
        m_colour->SetBackgroundColour(colour);
        m_colour->Refresh();
    }
    m_colour->Show();
}
