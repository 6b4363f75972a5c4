#pragma once

#include <wx/dialog.h>

#include "zorbase/parameter.h"

// Shows one row of a table, each cell on a line behind its label, for reading and copying. Modal. Escape closes it.
class RowDetailsDialog : public wxDialog {
  public:
    RowDetailsDialog(wxWindow* parent, const wxString& text);
    wxString GetText() const;

  private:
    void OnCopyAll(wxCommandEvent& event);
    class wxTextCtrl* m_text;
};

// The row's cells as lines of label and value.
wxString RowDetailsText(const TableString& table, int dataRow);
void ShowRowDetails(wxWindow* parent, const TableString& table, int dataRow);
