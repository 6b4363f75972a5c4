#pragma once

#include <wx/string.h>

#include "orvgui/parametercontrol.h"

class wxGrid;

// Whether every filled cell below the label is a number, so that the column reads best aligned right. False
// for a column without any.
bool IsNumericColumn(const TableString& table, std::size_t column);

// A table of strings whose first row holds the labels, shown read-only in a grid that asks for cells on
// demand. Marked cells are red or orange. GUI thread.
class ParameterControlTableString : public ParameterControl {
  public:
    ParameterControlTableString(wxWindow* parent, wxGridBagSizer* sizer, const Parameter& parameter);

    wxWindow* GetControl() override;
    void SetControlValue(const Parameter& parameter) override;
    Parameter GetControlValue() const override { return m_parameter; }

  private:
    void FitColumns(const TableString& table);

    wxGrid* m_grid;
    bool m_filled = false;
};
