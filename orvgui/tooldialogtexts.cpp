#include "orvgui/tooldialogtexts.h"

#include <wx/string.h>
#include <wx/translation.h>

#include "orvcore/formats/jpegstructure.h"
#include "orvcore/formats/metadata.h"
#include "orvgui/messagebox.h"
#include "zorbase/hash.h"
#include "zorbase/text.h"

namespace {

// MD5 of the 64 steps, each as two bytes, high byte first.
std::string TableHash(const QuantizationTable& table) {
    std::vector<std::uint8_t> bytes;
    for (const std::uint16_t step : table.values) {
        bytes.push_back(static_cast<std::uint8_t>(step >> 8));
        bytes.push_back(static_cast<std::uint8_t>(step & 0xFF));
    }
    return ComputeHashes(bytes).md5;
}

}  // namespace

ToolEvidence ReadToolEvidence(const OrvFilePtr& file) {
    ToolEvidence evidence;
    if (!file) return evidence;
    const ImageInfo& info = file->GetInfo();
    evidence.width = info.width;
    evidence.height = info.height;
    const std::span<const std::uint8_t> bytes(file->GetBytes());
    const MetadataFacts facts = ReadMetadataFacts(bytes);
    evidence.make = facts.make;
    evidence.model = facts.model;
    evidence.software = facts.software;
    if (info.format == FileFormat::Jpeg) {
        for (const QuantizationTable& table : ParseJpegStructure(bytes).quantizationTables)
            evidence.tableHashes.push_back(TableHash(table));
    }
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
