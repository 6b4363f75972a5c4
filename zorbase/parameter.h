#pragma once

#include <boost/any.hpp>

#include <cstdint>
#include <string>
#include <vector>

#include "zorbase/json.h"
#include "zorbase/roi.h"

// Type codes of Parameter. The number decides which control shows the parameter and which C++ type its value has.
enum class ParameterType : int {
    Bool = 0,                      // bool
    Int = 1,                       // int
    IntSlider = 2,                 // int within minimum..maximum
    IntSpin = 3,                   // int within minimum..maximum
    Choice = 4,                    // int, index into Strings()
    ChoiceList = 10,               // int, index into Strings()
    IntRange = 12,                 // int within minimum..maximum
    Int64 = 14,                    // std::int64_t
    Double = 21,                   // double within minimum..maximum
    Text = 27,                     // std::string, shown only
    String = 28,                   // std::string, edited
    Folder = 29,                   // std::string, a path
    FileLoad = 36,                 // std::string, a path
    FileLoadImage = 42,            // std::string, a path
    FileSave = 45,                 // std::string, a path
    Roi = 48,                      // Roi
    OrvRoi = 49,                   // Roi that follows the viewer's selection
    VectorString = 57,             // std::vector<std::string>
    VectorRoi = 65,                // std::vector<Roi>
    OutputQuantizationTable = 69,  // QuantizationTables
    OutputImageResolution = 85,    // ImageResolution
    OutputString = 86,             // std::string
    OutputText = 87,               // std::string, many lines
    OutputInt64 = 88,              // std::int64_t
    OutputDateTime = 89,           // std::string
    TableString = 90,              // TableString
};

struct ImageResolution {
    int width = 0;
    int height = 0;
    bool operator==(const ImageResolution&) const = default;
};

// One quantization table as a file holds it, in natural (row by row) order, not zig-zag.
struct QuantizationTable {
    int id = 0;                         // 0..3
    int precision = 8;                  // 8 or 16 bits per entry
    std::vector<std::uint16_t> values;  // 64
    bool operator==(const QuantizationTable&) const = default;
};
using QuantizationTables = std::vector<QuantizationTable>;

// Row 0 holds the column labels, every further row one record.
using TableString = std::vector<std::vector<std::string>>;

// One typed parameter of a filter or a dialog: a name (the key under which it is stored, never translated), a description
// (the label shown, translated when shown), a value, and for outputs a second value for the reference image. A plain value,
// copied freely between threads. Texts are UTF-8.
class Parameter {
  public:
    Parameter() = default;

    // Makers. The default value is also the current one. Bounds are inclusive.
    static Parameter Bool(const std::string& name, const std::string& description, bool value);
    static Parameter Int(const std::string& name, const std::string& description, int value, int minimum,
                         int maximum);
    static Parameter Slider(const std::string& name, const std::string& description, int value, int minimum,
                            int maximum, ParameterType type = ParameterType::IntSlider);
    static Parameter Choice(const std::string& name, const std::string& description, int value,
                            std::vector<std::string> strings, ParameterType type = ParameterType::Choice);
    static Parameter Int64(const std::string& name, const std::string& description, std::int64_t value,
                           std::int64_t minimum, std::int64_t maximum);
    static Parameter Double(const std::string& name, const std::string& description, double value,
                            double minimum, double maximum);
    static Parameter String(const std::string& name, const std::string& description,
                            const std::string& value);
    // Folder, FileLoad, FileLoadImage or FileSave; fileType is a file chooser's filter ("PDF|*.pdf").
    static Parameter Path(ParameterType type, const std::string& name, const std::string& description,
                          const std::string& value, const std::string& fileType = {});
    static Parameter Region(const std::string& name, const std::string& description, const ::Roi& value,
                            ParameterType type = ParameterType::Roi);
    static Parameter Strings(const std::string& name, const std::string& description,
                             std::vector<std::string> value);
    static Parameter Regions(const std::string& name, const std::string& description,
                             std::vector<::Roi> value);
    // Outputs: empty until set.
    static Parameter Output(ParameterType type, const std::string& name, const std::string& description);
    static Parameter Output(const std::string& name, const std::string& description,
                            const std::string& value);

    int GetType() const { return static_cast<int>(m_type); }
    ParameterType Type() const { return m_type; }
    const std::string& Name() const { return m_name; }
    const std::string& GetDescription() const { return m_description; }
    const std::vector<std::string>& Strings() const { return m_strings; }
    const std::string& GetFileType() const { return m_fileType; }
    const std::string& GetToolTip() const { return m_toolTip; }
    Parameter& SetToolTip(const std::string& text) {
        m_toolTip = text;
        return *this;
    }
    double GetMinimum() const { return m_minimum; }  // of numbers
    double GetMaximum() const { return m_maximum; }
    bool IsOutput() const;  // type 27, 69 and 85 to 90
    bool IsHiddenFromGui() const { return m_hidden; }
    Parameter& SetHiddenFromGui(bool hidden = true) {
        m_hidden = hidden;
        return *this;
    }

    // Typed access; T must be the type that the code stands for. Get throws ZorException (kind Argument) otherwise; SetValue
    // answers false and changes nothing when T is wrong or the value is out of bounds (NaN too).
    template <typename T>
    const T& Get(bool reference = false) const;
    template <typename T>
    bool SetValue(const T& value);
    template <typename T>
    bool SetReference(const T& value);
    bool IsSet() const { return !m_value.empty(); }
    bool IsRefSet() const { return !m_reference.empty(); }
    void ClearReference() { m_reference = boost::any(); }

    // The evidence value (or reference value) as one line of text; "" when it is not set.
    std::string GetValueAsString(bool reference = false) const;
    // Reads what GetValueAsString writes, for the types that a person edits; false and unchanged when it does not fit.
    bool SetValueFromString(const std::string& text);

    // Copies the values (evidence and reference) of another parameter of the same type into this one; name, bounds and
    // options stay. False, and nothing changed, when the type differs or a value is out of this one's bounds.
    bool Set(const Parameter& other);
    // Takes the other's evidence value as this one's reference value. Same rules.
    bool SetReferenceFrom(const Parameter& other);
    void Reset() {
        m_value = m_default;
        m_reference = boost::any();
    }

    // Same type, name and values; descriptions and bounds do not count.
    bool operator==(const Parameter& other) const;

    Json ValueToJson() const;              // the evidence value
    bool ValueFromJson(const Json& json);  // false and unchanged when it does not fit

  private:
    Parameter(ParameterType type, const std::string& name, const std::string& description, boost::any value);
    bool Fits(const boost::any& value) const;

    ParameterType m_type = ParameterType::OutputString;
    std::string m_name;
    std::string m_description;
    std::string m_toolTip;
    std::string m_fileType;
    std::vector<std::string> m_strings;
    double m_minimum = 0;
    double m_maximum = 0;
    bool m_hidden = false;
    boost::any m_value;
    boost::any m_reference;
    boost::any m_default;
};

// Parameters in a fixed order.
class VecParameter {
  public:
    VecParameter() = default;
    VecParameter(std::initializer_list<Parameter> parameters) : m_parameters(parameters) {}

    std::size_t size() const { return m_parameters.size(); }
    bool empty() const { return m_parameters.empty(); }
    void clear() { m_parameters.clear(); }
    Parameter& operator[](std::size_t i) { return m_parameters[i]; }
    const Parameter& operator[](std::size_t i) const { return m_parameters[i]; }
    auto begin() { return m_parameters.begin(); }
    auto end() { return m_parameters.end(); }
    auto begin() const { return m_parameters.begin(); }
    auto end() const { return m_parameters.end(); }
    void push_back(const Parameter& parameter) { m_parameters.push_back(parameter); }

    // The parameter of that name, or null.
    Parameter* Find(const std::string& name);
    const Parameter* Find(const std::string& name) const;
    // Value of the parameter of that name; throws ZorException (kind Argument) when there is none or the type is wrong.
    template <typename T>
    const T& Get(const std::string& name) const;

    void Reset();  // all values back to their defaults
    bool operator==(const VecParameter& other) const = default;

    // Values by name. Reading changes what fits and names the rest (unknown names, values that do not fit) in problems.
    Json ToJson() const;
    void FromJson(const Json& json, std::vector<std::string>& problems);

  private:
    std::vector<Parameter> m_parameters;
};

using VecVecParameter = std::vector<VecParameter>;

// "Quality 90, Gain 10": description and value of each parameter on one line. The short form leaves out hidden ones. This is the
// rendering of a configuration's name; it is empty when there is nothing to tell.
std::string GetParametersString(const VecParameter& parameters, bool shortForm);

[[noreturn]] void ThrowParameterType(const std::string& name);

template <typename T>
const T& Parameter::Get(bool reference) const {
    const T* value = boost::any_cast<T>(reference ? &m_reference : &m_value);
    if (value == nullptr) ThrowParameterType(m_name);
    return *value;
}

template <typename T>
bool Parameter::SetValue(const T& value) {
    boost::any candidate(value);
    if (!Fits(candidate)) return false;
    m_value = std::move(candidate);
    return true;
}

template <typename T>
bool Parameter::SetReference(const T& value) {
    boost::any candidate(value);
    if (!Fits(candidate)) return false;
    m_reference = std::move(candidate);
    return true;
}

template <typename T>
const T& VecParameter::Get(const std::string& name) const {
    const Parameter* parameter = Find(name);
    if (parameter == nullptr) ThrowParameterType(name);
    return parameter->Get<T>();
}
