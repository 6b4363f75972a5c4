#pragma once

#include "orvgui/pages/filtergui.h"

class OrvListCtrl;

// The page of a filter whose results are its output parameters, shown as text. While no file is loaded, or
// when the filter failed, one sentence says so in their place.
//
// A page that ends in a table or a long text leaves it the room: short results, and below them short parameters, stand two in a row
// above it, and it takes what is left of the page.
class ORVGUI_API OrvFilterGuiText : public OrvFilterGui {
  public:
    using OrvFilterGui::OrvFilterGui;

    void CreateControlsDescription() override {}
    void CreateControlsInput() override;
    void CreateControlsOutput() override;
    void UpdateFocus() override {}
    void UpdateControlsOutput() override;
    void UpdateControlsCustom() override;

  private:
    int LastShown() const;  // index of the last output that is not hidden; -1 for none
    bool EndsInLongResult() const;
    OrvListCtrl* FindTable() const;  // at the end of the page; null for none
    void FitTable();
    void FitTableSoon();
    bool IsLabel(wxWindow* window) const;
    // Tables, and what the page ends in, reach over its whole width, below their label.
    void GiveLongOnesRows();
    // Texts above the long result leave it its room, and scroll.
    bool LimitTexts();
    // What was found stands first; what was asked for stands next to the table that it fills.
    void OrderRows(int firstOutput, int lastOutput);

    int m_firstInput = 0;   // row
    int m_fittedWidth = 0;  // of the table
    bool m_isFitting = false;
};

// Widths for the columns of a table that was never sized by hand, so that all of them are in sight where that leaves them readable:
// the widest give way first, none below `least` or, where it holds sentences, twice that. Unchanged where they fit.
std::vector<int> FitColumnWidths(std::vector<int> widths, int room, int least);
