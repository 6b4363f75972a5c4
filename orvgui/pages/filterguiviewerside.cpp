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
#include "orvgui/common/quietscroll.h"
#include "orvgui/common/statictext.h"
#include "orvgui/common/textfocus.h"
#include "orvgui/pages/sidesection.h"
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
constexpr int kTableLeast = 72;  // in a section that the user made as high as it is

int CountRows(const wxGridBagSizer& grid) {
    int rows = 0;
    for (const wxSizerItem* item : grid.GetChildren()) {
        const auto* cell = static_cast<const wxGBSizerItem*>(item);
        rows = std::max(rows, cell->GetPos().GetRow() + cell->GetSpan().GetRowspan());
    }
    return rows;
}

// What is too wide to stand beside its label in a narrow column: a slider must be long enough to hit a value, a text is read in
// lines, a name stands beside the button that asks for it.
bool IsWide(wxSizerItem* item) {
    if (item == nullptr) return false;
    if (item->IsSizer()) {
        const wxSizerItemList& children = item->GetSizer()->GetChildren();
        return std::any_of(children.begin(), children.end(), IsWide);
    }
    wxWindow* window = item->GetWindow();
    const auto* text = dynamic_cast<wxTextCtrl*>(window);
    return dynamic_cast<wxSlider*>(window) != nullptr || dynamic_cast<wxGrid*>(window) != nullptr ||
           dynamic_cast<wxButton*>(window) != nullptr || (text != nullptr && text->IsMultiLine()) ||
           (dynamic_cast<wxComboBox*>(window) != nullptr && window->GetBestSize().x > kFieldWidth);
}

bool HoldsTable(wxSizerItem* item) {
    if (item->IsSizer()) {
        const wxSizerItemList& children = item->GetSizer()->GetChildren();
        return std::any_of(children.begin(), children.end(), HoldsTable);
    }
    return dynamic_cast<wxGrid*>(item->GetWindow()) != nullptr;
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
        if (label == nullptr) continue;
        label->SetPos(wxGBPosition(row + more, 0));
        if (!isWide || label == field) continue;
        label->SetSpan(wxGBSpan(1, 2));
        label->SetFlag((label->GetFlag() & ~wxALIGN_CENTER_VERTICAL) | wxEXPAND);
    }
}

// Nothing runs past the edge of the panel at its first width.
void Narrow(wxWindow& section) {
    for (wxWindow* child : section.GetChildren()) {
        if (auto* label = dynamic_cast<OrvStaticText*>(child)) {
            label->SetMaximumTextWidth(TextWidth(*label, kLabelWidth));
        } else if (dynamic_cast<wxSlider*>(child) != nullptr) {
            child->SetMinSize(wxSize(kSliderWidth, -1));
        } else if (dynamic_cast<wxComboBox*>(child) != nullptr) {
            // It asks for the width of its longest entry, which its list shows whole.
            child->SetMinSize(wxSize(std::min(child->GetBestSize().x, TextWidth(*child, kTableWidth)), -1));
        } else if (dynamic_cast<wxTextCtrl*>(child) != nullptr) {
            child->SetMinSize(wxSize(TextWidth(*child, kFieldWidth), child->GetMinSize().y));
        }
    }
}

}  // namespace

void OrvFilterGuiViewer::CreateSidePanel() {
    m_sidePanel = new wxPanel(this, wxID_ANY, wxDefaultPosition,
                              wxSize(TextWidth(*this, kSidePanelWidth), -1), wxTAB_TRAVERSAL);
    m_sideScroll = new QuietScroll<wxScrolledWindow>(m_sidePanel, wxID_ANY, wxDefaultPosition, wxDefaultSize,
                                                     wxVSCROLL | wxHSCROLL | wxTAB_TRAVERSAL);
    // Also sideways: a control that is wider than the panel is not cut off without a sign.
    m_sideScroll->SetScrollRate(kScrollStep, kScrollStep);
    // Sections that are hidden at the time are no children of what scrolls: the toolkit moves those, and complains.
    m_sideContent = new wxPanel(m_sideScroll, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxTAB_TRAVERSAL);
    m_sideList = new wxBoxSizer(wxVERTICAL);
    const auto add = [this](std::size_t place, const auto& make) {
        SideSection* section = AddSection(place);
        auto* content = make(section);
        section->SetContent(content);
        return content;
    };
    m_description =
        add(kDescription, [this](wxWindow* parent) { return new DescriptionPanel(parent, this); });
    m_descriptionParent = m_description;
    m_descriptionSizer = m_description->GetGrid();
    // Unless sections of their own follow.
    m_inputParent = m_outputParent = m_descriptionParent;
    m_inputSizer = m_outputSizer = m_descriptionSizer;
    // Next to the picture, which cannot be read without its scale.
    m_mapPanel = add(kMap, [this](wxWindow* parent) { return new MapPanel(parent, this); });
    if (!m_parametersInput.empty() || !m_parametersPostProcessing.empty() || !m_parametersOutput.empty()) {
        auto* settings =
            add(kParameters, [this](wxWindow* parent) { return new SettingsPanel(parent, this); });
        settings->Show(!m_parametersInput.empty() || !m_parametersPostProcessing.empty());
        m_toolPanel->SetSettingsPanel(settings);
        m_inputParent = settings;
        m_inputSizer = settings->GetGrid();
    }
    if (!m_parametersOutput.empty()) {
        auto* outputs = add(kResults, [this](wxWindow* parent) { return new OutputsPanel(parent, this); });
        m_toolPanel->SetOutputsPanel(outputs);
        m_outputParent = outputs;
        m_outputSizer = outputs->GetGrid();
    }
    if (!IsSingleViewer()) {
        m_comparePanel = add(kCompare, [this](wxWindow* parent) { return new ComparePanel(parent, this); });
    }
    m_sideContent->SetSizer(m_sideList);
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
        m_navigatorEdge = new DragEdge(
            m_sidePanel, wxVERTICAL, [this] { m_navigatorBefore = m_navigator->GetSize(); },
            [this](int distance) {
                if (distance != 0 || m_navigatorWidth > 0) SetNavigatorHeight(m_navigatorBefore.y - distance);
            });
        m_navigatorEdge->SetToolTip(_("Drag: larger or smaller"));
        column->Add(m_navigatorEdge, 0, wxEXPAND);
        column->Add(m_navigator, 0, wxALIGN_CENTER_HORIZONTAL | wxLEFT | wxRIGHT | wxBOTTOM, kGap);
    }
    m_sidePanel->SetSizer(column);
    m_sidePanel->SetMinSize(wxSize(TextWidth(*this, kSidePanelWidth), -1));
    RestoreSide();
    m_description->SetListener([this] {
        // Of another height from now on.
        m_sections[kDescription]->SetChosenHeight(0);
        LayoutSide();
        KeepSide();
    });
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
        // What a section has to spare goes to its tables.
        grid->SetRows(0);
        for (wxSizerItem* item : grid->GetChildren())
            if (const auto* cell = static_cast<wxGBSizerItem*>(item); HoldsTable(item)) {
                // Aligned in its cell it would not be as high as it.
                item->SetFlag(item->GetFlag() & ~wxALIGN_CENTER_VERTICAL);
                grid->AddGrowableRow(static_cast<std::size_t>(cell->GetPos().GetRow()), 1);
            }
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
    if (!m_isSideSized && m_keptWidth > 0 && width > 1) {
        const wxSize side(SideWidthWithin(m_keptWidth), -1);
        if (m_sidePanel->GetMinSize() != side) m_sidePanel->SetMinSize(side);
    } else if (!m_isSideSized && width > 1) {
        const int least = TextWidth(*this, kSidePanelWidth);
        const int most =
            std::clamp(width * kSidePanelPercent / 100, least, TextWidth(*this, kSidePanelMaximum));
        const wxSize side(std::clamp(m_sideWanted, least, most), -1);
        if (m_sidePanel->GetMinSize() != side) m_sidePanel->SetMinSize(side);
    }
    event.Skip();
}

void OrvFilterGuiViewer::LayoutSide() {
    for (SideSection* section : m_sections)
        if (section != nullptr && section->IsShown()) section->FitInside();
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
    m_keptWidth = SideWidthWithin(width);
    m_sidePanel->SetMinSize(wxSize(m_keptWidth, -1));
    Layout();
    LayoutSide();
    KeepSide();
}

int OrvFilterGuiViewer::SideWidthWithin(int width) const {
    return std::clamp(width, kSidePanelLeast, std::max(GetClientSize().x - kMinimumSide, kSidePanelLeast));
}

// Tables ask for the width of their columns whenever they are filled; here they scroll by themselves. In a section of a height that
// the user chose they make do with what it leaves them.
void OrvFilterGuiViewer::NarrowTables() {
    const SideSection* section = m_sections.size() > kResults ? m_sections[kResults] : nullptr;
    const bool isChosen = section != nullptr && section->GetChosenHeight() > 0;
    for (wxWindow* child : m_outputParent->GetChildren()) {
        if (dynamic_cast<wxGrid*>(child) == nullptr) continue;
        const wxSize wanted = child->GetMinSize();
        int& height = m_tableHeights.try_emplace(child, wanted.y).first->second;
        if (wanted.y != kTableLeast) height = wanted.y;
        child->SetMinSize(
            wxSize(std::min(wanted.x, TextWidth(*child, kTableWidth)), isChosen ? kTableLeast : height));
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
