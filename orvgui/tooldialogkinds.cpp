// The kinds of tool dialogs: which settings each tool asks for.

#include <wx/translation.h>
#include <wx/utils.h>

#include "orvcore/interface.h"
#include "orvcore/tools/batchprocessing.h"
#include "orvgui/messagebox.h"
#include "orvgui/tooldialog.h"
#include "orvgui/tooldialogtexts.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

Parameter Text(const std::string& label, const std::string& value) {
    return Parameter::String(label, label, value);
}
Parameter Flag(const std::string& label, bool value) {
    return Parameter::Bool(label, label, value);
}
Parameter Number(const std::string& label, int value, int minimum, int maximum) {
    return Parameter::Int(label, label, value, minimum, maximum);
}
Parameter Choice(const std::string& label, std::vector<std::string> entries, int selected = 0) {
    return Parameter::Choice(label, label, selected, std::move(entries));
}

OrvToolDialog* Create(wxWindow* parent, const wxString& title, const VecParameter& parameters,
                      const wxString& okLabel = {}) {
    auto* dialog = new OrvToolDialog(parent, title);
    dialog->SetParameters(parameters);
    if (!okLabel.empty()) dialog->SetOkLabel(okLabel);
    return dialog;
}

ToolEvidence ReadEvidence() {
    const OrvInterface* core = GetInterface();
    return core ? ReadToolEvidence(core->GetFile(OrvEvidence)) : ToolEvidence();
}

std::string KeyFile() {
    return PathJoin(PathJoin(GetAppDocumentsPath(), "cameraforensics"), "cameraforensics.apikey");
}

std::string ReadKey() {
    try {
        return FileExists(KeyFile()) ? Trim(ReadFile(KeyFile())) : std::string();
    } catch (const ZorException&) {
        return std::string();
    }
}

// The key is needed; a new one is kept for the next time.
bool CheckKey(const VecParameter& parameters, wxWindow* parent) {
    const std::string key = Trim(parameters.Get<std::string>(kToolParameterApiKey));
    if (!key.empty()) {
        try {
            if (key != ReadKey()) WriteFile(KeyFile(), key + "\n");
        } catch (const ZorException& error) {
            OrvMessageBox(ToWx(error.GetMessage()), _("Error"), wxOK | wxICON_ERROR, parent);
        }
        return true;
    }
    const wxString insert = _("Insert key");
    const wxString trial = _("Get a trial");
    wxMessageDialog question(
        parent,
        _("In order to use this function you need to have an active CameraForensics subscription.\nIf you "
          "have an API key, please click \"") +
            insert + _("\" and insert it in the proper field, otherwise click \"") + trial +
            _("\" if you want to go to the Camera Forensics website to get a trial."),
        _("CameraForensics API Key needed"), wxYES_NO);
    question.SetYesNoLabels(insert, trial);
    if (question.ShowModal() == wxID_NO) OpenTrialPage(parent);
    return false;
}

}  // namespace

OrvToolDialog* CreateBatchProcessingDialog(wxWindow* parent, const wxString& title) {
    const std::string output = PathJoin(PathJoin(GetAppDocumentsPath(), "report"), "report.html");
    OrvToolDialog* dialog = Create(parent, title, BatchProcessingParameters(output));
    dialog->Init();
    return dialog;
}

OrvToolDialog* CreateCameraForensicsDialog(wxWindow* parent, const wxString& title) {
    const ToolEvidence evidence = ReadEvidence();
    OrvToolDialog* dialog = Create(
        parent, title,
        {Text(kToolParameterApiKey, ReadKey()), Text("Camera Make", MakeOrHint(evidence)),
         Text("Camera Model", ModelOrHint(evidence)), Choice("Exif Software", SoftwareChoices(evidence)),
         Choice("JPEG QT Hash", TableHashChoices(evidence)), Number("Number of Pictures", 10, 1, 1000),
         Choice("Look For Pictures Of Size", SizeChoices(evidence, true))},
        _("Search"));
    dialog->SetValidation(CheckKey);
    dialog->Init();
    return dialog;
}

OrvToolDialog* CreateFlickrSettingsDialog(wxWindow* parent, const wxString& title) {
    const ToolEvidence evidence = ReadEvidence();
    OrvToolDialog* dialog =
        Create(parent, title,
               {Text("Camera Make", MakeOrHint(evidence)), Text("Camera Model", ModelOrHint(evidence)),
                Number("Start From Pictures Taken N Days Ago. N Is", 3000, 0, 36500),
                Number("Stop After Finding At Least N Pictures. N Is", 10, 1, 1000),
                Choice(kToolParameterSite, {"Flickr", "Google"}),
                Choice("Look For Pictures Of Size", SizeChoices(evidence, false)),
                Choice("Exclude Picture With Known Software Tags", {"Yes (Available Only For Flickr)", "No"}),
                Choice("Exclude Pictures With Different Make or Model", {"Yes", "No"})},
               _("Search"));
    dialog->Init();
    return dialog;
}

OrvToolDialog* CreatePdfSettingsDialog(wxWindow* parent, const wxString& title) {
    OrvToolDialog* dialog =
        Create(parent, title,
               {Number("First page to process", 1, 1, 1000000),
                Number("Last page to process (0 for the last in the document)", 0, 0, 1000000),
                Flag("Convert JPEG2000 images to PNG", false), Flag("Convert JBIG2 images to PNG", true),
                Flag("Convert CCITT images to PNG", true), Text("Owner password (for encrypted files)", {}),
                Text("User password (for encrypted files)", {})},
               _("Extract"));
    dialog->Init();
    return dialog;
}

OrvToolDialog* CreateWebSearchDialog(wxWindow* parent, const wxString& title) {
    OrvToolDialog* dialog = Create(parent, title,
                                   {Flag("Search On TinEye", false), Flag("Search On Google", true),
                                    Text("Search On This Domain (Optional - Only For Google)", {}),
                                    Flag("Allow To Send Images On The Web", false)});
    dialog->Init();
    return dialog;
}
