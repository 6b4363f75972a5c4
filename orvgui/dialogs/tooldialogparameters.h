#pragma once

#include <wx/translation.h>

#include <string>
#include <vector>

#include "orvcore/facade/commandevent.h"
#include "orvcore/formats/evidencefacts.h"
#include "zorbase/parameter.h"

// What each tool dialog asks for, decided without a window. A parameter's name is its untranslated label; names
// that are not here stand in orvcore/tools/webparameters.h and batchprocessing.h.

enum class ToolKind { BatchProcessing, CameraForensics, CameraSearch, PdfImages, WebSearch };

inline constexpr const char* kToolParameterSite = wxTRANSLATE("Web Search Site");  // 0 Flickr, 1 Google
inline constexpr const char* kToolParameterFirstPage = wxTRANSLATE("First page to process");
inline constexpr const char* kToolParameterLastPage =
    wxTRANSLATE("Last page to process (0 for the last in the document)");
inline constexpr const char* kToolParameterOwnerPassword =
    wxTRANSLATE("Owner password (for encrypted files)");
inline constexpr const char* kToolParameterUserPassword = wxTRANSLATE("User password (for encrypted files)");
inline constexpr const char* kToolParameterOutput = wxTRANSLATE("Output Filename");

// What stands for a make or model that the evidence does not name.
inline constexpr const char* kToolMakeHint = "[write here make]";
inline constexpr const char* kToolModelHint = "[write here model]";

// The parameters of a dialog in their order, with defaults as far as the evidence and the key give them.
VecParameter ToolParameters(ToolKind kind, const EvidenceFacts& evidence, const std::string& key);

// What an entry of a choice stands for, whatever the evidence: "any" or "evidence" (tables: "luma",
// "lumaChroma") where the entries name something of the evidence, otherwise the entry itself.
std::string RoleOfEntry(const std::string& parameter, const std::string& entry);

// The action that the accepted values of a dialog start; not of PdfImages, which is no action.
OrvActionId ActionOfTool(ToolKind kind, const VecParameter& parameters);
