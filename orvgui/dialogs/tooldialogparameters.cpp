#include "orvgui/dialogs/tooldialogparameters.h"

#include <wx/string.h>
#include <wx/translation.h>

#include "orvcore/tools/batch/batchprocessing.h"
#include "orvcore/tools/web/webparameters.h"
#include "zorbase/files.h"
#include "zorbase/text.h"

namespace {

Parameter Text(const char* label, const std::string& value, const char* toolTip) {
    return Parameter::String(label, label, value).SetToolTip(toolTip);
}
Parameter Flag(const char* label, bool value, const char* toolTip) {
    return Parameter::Bool(label, label, value).SetToolTip(toolTip);
}
Parameter Number(const char* label, int value, int minimum, int maximum, const char* toolTip) {
    return Parameter::Int(label, label, value, minimum, maximum).SetToolTip(toolTip);
}
Parameter Choice(const char* label, std::vector<std::string> entries, const char* toolTip) {
    return Parameter::Choice(label, label, 0, std::move(entries)).SetToolTip(toolTip);
}

constexpr const char* kMakeTip =
    wxTRANSLATE("The camera's maker as its pictures name it; filled in from the evidence's metadata.");
constexpr const char* kModelTip =
    wxTRANSLATE("The camera's model as its pictures name it; filled in from the evidence's metadata.");
constexpr const char* kSizeTip =
    wxTRANSLATE("Width x height in pixels: only pictures of the evidence's size, or of every size.");

std::vector<std::string> SoftwareChoices(const EvidenceFacts& evidence) {
    std::vector<std::string> choices = {wxTRANSLATE("Any Software")};
    if (!evidence.software.empty()) choices.push_back(evidence.software);
    return choices;
}

std::vector<std::string> TableHashChoices(const EvidenceFacts& evidence) {
    std::vector<std::string> choices = {wxTRANSLATE("Any QT")};
    if (!evidence.tableHashes.empty()) {
        choices.push_back("Luma only (" + evidence.tableHashes.front() + ")");
        choices.push_back("Luma and Chroma (" + Join(evidence.tableHashes, ",") + ")");
    }
    return choices;
}

enum class Order { AnyFirst, EvidenceFirst };

std::vector<std::string> SizeChoices(const EvidenceFacts& evidence, Order order) {
    std::vector<std::string> choices = {kWebEntryAnySize};
    if (evidence.width <= 0 || evidence.height <= 0) return choices;
    const std::string size = ToString(evidence.width) + " x " + ToString(evidence.height);
    choices.insert(order == Order::AnyFirst ? choices.end() : choices.begin(), size);
    return choices;
}

std::string OrHint(const std::string& text, const char* hint) {
    return text.empty() ? hint : text;
}

VecParameter BatchParameters() {
    static constexpr const char* kToolTips[] = {
        wxTRANSLATE("Which files are worked on."),
        wxTRANSLATE("Which filters run on each of them, with which parameters."),
        wxTRANSLATE("Results in the cache are shown at once later; a report tells all of them."),
        wxTRANSLATE(
            "The report: a page for .html, a table for .tsv. Result images go into a folder beside it."),
    };
    VecParameter parameters =
        BatchProcessingParameters(PathJoin(PathJoin(GetAppDocumentsPath(), "report"), "report.html"));
    for (std::size_t i = 0; i < std::size(kToolTips) && i < parameters.size(); ++i)
        parameters[i].SetToolTip(kToolTips[i]);
    return parameters;
}

VecParameter ForensicsParameters(const EvidenceFacts& evidence, const std::string& key) {
    return {
        Text(kWebParameterKey, key,
             wxTRANSLATE("The key of your subscription. It is kept in a file that only you can read.")),
        Text(kWebParameterMake, OrHint(evidence.make, kToolMakeHint), kMakeTip),
        Text(kWebParameterModel, OrHint(evidence.model, kToolModelHint), kModelTip),
        Choice(kWebParameterSoftware, SoftwareChoices(evidence),
               wxTRANSLATE("Only pictures that the evidence's software wrote, or of every software.")),
        Choice(
            kWebParameterTables, TableHashChoices(evidence),
            wxTRANSLATE("Only pictures with the evidence's JPEG quantization tables (MD5 of each), or with "
                        "any tables.")),
        Number(kWebParameterNumber, 10, 1, 1000,
               wxTRANSLATE("The search ends when so many pictures have been found (1 to 1000).")),
        Choice(kWebParameterSize, SizeChoices(evidence, Order::AnyFirst), kSizeTip),
    };
}

VecParameter SearchParameters(const EvidenceFacts& evidence) {
    return {
        Text(kWebParameterMake, OrHint(evidence.make, kToolMakeHint), kMakeTip),
        Text(kWebParameterModel, OrHint(evidence.model, kToolModelHint), kModelTip),
        Number(kWebParameterDays, 3000, 0, 36500,
               wxTRANSLATE("In days (0 to 36500): older pictures are not looked at.")),
        Number(kWebParameterCount, 10, 1, 1000,
               wxTRANSLATE("The search ends when so many pictures have been found (1 to 1000).")),
        Choice(kToolParameterSite, {"Flickr", "Google"},
               wxTRANSLATE("The site that is searched. Its API key is set in the program options.")),
        Choice(kWebParameterSize, SizeChoices(evidence, Order::EvidenceFirst), kSizeTip),
        Choice(kWebParameterNoSoftware, {wxTRANSLATE("Yes (Available Only For Flickr)"), wxTRANSLATE("No")},
               wxTRANSLATE("Leaves out pictures that a program for changing pictures has written.")),
        Choice(kWebParameterSameCamera, {wxTRANSLATE("Yes"), wxTRANSLATE("No")},
               wxTRANSLATE("Leaves out pictures whose own metadata names another camera.")),
    };
}

VecParameter PdfParameters() {
    constexpr int kMostPages = 1000000;
    return {
        Number(kToolParameterFirstPage, 1, 1, kMostPages, wxTRANSLATE("Pages are counted from 1.")),
        Number(kToolParameterLastPage, 0, 0, kMostPages,
               wxTRANSLATE("This page is included; 0 stands for the last one of the document.")),
        Flag(wxTRANSLATE("Convert JPEG2000 images to PNG"), false,
             wxTRANSLATE("Without a tick the stream is written as it stands in the document.")),
        Flag(wxTRANSLATE("Convert JBIG2 images to PNG"), true,
             wxTRANSLATE("Few programs open a JBIG2 stream as it stands in the document.")),
        Flag(wxTRANSLATE("Convert CCITT images to PNG"), true,
             wxTRANSLATE("Few programs open a CCITT stream as it stands in the document.")),
        Text(kToolParameterOwnerPassword, {}, wxTRANSLATE("Used for this document only and not kept.")),
        Text(kToolParameterUserPassword, {}, wxTRANSLATE("Used for this document only and not kept.")),
    };
}

VecParameter WebSearchParameters() {
    return {
        Flag(kWebParameterTinEye, false, wxTRANSLATE("The result is shown in the browser.")),
        Flag(kWebParameterGoogle, true, wxTRANSLATE("The result is shown in the browser.")),
        Text(kWebParameterDomain, {},
             wxTRANSLATE("Only pictures of this site, \"example.com\" for instance; empty for all sites.")),
        Flag(kWebParameterAllow, false,
             wxTRANSLATE("The search sends the evidence itself, with all metadata in it. Never ticked by "
                         "itself.")),
    };
}

}  // namespace

VecParameter ToolParameters(ToolKind kind, const EvidenceFacts& evidence, const std::string& key) {
    switch (kind) {
        case ToolKind::BatchProcessing:
            return BatchParameters();
        case ToolKind::CameraForensics:
            return ForensicsParameters(evidence, key);
        case ToolKind::CameraSearch:
            return SearchParameters(evidence);
        case ToolKind::PdfImages:
            return PdfParameters();
        case ToolKind::WebSearch:
            return WebSearchParameters();
    }
    return {};
}

std::string RoleOfEntry(const std::string& parameter, const std::string& entry) {
    if (parameter == kWebParameterSoftware) return entry == "Any Software" ? "any" : "evidence";
    if (parameter == kWebParameterSize) return entry == kWebEntryAnySize ? "any" : "evidence";
    if (parameter == kWebParameterTables)
        return entry == "Any QT" ? "any" : entry.starts_with("Luma only") ? "luma" : "lumaChroma";
    return entry;
}

OrvActionId ActionOfTool(ToolKind kind, const VecParameter& parameters) {
    switch (kind) {
        case ToolKind::BatchProcessing:
            return OrvActionBatchProcessing;
        case ToolKind::CameraForensics:
            return OrvActionCameraForensics;
        case ToolKind::WebSearch:
            return OrvActionWebSearch;
        default:
            return parameters.Get<int>(kToolParameterSite) == 1 ? OrvActionSearchGoogle
                                                                : OrvActionSearchFlickr;
    }
}
