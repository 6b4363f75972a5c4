#include "orvgui/controls/parametercontrolentry.h"

#include <wx/dialog.h>
#include <wx/textctrl.h>

#include "orvgui/common/validator.h"
#include "zorbase/text.h"

wxWindow* ParameterControlEntry::GetControl() {
    return m_field;
}

wxTextCtrl* ParameterControlEntry::CreateField(long style, const Validator* validator) {
    m_field = new wxTextCtrl(m_parent, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize,
                             style | wxTE_PROCESS_ENTER);
    if (validator != nullptr) m_field->SetValidator(*validator);
    if ((style & wxTE_READONLY) == 0) {
        m_field->Bind(wxEVT_TEXT_ENTER, [this](wxCommandEvent&) { Commit(); });
        m_field->Bind(wxEVT_KILL_FOCUS, [this](wxFocusEvent& event) {
            event.Skip();
            // While the window goes down the page may already have let this control go; see the page's
            // destructor.
            if (m_field->IsBeingDeleted()) return;
            Commit();
            // Where the focus goes is known a moment later.
            if (IsEdited()) m_field->CallAfter([this] { TakeBackRefused(); });
        });
    }
    return m_field;
}

wxString ParameterControlEntry::FormatText(const Parameter& parameter) const {
    return ToWx(parameter.GetValueAsString());
}

bool ParameterControlEntry::ParseText(const wxString& text, Parameter& parameter) const {
    const auto* validator = dynamic_cast<const Validator*>(m_field->GetValidator());
    if (validator != nullptr && !validator->Accepts(text)) return false;
    return parameter.SetValueFromString(Trim(FromWx(text)));
}

void ParameterControlEntry::ShowText(const wxString& text) {
    m_shownText = text;
    if (m_field->GetValue() != text) m_field->ChangeValue(text);
    if (auto* validator = dynamic_cast<Validator*>(m_field->GetValidator())) validator->Mark();
}

void ParameterControlEntry::SetControlValue(const Parameter& parameter) {
    const bool keepEdit = IsEdited() && parameter == m_parameter;
    m_parameter = parameter;
    if (!keepEdit) ShowText(FormatText(m_parameter));
}

Parameter ParameterControlEntry::GetControlValue() const {
    Parameter value = m_parameter;
    if (IsEdited()) ParseText(m_field->GetValue(), value);
    return value;
}

void ParameterControlEntry::DiscardEdit() {
    if (IsEdited()) ShowText(FormatText(m_parameter));
}

bool ParameterControlEntry::IsEdited() const {
    return m_field->GetValue() != m_shownText;
}

void ParameterControlEntry::Commit() {
    if (!IsEdited()) return;
    Parameter value = m_parameter;
    if (!ParseText(m_field->GetValue(), value)) return;
    m_shownText = m_field->GetValue();
    if (value == m_parameter) return;
    m_parameter = value;
    PostControlEvent();
}

// What was refused stays while its dialog asks for another value, or while the user looks at another window; on a page that has been
// left for another field the value that counts is shown.
void ParameterControlEntry::TakeBackRefused() {
    if (m_field->IsBeingDeleted()) return;
    const wxWindow* focus = wxWindow::FindFocus();
    const wxWindow* own = wxGetTopLevelParent(m_field);
    const bool isLeft =
        focus != nullptr && focus != m_field && wxGetTopLevelParent(const_cast<wxWindow*>(focus)) == own;
    if (isLeft && dynamic_cast<const wxDialog*>(own) == nullptr) DiscardEdit();
}

void ParameterControlEntry::Enter(const Parameter& value) {
    const bool changed = !(value == m_parameter);
    m_parameter = value;
    ShowText(FormatText(m_parameter));
    if (changed) PostControlEvent();
}
