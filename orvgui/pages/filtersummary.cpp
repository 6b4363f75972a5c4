#include "orvgui/pages/filtersummary.h"

#include <wx/gbsizer.h>
#include <wx/gdicmn.h>
#include <wx/textctrl.h>
#include <wx/translation.h>

#include <utility>

#include "orvcore/facade/interface.h"
#include "orvgui/common/statictext.h"
#include "orvgui/common/wheel.h"
#include "zorbase/text.h"

namespace {

constexpr const char* kSummaryId = "summary";
const wxSize kSwatchSize(25, 20);
constexpr int kStatusWidth = 100;
constexpr int kResultHeight = 200;
constexpr int kResultSpan = 4;

}  // namespace

FilterSummary::FilterSummary() : OrvFilter(_("Summary"), kSummaryId) {
    Describe(
        FromWx(_("Overview")),
        FromWx(
            _("This panel summarizes in a glance what is the overall status of the image being analyzed.")));
    if (OrvContext* context = GetContext()) context->SetActiveFilter(this);
}

void FilterSummary::Register(OrvContext& context) {
    if (context.FindFilter(kSummaryId) == nullptr)
        context.RegisterFilter(std::make_unique<FilterSummary>(), 0);
}

OrvFilterGui* FilterSummary::CreatePanel(wxWindow* parent, OrvFilter* filter) {
    return new FilterSummaryPanel(parent, filter);
}

// --- one line ---

StatusGroup::StatusGroup(wxWindow* parent, wxGridBagSizer* sizer, int row, OrvFilter* filter)
    : m_filter(filter),
      m_label(new OrvStaticText(parent, wxGetTranslation(filter->GetName()))),
      m_swatch(new wxTextCtrl(parent, wxID_ANY, wxString(), wxDefaultPosition, kSwatchSize, wxTE_READONLY)),
      m_status(new wxTextCtrl(parent, wxID_ANY, wxString(), wxDefaultPosition, wxSize(kStatusWidth, -1),
                              wxTE_READONLY)) {
    m_swatch->SetCanFocus(false);
    AddToSizer(sizer, m_label, row, 0, 1, 1);
    AddToSizer(sizer, m_swatch, row, 1, 1, 1);
    AddToSizer(sizer, m_status, row, 2, 1, 1);
}

void StatusGroup::AddToSizer(wxGridBagSizer* sizer, wxWindow* window, int row, int col, int colspan,
                             int rowspan) {
    sizer->Add(window, wxGBPosition(row, col), wxGBSpan(rowspan, colspan), wxEXPAND | wxALL, 2);
}

void StatusGroup::SetColor(const wxColour& colour) {
    if (m_swatch->GetBackgroundColour() == colour) return;
    m_swatch->SetBackgroundColour(colour);
    m_swatch->Refresh();
}

void StatusGroup::SetStatus(const wxString& status) {
    if (m_status->GetValue() != status) m_status->ChangeValue(status);
}

void StatusGroup::SetToolTip(const wxString& text) {
    for (wxWindow* window : std::initializer_list<wxWindow*>{m_label, m_swatch, m_status})
        if (window->GetToolTipText() != text) window->SetToolTip(text);
}

wxString StatusGroup::GetStatus() const {
    return m_status->GetValue();
}

wxColour StatusGroup::GetColor() const {
    return m_swatch->GetBackgroundColour();
}

// --- the page ---

FilterSummaryPanel::FilterSummaryPanel(wxWindow* parent, OrvFilter* filter) : OrvFilterGui(parent, filter) {
    m_columnSpan = 3;
}

void FilterSummaryPanel::CreateControlsDescription() {
    CreateTitle(_("Description"));
    OrvFilterGui::CreateControlsDescription();
}

void FilterSummaryPanel::CreateControlsCustom() {
    m_groups.clear();
    for (OrvFilter* filter : FiltersWithVerdict(*GetInterface()))
        m_groups.push_back(
            std::make_unique<StatusGroup>(this, m_mainSizer, CountCells(m_mainSizer).GetRow(), filter));
    CreateResultPanel();
}

void FilterSummaryPanel::CreateResultPanel() {
    auto* label = new OrvStaticText(this, _("Global Result:"));
    label->SetBackgroundColour(*wxStockGDI::GetColour(wxStockGDI::COLOUR_LIGHTGREY));
    label->SetForegroundColour(*wxBLACK);
    AddToSizer(m_mainSizer, label, CountCells(m_mainSizer).GetRow(), 0, kResultSpan, 1);
    m_result = new wxTextCtrl(this, wxID_ANY, wxString(), wxDefaultPosition, wxSize(-1, kResultHeight),
                              wxTE_MULTILINE | wxTE_READONLY);
    PassWheelOn(m_result);
    AddToSizer(m_mainSizer, m_result, CountCells(m_mainSizer).GetRow(), 0, kResultSpan, 2);
    m_mainSizer->AddGrowableCol(kResultSpan - 1);
    UpdateControlsCustom();
}

void FilterSummaryPanel::UpdateControlsCustom() {
    if (m_result == nullptr) return;
    std::vector<OrvFilter*> filters;
    for (const auto& group : m_groups) filters.push_back(group->GetFilter());
    const std::vector<SummaryFile> files = ReadSummary(*GetInterface(), filters);
    for (std::size_t i = 0; i < m_groups.size(); ++i) {
        SummaryEntry entry;
        entry.filterName = wxGetTranslation(filters[i]->GetName());
        // The lines are about the image being analysed: the evidence, or the only file there is.
        if (!files.empty()) entry = files.front().entries[i];
        m_groups[i]->SetColor(StateColour(entry.state));
        m_groups[i]->SetStatus(StateText(entry.state));
        m_groups[i]->SetToolTip(StatusToolTip(entry));
    }
    const wxString text = GlobalResultText(files);
    if (m_result->GetValue() != text) m_result->ChangeValue(text);
}
