#include "zorbase/parametervalue.h"

#include <limits>
#include <type_traits>

#include "zorbase/text.h"
#include "zorbase/utf8.h"

namespace {

template <typename T>
struct Tag {
    using Type = T;
};

// Calls function with the Tag of the C++ type that the code stands for: the one table of the types.
template <typename Function>
auto Dispatch(ParameterType type, Function function) {
    switch (type) {
        case ParameterType::Bool:
            return function(Tag<bool>{});
        case ParameterType::Int:
        case ParameterType::IntSlider:
        case ParameterType::IntSpin:
        case ParameterType::Choice:
        case ParameterType::ChoiceList:
        case ParameterType::IntRange:
            return function(Tag<int>{});
        case ParameterType::Int64:
        case ParameterType::OutputInt64:
            return function(Tag<std::int64_t>{});
        case ParameterType::Double:
            return function(Tag<double>{});
        case ParameterType::Roi:
        case ParameterType::OrvRoi:
            return function(Tag<Roi>{});
        case ParameterType::VectorString:
            return function(Tag<std::vector<std::string>>{});
        case ParameterType::VectorRoi:
            return function(Tag<std::vector<Roi>>{});
        case ParameterType::OutputQuantizationTable:
            return function(Tag<QuantizationTables>{});
        case ParameterType::OutputImageResolution:
            return function(Tag<ImageResolution>{});
        case ParameterType::TableString:
            return function(Tag<TableString>{});
        case ParameterType::Text:
        case ParameterType::String:
        case ParameterType::Folder:
        case ParameterType::FileLoad:
        case ParameterType::FileLoadImage:
        case ParameterType::FileSave:
        case ParameterType::OutputString:
        case ParameterType::OutputText:
        case ParameterType::OutputDateTime:
            break;
    }
    return function(Tag<std::string>{});
}

// Text forms
// -----------------------------------------------------------------------------------------------------------

constexpr const char* kListSeparator = "; ";

template <typename T>
std::string Text(const T& value) {
    return ToString(value);
}
std::string Text(const std::string& value) {
    return value;
}
std::string Text(const ImageResolution& value) {
    return ToString(value.width) + " x " + ToString(value.height);
}

// The separator inside a piece is marked with a backslash, so that the list can be read back.
std::string Text(const std::vector<std::string>& value) {
    std::string text;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (i > 0) text += kListSeparator;
        for (const char c : value[i]) {
            if (c == ';' || c == '\\') text += '\\';
            text += c;
        }
    }
    return text;
}

std::string Text(const std::vector<Roi>& value) {
    std::vector<std::string> pieces;
    for (const Roi& roi : value) pieces.push_back(ToString(roi));
    return Join(pieces, kListSeparator);
}

std::string Text(const QuantizationTables& value) {
    std::vector<std::string> pieces;
    for (const QuantizationTable& table : value) {
        std::string piece = "Table " + ToString(table.id) + ":";
        for (const std::uint16_t entry : table.values) piece += " " + ToString(int{entry});
        pieces.push_back(std::move(piece));
    }
    return Join(pieces, kListSeparator);
}

std::string Text(const TableString& value) {
    std::vector<std::string> rows;
    for (const std::vector<std::string>& row : value) rows.push_back(Join(row, ", "));
    return Join(rows, kListSeparator);
}

template <typename T>
bool ReadText(const std::string& text, T& value) {
    return FromString(Trim(text), value);
}

bool ReadText(const std::string& text, std::string& value) {
    value = text;
    return true;
}

bool ReadText(const std::string& text, std::vector<std::string>& value) {
    value.clear();
    if (text.empty()) return true;
    value.emplace_back();
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == ';') {
            value.emplace_back();
            if (i + 1 < text.size() && text[i + 1] == ' ') ++i;
            continue;
        }
        if (text[i] == '\\' && i + 1 < text.size()) ++i;
        value.back() += text[i];
    }
    return true;
}

bool ReadText(const std::string& text, std::vector<Roi>& value) {
    value.clear();
    for (const std::string& piece : StringToVecString(text, ";", SplitMode::SkipEmpty, true)) {
        if (!FromString(piece, value.emplace_back())) return false;
    }
    return true;
}

// These are only shown.
bool ReadText(const std::string&, ImageResolution&) {
    return false;
}
bool ReadText(const std::string&, QuantizationTables&) {
    return false;
}
bool ReadText(const std::string&, TableString&) {
    return false;
}

// JSON forms
// -----------------------------------------------------------------------------------------------------------

template <typename T>
Json Write(const T& value) {
    return Json(value);
}
// What is not UTF-8 cannot be written as JSON.
Json Write(const std::string& value) {
    return Json(FromWx(ToWx(value)));
}
Json Write(const Roi& value) {
    return ToJson(value);
}
Json Write(const ImageResolution& value) {
    return Json{{"width", value.width}, {"height", value.height}};
}
Json Write(const QuantizationTable& value) {
    return Json{{"id", value.id}, {"precision", value.precision}, {"values", value.values}};
}
template <typename T>
Json Write(const std::vector<T>& value) {
    Json json = Json::array();
    for (const T& item : value) json.push_back(Write(item));
    return json;
}

template <typename T>
bool ReadInteger(const Json& json, T& value) {
    if (!json.is_number_integer()) return false;
    if (json.is_number_unsigned() &&
        json.get<std::uint64_t>() > std::uint64_t{std::numeric_limits<std::int64_t>::max()}) {
        return false;
    }
    const auto wide = json.get<std::int64_t>();
    if (wide < std::int64_t{std::numeric_limits<T>::min()} ||
        wide > std::int64_t{std::numeric_limits<T>::max()})
        return false;
    value = static_cast<T>(wide);
    return true;
}

template <typename T>
bool ReadMember(const Json& json, const char* name, T& value);

bool Read(const Json& json, bool& value) {
    if (!json.is_boolean()) return false;
    value = json.get<bool>();
    return true;
}
bool Read(const Json& json, int& value) {
    return ReadInteger(json, value);
}
bool Read(const Json& json, std::uint16_t& value) {
    return ReadInteger(json, value);
}
bool Read(const Json& json, std::int64_t& value) {
    return ReadInteger(json, value);
}
bool Read(const Json& json, double& value) {
    if (!json.is_number()) return false;
    value = json.get<double>();
    return true;
}
bool Read(const Json& json, std::string& value) {
    if (!json.is_string()) return false;
    value = json.get<std::string>();
    return true;
}
bool Read(const Json& json, Roi& value) {
    return FromJson(json, value);
}
bool Read(const Json& json, ImageResolution& value) {
    return ReadMember(json, "width", value.width) && ReadMember(json, "height", value.height);
}
bool Read(const Json& json, QuantizationTable& value);
template <typename T>
bool Read(const Json& json, std::vector<T>& value) {
    if (!json.is_array()) return false;
    value.clear();
    for (const Json& item : json) {
        if (!Read(item, value.emplace_back())) return false;
    }
    return true;
}
bool Read(const Json& json, QuantizationTable& value) {
    return ReadMember(json, "id", value.id) && ReadMember(json, "precision", value.precision) &&
           ReadMember(json, "values", value.values);
}

template <typename T>
bool ReadMember(const Json& json, const char* name, T& value) {
    if (!json.is_object()) return false;
    const auto member = json.find(name);
    return member != json.end() && Read(*member, value);
}

}  // namespace

bool HoldsPath(ParameterType type) {
    return type == ParameterType::Folder || type == ParameterType::FileLoad ||
           type == ParameterType::FileLoadImage || type == ParameterType::FileSave;
}

bool HasTypeOf(ParameterType type, const boost::any& value) {
    return Dispatch(
        type, [&](auto tag) { return boost::any_cast<typename decltype(tag)::Type>(&value) != nullptr; });
}

bool EqualValues(ParameterType type, const boost::any& a, const boost::any& b) {
    if (a.empty() || b.empty()) return a.empty() == b.empty();
    return Dispatch(type, [&](auto tag) {
        using T = typename decltype(tag)::Type;
        return *boost::any_cast<T>(&a) == *boost::any_cast<T>(&b);
    });
}

std::string ValueToText(ParameterType type, const boost::any& value) {
    const std::string text = Dispatch(
        type, [&](auto tag) { return Text(*boost::any_cast<typename decltype(tag)::Type>(&value)); });
    // What a person edits comes back as it was; what is only shown is one line.
    return type == ParameterType::String || HoldsPath(type) ? text : ToOneLine(text);
}

boost::any ValueFromText(ParameterType type, const std::string& text) {
    return Dispatch(type, [&](auto tag) {
        typename decltype(tag)::Type value{};
        return ReadText(text, value) ? boost::any(value) : boost::any();
    });
}

Json ValueToJson(ParameterType type, const boost::any& value) {
    if (HoldsPath(type)) return Json(PathToUtf8(*boost::any_cast<std::string>(&value)));
    return Dispatch(type,
                    [&](auto tag) { return Write(*boost::any_cast<typename decltype(tag)::Type>(&value)); });
}

boost::any ValueFromJson(ParameterType type, const Json& json) {
    return Dispatch(type, [&](auto tag) {
        using T = typename decltype(tag)::Type;
        T value{};
        if (!Read(json, value)) return boost::any();
        if constexpr (std::is_same_v<T, std::string>) {
            if (HoldsPath(type)) value = PathFromUtf8(value);
        }
        return boost::any(value);
    });
}

std::string ToOneLine(const std::string& text) {
    std::string line;
    line.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
        line += text[i] == '\n' || text[i] == '\r' ? ' ' : text[i];
    }
    return line;
}
