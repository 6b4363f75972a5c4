// The panel beside the canvases: description, map, parameters, results, plots and overview.

#include "orvgui/pages/filterguiviewer.h"

#include <wx/button.h>
#include <wx/gbsizer.h>
#include <wx/intl.h>
#include <wx/scrolwin.h>
#include <wx/settings.h>
#include <wx/sizer.h>
#include <wx/slider.h>
#include <wx/textctrl.h>

#include <algorithm>
#include <set>

#include "orvcore/facade/interface.h"
#include "orvcore/filter/mappictures.h"
#include "orvgui/pages/plotdialog.h"
#include "orvgui/pages/plotlayers.h"
#include "orvgui/pages/plotpanel.h"
#include "orvgui/viewer/canvas.h"
#include "orvgui/viewer/mappanel.h"
#include "orvgui/viewer/navigatorcanvas.h"
#include "orvgui/viewer/settingspanel.h"
#include "orvgui/viewer/toolpanel.h"

namespace {

constexpr int kGap = 4;
constexpr int kSidePanelWidth = 264;
constexpr int kSidePanelMaximum = 360;  // before the user sizes it
constexpr int kSidePanelLeast = 160;
constexpr int kSliderWidth = 76;
constexpr int kFieldWidth = 120;
constexpr int kScrollStep = 16;
constexpr int kSmallPlotHeight = 180;

int CountRows(const wxGridBagSizer& grid) {
    int rows = 0;
    for (const wxSizerItem* item : grid.GetChildren()) {
        const auto* cell = static_cast<const wxGBSizerItem*>(item);
        rows = std::max(rows, cell->GetPos().GetRow() + cell->GetSpan().GetRowspan());
    }
    return rows;
}

}  // namespace

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

void OrvFilterGuiViewer::ShowMaps() {
    std::vector<OrvMap> maps[kFileSlots];
    std::set<std::string> byHand;
    if (const OrvFilterResultPtr result = m_filter->GetResult()) {
        for (int slot = 0; slot < kFileSlots; ++slot) {
            maps[slot] = result->GetMaps(slot);
            for (const OrvMap& map : maps[slot])
                if (IsRangeByHand(*result, map)) byHand.insert(map.name);
        }
    }
    m_mapPanel->SetMaps(maps, byHand);
}

// The maps are drawn anew by the worker, and the page shows them like a new result.
void OrvFilterGuiViewer::SetMapRange(const std::string& map, const std::optional<OrvRange>& range) {
    MapRangesOf(m_filter->GetId())->Set(map, range);
    if (OrvInterface* core = GetInterface())
        core->Configure(m_filter, -1, m_filter->GetParametersInput(), m_filter->GetParametersPostProcessing(),
                        false);
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
