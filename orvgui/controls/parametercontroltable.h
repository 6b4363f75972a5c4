#pragma once

#include "orvgui/controls/parametercontrol.h"

class OrvListCtrl;
class OrvStaticText;

// A table of strings whose first row holds the labels, shown in a table control with its marks, sorting, search and
// copying; a word stands in the place of a table without rows. A new value with the same labels stays sorted as the user has sorted it. GUI thread.
class ParameterControlTableString : public ParameterControl {
  public:
    ParameterControlTableString(wxWindow* parent, wxGridBagSizer* sizer, const Parameter& parameter);

    wxWindow* GetControl() override;
    void SetControlValue(const Parameter& parameter) override;
    void SetThumbnails(const std::vector<Image>& thumbnails) override;
    Parameter GetControlValue() const override { return m_parameter; }
    void Show(bool show) override;

  private:
    void FitSize();

    OrvListCtrl* m_list;
    OrvStaticText* m_none = nullptr;
    bool m_isShown = true;
    std::vector<Image> m_thumbnails;
    bool m_isFilled = false;
};
