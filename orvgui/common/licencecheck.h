#pragma once

#include <wx/translation.h>

class wxWindow;

// Commands that the trial edition refuses, each with its text.
constexpr const char* kTrialRefusesCommand =
    wxTRANSLATE("Command not available in trial version.");  // saving a result
constexpr const char* kTrialRefusesExport =
    wxTRANSLATE("Command not available on trial version.");  // exporting a table

// Whether the edition allows the command; shows the refusal (untranslated text, one of the above) where it does not. GUI thread.
bool CheckLicence(const char* refusal, wxWindow* parent);
