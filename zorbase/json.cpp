#include "zorbase/json.h"

#include <limits>

#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

// Writing is recursive: deeper nesting than any file of ours has could exhaust the stack.
constexpr int kMaxDepth = 200;

bool ReadInt(const Json& json, const char* name, int& value) {
    const auto member = json.find(name);
    if (member == json.end() || !member->is_number_integer()) return false;
    const double wide = member->get<double>();
    if (wide < std::numeric_limits<int>::min() || wide > std::numeric_limits<int>::max()) return false;
    value = member->get<int>();
    return true;
}

}  // namespace

std::string JsonToText(const Json& json, int indent) {
    return json.dump(indent > 0 ? indent : -1, ' ', false, Json::error_handler_t::replace);
}

Json JsonFromText(const std::string& text) {
    const auto checkDepth = [](int depth, Json::parse_event_t, Json&) {
        if (depth > kMaxDepth) ZOR_THROW(Format, "The JSON text is nested too deeply.");
        return true;
    };
    try {
        return Json::parse(text, checkDepth);
    } catch (const Json::exception& error) {
        // The library's own name of the error stands in brackets before the place.
        std::string message = error.what();
        if (const std::size_t end = message.find("] "); end != std::string::npos) message.erase(0, end + 2);
        ZOR_THROW(Format, "The text is not valid JSON: " + ToValidUtf8(message));
    }
}

Json ToJson(const Roi& roi) {
    return Json{{"x", roi.x}, {"y", roi.y}, {"width", roi.width}, {"height", roi.height}};
}

bool FromJson(const Json& json, Roi& roi) {
    Roi result;
    if (!json.is_object() || !ReadInt(json, "x", result.x) || !ReadInt(json, "y", result.y) ||
        !ReadInt(json, "width", result.width) || !ReadInt(json, "height", result.height)) {
        return false;
    }
    if (result.width < 0 || result.height < 0) return false;
    roi = result;
    return true;
}
