// The sections of the panel beside the canvases: their heights as the user leaves them, the plots, the overview.

#include <wx/intl.h>
#include <wx/sizer.h>

#include <algorithm>
#include <cstdint>
#include <utility>

#include "orvcore/facade/interface.h"
#include "orvgui/pages/filterguiviewer.h"
#include "orvgui/pages/plotdialog.h"
#include "orvgui/pages/plotlayers.h"
#include "orvgui/pages/plotpanel.h"
#include "orvgui/pages/sidesection.h"
#include "orvgui/viewer/canvas.h"
#include "orvgui/viewer/navigatorcanvas.h"
#include "orvgui/viewer/settingspanel.h"
#include "zorbase/text.h"

namespace {

constexpr int kGap = 4;
constexpr int kSmallPlotHeight = 180;
constexpr int kSmallPlotLeast = 100;
constexpr int kNavigatorLeast = 60;
constexpr int kNavigatorMost = 600;
constexpr const char* kSideRecord =
    "side-panels";                      // of filters by id: width, description hidden, overview, heights
constexpr std::size_t kKeptBefore = 3;  // numbers before those of the sections
constexpr int kMostKept = 10000;        // pixels; the file that keeps them may have been edited

}  // namespace

SideSection* OrvFilterGuiViewer::AddSection(std::size_t place) {
    if (m_sections.size() <= place) m_sections.resize(place + 1, nullptr);
    auto* section = new SideSection(m_sideContent, *m_sideList, [this](bool byUser) {
        if (byUser) {
            NarrowTables();
            KeepSide();
        }
        LayoutSide();
    });
    if (place < m_keptHeights.size()) section->SetChosenHeight(m_keptHeights[place]);
    return m_sections[place] = section;
}

void OrvFilterGuiViewer::KeepSide() {
    // A section that was not made yet keeps its height.
    if (m_keptHeights.size() < m_sections.size()) m_keptHeights.resize(m_sections.size(), 0);
    for (std::size_t i = 0; i < m_sections.size(); ++i)
        if (m_sections[i] != nullptr) m_keptHeights[i] = m_sections[i]->GetChosenHeight();
    m_isSideChanged = true;
}

// Not with every step of a drag: when the page goes out of sight, or goes.
void OrvFilterGuiViewer::StoreSide() {
    OrvInterface* core = GetInterface();
    if (core == nullptr || !std::exchange(m_isSideChanged, false)) return;
    std::vector<int> numbers{m_keptWidth, m_description->IsTextShown() ? 0 : 1, m_navigatorWidth};
    numbers.insert(numbers.end(), m_keptHeights.begin(), m_keptHeights.end());
    Json record = core->GetToolSettings(kSideRecord);
    record[m_filter->GetId()] = numbers;
    core->SetToolSettings(kSideRecord, record);
}

void OrvFilterGuiViewer::RestoreSide() {
    const OrvInterface* core = GetInterface();
    const Json record = core != nullptr ? core->GetToolSettings(kSideRecord) : Json::object();
    const auto kept = record.find(m_filter->GetId());
    if (kept == record.end() || !kept->is_array()) return;
    std::vector<std::int64_t> numbers;
    for (const Json& number : *kept)
        numbers.push_back(number.is_number_integer() ? number.get<std::int64_t>() : 0);
    if (numbers.size() < kKeptBefore) return;
    const auto number = [&numbers](std::size_t i) {
        return static_cast<int>(std::clamp<std::int64_t>(numbers[i], 0, kMostKept));
    };
    m_keptWidth = number(0);
    if (number(1) != 0) m_description->ShowText(false);
    m_navigatorWidth = std::min(number(2), kNavigatorMost);
    for (std::size_t i = kKeptBefore; i < numbers.size(); ++i) m_keptHeights.push_back(number(i));
    for (std::size_t i = 0; i < std::min(m_sections.size(), m_keptHeights.size()); ++i)
        if (m_sections[i] != nullptr) m_sections[i]->SetChosenHeight(m_keptHeights[i]);
}

PlotPanel* OrvFilterGuiViewer::AddPlot() {
    const std::size_t index = m_plots.size();
    SideSection* section = AddSection(kFirstPlot + index);
    section->SetFirstHeight(kSmallPlotHeight);
    auto* panel = new PlotPanel(section, wxID_ANY);
    panel->SetMinSize(wxSize(-1, kSmallPlotLeast));
    panel->SetToolTip(_("Double click: large"));
    panel->GetPlotWindow()->SetSmall();
    section->SetContent(panel);
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
    for (; used < m_plots.size(); ++used) m_plots[used].panel->Hide();
}

void OrvFilterGuiViewer::FitNavigator() {
    if (m_navigator == nullptr) return;
    Canvas* canvas = GetLeadCanvas();
    const IntPair usual = NavigatorWindowSize(canvas ? canvas->GetProperties()->GetPixelSize() : IntPair{});
    wxSize size(usual.x, usual.y);
    if (m_navigatorWidth > 0 && usual.x > 0) {
        // The sections above it keep half of the panel.
        const wxSize room = m_sidePanel->GetClientSize();
        const int most = std::min(room.x - 2 * kGap, usual.x * room.y / (2 * std::max(usual.y, 1)));
        size.x = std::clamp(m_navigatorWidth, kNavigatorLeast, std::max(most, kNavigatorLeast));
        size.y = std::max(usual.y * size.x / usual.x, 1);
    }
    if (m_navigator->GetMinSize() != size) {
        m_navigator->SetMinSize(size);
        m_sidePanel->Layout();
    }
    m_navigator->Refresh(false);
}

void OrvFilterGuiViewer::SetNavigatorHeight(int height) {
    const wxSize now = m_navigator->GetMinSize();
    m_navigatorWidth = std::clamp(height * now.x / std::max(now.y, 1), kNavigatorLeast, kNavigatorMost);
    FitNavigator();
    KeepSide();
}
