#include "orvgui/controls/parametercontrolroi.h"

#include <wx/button.h>
#include <wx/intl.h>
#include <wx/listbox.h>
#include <wx/sizer.h>
#include <wx/textctrl.h>

#include "orvgui/common/textfocus.h"
#include "orvgui/common/validator.h"
#include "zorbase/text.h"

namespace {
constexpr int kRegionWidth = 200;
constexpr int kListHeight = 88;
constexpr int kGap = 4;

ValidatorTyped<Roi> MakeValidator() {
    ValidatorTyped<Roi> validator;
    validator.SetPlainToolTip(_("x, y, width, height in pixels"));
    return validator;
}
}  // namespace

ParameterControlRoi::ParameterControlRoi(wxWindow* parent, wxGridBagSizer* sizer, const Parameter& parameter)
    : ParameterControlEntry(parent, parameter) {
    const auto validator = MakeValidator();
    CreateField(0, &validator);
    m_field->SetMinSize(FieldSize(*m_field, kRegionWidth));
    m_field->SetToolTip(_("x, y, width, height in pixels"));
    PlaceCompact(sizer, m_field);
    ParameterControlEntry::SetControlValue(parameter);
}

ParameterControlInputVectorRoi::ParameterControlInputVectorRoi(wxWindow* parent, wxGridBagSizer* sizer,
                                                               const Parameter& parameter)
    : ParameterControl(parent, parameter) {
    m_listBox = new wxListBox(parent, wxID_ANY, wxDefaultPosition, wxSize(kRegionWidth, kListHeight), 0,
                              nullptr, wxLB_SINGLE);
    m_field =
        new wxTextCtrl(parent, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize, wxTE_PROCESS_ENTER);
    m_field->SetHint(_("x, y, width, height"));
    m_field->SetToolTip(_("x, y, width, height in pixels"));
    m_buttonAdd = new wxButton(parent, wxID_ANY, _("Add"));
    m_buttonChange = new wxButton(parent, wxID_ANY, _("Change"));
    m_buttonRemove = new wxButton(parent, wxID_ANY, _("Remove"));
    for (wxWindow* window : {static_cast<wxWindow*>(m_listBox), static_cast<wxWindow*>(m_field),
                             static_cast<wxWindow*>(m_buttonAdd), static_cast<wxWindow*>(m_buttonChange),
                             static_cast<wxWindow*>(m_buttonRemove)})
        Adopt(window);

    auto* buttons = new wxBoxSizer(wxHORIZONTAL);
    buttons->Add(m_buttonAdd);
    buttons->Add(m_buttonChange, 0, wxLEFT, kGap);
    buttons->Add(m_buttonRemove, 0, wxLEFT, kGap);
    auto* column = new wxBoxSizer(wxVERTICAL);
    column->Add(m_listBox, 1, wxEXPAND);
    column->Add(m_field, 0, wxEXPAND | wxTOP, kGap);
    column->Add(buttons, 0, wxTOP, kGap);
    Place(sizer, column, Height::Tall);

    m_buttonAdd->Bind(wxEVT_BUTTON, &ParameterControlInputVectorRoi::OnButtonAdd, this);
    m_buttonChange->Bind(wxEVT_BUTTON, &ParameterControlInputVectorRoi::OnButtonChange, this);
    m_buttonRemove->Bind(wxEVT_BUTTON, &ParameterControlInputVectorRoi::OnButtonRemove, this);
    m_field->Bind(wxEVT_TEXT_ENTER, &ParameterControlInputVectorRoi::OnButtonAdd, this);
    m_field->Bind(wxEVT_TEXT, [this](wxCommandEvent&) { UpdateButtons(); });
    m_listBox->Bind(wxEVT_LISTBOX, [this](wxCommandEvent&) {
        m_field->ChangeValue(m_listBox->GetStringSelection());
        UpdateButtons();
    });
    m_listBox->Bind(wxEVT_KEY_DOWN, [this](wxKeyEvent& event) {
        if (event.GetKeyCode() == WXK_DELETE) {
            wxCommandEvent remove(wxEVT_BUTTON);
            OnButtonRemove(remove);
        } else {
            event.Skip();
        }
    });
    ShowList(wxNOT_FOUND);
}

wxWindow* ParameterControlInputVectorRoi::GetControl() {
    return m_listBox;
}

void ParameterControlInputVectorRoi::SetControlValue(const Parameter& parameter) {
    const bool same = parameter == m_parameter;
    m_parameter = parameter;
    if (!same) ShowList(m_listBox->GetSelection());
}

bool ParameterControlInputVectorRoi::ReadField(Roi& region) const {
    return ValidatorTyped<Roi>().Parse(m_field->GetValue(), region);
}

void ParameterControlInputVectorRoi::OnButtonAdd(wxCommandEvent&) {
    Roi region;
    if (!ReadField(region)) return;
    auto regions = m_parameter.Get<std::vector<Roi>>();
    regions.push_back(region);
    Enter(regions, static_cast<int>(regions.size()) - 1);
}

void ParameterControlInputVectorRoi::OnButtonChange(wxCommandEvent&) {
    Roi region;
    const int index = m_listBox->GetSelection();
    if (index == wxNOT_FOUND || !ReadField(region)) return;
    auto regions = m_parameter.Get<std::vector<Roi>>();
    regions[static_cast<std::size_t>(index)] = region;
    Enter(regions, index);
}

void ParameterControlInputVectorRoi::OnButtonRemove(wxCommandEvent&) {
    const int index = m_listBox->GetSelection();
    if (index == wxNOT_FOUND) return;
    auto regions = m_parameter.Get<std::vector<Roi>>();
    regions.erase(regions.begin() + index);
    Enter(regions, std::min(index, static_cast<int>(regions.size()) - 1));
    // The text is that of the region that is chosen now; that of the removed one would ask to be added again.
    m_field->ChangeValue(m_listBox->GetStringSelection());
    UpdateButtons();
}

void ParameterControlInputVectorRoi::Enter(const std::vector<Roi>& regions, int selection) {
    Parameter value = m_parameter;
    if (!value.SetValue(regions)) return;
    const bool changed = !(value == m_parameter);
    m_parameter = value;
    ShowList(selection);
    if (changed) PostControlEvent();
}

void ParameterControlInputVectorRoi::ShowList(int selection) {
    wxArrayString entries;
    if (m_parameter.IsSet()) {
        for (const Roi& region : m_parameter.Get<std::vector<Roi>>())
            entries.push_back(ToWx(ToString(region)));
    }
    m_listBox->Set(entries);
    if (selection >= 0 && selection < static_cast<int>(entries.size())) m_listBox->SetSelection(selection);
    UpdateButtons();
}

void ParameterControlInputVectorRoi::UpdateButtons() {
    Roi region;
    const bool valid = ReadField(region);
    const bool chosen = m_listBox->GetSelection() != wxNOT_FOUND;
    m_buttonAdd->Enable(valid);
    m_buttonChange->Enable(valid && chosen);
    m_buttonRemove->Enable(chosen);
    const bool refused = !valid && !m_field->GetValue().empty();
    m_field->SetBackgroundColour(refused ? wxColour(255, 204, 204) : wxNullColour);
    m_field->SetForegroundColour(refused ? *wxBLACK : wxNullColour);
    m_field->SetToolTip(refused ? ValidatorTyped<Roi>().GetRangeText() : _("x, y, width, height in pixels"));
}
