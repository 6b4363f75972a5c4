#include "orvgui/dialogs/optionsgui.h"

#include <wx/button.h>
#include <wx/display.h>
#include <wx/gbsizer.h>
#include <wx/scrolwin.h>
#include <wx/settings.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>
#include <wx/translation.h>

#include <algorithm>

#include "orvcore/facade/interface.h"
#include "orvcore/model/options.h"
#include "orvgui/common/messagebox.h"
#include "orvgui/common/quietscroll.h"
#include "orvgui/common/textfocus.h"
#include "orvgui/common/validator.h"
#include "orvgui/controls/parametercontrol.h"
#include "zorbase/text.h"

namespace {

constexpr int kMargin = 12;
constexpr int kGap = 8;
constexpr int kPollMs = 50;
constexpr int kScrollStep = 16;
constexpr int kOutsideBody = 140;  // title bar, buttons and what surrounds them
constexpr int kLeastBody = 200;
constexpr int kTextWidth = 320;  // shows an address of common length

}  // namespace

OrvOptionsGui::OrvOptionsGui(wxWindow* parent, const VecVecParameter& options)
    : wxDialog(parent, wxID_ANY, _("Program Options"), wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER),
      m_options(options),
      m_controls(options.size()) {
    const std::vector<std::string> titles = OrvOptions::GroupTitles();
    // All groups are higher than a small screen.
    m_body =
        new QuietScroll<wxScrolledWindow>(this, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxVSCROLL | wxTAB_TRAVERSAL);
    m_body->SetScrollRate(0, kScrollStep);
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    for (std::size_t group = 0; group < m_options.size(); ++group) {
        if (group < titles.size()) {
            auto* title = new wxStaticText(m_body, wxID_ANY, wxGetTranslation(ToWx(titles[group])));
            title->SetFont(title->GetFont().Bold());
            sizer->Add(title, 0, wxLEFT | wxRIGHT | wxTOP, kMargin);
        }
        sizer->Add(CreateGroup(group), 0, wxEXPAND | wxLEFT | wxRIGHT, kMargin);
        if (group == 0) sizer->Add(CreateCacheRow(), 0, wxEXPAND | wxLEFT | wxRIGHT, kMargin);
    }
    AlignGroups();
    sizer->AddSpacer(kMargin);
    m_body->SetSizer(sizer);
    const wxSize wanted = sizer->CalcMin();
    const int most = wxDisplay(parent ? parent : this).GetClientArea().height - kOutsideBody;
    m_body->SetMinSize(wxSize(wxMax(wanted.x + wxSystemSettings::GetMetric(wxSYS_VSCROLL_X), 440),
                              std::min(wanted.y, std::max(most, kLeastBody))));
    auto* all = new wxBoxSizer(wxVERTICAL);
    all->Add(m_body, 1, wxEXPAND);
    all->Add(CreateButtonSizer(wxOK | wxCANCEL), 0, wxEXPAND | wxALL, kMargin);
    SetSizerAndFit(all);
    CentreOnParent();
    Bind(wxEVT_BUTTON, &OrvOptionsGui::OnButtonOk, this, wxID_OK);
    Bind(wxEVT_CHAR_HOOK, &OrvOptionsGui::OnCharHook, this);
    m_emptying.Bind(wxEVT_TIMER, [this](wxTimerEvent&) {
        if (GetInterface()->IsBusy()) return;
        m_emptying.Stop();
        CountCache();
    });
    CountCache();
}

OrvOptionsGui::~OrvOptionsGui() = default;

wxSizer* OrvOptionsGui::CreateGroup(std::size_t group) {
    auto* grid = new wxGridBagSizer(0, kGap);
    grid->SetFlexibleDirection(wxBOTH);
    for (const Parameter& option : m_options[group]) {
        m_controls[group].emplace_back(CreateParameterControl(m_body, grid, option));
        if (!m_controls[group].back()) continue;
        m_controls[group].back()->SetControlValue(option);
        if (option.Type() == ParameterType::String)
            m_controls[group].back()->GetControl()->SetMinSize(wxSize(kTextWidth, -1));
    }
    if (grid->GetCols() > 1) grid->AddGrowableCol(static_cast<std::size_t>(1));
    m_grids.push_back(grid);
    return grid;
}

wxSizer* OrvOptionsGui::CreateCacheRow() {
    m_cacheText = new wxStaticText(m_body, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize,
                                   wxST_NO_AUTORESIZE | wxST_ELLIPSIZE_END);
    m_emptyButton = new wxButton(m_body, wxID_ANY, _("Empty"));
    m_emptyButton->SetToolTip(_("Removes all results that are kept on disk; what was extracted stays"));
    m_emptyButton->Bind(wxEVT_BUTTON, &OrvOptionsGui::OnButtonEmpty, this);
    auto* row = new wxBoxSizer(wxHORIZONTAL);
    row->Add(m_cacheText, 1, wxALIGN_CENTER_VERTICAL | wxRIGHT, kGap);
    row->Add(m_emptyButton, 0, wxALIGN_CENTER_VERTICAL);
    return row;
}

// The folder can hold thousands of files.
void OrvOptionsGui::CountCache() {
    m_emptyButton->Disable();
    m_cacheText->SetLabelText(_("Results on disk: counting..."));
    const auto bytes = std::make_shared<std::uint64_t>(0);
    m_counting.Start([bytes](const std::stop_token&) { *bytes = GetInterface()->GetCacheBytes(); },
                     [this, bytes](const std::string& error) {
                         m_cacheText->SetLabelText(
                             error.empty()
                                 ? wxString::Format(_("Results on disk: %s"), ToWx(FormatFileSize(*bytes)))
                                 : ToWx(error));
                         m_emptyButton->Enable(error.empty() && *bytes > 0);
                     });
}

wxString OrvOptionsGui::GetCacheText() const {
    return m_cacheText->GetLabelText();
}

void OrvOptionsGui::OnButtonEmpty(wxCommandEvent&) {
    const int answer = OrvMessageBox(
        _("Do you want to remove all results that are kept on disk? They are computed again when they are needed."),
        _("Empty The Cache"), wxYES_NO | wxNO_DEFAULT | wxICON_QUESTION, this);
    if (answer != wxYES) return;
    m_emptyButton->Disable();
    m_cacheText->SetLabelText(_("Results on disk: being removed..."));
    GetInterface()->EmptyCache();
    m_emptying.Start(kPollMs);
}

// The labels of all groups in one column.
void OrvOptionsGui::AlignGroups() {
    int width = 0;
    for (wxGridBagSizer* grid : m_grids)
        for (wxSizerItem* item : grid->GetChildren())
            if (static_cast<wxGBSizerItem*>(item)->GetPos().GetCol() == 0)
                width = wxMax(width, item->CalcMin().x);
    for (wxGridBagSizer* grid : m_grids) grid->Add(width, 0, wxGBPosition(CountCells(grid).GetRow(), 0));
}

void OrvOptionsGui::OnCharHook(wxKeyEvent& event) {
    if (!ConfirmsDialog(event)) return event.Skip();
    wxCommandEvent ok(wxEVT_BUTTON, wxID_OK);
    OnButtonOk(ok);
}

// Leads to the field whose text is no value; it is marked and tells in its tool tip what can be entered.
bool OrvOptionsGui::GoToTypingError() {
    for (const auto& group : m_controls) {
        for (const auto& control : group) {
            auto* field = control ? dynamic_cast<wxTextCtrl*>(control->GetControl()) : nullptr;
            const auto* validator = field ? dynamic_cast<const Validator*>(field->GetValidator()) : nullptr;
            if (!validator || validator->Accepts(field->GetValue())) continue;
            field->SetFocus();
            field->SelectAll();
            return true;
        }
    }
    return false;
}

void OrvOptionsGui::OnButtonOk(wxCommandEvent&) {
    if (GoToTypingError()) return;
    for (std::size_t group = 0; group < m_controls.size(); ++group) {
        for (std::size_t i = 0; i < m_controls[group].size(); ++i) {
            if (m_controls[group][i]) m_options[group][i].Set(m_controls[group][i]->GetControlValue());
        }
    }
    GetInterface()->SetProgramOptions(m_options);
    EndModal(wxID_OK);
}
