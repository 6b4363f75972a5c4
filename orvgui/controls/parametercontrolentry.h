#pragma once

#include "orvgui/controls/parametercontrol.h"

class Validator;
class wxTextCtrl;

// The base of controls that edit one line of text. What is typed is taken when Enter is pressed or the field
// is left, and only when the parameter can hold it; until then the validator marks it and the last valid
// value stays. A value set from code does not throw away what is being typed, unless it is another value than
// before. GUI thread.
class ParameterControlEntry : public ParameterControl {
  public:
    ParameterControlEntry(wxWindow* parent, const Parameter& parameter)
        : ParameterControl(parent, parameter) {}

    wxWindow* GetControl() override;
    void SetControlValue(const Parameter& parameter) override;
    Parameter GetControlValue() const override;
    void DiscardEdit() override;

  protected:
    // Makes the text field; style adds to what an edited line needs. The validator, if any, is copied.
    wxTextCtrl* CreateField(long style, const Validator* validator);
    // The value as it is edited, and back; ParseText answers false and leaves the parameter alone when the
    // text is no value.
    virtual wxString FormatText(const Parameter& parameter) const;
    virtual bool ParseText(const wxString& text, Parameter& parameter) const;
    // Shows a text that stands for m_parameter.
    void ShowText(const wxString& text);
    // Takes a value that the user has chosen elsewhere, in a dialog for instance, and reports it when it is
    // another one.
    void Enter(const Parameter& value);

    wxTextCtrl* m_field = nullptr;

  private:
    bool IsEdited() const;
    void Commit();
    void TakeBackRefused();

    wxString m_shownText;  // what stands for m_parameter; the field holds another text while it is edited
};
