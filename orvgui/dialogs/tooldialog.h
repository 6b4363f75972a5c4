#pragma once

#include <wx/dialog.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "orvgui/common/orvgui.h"
#include "orvgui/dialogs/toolvalidation.h"
#include "zorbase/parameter.h"

class OrvStaticText;
class ParameterControl;
class wxBoxSizer;

// Asks for the few settings of a tool: shows parameters as controls and hands the edited list back. It starts
// nothing itself. What is wrong is told in the dialog, above the buttons, until the user edits something. Owned
// by the caller. GUI thread.
class ORVGUI_API OrvToolDialog : public wxDialog {
  public:
    using Validation = std::function<std::optional<ToolProblem>(const VecParameter&)>;
    // What must be settled with the user first: asked before the dialog is shown and again at OK. Mend leads to
    // the named field, Leave ends the dialog as Cancel does, Closed goes back to where the user was.
    enum class Answer { Fine, Mend, Leave, Closed };
    using Question = std::function<Answer(const VecParameter&, wxWindow* parent)>;

    OrvToolDialog(wxWindow* parent, const wxString& title);
    ~OrvToolDialog() override;

    // Before Init: what to show, and what to do with the values when OK is accepted.
    void SetParameters(const VecParameter& parameters) { m_parameters = parameters; }
    void SetOkLabel(const wxString& label) { m_okLabel = label; }
    void SetValidation(Validation validation) { m_validation = std::move(validation); }
    void SetQuestion(const std::string& field, Question question);
    void SetAccepted(std::function<void(const VecParameter&)> accepted) { m_accepted = std::move(accepted); }
    void Init();  // creates the controls

    int ShowModal() override;
    VecParameter GetParameters() const { return m_parameters; }
    // The sentence that tells what is wrong; "" while nothing is.
    wxString GetProblem() const;

    void OnButtonOk(wxCommandEvent& event);
    void OnButtonCancel(wxCommandEvent& event);

  private:
    void CreateProblemLine();
    void AlignChoices();
    void UpdateToolTips();
    std::optional<ToolProblem> FindTypingError() const;
    // False when OK must not go on.
    bool Check();
    void ShowProblem(const ToolProblem& problem);
    void ClearProblem();
    void GoTo(const std::string& field);
    void OnEdited(wxCommandEvent& event);
    void OnCharHook(wxKeyEvent& event);
    void Finish(int code);

    VecParameter m_parameters;
    std::vector<std::unique_ptr<ParameterControl>> m_controls;  // one per parameter
    wxBoxSizer* m_problemLine = nullptr;
    OrvStaticText* m_problemText = nullptr;
    wxString m_problem;
    VecParameter m_warnedOf;  // the values that a warning was given of
    wxString m_okLabel;
    Validation m_validation;
    std::string m_questionField;
    Question m_question;
    std::function<void(const VecParameter&)> m_accepted;
};

// Where the CameraForensics service gives keys away for a trial.
inline constexpr const char* kCameraForensicsAddress = "https://www.cameraforensics.com/";

// Made ready to be shown, with the values that were confirmed last. The caller destroys them.
ORVGUI_API OrvToolDialog* CreateBatchProcessingDialog(wxWindow* parent, const wxString& title);
ORVGUI_API OrvToolDialog* CreateCameraForensicsDialog(wxWindow* parent, const wxString& title);
ORVGUI_API OrvToolDialog* CreateFlickrSettingsDialog(wxWindow* parent, const wxString& title);
ORVGUI_API OrvToolDialog* CreatePdfSettingsDialog(wxWindow* parent, const wxString& title);
ORVGUI_API OrvToolDialog* CreateWebSearchDialog(wxWindow* parent, const wxString& title);
