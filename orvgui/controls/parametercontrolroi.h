#pragma once

#include "orvgui/controls/parametercontrolentry.h"

class wxButton;
class wxListBox;

// Regions, as "x, y, width, height" in image pixels. GUI thread.

class ParameterControlRoi : public ParameterControlEntry {
  public:
    ParameterControlRoi(wxWindow* parent, wxGridBagSizer* sizer, const Parameter& parameter);
};

// A region that follows the viewer's selection; it can be typed too.
class ParameterControlOrvRoi : public ParameterControlRoi {
  public:
    using ParameterControlRoi::ParameterControlRoi;
};

// A list of regions. Adding takes what stands in the field below the list, changing puts it in place of the
// chosen region. The field says when its text is no region, and nothing is changed then.
class ParameterControlInputVectorRoi : public ParameterControl {
  public:
    ParameterControlInputVectorRoi(wxWindow* parent, wxGridBagSizer* sizer, const Parameter& parameter);

    wxWindow* GetControl() override;
    void SetControlValue(const Parameter& parameter) override;
    Parameter GetControlValue() const override { return m_parameter; }

    wxListBox* GetListBox() const { return m_listBox; }
    wxTextCtrl* GetField() const { return m_field; }
    void OnButtonAdd(wxCommandEvent& event);
    void OnButtonChange(wxCommandEvent& event);
    void OnButtonRemove(wxCommandEvent& event);

  private:
    bool ReadField(Roi& region) const;
    // Takes the list, shows it with this entry chosen, reports it when it is another one.
    void Enter(const std::vector<Roi>& regions, int selection);
    void ShowList(int selection);
    void UpdateButtons();

    wxListBox* m_listBox;
    wxTextCtrl* m_field;
    wxButton* m_buttonAdd;
    wxButton* m_buttonChange;
    wxButton* m_buttonRemove;
};
