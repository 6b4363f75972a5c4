// The kinds of tool dialogs: what each is filled with and what it does with its values.

#include <wx/translation.h>

#include "orvcore/facade/interface.h"
#include "orvcore/tools/web/webparameters.h"
#include "orvgui/common/messagebox.h"
#include "orvgui/dialogs/tooldialog.h"
#include "orvgui/dialogs/toolvalues.h"
#include "zorbase/gui/shell.h"
#include "zorbase/text.h"

namespace {

EvidenceFacts GetEvidenceFacts() {
    const OrvInterface* core = GetInterface();
    const OrvFilePtr file = core ? core->GetFile(OrvEvidence) : nullptr;
    return file ? file->GetEvidenceFacts() : EvidenceFacts();
}

ToolSurroundings GetSurroundings() {
    ToolSurroundings surroundings;
    const OrvInterface* core = GetInterface();
    if (!core) return surroundings;
    surroundings.evidencePath = PathFromWx(core->GetFilename(OrvEvidence));
    surroundings.referencePath = PathFromWx(core->GetFilename(OrvReference));
    for (const VecParameter& group : core->GetProgramOptions())
        if (const Parameter* option = group.Find("useCache")) surroundings.keepsResults = option->Get<bool>();
    return surroundings;
}

void Accept(ToolKind kind, const VecParameter& parameters) {
    OrvInterface* core = GetInterface();
    if (!core) return;
    const Json record = RememberToolValues(parameters, GetEvidenceFacts());
    if (record != core->GetToolSettings(ToolRecordName(kind)))
        core->SetToolSettings(ToolRecordName(kind), record);
    if (const Parameter* key = parameters.Find(kWebParameterKey))
        core->SetServiceKey(Trim(key->Get<std::string>()));
}

OrvToolDialog* Create(wxWindow* parent, const wxString& title, ToolKind kind, const wxString& okLabel = {}) {
    const OrvInterface* core = GetInterface();
    const EvidenceFacts evidence = GetEvidenceFacts();
    VecParameter parameters = ToolParameters(
        kind, evidence, core && kind == ToolKind::CameraForensics ? core->GetServiceKey() : std::string());
    if (core) RecallToolValues(core->GetToolSettings(ToolRecordName(kind)), evidence, parameters);

    auto* dialog = new OrvToolDialog(parent, title);
    dialog->SetParameters(parameters);
    if (!okLabel.empty()) dialog->SetOkLabel(okLabel);
    dialog->SetValidation(
        [kind](const VecParameter& values) { return ValidateTool(kind, values, GetSurroundings()); });
    dialog->SetAccepted([kind](const VecParameter& values) { Accept(kind, values); });
    return dialog;
}

OrvToolDialog* CreateAndInit(wxWindow* parent, const wxString& title, ToolKind kind,
                             const wxString& okLabel = {}) {
    OrvToolDialog* dialog = Create(parent, title, kind, okLabel);
    dialog->Init();
    return dialog;
}

// Without a key there is nothing to search with: it is inserted, or the service's page tells how to get one.
OrvToolDialog::Answer AskForKey(const VecParameter& parameters, wxWindow* parent) {
    using Answer = OrvToolDialog::Answer;
    if (!Trim(parameters.Get<std::string>(kWebParameterKey)).empty()) return Answer::Fine;
    const wxString insert = _("Insert Key");
    const wxString trial = _("Get A Trial");
    const int answer =
        OrvQuestionBox(_("In order to use this function you need to have an active CameraForensics "
                         "subscription.\nIf you have an API key, please click \"") +
                           insert + _("\" and insert it in the proper field, otherwise click \"") + trial +
                           _("\" if you want to go to the Camera Forensics website to get a trial."),
                       _("CameraForensics API Key needed"), insert, trial, wxICON_INFORMATION, parent);
    if (answer == wxYES) return Answer::Mend;
    if (answer == wxCANCEL) return Answer::Closed;
    if (!LaunchWebAddress(kCameraForensicsAddress))
        OrvMessageBox(
            wxString::Format(_("The browser cannot be opened. The address is:\n%s"), kCameraForensicsAddress),
            _("Error"), wxOK | wxICON_ERROR, parent);
    return Answer::Leave;
}

}  // namespace

OrvToolDialog* CreateBatchProcessingDialog(wxWindow* parent, const wxString& title) {
    return CreateAndInit(parent, title, ToolKind::BatchProcessing);
}

OrvToolDialog* CreateCameraForensicsDialog(wxWindow* parent, const wxString& title) {
    OrvToolDialog* dialog = Create(parent, title, ToolKind::CameraForensics, _("Search"));
    dialog->SetQuestion(kWebParameterKey, AskForKey);
    dialog->Init();
    return dialog;
}

OrvToolDialog* CreateFlickrSettingsDialog(wxWindow* parent, const wxString& title) {
    return CreateAndInit(parent, title, ToolKind::CameraSearch, _("Search"));
}

OrvToolDialog* CreatePdfSettingsDialog(wxWindow* parent, const wxString& title) {
    return CreateAndInit(parent, title, ToolKind::PdfImages, _("Extract"));
}

OrvToolDialog* CreateWebSearchDialog(wxWindow* parent, const wxString& title) {
    return CreateAndInit(parent, title, ToolKind::WebSearch);
}
