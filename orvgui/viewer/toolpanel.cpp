#include "orvgui/viewer/toolpanel.h"

#include <wx/intl.h>
#include <wx/sizer.h>
#include <wx/tglbtn.h>

#include "orvgui/common/accessible.h"
#include "orvgui/common/icons.h"
#include "orvgui/viewer/annotationpanel.h"
#include "orvgui/viewer/canvas.h"
#include "orvgui/viewer/inspectorpanel.h"
#include "orvgui/viewer/selectorpanel.h"
#include "orvgui/viewer/settingspanel.h"
#include "orvgui/viewer/viewerhost.h"
#include "orvgui/viewer/zoompanel.h"

namespace {

constexpr int kGap = 4;
constexpr int kGroupGap = 10;
constexpr int kStripMargin = 3;
constexpr int kIcon = 16;

}  // namespace

OrvToolPanelBase::OrvToolPanelBase(wxWindow* parent, OrvViewerHost* page)
    : wxPanel(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxTAB_TRAVERSAL), m_page(page) {}

void OrvToolPanelBase::FitStrip() {
    OrvToolPanel* strip = m_page ? m_page->GetOrvToolPanel() : nullptr;
    if (strip == nullptr) return;
    strip->Layout();
    if (wxWindow* page = strip->GetParent()) page->PostSizeEvent();
}

bool OrvToolPanelBase::IsToolChosen(OrvTool tool) const {
    const OrvToolPanel* strip = m_page ? m_page->GetOrvToolPanel() : nullptr;
    return strip == nullptr || strip->GetTool() == tool;
}

OrvToolPanel::OrvToolPanel(wxWindow* parent, OrvViewerHost* page) : OrvToolPanelBase(parent, page) {}

void OrvToolPanel::CreateControls() {
    m_zoomPanel = new ZoomPanel(this, m_page);
    m_selectorPanel = new SelectorPanel(this, m_page);
    auto* annotations = new AnnotationPanel(this, m_page);
    m_inspectorPanel = new InspectorPanel(this, m_page);

    m_tools = new OrvToolPanelBase(this, m_page);
    auto* tools = new wxBoxSizer(wxHORIZONTAL);
    const auto makeToggle = [&](const char* icon, const wxString& name, const wxString& toolTip) {
        auto* button = new wxBitmapToggleButton(m_tools, wxID_ANY, LoadIconBundle(icon, kIcon),
                                                wxDefaultPosition, wxDefaultSize, wxBU_EXACTFIT);
        button->SetToolTip(name + ": " + toolTip);
        SetAccessibleName(button, name);
        tools->Add(button, 0, wxALIGN_CENTER_VERTICAL | wxLEFT, tools->IsEmpty() ? 0 : kGap / 2);
        return button;
    };
    m_navigateButton =
        makeToggle("navigate.png", _("Navigate"), _("a click zooms in, a drag moves the picture"));
    m_selectButton = makeToggle("select.png", _("Select"), _("a drag draws, moves or resizes the selection"));
    auto* mark = makeToggle("mark.png", _("Mark"),
                            _("a drag draws a mark on the picture, which is kept in the project only"));
    tools->AddSpacer(kGap);
    m_sideButton = makeToggle("details.png", _("Details"),
                              _("shows or hides description, parameters, results and overview"));
    m_tools->SetSizer(tools);
    m_tools->MoveAfterInTabOrder(m_zoomPanel);
    m_sideButton->SetValue(true);
    m_navigateButton->Bind(wxEVT_TOGGLEBUTTON, &OrvToolPanel::OnTool, this);
    m_selectButton->Bind(wxEVT_TOGGLEBUTTON, &OrvToolPanel::OnTool, this);
    mark->Bind(wxEVT_TOGGLEBUTTON, [this](wxCommandEvent&) { SetTool(kMarkTool); });
    annotations->SetToolButton(mark);
    m_sideButton->Bind(wxEVT_TOGGLEBUTTON, &OrvToolPanel::OnSidePanel, this);

    for (OrvToolPanelBase* panel : AllPanels()) panel->CreateControls();
    // The tool that is on shows its fields before anything is laid out.
    m_selectorPanel->Hide();
    annotations->Hide();
    SetTool(OrvTool::Navigate);
    Bind(wxEVT_SIZE, [this](wxSizeEvent&) { Layout(); });
}

// Groups of different width in rows that share what is to spare: no sizer of the toolkit does that.
StripPlaces OrvToolPanel::PlaceGroups(int width) const {
    std::vector<StripGroup> groups;
    for (OrvToolPanelBase* panel : {static_cast<OrvToolPanelBase*>(m_zoomPanel), m_tools,
                                    static_cast<OrvToolPanelBase*>(m_selectorPanel),
                                    static_cast<OrvToolPanelBase*>(FindAnnotationPanel(this)),
                                    static_cast<OrvToolPanelBase*>(m_inspectorPanel)}) {
        const wxSize best = panel->GetSizer()->CalcMin();
        groups.push_back({best.x, panel->GetWantedWidth(), best.y,
                          panel->IsShown() || panel == m_inspectorPanel, panel->IsExtra()});
    }
    return PlaceStrip(groups, width, kGroupGap, kStripMargin);
}

bool OrvToolPanel::Layout() {
    if (m_inspectorPanel == nullptr) return false;
    const StripPlaces places = PlaceGroups(GetClientSize().x);
    std::size_t i = 0;
    for (OrvToolPanelBase* panel : {static_cast<OrvToolPanelBase*>(m_zoomPanel), m_tools,
                                    static_cast<OrvToolPanelBase*>(m_selectorPanel),
                                    static_cast<OrvToolPanelBase*>(FindAnnotationPanel(this)),
                                    static_cast<OrvToolPanelBase*>(m_inspectorPanel)}) {
        const StripPlace& place = places.groups[i++];
        if (panel == m_inspectorPanel) panel->Show(place.width > 0);
        if (panel->IsShown()) panel->SetSize(place.x, place.y, place.width, place.height);
    }
    return true;
}

std::vector<OrvToolPanelBase*> OrvToolPanel::AllPanels() const {
    std::vector<OrvToolPanelBase*> panels;
    for (OrvToolPanelBase* panel :
         {static_cast<OrvToolPanelBase*>(m_zoomPanel), static_cast<OrvToolPanelBase*>(m_selectorPanel),
          static_cast<OrvToolPanelBase*>(FindAnnotationPanel(this)),
          static_cast<OrvToolPanelBase*>(m_inspectorPanel), static_cast<OrvToolPanelBase*>(m_settingsPanel),
          static_cast<OrvToolPanelBase*>(m_outputsPanel)}) {
        if (panel != nullptr) panels.push_back(panel);
    }
    return panels;
}

void OrvToolPanel::ConfigureControls() {
    for (OrvToolPanelBase* panel : AllPanels()) panel->ConfigureControls();
}

void OrvToolPanel::RefreshValues() {
    for (OrvToolPanelBase* panel : AllPanels()) panel->RefreshValues();
}

void OrvToolPanel::ClearValues() {
    for (OrvToolPanelBase* panel : AllPanels()) panel->ClearValues();
}

void OrvToolPanel::ViewerMouseOn(wxMouseEvent& event, Canvas* canvas, bool mirrored) {
    for (OrvToolPanelBase* panel : AllPanels()) panel->ViewerMouseOn(event, canvas, mirrored);
}

void OrvToolPanel::SetTool(OrvTool tool) {
    m_tool = tool;
    m_navigateButton->SetValue(tool == OrvTool::Navigate);
    m_selectButton->SetValue(tool == OrvTool::Select);
    // What belongs to one tool takes a row of its own in a narrow window: only where it is wanted.
    const bool selectorChanged = m_selectorPanel->Show(tool == OrvTool::Select);
    const bool marksChanged = FindAnnotationPanel(this)->ShowFor(tool);
    if (selectorChanged || marksChanged) FitStrip();
}

void OrvToolPanel::OnTool(wxCommandEvent& event) {
    SetTool(event.GetEventObject() == m_selectButton ? OrvTool::Select : OrvTool::Navigate);
}

void OrvToolPanel::OnSidePanel(wxCommandEvent& event) {
    m_page->ShowSidePanel(event.IsChecked());
}

int OrvToolPanel::HeightForWidth(int width) const {
    return m_inspectorPanel != nullptr ? PlaceGroups(width).height : 0;
}

int OrvToolPanel::CountRows() const {
    return PlaceGroups(GetClientSize().x).rows;
}

void OrvToolPanel::Window1Unsplit(wxWindow* first, wxWindow* second) {
    second->Hide();
    if (!first->IsShown()) first->Show();
}

void OrvToolPanel::Window2Unsplit(wxWindow* first, wxWindow* second) {
    first->Hide();
    second->Show();
}

void OrvToolPanel::WindowSplitVertically(wxWindow* first, wxWindow* second) {
    first->Show();
    second->Show();
}

bool OrvToolPanel::WindowSwap(Canvas* canvas, Canvas* other, int phase, bool) {
    if (canvas == nullptr || other == nullptr) return false;
    if (phase == 2) {
        const bool wasSwapped = canvas->IsShowingOther();
        canvas->ShowOwn();
        return wasSwapped;
    }
    if (!canvas->HasImage() || !other->GetOwnImage().IsValid()) return false;
    canvas->ShowInstead(other->GetOwnImage());
    return canvas->IsShowingOther();
}

bool OrvToolPanel::WindowSwap(Canvas* canvas, Canvas* other) {
    if (canvas == nullptr || other == nullptr) return false;
    const int phase = canvas->IsShowingOther() || other->IsShowingOther() ? 2 : 1;
    const bool first = WindowSwap(canvas, other, phase, false);
    const bool second = WindowSwap(other, canvas, phase, false);
    return first || second;
}

void OrvToolPanel::WindowSync(Canvas* canvas, Canvas* other) {
    if (canvas == nullptr || other == nullptr || !canvas->HasImage()) return;
    other->FollowZoom(canvas->GetViewStart());
}

void OrvToolPanel::WindowFit(Canvas* canvas) {
    if (canvas == nullptr) return;
    canvas->SetBestZoom(-1, -1);
}
