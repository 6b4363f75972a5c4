#include "orvgui/viewer/zoompanel.h"

#include <algorithm>

#include <wx/button.h>
#include <wx/choice.h>
#include <wx/intl.h>
#include <wx/sizer.h>
#include <wx/slider.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>
#include <wx/tglbtn.h>

#include "orvgui/common/accessible.h"
#include "orvgui/common/textfocus.h"
#include "orvgui/viewer/canvas.h"
#include "orvgui/viewer/viewerhost.h"
#include "orvgui/viewer/viewgeometry.h"
#include "orvgui/viewer/viewmodes.h"
#include "zorbase/text.h"

// A missing canvas or record is a programming error: reported by name, then ignored.
#define CHECK_POINTER(pointer, name, operation, result) \
    if ((pointer) == nullptr) {                         \
        wxFAIL_COND_MSG(name, operation);               \
        return result;                                  \
    }

namespace {

constexpr int kGap = 4;
constexpr int kZoomTextDigits = 6;
constexpr int kFieldInset = 18;  // pixels of border and padding left and right
constexpr int kSliderWidth = 72;
constexpr int kViewChoiceLeast = 176;

}  // namespace

struct ZoomPanel::MouseState {
    int x = 0, y = 0;  // window point
    bool leftHeld = false, leftPressed = false, leftReleased = false, rightPressed = false;
    int wheelRotation = 0;
    int imageX = 0, imageY = 0;
};
ZoomPanel::MouseState ZoomPanel::m_mouse;

ZoomPanel::ZoomPanel(wxWindow* parent, OrvViewerHost* page) : OrvToolPanelBase(parent, page) {
    Init();
}

void ZoomPanel::Init() {
    m_defaultZoom = DefaultZoomPercents();
}

wxButton* ZoomPanel::AddButton(wxSizer* sizer, const wxString& label, const wxString& toolTip) {
    auto* button = new wxButton(this, wxID_ANY, label, wxDefaultPosition, wxDefaultSize, wxBU_EXACTFIT);
    button->SetToolTip(toolTip);
    sizer->Add(button, 0, wxALIGN_CENTER_VERTICAL | wxLEFT, kGap);
    return button;
}

void ZoomPanel::CreateControls() {
    auto* sizer = new wxBoxSizer(wxHORIZONTAL);
    sizer->Add(new wxStaticText(this, wxID_ANY, _("View: ")), 0, wxALIGN_CENTER_VERTICAL);
    m_viewChoice = new wxChoice(this, wxID_ANY);
    sizer->Add(m_viewChoice, 1, wxALIGN_CENTER_VERTICAL);
    m_swapButton = AddButton(
        sizer, _("Swap"), _("While pressed, the other picture is shown in place (X, or the right button)"));
    wxButton* minus = AddButton(sizer, wxString::FromUTF8("\xE2\x88\x92"), _("Zoom out by one step (-)"));
    m_zoomText = new wxTextCtrl(this, wxID_ANY, "100", wxDefaultPosition, wxDefaultSize,
                                wxTE_PROCESS_ENTER | wxTE_RIGHT);
    m_zoomText->SetMinSize(
        FieldSize(*m_zoomText, GetTextExtent(wxString('0', kZoomTextDigits)).x + kFieldInset));
    m_zoomText->SetToolTip(_("Zoom in percent: 150, 150%, 1.5x or fit"));
    sizer->Add(m_zoomText, 0, wxALIGN_CENTER_VERTICAL | wxLEFT, kGap);
    sizer->Add(new wxStaticText(this, wxID_ANY, "%"), 0, wxALIGN_CENTER_VERTICAL | wxLEFT, kGap / 2);
    wxButton* plus = AddButton(sizer, "+", _("Zoom in by one step (+)"));
    wxButton* full = AddButton(sizer, "100", _("One image pixel per screen pixel (0)"));
    m_fitButton =
        new wxToggleButton(this, wxID_ANY, _("Fit"), wxDefaultPosition, wxDefaultSize, wxBU_EXACTFIT);
    m_fitButton->SetToolTip(_("The whole picture, also when the window changes (F)"));
    sizer->Add(m_fitButton, 0, wxALIGN_CENTER_VERTICAL | wxLEFT, kGap);
    m_slider =
        new wxSlider(this, wxID_ANY, GetNearestZoomId(100.0), 0, static_cast<int>(m_defaultZoom.size()) - 1,
                     wxDefaultPosition, wxSize(kSliderWidth, -1));
    m_slider->SetToolTip(_("Zoom steps"));
    SetAccessibleName(m_viewChoice, _("View"));
    SetAccessibleName(m_zoomText, _("Zoom in percent"));
    SetAccessibleName(minus, _("Zoom out"));
    SetAccessibleName(plus, _("Zoom in"));
    SetAccessibleName(full, _("Zoom to 100 percent"));
    SetAccessibleName(m_fitButton, _("Fit the picture to the window"));
    SetAccessibleName(m_slider, _("Zoom"));
    sizer->Add(m_slider, 0, wxALIGN_CENTER_VERTICAL | wxLEFT, kGap);
    SetSizer(sizer);

    m_viewChoice->Bind(wxEVT_CHOICE, &ZoomPanel::OnWindowSplit, this);
    m_swapButton->Bind(wxEVT_LEFT_DOWN, &ZoomPanel::OnWindowSwap, this);
    m_swapButton->Bind(wxEVT_LEFT_UP, &ZoomPanel::OnWindowSwap, this);
    m_swapButton->Bind(wxEVT_LEAVE_WINDOW, &ZoomPanel::OnWindowSwap, this);
    minus->Bind(wxEVT_BUTTON, &ZoomPanel::OnZoomMinus, this);
    plus->Bind(wxEVT_BUTTON, &ZoomPanel::OnZoomPlus, this);
    full->Bind(wxEVT_BUTTON, &ZoomPanel::OnZoom100, this);
    m_fitButton->Bind(wxEVT_TOGGLEBUTTON, &ZoomPanel::OnZoomFit, this);
    m_zoomText->Bind(wxEVT_TEXT_ENTER, &ZoomPanel::OnZoomEnter, this);
    m_zoomText->Bind(wxEVT_KILL_FOCUS, &ZoomPanel::OnZoomSelect, this);
    m_zoomText->Bind(wxEVT_KEY_DOWN, &ZoomPanel::OnZoomKey, this);
    m_zoomText->Bind(wxEVT_MOUSEWHEEL, &ZoomPanel::OnZoomWheel, this);
    for (const auto& type :
         {wxEVT_SCROLL_TOP, wxEVT_SCROLL_BOTTOM, wxEVT_SCROLL_LINEUP, wxEVT_SCROLL_LINEDOWN,
          wxEVT_SCROLL_PAGEUP, wxEVT_SCROLL_PAGEDOWN, wxEVT_SCROLL_THUMBTRACK}) {
        m_slider->Bind(type, &ZoomPanel::OnZoomSlider, this);
    }
}

void ZoomPanel::RefreshValues() {
    const WindowProperties* shared = GetSharedWindowProperties();
    if (shared == nullptr || shared->zoom < 0.0 || m_zoomText == nullptr) return;
    m_zoomText->ChangeValue(ToWx(ZoomPercentText(shared->zoom)));
    const int step = GetNearestZoomId(shared->zoom * 100.0);
    if (step >= 0 && step != m_slider->GetValue()) m_slider->SetValue(step);
}

void ZoomPanel::ShowFit(bool isFit) {
    if (m_fitButton != nullptr && m_fitButton->GetValue() != isFit) m_fitButton->SetValue(isFit);
}

void ZoomPanel::ClearValues() {
    m_dragStart = m_dragEnd = {-1, -1};
    m_dragging = false;
}

int ZoomPanel::GetNearestZoomId(double percent) const {
    return NearestZoomId(m_defaultZoom, percent);
}

double ZoomPanel::GetNextPreviousZoom(int step, Canvas* canvas, bool useCurrent) {
    CHECK_POINTER(canvas, "canvas", "ZoomPanel::GetNextPreviousZoom", -1.0)
    const WindowProperties* winProp = GetSharedWindowProperties();
    CHECK_POINTER(winProp, "winProp", "ZoomPanel::GetNextPreviousZoom", -1.0)
    if (useCurrent) return winProp->zoom;
    return StepZoom(m_defaultZoom, winProp->zoom, step);
}

void ZoomPanel::SetZoom(int x, int y, double zoom, Canvas* canvas) {
    CHECK_POINTER(canvas, "canvas", "ZoomPanel::SetZoom", )
    canvas->SetZoom(x, y, zoom, 0, 0);
    RefreshValues();
}

void ZoomPanel::SetZoomCenter(double zoom, Canvas* canvas) {
    CHECK_POINTER(canvas, "canvas", "ZoomPanel::SetZoomCenter", )
    const WindowProperties* shared = GetSharedWindowProperties();
    if (shared == nullptr) return;
    const IntPair image = canvas->GetProperties()->GetPixelSize();
    IntPair centre{shared->scrollPosition.x != 0 ? shared->zoomCentre.x : image.x / 2,
                   shared->scrollPosition.y != 0 ? shared->zoomCentre.y : image.y / 2};
    // After a scroll, a pan or a move of the navigator no centre is set: the view keeps its middle, at an edge too.
    if (shared->zoomCentre == IntPair{0, 0} && !canvas->DoesImageFit()) centre = canvas->GetViewCentre();
    SetZoom(centre.x, centre.y, zoom, canvas);
    if (wxWindow* strip = GetParent()) {
        strip->Layout();
        strip->PostSizeEvent();
    }
}

void ZoomPanel::ZoomIn(int x, int y, Canvas* canvas, bool useCurrent) {
    CHECK_POINTER(canvas, "canvas", "ZoomPanel::ZoomIn", )
    const double zoom = GetNextZoom(canvas, useCurrent);
    if (zoom != -1.0) SetZoom(x, y, zoom, canvas);
}

void ZoomPanel::ZoomOut(int x, int y, Canvas* canvas, bool useCurrent) {
    CHECK_POINTER(canvas, "canvas", "ZoomPanel::ZoomOut", )
    const double zoom = GetPreviousZoom(canvas, useCurrent);
    if (zoom != -1.0) SetZoom(x, y, zoom, canvas);
}

void ZoomPanel::ZoomPlus(Canvas* canvas, bool useCurrent) {
    CHECK_POINTER(canvas, "canvas", "ZoomPanel::ZoomPlus", )
    const double zoom = GetNextZoom(canvas, useCurrent);
    if (zoom != -1.0) SetZoomCenter(zoom, canvas);
}

void ZoomPanel::ZoomMinus(Canvas* canvas, bool useCurrent) {
    CHECK_POINTER(canvas, "canvas", "ZoomPanel::ZoomMinus", )
    const double zoom = GetPreviousZoom(canvas, useCurrent);
    if (zoom != -1.0) SetZoomCenter(zoom, canvas);
}

void ZoomPanel::Zoom100(Canvas* canvas) {
    CHECK_POINTER(canvas, "canvas", "ZoomPanel::Zoom100", )
    SetZoomCenter(1.0, canvas);
}

void ZoomPanel::ZoomEnter(const wxString& text, Canvas* canvas) {
    CHECK_POINTER(canvas, "canvas", "ZoomPanel::ZoomEnter", )
    const WindowProperties* shared = GetSharedWindowProperties();
    const auto entry = ParseZoomText(FromWx(text), m_defaultZoom.front() / 100.0,
                                     shared ? shared->zoomUpperLimit : m_defaultZoom.back() / 100.0);
    if (entry && entry->fit) {
        canvas->SetBestZoom(-1, -1);
    } else if (entry) {
        SetZoomCenter(entry->zoom, canvas);
    }
    RefreshValues();
}

void ZoomPanel::ZoomSlider(double step, Canvas* canvas) {
    CHECK_POINTER(canvas, "canvas", "ZoomPanel::ZoomSlider", )
    const int id = RoundToInt(step);
    if (id < 0 || id >= static_cast<int>(m_defaultZoom.size())) return;
    SetZoomCenter(m_defaultZoom[static_cast<std::size_t>(id)] / 100.0, canvas);
}

void ZoomPanel::ViewerMouseOn(wxMouseEvent& event, Canvas* canvas, bool useZoomCentre) {
    CHECK_POINTER(canvas, "canvas", "ZoomPanel::ViewerMouseOn", )
    // The other half of a split view is brought in line by the page: a second click there would be a second step.
    if (useZoomCentre || !canvas->HasImage()) return;
    MouseState& mouse = m_mouse;
    mouse.x = event.GetX();
    mouse.y = event.GetY();
    const bool isChosen = IsToolChosen(OrvTool::Navigate);
    mouse.leftHeld = isChosen && event.LeftIsDown();
    mouse.leftPressed = isChosen && (event.LeftDown() || event.LeftDClick());
    mouse.leftReleased = isChosen && event.LeftUp();
    mouse.rightPressed = event.RightDown();
    mouse.wheelRotation =
        event.GetEventType() == wxEVT_MOUSEWHEEL && event.GetWheelAxis() == wxMOUSE_WHEEL_VERTICAL
            ? event.GetWheelRotation()
            : 0;
    canvas->GetPixelCoordinates(mouse.x, mouse.y, mouse.imageX, mouse.imageY, true, useZoomCentre);
    const IntPair point{mouse.imageX, mouse.imageY};

    if (mouse.leftPressed) {
        m_dragStart = m_dragEnd = point;
        m_dragging = false;
    } else if (mouse.leftReleased || mouse.wheelRotation >= 1) {
        // A button that was pressed somewhere else is no click here.
        const bool isClick = mouse.leftReleased ? !m_dragging && m_dragStart != IntPair{-1, -1} : true;
        if (isClick) ZoomIn(point.x, point.y, canvas, useZoomCentre);
        // The release after a wheel turn with the button held is no click.
        if (mouse.leftReleased || event.LeftIsDown()) m_dragStart = {-1, -1};
        m_dragging = false;
    } else if (mouse.rightPressed || mouse.wheelRotation < 0) {
        ZoomOut(point.x, point.y, canvas, useZoomCentre);
    } else if (mouse.leftHeld && m_dragStart != IntPair{-1, -1}) {
        m_dragEnd = point;
        if (m_dragEnd != m_dragStart) m_dragging = true;
    }
}

int ZoomPanel::GetWindowSplitChoices() const {
    return static_cast<int>(m_viewChoice->GetCount());
}

int ZoomPanel::GetWindowSplitMode() const {
    return m_viewChoice->GetSelection();
}

void ZoomPanel::SetWindowSplitVal(int mode) {
    if (mode >= 0 && mode < GetWindowSplitChoices()) m_viewChoice->SetSelection(mode);
}

void ZoomPanel::ClearWindowSplitVal() {
    m_viewChoice->SetSelection(wxNOT_FOUND);
}

void ZoomPanel::SetZoomChoices(const wxString& kind) {
    m_viewChoice->Clear();
    if (kind == "plot") {
        for (int i = 0; i < kPlotModeCount; ++i) m_viewChoice->Append(wxGetTranslation(PlotModeLabel(i)));
    } else {
        for (int i = 0; i < kViewModeCount; ++i)
            m_viewChoice->Append(wxGetTranslation(FindViewMode(i)->label));
    }
    // The longest entry is one of the rarest: a narrow strip need not hold it.
    m_viewChoice->SetMinSize(wxDefaultSize);
    m_viewChoice->InvalidateBestSize();
    m_choiceWidth = m_viewChoice->GetBestSize().x;
    m_viewChoice->SetMinSize(wxSize(std::min(kViewChoiceLeast, m_choiceWidth), -1));
}

void ZoomPanel::OnWindowSplit(wxCommandEvent&) {
    m_page->WindowSplit();
}

void ZoomPanel::OnWindowSwap(wxMouseEvent& event) {
    m_page->WindowSwap(event.LeftDown() ? 1 : 2);
    event.Skip();
}

void ZoomPanel::OnZoom100(wxCommandEvent&) {
    m_page->Zoom100();
}

void ZoomPanel::OnZoomEnter(wxCommandEvent&) {
    m_page->ZoomEnter(m_zoomText->GetValue());
}

void ZoomPanel::OnZoomFit(wxCommandEvent&) {
    m_page->WindowFit();
}

void ZoomPanel::OnZoomMinus(wxCommandEvent&) {
    m_page->ZoomMinus();
}

void ZoomPanel::OnZoomPlus(wxCommandEvent&) {
    m_page->ZoomPlus();
}

// What was typed and not entered is given up when the field is left.
void ZoomPanel::OnZoomSelect(wxFocusEvent& event) {
    RefreshValues();
    event.Skip();
}

void ZoomPanel::OnZoomKey(wxKeyEvent& event) {
    if (event.HasAnyModifiers()) return event.Skip();
    switch (event.GetKeyCode()) {
        case WXK_UP:
        case WXK_NUMPAD_UP:
            return m_page->ZoomPlus();
        case WXK_DOWN:
        case WXK_NUMPAD_DOWN:
            return m_page->ZoomMinus();
        default:
            event.Skip();
    }
}

void ZoomPanel::OnZoomWheel(wxMouseEvent& event) {
    if (event.GetWheelAxis() != wxMOUSE_WHEEL_VERTICAL || event.GetWheelRotation() == 0) return event.Skip();
    event.GetWheelRotation() > 0 ? m_page->ZoomPlus() : m_page->ZoomMinus();
}

int ZoomPanel::GetWantedWidth() {
    return GetSizer()->CalcMin().x + std::max(m_choiceWidth - kViewChoiceLeast, 0);
}

void ZoomPanel::OnZoomSlider(wxScrollEvent& event) {
    m_page->ZoomSlider(event.GetPosition());
}
