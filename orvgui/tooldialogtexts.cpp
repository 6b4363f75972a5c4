#include "orvgui/tooldialogtexts.h"

#include <wx/string.h>
#include <wx/translation.h>

#include "orvgui/messagebox.h"
#include "zorbase/text.h"

ToolEvidence ReadToolEvidence(const OrvFilePtr& file) {
    ToolEvidence evidence;
    if (!file) return evidence;
    const ImageInfo& info = file->GetInfo();
    evidence.width = info.width;
    evidence.height = info.height;
    return evidence;
}

std::string MakeOrHint(const ToolEvidence& evidence) {
    return evidence.make.empty() ? "[write here make]" : evidence.make;
}

std::string ModelOrHint(const ToolEvidence& evidence) {
    return evidence.model.empty() ? "[write here model]" : evidence.model;
}

std::vector<std::string> SoftwareChoices(const ToolEvidence& evidence) {
    std::vector<std::string> choices = {"Any Software"};
    if (!evidence.software.empty()) choices.push_back(evidence.software);
    return choices;
}

std::vector<std::string> TableHashChoices(const ToolEvidence& evidence) {
    std::vector<std::string> choices = {"Any QT"};
    if (!evidence.tableHashes.empty()) {
        choices.push_back("Luma only (" + evidence.tableHashes.front() + ")");
        choices.push_back("Luma and Chroma (" + Join(evidence.tableHashes, ",") + ")");
    }
    return choices;
}

std::vector<std::string> SizeChoices(const ToolEvidence& evidence, bool anyFirst) {
    if (evidence.width <= 0 || evidence.height <= 0) return {"Any Size"};
    const std::string size = ToString(evidence.width) + " x " + ToString(evidence.height);
    return anyFirst ? std::vector<std::string>{"Any Size", size} : std::vector<std::string>{size, "Any Size"};
}

void OpenTrialPage(wxWindow* parent) {
    OrvMessageBox(_("This build holds no address of the service. Look for CameraForensics in your browser."),
                  wxString(), wxOK, parent);
}
