#include "zorbase/gui/sizejson.h"

#include <limits>

namespace {

bool ReadSide(const Json& json, const char* name, int& side) {
    const auto member = json.find(name);
    if (member == json.end() || !member->is_number_integer()) return false;
    const double value = member->get<double>();
    if (value < -1 || value > std::numeric_limits<int>::max()) return false;
    side = member->get<int>();
    return true;
}

}  // namespace

Json ToJson(const wxSize& size) {
    return Json{{"width", size.GetWidth()}, {"height", size.GetHeight()}};
}

bool FromJson(const Json& json, wxSize& size) {
    int width = 0;
    int height = 0;
    if (!json.is_object() || !ReadSide(json, "width", width) || !ReadSide(json, "height", height))
        return false;
    size = wxSize(width, height);
    return true;
}
