#pragma once

#include <wx/dialog.h>

#include <functional>
#include <memory>
#include <vector>

#include "orvgui/orvgui.h"
#include "zorbase/parameter.h"

class ParameterControl;

// Asks for the few settings of a tool: shows parameters as controls and hands the edited list back. It starts
// nothing itself. Owned by the caller.
class ORVGUI_API OrvToolDialog : public wxDialog {
  public:
    // Tells the user what is wrong with the values and returns false, or returns true.
    using Validation = std::function<bool(const VecParameter&, wxWindow* parent)>;

    OrvToolDialog(wxWindow* parent, const wxString& title);
    ~OrvToolDialog() override;

    // Before Init: what to show.
    void SetParameters(const VecParameter& parameters) { m_parameters = parameters; }
    void SetOkLabel(const wxString& label) { m_okLabel = label; }
    void SetValidation(Validation validation) { m_validation = std::move(validation); }
    void Init();  // creates the controls

    VecParameter GetParameters() const { return m_parameters; }

    void OnButtonOk(wxCommandEvent& event);
    void OnButtonCancel(wxCommandEvent& event);

  private:
    void Finish(int code);

    VecParameter m_parameters;
    std::vector<std::unique_ptr<ParameterControl>> m_controls;
    wxString m_okLabel;
    Validation m_validation;
};

// Name of the parameter that tells which site a camera search asks: 0 Flickr, 1 Google.
constexpr const char* kToolParameterSite = "Web Search Site";

// Made ready to be shown. The caller destroys them.
ORVGUI_API OrvToolDialog* CreateBatchProcessingDialog(wxWindow* parent, const wxString& title);
ORVGUI_API OrvToolDialog* CreateCameraForensicsDialog(wxWindow* parent, const wxString& title);
ORVGUI_API OrvToolDialog* CreateFlickrSettingsDialog(wxWindow* parent, const wxString& title);
ORVGUI_API OrvToolDialog* CreatePdfSettingsDialog(wxWindow* parent, const wxString& title);
ORVGUI_API OrvToolDialog* CreateWebSearchDialog(wxWindow* parent, const wxString& title);
