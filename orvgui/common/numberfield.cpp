#include "orvgui/common/numberfield.h"

#include <algorithm>

#include "orvgui/common/textfocus.h"
#include "orvgui/common/validator.h"

namespace {

constexpr int kInset = 18;  // pixels of border and padding left and right
constexpr int kLargeStep = 10;

}  // namespace

NumberField::NumberField(wxWindow* parent, int digits, std::function<void()> onChange)
    : wxTextCtrl(parent, wxID_ANY, "0", wxDefaultPosition, wxDefaultSize, wxTE_PROCESS_ENTER | wxTE_RIGHT),
      m_onChange(std::move(onChange)) {
    const int width = GetTextExtent(wxString('0', static_cast<std::size_t>(digits))).x + kInset;
    SetMinSize(FieldSize(*this, width));
    SetRange(0, 0);
    Bind(wxEVT_TEXT_ENTER, [this](wxCommandEvent&) { Take(); });
    Bind(wxEVT_KILL_FOCUS, [this](wxFocusEvent& event) {
        event.Skip();
        if (!IsBeingDeleted()) Take();
    });
    Bind(wxEVT_KEY_DOWN, &NumberField::OnKey, this);
    Bind(wxEVT_MOUSEWHEEL, &NumberField::OnWheel, this);
}

void NumberField::SetRange(int minimum, int maximum) {
    const auto* before = dynamic_cast<const Validator*>(GetValidator());
    if (before != nullptr && m_minimum == minimum && m_maximum == maximum) return;
    m_minimum = minimum;
    m_maximum = std::max(minimum, maximum);
    // While a text is marked the tool tip tells the range.
    if (before == nullptr || !before->IsMarked()) m_toolTip = GetToolTipText();
    ValidatorTyped<int> validator(m_minimum, m_maximum);
    validator.SetPlainToolTip(m_toolTip);
    SetValidator(validator);
    SetNumber(m_number);
}

void NumberField::SetNumber(int number) {
    const int before = m_number;
    m_number = std::clamp(number, m_minimum, m_maximum);
    int typed = 0;
    const bool isTyping = HasFocus() && !(GetValue().ToInt(&typed) && typed == before);
    if (!isTyping) ShowNumber();
}

void NumberField::ShowNumber() {
    const wxString text = wxString::Format("%d", m_number);
    if (GetValue() != text) ChangeValue(text);
    if (auto* validator = dynamic_cast<Validator*>(GetValidator())) validator->Mark();
}

void NumberField::Step(int by) {
    int from = m_number;
    ValidatorTyped<int>(m_minimum, m_maximum).Parse(GetValue(), from);
    const long long wanted = static_cast<long long>(from) + by;
    const int number = static_cast<int>(std::clamp<long long>(wanted, m_minimum, m_maximum));
    const bool isChange = number != m_number;
    m_number = number;
    ShowNumber();
    if (isChange && m_onChange) m_onChange();
}

void NumberField::Take() {
    int typed = m_number;
    const bool isNumber = ValidatorTyped<int>(m_minimum, m_maximum).Parse(GetValue(), typed);
    if (!isNumber && HasFocus()) return;  // Enter: the mark stays, and so does what can be corrected
    const bool isChange = isNumber && typed != m_number;
    m_number = typed;
    ShowNumber();
    if (isChange && m_onChange) m_onChange();
}

void NumberField::OnKey(wxKeyEvent& event) {
    if (event.ControlDown() || event.AltDown() || event.MetaDown()) return event.Skip();
    switch (event.GetKeyCode()) {
        case WXK_UP:
        case WXK_NUMPAD_UP:
            return Step(1);
        case WXK_DOWN:
        case WXK_NUMPAD_DOWN:
            return Step(-1);
        case WXK_PAGEUP:
        case WXK_NUMPAD_PAGEUP:
            return Step(kLargeStep);
        case WXK_PAGEDOWN:
        case WXK_NUMPAD_PAGEDOWN:
            return Step(-kLargeStep);
        default:
            event.Skip();
    }
}

void NumberField::OnWheel(wxMouseEvent& event) {
    if (event.GetWheelAxis() != wxMOUSE_WHEEL_VERTICAL || event.GetWheelDelta() <= 0) return event.Skip();
    m_wheelRest += event.GetWheelRotation();
    const int steps = m_wheelRest / event.GetWheelDelta();
    m_wheelRest -= steps * event.GetWheelDelta();
    if (steps != 0) Step(steps * (event.ShiftDown() ? kLargeStep : 1));
}
