#include "zorbase/parameter.h"

#include <cmath>

#include "zorbase/parametervalue.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

bool HasIntegerType(ParameterType type) {
    switch (type) {
        case ParameterType::Int:
        case ParameterType::IntSlider:
        case ParameterType::IntSpin:
        case ParameterType::IntRange:
            return true;
        default:
            return false;
    }
}

// A parameter whose default does not fit is a fault of the code that makes it.
[[noreturn]] void ThrowMaker(const std::string& name) {
    ZOR_THROW(Argument, "The parameter \"" + ToValidUtf8(name) +
                            "\" is declared with a type or default that does not fit.");
}

}  // namespace

void ThrowParameterType(const std::string& name) {
    ZOR_THROW(Argument,
              "There is no parameter \"" + ToValidUtf8(name) + "\" with a value of the expected type.");
}

Parameter::Parameter(ParameterType type, const std::string& name, const std::string& description,
                     boost::any value)
    : m_type(type), m_name(name), m_description(description), m_value(value), m_default(std::move(value)) {}

Parameter Parameter::Bool(const std::string& name, const std::string& description, bool value) {
    return Parameter(ParameterType::Bool, name, description, value);
}

Parameter Parameter::Int(const std::string& name, const std::string& description, int value, int minimum,
                         int maximum) {
    return Slider(name, description, value, minimum, maximum, ParameterType::Int);
}

Parameter Parameter::Slider(const std::string& name, const std::string& description, int value, int minimum,
                            int maximum, ParameterType type) {
    Parameter parameter(type, name, description, value);
    parameter.m_minimum = minimum;
    parameter.m_maximum = maximum;
    if (!HasIntegerType(type) || !parameter.Fits(parameter.m_value)) ThrowMaker(name);
    return parameter;
}

Parameter Parameter::Choice(const std::string& name, const std::string& description, int value,
                            std::vector<std::string> strings, ParameterType type) {
    Parameter parameter(type, name, description, value);
    parameter.m_strings = std::move(strings);
    const bool isChoice = type == ParameterType::Choice || type == ParameterType::ChoiceList;
    if (!isChoice || !parameter.Fits(parameter.m_value)) ThrowMaker(name);
    return parameter;
}

Parameter Parameter::Int64(const std::string& name, const std::string& description, std::int64_t value,
                           std::int64_t minimum, std::int64_t maximum) {
    Parameter parameter(ParameterType::Int64, name, description, value);
    parameter.m_minimum = static_cast<double>(minimum);
    parameter.m_maximum = static_cast<double>(maximum);
    if (!parameter.Fits(parameter.m_value)) ThrowMaker(name);
    return parameter;
}

Parameter Parameter::Double(const std::string& name, const std::string& description, double value,
                            double minimum, double maximum) {
    Parameter parameter(ParameterType::Double, name, description, value);
    parameter.m_minimum = minimum;
    parameter.m_maximum = maximum;
    if (!parameter.Fits(parameter.m_value)) ThrowMaker(name);
    return parameter;
}

Parameter Parameter::String(const std::string& name, const std::string& description,
                            const std::string& value) {
    return Parameter(ParameterType::String, name, description, value);
}

Parameter Parameter::Path(ParameterType type, const std::string& name, const std::string& description,
                          const std::string& value, const std::string& fileType) {
    if (!HoldsPath(type)) ThrowMaker(name);
    Parameter parameter(type, name, description, value);
    parameter.m_fileType = fileType;
    return parameter;
}

Parameter Parameter::Region(const std::string& name, const std::string& description, const ::Roi& value,
                            ParameterType type) {
    Parameter parameter(type, name, description, value);
    const bool isRegion = type == ParameterType::Roi || type == ParameterType::OrvRoi;
    if (!isRegion || !parameter.Fits(parameter.m_value)) ThrowMaker(name);
    return parameter;
}

Parameter Parameter::Strings(const std::string& name, const std::string& description,
                             std::vector<std::string> value) {
    return Parameter(ParameterType::VectorString, name, description, std::move(value));
}

Parameter Parameter::Regions(const std::string& name, const std::string& description,
                             std::vector<::Roi> value) {
    Parameter parameter(ParameterType::VectorRoi, name, description, std::move(value));
    if (!parameter.Fits(parameter.m_value)) ThrowMaker(name);
    return parameter;
}

Parameter Parameter::Output(ParameterType type, const std::string& name, const std::string& description) {
    Parameter parameter(type, name, description, boost::any());
    if (!parameter.IsOutput()) ThrowMaker(name);
    return parameter;
}

Parameter Parameter::Output(const std::string& name, const std::string& description,
                            const std::string& value) {
    return Parameter(ParameterType::OutputString, name, description, value);
}

bool Parameter::IsOutput() const {
    switch (m_type) {
        case ParameterType::Text:
        case ParameterType::OutputQuantizationTable:
        case ParameterType::OutputImageResolution:
        case ParameterType::OutputString:
        case ParameterType::OutputText:
        case ParameterType::OutputInt64:
        case ParameterType::OutputDateTime:
        case ParameterType::TableString:
            return true;
        default:
            return false;
    }
}

bool Parameter::Fits(const boost::any& value) const {
    if (!HasTypeOf(m_type, value)) return false;
    switch (m_type) {
        case ParameterType::Int:
        case ParameterType::IntSlider:
        case ParameterType::IntSpin:
        case ParameterType::IntRange: {
            const int number = *boost::any_cast<int>(&value);
            return number >= m_minimum && number <= m_maximum;
        }
        case ParameterType::Choice:
        case ParameterType::ChoiceList: {
            const int index = *boost::any_cast<int>(&value);
            // A list without options keeps index 0, which then shows as an empty text.
            return index == 0 || (index > 0 && static_cast<std::size_t>(index) < m_strings.size());
        }
        case ParameterType::Int64: {
            // A long double holds every 64-bit number; the bounds themselves are exact up to 2^53.
            const auto number = static_cast<long double>(*boost::any_cast<std::int64_t>(&value));
            return number >= m_minimum && number <= m_maximum;
        }
        case ParameterType::Double: {
            const double number = *boost::any_cast<double>(&value);
            return std::isfinite(number) && number >= m_minimum && number <= m_maximum;
        }
        case ParameterType::Roi:
        case ParameterType::OrvRoi: {
            const auto& roi = *boost::any_cast<::Roi>(&value);
            return roi.width >= 0 && roi.height >= 0;
        }
        case ParameterType::VectorRoi: {
            for (const ::Roi& roi : *boost::any_cast<std::vector<::Roi>>(&value)) {
                if (roi.width < 0 || roi.height < 0) return false;
            }
            return true;
        }
        default:
            return true;
    }
}

std::string Parameter::GetValueAsString(bool reference) const {
    const boost::any& value = reference ? m_reference : m_value;
    if (value.empty()) return {};
    if (m_type == ParameterType::Choice || m_type == ParameterType::ChoiceList) {
        const auto index = static_cast<std::size_t>(*boost::any_cast<int>(&value));
        return index < m_strings.size() ? m_strings[index] : std::string();
    }
    return ValueToText(m_type, value);
}

bool Parameter::SetValueFromString(const std::string& text) {
    if (IsOutput()) return false;
    boost::any candidate;
    if (m_type == ParameterType::Choice || m_type == ParameterType::ChoiceList) {
        for (std::size_t i = 0; i < m_strings.size() && candidate.empty(); ++i) {
            if (m_strings[i] == text) candidate = static_cast<int>(i);
        }
    } else {
        candidate = ValueFromText(m_type, text);
    }
    if (candidate.empty() || !Fits(candidate)) return false;
    m_value = std::move(candidate);
    return true;
}

bool Parameter::Set(const Parameter& other) {
    if (other.m_type != m_type) return false;
    const bool valueFits = other.m_value.empty() ? IsOutput() : Fits(other.m_value);
    if (!valueFits || (!other.m_reference.empty() && !Fits(other.m_reference))) return false;
    boost::any value(other.m_value);
    boost::any reference(other.m_reference);
    m_value.swap(value);
    m_reference.swap(reference);
    return true;
}

bool Parameter::SetReferenceFrom(const Parameter& other) {
    if (other.m_type != m_type || (!other.m_value.empty() && !Fits(other.m_value))) return false;
    m_reference = other.m_value;
    return true;
}

bool Parameter::operator==(const Parameter& other) const {
    return m_type == other.m_type && m_name == other.m_name && EqualValues(m_type, m_value, other.m_value) &&
           EqualValues(m_type, m_reference, other.m_reference);
}

Json Parameter::ValueToJson() const {
    return m_value.empty() ? Json() : ::ValueToJson(m_type, m_value);
}

bool Parameter::ValueFromJson(const Json& json) {
    if (json.is_null() && IsOutput()) {
        m_value = boost::any();
        return true;
    }
    boost::any candidate = ::ValueFromJson(m_type, json);
    if (candidate.empty() || !Fits(candidate)) return false;
    m_value = std::move(candidate);
    return true;
}
