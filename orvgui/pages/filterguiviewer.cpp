#include "orvgui/pages/filterguiviewer.h"

#include <wx/sizer.h>

#include "orvcore/facade/interface.h"
#include "orvgui/common/dragedge.h"
#include "orvgui/common/framehost.h"
#include "orvgui/common/statictext.h"
#include "orvgui/common/textfocus.h"
#include "orvgui/viewer/canvas.h"
#include "orvgui/viewer/comparepanel.h"
#include "orvgui/viewer/inspectorpanel.h"
#include "orvgui/viewer/mappanel.h"
#include "orvgui/viewer/navigatorcanvas.h"
#include "orvgui/viewer/toolpanel.h"
#include "orvgui/viewer/viewerpanel.h"
#include "orvgui/viewer/viewmodes.h"
#include "orvgui/viewer/zoompanel.h"
#include "zorbase/text.h"

namespace {

constexpr int kNoticeWidth = 200;

}  // namespace

OrvFilterGuiViewer::OrvFilterGuiViewer(wxWindow* parent, OrvFilter* filter)
    : OrvFilterGui(parent, filter, false), m_activeWinId(kFirstCanvasId), m_derived(*this, [this] {
          ConfigureViewer(-1, true);
          RefreshControlsCustom();
      }) {
    SetMinSize(wxSize(kMinimumSide, kMinimumSide));
}

OrvFilterGuiViewer::~OrvFilterGuiViewer() {
    StoreSide();
}

void OrvFilterGuiViewer::CreateControlsCustom() {
    m_toolPanel = new OrvToolPanel(this, this);
    CreateSidePanel();
    CreateViewerPanel();
    m_toolPanel->CreateControls();
    m_toolPanel->GetZoomPanel()->SetZoomChoices("image");

    auto* middle = new wxBoxSizer(wxHORIZONTAL);
    middle->Add(m_viewerPanel, 1, wxEXPAND);
    m_sideEdge = new DragEdge(
        this, wxHORIZONTAL, [this] { m_sideWidthBefore = m_sidePanel->GetSize().x; },
        [this](int distance) { SetSideWidth(m_sideWidthBefore - distance); });
    middle->Add(m_sideEdge, 0, wxEXPAND);
    middle->Add(m_sidePanel, 0, wxEXPAND);
    auto* column = new wxBoxSizer(wxVERTICAL);
    column->Add(m_toolPanel, 0, wxEXPAND);
    column->Add(middle, 1, wxEXPAND);
    SetSizer(column, true);
    m_mainSizer = m_descriptionSizer;  // the base's own grid went with its sizer
    Bind(wxEVT_SIZE, &OrvFilterGuiViewer::OnPageSize, this);
}

void OrvFilterGuiViewer::UpdateControlsCustom() {
    if (m_toolPanel == nullptr) return;
    bool isAll = false;
    const wxString error = m_filter->GetErrorMessage();
    // One column: a text over several would give each of the others a part of its width, and the panel a scroll bar.
    m_columnSpan = 1;
    SetNotice(error.empty() ? GetSilence(isAll) : error);
    // Why there is nothing to see stands in a narrow panel here.
    for (wxWindow* child : m_descriptionParent->GetChildren())
        if (auto* text = dynamic_cast<OrvStaticText*>(child)) text->SetMaximumTextWidth(kNoticeWidth);
    NarrowTables();
    ShowMaps();
    ShowPlots();
    // A reference that comes to a view which nobody chose is there to be compared with: as if the page were new.
    const OrvInterface* core = GetInterface();
    const bool hasReference = core != nullptr && core->HasFile(OrvReference);
    if (hasReference && !m_hadReference && !m_isViewChosen)
        m_toolPanel->GetZoomPanel()->ClearWindowSplitVal();
    m_hadReference = hasReference;
}

void OrvFilterGuiViewer::RefreshControlsCustom() {
    if (m_toolPanel == nullptr) return;
    m_toolPanel->ConfigureControls();
    m_toolPanel->RefreshValues();
    if (!HasAnyFile()) m_toolPanel->ClearValues();
    FitNavigator();
    LayoutSide();
    ViewChanged(false);
}

void OrvFilterGuiViewer::RefreshViewerPanel() {
    OrvFilterGui::RefreshViewerPanel();
}

// A page that is not seen holds no pictures: it gets them again when it is shown.
void OrvFilterGuiViewer::ResetViewerPanel() {
    OrvFilterGui::ResetViewerPanel();
    StoreSide();
    if (m_viewerPanel != nullptr) m_viewerPanel->ResetImages();
    // A page that nobody sees keeps no picture: the result holds it within the memory budget, and gives it again.
    for (Canvas* canvas : GetCanvases()) {
        canvas->GetProperties()->SetImage1(Image());
        canvas->GetProperties()->SetImage2(Image());
    }
    m_displayedImage.Reset();
    if (m_mapPanel != nullptr) m_mapPanel->LetGoMaps();
    if (m_toolPanel != nullptr) m_toolPanel->GetInspectorPanel()->ClearValues();
    if (OrvFrameHost* frame = GetFrameHost()) frame->SetStatusField(OrvStatusField::Zoom, wxString());
    if (m_comparePanel != nullptr) m_comparePanel->ClearValues();
    m_derived.Reset();
}

std::vector<Canvas*> OrvFilterGuiViewer::GetCanvases() const {
    std::vector<Canvas*> canvases;
    if (m_viewerPanel == nullptr) return canvases;
    for (const int id : {kFirstCanvasId, kSecondCanvasId}) {
        if (Canvas* canvas = m_viewerPanel->FindCanvas(id)) canvases.push_back(canvas);
    }
    return canvases;
}

Image& OrvFilterGuiViewer::GetDisplayedImage() {
    if (Canvas* canvas = GetLeadCanvas()) m_displayedImage = canvas->GetProperties()->GetIplImage();
    return m_displayedImage;
}

void OrvFilterGuiViewer::ConfigureViewer(int mode, bool keepUnprocessed) {
    WindowProperties* shared = GetSharedWindowProperties();
    if (m_toolPanel == nullptr || m_viewerPanel == nullptr || shared == nullptr) return;
    const OrvInterface* core = GetInterface();
    ZoomPanel* zoom = m_toolPanel->GetZoomPanel();
    ViewRequest request;
    request.mode = mode;
    request.choiceSelection = zoom->GetWindowSplitMode();
    request.choiceCount = zoom->GetWindowSplitChoices();
    request.keepUnprocessed = keepUnprocessed;
    request.hasEvidence = core != nullptr && core->HasFile(OrvEvidence);
    request.hasReference = core != nullptr && core->HasFile(OrvReference);
    request.splitMode = shared->splitMode;
    request.viewChoiceCount = shared->viewChoiceCount;
    const ViewDecision decision = DecideView(request);

    shared->viewChoiceCount = decision.viewChoiceCount;
    if (decision.split) WindowSplit(decision.layoutMode);
    if (decision.setChoice) zoom->SetWindowSplitVal(decision.layoutMode);
    Image first;
    Image second;
    GetInputOutputImages(first, second, decision.imageMode, request.choiceCount);
    const auto canvases = GetCanvases();
    const wxString awaited = GetAwaitedMessage();
    for (Canvas* canvas : canvases)
        canvas->SetEmptyMessage(awaited.empty() && canvas == canvases.back() && canvases.size() == 2
                                    ? m_differenceMessage
                                    : awaited);
    m_viewerPanel->ConfigureViewer(first, second);
    NoteFit();
    KeepFit();
    ShowMarks();
    ShowCompare();
    ShowCaptions();
}

void OrvFilterGuiViewer::MapDisplayChanged() {
    ConfigureViewer(-1, true);
    ViewChanged(false);
}

void OrvFilterGuiViewer::SelectionChanged(const Roi& region) {
    if (m_mapPanel != nullptr) m_mapPanel->SetRegion(region);
}

void OrvFilterGuiViewer::WindowSplit() {
    m_isViewChosen = true;
    ConfigureViewer(m_toolPanel->GetZoomPanel()->GetWindowSplitMode(), true);
    RefreshControlsCustom();
}

void OrvFilterGuiViewer::ViewChanged(bool scrolled) {
    WindowProperties* shared = GetSharedWindowProperties();
    Canvas* canvas = GetLeadCanvas();
    if (shared == nullptr || canvas == nullptr || m_toolPanel == nullptr) return;
    if (shared->syncViews) WindowSync();
    ShowCaptions();
    if (scrolled) {
        // A new result keeps this view, and the next zoom step its middle.
        const wxPoint start = canvas->GetViewStart();
        shared->scrollPosition = {start.x, start.y};
        shared->zoomCentre = {0, 0};
    }
    m_toolPanel->GetZoomPanel()->RefreshValues();
    NoteFit();
    m_toolPanel->GetInspectorPanel()->RefreshValues();
    if (m_navigator != nullptr) m_navigator->Refresh(false);
    if (OrvFrameHost* frame = GetFrameHost(); frame != nullptr && IsShown()) {
        const bool isZoomed = canvas->HasImage() && shared->zoom >= 0.0;
        frame->SetStatusField(OrvStatusField::Zoom,
                              isZoomed ? ToWx(ZoomPercentText(shared->zoom) + "%") : wxString());
    }
}

void OrvFilterGuiViewer::TakeFocus(Canvas* canvas) {
    wxWindow* focus = wxWindow::FindFocus();
    // Passing over the picture while typing must not take the text field's keys.
    const wxMouseState mouse = wxGetMouseState();
    const bool isPressed = mouse.LeftIsDown() || mouse.RightIsDown() || mouse.MiddleIsDown();
    if (focus != canvas && (isPressed || !IsTextEntry(focus))) canvas->SetFocus();
}

void OrvFilterGuiViewer::ViewerMouseLeft() {
    if (m_toolPanel != nullptr) m_toolPanel->GetInspectorPanel()->ClearValues();
}

Canvas* OrvFilterGuiViewer::GetLeadCanvas() {
    Canvas* active = GetCanvasFromActiveWin();
    Canvas* other = GetCanvasFromNotActiveWin();
    const bool isOtherSeen = other != nullptr && other->HasImage() && other->GetParent()->IsShown();
    return active != nullptr && !active->HasImage() && isOtherSeen ? other : active;
}

OrvFilterGuiViewer* GetOrvFilterGuiViewerFromCtrlEventObject(wxEvent& event) {
    auto* window = dynamic_cast<wxWindow*>(event.GetEventObject());
    while (window != nullptr) {
        if (auto* page = dynamic_cast<OrvFilterGuiViewer*>(window)) return page;
        window = window->GetParent();
    }
    return nullptr;
}
