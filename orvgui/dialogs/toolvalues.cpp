#include "orvgui/dialogs/toolvalues.h"

#include <algorithm>

#include "orvcore/tools/web/webparameters.h"

namespace {

constexpr std::size_t kLongestText = 4096;

bool IsRemembered(const Parameter& parameter, const EvidenceFacts& evidence) {
    const std::string& name = parameter.Name();
    if (name == kWebParameterMake) return evidence.make.empty();
    if (name == kWebParameterModel) return evidence.model.empty();
    static constexpr const char* kNever[] = {kToolParameterOwnerPassword, kToolParameterUserPassword,
                                             kWebParameterKey, kWebParameterAllow};
    return std::find(std::begin(kNever), std::end(kNever), name) == std::end(kNever);
}

bool IsHint(const Json& value) {
    return value == kToolMakeHint || value == kToolModelHint;
}

Json ToRecord(const Parameter& parameter) {
    if (parameter.Type() != ParameterType::Choice) return parameter.ValueToJson();
    return RoleOfEntry(parameter.Name(),
                       parameter.Strings().at(static_cast<std::size_t>(parameter.Get<int>())));
}

void FromRecord(const Json& value, Parameter& parameter) {
    if (value.is_string() && value.get_ref<const std::string&>().size() > kLongestText) return;
    if (parameter.Type() != ParameterType::Choice) {
        parameter.ValueFromJson(value);
        return;
    }
    const std::vector<std::string>& entries = parameter.Strings();
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (value != RoleOfEntry(parameter.Name(), entries[i])) continue;
        parameter.SetValue(static_cast<int>(i));
        return;
    }
}

}  // namespace

const char* ToolRecordName(ToolKind kind) {
    switch (kind) {
        case ToolKind::BatchProcessing:
            return "batchProcessing";
        case ToolKind::CameraForensics:
            return "cameraForensics";
        case ToolKind::CameraSearch:
            return "cameraSearch";
        case ToolKind::PdfImages:
            return "pdfImages";
        case ToolKind::WebSearch:
            return "webSearch";
    }
    return "";
}

Json RememberToolValues(const VecParameter& parameters, const EvidenceFacts& evidence) {
    Json record = Json::object();
    for (const Parameter& parameter : parameters) {
        if (!IsRemembered(parameter, evidence)) continue;
        Json value = ToRecord(parameter);
        if (!IsHint(value)) record[parameter.Name()] = std::move(value);
    }
    return record;
}

void RecallToolValues(const Json& record, const EvidenceFacts& evidence, VecParameter& parameters) {
    if (!record.is_object()) return;
    for (Parameter& parameter : parameters) {
        const auto value = record.find(parameter.Name());
        if (value != record.end() && IsRemembered(parameter, evidence)) FromRecord(*value, parameter);
    }
}
