#include "orvcore/tools/web/webparameters.h"

#include <algorithm>
#include <cstdio>

#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr std::size_t kLongestText = 200;

template <typename T>
const T& Read(const VecParameter& parameters, const char* name) {
    const Parameter* parameter = parameters.Find(name);
    if (parameter == nullptr || !parameter->IsSet())
        ZOR_THROW(Argument, "\"" + std::string(name) + "\" is not given.");
    return parameter->Get<T>();
}

[[noreturn]] void Refuse(const char* name, const std::string& reason) {
    ZOR_THROW(Argument, "\"" + std::string(name) + "\" " + reason + ".");
}

}  // namespace

bool WebPictureSize::Fits(int otherWidth, int otherHeight) const {
    return IsAny() || (otherWidth == width && otherHeight == height) ||
           (otherWidth == height && otherHeight == width);
}

std::string ReadWebText(const VecParameter& parameters, const char* name) {
    const std::string text = Trim(Read<std::string>(parameters, name));
    if (text.empty()) Refuse(name, "is empty: fill it in");
    if (text.starts_with("[write here")) Refuse(name, "is not filled in: the evidence does not name it");
    if (text.size() > kLongestText) Refuse(name, "is too long");
    if (std::any_of(text.begin(), text.end(),
                    [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }) ||
        ToValidUtf8(text) != text)
        Refuse(name, "holds characters that cannot be sent");
    return text;
}

int ReadWebNumber(const VecParameter& parameters, const char* name, int minimum, int maximum) {
    const int number = Read<int>(parameters, name);
    if (number < minimum || number > maximum)
        Refuse(name, "must be a number from " + ToString(minimum) + " to " + ToString(maximum));
    return number;
}

bool ReadWebFlag(const VecParameter& parameters, const char* name) {
    return Read<bool>(parameters, name);
}

int ReadWebChoice(const VecParameter& parameters, const char* name) {
    return Read<int>(parameters, name);
}

std::string ReadWebEntry(const VecParameter& parameters, const char* name) {
    const int index = Read<int>(parameters, name);
    const auto& entries = parameters.Find(name)->Strings();
    if (index < 0 || static_cast<std::size_t>(index) >= entries.size()) Refuse(name, "has no such entry");
    return entries[static_cast<std::size_t>(index)];
}

WebPictureSize ReadWebSize(const VecParameter& parameters) {
    WebPictureSize size;
    const std::string entry = ReadWebEntry(parameters, kWebParameterSize);
    int used = 0;
    if (std::sscanf(entry.c_str(), "%6d x %6d%n", &size.width, &size.height, &used) == 2 &&
        static_cast<std::size_t>(used) == entry.size() && !size.IsAny())
        return size;
    if (entry != kWebEntryAnySize) Refuse(kWebParameterSize, "has an entry that is no size");
    return {};
}
