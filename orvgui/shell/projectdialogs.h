#pragma once

#include "orvcore/model/project.h"

class wxWindow;

// The questions of the project pane. Each changes what it is given and answers true, or leaves it and answers false when the user
// cancelled. GUI thread.
bool AskForBookmark(wxWindow* parent, const wxString& title, wxString& name, wxString& note);
bool AskForCaseData(wxWindow* parent, OrvCaseData& data);
bool AskForExhibit(wxWindow* parent, OrvExhibit& exhibit);
