#pragma once

#include <wx/timer.h>

#include "orvgui/controls/parametercontrolentry.h"

class wxKeyEvent;
class wxScrollEvent;
class wxPopupWindow;
class wxSlider;
class wxSpinCtrl;
class wxSpinEvent;
class wxStaticText;

// Numbers. Those typed into a field are checked by a ValidatorTyped with the parameter's bounds (inclusive).
// GUI thread.

// A number in a field of one line, shown or edited, aligned right.
class ParameterControlInt : public ParameterControlEntry {
  public:
    ParameterControlInt(wxWindow* parent, wxGridBagSizer* sizer, const Parameter& parameter, bool readOnly);

  protected:
    // For the other number types.
    ParameterControlInt(wxWindow* parent, wxGridBagSizer* sizer, const Parameter& parameter,
                        const Validator& validator);
};

class ParameterControlInputInt : public ParameterControlInt {
  public:
    ParameterControlInputInt(wxWindow* parent, wxGridBagSizer* sizer, const Parameter& parameter)
        : ParameterControlInt(parent, sizer, parameter, false) {}
};

class ParameterControlInputInt64 : public ParameterControlInt {
  public:
    ParameterControlInputInt64(wxWindow* parent, wxGridBagSizer* sizer, const Parameter& parameter);
};

class ParameterControlInputDouble : public ParameterControlInt {
  public:
    ParameterControlInputDouble(wxWindow* parent, wxGridBagSizer* sizer, const Parameter& parameter);
};

// One integer in a slider and a spin control side by side. The value is the spin's; the slider's is the one
// to come while its thumb moves; meanwhile it stands above the thumb. A thumb that rests is reported before it is let go, so that a drag can be
// followed.
class ParameterControlInputSpinSlider : public ParameterControl {
  public:
    ParameterControlInputSpinSlider(wxWindow* parent, wxGridBagSizer* sizer, const Parameter& parameter);

    wxWindow* GetControl() override;
    void SetControlValue(const Parameter& parameter) override;
    Parameter GetControlValue() const override;
    void DiscardEdit() override;

    wxSlider* GetSlider() const { return m_slider; }
    wxSpinCtrl* GetSpin() const { return m_spin; }

    // The slider's value goes to the spin; reported only when post is set and the two differed.
    void SliderChange(bool post);
    void OnSliderChange(wxCommandEvent& event);
    void OnSliderScrollChange(wxScrollEvent& event);
    void OnSpinChange(wxSpinEvent& event);
    void OnSpinTextEnter(wxCommandEvent& event);
    void OnTimer(wxTimerEvent& event);

    wxString GetNumberAboveThumb() const;  // "" while the thumb rests

  private:
    void Report();
    void ShowNumberAboveThumb();
    void HideNumberAboveThumb();
    // What is typed is marked when it is out of bounds, and then neither Enter nor leaving the field takes it.
    void OnSpinText(wxCommandEvent& event);
    void OnSpinKey(wxKeyEvent& event);
    void SetTyping(bool typing, bool refused);

    wxSlider* m_slider;
    wxSpinCtrl* m_spin;
    wxPopupWindow* m_bubble = nullptr;  // made when first needed; the slider's child
    wxStaticText* m_bubbleText = nullptr;
    wxTimer m_restTimer;
    bool m_pending = false;  // the thumb has moved and nothing was reported since
    bool m_typing = false;   // the spin's text is not its value yet
    bool m_refused = false;  // and cannot become it
    bool m_bent = false;     // the spin has just replaced a refused text by one of its own
    int m_reportedValue = 0;
};
