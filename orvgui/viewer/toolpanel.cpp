#include "orvgui/viewer/toolpanel.h"

#include <wx/intl.h>
#include <wx/sizer.h>
#include <wx/tglbtn.h>
#include <wx/wrapsizer.h>

#include "orvgui/viewer/canvas.h"
#include "orvgui/viewer/inspectorpanel.h"
#include "orvgui/viewer/selectorpanel.h"
#include "orvgui/viewer/settingspanel.h"
#include "orvgui/viewer/viewerhost.h"
#include "orvgui/viewer/zoompanel.h"

namespace {

constexpr int kGap = 4;
constexpr int kGroupGap = 12;

}  // namespace

OrvToolPanelBase::OrvToolPanelBase(wxWindow* parent, OrvViewerHost* page)
    : wxPanel(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxTAB_TRAVERSAL), m_page(page) {}

bool OrvToolPanelBase::IsToolChosen(OrvTool tool) const {
    const OrvToolPanel* strip = m_page ? m_page->GetOrvToolPanel() : nullptr;
    return strip == nullptr || strip->GetTool() == tool;
}

OrvToolPanel::OrvToolPanel(wxWindow* parent, OrvViewerHost* page) : OrvToolPanelBase(parent, page) {}

void OrvToolPanel::CreateControls() {
    m_zoomPanel = new ZoomPanel(this, m_page);
    m_selectorPanel = new SelectorPanel(this, m_page);
    m_inspectorPanel = new InspectorPanel(this, m_page);

    const auto makeToggle = [this](const wxString& label, const wxString& toolTip) {
        auto* button =
            new wxToggleButton(this, wxID_ANY, label, wxDefaultPosition, wxDefaultSize, wxBU_EXACTFIT);
        button->SetToolTip(toolTip);
        return button;
    };
    m_navigateButton = makeToggle(_("Navigate"), _("A click zooms in, a drag moves the picture"));
    m_selectButton = makeToggle(_("Select"), _("A drag draws, moves or resizes the selection"));
    m_sideButton =
        makeToggle(_("Details"), _("Shows or hides description, parameters, results and overview"));
    m_sideButton->SetValue(true);
    m_navigateButton->Bind(wxEVT_TOGGLEBUTTON, &OrvToolPanel::OnTool, this);
    m_selectButton->Bind(wxEVT_TOGGLEBUTTON, &OrvToolPanel::OnTool, this);
    m_sideButton->Bind(wxEVT_TOGGLEBUTTON, &OrvToolPanel::OnSidePanel, this);

    auto* tools = new wxBoxSizer(wxHORIZONTAL);
    tools->Add(m_navigateButton, 0, wxALIGN_CENTER_VERTICAL);
    tools->Add(m_selectButton, 0, wxALIGN_CENTER_VERTICAL);
    tools->Add(m_sideButton, 0, wxALIGN_CENTER_VERTICAL | wxLEFT, kGap);

    auto* sizer = new wxWrapSizer(wxHORIZONTAL, wxREMOVE_LEADING_SPACES | wxEXTEND_LAST_ON_EACH_LINE);
    const auto add = [sizer](auto* item) {
        auto* cell = new wxBoxSizer(wxVERTICAL);
        cell->Add(item, 0, wxEXPAND | wxRIGHT, kGroupGap - kGap);
        sizer->Add(cell, 0, wxALL, kGap / 2);
    };
    for (OrvToolPanelBase* panel : AllPanels()) panel->CreateControls();
    add(m_zoomPanel);
    add(tools);
    add(m_selectorPanel);
    add(m_inspectorPanel);
    SetSizer(sizer);
    SetTool(OrvTool::Navigate);
}

std::vector<OrvToolPanelBase*> OrvToolPanel::AllPanels() const {
    std::vector<OrvToolPanelBase*> panels;
    for (OrvToolPanelBase* panel :
         {static_cast<OrvToolPanelBase*>(m_zoomPanel), static_cast<OrvToolPanelBase*>(m_selectorPanel),
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
    // The selection's numbers take a row of their own in a narrow window: only where they are wanted.
    wxWindow* cell = m_selectorPanel;
    if (cell->IsShown() == (tool == OrvTool::Select)) return;
    cell->Show(tool == OrvTool::Select);
    if (wxWindow* page = GetParent()) page->PostSizeEvent();
    Layout();
}

void OrvToolPanel::OnTool(wxCommandEvent& event) {
    SetTool(event.GetEventObject() == m_selectButton ? OrvTool::Select : OrvTool::Navigate);
}

void OrvToolPanel::OnSidePanel(wxCommandEvent& event) {
    m_page->ShowSidePanel(event.IsChecked());
}

int OrvToolPanel::HeightForWidth(int width) {
    wxSizer* sizer = GetSizer();
    if (sizer == nullptr) return 0;
    sizer->InformFirstDirection(wxHORIZONTAL, width, -1);
    return sizer->CalcMin().y;
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
