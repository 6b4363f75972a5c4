#include "orvgui/filterguitext.h"

#include "orvcore/interface.h"

void OrvFilterGuiText::CreateControlsInput() {
    if (!m_parametersInput.empty()) OrvFilterGui::CreateControlsInput();
}

void OrvFilterGuiText::CreateControlsOutput() {
    if (!m_parametersOutput.empty()) OrvFilterGui::CreateControlsOutput();
}

void OrvFilterGuiText::UpdateControlsCustom() {
    wxString reason = m_filter->GetErrorMessage();
    if (reason.empty() && !HasAnyFile() && GetContext() != nullptr)
        reason = GetContext()->GetNoDataAvailableMessage();
    SetNotice(reason);
    for (const auto& control : m_controlsOutput) {
        if (control) control->Show(reason.empty());
    }
}
