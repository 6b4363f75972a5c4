#pragma once

#include <wx/validate.h>

#include <cstdint>
#include <limits>

#include "orvgui/common/orvgui.h"
#include "zorbase/roi.h"

// The text validators of edited values. A validator is told what its parameter can hold; it marks its text
// field (light red ground, tool tip with what is allowed) as soon as the text cannot be taken and takes the
// mark away when it can. It refuses nothing that is typed, so that a value can be built up in any order. GUI
// thread; owned by its window.
class ORVGUI_API Validator : public wxValidator {
  public:
    Validator();
    Validator(const Validator& other);

    // Whether the text is a value that the parameter can hold.
    virtual bool Accepts(const wxString& text) const = 0;
    // A sentence that tells what can be entered; the tool tip of a refused text.
    virtual wxString GetRangeText() const = 0;

    // The tool tip of an accepted text.
    void SetPlainToolTip(const wxString& text) { m_toolTip = text; }
    // Brings the mark in line with the text of the window; answers whether the text is accepted.
    bool Mark();
    bool IsMarked() const { return m_marked; }

    bool Validate(wxWindow* parent) override;
    bool TransferToWindow() override { return true; }
    bool TransferFromWindow() override { return true; }

  private:
    void OnText(wxCommandEvent& event);

    wxString m_toolTip;
    bool m_marked = false;
};

// The validator of values of type T: int, double, std::int64_t, bool or Roi. Bounds are inclusive; bool and
// Roi have none.
template <typename T>
class ValidatorTyped : public Validator {
  public:
    ValidatorTyped() = default;
    ValidatorTyped(T minimum, T maximum) : m_minimum(minimum), m_maximum(maximum), m_bounded(true) {}

    wxObject* Clone() const override { return new ValidatorTyped(*this); }
    bool Accepts(const wxString& text) const override;
    wxString GetRangeText() const override;

    // The value of a text; false, and value unchanged, when the text is not accepted.
    bool Parse(const wxString& text, T& value) const;

  private:
    T m_minimum{};
    T m_maximum{};
    bool m_bounded = false;
};

extern template class ValidatorTyped<int>;
extern template class ValidatorTyped<double>;
extern template class ValidatorTyped<std::int64_t>;
extern template class ValidatorTyped<bool>;
extern template class ValidatorTyped<Roi>;
