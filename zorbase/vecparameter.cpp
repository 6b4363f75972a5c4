// The list of parameters, and its rendering on one line.

#include <algorithm>

#include "zorbase/parameter.h"
#include "zorbase/parametervalue.h"
#include "zorbase/text.h"

Parameter* VecParameter::Find(const std::string& name) {
    const auto found = std::find_if(m_parameters.begin(), m_parameters.end(),
                                    [&name](const Parameter& parameter) { return parameter.Name() == name; });
    return found == m_parameters.end() ? nullptr : &*found;
}

const Parameter* VecParameter::Find(const std::string& name) const {
    return const_cast<VecParameter*>(this)->Find(name);
}

void VecParameter::Reset() {
    for (Parameter& parameter : m_parameters) parameter.Reset();
}

Json VecParameter::ToJson() const {
    Json json = Json::object();
    for (const Parameter& parameter : m_parameters) json[parameter.Name()] = parameter.ValueToJson();
    return json;
}

void VecParameter::FromJson(const Json& json, std::vector<std::string>& problems) {
    if (!json.is_object()) {
        problems.push_back("The parameters are not stored as an object.");
        return;
    }
    for (const auto& [name, value] : json.items()) {
        Parameter* parameter = Find(name);
        if (parameter == nullptr) {
            problems.push_back("There is no parameter \"" + ToValidUtf8(name) + "\".");
        } else if (!parameter->ValueFromJson(value)) {
            problems.push_back("The value stored for the parameter \"" + ToValidUtf8(name) +
                               "\" does not fit.");
        }
    }
}

std::string GetParametersString(const VecParameter& parameters, bool shortForm) {
    std::vector<std::string> pieces;
    for (const Parameter& parameter : parameters) {
        if (shortForm && parameter.IsHiddenFromGui()) continue;
        const std::string value = ToOneLine(ToValidUtf8(parameter.GetValueAsString()));
        if (value.empty()) continue;
        const std::string& description = parameter.GetDescription();
        pieces.push_back(description.empty() ? value : description + " " + value);
    }
    return Join(pieces, ", ");
}
