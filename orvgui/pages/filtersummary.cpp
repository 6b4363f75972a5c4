#include "orvgui/pages/filtersummary.h"

#include <wx/button.h>
#include <wx/gbsizer.h>
#include <wx/gdicmn.h>
#include <wx/settings.h>
#include <wx/sizer.h>
#include <wx/textctrl.h>
#include <wx/translation.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>

#include "orvcore/facade/interface.h"
#include "orvcore/tables/tablemarkup.h"
#include "orvgui/common/framehost.h"
#include "orvgui/common/quietscroll.h"
#include "orvgui/common/statictext.h"
#include "orvgui/common/textfocus.h"
#include "orvgui/common/wheel.h"
#include "orvgui/tables/listctrl.h"
#include "zorbase/text.h"

namespace {

constexpr const char* kSummaryId = "summary";
const wxSize kSwatchSize(25, 20);
constexpr int kStatusWidth = 120;
constexpr int kResultHeight = 200;
constexpr int kResultSpan = 4;
constexpr int kGap = 4;
constexpr int kFindingsLeast = 200;  // pixels
constexpr int kFindingsHeight = 160;
constexpr int kRoomyFindings = 80;   // letters, from which on no column but the sentences' is broken
constexpr int kNarrowFindings = 48;  // letters, below which words of the others are broken line by line

// Sentences get what strength and filter leave, which are broken between words where there is little room.
std::vector<int> FindingWidths(int room, int letter) {
    const bool isRoomy = room >= kRoomyFindings * letter;
    const bool isNarrow = room < kNarrowFindings * letter;
    const int strength = (isRoomy ? 17 : isNarrow ? 13 : 14) * letter;
    const int filter = std::clamp(room / 4, (isNarrow ? 9 : 12) * letter, 26 * letter);
    return {strength, filter, std::max(room - strength - filter, 12 * letter)};
}

// Leads to the pages of what was found.
class FindingsList : public OrvListCtrl {
  public:
    FindingsList(wxWindow* parent, std::function<void(std::size_t)> open)
        : OrvListCtrl(parent, ListCtrlView::Source(), kQuickFill, wxGridSelectRows, wxHORIZONTAL),
          m_open(std::move(open)) {
        WrapTexts();
        DisableDragRowSize();
        SetRowCommands([this](int dataRow) {
            return std::vector<OrvRowCommand>{
                {_("Show The Filter\tEnter"), _("Goes to the page of the filter"),
                 [open = m_open, dataRow] { open(static_cast<std::size_t>(dataRow)); }}};
        });
        Bind(wxEVT_CHAR_HOOK, [this](wxKeyEvent& event) {
            const int code = event.GetKeyCode();
            const bool isEnter = code == WXK_RETURN || code == WXK_NUMPAD_ENTER;
            if (!isEnter || event.GetModifiers() != wxMOD_NONE || !Open(GetGridCursorRow())) event.Skip();
        });
        Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
            event.Skip();
            CallAfter([this] { FitColumns(); });
        });
    }

    void OnCellLeftDoubleClick(wxGridEvent& event) override { Open(event.GetRow()); }
    void FitColumns() {
        if (GetNumCols() == 0) return;
        const wxFont font = GetDefaultCellFont();
        int letter = 0;
        GetTextExtent("x", &letter, nullptr, nullptr, nullptr, &font);
        const int room = GetSize().x - wxSystemSettings::GetMetric(wxSYS_VSCROLL_X, this) - 2;
        SetColumnWidths(FindingWidths(room, letter));
    }

  private:
    bool Open(int row) {
        const int dataRow = GetView().DataRow(row);
        if (dataRow < 0) return false;
        // The page is hidden by what happens now.
        CallAfter([open = m_open, dataRow] { open(static_cast<std::size_t>(dataRow)); });
        return true;
    }

    std::function<void(std::size_t)> m_open;
};

// As the list shows it. Which file is said where there are two.
TableString TableOfFindings(const std::vector<SummaryFinding>& findings, bool areTwoFiles) {
    TableString table{{FromWx(_("Strength")), FromWx(_("Filter")), FromWx(_("Finding"))}};
    for (const SummaryFinding& finding : findings) {
        wxString strength =
            wxString::FromUTF8(finding.state == SummaryState::StrongSign ? "\u25b2 " : "\u25b3 ") +
            StateText(finding.state);
        if (areTwoFiles) strength += "\n" + (finding.slot == OrvEvidence ? _("Evidence") : _("Reference"));
        table.push_back({TableCell(FromWx(strength)), TableCell(FromWx(finding.filterName)),
                         TableCell(FromWx(finding.text))});
    }
    return table;
}

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
    return new QuietScroll<FilterSummaryPanel>(parent, filter);
}

// --- one line ---

StatusGroup::StatusGroup(wxWindow* parent, wxGridBagSizer* sizer, int row, OrvFilter* filter)
    : m_filter(filter),
      m_label(new OrvStaticText(parent, wxGetTranslation(filter->GetName()))),
      m_swatch(new wxTextCtrl(parent, wxID_ANY, wxString(), wxDefaultPosition, kSwatchSize, wxTE_READONLY)),
      m_status(new wxTextCtrl(parent, wxID_ANY, wxString(), wxDefaultPosition,
                              wxSize(TextWidth(*parent, kStatusWidth), -1), wxTE_READONLY)) {
    m_swatch->SetCanFocus(false);
    m_label->CentreVertically();
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
    const int firstRow = CountCells(m_mainSizer).GetRow();
    for (OrvFilter* filter : FiltersWithVerdict(*GetInterface()))
        m_groups.push_back(
            std::make_unique<StatusGroup>(this, m_mainSizer, CountCells(m_mainSizer).GetRow(), filter));
    CreateFindings(firstRow, std::max(static_cast<int>(m_groups.size()), 1));
    CreateResultPanel();
}

void FilterSummaryPanel::CreateFindings(int firstRow, int rows) {
    auto* column = new wxBoxSizer(wxVERTICAL);
    m_runAll = new wxButton(this, wxID_ANY, _("Run All Filters"));
    m_runAll->SetToolTip(
        _("Computes every result that is missing, one filter after the other; can be stopped"));
    m_runAll->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { RunAll(); });
    column->Add(m_runAll, 0, wxBOTTOM, kGap);
    m_list = new FindingsList(this, [this](std::size_t index) { OpenFinding(index); });
    m_list->SetMinSize(wxSize(kFindingsLeast, kFindingsHeight));
    m_list->SetName(_("Findings"));
    m_list->SetToolTip(_("Double click or Enter: to the page of the filter"));
    column->Add(m_list, 1, wxEXPAND);
    m_mainSizer->Add(column, wxGBPosition(firstRow, kResultSpan - 1), wxGBSpan(rows, 1), wxEXPAND | wxALL,
                     kGap);
}

void FilterSummaryPanel::ShowFindings(const std::vector<SummaryFile>& files) {
    m_runAll->Enable(!files.empty());
    std::vector<SummaryFinding> findings = ListFindings(files);
    TableString table = TableOfFindings(findings, files.size() > 1);
    // Where nothing has changed the list stays as the user has it.
    if (table != m_shown) {
        m_shown = table;
        m_list->ConfigureListCtrl(std::make_shared<const TableString>(std::move(table)));
        static_cast<FindingsList*>(m_list)->FitColumns();
    }
    m_findings = std::move(findings);
}

void FilterSummaryPanel::OpenFinding(std::size_t index) {
    if (index >= m_findings.size()) return;
    if (OrvFrameHost* frame = GetFrameHost()) frame->ShowFilter(m_findings[index].filter);
}

void FilterSummaryPanel::RunAll() {
    GetInterface()->CallGenericAction(OrvActionRunAll, _("Run All Filters"), {});
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
    ShowFindings(files);
    const wxString text = GlobalResultText(files);
    if (m_result->GetValue() != text) m_result->ChangeValue(text);
}
