#include "orvcore/model/logplace.h"

#include <algorithm>

#include "zorbase/text.h"

namespace {

constexpr const char* kName = "orvane-";
constexpr const char* kLine = ".log, line ";
constexpr const char* kHash = ", SHA-256 ";
constexpr std::size_t kHashDigits = 64;

// The digits at a place; "" when there are none or more than `most`.
std::string TakeDigits(const std::string& text, std::size_t& at, const char* allowed, std::size_t most) {
    const std::size_t end = std::min(text.find_first_not_of(allowed, at), text.size());
    if (end - at > most) return {};
    const std::string digits = text.substr(at, end - at);
    at = end;
    return digits;
}

bool TakeWord(const std::string& text, std::size_t& at, const std::string& word) {
    if (text.compare(at, word.size(), word) != 0) return false;
    at += word.size();
    return true;
}

}  // namespace

std::string LogPlaceText(const OrvLogPlace& place) {
    return place.log.empty() ? std::string()
                             : place.log + ", line " + ToString(place.line) + kHash + place.sha256;
}

std::vector<OrvLogPlace> FindLogPlaces(const std::string& text) {
    std::vector<OrvLogPlace> found;
    for (std::size_t start = text.find(kName); start != std::string::npos;
         start = text.find(kName, start + 1)) {
        std::size_t at = start + std::string(kName).size();
        const std::string number = TakeDigits(text, at, "0123456789", 9);
        if (number.empty() || !TakeWord(text, at, kLine)) continue;
        OrvLogPlace place;
        place.log = kName + number + ".log";
        if (!FromString(TakeDigits(text, at, "0123456789", 9), place.line) || !TakeWord(text, at, kHash))
            continue;
        place.sha256 = TakeDigits(text, at, "0123456789abcdef", kHashDigits);
        if (place.sha256.size() == kHashDigits && std::find(found.begin(), found.end(), place) == found.end())
            found.push_back(place);
    }
    return found;
}
