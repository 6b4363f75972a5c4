#include "orvgui/common/validator.h"

#include <wx/intl.h>
#include <wx/textctrl.h>
#include <wx/window.h>

#include <cmath>
#include <type_traits>

#include "zorbase/text.h"

namespace {
const wxColour kRefusedGround(255, 204, 204);
}

Validator::Validator() {
    Bind(wxEVT_TEXT, &Validator::OnText, this);
}

Validator::Validator(const Validator& other)
    : wxValidator(other), m_toolTip(other.m_toolTip), m_marked(other.m_marked) {
    Bind(wxEVT_TEXT, &Validator::OnText, this);
}

bool Validator::Mark() {
    wxWindow* window = GetWindow();
    const auto* entry = dynamic_cast<wxTextEntry*>(window);
    if (entry == nullptr) return true;
    const bool accepted = Accepts(entry->GetValue());
    if (accepted == m_marked) {
        m_marked = !accepted;
        // Black on light red also where the desktop's theme is dark.
        window->SetBackgroundColour(m_marked ? kRefusedGround : wxNullColour);
        window->SetForegroundColour(m_marked ? *wxBLACK : wxNullColour);
        if (m_marked)
            window->SetToolTip(GetRangeText());
        else if (m_toolTip.empty())
            window->UnsetToolTip();
        else
            window->SetToolTip(m_toolTip);
        window->Refresh();
    }
    return accepted;
}

bool Validator::Validate(wxWindow*) {
    return Mark();
}

void Validator::OnText(wxCommandEvent& event) {
    event.Skip();
    Mark();
}

template <typename T>
bool ValidatorTyped<T>::Parse(const wxString& text, T& value) const {
    T candidate{};
    if (!FromString(Trim(FromWx(text)), candidate)) return false;
    if constexpr (std::is_same_v<T, double>) {
        if (!std::isfinite(candidate)) return false;
    }
    if constexpr (std::is_arithmetic_v<T> && !std::is_same_v<T, bool>) {
        if (m_bounded && (candidate < m_minimum || candidate > m_maximum)) return false;
    }
    value = candidate;
    return true;
}

template <typename T>
bool ValidatorTyped<T>::Accepts(const wxString& text) const {
    T value{};
    return Parse(text, value);
}

template <typename T>
wxString ValidatorTyped<T>::GetRangeText() const {
    if constexpr (std::is_same_v<T, bool>) {
        return _("Enter \"true\" or \"false\".");
    } else if constexpr (std::is_same_v<T, Roi>) {
        return _("Enter four whole numbers: x, y, width, height, in pixels.");
    } else {
        const bool whole = std::is_integral_v<T>;
        if (!m_bounded) return whole ? _("Enter a whole number.") : _("Enter a number.");
        const wxString format =
            whole ? _("Enter a whole number from %s to %s.") : _("Enter a number from %s to %s.");
        return wxString::Format(format, ToWx(ToString(m_minimum)), ToWx(ToString(m_maximum)));
    }
}

template class ValidatorTyped<int>;
template class ValidatorTyped<double>;
template class ValidatorTyped<std::int64_t>;
template class ValidatorTyped<bool>;
template class ValidatorTyped<Roi>;
