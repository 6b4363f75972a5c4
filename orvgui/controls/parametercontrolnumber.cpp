#include "orvgui/controls/parametercontrolnumber.h"

#include <wx/popupwin.h>
#include <wx/sizer.h>
#include <wx/slider.h>
#include <wx/spinctrl.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>

#include <cmath>

#include "orvgui/common/textfocus.h"
#include "orvgui/common/validator.h"
#include "zorbase/text.h"

namespace {

constexpr int kNumberWidth = 120;
constexpr int kSliderWidth = 160;
constexpr int kGap = 8;
constexpr int kThumb = 20;  // of a slider
// How long the thumb has to rest before its value is taken while it is still held.
constexpr int kRestMs = 100;

// A bound as the type of the parameter's value; the record keeps bounds as double.
template <typename T>
T Bound(double bound) {
    constexpr double kLowest = static_cast<double>(std::numeric_limits<T>::lowest());
    constexpr double kHighest = static_cast<double>(std::numeric_limits<T>::max());
    if (bound <= kLowest) return std::numeric_limits<T>::lowest();
    if (bound >= kHighest) return std::numeric_limits<T>::max();
    return static_cast<T>(bound);
}

template <typename T>
ValidatorTyped<T> MakeValidator(const Parameter& parameter) {
    ValidatorTyped<T> validator(Bound<T>(parameter.GetMinimum()), Bound<T>(parameter.GetMaximum()));
    validator.SetPlainToolTip(parameter.GetToolTip().empty()
                                  ? validator.GetRangeText()
                                  : wxGetTranslation(ToWx(parameter.GetToolTip())));
    return validator;
}

}  // namespace

ParameterControlInt::ParameterControlInt(wxWindow* parent, wxGridBagSizer* sizer, const Parameter& parameter,
                                         bool readOnly)
    : ParameterControlEntry(parent, parameter) {
    const auto validator = MakeValidator<int>(parameter);
    CreateField(wxTE_RIGHT | (readOnly ? wxTE_READONLY : 0L), readOnly ? nullptr : &validator);
    m_field->SetMinSize(FieldSize(*m_field, kNumberWidth));
    PlaceCompact(sizer, m_field);
    ParameterControlEntry::SetControlValue(parameter);
}

ParameterControlInt::ParameterControlInt(wxWindow* parent, wxGridBagSizer* sizer, const Parameter& parameter,
                                         const Validator& validator)
    : ParameterControlEntry(parent, parameter) {
    CreateField(wxTE_RIGHT, &validator);
    m_field->SetMinSize(FieldSize(*m_field, kNumberWidth));
    PlaceCompact(sizer, m_field);
    ParameterControlEntry::SetControlValue(parameter);
}

ParameterControlInputInt64::ParameterControlInputInt64(wxWindow* parent, wxGridBagSizer* sizer,
                                                       const Parameter& parameter)
    : ParameterControlInt(parent, sizer, parameter, MakeValidator<std::int64_t>(parameter)) {}

ParameterControlInputDouble::ParameterControlInputDouble(wxWindow* parent, wxGridBagSizer* sizer,
                                                         const Parameter& parameter)
    : ParameterControlInt(parent, sizer, parameter, MakeValidator<double>(parameter)) {}

ParameterControlInputSpinSlider::ParameterControlInputSpinSlider(wxWindow* parent, wxGridBagSizer* sizer,
                                                                 const Parameter& parameter)
    : ParameterControl(parent, parameter) {
    const int minimum = Bound<int>(parameter.GetMinimum());
    const int maximum = Bound<int>(parameter.GetMaximum());
    m_slider = new wxSlider(parent, wxID_ANY, minimum, minimum, maximum, wxDefaultPosition,
                            wxSize(kSliderWidth, -1));
    m_spin = new wxSpinCtrl(parent, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize,
                            wxSP_ARROW_KEYS | wxALIGN_RIGHT | wxTE_PROCESS_ENTER, minimum, maximum, minimum);
    auto* row = new wxBoxSizer(wxHORIZONTAL);
    row->Add(m_slider, 1, wxALIGN_CENTER_VERTICAL);
    row->Add(m_spin, 0, wxALIGN_CENTER_VERTICAL | wxLEFT, kGap);
    Adopt(m_slider);
    Adopt(m_spin);
    if (parameter.GetToolTip().empty())
        m_spin->SetToolTip(ValidatorTyped<int>(minimum, maximum).GetRangeText());
    Place(sizer, row);
    m_slider->Bind(wxEVT_SLIDER, &ParameterControlInputSpinSlider::OnSliderChange, this);
    m_slider->Bind(wxEVT_SCROLL_CHANGED, &ParameterControlInputSpinSlider::OnSliderScrollChange, this);
    m_spin->Bind(wxEVT_SPINCTRL, &ParameterControlInputSpinSlider::OnSpinChange, this);
    m_spin->Bind(wxEVT_TEXT_ENTER, &ParameterControlInputSpinSlider::OnSpinTextEnter, this);
    m_spin->Bind(wxEVT_TEXT, &ParameterControlInputSpinSlider::OnSpinText, this);
    m_spin->Bind(wxEVT_KEY_DOWN, &ParameterControlInputSpinSlider::OnSpinKey, this);
    m_restTimer.Bind(wxEVT_TIMER, &ParameterControlInputSpinSlider::OnTimer, this);
    ParameterControlInputSpinSlider::SetControlValue(parameter);
}

wxWindow* ParameterControlInputSpinSlider::GetControl() {
    return m_spin;
}

void ParameterControlInputSpinSlider::SetControlValue(const Parameter& parameter) {
    // A result that arrives while the thumb is held or a number is typed must not take either away.
    const bool keep = (m_pending || m_typing) && parameter == m_parameter;
    m_parameter = parameter;
    if (keep) return;
    SetTyping(false, false);
    const int value = parameter.Get<int>();
    m_pending = false;
    m_restTimer.Stop();
    m_reportedValue = value;
    if (m_spin->GetValue() != value) m_spin->SetValue(value);
    if (m_slider->GetValue() != value) m_slider->SetValue(value);
}

Parameter ParameterControlInputSpinSlider::GetControlValue() const {
    Parameter value = m_parameter;
    // Asked for its value, the spin takes its text and bends it into its bounds.
    value.SetValue(m_refused ? m_reportedValue : m_spin->GetValue());
    return value;
}

void ParameterControlInputSpinSlider::SetTyping(bool typing, bool refused) {
    m_typing = typing;
    if (refused == m_refused) return;
    m_refused = refused;
    m_spin->SetBackgroundColour(refused ? wxColour(255, 204, 204) : wxNullColour);
    m_spin->SetForegroundColour(refused ? *wxBLACK : wxNullColour);
    m_spin->Refresh();
}

void ParameterControlInputSpinSlider::OnSpinText(wxCommandEvent& event) {
    int value = 0;
    const bool accepted =
        ValidatorTyped<int>(m_spin->GetMin(), m_spin->GetMax()).Parse(event.GetString(), value);
    if (accepted && m_refused) {
        // When the field is left the spin bends its text into its bounds and tells the new value at once; a
        // person who corrects the text does not get to Enter before the next turn of the event loop.
        m_bent = true;
        m_restTimer.CallAfter([this] { m_bent = false; });
    }
    SetTyping(true, !accepted);
}

void ParameterControlInputSpinSlider::OnSpinKey(wxKeyEvent& event) {
    const bool enter = event.GetKeyCode() == WXK_RETURN || event.GetKeyCode() == WXK_NUMPAD_ENTER;
    if (!enter || !m_refused) event.Skip();
}

void ParameterControlInputSpinSlider::DiscardEdit() {
    if (!m_typing) return;
    m_spin->SetValue(m_reportedValue);
    SetTyping(false, false);
}

void ParameterControlInputSpinSlider::Report() {
    m_reportedValue = m_spin->GetValue();
    m_parameter.SetValue(m_reportedValue);
    PostControlEvent();
}

void ParameterControlInputSpinSlider::SliderChange(bool post) {
    const int value = m_slider->GetValue();
    if (value == m_spin->GetValue()) return;
    m_spin->SetValue(value);
    if (post) Report();
}

wxString ParameterControlInputSpinSlider::GetNumberAboveThumb() const {
    return m_bubble != nullptr && m_bubble->IsShown() ? m_bubbleText->GetLabelText() : wxString();
}

void ParameterControlInputSpinSlider::ShowNumberAboveThumb() {
    if (!m_slider->IsShownOnScreen()) return;
    if (m_bubble == nullptr) {
        m_bubble = new wxPopupWindow(m_slider, wxBORDER_SIMPLE);
        m_bubbleText = new wxStaticText(m_bubble, wxID_ANY, wxString());
        auto* sizer = new wxBoxSizer(wxVERTICAL);
        sizer->Add(m_bubbleText, 0, wxALL, kGap / 2);
        m_bubble->SetSizer(sizer);
    }
    m_bubbleText->SetLabelText(wxString::Format("%d", m_slider->GetValue()));
    m_bubble->Fit();
    const wxSize size = m_bubble->GetSize();
    const wxSize slider = m_slider->GetSize();
    const double range = std::max(m_slider->GetMax() - m_slider->GetMin(), 1);
    const int x = static_cast<int>((slider.x - kThumb) * (m_slider->GetValue() - m_slider->GetMin()) / range);
    m_bubble->Move(m_slider->ClientToScreen(wxPoint(x + (kThumb - size.x) / 2, -size.y)));
    if (!m_bubble->IsShown()) m_bubble->Show();
}

void ParameterControlInputSpinSlider::HideNumberAboveThumb() {
    if (m_bubble != nullptr && m_bubble->IsShown()) m_bubble->Hide();
}

void ParameterControlInputSpinSlider::OnSliderChange(wxCommandEvent&) {
    m_pending = true;
    ShowNumberAboveThumb();
    m_restTimer.StartOnce(kRestMs);
}

void ParameterControlInputSpinSlider::OnSliderScrollChange(wxScrollEvent&) {
    m_pending = false;
    m_restTimer.Stop();
    HideNumberAboveThumb();
    SliderChange(true);
}

void ParameterControlInputSpinSlider::OnSpinChange(wxSpinEvent&) {
    SetTyping(false, false);
    if (m_bent) {
        m_spin->SetValue(m_reportedValue);
        return;
    }
    const int value = m_spin->GetValue();
    if (m_slider->GetValue() == value) return;
    m_slider->SetValue(value);
    Report();
}

void ParameterControlInputSpinSlider::OnSpinTextEnter(wxCommandEvent& event) {
    int value = 0;
    if (!FromString(Trim(FromWx(event.GetString())), value)) return;
    // Enter also makes the spin take its text, which may have been reported already.
    if (value < m_spin->GetMin() || value > m_spin->GetMax() || value == m_reportedValue) return;
    SetTyping(false, false);
    if (m_spin->GetValue() != value) m_spin->SetValue(value);
    Report();
}

void ParameterControlInputSpinSlider::OnTimer(wxTimerEvent&) {
    if (!m_pending) return;
    m_pending = false;
    HideNumberAboveThumb();  // the spin tells it now
    SliderChange(true);
}
