#pragma once

#include <utility>
#include <vector>

#include "orvgui/controls/parametercontrol.h"

class wxTextCtrl;

// Quantization tables as text in columns: one 8 x 8 grid per table in row by row order, evidence on the left,
// reference on the right, matched by table number and, where a file defines a table more than once, by the order of
// its definitions.
struct QuantizationText {
    wxString text;
    // Parts of the text that stand out because they differ: first character and the one after the last.
    std::vector<std::pair<long, long>> differing;
    int lines = 0;
    int columns = 0;  // characters of the longest line
};

// reference may be null: then there is one slot. A table that only one side has counts as differing.
QuantizationText FormatQuantizationTables(const QuantizationTables& evidence,
                                          const QuantizationTables* reference);

// Shows them read-only in a fixed-pitch font, differing values in red with a star. GUI thread.
class ParameterControlOutputQuantizationTable : public ParameterControl {
  public:
    ParameterControlOutputQuantizationTable(wxWindow* parent, wxGridBagSizer* sizer,
                                            const Parameter& parameter);

    wxWindow* GetControl() override;
    void SetControlValue(const Parameter& parameter) override;
    Parameter GetControlValue() const override { return m_parameter; }

  private:
    wxTextCtrl* m_field;
    bool m_filled = false;
};
