#include "orvgui/controls/parametercontrolchoice.h"

#include <wx/checkbox.h>
#include <wx/combobox.h>
#include <wx/intl.h>

#include <algorithm>

#include "zorbase/text.h"

namespace {
constexpr int kChoiceWidth = 160;
}

ParameterControlInputCheckBox::ParameterControlInputCheckBox(wxWindow* parent, wxGridBagSizer* sizer,
                                                             const Parameter& parameter)
    : ParameterControl(parent, parameter) {
    m_checkBox = new wxCheckBox(parent, wxID_ANY, wxString());
    Place(sizer, m_checkBox);
    m_checkBox->Bind(wxEVT_CHECKBOX, [this](wxCommandEvent&) {
        m_parameter.SetValue(m_checkBox->GetValue());
        PostControlEvent();
    });
    ParameterControlInputCheckBox::SetControlValue(parameter);
}

wxWindow* ParameterControlInputCheckBox::GetControl() {
    return m_checkBox;
}

void ParameterControlInputCheckBox::SetControlValue(const Parameter& parameter) {
    m_parameter = parameter;
    m_checkBox->SetValue(parameter.Get<bool>());
}

Parameter ParameterControlInputCheckBox::GetControlValue() const {
    Parameter value = m_parameter;
    value.SetValue(m_checkBox->GetValue());
    return value;
}

ParameterControlInputComboBox::ParameterControlInputComboBox(wxWindow* parent, wxGridBagSizer* sizer,
                                                             const Parameter& parameter, bool editable)
    : ParameterControl(parent, parameter) {
    wxArrayString entries;
    for (const std::string& entry : parameter.Strings())
        entries.push_back(entry.empty() ? wxString() : wxGetTranslation(ToWx(entry)));
    m_comboBox = new wxComboBox(parent, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize, entries,
                                editable ? wxTE_PROCESS_ENTER : wxCB_READONLY);
    m_comboBox->SetMinSize(wxSize(std::max(kChoiceWidth, m_comboBox->GetBestSize().GetWidth()), -1));
    PlaceCompact(sizer, m_comboBox);
    // The widget's own event ends here: the parent gets the one of this control.
    m_comboBox->Bind(wxEVT_COMBOBOX, [this](wxCommandEvent&) { OnChosen(m_comboBox->GetSelection()); });
    if (editable) {
        m_comboBox->Bind(wxEVT_TEXT_ENTER, [this](wxCommandEvent& event) {
            OnChosen(m_comboBox->FindString(event.GetString()));
        });
    }
    ParameterControlInputComboBox::SetControlValue(parameter);
}

wxWindow* ParameterControlInputComboBox::GetControl() {
    return m_comboBox;
}

void ParameterControlInputComboBox::SetControlValue(const Parameter& parameter) {
    m_parameter = parameter;
    const int index = parameter.Get<int>();
    if (index < static_cast<int>(m_comboBox->GetCount()) && m_comboBox->GetSelection() != index)
        m_comboBox->SetSelection(index);
}

Parameter ParameterControlInputComboBox::GetControlValue() const {
    Parameter value = m_parameter;
    if (m_comboBox->GetSelection() != wxNOT_FOUND) value.SetValue(m_comboBox->GetSelection());
    return value;
}

void ParameterControlInputComboBox::OnChosen(int index) {
    if (index == wxNOT_FOUND || !m_parameter.SetValue(index)) return;
    PostControlEvent();
}
