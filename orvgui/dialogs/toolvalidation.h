#pragma once

#include <wx/string.h>

#include <optional>
#include <string>

#include "orvgui/dialogs/tooldialogparameters.h"

// Whether the values of a tool dialog can be worked with, decided without a window.

struct ToolProblem {
    std::string field;       // name of the parameter to go to
    wxString message;        // what is wrong and what to do, in the user's language
    bool isWarning = false;  // the same values may be confirmed again
};

// What the rules must know beside the values.
struct ToolSurroundings {
    std::string evidencePath;  // bytes; "" for an empty slot
    std::string referencePath;
    bool keepsResults = true;  // the program option
};

// The first field, in the order of the dialog, that is wrong. Asks the file system for the folder of a file to be
// written, nothing else.
std::optional<ToolProblem> ValidateTool(ToolKind kind, const VecParameter& parameters,
                                        const ToolSurroundings& surroundings);
