#pragma once

#include <string>
#include <vector>

#include "orvcore/loadedfile.h"

class wxWindow;

// What tool dialogs offer of the evidence, decided without a window.

constexpr const char* kToolParameterApiKey = "CameraForensics API Key";

// What the evidence says of itself; empty or 0 where it says nothing.
struct ToolEvidence {
    std::string make;
    std::string model;
    std::string software;
    std::vector<std::string> tableHashes;  // of the JPEG quantization tables, luminance first
    int width = 0;
    int height = 0;
};
ToolEvidence ReadToolEvidence(const OrvFilePtr& file);

std::string MakeOrHint(const ToolEvidence& evidence);
std::string ModelOrHint(const ToolEvidence& evidence);
std::vector<std::string> SoftwareChoices(const ToolEvidence& evidence);
std::vector<std::string> TableHashChoices(const ToolEvidence& evidence);
// "Any Size" and the evidence's size, in this order or the other.
std::vector<std::string> SizeChoices(const ToolEvidence& evidence, bool anyFirst);

// Tells where a trial of the search service is to be had.
void OpenTrialPage(wxWindow* parent);
