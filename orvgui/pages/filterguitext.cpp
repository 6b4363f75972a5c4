#include "orvgui/pages/filterguitext.h"

#include "orvcore/facade/interface.h"

void OrvFilterGuiText::CreateControlsInput() {
    if (!m_parametersInput.empty()) OrvFilterGui::CreateControlsInput();
}

void OrvFilterGuiText::CreateControlsOutput() {
    SetNotice(wxString());  // above the results, whose place it takes
    if (!m_parametersOutput.empty()) OrvFilterGui::CreateControlsOutput();
    // Results get the width that labels leave.
    if (CountCells(m_outputSizer).GetCol() > 1) m_outputSizer->AddGrowableCol(1);
}

void OrvFilterGuiText::UpdateControlsCustom() {
    wxString reason = m_filter->GetErrorMessage();
    if (reason.empty() && !HasAnyFile()) reason = GetNoDataMessage();
    bool isAll = false;
    const wxString silence = reason.empty() ? GetSilence(isAll) : wxString();
    SetNotice(reason + silence);
    for (const auto& control : m_controlsOutput) {
        if (control) control->Show(reason.empty() && !isAll);
    }
}
