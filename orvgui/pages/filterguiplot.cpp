#include "orvgui/pages/filterguiplot.h"

#include <wx/gbsizer.h>
#include <wx/intl.h>
#include <wx/scrolwin.h>
#include <wx/settings.h>
#include <wx/sizer.h>

#include <algorithm>
#include <numeric>
#include <utility>

#include "orvcore/facade/interface.h"
#include "orvgui/common/dragedge.h"
#include "orvgui/common/filedrop.h"
#include "orvgui/common/quietscroll.h"
#include "orvgui/common/statictext.h"
#include "orvgui/pages/plotdialog.h"
#include "orvgui/pages/plotlayers.h"
#include "orvgui/pages/plotpanel.h"
#include "orvgui/tables/listctrl.h"

namespace {

constexpr int kEvidencePlotId = 6000;
constexpr int kReferencePlotId = 6001;
constexpr int kBorder = 4;
constexpr int kMinimumPlotHeight = 160;
constexpr int kMinimumStripWidth = 200;
constexpr int kMinimumPlotWidth = 300;
constexpr int kTableWidth = 320;
constexpr int kTablePercent = 45;  // of the page's width that tables take of themselves
constexpr int kStripScrollStep = 16;

// Shared by all plot pages, which are all on one thread. The layout is worked out afresh when the set of
// loaded files has changed since the last time.
bool layoutPending = false;
bool hadBothFiles = false;
int lastLoadedSlots = 0;  // bit 0 the evidence, bit 1 the reference

bool HasFile(OrvFileId slot) {
    const OrvInterface* core = GetInterface();
    return core != nullptr && core->HasFile(slot);
}

wxGridBagSizer* AddGrid(wxBoxSizer* row, int proportion) {
    auto* grid = new wxGridBagSizer(0, 0);
    grid->SetFlexibleDirection(wxHORIZONTAL);
    grid->SetEmptyCellSize(wxSize(0, 0));
    row->Add(grid, proportion, wxEXPAND | wxRIGHT | wxTOP | wxBOTTOM, kBorder);
    return grid;
}

bool IsShownTable(const Parameter& output) {
    return output.Type() == ParameterType::TableString && !output.IsHiddenFromGui();
}

std::vector<wxGBSizerItem*> ItemsInOrder(wxGridBagSizer& grid) {
    std::vector<wxGBSizerItem*> items;
    for (wxSizerItem* child : grid.GetChildren()) items.push_back(static_cast<wxGBSizerItem*>(child));
    std::sort(items.begin(), items.end(), [](const wxGBSizerItem* a, const wxGBSizerItem* b) {
        const wxGBPosition first = a->GetPos();
        const wxGBPosition second = b->GetPos();
        return std::pair(first.GetRow(), first.GetCol()) < std::pair(second.GetRow(), second.GetCol());
    });
    return items;
}

std::vector<int> WidthsOf(wxGridBagSizer& grid) {
    std::vector<int> widths;
    for (wxGBSizerItem* item : ItemsInOrder(grid)) widths.push_back(item->IsShown() ? item->CalcMin().x : 0);
    return widths;
}

// Brings the items of a grid into so many columns, in their order.
void FlowGrid(wxGridBagSizer& grid, int columns) {
    const std::vector<wxGBSizerItem*> items = ItemsInOrder(grid);
    // Two at a time in one cell are refused: by way of a row that nobody uses.
    const int count = static_cast<int>(items.size());
    for (int i = 0; i < count; ++i) items[static_cast<std::size_t>(i)]->SetPos(wxGBPosition(count, i));
    for (int i = 0; i < count; ++i)
        items[static_cast<std::size_t>(i)]->SetPos(wxGBPosition(i / columns, i % columns));
}

}  // namespace

int FlowColumns(const std::vector<int>& widths, int room) {
    const int count = static_cast<int>(widths.size());
    for (int columns = count; columns > 1; --columns) {
        std::vector<int> widest(static_cast<std::size_t>(columns), 0);
        for (int i = 0; i < count; ++i) {
            int& width = widest[static_cast<std::size_t>(i % columns)];
            width = std::max(width, widths[static_cast<std::size_t>(i)]);
        }
        if (std::accumulate(widest.begin(), widest.end(), 0) <= room) return columns;
    }
    return 1;
}

OrvFilterPlot* OrvFilterGuiPlot::GetFilterPlot() const {
    return dynamic_cast<OrvFilterPlot*>(m_filter);
}

void OrvFilterGuiPlot::CreateControlsCustom() {
    m_evidencePlot = new PlotPanel(this, kEvidencePlotId);
    m_evidencePlot->GetPlot()->SetName(_("Evidence Image Value"));
    m_evidencePlot->GetPlot()->SetDropTarget(new FilePanelDropTarget(OrvEvidence));
    m_referencePlot = new PlotPanel(this, kReferencePlotId);
    m_referencePlot->GetPlot()->SetName(_("Reference Image Value"));
    m_referencePlot->GetPlot()->SetDropTarget(new FilePanelDropTarget(OrvReference));
    m_referencePlot->Hide();
    for (PlotPanel* plot : {m_evidencePlot, m_referencePlot}) {
        plot->GetPlotWindow()->SetTwins(m_evidencePlot->GetPlotWindow(), m_referencePlot->GetPlotWindow());
        plot->SetMinSize(wxSize(-1, kMinimumPlotHeight));
    }

    // The description was placed in the grid that is about to go; it moves to the top of the new layout.
    std::vector<wxWindow*> descriptions;
    for (wxSizerItem* item : m_descriptionSizer->GetChildren()) {
        if (item->IsWindow()) descriptions.push_back(item->GetWindow());
    }
    m_descriptionSizer->Clear();
    auto* description = new wxGridBagSizer(0, 0);
    description->SetFlexibleDirection(wxBOTH);
    description->SetEmptyCellSize(wxSize(0, 0));
    // More values than the page is wide scroll by themselves: the plots keep the width of the page.
    m_strip = new QuietScroll<wxScrolledWindow>(this, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxHSCROLL);
    m_strip->SetScrollRate(kStripScrollStep, 0);
    m_inputParent = m_outputParent = m_strip;
    auto* column = new wxBoxSizer(wxVERTICAL);
    auto* row = new wxBoxSizer(wxHORIZONTAL);
    column->Add(description, 0, wxEXPAND);
    auto* plots = new wxBoxSizer(wxVERTICAL);
    plots->Add(m_evidencePlot, 1, wxEXPAND);
    plots->Add(m_referencePlot, 1, wxEXPAND);
    auto* middle = new wxBoxSizer(wxHORIZONTAL);
    middle->Add(plots, 1, wxEXPAND);
    CreateTablePanel(middle);
    column->Add(middle, 1, wxEXPAND);
    column->Add(m_strip, 0, wxEXPAND);
    m_inputSizer = AddGrid(row, 0);
    m_outputSizer = AddGrid(row, 1);
    m_strip->SetSizer(row);
    m_strip->Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
        event.Skip();
        FitStrip();
        FitTables();
    });
    SetSizer(column, true);
    m_descriptionSizer = m_mainSizer = description;
    for (wxWindow* window : descriptions)
        AddToSizer(m_descriptionSizer, window, CountCells(m_descriptionSizer).GetRow(), 0, 1, 1);
    m_descriptionSizer->AddGrowableCol(0);
}

void OrvFilterGuiPlot::CreateTablePanel(wxSizer* middle) {
    const bool hasTable = std::any_of(m_parametersOutput.begin(), m_parametersOutput.end(),
                                      [](const Parameter& output) { return IsShownTable(output); });
    if (!hasTable) return;
    auto* edge = new DragEdge(
        this, wxHORIZONTAL, [this] { m_tableWidthBefore = m_tables->GetSize().x; },
        [this](int distance) { SetTableWidth(m_tableWidthBefore - distance); });
    m_tables = new QuietScroll<wxScrolledWindow>(this, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxVSCROLL);
    m_tables->SetScrollRate(0, kStripScrollStep);
    m_tables->SetSizer(new wxBoxSizer(wxVERTICAL));
    m_tables->SetMinSize(wxSize(kTableWidth, kMinimumPlotHeight));
    middle->Add(edge, 0, wxEXPAND);
    middle->Add(m_tables, 0, wxEXPAND);
}

// Wide enough for the columns of all tables, where that leaves the plots the larger part.
void OrvFilterGuiPlot::FitTables() {
    if (m_tables == nullptr || m_isTableSized) return;
    int wanted = 0;
    for (const auto& control : m_controlsOutput) {
        const auto* list = control ? dynamic_cast<OrvListCtrl*>(control->GetControl()) : nullptr;
        int width = 6 * kBorder + 2 * wxSystemSettings::GetMetric(wxSYS_VSCROLL_X, m_tables);
        for (int column = 0; list != nullptr && column < list->GetNumCols(); ++column)
            width += list->GetColSize(column);
        wanted = std::max(wanted, width);
    }
    const int most = std::max(GetClientSize().x * kTablePercent / 100, kTableWidth);
    const wxSize size(std::clamp(wanted, kTableWidth, most), kMinimumPlotHeight);
    if (m_tables->GetMinSize() == size) return;
    m_tables->SetMinSize(size);
    PostSizeEvent();
}

void OrvFilterGuiPlot::SetTableWidth(int width) {
    if (m_tables == nullptr) return;
    m_isTableSized = true;
    const int most = std::max(GetClientSize().x - 2 * m_margin - kMinimumPlotWidth, kMinimumStripWidth);
    m_tables->SetMinSize(wxSize(std::clamp(width, kMinimumStripWidth, most), kMinimumPlotHeight));
    Layout();
    m_tables->FitInside();
}

// Tables would leave the plots no height in the strip below them.
void OrvFilterGuiPlot::CreateControlsOutput() {
    for (const Parameter& output : m_parametersOutput) {
        if (m_tables == nullptr || !IsShownTable(output)) {
            m_controlsOutput.emplace_back(CreateParameterControl(m_outputParent, m_outputSizer, output));
            continue;
        }
        auto* grid = AddGrid(static_cast<wxBoxSizer*>(m_tables->GetSizer()), 0);
        m_controlsOutput.emplace_back(CreateParameterControl(m_tables, grid, output));
        if (grid->GetCols() > 0) grid->AddGrowableCol(0);
    }
}

// What does not fit into the page's width goes on below. As high as its controls, with room for the scroll bar where there is one; as wide as the page.
void OrvFilterGuiPlot::FitStrip() {
    const int room = m_strip->GetClientSize().x - 2 * kBorder;
    auto* row = static_cast<wxBoxSizer*>(m_strip->GetSizer());
    const std::vector<int> inputs = WidthsOf(*m_inputSizer);
    const std::vector<int> outputs = WidthsOf(*m_outputSizer);
    const int all = std::accumulate(inputs.begin(), inputs.end(), 0) +
                    std::accumulate(outputs.begin(), outputs.end(), 0) + 2 * kBorder;
    if (room > kMinimumStripWidth) {
        const bool isOneRow = all <= room;
        row->SetOrientation(isOneRow ? wxHORIZONTAL : wxVERTICAL);
        for (wxGridBagSizer* grid : {m_inputSizer, m_outputSizer}) {
            const std::vector<int>& widths = grid == m_inputSizer ? inputs : outputs;
            const int columns = isOneRow ? static_cast<int>(widths.size()) : FlowColumns(widths, room);
            if (!widths.empty() && CountCells(grid).GetCol() != columns) FlowGrid(*grid, columns);
        }
    }
    const wxSize content = m_strip->GetSizer()->GetMinSize();
    const bool scrolls = content.x > m_strip->GetSize().x;
    const int bar = scrolls ? wxSystemSettings::GetMetric(wxSYS_HSCROLL_Y, m_strip) + 2 * kBorder : 0;
    const wxSize size(kMinimumStripWidth, content.y + bar);
    if (m_strip->GetMinSize() == size) return;
    m_strip->SetMinSize(size);
    PostSizeEvent();
}

void OrvFilterGuiPlot::ResetViewerPanel() {
    if (m_evidencePlot == nullptr) return;  // not built yet
    m_evidencePlot->Hide();
    m_referencePlot->Hide();
}

void OrvFilterGuiPlot::ConfigurePlot(PlotPanel* panel, OrvFileId slot) {
    OrvPlotData data;
    if (const OrvFilterPlot* filter = GetFilterPlot()) data = filter->GetPlotDataCopy(slot);
    ShowPlotData(*panel, std::move(data), slot, m_visibleLayer);
}

void OrvFilterGuiPlot::ConfigurePlots() {
    const Parameter* layer = m_parametersPostProcessing.Find("layer");
    if (layer != nullptr &&
        (layer->Type() == ParameterType::Choice || layer->Type() == ParameterType::ChoiceList))
        m_visibleLayer = layer->Get<int>();

    const bool evidence = HasFile(OrvEvidence);
    const bool reference = HasFile(OrvReference);
    const int loaded = (evidence ? 1 : 0) | (reference ? 2 : 0);
    if (loaded != lastLoadedSlots) layoutPending = true;
    lastLoadedSlots = loaded;

    wxSize size = GetClientSize();
    if (evidence && reference) {
        size.SetHeight(size.GetHeight() / 2);
        hadBothFiles = true;
    }
    FitStrip();
    FitTables();
    if (m_tables != nullptr) m_tables->FitInside();
    bool changed = false;
    const bool neitherShown = !m_evidencePlot->IsShown() && !m_referencePlot->IsShown();
    if (layoutPending || hadBothFiles || neitherShown) {
        m_evidencePlot->SetClientSize(size);
        m_referencePlot->SetClientSize(size);
        changed = true;
    }

    const auto show = [&changed](PlotPanel* plot, bool shown) {
        if (plot->IsShown() == shown) return;
        plot->Show(shown);
        changed = true;
    };
    ConfigurePlot(m_evidencePlot, OrvEvidence);
    show(m_evidencePlot, true);
    if (!reference) show(m_referencePlot, false);
    if (reference) {
        ConfigurePlot(m_referencePlot, OrvReference);
        show(m_referencePlot, true);
        if (!evidence) show(m_evidencePlot, false);
    }
    if (evidence && reference) {
        ShareScaleY(*m_evidencePlot->GetPlotWindow(), *m_referencePlot->GetPlotWindow());
    } else {
        // The other's data has gone.
        for (PlotPanel* plot : {m_evidencePlot, m_referencePlot}) {
            plot->GetPlotWindow()->SetLeastRangeY(1, 0);
            plot->GetPlotWindow()->FitNewData();
        }
    }
    wxString reason = m_filter->GetErrorMessage();
    if (reason.empty()) reason = evidence || reference ? GetAwaitedMessage() : GetNoDataMessage();
    bool isAll = false;
    if (reason.empty()) reason = GetSilence(isAll);
    SetNotice(reason);

    if (changed) {
        layoutPending = false;
        hadBothFiles = false;
        PostSizeEvent();
    }
}

Image& OrvFilterGuiPlot::GetDisplayedImage() {
    if (m_evidencePlot == nullptr) return m_displayedImage;  // a page that was never seen shows nothing
    const Image evidence = HasFile(OrvEvidence) ? m_evidencePlot->Render() : Image();
    const Image reference = HasFile(OrvReference) ? m_referencePlot->Render() : Image();
    if (evidence.IsValid() != reference.IsValid()) {
        m_displayedImage = evidence.IsValid() ? evidence : reference;
    } else if (evidence.IsValid()) {
        const cv::Mat& first = evidence.GetMat();
        const cv::Mat& second = reference.GetMat();
        cv::Mat both(first.rows + second.rows, first.cols, first.type(), cv::Scalar::all(0));
        first.copyTo(both(cv::Rect(0, 0, first.cols, first.rows)));
        // The second picture begins on the last row of the first and is taken to be of the same size.
        const cv::Rect target =
            cv::Rect(0, first.rows - 1, second.cols, first.rows) & cv::Rect(0, 0, both.cols, both.rows);
        const cv::Rect source =
            cv::Rect(0, 0, target.width, target.height) & cv::Rect(0, 0, second.cols, second.rows);
        second(source).copyTo(both(cv::Rect(target.tl(), source.size())));
        m_displayedImage = Image(both);
    }
    return m_displayedImage;
}
