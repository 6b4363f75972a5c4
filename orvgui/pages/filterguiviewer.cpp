#include "orvgui/pages/filterguiviewer.h"

#include <wx/button.h>
#include <wx/dcclient.h>
#include <wx/gbsizer.h>
#include <wx/intl.h>
#include <wx/settings.h>
#include <wx/sizer.h>
#include <wx/slider.h>
#include <wx/textctrl.h>

#include <algorithm>
#include <opencv2/core.hpp>

#include "orvcore/facade/interface.h"
#include "orvgui/common/dragedge.h"
#include "orvgui/common/framehost.h"
#include "orvgui/common/textfocus.h"
#include "orvgui/pages/plotdialog.h"
#include "orvgui/pages/plotlayers.h"
#include "orvgui/pages/plotpanel.h"
#include "orvgui/viewer/canvas.h"
#include "orvgui/viewer/inspectorpanel.h"
#include "orvgui/viewer/mappanel.h"
#include "orvgui/viewer/navigatorcanvas.h"
#include "orvgui/viewer/settingspanel.h"
#include "orvgui/viewer/toolpanel.h"
#include "orvgui/viewer/viewerpanel.h"
#include "orvgui/viewer/viewmodes.h"
#include "orvgui/viewer/zoompanel.h"
#include "zorbase/files.h"
#include "zorbase/text.h"

namespace {

constexpr int kGap = 4;
constexpr int kMinimumSide = 300;
constexpr int kSidePanelWidth = 264;
constexpr int kSidePanelMaximum = 360;  // before the user sizes it
constexpr int kSidePanelLeast = 160;
constexpr int kSliderWidth = 76;
constexpr int kFieldWidth = 120;
constexpr int kScrollStep = 16;
constexpr int kKeyScrollPixels = 48;
constexpr int kSmallPlotHeight = 180;
constexpr double kDifferenceAtOncePixels = 2.0e6;  // cheaper to do than to be felt
constexpr int kDifferenceRows = 256;               // between two looks whether it was stopped

// Of two images of the same size; an empty image when it was stopped.
Image AbsoluteDifference(const Image& a, const Image& b, const std::stop_token& stop) {
    const Image first = a.ToColor();
    const Image second = b.ToColor();
    cv::Mat difference(first.GetHeight(), first.GetWidth(), first.GetMat().type());
    for (int top = 0; top < difference.rows; top += kDifferenceRows) {
        if (stop.stop_requested()) return {};
        const cv::Range rows(top, std::min(top + kDifferenceRows, difference.rows));
        cv::absdiff(first.GetMat().rowRange(rows), second.GetMat().rowRange(rows), difference.rowRange(rows));
    }
    return Image(difference);
}

int CountRows(const wxGridBagSizer& grid) {
    int rows = 0;
    for (const wxSizerItem* item : grid.GetChildren()) {
        const auto* cell = static_cast<const wxGBSizerItem*>(item);
        rows = std::max(rows, cell->GetPos().GetRow() + cell->GetSpan().GetRowspan());
    }
    return rows;
}

bool IsSameBuffer(const Image& a, const Image& b) {
    return a.GetMat().data == b.GetMat().data && a.GetMat().size() == b.GetMat().size();
}

}  // namespace

double OrvFilterGuiViewer::m_fitZoom = -1.0;

OrvFilterGuiViewer::OrvFilterGuiViewer(wxWindow* parent, OrvFilter* filter)
    : OrvFilterGui(parent, filter), m_activeWinId(kFirstCanvasId) {
    SetMinSize(wxSize(kMinimumSide, kMinimumSide));
}

OrvFilterGuiViewer::~OrvFilterGuiViewer() = default;

void OrvFilterGuiViewer::CreateControlsCustom() {
    m_toolPanel = new OrvToolPanel(this, this);
    CreateSidePanel();
    CreateViewerPanel();
    m_toolPanel->CreateControls();
    m_toolPanel->GetZoomPanel()->SetZoomChoices("image");

    auto* middle = new wxBoxSizer(wxHORIZONTAL);
    middle->Add(m_viewerPanel, 1, wxEXPAND);
    m_sideEdge = new DragEdge(
        this, [this] { m_sideWidthBefore = m_sidePanel->GetSize().x; },
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

void OrvFilterGuiViewer::CreateSidePanel() {
    m_sidePanel =
        new wxPanel(this, wxID_ANY, wxDefaultPosition, wxSize(kSidePanelWidth, -1), wxTAB_TRAVERSAL);
    m_sideScroll = new wxScrolledWindow(m_sidePanel, wxID_ANY, wxDefaultPosition, wxDefaultSize,
                                        wxVSCROLL | wxHSCROLL | wxTAB_TRAVERSAL);
    // Also sideways: a control that is wider than the panel is not cut off without a sign.
    m_sideScroll->SetScrollRate(kScrollStep, kScrollStep);
    auto* description = new DescriptionPanel(m_sideScroll, this);
    auto* list = new wxBoxSizer(wxVERTICAL);
    list->Add(description, 0, wxEXPAND | wxALL, kGap);
    m_descriptionParent = description;
    m_descriptionSizer = description->GetGrid();
    // Next to the picture, which cannot be read without its scale.
    m_mapPanel = new MapPanel(m_sideScroll, this);
    list->Add(m_mapPanel, 0, wxEXPAND | wxALL, kGap);
    if (!m_parametersInput.empty() || !m_parametersPostProcessing.empty() || !m_parametersOutput.empty()) {
        auto* settings = new SettingsPanel(m_sideScroll, this);
        settings->Show(!m_parametersInput.empty() || !m_parametersPostProcessing.empty());
        m_toolPanel->SetSettingsPanel(settings);
        list->Add(settings, 0, wxEXPAND | wxALL, kGap);
        m_inputParent = settings;
        m_inputSizer = settings->GetGrid();
    }
    if (!m_parametersOutput.empty()) {
        auto* outputs = new OutputsPanel(m_sideScroll, this);
        m_toolPanel->SetOutputsPanel(outputs);
        list->Add(outputs, 0, wxEXPAND | wxALL, kGap);
        m_outputParent = outputs;
        m_outputSizer = outputs->GetGrid();
    }
    m_sideList = list;
    m_sideScroll->SetSizer(list);

    auto* column = new wxBoxSizer(wxVERTICAL);
    column->Add(m_sideScroll, 1, wxEXPAND);
    if (!IsSingleViewer()) {
        m_navigator = new NavigatorCanvas(m_sidePanel);
        m_navigator->Bind(wxEVT_PAINT, &OrvFilterGuiViewer::ZoomNavigatorPaint, this);
        for (const auto& type : {wxEVT_LEFT_DOWN, wxEVT_LEFT_DCLICK, wxEVT_MOTION}) {
            m_navigator->Bind(type, &OrvFilterGuiViewer::ZoomNavigatorMouseOn, this);
        }
        column->Add(m_navigator, 0, wxALIGN_CENTER_HORIZONTAL | wxALL, kGap);
    }
    m_sidePanel->SetSizer(column);
    m_sidePanel->SetMinSize(wxSize(kSidePanelWidth, -1));
}

void OrvFilterGuiViewer::CreateControlsInput() {
    if (!m_parametersInput.empty()) OrvFilterGui::CreateControlsInput();
}

void OrvFilterGuiViewer::CreateControlsPostProcessing() {
    if (m_parametersPostProcessing.empty()) return;
    OrvFilterGui::CreateControlsPostProcessing();
    // "Reset" stands to the right of the first row; in a narrow column it has a row of its own.
    for (wxWindow* child : m_inputParent->GetChildren()) {
        if (dynamic_cast<wxButton*>(child) == nullptr) continue;
        wxGBSizerItem* item = m_inputSizer->FindItem(child);
        if (item == nullptr || item->GetPos().GetRow() != 0) continue;
        item->SetPos(wxGBPosition(CountRows(*m_inputSizer), 0));
    }
}

void OrvFilterGuiViewer::CreateControlsOutput() {
    if (!m_parametersOutput.empty()) OrvFilterGui::CreateControlsOutput();
    m_toolPanel->RefreshValues();
    for (wxWindow* child : m_inputParent->GetChildren()) {
        if (dynamic_cast<wxSlider*>(child) != nullptr) child->SetMinSize(wxSize(kSliderWidth, -1));
        if (dynamic_cast<wxTextCtrl*>(child) != nullptr) child->SetMinSize(wxSize(kFieldWidth, -1));
    }
    // As wide as the controls ask for, within reason: the picture gets the room.
    const int wanted = m_sideScroll->GetSizer()->CalcMin().x + wxSystemSettings::GetMetric(wxSYS_VSCROLL_X);
    m_sidePanel->SetMinSize(wxSize(std::clamp(wanted, kSidePanelWidth, kSidePanelMaximum), -1));
    m_sideScroll->FitInside();
}

void OrvFilterGuiViewer::OnPageSize(wxSizeEvent& event) {
    const int width = GetClientSize().x;
    if (m_toolPanel != nullptr && width > 1) {
        const wxSize strip(-1, m_toolPanel->HeightForWidth(width));
        if (m_toolPanel->GetMinSize() != strip) m_toolPanel->SetMinSize(strip);
    }
    event.Skip();
}

void OrvFilterGuiViewer::ShowSidePanel(bool show) {
    m_sidePanel->Show(show);
    m_sideEdge->Show(show);
    Layout();
}

// Wide tables and plots want more than parameters do; the picture keeps its least width.
void OrvFilterGuiViewer::SetSideWidth(int width) {
    const int most = std::max(GetClientSize().x - kMinimumSide, kSidePanelLeast);
    m_sidePanel->SetMinSize(wxSize(std::clamp(width, kSidePanelLeast, most), -1));
    Layout();
    m_sideScroll->FitInside();
}

void OrvFilterGuiViewer::UpdateControlsCustom() {
    if (m_toolPanel == nullptr) return;
    bool isAll = false;
    const wxString error = m_filter->GetErrorMessage();
    SetNotice(error.empty() ? GetSilence(isAll) : error);
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
    m_sideScroll->FitInside();
    ViewChanged(false);
}

void OrvFilterGuiViewer::RefreshViewerPanel() {
    OrvFilterGui::RefreshViewerPanel();
}

// A page that is not seen holds no pictures: it gets them again when it is shown.
void OrvFilterGuiViewer::ResetViewerPanel() {
    OrvFilterGui::ResetViewerPanel();
    if (m_viewerPanel != nullptr) m_viewerPanel->ResetImages();
    if (m_toolPanel != nullptr) m_toolPanel->GetInspectorPanel()->ClearValues();
    if (OrvFrameHost* frame = GetFrameHost()) frame->SetStatusField(OrvStatusField::Zoom, wxString());
    m_difference.Reset();
    m_differenceOf[0].Reset();
    m_differenceOf[1].Reset();
    m_differenceTask.Stop();
    for (const OrvFileId slot : {OrvEvidence, OrvReference}) {
        m_overlayTask[slot].Stop();
        m_overlay[slot] = Overlay();
    }
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
    if (canvases.size() == 2) canvases[1]->SetEmptyMessage(m_differenceMessage);
    m_viewerPanel->ConfigureViewer(first, second);
    NoteFit();
    KeepFit();
    ShowMarks();
    ShowCaptions();
}

// What each half shows: evidence or reference, of which file, as it is or processed.
void OrvFilterGuiViewer::ShowCaptions() {
    const OrvInterface* core = GetInterface();
    const auto canvases = GetCanvases();
    for (std::size_t i = 0; i < canvases.size(); ++i) {
        const Canvas& canvas = *canvases[i];
        const Shown& shown = m_shown[canvas.IsShowingOther() && canvases.size() == 2 ? 1 - i : i];
        wxString text;
        if (canvas.HasImage() && core != nullptr) {
            const wxString name = ToWx(PathName(PathFromWx(core->GetFilename(shown.slot))));
            text = shown.slot == OrvEvidence ? _("Evidence") : _("Reference");
            if (shown.isDifference)
                text = _("Difference");
            else
                text += ": " + name + wxString::FromUTF8("  \u00b7  ") +
                        (shown.isProcessed ? _("processed") : _("original"));
            if (canvas.IsShowingOther()) text += wxString::FromUTF8("  \u00b7  ") + _("swapped");
        }
        m_viewerPanel->SetCaption(static_cast<int>(i), text);
    }
}

void OrvFilterGuiViewer::ShowMaps() {
    std::vector<OrvMap> maps[kFileSlots];
    if (const OrvFilterResultPtr result = m_filter->GetResult())
        for (int slot = 0; slot < kFileSlots; ++slot) maps[slot] = result->GetMaps(slot);
    m_mapPanel->SetMaps(maps);
}

PlotPanel* OrvFilterGuiViewer::AddPlot() {
    auto* panel = new PlotPanel(m_sideScroll, wxID_ANY);
    panel->SetMinSize(wxSize(-1, kSmallPlotHeight));
    panel->SetToolTip(_("Double click: large"));
    m_sideList->Add(panel, 0, wxEXPAND | wxALL, kGap);
    const std::size_t index = m_plots.size();
    panel->GetPlotWindow()->Bind(wxEVT_LEFT_DCLICK, [this, index](wxMouseEvent&) {
        PlotDialog dialog(this, wxGetTranslation(m_filter->GetName()), m_plots[index].data,
                          m_plots[index].slot);
        dialog.ShowModal();
    });
    m_plots.push_back({panel, {}, OrvEvidence});
    return panel;
}

void OrvFilterGuiViewer::ShowPlots() {
    std::size_t used = 0;
    const OrvFilterResultPtr result = m_filter->GetResult();
    for (const OrvFileId slot : {OrvEvidence, OrvReference}) {
        if (!result || !result->slot[slot]) continue;
        std::vector<OrvPlotData> plots{result->slot[slot]->plot};
        plots.insert(plots.end(), result->slot[slot]->morePlots.begin(), result->slot[slot]->morePlots.end());
        for (const OrvPlotData& data : plots) {
            if (data.IsEmpty()) continue;
            if (used == m_plots.size()) AddPlot();
            SmallPlot& small = m_plots[used++];
            small.data = data;
            small.slot = slot;
            ShowPlotData(*small.panel, data, slot, 0);
            small.panel->Show();
        }
    }
    for (; used < m_plots.size(); ++used) m_plots[used].panel->Hide();
}

// Lines and regions of the chosen map lie over the processed picture; the untouched one stays untouched.
void OrvFilterGuiViewer::ShowMarks() {
    const auto canvases = GetCanvases();
    for (std::size_t i = 0; i < canvases.size(); ++i) {
        const Shown& shown = m_shown[i];
        const OrvMap* map = shown.isProcessed ? m_mapPanel->GetMap(shown.slot) : nullptr;
        if (map != nullptr) {
            canvases[i]->SetMarks(map->lines, map->regions);
        } else {
            canvases[i]->SetMarks({}, {});
        }
    }
}

void OrvFilterGuiViewer::MapDisplayChanged() {
    ConfigureViewer(-1, true);
    ViewChanged(false);
}

void OrvFilterGuiViewer::SelectionChanged(const Roi& region) {
    if (m_mapPanel != nullptr) m_mapPanel->SetRegion(region);
}

const OrvMap* OrvFilterGuiViewer::MapOnCanvas(const Canvas* canvas) const {
    const auto canvases = GetCanvases();
    for (std::size_t i = 0; i < canvases.size(); ++i) {
        if (canvases[i] != canvas) continue;
        // While the other picture is shown in place, its map counts.
        const Shown& shown = m_shown[canvas->IsShowingOther() ? 1 - i : i];
        return m_mapPanel->GetMap(shown.slot);
    }
    return nullptr;
}

wxString OrvFilterGuiViewer::DescribeMap(const Canvas* canvas, int x, int y) const {
    const OrvMap* map = m_mapPanel != nullptr ? MapOnCanvas(canvas) : nullptr;
    if (map == nullptr) return {};
    const std::string text = MapValueText(*map, MapValueAt(*map, x, y));
    return text.empty() ? wxString() : MapTitle(*map).BeforeFirst('(').Trim() + " " + ToWx(text);
}

// What the filter gives as processed, or its map as the user wants to see it: laid over the picture. Large ones are drawn beside the
// GUI thread; until they are there, what was shown before stays.
Image OrvFilterGuiViewer::ProcessedImage(OrvFileId slot) {
    const OrvMap* map = m_mapPanel->GetMap(slot);
    const MapDisplay display = m_mapPanel->GetDisplay();
    const Image plain = m_filter->GetOutputImage(slot);
    if (map == nullptr || display == MapDisplay()) return plain;
    Overlay& overlay = m_overlay[slot];
    if (overlay.IsOf(*map, display)) return overlay.image;
    const Image picture = m_filter->GetInputImage(slot);
    Overlay wanted;
    wanted.values = map->values;
    wanted.range = map->range;
    wanted.display = display;
    if (static_cast<double>(map->image.width) * map->image.height <= kDifferenceAtOncePixels) {
        m_overlayTask[slot].Stop();
        wanted.image = OverlayMap(picture.ToColor(), *map, display);
        overlay = wanted;
        return overlay.image;
    }
    const auto made = std::make_shared<Overlay>(wanted);
    m_overlayTask[slot].Start(
        [made, picture, map = *map](const std::stop_token& stop) {
            made->image = OverlayMap(picture.ToColor(), map, made->display, stop);
        },
        [this, made, slot](const std::string& error) {
            if (!error.empty()) return;
            m_overlay[slot] = *made;
            MapDisplayChanged();
        });
    return overlay.image.IsValid() && overlay.values.data == map->values.data ? overlay.image : plain;
}

void OrvFilterGuiViewer::WindowSplit() {
    m_isViewChosen = true;
    ConfigureViewer(m_toolPanel->GetZoomPanel()->GetWindowSplitMode(), true);
    RefreshControlsCustom();
}

void OrvFilterGuiViewer::GetInputOutputImages(Image& first, Image& second, int mode, int) {
    const OrvInterface* core = GetInterface();
    const bool hasReference = core != nullptr && core->HasFile(OrvReference);
    Image evidenceInput = m_filter->GetInputImage(OrvEvidence);
    Image evidenceOutput = ProcessedImage(OrvEvidence);
    Image referenceInput;
    Image referenceOutput;
    if (hasReference) {
        referenceInput = m_filter->GetInputImage(OrvReference);
        referenceOutput = ProcessedImage(OrvReference);
    }
    m_shown[0] = m_shown[1] = {evidenceOutput.IsValid() ? OrvEvidence : OrvReference, true};
    m_differenceMessage.clear();
    if (IsSingleViewer()) {
        first = evidenceOutput.IsValid() ? evidenceOutput : referenceOutput;
        m_viewerPanel->SetInputOutputImages(evidenceInput, evidenceOutput, referenceInput, referenceOutput);
        return;
    }
    const ViewMode* view = FindViewMode(mode);
    if (view != nullptr && view->second == ViewImage::DifferenceInput) {
        evidenceOutput = MakeDifference(evidenceInput, referenceInput);
        evidenceInput.Reset();
    } else if (view != nullptr && view->second == ViewImage::DifferenceOutput) {
        // Of the pictures as the analysis gives them; what the user laid over one another is another question.
        evidenceOutput = MakeDifference(m_filter->GetOutputImage(OrvEvidence),
                                        hasReference ? m_filter->GetOutputImage(OrvReference) : Image());
        evidenceInput.Reset();
    }
    m_viewerPanel->SetInputOutputImages(evidenceInput, evidenceOutput, referenceInput, referenceOutput);
    if (view == nullptr) return;
    const auto choose = [&](ViewImage image) -> Image {
        switch (image) {
            case ViewImage::EvidenceInput:
                return evidenceInput;
            case ViewImage::EvidenceOutput:
            case ViewImage::DifferenceInput:
            case ViewImage::DifferenceOutput:
                return evidenceOutput;
            case ViewImage::ReferenceInput:
                return referenceInput;
            case ViewImage::ReferenceOutput:
                return referenceOutput;
            case ViewImage::None:
                break;
        }
        return Image();
    };
    first = choose(view->first);
    second = choose(view->second);
    const auto describe = [](ViewImage image) {
        const bool isReference = image == ViewImage::ReferenceInput || image == ViewImage::ReferenceOutput;
        const bool isProcessed = image == ViewImage::EvidenceOutput || image == ViewImage::ReferenceOutput;
        const bool isDifference = image == ViewImage::DifferenceInput || image == ViewImage::DifferenceOutput;
        return Shown{isReference ? OrvReference : OrvEvidence, isProcessed, isDifference};
    };
    m_shown[0] = describe(view->first);
    m_shown[1] = describe(view->second);
}

Image OrvFilterGuiViewer::MakeDifference(const Image& a, const Image& b) {
    if (!a.IsValid() || !b.IsValid()) return {};
    if (a.GetWidth() != b.GetWidth() || a.GetHeight() != b.GetHeight()) {
        m_differenceMessage = wxString::Format(
            _("A difference needs two pictures of the same size.\nEvidence: %d x %d pixels\nReference: %d x %d pixels"),
            a.GetWidth(), a.GetHeight(), b.GetWidth(), b.GetHeight());
        return {};
    }
    if (m_difference.IsValid() && IsSameBuffer(a, m_differenceOf[0]) && IsSameBuffer(b, m_differenceOf[1]))
        return m_difference;
    if (static_cast<double>(a.GetWidth()) * a.GetHeight() <= kDifferenceAtOncePixels)
        return AbsoluteDifference(a, b, std::stop_token());
    m_differenceMessage = _("Working out the difference…");
    StartDifference(a, b);
    return {};
}

void OrvFilterGuiViewer::StartDifference(const Image& a, const Image& b) {
    const auto difference = std::make_shared<Image>();
    m_differenceTask.Start(
        [difference, a, b](const std::stop_token& stop) { *difference = AbsoluteDifference(a, b, stop); },
        [this, difference, a, b](const std::string& error) {
            // Without memory for it the message stays.
            if (!error.empty()) return;
            m_difference = *difference;
            m_differenceOf[0] = a;
            m_differenceOf[1] = b;
            ConfigureViewer(-1, true);
            RefreshControlsCustom();
        });
}

void OrvFilterGuiViewer::FitNavigator() {
    if (m_navigator == nullptr) return;
    Canvas* canvas = GetLeadCanvas();
    const IntPair size = NavigatorWindowSize(canvas ? canvas->GetProperties()->GetPixelSize() : IntPair{});
    if (m_navigator->GetMinSize() != wxSize(size.x, size.y)) {
        m_navigator->SetMinSize(wxSize(size.x, size.y));
        m_sidePanel->Layout();
    }
    m_navigator->Refresh(false);
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

void OrvFilterGuiViewer::ViewerMouseLeft() {
    if (m_toolPanel != nullptr) m_toolPanel->GetInspectorPanel()->ClearValues();
}

Canvas* OrvFilterGuiViewer::GetLeadCanvas() {
    Canvas* active = GetCanvasFromActiveWin();
    Canvas* other = GetCanvasFromNotActiveWin();
    const bool isOtherSeen = other != nullptr && other->HasImage() && other->GetParent()->IsShown();
    return active != nullptr && !active->HasImage() && isOtherSeen ? other : active;
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
        default:
            return false;
    }
}

OrvFilterGuiViewer* GetOrvFilterGuiViewerFromCtrlEventObject(wxEvent& event) {
    auto* window = dynamic_cast<wxWindow*>(event.GetEventObject());
    while (window != nullptr) {
        if (auto* page = dynamic_cast<OrvFilterGuiViewer*>(window)) return page;
        window = window->GetParent();
    }
    return nullptr;
}
