#pragma once

#include "orvgui/controls/parametercontrol.h"

class wxCheckBox;
class wxComboBox;

// Yes or no. GUI thread.
class ParameterControlInputCheckBox : public ParameterControl {
  public:
    ParameterControlInputCheckBox(wxWindow* parent, wxGridBagSizer* sizer, const Parameter& parameter);

    wxWindow* GetControl() override;
    void SetControlValue(const Parameter& parameter) override;
    Parameter GetControlValue() const override;

  private:
    wxCheckBox* m_checkBox;
};

// One of the parameter's strings, which are translated when shown. When it is editable an entry may also be
// typed; a text that is no entry changes nothing. GUI thread.
class ParameterControlInputComboBox : public ParameterControl {
  public:
    ParameterControlInputComboBox(wxWindow* parent, wxGridBagSizer* sizer, const Parameter& parameter,
                                  bool editable);

    wxWindow* GetControl() override;
    void SetControlValue(const Parameter& parameter) override;
    Parameter GetControlValue() const override;

  private:
    void OnChosen(int index);

    wxComboBox* m_comboBox;
};
