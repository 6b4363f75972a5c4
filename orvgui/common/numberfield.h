#pragma once

#include <wx/textctrl.h>

#include <functional>

#include "orvgui/common/orvgui.h"

// A whole number in a text field of a few digits, for strips where the buttons of a spin control would take the room of the
// number. Arrow keys and wheel change it by 1, Page Up and Down and the wheel with Shift by 10; Enter and leaving the field take
// what was typed. A text that is no number of the range is marked, and given up when the field is left. GUI thread.
class ORVGUI_API NumberField : public wxTextCtrl {
  public:
    // As wide as `digits` digits. onChange is called after each change by the user, never after SetNumber.
    NumberField(wxWindow* parent, int digits, std::function<void()> onChange);

    void SetRange(int minimum, int maximum);  // both inclusive; the number is brought into it
    int GetNumber() const { return m_number; }
    // A field in which somebody types keeps the text until it is taken or given up.
    void SetNumber(int number);

  private:
    void OnKey(wxKeyEvent& event);
    void OnWheel(wxMouseEvent& event);
    void Step(int by);
    void Take();  // what was typed, or the number again
    void ShowNumber();

    std::function<void()> m_onChange;
    wxString m_toolTip;
    int m_number = 0;
    int m_minimum = 0;
    int m_maximum = 0;
    int m_wheelRest = 0;  // of a fine wheel, not yet a step
};
