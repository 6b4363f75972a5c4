#include "orvcore/tools/web/webresults.h"

#include <algorithm>
#include <cmath>

#include "orvcore/tables/tablemarkup.h"
#include "orvcore/tables/tables.h"
#include "orvcore/tools/web/webaddress.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr std::size_t kLongestText = 2000;
constexpr std::size_t kLongestCell = 300;
constexpr std::size_t kLongestReason = 200;
constexpr double kLargestNumber = 1e9;

std::string Cell(const std::string& text) {
    return TableCell(DisplayText(text, false, kLongestCell));
}

std::string Number(int number) {
    return number > 0 ? ToString(number) : std::string();
}

std::string Link(const std::string& text) {
    return IsWebAddress(text) ? TableCell(ParseWebAddress(text, "The link").text) : std::string();
}

// Lower case, single blanks.
std::string Plain(const std::string& text) {
    return ToLower(Join(StringToVecString(text, " ", SplitMode::SkipEmpty, true), " "));
}

std::string WithoutMake(const std::string& model, const std::string& firstWord) {
    const std::string prefix = firstWord + " ";
    return !firstWord.empty() && model.starts_with(prefix) ? model.substr(prefix.size()) : model;
}

}  // namespace

TableString WebPictureTable(const std::vector<WebPicture>& pictures) {
    TableString table = {
        {"Title", "Make", "Model", "Software", "Date Taken", "Width", "Height", "Format", "Link", "Page"}};
    for (const WebPicture& picture : pictures)
        table.push_back({Cell(picture.title), Cell(picture.make), Cell(picture.model), Cell(picture.software),
                         Cell(picture.taken), Number(picture.width), Number(picture.height),
                         Cell(picture.format), Link(picture.link), Link(picture.page)});
    return table;
}

Json ReadWebJson(const HttpResponse& response) {
    try {
        return JsonFromText(response.body);
    } catch (const ZorException&) {
        ZOR_THROW(Network,
                  "The site " + response.host +
                      " gave an answer that cannot be read. Check its address in the program options.");
    }
}

const Json& WebMember(const Json& object, const char* name) {
    static const Json s_null;
    if (!object.is_object()) return s_null;
    const auto found = object.find(name);
    return found == object.end() ? s_null : *found;
}

std::string WebText(const Json& object, const char* name) {
    const Json* value = &WebMember(object, name);
    if (value->is_object()) value = &WebMember(*value, "_content");
    if (value->is_number_integer()) return ToString(value->get<std::int64_t>());
    if (!value->is_string()) return {};
    const auto& text = value->get_ref<const std::string&>();
    return Trim(ToValidUtf8(std::string_view(text).substr(0, kLongestText)));
}

int WebNumber(const Json& object, const char* name) {
    const Json& value = WebMember(object, name);
    double number = 0;
    if (value.is_number())
        number = value.get<double>();
    else if (!value.is_string() || !FromString(WebText(object, name), number))
        return 0;
    return std::isfinite(number) && number >= 0 && number <= kLargestNumber ? static_cast<int>(number) : 0;
}

std::string WebReason(const std::string& text, const std::vector<std::string>& secrets) {
    constexpr std::string_view kHidden = "…";
    std::string reason = text;
    for (const std::string& secret : secrets) {
        if (secret.empty()) continue;
        for (std::size_t at = 0; (at = reason.find(secret, at)) != std::string::npos; at += kHidden.size())
            reason.replace(at, secret.size(), kHidden);
    }
    return DisplayText(reason, false, kLongestReason);
}

void RequireOption(const std::string& value, const std::string& label) {
    if (value.empty())
        ZOR_THROW(Argument, "The " + label + " is missing. Enter it in View > Program Options.");
}

bool IsSameCamera(const std::string& make, const std::string& model, const std::string& wantedMake,
                  const std::string& wantedModel) {
    const std::string oneMake = Plain(make);
    const std::string otherMake = Plain(wantedMake);
    const std::string oneWord = oneMake.substr(0, oneMake.find(' '));
    const std::string otherWord = otherMake.substr(0, otherMake.find(' '));
    const std::string oneModel = WithoutMake(Plain(model), oneWord);
    return oneWord == otherWord && !oneModel.empty() &&
           oneModel == WithoutMake(Plain(wantedModel), otherWord);
}
