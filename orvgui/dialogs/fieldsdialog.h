#pragma once

#include <wx/dialog.h>
#include <wx/string.h>

#include <functional>
#include <vector>

#include "orvgui/common/orvgui.h"

class wxStaticText;
class wxTextCtrl;

// Asks for a few texts, of one line or many. The fields are the caller's description of them; the texts are read back after OK.
// What is wrong is told in the dialog, which then stays. GUI thread.
class ORVGUI_API FieldsDialog : public wxDialog {
  public:
    struct Field {
        wxString label;  // translated
        wxString text;
        bool hasManyLines = false;
        wxString hint = {};
    };
    // "" when the texts will do, otherwise a sentence.
    using Check = std::function<wxString(const std::vector<wxString>& texts)>;

    FieldsDialog(wxWindow* parent, const wxString& title, const std::vector<Field>& fields, Check check = {});

    // Without blanks around.
    wxString GetText(std::size_t field) const;
    wxTextCtrl* GetField(std::size_t field) const { return m_fields[field]; }

  private:
    void OnOk(wxCommandEvent& event);

    std::vector<wxTextCtrl*> m_fields;
    wxStaticText* m_problem = nullptr;
    Check m_check;
};
