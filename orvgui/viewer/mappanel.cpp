#include "orvgui/viewer/mappanel.h"

#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/gbsizer.h>
#include <wx/intl.h>
#include <wx/slider.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>

#include <algorithm>
#include <memory>

#include "orvcore/facade/interface.h"
#include "orvcore/filter/mapranges.h"
#include "orvgui/common/accessible.h"
#include "orvgui/common/statictext.h"
#include "orvgui/common/textfocus.h"
#include "orvgui/common/validator.h"
#include "orvgui/common/wheel.h"
#include "orvgui/viewer/maplegend.h"
#include "orvgui/viewer/viewerhost.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr int kGap = 4;
constexpr int kTextWidth = 200;
constexpr int kRangeWidth = 64;
constexpr int kRestMs = 80;  // a selection that is being drawn is counted when it rests

struct Counted {
    bool isDone[kFileSlots] = {false, false};
    MapStatistics numbers[kFileSlots];
};

wxString SlotName(int slot) {
    return slot == OrvEvidence ? _("Evidence") : _("Reference");
}

}  // namespace

MapPanel::MapPanel(wxWindow* parent, OrvViewerHost* page) : OrvSidePanelBase(parent, page, _("Map")) {
    wxGridBagSizer* grid = GetGrid();
    const auto add = [grid](wxWindow* window, int row, int column, int span) {
        grid->Add(window, wxGBPosition(row, column), wxGBSpan(1, span),
                  wxEXPAND | wxALIGN_CENTER_VERTICAL | wxRIGHT | wxBOTTOM, kGap);
    };
    m_choice = new wxChoice(this, wxID_ANY);
    m_choice->SetToolTip(_("Which of the maps is shown"));
    // Its list shows long names whole.
    m_choice->SetMinSize(wxSize(TextWidth(*this, kTextWidth), -1));
    add(m_choice, 0, 0, 2);
    add(new wxStaticText(this, wxID_ANY, _("Opacity")), 1, 0, 1);
    m_display.opacity = GetInterface()->GetOptions().GetMapOpacity();
    m_opacity = new wxSlider(this, wxID_ANY, m_display.opacity, 0, 100);
    SetAccessibleName(m_opacity, _("Opacity"));
    m_opacity->SetToolTip(_("How much of the map lies over the picture, percent"));
    add(m_opacity, 1, 1, 1);
    m_beyond = new wxCheckBox(this, wxID_ANY, _("Only beyond the threshold"));
    add(m_beyond, 2, 0, 2);
    m_legend = new MapLegend(this);
    add(m_legend, 3, 0, 2);
    m_rangeRow = new wxBoxSizer(wxHORIZONTAL);
    m_low = AddRangeField(m_rangeRow, _("Colours from"));
    // TRANSLATORS: between the two ends of a range of values.
    m_rangeRow->Add(new wxStaticText(this, wxID_ANY, _("to")), 0, wxALIGN_CENTER_VERTICAL | wxRIGHT, kGap);
    m_high = AddRangeField(m_rangeRow, _("Colours to"));
    m_reset = new wxButton(this, wxID_ANY, _("Reset"), wxDefaultPosition, wxDefaultSize, wxBU_EXACTFIT);
    m_reset->SetToolTip(_("The range of the analysis instead of your own"));
    m_rangeRow->Add(m_reset, 0, wxALIGN_CENTER_VERTICAL);
    grid->Add(m_rangeRow, wxGBPosition(4, 0), wxGBSpan(1, 2), wxBOTTOM, kGap);
    m_range = new OrvStaticText(this, wxString());
    m_range->SetMaximumTextWidth(TextWidth(*this, kTextWidth));
    add(m_range, 5, 0, 2);
    m_numbers = new OrvStaticText(this, wxString());
    m_numbers->SetMaximumTextWidth(TextWidth(*this, kTextWidth));
    add(m_numbers, 6, 0, 2);
    grid->AddGrowableCol(1);
    m_choice->Bind(wxEVT_CHOICE, [this](wxCommandEvent&) { OnChange(); });
    m_beyond->Bind(wxEVT_CHECKBOX, [this](wxCommandEvent&) { OnChange(); });
    m_reset->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) {
        if (const OrvMap* map = ShownMap()) m_page->SetMapRange(map->name, {});
    });
    m_opacity->Bind(wxEVT_SLIDER, [this](wxCommandEvent&) { OnChange(); });
    for (wxWindow* control : {static_cast<wxWindow*>(m_choice), static_cast<wxWindow*>(m_opacity)})
        LeaveWheelToPage(control);
    m_timer.Bind(wxEVT_TIMER, [this](wxTimerEvent&) { Count(); });
    Hide();
}

const OrvMap* MapPanel::GetMap(OrvFileId slot) const {
    return m_display.map < m_maps[slot].size() ? &m_maps[slot][m_display.map] : nullptr;
}

std::size_t MapPanel::FindMap(const std::string& name) const {
    for (const std::vector<OrvMap>& maps : m_maps)
        for (std::size_t i = 0; i < maps.size(); ++i)
            if (maps[i].name == name) return i;
    return 0;
}

const OrvMap* MapPanel::ShownMap() const {
    const OrvMap* map = GetMap(OrvEvidence);
    return map != nullptr ? map : GetMap(OrvReference);
}

wxTextCtrl* MapPanel::AddRangeField(wxSizer* row, const wxString& name) {
    auto* field =
        new wxTextCtrl(this, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize, wxTE_PROCESS_ENTER);
    SetAccessibleName(field, name);
    field->SetValidator(ValidatorTyped<double>());
    field->SetMinSize(FieldSize(*field, kRangeWidth));
    field->Bind(wxEVT_TEXT_ENTER, [this](wxCommandEvent&) { TakeRange(); });
    field->Bind(wxEVT_KILL_FOCUS, [this, field](wxFocusEvent& event) {
        event.Skip();
        if (!field->IsBeingDeleted()) TakeRange();
    });
    row->Add(field, 0, wxALIGN_CENTER_VERTICAL | wxRIGHT, kGap);
    return field;
}

// A range that is being typed is not written over by a result that comes meanwhile.
void MapPanel::ShowRange(const OrvMap& map) {
    const bool hasRange = RangeByHand(map, map.range.low, map.range.high).has_value();
    m_rangeRow->ShowItems(hasRange && !map.values.empty());
    m_reset->Enable(m_byHand.contains(map.name));
    const auto show = [](wxTextCtrl* field, wxString& shown, const wxString& text) {
        if (field->HasFocus() && field->GetValue() != shown) return;
        shown = text;
        if (field->GetValue() != text) field->ChangeValue(text);
        if (auto* validator = dynamic_cast<Validator*>(field->GetValidator())) validator->Mark();
    };
    show(m_low, m_lowShown, ToWx(MapNumberText(map, map.range.low)));
    show(m_high, m_highShown, ToWx(MapNumberText(map, map.range.high)));
}

// An end that was not edited stays exactly as it is, whatever digits are shown of it. What is no range is taken back.
void MapPanel::TakeRange() {
    const OrvMap* map = ShownMap();
    if (map == nullptr || (m_low->GetValue() == m_lowShown && m_high->GetValue() == m_highShown)) return;
    double low = map->range.low;
    double high = map->range.high;
    const bool isLowEdited = m_low->GetValue() != m_lowShown;
    const bool isHighEdited = m_high->GetValue() != m_highShown;
    const ValidatorTyped<double> number;
    const bool isGood = (!isLowEdited || number.Parse(m_low->GetValue(), low)) &&
                        (!isHighEdited || number.Parse(m_high->GetValue(), high));
    // Of two ends that mirror each other, the one that was edited says how far both reach.
    if (map->scale == OrvMapScale::Diverging && isLowEdited != isHighEdited)
        (isLowEdited ? high : low) = -(isLowEdited ? low : high);
    const std::optional<OrvRange> range = isGood ? RangeByHand(*map, low, high) : std::nullopt;
    m_low->ChangeValue(m_lowShown);
    m_high->ChangeValue(m_highShown);
    if (range && *range != map->range) m_page->SetMapRange(map->name, range);
    ShowRange(*map);
}

void MapPanel::SetMaps(const std::vector<OrvMap> (&maps)[kFileSlots], const std::set<std::string>& byHand) {
    m_byHand = byHand;
    for (int slot = 0; slot < kFileSlots; ++slot) m_maps[slot] = maps[slot];
    const std::vector<OrvMap>& named =
        m_maps[OrvEvidence].empty() ? m_maps[OrvReference] : m_maps[OrvEvidence];
    if (m_display.map >= named.size()) m_display.map = 0;
    if (!m_isOpacityChosen) {
        m_display.opacity = GetInterface()->GetOptions().GetMapOpacity();
        m_opacity->SetValue(m_display.opacity);
    }
    wxArrayString names;
    for (const OrvMap& map : named) names.Add(MapTitle(map));
    if (names != m_choice->GetStrings()) m_choice->Set(names);
    if (!names.empty()) m_choice->SetSelection(static_cast<int>(m_display.map));
    m_choice->Show(names.size() > 1);
    ShowMap();
    m_task.Stop();
    Count();
}

void MapPanel::LetGoMaps() {
    m_timer.Stop();
    m_task.Stop();
    for (std::vector<OrvMap>& maps : m_maps) maps.clear();
}

void MapPanel::ShowMap() {
    const OrvMap* map = ShownMap();
    Show(map != nullptr);
    if (map == nullptr) return;
    m_legend->SetMap(*map);
    const wxString threshold = ThresholdText(*map);
    m_beyond->Show(!threshold.empty());
    wxString text = MapTitle(*map);
    ShowRange(*map);
    for (const wxString& line : {RangeText(*map, m_byHand.contains(map->name)), threshold})
        if (!line.empty()) text += "\n" + line;
    m_rangeText = text;
    m_range->SetText(text);
    Layout();
}

void MapPanel::SetDisplay(const MapDisplay& display) {
    m_isOpacityChosen = true;
    m_display = display;
    if (display.map < m_choice->GetCount()) m_choice->SetSelection(static_cast<int>(display.map));
    m_opacity->SetValue(display.opacity);
    m_beyond->SetValue(display.beyondOnly);
    ShowMap();
    Count();
    m_page->MapDisplayChanged();
}

void MapPanel::OnChange() {
    MapDisplay display;
    display.map = static_cast<std::size_t>(std::max(m_choice->GetSelection(), 0));
    display.opacity = m_opacity->GetValue();
    display.beyondOnly = m_beyond->IsShown() && m_beyond->GetValue();
    if (display == m_display) return;
    const bool isOther = display.map != m_display.map;
    m_isOpacityChosen = m_isOpacityChosen || display.opacity != m_display.opacity;
    m_display = display;
    if (isOther) {
        ShowMap();
        Count();
    }
    m_page->MapDisplayChanged();
}

void MapPanel::SetRegion(const Roi& region) {
    if (region == m_region) return;
    m_region = region;
    if (HasMaps()) m_timer.StartOnce(kRestMs);
}

void MapPanel::Count() {
    m_timer.Stop();
    if (ShownMap() == nullptr) return m_task.Stop();
    const auto counted = std::make_shared<Counted>();
    std::vector<OrvMap> maps(kFileSlots);
    for (const OrvFileId slot : {OrvEvidence, OrvReference}) {
        const OrvMap* map = GetMap(slot);
        counted->isDone[slot] = map != nullptr;
        if (map != nullptr) maps[slot] = *map;
    }
    m_task.Start(
        [counted, maps, region = m_region](const std::stop_token& stop) {
            const auto progress = [&stop](double) {
                if (stop.stop_requested()) ZOR_THROW(Aborted, "The counting was stopped.");
            };
            for (std::size_t slot = 0; slot < maps.size(); ++slot)
                if (counted->isDone[slot]) counted->numbers[slot] = MeasureMap(maps[slot], region, progress);
        },
        [this, counted, maps](const std::string& error) {
            wxString text = ToWx(error);
            const bool hasBoth = counted->isDone[OrvEvidence] && counted->isDone[OrvReference];
            for (int slot = 0; slot < kFileSlots && error.empty(); ++slot) {
                if (!counted->isDone[slot]) continue;
                const OrvMap& map = maps[static_cast<std::size_t>(slot)];
                const MapStatistics& numbers = counted->numbers[slot];
                const wxString inside = NumbersText(map, numbers.inside);
                if (!text.empty()) text += "\n";
                if (hasBoth) text += SlotName(slot) + "\n";
                if (inside.empty()) {
                    text += _("Whole map: ") + NumbersText(map, numbers.outside);
                } else {
                    text += _("Inside the selection: ") + inside + "\n";
                    text += _("Outside: ") + NumbersText(map, numbers.outside);
                }
            }
            m_numbersText = text;
            m_numbers->SetText(text);
            Layout();
            FitScrolledParents(this);
        });
}
