// The panel beside the canvases: description, map, parameters, results, plots and overview.

#include "orvgui/pages/filterguiviewer.h"

#include <wx/button.h>
#include <wx/combobox.h>
#include <wx/gbsizer.h>
#include <wx/grid.h>
#include <wx/intl.h>
#include <wx/scrolwin.h>
#include <wx/settings.h>
#include <wx/sizer.h>
#include <wx/slider.h>
#include <wx/textctrl.h>

#include <algorithm>
#include <memory>
#include <set>

#include "orvcore/facade/interface.h"
#include "orvcore/filter/mappictures.h"
#include "orvgui/common/dragedge.h"
#include "orvgui/common/statictext.h"
#include "orvgui/pages/plotdialog.h"
#include "orvgui/pages/plotlayers.h"
#include "orvgui/pages/plotpanel.h"
#include "orvgui/viewer/canvas.h"
#include "orvgui/viewer/comparepanel.h"
#include "orvgui/viewer/mappanel.h"
#include "orvgui/viewer/navigatorcanvas.h"
#include "orvgui/viewer/settingspanel.h"
#include "orvgui/viewer/toolpanel.h"

namespace {

constexpr int kGap = 4;
constexpr int kSidePanelWidth = 256;
constexpr int kSidePanelMaximum = 360;  // before the user sizes it
constexpr int kSidePanelPercent = 26;   // of the page's width, likewise: the picture gets the room
constexpr int kSidePanelLeast = 160;
constexpr int kSliderWidth = 96;
constexpr int kFieldWidth = 88;  // leaves room for the button that shows a long text whole
constexpr int kLabelWidth = 100;
constexpr int kTableWidth = 220;
constexpr int kScrollStep = 16;
constexpr int kSmallPlotHeight = 180;
constexpr int kSmallPlotLeast = 100;
constexpr int kSmallPlotMost = 800;

int CountRows(const wxGridBagSizer& grid) {
    int rows = 0;
    for (const wxSizerItem* item : grid.GetChildren()) {
        const auto* cell = static_cast<const wxGBSizerItem*>(item);
        rows = std::max(rows, cell->GetPos().GetRow() + cell->GetSpan().GetRowspan());
    }
    return rows;
}

// What is too wide to stand beside its label in a narrow column: a slider must be long enough to hit a value, a text is read in
// lines.
bool IsWide(wxSizerItem* item) {
    if (item == nullptr) return false;
    if (item->IsSizer()) {
        const wxSizerItemList& children = item->GetSizer()->GetChildren();
        return std::any_of(children.begin(), children.end(), IsWide);
    }
    wxWindow* window = item->GetWindow();
    const auto* text = dynamic_cast<wxTextCtrl*>(window);
    return dynamic_cast<wxSlider*>(window) != nullptr || dynamic_cast<wxGrid*>(window) != nullptr ||
           (text != nullptr && text->IsMultiLine()) ||
           (dynamic_cast<wxComboBox*>(window) != nullptr && window->GetBestSize().x > kFieldWidth);
}

// Wide controls get a row of their own below their label.
void GiveWideOnesRows(wxGridBagSizer& grid) {
    const auto at = [&grid](int row, int column) {
        return static_cast<wxGBSizerItem*>(grid.FindItemAtPosition(wxGBPosition(row, column)));
    };
    const int rows = CountRows(grid);
    int more = 0;
    for (int row = 0; row < rows; ++row) more += IsWide(at(row, 1)) ? 1 : 0;
    // From below, so that there is always room.
    for (int row = rows - 1; row >= 0 && more > 0; --row) {
        const bool isWide = IsWide(at(row, 1));
        wxGBSizerItem* label = at(row, 0);
        wxGBSizerItem* field = at(row, 1);
        if (field != nullptr && field != label) {
            field->SetPos(wxGBPosition(row + more, isWide ? 0 : 1));
            if (isWide) field->SetSpan(wxGBSpan(1, 2));
        }
        if (isWide) --more;
        if (label != nullptr) label->SetPos(wxGBPosition(row + more, 0));
    }
}

// Nothing runs past the edge of the panel at its first width.
void Narrow(wxWindow& section) {
    for (wxWindow* child : section.GetChildren()) {
        if (auto* label = dynamic_cast<OrvStaticText*>(child)) {
            label->SetMaximumTextWidth(kLabelWidth);
        } else if (dynamic_cast<wxSlider*>(child) != nullptr) {
            child->SetMinSize(wxSize(kSliderWidth, -1));
        } else if (dynamic_cast<wxComboBox*>(child) != nullptr) {
            // It asks for the width of its longest entry, which its list shows whole.
            child->SetMinSize(wxSize(std::min(child->GetBestSize().x, kTableWidth), -1));
        } else if (dynamic_cast<wxTextCtrl*>(child) != nullptr) {
            child->SetMinSize(wxSize(kFieldWidth, child->GetMinSize().y));
        }
    }
}

}  // namespace

void OrvFilterGuiViewer::CreateSidePanel() {
    m_sidePanel =
        new wxPanel(this, wxID_ANY, wxDefaultPosition, wxSize(kSidePanelWidth, -1), wxTAB_TRAVERSAL);
    m_sideScroll = new wxScrolledWindow(m_sidePanel, wxID_ANY, wxDefaultPosition, wxDefaultSize,
                                        wxVSCROLL | wxHSCROLL | wxTAB_TRAVERSAL);
    // Also sideways: a control that is wider than the panel is not cut off without a sign.
    m_sideScroll->SetScrollRate(kScrollStep, kScrollStep);
    // Sections that are hidden at the time are no children of what scrolls: the toolkit moves those, and complains.
    m_sideContent = new wxPanel(m_sideScroll, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxTAB_TRAVERSAL);
    auto* description = new DescriptionPanel(m_sideContent, this);
    auto* list = new wxBoxSizer(wxVERTICAL);
    list->Add(description, 0, wxEXPAND | wxALL, kGap);
    m_descriptionParent = description;
    m_descriptionSizer = description->GetGrid();
    // Unless sections of their own follow.
    m_inputParent = m_outputParent = m_descriptionParent;
    m_inputSizer = m_outputSizer = m_descriptionSizer;
    // Next to the picture, which cannot be read without its scale.
    m_mapPanel = new MapPanel(m_sideContent, this);
    list->Add(m_mapPanel, 0, wxEXPAND | wxALL, kGap);
    if (!m_parametersInput.empty() || !m_parametersPostProcessing.empty() || !m_parametersOutput.empty()) {
        auto* settings = new SettingsPanel(m_sideContent, this);
        settings->Show(!m_parametersInput.empty() || !m_parametersPostProcessing.empty());
        m_toolPanel->SetSettingsPanel(settings);
        list->Add(settings, 0, wxEXPAND | wxALL, kGap);
        m_inputParent = settings;
        m_inputSizer = settings->GetGrid();
    }
    if (!m_parametersOutput.empty()) {
        auto* outputs = new OutputsPanel(m_sideContent, this);
        m_toolPanel->SetOutputsPanel(outputs);
        list->Add(outputs, 0, wxEXPAND | wxALL, kGap);
        m_outputParent = outputs;
        m_outputSizer = outputs->GetGrid();
    }
    if (!IsSingleViewer()) {
        m_comparePanel = new ComparePanel(m_sideContent, this);
        list->Add(m_comparePanel, 0, wxEXPAND | wxALL, kGap);
    }
    m_sideList = list;
    m_sideContent->SetSizer(list);
    auto* whole = new wxBoxSizer(wxVERTICAL);
    whole->Add(m_sideContent, 1, wxEXPAND);
    m_sideScroll->SetSizer(whole);

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
    for (wxGridBagSizer* grid : {m_inputSizer, m_outputSizer}) {
        if (grid == m_descriptionSizer) continue;
        GiveWideOnesRows(*grid);
        grid->SetCols(0);  // counted when it is laid out
        if (CountRows(*grid) > 0) grid->AddGrowableCol(1);
    }
    for (wxWindow* parent : {m_inputParent, m_outputParent}) {
        if (parent != m_descriptionParent) Narrow(*parent);
    }
    // As wide as the controls ask for, within reason.
    m_sideWanted = m_sideScroll->GetSizer()->CalcMin().x + wxSystemSettings::GetMetric(wxSYS_VSCROLL_X);
    LayoutSide();
}

void OrvFilterGuiViewer::OnPageSize(wxSizeEvent& event) {
    const int width = GetClientSize().x;
    if (m_toolPanel != nullptr && width > 1) {
        const wxSize strip(-1, m_toolPanel->HeightForWidth(width));
        if (m_toolPanel->GetMinSize() != strip) m_toolPanel->SetMinSize(strip);
    }
    if (!m_isSideSized && width > 1) {
        const int most = std::clamp(width * kSidePanelPercent / 100, kSidePanelWidth, kSidePanelMaximum);
        const wxSize side(std::clamp(m_sideWanted, kSidePanelWidth, most), -1);
        if (m_sidePanel->GetMinSize() != side) m_sidePanel->SetMinSize(side);
    }
    event.Skip();
}

void OrvFilterGuiViewer::LayoutSide() {
    m_sideScroll->FitInside();
    m_sideContent->Layout();
}

void OrvFilterGuiViewer::ShowSidePanel(bool show) {
    m_sidePanel->Show(show);
    m_sideEdge->Show(show);
    Layout();
}

// Wide tables and plots want more than parameters do; the picture keeps its least width.
void OrvFilterGuiViewer::SetSideWidth(int width) {
    m_isSideSized = true;
    const int most = std::max(GetClientSize().x - kMinimumSide, kSidePanelLeast);
    m_sidePanel->SetMinSize(wxSize(std::clamp(width, kSidePanelLeast, most), -1));
    Layout();
    LayoutSide();
}

// Tables ask for the width of their columns whenever they are filled; here they scroll by themselves.
void OrvFilterGuiViewer::NarrowTables() {
    for (wxWindow* child : m_outputParent->GetChildren()) {
        if (dynamic_cast<wxGrid*>(child) == nullptr) continue;
        child->SetMinSize(wxSize(std::min(child->GetMinSize().x, kTableWidth), child->GetMinSize().y));
    }
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
    auto* panel = new PlotPanel(m_sideContent, wxID_ANY);
    panel->SetMinSize(wxSize(-1, kSmallPlotHeight));
    panel->SetToolTip(_("Double click: large"));
    panel->GetPlotWindow()->SetSmall();
    m_sideList->Add(panel, 0, wxEXPAND | wxLEFT | wxRIGHT | wxTOP, kGap);
    const auto before = std::make_shared<int>(0);
    auto* edge = new DragEdge(
        m_sideContent, wxVERTICAL, [panel, before] { *before = panel->GetSize().y; },
        [this, panel, before](int distance) {
            panel->SetMinSize(wxSize(-1, std::clamp(*before + distance, kSmallPlotLeast, kSmallPlotMost)));
            LayoutSide();
        });
    edge->SetToolTip(_("Drag: higher or lower"));
    m_sideList->Add(edge, 0, wxEXPAND);
    const std::size_t index = m_plots.size();
    panel->GetPlotWindow()->Bind(wxEVT_LEFT_DCLICK, [this, index](wxMouseEvent&) {
        PlotDialog dialog(this, wxGetTranslation(m_filter->GetName()), m_plots[index].data,
                          m_plots[index].slot);
        dialog.ShowModal();
    });
    m_plots.push_back({panel, edge, {}, OrvEvidence});
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
            small.edge->Show();
        }
    }
    // The same plots of both files are there to be compared.
    const bool arePairs = used % 2 == 0 && used > 0 && m_plots[used / 2].slot == OrvReference &&
                          m_plots[used / 2 - 1].slot == OrvEvidence;
    for (std::size_t i = 0; i < used; ++i) {
        PlotWindow& plot = *m_plots[i].panel->GetPlotWindow();
        if (arePairs && i < used / 2) {
            ShareScaleY(plot, *m_plots[i + used / 2].panel->GetPlotWindow());
        } else if (!arePairs) {
            plot.SetLeastRangeY(1, 0);
            plot.FitNewData();
        }
    }
    for (; used < m_plots.size(); ++used) {
        m_plots[used].panel->Hide();
        m_plots[used].edge->Hide();
    }
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
